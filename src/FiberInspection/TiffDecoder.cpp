// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/TiffStructure_p.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <tiffio.h>
#include <vector>
#include <zlib.h>

namespace FiberInspection::ImageFormats {

namespace {
constexpr int bitsPerSample[] = {1, 8, 16};
constexpr int maxSamplesPerPixel = 4;
constexpr tmsize_t memoryPerPixel = 16; // bytes: for each single piece of memory
constexpr tmsize_t leastMemory = 16L * 1024 * 1024; // bytes
constexpr uint16_t compressions[] = {
    COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE, COMPRESSION_PACKBITS};

/// Warnings that say nothing about the pixels, by their beginning: tags that a camera made up, and how a fourth sample
/// is to be taken, which is dropped.
constexpr const char *harmlessWarnings[] = {"Unknown field with tag", "Sum of Photometric type-related color channels"};

/// libtiff on bytes in memory, silent; whatever it complains about is kept.
class Tiff
{
public:
    Tiff(const QByteArray &bytes, qint64 maxPixels)
        : mBytes(bytes)
    {
        const std::unique_ptr<TIFFOpenOptions, decltype(&TIFFOpenOptionsFree)> options(
            TIFFOpenOptionsAlloc(), &TIFFOpenOptionsFree);
        if (!options)
            return;
        TIFFOpenOptionsSetMaxSingleMemAlloc(
            options.get(), std::max(leastMemory, static_cast<tmsize_t>(maxPixels) * memoryPerPixel));
        TIFFOpenOptionsSetErrorHandlerExtR(options.get(), &Tiff::onError, this);
        TIFFOpenOptionsSetWarningHandlerExtR(options.get(), &Tiff::onWarning, this);
        // "c": strips as they are in the file, and not cut into smaller ones
        mTiff = TIFFClientOpenExt("image", "rc", this, &Tiff::read, &Tiff::write, &Tiff::seek, &Tiff::close,
            &Tiff::size, &Tiff::map, &Tiff::unmap, options.get());
    }
    ~Tiff()
    {
        if (mTiff)
            TIFFClose(mTiff);
    }
    Q_DISABLE_COPY(Tiff)

    TIFF *get() const { return mTiff; }
    bool hasComplained() const { return mMessage[0] != '\0'; }
    const char *message() const { return mMessage; }

    template <typename Number>
    Number number(uint32_t tag) const
    {
        Number value = 0;
        TIFFGetFieldDefaulted(mTiff, tag, &value);
        return value;
    }

private:
    static int onError(TIFF * /*tiff*/, void *self, const char * /*module*/, const char *format, va_list arguments)
    {
        static_cast<Tiff *>(self)->keep(format, arguments);
        return 1;
    }

    static int onWarning(TIFF * /*tiff*/, void *self, const char * /*module*/, const char *format, va_list arguments)
    {
        const bool isHarmless = std::any_of(std::begin(harmlessWarnings), std::end(harmlessWarnings),
            [format](const char *begin) { return std::strncmp(format, begin, std::strlen(begin)) == 0; });
        if (!isHarmless)
            static_cast<Tiff *>(self)->keep(format, arguments);
        return 1;
    }

    void keep(const char *format, va_list arguments)
    {
        if (hasComplained()) // the first one tells most
            return;
        std::vsnprintf(mMessage, sizeof mMessage, format, arguments);
        if (!hasComplained())
            std::snprintf(mMessage, sizeof mMessage, "unknown error");
    }

    static Tiff *of(thandle_t handle) { return static_cast<Tiff *>(handle); }

    static tmsize_t read(thandle_t handle, void *data, tmsize_t size)
    {
        Tiff *const self = of(handle);
        const qint64 count = qBound<qint64>(0, self->mBytes.size() - self->mAt, size);
        if (count > 0)
            std::memcpy(data, self->mBytes.constData() + self->mAt, static_cast<std::size_t>(count));
        self->mAt += count;
        return count;
    }

    static tmsize_t write(thandle_t /*handle*/, void * /*data*/, tmsize_t /*size*/) { return -1; }

    static toff_t seek(thandle_t handle, toff_t offset, int whence)
    {
        Tiff *const self = of(handle);
        const qint64 base = whence == SEEK_END ? self->mBytes.size() : whence == SEEK_CUR ? self->mAt : 0;
        self->mAt = qMax<qint64>(0, base + static_cast<qint64>(qMin<toff_t>(offset, INT32_MAX)));
        return static_cast<toff_t>(self->mAt);
    }

    static int close(thandle_t /*handle*/) { return 0; }

    static toff_t size(thandle_t handle) { return static_cast<toff_t>(of(handle)->mBytes.size()); }

