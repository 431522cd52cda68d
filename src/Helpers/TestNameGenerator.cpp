// SPDX-License-Identifier: Apache-2.0
#include "Helpers/TestNameGenerator.h"

#include <QDebug>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <numeric>
#include <utility>
#include <vector>

namespace {
using GenerateError = TestNameGenerator::GenerateError;

constexpr qint64 moreThanAnyLimit = qint64(std::numeric_limits<int>::max()) + 1;

/// What a vector of names can hold: its memory is counted in an int.
constexpr qint64 mostNames = (moreThanAnyLimit - 1 - qint64(sizeof(QArrayData))) / qint64(sizeof(QString));

QChar tokenOf(QChar character)
{
    if (character.isLetter() && character.isUpper())
        return TestNameGenerator::tokenType_UpperCaseLetter;
    if (character.isLetter() && character.isLower())
        return TestNameGenerator::tokenType_LowerCaseLetter;
    if (character.isNumber())
        return TestNameGenerator::tokenType_Number;
    return TestNameGenerator::tokenType_Special;
}

/// Where the run of numeric characters ends that begins at start.
int endOfNumber(const QString &tokens, int start)
{
    int end = start;
    while (end < tokens.size() && tokens[end] == TestNameGenerator::tokenType_Number)
        ++end;
    return end;
}

/// How many values each column takes. Tokens are those of `from` and `to`, and each as long as these. After an error
/// there are as many counts as columns before the faulty one.
GenerateError countRanges(
    const QString &from, const QString &fromTokens, const QString &to, const QString &toTokens, QVector<qint64> *counts)
{
    for (int i = 0; i < fromTokens.size(); ++i) {
        if (fromTokens[i] != toTokens[i])
            return GenerateError::FromToTokenNotEqual;

        if (fromTokens[i] == TestNameGenerator::tokenType_Special) {
            counts->append(1);
        } else if (fromTokens[i] == TestNameGenerator::tokenType_Number) {
            const int length = endOfNumber(fromTokens, i) - i; // the run in `from` counts, also for `to`
            const qint64 first = from.midRef(i, length).toInt();
            const qint64 last = to.midRef(i, length).toInt();
            if (last < first)
                return GenerateError::ToLessThanFrom;
            counts->append(last - first + 1);
            i += length - 1;
        } else {
            const int count = to[i].unicode() - from[i].unicode() + 1;
            if (count < 0)
                return GenerateError::ToLessThanFrom;
            counts->append(count); // 0 is fine: such a column keeps its first letter
        }
    }
    return GenerateError::NoError;
}

/// The first column whose place in the other name is not all of its kind; tells how far the names agree.
int firstColumnSplitOtherwise(const QVector<NameGenColumnValue> &columns, const QString &otherTokens)
{
    int start = 0;
    for (int i = 0; i < columns.size(); ++i) {
        const int length = columns[i].value.size();
        if (otherTokens.midRef(start, length) != QString(length, columns[i].type))
            return i;
        start += length;
    }
    return NameGenFault::namesAsAWhole;
}

/// The first column at which the product of the counts passes the limit.
int firstColumnBeyond(const QVector<qint64> &counts, qint64 limit)
{
    qint64 product = 1;
    for (int i = 0; i < counts.size(); ++i) {
        product = std::min(product * counts[i], moreThanAnyLimit);
        if (product > limit)
            return i;
    }
    return NameGenFault::namesAsAWhole;
}

GenerateError faultAtColumn(
    GenerateError error, int column, const QVector<NameGenColumnValue> &columns, const QString &to, NameGenFault *fault)
{
    fault->error = error;
    if (column < 0 || column >= columns.size())
        return error;
    const int start = std::accumulate(columns.cbegin(), columns.cbegin() + column, 0,
        [](int length, const NameGenColumnValue &value) { return length + value.value.size(); });
    fault->column = column;
    fault->from = columns[column];
    fault->to.value = to.mid(start, fault->from.value.size());
    fault->to.type = tokenOf(to[start]);
    return error;
}

/// The product of the counts, as far as it can matter for a limit.
qint64 productOf(const QVector<qint64> &counts)
{
    qint64 product = 1;
    for (const qint64 count : counts)
        product = std::min(product * count, moreThanAnyLimit);
    return product;
}

/// One column of a run and the value it is at. It counts and holds no list, because a run can be long.
class Wheel
{
public:
    Wheel(NameGenColumnValue column, qint64 count)
        : mColumn(std::move(column))
        , mCount(count)
        , mIsNumber(mColumn.type == TestNameGenerator::tokenType_Number)
        , mFirstNumber(mIsNumber ? mColumn.value.toInt() : 0)
        , mLeadingZeros(TestNameGenerator::getLeadingZeroCount(mColumn))
    {
    }

