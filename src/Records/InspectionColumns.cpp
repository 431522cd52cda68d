// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionColumns_p.h"
#include "Records/RecordStore.h"

#include <QStringList>

namespace Records::InspectionColumns {

QString selection()
{
    QStringList names;
    for (const Column &column : all) {
        const QString name = QStringLiteral("inspection.") + QLatin1String(column.name);
        const bool isText = column.holds == Holds::Text;
        names << (isText
                ? QStringLiteral("substr(%1, 1, %2)").arg(name, QString::number(RecordStore::maxTextLength + 1))
                : name);
    }
    return names.join(QStringLiteral(", "));
}

QString insertion()
{
    QStringList names;
    QStringList places;
    for (const Column &column : all) {
        if (column.index == Id)
            continue;
        names << QLatin1String(column.name);
        places << QStringLiteral("?");
    }
    const QString comma = QStringLiteral(", ");
    return QStringLiteral("INSERT INTO inspection (%1) VALUES (%2)").arg(names.join(comma), places.join(comma));
}

} // namespace Records::InspectionColumns
