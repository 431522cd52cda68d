// SPDX-License-Identifier: Apache-2.0
#include "Helpers/TestNameGenerator.h"

#include <QDebug>

#include <algorithm>
#include <limits>

namespace {
using GenerateError = TestNameGenerator::GenerateError;

constexpr qint64 moreThanAnyLimit = qint64(std::numeric_limits<int>::max()) + 1;

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

/// How many values each column takes. Tokens are those of `from` and `to`, and each as long as these.
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

/// The product of the counts, as far as it can matter for a limit.
qint64 productOf(const QVector<qint64> &counts)
{
    qint64 product = 1;
    for (const qint64 count : counts)
        product = std::min(product * count, moreThanAnyLimit);
    return product;
}

/// @param step from 1; the column's own value is step 0
QString valueAfter(const NameGenColumnValue &column, int step)
{
    if (column.type != TestNameGenerator::tokenType_Number)
        return QChar(static_cast<ushort>(column.value[0].unicode() + step));

    const QString zeros(TestNameGenerator::getLeadingZeroCount(column), QLatin1Char('0'));
    const QString text = zeros + QString::number(column.value.toInt() + step);
    return text.right(column.value.size());
}

NameGenPermutation permutationOf(const NameGenColumnValue &column, qint64 count)
{
    NameGenPermutation permutation;
    permutation.values.reserve(static_cast<int>(std::max<qint64>(count, 1)));
    permutation.values.append(column.value);
    for (int step = 1; step < count; ++step)
        permutation.values.append(valueAfter(column, step));
    return permutation;
}

/// Appends the current values of columns [0, end).
QString currentText(const QVector<NameGenPermutation> &columns, int end)
{
    QString text;
    for (int i = 0; i < end; ++i)
        text += columns[i].getCurrentValue();
    return text;
}

/// Advances the columns before the last one. False when all of them were at their end.
bool turnOver(QVector<NameGenPermutation> *columns)
{
    for (int i = columns->size() - 2; i >= 0; --i) {
        if ((*columns)[i].incrementIndex())
            return true;
        (*columns)[i].resetIndex();
    }
    return false;
}

/// All combinations, the last column turning fastest.
QVector<QString> combinationsOf(QVector<NameGenPermutation> columns)
{
    qint64 count = 1;
    for (const NameGenPermutation &column : qAsConst(columns))
        count = std::min(count * column.values.size(), moreThanAnyLimit - 1);
    QVector<QString> names;
    names.reserve(static_cast<int>(count));

    const QVector<QString> lastValues = columns.constLast().values;
    do {
        const QString start = currentText(columns, columns.size() - 1);
        for (const QString &end : lastValues)
            names.append(start + end);
    } while (turnOver(&columns));
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
    if (from.size() != to.size())
        return FromToLengthMismatch;
    if (from.isEmpty())
        return EmptyFromAndToStrings;
    if (from == to) {
        returnNames.append(from);
        return NoError;
    }

    const QString fromTokens = tokenise(from);
    const QString toTokens = tokenise(to);
    if (fromTokens.size() != toTokens.size())
        return FromToTokensLengthMismatch;
    if (fromTokens.size() != from.size() || toTokens.size() != to.size())
        return TokensLengthMismatchWithParentString;

    const QVector<NameGenColumnValue> columns = getAllColumnValues(from, fromTokens);
    if (columns.size() != getAllColumnValues(to, toTokens).size())
        return FromToColumnsLengthMismatch;

    QVector<qint64> counts;
    const GenerateError rangeError = countRanges(from, fromTokens, to, toTokens, &counts);
    if (rangeError != NoError)
        return rangeError;
    if (columns.size() != counts.size())
        return InvalidRange;
    if (maxTestCount < productOf(counts))
        return ExceedsMax;

    QVector<NameGenPermutation> permutations;
    std::transform(columns.cbegin(), columns.cend(), counts.cbegin(), std::back_inserter(permutations), permutationOf);
    if (permutations.isEmpty())
        return PermutationCalculationFailed;

    returnNames += combinationsOf(permutations);
    return NoError;
}

TestNameGenerator::GenerateError TestNameGenerator::generateTestNames(
    const QString &prefix, const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount)
{
    const GenerateError error = generateTestNames(from, to, returnNames, maxTestCount);
    if (error == NoError) {
        const QString fixedPrefix = prefix; // it may be one of the names
        for (QString &name : returnNames)
            name.prepend(fixedPrefix);
    }
    return error;
}
