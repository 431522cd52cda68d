// SPDX-License-Identifier: Apache-2.0
#include "inspect/WorkerPool.h"

#include "inspect/Fetcher.h"
#include "inspect/InspectionMessage.h"
#include "inspect/Pictures.h"
#include "inspect/Process.h"

#include <QDir>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr int idle = -1;

/// The longest that is waited, and counted against a task, at once: a run that was stopped for a while, or that waits
/// for the reader of its report, shall not take its workers for slow.
constexpr int longestWait = 500; // milliseconds

/// Between two looks at what the workers have written.
constexpr int betweenLooks = 100; // milliseconds

/// Seconds of a processor; nothing of a process that is gone for good. One that has just ended can still be asked.
std::optional<double> processorTime(pid_t pid)
{
    clockid_t clock{};
    timespec used{};
    if (clock_getcpuclockid(pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return std::nullopt;
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) / 1e9;
}

/// Whether the kernel must have ended the process at the hard limit of its time. Its status does not tell: that is the
/// same SIGKILL as for want of memory, or from anybody else. What the process has used does; whom another SIGKILL meets
/// in the last twentieth of its life is counted in.
bool hasUsedUpItsTime(pid_t pid)
{
    constexpr double fewTicks = 0.25; // seconds; of a short life
    constexpr double mostOfIt = 0.95; // the limit counts sampled ticks, the clock what really ran; both drift apart
    rlimit limits{};
    const std::optional<double> used = processorTime(pid);
    const bool isKnown = used && prlimit(pid, RLIMIT_CPU, nullptr, &limits) == 0;
    return isKnown && *used + fewTicks >= mostOfIt * static_cast<double>(limits.rlim_max);
}

QString describeEnd(int status, bool isOverTime)
{
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL && isOverTime)
        return QStringLiteral("the analysis used up its time of the processor");
    if (WIFSIGNALED(status)) {
        return QStringLiteral("the analysis was ended by signal %1 (%2)")
            .arg(WTERMSIG(status))
            .arg(QString::fromLocal8Bit(strsignal(WTERMSIG(status))));
    }
    return QStringLiteral("the analysis ended unexpectedly with code %1").arg(WEXITSTATUS(status));
}

/// One end that reads and one that writes; both are closed with their owner unless they were taken.
class Pipe
{
public:
    Pipe()
        : mIsOpen(pipe2(mEnds, O_CLOEXEC) == 0)
    {
    }
    ~Pipe()
    {
        for (const int end : mEnds) {
            if (end >= 0)
                close(end);
        }
    }
    Pipe(const Pipe &) = delete;
    Pipe &operator=(const Pipe &) = delete;

    bool isOpen() const { return mIsOpen; }
    int reading() const { return mEnds[0]; }
    int writing() const { return mEnds[1]; }
    int takeReading() { return std::exchange(mEnds[0], -1); }
    int takeWriting() { return std::exchange(mEnds[1], -1); }

private:
    int mEnds[2] = {-1, -1};
    bool mIsOpen;
};

class Memory
{
public:
    Memory()
        : mFile(memfd_create("image", MFD_CLOEXEC))
    {
    }
    ~Memory()
    {
        if (mFile >= 0)
            close(mFile);
    }
    Memory(const Memory &) = delete;
    Memory &operator=(const Memory &) = delete;

    int file() const { return mFile; }

private:
    int mFile;
};
} // namespace

WorkerPool::WorkerPool(const Session &session, int size)
    : mSession(session)
    , mMost(static_cast<std::size_t>(size))
    , mSize(mMost)
{
    mWorkers.reserve(mSize);
}

void WorkerPool::endAll()
{
    for (const Worker &worker : mWorkers) { // first all, then wait
        kill(worker.pid, SIGKILL);
        kill(worker.fetcher, SIGKILL);
    }
    std::vector<Outcome> unwanted;
    while (!mWorkers.empty())
        reap(mWorkers.back(), &unwanted);
}

bool WorkerPool::hasIdle() const
{
    return mWorkers.size() < mSize || std::any_of(mWorkers.cbegin(), mWorkers.cend(), isIdle);
}

bool WorkerPool::isIdle(const Worker &worker)
{
    return worker.task == idle && worker.share.next == worker.share.end;
}

bool WorkerPool::start(const Share &share)
{
    Worker *worker = idleWorker();
    while (worker && isWornOut(*worker)) {
        reap(*worker, &mOutcomes); // which has none
        worker = idleWorker();
    }
    if (!worker)
        worker = forkWorker();
    if (!worker && !mWorkers.empty()) {
        mSize = mWorkers.size();
        return false;
    }
    if (!worker) {
        for (int task = share.next; task < share.end; ++task)
            mOutcomes.push_back(
                {task, std::nullopt, QStringLiteral("no process could be started for the analysis"), {}, {}});
        return true;
    }
    worker->share = share;
    begin(*worker);
    return true;
}

void WorkerPool::goOn(const std::function<bool(int task)> &isWanted)
{
    for (Worker &worker : mWorkers) {
        if (worker.task == idle && !isIdle(worker) && isWanted(worker.share.next))
            begin(worker);
    }
}

void WorkerPool::begin(Worker &worker)
{
    worker.task = worker.share.next++;
    worker.timeLeft = qint64(mSession.options.timePerTask()) * 1000;
    const auto number = static_cast<quint32>(worker.task);
    Process::writeAll(worker.requests, &number, sizeof number); // should it be dead already, reading from it tells
}

