// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/TiffStructure_p.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

namespace FiberInspection::ImageFormats {

namespace {
constexpr quint64 maxPieces = 65536; // strips or tiles
constexpr quint64 maxEntries = 4096; // of a directory; the decoder takes no more
constexpr quint64 reducedImage = 2; // an OldSubfileType

/// The two forms of a TIFF: with offsets of 32 and of 64 bits.
struct Form
{
    quint64 headerSize;
    quint64 countSize; ///< of the number of entries before a directory
    quint64 entrySize;
    quint64 offsetSize;
};
constexpr Form classicForm{8, 2, 12, 4};
constexpr Form bigForm{16, 8, 20, 8};
constexpr uchar bigVersion = 0x2B;

constexpr quint64 paletteInterpretation = 3;
constexpr quint16 shortType = 3;
constexpr quint16 rationalType = 5;

enum Tag : quint16 {
    OldSubfileType = 255, // the decoder does not know it any more
    PhotometricInterpretation = 262,
    StripOffsets = 273,
    StripByteCounts = 279,
    GrayResponseCurve = 291, // nor this one
    ColorMap = 320,
    TileOffsets = 324,
    TileByteCounts = 325,
    ExtraSamples = 338,
    YCbCrSubSampling = 530
};

/// Entries from one number up to another.
struct Tags
{
    quint16 first;
    quint16 last;
};
constexpr quint64 firstPrivateTag = 32768;
/// All that are registered below the private ones, also for what is not read here, and those that cameras and the
/// programs of a desktop copy from Exif. What has another number was one of these once, and nobody knows which.
constexpr Tags registeredTags[] = {{11, 11}, {254, 259}, {262, 266}, {269, 274}, {277, 293}, {296, 297}, {300, 301},
    {305, 306}, {315, 328}, {330, 330}, {332, 334}, {336, 347}, {351, 351}, {400, 405}, {433, 435}, {512, 515},
    {517, 521}, {529, 532}, {559, 559}, {700, 700}, {769, 771}, {800, 800}, {999, 999}, {4096, 4098}, {18246, 18249},
    {20481, 20755}, {28672, 28672}, {28722, 28722}};

bool isKnown(quint64 tag)
{
    const auto *const next = std::partition_point(
        std::begin(registeredTags), std::end(registeredTags), [tag](const Tags &tags) { return tags.last < tag; });
    return tag >= firstPrivateTag || (next != std::end(registeredTags) && next->first <= tag);
}

/// Of a value in a directory, in bytes; 0 for an unknown type.
quint64 sizeOfType(quint16 type)
{
    constexpr std::array<quint8, 19> sizes{0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8, 4, 0, 0, 8, 8, 8};
    return type < sizes.size() ? sizes[type] : 0;
}

/// Reads numbers in the order of the file, and knows where it ends.
class Numbers
{
public:
    explicit Numbers(const QByteArray &bytes)
        : mBytes(bytes)
        , mIsBigEndian(bytes.startsWith('M'))
    {
    }

    bool has(quint64 at, quint64 size) const
    {
        const auto end = static_cast<quint64>(mBytes.size());
        return at <= end && size <= end - at;
    }

