// SPDX-License-Identifier: Apache-2.0
#include "records/Target.h"

#include "common/ExitCode.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"

#include <QFileInfo>

#include <cstring>

namespace RecordsTool {

Target::Target(const QString &path, Tools::StopSignals *signals)
    : mPath(path)
    , mSignals(signals)
    , mStandardOutput(signals)
{
}

bool Target::open()
{
    if (mPath.isEmpty())
        return true;
    const QFileInfo info(mPath);
    mIsNoFile = info.exists() && !info.isFile(); // a device would be replaced
    if (mIsNoFile)
        return false;
    mFile.emplace(info.isSymLink() ? info.canonicalFilePath() : mPath); // the link stays
    return mFile->open();
}

bool Target::write(const QByteArray &bytes)
{
    if (mSignals->received() != 0)
        return false;
    return mFile ? mFile->write(bytes) : mStandardOutput.write(bytes);
}

bool Target::commit()
{
    return !mFile || mFile->commit();
}

int Target::tellFailure() const
{
    if (mSignals->received() != 0)
        return Tools::StoppedBySignal + mSignals->received();
    if (mPath.isEmpty())
        return mStandardOutput.tellFailure();
    const QString reason =
        mIsNoFile ? QStringLiteral("it is not a file") : QString::fromLocal8Bit(std::strerror(mFile->error()));
    Tools::Terminal::tell(QStringLiteral("cannot write %1: %2").arg(mPath, reason));
    return Tools::NotWritten;
}

} // namespace RecordsTool
