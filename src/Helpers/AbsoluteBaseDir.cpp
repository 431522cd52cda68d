// SPDX-License-Identifier: Apache-2.0
#include "Helpers/AbsoluteBaseDir.h"

#include <QDir>

namespace {
QString withSlash(const QString &folder)
{
    return folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');
}
} // namespace

AbsoluteBaseDir::AbsoluteBaseDir(const QString &folder)
    : BaseDirHelper(withSlash(QDir::cleanPath(QDir(folder).absolutePath())))
{
}

QString AbsoluteBaseDir::applicationDirName()
{
    return QDir(QStringLiteral("/opt")).relativeFilePath(absoluteWorkDir());
}
