// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionColumns_p.h"
#include "Records/RecordStore.h"
#include "Records/RowBounds_p.h"
#include "Records/RowChecks_p.h"

#include <QStringList>

namespace Records::RowChecks {

using FiberInspection::Rule;
using FiberInspection::Standard;
using FiberInspection::Zone;
using namespace RowBounds;

namespace {
constexpr int mostBytes = 3; // of a character in UTF-8

struct Range
{
    const char *column;
    qint64 least;
    qint64 most;
};

struct Table
{
    const char *name;
    const char *kind; ///< what its rows belong to, for people
    const char *id; ///< column with the id of that
    const char *owner; ///< column that chooses the rows of one call
    QVector<Range> ranges; ///< of numbers; nothing is within all of them
    QVector<const char *> texts;
    const char *condition; ///< more that must hold
    int mostRows; ///< of one owner
};

const Table &jobs()
{
    static const Table table{"job", "Job", "id", "id",
        {{"standard", 0, Standard::Manual}, {"created", firstYear, lastYear}, {"closed", firstYear, lastYear}},
        {"name", "customer", "site", "operator"}, "1", 1};
    return table;
}

const Table &points()
{
    static const Table table{"point", "Point", "id", "job",
        {{"position", 0, mostInt}, {"side", 0, static_cast<int>(Side::B)},
            {"fibre", 0, static_cast<int>(FibreKind::MultiMode)}},
        {"name"}, "1", static_cast<int>(mostInt)};
    return table;
}

/// Its verdicts are by that, and say what its rules say: nobody passes without any.
constexpr char isVerdictOfItsRules[] =
    "(point IS NULL OR standard = (SELECT job.standard FROM point JOIN job ON job.id = point.job "
    "WHERE point.id = inspection.point)) AND (verdict = 0 "
    "OR verdict = 2 AND EXISTS (SELECT 1 FROM zone WHERE inspection = inspection.id AND violations > 0) "
    "OR verdict = 1 AND NOT EXISTS (SELECT 1 FROM zone WHERE inspection = inspection.id AND violations > 0) "
    "AND EXISTS (SELECT 1 FROM rule WHERE inspection = inspection.id AND zone = 0) "
    "AND EXISTS (SELECT 1 FROM rule WHERE inspection = inspection.id AND zone = 1))";

constexpr char isSumOfItsRules[] =
    "violations = (SELECT ifnull(sum(found), 0) FROM rule "
    "WHERE rule.inspection = zone.inspection AND rule.zone = zone.zone AND violated = 1)";
constexpr char isAsFound[] =
    "violated = (allowed <> -1 AND found > allowed) AND found = (SELECT count(*) FROM defect "
    "WHERE defect.inspection = rule.inspection AND defect.zone = rule.zone AND defect.kind = rule.kind "
    "AND CASE rule.operator WHEN 0 THEN size < max_size WHEN 1 THEN size <= max_size WHEN 2 THEN size > min_size "
    "WHEN 3 THEN size >= min_size ELSE size BETWEEN min_size AND max_size END)";
constexpr char failsInAFailedZone[] = "EXISTS (SELECT 1 FROM zone WHERE zone.inspection = defect.inspection "
                                      "AND zone.zone = defect.zone AND (fails = 0 OR violations > 0))";

Table inspectionTable()
{
    Table table{"inspection", "Inspection", "id", "id", {}, {}, isVerdictOfItsRules, 1};
    for (const InspectionColumns::Column &column : InspectionColumns::all) {
        if (column.holds == InspectionColumns::Holds::Number)
            table.ranges.append({column.name, column.least, column.most});
        else if (column.holds == InspectionColumns::Holds::Text)
            table.texts.append(column.name);
    }
    return table;
}

const Table &inspections()
{
    static const Table table = inspectionTable();
    return table;
}

const Table &zones()
{
    static const Table table{"zone", "Inspection", "inspection", "inspection",
        {{"zone", 0, Zone::Contact}, {"inner_diameter", 0, mostInt}, {"outer_diameter", 0, mostInt},
            {"violations", 0, mostInt}},
        {}, isSumOfItsRules, RecordStore::maxZones};
    return table;
}

const Table &rules()
{
    static const Table table{"rule", "Inspection", "inspection", "inspection",
        {{"position", 0, mostInt}, {"kind", 0, 1}, {"operator", 0, Rule::ClosedRange}, {"min_size", leastInt, mostInt},
            {"max_size", leastInt, mostInt}, {"allowed", Rule::unlimited, mostInt}, {"found", 0, mostInt},
            {"violated", 0, 1}},
        {}, isAsFound, RecordStore::maxRules};
    return table;
}

const Table &defects()
{
    static const Table table{"defect", "Inspection", "inspection", "inspection",
        {{"position", 0, mostInt}, {"kind", 0, 1}, {"size", 0, mostMeasure}, {"x", -mostMeasure, mostMeasure},
            {"y", -mostMeasure, mostMeasure}, {"fails", 0, 1}},
        {}, failsInAFailedZone, RecordStore::maxDefects};
    return table;
}

QString conditionsOf(const Table &table)
{
    QStringList all{QLatin1String(table.condition)};
    for (const Range &range : table.ranges)
        all << QStringLiteral("%1 BETWEEN %2 AND %3")
                   .arg(QLatin1String(range.column), QString::number(range.least), QString::number(range.most));
    // Characters end at the first one that is 0, bytes do not.
    for (const char *const text : table.texts)
        all << QStringLiteral("length(%1) <= %2 AND length(CAST(%1 AS BLOB)) <= %3")
                   .arg(QLatin1String(text), QString::number(RecordStore::maxTextLength),
                       QString::number(mostBytes * RecordStore::maxTextLength));
    return all.join(QStringLiteral(" AND "));
}

/// The id of the first row that the statement finds.
Answer<QVariant> found(const Database &database, const QString &statement, const QVariantList &values)
{
    Query query(database, statement);
    query.run(values);
    const QVariant id = query.next() ? query.value(0) : QVariant();
    return {id, query.problem()};
}

/// @param owner whose rows are looked at; invalid: all rows
Answer<QVariant> badRow(const Database &database, const Table &table, const QVariant &owner)
{
    const QString name = QLatin1String(table.name);
    const QString of = QLatin1String(table.owner);
    const QString chosen = owner.isValid() ? of + QStringLiteral(" = ?") : QStringLiteral("1");
    const QVariantList values = owner.isValid() ? QVariantList{owner} : QVariantList();
    const Answer<QVariant> bad = found(database,
        QStringLiteral("SELECT %1 FROM %2 WHERE %3 AND NOT (%4) LIMIT 1")
            .arg(QLatin1String(table.id), name, chosen, conditionsOf(table)),
        values);
    if (!bad.ok() || bad.value.isValid() || table.mostRows == 1)
        return bad;
    return found(database,
        QStringLiteral("SELECT %1 FROM %2 WHERE %3 GROUP BY %1 HAVING count(*) > %4 LIMIT 1")
            .arg(of, name, chosen, QString::number(table.mostRows)),
        values);
}

Problem checkWritten(const Database &database, const Table &table, Id owner)
{
    const Answer<QVariant> bad = badRow(database, table, owner);
    if (!bad.ok() || !bad.value.isValid())
        return bad.problem;
    return {Fault::Invalid,
        QStringLiteral("A value of the table \"%1\" is beyond what is kept").arg(QLatin1String(table.name))};
}
} // namespace

Problem job(const Database &database, Id id)
{
    return checkWritten(database, jobs(), id);
}

Problem pointsOf(const Database &database, Id job)
{
    return checkWritten(database, points(), job);
}

Problem inspection(const Database &database, Id id)
{
    for (const Table *const table : {&inspections(), &zones(), &rules(), &defects()}) {
        const Problem problem = checkWritten(database, *table, id);
        if (!problem.ok())
            return problem;
    }
    return {};
}

Answer<QString> firstBad(const Database &database)
{
    for (const Table *const table : {&jobs(), &points(), &inspections(), &zones(), &rules(), &defects()}) {
        const Answer<QVariant> bad = badRow(database, *table, {});
        if (!bad.ok())
            return {{}, bad.problem};
        if (bad.value.isValid())
            return {QStringLiteral("%1 %2").arg(QLatin1String(table->kind), bad.value.toString()), {}};
    }
    return {};
}

} // namespace Records::RowChecks
