// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"
#include "Records/StoreFolder_p.h"

#include <QByteArray>
#include <QList>
#include <QMutex>

#include <atomic>
#include <memory>
#include <thread>

namespace Records {

/// The right of this process to write into a store; its threads share it. It ends with the process, however that ends.
class StoreLock
{
public:
    /// Null when there is no right to be had; the problem tells why: Busy when another process has it.
    static std::shared_ptr<StoreLock> take(const QString &folder, Problem *problem);

    /// To be called in place of a destruction: who takes it meanwhile would find it held.
    static void release(std::shared_ptr<StoreLock> &&lock);

    ~StoreLock();
    StoreLock(const StoreLock &) = delete;
    StoreLock &operator=(const StoreLock &) = delete;

    /// How the process ended that had it before.
    struct Interruption
    {
        bool hasHappened = false; ///< it did not release the lock
        bool isOfThisBoot = false; ///< what it noted last is known then; the machine itself may have stopped otherwise
        QList<QByteArray> pictures; ///< that it was about to store
    };
    const Interruption &interruption() const { return mInterruption; }

    /// What the interruption left was swept. Until then, its notes stay for who comes next.
    void settle();

    FileIdentity identity() const { return FileIdentity::of(mDescriptor); } ///< of its file

    /// To be kept by who has the store open.
    std::shared_ptr<void> use() const { return mUse; }
    bool isUsed() const { return mUse.use_count() > 1; }

    /// To be noted in place of names: there are too many.
    static constexpr char anyPicture[] = "any";

    /// Notes names of pictures before they are stored, for who comes after a kill. Without that, to find the one that
    /// no row names, all would have to be looked at. Returns whether there was room for it.
    bool note(const QList<QByteArray> &pictures) const;

    /// Held by the thread that opens the store, writes pictures and rows, or sweeps; others wait for it.
    class Turn
    {
    public:
        explicit Turn(StoreLock &lock);
        ~Turn();
        Turn(const Turn &) = delete;
        Turn &operator=(const Turn &) = delete;

        /// Busy: this thread has it already, and would wait for itself.
        Problem problem() const;

    private:
        StoreLock &mLock;
        const bool mIsOurs;
    };

private:
    StoreLock(int descriptor, const QString &path);

    const int mDescriptor;
    const QString mPath;
    Interruption mInterruption;
    bool mIsSettled = false;
    const std::shared_ptr<void> mUse = std::make_shared<char>();
    QMutex mWriting;
    std::atomic<std::thread::id> mWriter{};
};

} // namespace Records
