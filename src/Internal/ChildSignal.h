// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <unistd.h>

/// While it lives, this thread hears of the ends of children, as Qt has to: with the signal blocked it waits for ever.
class ChildSignal
{
public:
    ChildSignal()
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGCHLD);
        pthread_sigmask(SIG_UNBLOCK, &signals, &mFormer);
    }
    ~ChildSignal()
    {
        pthread_sigmask(SIG_SETMASK, &mFormer, nullptr);
        if (sigismember(&mFormer, SIGCHLD) == 1)
            ::kill(getpid(), SIGCHLD); // who waits for it may have missed one of another child meanwhile
    }
    ChildSignal(const ChildSignal &) = delete;
    ChildSignal &operator=(const ChildSignal &) = delete;

private:
    sigset_t mFormer{};
};
