// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/focus/StudiedStacks.h"

#include <QByteArray>

namespace Focus {

/// The focus value through the focus, of clean and of soiled faces.
/// @param faces so many are painted of each kind
QByteArray focusCurvePlot(const QVector<Stack> &stacks, int faces);

/// What noise and uneven light do to it.
QByteArray focusNoisePlot(const QVector<Stack> &stacks);

} // namespace Focus
