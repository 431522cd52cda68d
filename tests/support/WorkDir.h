// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/BaseDirHelper.h"

#include <QDir>
#include <QTemporaryDir>

/// While it lives, BaseDirHelper::workDir() is a fresh temporary folder with an empty tmp/ and data/. One per process.
class TemporaryWorkDir : public BaseDirHelper
{
public:
    TemporaryWorkDir()
    {
        QDir(path()).mkpath(QStringLiteral("tmp"));
        QDir(path()).mkpath(QStringLiteral("data"));
    }

    bool isValid() const { return mDir.isValid(); }

    /// The folder without the way round by /opt that workDir() takes; no slash at its end.
    QString path() const { return mDir.path(); }
    QString filePath(const QString &name) const { return mDir.filePath(name); }

    // The folder's path brings its own slash.
    QString applicationDirName() override { return QStringLiteral("..") + mDir.path(); }

private:
    QTemporaryDir mDir;
};
