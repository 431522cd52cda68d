// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"
#include "study/focus/StudiedStacks.h"

namespace Focus {

/// The focus value through the focus, of clean and of soiled faces.
/// @param faces so many are painted of each kind
Plot::Picture focusCurvePlot(const QVector<Stack> &stacks, int faces);

/// What noise and uneven light do to it.
Plot::Picture focusNoisePlot(const QVector<Stack> &stacks);

} // namespace Focus
