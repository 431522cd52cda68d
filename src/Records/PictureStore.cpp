// SPDX-License-Identifier: Apache-2.0
#include "Records/PictureStore.h"

#include "Internal/FileAccess.h"
#include "Internal/WholeFile.h"
#include "Records/FaultOf_p.h"

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace Records {

namespace {
constexpr int hashLength = 64; // hexadecimal digits
constexpr int shelfLength = 2; // of these; a folder each, or all pictures would lie in one

bool isHash(const QByteArray &text)
{
    const auto isDigit = [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); };
    return text.size() == hashLength && std::all_of(text.cbegin(), text.cend(), isDigit);
}

Problem cannotWrite(const QString &path, int error)
{
    return {
        faultOf(error), QStringLiteral("Cannot write %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(error)))};
}

QString whyNotOpened(const QString &path)
{
    const int error = errno;
    return QFileInfo(path).isFile() ? QString::fromLocal8Bit(std::strerror(error)) : QStringLiteral("it is not a file");
}

/// @param kind a file type of stat(), which a link is not
bool isOwn(const QString &path, mode_t kind)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 && (status.st_mode & S_IFMT) == kind;
}

/// The entry of the folder is on the disk as well. What it lies in is not made: it may have been moved elsewhere. Nor
/// is a link taken for the folder: it leads to pictures of somebody else.
bool makeFolder(const QString &path)
{
    if (isOwn(path, S_IFDIR))
        return true;
    const bool isMade = ::mkdir(QFile::encodeName(path).constData(), ACCESSPERMS) == 0;
    const bool isThere = isMade || (errno == EEXIST && !QFileInfo(path).isSymLink()); // by another program
    return isThere && WholeFile::syncFolder(QFileInfo(path).path());
}

/// @param name of the folder and of the file must agree
bool isPicture(const QFileInfo &file)
{
    const QByteArray name = file.fileName().toLatin1();
    return isHash(name) && file.dir().dirName().toLatin1() == name.left(shelfLength);
}

int sweepFolder(const QString &folder, const std::function<bool(const QByteArray &hash)> &isWanted)
{
    int removed = 0;
    if (QFileInfo(folder).isSymLink())
        return removed;
    QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const bool isLeft = WholeFile::isUnfinished(files.fileName());
        const bool isUnwanted = !isLeft && isPicture(files.fileInfo()) && !isWanted(files.fileName().toLatin1());
        if ((isLeft || isUnwanted) && QFile::remove(file))
            ++removed;
    }
    return removed;
}
} // namespace

PictureStore::PictureStore(const QString &folder)
    : mFolder(folder)
{
}

QByteArray PictureStore::hashOf(const QByteArray &bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex();
}

Answer<PictureStore::Kept> PictureStore::put(const QByteArray &bytes) const
{
    if (bytes.isEmpty() || bytes.size() > maxPictureSize)
        return {{}, {Fault::Invalid, QStringLiteral("A picture of %1 bytes is not kept").arg(bytes.size())}};

    const QByteArray hash = hashOf(bytes);
    const QString target = path(hash);
    if (keeps(hash))
        return {{hash, false}, {}};
    const bool isThere = isOwn(target, S_IFREG);
    if (!makeFolder(mFolder) || !makeFolder(QFileInfo(target).path()))
        return {{}, cannotWrite(QFileInfo(target).path(), errno)};
    WholeFile file(target);
    if (!file.open() || !file.write(bytes) || !file.commit())
        return {{}, cannotWrite(target, file.error())};
    if (file.error() == 0)
        return {{hash, !isThere}, {}};
    if (!isThere)
        QFile::remove(target);
    return {{}, cannotWrite(QFileInfo(target).path(), file.error())};
}

Answer<QByteArray> PictureStore::read(const QByteArray &hash) const
{
    const QString name = path(hash);
    if (!isHash(hash) || !QFileInfo::exists(name))
        return {{}, {Fault::PictureMissing, QStringLiteral("There is no picture %1").arg(QString::fromLatin1(hash))}};
    QFile file;
    if (!FileAccess::openRegular(name, &file)) // a pipe would have to be waited for, and a device never ends
        return {{}, {Fault::Unusable, QStringLiteral("Cannot read %1: %2").arg(name, whyNotOpened(name))}};
    file.setTextModeEnabled(false); // every byte counts
    QByteArray bytes;
    if (file.size() > maxPictureSize || !FileAccess::readAll(&file, maxPictureSize, &bytes) || hashOf(bytes) != hash)
        return {{}, {Fault::PictureDamaged, QStringLiteral("The picture %1 is damaged").arg(name)}};
    return {bytes, {}};
}

bool PictureStore::contains(const QByteArray &hash) const
{
    return isHash(hash) && QFileInfo(path(hash)).isFile();
}

bool PictureStore::keeps(const QByteArray &hash) const
{
    const QString file = path(hash);
    const QString shelf = QFileInfo(file).path();
    const bool isHere = isHash(hash) && isOwn(mFolder, S_IFDIR) && isOwn(shelf, S_IFDIR) && isOwn(file, S_IFREG);
    return isHere && read(hash).ok();
}

bool PictureStore::remove(const QByteArray &hash) const
{
    return isHash(hash) && QFile::remove(path(hash));
}

QString PictureStore::path(const QByteArray &hash) const
{
    if (!isHash(hash))
        return {};
    const QString name = QString::fromLatin1(hash);
    return QStringLiteral("%1/%2/%3").arg(mFolder, name.left(shelfLength), name);
}

bool PictureStore::isEmpty() const
{
    QDirIterator files(mFolder, QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        files.next();
        if (isPicture(files.fileInfo()))
            return false;
    }
    return true;
}

int PictureStore::sweep(const std::function<bool(const QByteArray &hash)> &isWanted) const
{
    return sweepFolder(mFolder, isWanted);
}

int PictureStore::sweepOne(const QByteArray &hash, bool isWanted) const
{
    if (!isHash(hash))
        return 0;
    return sweepFolder(
        QFileInfo(path(hash)).path(), [&](const QByteArray &other) { return other != hash || isWanted; });
}

} // namespace Records
