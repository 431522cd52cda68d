// SPDX-License-Identifier: Apache-2.0
#include "Helpers/WholeFile_p.h"

#include <QFileInfo>
#include <QRandomGenerator>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr char unfinished[] = ".unfinished-";

/// In the same folder. Short, because the name at the path may be as long as a name can be. The application's generator
/// is left alone: what is drawn from it does not depend on what is saved in between.
QString unfinishedPath(const QString &path)
{
    constexpr int base = 36;
    return QStringLiteral("%1/%2%3").arg(QFileInfo(path).path(), QLatin1String(unfinished),
        QString::number(QRandomGenerator::system()->generate64(), base));
}
} // namespace

WholeFile::WholeFile(const QString &path)
    : mPath(path)
    , mUnfinished(unfinishedPath(path))
{
}

WholeFile::~WholeFile()
{
    if (mUnfinished.isOpen())
        mUnfinished.remove();
}

bool WholeFile::open()
{
    return noted(mUnfinished.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered));
}

bool WholeFile::closeToOthers()
{
    constexpr mode_t permissionBits = 0777;
    struct stat former = {};
    struct stat own = {};
    if (stat(QFile::encodeName(mPath).constData(), &former) != 0)
        return noted(errno == ENOENT);
    return noted(fstat(mUnfinished.handle(), &own) == 0
        && fchmod(mUnfinished.handle(), own.st_mode & former.st_mode & permissionBits) == 0);
}

bool WholeFile::write(const QByteArray &piece)
{
    return noted(mUnfinished.write(piece) == piece.size());
}

bool WholeFile::commit()
{
    const QByteArray from = QFile::encodeName(mUnfinished.fileName());
    if (fsync(mUnfinished.handle()) != 0 || std::rename(from.constData(), QFile::encodeName(mPath).constData()) != 0)
        return noted(false);
    mUnfinished.close();
    noted(syncFolder(QFileInfo(mPath).path())); // after a power failure the folder has the new file, or none of it
    return true;
}

bool WholeFile::write(const QString &path, const QByteArray &content)
{
    WholeFile file(path);
    return file.open() && file.write(content) && file.commit();
}

bool WholeFile::isUnfinished(const QString &fileName)
{
    return fileName.startsWith(QLatin1String(unfinished));
}

bool WholeFile::syncFolder(const QString &folder)
{
    const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool isSynced = fsync(descriptor) == 0 || errno == EINVAL; // not every file system can
    ::close(descriptor);
    return isSynced;
}

bool WholeFile::noted(bool isDone)
{
    if (!isDone)
        mError = errno;
    return isDone;
}
