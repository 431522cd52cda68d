// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// What a watcher of a command does. A program of its own does it, and a copy of the application where there is none:
/// between fork and exec of a process that had threads. So nothing here may take memory or a lock.
namespace CommandWatch {

constexpr char name[] = "command-watcher";
constexpr int failed = 255; // exit code

inline void closeAllFiles()
{
    constexpr int mostFiles = 65536;
    if (close_range(0, ~0U, 0) == 0)
        return;
    for (int descriptor = 0; descriptor < mostFiles; ++descriptor) // a kernel before 5.9
        close(descriptor);
}

[[noreturn]] inline void endBySignal(int signal)
{
    const rlimit noCore{0, 0};
    setrlimit(RLIMIT_CORE, &noCore);
    prctl(PR_SET_DUMPABLE, 0); // the core would be one of ours
    std::signal(signal, SIG_DFL);
    sigset_t one;
    sigemptyset(&one);
    sigaddset(&one, signal);
    kill(getpid(), signal);
    sigprocmask(SIG_UNBLOCK, &one, nullptr);
    _exit(128 + signal);
}

/// Waits for the command, which is a child, and for its orphans. @return how it ended, as waitpid() tells it
inline int waitFor(pid_t command)
{
    int status = 0;
    for (pid_t ended = 0; ended != command;) {
        ended = waitpid(-1, &status, 0);
        if (ended < 0 && errno != EINTR)
            return W_EXITCODE(failed, 0);
    }
    while (waitpid(-1, nullptr, WNOHANG) > 0) {}
    return status;
}

/// Ends as the command did.
[[noreturn]] inline void endAs(int status)
{
    if (WIFSIGNALED(status))
        endBySignal(WTERMSIG(status));
    _exit(WEXITSTATUS(status));
}

} // namespace CommandWatch
