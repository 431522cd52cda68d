// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/ImageDecoder_p.h"

#include <QSize>
#include <QtEndian>

/// The decoders, one a format. Each is told bytes of its format, decides by the first header whether the size is
/// bearable, and throws what OpenCV and the allocation of memory throw. For want of memory it throws always, since that
/// is no fault of the image.
namespace FiberInspection::ImageFormats {

bool isJpeg(const QByteArray &bytes);
DecodedImage decodeJpeg(const QByteArray &bytes, qint64 maxPixels);

bool isPng(const QByteArray &bytes);
DecodedImage decodePng(const QByteArray &bytes, qint64 maxPixels);

bool isTiff(const QByteArray &bytes);
DecodedImage decodeTiff(const QByteArray &bytes, qint64 maxPixels);

bool isWebp(const QByteArray &bytes);
DecodedImage decodeWebp(const QByteArray &bytes, qint64 maxPixels);

bool isBmp(const QByteArray &bytes);
DecodedImage decodeBmp(const QByteArray &bytes, qint64 maxPixels);

bool isPnm(const QByteArray &bytes);
DecodedImage decodePnm(const QByteArray &bytes, qint64 maxPixels);

// --- what they share

DecodedImage decoded(const cv::Mat &pixels);
DecodedImage refused(const QString &problem);
DecodedImage incomplete();

/// A decoder's own words about what is wrong.
DecodedImage damaged(const char *message);

/// Why an image of this size is not decoded; empty when it is.
QString problemOfSize(qint64 width, qint64 height, qint64 maxPixels);
DecodedImage refusedForSize(qint64 width, qint64 height, const QString &problem);

/// The pixels by way of OpenCV, for a file of which everything else is known to be right.
DecodedImage decodeByOpenCv(const QByteArray &bytes, const QSize &declaredSize);

/// Throws when there is no memory for the decoding of so large an image: of a failure that may be due to that.
/// @param size empty when it is not known: the memory is that of a small image then
void requireMemory(const QSize &size);

/// The orientation that a TIFF structure (as Exif stores it) asks for: 1 to 8, or 1 when it does not.
int exifOrientation(const uchar *tiff, qsizetype size);

/// Turns and mirrors the pixels upright.
cv::Mat upright(const cv::Mat &pixels, int exifOrientation);

inline const uchar *dataOf(const QByteArray &bytes)
{
    return reinterpret_cast<const uchar *>(bytes.constData());
}

inline quint16 bigEndian16(const uchar *bytes)
{
    return qFromBigEndian<quint16>(bytes);
}

inline quint32 bigEndian32(const uchar *bytes)
{
    return qFromBigEndian<quint32>(bytes);
}

inline quint16 littleEndian16(const uchar *bytes)
{
    return qFromLittleEndian<quint16>(bytes);
}

inline quint32 littleEndian32(const uchar *bytes)
{
    return qFromLittleEndian<quint32>(bytes);
}

} // namespace FiberInspection::ImageFormats
