// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

/// A clock of what this thread works, from its construction on: it stands still while other programs have the
/// processor.
class WorkTimer
{
public:
    double seconds() const { return now() - mStart; }

private:
    static double now()
    {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
    }

    const double mStart = now();
};
