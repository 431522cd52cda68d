// SPDX-License-Identifier: Apache-2.0
#include "Internal/FileAccess.h"
#include "Internal/WholeFile.h"
#include "Records/PictureStore.h"
#include "Records/StoreFolder_p.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sys/stat.h>

namespace Records {

namespace {
constexpr int mostFoldersASecond = 100;

constexpr std::array<const char *, 2> journals{"-wal", "-journal"}; // the second one where the first cannot be
constexpr std::array<const char *, 4> endings{"", "-wal", "-shm", "-journal"}; // of the files of a database

/// @param kind a file type of stat(), which a link is not
bool isNothingOr(mode_t kind, const QString &path)
{
    struct stat status = {};
    if (lstat(QFile::encodeName(path).constData(), &status) != 0)
        return errno == ENOENT;
    return (status.st_mode & S_IFMT) == kind;
}

/// A new folder named after the time, which nobody else uses.
QString makeFolderOfTime(const QString &beside)
{
    const QString time = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyy-MM-ddThh-mm-ssZ"));
    const QString name = QStringLiteral("%1-%2").arg(beside, time);
    if (QDir().mkdir(name))
        return name;
    for (int i = 2; i <= mostFoldersASecond; ++i) {
        const QString numbered = QStringLiteral("%1-%2").arg(name, QString::number(i));
        if (QDir().mkdir(numbered))
            return numbered;
    }
    return {};
}
} // namespace

FileIdentity FileIdentity::of(const QString &path)
{
    struct stat status = {};
    FileIdentity identity;
    if (stat(QFile::encodeName(path).constData(), &status) == 0) {
        identity.mDevice = status.st_dev;
        identity.mNumber = status.st_ino;
    }
    return identity;
}

FileIdentity FileIdentity::of(int descriptor)
{
    struct stat status = {};
    FileIdentity identity;
    if (fstat(descriptor, &status) == 0) {
        identity.mDevice = status.st_dev;
        identity.mNumber = status.st_ino;
    }
    return identity;
}

StoreFolder::StoreFolder(const QString &path)
    : mPath(QFileInfo(path).absoluteFilePath())
{
}

Problem StoreFolder::checkName(const QString &path)
{
    return path.isEmpty() ? Problem{Fault::Invalid, QStringLiteral("A store needs a folder")} : Problem();
}

Problem StoreFolder::make()
{
    QStringList missing;
    for (QString path = mPath; !QFileInfo::exists(path) && !QFileInfo(path).isRoot(); path = QFileInfo(path).path())
        missing << path;
    const FileAccess::Place place(mPath, FileAccess::Place::Missing::MakeFolders);
    if (place.isPlanted())
        return {Fault::Invalid, QStringLiteral("Cannot write into %1: %2").arg(mPath, place.whyNoFile())};
    for (const QString &path : qAsConst(missing))
        WholeFile::syncFolder(QFileInfo(path).path()); // or a power failure takes all of the store away
    if (place.isBehindLinks() && !place.path().isEmpty())
        mPath = place.path(); // where the links lead later is another matter
    return {};
}

QString StoreFolder::database() const
{
    return mPath + QStringLiteral("/records.sqlite");
}

QString StoreFolder::pictures() const
{
    return mPath + QStringLiteral("/pictures");
}

QString StoreFolder::lock() const
{
    return mPath + QStringLiteral("/records.lock");
}

QString StoreFolder::suspicion() const
{
    return mPath + QStringLiteral("/records.suspect");
}

bool StoreFolder::hasDatabase() const
{
    return QFileInfo(database()).size() > 0;
}

bool StoreFolder::hasJournal() const
{
    return std::any_of(journals.cbegin(), journals.cend(),
        [this](const char *ending) { return QFileInfo(database() + QLatin1String(ending)).size() > 0; });
}

QString StoreFolder::obstacle() const
{
    for (const char *const ending : endings) {
        const QFileInfo info(database() + QLatin1String(ending));
        if (info.exists() && !info.isFile())
            return info.filePath();
    }
    return {};
}

QString StoreFolder::link() const
{
    for (const char *const ending : endings) {
        const QString path = database() + QLatin1String(ending);
        if (QFileInfo(path).isSymLink())
            return path;
    }
    return {};
}

QString StoreFolder::detour() const
{
    for (const char *const ending : endings) {
        if (!isNothingOr(S_IFREG, database() + QLatin1String(ending)))
            return database() + QLatin1String(ending);
    }
    return isNothingOr(S_IFDIR, pictures()) ? QString() : pictures();
}

void StoreFolder::removeDatabase() const
{
    for (const char *const ending : endings)
        QFile::remove(database() + QLatin1String(ending));
}

bool StoreFolder::isBeheaded() const
{
    // The first start makes a journal of the older kind beside a database that is empty yet.
    const bool isWritten = QFileInfo(database() + QLatin1String(journals[0])).size() > 0;
    return !hasDatabase() && (isWritten || !PictureStore(pictures()).isEmpty());
}

QString StoreFolder::setAside() const
{
    const QString aside = makeFolderOfTime(database());
    if (aside.isEmpty())
        return {};
    // Pictures first: as long as the database is in its place, the next start does all of this again.
    bool isDone = true;
    QStringList paths{pictures(), database()};
    for (const char *const ending : journals)
        paths << database() + QLatin1String(ending);
    for (const QString &path : qAsConst(paths)) {
        const QFileInfo info(path);
        if (info.exists())
            isDone = QDir().rename(path, QStringLiteral("%1/%2").arg(aside, info.fileName())) && isDone;
    }
    QFile::remove(database() + QStringLiteral("-shm")); // an index of the journal, made anew when it is needed
    WholeFile::syncFolder(aside);
    WholeFile::syncFolder(mPath);
    return isDone ? aside : QString();
}

} // namespace Records
