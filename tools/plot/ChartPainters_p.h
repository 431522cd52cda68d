// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/Charts.h"
#include "plot/SvgCanvas.h"

#include <QRectF>

namespace Plot {

void paint(const LineChart &chart, SvgCanvas *canvas, const QRectF &area);
void paint(const BarChart &chart, SvgCanvas *canvas, const QRectF &area);

} // namespace Plot
