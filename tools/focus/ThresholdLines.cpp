// SPDX-License-Identifier: Apache-2.0
#include "focus/ThresholdLines.h"

#include "FiberInspection/LiveReading.h"

namespace Focus {

using FiberInspection::LiveReading;

QVector<Plot::ReferenceLine> thresholdLines()
{
    return {
        {LiveReading::badFocus, QStringLiteral("%1 bad focus").arg(LiveReading::badFocus, 0, 'f', 1),
            QStringLiteral("#b3261e")},
        {LiveReading::captureFocus, QStringLiteral("%1 capture").arg(LiveReading::captureFocus, 0, 'f', 1),
            QStringLiteral("#1e7d34")},
    };
}

} // namespace Focus
