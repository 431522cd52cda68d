// SPDX-License-Identifier: Apache-2.0
#include "Tcp/HeldSocket_p.h"

namespace {
constexpr qint64 mostUnread = 1024LL * 1024; // bytes; what goes beyond waits in the system, and then at the peer
}

HeldSocket holdSocket(QTcpSocket *socket)
{
    socket->setParent(nullptr);
    socket->setReadBufferSize(mostUnread);
    return {socket, [](QTcpSocket *last) { last->deleteLater(); }};
}

void dropSocket(HeldSocket &socket, const QObject *endpoint)
{
    if (const HeldSocket dropped = std::exchange(socket, nullptr)) {
        dropped->disconnect(endpoint);
        dropped->abort();
    }
}
