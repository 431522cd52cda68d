// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ProgressBar.h"
#include "StandardOutput.h"
#include "WorkerPool.h"

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
    Batch(const Session &session, Tools::StopSignals *signals);

    int run(); ///< @return the exit code of the program

private:
    void startTasks();
    Report reportOf(WorkerPool::Outcome &outcome) const;
    bool printReports(); ///< false when there is no use in going on
    bool printReport(const Report &report);
    int stop();
    int exitCode() const;

    const Session &mSession;
    Tools::StopSignals *mSignals;
    WorkerPool mWorkers;
    Tools::StandardOutput mStandardOutput;
    Tools::ProgressBar mProgress;
    int mStarted = 0; ///< tasks
    int mPrinted = 0; ///< tasks
    QMap<int, Report> mWaiting; ///< reports that came before their turn
    int mCounts[3] = {0, 0, 0}; ///< by verdict
    QString mLastImage;
    QByteArray mLastMessages;
};

} // namespace Inspect
