// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <ctime>

/// While it lives, to write into a pipe that nobody reads any more is an error in this thread, and not the end of the
/// process.
class PipeSignal
{
public:
    PipeSignal()
    {
        sigemptyset(&mSignal);
        sigaddset(&mSignal, SIGPIPE);
        mWasPending = isPending();
        pthread_sigmask(SIG_BLOCK, &mSignal, &mFormer);
    }
    ~PipeSignal()
    {
        constexpr timespec now{};
        if (!mWasPending && isPending())
            sigtimedwait(&mSignal, nullptr, &now);
        pthread_sigmask(SIG_SETMASK, &mFormer, nullptr);
    }
    PipeSignal(const PipeSignal &) = delete;
    PipeSignal &operator=(const PipeSignal &) = delete;

private:
    static bool isPending()
    {
        sigset_t pending;
        sigemptyset(&pending);
        sigpending(&pending);
        return sigismember(&pending, SIGPIPE) == 1;
    }

    sigset_t mSignal{};
    sigset_t mFormer{};
    bool mWasPending = false;
};
