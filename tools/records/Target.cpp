// SPDX-License-Identifier: Apache-2.0
#include "records/Target.h"

#include "common/ExitCode.h"
#include "common/StopSignals.h"
#include "common/Terminal.h"

#include <QFileInfo>

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
    mFile.emplace(mPath);
    mRefusal = whyNotThere(mFile->place(), mStore);
    return mRefusal.isEmpty() && mFile->open();
}

QString Target::whyNotThere(const FileAccess::Place &place, const QString &store)
{
    const QString refusal = place.whyNoFile();
    if (!refusal.isEmpty())
        return refusal;
    if (place.isLinkToNothing())
        return QStringLiteral("it is a link to nothing");
    return place.error() == 0 && FileAccess::isWithin(place.path(), store) ? QStringLiteral("it lies in the store")
                                                                           : QString();
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
    Tools::Terminal::tell(
        QStringLiteral("cannot write %1: %2").arg(mPath, mRefusal.isEmpty() ? mFile->problem() : mRefusal));
    return Tools::NotWritten;
}

} // namespace RecordsTool
