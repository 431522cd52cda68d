// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionColumns_p.h"

#include <QStringList>

namespace Records::InspectionColumns {

QString selection()
{
    QStringList names;
    for (const Column &column : all)
        names << QStringLiteral("inspection.") + QLatin1String(column.name);
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
