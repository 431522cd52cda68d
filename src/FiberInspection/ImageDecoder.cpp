// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageDecoder_p.h"
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/Log_p.h"

#include <opencv2/imgcodecs.hpp>

#include <algorithm>
#include <exception>
#include <new>

namespace FiberInspection {

namespace {
constexpr qint64 longestSide = 1 << 20; // pixels; OpenCV goes no further

struct Format
{
    bool (*matches)(const QByteArray &bytes);
    DecodedImage (*decode)(const QByteArray &bytes, qint64 maxPixels);
};

constexpr Format formats[] = {
    {ImageFormats::isJpeg, ImageFormats::decodeJpeg},
    {ImageFormats::isPng, ImageFormats::decodePng},
    {ImageFormats::isTiff, ImageFormats::decodeTiff},
    {ImageFormats::isWebp, ImageFormats::decodeWebp},
    {ImageFormats::isBmp, ImageFormats::decodeBmp},
    {ImageFormats::isPnm, ImageFormats::decodePnm},
};
} // namespace

DecodedImage ImageDecoder::decode(const QByteArray &bytes, qint64 maxPixels)
{
    const auto *const format = std::find_if(
        std::begin(formats), std::end(formats), [&bytes](const Format &candidate) { return candidate.matches(bytes); });
    if (format == std::end(formats))
        return {{}, QStringLiteral("not an image of a known format"), ImageFault::UnknownFormat};
    try {
        return format->decode(bytes, maxPixels);
    } catch (const std::bad_alloc &) { // no fault of the image
        throw;
    } catch (const cv::Exception &exception) {
        if (exception.code == cv::Error::StsNoMem)
            throw;
        return ImageFormats::damaged(exception.what());
    } catch (const std::exception &exception) {
        return ImageFormats::damaged(exception.what());
    }
}

DecodedImage ImageDecoder::decodeFile(const QString &path, qint64 maxPixels, QByteArray *content)
{
    const ImageFile file = ImageFile::read(path);
    if (content)
        *content = file.bytes;
    const DecodedImage image =
        file.fault == ImageFault::None ? decode(file.bytes, maxPixels) : DecodedImage{{}, file.problem, file.fault};
    if (image.fault != ImageFault::None)
        qCDebug(messageLog) << "image refused:" << path << image.problem;
    return image;
}

namespace ImageFormats {

DecodedImage decoded(const cv::Mat &pixels)
{
    return {pixels, {}, ImageFault::None};
}

DecodedImage refused(const QString &problem)
{
    return {{}, problem, ImageFault::Damaged};
}

DecodedImage refusedForSize(qint64 width, qint64 height, const QString &problem)
{
    return {{}, problem, std::min(width, height) > 0 ? ImageFault::TooLarge : ImageFault::Damaged};
}

DecodedImage incomplete()
{
    return refused(QStringLiteral("the image is incomplete"));
}

DecodedImage damaged(const char *message)
{
    return refused(QStringLiteral("the image data is damaged: ") + QString::fromUtf8(message).simplified());
}

QString problemOfSize(qint64 width, qint64 height, qint64 maxPixels)
{
    if (width <= 0 || height <= 0)
        return QStringLiteral("the image has no size");
    if (std::max(width, height) > longestSide || width * height > maxPixels)
        return QStringLiteral("%1 x %2 pixels are too many").arg(width).arg(height);
    return {};
}

DecodedImage decodeByOpenCv(const QByteArray &bytes, const QSize &declaredSize)
{
    const cv::Mat view(1, bytes.size(), CV_8UC1, const_cast<char *>(bytes.constData()));
    const cv::Mat pixels = cv::imdecode(view, cv::IMREAD_COLOR);
    if (pixels.empty()) {
        requireMemory(declaredSize);
        return refused(QStringLiteral("the image data is damaged"));
    }
    const QSize size(pixels.cols, pixels.rows);
    if (size != declaredSize && size != declaredSize.transposed())
        return refused(QStringLiteral("the image is not of the size that it declares"));
    return decoded(pixels);
}

void requireMemory(const QSize &size)
{
    constexpr int bytesPerPixel = 12; // the picture, and a strip of four samples of 16 bits that is as large
    constexpr int ofDecoder = 16 * 1024 * 1024; // bytes: tables, and what else does not grow with the pixels
    const cv::Mat pixels(size.height(), size.width(), CV_8UC(bytesPerPixel));
    const cv::Mat others(1, ofDecoder, CV_8UC1);
}

int exifOrientation(const uchar *tiff, qsizetype size)
{
    constexpr int upright = 1;
    constexpr int orientationTag = 0x0112;
    constexpr qint64 entrySize = 12;
    constexpr qint64 valueOffset = 8; // of an entry
    if (size < 8 || tiff[0] != tiff[1] || (tiff[0] != 'I' && tiff[0] != 'M'))
        return upright;

    const bool isBigEndian = tiff[0] == 'M';
    const auto number16 = [=](qint64 at) { return isBigEndian ? bigEndian16(tiff + at) : littleEndian16(tiff + at); };
    const qint64 entries = isBigEndian ? bigEndian32(tiff + 4) : littleEndian32(tiff + 4);
    if (number16(2) != 42 || entries + 2 > size)
        return upright;
    const int count = number16(entries);
    for (int i = 0; i < count; ++i) {
        const qint64 entry = entries + 2 + i * entrySize;
        if (entry + entrySize > size)
            return upright;
        if (number16(entry) == orientationTag)
            return number16(entry + valueOffset);
    }
    return upright;
}

cv::Mat upright(const cv::Mat &pixels, int exifOrientation)
{
    enum Flip { aroundX = 0, aroundY = 1, aroundBoth = -1 };
    const auto flipped = [](const cv::Mat &mat, Flip axis) {
        cv::Mat result;
        cv::flip(mat, result, axis);
        return result;
    };
    const auto transposed = [&pixels]() {
        cv::Mat result;
        cv::transpose(pixels, result);
        return result;
    };

    switch (exifOrientation) {
    case 2:
        return flipped(pixels, aroundY);
    case 3:
        return flipped(pixels, aroundBoth);
    case 4:
        return flipped(pixels, aroundX);
    case 5:
        return transposed();
    case 6:
        return flipped(transposed(), aroundY);
    case 7:
        return flipped(transposed(), aroundBoth);
    case 8:
        return flipped(transposed(), aroundX);
    default:
        return pixels;
    }
}

} // namespace ImageFormats
} // namespace FiberInspection
