// SPDX-License-Identifier: Apache-2.0
#include "Tcp/FrameCut_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>

#include <algorithm>

namespace {
constexpr char payloadStart = '{';

// Qt reads "-0" as a number, too.
bool isNegative(int number, const QByteArray &text)
{
    return number <= 0 && text.trimmed().startsWith('-');
}
} // namespace

FrameCut FrameCut::find(const QByteArray &buffer, int position, int folded, int largestFrame)
{
    if (position >= buffer.size())
        return {};

    const int size = buffer.size() - position + folded;
    const int start = buffer.indexOf(payloadStart, position);
    const QByteArray digits = buffer.mid(position, start < 0 ? -1 : start - position);
    bool ok = false;
    const int length = digits.toInt(&ok);
    if (!ok || isNegative(length, digits))
        return {Invalid, position, size};

    const bool isComplete = start >= 0 && length <= buffer.size() - start;
    const bool isTooLarge = isComplete ? start - position + folded > largestFrame - length
                                       : size > std::min(largestFrame, TcpProtocolParser::maxBufferSize);
    if (isTooLarge)
        return {Invalid, position, size};
    if (!isComplete)
        return {Partial, position, size};
    return {Payload, start, length};
}

void FrameCut::tell() const
{
    if (kind == Invalid)
        qWarning().noquote() << "Invalid data. Erasing buffer" << size;
    else if (kind == Partial)
        qDebug().noquote() << "Partial buffer, waiting for more data";
}
