// SPDX-License-Identifier: Apache-2.0
#include "Helpers/FormerArchive_p.h"

#include <QDeadlineTimer>
#include <QDebug>
#include <QFile>
#include <QMutex>
#include <QThread>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

namespace {
constexpr mode_t permissionBits = 0777;
constexpr mode_t otherThanGroupBits = 0707;
constexpr mode_t plainFileBits = 0666; // less what the umask takes
constexpr mode_t ownBits = 0600;

constexpr unsigned long writingPoll = 50; // milliseconds

constexpr std::size_t blockSize = 512; // bytes of tar's header, as the following
constexpr std::size_t sumStart = 148;
constexpr std::size_t sumSize = 8;
using Block = std::array<char, blockSize>;

QString takenMeanwhile()
{
    return QStringLiteral("Something else has taken the name of the archive: ");
}

bool isSame(int descriptor, const struct stat &status)
{
    struct stat own = {};
    return fstat(descriptor, &own) == 0 && own.st_dev == status.st_dev && own.st_ino == status.st_ino;
}

/// The sum of the bytes stands among them, in octal digits, and counts as blanks itself. The end of an archive is a
/// block of zeros.
bool isTarBlock(const Block &block)
{
    if (std::all_of(block.begin(), block.end(), [](char byte) { return byte == 0; }))
        return true;
    long sum = 0;
    for (std::size_t i = 0; i < blockSize; ++i)
        sum += i >= sumStart && i < sumStart + sumSize ? ' ' : static_cast<unsigned char>(block.at(i));
    const QByteArray digits(block.data() + sumStart, sumSize);
    return std::strtol(digits.constData(), nullptr, 8) == sum;
}
} // namespace

FormerArchive::FormerArchive(const FileAccess::Place &place, const QDeadlineTimer &patience)
    : mPlace(place)
    , mPath(QFile::encodeName(place.throughDescriptor()))
    , mFolder(mPath.left(mPath.lastIndexOf('/') + 1))
{
    if (place.folder() < 0) {
        if (!place.isWayHeld()) // by others, it could be led anywhere before tar comes
            fail(QStringLiteral("There is no folder for the archive: "));
        return;
    }
    if (fstat(place.folder(), &mFolderStatus) == 0)
        mIsOpen = FileAccess::isOpenToOthers(mFolderStatus);
    while (!lookUnlessWritten()) {
        if (patience.hasExpired()) {
            fail(QStringLiteral("Another archive of that name is being written: "));
            return;
        }
        QThread::msleep(writingPoll);
    }
}

FormerArchive::~FormerArchive()
{
    if (mNewOne >= 0)
        ::close(mNewOne);
}

QString FormerArchive::nameOf(const QByteArray &path)
{
    return QFile::decodeName(path.mid(path.lastIndexOf('/') + 1));
}

void FormerArchive::fail(const QString &problem)
{
    mProblem = problem;
}

bool FormerArchive::lookUnlessWritten()
{
    static QMutex looking; // until the new one is locked
    const QMutexLocker locker(&looking);
    if (isBeingWritten())
        return false;
    look();
    return true;
}

void FormerArchive::look()
{
    struct stat status = {};
    if (lstat(mPath.constData(), &status) != 0)
        begin(plainFileBits);
    else if (S_ISREG(status.st_mode))
        setAside(status);
    else if (S_ISLNK(status.st_mode) && (!mPlace.isThere() || mPlace.isFile())) // since the place was found
        fail(takenMeanwhile());
    else
        stayInPlace(status, EPERM); // a device or a pipe
}

