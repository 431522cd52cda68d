// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "OwnNamespace.h"

#include <QByteArray>
#include <QFile>
#include <QString>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <unistd.h>

/// A disk of a few megabytes over a folder, which this process sees alone for as long as the object lives; as root,
/// this thread. To be constructed before there are threads unless it is root that does so.
class SmallDisk
{
public:
    SmallDisk(const QString &folder, int kibibytes)
        : mFolder(QFile::encodeName(folder))
    {
        const QByteArray options = QByteArrayLiteral("size=") + QByteArray::number(kibibytes) + 'k';
        if (!OwnNamespace::enter(CLONE_NEWNS, geteuid(), getegid(), &mProblem))
            return;
        mIsMounted = mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0
            && mount("tmpfs", mFolder.constData(), "tmpfs", 0, options.constData()) == 0;
        if (!mIsMounted)
            mProblem = QStringLiteral("no disk of its own: ") + QString::fromLocal8Bit(std::strerror(errno));
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk()
    {
        if (mIsMounted)
            umount2(mFolder.constData(), MNT_DETACH);
    }

    /// Why there is none; empty when there is one.
    QString problem() const { return mProblem; }

private:
    QByteArray mFolder;
    QString mProblem;
    bool mIsMounted = false;
};

/// A file that leaves only so much free on the disk of the folder.
class DiskFilling
{
public:
    DiskFilling(const QString &folder, int freeKibibytes)
        : mFile(folder + QStringLiteral("/filling"))
    {
        struct statvfs disk
        {
        };
        if (statvfs(QFile::encodeName(folder).constData(), &disk) != 0 || !mFile.open(QIODevice::WriteOnly))
            return;
        const auto free = static_cast<qint64>(disk.f_bavail) * static_cast<qint64>(disk.f_frsize);
        mFile.write(QByteArray(static_cast<int>(std::max<qint64>(0, free - freeKibibytes * 1024LL)), '\0'));
        mFile.close();
    }
    DiskFilling(const DiskFilling &) = delete;
    DiskFilling &operator=(const DiskFilling &) = delete;
    ~DiskFilling() { remove(); }

    void remove() { mFile.remove(); }

private:
    QFile mFile;
};

/// A disk of its own over a folder, as above, without a byte left.
class FullDisk
{
public:
    explicit FullDisk(const QString &folder)
        : mDisk(folder, kibibytes)
    {
        if (problem().isEmpty())
            mFilling.emplace(folder, 0);
    }

    QString problem() const { return mDisk.problem(); }

private:
    static constexpr int kibibytes = 64;

    SmallDisk mDisk;
    std::optional<DiskFilling> mFilling;
};
