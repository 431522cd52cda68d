// SPDX-License-Identifier: Apache-2.0
#include "WorkDir.h"

#include <QDir>
#include <QFileInfo>

namespace Tools {

WorkDir::WorkDir(const QString &path)
    : mPath(path)
{
    QDir().mkpath(tmpDir());
    QDir().mkpath(stepsFolder());
}

QString WorkDir::applicationDirName()
{
    // The library puts the name behind "/opt/", which may be a link.
    const QString parent = QFileInfo(QStringLiteral("/opt")).canonicalFilePath();
    return QDir(parent).relativeFilePath(QDir(mPath).absolutePath());
}

} // namespace Tools
