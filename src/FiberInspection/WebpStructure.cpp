// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/WebpStructure_p.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <vector>

namespace FiberInspection {

namespace {
constexpr int longestCode = 15; // bits
constexpr int literals = 256; // values of a channel
constexpr int lengthSymbols = 24;
constexpr int distanceSymbols = 40;
constexpr int largestCacheBits = 11;

int ceiling(int value, int bits)
{
    return (value + (1 << bits) - 1) >> bits;
}

/// From the lowest bit of each byte on; zeros behind the end.
class Bits
{
public:
    Bits(const uchar *data, qint64 size)
        : mData(data)
        , mSize(size * 8)
    {
    }

    quint32 read(int count)
    {
        quint32 value = 0;
        for (int i = 0; i < count; ++i, ++mAt) {
            if (mAt < mSize)
                value |= static_cast<quint32>(mData[mAt / 8] >> (mAt % 8) & 1) << i;
        }
        return value;
    }
    bool isOver() const { return mAt > mSize; }

private:
    const uchar *mData;
    qint64 mSize; ///< bits
    qint64 mAt = 0;
};

/// A canonical prefix code: shorter codes first, then lower symbols.
class PrefixCode
{
public:
    /// @return false if the lengths make no code
    bool set(const std::vector<int> &lengths)
    {
        mCounts.fill(0);
        mSymbols.clear();
        for (int length = 1; length <= longestCode; ++length) {
            for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
                if (lengths[symbol] != length)
                    continue;
                mSymbols.push_back(static_cast<int>(symbol));
                ++mCounts[static_cast<std::size_t>(length)];
            }
        }
        int open = 1; // codes of the length at hand that are not given away
        for (int length = 1; length <= longestCode; ++length)
            open = std::max(2 * open - mCounts[static_cast<std::size_t>(length)], -literals);
        return mSymbols.size() == 1 || open == 0;
    }

    int read(Bits *bits) const
    {
        if (mSymbols.size() == 1)
            return mSymbols[0]; // it takes no bits
        int code = 0;
        int first = 0;
        int index = 0;
        for (int length = 1; length <= longestCode; ++length) {
            code |= static_cast<int>(bits->read(1));
            const int count = mCounts[static_cast<std::size_t>(length)];
            if (code - first < count)
                return mSymbols[static_cast<std::size_t>(index + code - first)];
            index += count;
            first = (first + count) * 2;
            code *= 2;
        }
        return 0; // never, of a complete code
    }

private:
    std::array<int, longestCode + 1> mCounts{};
    std::vector<int> mSymbols;
};

/// Where the first 120 distances lead: to the pixels around, by how near they are.
class Neighbours
{
public:
    Neighbours()
    {
        for (int y = 0; y <= 7; ++y) {
            for (int x = -7; x <= 8; ++x) {
                if (y > 0 || x > 0)
                    mPlaces.push_back({x, y});
            }
        }
        std::sort(mPlaces.begin(), mPlaces.end(), [](const Place &a, const Place &b) { return a.rank() < b.rank(); });
    }

    int distance(int code, int width) const
    {
        const int places = static_cast<int>(mPlaces.size());
        if (code > places)
            return code - places;
        const Place &place = mPlaces[static_cast<std::size_t>(code - 1)];
        return std::max(place.y * width + place.x, 1);
    }

private:
    struct Place
    {
        int x; ///< pixels to the left
        int y; ///< pixels up

        std::array<int, 3> rank() const { return {x * x + y * y, std::abs(x), x < 0 ? 1 : 0}; }
    };
    std::vector<Place> mPlaces;
};

class Reader
{
public:
    Reader(const uchar *data, qint64 size)
        : mBits(data, size)
    {
    }

    WebpCodes read(bool hasHeader, int width, int height)
    {
        if (hasHeader) {
            mBits.read(8); // the signature
            width = static_cast<int>(mBits.read(14)) + 1;
            height = static_cast<int>(mBits.read(14)) + 1;
            mBits.read(1 + 3); // transparency, version
        }
        WebpCodes codes;
        if (!skipTransforms(&width, height) || !readCacheBits() || !countSets(width, height, &codes.sets))
            codes.problem = mBits.isOver() ? WebpCodes::Incomplete : WebpCodes::Damaged;
        return codes;
    }

private:
    using Pixels = std::vector<quint32>;

    bool skipTransforms(int *width, int height)
    {
        enum Transform : quint32 { Predictor, CrossColor, SubtractGreen, ColorIndexing };

        for (quint32 seen = 0; mBits.read(1) != 0;) {
            const quint32 transform = mBits.read(2);
            if ((seen >> transform & 1) != 0)
                return false;
            seen |= 1U << transform;
            if (transform == Predictor || transform == CrossColor) {
                const int squareBits = static_cast<int>(mBits.read(3)) + 2;
                if (!readImage(ceiling(*width, squareBits), ceiling(height, squareBits)))
                    return false;
            } else if (transform == ColorIndexing) {
                const int colors = static_cast<int>(mBits.read(8)) + 1;
                if (!readImage(colors, 1))
                    return false;
                *width = ceiling(*width, colors > 16 ? 0 : colors > 4 ? 1 : colors > 2 ? 2 : 3); // pixels in a byte
            }
        }
        return !mBits.isOver();
    }

    bool readCacheBits()
    {
        mCacheBits = mBits.read(1) != 0 ? static_cast<int>(mBits.read(4)) : 0;
        return mCacheBits <= largestCacheBits && !mBits.isOver();
    }

    bool countSets(int width, int height, int *sets)
    {
        if (mBits.read(1) == 0)
            return !mBits.isOver();
        const int squareBits = static_cast<int>(mBits.read(3)) + 2;
        if (!readImage(ceiling(width, squareBits), ceiling(height, squareBits)))
            return false;
        for (const quint32 pixel : mImage)
            *sets = std::max(*sets, static_cast<int>(pixel >> 8 & 0xFFFF) + 1);
        return true;
    }

