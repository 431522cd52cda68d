// SPDX-License-Identifier: Apache-2.0
#include "Tcp/MessageWriter_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>
#include <QTcpSocket>

namespace {
constexpr qint64 muchWaiting = 16LL * 1024 * 1024; // bytes
}

bool writeMessage(QTcpSocket &socket, const AbstractTcpMessage &message)
{
    const qint64 waitingBefore = socket.bytesToWrite();
    if (socket.write(TcpProtocolParser::messageToData(message)) < 0)
        return false;
    if (waitingBefore <= muchWaiting && socket.bytesToWrite() > muchWaiting)
        qWarning() << "the peer does not read, bytes waiting:" << socket.bytesToWrite();
    return true;
}
