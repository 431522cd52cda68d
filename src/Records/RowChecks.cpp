// SPDX-License-Identifier: Apache-2.0
#include "Records/Doubt.h"
#include "Records/InspectionColumns_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/RecordStore.h"
#include "Records/RowBounds_p.h"
#include "Records/RowChecks_p.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace Records::RowChecks {

using FiberInspection::Rule;
using FiberInspection::Standard;
using FiberInspection::Zone;
using namespace RowBounds;

namespace {
constexpr int mostBytes = 3; // of a character in UTF-8
constexpr qint64 rowsBetweenQuestions = 50'000; // whether to go on

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
        {{"id", 1, mostId}, {"standard", 0, Standard::Manual}, {"created", firstYear, lastYear},
            {"closed", firstYear, lastYear}},
        {"name", "customer", "site", "operator"}, "1", 1};
    return table;
}

const Table &points()
{
    static const Table table{"point", "Point", "id", "job",
        {{"id", 1, mostId}, {"position", 0, mostInt}, {"side", 0, static_cast<int>(Side::B)},
            {"fibre", 0, static_cast<int>(FibreKind::MultiMode)}},
        {"name"}, "1", static_cast<int>(mostInt)};
    return table;
}

constexpr char isByStandardOfItsJob[] =
    "(point IS NULL OR standard = (SELECT job.standard FROM point JOIN job ON job.id = point.job "
    "WHERE point.id = inspection.point))";

Table inspectionTable()
{
    Table table{"inspection", "Inspection", "id", "id", {}, {}, isByStandardOfItsJob, 1};
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
        {}, "1", RecordStore::maxZones};
    return table;
}

const Table &rules()
{
    static const Table table{"rule", "Inspection", "inspection", "inspection",
        {{"zone", 0, Zone::Contact}, {"position", 0, mostInt}, {"kind", 0, 1}, {"operator", 0, Rule::ClosedRange},
            {"min_size", leastInt, mostInt}, {"max_size", leastInt, mostInt}, {"allowed", Rule::unlimited, mostInt},
            {"found", 0, mostInt}, {"violated", 0, 1}},
        {}, "1", RecordStore::maxRules};
    return table;
}

const Table &defects()
{
    static const Table table{"defect", "Inspection", "inspection", "inspection",
        {{"position", 0, mostInt}, {"zone", 0, Zone::Contact}, {"kind", 0, 1}, {"size", 0, mostMeasure},
            {"x", -mostMeasure, mostMeasure}, {"y", -mostMeasure, mostMeasure}, {"fails", 0, 1}},
        {}, "1", RecordStore::maxDefects};
    return table;
}

QString conditionsOf(const Table &table)
{
    QStringList all{QLatin1String(table.condition)};
    for (const Range &range : table.ranges)
        all << QStringLiteral("%1 BETWEEN %2 AND %3")
                   .arg(QLatin1String(range.column), QString::number(range.least), QString::number(range.most));
    // Characters end at the first one that is 0, bytes do not. What begins with a byte order mark is stored as another
    // text.
    for (const char *const text : table.texts)
        all << QStringLiteral("length(%1) <= %2 AND length(CAST(%1 AS BLOB)) <= %3 AND "
                              "substr(CAST(%1 AS BLOB), 1, 3) NOT IN (x'efbbbf', x'efbfbe') AND "
                              "substr(CAST(%1 AS BLOB), 1, 2) NOT IN (x'fffe', x'feff')")
                   .arg(QLatin1String(text), QString::number(RecordStore::maxTextLength),
                       QString::number(mostBytes * RecordStore::maxTextLength));
    return all.join(QStringLiteral(" AND "));
}

/// The first value of the first row, if there is one. Nothing is left open.
QVariant firstValue(Query *query, const QVariantList &values)
{
    query->run(values);
    const QVariant value = query->next() ? query->value(0) : QVariant();
    while (query->next()) {}
    return value;
}

/// The statements for one table, to be run for one owner after the other.
class TableCheck
{
public:
    TableCheck(const Database &database, const Table &table)
        : mTable(table)
        , mCount(database,
              QStringLiteral("SELECT count(*) FROM (SELECT 1 FROM %1 WHERE %2 = ? LIMIT %3 + 1)")
                  .arg(QLatin1String(table.name), QLatin1String(table.owner), QString::number(table.mostRows)))
        , mBad(database,
              QStringLiteral("SELECT 1 FROM %1 WHERE %2 = ? AND NOT (%3) LIMIT 1")
                  .arg(QLatin1String(table.name), QLatin1String(table.owner), conditionsOf(table)))
    {
    }

