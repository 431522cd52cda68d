// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/focus/StudiedStacks.h"
#include "study/report/Table.h"

namespace Focus {

/// Whether the focus value is highest in the sharpest frame, and whether it rises all the way there.
Study::Table peaksTable(const QVector<Stack> &stacks);

/// At which blur the focus value falls to the thresholds.
Study::Table thresholdsTable(const QVector<Stack> &stacks);

} // namespace Focus
