// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/WebpStructure_p.h"

#include <webp/decode.h>

#include <cstring>
#include <memory>
#include <new>

namespace FiberInspection::ImageFormats {

namespace {
constexpr qint64 riffHeaderSize = 12; // "RIFF", the size of the rest, "WEBP"
constexpr qint64 chunkHeaderSize = 8;

// Bytes at the end of coded data that a decoder may not have to look at: what flushes the arithmetic coder, or the last
// bits of a byte.
constexpr qint64 unneededLossy = 6; // libwebp leaves 2 to 4
constexpr qint64 unneededLossless = 1;

// Those that libwebp writes have up to 2,600. As many as there may be, 65,536, take 360 MiB and more.
constexpr int mostSetsOfCodes = 4096;

struct Structure
{
    QString problem;
    qint64 end = 0; ///< of the file as it declares itself
    qint64 endOfPixels = 0; ///< of the chunk with the coded pixels
    bool isLossless = false;
    qint64 pixels = 0; ///< where the coded pixels are
    qint64 transparency = 0; ///< where a chunk with the transparency is, 0 when there is none
    qint64 endOfTransparency = 0;
};

bool isOfType(const uchar *chunk, const char *type)
{
    return std::memcmp(chunk, type, 4) == 0;
}

/// Follows the chunks of the RIFF container.
Structure walk(const QByteArray &bytes)
{
    Structure structure;
    const auto fail = [&structure](const QString &problem) {
        structure.problem = problem;
        return structure;
    };

    structure.end = chunkHeaderSize + qint64(littleEndian32(dataOf(bytes) + 4));
    if (structure.end > bytes.size())
        return fail(QStringLiteral("the image is incomplete"));
    for (qint64 at = riffHeaderSize; at < structure.end;) {
        const uchar *const chunk = dataOf(bytes) + at;
        if (structure.end - at < chunkHeaderSize)
            return fail(QStringLiteral("the image is incomplete"));
        const qint64 length = littleEndian32(chunk + 4);
        const qint64 payload = at + chunkHeaderSize;
        at = payload + length;
        if (at > structure.end)
            return fail(QStringLiteral("the image is incomplete"));
        if (isOfType(chunk, "ANIM") || isOfType(chunk, "ANMF"))
            return fail(QStringLiteral("the file holds an animation"));
        if (isOfType(chunk, "VP8 ") || isOfType(chunk, "VP8L")) {
            if (structure.endOfPixels != 0)
                return fail(QStringLiteral("the file holds more than one image"));
            structure.pixels = payload;
            structure.endOfPixels = at;
            structure.isLossless = isOfType(chunk, "VP8L");
        }
        if (isOfType(chunk, "ALPH") && length > 0) { // that is decoded, too
            if (structure.transparency != 0)
                return fail(QStringLiteral("the file holds more than one image"));
            structure.transparency = payload;
            structure.endOfTransparency = at;
        }
        at += length % 2; // a chunk begins at an even place
    }
    if (structure.endOfPixels == 0)
        return fail(QStringLiteral("the image is incomplete"));
    return structure;
}

/// Throws for what is no fault of the image.
const char *message(VP8StatusCode status)
{
    switch (status) {
    case VP8_STATUS_OUT_OF_MEMORY:
        throw std::bad_alloc();
    case VP8_STATUS_UNSUPPORTED_FEATURE:
        return "unsupported feature";
    case VP8_STATUS_SUSPENDED:
    case VP8_STATUS_NOT_ENOUGH_DATA:
        return "more data are missing";
    default:
        return "bitstream error";
    }
}

/// Of what is coded without loss, the pixels or the transparency; a problem if there are too many.
DecodedImage checkCodes(const QByteArray &bytes, const Structure &structure, const QSize &size)
{
    constexpr uchar methodMask = 3; // in the first byte of a chunk with transparency
    constexpr uchar lossless = 1;
    const uchar *const data = dataOf(bytes);
    WebpCodes codes;
    if (structure.isLossless)
        codes = WebpCodes::read(data + structure.pixels, structure.endOfPixels - structure.pixels, true);
    else if (structure.transparency != 0 && (data[structure.transparency] & methodMask) == lossless)
        codes = WebpCodes::read(data + structure.transparency + 1,
            structure.endOfTransparency - structure.transparency - 1, false, size.width(), size.height());
    if (codes.problem == WebpCodes::Incomplete)
        return damaged(message(VP8_STATUS_SUSPENDED));
    if (codes.problem == WebpCodes::Damaged)
        return damaged(message(VP8_STATUS_BITSTREAM_ERROR));
    if (codes.sets > mostSetsOfCodes)
        return refused(QStringLiteral("%1 sets of codes are too many").arg(codes.sets));
    return {};
}
} // namespace

bool isWebp(const QByteArray &bytes)
{
    return bytes.size() >= riffHeaderSize && bytes.startsWith("RIFF") && isOfType(dataOf(bytes) + 8, "WEBP");
}

DecodedImage decodeWebp(const QByteArray &bytes, qint64 maxPixels)
{
    constexpr std::size_t bgrChannels = 3;
    WebPBitstreamFeatures features{};
    const VP8StatusCode status = WebPGetFeatures(dataOf(bytes), static_cast<std::size_t>(bytes.size()), &features);
    if (status == VP8_STATUS_NOT_ENOUGH_DATA)
        return incomplete();
    if (status != VP8_STATUS_OK)
        return damaged(message(status));
    const QString problem = problemOfSize(features.width, features.height, maxPixels);
    if (!problem.isEmpty())
        return refusedForSize(features.width, features.height, problem);
    const Structure structure = walk(bytes);
    if (!structure.problem.isEmpty())
        return refused(structure.problem);

    const DecodedImage unbearable = checkCodes(bytes, structure, {features.width, features.height});
    if (!unbearable.problem.isEmpty())
        return unbearable;

    cv::Mat pixels(features.height, features.width, CV_8UC3);
    const std::unique_ptr<WebPIDecoder, decltype(&WebPIDelete)> decoder(
        WebPINewRGB(MODE_BGR, pixels.data, pixels.total() * bgrChannels, static_cast<int>(pixels.step)), &WebPIDelete);
    if (!decoder)
        throw std::bad_alloc();
    // The coding has neither checksums nor an end: zeros decode to some pixels as well. But it has to come to the last
    // pixel with the last bytes.
    const auto feed = [&](qint64 end) {
        return WebPIUpdate(decoder.get(), dataOf(bytes), static_cast<std::size_t>(end));
    };
    const VP8StatusCode early = feed(structure.endOfPixels - (structure.isLossless ? unneededLossless : unneededLossy));
    if (early == VP8_STATUS_OK)
        return damaged("data are left over");
    const VP8StatusCode final = early == VP8_STATUS_SUSPENDED ? feed(structure.end) : early;
    if (final != VP8_STATUS_OK)
        return damaged(message(final));
    return decoded(pixels);
}

} // namespace FiberInspection::ImageFormats
