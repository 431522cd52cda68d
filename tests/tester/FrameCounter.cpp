// SPDX-License-Identifier: Apache-2.0
#include "FrameCounter.h"

#include <QQmlListReference>

#include <algorithm>

namespace {
class Counting : public QVideoFilterRunnable
{
public:
    explicit Counting(std::atomic<qint64> *count)
        : mCount(count)
    {
    }

    QVideoFrame run(QVideoFrame *input, const QVideoSurfaceFormat &, RunFlags) override
    {
        ++*mCount;
        return *input;
    }

private:
    std::atomic<qint64> *const mCount;
};
} // namespace

bool FrameCounter::watch(QQuickItem *item)
{
    if (item->inherits("QDeclarativeVideoOutput"))
        return QQmlListReference(item, "filters").append(this);
    const QList<QQuickItem *> children = item->childItems();
    return std::any_of(children.begin(), children.end(), [this](QQuickItem *child) { return watch(child); });
}

QVideoFilterRunnable *FrameCounter::createFilterRunnable()
{
    return new Counting(&mCount);
}
