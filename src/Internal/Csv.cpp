// SPDX-License-Identifier: Apache-2.0
#include "Internal/Csv.h"

namespace {
/// A spreadsheet takes what begins so for a formula, which may open files and reach networks.
QString harmless(const QString &field)
{
    static const QString beginnings = QStringLiteral(u"=+-@\t\r\n'\uFF1D\uFF0B\uFF0D\uFF20"); // the last ones are wide
    bool isNumber = false;
    field.toDouble(&isNumber);
    return field.isEmpty() || isNumber || !beginnings.contains(field.at(0)) ? field : QLatin1Char('\'') + field;
}

bool isNumber(const QString &field)
{
    bool isIt = false;
    QString(field).replace(QLatin1Char(','), QLatin1Char('.')).toDouble(&isIt);
    return isIt;
}

/// Whoever opens the file with another separator must not find a formula behind it.
QString quoted(const QString &field, QChar separator)
{
    static const QString special = QStringLiteral("\"\r\n,;\t");
    if (isNumber(field) && !field.contains(separator))
        return field;
    for (const QChar character : field) {
        if (character == separator || special.contains(character)) {
            QString escaped = field;
            escaped.replace(QLatin1Char('"'), QStringLiteral("\"\""));
            return QLatin1Char('"') + escaped + QLatin1Char('"');
        }
    }
    return field;
}
} // namespace

QByteArray csvLine(const QStringList &fields, QChar separator)
{
    QStringList quotedFields;
    for (const QString &field : fields)
        quotedFields.append(quoted(harmless(field), separator));
    return quotedFields.join(separator).toUtf8() + '\n';
}