std::vector<WorkerPool::Outcome> WorkerPool::wait(int fileDescriptor)
{
    std::vector<Outcome> outcomes = std::move(mOutcomes);
    mOutcomes.clear();
    if (!outcomes.empty())
        return outcomes;

    std::vector<pollfd> watched{{fileDescriptor, POLLIN, 0}};
    for (const Worker &worker : mWorkers)
        watched.push_back({worker.inspections, POLLIN, 0});
    const int longest = timeUntilNextLook();
    QElapsedTimer timer;
    timer.start();
    if (poll(watched.data(), watched.size(), longest) < 0)
        return {};
    const qint64 elapsed = qMin<qint64>(timer.elapsed(), longest);

    for (std::size_t i = watched.size() - 1; i > 0; --i) { // backwards: a dead worker is taken out
        if (watched[i].revents != 0)
            readFrom(mWorkers[i - 1], &outcomes);
    }
    endOverdue(elapsed, &outcomes);
    endGreedy(&outcomes);
    return outcomes;
}

int WorkerPool::timeUntilNextLook() const
{
    qint64 time = qMin(longestWait, betweenLooks);
    for (const Worker &worker : mWorkers) {
        if (worker.task != idle)
            time = qMin(time, qMax<qint64>(worker.timeLeft, 1));
    }
    return static_cast<int>(time);
}

void WorkerPool::endOverdue(qint64 elapsed, std::vector<Outcome> *outcomes)
{
    for (std::size_t i = mWorkers.size(); i-- > 0;) {
        Worker &worker = mWorkers[i];
        if (worker.task == idle)
            continue;
        worker.timeLeft -= elapsed;
        if (worker.timeLeft > 0)
            continue;
        reap(worker, outcomes, QStringLiteral("timed out after %1 s").arg(mSession.options.timePerTask()));
    }
}

void WorkerPool::endGreedy(std::vector<Outcome> *outcomes)
{
    if (mSinceLook.isValid() && mSinceLook.elapsed() < betweenLooks)
        return;
    mSinceLook.start();
    for (std::size_t i = mWorkers.size(); i-- > 0;) { // also the idle ones: who was taken over need not wait for a task
        if (Pictures(mWorkers[i].folder).areTooMany(mSession.options))
            reap(mWorkers[i], outcomes, QStringLiteral("the analysis filled its folder"));
    }
}

WorkerPool::Worker *WorkerPool::idleWorker()
{
    const auto worker = std::find_if(mWorkers.begin(), mWorkers.end(), isIdle);
    return worker == mWorkers.end() ? nullptr : &*worker;
}

bool WorkerPool::isWornOut(const Worker &worker) const
{
    constexpr quint64 slack = 2; // seconds
    const Options &options = mSession.options;
    const std::optional<double> used = processorTime(worker.pid);
    return used
        && *used + static_cast<double>(options.timePerImage() + slack) > static_cast<double>(options.timePerWorker());
}

WorkerPool::Worker *WorkerPool::forkWorker()
{
    Pipe requests;
    Pipe fetched;
    Pipe inspections;
    const Memory image;
    const Pipe spare[2]; // for the files that this process opens later
    const QString folder = mSession.temporaryFolder + QLatin1Char('/') + QString::number(++mForked);
    const bool hasRoom =
        std::all_of(std::begin(spare), std::end(spare), [](const Pipe &pipe) { return pipe.isOpen(); });
    if (!requests.isOpen() || !fetched.isOpen() || !inspections.isOpen() || image.file() < 0 || !hasRoom)
        return nullptr;

    const pid_t fetcher = fork();
    if (fetcher == 0)
        runFetcher(mSession, requests.reading(), fetched.writing(), image.file());
    if (fetcher < 0)
        return nullptr;
    const pid_t pid = fork();
    if (pid == 0)
        runWorker(mSession, folder, fetched.reading(), inspections.writing(), image.file());
    if (pid < 0) {
        Process::end(fetcher);
        return nullptr;
    }
    mWorkers.push_back({pid, fetcher, requests.takeWriting(), inspections.takeReading(), folder, idle, {}, 0, {}});
    return &mWorkers.back();
}

void WorkerPool::readFrom(Worker &worker, std::vector<Outcome> *outcomes)
{
    char buffer[64 * 1024];
    const ssize_t size = Process::read(worker.inspections, buffer, sizeof buffer);
    if (size <= 0) {
        reap(worker, outcomes);
        return;
    }

    worker.received.append(buffer, static_cast<int>(size));
    bool isDamaged = worker.task == idle; // nobody asked
    std::optional<Inspection> inspection;
    if (!isDamaged)
        inspection = InspectionMessage::take(&worker.received, mSession.tasks[worker.task], &isDamaged);
    if (isDamaged) {
        reap(worker, outcomes, QStringLiteral("the analysis sent what is no report"));
    } else if (inspection) {
        const QByteArray log = mSession.options.verbose ? lastWordsOfWorker(worker.folder) : QByteArray();
        outcomes->push_back({worker.task, std::move(inspection), {}, worker.folder, log});
        worker.task = idle;
    }
}

void WorkerPool::reap(Worker &worker, std::vector<Outcome> *outcomes, const QString &reason)
{
    const bool isOverTime = hasUsedUpItsTime(worker.pid);
    Process::end(worker.fetcher);
    const int status = Process::end(worker.pid);
    close(worker.requests);
    close(worker.inspections);
    const QString why = reason.isEmpty() ? describeEnd(status, isOverTime) : reason;
    const QByteArray lastWords = lastWordsOfWorker(worker.folder);
    if (worker.task != idle)
        outcomes->push_back({worker.task, std::nullopt, why, {}, lastWords});
    for (int task = worker.share.next; task < worker.share.end; ++task) // the next process would fare no better
        outcomes->push_back({task, std::nullopt, why, {}, lastWords});
    QDir(worker.folder).removeRecursively();
    mWorkers.erase(mWorkers.begin() + (&worker - mWorkers.data()));
    mSize = mMost; // what it took may be enough for another one
}

} // namespace Inspect
