// SPDX-License-Identifier: Apache-2.0
#include "FrameCounter.h"

#include <QQmlListReference>

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
    for (QQuickItem *const child : children) {
        if (watch(child))
            return true;
    }
    return false;
}

QVideoFilterRunnable *FrameCounter::createFilterRunnable()
{
    return new Counting(&mCount);
}
