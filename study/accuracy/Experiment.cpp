// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Experiment.h"

#include "study/accuracy/Experiments.h"

#include <algorithm>
#include <cmath>

namespace Study {

int Effort::times(int full) const
{
    return std::max(1, static_cast<int>(std::lround(full * mShare)));
}

std::vector<std::unique_ptr<Experiment>> allExperiments()
{
    std::vector<std::unique_ptr<Experiment>> experiments;
    experiments.push_back(std::make_unique<BlemishExperiment>());
    experiments.push_back(std::make_unique<ContrastExperiment>());
    experiments.push_back(std::make_unique<ScratchExperiment>());
    experiments.push_back(std::make_unique<PlaceExperiment>());
    experiments.push_back(std::make_unique<CoverExperiment>());
    experiments.push_back(std::make_unique<CleanFacesExperiment>());
    experiments.push_back(std::make_unique<BadFramesExperiment>());
    experiments.push_back(std::make_unique<VerdictExperiment>());
    experiments.push_back(std::make_unique<RepeatExperiment>());
    return experiments;
}

quint32 faceSeed(int experiment, int cell, int number)
{
    constexpr int cells = 10000;
    constexpr int numbers = 10000;
    return static_cast<quint32>((experiment * cells + cell) * numbers + number);
}

QString levelName(double level)
{
    return QString::number(level).replace(QLatin1Char('.'), QLatin1Char('-'));
}

QString reliableFrom(const QVector<double> &levels, const QVector<double> &rates, double wanted)
{
    int first = levels.size();
    for (int i = levels.size() - 1; i >= 0 && !(rates[i] < wanted); --i) {
        if (std::isfinite(rates[i]))
            first = i;
    }
    return first < levels.size() ? QString::number(levels[first]) : QStringLiteral("none");
}

} // namespace Study
