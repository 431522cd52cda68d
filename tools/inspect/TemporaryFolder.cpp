// SPDX-License-Identifier: Apache-2.0
#include "TemporaryFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cstdlib>

namespace Inspect {

// QTemporaryDir would draw its name from Qt's random generator, and all processes forked later would share that state.
TemporaryFolder::TemporaryFolder()
{
    QByteArray name = QFile::encodeName(parentPath() + QStringLiteral("/vantor-inspect-XXXXXX"));
    if (mkdtemp(name.data()))
        mPath = QFile::decodeName(name);
}

TemporaryFolder::~TemporaryFolder()
{
    if (isValid())
        QDir(mPath).removeRecursively();
}

// QDir::tempPath() is empty, and so the root folder, when $TMPDIR does not exist.
QString TemporaryFolder::parentPath()
{
    const QString chosen = qEnvironmentVariable("TMPDIR");
    return chosen.isEmpty() ? QStringLiteral("/tmp") : QDir(chosen).absolutePath();
}

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

} // namespace Inspect
