// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "FiberInspection/LiveAnalysisLink_p.h"
#include "FiberInspection/Log_p.h"

#include <QDeadlineTimer>
#include <QScopeGuard>
#include <QThread>

namespace FiberInspection {

LiveAnalysisLink::LiveAnalysisLink(FiberRealtimeAnalyser *analyser)
    : mAnalyser(analyser)
{
}

bool LiveAnalysisLink::isOpen() const
{
    return openAnalyser() != nullptr;
}

void LiveAnalysisLink::publish(LiveReading reading)
{
    {
        const QMutexLocker lock(&mMutex);
        reading.frame = mLastReading.frame + 1;
        mLastReading = reading;
        if (!mAnalyser || !reading.hasFibre())
            return;
        mPublisher = QThread::currentThreadId();
    }
    const auto end = qScopeGuard([this] { // a receiver may throw
        const QMutexLocker lock(&mMutex);
        mPublisher = nullptr;
        mPublished.wakeAll();
    });
    // A receiver of the first signal may destroy the filter in this very thread.
    if (FiberRealtimeAnalyser *const analyser = openAnalyser())
        analyser->set_focusValue(reading.focusValue);
    if (FiberRealtimeAnalyser *const analyser = openAnalyser())
        analyser->set_claddingPosition(reading.claddingPosition);
}

LiveReading LiveAnalysisLink::lastReading() const
{
    const QMutexLocker lock(&mMutex);
    return mLastReading;
}

bool LiveAnalysisLink::isPublishedHere() const
{
    const QMutexLocker lock(&mMutex);
    return mPublisher == QThread::currentThreadId();
}

bool LiveAnalysisLink::waitForReceivers()
{
    const auto isPublishedElsewhere = [this] { return mPublisher && mPublisher != QThread::currentThreadId(); };
    {
        const QMutexLocker lock(&mMutex);
        const QDeadlineTimer patience(publicationPatience);
        bool isInTime = true;
        while (isPublishedElsewhere() && isInTime)
            isInTime = mPublished.wait(&mMutex, patience);
        if (!isPublishedElsewhere())
            return true;
    }
    qCWarning(messageLog) << "a receiver of the live analysis does not come back, it is not waited for";
    return false;
}

// A signal must not lose its sender while its receivers are being looked up in another thread, which takes
// microseconds; that is what the wait is for. While a receiver is at work the sender may go: Qt's emit does not touch
// it any more then. Waiting for the receiver on and on would be a deadlock where it waits for this thread: for a
// blocking call into it that is still queued, or whose slot is what destroys the filter.
void LiveAnalysisLink::close()
{
    {
        const QMutexLocker lock(&mMutex);
        mAnalyser = nullptr;
    }
    waitForReceivers();
}

FiberRealtimeAnalyser *LiveAnalysisLink::openAnalyser() const
{
    const QMutexLocker lock(&mMutex);
    return mAnalyser;
}

} // namespace FiberInspection