    /// @pre the bytes are there
    quint64 number(quint64 at, quint64 size) const
    {
        quint64 value = 0;
        for (quint64 i = 0; i < size; ++i)
            value = value << 8U | dataOf(mBytes)[at + (mIsBigEndian ? i : size - 1 - i)];
        return value;
    }

private:
    const QByteArray &mBytes;
    const bool mIsBigEndian;
};

/// What an entry of the directory says; the value is the only one, or the first of them, where they stand in the entry.
struct Entry
{
    quint64 tag;
    quint16 type;
    quint64 count;
    quint64 value;
};

void keep(const Entry &entry, TiffStructure *structure)
{
    switch (entry.tag) {
    case StripOffsets:
    case TileOffsets:
        structure->offsets = std::max(structure->offsets, entry.count);
        break;
    case StripByteCounts:
    case TileByteCounts:
        structure->sizes = std::max(structure->sizes, entry.count);
        break;
    case OldSubfileType:
        structure->isReduced = entry.value == reducedImage;
        break;
    case PhotometricInterpretation:
        structure->isPalette = entry.value == paletteInterpretation;
        break;
    case GrayResponseCurve:
        structure->hasResponseCurve = true;
        break;
    case ColorMap:
        structure->paletteSize = entry.count;
        structure->hasShortPalette = entry.type == shortType;
        break;
    case ExtraSamples:
        structure->extraSamples = entry.count;
        break;
    case YCbCrSubSampling:
        structure->hasSubsampling = true;
        break;
    default:
        if (!isKnown(entry.tag) && structure->problem.isEmpty())
            structure->problem = QStringLiteral("entry %1 is not known").arg(entry.tag);
    }
}

/// @return false if it points behind the end of the file
bool readEntry(const Numbers &numbers, const Form &form, quint64 at, TiffStructure *structure)
{
    const auto type = static_cast<quint16>(numbers.number(at + 2, 2));
    const quint64 typeSize = sizeOfType(type);
    const quint64 count = numbers.number(at + 4, form.offsetSize);
    const quint64 value = at + 4 + form.offsetSize;
    keep({numbers.number(at, 2), type, count, numbers.number(value, std::min(typeSize, form.offsetSize))}, structure);
    if (typeSize == 0 || count <= form.offsetSize / typeSize) // nothing outside of the entry
        return true;
    const quint64 begin = numbers.number(value, form.offsetSize);
    if (count > UINT64_MAX / typeSize || !numbers.has(begin, count * typeSize))
        return false;
    structure->valuesSize += count * typeSize;
    structure->places.push_back({begin, begin + count * typeSize});
    return true;
}

/// @return false if the end of the file comes first; of too many entries none is read, and the problem told
bool readDirectory(const QByteArray &bytes, TiffStructure *structure)
{
    const Numbers numbers(bytes);
    const Form form = bytes.at(2) == bigVersion || bytes.at(3) == bigVersion ? bigForm : classicForm;
    if (!numbers.has(0, form.headerSize))
        return false;
    structure->places.push_back({0, form.headerSize});
    const quint64 directory = numbers.number(form.headerSize - form.offsetSize, form.offsetSize);
    if (!numbers.has(directory, form.countSize))
        return false;
    const quint64 entries = numbers.number(directory, form.countSize);
    if (entries > maxEntries) {
        structure->problem = QStringLiteral("the image header is damaged");
        return true;
    }
    const quint64 first = directory + form.countSize;
    if (!numbers.has(first, entries * form.entrySize + form.offsetSize))
        return false;
    structure->places.push_back({directory, first + entries * form.entrySize + form.offsetSize});
    for (quint64 i = 0; i < entries; ++i) {
        if (!readEntry(numbers, form, first + i * form.entrySize, structure))
            return false;
    }
    return true;
}

/// Whether the header, the directory and the values share no byte: what an entry points at is then what was written for
/// it. Only one rational may belong to two entries, as writers have it of the two resolutions.
bool areValuesApart(std::vector<TiffPlace> places)
{
    const auto isBefore = [](const TiffPlace &a, const TiffPlace &b) {
        return a.begin != b.begin ? a.begin < b.begin : a.end < b.end;
    };
    const auto isOneRational = [](const TiffPlace &a, const TiffPlace &b) {
        return a.begin == b.begin && a.end == b.end && a.end - a.begin == sizeOfType(rationalType);
    };
    std::sort(places.begin(), places.end(), isBefore);
    places.erase(std::unique(places.begin(), places.end(), isOneRational), places.end());
    return areApart(std::move(places), {});
}

/// Takes codes of 9 to 12 bits off a stream, the highest bit first.
class CodeReader
{
public:
    CodeReader(const uchar *data, qint64 size)
        : mData(data)
        , mBits(8 * size)
    {
    }

    /// The bytes that were touched.
    qint64 position() const { return (mAt + 7) / 8; }

    /// @return -1 without as many bits; nothing is taken then
    int peek(int bits) const
    {
        if (mAt + bits > mBits)
            return -1;
        unsigned code = 0;
        for (qint64 byte = mAt / 8; byte <= (mAt + bits - 1) / 8; ++byte)
            code = code << 8U | mData[byte];
        const auto unused = static_cast<unsigned>(8 * ((mAt + bits - 1) / 8 + 1) - mAt - bits);
        return static_cast<int>(code >> unused & ((1U << static_cast<unsigned>(bits)) - 1U));
    }

