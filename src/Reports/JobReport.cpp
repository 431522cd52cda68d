// SPDX-License-Identifier: Apache-2.0
#include "Reports/JobReport.h"

#include "Records/Doubt.h"
#include "Reports/JsonExport.h"

#include <QHash>
#include <QSet>

#include <algorithm>
#include <new>

namespace Reports {

using namespace Records;

namespace {
constexpr int mostAttempts = 3;

const QVector<double> &histogramEdges() // micrometres
{
    static const QVector<double> edges{1, 2, 3, 5, 10, 25, 50};
    return edges;
}

Problem tooMany(int most, const char *what)
{
    return {
        Fault::TooLarge, QStringLiteral("The job has more than %1 %2").arg(QString::number(most), QLatin1String(what))};
}

/// Ids of all inspections of the job, the oldest first.
Answer<QVector<Id>> idsOf(const RecordStore &store, Id job)
{
    Filter filter;
    filter.job = job;
    QVector<Id> ids; // the latest first
    for (Page page{0, Page::maxRows};; page.offset += Page::maxRows) {
        const Answer<QVector<InspectionSummary>> rows = store.list(filter, page);
        if (!rows.ok())
            return {{}, rows.problem};
        for (const InspectionSummary &row : rows.value) {
            if (ids.isEmpty() || row.id < ids.last()) // others may add some meanwhile, which shift the pages
                ids.append(row.id);
        }
        if (ids.size() > JobReport::maxInspections)
            return {{}, tooMany(JobReport::maxInspections, "inspections")};
        if (rows.value.size() < Page::maxRows)
            break;
    }
    std::reverse(ids.begin(), ids.end());
    return {ids, {}};
}

bool areSame(const QVector<Point> &some, const QVector<Point> &others)
{
    return std::equal(some.cbegin(), some.cend(), others.cbegin(), others.cend(), [](const Point &a, const Point &b) {
        return a.id == b.id && a.state == b.state && a.inspections == b.inspections
            && a.lastInspection == b.lastInspection;
    });
}

ReportState stateOf(PointState state)
{
    switch (state) {
    case PointState::Open:
        return ReportState::Open;
    case PointState::Passed:
        return ReportState::Passed;
    case PointState::Failed:
        return ReportState::Failed;
    case PointState::Accepted:
        return ReportState::Accepted;
    case PointState::NoVerdict:
        return ReportState::NoVerdict;
    }
    return ReportState::Doubtful; // one of a later version
}

/// Reads the store once, from one end to the other.
class Gathering
{
public:
    Gathering(const RecordStore &store, Id job, const GoesOn &goesOn)
        : mStore(store)
        , mJob(job)
        , mGoesOn(goesOn)
    {
    }

    Problem run();

    JobReport report;
    bool isOfOneMoment = false; ///< nobody has changed the points meanwhile

private:
    Problem readJob();
    Problem readInspections();
    Problem readInspection(Id id);
    void lookAtPictures(const StoredInspection &inspection);
    void judge(ReportPoint *point) const;

