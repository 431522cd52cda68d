// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/BaseDirHelper.h"

namespace Tools {

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

} // namespace Tools
