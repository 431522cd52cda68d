// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

/// Where the tester works.
class WorkFolder
{
public:
    WorkFolder() = delete;

    /// The unit's folder below /opt, or one of the user who may not write there.
    static QString defaultPath();

    /// Makes what the library writes into, where BaseDirHelper says. Says in the log what cannot be made.
    static bool create();
};
