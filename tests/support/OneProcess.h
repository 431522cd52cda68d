// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <csignal>
#include <sys/types.h>

/// What a test does to one process, whose number may be of none: 0 and -1 would be groups of them, up to all that there
/// are, and so would be what was not read, not started or could not be forked.
namespace OneProcess {

/// @return whether there is such a process, and it got the signal
template <typename Number>
bool sendSignal(Number process, int signal)
{
    return process > 1 && static_cast<Number>(static_cast<pid_t>(process)) == process
        && ::kill(static_cast<pid_t>(process), signal) == 0;
}

} // namespace OneProcess
