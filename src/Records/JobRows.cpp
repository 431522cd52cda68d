// SPDX-License-Identifier: Apache-2.0
#include "Records/InspectionRows_p.h"
#include "Records/JobRows_p.h"
#include "Records/RowChecks_p.h"

namespace Records::JobRows {

using FiberInspection::Standard;

namespace {
constexpr char insertJob[] = "INSERT INTO job (identity, name, customer, site, operator, standard, created, closed) "
                             "VALUES (?, ?, ?, ?, ?, ?, ?, ?)";
constexpr char updateJob[] = "UPDATE job SET name = ?, customer = ?, site = ?, operator = ?, closed = ? WHERE id = ?";
constexpr char oneJob[] =
    "SELECT id, identity, name, customer, site, operator, standard, created, closed FROM job WHERE id = ?";
constexpr char someJobs[] = "SELECT id, identity, name, customer, site, operator, standard, created, closed FROM job "
                            "ORDER BY id DESC LIMIT ? OFFSET ?";
constexpr char insertPoint[] = "INSERT INTO point (job, name, position, side, fibre) VALUES (?, ?, ?, ?, ?)";
constexpr char nextPosition[] = "SELECT ifnull(max(position) + 1, 0) FROM point WHERE job = ?";
constexpr char pointsOfJob[] =
    "SELECT point.id, point.job, point.name, point.position, point.side, point.fibre, "
    "(SELECT count(*) FROM inspection WHERE inspection.point = point.id), latest.id, latest.verdict, latest.decision "
    "FROM point LEFT JOIN inspection AS latest "
    "ON latest.id = (SELECT max(inspection.id) FROM inspection WHERE inspection.point = point.id) "
    "WHERE point.job = ? ORDER BY point.position";

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
    if (point.lastInspection != noId)
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
    QVector<Point> points;
    while (query.next())
        points.append(readPoint(query));
    return {points, query.problem()};
}

JobProgress progressOf(const QVector<Point> &points)
{
    JobProgress progress;
    progress.points = points.size();
    for (const Point &point : points) {
        switch (point.state) {
        case PointState::Open:
            ++progress.open;
            break;
        case PointState::Passed:
            ++progress.passed;
            break;
        case PointState::Failed:
            ++progress.failed;
            break;
        case PointState::Accepted:
            ++progress.accepted;
            break;
        case PointState::NoVerdict:
            ++progress.withoutVerdict;
            break;
        }
    }
    return progress;
}

} // namespace Records::JobRows
