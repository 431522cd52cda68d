// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/TiffStructure_p.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <tiffio.h>
#include <vector>
#include <zlib.h>

namespace FiberInspection::ImageFormats {

namespace {
constexpr int maxSamplesPerPixel = 4;
constexpr tmsize_t bitsPerByte = 8;
constexpr tmsize_t tileUnit = 1024; // bytes; OpenCV takes no tiles of others that are not compressed
constexpr qint64 maxCostlyPieces = 8192; // strips or tiles of which each takes the decoder 0.1 ms beside its pixels
constexpr tmsize_t memoryPerPixel = 16; // bytes: for each single piece of memory
constexpr tmsize_t leastMemory = 16L * 1024 * 1024; // bytes
constexpr uint16_t compressions[] = {
    COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE, COMPRESSION_DEFLATE, COMPRESSION_PACKBITS};

/// Pixels that come out as they are. More samples may follow those of the color where there may be others at all.
struct Kind
{
    uint16_t photometric;
    uint16_t bits; ///< of a sample
    uint16_t colors; ///< samples that make the color
    bool hasOthers;
    bool isAlsoPlanar;
};
constexpr Kind kinds[] = {
    {PHOTOMETRIC_MINISWHITE, 1, 1, false, false},
    {PHOTOMETRIC_MINISWHITE, 8, 1, true, false},
    {PHOTOMETRIC_MINISWHITE, 16, 1, true, false},
    {PHOTOMETRIC_MINISBLACK, 1, 1, false, false},
    {PHOTOMETRIC_MINISBLACK, 8, 1, true, false},
    {PHOTOMETRIC_MINISBLACK, 16, 1, true, false},
    {PHOTOMETRIC_PALETTE, 1, 1, false, false},
    {PHOTOMETRIC_PALETTE, 8, 1, true, false},
    {PHOTOMETRIC_RGB, 8, 3, true, true},
    {PHOTOMETRIC_RGB, 16, 3, true, true},
    {PHOTOMETRIC_SEPARATED, 8, 4, false, true},
    {PHOTOMETRIC_YCBCR, 8, 3, false, false},
};

/// Warnings that say nothing about the pixels, by their beginning: tags that a camera made up, and samples behind those
/// of the color that are not said to be anything, which are dropped.
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
            throw std::bad_alloc();
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

/// What the directory says about the pixels and the pieces they come in.
struct Layout
{
    explicit Layout(const Tiff &tiff)
        : width(tiff.number<uint32_t>(TIFFTAG_IMAGEWIDTH))
        , height(tiff.number<uint32_t>(TIFFTAG_IMAGELENGTH))
        , bits(tiff.number<uint16_t>(TIFFTAG_BITSPERSAMPLE))
        , samples(tiff.number<uint16_t>(TIFFTAG_SAMPLESPERPIXEL))
        , isPlanar(samples > 1 && tiff.number<uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE)
        , isTiled(TIFFIsTiled(tiff.get()) != 0)
        , pieces(isTiled ? TIFFNumberOfTiles(tiff.get()) : TIFFNumberOfStrips(tiff.get()))
        , pieceWidth(isTiled ? tiff.number<uint32_t>(TIFFTAG_TILEWIDTH) : width)
        , tileHeight(isTiled ? tiff.number<uint32_t>(TIFFTAG_TILELENGTH) : 0)
    {
        uint16_t extraSamples = 0;
        const uint16_t *types = nullptr;
        TIFFGetFieldDefaulted(tiff.get(), TIFFTAG_EXTRASAMPLES, &extraSamples, &types);
        for (int i = 0; i < extraSamples; ++i) {
            if (types[i] == EXTRASAMPLE_ASSOCALPHA || types[i] == EXTRASAMPLE_UNASSALPHA)
                alphas.push_back(samples - extraSamples + i);
        }
        uint16_t interpretation = 0;
        if (TIFFGetField(tiff.get(), TIFFTAG_PHOTOMETRIC, &interpretation) == 0)
            return;
        photometric = interpretation;
        const auto found = std::find_if(std::begin(kinds), std::end(kinds), [=](const Kind &candidate) {
            const int others = samples - candidate.colors;
            return candidate.photometric == photometric && candidate.bits == bits && others >= extraSamples
                && (candidate.hasOthers || others == 0) && (candidate.isAlsoPlanar || !isPlanar);
        });
        kind = found != std::end(kinds) && samples <= maxSamplesPerPixel ? found : nullptr;
    }

