// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/BaseDirHelper.h"

/// A work directory that may lie anywhere: for programs that do not live under /opt, and for tests. Ready to use: to be
/// constructed before anything asks for a path, and to outlive all that does.
class VANTORBASE_EXPORT AbsoluteBaseDir : public BaseDirHelper
{
public:
    /// @param folder is not created. A relative one counts from the folder that is current now.
    explicit AbsoluteBaseDir(const QString &folder);

    /// The way to the folder from /opt. Paths do not take it: /opt need not be there, or may be a link.
    QString applicationDirName() override;
};
