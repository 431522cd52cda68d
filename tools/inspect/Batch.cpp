// SPDX-License-Identifier: Apache-2.0
#include "Batch.h"

#include "ExitCode.h"
#include "ReportText.h"
#include "StopSignals.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr int mostReportsPerWorkerAhead = 16; // what one slow image lets pile up in memory

int lengthOfProgressBar(const Session &session)
{
    const Options &options = session.options;
    const bool isWanted = session.tasks.size() > 1 && !options.quiet && !options.verbose;
    return isWanted && Tools::Terminal::isTerminal(STDERR_FILENO) ? session.tasks.size() : 0;
}
} // namespace

Batch::Batch(const Session &session, Tools::StopSignals *signals)
    : mSession(session)
    , mSignals(signals)
    , mWorkers(session, qMin(session.options.jobs, session.tasks.size()))
    , mStandardOutput(signals)
    , mProgress(lengthOfProgressBar(session))
{
}

int Batch::run()
{
    if (!mStandardOutput.write(reportHeader(mSession.options)))
        return stop();

    while (mPrinted < mSession.tasks.size()) {
        startTasks();
        mProgress.show(mPrinted);
        for (WorkerPool::Outcome &outcome : mWorkers.wait(mSignals->fileDescriptor()))
            mWaiting.insert(outcome.task, reportOf(outcome));
        if (mSignals->received() != 0 || !printReports())
            return stop();
    }
    mProgress.clear();

    const Options &options = mSession.options;
    if (mSession.tasks.size() > 1 && options.isForPerson() && !options.quiet) {
        const QString summary = textSummary(mCounts[0], mCounts[1], mCounts[2], mSession.style);
        if (!mStandardOutput.write(summary.toUtf8()))
            return stop();
    }
    return exitCode();
}

void Batch::startTasks()
{
    const int last = qMin(mSession.tasks.size(), mPrinted + mSession.options.jobs * mostReportsPerWorkerAhead);
    while (mStarted < last && mWorkers.hasIdle())
        mWorkers.start(mStarted++);
}

Report Batch::reportOf(WorkerPool::Outcome &outcome) const
{
    if (outcome.report)
        return *std::move(outcome.report);

    const Task &task = mSession.tasks[outcome.task];
    mSession.output.removePartsOf(task.outputName);
    Report report = makeReport(notAnalysed(task, outcome.reason), mSession.options, mSession.style);
    report.messages += outcome.lastWords;
    return report;
}

bool Batch::printReports()
{
    while (!mWaiting.isEmpty() && mWaiting.firstKey() == mPrinted) {
        if (!printReport(mWaiting.take(mPrinted)))
            return false;
        ++mPrinted;
    }
    return true;
}

bool Batch::printReport(const Report &report)
{
    ++mCounts[static_cast<int>(report.verdict)];

    // A file that cannot be read is told once, not once for each standard.
    const QString &image = mSession.tasks[mPrinted].image.path;
    const bool isNews = image != mLastImage || report.messages != mLastMessages;
    mLastImage = image;
    mLastMessages = report.messages;

    if (report.output.isEmpty() && report.messages.isEmpty())
        return true;
    mProgress.clear();
    if (isNews)
        Tools::Terminal::write(STDERR_FILENO, report.messages);
    return mStandardOutput.write(report.output);
}

int Batch::stop()
{
    mProgress.clear();
    const std::vector<int> tasks = mWorkers.tasksAtWork();
    mWorkers.endAll();
    for (const int task : tasks)
        mSession.output.removePartsOf(mSession.tasks[task].outputName);

    if (mSignals->received() != 0)
        return StoppedBySignal + mSignals->received();
    if (mStandardOutput.error() == EPIPE)
        return StoppedBySignal + SIGPIPE;
    Tools::Terminal::tell(QStringLiteral("cannot write the report: %1")
                              .arg(QString::fromLocal8Bit(std::strerror(mStandardOutput.error()))));
    return SomeNotAnalysed;
}

int Batch::exitCode() const
{
    if (mCounts[static_cast<int>(Verdict::NotAnalysed)] > 0)
        return SomeNotAnalysed;
    return mCounts[static_cast<int>(Verdict::Failed)] > 0 ? SomeFailed : AllPassed;
}

} // namespace Inspect
