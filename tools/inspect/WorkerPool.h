// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Worker.h"

#include <optional>
#include <sys/types.h>
#include <vector>

namespace Inspect {

/// Processes that analyse, forked from this one as they are needed: starting a program anew would cost several times an
/// analysis, because of the many libraries behind the image codecs. A process that dies costs only its task.
/// The owner must not have threads.
class WorkerPool
{
public:
    struct Outcome
    {
        int task = -1;
        std::optional<Report> report;
        QString reason; ///< why there is no report
        QByteArray lastWords; ///< what the process wrote to stderr before it died
    };

    WorkerPool(const Session &session, int size);
    ~WorkerPool() { endAll(); }
    WorkerPool(const WorkerPool &) = delete;
    WorkerPool &operator=(const WorkerPool &) = delete;

    bool hasIdle() const;

    /// Gives the task to an idle process, or to a new one.
    void start(int task);

    /// Waits until something is done, or until the file descriptor can be read.
    std::vector<Outcome> wait(int fileDescriptor);

    void endAll(); ///< whatever the processes are doing

    std::vector<int> tasksAtWork() const;

private:
    struct Worker
    {
        pid_t pid = 0;
        int socket = -1;
        QString name;
        int task = -1; ///< -1 when idle
        QByteArray received;
    };

    Worker *idleWorker();
    Worker *forkWorker();
    void readFrom(Worker &worker, std::vector<Outcome> *outcomes);
    Outcome bury(Worker &worker); ///< of a process that does not go on

    const Session &mSession;
    std::size_t mSize;
    int mForked = 0;
    std::vector<Worker> mWorkers;
    std::vector<Outcome> mOutcomes; ///< of tasks that could not be started
};

} // namespace Inspect