    qint64 valueCount() const { return std::max<qint64>(mCount, 1); }
    int maxLength() const { return mColumn.value.size(); }

    bool advance()
    {
        if (mStep + 1 >= mCount)
            return false;
        ++mStep;
        return true;
    }

    void reset() { mStep = 0; }

    /// Writes up to maxLength() characters and returns the end of them.
    QChar *write(QChar *out) const
    {
        if (mStep == 0)
            return std::copy(mColumn.value.cbegin(), mColumn.value.cend(), out);
        if (mIsNumber)
            return writeNumber(out);
        *out = QChar(static_cast<ushort>(mColumn.value[0].unicode() + mStep));
        return out + 1;
    }

private:
    /// With as many zeros in front as the first number has, as far as its width allows.
    QChar *writeNumber(QChar *out) const
    {
        char digits[std::numeric_limits<qint64>::digits10 + 2];
        const char *const end = std::to_chars(std::begin(digits), std::end(digits), mFirstNumber + mStep).ptr;
        const int room = maxLength() - static_cast<int>(end - digits); // not negative: the last number has that width
        out = std::fill_n(out, std::min(mLeadingZeros, room), QLatin1Char('0'));
        return std::transform(
            static_cast<const char *>(digits), end, out, [](char digit) { return QLatin1Char(digit); });
    }

    NameGenColumnValue mColumn;
    qint64 mCount; ///< may be 0, which leaves the first value
    bool mIsNumber;
    qint64 mFirstNumber;
    int mLeadingZeros;
    qint64 mStep = 0;
};

/// What the wheels [begin, end) show, behind a text.
QString textOf(const QString &start, const Wheel *begin, const Wheel *end)
{
    const int maxLength = std::accumulate(
        begin, end, start.size(), [](int length, const Wheel &wheel) { return length + wheel.maxLength(); });
    QString text(maxLength, Qt::Uninitialized);
    QChar *out = std::copy(start.cbegin(), start.cend(), text.data());
    for (const Wheel *wheel = begin; wheel != end; ++wheel)
        out = wheel->write(out);
    text.truncate(static_cast<int>(out - text.constData()));
    return text;
}

/// Turns the last of the wheels, and those before it where one comes round. False when all of them did.
bool turn(Wheel *begin, Wheel *end)
{
    while (end != begin) {
        --end;
        if (end->advance())
            return true;
        end->reset();
    }
    return false;
}

/// How many combinations there are, as far as it can matter.
qint64 combinationCountOf(const std::vector<Wheel> &wheels)
{
    return std::accumulate(wheels.cbegin(), wheels.cend(), qint64(1),
        [](qint64 count, const Wheel &wheel) { return std::min(count * wheel.valueCount(), moreThanAnyLimit); });
}

/// All combinations, the last wheel turning fastest. There are no more than mostNames.
QVector<QString> combinationsOf(std::vector<Wheel> wheels)
{
    QVector<QString> names;
    names.reserve(static_cast<int>(combinationCountOf(wheels)));

    Wheel *const first = wheels.data();
    Wheel *const last = first + wheels.size() - 1;
    do {
        const QString start = textOf({}, first, last);
        do {
            names.append(textOf(start, last, last + 1));
        } while (last->advance());
        last->reset();
    } while (turn(first, last));
    return names;
}
} // namespace

QString NameGenPermutation::getCurrentValue() const
{
    return values.value(index);
}

bool NameGenPermutation::canIncrement() const
{
    return index < values.size() - 1;
}

bool NameGenPermutation::incrementIndex()
{
    if (!canIncrement())
        return false;
    ++index;
    return true;
}

void NameGenPermutation::resetIndex()
{
    index = 0;
}

QString TestNameGenerator::tokenise(const QString &str)
{
    QString tokens(str.size(), tokenType_Special);
    std::transform(str.cbegin(), str.cend(), tokens.begin(), tokenOf);
    return tokens;
}

