// SPDX-License-Identifier: Apache-2.0
#include "link/Traffic.h"

namespace Link {

namespace {
constexpr double secondsPerNanosecond = 1e-9;
}

QString Traffic::sinceLastTime()
{
    const qint64 now = mClock.nsecsElapsed();
    const double seconds = double(qMax<qint64>(now - mLastTime, 1)) * secondsPerNanosecond;
    const auto rates = [seconds](const char *what, const Count &count, const Count &last) {
        return QStringLiteral("%1 %2 messages/s, %3 bytes/s")
            .arg(QString::fromUtf8(what))
            .arg(qRound64(double(count.messages - last.messages) / seconds))
            .arg(qRound64(double(count.bytes - last.bytes) / seconds));
    };
    const QString text =
        rates("sent", mSent, mLastSent) + QStringLiteral("; ") + rates("received", mReceived, mLastReceived);
    mLastSent = mSent;
    mLastReceived = mReceived;
    mLastTime = now;
    return text;
}

QString Traffic::inAll() const
{
    return QStringLiteral("in all: sent %1 messages, %2 bytes; received %3 messages, %4 bytes; %5 s")
        .arg(mSent.messages)
        .arg(mSent.bytes)
        .arg(mReceived.messages)
        .arg(mReceived.bytes)
        .arg(double(mClock.nsecsElapsed()) * secondsPerNanosecond, 0, 'f', 1);
}

} // namespace Link
