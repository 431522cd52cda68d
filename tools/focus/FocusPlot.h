// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Charts.h"
#include "Report.h"

namespace Focus {

/// Focus against frame, with the thresholds of the inspection page.
Plot::LineChart focusPlot(const QVector<Reading> &readings, const QString &subtitle);

/// The two thresholds as lines across a chart of focus values.
QVector<Plot::ReferenceLine> thresholdLines();

} // namespace Focus
