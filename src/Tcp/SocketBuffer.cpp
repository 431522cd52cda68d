// SPDX-License-Identifier: Apache-2.0
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QIODevice>

#include <limits>

namespace {
constexpr int longestLength = std::numeric_limits<int>::digits10 + 1; // digits of a length without zeros before it

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}
} // namespace

void SocketBuffer::readAll(QIODevice &device)
{
    const int oldSize = mBytes.size();
    mBytes.resize(oldSize + static_cast<int>(device.bytesAvailable()));
    const qint64 size = device.read(mBytes.data() + oldSize, mBytes.size() - oldSize);
    mBytes.truncate(oldSize + static_cast<int>(qMax<qint64>(size, 0)));
}

QByteArray SocketBuffer::takePayload()
{
    const int oldPosition = mPosition;
    const QByteArray payload = TcpProtocolParser::retrieveMessageData(mBytes, mPosition, mFolded);
    if (mPosition != oldPosition || mBytes.isEmpty())
        mFolded = 0;
    if (payload.isEmpty()) {
        mBytes.remove(0, mPosition);
        mPosition = 0;
        foldLength();
    }
    return payload;
}

void SocketBuffer::foldLength()
{
    const int start = mBytes.indexOf('{');
    const QByteArray length = mBytes.left(start < 0 ? mBytes.size() : start);
    if (length.size() <= longestLength)
        return;

    // What may follow depends on how it ends: behind a blank no digit, behind a zero byte anything.
    QByteArray shortLength = QByteArray::number(length.toInt());
    if (length.contains('\0'))
        shortLength.append('\0');
    else if (!isDigit(length.back()))
        shortLength.append(' ');
    mBytes.replace(0, length.size(), shortLength);
    mFolded += length.size() - shortLength.size();
}
