// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/LiveReading.h"

#include <QMutex>
#include <QWaitCondition>

namespace FiberInspection {

class FiberRealtimeAnalyser;

/// The way from an analysis in a pool thread to a filter that any thread may destroy meanwhile.
class LiveAnalysisLink
{
public:
    explicit LiveAnalysisLink(FiberRealtimeAnalyser *analyser);

    bool isOpen() const;

    /// Numbers the reading and keeps it as the last one. If it has a fibre, sets both values of the filter, unless that
    /// is gone. The signals are emitted here, without a lock held.
    void publish(LiveReading reading);

    LiveReading lastReading() const;

    /// Whether the caller is, directly, a receiver of what is being published.
    bool isPublishedHere() const;

    /// Waits until no receiver in another thread is at work, but no longer than publicationPatience. Returns whether it
    /// came to that: a receiver may be waiting for this thread, and both would wait for ever.
    bool waitForReceivers();

    /// From here on nothing is published. Waits for receivers as above.
    void close();

    static constexpr int publicationPatience = 1000; ///< milliseconds

private:
    FiberRealtimeAnalyser *openAnalyser() const;

    mutable QMutex mMutex;
    QWaitCondition mPublished;
    FiberRealtimeAnalyser *mAnalyser; ///< null when the filter is gone
    Qt::HANDLE mPublisher = nullptr; ///< the thread that publishes
    LiveReading mLastReading;
};

} // namespace FiberInspection
