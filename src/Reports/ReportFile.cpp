// SPDX-License-Identifier: Apache-2.0
#include "Reports/ReportFile_p.h"

#include <cerrno>

namespace Reports {

using Records::Fault;
using Records::Problem;

namespace {
constexpr int pieceSize = 256 * 1024; // bytes

Fault faultOf(int error)
{
    switch (error) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return Fault::DiskFull;
    case EROFS:
    case EACCES:
    case EPERM:
        return Fault::ReadOnly;
    case ENOENT:
        return Fault::NotFound;
    case ENOMEM:
        return Fault::OutOfMemory;
    default:
        return Fault::Unusable;
    }
}
} // namespace

ReportFile::ReportFile(const QString &path)
    : mPath(path)
{
}

ReportFile::~ReportFile()
{
    close();
}

bool ReportFile::begin()
{
    if (mPath.isEmpty())
        return refuse(Fault::Invalid, QStringLiteral("it has no name"));
    mFile.emplace(mPath);
    if (mFile->whyRefused().isEmpty() && mFile->place().isLinkToNothing())
        return refuse(Fault::Invalid, QStringLiteral("it is a link to nothing"));
    return mFile->open() ? open(QIODevice::WriteOnly | QIODevice::Unbuffered) : fail();
}

Problem ReportFile::commit()
{
    if (isFailed() || !mFile || !flush())
        return mProblem;
    if (!mFile->commit())
        fail();
    mFile.reset();
    return mProblem;
}

qint64 ReportFile::readData(char *, qint64)
{
    return -1;
}

qint64 ReportFile::writeData(const char *data, qint64 size)
{
    if (isFailed())
        return -1;
    mPending.append(data, static_cast<int>(size));
    return mPending.size() < pieceSize || flush() ? size : -1;
}

bool ReportFile::flush()
{
    if (!mFile->write(mPending))
        return fail();
    mPending.clear();
    return true;
}

bool ReportFile::fail()
{
    return refuse(mFile->error() == 0 ? Fault::Invalid : faultOf(mFile->error()), mFile->problem());
}

bool ReportFile::refuse(Fault fault, const QString &reason)
{
    mProblem = {fault, QStringLiteral("Cannot write ") + mPath + QStringLiteral(": ") + reason};
    return false;
}

} // namespace Reports