    void skip(int bits) { mAt += bits; }

private:
    const uchar *mData;
    const qint64 mBits;
    qint64 mAt = 0;
};
} // namespace

TiffStructure readTiffStructure(const QByteArray &bytes)
{
    TiffStructure structure;
    const bool isThere = readDirectory(bytes, &structure);
    if (!structure.problem.isEmpty())
        return structure;
    if (!isThere)
        structure.problem = QStringLiteral("the image is incomplete");
    else if (structure.valuesSize > static_cast<quint64>(bytes.size())) // the decoder copies each of them
        structure.problem = QStringLiteral("the values of entries overlap");
    else if (structure.isReduced)
        structure.problem = QStringLiteral("the page is a reduced form of an image");
    else if (structure.hasResponseCurve)
        structure.problem = QStringLiteral("a response curve is not supported");
    else if (structure.offsets == 0 || structure.offsets != structure.sizes)
        structure.problem = QStringLiteral("the image header is damaged");
    else if (structure.offsets > maxPieces)
        structure.problem = QStringLiteral("%1 strips or tiles are too many").arg(structure.offsets);
    else if (!areValuesApart(structure.places))
        structure.problem = QStringLiteral("the values of entries overlap");
    return structure;
}

bool areApart(std::vector<TiffPlace> pieces, const std::vector<TiffPlace> &places)
{
    std::sort(pieces.begin(), pieces.end(), [](const TiffPlace &a, const TiffPlace &b) { return a.begin < b.begin; });
    const auto overlapping = std::adjacent_find(
        pieces.begin(), pieces.end(), [](const TiffPlace &a, const TiffPlace &b) { return a.end > b.begin; });
    if (overlapping != pieces.end())
        return false;
    // The pieces are in the order of their ends now, too.
    return std::none_of(places.begin(), places.end(), [&pieces](const TiffPlace &place) {
        const auto next = std::partition_point(
            pieces.begin(), pieces.end(), [&place](const TiffPlace &piece) { return piece.end <= place.begin; });
        return next != pieces.end() && next->begin < place.end;
    });
}

bool isWholePackBits(const uchar *packed, qint64 packedSize, qint64 size)
{
    constexpr int nothing = 128;
    qint64 unpacked = 0;
    qint64 at = 0;
    while (at < packedSize && unpacked <= size) {
        const int count = packed[at];
        if (count < nothing)
            unpacked += count + 1;
        else if (count > nothing)
            unpacked += 2 * nothing + 1 - count;
        at += count < nothing ? count + 2 : count > nothing ? 2 : 1;
    }
    return at == packedSize && unpacked == size;
}

bool isWholeLzw(const uchar *packed, qint64 packedSize, qint64 size)
{
    constexpr int clear = 256;
    constexpr int end = 257;
    constexpr int firstFree = 258;
    constexpr int leastBits = 9;
    constexpr int mostBits = 12;
    std::array<int, 1 << mostBits> lengths; // NOLINT(cppcoreguidelines-pro-type-member-init): as far as it is used
    std::fill_n(lengths.begin(), firstFree, 1);

    CodeReader codes(packed, packedSize);
    int bits = leastBits;
    int free = firstFree;
    int previous = clear;
    qint64 unpacked = 0;
    for (;;) {
        const int code = codes.peek(bits);
        // Writers disagree on whether the end may be the first code that is a bit longer.
        const bool isShortEnd = unpacked == size && bits > leastBits && code != end && codes.peek(bits - 1) == end;
        if (code == end || isShortEnd) {
            codes.skip(isShortEnd ? bits - 1 : bits);
            return unpacked == size && codes.position() == packedSize;
        }
        codes.skip(bits);
        if (code == clear) {
            bits = leastBits;
            free = firstFree;
            previous = clear;
            continue;
        }
        const bool isFirst = previous == clear;
        if (code < 0 || unpacked >= size || (isFirst ? code > clear : code > free))
            return false;
        if (!isFirst && free < (1 << mostBits)) {
            lengths[static_cast<std::size_t>(free)] = lengths[static_cast<std::size_t>(previous)] + 1;
            ++free;
            if (free == (1 << bits) - 1 && bits < mostBits) // one code early, as TIFF has it
                ++bits;
        }
        if (code >= free) // a table that is full has no next code
            return false;
        unpacked += lengths[static_cast<std::size_t>(code)];
        previous = code;
    }
}

} // namespace FiberInspection::ImageFormats
