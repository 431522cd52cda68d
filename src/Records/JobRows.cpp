// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/RecordDoubts_p.h"
#include "Records/RowChecks_p.h"

namespace Records::JobRows {

using FiberInspection::Standard;

namespace {
constexpr char insertJob[] = "INSERT INTO job (identity, name, customer, site, operator, standard, created, closed) "
                             "VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
constexpr char updateJob[] = "UPDATE job SET name = ?, customer = ?, site = ?, operator = ?, closed = ? WHERE id = ?";
// Of a text that is longer than any that is kept there is one character too much.
static_assert(RecordStore::maxTextLength == 4000, "there is another one too much");
constexpr char oneJob[] = "SELECT id, identity, substr(name, 1, 4001), substr(customer, 1, 4001), substr(site, 1, "
                          "4001), substr(operator, 1, 4001), standard, created, closed FROM job WHERE id = ?";
constexpr char identifiedJob[] =
    "SELECT id, identity, substr(name, 1, 4001), substr(customer, 1, 4001), substr(site, 1, 4001), substr(operator, 1, "
    "4001), standard, created, closed FROM job WHERE identity = ?";
constexpr char someJobs[] = "SELECT id, identity, substr(name, 1, 4001), substr(customer, 1, 4001), substr(site, 1, "
                            "4001), substr(operator, 1, 4001), standard, created, closed FROM job "
                            "ORDER BY id DESC LIMIT ? OFFSET ?";
constexpr char insertPoint[] = "INSERT INTO point (job, name, position, side, fibre) VALUES (?, ?, ?, ?, ?)";
constexpr char nextPosition[] = "SELECT ifnull(max(position) + 1, 0) FROM point WHERE job = ?";
constexpr char pointsOfJob[] =
    "SELECT point.id, point.job, substr(point.name, 1, 4001), point.position, point.side, point.fibre, "
    "(SELECT count(*) FROM inspection AS other WHERE other.point = point.id), inspection.id, inspection.verdict, "
    "inspection.decision FROM point LEFT JOIN inspection "
    "ON inspection.id = (SELECT max(other.id) FROM inspection AS other WHERE other.point = point.id) "
    "WHERE point.job = ? ORDER BY point.position";
constexpr char statesOfJob[] =
    "SELECT latest.id, latest.verdict, latest.decision FROM point LEFT JOIN inspection AS latest "
    "ON latest.id = (SELECT max(inspection.id) FROM inspection WHERE inspection.point = point.id) "
    "WHERE point.job = ?";

Job readJob(const Query &row)
{
    Job job;
    job.id = row.longNumber(0);
    job.identity = QUuid::fromRfc4122(row.bytes(1));
    job.name = row.text(2);
    job.customer = row.text(3);
    job.site = row.text(4);
    job.operatorName = row.text(5);
    job.standard = static_cast<Standard::Id>(row.number(6));
    job.created = row.time(7);
    job.closed = row.time(8);
    return job;
}

Point readPoint(const Query &row)
{
    Point point;
    point.id = row.longNumber(0);
    point.job = row.longNumber(1);
    point.name = row.text(2);
    point.position = row.number(3);
    point.side = static_cast<Side>(row.number(4));
    point.fibre = static_cast<FibreKind>(row.number(5));
    point.inspections = row.number(6);
    point.lastInspection = row.longNumber(7);
    if (point.lastInspection == noId)
        return point;
    point.state = stateOf(static_cast<Verdict>(row.number(8)), static_cast<Decision>(row.number(9)));
    return point;
}
} // namespace

PointState stateOf(Verdict verdict, Decision decision)
{
    if (decision == Decision::ToRepeat)
        return PointState::Open;
    if (verdict == Verdict::Passed)
        return PointState::Passed;
    if (decision == Decision::Accepted)
        return PointState::Accepted;
    return verdict == Verdict::Failed ? PointState::Failed : PointState::NoVerdict;
}

Problem add(Database &database, Job *job)
{
    job->identity = QUuid::createUuid();
    job->created = QDateTime::currentDateTimeUtc();
    Query query(database, insertJob);
    query.run({job->identity.toRfc4122(), toValue(job->name), toValue(job->customer), toValue(job->site),
        toValue(job->operatorName), static_cast<int>(job->standard), toValue(job->created), toValue(job->closed)});
    job->id = query.lastId();
    return query.problem().ok() ? RowChecks::job(database, job->id) : query.problem();
}

Problem update(Database &database, const Job &job)
{
    const Problem problem = database.run(updateJob,
        {toValue(job.name), toValue(job.customer), toValue(job.site), toValue(job.operatorName), toValue(job.closed),
            job.id});
    if (!problem.ok())
        return problem;
    const Problem beyond = RowChecks::job(database, job.id);
    return beyond.ok() ? InspectionRows::indexJob(database, job.id) : beyond;
}

Answer<Job> one(const Database &database, Id id)
{
    Query query(database, oneJob);
    query.run({id});
    if (query.problem().ok() && query.next())
        return {readJob(query), {}};
    return {{},
        query.problem().ok() ? Problem{Fault::NotFound, QStringLiteral("There is no job %1").arg(id)}
                             : query.problem()};
}

Answer<Job> withIdentity(const Database &database, const QUuid &identity)
{
    Query query(database, identifiedJob);
    query.run({identity.toRfc4122()});
    if (query.problem().ok() && query.next())
        return {readJob(query), {}};
    return {{},
        query.problem().ok() ? Problem{Fault::NotFound, QStringLiteral("There is no job %1").arg(identity.toString())}
                             : query.problem()};
}

Answer<QVector<Job>> some(const Database &database, const Page &page)
{
    Query query(database, someJobs);
    query.run({page.rows, page.offset});
    QVector<Job> jobs;
    while (query.next())
        jobs.append(readJob(query));
    return {jobs, query.problem()};
}

Problem addPoints(Database &database, Id job, const QVector<QString> &names, const PointRun &run)
{
    const Answer<QVariant> first = database.value(nextPosition, {job});
    if (!first.ok())
        return first.problem;
    int position = first.value.toInt();
    Query query(database, insertPoint);
    for (const QString &name : names) {
        if (!query.run({job, name, position++, static_cast<int>(run.side), static_cast<int>(run.fibre)}))
            break;
    }
    return query.problem().ok() ? RowChecks::pointsOf(database, job) : query.problem();
}

Answer<QVector<Point>> points(const Database &database, Id job)
{
    Query query(database, pointsOfJob);
    query.run({job});
    RecordDoubts doubts(database);
    QVector<Point> points;
    while (query.next()) {
        Point point = readPoint(query);
        point.isDoubtful = point.state != PointState::Open && doubts.isDoubtful(point.lastInspection);
        points.append(point);
    }
    return {points, query.problem()};
}

namespace {
int &countOf(PointState state, JobProgress *progress)
{
    switch (state) {
    case PointState::Open:
        break;
    case PointState::Passed:
        return progress->passed;
    case PointState::Failed:
        return progress->failed;
    case PointState::Accepted:
        return progress->accepted;
    case PointState::NoVerdict:
        return progress->withoutVerdict;
    }
    return progress->open;
}
} // namespace

Answer<JobProgress> progress(const Database &database, Id job)
{
    Query query(database, statesOfJob);
    query.run({job});
    RecordDoubts doubts(database);
    JobProgress progress;
    while (query.next()) {
        ++progress.points;
        const auto verdict = static_cast<Verdict>(query.number(1));
        const auto decision = static_cast<Decision>(query.number(2));
        const PointState state = query.isNull(0) ? PointState::Open : stateOf(verdict, decision);
        const bool isDoubtful = state != PointState::Open && doubts.isDoubtful(query.longNumber(0));
        ++(isDoubtful ? progress.doubtful : countOf(state, &progress));
    }
    return {progress, query.problem()};
}

} // namespace Records::JobRows
