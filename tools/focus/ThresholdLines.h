// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"

namespace Focus {

/// The two thresholds as lines across a chart of focus values.
QVector<Plot::ReferenceLine> thresholdLines();

} // namespace Focus
