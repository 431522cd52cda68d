// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Tools {

/// A folder of our own under the usual one for temporary files; gone with its owner.
class TemporaryFolder
{
public:
    /// @param program what the folder's name begins with
    explicit TemporaryFolder(const QString &program);
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    /// The usual folder for temporary files, whether or not it exists.
    static QString parentPath();

    bool isValid() const { return !mPath.isEmpty(); }
    QString path() const { return mPath; }

private:
    QString mPath;
};

} // namespace Tools
