// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/OutputFile.h"
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
    /// @param store the folder of the store, in which nothing is written
    Target(const QString &path, const QString &store, Tools::StopSignals *signals);

    bool open();
    bool write(const QByteArray &bytes); ///< false when there is no use in going on, also after a signal
    bool commit();

    /// To be asked after what failed. Says what is wrong, unless a signal has come or the reader is gone.
    /// @return the exit code of the program
    int tellFailure() const;

    /// Why nothing may be written there; empty where it may.
    static QString whyNotThere(const FileAccess::Place &place, const QString &store);

private:
    const QString mPath;
    const QString mStore;
    Tools::StopSignals *mSignals;
    Tools::StandardOutput mStandardOutput;
    std::optional<OutputFile> mFile;
    QString mRefusal; ///< why nothing may be written at the path
};

} // namespace RecordsTool
