// SPDX-License-Identifier: Apache-2.0
#include "Helpers/CommandProcess_p.h"
#include "Helpers/CommandWatch_p.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>
#include <QThread>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <iterator>
#include <limits>
#include <memory>
#include <sched.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/uio.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr int killTimeout = 1000; // milliseconds, as the following
constexpr unsigned long killPoll = 1;

/// Places of our other programs, from the folder of this library: of a build, and of an installation.
constexpr const char *programFolders[] = {"../libexec/vantorbase/", VANTORBASE_PROGRAM_FOLDER "/"};

char libraryPath[PATH_MAX]; // empty if it cannot be found out

/// When it is loaded: its name may be relative, and the process go to a folder where another one has that name.
[[gnu::constructor]] void findLibrary()
{
    Dl_info library = {};
    if (dladdr(reinterpret_cast<const void *>(&findLibrary), &library) == 0
        || !realpath(library.dli_fname, libraryPath))
        libraryPath[0] = '\0';
}

/// The program that watches commands. It is where this library is; empty if it is not there.
QByteArray findWatcher()
{
    const QString folder = QFileInfo(QFile::decodeName(libraryPath)).path() + QLatin1Char('/');
    for (const char *const place : programFolders) {
        const QFileInfo program(folder + QLatin1String(place) + QLatin1String(CommandWatch::name));
        if (libraryPath[0] != '\0' && program.isFile() && program.isExecutable())
            return QFile::encodeName(program.canonicalFilePath());
    }
    qWarning().noquote() << CommandWatch::name << "is not installed beside" << folder
                         << "so copies of this process watch its commands";
    return {};
}

const QByteArray &watcherProgram()
{
    static const QByteArray program = findWatcher();
    return program;
}

// Between fork and exec of a process that had threads: nothing here may take memory or a lock.

/// Who looks for our process by its name shall not find a copy of it, which may be gone before that is of use.
void giveUpOurName()
{
    prctl(PR_SET_NAME, CommandWatch::name);
    char none[] = "---------------";
    const std::size_t length = std::min(std::strlen(program_invocation_short_name), sizeof none - 1);
    const iovec from{none, length};
    const iovec to{program_invocation_short_name, length}; // among our arguments, unless the application has moved it
    process_vm_writev(getpid(), &from, 1, &to, 1, 0); // fails where a plain write would crash
}

/// Ends as the command does. What watches is a program of its own: as a copy of this one it would hold our mappings and
/// all memory that we change, and be found by our name.
[[noreturn]] void watch(pid_t command, const char *program)
{
    CommandWatch::closeAllFiles(); // whoever waits for the end of a pipe waits for the command, not for us
    char name[sizeof CommandWatch::name];
    std::copy(std::begin(CommandWatch::name), std::end(CommandWatch::name), name);
    char number[std::numeric_limits<pid_t>::digits10 + 2] = {};
    std::to_chars(number, std::end(number) - 1, command);
    char *arguments[] = {name, number, nullptr};
    char *environment[] = {nullptr};
    execve(program, arguments, environment);
    CommandWatch::endAs(CommandWatch::waitFor(command)); // as a copy after all
}

/// What the command's side needs, which has the memory of the watcher until it executes.
struct Execution
{
    char *const *arguments = nullptr; ///< the program's path first
    char *const *environment = nullptr;
    const sigset_t *signals = nullptr;
    pid_t watcher = 0;
    bool hasFailed = false;
};

int execute(void *argument)
{
    auto *const execution = static_cast<Execution *>(argument);
    prctl(PR_SET_PDEATHSIG, SIGKILL); // the command does not outlive its watcher
    if (getppid() == execution->watcher) {
        setpgid(0, 0);
        sigprocmask(SIG_SETMASK, execution->signals, nullptr);
        execve(execution->arguments[0], execution->arguments, execution->environment);
    }
    execution->hasFailed = true;
    _exit(CommandWatch::failed);
}

/// A second copy of the memory would double the time of a start: the command gets none, and we wait until it executes.
/// @return the command; none if there is no room for another process, or if it cannot be executed (then it says so)
pid_t executeBeside(Execution *execution)
{
    constexpr std::size_t stackSize = 32768; // bytes
    alignas(16) char stack[stackSize];
    const pid_t command = clone(&execute, stack + stackSize, CLONE_VM | CLONE_VFORK | SIGCHLD, execution);
    if (command > 0 && execution->hasFailed)
        waitpid(command, nullptr, 0);
    return execution->hasFailed ? -1 : command;
}

// From here on as usual.

struct Process
{
    pid_t id = 0;
    pid_t parent = 0;
    char state = 0;

    bool isDead() const { return state == 'Z' || state == 'X'; }
};

