// SPDX-License-Identifier: Apache-2.0
#include "Helpers/FileAccess_p.h"

#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileAccess {

namespace {
constexpr mode_t defaultMode = 0666; // the umask takes its part
constexpr int mostRounds = 100; // against somebody who has to win each of them
constexpr mode_t permissionBits = 07777;
constexpr char uniqueSuffix[] = ".XXXXXX"; // nobody can guess what takes its place
constexpr char unfinished[] = ".unfinished"; // before that: a copy may be called NAME.backup

struct stat statusOf(int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        status = {};
    return status;
}

bool isOwn(const struct stat &status)
{
    return status.st_uid == 0 || status.st_uid == geteuid();
}

/// The group of root is root as well.
bool isWritableByOthers(const struct stat &status)
{
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && status.st_gid != 0);
}

int openPath(const QString &path, int flags, mode_t mode = 0)
{
    return ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NOCTTY, mode);
}

/// The descriptor belongs to the file then; it is closed if it cannot.
bool handOver(int descriptor, QFile *file, QIODevice::OpenMode mode)
{
    if (descriptor < 0)
        return false;
    if (file->open(descriptor, mode | QIODevice::Text, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

QString withSlash(const QString &path)
{
    return path.endsWith(QLatin1Char('/')) ? path : path + QLatin1Char('/');
}

int regularOrClosed(int descriptor)
{
    if (descriptor < 0 || S_ISREG(statusOf(descriptor).st_mode))
        return descriptor;
    ::close(descriptor);
    return -1;
}

Found classify(const struct stat &status)
{
    const bool isRegular = S_ISREG(status.st_mode);
    if (!isOwn(status) || S_ISLNK(status.st_mode) || isWritableByOthers(status) || (isRegular && status.st_nlink != 1))
        return Found::Planted;
    return isRegular ? Found::Ours : Found::Unusable;
}

Found classifyUnopened(const QByteArray &path)
{
    struct stat status = {};
    if (lstat(path.constData(), &status) != 0)
        return errno == ENOENT ? Found::Nothing : Found::Unusable;
    return classify(status) == Found::Planted ? Found::Planted : Found::Unusable;
}

/// A folder cannot be replaced by a file. One of another user changes places with it, and keeps all that it holds under
/// the name that nobody else knew.
bool changePlaces(const QByteArray &from, const QByteArray &to)
{
    struct stat status = {};
    const bool isTheirs = lstat(to.constData(), &status) != 0 || !isOwn(status);
    if (!isTheirs) {
        errno = EISDIR;
        return false;
    }
    if (renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_EXCHANGE) != 0)
        return false;
    qWarning().noquote() << "Moved a folder of another user aside:" << QFile::decodeName(to);
    return true;
}

/// What is renamed takes the place of all but a folder. Others may take away and put there what they want meanwhile, so
/// both ways are tried in turn; each of them takes the place at once.
bool renameOver(const QByteArray &from, const QByteArray &to)
{
    for (int round = 0; round < mostRounds; ++round) {
        if (::rename(from.constData(), to.constData()) == 0)
            return true;
        if (errno != EISDIR)
            return false;
        if (changePlaces(from, to))
            return true;
        if (errno != ENOENT)
            return false;
    }
    return false;
}

bool syncFolderOf(const QByteArray &path)
{
    const QByteArray folder = path.left(path.lastIndexOf('/') + 1);
    const int descriptor = ::open(folder.isEmpty() ? "." : folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool isSynced = fsync(descriptor) == 0 || errno == EINVAL; // not every file system can
    ::close(descriptor);
    return isSynced;
}

bool isAlready(const QString &path, const QByteArray &bytes, mode_t mode)
{
    QFile file;
    if (!handOver(regularOrClosed(openPath(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW)), &file, QIODevice::ReadOnly))
        return false;
    file.setTextModeEnabled(false); // every byte counts
    const struct stat status = statusOf(file.handle());
    QByteArray present;
    const bool isWritable = access(QFile::encodeName(path).constData(), W_OK) == 0; // not on a read-only disk
    return isWritable && classify(status) == Found::Ours && (status.st_mode & permissionBits) == mode
        && readAll(&file, bytes.size(), &present) && present == bytes;
}

bool writeAside(int descriptor, const QByteArray &bytes, mode_t mode)
{
    QFile file;
    return handOver(descriptor, &file, QIODevice::WriteOnly) && fchmod(file.handle(), mode) == 0
        && writeThrough(&file, bytes);
}

bool failed(const QString &path, int error)
{
    qWarning().noquote()
        << QStringLiteral("Failed to replace %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)));
    return false;
}
} // namespace

bool openRegular(const QString &path, QFile *file)
{
    return handOver(regularOrClosed(openPath(path, O_RDONLY | O_NONBLOCK)), file, QIODevice::ReadOnly);
}

bool openLinked(const QString &path, QFile *file)
{
    struct stat link = {};
    if (lstat(QFile::encodeName(path).constData(), &link) != 0 || !S_ISLNK(link.st_mode) || !isOwn(link)
        || !openRegular(path, file))
        return false;
    if (isOwn(statusOf(file->handle())))
        return true;
    file->close();
    return false;
}

bool openForeign(const QString &path, QFile *file)
{
    const QFileInfo info(path);
    const int folder = openPath(info.path(), O_PATH | O_DIRECTORY);
    if (folder < 0)
        return false;
    const struct stat place = statusOf(folder);
    const bool isClosed = isOwn(place) && !isWritableByOthers(place);
    const QByteArray name = QFile::encodeName(info.fileName());
    const int descriptor = isClosed
        ? regularOrClosed(::openat(folder, name.constData(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC | O_NOCTTY))
        : -1;
    ::close(folder);
    if (descriptor < 0 || !isWritableByOthers(statusOf(descriptor)))
        return handOver(descriptor, file, QIODevice::ReadOnly);
    ::close(descriptor);
    return false;
}

Found openOurs(const QString &path, QFile *file)
{
    // What was opened is what is looked at: a name may mean something else at any time.
    const int descriptor = openPath(path, O_RDONLY | O_NONBLOCK | O_NOFOLLOW);
    const Found found = descriptor < 0 ? classifyUnopened(QFile::encodeName(path)) : classify(statusOf(descriptor));
    if (found == Found::Planted)
        qWarning().noquote() << "Others could have written" << path;
    if (found == Found::Ours)
        return handOver(descriptor, file, QIODevice::ReadOnly) ? Found::Ours : Found::Unusable;
    if (descriptor >= 0)
        ::close(descriptor);
    return found;
}

bool isNothing(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) != 0 && errno == ENOENT;
}

bool isOwnFile(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode) && isOwn(status);
}

bool isWithin(const QString &path, const QString &folder)
{
    const QFileInfo outer(folder);
    QFileInfo info(QFileInfo(path).absoluteFilePath());
    while (!info.exists() && !info.isRoot())
        info.setFile(info.path());
    return outer.exists() && withSlash(info.canonicalFilePath()).startsWith(withSlash(outer.canonicalFilePath()));
}

bool isPlanted(const QString &path)
{
    struct stat status = {};
    const QByteArray name = QFile::encodeName(path);
    if (lstat(name.constData(), &status) != 0 || isOwn(status))
        return false;
    const QByteArray folder = name.left(name.lastIndexOf('/') + 1);
    return stat(folder.isEmpty() ? "." : folder.constData(), &status) != 0 || isWritableByOthers(status);
}

bool openForWriting(const QString &path, Existing existing, QFile *file)
{
    const bool appends = existing == Existing::Append;
    const int descriptor =
        openPath(path, O_WRONLY | O_CREAT | O_NONBLOCK | (appends ? O_APPEND : O_TRUNC), defaultMode);
    if (descriptor >= 0 && !S_ISFIFO(statusOf(descriptor).st_mode))
        fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return handOver(descriptor, file, appends ? QIODevice::WriteOnly | QIODevice::Append : QIODevice::WriteOnly);
}

bool createNew(const QString &path, QFile *file, mode_t mode)
{
    const QByteArray name = QFile::encodeName(path);
    QByteArray aside = name + unfinished + uniqueSuffix;
    const int descriptor = mkostemp(aside.data(), O_CLOEXEC); // at the path itself others could always come first
    if (descriptor < 0)
        return false;
    fchmod(descriptor, mode);
    if (renameOver(aside, name))
        return handOver(descriptor, file, QIODevice::WriteOnly);
    ::close(descriptor);
    ::unlink(aside.constData());
    return false;
}

bool replace(const QString &path, const QByteArray &bytes, mode_t mode)
{
    if (isAlready(path, bytes, mode))
        return true;
    const QByteArray name = QFile::encodeName(path);
    QByteArray aside = name + unfinished + uniqueSuffix;
    const int descriptor = mkostemp(aside.data(), O_CLOEXEC);
    if (descriptor < 0)
        return failed(path, errno);
    if (!writeAside(descriptor, bytes, mode) || !renameOver(aside, name)) {
        const int error = errno;
        ::unlink(aside.constData());
        return failed(path, error);
    }
    return syncFolderOf(name) || failed(path, errno);
}

void removeUnfinished(const QString &path)
{
    const QFileInfo info(path);
    const QDir folder = info.absoluteDir();
    const QString start = info.fileName() + QLatin1String(unfinished) + QLatin1Char('.');
    const int length = info.fileName().size() + static_cast<int>(std::strlen(unfinished) + std::strlen(uniqueSuffix));
    const QStringList names = folder.entryList(QDir::Files | QDir::Hidden);
    for (const QString &name : names) {
        if (name.size() == length && name.startsWith(start) && isOwnFile(folder.filePath(name)))
            QFile::remove(folder.filePath(name));
    }
}

bool writeThrough(QFile *file, const QByteArray &bytes)
{
    return file->write(bytes) == bytes.size() && file->flush() && fsync(file->handle()) == 0;
}

bool readAll(QFile *file, qint64 limit, QByteArray *bytes)
{
    *bytes = file->read(limit + 1);
    return bytes->size() <= limit && file->error() == QFileDevice::NoError;
}

} // namespace FileAccess
