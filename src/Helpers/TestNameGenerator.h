// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QChar>
#include <QObject>
#include <QString>
#include <QVector>

/// One column of a name: a single character, or a whole run of numeric ones.
///
/// @code
/// const QString name = QStringLiteral("Ca-08");
/// const auto columns = TestNameGenerator::getAllColumnValues(name, TestNameGenerator::tokenise(name));
/// for (const NameGenColumnValue &column : columns)
///     qInfo() << column.type << column.value; // A "C", a "a", S "-", N "08"
/// @endcode
struct VANTORBASE_EXPORT NameGenColumnValue
{
    QChar type; ///< one of TestNameGenerator's token kinds
    QString value;
};

/// The values that one column takes, and the one it is at; for code that wants to hold them. The generator counts.
///
/// @code
/// NameGenPermutation column;
/// column.values = QVector<QString>{QStringLiteral("A"), QStringLiteral("B")};
/// do
///     qInfo() << column.getCurrentValue();
/// while (column.incrementIndex());
/// @endcode
struct VANTORBASE_EXPORT NameGenPermutation
{
    int index = 0;
    QVector<QString> values; ///< in the order of generation

    QString getCurrentValue() const; ///< empty when the index is out of range
    bool canIncrement() const;
    bool incrementIndex(); ///< whether there was a next value to go to
    void resetIndex();
};

struct NameGenFault;

/// Expands a first and a last test name into all the names between them, column by column: A1 to B3 gives A1, A2, A3,
/// B1, B2, B3, and Cable-08 to Cable-11 keeps the width of its numbers. The rightmost column turns fastest.
///
/// Columns are ranged one by one and not as one number: A9 to B1 is refused, because 1 comes before 9.
///
/// @code
/// QVector<QString> names;
/// const auto error = TestNameGenerator::generateTestNames(
///     QStringLiteral("A1"), QStringLiteral("B3"), names, TestNameGenerator::maxPermittedGeneration);
/// if (error == TestNameGenerator::NoError)
///     qInfo() << names; // A1, A2, A3, B1, B2, B3
/// else
///     qWarning() << error;
/// @endcode
class VANTORBASE_EXPORT TestNameGenerator : public QObject
{
    Q_OBJECT

public:
    enum GenerateError {
        NoError,
        EmptyFromAndToStrings,
        FromToLengthMismatch,
        TokensLengthMismatchWithParentString,
        FromToTokensLengthMismatch,
        FromToColumnsLengthMismatch,
        ToLessThanFrom, ///< a column of the last name lies before the same column of the first
        FromToTokenNotEqual, ///< the names differ in the kind of character at one position
        ExceedsMax,
        PermutationCalculationFailed,
        InvalidRange,
    };
    Q_ENUM(GenerateError)

    // Kinds of characters, in token strings and as the types of columns.
    static constexpr QChar tokenType_Special = QLatin1Char('S'); ///< neither a letter with a case nor numeric
    static constexpr QChar tokenType_UpperCaseLetter = QLatin1Char('A');
    static constexpr QChar tokenType_LowerCaseLetter = QLatin1Char('a');
    static constexpr QChar tokenType_Number = QLatin1Char('N'); ///< not only the ASCII digits

    /// A limit to pass as maxTestCount where the application has none of its own.
    static constexpr int maxPermittedGeneration = 1000;

    /// The kinds of the characters of str, one character each.
    static QString tokenise(const QString &str);

    /// The columns of str; positions that str or tokens does not have are left out.
    static QVector<NameGenColumnValue> getAllColumnValues(const QString &str, const QString &tokens);

    /// How many '0' a number column starts with; 0 for other columns.
    static int getLeadingZeroCount(const NameGenColumnValue &colValue);

    /// Appends the names from `from` to `to` to returnNames; after an error nothing is appended.
    ///
    /// Special characters are not compared: `from` says which one it is. A number that is none for QString::toInt(), by
    /// its size or by its digits, counts as 0. A column of letters whose last one is exactly one before its first keeps
    /// its first letter, and then maxTestCount limits nothing: B0000000 to A9999999 gives ten million names, whatever
    /// the limit. More names than a QVector can hold, about 268 million, always exceed it.
    static GenerateError generateTestNames(
        const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount);

    /// Likewise, and puts the prefix, as it is typed, in front of all of returnNames: also of the names that were
    /// there.
    static GenerateError generateTestNames(
        const QString &prefix, const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount);

    // The same two, which also tell which column is at fault.
    static GenerateError generateTestNames(
        const QString &from, const QString &to, QVector<QString> &returnNames, int maxTestCount, NameGenFault &fault);
    static GenerateError generateTestNames(const QString &prefix, const QString &from, const QString &to,
        QVector<QString> &returnNames, int maxTestCount, NameGenFault &fault);
};

/// Why a pair of names gives no run, and where.
///
/// @code
/// QVector<QString> names;
/// NameGenFault fault;
/// TestNameGenerator::generateTestNames(QStringLiteral("A9"), QStringLiteral("B1"), names, 1000, fault);
/// if (fault.hasColumn())
///     qWarning() << fault.error << "at column" << fault.column + 1 << fault.from.value << fault.to.value;
/// @endcode
struct VANTORBASE_EXPORT NameGenFault
{
    static constexpr int namesAsAWhole = -1; ///< no single column is at fault

    TestNameGenerator::GenerateError error = TestNameGenerator::NoError;

    /// Counted from 0, of the first name. Of ExceedsMax: where the names become more than the limit; as a whole when
    /// the limit is that of a QVector.
    int column = namesAsAWhole;

    NameGenColumnValue from; ///< that column; empty without one

    /// What stands at its place in the last name, as long as that; the type is that of its first character.
    NameGenColumnValue to;

    bool hasColumn() const { return column != namesAsAWhole; }
};
