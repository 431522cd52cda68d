// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/WholeFile_p.h"
#include "common/StandardOutput.h"

#include <optional>

namespace Tools {
class StopSignals;
}

namespace RecordsTool {

/// Where an export goes: a file, which is there whole or not at all, or stdout.
class Target
{
public:
    /// @param path empty for stdout
    Target(const QString &path, Tools::StopSignals *signals);

    bool open();
    bool write(const QByteArray &bytes); ///< false when there is no use in going on, also after a signal
    bool commit();

    /// To be asked after what failed. Says what is wrong, unless a signal has come or the reader is gone.
    /// @return the exit code of the program
    int tellFailure() const;

private:
    const QString mPath;
    Tools::StopSignals *mSignals;
    Tools::StandardOutput mStandardOutput;
    std::optional<WholeFile> mFile;
    bool mIsNoFile = false; ///< at the path is something else
};

} // namespace RecordsTool
