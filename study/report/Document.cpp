// SPDX-License-Identifier: Apache-2.0
#include "study/report/Document.h"

#include <QRegularExpression>

namespace Study {

QString markedTable(const QString &name, const QString &table)
{
    return QStringLiteral("<!-- table: ") + name + QStringLiteral(" -->\n\n") + table
        + QStringLiteral("\n<!-- end -->");
}

QString markedValue(const QString &name, const QString &value)
{
    return QStringLiteral("<!-- value: ") + name + QStringLiteral(" -->") + value + QStringLiteral("<!-- end -->");
}

std::optional<QString> filledDocument(const QString &text, const Findings &findings, QString *problem)
{
    static const QRegularExpression beginning(QStringLiteral("<!-- (table|value): ([a-z0-9-]+) -->"));
    const QString ending = QStringLiteral("<!-- end -->");

    QString filled;
    int position = 0;
    for (QRegularExpressionMatch marker = beginning.match(text); marker.hasMatch();
         marker = beginning.match(text, position)) {
        const QString name = marker.captured(2);
        const bool isTable = marker.captured(1) == QLatin1String("table");
        const int end = text.indexOf(ending, marker.capturedEnd());
        const int next = beginning.match(text, marker.capturedEnd()).capturedStart();
        if (end < 0 || (next >= 0 && next < end)) {
            *problem = QStringLiteral("the marker \"%1\" has no end").arg(name);
            return std::nullopt;
        }
        if (!(isTable ? findings.tables() : findings.values()).contains(name)) {
            *problem = QStringLiteral("the study finds nothing called \"%1\"").arg(name);
            return std::nullopt;
        }
        filled += text.midRef(position, marker.capturedStart() - position);
        filled += isTable ? markedTable(name, findings.tables().value(name))
                          : markedValue(name, findings.values().value(name));
        position = end + ending.size();
    }
    return filled + text.midRef(position);
}

} // namespace Study
