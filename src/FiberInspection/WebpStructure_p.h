// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

namespace FiberInspection {

/// The beginning of a lossless WebP stream, which says how many sets of codes its pixels are coded with. A decoder
/// keeps tables for all of them, up to 20 KB a set, and a few bits are enough to declare one.
struct WebpCodes
{
    enum Problem : int { None, Incomplete, Damaged };

    Problem problem = None;
    int sets = 1;

    /// @param hasHeader of an image; without one it is the transparency of a lossy image, of that size
    static WebpCodes read(const uchar *data, qint64 size, bool hasHeader, int width = 0, int height = 0);
};

} // namespace FiberInspection
