// SPDX-License-Identifier: Apache-2.0
#include "Records/FaultOf_p.h"
#include "Reports/ReportFile_p.h"

namespace Reports {

using Records::Fault;
using Records::Problem;

namespace {
constexpr int pieceSize = 256 * 1024; // bytes

/// A path that was refused has no errno; a folder that is missing is the user's to make.
Fault faultOfOutput(int error)
{
    if (error == 0)
        return Fault::Invalid;
    return error == ENOENT ? Fault::NotFound : Records::faultOf(error);
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
    return refuse(faultOfOutput(mFile->error()), mFile->problem());
}

bool ReportFile::refuse(Fault fault, const QString &reason)
{
    mProblem = {fault, QStringLiteral("Cannot write ") + mPath + QStringLiteral(": ") + reason};
    return false;
}

} // namespace Reports
