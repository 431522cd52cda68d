// SPDX-License-Identifier: Apache-2.0
#include "JobFigures.h"

#include "InspectionWords.h"
#include "StoreWords.h"

#include <algorithm>
#include <cmath>

using FiberInspection::Defect;
using Records::Answer;
using Records::JobStatistics;
using Records::RuleFailures;

namespace {
const QVector<double> &sizeEdges() // micrometres
{
    static const QVector<double> edges{1, 2, 3, 5, 10, 25, 50};
    return edges;
}

QVariantMap bar(const QString &label, int value)
{
    return {{QStringLiteral("label"), label}, {QStringLiteral("value"), value}};
}

QString rangeOf(int index)
{
    const QVector<double> &edges = sizeEdges();
    if (index == 0)
        return QStringLiteral("< %1 µm").arg(edges[0]);
    if (index == edges.size())
        return QStringLiteral("≥ %1 µm").arg(edges[index - 1]);
    return QStringLiteral("%1 – %2 µm").arg(edges[index - 1]).arg(edges[index]);
}

QVariantList sizesOf(const JobStatistics &statistics)
{
    QVariantList bars;
    for (int i = 0; i < statistics.sizes.size(); ++i)
        bars.append(bar(rangeOf(i), statistics.sizes[i]));
    return bars;
}

QString textOf(const std::optional<double> &seconds)
{
    return seconds ? JobFigures::duration(*seconds) : QString();
}
} // namespace

QString JobFigures::percent(double rate)
{
    constexpr double step = 0.1;
    double percent = 100 * rate;
    if (rate > 0 && rate < 1)
        percent = std::clamp(std::round(percent / step) * step, step, 100 - step);
    const bool isWhole = rate <= 0 || rate >= 1;
    return tr("%1 %").arg(InspectionWords::locale().toString(percent, 'f', isWhole ? 0 : 1));
}

QString JobFigures::duration(double seconds)
{
    constexpr int ofMinute = 60;
    constexpr int ofHour = 3600;
    const auto all = static_cast<int>(std::lround(seconds));
    if (all < ofMinute)
        return tr("%1 s").arg(all);
    if (all < ofHour)
        return tr("%1 min %2 s").arg(all / ofMinute).arg(all % ofMinute);
    return tr("%1 h %2 min").arg(all / ofHour).arg(all % ofHour / ofMinute);
}

namespace {
class FailureBars
{
    Q_DECLARE_TR_FUNCTIONS(JobFigures)

public:
    static QVariantList of(const JobStatistics &statistics)
    {
        QVariantList bars;
        for (const RuleFailures &failures : statistics.failures)
            bars.append(bar(labelOf(failures), failures.points));
        return bars;
    }

private:
    static QString labelOf(const RuleFailures &failures)
    {
        const QString sizes = InspectionWords::sizes(failures.rule);
        const bool isScratch = failures.rule.defectType == Defect::Type::Scratch;
        return tr("%1: %2 %3", "zone, kind, sizes")
            .arg(InspectionWords::zone(failures.zone), isScratch ? tr("scratches") : tr("defects"),
                sizes.isEmpty() ? tr("of any size") : tr("%1 µm").arg(sizes));
    }
};
} // namespace

QVariantMap JobFigures::of(const Records::RecordStore &store, const QUuid &identity)
{
    const Answer<Records::Job> job = store.jobOf(identity);
    const Answer<JobStatistics> answer = store.statistics(job.value.id, sizeEdges());
    const JobStatistics &statistics = answer.value;
    const std::optional<double> rate = statistics.passRate();
    return {
        {QStringLiteral("jobName"), StoreWords::shown(job.value.name)},
        {QStringLiteral("points"), statistics.points},
        {QStringLiteral("open"), statistics.open},
        {QStringLiteral("passed"), statistics.passed},
        {QStringLiteral("failed"), statistics.failed},
        {QStringLiteral("accepted"), statistics.accepted},
        {QStringLiteral("withoutVerdict"), statistics.withoutVerdict},
        {QStringLiteral("doubtful"), statistics.doubtful},
        {QStringLiteral("inspections"), statistics.inspections},
        {QStringLiteral("rate"), rate ? percent(*rate) : QString()},
        {QStringLiteral("failures"), FailureBars::of(statistics)},
        {QStringLiteral("sizes"), sizesOf(statistics)},
        {QStringLiteral("median"), textOf(statistics.secondsOfPoint)},
        {QStringLiteral("longest"), textOf(statistics.longestSecondsOfPoint)},
        {QStringLiteral("error"), StoreWords::of(job.ok() ? answer.problem : job.problem)},
    };
}
