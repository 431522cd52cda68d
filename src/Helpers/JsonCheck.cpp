// SPDX-License-Identifier: Apache-2.0
#include "Helpers/JsonCheck_p.h"

#include <QChar>
#include <QVarLengthArray>

#include <algorithm>
#include <array>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace {
constexpr int deepest = 1024; // objects and arrays within each other, as Qt has it
constexpr int fewKeys = 64; // which the processor's cache holds

using Letters = std::array<bool, 256>;

constexpr Letters lettersOf(std::string_view text)
{
    Letters letters{};
    for (const char letter : text)
        letters[static_cast<unsigned char>(letter)] = true;
    return letters;
}

constexpr Letters structure = lettersOf("\"{}[]");
constexpr Letters stringEnds = lettersOf("\"\\");

/// Moves to the first of the letters, or to the end.
template <const Letters &letters>
const char *skipTo(const char *at, const char *end)
{
    const auto isThere = [&](int ahead) { return letters[static_cast<unsigned char>(at[ahead])]; };
    for (; end - at >= 4; at += 4) { // by fours: it is here that the time goes
        if (isThere(0))
            return at;
        if (isThere(1))
            return at + 1;
        if (isThere(2))
            return at + 2;
        if (isThere(3))
            return at + 3;
    }
    while (at < end && !isThere(0))
        ++at;
    return at;
}

