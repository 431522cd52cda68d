// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "inspect/Inspection.h"
#include "inspect/Worker.h"

#include <QElapsedTimer>

#include <functional>
#include <optional>
#include <sys/types.h>
#include <vector>

namespace Inspect {

/// Processes that analyse, forked from this one as they are needed: starting a program anew would cost several times an
/// analysis, because of the many libraries behind the image codecs. Each has a fetcher at its side. Two that die, or
/// take too long, cost only what is left of their share: what ended them was its image. The owner must not have
/// threads.
class WorkerPool
{
public:
    struct Outcome
    {
        int task = -1;
        std::optional<Inspection> inspection;
        QString reason; ///< why there is no inspection
        QString folder; ///< of the worker, with the pictures that it kept until it gets its next task
        QByteArray lastWords; ///< what the process wrote to stderr, when it died or the log is wanted
    };

    WorkerPool(const Session &session, int size);
    ~WorkerPool() { endAll(); }
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    bool hasIdle() const;

    /// Gives the share to an idle process, or to a new one, and begins with its first task. False: no further one can
    /// be had, those there are have to do.
    bool start(const Share &share);

    /// Begins with the next task of each share whose last one is done, if it is wanted.
    void goOn(const std::function<bool(int task)> &isWanted);

    /// Waits until something is done, or until the file descriptor can be read, or a moment is over.
    std::vector<Outcome> wait(int fileDescriptor);

    void endAll(); ///< whatever the processes are doing

private:
    struct Worker
    {
        pid_t pid = 0;
        pid_t fetcher = 0;
        int requests = -1; ///< to the fetcher
        int inspections = -1; ///< from the worker
        QString folder;
        int task = -1; ///< -1 when there is nothing to do at the moment
        Share share; ///< what is left of it, without the task
        qint64 timeLeft = 0; ///< milliseconds for the task
        QByteArray received;
    };

    static bool isIdle(const Worker &worker);
    Worker *idleWorker();
    bool isWornOut(const Worker &worker) const; ///< has not enough time left for another image
    Worker *forkWorker();
    int timeUntilNextLook() const;
    void readFrom(Worker &worker, std::vector<Outcome> *outcomes);
    void endOverdue(qint64 elapsed, std::vector<Outcome> *outcomes);
    void endGreedy(std::vector<Outcome> *outcomes); ///< those that write too much
    void begin(Worker &worker); ///< with the next task of its share

    /// Of a process that does not go on. @param outcomes of all that is left of its share
    void reap(Worker &worker, std::vector<Outcome> *outcomes, const QString &reason = {});

    const Session &mSession;
    const std::size_t mMost; ///< workers
    std::size_t mSize; ///< the most that there is room for
    int mForked = 0;
    std::vector<Worker> mWorkers;
    QElapsedTimer mSinceLook; ///< at what the workers have written
    std::vector<Outcome> mOutcomes; ///< of tasks that could not be started
};

} // namespace Inspect
