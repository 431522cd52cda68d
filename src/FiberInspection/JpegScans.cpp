// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/JpegScans_p.h"

#include <QtEndian>

#include <algorithm>
#include <cstdlib>

namespace FiberInspection::ImageFormats {

namespace {
constexpr int longestCode = 16; // bits
constexpr int bitsPerByte = 8;
constexpr int bufferBits = 64;
constexpr int neededBits = 32; // the longest code, and what may follow it
constexpr int coefficients = 64; // of a block
constexpr int longestRun = 15; // of zeros, in a code
constexpr qint64 whitest = 1024; // the mean of a block, eight times what is above mid grey

/// The codes of one table, to be looked up by the bits that come next.
class Codes
{
public:
    void set(const JHUFF_TBL *table)
    {
        mQuick.fill(0);
        mEnd.fill(0);
        mLongest = table ? longestCode : 0;
        if (!table)
            return;
        std::copy(std::begin(table->huffval), std::end(table->huffval), mValues.begin());
        int code = 0;
        int place = 0;
        for (int length = 1; length <= longestCode; ++length, code <<= 1) {
            const int count = std::min(int(table->bits[length]), (1 << length) - code);
            mShift[static_cast<std::size_t>(length)] = place - code;
            if (length <= quickBits) {
                const int copies = 1 << (quickBits - length);
                for (int i = 0; i < count; ++i) {
                    const auto entry = static_cast<quint16>(length << bitsPerByte | mValues[(place + i) & 0xFF]);
                    const auto first = static_cast<std::size_t>(code + i) << (quickBits - length);
                    std::fill_n(&mQuick[first], copies, entry);
                }
            }
            code += count;
            place += count;
            mEnd[static_cast<std::size_t>(length)] = static_cast<quint32>(code) << (longestCode - length);
        }
    }

    /// @param bits the first ones are the highest
    /// @return the length of the code above its value; 0 when there is no such code
    int find(quint64 bits) const
    {
        const int entry = mQuick[bits >> (bufferBits - quickBits)];
        return entry != 0 ? entry : findLong(static_cast<quint32>(bits >> (bufferBits - longestCode)));
    }

private:
    static constexpr int quickBits = 10; // longer codes are rare

    int findLong(quint32 bits) const
    {
        for (std::size_t length = quickBits + 1; length <= static_cast<std::size_t>(mLongest); ++length) {
            if (bits < mEnd[length]) {
                const int place = static_cast<int>(bits >> (longestCode - length)) + mShift[length];
                return static_cast<int>(length) << bitsPerByte | mValues[static_cast<uchar>(place)];
            }
        }
        return 0;
    }

    std::array<quint16, 1 << quickBits> mQuick{};
    std::array<quint32, longestCode + 1> mEnd{}; ///< of the codes of a length, as the first of 16 bits
    std::array<int, longestCode + 1> mShift{}; ///< from a code of a length to the place of its value
    std::array<uchar, 256> mValues{};
    int mLongest = 0;
};

bool isEndOfBlock(int code)
{
    return (code & 0xF) == 0 && (code >> 4 & 0xF) != longestRun;
}

/// How far the codes of a sequential block go that begin with the next bits, with the values that follow them.
class Strides
{
public:
    struct Stride
    {
        uchar bits = 0; ///< 0 when not even one code is known
        uchar advance = 0; ///< in coefficients
        uchar endsBlock = 0; ///< 1 when the last code does
    };

    void set(const Codes &codes)
    {
        for (std::size_t i = 0; i < mStrides.size(); ++i)
            mStrides[i] = strideOf(codes, quint64(i) << (bufferBits - quickBits));
    }

    const Stride &of(quint64 bits) const { return mStrides[bits >> (bufferBits - quickBits)]; }

private:
    static constexpr int quickBits = 11;

