// SPDX-License-Identifier: Apache-2.0
#include "simulation/VideoFrames.h"

#include <cstring>

namespace Simulation {

QVideoFrame videoFrame(const QImage &gray)
{
    constexpr char colourless = '\x80';
    const QSize size(gray.width() / 2 * 2, gray.height() / 2 * 2);
    if (size.isEmpty())
        return {};

    QByteArray bytes;
    bytes.reserve(size.width() * size.height() / 2 * 3);
    for (int y = 0; y < size.height(); ++y)
        bytes.append(reinterpret_cast<const char *>(gray.constScanLine(y)), size.width());
    bytes.append(size.width() * size.height() / 2, colourless);
    return videoFrame(bytes, size, size.width());
}

QVideoFrame videoFrame(const QByteArray &bytes, const QSize &size, int stride)
{
    QVideoFrame frame(bytes.size(), size, stride, QVideoFrame::Format_NV12);
    if (!frame.map(QAbstractVideoBuffer::WriteOnly))
        return {};
    std::memcpy(frame.bits(), bytes.constData(), static_cast<std::size_t>(bytes.size()));
    frame.unmap();
    return frame;
}

} // namespace Simulation