    /// How many rows there are, one more than are kept when they are too many. Comes first: what is looked at has an
    /// end.
    Answer<qint64> count(Id owner)
    {
        const qint64 rows = firstValue(&mCount, {owner}).toLongLong();
        return {rows, mCount.problem()};
    }

    bool isTooMuch(qint64 rows) const { return rows > mTable.mostRows; }

    Answer<bool> hasBadRow(Id owner)
    {
        const bool isBad = firstValue(&mBad, {owner}).isValid();
        return {isBad, mBad.problem()};
    }

    const char *name() const { return mTable.name; }

private:
    const Table &mTable;
    Query mCount;
    Query mBad;
};

/// Looks at one inspection after the other, with all that belongs to it.
class InspectionCheck
{
public:
    explicit InspectionCheck(const Database &database)
        : mReader(database, InspectionRows::Reader::Parts::ForDoubt)
    {
        for (const Table *const table : {&inspections(), &zones(), &rules(), &defects()})
            mTables.push_back(std::make_unique<TableCheck>(database, *table));
    }

    /// The table with a value that nothing here writes; null when there is none.
    Answer<const char *> tableWithBadValue(Id id);

    /// To be asked when there is none: what is read then is bounded.
    Answer<Doubt> doubt(Id id);

    qint64 rows() const { return mRows; } ///< that were looked at so far

private:
    std::vector<std::unique_ptr<TableCheck>> mTables;
    InspectionRows::Reader mReader;
    qint64 mRows = 0;
};

Answer<Doubt> InspectionCheck::doubt(Id id)
{
    const Answer<StoredInspection> record = mReader.read(id);
    return {record.ok() ? doubtOf(record.value) : Doubt::None, record.problem};
}

Answer<const char *> InspectionCheck::tableWithBadValue(Id id)
{
    for (const auto &table : mTables) {
        const Answer<qint64> rows = table->count(id);
        if (!rows.ok() || table->isTooMuch(rows.value))
            return {rows.ok() ? table->name() : nullptr, rows.problem};
        mRows += rows.value;
    }
    for (const auto &table : mTables) {
        const Answer<bool> isBad = table->hasBadRow(id);
        if (!isBad.ok() || isBad.value)
            return {isBad.ok() ? table->name() : nullptr, isBad.problem};
    }
    return {};
}

/// The ids of rows with values that nothing here writes.
/// @param owner whose rows are looked at; invalid: all rows
Answer<QVector<Id>> badRows(const Database &database, const Table &table, const QVariant &owner, int most)
{
    const QString chosen = owner.isValid() ? QLatin1String(table.owner) + QStringLiteral(" = ?") : QStringLiteral("1");
    Query query(database,
        QStringLiteral("SELECT %1 FROM %2 WHERE %3 AND NOT (%4) LIMIT %5")
            .arg(QLatin1String(table.id), QLatin1String(table.name), chosen, conditionsOf(table),
                QString::number(most)));
    query.run(owner.isValid() ? QVariantList{owner} : QVariantList());
    QVector<Id> bad;
    while (query.next())
        bad.append(query.longNumber(0));
    return {bad, query.problem()};
}

Problem beyond(const char *table)
{
    return {
        Fault::Invalid, QStringLiteral("A value of the table \"%1\" is beyond what is kept").arg(QLatin1String(table))};
}

Problem checkWritten(const Database &database, const Table &table, Id owner)
{
    const Answer<QVector<Id>> bad = badRows(database, table, owner, 1);
    return bad.ok() && !bad.value.isEmpty() ? beyond(table.name) : bad.problem;
}

Answer<QVector<Id>> allInspections(const Database &database)
{
    Query query(database, "SELECT id FROM inspection ORDER BY id");
    query.run({});
    QVector<Id> all;
    while (query.next())
        all.append(query.longNumber(0));
    return {all, query.problem()};
}

QString textOf(const Table &table, Id id)
{
    return QStringLiteral("%1 %2").arg(QLatin1String(table.kind), QString::number(id));
}

