// SPDX-License-Identifier: Apache-2.0
#include "Internal/OutputFile.h"

#include <cerrno>
#include <cstring>
#include <sys/stat.h>

namespace {
QString textOf(int error)
{
    return QString::fromLocal8Bit(std::strerror(error));
}
} // namespace

OutputFile::OutputFile(const QString &path)
    : mPath(path)
    , mPlace(path)
{
}

bool OutputFile::open()
{
    if (mFile)
        return true;
    const QString refusal = whyRefused();
    if (!refusal.isEmpty())
        return fail(0, refusal);
    if (mPlace.error() != 0)
        return fail(mPlace.error(), textOf(mPlace.error()));
    mFile.emplace(mPlace.throughDescriptor()); // a link stays
    return (mFile->open() && mFile->respectFormer()) || fail(mFile->error(), mFile->reason());
}

bool OutputFile::write(const QByteArray &bytes)
{
    return open() && (mFile->write(bytes) || fail(mFile->error(), mFile->reason()));
}

bool OutputFile::commit()
{
    if (!open() || !isWhereThePathLeads())
        return false;
    if (!mFile->commit() || mFile->error() != 0)
        return fail(mFile->error(), mFile->reason());
    return isWhereThePathLeads();
}

/// A stick may be gone while its folder is still held: what is written there nobody finds.
bool OutputFile::isWhereThePathLeads()
{
    const FileAccess::Place now(mPath);
    struct stat held = {};
    struct stat found = {};
    return (fstat(mPlace.folder(), &held) == 0 && fstat(now.folder(), &found) == 0 && held.st_dev == found.st_dev
               && held.st_ino == found.st_ino)
        || fail(ENOENT, QStringLiteral("its folder was moved, removed or unmounted meanwhile"));
}

bool OutputFile::fail(int error, const QString &problem)
{
    mError = error;
    mProblem = problem;
    return false;
}

bool OutputFile::write(const QString &path, const QByteArray &bytes, QString *problem)
{
    OutputFile file(path);
    if (file.write(bytes) && file.commit())
        return true;
    *problem = file.problem();
    return false;
}

bool OutputFile::makeFolder(const QString &path, QString *problem)
{
    const FileAccess::Place place(path, FileAccess::Place::Missing::MakeFolders);
    if (place.isPlanted())
        *problem = place.whyNoFile();
    else if (place.error() != 0)
        *problem = textOf(place.error());
    return !place.isPlanted() && place.error() == 0;
}
