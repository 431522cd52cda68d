// SPDX-License-Identifier: Apache-2.0
#include "records/Target.h"

#include "Helpers/FileAccess_p.h"
#include "common/ExitCode.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"

#include <QFileInfo>

#include <cstring>

namespace RecordsTool {

Target::Target(const QString &path, const QString &store, Tools::StopSignals *signals)
    : mPath(path)
    , mStore(QFileInfo(store).canonicalFilePath())
    , mSignals(signals)
    , mStandardOutput(signals)
{
}

bool Target::open()
{
    if (mPath.isEmpty())
        return true;
    mRefusal = whyNotThere();
    if (!mRefusal.isEmpty())
        return false;
    const QFileInfo info(mPath);
    mFile.emplace(info.isSymLink() ? info.canonicalFilePath() : mPath); // the link stays
    return mFile->open() && mFile->closeToOthers();
}

QString Target::whyNotThere() const
{
    const QFileInfo info(mPath);
    if (info.exists() && !info.isFile()) // a device would be replaced
        return QStringLiteral("it is not a file");
    if (info.isSymLink() && !info.exists())
        return QStringLiteral("it is a link to nothing");
    return FileAccess::isWithin(mPath, mStore) ? QStringLiteral("it lies in the store") : QString();
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
    const QString reason = mRefusal.isEmpty() ? QString::fromLocal8Bit(std::strerror(mFile->error())) : mRefusal;
    Tools::Terminal::tell(QStringLiteral("cannot write %1: %2").arg(mPath, reason));
    return Tools::NotWritten;
}

} // namespace RecordsTool
