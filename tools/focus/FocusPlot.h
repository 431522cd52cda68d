// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "focus/Report.h"
#include "plot/Charts.h"

namespace Focus {

/// Focus against frame, with the thresholds of the inspection page.
Plot::LineChart focusPlot(const QVector<Reading> &readings, const QString &subtitle);

} // namespace Focus
