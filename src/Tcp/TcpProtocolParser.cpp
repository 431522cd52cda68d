// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpProtocolParser.h"

#include "Tcp/AbstractTcpMessage.h"

#include <QDebug>

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

/// Reads a length that is nothing but digits up to the payload: nearly every one, and many times faster than Qt does.
/// @return where the payload starts; -1 for any other text, which Qt has to judge
int readPlainLength(const QByteArray &buffer, int position, int *length)
{
    const char *const begin = buffer.constData() + position;
    const char *const end = buffer.constData() + buffer.size();
    if (*begin < '0' || *begin > '9')
        return -1;
    const std::from_chars_result result = std::from_chars(begin, end, *length);
    const bool isPlain = result.ec == std::errc() && result.ptr < end && *result.ptr == payloadStart;
    return isPlain ? position + static_cast<int>(result.ptr - begin) : -1;
}

QByteArray eraseInvalid(QByteArray &buffer, int &position, int size)
{
    qWarning().noquote() << "Invalid data. Erasing buffer" << size;
    buffer.clear(); // the start of a later frame goes too, on purpose
    position = 0;
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

QByteArray TcpProtocolParser::retrieveMessageData(QByteArray &buffer, int &position, int folded)
{
    if (position >= buffer.size())
        return {};

    const int size = buffer.size() - position + folded;
    int length = 0;
    int start = readPlainLength(buffer, position, &length);
    if (start < 0) {
        start = buffer.indexOf(payloadStart, position);
        const QByteArray digits = buffer.mid(position, start < 0 ? -1 : start - position);
        bool ok = false;
        length = digits.toInt(&ok);
        if (!ok || isNegative(length, digits))
            return eraseInvalid(buffer, position, size);
    }

    const bool isComplete = start >= 0 && length <= buffer.size() - start;
    if (!isComplete) {
        if (size > maxBufferSize)
            return eraseInvalid(buffer, position, size);
        qDebug().noquote() << "Partial buffer, waiting for more data";
        return {};
    }
    position = start + length;
    return buffer.mid(start, length);
}
