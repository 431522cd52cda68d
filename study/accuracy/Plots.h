// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"
#include "study/report/Statistics.h"

namespace Study {

Plot::Axis percentAxis(const QString &label);

/// Rates over levels, in per cent.
Plot::Series rateSeries(const QString &name, const QVector<double> &levels, const QVector<Proportion> &rates);

/// Their confidence intervals.
Plot::Band rateBand(const QVector<double> &levels, const QVector<Proportion> &rates);

} // namespace Study
