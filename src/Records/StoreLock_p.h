// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Answer.h"

#include <QMutex>

#include <memory>

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

    /// The process that had it before ended without a release.
    bool wasInterrupted() const { return mWasInterrupted; }

    /// Held by the thread that writes pictures and rows, or sweeps.
    QMutex &writing() { return mWriting; }

private:
    explicit StoreLock(int descriptor);

    int mDescriptor;
    bool mWasInterrupted;
    QMutex mWriting;
};

} // namespace Records
