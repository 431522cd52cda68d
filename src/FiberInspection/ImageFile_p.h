// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

namespace FiberInspection {

/// An image file as read from disk, checked before any of it is decoded.
struct ImageFile
{
    static constexpr qint64 maxPixels = 64LL * 1024 * 1024; ///< what is decoded in reasonable time and memory

    QByteArray bytes; ///< the whole file; empty when there is a problem
    QString problem; ///< why the file cannot be decoded; empty when it can

    /// Refuses what is no regular file, no known image, not complete, or too large to decode in reasonable time.
    static ImageFile read(const QString &path);

    /// Writes the bytes beside the path and renames them over it, so that no half-written file is ever seen there.
    static bool write(const QString &path, const char *data, qint64 size);
};

} // namespace FiberInspection
