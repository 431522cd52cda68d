// SPDX-License-Identifier: Apache-2.0
#include "records/Words.h"

#include "common/StandardNames.h"

namespace RecordsTool {

QString wordOfStandard(FiberInspection::Standard::Id id)
{
    const QString name = Tools::standardName(id);
    return name.isEmpty() ? Words::nameOf(id) : name;
}

QString withoutMark(QString text)
{
    while (text.startsWith(QChar(QChar::ByteOrderMark)) || text.startsWith(QChar(QChar::ByteOrderSwapped)))
        text.remove(0, 1);
    return text;
}

QString doubtText(Records::Id inspection, Records::Doubt doubt)
{
    const QString what =
        Records::isContradiction(doubt) ? QStringLiteral("contradicts itself") : QStringLiteral("is in doubt");
    return QStringLiteral("inspection %1 %2: %3").arg(QString::number(inspection), what, Words::of(doubt));
}

} // namespace RecordsTool
