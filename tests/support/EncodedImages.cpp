// SPDX-License-Identifier: Apache-2.0
#include "EncodedImages.h"

#include <opencv2/imgcodecs.hpp>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <jpeglib.h>
#include <limits>
#include <png.h>
#include <random>
#include <tiffio.h>
#include <zlib.h>

namespace EncodedImages {

namespace {
constexpr int bitsPerByte = 8;

QByteArray randomBytes(int size, unsigned seed = 42)
{
    std::mt19937 random(seed);
    QByteArray bytes(size, '\0');
    for (char &byte : bytes)
        byte = char(random());
    return bytes;
}

void describe(jpeg_compress_struct *info, const Jpeg &kind)
{
    static constexpr J_COLOR_SPACE inFile[] = {JCS_GRAYSCALE, JCS_YCbCr, JCS_RGB, JCS_CMYK, JCS_YCCK};
    const bool hasBlack = kind.colors >= Jpeg::Cmyk;
    info->input_components = kind.colors == Jpeg::Gray ? 1 : hasBlack ? 4 : 3;
    info->in_color_space = kind.colors == Jpeg::Gray ? JCS_GRAYSCALE : hasBlack ? JCS_CMYK : JCS_EXT_BGR;
    jpeg_set_defaults(info);
    jpeg_set_colorspace(info, inFile[kind.colors]);
    jpeg_set_quality(info, kind.quality, TRUE);
    for (int i = 0; i < info->num_components; ++i) {
        info->comp_info[i].h_samp_factor = 1;
        info->comp_info[i].v_samp_factor = 1;
    }
    info->comp_info[0].h_samp_factor = kind.horizontalSampling;
    info->comp_info[0].v_samp_factor = kind.verticalSampling;
    info->restart_interval = unsigned(kind.restartInterval);
    info->arith_code = kind.isArithmetic ? TRUE : FALSE;
    if (kind.isProgressive)
        jpeg_simple_progression(info);
}

cv::Mat samplesOf(const cv::Mat &bgr, const Jpeg &kind)
{
    if (kind.colors == Jpeg::Gray) {
        cv::Mat gray;
        cv::extractChannel(bgr, gray, 1);
        return gray;
    }
    if (kind.colors < Jpeg::Cmyk)
        return bgr;
    cv::Mat cmyk(bgr.rows, bgr.cols, CV_8UC4);
    for (int row = 0; row < bgr.rows; ++row) {
        for (int col = 0; col < bgr.cols; ++col) {
            const auto &pixel = bgr.at<cv::Vec3b>(row, col);
            cmyk.at<cv::Vec4b>(row, col) = cv::Vec4b(pixel[2], pixel[1], pixel[0], uchar(200 + (row + col) % 56));
        }
    }
    return cmyk;
}

/// What libtiff writes, in memory.
class TiffMemory
{
public:
    explicit TiffMemory(const char *mode)
        : mTiff(TIFFClientOpen(
            "image", mode, this, &TiffMemory::read, &TiffMemory::write, &TiffMemory::seek, [](thandle_t) { return 0; },
            [](thandle_t self) { return toff_t(of(self)->mBytes.size()); }, nullptr, nullptr))
    {
    }
    ~TiffMemory() { TIFFClose(mTiff); }
    Q_DISABLE_COPY(TiffMemory)

    TIFF *tiff() const { return mTiff; }
    const QByteArray &bytes() const { return mBytes; }

private:
    static TiffMemory *of(thandle_t handle) { return static_cast<TiffMemory *>(handle); }

    static tmsize_t read(thandle_t handle, void *data, tmsize_t size)
    {
        TiffMemory *const self = of(handle);
        const QByteArray piece = self->mBytes.mid(self->mAt, int(size));
        std::memcpy(data, piece.constData(), std::size_t(piece.size()));
        self->mAt += piece.size();
        return piece.size();
    }

