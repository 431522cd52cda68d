// SPDX-License-Identifier: Apache-2.0
#include "focus/ThresholdLines.h"

#include "focus/Thresholds.h"

namespace Focus {

QVector<Plot::ReferenceLine> thresholdLines()
{
    return {
        {badFocus, QStringLiteral("%1 bad focus").arg(badFocus, 0, 'f', 1), QStringLiteral("#b3261e")},
        {captureFocus, QStringLiteral("%1 capture").arg(captureFocus, 0, 'f', 1), QStringLiteral("#1e7d34")},
    };
}

} // namespace Focus
