// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMutex>
#include <QPointF>
#include <QWaitCondition>

namespace FiberInspection {

class FiberRealtimeAnalyser;

/// The way from an analysis in a pool thread to a filter that any thread may destroy meanwhile.
class LiveAnalysisLink
{
public:
    explicit LiveAnalysisLink(FiberRealtimeAnalyser *analyser);

    bool isOpen() const;

    /// Sets both values of the filter, unless it is gone. The signals are emitted here, without a lock held.
    void publish(double focusValue, const QPointF &claddingPosition);

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
};

} // namespace FiberInspection
