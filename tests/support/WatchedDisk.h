// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

#include <functional>

/// The way from this program to its disk. A program that links VantorWatchedDisk has an fsync(), an fdatasync() and a
/// rename() that stand before those of the C library, also for all libraries that it has loaded.
struct WatchedDisk
{
    /// Is asked before a file or a folder is synced. What it answers is the error of the call, which does nothing then.
    std::function<int(int descriptor)> onSync;

    std::function<void()> onRename; ///< is called before a file gets its name

    static QString pathOf(int descriptor);
};

WatchedDisk &watchedDisk();