    static int map(thandle_t handle, void **data, toff_t *dataSize)
    {
        *data = const_cast<char *>(of(handle)->mBytes.constData());
        *dataSize = size(handle);
        return 1;
    }

    static void unmap(thandle_t /*handle*/, void * /*data*/, toff_t /*size*/) {}

    const QByteArray &mBytes;
    qint64 mAt = 0;
    TIFF *mTiff = nullptr;
    char mMessage[256] = "";
};

/// Whether the kind of pixels and the pieces they come in are bearable; tiles may be far larger than the image.
QString problemOfLayout(const Tiff &tiff, const QSize &size, qint64 maxPixels)
{
    const int bits = tiff.number<uint16_t>(TIFFTAG_BITSPERSAMPLE);
    const int samples = tiff.number<uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
    const auto compression = tiff.number<uint16_t>(TIFFTAG_COMPRESSION);
    const bool isKnownDepth =
        std::find(std::begin(bitsPerSample), std::end(bitsPerSample), bits) != std::end(bitsPerSample);
    const auto photometric = tiff.number<uint16_t>(TIFFTAG_PHOTOMETRIC);
    const bool isDeepCmyk = bits > 8 && photometric == PHOTOMETRIC_SEPARATED;
    const bool isShallowPalette = bits < 8 && photometric == PHOTOMETRIC_PALETTE;
    if ((!isKnownDepth && !isShallowPalette) || bits < 1 || isDeepCmyk || samples < 1 || samples > maxSamplesPerPixel)
        return QStringLiteral("%1 samples of %2 bits are not supported").arg(samples).arg(bits);
    const int sampleFormat = tiff.number<uint16_t>(TIFFTAG_SAMPLEFORMAT);
    if (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID)
        return QStringLiteral("samples of format %1 are not supported").arg(sampleFormat);
    if (std::find(std::begin(compressions), std::end(compressions), compression) == std::end(compressions))
        return QStringLiteral("TIFF compression %1 is not supported").arg(compression);
    const int fillOrder = tiff.number<uint16_t>(TIFFTAG_FILLORDER);
    if (compression != COMPRESSION_NONE && fillOrder != FILLORDER_MSB2LSB)
        return QStringLiteral("packed data of fill order %1 are not supported").arg(fillOrder);
    if (TIFFIsTiled(tiff.get()) == 0)
        return {};

    const qint64 tileWidth = tiff.number<uint32_t>(TIFFTAG_TILEWIDTH);
    const qint64 tileHeight = tiff.number<uint32_t>(TIFFTAG_TILELENGTH);
    const auto padded = [](qint64 length, qint64 tile) { return (length + tile - 1) / tile * tile; };
    if (tileWidth < 1 || tileHeight < 1)
        return QStringLiteral("the tiles have no size");
    if (!problemOfSize(tileWidth, tileHeight, maxPixels).isEmpty()
        || !problemOfSize(padded(size.width(), tileWidth), padded(size.height(), tileHeight), maxPixels).isEmpty())
        return QStringLiteral("tiles of %1 x %2 pixels are too large").arg(tileWidth).arg(tileHeight);
    return {};
}

/// Whether packed data end where they should, with the checksum that they should have. The decoder stops as soon as it
/// has its pixels, and does not look.
bool isWholeDeflate(const uchar *packed, qint64 packedSize, qint64 size)
{
    z_stream stream{};
    if (inflateInit(&stream) != Z_OK)
        return false;
    std::array<uchar, 32768> piece; // NOLINT(cppcoreguidelines-pro-type-member-init): is written only
    stream.next_in = const_cast<uchar *>(packed);
    stream.avail_in = static_cast<uInt>(packedSize);
    int status = Z_OK;
    while (status == Z_OK && static_cast<qint64>(stream.total_out) <= size) {
        stream.next_out = piece.data();
        stream.avail_out = static_cast<uInt>(piece.size());
        status = inflate(&stream, Z_NO_FLUSH);
    }
    const bool isWhole =
        status == Z_STREAM_END && stream.avail_in == 0 && static_cast<qint64>(stream.total_out) == size;
    inflateEnd(&stream);
    return isWhole;
}

/// @pre the place lies in the file
bool isWholePiece(uint16_t compression, const QByteArray &bytes, const TiffPlace &place, qint64 size)
{
    const uchar *const packed = dataOf(bytes) + place.begin;
    const auto packedSize = static_cast<qint64>(place.end - place.begin);
    switch (compression) {
    case COMPRESSION_LZW:
        return isWholeLzw(packed, packedSize, size);
    case COMPRESSION_PACKBITS:
        return isWholePackBits(packed, packedSize, size);
    case COMPRESSION_NONE:
        return packedSize == size;
    default:
        return isWholeDeflate(packed, packedSize, size);
    }
}

uint32_t numberOfPieces(const Tiff &tiff)
{
    return TIFFIsTiled(tiff.get()) != 0 ? TIFFNumberOfTiles(tiff.get()) : TIFFNumberOfStrips(tiff.get());
}

/// Where the strips or tiles are; fewer of them when one is not in the file.
std::vector<TiffPlace> placesOfPieces(const Tiff &tiff, const QByteArray &bytes)
{
    const auto fileSize = static_cast<uint64_t>(bytes.size());
    const uint32_t pieces = numberOfPieces(tiff);
    std::vector<TiffPlace> places;
    places.reserve(pieces);
    for (uint32_t piece = 0; piece < pieces; ++piece) {
        const uint64_t begin = TIFFGetStrileOffset(tiff.get(), piece);
        const uint64_t size = TIFFGetStrileByteCount(tiff.get(), piece);
        if (begin > fileSize || size > fileSize - begin)
            break;
        places.push_back({begin, begin + size});
    }
    return places;
}

/// Decodes all strips or tiles for what the decoder has to say about them.
bool readsWithoutComplaint(const Tiff &tiff, const QByteArray &bytes, const std::vector<TiffPlace> &places)
{
    const bool isTiled = TIFFIsTiled(tiff.get()) != 0;
    const auto compression = tiff.number<uint16_t>(TIFFTAG_COMPRESSION);
    const tmsize_t pieceSize = isTiled ? TIFFTileSize(tiff.get()) : TIFFStripSize(tiff.get());
    if (pieceSize <= 0)
        return false;
    std::vector<uchar> buffer(static_cast<std::size_t>(pieceSize));
    for (uint32_t piece = 0; piece < places.size(); ++piece) {
        if (places[piece].begin == places[piece].end)
            return false;
        const tmsize_t read = isTiled ? TIFFReadEncodedTile(tiff.get(), piece, buffer.data(), pieceSize)
                                      : TIFFReadEncodedStrip(tiff.get(), piece, buffer.data(), pieceSize);
        if (read <= 0 || tiff.hasComplained() || !isWholePiece(compression, bytes, places[piece], read))
            return false;
    }
    return true;
}

/// Checks and decodes what the structure found: each byte of the file is unpacked once at most.
QString problemOfPieces(const Tiff &tiff, const QByteArray &bytes, const TiffStructure &structure)
{
    const uint32_t pieces = numberOfPieces(tiff);
    if (structure.offsets != pieces)
        return QStringLiteral("the file has %1 strips or tiles instead of %2").arg(structure.offsets).arg(pieces);
    const std::vector<TiffPlace> places = placesOfPieces(tiff, bytes);
    if (places.size() != pieces)
        return incomplete().problem;
    if (!areApart(places, structure.places))
        return QStringLiteral("strips or tiles overlap");
    if (!readsWithoutComplaint(tiff, bytes, places))
        return damaged(tiff.hasComplained() ? tiff.message() : "a strip or tile is not whole").problem;
    return {};
}
} // namespace

bool isTiff(const QByteArray &bytes)
{
    return bytes.startsWith(QByteArray("II\x2A\0", 4)) || bytes.startsWith(QByteArray("MM\0\x2A", 4))
        || bytes.startsWith(QByteArray("II\x2B\0", 4)) || bytes.startsWith(QByteArray("MM\0\x2B", 4));
}

DecodedImage decodeTiff(const QByteArray &bytes, qint64 maxPixels)
{
    const TiffStructure structure = readTiffStructure(bytes);
    if (!structure.problem.isEmpty())
        return refused(structure.problem);
    const Tiff tiff(bytes, maxPixels);
    if (!tiff.get() || tiff.hasComplained())
        return damaged(tiff.message());
    const qint64 width = tiff.number<uint32_t>(TIFFTAG_IMAGEWIDTH);
    const qint64 height = tiff.number<uint32_t>(TIFFTAG_IMAGELENGTH);
    const QString problemOfHeader = problemOfSize(width, height, maxPixels);
    if (!problemOfHeader.isEmpty())
        return refusedForSize(width, height, problemOfHeader);
    const QSize size(static_cast<int>(width), static_cast<int>(height));
    const QString problem = problemOfLayout(tiff, size, maxPixels);
    if (!problem.isEmpty())
        return refused(problem);
    if (TIFFLastDirectory(tiff.get()) == 0)
        return refused(QStringLiteral("the file holds more than one page"));
    const QString problemOfData = problemOfPieces(tiff, bytes, structure);
    if (!problemOfData.isEmpty()) {
        requireMemory(size);
        return refused(problemOfData);
    }
    return decodeByOpenCv(bytes, size);
}

} // namespace FiberInspection::ImageFormats
