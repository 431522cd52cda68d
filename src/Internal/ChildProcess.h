// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildSignal.h"

#include <QProcess>

/// The only way to start a process. Of a plain QProcess, Qt 5.15 does not see that there was no room for another
/// process: it goes on as if it had started -1, and to kill that is to kill every process that we may signal. For a
/// class that derives from it Qt forks in another way, and sees it. Lives in one scope of one thread.
class ChildProcess : private ChildSignal, public QProcess
{
public:
    ~ChildProcess() override { forgetIfNone(); }

    /// Ends it if it runs.
    void close() override
    {
        forgetIfNone();
        QProcess::close();
    }

    /// Ends it, also one that is still starting; closing alone would first wait for that.
    void killAndClose()
    {
        if (isThere())
            kill();
        close();
    }

private:
    bool isThere() const { return processId() > 0; }

    void forgetIfNone()
    {
        if (!isThere())
            setProcessState(QProcess::NotRunning);
    }
};
