// SPDX-License-Identifier: Apache-2.0
#include "Records/JobRows_p.h"
#include "Records/RecordDoubts_p.h"
#include "Records/StatisticsRows_p.h"

#include <algorithm>

namespace Records::StatisticsRows {

using namespace FiberInspection;

namespace {
constexpr double millisecondsOfASecond = 1000;

/// The last inspections of the points of a job.
constexpr char latest[] = "WITH latest AS (SELECT (SELECT max(inspection.id) FROM inspection "
                          "WHERE inspection.point = point.id) AS id FROM point WHERE point.job = ?) ";
constexpr char pointCount[] = "SELECT count(*) FROM point WHERE job = ?";
constexpr char verdicts[] = "SELECT inspection.id, inspection.verdict, inspection.decision FROM latest "
                            "CROSS JOIN inspection ON inspection.id = latest.id";
constexpr char violatedRules[] =
    "SELECT rule.zone, rule.kind, rule.operator, rule.min_size, rule.max_size, rule.allowed, "
    "count(DISTINCT rule.inspection) FROM latest CROSS JOIN rule ON rule.inspection = latest.id WHERE rule.violated "
    "GROUP BY rule.zone, rule.kind, rule.operator, rule.min_size, rule.max_size, rule.allowed "
    "ORDER BY rule.zone, min(rule.position)";
constexpr char failingSizes[] = "SELECT defect.size FROM latest CROSS JOIN defect ON defect.inspection = latest.id "
                                "WHERE defect.fails";
// All of it stands in an index. The plus keeps SQLite from another one, which leads from each point to wide rows.
constexpr char times[] =
    "SELECT made, point FROM inspection WHERE id >= (SELECT min(id) FROM (SELECT (SELECT min(inspection.id) FROM "
    "inspection "
    "WHERE inspection.point = point.id) AS id FROM point WHERE point.job = ?)) AND id <= (SELECT max(id) FROM latest) "
    "AND +point IN (SELECT point.id FROM point WHERE point.job = ?) ORDER BY id";

/// @param more of the values of the rest
Query ofLatest(const Database &database, const QString &rest, Id job, const QVariantList &more = {})
{
    Query query(database, QLatin1String(latest) + rest);
    query.run(QVariantList{job} + more);
    return query;
}

int &countOf(Verdict verdict, JobStatistics *statistics)
{
    if (verdict == Verdict::Passed)
        return statistics->passed;
    return verdict == Verdict::Failed ? statistics->failed : statistics->withoutVerdict;
}

Problem countVerdicts(const Database &database, Id job, JobStatistics *statistics)
{
    const Answer<QVariant> points = database.value(pointCount, {job});
    if (!points.ok())
        return points.problem;
    statistics->points = statistics->open = points.value.toInt();
    Query row = ofLatest(database, QLatin1String(verdicts), job);
    RecordDoubts doubts(database);
    while (row.next()) {
        const auto verdict = static_cast<Verdict>(row.number(1));
        const PointState state = JobRows::stateOf(verdict, static_cast<Decision>(row.number(2)));
        if (state == PointState::Open)
            continue;
        --statistics->open;
        if (doubts.isDoubtful(row.longNumber(0))) {
            ++statistics->doubtful;
            continue;
        }
        ++countOf(verdict, statistics);
        if (state == PointState::Accepted && verdict == Verdict::Failed)
            ++statistics->accepted;
    }
    return row.problem();
}

Problem countFailures(const Database &database, Id job, JobStatistics *statistics)
{
    Query row = ofLatest(database, QLatin1String(violatedRules), job);
    while (row.next()) {
        RuleFailures failures;
        failures.zone = static_cast<Zone::Id>(row.number(0));
        failures.rule.defectType = static_cast<Defect::Type>(row.number(1));
        failures.rule.ruleOperator = static_cast<Rule::Operator>(row.number(2));
        failures.rule.minSize = row.number(3);
        failures.rule.maxSize = row.number(4);
        failures.rule.maxAllowedAmount = row.number(5);
        failures.points = row.number(6);
        statistics->failures.append(failures);
    }
    return row.problem();
}

Problem countSizes(const Database &database, Id job, const QVector<double> &edges, JobStatistics *statistics)
{
    statistics->sizes.fill(0, edges.size() + 1);
    Query row = ofLatest(database, QLatin1String(failingSizes), job);
    while (row.next()) {
        const auto above = std::upper_bound(edges.cbegin(), edges.cend(), row.real(0));
        ++statistics->sizes[static_cast<int>(above - edges.cbegin())];
    }
    return row.problem();
}

std::optional<double> median(QVector<qint64> values)
{
    if (values.isEmpty())
        return {};
    const auto upper = values.begin() + values.size() / 2;
    std::nth_element(values.begin(), upper, values.end());
    if (values.size() % 2 != 0)
        return static_cast<double>(*upper);
    const qint64 lower = *std::max_element(values.begin(), upper);
    return (static_cast<double>(lower) + static_cast<double>(*upper)) / 2;
}

/// How long the points took, from the spans between inspections.
class Turns
{
public:
    void add(Id point, qint64 span) ///< milliseconds
    {
        const bool isWork = span >= 0 && span <= longest;
        if (point != mPoint) {
            end();
            mPoint = point;
            mTook = span;
            mIsKnown = isWork;
            return;
        }
        mTook += span;
        mIsKnown = mIsKnown && isWork;
    }
    void begin(Id point) { mPoint = point; }
    void end()
    {
        if (mIsKnown)
            took.append(mTook);
        mIsKnown = false;
    }

    QVector<qint64> took; // milliseconds

private:
    static constexpr qint64 longest = qint64{1000} * JobStatistics::longestPause;

    Id mPoint = noId;
    qint64 mTook = 0;
    bool mIsKnown = false; ///< not the very first, nor a pause
};

Problem measureTimes(const Database &database, Id job, JobStatistics *statistics)
{
    Query row = ofLatest(database, QLatin1String(times), job, {job, job});
    QVector<qint64> spans; // milliseconds
    Turns turns;
    qint64 former = 0;
    while (row.next()) {
        const qint64 made = row.longNumber(0);
        const Id point = row.longNumber(1);
        if (statistics->inspections++ == 0) {
            turns.begin(point);
        } else {
            turns.add(point, made - former);
            if (made >= former)
                spans.append(made - former);
        }
        former = made;
    }
    turns.end();
    if (const std::optional<double> span = median(spans))
        statistics->secondsBetween = *span / millisecondsOfASecond;
    if (const std::optional<double> took = median(turns.took)) {
        statistics->secondsOfPoint = *took / millisecondsOfASecond;
        statistics->longestSecondsOfPoint =
            static_cast<double>(*std::max_element(turns.took.cbegin(), turns.took.cend())) / millisecondsOfASecond;
    }
    return row.problem();
}
} // namespace

Answer<JobStatistics> ofJob(Database &database, Id job, const QVector<double> &edges)
{
    const Snapshot snapshot(database);
    if (!snapshot.problem().ok())
        return {{}, snapshot.problem()};
    const Answer<Job> present = JobRows::one(database, job);
    if (!present.ok())
        return {{}, present.problem};
    JobStatistics statistics;
    Problem problem = countVerdicts(database, job, &statistics);
    if (problem.ok())
        problem = countFailures(database, job, &statistics);
    if (problem.ok())
        problem = countSizes(database, job, edges, &statistics);
    if (problem.ok())
        problem = measureTimes(database, job, &statistics);
    return {statistics, problem};
}

} // namespace Records::StatisticsRows
