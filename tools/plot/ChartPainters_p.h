// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Charts.h"
#include "SvgCanvas.h"

#include <QRectF>

namespace Plot {

void paint(const LineChart &chart, SvgCanvas *canvas, const QRectF &area);
void paint(const BarChart &chart, SvgCanvas *canvas, const QRectF &area);

} // namespace Plot