/// Only who may write the file can lock it so.
bool FormerArchive::isBeingWritten() const
{
    const int file = ::open(mPath.constData(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    struct stat status = {};
    const bool isThere = file >= 0 && fstat(file, &status) == 0;
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    const bool isAnybodys = (status.st_mode & (S_IWGRP | S_IWOTH)) != 0 || !FileAccess::isOwn(status);
    const bool isLocked = isThere && S_ISREG(status.st_mode) && !(mIsOpen && isAnybodys)
        && fcntl(file, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    if (file >= 0)
        ::close(file);
    return isLocked;
}

int FormerArchive::descriptor() const
{
    struct stat status = {};
    const bool isHeld = mPlace.isWayHeld()
        && (!mIsOpen || (mNewOne >= 0 && fstat(mNewOne, &status) == 0 && FileAccess::isHeld(mFolderStatus, status)));
    return isHeld ? -1 : mNewOne;
}

bool FormerArchive::isNewOneThere() const
{
    struct stat made = {};
    struct stat present = {};
    return mNewOne >= 0 && fstat(mNewOne, &made) == 0 && lstat(mPath.constData(), &present) == 0
        && made.st_dev == present.st_dev && made.st_ino == present.st_ino;
}

void FormerArchive::setAside(const struct stat &status)
{
    QByteArray aside = mFolder + ".archive.XXXXXX";
    const int name = mkostemp(aside.data(), O_CLOEXEC);
    if (name < 0) {
        stayInPlace(status, errno);
        return;
    }
    ::close(name);
    if (::rename(mPath.constData(), aside.constData()) != 0) {
        const int error = errno;
        ::unlink(aside.constData());
        stayInPlace(status, error);
        return;
    }
    mAside = aside;
    struct stat moved = {};
    if (lstat(aside.constData(), &moved) != 0 || !S_ISREG(moved.st_mode)) { // since it was looked at
        fail(takenMeanwhile());
        putBack();
        return;
    }
    const bool isLikeFormer = !mIsOpen || (FileAccess::isOwn(moved) && moved.st_nlink == 1);
    begin(isLikeFormer ? ownBits : plainFileBits);
    if (isLikeFormer)
        giveAway(moved);
    if (!mProblem.isEmpty())
        putBack();
}

/// The folder may be closed to us where the archive is not. What was looked at is what tar gets.
void FormerArchive::stayInPlace(const struct stat &status, int error)
{
    mIsInPlace = true;
    mNewOne = ::open(mPath.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (error != EACCES && error != EPERM && error != EROFS)
        fail(QStringLiteral("Failed to set the former archive aside: "));
    else if (mIsOpen && !FileAccess::isOwn(status))
        fail(ofAnotherUser());
    else if (!isNewOneThere() || !isSame(mNewOne, status))
        fail(takenMeanwhile());
}

void FormerArchive::begin(mode_t mode)
{
    mNewOne = ::open(mPath.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
    if (mNewOne < 0 && errno == EEXIST)
        fail(takenMeanwhile());
    else if (mNewOne < 0 && (mIsOpen || !mPlace.isWayHeld())) // tar must not try by the name
        fail(QStringLiteral("Failed to begin the archive: "));
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    if (mNewOne >= 0)
        fcntl(mNewOne, F_OFD_SETLK, &lock); // not every file system can
}

/// The new one shall be readable for all who could read the former one, and for nobody else.
void FormerArchive::giveAway(const struct stat &former) const
{
    if (mNewOne < 0)
        return;
    const bool hasOwner = fchown(mNewOne, former.st_uid, former.st_gid) == 0;
    const bool hasGroup = hasOwner || fchown(mNewOne, static_cast<uid_t>(-1), former.st_gid) == 0;
    fchmod(mNewOne, former.st_mode & (hasGroup ? permissionBits : otherThanGroupBits));
}

void FormerArchive::putBack()
{
    if (!mAside.isEmpty()) {
        if (::rename(mAside.constData(), mPath.constData()) != 0)
            qWarning().noquote() << "The former archive is now" << mPlace.path() << "as" << nameAside();
    } else if (!mIsInPlace && isNewOneThere()) {
        ::unlink(mPath.constData());
    }
    mAside.clear();
}

bool FormerArchive::makeRoom()
{
    if (mIsInPlace || mNewOne < 0)
        return true;
    if (!isNewOneThere())
        fail(takenMeanwhile());
    else if (!hasNewOneBytes() && !mAside.isEmpty())
        fail(QStringLiteral("tar has written nothing into the archive: "));
    else if (!mAside.isEmpty() && !isNewOneOnDisk())
        fail(QStringLiteral("Failed to bring the archive to the disk: "));
    else if (!hasNewOneBytes())
        ::unlink(mPath.constData());
    if (!mProblem.isEmpty())
        putBack();
    else if (!mAside.isEmpty())
        ::unlink(mAside.constData());
    return mProblem.isEmpty();
}

bool FormerArchive::hasNewOneBytes() const
{
    struct stat status = {};
    return fstat(mNewOne, &status) == 0 && status.st_size > 0;
}

/// Or a power failure would cost both.
bool FormerArchive::isNewOneOnDisk() const
{
    return fsync(mNewOne) == 0 || errno == EINVAL; // not every file system can
}

bool FormerArchive::isArchive(const QString &path)
{
    QFile file;
    if (!FileAccess::openRegular(path, &file))
        return false;
    const int descriptor = fcntl(file.handle(), F_DUPFD_CLOEXEC, 0);
    gzFile stream = descriptor < 0 ? nullptr : gzdopen(descriptor, "rb");
    if (!stream) {
        if (descriptor >= 0)
            ::close(descriptor);
        return false;
    }
    Block block = {};
    int error = Z_OK;
    const int count = gzread(stream, block.data(), blockSize);
    gzerror(stream, &error);
    const bool isPacked = gzdirect(stream) == 0;
    const bool isCutOff = error == Z_BUF_ERROR; // by a power failure
    gzclose_r(stream);
    return isPacked && (count == static_cast<int>(blockSize) ? isTarBlock(block) : isCutOff);
}
