// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QtGlobal>

#include <csignal>
#include <functional>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// How a function ended that ran in a process of its own: what must not end the test may end the child.
/// Only the calling thread goes on in the child, so the function must not wait for another one of the parent.
struct ForkedChild
{
    int exitCode = -1; ///< what the function returned; -1 when a signal ended it
    int signal = 0; ///< 0 when it returned
    QByteArray standardError;

    static ForkedChild run(const std::function<int()> &function, unsigned maxSeconds = 30)
    {
        int channel[2];
        if (pipe(channel) != 0)
            return {};
        const pid_t child = fork();
        if (child < 0)
            return {};
        if (child == 0) {
            close(channel[0]);
            dup2(channel[1], STDERR_FILENO);
            const rlimit noCore{0, 0};
            setrlimit(RLIMIT_CORE, &noCore);
            std::signal(SIGALRM, SIG_DFL);
            alarm(maxSeconds);
            std::signal(SIGABRT, SIG_DFL);
            qInstallMessageHandler(nullptr);
            _exit(function());
        }

        close(channel[1]);
        ForkedChild result;
        char piece[4096];
        for (ssize_t count = 0; (count = read(channel[0], piece, sizeof piece)) > 0;)
            result.standardError.append(piece, static_cast<int>(count));
        close(channel[0]);
        int status = 0;
        waitpid(child, &status, 0);
        if (WIFEXITED(status))
            result.exitCode = WEXITSTATUS(status);
        if (WIFSIGNALED(status))
            result.signal = WTERMSIG(status);
        return result;
    }
};
