// SPDX-License-Identifier: Apache-2.0
#include "Records/DefectShape_p.h"
#include "Records/InspectionColumns_p.h"
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/MergeRows_p.h"

#include <QHash>
#include <QMap>
#include <QSet>

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
constexpr char knownPoint[] = "SELECT id, fibre FROM point WHERE job = ? AND name = ? AND side = ?";
constexpr char insertPoint[] = "INSERT INTO point (job, name, side, fibre, position) "
                               "SELECT ?, ?, ?, ?, ifnull(max(position) + 1, 0) FROM point WHERE job = ?";

constexpr char lastOfPoint[] = "SELECT verdict, decision FROM inspection WHERE point = ? ORDER BY id DESC LIMIT 1";

/// A table of what belongs to an inspection.
struct Part
{
    const char *table;
    const char *columns;
    const char *key; ///< those of them that tell the rows of one inspection apart
};
constexpr Part zonePart{"zone", "zone, inner_diameter, outer_diameter, violations", "zone"};
constexpr Part rulePart{
    "rule", "zone, position, kind, operator, min_size, max_size, allowed, found, violated", "zone, position"};
constexpr Part defectPart{"defect", "shape, position, zone, kind, size, x, y, fails", "position"};

int countOf(const char *columns)
{
    return QByteArray(columns).count(',') + 1;
}

QString insertion(const Part &part)
{
    QString places;
    for (int i = 0; i < countOf(part.columns); ++i)
        places += QStringLiteral(", ?");
    return QStringLiteral("INSERT INTO %1 (inspection, %2) VALUES (?%3)")
        .arg(QLatin1String(part.table), QLatin1String(part.columns), places);
}

