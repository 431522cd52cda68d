// SPDX-License-Identifier: Apache-2.0
#include "Tcp/FrameReader_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>

#include <algorithm>

namespace {
constexpr char payloadStart = '{';
constexpr int longestLength = std::numeric_limits<int>::digits10 + 1; // digits of a length without zeros before it

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

// Qt reads "-0" as a number, too.
bool isNegative(int number, const QByteArray &text)
{
    return number <= 0 && text.trimmed().startsWith('-');
}
} // namespace

void Frame::tell() const
{
    if (kind == Invalid)
        qWarning().noquote() << "Invalid data. Erasing buffer" << size;
    else if (kind == Partial)
        qDebug().noquote() << "Partial buffer, waiting for more data";
}

FrameReader::FrameReader(int largestFrame, int folded)
    : mLargestFrame(largestFrame)
    , mFolded(folded)
{
}

Frame FrameReader::readAnyFrame(const QByteArray &bytes, int position) const
{
    if (position >= bytes.size())
        return {};

    const int size = bytes.size() - position + mFolded;
    const int start = bytes.indexOf(payloadStart, position);
    const QByteArray digits = bytes.mid(position, start < 0 ? -1 : start - position);
    bool ok = false;
    const int length = digits.toInt(&ok);
    if (!ok || isNegative(length, digits))
        return {Frame::Invalid, position, size};

    const bool isComplete = start >= 0 && length <= bytes.size() - start;
    const bool isTooLarge = isComplete ? start - position + mFolded > mLargestFrame - length
                                       : size > std::min(mLargestFrame, TcpProtocolParser::maxBufferSize);
    if (isTooLarge)
        return {Frame::Invalid, position, size};
    if (!isComplete)
        return {Frame::Partial, position, size};
    return {Frame::Payload, start, length};
}

int FrameReader::startOfWholeFrame(const char *head, const char *headEnd, int size)
{
    const auto [start, length] = readPlainLength(head, headEnd);
    return start >= 0 && length == size - start ? start : -1;
}

int FrameReader::unframedSize(const QByteArray &bytes, int position) const
{
    FrameReader reader = *this;
    for (;;) {
        const Frame frame = reader.readPlainFrame(bytes, position);
        if (frame.kind != Frame::Payload)
            return bytes.size() - position + reader.mFolded;
        position = frame.start + frame.size;
        reader.startNextLength();
    }
}

void FrameReader::fold(QByteArray *bytes)
{
    const int start = bytes->indexOf(payloadStart);
    const QByteArray length = bytes->left(start < 0 ? bytes->size() : start);
    if (length.size() <= longestLength)
        return;

    // What may follow depends on how it ends: behind a blank no digit, behind a zero byte anything.
    QByteArray shortLength = QByteArray::number(length.toInt());
    if (length.contains('\0'))
        shortLength.append('\0');
    else if (!isDigit(length.back()))
        shortLength.append(' ');
    bytes->replace(0, length.size(), shortLength);
    mFolded += length.size() - shortLength.size();
}
