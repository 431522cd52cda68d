// SPDX-License-Identifier: Apache-2.0
#include "Reports/ArchiveWriter_p.h"

#include <QCryptographicHash>
#include <QIODevice>

#include <archive.h>
#include <archive_entry.h>
#include <cerrno>
#include <memory>
#include <new>

namespace Reports {

namespace {
constexpr int permissions = 0644;

/// No exception may get into what is not made for any.
qint64 written(QIODevice *device, const char *bytes, qint64 size)
{
    try {
        return device->write(bytes, size);
    } catch (const std::bad_alloc &) {
        return -1;
    }
}

la_ssize_t writePiece(archive *to, void *device, const void *bytes, size_t size)
{
    const auto wanted = static_cast<qint64>(size);
    if (written(static_cast<QIODevice *>(device), static_cast<const char *>(bytes), wanted) == wanted)
        return static_cast<la_ssize_t>(size);
    archive_set_error(to, EIO, "the file cannot be written");
    return -1;
}
} // namespace

ArchiveWriter::ArchiveWriter(QIODevice *device, const QDateTime &time)
    : mArchive(archive_write_new())
    , mTime(time)
{
    check(archive_write_set_format_zip(mArchive));
    check(archive_write_set_bytes_in_last_block(mArchive, 1)); // no padding
    check(archive_write_open2(mArchive, device, nullptr, writePiece, nullptr, nullptr));
}

ArchiveWriter::~ArchiveWriter()
{
    archive_write_free(mArchive);
}

bool ArchiveWriter::add(const char *name, const QByteArray &bytes, Packing packing)
{
    if (!mProblem.isEmpty())
        return false;
    const std::unique_ptr<archive_entry, void (*)(archive_entry *)> entry(archive_entry_new(), archive_entry_free);
    archive_entry_set_pathname(entry.get(), name);
    archive_entry_set_size(entry.get(), bytes.size());
    archive_entry_set_filetype(entry.get(), AE_IFREG);
    archive_entry_set_perm(entry.get(), permissions);
    archive_entry_set_mtime(entry.get(), mTime.toSecsSinceEpoch(), 0);
    const bool isPacked = packing == Packing::Deflated;
    check(isPacked ? archive_write_zip_set_compression_deflate(mArchive)
                   : archive_write_zip_set_compression_store(mArchive));
    check(archive_write_header(mArchive, entry.get()));
    if (!mProblem.isEmpty())
        return false;
    if (archive_write_data(mArchive, bytes.constData(), static_cast<size_t>(bytes.size())) != bytes.size())
        return check(ARCHIVE_FATAL);
    mSums += QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex() + "  " + name + '\n';
    return check(archive_write_finish_entry(mArchive));
}

bool ArchiveWriter::addSums()
{
    return add("SHA256SUMS", mSums, Packing::Deflated);
}

bool ArchiveWriter::finish()
{
    return mProblem.isEmpty() && check(archive_write_close(mArchive));
}

bool ArchiveWriter::check(int code)
{
    if (code >= ARCHIVE_WARN || !mProblem.isEmpty())
        return mProblem.isEmpty();
    const char *const text = archive_error_string(mArchive);
    mProblem = text != nullptr ? QString::fromLocal8Bit(text) : QStringLiteral("the archive cannot be made");
    return false;
}

} // namespace Reports