QVector<NameGenColumnValue> TestNameGenerator::getAllColumnValues(const QString &str, const QString &tokens)
{
    if (str.isEmpty()) {
        qDebug() << "Cannot get column values of empty str";
        return {};
    }
    if (tokens.isEmpty()) {
        qDebug() << "Cannot get column values. tokens empty";
        return {};
    }

    QVector<NameGenColumnValue> columns;
    const int size = std::min(str.size(), tokens.size());
    for (int i = 0; i < size; ++i) {
        const QChar type = tokens[i];
        if (type == tokenType_Number) {
            const int end = std::min(endOfNumber(tokens, i), size);
            columns.append({type, str.mid(i, end - i)});
            i = end - 1;
        } else if (type == tokenType_LowerCaseLetter || type == tokenType_UpperCaseLetter
            || type == tokenType_Special) {
            columns.append({type, str[i]});
        }
    }
    return columns;
}

int TestNameGenerator::getLeadingZeroCount(const NameGenColumnValue &colValue)
{
    if (colValue.type != tokenType_Number)
        return 0;
    const auto isZero = [](QChar character) { return character == QLatin1Char('0'); };
    const QString &text = colValue.value;
    return static_cast<int>(std::find_if_not(text.cbegin(), text.cend(), isZero) - text.cbegin());
}

TestNameGenerator::GenerateError TestNameGenerator::generateTestNames(
    const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount)
{
    NameGenFault ignored;
    return generateTestNames(from, to, returnNames, maxTestCount, ignored);
}

TestNameGenerator::GenerateError TestNameGenerator::generateTestNames(
    const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount, NameGenFault &fault)
{
    fault = {};
    const auto failAsAWhole = [&fault](GenerateError error) { return fault.error = error; };
    if (from.size() != to.size())
        return failAsAWhole(FromToLengthMismatch);
    if (from.isEmpty())
        return failAsAWhole(EmptyFromAndToStrings);
    if (from == to) {
        returnNames.append(from);
        return NoError;
    }

    const QString fromTokens = tokenise(from);
    const QString toTokens = tokenise(to);
    if (fromTokens.size() != toTokens.size())
        return failAsAWhole(FromToTokensLengthMismatch);
    if (fromTokens.size() != from.size() || toTokens.size() != to.size())
        return failAsAWhole(TokensLengthMismatchWithParentString);

    const QVector<NameGenColumnValue> columns = getAllColumnValues(from, fromTokens);
    const auto failAt = [&](GenerateError error, int column) {
        return faultAtColumn(error, column, columns, to, &fault);
    };
    if (columns.size() != getAllColumnValues(to, toTokens).size())
        return failAt(FromToColumnsLengthMismatch, firstColumnSplitOtherwise(columns, toTokens));

    QVector<qint64> counts;
    const GenerateError rangeError = countRanges(from, fromTokens, to, toTokens, &counts);
    if (rangeError != NoError)
        return failAt(rangeError, counts.size());
    if (columns.size() != counts.size())
        return failAsAWhole(InvalidRange);
    if (maxTestCount < productOf(counts))
        return failAt(ExceedsMax, firstColumnBeyond(counts, maxTestCount));

    std::vector<Wheel> wheels;
    std::transform(columns.cbegin(), columns.cend(), counts.cbegin(), std::back_inserter(wheels),
        [](const NameGenColumnValue &column, qint64 count) { return Wheel(column, count); });
    if (wheels.empty())
        return failAsAWhole(PermutationCalculationFailed);
    if (combinationCountOf(wheels) > mostNames - returnNames.size())
        return failAsAWhole(ExceedsMax); // where a column that counts 0 has lifted the limit, or there is none

    returnNames += combinationsOf(std::move(wheels));
    return NoError;
}

TestNameGenerator::GenerateError TestNameGenerator::generateTestNames(
    const QString &prefix, const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount)
{
    NameGenFault ignored;
    return generateTestNames(prefix, from, to, returnNames, maxTestCount, ignored);
}

TestNameGenerator::GenerateError TestNameGenerator::generateTestNames(const QString &prefix, const QString &from,
    const QString &to, QVector<QString> &returnNames, int maxTestCount, NameGenFault &fault)
{
    // A copy: the prefix may be one of the names, which move when others are appended.
    const auto addPrefix = [prefix](QString &name) { name.prepend(prefix); };
    const GenerateError error = generateTestNames(from, to, returnNames, maxTestCount, fault);
    if (error == NoError)
        std::for_each(returnNames.begin(), returnNames.end(), addPrefix);
    return error;
}
