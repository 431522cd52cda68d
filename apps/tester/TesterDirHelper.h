// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/BaseDirHelper.h"

#include <QString>

/// The tester's work directory. Has to be the first object of the application.
class TesterDirHelper : public BaseDirHelper
{
public:
    /// @param folder absolute; made by createFolders()
    explicit TesterDirHelper(const QString &folder = defaultFolder());

    /// The folder as a way from /opt, where every work directory starts.
    QString applicationDirName() override;

    /// The unit's folder below /opt, or one of the user who may not write there.
    static QString defaultFolder();

    /// Makes what the library writes into. Says in the log what cannot be made.
    static bool createFolders();

private:
    const QString mFolder;
};
