// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Inspect {

/// When several apply: wrong usage, else something not analysed, else something failed.
enum ExitCode : int {
    AllPassed = 0,
    SomeFailed = 1,
    SomeNotAnalysed = 2,
    WrongUsage = 64,
    StoppedBySignal = 128, ///< plus the number of the signal
};

} // namespace Inspect
