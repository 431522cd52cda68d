// SPDX-License-Identifier: Apache-2.0
#include "Records/DefectShape_p.h"
#include "Records/InspectionColumns_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/MergeRows_p.h"

#include <QHash>
#include <QMap>

#include <algorithm>
#include <optional>

namespace Records::MergeRows {

using Column = InspectionColumns::Index;

namespace {
constexpr int rowsBetweenQuestions = 1000; // whether to go on

constexpr char sourceJobs[] =
    "SELECT id, identity, name, customer, site, operator, standard, created, closed FROM job ORDER BY id";
constexpr int standardOfJob = 6;
constexpr char insertJob[] = "INSERT INTO job (identity, name, customer, site, operator, standard, created, closed) "
                             "VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
constexpr char sourcePoints[] = "SELECT id, job, name, side, fibre FROM point ORDER BY job, position";
constexpr char knownPoint[] = "SELECT id FROM point WHERE job = ? AND name = ? AND side = ?";
constexpr char insertPoint[] = "INSERT INTO point (job, name, side, fibre, position) "
                               "SELECT ?, ?, ?, ?, ifnull(max(position) + 1, 0) FROM point WHERE job = ?";

constexpr char lastOfPoint[] = "SELECT verdict, decision FROM inspection WHERE point = ? ORDER BY id DESC LIMIT 1";

constexpr char zoneColumns[] = "zone, inner_diameter, outer_diameter, violations";
constexpr char ruleColumns[] = "zone, position, kind, operator, min_size, max_size, allowed, found, violated";
constexpr char defectColumns[] = "shape, position, zone, kind, size, x, y, fails";

int countOf(const char *columns)
{
    return QByteArray(columns).count(',') + 1;
}

QString insertion(const char *table, const char *columns)
{
    QString places;
    for (int i = 0; i < countOf(columns); ++i)
        places += QStringLiteral(", ?");
    return QStringLiteral("INSERT INTO %1 (inspection, %2) VALUES (?%3)")
        .arg(QLatin1String(table), QLatin1String(columns), places);
}

QString selection(const char *table, const char *columns)
{
    return QStringLiteral("SELECT %1 FROM %2 WHERE inspection = ?").arg(QLatin1String(columns), QLatin1String(table));
}

QVariantList valuesOf(const Query &row, int first, int count)
{
    QVariantList values;
    values.reserve(count);
    for (int i = first; i < first + count; ++i)
        values.append(row.value(i));
    return values;
}

Problem stopped()
{
    return {Fault::Stopped, QStringLiteral("Stopped; nothing was merged")};
}

/// What an operator has said about an inspection.
struct Said
{
    int decision = 0;
    QString note;

    bool isSomething() const { return decision != static_cast<int>(Decision::Undecided) || !note.isEmpty(); }
    bool operator==(const Said &other) const { return decision == other.decision && note == other.note; }
};

/// Whether two records of one inspection differ in what is never changed.
bool saysOtherwise(const Query &here, const Query &there)
{
    const auto &columns = InspectionColumns::all;
    return std::any_of(columns.cbegin(), columns.cend(), [&](const InspectionColumns::Column &column) {
        const int i = column.index;
        const bool mayDiffer = i == Column::Id || i == Column::Point || i == Column::Decision || i == Column::Note;
        return !mayDiffer && here.value(i) != there.value(i);
    });
}

/// One table of what belongs to an inspection.
class PartCopy
{
public:
    PartCopy(Database &target, const Database &source, const char *table, const char *columns)
        : mCount(countOf(columns))
        , mRead(source, selection(table, columns))
        , mWrite(target, insertion(table, columns))
    {
    }

    /// @param isGood null: all rows are
    Problem run(Id from, Id to, const std::function<bool(const Query &row)> &isGood = {})
    {
        mRead.run({from});
        while (mRead.next()) {
            if (isGood && !isGood(mRead))
                return {Fault::Damaged, QStringLiteral("Inspection %1 of the other store is damaged").arg(from)};
            if (!mWrite.run(QVariantList{to} + valuesOf(mRead, 0, mCount)))
                return mWrite.problem();
        }
        return mRead.problem();
    }

private:
    const int mCount;
    Query mRead;
    Query mWrite;
};

class Copy
{
public:
    Copy(Database &target, const Database &source, std::function<bool(int done, int all)> goesOn, Merge *done)
        : mTarget(target)
        , mSource(source)
        , mGoesOn(std::move(goesOn))
        , mDone(*done)
        , mInsert(target, InspectionColumns::insertion())
        , mKnown(target,
              QStringLiteral("SELECT %1 FROM inspection WHERE identity = ?").arg(InspectionColumns::selection()))
        , mLast(target, lastOfPoint)
        , mZones(target, source, "zone", zoneColumns)
        , mRules(target, source, "rule", ruleColumns)
        , mDefects(target, source, "defect", defectColumns)
    {
    }

