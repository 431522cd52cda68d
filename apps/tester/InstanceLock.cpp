// SPDX-License-Identifier: Apache-2.0
#include "InstanceLock.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr mode_t ownerOnly = 0600;
constexpr int attempts = 10; // of a file that is removed again and again

int openFile(const QByteArray &path)
{
    return open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, ownerOnly);
}

/// Whether the name still leads to the file: it may have been removed before the lock was there.
bool isNameOf(const QByteArray &path, int descriptor)
{
    struct stat named = {};
    struct stat opened = {};
    return lstat(path.constData(), &named) == 0 && fstat(descriptor, &opened) == 0 && named.st_dev == opened.st_dev
        && named.st_ino == opened.st_ino;
}
} // namespace

InstanceLock::InstanceLock(const QString &folder)
    : mProblem(lockFile(QDir(folder).filePath(QStringLiteral("tester.lock"))))
{
    if (isHeld() && isOthersFolder(folder))
        mProblem = QStringLiteral("another one runs already on %1").arg(folder);
}

QString InstanceLock::lockFile(const QString &path)
{
    const QByteArray name = QFile::encodeName(path);
    for (int i = 0; i < attempts; ++i) {
        mFile = openFile(name);
        const bool isLocked = mFile >= 0 && flock(mFile, LOCK_EX | LOCK_NB) == 0;
        if (!isLocked && mFile >= 0 && errno == EWOULDBLOCK)
            return QStringLiteral("another one runs already on %1").arg(QFileInfo(path).path());
        if (!isLocked)
            return QStringLiteral("%1 cannot be locked: %2").arg(path, qt_error_string(errno));
        if (isNameOf(name, mFile))
            return {};
        close(mFile);
        mFile = -1;
    }
    return QStringLiteral("%1 cannot be locked: it is removed again and again").arg(path);
}

/// Not every file system locks folders; the file has to do there.
bool InstanceLock::isOthersFolder(const QString &folder)
{
    mFolder = open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    return mFolder >= 0 && flock(mFolder, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
}

InstanceLock::~InstanceLock()
{
    for (const int descriptor : {mFile, mFolder}) {
        if (descriptor >= 0)
            close(descriptor);
    }
}
