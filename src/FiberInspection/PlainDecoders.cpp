// SPDX-License-Identifier: Apache-2.0
// Formats that store pixels as they are. Nothing but their sizes and the range of samples can be wrong; both are
// checked here.
#include "FiberInspection/ImageFormats_p.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdlib>

namespace FiberInspection::ImageFormats {

namespace {
constexpr qint64 bitsPerByte = 8;
constexpr qint64 longestLineEnd = 2; // bytes
constexpr qint64 highestByte = 255;
constexpr qint64 highestSample = 65535;
constexpr qint64 longestPadding = 3; // bytes of a BMP; a line has 4 at least

bool isSpace(char character)
{
    return character == ' ' || (character >= '\t' && character <= '\r');
}

struct Header
{
    QString problem;
    qint64 width = 0;
    qint64 height = 0;
    qint64 begin = 0; ///< of the pixels, in bytes
    qint64 bytesPerLine = 0;
    qint64 fileSize = 0; ///< up to where all is the image's; 0 for a format that does not tell
    qint64 bitsPerPixel = 0; ///< of a BMP
    qint64 profileSize = 0; ///< in bytes, of what is behind the pixels of a BMP
    qint64 colors = 0; ///< in the palette of a BMP; 0 for as many as there may be
};

/// Whether each pixel is one of the colours of a palette that has fewer than its bits can name.
/// @pre the pixels are there
bool hasKnownColors(const QByteArray &bytes, const Header &header)
{
    const auto bits = header.bitsPerPixel;
    if (header.colors == 0 || bits < 1 || bits > bitsPerByte || header.colors >= qint64(1) << bits)
        return true;
    const int mask = (1 << bits) - 1;
    for (qint64 row = 0; row < header.height; ++row) {
        const uchar *const line = dataOf(bytes) + header.begin + row * header.bytesPerLine;
        for (qint64 at = 0; at < header.width * bits; at += bits) {
            const int shift = static_cast<int>(bitsPerByte - bits - at % bitsPerByte);
            if ((line[at / bitsPerByte] >> shift & mask) >= header.colors)
                return false;
        }
    }
    return true;
}

QString leftOver()
{
    return QStringLiteral("data are left over behind the image");
}

DecodedImage decodePlain(const QByteArray &bytes, const Header &header, qint64 maxPixels)
{
    if (!header.problem.isEmpty())
        return refused(header.problem);
    const QString problem = problemOfSize(header.width, header.height, maxPixels);
    if (!problem.isEmpty())
        return refusedForSize(header.width, header.height, problem);
    const qint64 end = header.begin + header.bytesPerLine * header.height;
    if (std::max(end, header.fileSize) > bytes.size())
        return incomplete();
    if (header.fileSize > 0 && end > header.fileSize)
        return refused(QStringLiteral("the image header is damaged"));
    if (end + header.profileSize + longestPadding < header.fileSize) // these were lines, or a part of each of them
        return refused(leftOver());
    if (!hasKnownColors(bytes, header))
        return refused(QStringLiteral("a pixel has a color that is not in the palette"));
    return decodeByOpenCv(bytes, QSize(static_cast<int>(header.width), static_cast<int>(header.height)));
}

namespace Bmp {
constexpr int fileHeaderSize = 14; // bytes; what the others are in follows it
constexpr quint32 oldHeaderSize = 12;
constexpr quint32 headerSize = 40; // larger ones begin with it
constexpr int masksBegin = 54; // red, green, blue: in the header, or behind one that is too small for them
constexpr int masksSize = 12;
constexpr quint32 profileHeaderSize = 124; // from this one on there may be a profile of colors
constexpr int profileKind = fileHeaderSize + 56;
constexpr int profileSize = fileHeaderSize + 116;
enum Compression : quint32 { None = 0, BitFields = 3 };
} // namespace Bmp

/// Which bits of a pixel are red, green and blue.
using Masks = std::array<quint32, 3>;

/// Why a BMP with these fields is not decoded; empty when it is. OpenCV takes all of 32 bits for the usual ones, and
/// looks for those of 16 bits behind the header, also where they are in it.
QString problemOfFields(quint32 size, qint64 bitsPerPixel, const uchar *data)
{
    constexpr Masks usual = {0xFF0000, 0xFF00, 0xFF};
    constexpr Masks five = {0x7C00, 0x3E0, 0x1F};
    constexpr Masks fiveAndSix = {0xF800, 0x7E0, 0x1F};
    const auto mask = [data](qint64 i) { return littleEndian32(data + Bmp::masksBegin + 4 * i); };
    const Masks masks{mask(0), mask(1), mask(2)};
    if (bitsPerPixel != 16 && bitsPerPixel != 32)
        return QStringLiteral("BMP fields of %1 bits are not supported").arg(bitsPerPixel);
    if (bitsPerPixel == 16 && size != Bmp::headerSize)
        return QStringLiteral("BMP fields of 16 bits in a header of %1 bytes are not supported").arg(size);
    if (bitsPerPixel == 32 ? masks == usual : masks == five || masks == fiveAndSix)
        return {};
    return QStringLiteral("BMP fields %1 %2 %3 are not supported")
        .arg(masks[0], 0, 16)
        .arg(masks[1], 0, 16)
        .arg(masks[2], 0, 16);
}

/// Where the pixels of a BMP may begin: behind its headers, its masks and its palette.
qint64 leastBegin(const uchar *data, quint32 size, qint64 bitsPerPixel, bool hasMasks)
{
    const qint64 begin =
        qint64(Bmp::fileHeaderSize) + size + (hasMasks && size == Bmp::headerSize ? Bmp::masksSize : 0);
    if (bitsPerPixel > bitsPerByte)
        return begin;
    const qint64 mostColors = qint64(1) << bitsPerPixel;
    if (size == Bmp::oldHeaderSize)
        return begin + 3 * mostColors;
    const qint64 colors = littleEndian32(data + 46);
    return begin + 4 * (colors == 0 ? mostColors : colors);
}

/// How many bytes of a profile, or of the name of its file, are behind the pixels.
/// @pre the header is there
qint64 profileSize(const uchar *data, quint32 size)
{
    constexpr quint32 embedded = 0x4D424544;
    constexpr quint32 linked = 0x4C494E4B;
    if (size < Bmp::profileHeaderSize)
        return 0;
    const quint32 kind = littleEndian32(data + Bmp::profileKind);
    return kind == embedded || kind == linked ? littleEndian32(data + Bmp::profileSize) : 0;
}

/// @pre the header is there, with its masks
QString problemOfBmp(const uchar *data, quint32 size, const Header &header, quint32 compression)
{
    constexpr qint64 bits[] = {1, 4, 8, 24, 16, 32};
    constexpr int oldBits = 4; // how many of them the old header knows
    const bool isOld = size == Bmp::oldHeaderSize;
    // Run-length coding may skip pixels, and nothing tells it from a loss.
    if (compression != Bmp::None && compression != Bmp::BitFields)
        return QStringLiteral("BMP compression %1 is not supported").arg(compression);
    const auto *const end = isOld ? std::begin(bits) + oldBits : std::end(bits);
    if (compression == Bmp::None && std::find(std::begin(bits), end, header.bitsPerPixel) == end)
        return QStringLiteral("BMP pixels of %1 bits are not supported").arg(header.bitsPerPixel);
    const QString problem =
        compression == Bmp::BitFields ? problemOfFields(size, header.bitsPerPixel, data) : QString();
    if (!problem.isEmpty())
        return problem;
    if (header.begin < leastBegin(data, size, header.bitsPerPixel, compression == Bmp::BitFields))
        return QStringLiteral("the image header is damaged");
    return {};
}

Header readBmpHeader(const QByteArray &bytes)
{
    constexpr qint64 lineAlignment = 32; // bits

    Header header;
    const uchar *const data = dataOf(bytes);
    const quint32 size = bytes.size() >= Bmp::fileHeaderSize + 4 ? littleEndian32(data + Bmp::fileHeaderSize) : 0;
    if (size < Bmp::oldHeaderSize || bytes.size() < Bmp::fileHeaderSize + qint64(size)) {
        header.problem = QStringLiteral("the image is incomplete");
        return header;
    }

    quint32 compression = Bmp::None;
    if (size >= Bmp::headerSize) {
        header.width = static_cast<qint32>(littleEndian32(data + 18));
        header.height = std::llabs(qint64(static_cast<qint32>(littleEndian32(data + 22)))); // below 0: from the top
        header.bitsPerPixel = littleEndian16(data + 28);
        compression = littleEndian32(data + 30);
        header.colors = littleEndian32(data + 46);
    } else if (size == Bmp::oldHeaderSize) {
        header.width = littleEndian16(data + 18);
        header.height = littleEndian16(data + 20);
        header.bitsPerPixel = littleEndian16(data + 24);
    } else {
        header.problem = QStringLiteral("BMP headers of %1 bytes are not supported").arg(size);
        return header;
    }
    const quint32 fileSize = littleEndian32(data + 2); // 0 where the writer did not know
    header.fileSize = fileSize > 0 ? fileSize : bytes.size();
    header.profileSize = profileSize(data, size);
    header.begin = littleEndian32(data + 10);
    header.bytesPerLine =
        (header.width * header.bitsPerPixel + lineAlignment - 1) / lineAlignment * (lineAlignment / bitsPerByte);
    header.problem = compression == Bmp::BitFields && bytes.size() < Bmp::masksBegin + Bmp::masksSize
        ? QStringLiteral("the image is incomplete")
        : problemOfBmp(data, size, header, compression);
    return header;
}

/// Takes numbers off a text in which "#" begins a comment.
class NumberReader
{
public:
    NumberReader(const QByteArray &bytes, int at)
        : mBytes(bytes)
        , mAt(at)
    {
    }

