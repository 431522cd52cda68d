// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tools {

/// Turns the signals that ask the program to stop into something to wait for. There are no handlers: the signals stay
/// blocked and are read from a file descriptor. Those that were ignored at the start, as under nohup, stay so.
class StopSignals
{
public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals &) = delete;
    StopSignals &operator=(const StopSignals &) = delete;

    int fileDescriptor() const { return mFileDescriptor; } ///< readable when a signal has come

    /// The first signal that has come, 0 as long as there is none.
    int received();

private:
    int mFileDescriptor = -1;
    int mReceived = 0;
};

} // namespace Tools
