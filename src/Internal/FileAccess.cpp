// SPDX-License-Identifier: Apache-2.0
#include "Internal/FileAccess.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QThread>

#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace FileAccess {

namespace {
constexpr mode_t defaultMode = 0666; // the umask takes its part
constexpr mode_t folderMode = 0777; // as above
constexpr int folderOnly = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
constexpr int mostLinks = 40; // the kernel follows no more
constexpr int mostRounds = 100; // against somebody who has to win each of them
constexpr mode_t permissionBits = 07777;
constexpr int leasePatience = 500; // milliseconds, as the following
constexpr unsigned long leasePoll = 5;
constexpr char uniqueSuffix[] = ".XXXXXX"; // nobody can guess what takes its place
constexpr char unfinished[] = ".unfinished"; // before that: a copy may be called NAME.backup

struct stat statusOf(int descriptor)
{
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        status = {};
    return status;
}

/// The group of root is root as well.
bool isWritableByOthers(const struct stat &status)
{
    return (status.st_mode & S_IWOTH) != 0 || ((status.st_mode & S_IWGRP) != 0 && status.st_gid != 0);
}

/// Whether the last attempt has failed because a file server, say, has a lease on the file. It is told to give it up.
bool isLeased(const QByteArray &path)
{
    const int error = errno;
    struct stat status = {};
    const bool isRegular = error == EWOULDBLOCK && stat(path.constData(), &status) == 0 && S_ISREG(status.st_mode);
    errno = error;
    return isRegular;
}

int openPath(const QString &path, int flags, mode_t mode = 0)
{
    const QByteArray name = QFile::encodeName(path);
    const QDeadlineTimer patience(leasePatience);
    for (;;) {
        const int descriptor = ::open(name.constData(), flags | O_CLOEXEC | O_NOCTTY, mode);
        if (descriptor >= 0 || !isLeased(name) || patience.hasExpired())
            return descriptor;
        QThread::msleep(leasePoll);
    }
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

/// Whether it is one of the kernel's that lead to what has no path, as a pipe.
bool leadsNowhere(int folder, const QByteArray &link)
{
    struct statfs system = {};
    struct stat status = {};
    const int anchor = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const bool isKernels = anchor >= 0 && fstatfs(anchor, &system) == 0 && system.f_type == PROC_SUPER_MAGIC;
    if (anchor >= 0)
        ::close(anchor);
    return isKernels && fstatat(folder, link.constData(), &status, 0) == 0 && !S_ISREG(status.st_mode)
        && !S_ISDIR(status.st_mode);
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

bool isOwn(const struct stat &status)
{
    return status.st_uid == 0 || status.st_uid == geteuid();
}

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
    const QByteArray name = QFile::encodeName(info.fileName());
    const int descriptor = !isOpenToOthers(place)
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

bool isOpenToOthers(const struct stat &folder)
{
    return !isOwn(folder) || isWritableByOthers(folder);
}

bool isHeld(const struct stat &folder, const struct stat &entry)
{
    return !isOpenToOthers(folder) || ((folder.st_mode & S_ISVTX) != 0 && isOwn(folder) && isOwn(entry));
}

Place::Place(const QString &path, Missing missing)
    : mMissing(missing)
{
    const QByteArray bytes = QFile::encodeName(path);
    mError = bytes.isEmpty() ? ENOENT : bytes.contains('\0') ? EINVAL : 0;
    if (mError != 0)
        return;
    follow(missing == Missing::MakeFolders ? bytes + '/' : bytes);
    while (mFolder >= 0 && mName.isEmpty())
        goOn(mNames.takeFirst());
}

Place::~Place()
{
    moveTo(-1);
}

QString Place::path() const
{
    std::array<char, PATH_MAX> text = {};
    const QByteArray link = "/proc/self/fd/" + QByteArray::number(mFolder);
    const ssize_t size = mFolder < 0 ? -1 : ::readlink(link.constData(), text.data(), text.size());
    if (size <= 0)
        return {};
    const QString folder = QFile::decodeName(QByteArray(text.data(), static_cast<int>(size)));
    return mName == "." ? folder : withSlash(folder) + QFile::decodeName(mName);
}

QString Place::throughDescriptor() const
{
    return mFolder < 0 ? QString() : QStringLiteral("/proc/self/fd/%1/").arg(mFolder) + QFile::decodeName(mName);
}

QString Place::whyNoFile() const
{
    if (mIsPlanted)
        return QStringLiteral("another user has put a link there");
    if (mError == ELOOP)
        return QStringLiteral("it is a link without an end");
    return mIsThere && !isFile() ? QStringLiteral("it is not a file") : QString();
}

bool Place::isFile() const
{
    return mIsThere && S_ISREG(mStatus.st_mode);
}

bool Place::isFolder() const
{
    return mIsThere && S_ISDIR(mStatus.st_mode);
}

/// The last one is a dot after a slash, and where a link leads to the root.
void Place::follow(const QByteArray &path)
{
    if (path.startsWith('/') || mFolder < 0)
        moveTo(::open(path.startsWith('/') ? "/" : ".", folderOnly));
    if (mFolder < 0)
        mError = errno;
    QList<QByteArray> names = path.split('/');
    names.removeAll(QByteArray());
    if (path.endsWith('/'))
        names.append(".");
    mNames = names + mNames;
}

/// What is opened is what is looked at: the name may mean something else at any time.
void Place::goOn(const QByteArray &name)
{
    int entry = ::openat(mFolder, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (entry < 0 && errno == ENOENT && mMissing == Missing::MakeFolders
        && (::mkdirat(mFolder, name.constData(), folderMode) == 0 || errno == EEXIST))
        entry = ::openat(mFolder, name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (entry < 0) {
        if (errno == ENOENT && mNames.isEmpty())
            mName = name;
        else
            fail(errno);
        return;
    }
    mStatus = statusOf(entry);
    if (S_ISLNK(mStatus.st_mode) && !leadsNowhere(mFolder, name)) {
        goAlong(entry);
    } else if (mNames.isEmpty()) {
        mName = name;
        mIsThere = true;
    } else if (!S_ISDIR(mStatus.st_mode)) {
        fail(ENOTDIR);
    } else {
        mIsWayHeld = mIsWayHeld && (name == "." || name == ".." || isHeld(statusOf(mFolder), mStatus));
        moveTo(entry);
        return;
    }
    ::close(entry);
}

void Place::goAlong(int link)
{
    const struct stat folder = statusOf(mFolder);
    mIsLinked = mIsLinked || mNames.isEmpty();
    mIsWayHeld = mIsWayHeld && isHeld(folder, mStatus);
    mIsPlanted = !isOwn(mStatus) && isOpenToOthers(folder);
    std::array<char, PATH_MAX> text = {};
    const ssize_t size = ::readlinkat(link, "", text.data(), text.size());
    if (mIsPlanted)
        fail(EACCES);
    else if (size <= 0 || ++mLinks > mostLinks)
        fail(size < 0 ? errno : ELOOP);
    else
        follow(QByteArray(text.data(), static_cast<int>(size)));
}

void Place::fail(int error)
{
    mError = error;
    moveTo(-1);
}

void Place::moveTo(int folder)
{
    if (mFolder >= 0)
        ::close(mFolder);
    mFolder = folder;
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
