// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFile_p.h"
#include "Internal/FileAccess.h"

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <sys/stat.h>

namespace FiberInspection {

namespace {
constexpr qint64 maxFileSize = LoadedImage::maxFileSize;
constexpr qint64 largestMaxPixels = 1024LL * 1024 * 1024; // what OpenCV can hold

bool isResource(const QString &path)
{
    return path.startsWith(QLatin1Char(':')); // of Qt, of which the system knows nothing
}

/// What is there may have become a pipe since it was looked at, and to open one would wait for a writer.
bool openFile(const QString &path, QFile *file)
{
    if (isResource(path))
        return file->open(QIODevice::ReadOnly);
    if (!FileAccess::openRegular(path, file))
        return false;
    file->setTextModeEnabled(false); // every byte counts
    return true;
}

/// The whole content, as far as it is bearable. The size that a file states may be out of date, or 0 for any content.
QByteArray readBounded(QFile *file)
{
    constexpr qint64 leastPiece = 64LL * 1024; // bytes
    QByteArray bytes;
    while (bytes.size() <= maxFileSize) {
        const qint64 expected = qMin(file->size(), maxFileSize) - bytes.size() + 1;
        const QByteArray piece = file->read(qMax(leastPiece, expected));
        if (piece.isEmpty())
            break;
        bytes.isEmpty() ? bytes = piece : bytes += piece;
    }
    return bytes;
}

/// @param number as detailOfFile() takes it
ImageFile unreadable(ImageFault fault, qint64 number = 0)
{
    return {{}, detailOfFile(reasonOf(fault), number), fault};
}

/// The errno of looking at the path; 0 when something is there. What is behind a closed folder is not missing.
int numberOf(const QString &path)
{
    struct stat status = {};
    if (isResource(path))
        return QFileInfo::exists(path) ? 0 : ENOENT;
    if (path.contains(QChar::Null)) // to the system the name would end there
        return ENOENT;
    return ::stat(QFile::encodeName(path).constData(), &status) == 0 ? 0 : errno;
}

std::atomic<qint64> &pixelLimit()
{
    static std::atomic<qint64> limit{InspectionOptions::defaultMaxImagePixels};
    return limit;
}
} // namespace

ImageFile ImageFile::read(const QString &path)
{
    if (const int number = numberOf(path); number != 0) {
        const bool isNothing = number == ENOENT || number == ENOTDIR;
        return unreadable(isNothing ? ImageFault::Missing : ImageFault::Unreadable, number);
    }
    const bool isFile = QFileInfo(path).isFile(); // to open a device does something to it
    errno = 0;
    QFile file(path);
    if (isFile && !openFile(path, &file) && errno != 0)
        return unreadable(ImageFault::Unreadable, errno);
    if (!file.isOpen())
        return unreadable(ImageFault::NotAFile);
    if (file.size() > maxFileSize)
        return unreadable(ImageFault::TooLarge, file.size());
    const QByteArray bytes = readBounded(&file);
    if (file.error() != QFileDevice::NoError)
        return {{}, file.errorString(), ImageFault::Unreadable};
    if (bytes.size() > maxFileSize)
        return unreadable(ImageFault::TooLarge, bytes.size());
    if (bytes.isEmpty())
        return unreadable(ImageFault::Empty);
    return {bytes, {}, ImageFault::None};
}

qint64 ImageFile::maxPixels()
{
    return pixelLimit();
}

void ImageFile::setMaxPixels(qint64 pixels)
{
    pixelLimit() = usableMaxPixels(pixels);
}

qint64 ImageFile::usableMaxPixels(qint64 pixels)
{
    return qBound<qint64>(1, pixels, largestMaxPixels);
}

} // namespace FiberInspection
