// SPDX-License-Identifier: Apache-2.0
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

QByteArray SocketBuffer::takePayload()
{
    const QByteArray payload = TcpProtocolParser::retrieveMessageData(mBytes, mPosition);
    if (payload.isEmpty()) {
        mBytes.remove(0, mPosition);
        mPosition = 0;
    }
    return payload;
}
