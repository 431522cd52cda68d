// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalysisThreads_p.h"

#include <QMutex>
#include <QScopeGuard>
#include <QThread>
#include <QWaitCondition>

#include <cerrno>
#include <deque>
#include <exception>
#include <list>
#include <memory>
#include <pthread.h>
#include <system_error>
#include <utility>

namespace FiberInspection::AnalysisThreads {

namespace {
using Task = std::function<void()>;

constexpr int mostThreads = 2;

class Pool
{
public:
    void run(Task task)
    {
        const QMutexLocker lock(&mMutex);
        if (mFree <= mWaiting.size() && mCount < mostThreads)
            addThread();
        mWaiting.push_back(std::move(task));
        mIsWaiting.wakeOne();
    }

    [[noreturn]] void work()
    {
        for (;;) {
            pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr); // an end while it waits would leave a lock behind
            Task task = next();
            auto ended = qScopeGuard([this] { leave(); }); // a receiver may end the thread
            pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
            task();
            pthread_testcancel();
            ended.dismiss();
            // Free before the end of the task is known: what is to be done then needs no other thread.
            const QMutexLocker lock(&mMutex);
            ++mFree;
        }
    }

private:
    class Thread : public QThread
    {
    public:
        explicit Thread(Pool *pool)
            : mPool(pool)
        {
        }

    private:
        void run() override { mPool->work(); }

        Pool *const mPool;
    };

    void addThread()
    {
        mThreads.remove_if([](const auto &thread) { return thread->isFinished(); });
        auto thread = std::make_unique<Thread>(this);
        thread->start();
        if (!thread->isRunning()) // only the log tells otherwise
            throw std::system_error(EAGAIN, std::generic_category(), "no thread for the analysis");
        mThreads.push_back(std::move(thread));
        ++mCount;
        ++mFree;
    }

    /// Another thread may take the place of this one, which is about to end.
    void leave()
    {
        const QMutexLocker lock(&mMutex);
        --mCount;
        try {
            if (mFree < mWaiting.size())
                addThread();
        } catch (const std::exception &) { // what waits has one with the next task
        }
    }

    Task next()
    {
        const QMutexLocker lock(&mMutex);
        while (mWaiting.empty())
            mIsWaiting.wait(&mMutex);
        Task task = std::move(mWaiting.front());
        mWaiting.pop_front();
        --mFree;
        return task;
    }

    QMutex mMutex;
    QWaitCondition mIsWaiting;
    std::deque<Task> mWaiting;
    std::list<std::unique_ptr<Thread>> mThreads;
    std::size_t mFree = 0; ///< threads, also those that are about to take what waits
    int mCount = 0; ///< of all threads
};

Pool &pool()
{
    static auto *const pool = new Pool; // its threads may outlive what is static
    return *pool;
}
} // namespace

void run(std::function<void()> task)
{
    pool().run(std::move(task));
}

} // namespace FiberInspection::AnalysisThreads
