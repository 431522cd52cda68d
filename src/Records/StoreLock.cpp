// SPDX-License-Identifier: Apache-2.0
#include "Records/StoreFolder_p.h"
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
constexpr mode_t ownerWrites = 0644;
constexpr char mark[] = "A program writes into this store, or was ended while it did so.\n";

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
    const Fault fault = error == ENOSPC || error == EDQUOT    ? Fault::DiskFull
        : error == EROFS || error == EACCES || error == EPERM ? Fault::ReadOnly
                                                              : Fault::Unusable;
    return {fault, QStringLiteral("Cannot write %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)))};
}

/// @return a descriptor, or -1
int openLocked(const QString &path, Problem *problem)
{
    const int descriptor =
        open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, ownerWrites);
    if (descriptor >= 0 && flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return descriptor;
    *problem = problemOf(path, errno);
    if (descriptor >= 0)
        close(descriptor);
    return -1;
}
} // namespace

StoreLock::StoreLock(int descriptor)
    : mDescriptor(descriptor)
    , mWasInterrupted(lseek(descriptor, 0, SEEK_END) > 0)
{
    // Whether the mark gets there on a full disk does not matter: there, nothing is left behind that could be swept.
    const bool isMarked = mWasInterrupted || write(mDescriptor, mark, sizeof mark - 1) > 0;
    if (isMarked)
        fsync(mDescriptor);
}

StoreLock::~StoreLock()
{
    if (ftruncate(mDescriptor, 0) == 0)
        fsync(mDescriptor);
    close(mDescriptor);
}

std::shared_ptr<StoreLock> StoreLock::take(const QString &folder, Problem *problem)
{
    const QMutexLocker locker(&registry().mutex);
    std::weak_ptr<StoreLock> &known = registry().locks[identityOf(folder)];
    if (std::shared_ptr<StoreLock> shared = known.lock())
        return shared;
    const int descriptor = openLocked(StoreFolder(folder).lock(), problem);
    if (descriptor < 0)
        return {};
    const std::shared_ptr<StoreLock> lock(new StoreLock(descriptor));
    known = lock;
    return lock;
}

void StoreLock::release(std::shared_ptr<StoreLock> &&lock)
{
    const QMutexLocker locker(&registry().mutex);
    lock.reset();
}

} // namespace Records
