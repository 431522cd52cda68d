// SPDX-License-Identifier: Apache-2.0
#include "names/Explanation.h"

#include <QMetaEnum>

namespace Names {

namespace {
using Generator = TestNameGenerator;

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

QString sentenceOf(const NameGenFault &fault, const QString &first, const QString &last, int max)
{
    const QString column = QString::number(fault.column + 1);
    switch (fault.error) {
    case Generator::EmptyFromAndToStrings:
        return QStringLiteral("both names are empty");
    case Generator::FromToLengthMismatch:
        return QStringLiteral("the names must be of the same length, but \"%1\" has %2 characters and \"%3\" has %4")
            .arg(first, QString::number(first.size()), last, QString::number(last.size()));
    case Generator::FromToColumnsLengthMismatch:
        return QStringLiteral("the names do not have the same columns: at column %1 there is \"%2\" in the first name "
                              "and \"%3\" in the last one")
            .arg(column, fault.from.value, fault.to.value);
    case Generator::ToLessThanFrom:
        return QStringLiteral("column %1 runs backwards: \"%2\" comes after \"%3\"")
            .arg(column, fault.from.value, fault.to.value);
    case Generator::FromToTokenNotEqual:
        return QStringLiteral("column %1 is %2 in the first name (\"%3\") and %4 in the last one (\"%5\")")
            .arg(column, kindOf(fault.from.type), fault.from.value, kindOf(fault.to.type), fault.to.value.left(1));
    case Generator::ExceedsMax:
        return fault.hasColumn()
            ? QStringLiteral("there would be more than %1 names, from column %2 on").arg(QString::number(max), column)
            : QStringLiteral("there would be more names than a list can hold");
    default:
        return QStringLiteral("the names cannot be split into columns");
    }
}
} // namespace

Explanation explanationOf(const NameGenFault &fault, const QString &first, const QString &last, int max)
{
    return {QString::fromUtf8(QMetaEnum::fromType<Generator::GenerateError>().valueToKey(fault.error)),
        sentenceOf(fault, first, last, max), fault.column + 1};
}

} // namespace Names