    int position() const { return mAt; }

    /// @return false without a number that is followed by white space: the end may be missing. A bit has one digit.
    bool next(qint64 *number, int maxDigits = 9)
    {
        skipSpace();
        const int begin = mAt;
        *number = 0;
        for (; mAt < mBytes.size() && mAt - begin < maxDigits && isDigit(mBytes[mAt]); ++mAt)
            *number = *number * 10 + (mBytes[mAt] - '0');
        return mAt > begin && (maxDigits == 1 || (mAt < mBytes.size() && isSpace(mBytes[mAt])));
    }

    /// Why there was no next one. The decoder takes any character behind a number for white space, also a "#".
    QString problem() const
    {
        const bool isComment = mAt < mBytes.size() && mBytes[mAt] == '#';
        return isComment ? QStringLiteral("a comment right behind a number is not supported") : incomplete().problem;
    }

private:
    static bool isLineEnd(char character) { return character == '\n' || character == '\r'; }
    static bool isDigit(char character) { return character >= '0' && character <= '9'; }

    void skipSpace()
    {
        for (bool isComment = false; mAt < mBytes.size(); ++mAt) {
            const char character = mBytes[mAt];
            if (isComment)
                isComment = !isLineEnd(character);
            else if (character == '#')
                isComment = true;
            else if (!isSpace(character))
                return;
        }
    }

