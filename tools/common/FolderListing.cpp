// SPDX-License-Identifier: Apache-2.0
#include "common/FolderListing.h"

#include "common/FilePath.h"

#include <QFile>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>

namespace Tools {

namespace {
QString describeError(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}

QString kindOf(mode_t mode)
{
    switch (mode & S_IFMT) {
    case S_IFDIR:
        return QStringLiteral("a subfolder, which is not searched");
    case S_IFIFO:
        return QStringLiteral("a pipe");
    case S_IFSOCK:
        return QStringLiteral("a socket");
    case S_IFCHR:
    case S_IFBLK:
        return QStringLiteral("a device");
    default:
        return QStringLiteral("not a file");
    }
}

bool hasSuffix(const QByteArray &name, const QStringList &suffixes)
{
    const QByteArray suffix = name.mid(name.lastIndexOf('.') + 1).toLower();
    return name.contains('.') && suffixes.contains(QString::fromLatin1(suffix));
}

/// Why the entry is none of the files; empty when it is one.
QString reasonToLeaveOut(int folder, const QByteArray &name, const QStringList &suffixes)
{
    struct stat status
    {
    };
    if (fstatat(folder, name.constData(), &status, 0) != 0) {
        const int error = errno;
        const bool isLink =
            fstatat(folder, name.constData(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
        return isLink && error == ENOENT ? QStringLiteral("a link that leads nowhere") : describeError(error);
    }
    if (!S_ISREG(status.st_mode))
        return kindOf(status.st_mode);
    if (name.startsWith('.'))
        return QStringLiteral("a hidden file");
    return hasSuffix(name, suffixes) ? QString() : QStringLiteral("no known image suffix");
}

/// All names but "." and ".."; one more than wanted when there are more.
QVector<QByteArray> namesIn(DIR *folder, QString *problem)
{
    QVector<QByteArray> names;
    errno = 0;
    while (const dirent *entry = readdir(folder)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            names.append(entry->d_name);
        if (names.size() > FolderListing::mostEntries)
            break;
        errno = 0;
    }
    if (errno != 0)
        *problem = QStringLiteral("the folder cannot be read to its end: %1").arg(describeError(errno));
    std::sort(names.begin(), names.end());
    return names;
}
} // namespace

QStringList FolderListing::imageSuffixes()
{
    return {QStringLiteral("bmp"), QStringLiteral("jpeg"), QStringLiteral("jpg"), QStringLiteral("pbm"),
        QStringLiteral("pgm"), QStringLiteral("png"), QStringLiteral("pnm"), QStringLiteral("ppm"),
        QStringLiteral("tif"), QStringLiteral("tiff"), QStringLiteral("webp")};
}

FolderListing FolderListing::of(const QString &folder, const QStringList &suffixes)
{
    FolderListing listing;
    const std::unique_ptr<DIR, int (*)(DIR *)> handle(opendir(QFile::encodeName(folder).constData()), closedir);
    if (!handle) {
        listing.problem = QStringLiteral("the folder cannot be read: %1").arg(describeError(errno));
        return listing;
    }

    QVector<QByteArray> names = namesIn(handle.get(), &listing.problem);
    if (names.size() > mostEntries) {
        names.removeLast();
        listing.problem =
            QStringLiteral("the folder has more than %1 entries; the others are left out").arg(mostEntries);
    }
    for (const QByteArray &name : qAsConst(names)) {
        const QString path = FilePath::in(folder, QFile::decodeName(name));
        const QString reason = reasonToLeaveOut(dirfd(handle.get()), name, suffixes);
        if (reason.isEmpty())
            listing.files.append(path);
        else
            listing.leftOut.append({path, reason});
    }
    return listing;
}

} // namespace Tools