/// What the kernel tells of a process; one without a parent if it is gone.
Process lookAt(pid_t id)
{
    char text[512] = {};
    char path[32] = {};
    std::snprintf(path, sizeof path, "/proc/%d/stat", id);
    const int descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return {};
    const ssize_t size = read(descriptor, text, sizeof text - 1);
    close(descriptor);
    const char *const nameEnd = size > 0 ? std::strrchr(text, ')') : nullptr; // the name may hold anything
    Process process;
    process.id = id;
    if (!nameEnd || std::sscanf(nameEnd, ") %c %d", &process.state, &process.parent) != 2)
        return {};
    return process;
}

/// Kills the living children of a stopped process. It cannot reap them, so no number comes to mean another process.
/// @return how many they were
int killChildren(pid_t parent)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> processes(opendir("/proc"), &closedir);
    int count = 0;
    while (const dirent *const entry = processes ? readdir(processes.get()) : nullptr) {
        const Process process = lookAt(std::atoi(entry->d_name));
        if (process.parent != parent || process.isDead())
            continue;
        ++count;
        kill(process.id, SIGKILL);
    }
    return count;
}

/// @return whether the process is there and stands still
bool stop(pid_t process)
{
    if (kill(process, SIGSTOP) != 0)
        return false;
    siginfo_t how{};
    while (waitid(P_PID, static_cast<id_t>(process), &how, WSTOPPED | WEXITED | WNOWAIT) != 0) {
        if (errno != EINTR)
            return false;
    }
    return how.si_code == CLD_STOPPED;
}
} // namespace

CommandProcess::CommandProcess()
    : mWatcher(watcherProgram())
    , mNoRoom(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    setProcessChannelMode(QProcess::MergedChannels);
}

CommandProcess::~CommandProcess()
{
    ::close(mNoRoom);
    for (const int descriptor : qAsConst(mPassedOn))
        ::close(descriptor);
}

QString CommandProcess::passOn(int descriptor)
{
    const int copy = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1); // those up to here are its channels
    if (copy >= 0)
        mPassedOn.append(copy);
    return QStringLiteral("/proc/self/fd/%1").arg(copy);
}

void CommandProcess::startCommand(const QStringList &words)
{
    const QString program = words.value(0);
    const QStringList arguments = words.mid(1);
    const QString path = program.contains(QLatin1Char('/')) ? program : QStandardPaths::findExecutable(program);
    mArguments.assign(path.isEmpty() ? program : path, arguments);
    mEnvironment.assign({}, processEnvironment().toStringList());
    start(program, arguments);
}

bool CommandProcess::waitForCommand(int timeout)
{
    eventfd_t isTold = 0;
    return waitForStarted(timeout) && eventfd_read(mNoRoom, &isTold) != 0;
}

void CommandProcess::killAll() const
{
    const auto watcher = static_cast<pid_t>(processId());
    if (watcher <= 0 || !stop(watcher))
        return;
    // Whoever loses its parent becomes a child of the watcher, so all come up in turn.
    const QDeadlineTimer deadline(killTimeout);
    while (killChildren(watcher) > 0 && !deadline.hasExpired())
        QThread::msleep(killPoll);
    ::kill(watcher, SIGCONT);
}

void CommandProcess::setupChildProcess()
{
    giveUpOurName();
    for (const int descriptor : qAsConst(mPassedOn))
        fcntl(descriptor, F_SETFD, 0);
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    sigprocmask(SIG_SETMASK, &all, &former); // no handler of ours may run in the watcher, nothing but SIGKILL end it
    setpgid(0, 0);
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    std::signal(SIGCHLD, SIG_DFL);

    Execution execution;
    execution.arguments = mArguments.pointers();
    execution.environment = mEnvironment.isEmpty() ? environ : mEnvironment.pointers();
    execution.signals = &former;
    execution.watcher = getpid();
    const pid_t command = executeBeside(&execution);
    if (command > 0)
        watch(command, mWatcher.constData());
    if (!execution.hasFailed) {
        eventfd_write(mNoRoom, 1);
        _exit(CommandWatch::failed);
    }
    // QProcess tries once more, and tells why it fails. Should it not fail, the command watches over itself.
    sigprocmask(SIG_SETMASK, &former, nullptr);
}

void CommandProcess::Texts::assign(const QString &first, const QStringList &others)
{
    mTexts.clear();
    if (!first.isEmpty())
        mTexts.append(QFile::encodeName(first));
    for (const QString &text : others)
        mTexts.append(QFile::encodeName(text));
    mPointers.clear();
    for (QByteArray &text : mTexts)
        mPointers.append(text.data());
    mPointers.append(nullptr);
}
