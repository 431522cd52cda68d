// SPDX-License-Identifier: Apache-2.0
#include "common/StopSignals.h"

#include <cerrno>
#include <csignal>
#include <initializer_list>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace Tools {

StopSignals::StopSignals()
    : mOwner(getpid())
{
    sigset_t signals;
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action
        {
        };
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            sigaddset(&signals, number);
    }
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    mFileDescriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe shows as an error of write
    sOfProcess = this;
}

StopSignals::~StopSignals()
{
    sOfProcess = nullptr;
    if (mFileDescriptor >= 0)
        close(mFileDescriptor);
}

int StopSignals::received()
{
    signalfd_siginfo info{};
    if (mReceived == 0 && read(mFileDescriptor, &info, sizeof info) == ssize_t(sizeof info))
        mReceived = static_cast<int>(info.ssi_signo);
    return mReceived;
}

bool StopSignals::waitUntilWritable(int stream)
{
    const StopSignals *const signals = sOfProcess && sOfProcess->mOwner == getpid() ? sOfProcess : nullptr;
    const int patience = signals && signals->mReceived != 0 ? 0 : -1;
    pollfd files[] = {{stream, POLLOUT, 0}, {signals ? signals->mFileDescriptor : -1, POLLIN, 0}};
    while (poll(files, 2, patience) < 0 && errno == EINTR) {}
    return files[0].revents != 0;
}

} // namespace Tools
