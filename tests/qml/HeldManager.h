// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>
#include <QSemaphore>

/// Makes the inspection manager wait, so that a test does something during an inspection however fast that is.
class HeldManager : public QObject
{
    Q_OBJECT

public:
    /// @param manager lives in another thread, and at least as long as this object
    explicit HeldManager(QObject *manager)
        : mManager(manager)
    {
    }

    /// What is requested from now on is begun after release().
    Q_INVOKABLE void hold()
    {
        if (mIsHeld)
            return;
        mIsHeld = true;
        QMetaObject::invokeMethod(
            mManager, [this] { mGate.acquire(); }, Qt::QueuedConnection);
    }

    Q_INVOKABLE void release()
    {
        if (mIsHeld)
            mGate.release();
        mIsHeld = false;
    }

    /// Releases, and returns when all that was requested has been answered.
    Q_INVOKABLE void finish()
    {
        release();
        QMetaObject::invokeMethod(
            mManager, [] {}, Qt::BlockingQueuedConnection);
    }

private:
    QObject *const mManager;
    QSemaphore mGate;
    bool mIsHeld = false;
};