    Problem count(); ///< comes first
    Problem jobs();
    Problem points();
    Problem inspections();
    Problem compareStates(); ///< comes last

private:
    Answer<std::optional<PointState>> stateOf(Id point);
    bool goesOnBehind(int rows) const;
    Problem checkStandard(const Query &job, Id known) const;
    Problem inspection(const Query &row);
    Problem add(const Query &row);
    Problem defects(Id from, Id to);
    Problem take(Id known, const Said &here, const Said &there);

    Database &mTarget;
    const Database &mSource;
    const std::function<bool(int done, int all)> mGoesOn;
    Merge &mDone;
    int mAll = 0; ///< inspections of the other store
    Query mInsert;
    Query mKnown;
    Query mLast;
    PartCopy mZones;
    PartCopy mRules;
    PartCopy mDefects;
    QHash<Id, Id> mJobs; ///< there and here
    QHash<Id, Id> mPoints;
    QMap<Id, std::optional<PointState>> mFormerStates; ///< of points that got inspections; none: they had none
};

/// Asks behind some of the rows only: they are many, and each is quickly done.
bool Copy::goesOnBehind(int rows) const
{
    return rows % rowsBetweenQuestions != 0 || mGoesOn(mDone.known + mDone.inspections, mAll);
}

Problem Copy::count()
{
    const Answer<QVariant> all = mSource.value("SELECT count(*) FROM inspection");
    mAll = all.value.toInt();
    return all.problem;
}

/// A job keeps its standard for good. @param known the job here
Problem Copy::checkStandard(const Query &job, Id known) const
{
    const Answer<QVariant> here = mTarget.value("SELECT standard FROM job WHERE id = ?", {known});
    if (!here.ok() || here.value == job.value(standardOfJob))
        return here.problem;
    return {
        Fault::Damaged, QStringLiteral("Job %1 of the other store has another standard here").arg(job.longNumber(0))};
}

Problem Copy::jobs()
{
    constexpr int columns = 8; // behind the id
    Query row(mSource, sourceJobs);
    Query insert(mTarget, insertJob);
    row.run({});
    for (int i = 1; row.next(); ++i) {
        if (!goesOnBehind(i))
            return stopped();
        const Answer<QVariant> known = mTarget.value("SELECT id FROM job WHERE identity = ?", {row.value(1)});
        if (!known.ok())
            return known.problem;
        if (known.value.isValid()) {
            const Problem problem = checkStandard(row, known.value.toLongLong());
            if (!problem.ok())
                return problem;
            mJobs.insert(row.longNumber(0), known.value.toLongLong());
            continue;
        }
        if (!insert.run(valuesOf(row, 1, columns)))
            return insert.problem();
        mJobs.insert(row.longNumber(0), insert.lastId());
        ++mDone.jobs;
    }
    return row.problem();
}

Problem Copy::points()
{
    Query row(mSource, sourcePoints);
    Query insert(mTarget, insertPoint);
    row.run({});
    for (int i = 1; row.next(); ++i) {
        if (!goesOnBehind(i))
            return stopped();
        const Id job = mJobs.value(row.longNumber(1));
        const Answer<QVariant> known = mTarget.value(knownPoint, {job, row.value(2), row.value(3)});
        if (!known.ok())
            return known.problem;
        if (known.value.isValid()) {
            mPoints.insert(row.longNumber(0), known.value.toLongLong());
            continue;
        }
        if (!insert.run({job, row.value(2), row.value(3), row.value(4), job}))
            return insert.problem();
        mPoints.insert(row.longNumber(0), insert.lastId());
        ++mDone.points;
    }
    return row.problem();
}

Problem Copy::inspections()
{
    Query row(mSource, QStringLiteral("SELECT %1 FROM inspection ORDER BY id").arg(InspectionColumns::selection()));
    row.run({});
    for (int i = 0; row.next(); ++i) {
        if (!mGoesOn(i, mAll))
            return stopped();
        const Problem problem = inspection(row);
        if (!problem.ok())
            return problem;
    }
    return row.problem();
}

Problem Copy::inspection(const Query &row)
{
    if (!mKnown.run({row.value(Column::Identity)}))
        return mKnown.problem();
    const bool isKnown = mKnown.next();
    if (!mKnown.problem().ok())
        return mKnown.problem();
    if (!isKnown)
        return add(row);
    ++mDone.known;
    const Id known = mKnown.longNumber(Column::Id);
    if (saysOtherwise(mKnown, row)) {
        mDone.contradictions.append(known);
        return {};
    }
    return take(known, {mKnown.number(Column::Decision), mKnown.text(Column::Note)},
        {row.number(Column::Decision), row.text(Column::Note)});
}

/// Of a point of here; none before its first inspection.
Answer<std::optional<PointState>> Copy::stateOf(Id point)
{
    std::optional<PointState> state;
    mLast.run({point});
    if (mLast.next())
        state = JobRows::stateOf(static_cast<Verdict>(mLast.number(0)), static_cast<Decision>(mLast.number(1)));
    return {state, mLast.problem()};
}

Problem Copy::compareStates()
{
    for (auto former = mFormerStates.cbegin(); former != mFormerStates.cend(); ++former) {
        const Answer<std::optional<PointState>> now = stateOf(former.key());
        if (!now.ok())
            return now.problem;
        if (former.value() && *former.value() != PointState::Open && now.value != former.value())
            mDone.judgedAnew.append(former.key());
    }
    return {};
}

Problem Copy::add(const Query &row)
{
    constexpr int first = Column::Id + 1;
    QVariantList values = valuesOf(row, first, InspectionColumns::count - first);
    if (!row.isNull(Column::Point)) {
        const Id here = mPoints.value(row.longNumber(Column::Point));
        if (!mFormerStates.contains(here)) {
            const Answer<std::optional<PointState>> former = stateOf(here);
            if (!former.ok())
                return former.problem;
            mFormerStates.insert(here, former.value);
        }
        values[Column::Point - first] = here;
    }
    if (!mInsert.run(values))
        return mInsert.problem();
    const Id from = row.longNumber(Column::Id);
    const Id to = mInsert.lastId();
    Problem problem = mZones.run(from, to);
    if (problem.ok())
        problem = mRules.run(from, to); // which stand on zones
    if (problem.ok())
        problem = defects(from, to);
    if (problem.ok())
        problem = InspectionRows::index(mTarget, to);
    ++mDone.inspections;
    return problem;
}

/// All have shapes that can be read back, or the inspection could not be shown here.
Problem Copy::defects(Id from, Id to)
{
    DefectShape::Budget budget;
    int count = 0;
    bool isStopped = false;
    const Problem problem = mDefects.run(from, to, [&](const Query &row) {
        isStopped = !goesOnBehind(++count);
        const QByteArray shape = row.bytes(0);
        return !isStopped && budget.covers(shape) && DefectShape::isShape(shape);
    });
    return isStopped ? stopped() : problem;
}

Problem Copy::take(Id known, const Said &here, const Said &there)
{
    if (!there.isSomething() || here == there)
        return {};
    if (here.isSomething()) {
        mDone.disagreements.append(known);
        return {};
    }
    mDone.decisions.append(known);
    return InspectionRows::decide(mTarget, known, static_cast<Decision>(there.decision), there.note);
}

/// @param what is counted, for people
Problem checkNumber(const Answer<QVariant> &count, const char *what, int most)
{
    if (!count.ok() || count.value.toLongLong() <= most)
        return count.problem;
    return {
        Fault::TooLarge, QStringLiteral("The other store has %1 %2").arg(count.value.toString(), QLatin1String(what))};
}
} // namespace

Problem checkSize(const Database &source)
{
    const Problem problem = checkNumber(source.value("SELECT count(*) FROM job"), "jobs", RecordStore::maxMergedJobs);
    return problem.ok()
        ? checkNumber(source.value("SELECT count(*) FROM point"), "points", RecordStore::maxMergedPoints)
        : problem;
}

Problem copy(
    Database &target, const Database &source, const std::function<bool(int done, int all)> &goesOn, Merge *done)
{
    Copy copy(target, source, goesOn, done);
    Problem problem = copy.count();
    if (problem.ok())
        problem = copy.jobs();
    if (problem.ok())
        problem = copy.points();
    if (problem.ok())
        problem = copy.inspections();
    return problem.ok() ? copy.compareStates() : problem;
}

} // namespace Records::MergeRows
