// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpProtocolParser.h"

#include "Tcp/AbstractTcpMessage.h"
#include "Tcp/FrameCut_p.h"

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
    const FrameCut cut = FrameCut::find(buffer, position, folded, largestFrame);
    QByteArray payload;
    if (cut.kind == FrameCut::Payload) {
        payload = buffer.mid(cut.start, cut.size);
        position = cut.start + cut.size;
    } else if (cut.kind == FrameCut::Invalid) {
        buffer.clear(); // the start of a later frame goes too, on purpose
        position = 0;
    }
    cut.tell();
    return payload;
}
