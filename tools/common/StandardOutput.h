// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

namespace Tools {

class StopSignals;

/// The stream of the reports. A reader that pauses or is gone neither blocks nor kills the program.
class StandardOutput
{
public:
    explicit StandardOutput(StopSignals *signals)
        : mSignals(signals)
    {
    }

    /// @return false when there is no use in going on: the reader is gone, the disk is full, or a signal has come
    bool write(const QByteArray &bytes);

    int error() const { return mError; } ///< errno of the write that failed, 0 if none did

private:
    bool waitUntilWritable();

    StopSignals *mSignals;
    int mError = 0;
};

} // namespace Tools
