// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

/// Where the tester works.
class WorkFolder
{
public:
    WorkFolder() = delete;

    /// The unit's folder below /opt where there is one that may be written to, or else one in the user's data folder.
    static QString defaultPath();

    /// Makes what the library writes into, where BaseDirHelper says. Says in the log what cannot be made.
    static bool create();
};