    static tmsize_t write(thandle_t handle, void *data, tmsize_t size)
    {
        TiffMemory *const self = of(handle);
        self->mBytes.replace(self->mAt, int(size), static_cast<const char *>(data), int(size));
        self->mAt += int(size);
        return size;
    }

    static toff_t seek(thandle_t handle, toff_t offset, int whence)
    {
        TiffMemory *const self = of(handle);
        const int base = whence == SEEK_END ? self->mBytes.size() : whence == SEEK_CUR ? self->mAt : 0;
        self->mAt = base + int(offset);
        if (self->mAt > self->mBytes.size())
            self->mBytes.append(self->mAt - self->mBytes.size(), '\0');
        return toff_t(self->mAt);
    }

    QByteArray mBytes;
    int mAt = 0;
    TIFF *const mTiff; // behind what it writes to
};

int colorSamples(const Tiff &kind)
{
    switch (kind.photometric) {
    case PHOTOMETRIC_SEPARATED:
        return 4;
    case PHOTOMETRIC_RGB:
    case PHOTOMETRIC_YCBCR:
        return 3;
    default:
        return 1;
    }
}

void describe(TIFF *file, const cv::Mat &bgr, const Tiff &kind)
{
    TIFFSetField(file, TIFFTAG_IMAGEWIDTH, bgr.cols);
    TIFFSetField(file, TIFFTAG_IMAGELENGTH, bgr.rows);
    TIFFSetField(file, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(file, TIFFTAG_SAMPLESPERPIXEL, kind.samples);
    TIFFSetField(file, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(file, TIFFTAG_COMPRESSION, kind.compression);
    TIFFSetField(file, TIFFTAG_ORIENTATION, kind.orientation);
    TIFFSetField(file, TIFFTAG_PLANARCONFIG, kind.isPlanar ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    const std::vector<uint16_t> extra(
        std::size_t(qMax(0, kind.samples - colorSamples(kind))), uint16_t(kind.extraSample));
    if (!extra.empty() && kind.extraSample >= 0)
        TIFFSetField(file, TIFFTAG_EXTRASAMPLES, uint16_t(extra.size()), extra.data());
    if (kind.photometric == PHOTOMETRIC_YCBCR)
        TIFFSetField(file, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    if (kind.photometric == PHOTOMETRIC_PALETTE) {
        std::vector<uint16_t> levels(std::size_t(1) << kind.bits); // the brightest one first
        for (std::size_t i = 0; i < levels.size(); ++i)
            levels[i] = uint16_t((levels.size() - 1 - i) * 65535 / (levels.size() - 1));
        TIFFSetField(file, TIFFTAG_COLORMAP, levels.data(), levels.data(), levels.data());
    }
    if (kind.tileSide > 0) {
        TIFFSetField(file, TIFFTAG_TILEWIDTH, kind.tileSide);
        TIFFSetField(file, TIFFTAG_TILELENGTH, kind.tileSide);
    } else {
        TIFFSetField(file, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
    }
    if (!kind.ranges.empty())
        TIFFSetField(file, TIFFTAG_REFERENCEBLACKWHITE, kind.ranges.data());
    for (const auto &[tag, number] : kind.entries)
        TIFFSetField(file, uint32_t(tag), number);
}

/// One sample, with all of its bits.
unsigned sampleOf(const cv::Vec3b &pixel, const Tiff &kind, int sample)
{
    const unsigned highest = (1U << kind.bits) - 1;
    const bool isColor = sample < colorSamples(kind);
    const bool isInverse = kind.photometric == PHOTOMETRIC_MINISWHITE || kind.photometric == PHOTOMETRIC_PALETTE
        || kind.photometric == PHOTOMETRIC_SEPARATED;
    const bool hasColors = kind.photometric == PHOTOMETRIC_SEPARATED || kind.photometric == PHOTOMETRIC_RGB;
    if (kind.photometric == PHOTOMETRIC_YCBCR && isColor && sample > 0)
        return (highest + 1) / 2;
    const int level = !isColor ? kind.alpha : !hasColors ? pixel[0] : sample < 3 ? pixel[2 - sample] : 255;
    const unsigned value = unsigned(level) * highest / 255;
    return isColor && isInverse ? highest - value : value;
}

/// Of a strip or tile: those of one plane, or of all of them one behind the other.
QByteArray samplesOf(const cv::Mat &bgr, const Tiff &kind, const cv::Rect &part, int plane)
{
    const int samples = kind.isPlanar ? 1 : kind.samples;
    const int lineSize = (part.width * samples * kind.bits + bitsPerByte - 1) / bitsPerByte;
    QByteArray bytes = randomBytes(lineSize * part.height);
    for (int row = part.y; row < qMin(part.br().y, bgr.rows); ++row) {
        char *const line = bytes.data() + qint64(row - part.y) * lineSize;
        for (int i = 0; i < (qMin(part.br().x, bgr.cols) - part.x) * samples; ++i) {
            const int sample = kind.isPlanar ? plane : i % samples;
            const cv::Point place(part.x + i / samples, row);
            const bool isHole = place == kind.hole && sample >= colorSamples(kind);
            const unsigned value = isHole ? 0 : sampleOf(bgr.at<cv::Vec3b>(place), kind, sample);
            if (kind.bits == 16) {
                const auto whole = uint16_t(value);
                std::memcpy(line + qint64(2) * i, &whole, sizeof whole);
            } else if (kind.bits <= bitsPerByte) { // others are refused before they are looked at
                const int at = i * kind.bits;
                const int shift = bitsPerByte - kind.bits - at % bitsPerByte;
                const unsigned others = uchar(line[at / bitsPerByte]) & ~(((1U << kind.bits) - 1) << shift);
                line[at / bitsPerByte] = char(others | value << shift);
            }
        }
    }
    return bytes;
}

/// Bits of a lossless WebP, from the lowest one on.
class BitWriter
{
public:
    void add(quint32 value, int count) // behind the value there are zeros
    {
        for (int i = 0; i < count; ++i, ++mBits) {
            if (mBits % 8 == 0)
                mBytes.append('\0');
            if (i < std::numeric_limits<quint32>::digits && (value >> i & 1) != 0)
                mBytes[mBytes.size() - 1] = char(mBytes.back() | 1 << mBits % 8);
        }
    }
    void addCode(quint32 code, int length) // whose highest bit comes first
    {
        for (int i = length - 1; i >= 0; --i)
            add(code >> i, 1);
    }
    const QByteArray &bytes() const { return mBytes; }

private:
    QByteArray mBytes;
    int mBits = 0;
};

/// The code of one symbol, 0, which then takes no bits.
void addTrivialCode(BitWriter *bits)
{
    bits->add(1, 4);
}

/// The code in which each of 256 symbols has 8 bits, and the others, which mean lengths, none.
void addPlainCode(BitWriter *bits, int others)
{
    bits->add(0, 1);
    bits->add(12 - 4, 4);
    for (const quint32 length : {0u, 1u, 0u, 0u, 0u, 0u, 0u, 0u, 0u, 0u, 0u, 1u}) // of 18, a run of zeros, and of 8
        bits->add(length, 3);
    bits->add(0, 1);
    bits->add(0, 256);
    if (others > 0) {
        bits->add(1, 1);
        bits->add(quint32(others) - 11, 7);
    }
}
} // namespace

QByteArray jpeg(const cv::Mat &bgr, const Jpeg &kind)
{
    const cv::Mat samples = samplesOf(bgr, kind);
    jpeg_compress_struct info{};
    jpeg_error_mgr errors{};
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    uchar *buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = JDIMENSION(samples.cols);
    info.image_height = JDIMENSION(samples.rows);
    describe(&info, kind);
    std::vector<jpeg_scan_info> scans(std::size_t(info.num_components));
    for (int i = 0; i < info.num_components; ++i)
        scans[std::size_t(i)] = {1, {i}, 0, DCTSIZE2 - 1, 0, 0};
    if (kind.hasSeparateScans) {
        info.scan_info = scans.data();
        info.num_scans = info.num_components;
    }

    jpeg_start_compress(&info, TRUE);
    for (int row = 0; row < samples.rows; ++row) {
        auto *line = const_cast<uchar *>(samples.ptr(row));
        jpeg_write_scanlines(&info, &line, 1);
    }
    jpeg_finish_compress(&info);
    const QByteArray bytes(reinterpret_cast<const char *>(buffer), int(size));
    jpeg_destroy_compress(&info);
    std::free(buffer);
    return bytes;
}

QByteArray png(int width, int height, const Png &kind)
{
    QByteArray bytes;
    png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop info = png_create_info_struct(writer);
    png_set_write_fn(
        writer, &bytes,
        [](png_structp self, png_bytep data, std::size_t size) {
            static_cast<QByteArray *>(png_get_io_ptr(self))->append(reinterpret_cast<const char *>(data), int(size));
        },
        nullptr);
    png_set_IHDR(writer, info, png_uint_32(width), png_uint_32(height), kind.bits, kind.colorType,
        kind.isInterlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
        PNG_FILTER_TYPE_DEFAULT);
    std::mt19937 random(7);
    std::vector<png_color> palette(std::size_t(1) << qMin(kind.bits, bitsPerByte));
    for (png_color &color : palette)
        color = {png_byte(random()), png_byte(random()), png_byte(random())};
    if (kind.colorType == PNG_COLOR_TYPE_PALETTE)
        png_set_PLTE(writer, info, palette.data(), int(palette.size()));
    png_byte alpha[] = {0, 100};
    png_color_16 transparent{1, 1, 1, 1, 1};
    if (kind.hasTransparency)
        png_set_tRNS(writer, info, alpha, 2, &transparent);
    png_write_info(writer, info);
    const auto lineSize = int(png_get_rowbytes(writer, info));
    QByteArray samples = randomBytes(lineSize * height);
    std::vector<png_bytep> lines(std::size_t(height), reinterpret_cast<png_bytep>(samples.data()));
    for (std::size_t row = 0; row < lines.size(); ++row)
        lines[row] += row * std::size_t(lineSize);
    png_write_image(writer, lines.data());
    png_write_end(writer, info);
    png_destroy_write_struct(&writer, &info);
    return bytes;
}

QByteArray tiff(const cv::Mat &bgr, const Tiff &kind)
{
    const QByteArray mode = QByteArray("w") + (kind.isBig ? "8" : "") + (kind.isBigEndian ? "b" : "l");
    const TiffMemory memory(mode.constData());
    TIFF *const file = memory.tiff();
    for (int page = 0; page < kind.pages; ++page) {
        describe(file, bgr, kind);
        const cv::Size piece = kind.tileSide > 0 ? cv::Size(kind.tileSide, kind.tileSide)
                                                 : cv::Size(bgr.cols, qMin(kind.rowsPerStrip, bgr.rows));
        uint32_t number = 0;
        for (int plane = 0; plane < (kind.isPlanar ? kind.samples : 1); ++plane) {
            for (int row = 0; row < bgr.rows; row += piece.height) {
                for (int col = 0; col < bgr.cols; col += piece.width, ++number) {
                    cv::Rect part({col, row}, piece);
                    if (kind.tileSide == 0)
                        part.height = qMin(part.height, bgr.rows - row);
                    QByteArray samples = samplesOf(bgr, kind, part, plane);
                    if (kind.tileSide > 0)
                        TIFFWriteEncodedTile(file, number, samples.data(), samples.size());
                    else
                        TIFFWriteEncodedStrip(file, number, samples.data(), samples.size());
                }
            }
        }
        TIFFWriteDirectory(file);
    }
    TIFFFlush(file);
    return memory.bytes();
}

QByteArray tiff(int width, int height, const Tiff &kind)
{
    QByteArray pixels = randomBytes(3 * width * height);
    return tiff(cv::Mat(height, width, CV_8UC3, pixels.data()), kind);
}

QByteArray tiff(const TiffStrips &strips)
{
    constexpr int headerSize = 8;
    const quint32 tables = headerSize + quint32(strips.data.size());
    const auto table = [](const std::vector<quint32> &values) {
        QByteArray bytes;
        for (const quint32 value : values)
            bytes += littleEndian(value, 4);
        return bytes;
    };
    const auto one = [](TiffEntry::Type type, int value) { return TiffEntry{type, 1, quint32(value)}; };
    const auto entryOf = [](const std::vector<quint32> &values, quint32 place) {
        return TiffEntry{TiffEntry::Long, quint32(values.size()), values.size() == 1 ? values[0] : place};
    };
    const quint32 sizes = tables + quint32(4 * strips.offsets.size());
    const quint32 directory = sizes + quint32(4 * strips.sizes.size());
    std::map<int, TiffEntry> entries{{256, one(TiffEntry::Long, strips.width)},
        {257, one(TiffEntry::Long, strips.height)}, {258, one(TiffEntry::Short, 8)},
        {259, one(TiffEntry::Short, strips.compression)}, {262, one(TiffEntry::Short, 1)},
        {273, entryOf(strips.offsets, tables)}, {277, one(TiffEntry::Short, 1)},
        {278, one(TiffEntry::Long, strips.rowsPerStrip)}, {279, entryOf(strips.sizes, sizes)}};
    for (const auto &[tag, entry] : strips.entries)
        entries[tag] = entry;

    QByteArray listed;
    quint32 count = 0;
    for (const auto &[tag, entry] : entries) {
        if (entry.type == TiffEntry::None)
            continue;
        ++count;
        listed += littleEndian(quint32(tag), 2) + littleEndian(entry.type, 2) + littleEndian(entry.count, 4)
            + littleEndian(entry.value, 4);
    }
    return QByteArray("II\x2A\0", 4) + littleEndian(directory, 4) + strips.data + table(strips.offsets)
        + table(strips.sizes) + littleEndian(count, 2) + listed + littleEndian(0, 4);
}

QByteArray tiffWithEntries(int count)
{
    const auto wide = [](quint32 value) { return littleEndian(value, 4) + littleEndian(0, 4); };
    constexpr quint32 directory = 16;
    constexpr quint32 size = 9; // bytes; one more than there is room for in the entry itself
    const QByteArray entry = littleEndian(51200, 2) + littleEndian(TiffEntry::Byte, 2) + wide(size) + wide(0);
    return QByteArray("II\x2B\0\x8\0\0\0", 8) + wide(directory) + wide(quint32(count)) + entry.repeated(count)
        + wide(0);
}

QByteArray bmp(int width, int height, int bits, bool isFromTop)
{
    constexpr int headers = 14 + 40;
    const int colors = bits <= bitsPerByte ? 1 << bits : 0;
    const int lineSize = (width * bits + 31) / 32 * 4;
    return "BM" + littleEndian(quint32(headers + 4 * colors + lineSize * height), 4) + littleEndian(0, 4)
        + littleEndian(quint32(headers + 4 * colors), 4) + littleEndian(40, 4) + littleEndian(quint32(width), 4)
        + littleEndian(quint32(isFromTop ? -height : height), 4) + littleEndian(1, 2) + littleEndian(quint32(bits), 2)
        + littleEndian(0, 4) + littleEndian(quint32(lineSize * height), 4) + littleEndian(2835, 4)
        + littleEndian(2835, 4) + littleEndian(quint32(colors), 4) + littleEndian(0, 4) + randomBytes(4 * colors, 1)
        + randomBytes(lineSize * height);
}

QByteArray webp(const QByteArrayList &chunks)
{
    const QByteArray content = "WEBP" + chunks.join();
    return "RIFF" + littleEndian(quint32(content.size()), 4) + content;
}

QByteArray webpChunk(const QByteArray &type, const QByteArray &payload)
{
    const QByteArray padding(payload.size() % 2, '\0');
    return type + littleEndian(quint32(payload.size()), 4) + payload + padding;
}

QByteArray losslessWebpOfManyCodes(int side, int squareBits, bool hasHeader)
{
    const int squares = (side >> squareBits) * (side >> squareBits);
    BitWriter bits;
    if (hasHeader) {
        bits.add(0x2F, 8);
        bits.add(quint32(side - 1), 14);
        bits.add(quint32(side - 1), 14);
        bits.add(0, 1 + 3); // no transparency, version
    }
    bits.add(0, 1 + 1); // no transforms, no colour cache
    bits.add(1, 1);
    bits.add(quint32(squareBits - 2), 3);
    bits.add(0, 1); // no colour cache
    addPlainCode(&bits, 24);
    addPlainCode(&bits, 0);
    for (int i = 0; i < 3; ++i)
        addTrivialCode(&bits);
    for (int i = 0; i < squares; ++i) { // the number of its codes
        bits.addCode(quint32(i & 0xFF), 8);
        bits.addCode(quint32(i >> 8 & 0xFF), 8);
    }
    for (int i = 0; i < 5 * qMin(squares, 65536); ++i)
        addTrivialCode(&bits);
    return bits.bytes();
}

QByteArray encoded(const char *extension, const cv::Mat &mat, const std::vector<int> &parameters)
{
    std::vector<uchar> bytes;
    cv::imencode(extension, mat, bytes, parameters);
    return {reinterpret_cast<const char *>(bytes.data()), int(bytes.size())};
}

QByteArray bigEndian(quint32 value, int bytes)
{
    QByteArray result;
    for (int shift = bitsPerByte * (bytes - 1); shift >= 0; shift -= bitsPerByte)
        result.append(char(value >> shift));
    return result;
}

QByteArray littleEndian(quint32 value, int bytes)
{
    QByteArray result;
    for (int shift = 0; shift < bitsPerByte * bytes; shift += bitsPerByte)
        result.append(char(value >> shift));
    return result;
}

QByteArray deflated(const QByteArray &bytes, int level)
{
    constexpr int qtHeader = 4; // bytes
    return qCompress(bytes, level).mid(qtHeader);
}

QByteArray pngChunk(const QByteArray &type, const QByteArray &payload)
{
    const QByteArray checked = type + payload;
    const auto checksum = crc32(0, reinterpret_cast<const Bytef *>(checked.constData()), uInt(checked.size()));
    return bigEndian(quint32(payload.size()), 4) + checked + bigEndian(quint32(checksum), 4);
}

std::vector<JpegPiece> jpegPieces(const QByteArray &jpeg)
{
    const auto byteAt = [&jpeg](int at) { return at < jpeg.size() ? int(uchar(jpeg[at])) : 0; };
    const auto isMarker = [&](int at) { return byteAt(at) == 0xFF && byteAt(at + 1) != 0 && byteAt(at + 1) != 0xFF; };
    std::vector<JpegPiece> pieces;
    for (int at = 0; at < jpeg.size();) {
        int end = at + 2;
        if (!isMarker(at)) {
            for (end = at + 1; end < jpeg.size() && !isMarker(end);)
                ++end;
            pieces.push_back({0, jpeg.mid(at, end - at)});
        } else {
            const int marker = byteAt(at + 1);
            if (marker < 0xD0 || marker > 0xD9)
                end += byteAt(at + 2) * 256 + byteAt(at + 3);
            pieces.push_back({marker, jpeg.mid(at, end - at)});
        }
        at = end;
    }
    return pieces;
}

QByteArray joined(const std::vector<JpegPiece> &pieces)
{
    QByteArray bytes;
    for (const JpegPiece &piece : pieces)
        bytes += piece.bytes;
    return bytes;
}

} // namespace EncodedImages
