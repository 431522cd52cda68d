// SPDX-License-Identifier: Apache-2.0
#include "common/TemporaryFolder.h"

#include "common/FilePath.h"

#include <QDir>
#include <QFile>

#include <cstdlib>

namespace Tools {

// QTemporaryDir would draw its name from Qt's random generator, and all processes forked later would share that state.
TemporaryFolder::TemporaryFolder(const QString &program)
{
    QByteArray name = QFile::encodeName(QStringLiteral("%1/%2-XXXXXX").arg(parentPath(), program));
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
    return chosen.isEmpty() ? QStringLiteral("/tmp") : QDir(FilePath::ofArgument(chosen)).absolutePath();
}

} // namespace Tools
