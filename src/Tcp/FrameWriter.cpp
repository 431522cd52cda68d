// SPDX-License-Identifier: Apache-2.0
#include "Tcp/FrameWriter_p.h"

#include <QDebug>
#include <QTcpSocket>

namespace {
constexpr qint64 muchWaiting = 16LL * 1024 * 1024; // bytes
}

bool writeFrame(QTcpSocket &socket, const QByteArray &frame, qint64 *bytesUnsent)
{
    const qint64 waitingBefore = socket.bytesToWrite();
    if (socket.write(frame) < 0)
        return false;
    const qint64 waiting = socket.bytesToWrite();
    *bytesUnsent = waiting; // before the log, whose handler may do anything
    if (waitingBefore <= muchWaiting && waiting > muchWaiting)
        qWarning() << "the peer does not read, bytes waiting:" << waiting;
    return true;
}
