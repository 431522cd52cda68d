// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QAbstractVideoFilter>
#include <QQuickItem>

#include <atomic>

/// Counts the frames that a video output shows.
class FrameCounter : public QAbstractVideoFilter
{
    Q_OBJECT

public:
    using QAbstractVideoFilter::QAbstractVideoFilter;

    /// Takes its place behind the filters of the first video output below the item. False when there is none.
    bool watch(QQuickItem *item);

    qint64 count() const { return mCount; }

    QVideoFilterRunnable *createFilterRunnable() override;

private:
    std::atomic<qint64> mCount{0}; // written in the thread that renders
};
