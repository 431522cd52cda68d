// SPDX-License-Identifier: Apache-2.0
#include "study/report/Table.h"

namespace Study {

namespace {
QString line(const QStringList &cells)
{
    return QStringLiteral("| ") + cells.join(QStringLiteral(" | ")) + QStringLiteral(" |\n");
}
} // namespace

QString Table::toMarkdown() const
{
    QString text = line(mHead) + QStringLiteral("|---|");
    for (int column = 1; column < mHead.size(); ++column)
        text += QStringLiteral("---:|");
    text += QLatin1Char('\n');
    for (const QStringList &row : mRows)
        text += line(row);
    return text;
}

} // namespace Study