    static Stride strideOf(const Codes &codes, quint64 next)
    {
        Stride stride;
        while (stride.bits < quickBits && stride.advance < coefficients) {
            const int code = codes.find(next << stride.bits);
            const int length = code >> bitsPerByte;
            const int all = stride.bits + length + (code & 0xF);
            // The bits after the first code's have to be known, too.
            if (code == 0 || stride.bits + length > quickBits)
                break;
            stride.bits = static_cast<uchar>(all);
            if (isEndOfBlock(code)) {
                stride.endsBlock = 1;
                break;
            }
            stride.advance = static_cast<uchar>(stride.advance + (code >> 4 & 0xF) + 1);
        }
        return stride;
    }

    std::array<Stride, 1 << quickBits> mStrides{};
};

/// The bits up to the next marker, without the zero that follows each 0xFF.
class Bits
{
public:
    Bits(const uchar *at, const uchar *end)
        : mAt(at)
        , mEnd(end)
    {
    }

    quint64 next() ///< at least 32, zeros behind the last
    {
        if (mCount < neededBits)
            fill();
        return mBuffer;
    }
    void skip(int bits)
    {
        mBuffer <<= bits;
        mCount -= bits;
    }
    bool isExhausted() const { return mCount < 0; } ///< more were skipped than there are

    /// Whether nothing is left but what fills up the last byte; ones by the standard, zeros by some cameras.
    bool isAtEnd()
    {
        fill();
        if (mCount <= 0)
            return mCount == 0;
        const quint64 rest = mBuffer >> (bufferBits - mCount);
        return mCount < bitsPerByte && (rest == 0 || rest == (quint64(1) << mCount) - 1);
    }

    /// Goes on behind the marker if it is a restart.
    bool restart()
    {
        constexpr uchar kind = 0xF8;
        constexpr uchar restarts = 0xD0;
        const uchar *marker = mAt;
        while (marker < mEnd && *marker == 0xFF)
            ++marker;
        if (marker == mEnd || (*marker & kind) != restarts)
            return false;
        *this = Bits(marker + 1, mEnd);
        return true;
    }

private:
    void fill()
    {
        constexpr quint64 lowest = 0x0101010101010101;
        if (mCount < 0 || mCount >= bufferBits - bitsPerByte)
            return;
        if (mEnd - mAt >= qint64(sizeof(quint64))) {
            const auto bytes = qFromBigEndian<quint64>(mAt);
            if ((((~bytes) - lowest) & bytes & (lowest << (bitsPerByte - 1))) == 0) { // none is 0xFF
                const int count = (bufferBits - mCount) / bitsPerByte;
                mBuffer |= bytes >> mCount;
                mCount += count * bitsPerByte;
                mAt += count;
                // What came in of one more byte comes again.
                mBuffer &= ~quint64(0) << (bufferBits - mCount);
                return;
            }
        }
        fillByByte();
    }

    void fillByByte()
    {
        while (mCount <= bufferBits - bitsPerByte && mAt < mEnd) {
            const uchar byte = *mAt;
            if (byte == 0xFF) {
                const uchar *behind = mAt;
                while (behind < mEnd && *behind == 0xFF)
                    ++behind;
                if (behind == mEnd || *behind != 0)
                    return;
                mAt = behind;
            }
            ++mAt;
            mBuffer |= quint64(byte) << (bufferBits - bitsPerByte - mCount);
            mCount += bitsPerByte;
        }
    }

    const uchar *mAt;
    const uchar *mEnd;
    quint64 mBuffer = 0;
    int mCount = 0; ///< of bits in the buffer
};

/// One scan, and where it is.
struct Scan
{
    struct Component
    {
        const Codes *means = nullptr;
        const Codes *others = nullptr;
        const Strides *strides = nullptr;
        qint64 step = 1; ///< by which the mean is multiplied
        qint64 mean = 0;
    };

