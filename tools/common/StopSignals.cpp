// SPDX-License-Identifier: Apache-2.0
#include "StopSignals.h"

#include <csignal>
#include <initializer_list>
#include <sys/signalfd.h>
#include <unistd.h>

namespace Tools {

StopSignals::StopSignals()
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
}

StopSignals::~StopSignals()
{
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

} // namespace Tools