    const RecordStore &mStore;
    const Id mJob;
    const GoesOn &mGoesOn;
    QVector<Point> mPoints;
    QHash<QByteArray, Fault> mPictures; ///< by hash; many inspections may have the same
    QHash<Id, int> mIndices; ///< of inspections
    int mDefects = 0;
    int mRules = 0;
};

Problem Gathering::run()
{
    report.made = QDateTime::currentDateTimeUtc();
    report.picture = [store = &mStore](const QByteArray &hash) { return store->picture(hash); };
    Problem problem = readJob();
    if (problem.ok())
        problem = readInspections();
    if (!problem.ok())
        return problem;
    report.sizeEdges = histogramEdges();
    const Answer<JobStatistics> statistics = mStore.statistics(mJob, report.sizeEdges);
    const Answer<QVector<Point>> after = mStore.points(mJob);
    if (!statistics.ok() || !after.ok())
        return statistics.ok() ? after.problem : statistics.problem;
    report.statistics = statistics.value;
    isOfOneMoment = areSame(mPoints, after.value);
    for (const Point &point : qAsConst(mPoints)) {
        report.points.append({point, stateOf(point.state), mIndices.value(point.lastInspection, -1)});
        judge(&report.points.last());
    }
    return {};
}

Problem Gathering::readJob()
{
    const Answer<Job> job = mStore.job(mJob);
    const Answer<QVector<Point>> points = job.ok() ? mStore.points(mJob) : Answer<QVector<Point>>{{}, job.problem};
    if (!points.ok())
        return points.problem;
    if (points.value.size() > JobReport::maxPoints)
        return tooMany(JobReport::maxPoints, "points");
    report.job = job.value;
    mPoints = points.value;
    return {};
}

Problem Gathering::readInspections()
{
    const Answer<QVector<Id>> ids = idsOf(mStore, mJob);
    for (int i = 0; i < ids.value.size(); ++i) {
        if (mGoesOn && !mGoesOn(i, ids.value.size()))
            return {Fault::Stopped, QStringLiteral("Stopped; nothing was written")};
        const Problem problem = readInspection(ids.value[i]);
        if (!problem.ok())
            return problem;
    }
    return ids.problem;
}

/// One that is damaged ends nothing, but is told.
Problem Gathering::readInspection(Id id)
{
    Answer<StoredInspection> answer = mStore.inspection(id);
    if (answer.problem.fault == Fault::Damaged) {
        report.unreadable.append(id);
        return {};
    }
    if (!answer.ok())
        return answer.problem;
    StoredInspection &inspection = answer.value;
    mDefects += inspection.defects.size();
    if (mDefects > JobReport::maxDefects)
        return tooMany(JobReport::maxDefects, "defects");
    for (const StoredZone &zone : qAsConst(inspection.zones))
        mRules += zone.rules.size();
    if (mRules > JobReport::maxRules)
        return tooMany(JobReport::maxRules, "rules");
    for (StoredDefect &defect : inspection.defects) {
        defect.pixels = {}; // megabytes that no report shows
        defect.boundingRectPoints = {};
    }
    if (doubtOf(inspection, report.job.standard) != Doubt::None)
        report.contradictions.append(id);
    lookAtPictures(inspection);
    mIndices.insert(id, report.inspections.size());
    report.inspections.append(inspection);
    return {};
}

void Gathering::lookAtPictures(const StoredInspection &inspection)
{
    for (const QByteArray &hash : {inspection.picture, inspection.annotatedPicture}) {
        if (hash.isEmpty())
            continue;
        if (!mPictures.contains(hash))
            mPictures.insert(hash, mStore.picture(hash).problem.fault);
        if (mPictures.value(hash) != Fault::None)
            report.pictureFaults.append({inspection.id, hash, mPictures.value(hash)});
    }
}

/// Never a *passed* that rests on a record that cannot be trusted.
void Gathering::judge(ReportPoint *point) const
{
    const Id last = point->point.lastInspection;
    const bool isKnown = last == noId || point->inspection >= 0;
    if (point->state != ReportState::Open && (!isKnown || report.contradictions.contains(last)))
        point->state = ReportState::Doubtful;
}
} // namespace

Answer<JobReport> JobReport::gather(const RecordStore &store, Id job, const GoesOn &goesOn)
try {
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        Gathering gathering(store, job, goesOn);
        const Problem problem = gathering.run();
        if (!problem.ok())
            return {{}, problem};
        if (gathering.isOfOneMoment)
            return {gathering.report, {}};
    }
    return {{}, {Fault::Busy, QStringLiteral("Another program inspects for this job; try again when it rests")}};
} catch (const std::bad_alloc &) {
    return {{}, {Fault::OutOfMemory, QStringLiteral("Out of memory; nothing was gathered")}};
}

ReportCounts JobReport::counts() const
{
    ReportCounts counts;
    counts.points = points.size();
    for (const ReportPoint &point : points) {
        switch (point.state) {
        case ReportState::Open:
            ++counts.open;
            break;
        case ReportState::Passed:
            ++counts.passed;
            break;
        case ReportState::Failed:
            ++counts.failed;
            break;
        case ReportState::Accepted:
            ++counts.accepted;
            break;
        case ReportState::NoVerdict:
            ++counts.withoutVerdict;
            break;
        case ReportState::Doubtful:
            ++counts.doubtful;
            break;
        }
    }
    return counts;
}

std::optional<double> JobReport::passRate() const
{
    int graded = 0;
    int passed = 0;
    for (const ReportPoint &point : points) {
        const StoredInspection *const last = lastOf(point);
        const bool counts = last != nullptr && last->verdict != Verdict::None && point.state != ReportState::Open
            && point.state != ReportState::Doubtful;
        graded += counts ? 1 : 0;
        passed += counts && last->verdict == Verdict::Passed ? 1 : 0;
    }
    return graded > 0 ? std::optional<double>(double(passed) / graded) : std::nullopt;
}

const StoredInspection *JobReport::lastOf(const ReportPoint &point) const
{
    return point.inspection >= 0 && point.inspection < inspections.size() ? &inspections[point.inspection] : nullptr;
}

QByteArray JobReport::toJson(const QString &software) const
{
    QHash<Id, Point> byId;
    ExportedJob exported{job, {}};
    for (const ReportPoint &point : points) {
        exported.points.append(point.point);
        byId.insert(point.point.id, point.point);
    }
    const QString writer = software.isEmpty() ? QStringLiteral("libVantorBaseReports " VANTORBASE_VERSION) : software;
    QByteArray json = jsonBegin({exported}, writer);
    QHash<QByteArray, Fault> faults; // by the name of the picture
    for (const PictureFault &fault : pictureFaults)
        faults.insert(fault.hash, fault.fault);
    bool isFirst = true;
    for (const StoredInspection &inspection : inspections) {
        json += jsonInspection({inspection, job, byId.value(inspection.point), faults.value(inspection.picture),
                                   faults.value(inspection.annotatedPicture)},
            isFirst);
        isFirst = false;
    }
    return json + jsonEnd(unreadable);
}

} // namespace Reports
