// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tools {

/// How every program ends; docs/exit-codes.md tells users what each program means by it. Those from 64 to 78 are those
/// of sysexits.h.
enum ExitCode : int {
    Done = 0, ///< and the answer, if there is one, is yes
    NotPassed = 1, ///< the answer is no: failed, not found, not accepted, not sent
    NotAnswered = 2, ///< some of the input got no answer
    WrongUsage = 64,
    UnreadableInput = 66,
    Unavailable = 69, ///< what the work needs: a port, a place for temporary files, gnuplot
    OutOfMemory = 71,
    NotWritten = 74, ///< the answer, or a file
    StoppedBySignal = 128, ///< plus the number of the signal; SIGPIPE when nobody reads the answer any more
};

} // namespace Tools
