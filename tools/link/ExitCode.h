// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Link {

enum ExitCode : int {
    AllSent = 0,
    SomeNotSent = 1, ///< a line of the input was wrong, or the connection was lost before all was sent
    WrongUsage = 64,
    CannotListen = 69,
    OutOfMemory = 71,
    NotWritten = 74, ///< stdout does not take the payloads
    StoppedBySignal = 128, ///< plus the number of the signal
};

} // namespace Link
