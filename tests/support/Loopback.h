// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QHostAddress>
#include <QString>
#include <QTcpServer>

/// What tests of the link need to talk to themselves.
namespace Loopback {

inline QString address()
{
    return QStringLiteral("127.0.0.1");
}

/// A port on which nobody listens; 0 when there is none.
inline int freePort()
{
    QTcpServer probe;
    return probe.listen(QHostAddress::Any, 0) ? probe.serverPort() : 0;
}

/// The payload of a message that has nothing but its type.
inline QByteArray payload(int type)
{
    return "{\n    \"type\": " + QByteArray::number(type) + "\n}\n";
}

inline QByteArray frame(const QByteArray &payload)
{
    return QByteArray::number(payload.size()) + payload;
}

inline QByteArray frame(int type)
{
    return frame(payload(type));
}

} // namespace Loopback
