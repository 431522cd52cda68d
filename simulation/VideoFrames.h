// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QVideoFrame>

namespace Simulation {

/// An NV12 frame as a camera delivers it, with the grey levels of the picture as luminance. An odd last row or column
/// is left out; invalid for a picture without a whole pair of rows and columns.
QVideoFrame videoFrame(const QImage &gray);

/// An NV12 frame with these bytes.
QVideoFrame videoFrame(const QByteArray &bytes, const QSize &size, int stride);

} // namespace Simulation
