// SPDX-License-Identifier: Apache-2.0
#include "WorkerPool.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr int idle = -1;

QString describeEnd(int status)
{
    if (WIFSIGNALED(status)) {
        return QStringLiteral("the analysis was ended by signal %1 (%2)")
            .arg(WTERMSIG(status))
            .arg(QString::fromLocal8Bit(strsignal(WTERMSIG(status))));
    }
    return QStringLiteral("the analysis ended unexpectedly with code %1").arg(WEXITSTATUS(status));
}

int endProcess(pid_t pid)
{
    int status = 0;
    kill(pid, SIGKILL); // without effect on one that has ended already
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {}
    return status;
}

/// Takes one report off the front of the bytes, once it is there as a whole.
std::optional<Report> takeReport(QByteArray *bytes)
{
    ReportHeader header;
    if (bytes->size() < static_cast<int>(sizeof header))
        return std::nullopt;
    std::memcpy(&header, bytes->constData(), sizeof header);
    const qint64 size = qint64(sizeof header) + header.outputSize + header.messagesSize;
    if (bytes->size() < size)
        return std::nullopt;

    Report report;
    report.verdict = static_cast<Verdict>(header.verdict);
    report.output = bytes->mid(sizeof header, static_cast<int>(header.outputSize));
    report.messages =
        bytes->mid(static_cast<int>(sizeof header + header.outputSize), static_cast<int>(header.messagesSize));
    bytes->clear(); // a worker has one task at a time
    return report;
}
} // namespace

WorkerPool::WorkerPool(const Session &session, int size)
    : mSession(session)
    , mSize(static_cast<std::size_t>(size))
{
    mWorkers.reserve(mSize);
}

void WorkerPool::endAll()
{
    for (const Worker &worker : mWorkers)
        kill(worker.pid, SIGKILL); // first all, then wait
    for (const Worker &worker : mWorkers) {
        endProcess(worker.pid);
        close(worker.socket);
    }
    mWorkers.clear();
}

bool WorkerPool::hasIdle() const
{
    return mWorkers.size() < mSize
        || std::any_of(mWorkers.cbegin(), mWorkers.cend(), [](const Worker &worker) { return worker.task == idle; });
}

void WorkerPool::start(int task)
{
    Worker *worker = idleWorker();
    if (!worker)
        worker = forkWorker();
    if (!worker) {
        mOutcomes.push_back({task, std::nullopt, QStringLiteral("no process could be started for the analysis"), {}});
        return;
    }
    worker->task = task;
    const auto number = static_cast<quint32>(task);
    // Should it be dead already, reading from it tells.
    static_cast<void>(::send(worker->socket, &number, sizeof number, MSG_NOSIGNAL));
}

std::vector<WorkerPool::Outcome> WorkerPool::wait(int fileDescriptor)
{
    std::vector<Outcome> outcomes = std::move(mOutcomes);
    mOutcomes.clear();
    if (!outcomes.empty())
        return outcomes;

    std::vector<pollfd> watched{{fileDescriptor, POLLIN, 0}};
    for (const Worker &worker : mWorkers)
        watched.push_back({worker.socket, POLLIN, 0});
    if (poll(watched.data(), watched.size(), -1) < 0)
        return {};

    for (std::size_t i = watched.size() - 1; i > 0; --i) { // backwards: a dead worker is taken out
        if (watched[i].revents != 0)
            readFrom(mWorkers[i - 1], &outcomes);
    }
    return outcomes;
}

std::vector<int> WorkerPool::tasksAtWork() const
{
    std::vector<int> tasks;
    for (const Worker &worker : mWorkers) {
        if (worker.task != idle)
            tasks.push_back(worker.task);
    }
    return tasks;
}

WorkerPool::Worker *WorkerPool::idleWorker()
{
    const auto worker =
        std::find_if(mWorkers.begin(), mWorkers.end(), [](const Worker &candidate) { return candidate.task == idle; });
    return worker == mWorkers.end() ? nullptr : &*worker;
}

WorkerPool::Worker *WorkerPool::forkWorker()
{
    int sockets[2] = {-1, -1};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets) != 0)
        return nullptr;

    const QString name = QString::number(++mForked);
    const pid_t pid = fork();
    if (pid == 0) {
        for (const Worker &other : mWorkers)
            close(other.socket); // or the others would not notice that the parent is gone
        close(sockets[0]);
        runWorker(mSession, name, sockets[1]);
    }
    close(sockets[1]);
    if (pid < 0) {
        close(sockets[0]);
        return nullptr;
    }
    mWorkers.push_back({pid, sockets[0], name, idle, {}});
    return &mWorkers.back();
}

void WorkerPool::readFrom(Worker &worker, std::vector<Outcome> *outcomes)
{
    char buffer[64 * 1024];
    const ssize_t size = recv(worker.socket, buffer, sizeof buffer, MSG_DONTWAIT);
    if (size < 0 && (errno == EAGAIN || errno == EINTR))
        return;
    if (size <= 0) {
        Outcome outcome = bury(worker);
        if (outcome.task != idle)
            outcomes->push_back(std::move(outcome));
        return;
    }

    worker.received.append(buffer, static_cast<int>(size));
    if (std::optional<Report> report = takeReport(&worker.received)) {
        outcomes->push_back({worker.task, std::move(report), {}, {}});
        worker.task = idle;
    }
}

WorkerPool::Outcome WorkerPool::bury(Worker &worker)
{
    const int status = endProcess(worker.pid);
    close(worker.socket);
    Outcome outcome{worker.task, std::nullopt, describeEnd(status), lastWordsOfWorker(mSession, worker.name)};
    mWorkers.erase(mWorkers.begin() + (&worker - mWorkers.data()));
    return outcome;
}

} // namespace Inspect
