// SPDX-License-Identifier: Apache-2.0
#include "inspect/Batch.h"

#include "common/ExitCode.h"
#include "common/StopSignals.h"
#include "inspect/Pictures.h"
#include "inspect/ReportText.h"

#include <unistd.h>

namespace Inspect {

namespace {
// What one slow image lets pile up in memory:
constexpr int mostReportsPerWorkerAhead = 16;
constexpr qint64 mostBytesAhead = 16LL * 1024 * 1024; // and what the workers give at once; ordinary reports have 1 KiB

int lengthOfProgressBar(const Session &session)
{
    const Options &options = session.options;
    const bool isWanted = session.tasks.size() > 1 && !options.quiet && !options.verbose;
    return isWanted && Tools::Terminal::isTerminal(STDERR_FILENO) ? session.tasks.size() : 0;
}

qint64 sizeOf(const Report &report)
{
    return qint64(report.output.capacity()) + report.messages.capacity();
}
} // namespace

Batch::Batch(const Session &session, int leftOut, Tools::StopSignals *signals)
    : mSession(session)
    , mLeftOut(leftOut)
    , mSignals(signals)
    , mShares(makeShares(session.tasks.size(), session.options.standards.size(), session.options.jobs))
    , mWorkers(session, qMin(session.options.jobs, mShares.size()))
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
        if (!mWaiting.contains(mPrinted)) {
            for (WorkerPool::Outcome &outcome : mWorkers.wait(mSignals->fileDescriptor()))
                keep(outcome.task, reportOf(outcome));
        }
        if (!printReports() || mSignals->received() != 0) // which cuts the messages off, too
            return stop();
    }
    mProgress.clear();

    const Options &options = mSession.options;
    if (mSession.tasks.size() + mLeftOut > 1 && options.isForPerson() && !options.quiet) {
        const QString summary = textSummary(mCounts[0], mCounts[1], mCounts[2], mLeftOut, mSession.style);
        if (!mStandardOutput.write(summary.toUtf8()))
            return stop();
    }
    return exitCode();
}

void Batch::startTasks()
{
    mWorkers.goOn([this](int task) { return hasRoom(task); });

    const int last = qMin(mSession.tasks.size(), mPrinted + mSession.options.jobs * mostReportsPerWorkerAhead);
    for (; mStarted < mShares.size() && mWorkers.hasIdle(); ++mStarted) {
        const Share &share = mShares[mStarted];
        if (share.next >= last || !hasRoom(share.next))
            break;
        const NoVerdict &problem = mSession.tasks[share.next].image.problem;
        for (int task = share.next; task < share.end && problem.isThere(); ++task)
            keep(task, reportOf(notAnalysed(mSession.tasks[task], problem)));
        if (!problem.isThere() && !mWorkers.start(share))
            break;
    }
}

bool Batch::hasRoom(int task) const
{
    return mWaitingBytes < mostBytesAhead || task == mPrinted; // which the others wait for
}

Report Batch::reportOf(WorkerPool::Outcome &outcome)
{
    Inspection inspection = outcome.inspection
        ? *std::move(outcome.inspection)
        : notAnalysed(mSession.tasks[outcome.task], NoVerdict::ofRun(outcome.reason));
    if (outcome.inspection && mSession.output.keepsImages())
        Pictures(outcome.folder).take(mSession.output, mSession.options, &inspection);
    mLacksPictures = mLacksPictures || !inspection.problem.isEmpty();

    Report report = reportOf(inspection);
    report.messages += outcome.lastWords;
    return report;
}

Report Batch::reportOf(const Inspection &inspection) const
{
    return makeReport(inspection, mSession.options, mSession.style);
}

void Batch::keep(int task, const Report &report)
{
    mWaitingBytes += sizeOf(report);
    mWaiting.insert(task, report);
}

bool Batch::printReports()
{
    while (!mWaiting.isEmpty() && mWaiting.firstKey() == mPrinted) {
        const Report report = mWaiting.take(mPrinted);
        mWaitingBytes -= sizeOf(report);
        if (!printReport(report))
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
    mWorkers.endAll();

    return mStandardOutput.tellFailure();
}

int Batch::exitCode() const
{
    if (mLacksPictures)
        return Tools::NotWritten;
    if (mCounts[static_cast<int>(Verdict::NotAnalysed)] > 0 || mLeftOut > 0)
        return Tools::NotAnswered;
    return mCounts[static_cast<int>(Verdict::Failed)] > 0 ? Tools::NotPassed : Tools::Done;
}

} // namespace Inspect
