// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpProtocolParser.h"

#include "Tcp/AbstractTcpMessage.h"
#include "Tcp/FrameReader_p.h"

#include <charconv>
#include <iterator>
#include <limits>

QByteArray TcpProtocolParser::messageToData(const AbstractTcpMessage &message)
{
    const QByteArray payload = message.toByteArray();
    char digits[std::numeric_limits<int>::digits10 + 1];
    const auto length = std::to_chars(std::begin(digits), std::end(digits), payload.size()).ptr - std::begin(digits);
    QByteArray data;
    data.reserve(static_cast<int>(length) + payload.size());
    data.append(digits, static_cast<int>(length));
    data.append(payload);
    return data;
}

QByteArray TcpProtocolParser::retrieveMessageData(QByteArray &buffer)
{
    int position = 0;
    const QByteArray payload = retrieveMessageData(buffer, position);
    buffer.remove(0, position);
    return payload;
}

QByteArray TcpProtocolParser::retrieveMessageData(QByteArray &buffer, int &position, int folded, int largestFrame)
{
    const Frame frame = FrameReader(largestFrame, folded).read(buffer, position);
    QByteArray payload;
    if (frame.kind == Frame::Payload) {
        payload = buffer.mid(frame.start, frame.size);
        position = frame.start + frame.size;
    } else if (frame.kind == Frame::Invalid) {
        buffer.clear(); // the start of a later frame goes too, on purpose
        position = 0;
    }
    frame.tell();
    return payload;
}
