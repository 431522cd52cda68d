// SPDX-License-Identifier: Apache-2.0
#include "Helpers/FileAccess_p.h"

#include <QFile>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileAccess {

namespace {
constexpr mode_t defaultMode = 0666; // the umask takes its part
constexpr mode_t readableForAll = 0644;
constexpr mode_t permissionBits = 0777;

mode_t modeOf(int descriptor)
{
    struct stat status = {};
    return fstat(descriptor, &status) == 0 ? status.st_mode : 0;
}

int openPath(const QString &path, int flags, mode_t mode = 0)
{
    return ::open(QFile::encodeName(path).constData(), flags | O_CLOEXEC | O_NOCTTY, mode);
}

/// The descriptor belongs to the file then; it is closed if it cannot.
bool handOver(int descriptor, QFile *file, QIODevice::OpenMode mode)
{
    if (descriptor < 0)
        return false;
    if (file->open(descriptor, mode | QIODevice::Text, QFileDevice::AutoCloseHandle))
        return true;
    ::close(descriptor);
    return false;
}

int regularOrClosed(int descriptor)
{
    if (descriptor < 0 || S_ISREG(modeOf(descriptor)))
        return descriptor;
    ::close(descriptor);
    return -1;
}

bool createWithMode(const QString &path, mode_t mode, QFile *file)
{
    ::unlink(QFile::encodeName(path).constData());
    const int descriptor = openPath(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode);
    if (descriptor >= 0)
        fchmod(descriptor, mode);
    return handOver(descriptor, file, QIODevice::WriteOnly);
}
} // namespace

bool openRegular(const QString &path, QFile *file)
{
    return handOver(regularOrClosed(openPath(path, O_RDONLY | O_NONBLOCK)), file, QIODevice::ReadOnly);
}

bool openForWriting(const QString &path, Existing existing, QFile *file)
{
    const bool appends = existing == Existing::Append;
    const int descriptor =
        openPath(path, O_WRONLY | O_CREAT | O_NONBLOCK | (appends ? O_APPEND : O_TRUNC), defaultMode);
    if (descriptor >= 0 && !S_ISFIFO(modeOf(descriptor)))
        fcntl(descriptor, F_SETFL, fcntl(descriptor, F_GETFL) & ~O_NONBLOCK);
    return handOver(descriptor, file, appends ? QIODevice::WriteOnly | QIODevice::Append : QIODevice::WriteOnly);
}

bool createNew(const QString &path, QFile *file)
{
    return createWithMode(path, readableForAll, file);
}

bool copyToNew(QFile *source, const QString &path)
{
    constexpr qint64 pieceSize = 65536;
    QFile copy;
    if (!createWithMode(path, modeOf(source->handle()) & permissionBits, &copy))
        return false;
    for (;;) {
        const QByteArray piece = source->read(pieceSize);
        if (piece.isEmpty())
            return source->error() == QFileDevice::NoError && writeThrough(&copy, {});
        if (copy.write(piece) != piece.size())
            return false;
    }
}

bool openForUpdate(const QString &path, QFile *file)
{
    const int descriptor = openPath(path, O_RDWR | O_NONBLOCK | O_NOFOLLOW);
    return handOver(regularOrClosed(descriptor), file, QIODevice::ReadWrite);
}

bool writeThrough(QFile *file, const QByteArray &bytes)
{
    return file->write(bytes) == bytes.size() && file->flush() && fsync(file->handle()) == 0;
}

} // namespace FileAccess