    qint64 width; ///< of the image, in pixels
    qint64 height;
    int bits; ///< of a sample
    int samples; ///< of a pixel
    bool isPlanar; ///< the samples lie in pieces of their own
    bool isTiled;
    uint32_t pieces; ///< strips or tiles
    qint64 pieceWidth; ///< in pixels; the last tiles go beyond the image
    qint64 tileHeight; ///< 0 for strips
    std::vector<int> alphas; ///< which of the samples tell how much a pixel hides
    int photometric = -1; ///< below 0 when the file does not tell
    const Kind *kind = nullptr; ///< null for pixels that do not come out as they are
};

/// How many strips or tiles the decoder looks at: those of all planes in one place are one to it.
qint64 piecesOfPlane(const Layout &layout)
{
    return layout.isPlanar ? layout.pieces / static_cast<uint32_t>(layout.samples) : layout.pieces;
}

/// Whether the page is the photograph, and not what goes with one.
QString problemOfPage(const Tiff &tiff)
{
    const auto type = tiff.number<uint32_t>(TIFFTAG_SUBFILETYPE);
    if ((type & (FILETYPE_REDUCEDIMAGE | FILETYPE_MASK)) != 0)
        return QStringLiteral("the page is a %1 of an image")
            .arg((type & FILETYPE_MASK) != 0 ? QStringLiteral("mask") : QStringLiteral("reduced form"));
    const auto depth = std::max(tiff.number<uint32_t>(TIFFTAG_IMAGEDEPTH), tiff.number<uint32_t>(TIFFTAG_TILEDEPTH));
    return depth > 1 ? QStringLiteral("images of %1 layers are not supported").arg(depth) : QString();
}

/// Whether black and white of each color are the lowest and the highest sample: the decoder heeds no others in RGB.
QString problemOfRange(const Tiff &tiff, const Layout &layout)
{
    constexpr int colors = 3;
    const float *range = nullptr; // black and white of each color
    if (layout.photometric != PHOTOMETRIC_RGB || TIFFGetField(tiff.get(), TIFFTAG_REFERENCEBLACKWHITE, &range) == 0)
        return {};
    const int highest = (1 << layout.bits) - 1;
    for (int color = 0; color < colors; ++color, range += 2) {
        const double black = range[0];
        const double white = range[1];
        if (black != 0 || !(white >= highest)) // which also refuses what is no number
            return QStringLiteral("samples from %1 to %2 are not supported").arg(black).arg(white);
    }
    return {};
}

/// Whether white comes out as white: the decoder takes samples as if they used all of their bits.
QString problemOfScale(const Tiff &tiff, const Layout &layout)
{
    if (layout.photometric == PHOTOMETRIC_PALETTE)
        return {};
    double highest = tiff.number<uint16_t>(TIFFTAG_MAXSAMPLEVALUE);
    double ofAnyFormat = highest;
    if (TIFFGetField(tiff.get(), TIFFTAG_SMAXSAMPLEVALUE, &ofAnyFormat) != 0)
        highest = std::min(highest, ofAnyFormat);
    const bool isScaled = highest >= (1 << layout.bits) - 1;
    return isScaled ? problemOfRange(tiff, layout) : QStringLiteral("samples up to %1 are not supported").arg(highest);
}

/// Whether what belongs to one interpretation only agrees with it: where one of these entries is harmed, the decoder
/// makes another picture of the rest. Of a palette that it cannot read it makes grey, without a word.
/// @pre the kind is known
QString problemOfInterpretation(const Layout &layout, const TiffStructure &structure)
{
    constexpr quint64 colors = 3;
    const bool hasPalette = structure.paletteSize > 0;
    if (structure.isPalette && !hasPalette)
        return QStringLiteral("the palette is missing");
    if (!structure.isPalette && hasPalette)
        return QStringLiteral("a palette in photometric interpretation %1 is not supported").arg(layout.photometric);
    const bool isRead = layout.photometric == PHOTOMETRIC_PALETTE && structure.hasShortPalette
        && structure.paletteSize == colors << static_cast<unsigned>(layout.bits);
    if (structure.isPalette && !isRead)
        return QStringLiteral("the palette is damaged");
    if (structure.hasSubsampling && layout.photometric != PHOTOMETRIC_YCBCR)
        return QStringLiteral("the subsampling of photometric interpretation %1 is not supported")
            .arg(layout.photometric);
    // Writers forget to say that a sample is alpha. More than one are the colors of another interpretation.
    const auto others = static_cast<quint64>(layout.samples - layout.kind->colors);
    return others <= structure.extraSamples + 1
        ? QString()
        : QStringLiteral("%1 samples that are not said to be anything are not supported")
              .arg(others - structure.extraSamples);
}

QString problemOfPixels(const Tiff &tiff, const Layout &layout, const TiffStructure &structure)
{
    if (layout.photometric < 0)
        return QStringLiteral("a TIFF without photometric interpretation is not supported");
    if (!layout.kind)
        return QStringLiteral("%1%2 samples of %3 bits as photometric interpretation %4 are not supported")
            .arg(QString::number(layout.samples), layout.isPlanar ? QStringLiteral(" separate") : QString())
            .arg(layout.bits)
            .arg(layout.photometric);
    const QString problem = problemOfInterpretation(layout, structure);
    if (!problem.isEmpty())
        return problem;
    const int sampleFormat = tiff.number<uint16_t>(TIFFTAG_SAMPLEFORMAT);
    if (sampleFormat != SAMPLEFORMAT_UINT && sampleFormat != SAMPLEFORMAT_VOID)
        return QStringLiteral("samples of format %1 are not supported").arg(sampleFormat);
    const int inkSet = tiff.number<uint16_t>(TIFFTAG_INKSET);
    if (layout.photometric == PHOTOMETRIC_SEPARATED && inkSet != INKSET_CMYK)
        return QStringLiteral("inks of set %1 are not supported").arg(inkSet);
    return problemOfScale(tiff, layout);
}

QString problemOfCoding(const Tiff &tiff)
{
    const auto compression = tiff.number<uint16_t>(TIFFTAG_COMPRESSION);
    if (std::find(std::begin(compressions), std::end(compressions), compression) == std::end(compressions))
        return QStringLiteral("TIFF compression %1 is not supported").arg(compression);
    const int fillOrder = tiff.number<uint16_t>(TIFFTAG_FILLORDER);
    if (compression != COMPRESSION_NONE && fillOrder != FILLORDER_MSB2LSB)
        return QStringLiteral("packed data of fill order %1 are not supported").arg(fillOrder);
    return {};
}

/// Whether the tiles are bearable, which may be far larger than the image, and such as OpenCV puts into their places.
QString problemOfTiles(const Tiff &tiff, const Layout &layout, qint64 maxPixels)
{
    const auto padded = [](qint64 length, qint64 tile) { return (length + tile - 1) / tile * tile; };
    const qint64 paddedWidth = layout.pieceWidth > 0 ? padded(layout.width, layout.pieceWidth) : 0;
    if (layout.pieceWidth < 1 || layout.tileHeight < 1)
        return QStringLiteral("the tiles have no size");
    if (!problemOfSize(layout.pieceWidth, layout.tileHeight, maxPixels).isEmpty()
        || !problemOfSize(paddedWidth, padded(layout.height, layout.tileHeight), maxPixels).isEmpty())
        return QStringLiteral("tiles of %1 x %2 pixels are too large").arg(layout.pieceWidth).arg(layout.tileHeight);
    const tmsize_t tileSize = TIFFTileSize(tiff.get());
    if (tiff.number<uint16_t>(TIFFTAG_COMPRESSION) == COMPRESSION_NONE && tileSize % tileUnit != 0)
        return QStringLiteral("uncompressed tiles of %1 bytes are not supported").arg(tileSize);
    if (layout.photometric == PHOTOMETRIC_YCBCR)
        return QStringLiteral("tiles of photometric interpretation %1 are not supported").arg(layout.photometric);
    const int orientation = tiff.number<uint16_t>(TIFFTAG_ORIENTATION);
    if (orientation != ORIENTATION_TOPLEFT)
        return QStringLiteral("tiles of orientation %1 are not supported").arg(orientation);
    const bool isSimple = layout.kind->colors > 1 || (layout.samples == 1 && layout.bits <= bitsPerByte);
    if (paddedWidth != layout.width && !isSimple)
        return QStringLiteral("tiles of %1 samples of %2 bits that go beyond the image are not supported")
            .arg(layout.samples)
            .arg(layout.bits);
    return {};
}

/// Whether the strips are bearable: one may have more lines than the image, and OpenCV takes the memory for all of
/// them.
QString problemOfStrips(const Tiff &tiff, const Layout &layout, qint64 maxPixels)
{
    const auto lines = tiff.number<uint32_t>(TIFFTAG_ROWSPERSTRIP);
    const bool isAll = lines == UINT32_MAX || lines <= layout.height;
    return isAll || layout.width * lines <= maxPixels
        ? QString()
        : QStringLiteral("strips of %1 lines are not supported").arg(lines);
}

/// Whether the decoder has to make tables anew for no more of the pieces than is bearable.
QString problemOfCost(const Layout &layout)
{
    const bool isCostly =
        layout.photometric == PHOTOMETRIC_RGB && (layout.bits > bitsPerByte || !layout.alphas.empty());
    return !isCostly || piecesOfPlane(layout) <= maxCostlyPieces
        ? QString()
        : QStringLiteral("%1 strips or tiles of %2 samples of %3 bits are too many")
              .arg(layout.pieces)
              .arg(layout.samples)
              .arg(layout.bits);
}

/// Whether the kind of pixels and the pieces they come in are bearable.
QString problemOfLayout(const Tiff &tiff, const Layout &layout, const TiffStructure &structure, qint64 maxPixels)
{
    for (const QString &problem :
        {problemOfPage(tiff), problemOfPixels(tiff, layout, structure), problemOfCoding(tiff), problemOfCost(layout)}) {
        if (!problem.isEmpty())
            return problem;
    }
    return layout.isTiled ? problemOfTiles(tiff, layout, maxPixels) : problemOfStrips(tiff, layout, maxPixels);
}

/// Whether nothing shines through the pixels of a piece: what is behind them is not in the file.
/// @param size of the samples, in bytes
bool isOpaque(const Layout &layout, uint32_t piece, const std::vector<uchar> &samples, qint64 size)
{
    constexpr uchar opaque = 0xFF;
    if (layout.alphas.empty())
        return true;
    const qint64 across = (layout.width + layout.pieceWidth - 1) / layout.pieceWidth;
    const qint64 ofPlane = piecesOfPlane(layout);
    const qint64 place = piece % ofPlane;
    const qint64 sampleSize = layout.bits / bitsPerByte;
    const qint64 pixelSize = layout.isPlanar ? sampleSize : sampleSize * layout.samples;
    const qint64 lineSize = pixelSize * layout.pieceWidth;
    const qint64 columns = std::min(layout.pieceWidth, layout.width - place % across * layout.pieceWidth);
    const qint64 rows = std::min(size / lineSize, layout.height - place / across * layout.tileHeight);
    const auto isTransparent = [](uchar byte) { return byte != opaque; };
    for (const int alpha : layout.alphas) {
        if (layout.isPlanar && piece / ofPlane != alpha)
            continue;
        for (qint64 row = 0; row < rows; ++row) {
            const uchar *sample = samples.data() + row * lineSize + (layout.isPlanar ? 0 : alpha * sampleSize);
            for (qint64 column = 0; column < columns; ++column, sample += pixelSize) {
                if (std::any_of(sample, sample + sampleSize, isTransparent))
                    return false;
            }
        }
    }
    return true;
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

/// Where the strips or tiles are; fewer of them when one is not in the file.
std::vector<TiffPlace> placesOfPieces(const Tiff &tiff, uint32_t pieces, const QByteArray &bytes)
{
    const auto fileSize = static_cast<uint64_t>(bytes.size());
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

/// Decodes all strips or tiles for what the decoder, and what they hold, has to say about them.
QString problemOfData(
    const Tiff &tiff, const Layout &layout, const QByteArray &bytes, const std::vector<TiffPlace> &places)
{
    const auto compression = tiff.number<uint16_t>(TIFFTAG_COMPRESSION);
    const tmsize_t pieceSize = layout.isTiled ? TIFFTileSize(tiff.get()) : TIFFStripSize(tiff.get());
    const auto notWhole = [&tiff, &layout]() {
        requireMemory(QSize(static_cast<int>(layout.width), static_cast<int>(layout.height)));
        return damaged(tiff.hasComplained() ? tiff.message() : "a strip or tile is not whole").problem;
    };
    if (pieceSize <= 0)
        return notWhole();
    std::vector<uchar> buffer(static_cast<std::size_t>(pieceSize));
    for (uint32_t piece = 0; piece < places.size(); ++piece) {
        if (places[piece].begin == places[piece].end)
            return notWhole();
        const tmsize_t read = layout.isTiled ? TIFFReadEncodedTile(tiff.get(), piece, buffer.data(), pieceSize)
                                             : TIFFReadEncodedStrip(tiff.get(), piece, buffer.data(), pieceSize);
        if (read <= 0 || tiff.hasComplained() || !isWholePiece(compression, bytes, places[piece], read))
            return notWhole();
        if (!isOpaque(layout, piece, buffer, read))
            return QStringLiteral("transparent pixels are not supported");
    }
    return {};
}

/// Checks and decodes what the structure found. No two pieces share a byte, so each byte costs the same few times: it
/// is unpacked by the decoder, once more for the end of packed data, and, when nothing speaks against the file, a last
/// time for the pixels.
QString problemOfPieces(const Tiff &tiff, const Layout &layout, const QByteArray &bytes, const TiffStructure &structure)
{
    if (structure.offsets != layout.pieces)
        return QStringLiteral("the file has %1 strips or tiles instead of %2")
            .arg(structure.offsets)
            .arg(layout.pieces);
    const std::vector<TiffPlace> places = placesOfPieces(tiff, layout.pieces, bytes);
    if (places.size() != layout.pieces)
        return incomplete().problem;
    if (!areApart(places, structure.places))
        return QStringLiteral("strips or tiles overlap");
    return problemOfData(tiff, layout, bytes, places);
}

/// What speaks against the file, or nothing. With the answer the memory of the decoder is free again.
DecodedImage checked(const QByteArray &bytes, const TiffStructure &structure, qint64 maxPixels, QSize *size)
{
    const Tiff tiff(bytes, maxPixels);
    if (!tiff.get() || tiff.hasComplained()) {
        requireMemory(QSize(0, 0)); // the size is not known yet
        return damaged(tiff.message());
    }
    const Layout layout(tiff);
    const QString problemOfHeader = problemOfSize(layout.width, layout.height, maxPixels);
    if (!problemOfHeader.isEmpty())
        return refusedForSize(layout.width, layout.height, problemOfHeader);
    *size = QSize(static_cast<int>(layout.width), static_cast<int>(layout.height));
    const QString problem = problemOfLayout(tiff, layout, structure, maxPixels);
    if (!problem.isEmpty())
        return refused(problem);
    if (TIFFLastDirectory(tiff.get()) == 0)
        return refused(QStringLiteral("the file holds more than one page"));
    const QString problemOfFile = problemOfPieces(tiff, layout, bytes, structure);
    return problemOfFile.isEmpty() ? DecodedImage() : refused(problemOfFile);
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
    QSize size;
    const DecodedImage problem = checked(bytes, structure, maxPixels, &size);
    return problem.fault == ImageFault::None ? decodeByOpenCv(bytes, size) : problem;
}

} // namespace FiberInspection::ImageFormats
