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

    /// Waits until the stream takes bytes without blocking, or fails. The signals, if this process turns them into
    /// something to wait for, end the waiting and are left to be received. @return false if nothing can be written
    static bool waitUntilWritable(int stream);

private:
    static inline const StopSignals *sOfProcess = nullptr;

    int mOwner; ///< a process; those forked from it have the same memory, but not this file descriptor
    int mFileDescriptor = -1;
    int mReceived = 0;
};

} // namespace Tools
