// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpProtocolParser.h"

#include "Tcp/AbstractTcpMessage.h"

#include <QDebug>

namespace {
constexpr char payloadStart = '{';

QByteArray eraseInvalid(QByteArray &buffer, int &position)
{
    qWarning().noquote() << "Invalid data. Erasing buffer" << buffer.size() - position;
    buffer.clear(); // the start of a later frame goes too, on purpose
    position = 0;
    return {};
}
} // namespace

QByteArray TcpProtocolParser::messageToData(const AbstractTcpMessage &message)
{
    const QByteArray payload = message.toByteArray();
    return QByteArray::number(payload.size()) + payload;
}

QByteArray TcpProtocolParser::retrieveMessageData(QByteArray &buffer)
{
    int position = 0;
    const QByteArray payload = retrieveMessageData(buffer, position);
    buffer.remove(0, position);
    return payload;
}

QByteArray TcpProtocolParser::retrieveMessageData(QByteArray &buffer, int &position)
{
    if (position >= buffer.size())
        return {};

    const int start = buffer.indexOf(payloadStart, position);
    const int digits = start < 0 ? buffer.size() - position : start - position;
    bool ok = false;
    const int length = buffer.mid(position, digits).toInt(&ok);
    if (!ok || length < 0)
        return eraseInvalid(buffer, position);

    const bool isComplete = start >= 0 && length <= buffer.size() - start;
    if (!isComplete) {
        if (buffer.size() - position > maxBufferSize)
            return eraseInvalid(buffer, position);
        qDebug().noquote() << "Partial buffer, waiting for more data";
        return {};
    }
    position = start + length;
    return buffer.mid(start, length);
}
