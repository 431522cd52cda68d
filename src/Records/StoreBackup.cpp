// SPDX-License-Identifier: Apache-2.0
#include "Internal/FileAccess.h"
#include "Internal/WholeFile.h"
#include "Records/InspectionRows_p.h"
#include "Records/NewPictures_p.h"
#include "Records/StoreBackup_p.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace Records {

namespace {
/// Keeps others from writing a copy into the same folder.
class FolderLock
{
public:
    explicit FolderLock(const QString &folder)
        : mDescriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC))
        , mIsOthers(mDescriptor >= 0 && flock(mDescriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK)
    {
    }
    ~FolderLock()
    {
        if (mDescriptor >= 0)
            ::close(mDescriptor);
    }
    FolderLock(const FolderLock &) = delete;
    FolderLock &operator=(const FolderLock &) = delete;

    bool isOthers() const { return mIsOthers; }

private:
    const int mDescriptor;
    const bool mIsOthers;
};

bool putOnDisk(const QString &path)
{
    const int descriptor = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0)
        return false;
    const bool isThere = fsync(descriptor) == 0;
    ::close(descriptor);
    return isThere;
}

/// Whether a copy may be written there.
Problem checkTarget(const OpenStore &store, const QString &folder)
{
    const Problem obstacle = store.database->checkPlace();
    if (!obstacle.ok())
        return obstacle;
    const Problem nameless = StoreFolder::checkName(folder);
    if (!nameless.ok())
        return nameless;
    const StoreFolder target(folder);
    if (QFile::exists(target.database()) || target.hasJournal()) // which would become part of the copy
        return {Fault::Invalid, QStringLiteral("There is a store in %1 already").arg(folder)};
    if (FileAccess::isWithin(folder, store.folder.pictures())) // a sweep would take its pictures for unwanted ones
        return {Fault::Invalid, QStringLiteral("%1 lies among the pictures of the store").arg(folder)};
    return {};
}

/// A problem of the disk that is written to names the database, which is only read.
Problem ofCopy(Problem problem, const OpenStore &store, const QString &copy)
{
    const QString name = store.folder.database();
    if ((problem.fault == Fault::DiskFull || problem.fault == Fault::ReadOnly) && problem.text.startsWith(name))
        problem.text.replace(0, name.size(), copy);
    return problem;
}

/// Those that the copy of the database names are among those that this one names by now.
Problem copyPictures(const OpenStore &store, NewPictures *target, Backup *done)
{
    const Answer<QSet<QByteArray>> names = InspectionRows::pictureNames(*store.database);
    if (!names.ok())
        return names.problem;
    for (const QByteArray &hash : names.value) {
        const Answer<QByteArray> bytes = store.pictures.read(hash);
        const Problem problem = bytes.ok() ? target->put(bytes.value).problem : Problem();
        if (!problem.ok())
            return problem;
        ++(bytes.ok() ? done->pictures : done->missing);
    }
    return {};
}
} // namespace

Answer<Backup> backUpStore(const OpenStore &store, const QString &folder)
{
    const Problem obstacle = checkTarget(store, folder);
    if (!obstacle.ok())
        return {{}, obstacle};
    StoreFolder target(folder);
    const Problem planted = target.make();
    if (!planted.ok())
        return {{}, planted};
    const FolderLock lock(target.path());
    if (lock.isOthers())
        return {{}, {Fault::Busy, QStringLiteral("Another program writes into %1").arg(folder)}};
    const QString copy = target.database() + QStringLiteral(".unfinished");
    QFile::remove(copy);
    Problem problem = ofCopy(store.database->run("VACUUM INTO ?", {Database::nameOf(copy)}), store, copy);
    Backup done;
    const PictureStore pictures(target.pictures());
    NewPictures copied(pictures);
    if (problem.ok())
        problem = copyPictures(store, &copied, &done);
    const bool isWhole = problem.ok() && putOnDisk(copy) && QFile::rename(copy, target.database());
    const bool isConfirmed = WholeFile::syncFolder(target.path());
    if (isWhole)
        copied.keep();
    else
        QFile::remove(copy);
    if (problem.ok() && !isWhole)
        problem = {Fault::Unusable, QStringLiteral("Cannot write %1").arg(target.database())};
    else if (problem.ok() && !isConfirmed)
        problem = {
            Fault::Unusable, QStringLiteral("%1 is there, but the disk does not confirm it").arg(target.database())};
    return {done, problem};
}

} // namespace Records
