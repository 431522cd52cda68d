// SPDX-License-Identifier: Apache-2.0
#include "Csv.h"

namespace Tools {

namespace {
QString quoted(const QString &field)
{
    static const QString special = QStringLiteral(",\"\r\n");
    for (const QChar character : field) {
        if (special.contains(character)) {
            QString escaped = field;
            escaped.replace(QLatin1Char('"'), QStringLiteral("\"\""));
            return QLatin1Char('"') + escaped + QLatin1Char('"');
        }
    }
    return field;
}
} // namespace

QByteArray csvLine(const QStringList &fields)
{
    QStringList quotedFields;
    for (const QString &field : fields)
        quotedFields.append(quoted(field));
    return quotedFields.join(QLatin1Char(',')).toUtf8() + '\n';
}

} // namespace Tools
