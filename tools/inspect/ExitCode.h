// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Inspect {

/// When several apply: wrong usage, else something not written, else something not analysed, else something failed.
/// Those from 64 to 78 as sysexits.h counts them.
enum ExitCode : int {
    AllPassed = 0,
    SomeFailed = 1,
    SomeNotAnalysed = 2, ///< or left out of a folder
    WrongUsage = 64,
    NoMeans = 69, ///< to analyse anything: there is no place for temporary files
    NotWritten = 74, ///< a report or a picture
    StoppedBySignal = 128, ///< plus the number of the signal
};

} // namespace Inspect
