// SPDX-License-Identifier: Apache-2.0
#include "TesterDirHelper.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {
constexpr char unitFolder[] = "/opt/vantor-tester";

bool isWritable(const QString &folder)
{
    const QFileInfo info(folder);
    return info.exists() ? info.isDir() && info.isWritable() : QFileInfo(info.path()).isWritable();
}
} // namespace

TesterDirHelper::TesterDirHelper(const QString &folder)
    : mFolder(QDir::cleanPath(folder))
{
}

QString TesterDirHelper::applicationDirName()
{
    return QDir(QStringLiteral("/opt")).relativeFilePath(mFolder);
}

QString TesterDirHelper::defaultFolder()
{
    const QString onUnit = QLatin1String(unitFolder);
    if (isWritable(onUnit))
        return onUnit;
    const QString ofUser = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return (ofUser.isEmpty() ? QDir::tempPath() : ofUser) + QStringLiteral("/vantor-tester");
}

bool TesterDirHelper::createFolders()
{
    bool isComplete = true;
    for (const QString &folder : {tmpDir(), fiberInspectionDir(), libDir()}) {
        const QString path = QDir::cleanPath(folder); // on the way round by /opt, which need not exist
        if (QDir().mkpath(path))
            continue;
        qWarning().noquote() << "cannot make the folder" << path;
        isComplete = false;
    }
    return isComplete;
}
