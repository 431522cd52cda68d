// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "FiberInspection/LiveAnalysisLink_p.h"

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

void LiveAnalysisLink::publish(double focusValue, const QPointF &claddingPosition)
{
    {
        const QMutexLocker lock(&mMutex);
        if (!mAnalyser)
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
        analyser->set_focusValue(focusValue);
    if (FiberRealtimeAnalyser *const analyser = openAnalyser())
        analyser->set_claddingPosition(claddingPosition);
}

bool LiveAnalysisLink::isPublishedHere() const
{
    const QMutexLocker lock(&mMutex);
    return mPublisher == QThread::currentThreadId();
}

void LiveAnalysisLink::close()
{
    const QMutexLocker lock(&mMutex);
    mAnalyser = nullptr;
    while (mPublisher && mPublisher != QThread::currentThreadId())
        mPublished.wait(&mMutex);
}

FiberRealtimeAnalyser *LiveAnalysisLink::openAnalyser() const
{
    const QMutexLocker lock(&mMutex);
    return mAnalyser;
}

} // namespace FiberInspection
