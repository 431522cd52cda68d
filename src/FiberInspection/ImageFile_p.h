// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

namespace FiberInspection {

/// What keeps an image from being seen.
enum class ImageFault : int { None, Missing, NotAFile, Unreadable, Empty, UnknownFormat, Damaged, TooLarge };

/// An image file as read from disk; what ImageDecoder makes of it is another matter.
struct ImageFile
{
    static constexpr qint64 defaultMaxPixels = 16LL * 1024 * 1024;
    static constexpr qint64 largestMaxPixels = 1024LL * 1024 * 1024; ///< what OpenCV can hold

    QByteArray bytes; ///< the whole file; empty when there is a problem
    QString problem; ///< why the file cannot be read; empty when it can
    ImageFault fault = ImageFault::None;

    /// Refuses what is no regular file, empty, or larger than 256 MiB.
    static ImageFile read(const QString &path);

    /// The most pixels of an image that is decoded, for the whole process; all threads may call.
    static qint64 maxPixels();
    static void setMaxPixels(qint64 pixels);
};

} // namespace FiberInspection
