// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Plots.h"

namespace Study {

Plot::Axis percentAxis(const QString &label)
{
    Plot::Axis axis;
    axis.label = label;
    axis.minimum = 0;
    axis.maximum = 100;
    return axis;
}

Plot::Series rateSeries(const QString &name, const QVector<double> &levels, const QVector<Proportion> &rates)
{
    Plot::Series series;
    series.name = name;
    for (int i = 0; i < levels.size(); ++i)
        series.points.append({levels[i], 100.0 * rates[i].rate()});
    return series;
}

Plot::Band rateBand(const QVector<double> &levels, const QVector<Proportion> &rates)
{
    Plot::Band band;
    for (int i = 0; i < levels.size(); ++i) {
        if (rates[i].trials() == 0)
            continue;
        band.x.append(levels[i]);
        band.low.append(100.0 * rates[i].low());
        band.high.append(100.0 * rates[i].high());
    }
    return band;
}

} // namespace Study
