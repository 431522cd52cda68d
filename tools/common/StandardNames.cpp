// SPDX-License-Identifier: Apache-2.0
#include "common/StandardNames.h"

#include <algorithm>
#include <iterator>

namespace Tools {

using FiberInspection::Standard;

namespace {
struct StandardRow
{
    const char *name;
    Standard::Id id;
};
constexpr StandardRow standards[] = {
    {"sm-rl26", Standard::IEC61300_3_35_SM_RL26},
    {"sm-rl35", Standard::IEC61300_3_35_SM_RL35},
    {"sm-rl45", Standard::IEC61300_3_35_SM_RL45},
    {"sm-apc", Standard::IEC61300_3_35_SM_APC},
    {"mm", Standard::IEC61300_3_35_MM},
};

const StandardRow *rowOf(Standard::Id id)
{
    const auto *const row = std::find_if(
        std::begin(standards), std::end(standards), [id](const StandardRow &candidate) { return candidate.id == id; });
    return row == std::end(standards) ? nullptr : row;
}
} // namespace

QStringList standardNames()
{
    QStringList names;
    for (const StandardRow &row : standards)
        names.append(QLatin1String(row.name));
    return names;
}

QString defaultStandardName()
{
    return QStringLiteral("sm-rl45");
}

QVector<Standard::Id> standardsNamed(const QString &name)
{
    QVector<Standard::Id> ids;
    for (const StandardRow &row : standards) {
        if (name == QLatin1String(row.name) || name == QLatin1String("all"))
            ids.append(row.id);
    }
    return ids;
}

QString standardName(Standard::Id id)
{
    const StandardRow *const row = rowOf(id);
    return row ? QLatin1String(row->name) : QString();
}

} // namespace Tools
