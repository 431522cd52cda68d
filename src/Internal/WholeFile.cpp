// SPDX-License-Identifier: Apache-2.0
#include "Internal/WholeFile.h"

#include <QFileInfo>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr char unfinished[] = ".unfinished-";
constexpr time_t longestWrite = 3600; // seconds; who has written for less may still be at it

constexpr int longestNumber = 13; // digits of 64 bits, with letters among them

/// In the same folder. Short, because the name at the path may be as long as a name can be. The application's generator
/// is left alone: what is drawn from it does not depend on what is saved in between.
QString unfinishedPath(const QString &path)
{
    constexpr int base = 36;
    return QStringLiteral("%1/%2%3").arg(QFileInfo(path).path(), QLatin1String(unfinished),
        QString::number(QRandomGenerator::system()->generate64(), base));
}

bool isAbandoned(int folder, const char *name)
{
    struct stat status = {};
    return WholeFile::isUnfinished(QFile::decodeName(name)) && fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) == 0
        && S_ISREG(status.st_mode) && status.st_uid == geteuid() && time(nullptr) - status.st_mtime > longestWrite;
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

bool WholeFile::respectFormer()
{
    constexpr mode_t permissionBits = 0777;
    const QByteArray path = QFile::encodeName(mPath);
    struct stat former = {};
    struct stat own = {};
    if (stat(path.constData(), &former) != 0)
        return noted(errno == ENOENT);
    return noted(faccessat(AT_FDCWD, path.constData(), W_OK, AT_EACCESS) == 0 && fstat(mUnfinished.handle(), &own) == 0
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
    mIsThere = true;
    noted(syncFolder(QFileInfo(mPath).path())); // after a power failure the folder has the new file, or none of it
    return true;
}

QString WholeFile::reason() const
{
    const QString text = QString::fromLocal8Bit(std::strerror(mError));
    return mIsThere ? QStringLiteral("it is there, but the disk does not confirm it: ") + text : text;
}

bool WholeFile::write(const QString &path, const QByteArray &content)
{
    WholeFile file(path);
    return file.open() && file.write(content) && file.commit();
}

bool WholeFile::isUnfinished(const QString &fileName)
{
    static const QRegularExpression pattern(
        QStringLiteral("\\A%1[0-9a-z]{1,%2}\\z").arg(QLatin1String(unfinished)).arg(longestNumber));
    return pattern.match(fileName).hasMatch();
}

int WholeFile::sweep(const QString &folder)
{
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(opendir(QFile::encodeName(folder).constData()), closedir);
    int removed = 0;
    while (const dirent *entry = entries ? readdir(entries.get()) : nullptr) {
        if (isAbandoned(dirfd(entries.get()), entry->d_name) && unlinkat(dirfd(entries.get()), entry->d_name, 0) == 0)
            ++removed;
    }
    return removed;
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
