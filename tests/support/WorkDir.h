// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/AbsoluteBaseDir.h"

#include <QDir>
#include <QTemporaryDir>

/// While it lives, BaseDirHelper::workDir() is a fresh temporary folder with an empty tmp/ and data/. One per process.
class TemporaryWorkDir
{
public:
    TemporaryWorkDir()
    {
        QDir(path()).mkpath(QStringLiteral("tmp"));
        QDir(path()).mkpath(QStringLiteral("data"));
    }

    bool isValid() const { return mDir.isValid(); }

    /// The folder, without the slash that workDir() ends in.
    QString path() const { return mDir.path(); }
    QString filePath(const QString &name) const { return mDir.filePath(name); }

private:
    const QTemporaryDir mDir;
    const AbsoluteBaseDir mBaseDir{mDir.path()};
};
