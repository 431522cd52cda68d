// SPDX-License-Identifier: Apache-2.0
#include "names/Explanation.h"

#include <QMetaEnum>

#include <algorithm>

namespace Names {

namespace {
using Generator = TestNameGenerator;

/// A column of the first name and what stands at the same place in the last one.
struct ColumnPair
{
    int number = 0; ///< from 1
    QChar type;
    QString first;
    QString last;

    bool isNumber() const { return type == Generator::tokenType_Number; }

    bool isSameKind() const { return Generator::tokenise(last).startsWith(type); }

    bool isInOrder() const
    {
        if (type == Generator::tokenType_Special)
            return true;
        return isNumber() ? first.toInt() <= last.toInt() : last[0].unicode() >= first[0].unicode() - 1;
    }

    qint64 count() const
    {
        if (type == Generator::tokenType_Special)
            return 1;
        return isNumber() ? qint64(last.toInt()) - first.toInt() + 1 : last[0].unicode() - first[0].unicode() + 1;
    }
};

QVector<ColumnPair> pairsOf(const QString &first, const QString &last)
{
    QVector<ColumnPair> pairs;
    int start = 0;
    const QVector<NameGenColumnValue> columns = Generator::getAllColumnValues(first, Generator::tokenise(first));
    for (const NameGenColumnValue &column : columns) {
        pairs.append({pairs.size() + 1, column.type, column.value, last.mid(start, column.value.size())});
        start += column.value.size();
    }
    return pairs;
}

QString kindOf(QChar type)
{
    if (type == Generator::tokenType_UpperCaseLetter)
        return QStringLiteral("an upper-case letter");
    if (type == Generator::tokenType_LowerCaseLetter)
        return QStringLiteral("a lower-case letter");
    if (type == Generator::tokenType_Number)
        return QStringLiteral("a number");
    return QStringLiteral("neither a letter nor a number");
}

QString kindSentence(const ColumnPair &pair)
{
    const QString other = pair.last.at(0);
    return QStringLiteral("column %1 is %2 in the first name (\"%3\") and %4 in the last one (\"%5\")")
        .arg(QString::number(pair.number), kindOf(pair.type), pair.first, kindOf(Generator::tokenise(other).at(0)),
            other);
}

/// The first column at which the limit is passed.
const ColumnPair *columnBeyond(const QVector<ColumnPair> &pairs, qint64 max)
{
    qint64 product = 1;
    for (const ColumnPair &pair : pairs) {
        product *= pair.count(); // both fit 32 bits
        if (product > max)
            return &pair;
    }
    return nullptr;
}

template <typename Predicate>
const ColumnPair *firstThatIsNot(const QVector<ColumnPair> &pairs, Predicate predicate)
{
    const auto *const found = std::find_if_not(pairs.cbegin(), pairs.cend(), predicate);
    return found == pairs.cend() ? nullptr : found;
}

Explanation at(const ColumnPair *pair, const QString &sentence)
{
    return {{}, sentence, pair ? pair->number : 0};
}

Explanation explain(Generator::GenerateError error, const QString &first, const QString &last, int max)
{
    const QVector<ColumnPair> pairs =
        first.size() == last.size() && !first.isEmpty() ? pairsOf(first, last) : QVector<ColumnPair>();

    switch (error) {
    case Generator::EmptyFromAndToStrings:
        return at(nullptr, QStringLiteral("both names are empty"));
    case Generator::FromToLengthMismatch:
        return at(nullptr,
            QStringLiteral("the names must be of the same length, but \"%1\" has %2 characters and \"%3\" has %4")
                .arg(first, QString::number(first.size()), last, QString::number(last.size())));
    case Generator::FromToColumnsLengthMismatch: {
        const auto isWholeColumn = [](const ColumnPair &pair) {
            const QString kinds = Generator::tokenise(pair.last);
            return kinds == QString(kinds.size(), pair.type);
        };
        const ColumnPair *const pair = firstThatIsNot(pairs, isWholeColumn);
        return at(pair,
            QStringLiteral("the names do not have the same columns: at column %1 there is \"%2\" in the first name and "
                           "\"%3\" in the last one")
                .arg(QString::number(pair ? pair->number : 0), pair ? pair->first : first, pair ? pair->last : last));
    }
    case Generator::ToLessThanFrom: {
        const ColumnPair *const pair = firstThatIsNot(pairs, [](const ColumnPair &p) { return p.isInOrder(); });
        return at(pair,
            QStringLiteral("column %1 runs backwards: \"%2\" comes after \"%3\"")
                .arg(QString::number(pair ? pair->number : 0), pair ? pair->first : first, pair ? pair->last : last));
    }
    case Generator::FromToTokenNotEqual: {
        const ColumnPair *const pair = firstThatIsNot(pairs, [](const ColumnPair &p) { return p.isSameKind(); });
        return at(pair, pair ? kindSentence(*pair) : QString());
    }
    case Generator::ExceedsMax: {
        const ColumnPair *const pair = columnBeyond(pairs, max);
        if (!pair)
            return at(nullptr, QStringLiteral("there would be more names than a list can hold"));
        return at(pair,
            QStringLiteral("there would be more than %1 names, from column %2 on")
                .arg(QString::number(max), QString::number(pair->number)));
    }
    default:
        return at(nullptr, QStringLiteral("the names cannot be split into columns"));
    }
}
} // namespace

Explanation explanationOf(Generator::GenerateError error, const QString &first, const QString &last, int max)
{
    Explanation explanation = explain(error, first, last, max);
    explanation.error = QString::fromUtf8(QMetaEnum::fromType<Generator::GenerateError>().valueToKey(error));
    return explanation;
}

} // namespace Names
