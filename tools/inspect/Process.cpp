// SPDX-License-Identifier: Apache-2.0
#include "inspect/Process.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Inspect {

namespace {
constexpr mode_t ownerOnly = 0600;
constexpr int patience = 1000; // milliseconds, for the end of a killed process
} // namespace

void Process::begin(const char *name, std::vector<int> files)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    prctl(PR_SET_NAME, name);
    std::sort(files.begin(), files.end());
    unsigned int next = STDERR_FILENO + 1;
    for (const int file : files) {
        const auto kept = static_cast<unsigned int>(file);
        if (kept > next)
            close_range(next, kept - 1, 0);
        next = kept + 1;
    }
    close_range(next, ~0U, 0);
    redirect(STDIN_FILENO, "/dev/null", O_RDONLY);
    redirect(STDOUT_FILENO, "/dev/null", O_WRONLY);
}

bool Process::redirect(int stream, const char *path, int flags)
{
    const int file = open(path, flags | O_CLOEXEC, ownerOnly);
    const bool redirected = file >= 0 && dup2(file, stream) >= 0;
    if (file >= 0)
        close(file);
    return redirected;
}

ssize_t Process::read(int file, void *data, std::size_t size)
{
    ssize_t received = -1;
    do {
        received = ::read(file, data, size);
    } while (received < 0 && errno == EINTR);
    return received;
}

bool Process::readAll(int file, void *data, std::size_t size)
{
    auto *at = static_cast<char *>(data);
    while (size > 0) {
        const ssize_t received = read(file, at, size);
        if (received <= 0)
            return false;
        at += received;
        size -= static_cast<std::size_t>(received);
    }
    return true;
}

bool Process::writeAll(int file, const void *data, std::size_t size)
{
    const auto *at = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t written = ::write(file, at, size);
        if (written < 0 && errno != EINTR)
            return false;
        at += std::max<ssize_t>(written, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(written, 0));
    }
    return true;
}

int Process::end(pid_t pid)
{
    int status = 0;
    kill(pid, SIGKILL); // without effect on one that has ended already
    for (int waited = 0; waited < patience; ++waited) {
        if (waitpid(pid, &status, WNOHANG) != 0)
            return status;
        poll(nullptr, 0, 1);
    }
    return 0; // it hangs in the kernel, on a file system that does not answer; it ends when that lets go
}

} // namespace Inspect
