// SPDX-License-Identifier: Apache-2.0
#include "Records/JobRows_p.h"
#include "Records/StatisticsRows_p.h"

#include <algorithm>

namespace Records::StatisticsRows {

using namespace FiberInspection;

namespace {
constexpr double millisecondsOfASecond = 1000;

/// The last inspections of the points of a job.
constexpr char latest[] = "WITH latest AS (SELECT (SELECT max(inspection.id) FROM inspection "
                          "WHERE inspection.point = point.id) AS id FROM point WHERE point.job = ?) ";
constexpr char verdicts[] = "SELECT inspection.verdict, count(*) FROM latest "
                            "CROSS JOIN inspection ON inspection.id = latest.id GROUP BY inspection.verdict";
constexpr char violatedRules[] =
    "SELECT rule.zone, rule.kind, rule.operator, rule.min_size, rule.max_size, rule.allowed, "
    "count(DISTINCT rule.inspection) FROM latest CROSS JOIN rule ON rule.inspection = latest.id WHERE rule.violated "
    "GROUP BY rule.zone, rule.kind, rule.operator, rule.min_size, rule.max_size, rule.allowed "
    "ORDER BY rule.zone, min(rule.position)";
constexpr char failingSizes[] = "SELECT defect.size FROM latest CROSS JOIN defect ON defect.inspection = latest.id "
                                "WHERE defect.fails";
// All of it stands in an index. The plus keeps SQLite from another one, which leads from each point to wide rows.
constexpr char times[] =
    "SELECT made FROM inspection WHERE id >= (SELECT min(id) FROM (SELECT (SELECT min(inspection.id) FROM inspection "
    "WHERE inspection.point = point.id) AS id FROM point WHERE point.job = ?)) AND id <= (SELECT max(id) FROM latest) "
    "AND +point IN (SELECT point.id FROM point WHERE point.job = ?) ORDER BY id";

/// @param more of the values of the rest
Query ofLatest(const Database &database, const char *rest, Id job, const QVariantList &more = {})
{
    Query query(database, QLatin1String(latest) + QLatin1String(rest));
    query.run(QVariantList{job} + more);
    return query;
}

Problem countVerdicts(const Database &database, Id job, JobStatistics *statistics)
{
    Query row = ofLatest(database, verdicts, job);
    while (row.next()) {
        const auto verdict = static_cast<Verdict>(row.number(0));
        int &count = verdict == Verdict::Passed ? statistics->passed
            : verdict == Verdict::Failed        ? statistics->failed
                                                : statistics->withoutVerdict;
        count += row.number(1);
    }
    return row.problem();
}

Problem countFailures(const Database &database, Id job, JobStatistics *statistics)
{
    Query row = ofLatest(database, violatedRules, job);
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
    Query row = ofLatest(database, failingSizes, job);
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

Problem measureTimes(const Database &database, Id job, JobStatistics *statistics)
{
    Query row = ofLatest(database, times, job, {job, job});
    QVector<qint64> spans; // milliseconds
    qint64 former = 0;
    while (row.next()) {
        const qint64 made = row.longNumber(0);
        if (statistics->inspections++ > 0 && made >= former)
            spans.append(made - former);
        former = made;
    }
    if (const std::optional<double> span = median(spans))
        statistics->secondsBetween = *span / millisecondsOfASecond;
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
