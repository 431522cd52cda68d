// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Net {

/// The last two as sysexits.h counts them.
enum ExitCode : int {
    Done = 0,
    NotDone = 1, ///< failed, not found, or not accepted
    WrongUsage = 64, ///< also without the --yes that a change needs
    NotWritten = 74, ///< the report
};

} // namespace Net
