// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/BaseDirHelper.h"

namespace Inspect {

/// A folder of our own under the usual one for temporary files; gone with its owner.
class TemporaryFolder
{
public:
    TemporaryFolder();
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

/// The work directory of one process of the analysis, anywhere in the file system.
class WorkDir : public BaseDirHelper
{
public:
    /// Creates the folder, with what the analysis needs in it.
    explicit WorkDir(const QString &path);

    QString applicationDirName() override;

    QString stepsFolder() const { return mPath + QStringLiteral("/steps"); }

private:
    QString mPath;
};

} // namespace Inspect
