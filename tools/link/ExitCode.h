// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Link {

enum ExitCode : int {
    AllSent = 0,
    SomeNotSent = 1, ///< a line of the input was wrong, or something was not sent: lost with the connection, or not
                     ///< read by the peer
    WrongUsage = 64,
    CannotListen = 69,
    OutOfMemory = 71,
    NotWritten = 74, ///< stdout does not take the payloads
    StoppedBySignal = 128, ///< plus the number of the signal
};

} // namespace Link
