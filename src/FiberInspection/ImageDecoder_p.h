// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/ImageFile_p.h"

#include <QByteArray>
#include <QString>

#include <opencv2/core.hpp>

namespace FiberInspection {

/// A photograph in memory, or why there is none.
struct DecodedImage
{
    cv::Mat pixels; ///< 8-bit BGR, upright, without alpha; empty when there is a problem
    QString problem; ///< what is wrong with the file; empty when nothing is
    ImageFault fault = ImageFault::None;
};

/// Turns the bytes of an image file into pixels: all of them, or none.
///
/// The content decides on the format; what is not JPEG, PNG, BMP, PNM, TIFF or WebP meets no decoder. The pixels are
/// those of cv::imdecode() with IMREAD_COLOR, byte by byte. A file of which a decoder says that something is wrong, in
/// which something is missing or left over before its end, or which holds more than one image, is refused, and so is
/// one whose header promises too much. What follows behind the end of an image (padding, a preview) does not count.
class ImageDecoder
{
public:
    ImageDecoder() = delete;

    /// @param maxPixels of the image as declared; with it the memory of the decoders is bounded, to 24 bytes a pixel
    static DecodedImage decode(const QByteArray &bytes, qint64 maxPixels);

    /// Reads and decodes the file, which is opened once.
    /// @param content if given, receives the bytes that were decoded; empty when the file could not be read
    static DecodedImage decodeFile(const QString &path, qint64 maxPixels, QByteArray *content = nullptr);
};

} // namespace FiberInspection
