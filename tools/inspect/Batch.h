// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/ProgressBar.h"
#include "common/StandardOutput.h"
#include "inspect/Report.h"
#include "inspect/WorkerPool.h"

#include <QMap>

namespace Tools {
class StopSignals;
}

namespace Inspect {

/// All tasks of one run: hands them to the workers, and prints their reports in the order of the tasks, each as soon as
/// those before it are out.
class Batch
{
public:
    /// @param leftOut how many entries of the folders are no tasks
    Batch(const Session &session, int leftOut, Tools::StopSignals *signals);

    int run(); ///< @return the exit code of the program

private:
    void startTasks();
    bool hasRoom(int task) const; ///< for its report
    Report reportOf(WorkerPool::Outcome &outcome);
    Report reportOf(const Inspection &inspection) const;
    void keep(int task, const Report &report); ///< until its turn comes
    bool printReports(); ///< false when there is no use in going on
    bool printReport(const Report &report);
    int stop();
    int exitCode() const;

    const Session &mSession;
    int mLeftOut;
    Tools::StopSignals *mSignals;
    const QVector<Share> mShares; ///< of all tasks
    WorkerPool mWorkers;
    Tools::StandardOutput mStandardOutput;
    Tools::ProgressBar mProgress;
    int mStarted = 0; ///< shares
    int mPrinted = 0; ///< tasks
    QMap<int, Report> mWaiting; ///< reports that came before their turn
    qint64 mWaitingBytes = 0; ///< of these reports
    int mCounts[3] = {0, 0, 0}; ///< by verdict
    bool mLacksPictures = false; ///< some that were asked for could not be written
    QString mLastImage;
    QByteArray mLastMessages;
};

} // namespace Inspect