/// What is wrong with the ids that a table has given; empty when nothing is. No row is ever deleted, and a transaction
/// that fails gives its ids back: they are without a gap, up to the last one.
Answer<QString> faultOfIds(const Database &database, const Table &table)
{
    const QString name = QLatin1String(table.name);
    Query query(database,
        QStringLiteral("SELECT (SELECT count(*) FROM %1), ifnull((SELECT max(id) FROM %1), 0), "
                       "(SELECT count(*) FROM sqlite_sequence WHERE name = '%1'), "
                       "(SELECT seq FROM sqlite_sequence WHERE name = '%1')")
            .arg(name));
    query.run({});
    if (!query.next())
        return {{}, query.problem()};
    const qint64 rows = query.longNumber(0);
    const qint64 largest = query.longNumber(1);
    const QVariant last = query.value(3);
    while (query.next()) {} // nothing is left open
    bool isNumber = false;
    const qint64 given = last.isNull() ? 0 : last.toLongLong(&isNumber);
    if (!last.isNull() && (!isNumber || given < 0 || given > mostId))
        return {
            QStringLiteral("The last id of %1 was %2, beyond what is kept").arg(name, last.toString().left(32)), {}};
    if (given < largest)
        return {QStringLiteral("An id of %1 would be given twice").arg(name), {}};
    if (rows >= given)
        return {};
    return {QStringLiteral("Of %1 rows that %2 had, %3 is not there")
                .arg(QString::number(given), name, QString::number(given - rows)),
        {}};
}

/// Looks at all inspections, until there are enough bad ones.
class AllInspections
{
public:
    AllInspections(const Database &database, int most, const std::function<bool(int done, int all)> &goesOn)
        : mDatabase(database)
        , mMost(most)
        , mGoesOn(goesOn)
        , mCheck(database)
    {
    }

    Problem run(QVector<Bad> *bad);

private:
    Problem look(Id id, QVector<Bad> *bad);
    bool goesOn(int done, int all);

    const Database &mDatabase;
    const int mMost;
    const std::function<bool(int done, int all)> &mGoesOn;
    InspectionCheck mCheck;
    qint64 mRowsBefore = 0;
};

Problem AllInspections::run(QVector<Bad> *bad)
{
    const Answer<QVector<Id>> all = allInspections(mDatabase);
    for (int i = 0; i < all.value.size() && bad->size() < mMost; ++i) {
        if (!goesOn(i, all.value.size()))
            return {Fault::Stopped, QStringLiteral("Stopped")};
        const Problem problem = look(all.value[i], bad);
        if (!problem.ok())
            return problem;
    }
    return all.problem;
}

Problem AllInspections::look(Id id, QVector<Bad> *bad)
{
    const Answer<const char *> table = mCheck.tableWithBadValue(id);
    if (!table.ok())
        return table.problem;
    const Answer<Doubt> doubt = table.value ? Answer<Doubt>() : mCheck.doubt(id);
    if (table.value || isContradiction(doubt.value))
        bad->append({textOf(inspections(), id), table.value ? QString() : wordsOf(doubt.value)});
    return doubt.problem;
}

/// Asks behind many rows.
bool AllInspections::goesOn(int done, int all)
{
    if (mCheck.rows() - mRowsBefore < rowsBetweenQuestions)
        return true;
    mRowsBefore = mCheck.rows();
    return mGoesOn(done, all);
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
    InspectionCheck check(database);
    const Answer<const char *> table = check.tableWithBadValue(id);
    if (!table.ok() || table.value)
        return table.ok() ? beyond(table.value) : table.problem;
    const Answer<Doubt> doubt = check.doubt(id);
    if (!doubt.ok() || !isContradiction(doubt.value))
        return doubt.problem;
    return {Fault::Invalid,
        QStringLiteral("Inspection %1 contradicts itself: %2").arg(QString::number(id), wordsOf(doubt.value))};
}

Problem valuesOfInspection(const Database &database, Id id)
{
    const Answer<const char *> bad = InspectionCheck(database).tableWithBadValue(id);
    return bad.ok() && bad.value ? beyond(bad.value) : bad.problem;
}

QString Bad::text() const
{
    return doubt.isEmpty() ? row + QStringLiteral(" has a value that nothing here writes")
                           : QStringLiteral("%1 contradicts itself: %2").arg(row, doubt);
}

Answer<QStringList> faultsOfIds(const Database &database)
{
    QStringList faults;
    for (const Table *const table : {&jobs(), &points(), &inspections()}) {
        const Answer<QString> fault = faultOfIds(database, *table);
        if (!fault.ok())
            return {faults, fault.problem};
        if (!fault.value.isEmpty())
            faults.append(fault.value);
    }
    return {faults, {}};
}

Answer<QVector<Bad>> allBad(const Database &database, int most, const std::function<bool(int done, int all)> &goesOn)
{
    QVector<Bad> all;
    for (const Table *const table : {&jobs(), &points()}) {
        const Answer<QVector<Id>> bad = badRows(database, *table, {}, most - all.size());
        for (const Id id : bad.value)
            all.append({textOf(*table, id), {}});
        if (!bad.ok())
            return {all, bad.problem};
    }
    const Problem problem = AllInspections(database, most, goesOn).run(&all);
    return {all, problem};
}

} // namespace Records::RowChecks
