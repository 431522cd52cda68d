// SPDX-License-Identifier: Apache-2.0
#include "records/StoreAccess.h"

#include "common/ExitCode.h"
#include "common/Terminal.h"

#include <QDir>
#include <QStandardPaths>

#include <algorithm>

namespace RecordsTool {

using namespace Records;
using Tools::Terminal::tell;

namespace {
/// Messages of the program begin in lower case; what begins with a path or a name stays.
QString asMessage(const QString &text)
{
    static const QStringList beginnings{QStringLiteral("A "), QStringLiteral("Another "), QStringLiteral("Cannot "),
        QStringLiteral("Inspection "), QStringLiteral("Job "), QStringLiteral("No "), QStringLiteral("Point "),
        QStringLiteral("The "), QStringLiteral("There ")};
    const bool isSentence = std::any_of(beginnings.cbegin(), beginnings.cend(),
        [&text](const QString &beginning) { return text.startsWith(beginning); });
    return isSentence ? text.at(0).toLower() + text.mid(1) : text;
}

int exitCodeOf(Fault fault)
{
    switch (fault) {
    case Fault::None:
        return Tools::Done;
    case Fault::NotFound:
        return Tools::NotPassed;
    case Fault::Invalid:
        return Tools::WrongUsage;
    case Fault::ReadOnly:
    case Fault::DiskFull:
        return Tools::NotWritten;
    case Fault::OutOfMemory:
        return Tools::OutOfMemory;
    default:
        return Tools::Unavailable;
    }
}
} // namespace

QString usualStore()
{
    const QString ofUser = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return (ofUser.isEmpty() ? QDir::tempPath() : ofUser) + QStringLiteral("/vantor-records");
}

QString picturePath(const QString &store, const QByteArray &hash)
{
    return PictureStore(store + QStringLiteral("/pictures")).path(hash);
}

int tell(const Problem &problem)
{
    tell(asMessage(problem.text));
    return exitCodeOf(problem.fault);
}

int openToRead(const QString &folder, RecordStore *store)
{
    const Opening opening = store->open(folder, RecordStore::Mode::ReadOnly);
    if (!opening.problem.ok())
        tell(opening.problem);
    return opening.isOpen() ? Tools::Done : Tools::Unavailable;
}

int openToWrite(const QString &folder, RecordStore *store, int *atLeast)
{
    const Opening opening = store->open(folder);
    if (!opening.problem.ok())
        tell(opening.problem);
    if (!opening.keptAside.isEmpty())
        tell(
            QStringLiteral("the damaged store was kept aside in %1, and a new one begun: what it says is not looked at")
                .arg(opening.keptAside));
    *atLeast = opening.how == Opened::BegunAnew ? Tools::NotAnswered : Tools::Done;
    if (opening.canWrite())
        return Tools::Done;
    store->close();
    const bool isDisk = opening.how == Opened::FullDisk || opening.how == Opened::ReadOnlyFolder
        || opening.problem.fault == Fault::DiskFull; // there is not even a store
    return isDisk ? Tools::NotWritten : Tools::Unavailable;
}

int filterOf(const Options &options, const RecordStore &store, Filter *filter)
{
    *filter = options.filter;
    if (options.jobId != noId) {
        const Answer<Job> job = store.job(options.jobId);
        filter->job = options.jobId;
        return job.ok() ? Tools::Done : tell(job.problem);
    }
    if (options.jobName.isEmpty())
        return Tools::Done;
    const Answer<QVector<Job>> jobs = jobsNamed(store, options.jobName);
    if (!jobs.ok())
        return tell(jobs.problem);
    if (jobs.value.isEmpty())
        return tell({Fault::NotFound, QStringLiteral("There is no job \"%1\"").arg(options.jobName)});
    if (jobs.value.size() > 1)
        return tell({Fault::Invalid, ambiguity(jobs.value)});
    filter->job = jobs.value.first().id;
    return Tools::Done;
}

Answer<QVector<Job>> jobsNamed(const RecordStore &store, const QString &name)
{
    QVector<Job> named;
    for (Page page{0, Page::maxRows};; page.offset += Page::maxRows) {
        const Answer<QVector<Job>> jobs = store.jobs(page);
        if (!jobs.ok())
            return {{}, jobs.problem};
        for (const Job &job : jobs.value) {
            if (job.name == name)
                named.append(job);
        }
        if (jobs.value.size() < Page::maxRows)
            return {named, {}};
    }
}

Answer<QVector<Id>> idsOf(const RecordStore &store, const Filter &filter)
{
    QVector<Id> ids; // the latest first
    for (Page page{0, Page::maxRows};; page.offset += Page::maxRows) {
        const Answer<QVector<InspectionSummary>> rows = store.list(filter, page);
        if (!rows.ok())
            return {{}, rows.problem};
        for (const InspectionSummary &row : rows.value) {
            if (ids.isEmpty() || row.id < ids.last()) // others may add some meanwhile, which shift the pages
                ids.append(row.id);
        }
        if (rows.value.size() < Page::maxRows)
            break;
    }
    std::reverse(ids.begin(), ids.end());
    return {ids, {}};
}

QString ambiguity(const QVector<Job> &jobs)
{
    QStringList ids;
    for (const Job &job : jobs)
        ids.append(QString::number(job.id));
    return QStringLiteral("There are %1 jobs of that name: %2; choose one with --job-id")
        .arg(QString::number(jobs.size()), ids.join(QStringLiteral(", ")));
}

} // namespace RecordsTool
