// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

#include <QByteArray>
#include <QtEndian>

namespace Records {

/// Whether these are the bytes of a picture as inspections paint them: a PNG of no more pixels than are decoded.
/// Programs show it as it is, and a few bytes may be gigabytes. Only what says its size is looked at.
inline bool isAnnotatedPicture(const QByteArray &bytes)
{
    constexpr char start[] = "\x89PNG\r\n\x1A\n\0\0\0\rIHDR";
    constexpr int startLength = sizeof(start) - 1;
    constexpr int numberLength = sizeof(quint32);
    if (bytes.size() < startLength + 2 * numberLength || !bytes.startsWith(QByteArray::fromRawData(start, startLength)))
        return false;
    const quint64 width = qFromBigEndian<quint32>(bytes.constData() + startLength);
    const quint64 height = qFromBigEndian<quint32>(bytes.constData() + startLength + numberLength);
    constexpr quint64 most = FiberInspection::InspectionOptions::defaultMaxImagePixels;
    constexpr quint64 longest = 1 << 20; // pixels a side, as far as decoders go
    return width > 0 && height > 0 && width <= longest && height <= longest && width * height <= most;
}

} // namespace Records
