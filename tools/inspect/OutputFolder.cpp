// SPDX-License-Identifier: Apache-2.0
#include "OutputFolder.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace Inspect {

namespace {
QString partSuffix()
{
    return QStringLiteral(".vantor-inspect.part");
}

std::filesystem::path nativePath(const QString &path)
{
    return QFile::encodeName(path).toStdString();
}

/// Renames the file, or copies it where the target is on another device.
std::error_code moveFile(const QString &from, const QString &to)
{
    std::error_code error;
    std::filesystem::rename(nativePath(from), nativePath(to), error);
    if (error != std::errc::cross_device_link)
        return error;

    const std::filesystem::path part = nativePath(to + partSuffix());
    std::filesystem::remove(part, error); // a link planted there must not be followed
    std::filesystem::copy_file(nativePath(from), part, error);
    if (!error)
        std::filesystem::rename(part, nativePath(to), error);
    std::error_code ignored;
    std::filesystem::remove(error ? part : nativePath(from), ignored);
    return error;
}

bool move(const QString &from, const QString &to, QString *problem)
{
    const std::error_code error = moveFile(from, to);
    if (error)
        *problem = QStringLiteral("cannot write %1: %2").arg(to, QString::fromStdString(error.message()));
    return !error;
}
} // namespace

OutputFolder::OutputFolder(const QString &path)
    : mPath(path)
{
}

bool OutputFolder::prepare(QString *problem) const
{
    const QFileInfo folder(mPath);
    if (folder.exists() && !folder.isDir())
        *problem = QStringLiteral("%1 is not a folder").arg(mPath);
    else if (!QDir().mkpath(mPath))
        *problem = QStringLiteral("cannot create the folder %1").arg(mPath);
    else if (!QFileInfo(mPath).isWritable() || !QFileInfo(mPath).isExecutable())
        *problem = QStringLiteral("cannot write into the folder %1").arg(mPath);
    return problem->isEmpty();
}

QString OutputFolder::takeResultImage(const QString &file, const QString &outputName, QString *problem) const
{
    const QString target = QDir(mPath).filePath(outputName + resultSuffix());
    return move(file, target, problem) ? target : QString();
}

bool OutputFolder::takeStepImages(const QString &folder, const QString &outputName, QString *problem) const
{
    const QDir steps(folder);
    const QStringList names = steps.entryList(QDir::Files | QDir::Hidden);
    return std::all_of(names.cbegin(), names.cend(), [&](const QString &name) {
        return !name.startsWith(outputName + QLatin1Char('_'))
            || move(steps.filePath(name), QDir(mPath).filePath(name), problem);
    });
}

void OutputFolder::removePartsOf(const QString &outputName) const
{
    if (!keepsImages())
        return;
    QDir folder(mPath);
    const QStringList names = folder.entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        if (name.startsWith(outputName + QLatin1Char('_')) && name.endsWith(partSuffix()))
            folder.remove(name);
    }
}

QString OutputFolder::resultSuffix()
{
    return QStringLiteral("_result.jpg");
}

} // namespace Inspect
