// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/Inspection.h"
#include "Helpers/FileAccess_p.h"

#include <QFile>
#include <QFileInfo>

#include <atomic>
#include <cerrno>
#include <cstring>

namespace FiberInspection {

namespace {
constexpr qint64 maxFileSize = LoadedImage::maxFileSize;
constexpr qint64 largestMaxPixels = 1024LL * 1024 * 1024; // what OpenCV can hold

/// What is there may have become a pipe since it was looked at, and to open one would wait for a writer.
bool openFile(const QString &path, QFile *file)
{
    if (path.startsWith(QLatin1Char(':'))) // a resource of Qt
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

ImageFile unreadable(const QString &problem, ImageFault fault = ImageFault::Unreadable)
{
    return {{}, problem, fault};
}

std::atomic<qint64> &pixelLimit()
{
    static std::atomic<qint64> limit{InspectionOptions::defaultMaxImagePixels};
    return limit;
}
} // namespace

ImageFile ImageFile::read(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return unreadable(QStringLiteral("no such file"), ImageFault::Missing);
    const bool isFile = info.isFile();
    errno = 0;
    QFile file(path);
    if (isFile && !openFile(path, &file) && errno != 0)
        return unreadable(QString::fromLocal8Bit(std::strerror(errno)));
    if (!file.isOpen())
        return unreadable(QStringLiteral("not a file"), ImageFault::NotAFile);
    if (file.size() > maxFileSize)
        return unreadable(QStringLiteral("%1 bytes are too many").arg(file.size()), ImageFault::TooLarge);
    const QByteArray bytes = readBounded(&file);
    if (file.error() != QFileDevice::NoError)
        return unreadable(file.errorString());
    if (bytes.size() > maxFileSize)
        return unreadable(QStringLiteral("more than %1 bytes are too many").arg(maxFileSize), ImageFault::TooLarge);
    if (bytes.isEmpty())
        return unreadable(QStringLiteral("the file is empty"), ImageFault::Empty);
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
