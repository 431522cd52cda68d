// SPDX-License-Identifier: Apache-2.0
#include "Records/FaultOf_p.h"
#include "Records/StoreLock_p.h"

#include <QFile>
#include <QHash>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Records {

namespace {
constexpr mode_t ownerOnly = 0600; // who can open it can lock it
constexpr char mark[] = "A program writes into this store, or was ended while it did so.";
constexpr qint64 longestMark = 4096; // bytes

struct Registry
{
    QMutex mutex;
    QHash<QByteArray, std::weak_ptr<StoreLock>> locks; ///< by the identity of the folder
};

Registry &registry()
{
    static Registry instance;
    return instance;
}

/// Two paths may lead to one folder.
QByteArray identityOf(const QString &folder)
{
    struct stat status = {};
    if (stat(QFile::encodeName(folder).constData(), &status) != 0)
        return {};
    return QByteArray::number(static_cast<qulonglong>(status.st_dev)) + ':'
        + QByteArray::number(static_cast<qulonglong>(status.st_ino));
}

Problem problemOf(const QString &path, int error)
{
    if (error == EWOULDBLOCK)
        return {Fault::Busy, QStringLiteral("Another program writes into the store")};
    return {
        faultOf(error), QStringLiteral("Cannot write %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)))};
}

bool isRegular(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

/// @return a descriptor, or -1
int openLocked(const QString &path, Problem *problem)
{
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerOnly);
    const bool isFile = descriptor < 0 || isRegular(descriptor);
    if (descriptor >= 0 && isFile && flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return descriptor;
    *problem = isFile ? problemOf(path, errno) : Problem{Fault::Unusable, QStringLiteral("%1 is not a file").arg(path)};
    if (descriptor >= 0)
        close(descriptor);
    return -1;
}

/// Changes when the machine starts; empty when it is not known.
QByteArray bootId()
{
    QFile file(QStringLiteral("/proc/sys/kernel/random/boot_id"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

StoreLock::Interruption readNotes(int descriptor)
{
    QByteArray text(longestMark, '\0');
    const ssize_t size = pread(descriptor, text.data(), static_cast<std::size_t>(text.size()), 0);
    if (size <= 0)
        return {};
    text.truncate(static_cast<int>(size));
    QList<QByteArray> lines = text.split('\n');
    StoreLock::Interruption former{true, false, {}};
    const QByteArray boot = bootId();
    former.isOfThisBoot = !boot.isEmpty() && lines.value(1) == boot;
    former.pictures = lines.mid(2);
    return former;
}
} // namespace

StoreLock::StoreLock(int descriptor, const QString &path)
    : mDescriptor(descriptor)
    , mPath(path)
    , mInterruption(readNotes(descriptor))
{
}

void StoreLock::settle()
{
    if (mIsSettled)
        return;
    mIsSettled = true;
    mInterruption = {};
    note({}); // should there be no room for it, there will be none for a picture either
    fsync(mDescriptor);
}

bool StoreLock::note(const QList<QByteArray> &pictures) const
{
    const QByteArray names = mIsSettled ? pictures.join('\n') : QByteArray(anyPicture);
    const QByteArray text = QByteArray(mark) + '\n' + bootId() + '\n' + names;
    return pwrite(mDescriptor, text.constData(), static_cast<std::size_t>(text.size()), 0) == text.size()
        && ftruncate(mDescriptor, text.size()) == 0;
}

StoreLock::~StoreLock()
{
    // What was under way when the store was moved could not be taken back there.
    const bool isInPlace = identity() == FileIdentity::of(mPath);
    if (mIsSettled && isInPlace && ftruncate(mDescriptor, 0) == 0)
        fsync(mDescriptor);
    close(mDescriptor);
}

StoreLock::Turn::Turn(StoreLock &lock)
    : mLock(lock)
    , mIsOurs(lock.mWriter != std::this_thread::get_id())
{
    if (!mIsOurs)
        return;
    mLock.mWriting.lock();
    mLock.mWriter = std::this_thread::get_id();
}

StoreLock::Turn::~Turn()
{
    if (!mIsOurs)
        return;
    mLock.mWriter = std::thread::id();
    mLock.mWriting.unlock();
}

Problem StoreLock::Turn::problem() const
{
    return mIsOurs ? Problem() : Problem{Fault::Busy, QStringLiteral("This thread is writing into the store already")};
}

std::shared_ptr<StoreLock> StoreLock::take(const QString &folder, Problem *problem)
{
    const QMutexLocker locker(&registry().mutex);
    std::weak_ptr<StoreLock> &known = registry().locks[identityOf(folder)];
    const QString path = StoreFolder(folder).lock();
    std::shared_ptr<StoreLock> shared = known.lock();
    if (shared && shared->identity() == FileIdentity::of(path)) // and not removed meanwhile
        return shared;
    const int descriptor = openLocked(path, problem);
    if (descriptor < 0)
        return {};
    const std::shared_ptr<StoreLock> lock(new StoreLock(descriptor, path));
    known = lock;
    return lock;
}

void StoreLock::release(std::shared_ptr<StoreLock> &&lock)
{
    const QMutexLocker locker(&registry().mutex);
    lock.reset();
}

} // namespace Records
