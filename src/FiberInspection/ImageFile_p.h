// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/ImageFault_p.h"

#include <QByteArray>

namespace FiberInspection {

/// An image file as read from disk; what ImageDecoder makes of it is another matter.
struct ImageFile
{
    QByteArray bytes; ///< the whole file; empty when there is a problem
    QString problem; ///< why the file cannot be read; empty when it can
    ImageFault fault = ImageFault::None;

    /// Refuses what is no regular file, empty, or larger than LoadedImage::maxFileSize.
    static ImageFile read(const QString &path);

    /// The most pixels of an image that is decoded, for the whole process; all threads may call.
    static qint64 maxPixels();
    static void setMaxPixels(qint64 pixels);

    /// That limit within what can be decoded at all.
    static qint64 usableMaxPixels(qint64 pixels);
};

} // namespace FiberInspection