    /// An image within the image; it has one set of codes.
    bool readImage(int width, int height)
    {
        if (!readCacheBits() || !readCodes())
            return false;
        Pixels cache(std::size_t(1) << mCacheBits);
        const auto total = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
        mImage.clear();
        const auto append = [&](quint32 pixel) {
            mImage.push_back(pixel);
            if (mCacheBits > 0)
                cache[(0x1E35A7BDU * pixel) >> (32 - mCacheBits)] = pixel;
        };
        while (mImage.size() < total && !mBits.isOver()) {
            const int symbol = mCodes[Green].read(&mBits);
            if (symbol < literals) {
                append(readPixel(symbol));
            } else if (symbol < literals + lengthSymbols) {
                const auto length = static_cast<std::size_t>(readNumber(symbol - literals));
                const int code = readNumber(mCodes[Distance].read(&mBits));
                const auto distance = static_cast<std::size_t>(mNeighbours.distance(code, width));
                if (distance > mImage.size() || length > total - mImage.size())
                    return false;
                for (std::size_t i = 0; i < length; ++i)
                    append(mImage[mImage.size() - distance]);
            } else {
                append(cache[static_cast<std::size_t>(symbol - literals - lengthSymbols)]);
            }
        }
        return !mBits.isOver();
    }

    quint32 readPixel(int green)
    {
        const auto red = static_cast<quint32>(mCodes[Red].read(&mBits));
        const auto blue = static_cast<quint32>(mCodes[Blue].read(&mBits));
        const auto alpha = static_cast<quint32>(mCodes[Alpha].read(&mBits));
        return alpha << 24 | red << 16 | static_cast<quint32>(green) << 8 | blue;
    }

    /// A length or a distance: its magnitude is coded, the rest are plain bits.
    int readNumber(int symbol)
    {
        if (symbol < 4)
            return symbol + 1;
        const int extraBits = (symbol - 2) / 2;
        return ((2 + symbol % 2) << extraBits) + static_cast<int>(mBits.read(extraBits)) + 1;
    }

    bool readCodes()
    {
        const int green = literals + lengthSymbols + (mCacheBits > 0 ? 1 << mCacheBits : 0);
        return readCode(green, &mCodes[Green]) && readCode(literals, &mCodes[Red]) && readCode(literals, &mCodes[Blue])
            && readCode(literals, &mCodes[Alpha]) && readCode(distanceSymbols, &mCodes[Distance]);
    }

    bool readCode(int symbols, PrefixCode *code)
    {
        std::vector<int> lengths(static_cast<std::size_t>(symbols));
        const bool isRead = mBits.read(1) != 0 ? readFewLengths(&lengths) : readLengths(&lengths);
        return isRead && code->set(lengths) && !mBits.isOver();
    }

    bool readFewLengths(std::vector<int> *lengths)
    {
        const quint32 more = mBits.read(1);
        const int sizeOfFirst = mBits.read(1) != 0 ? 8 : 1;
        return readOneLength(sizeOfFirst, lengths) && (more == 0 || readOneLength(8, lengths));
    }

    bool readOneLength(int size, std::vector<int> *lengths)
    {
        const std::size_t symbol = mBits.read(size);
        if (symbol >= lengths->size())
            return false;
        (*lengths)[symbol] = 1;
        return true;
    }

    bool readLengths(std::vector<int> *lengths)
    {
        constexpr std::array<std::size_t, 19> order{17, 18, 0, 1, 2, 3, 4, 5, 16, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15};
        constexpr int firstRepetition = 16; // below it a symbol is a length
        constexpr std::array<int, 3> extraBits{2, 3, 7};
        constexpr std::array<int, 3> fewest{3, 3, 11};

        std::vector<int> lengthsOfLengths(order.size());
        const std::size_t count = mBits.read(4) + 4;
        for (std::size_t i = 0; i < std::min(count, order.size()); ++i)
            lengthsOfLengths[order[i]] = static_cast<int>(mBits.read(3));
        PrefixCode code;
        if (!code.set(lengthsOfLengths))
            return false;

        std::size_t most = lengths->size(); // symbols to be read
        if (mBits.read(1) != 0) {
            const int bits = 2 + 2 * static_cast<int>(mBits.read(3));
            most = 2 + mBits.read(bits);
            if (most > lengths->size())
                return false;
        }
        int last = 8;
        for (std::size_t at = 0; at < lengths->size() && most > 0 && !mBits.isOver(); --most) {
            const int symbol = code.read(&mBits);
            if (symbol < firstRepetition) {
                (*lengths)[at++] = symbol;
                last = symbol != 0 ? symbol : last;
                continue;
            }
            const auto kind = static_cast<std::size_t>(symbol - firstRepetition);
            const std::size_t times = mBits.read(extraBits[kind]) + static_cast<std::size_t>(fewest[kind]);
            if (times > lengths->size() - at)
                return false;
            std::fill_n(lengths->begin() + static_cast<std::ptrdiff_t>(at), times, kind == 0 ? last : 0);
            at += times;
        }
        return true;
    }

    enum Channel : std::size_t { Green, Red, Blue, Alpha, Distance };

    Bits mBits;
    int mCacheBits = 0;
    std::array<PrefixCode, 5> mCodes;
    const Neighbours mNeighbours;
    Pixels mImage; ///< the one that was read last
};
} // namespace

WebpCodes WebpCodes::read(const uchar *data, qint64 size, bool hasHeader, int width, int height)
{
    return Reader(data, size).read(hasHeader, width, height);
}

} // namespace FiberInspection