    const QByteArray &mBytes;
    int mAt;
};

QString tooHigh()
{
    return QStringLiteral("a sample is higher than the highest that the image declares");
}

/// Nothing marks the end of a PNM: what stands behind it was part of it, or what stands in it was not.
bool endsAt(const QByteArray &bytes, qint64 end)
{
    return std::all_of(bytes.begin() + end, bytes.end(), isSpace);
}

QString problemOfText(const QByteArray &bytes, NumberReader *numbers, qint64 samples, qint64 highest, bool isBits)
{
    for (qint64 left = samples; left > 0; --left) {
        qint64 sample = 0;
        if (!numbers->next(&sample, isBits ? 1 : 9))
            return numbers->problem();
        if (sample > highest)
            return tooHigh();
    }
    return endsAt(bytes, numbers->position()) ? QString() : leftOver();
}

/// Of binary samples nothing can be too high: only those that use all of their bits are read.
QString problemOfBinary(const QByteArray &bytes, const Header &header)
{
    const qint64 end = header.begin + header.bytesPerLine * header.height;
    if (end > bytes.size())
        return incomplete().problem;
    return bytes.size() - end > longestLineEnd || !endsAt(bytes, end) ? leftOver() : QString();
}

/// Whether white comes out as white: the decoder takes binary samples, and all of 16 bits, as they are.
bool isScaled(qint64 highest, bool isText)
{
    return highest == highestByte || highest == highestSample || (isText && highest < highestByte);
}
} // namespace

bool isBmp(const QByteArray &bytes)
{
    return bytes.startsWith("BM");
}

DecodedImage decodeBmp(const QByteArray &bytes, qint64 maxPixels)
{
    return decodePlain(bytes, readBmpHeader(bytes), maxPixels);
}

bool isPnm(const QByteArray &bytes)
{
    return bytes.size() > 2 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '6'
        && std::isspace(static_cast<uchar>(bytes[2])) != 0;
}

DecodedImage decodePnm(const QByteArray &bytes, qint64 maxPixels)
{
    const int kind = bytes[1] - '0'; // bits, grey and colour as text, then the same as bytes
    constexpr int firstBinary = 4;
    const bool isText = kind < firstBinary;
    const int channels = kind % 3 == 0 ? 3 : 1;
    const bool isBits = kind % 3 == 1;

    NumberReader numbers(bytes, 2);
    Header header;
    qint64 highest = 1;
    if (!numbers.next(&header.width) || !numbers.next(&header.height) || (!isBits && !numbers.next(&highest)))
        return refused(numbers.problem());
    if (highest < 1 || highest > highestSample)
        return refused(QStringLiteral("the image header is damaged"));
    if (!isBits && !isScaled(highest, isText))
        return refused(QStringLiteral("samples up to %1 are not supported").arg(highest));
    const QString problem = problemOfSize(header.width, header.height, maxPixels);
    if (!problem.isEmpty())
        return refusedForSize(header.width, header.height, problem);
    const qint64 samplesPerLine = header.width * channels;
    if (isText) {
        header.problem = problemOfText(bytes, &numbers, samplesPerLine * header.height, highest, isBits);
        return decodePlain(bytes, header, maxPixels);
    }
    if (bytes.mid(numbers.position(), longestLineEnd) == "\r\n") // the second one is a pixel, or is not
        return refused(QStringLiteral("a line end of two bytes before the pixels is not supported"));
    header.begin = numbers.position() + 1;
    const qint64 bitsPerSample = isBits ? 1 : highest > highestByte ? 16 : 8;
    header.bytesPerLine = (samplesPerLine * bitsPerSample + bitsPerByte - 1) / bitsPerByte;
    header.problem = problemOfBinary(bytes, header);
    return decodePlain(bytes, header, maxPixels);
}

} // namespace FiberInspection::ImageFormats