QString selection(const Part &part)
{
    return QStringLiteral("SELECT %1 FROM %2 WHERE inspection = ? ORDER BY %3")
        .arg(QLatin1String(part.columns), QLatin1String(part.table), QLatin1String(part.key));
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

/// Whether two records of one inspection differ in what is never changed. Their points have numbers of their own.
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
    PartCopy(Database &target, const Database &source, const Part &part)
        : mCount(countOf(part.columns))
        , mRead(source, selection(part))
        , mWrite(target, insertion(part))
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

/// Looks whether one table says the same of an inspection in both stores.
class PartComparison
{
public:
    PartComparison(const Database &target, const Database &source, const Part &part)
        : mCount(countOf(part.columns))
        , mHere(target, selection(part))
        , mThere(source, selection(part))
    {
    }

    Answer<bool> run(Id here, Id there)
    {
        mHere.run({here});
        mThere.run({there});
        bool isSame = true;
        for (bool isRow = true; isRow && isSame;) {
            isRow = mHere.next();
            isSame = mThere.next() == isRow;
            if (isRow && isSame)
                isSame = valuesOf(mHere, 0, mCount) == valuesOf(mThere, 0, mCount);
        }
        return {isSame, mHere.problem().ok() ? mThere.problem() : mHere.problem()};
    }

private:
    const int mCount;
    Query mHere;
    Query mThere;
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
        , mZones(target, source, zonePart)
        , mRules(target, source, rulePart)
        , mDefects(target, source, defectPart)
        , mZonesOfBoth(target, source, zonePart)
        , mRulesOfBoth(target, source, rulePart)
        , mDefectsOfBoth(target, source, defectPart)
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
    Problem checkPoints(const QSet<Id> &jobs) const;
    Problem inspection(const Query &row);
    Answer<bool> contradicts(const Query &there);
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
    PartComparison mZonesOfBoth;
    PartComparison mRulesOfBoth;
    PartComparison mDefectsOfBoth;
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
    Query known(mTarget, knownPoint);
    Query insert(mTarget, insertPoint);
    QSet<Id> grown; // jobs
    row.run({});
    for (int i = 1; row.next(); ++i) {
        if (!goesOnBehind(i))
            return stopped();
        const Id job = mJobs.value(row.longNumber(1));
        known.run({job, row.value(2), row.value(3)});
        if (known.next()) {
            mPoints.insert(row.longNumber(0), known.longNumber(0));
            if (known.value(1) != row.value(4))
                mDone.otherFibres.append(known.longNumber(0));
            continue;
        }
        if (!known.problem().ok())
            return known.problem();
        if (!insert.run({job, row.value(2), row.value(3), row.value(4), job}))
            return insert.problem();
        mPoints.insert(row.longNumber(0), insert.lastId());
        ++mDone.points;
        grown.insert(job);
    }
    return row.problem().ok() ? checkPoints(grown) : row.problem();
}

/// Who shows a job reads all its points. @param jobs of here, that got some
Problem Copy::checkPoints(const QSet<Id> &jobs) const
{
    for (const Id job : jobs) {
        const Answer<QVariant> count = mTarget.value("SELECT count(*) FROM point WHERE job = ?", {job});
        if (!count.ok() || count.value.toInt() > RecordStore::maxMergedPointsOfJob)
            return count.ok() ? Problem{Fault::TooLarge,
                       QStringLiteral("Job %1 would have %2 points").arg(QString::number(job), count.value.toString())}
                              : count.problem;
    }
    return {};
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
    const Answer<bool> isOther = contradicts(row);
    if (!isOther.ok())
        return isOther.problem;
    if (isOther.value) {
        mDone.contradictions.append(known);
        return {};
    }
    return take(known, {mKnown.number(Column::Decision), mKnown.text(Column::Note)},
        {row.number(Column::Decision), row.text(Column::Note)});
}

/// Whether the inspection at hand, which is known here, is another one there: of another point, or of other parts.
Answer<bool> Copy::contradicts(const Query &there)
{
    const bool isOfPoint = !there.isNull(Column::Point);
    const Id point = isOfPoint ? mPoints.value(there.longNumber(Column::Point)) : noId;
    if (mKnown.isNull(Column::Point) == isOfPoint || mKnown.longNumber(Column::Point) != point
        || saysOtherwise(mKnown, there))
        return {true, {}};
    for (PartComparison *const part : {&mZonesOfBoth, &mRulesOfBoth, &mDefectsOfBoth}) {
        const Answer<bool> isSame = part->run(mKnown.longNumber(Column::Id), there.longNumber(Column::Id));
        if (!isSame.ok() || !isSame.value)
            return {true, isSame.problem};
    }
    return {false, {}};
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

// Of each inspection, as the index for searching has them.
constexpr char sizeOfTexts[] =
    "SELECT ifnull(sum(length(CAST(inspection.note AS BLOB)) + ifnull(length(CAST(point.name AS BLOB)), 0) "
    "+ ifnull(length(CAST(job.name AS BLOB)) + length(CAST(job.customer AS BLOB)) + length(CAST(job.site AS BLOB)) "
    "+ length(CAST(job.operator AS BLOB)), 0)), 0) FROM inspection LEFT JOIN point ON point.id = inspection.point "
    "LEFT JOIN job ON job.id = point.job";

constexpr char pointsOfLargestJob[] =
    "SELECT ifnull(max(points), 0) FROM (SELECT count(*) AS points FROM point GROUP BY job)";

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
    Problem problem = checkNumber(source.value("SELECT count(*) FROM job"), "jobs", RecordStore::maxMergedJobs);
    if (problem.ok())
        problem = checkNumber(source.value("SELECT count(*) FROM point"), "points", RecordStore::maxMergedPoints);
    if (problem.ok())
        problem = checkNumber(source.value(pointsOfLargestJob), "points in one job", RecordStore::maxMergedPointsOfJob);
    return problem.ok() ? checkNumber(source.value(sizeOfTexts), "bytes of texts that its inspections are searched by",
               RecordStore::maxMergedTexts)
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
