// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

namespace Tools {

class StopSignals;

/// The stream of the reports. A reader that pauses or is gone neither blocks nor kills the program.
class StandardOutput
{
public:
    /// @param signals if given, those that end a wait for the reader
    explicit StandardOutput(StopSignals *signals = nullptr)
        : mSignals(signals)
    {
    }

    /// @return false when there is no use in going on: the reader is gone, the disk is full, or a signal has come
    bool write(const QByteArray &bytes);

    /// To be asked after a write that failed. Says what is wrong, unless a signal has come or the reader is gone.
    /// @return the exit code of the program
    int tellFailure() const;

private:
    bool waitUntilWritable();

    StopSignals *mSignals;
    int mError = 0; ///< errno of the write that failed, 0 if none did
};

} // namespace Tools
