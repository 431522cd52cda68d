// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <csignal>
#include <ctime>
#include <dlfcn.h>
#include <poll.h>

/// How long Qt was ready to wait for a file or a process, seen without waiting. For one source of a program: the
/// libraries call its ppoll() in place of libc's.
namespace PollTimes {

inline std::atomic<long long> longest{0};

inline void forget()
{
    longest = 0;
}

/// Whether the longest since then was this limit, in milliseconds: what is left of it when waiting begins.
inline bool areUpTo(long long limit)
{
    const long long tolerance = limit / 2; // for a slow machine; other limits are farther away
    return longest <= limit && longest > limit - tolerance;
}

} // namespace PollTimes

// NOLINTNEXTLINE(misc-definitions-in-headers,readability-inconsistent-declaration-parameter-name): libc's are reserved
extern "C" int ppoll(pollfd *files, nfds_t count, const timespec *timeout, const sigset_t *signals)
{
    static const auto libc = reinterpret_cast<decltype(&ppoll)>(dlsym(RTLD_NEXT, "ppoll"));
    if (timeout)
        PollTimes::longest =
            std::max<long long>(PollTimes::longest, timeout->tv_sec * 1000LL + timeout->tv_nsec / 1000000);
    return libc(files, count, timeout, signals);
}
