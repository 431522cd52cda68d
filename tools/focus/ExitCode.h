// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Focus {

/// The last three as sysexits.h counts them.
enum ExitCode : int {
    Found = 0, ///< the fibre, in at least one frame
    NeverFound = 1,
    WrongUsage = 64,
    UnreadableInput = 66, ///< and the fibre was not found in what could be read
    NotWritten = 74, ///< report or plot
};

} // namespace Focus
