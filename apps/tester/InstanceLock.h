// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

/// One program at a time works on a folder. The kernel keeps the lock: it ends with the program, however that comes,
/// and what the file says counts for nothing. The folder itself is locked as well where that can be, for the file may
/// be removed.
class InstanceLock
{
public:
    /// @param folder has to be there
    explicit InstanceLock(const QString &folder);
    ~InstanceLock();
    InstanceLock(const InstanceLock &) = delete;
    InstanceLock &operator=(const InstanceLock &) = delete;

    bool isHeld() const { return mProblem.isEmpty(); }
    QString problem() const { return mProblem; } ///< why it is not, in one line

private:
    QString lockFile(const QString &path);
    bool isOthersFolder(const QString &folder);

    int mFile = -1;
    int mFolder = -1;
    QString mProblem;
};
