// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpProtocolParser.h"

#include "Tcp/AbstractTcpMessage.h"

#include <QDebug>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>

namespace {
constexpr char payloadStart = '{';

// Qt reads "-0" as a number, too.
bool isNegative(int number, const QByteArray &text)
{
    return number <= 0 && text.trimmed().startsWith('-');
}

QByteArray eraseInvalid(QByteArray &buffer, int &position, int size)
{
    buffer.clear(); // the start of a later frame goes too, on purpose
    position = 0;
    qWarning().noquote() << "Invalid data. Erasing buffer" << size; // last: its handler may bring the next bytes
    return {};
}
} // namespace

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
    if (position >= buffer.size())
        return {};

    const int size = buffer.size() - position + folded;
    const int start = buffer.indexOf(payloadStart, position);
    const QByteArray digits = buffer.mid(position, start < 0 ? -1 : start - position);
    bool ok = false;
    const int length = digits.toInt(&ok);
    if (!ok || isNegative(length, digits))
        return eraseInvalid(buffer, position, size);

    const bool isComplete = start >= 0 && length <= buffer.size() - start;
    const bool isTooLarge =
        isComplete ? start - position + folded > largestFrame - length : size > std::min(largestFrame, maxBufferSize);
    if (isTooLarge)
        return eraseInvalid(buffer, position, size);
    if (!isComplete) {
        qDebug().noquote() << "Partial buffer, waiting for more data";
        return {};
    }
    position = start + length;
    return buffer.mid(start, length);
}
