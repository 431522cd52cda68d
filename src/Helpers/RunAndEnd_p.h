// SPDX-License-Identifier: Apache-2.0
#pragma once

/// Calls run(), then end(), also when an exception or the end of the thread ends the former, which then goes on. An
/// exception of end() itself, which would end the application in a scope guard, reaches the caller.
template <typename Run, typename End>
void runAndEnd(Run run, End end)
{
    try {
        run();
    } catch (...) {
        end();
        throw;
    }
    end();
}
