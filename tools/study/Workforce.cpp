// SPDX-License-Identifier: Apache-2.0
#include "Workforce.h"

#include "Examiner.h"
#include "ProgressBar.h"
#include "StopSignals.h"
#include "TemporaryFolder.h"
#include "WorkDir.h"

#include <QCoreApplication>
#include <QFile>

#include <opencv2/core.hpp>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <malloc.h>
#include <new>
#include <poll.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace Study {

namespace {
/// Where all processes see how far they are.
class SharedProgress
{
public:
    struct Counters
    {
        std::atomic<int> next{0};
        std::atomic<int> done{0};
    };

    SharedProgress()
    {
        void *const memory = mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory != MAP_FAILED)
            mCounters = new (memory) Counters;
    }
    ~SharedProgress()
    {
        if (mCounters)
            munmap(mCounters, sizeof(Counters));
    }
    SharedProgress(const SharedProgress &) = delete;
    SharedProgress &operator=(const SharedProgress &) = delete;

    Counters *counters() const { return mCounters; }

private:
    Counters *mCounters = nullptr;
};

/// The processes that were forked; those still alive are ended with their owner.
class Workers
{
public:
    Workers() = default;
    ~Workers()
    {
        for (const pid_t pid : mPids)
            kill(pid, SIGKILL);
        for (const pid_t pid : mPids)
            waitpid(pid, nullptr, 0);
    }
    Workers(const Workers &) = delete;
    Workers &operator=(const Workers &) = delete;

    void add(pid_t pid) { mPids.push_back(pid); }
    bool isEmpty() const { return mPids.empty(); }
    bool allWell() const { return mAllWell; }

    void buryTheDead()
    {
        for (std::size_t i = mPids.size(); i-- > 0;) {
            int status = 0;
            if (waitpid(mPids[i], &status, WNOHANG) != mPids[i])
                continue;
            mAllWell = mAllWell && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
            mPids.erase(mPids.begin() + static_cast<std::ptrdiff_t>(i));
        }
    }

private:
    std::vector<pid_t> mPids;
    bool mAllWell = true;
};

QString outcomesPath(const QString &folder)
{
    return folder + QStringLiteral("/outcomes");
}

/// Giving the memory of one image back and asking for it again takes longer than all else that the system does here.
void keepFreedMemory()
{
    constexpr int largestKeptBlock = 16 * 1024 * 1024; // bytes
    constexpr int mostKeptMemory = 64 * 1024 * 1024; // bytes
    mallopt(M_MMAP_THRESHOLD, largestKeptBlock);
    mallopt(M_TRIM_THRESHOLD, mostKeptMemory);
}

bool work(const QVector<Face> &faces, SharedProgress::Counters *counters, const QString &folder)
{
    const Tools::WorkDir workDir(folder);
    cv::setNumThreads(1); // the faces are what runs in parallel
    keepFreedMemory();
    QFile file(outcomesPath(folder));
    if (!file.open(QIODevice::WriteOnly))
        return false;
    QDataStream stream(&file);
    for (int i = counters->next++; i < faces.size(); i = counters->next++) {
        stream << i << examine(faces[i], folder);
        ++counters->done;
    }
    return file.flush() && stream.status() == QDataStream::Ok;
}

[[noreturn]] void runWorker(const QVector<Face> &faces, SharedProgress::Counters *counters, const QString &folder)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    bool isWell = false;
    try {
        isWell = work(faces, counters, folder);
    } catch (const std::exception &) {
        isWell = false;
    }
    _exit(isWell ? EXIT_SUCCESS : EXIT_FAILURE); // what was inherited is the parent's to clean up
}

int readOutcomes(const QString &folder, QVector<FaceOutcome> *outcomes)
{
    QFile file(outcomesPath(folder));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    QDataStream stream(&file);
    int count = 0;
    while (!stream.atEnd()) {
        int index = -1;
        FaceOutcome outcome;
        stream >> index >> outcome;
        if (stream.status() != QDataStream::Ok || index < 0 || index >= outcomes->size())
            break;
        (*outcomes)[index] = outcome;
        ++count;
    }
    return count;
}
} // namespace

std::optional<QVector<FaceOutcome>> examineAll(
    const QVector<Face> &faces, int jobs, bool showsProgress, QString *problem)
{
    constexpr int pollInterval = 50; // milliseconds
    Tools::StopSignals signals;
    const Tools::TemporaryFolder temporaryFolder(QCoreApplication::applicationName());
    const SharedProgress progress;
    if (!temporaryFolder.isValid() || !progress.counters()) {
        *problem = QStringLiteral("there is no temporary folder or no memory for the study");
        return std::nullopt;
    }
    const auto folderOf = [&](int job) { return QStringLiteral("%1/%2").arg(temporaryFolder.path()).arg(job); };

    Workers workers;
    for (int job = 0; job < jobs; ++job) {
        const pid_t pid = fork();
        if (pid == 0)
            runWorker(faces, progress.counters(), folderOf(job));
        if (pid > 0)
            workers.add(pid);
    }

    Tools::ProgressBar bar(showsProgress ? faces.size() : 0);
    while (!workers.isEmpty()) {
        pollfd stop{signals.fileDescriptor(), POLLIN, 0};
        poll(&stop, 1, pollInterval);
        if (signals.received() != 0) {
            *problem = QStringLiteral("stopped");
            return std::nullopt;
        }
        workers.buryTheDead();
        bar.show(progress.counters()->done);
    }

    QVector<FaceOutcome> outcomes(faces.size());
    int count = 0;
    for (int job = 0; job < jobs; ++job)
        count += readOutcomes(folderOf(job), &outcomes);
    if (!workers.allWell() || count != faces.size()) {
        *problem = QStringLiteral("only %1 of %2 faces could be examined").arg(count).arg(faces.size());
        return std::nullopt;
    }
    return outcomes;
}

} // namespace Study
