// SPDX-License-Identifier: Apache-2.0
#include "records/ReportExport.h"

#include "Records/Doubt.h"
#include "Reports/JobArchive.h"
#include "common/ExitCode.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "records/StoreAccess.h"
#include "records/Target.h"
#include "records/Words.h"

#include <QFileInfo>

#include <algorithm>

namespace RecordsTool {

using namespace Records;
using namespace Reports;

namespace {
constexpr int mostNamed = 4; // of what is wrong

/// The job that is asked for; the only one, if none is.
int jobOf(const Options &options, const RecordStore &store, Id *job)
{
    Filter filter;
    if (options.choosesJob()) {
        const int refused = filterOf(options, store, &filter);
        *job = filter.job.value_or(noId);
        return refused;
    }
    const Answer<QVector<Job>> jobs = store.jobs({0, 2});
    if (!jobs.ok())
        return tell(jobs.problem);
    if (jobs.value.isEmpty())
        return tell({Fault::NotFound, QStringLiteral("There is no job in the store")});
    if (jobs.value.size() > 1)
        return tell({Fault::Invalid, QStringLiteral("There are several jobs; choose one with --job or --job-id")});
    *job = jobs.value.first().id;
    return Tools::Done;
}

QString wordOf(Fault fault)
{
    switch (fault) {
    case Fault::PictureMissing:
        return QStringLiteral("is missing");
    case Fault::PictureDamaged:
        return QStringLiteral("is damaged");
    default:
        return QStringLiteral("cannot be read");
    }
}

template <typename Value, typename Text>
void tellSome(const QVector<Value> &values, const char *more, Text textOf)
{
    for (const Value &value : values.mid(0, mostNamed))
        Tools::Terminal::tell(textOf(value));
    if (values.size() > mostNamed)
        Tools::Terminal::tell(
            QStringLiteral("and %1 more %2").arg(QString::number(values.size() - mostNamed), QLatin1String(more)));
}

QString contradictionText(const JobReport &report, Id id)
{
    const auto record = std::find_if(report.inspections.cbegin(), report.inspections.cend(),
        [id](const StoredInspection &inspection) { return inspection.id == id; });
    const Doubt doubt = record == report.inspections.cend() ? Doubt::None : doubtOf(*record);
    return doubt == Doubt::None ? QStringLiteral("inspection %1 is by another standard than its job").arg(id)
                                : doubtText(id, doubt);
}

/// What the report rests on that is not as it should be.
int tellDoubts(const JobReport &report, const QVector<PictureFault> &lost)
{
    tellSome(lost, "pictures", [](const PictureFault &fault) {
        return QStringLiteral("the picture %1 of inspection %2 %3")
            .arg(QString::fromLatin1(fault.hash), QString::number(fault.inspection), wordOf(fault.fault));
    });
    tellSome(report.contradictions, "such records", [&report](Id id) { return contradictionText(report, id); });
    tellSome(report.unreadable, "such records",
        [](Id id) { return QStringLiteral("the record of inspection %1 cannot be read").arg(id); });
    return lost.isEmpty() && report.isSound() ? Tools::Done : Tools::NotAnswered;
}

class ReportExporter
{
public:
    ReportExporter(const Options &options, const RecordStore &store)
        : mOptions(options)
        , mStore(store)
    {
    }

    int run(Id job);

private:
    GoesOn goesOn()
    {
        return [this](int, int) { return mSignals.received() == 0; };
    }
    Written write(const JobReport &report);
    int tellProblem(const Problem &problem, int otherwise);

    const Options &mOptions;
    const RecordStore &mStore;
    Tools::StopSignals mSignals;
};

int ReportExporter::run(Id job)
{
    const Answer<JobReport> report = JobReport::gather(mStore, job, goesOn());
    if (!report.ok())
        return tellProblem(report.problem, Tools::Done);
    const Written written = write(report.value);
    if (!written.problem.ok())
        return tellProblem(written.problem, Tools::NotWritten);
    return tellDoubts(report.value, written.lostPictures);
}

Written ReportExporter::write(const JobReport &report)
{
    ArchiveOptions options;
    options.report.language = mOptions.isGerman ? Language::German : Language::English;
    options.report.software = QStringLiteral("vantor-records " VANTORBASE_VERSION);
    options.report.goesOn = goesOn();
    options.csv = {mOptions.separator, mOptions.hasDecimalComma, mOptions.hasByteOrderMark, {}};
    return mOptions.format == Options::Format::Pdf ? writeJobPdf(report, mOptions.output, options.report)
                                                   : writeJobArchive(report, mOptions.output, options);
}

/// @param otherwise the exit code; Done: that of the problem
int ReportExporter::tellProblem(const Problem &problem, int otherwise)
{
    if (problem.fault == Fault::Stopped && mSignals.received() != 0)
        return Tools::StoppedBySignal + mSignals.received();
    const int code = tell(problem);
    return otherwise == Tools::Done || problem.fault == Fault::OutOfMemory ? code : otherwise;
}
} // namespace

int exportReport(const Options &options, const RecordStore &store)
{
    Id job = noId;
    const int refused = jobOf(options, store, &job);
    if (refused != Tools::Done)
        return refused;
    const QString reason =
        Target::whyNotThere(FileAccess::Place(options.output), QFileInfo(options.store).canonicalFilePath());
    if (!reason.isEmpty()) {
        Tools::Terminal::tell(QStringLiteral("cannot write %1: %2").arg(options.output, reason));
        return Tools::NotWritten;
    }
    return ReportExporter(options, store).run(job);
}

} // namespace RecordsTool
