// SPDX-License-Identifier: Apache-2.0
#include "records/Export.h"

#include "Reports/CsvExport.h"
#include "Reports/JsonExport.h"
#include "common/ExitCode.h"
#include "common/ProgressBar.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "records/StoreAccess.h"
#include "records/Target.h"

#include <QHash>

#include <algorithm>
#include <unistd.h>

namespace RecordsTool {

using namespace Records;
using namespace Reports;

namespace {
/// The jobs of the store; of the filter, if it names one. The oldest first.
Answer<QVector<Job>> jobsOf(const RecordStore &store, const Filter &filter)
{
    if (filter.job) {
        const Answer<Job> job = store.job(*filter.job);
        return {{job.value}, job.problem};
    }
    QVector<Job> all;
    for (Page page{0, Page::maxRows};; page.offset += Page::maxRows) {
        const Answer<QVector<Job>> jobs = store.jobs(page);
        if (!jobs.ok())
            return {{}, jobs.problem};
        for (const Job &job : jobs.value) {
            if (all.isEmpty() || job.id < all.last().id)
                all.append(job);
        }
        if (jobs.value.size() < Page::maxRows)
            break;
    }
    std::reverse(all.begin(), all.end());
    return {all, {}};
}

/// The same with their points.
Answer<QVector<ExportedJob>> jobsWithPoints(const RecordStore &store, const Filter &filter)
{
    const Answer<QVector<Job>> jobs = jobsOf(store, filter);
    QVector<ExportedJob> all;
    for (const Job &job : jobs.value) {
        const Answer<QVector<Point>> points = store.points(job.id);
        if (!points.ok())
            return {{}, points.problem};
        all.append({job, points.value});
    }
    return {all, jobs.problem};
}

QString software()
{
    return QStringLiteral("vantor-records " VANTORBASE_VERSION);
}

/// On a terminal, what would control it stands there as \xHH.
CsvFormat formatOf(const Options &options)
{
    CsvFormat format{options.separator, options.hasDecimalComma, options.hasByteOrderMark, {}};
    if (options.output.isEmpty() && Tools::Terminal::isTerminal(STDOUT_FILENO))
        format.shown = &Tools::Terminal::printable;
    return format;
}

class Exporter
{
public:
    Exporter(const Options &options, const RecordStore &store)
        : mOptions(options)
        , mStore(store)
        , mFormat(formatOf(options))
        , mTarget(options.output, options.store, &mSignals)
    {
    }

    int run(const Filter &filter);

private:
    bool isJson() const { return mOptions.format == Options::Format::Json; }
    void remember(const QVector<ExportedJob> &jobs);
    Answer<ExportedInspection> inspection(Id id) const;
    Problem writeAll(const QVector<Id> &ids);

    const Options &mOptions;
    const RecordStore &mStore;
    const CsvFormat mFormat;
    Tools::StopSignals mSignals;
    Target mTarget;
    bool mIsWritten = false; ///< all that was given to the target
    QVector<Id> mLeftOut; ///< records that cannot be read
    bool mIsDoubtful = false; ///< something that was written
    QHash<Id, Job> mJobs;
    QHash<Id, Point> mPoints;
};

int Exporter::run(const Filter &filter)
{
    const Answer<QVector<Id>> ids = idsOf(mStore, filter);
    if (!ids.ok())
        return tell(ids.problem);
    const Answer<QVector<ExportedJob>> jobs = jobsWithPoints(mStore, filter); // by now those of all ids are there
    if (!jobs.ok())
        return tell(jobs.problem);
    remember(jobs.value);

    if (!mTarget.open() || !mTarget.write(isJson() ? jsonBegin(jobs.value, software()) : csvHeader(mFormat)))
        return mTarget.tellFailure();
    const Problem problem = writeAll(ids.value);
    // Also behind a problem: what is on stdout by then is a document.
    const bool isWhole = mIsWritten && (!isJson() || mTarget.write(jsonEnd(mLeftOut)));
    if (!problem.ok())
        return tell(problem);
    if (!isWhole || !mTarget.commit())
        return mTarget.tellFailure();
    return mIsDoubtful || !mLeftOut.isEmpty() ? Tools::NotAnswered : Tools::Done;
}

void Exporter::remember(const QVector<ExportedJob> &jobs)
{
    for (const ExportedJob &exported : jobs) {
        mJobs.insert(exported.job.id, exported.job);
        for (const Point &point : exported.points)
            mPoints.insert(point.id, point);
    }
}

/// A record that cannot be read is told, and the others follow.
Problem Exporter::writeAll(const QVector<Id> &ids)
{
    const bool hasBar = !mOptions.output.isEmpty() && Tools::Terminal::isTerminal(STDERR_FILENO);
    Tools::ProgressBar progress(hasBar ? ids.size() : 0);
    mIsWritten = true;
    bool isFirst = true;
    for (int i = 0; i < ids.size(); ++i) {
        progress.show(i);
        const Answer<ExportedInspection> one = inspection(ids[i]);
        if (one.problem.fault == Fault::Damaged) {
            mLeftOut.append(ids[i]);
            progress.clear();
            tell({one.problem.fault, one.problem.text + QStringLiteral("; it is left out")});
            continue;
        }
        if (!one.ok())
            return one.problem;
        mIsDoubtful = mIsDoubtful || !one.value.doubts().isEmpty();
        mIsWritten = mTarget.write(isJson() ? jsonInspection(one.value, isFirst) : csvRow(one.value, mFormat));
        if (!mIsWritten)
            return {};
        isFirst = false;
    }
    return {};
}

Answer<ExportedInspection> Exporter::inspection(Id id) const
{
    const Answer<StoredInspection> record = mStore.inspection(id);
    const StoredInspection &value = record.value;
    const auto faultOf = [this](const QByteArray &hash, bool isThere) {
        return isThere ? mStore.picture(hash).problem.fault : Fault::None;
    };
    const Fault fault = faultOf(value.picture, record.ok() && value.isPictureThere);
    const bool isRead = record.ok() && isJson() && value.isAnnotatedPictureThere; // a table does not tell of it
    const Fault ofAnnotated = faultOf(value.annotatedPicture, isRead);
    return {{value, mJobs.value(value.job), mPoints.value(value.point), fault, ofAnnotated}, record.problem};
}
} // namespace

int exportInspections(const Options &options, const RecordStore &store)
{
    Filter filter;
    const int refused = filterOf(options, store, &filter);
    return refused == Tools::Done ? Exporter(options, store).run(filter) : refused;
}

} // namespace RecordsTool
