// SPDX-License-Identifier: Apache-2.0
#include "WorkFolder.h"

#include "Helpers/BaseDirHelper.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

namespace {
constexpr char unitFolder[] = "/opt/vantor-tester";

bool isWritable(const QString &folder)
{
    const QFileInfo info(folder);
    return info.isDir() && info.isWritable();
}
} // namespace

QString WorkFolder::defaultPath()
{
    const QString onUnit = QLatin1String(unitFolder);
    if (isWritable(onUnit))
        return onUnit;
    const QString ofUser = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    return (ofUser.isEmpty() ? QDir::tempPath() : ofUser) + QStringLiteral("/vantor-tester");
}

bool WorkFolder::create()
{
    bool isComplete = true;
    for (const QString &folder :
        {BaseDirHelper::tmpDir(), BaseDirHelper::fiberInspectionDir(), BaseDirHelper::libDir()}) {
        if (QDir().mkpath(folder))
            continue;
        qWarning().noquote() << "cannot make the folder" << QDir::cleanPath(folder);
        isComplete = false;
    }
    return isComplete;
}
