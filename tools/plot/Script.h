// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"

namespace Plot {

/// What gnuplot is told: the data and how they are to be drawn.
QByteArray script(const Picture &picture);

/// The text without what XML and gnuplot do not allow in one.
QString plainText(QString text);

} // namespace Plot