bool isBlank(char byte)
{
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

// --- Escapes ---------------------------------------------------------------------------------------------------------

int hexValue(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const char letter = static_cast<char>(digit | 0x20);
    return letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// Reads the escape behind a backslash as Qt does, which takes any other letter for itself, and moves behind it.
uint readEscape(const char *&at, const char *end)
{
    constexpr std::string_view letters = "bfnrt";
    constexpr std::string_view values = "\b\f\n\r\t";
    const char letter = *at++;
    if (letter != 'u') {
        const std::size_t found = letters.find(letter);
        return static_cast<uint>(found == std::string_view::npos ? letter : values[found]);
    }
    uint value = 0;
    for (int i = 0; i < 4 && at < end && hexValue(*at) >= 0; ++i)
        value = 16 * value + static_cast<uint>(hexValue(*at++));
    return value;
}

/// Writes UTF-16 as UTF-8. A lone surrogate, which has none, becomes the replacement character: Qt takes a key with the
/// one for a key with the other where it has stored them in different ways.
class Utf8Writer
{
public:
    explicit Utf8Writer(QByteArray *bytes)
        : mBytes(bytes)
    {
    }
    ~Utf8Writer() { flush(); }
    Q_DISABLE_COPY_MOVE(Utf8Writer)

    void addByte(char byte)
    {
        flush();
        mBytes->append(byte);
    }

    void addUnit(ushort unit)
    {
        if (mHigh != 0 && QChar::isLowSurrogate(unit)) {
            const uint character = QChar::surrogateToUcs4(mHigh, unit);
            mHigh = 0;
            append(character, 3);
        } else {
            flush();
            if (QChar::isHighSurrogate(unit))
                mHigh = unit;
            else
                write(unit);
        }
    }

private:
    void flush()
    {
        if (const ushort high = std::exchange(mHigh, ushort(0)))
            write(high);
    }

    void write(uint unit)
    {
        if (unit < 0x80)
            mBytes->append(static_cast<char>(unit));
        else if (QChar::isSurrogate(unit))
            append(QChar::ReplacementCharacter, 2);
        else
            append(unit, unit < 0x800 ? 1 : 2);
    }

    /// @param following bytes behind the first, each with six bits
    void append(uint character, int following)
    {
        constexpr uchar firsts[] = {0, 0xc0, 0xe0, 0xf0};
        mBytes->append(static_cast<char>(firsts[following] | (character >> (6 * following))));
        for (int shift = 6 * (following - 1); shift >= 0; shift -= 6)
            mBytes->append(static_cast<char>(0x80 | ((character >> shift) & 0x3f)));
    }

    QByteArray *const mBytes;
    ushort mHigh = 0; ///< a first surrogate that may get its second
};

void appendUnescaped(const char *at, const char *end, QByteArray *bytes)
{
    Utf8Writer writer(bytes);
    while (at < end) {
        if (*at != '\\') {
            writer.addByte(*at++);
            continue;
        }
        const uint character = readEscape(++at, end);
        if (QChar::requiresSurrogates(character)) { // a sign of more than 7 bits behind a backslash, as Qt reads it
            writer.addUnit(QChar::highSurrogate(character));
            writer.addUnit(QChar::lowSurrogate(character));
        } else {
            writer.addUnit(static_cast<ushort>(character));
        }
    }
}

// --- The pass over the bytes -----------------------------------------------------------------------------------------

/// Follows objects, arrays and strings as far as the bytes are JSON to Qt. Behind the first mistake Qt reads nothing,
/// so it does not matter what is found there.
class Scanner
{
public:
    explicit Scanner(const QByteArray &json)
        : mBegin(json.constData())
        , mEnd(mBegin + json.size())
    {
    }

    JsonFault run();

private:
    struct Level
    {
        int firstKey = 0;
        bool isSorted = true; ///< as in all that Qt writes: each key is greater than the one before
    };

    struct Key
    {
        int start = 0; ///< in the JSON; from -1 downwards among those that had escapes
        int size = 0; ///< bytes
    };

    const char *passString(const char *at); ///< null when it does not end
    void addKey(const char *start, const char *end, bool hasEscapes);
    bool hasKeyTwice(const Level &level);
    bool hasOneTwice(Key *first, Key *last);
    bool hasOneOfManyTwice(const Key *first, const Key *last);
    std::string_view text(const Key &key) const;

    const char *const mBegin;
    const char *const mEnd;
    QVarLengthArray<Level, 32> mLevels; ///< the objects and arrays that are open
    QVarLengthArray<Key, 64> mKeys; ///< theirs
    QByteArray mUnescaped;
};

JsonFault Scanner::run()
{
    for (const char *at = mBegin; (at = skipTo<structure>(at, mEnd)) < mEnd; ++at) {
        if (*at == '"') {
            at = passString(at);
            if (!at)
                break;
        } else if (*at == '{' || *at == '[') {
            if (mLevels.size() == deepest)
                return {JsonFault::TooDeep, static_cast<int>(at - mBegin)};
            mLevels.append({mKeys.size(), true});
        } else {
            if (mLevels.isEmpty())
                break;
            const Level level = mLevels.last();
            if (!level.isSorted && hasKeyTwice(level))
                return {JsonFault::KeyTwice, static_cast<int>(at - mBegin)};
            mKeys.resize(level.firstKey);
            mLevels.removeLast();
        }
    }
    return {};
}

/// In any order, as long as it is one. Mostly the first letter decides, for which a call of memcmp() would be slow.
bool isLess(std::string_view one, std::string_view other)
{
    return std::lexicographical_compare(one.cbegin(), one.cend(), other.cbegin(), other.cend());
}

const char *Scanner::passString(const char *at)
{
    const char *const start = at + 1;
    at = skipTo<stringEnds>(start, mEnd);
    const bool hasEscapes = at < mEnd && *at == '\\';
    while (at < mEnd && *at == '\\')
        at = skipTo<stringEnds>(std::min(at + 2, mEnd), mEnd);
    if (at == mEnd)
        return nullptr;

    const char *next = at + 1;
    while (next < mEnd && isBlank(*next))
        ++next;
    if (next < mEnd && *next == ':' && !mLevels.isEmpty())
        addKey(start, at, hasEscapes);
    return at;
}

void Scanner::addKey(const char *start, const char *end, bool hasEscapes)
{
    Key key{static_cast<int>(start - mBegin), static_cast<int>(end - start)};
    if (hasEscapes) {
        const int before = mUnescaped.size();
        appendUnescaped(start, end, &mUnescaped);
        key = {-1 - before, mUnescaped.size() - before};
    }
    Level &level = mLevels.last();
    if (level.isSorted && mKeys.size() > level.firstKey)
        level.isSorted = isLess(text(mKeys.last()), text(key));
    mKeys.append(key);
}

bool Scanner::hasKeyTwice(const Level &level)
{
    Key *const first = mKeys.begin() + level.firstKey;
    return mKeys.end() - first > fewKeys ? hasOneOfManyTwice(first, mKeys.end()) : hasOneTwice(first, mKeys.end());
}

bool Scanner::hasOneTwice(Key *first, Key *last)
{
    std::sort(first, last, [this](const Key &one, const Key &other) { return isLess(text(one), text(other)); });
    const auto isSame = [this](const Key &one, const Key &other) { return text(one) == text(other); };
    return std::adjacent_find(first, last, isSame) != last;
}

/// Sorts numbers, which lie side by side, in place of texts, which lie all over the memory. Keys that somebody has made
/// for one hash cost no more than sorting the texts.
bool Scanner::hasOneOfManyTwice(const Key *first, const Key *last)
{
    constexpr int indexBits = 32;
    const auto count = static_cast<std::size_t>(last - first);
    std::vector<quint64> places(count); // the hash of a key, and its index
    for (std::size_t i = 0; i < count; ++i)
        places[i] = quint64(std::hash<std::string_view>()(text(first[i]))) << indexBits | i;
    std::sort(places.begin(), places.end());

    std::vector<Key> alike; // keys of one hash, seldom more than one
    for (std::size_t i = 0; i < count; ++i) {
        alike.push_back(first[static_cast<quint32>(places[i])]);
        const bool isLast = i + 1 == count || places[i] >> indexBits != places[i + 1] >> indexBits;
        if (!isLast)
            continue;
        if (alike.size() > 1 && hasOneTwice(alike.data(), alike.data() + alike.size()))
            return true;
        alike.clear();
    }
    return false;
}

std::string_view Scanner::text(const Key &key) const
{
    const char *const start = key.start < 0 ? mUnescaped.constData() - 1 - key.start : mBegin + key.start;
    return {start, static_cast<std::size_t>(key.size)};
}
} // namespace

JsonFault findJsonFault(const QByteArray &json)
{
    return Scanner(json).run();
}
