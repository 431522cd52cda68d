// SPDX-License-Identifier: Apache-2.0
#include "study/report/Findings.h"

#include "study/report/Document.h"

namespace Study {

QString Findings::toMarkdown() const
{
    QString text;
    for (auto table = mTables.cbegin(); table != mTables.cend(); ++table)
        text += markedTable(table.key(), table.value()) + QStringLiteral("\n\n");
    for (auto value = mValues.cbegin(); value != mValues.cend(); ++value)
        text += QStringLiteral("- %1: ").arg(value.key()) + markedValue(value.key(), value.value()) + QLatin1Char('\n');
    return text;
}

} // namespace Study