    std::array<Codes, NUM_HUFF_TBLS> means;
    std::array<Codes, NUM_HUFF_TBLS> others;
    std::array<Strides, NUM_HUFF_TBLS> strides;
    std::array<Component, MAX_COMPS_IN_SCAN> components;
    int first = 0; ///< coefficient
    int last = 0; ///< coefficient
    bool isProgressive = false;
    bool isRefinement = false;
    int emptyBlocks = 0; ///< that a code has announced
};

/// @return the value, or -1
int takeCode(const Codes &codes, Bits *bits)
{
    const int code = codes.find(bits->next());
    bits->skip(code >> bitsPerByte);
    return code == 0 ? -1 : code & 0xFF;
}

int takeBits(Bits *bits, int count)
{
    const quint64 next = bits->next();
    bits->skip(count);
    return count == 0 ? 0 : static_cast<int>(next >> (bufferBits - count));
}

JpegScans::Problem followMean(Scan::Component *component, Bits *bits)
{
    const int length = takeCode(*component->means, bits);
    if (length < 0 || length > longestRun)
        return JpegScans::Broken;
    const int value = takeBits(bits, length);
    const bool isNegative = length > 0 && (value >> (length - 1)) == 0;
    component->mean += isNegative ? value - (1 << length) + 1 : value;
    // Rounding may exceed the range by half a step.
    const bool isImpossible = std::llabs(component->mean) * component->step > whitest + component->step;
    return isImpossible ? JpegScans::Impossible : JpegScans::None;
}

/// Coefficients after the mean; a few codes in one step, as their values do not matter.
JpegScans::Problem followOthers(const Codes &codes, const Strides &strides, Bits *allBits)
{
    Bits bits = *allBits; // stays in registers
    JpegScans::Problem problem = JpegScans::None;
    int at = 1;
    while (at < coefficients) {
        const quint64 next = bits.next();
        const Strides::Stride &stride = strides.of(next);
        if (stride.bits > 0 && at + stride.advance + stride.endsBlock <= coefficients) {
            bits.skip(stride.bits);
            at += stride.advance;
            if (stride.endsBlock != 0)
                break;
            continue;
        }
        const int code = codes.find(next);
        if (code == 0) {
            problem = JpegScans::Broken;
            break;
        }
        bits.skip((code >> bitsPerByte) + (code & 0xF));
        if (isEndOfBlock(code))
            break;
        at += (code >> 4 & 0xF) + 1;
    }
    *allBits = bits;
    return at > coefficients ? JpegScans::Impossible : problem;
}

JpegScans::Problem followSequential(Scan::Component *component, Bits *bits)
{
    const JpegScans::Problem problem = followMean(component, bits);
    return problem == JpegScans::None ? followOthers(*component->others, *component->strides, bits) : problem;
}

JpegScans::Problem followFirst(Scan *scan, Bits *bits, quint64 *nonzero)
{
    if (scan->emptyBlocks > 0) {
        --scan->emptyBlocks;
        return JpegScans::None;
    }
    const Codes &codes = *scan->components[0].others;
    int at = scan->first;
    while (at <= scan->last) {
        const int code = takeCode(codes, bits);
        if (code < 0)
            return JpegScans::Broken;
        const int length = code & 0xF;
        const int run = code >> 4;
        if (length == 0 && run != longestRun) {
            scan->emptyBlocks = (1 << run) + takeBits(bits, run) - 1;
            return JpegScans::None;
        }
        bits->skip(length);
        at += run;
        if (length > 0 && at <= scan->last)
            *nonzero |= quint64(1) << at;
        ++at;
    }
    return at > scan->last + 1 ? JpegScans::Impossible : JpegScans::None;
}

/// One bit for each coefficient that is known already.
void skipCorrections(const Scan &scan, int from, quint64 nonzero, Bits *bits)
{
    for (int at = from; at <= scan.last; ++at) {
        if ((nonzero >> at & 1) != 0)
            takeBits(bits, 1);
    }
}

JpegScans::Problem followRefinement(Scan *scan, Bits *bits, quint64 *nonzero)
{
    const Codes &codes = *scan->components[0].others;
    int at = scan->first;
    for (; scan->emptyBlocks == 0 && at <= scan->last; ++at) {
        const int code = takeCode(codes, bits);
        if (code < 0)
            return JpegScans::Broken;
        const bool isNew = (code & 0xF) != 0;
        int run = code >> 4;
        if (!isNew && run != longestRun) {
            scan->emptyBlocks = (1 << run) + takeBits(bits, run);
            break;
        }
        takeBits(bits, isNew ? 1 : 0);
        for (; at <= scan->last; ++at) {
            if ((*nonzero >> at & 1) != 0)
                takeBits(bits, 1);
            else if (--run < 0)
                break;
        }
        if (at > scan->last)
            return JpegScans::Impossible;
        if (isNew)
            *nonzero |= quint64(1) << at;
    }
    if (scan->emptyBlocks > 0) {
        skipCorrections(*scan, at, *nonzero, bits);
        --scan->emptyBlocks;
    }
    return JpegScans::None;
}

JpegScans::Problem followBlock(Scan *scan, Bits *bits, std::size_t component, quint64 *nonzero)
{
    if (!scan->isProgressive)
        return followSequential(&scan->components[component], bits);
    if (scan->first > 0)
        return scan->isRefinement ? followRefinement(scan, bits, nonzero) : followFirst(scan, bits, nonzero);
    if (!scan->isRefinement)
        return followMean(&scan->components[component], bits);
    takeBits(bits, 1);
    return JpegScans::None;
}

void prepare(const jpeg_decompress_struct &info, Scan *scan)
{
    scan->isProgressive = info.progressive_mode != 0;
    scan->isRefinement = info.Ah > 0;
    scan->first = info.Ss;
    scan->last = std::min(info.Se, coefficients - 1);
    for (std::size_t i = 0; i < NUM_HUFF_TBLS; ++i) {
        scan->means[i].set(info.dc_huff_tbl_ptrs[i]);
        scan->others[i].set(info.ac_huff_tbl_ptrs[i]);
        if (!scan->isProgressive && info.ac_huff_tbl_ptrs[i])
            scan->strides[i].set(scan->others[i]);
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(info.comps_in_scan); ++i) {
        const jpeg_component_info &component = *info.cur_comp_info[i];
        const uint table = static_cast<uint>(component.ac_tbl_no) % NUM_HUFF_TBLS;
        scan->components[i].means = &scan->means[static_cast<uint>(component.dc_tbl_no) % NUM_HUFF_TBLS];
        scan->components[i].others = &scan->others[table];
        scan->components[i].strides = &scan->strides[table];
        const qint64 step = component.quant_table ? component.quant_table->quantval[0] : 1;
        scan->components[i].step = step << (scan->isProgressive ? info.Al : 0);
    }
}
} // namespace

JpegScans::Problem JpegScans::follow(const jpeg_decompress_struct &info)
{
    Scan scan;
    prepare(info, &scan);
    std::vector<quint64> &nonzero = mNonzero[static_cast<std::size_t>(info.cur_comp_info[0]->component_index)];
    const qint64 units = qint64(info.MCUs_per_row) * info.MCU_rows_in_scan;
    const bool keepsCoefficients = scan.isProgressive && scan.first > 0; // such a scan has one component
    if (keepsCoefficients)
        nonzero.resize(static_cast<std::size_t>(units));

    Bits bits(info.src->next_input_byte, info.src->next_input_byte + info.src->bytes_in_buffer);
    const qint64 unitsOfInterval = info.restart_interval > 0 ? info.restart_interval : units;
    quint64 unused = 0;
    for (qint64 unit = 0; unit < units; ++unit) {
        for (int block = 0; block < info.blocks_in_MCU; ++block) {
            quint64 *const known = keepsCoefficients ? &nonzero[static_cast<std::size_t>(unit)] : &unused;
            const auto component = static_cast<std::size_t>(info.MCU_membership[block]);
            const Problem problem = followBlock(&scan, &bits, component, known);
            if (problem != None)
                return bits.isExhausted() ? Broken : problem;
        }
        if (bits.isExhausted())
            return Broken;
        const bool isLast = unit + 1 == units;
        if (!isLast && (unit + 1) % unitsOfInterval != 0)
            continue;
        if (scan.emptyBlocks > 0 || !bits.isAtEnd())
            return LeftOver;
        if (!isLast && !bits.restart())
            return Broken;
        for (Scan::Component &component : scan.components)
            component.mean = 0;
    }
    return None;
}

} // namespace FiberInspection::ImageFormats
