// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QElapsedTimer>
#include <QString>

namespace Link {

/// Counts what passes, both ways.
class Traffic
{
public:
    Traffic() { mClock.start(); }

    void addSent(qint64 bytes) { mSent.add(bytes); }
    void addReceived(qint64 bytes) { mReceived.add(bytes); }

    QString sinceLastTime(); ///< rates of the time since the last call
    QString inAll() const;

private:
    struct Count
    {
        qint64 messages = 0;
        qint64 bytes = 0;

        void add(qint64 size)
        {
            ++messages;
            bytes += size;
        }
    };

    Count mSent;
    Count mReceived;
    Count mLastSent;
    Count mLastReceived;
    QElapsedTimer mClock;
    qint64 mLastTime = 0; ///< nanoseconds
};

} // namespace Link
