// SPDX-License-Identifier: Apache-2.0
#include "study/focus/StackPlots.h"

#include "focus/ThresholdLines.h"
#include "plot/Charts.h"
#include "simulation/Lens.h"
#include "study/report/Statistics.h"

namespace Focus {

using Study::Sample;

namespace {
/// What the readings of the chosen stacks at one step say.
template <typename Function>
void forEachReading(const QVector<Stack> &stacks, const StackChoice &isChosen, Function function)
{
    for (const Stack &stack : stacks) {
        if (isChosen(stack)) {
            for (int step = 0; step < stack.readings.size(); ++step)
                function(step, stack.readings.at(step));
        }
    }
}

/// How far out of focus a step lies: the blur that it adds, below zero on the near side.
double defocus(int step)
{
    return Simulation::Lens(Stack::maxBlur).defocusAt(Stack::placeOf(step));
}

QVector<Sample> focusByStep(const QVector<Stack> &stacks, const StackChoice &isChosen)
{
    QVector<Sample> samples(Stack::steps);
    forEachReading(stacks, isChosen, [&](int step, const StudyReading &reading) {
        if (reading.found)
            samples[step].add(reading.focus);
    });
    return samples;
}

/// A curve for each of the conditions against the blur, both sides together.
template <typename Function>
QVector<Plot::Series> seriesByBlur(const QVector<int> &chosen, Function valueAt)
{
    QVector<Plot::Series> series;
    for (const int condition : chosen) {
        Plot::Series curve;
        curve.name = stackConditions().at(condition).name;
        for (int step = Stack::sharpestStep; step < Stack::steps; ++step) {
            const double blur = Simulation::Lens(Stack::maxBlur).blurAt(Stack::placeOf(step));
            curve.points.append({blur, valueAt(condition, step)});
        }
        series.append(curve);
    }
    return series;
}

Plot::LineChart blurChart(const char *title, const char *yLabel)
{
    Plot::LineChart chart;
    chart.title = QString::fromUtf8(title);
    chart.x.label = QStringLiteral("Blur, µm");
    chart.y.label = QString::fromUtf8(yLabel);
    return chart;
}

QVector<int> noiseConditions()
{
    return {0, usualCondition, 2, 3};
}

QVector<int> lightConditions()
{
    return {usualCondition, firstUnevenCondition, firstUnevenCondition + 1};
}
} // namespace

QByteArray focusCurvePlot(const QVector<Stack> &stacks, int faces)
{
    Plot::LineChart chart;
    chart.title = QStringLiteral("The focus value through the focus");
    chart.subtitle = QStringLiteral("Median and range of %1 faces each, noise 0.9 grey levels, even light").arg(faces);
    chart.x.label = QStringLiteral("Defocus, as the blur that it adds, µm");
    chart.y.label = QStringLiteral("Focus value");
    chart.y.scale = Plot::Scale::Logarithmic;
    chart.horizontal = thresholdLines();
    for (const Cleanness cleanness : {Cleanness::Soiled, Cleanness::Clean}) {
        const QVector<Sample> samples = focusByStep(stacks, under(usualCondition, cleanness));
        Plot::Series median;
        median.name =
            cleanness == Cleanness::Clean ? QStringLiteral("clean face") : QStringLiteral("face with defects");
        Plot::Band range;
        for (int step = 0; step < Stack::steps; ++step) {
            median.points.append({defocus(step), samples.at(step).quantile(0.5)});
            range.x.append(defocus(step));
            range.low.append(samples.at(step).quantile(0));
            range.high.append(samples.at(step).highest());
        }
        chart.series.prepend(median);
        chart.bands.prepend(range);
    }
    return Plot::svg(chart);
}

QByteArray focusNoisePlot(const QVector<Stack> &stacks)
{
    const auto medianFocus = [&](int condition, int step) {
        Sample focus;
        forEachReading(stacks, under(condition, Cleanness::Clean), [&](int at, const StudyReading &reading) {
            if (reading.found && (at == step || at == Stack::steps - 1 - step))
                focus.add(reading.focus);
        });
        return focus.quantile(0.5);
    };
    Plot::LineChart noise = blurChart("Noise lifts the floor", "Focus value, clean faces");
    noise.y.scale = Plot::Scale::Logarithmic;
    noise.y.minimum = 0.4;
    noise.y.maximum = 6;
    noise.series = seriesByBlur(noiseConditions(), medianFocus);
    noise.horizontal = thresholdLines();
    Plot::LineChart light = noise;
    light.title = QStringLiteral("Uneven light does not matter");
    light.series = seriesByBlur(lightConditions(), medianFocus);
    light.series.first().name = QStringLiteral("even light");
    return Plot::svg({noise, light}, 2, {1100, 430});
}

} // namespace Focus
