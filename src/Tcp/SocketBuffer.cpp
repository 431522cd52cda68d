// SPDX-License-Identifier: Apache-2.0
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QIODevice>

#include <limits>

namespace {
constexpr int pieceSize = 256 * 1024; // bytes; remains in the processor's cache
constexpr int mostKept = 4 * pieceSize; // bytes of memory, when a large frame has passed
constexpr int longestLength = std::numeric_limits<int>::digits10 + 1; // digits of a length without zeros before it

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}
} // namespace

bool SocketBuffer::readFrom(QIODevice &device)
{
    const auto available = static_cast<int>(qMin<qint64>(device.bytesAvailable(), pieceSize));
    if (available <= 0)
        return false;
    if (mBytes.capacity() < pieceSize)
        mBytes.reserve(pieceSize); // stays, so that not every piece needs memory anew
    const int oldSize = mBytes.size();
    mBytes.resize(oldSize + available);
    const qint64 size = device.read(mBytes.data() + oldSize, available);
    mBytes.truncate(oldSize + static_cast<int>(qMax<qint64>(size, 0)));
    return size > 0;
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
        if (mBytes.capacity() > mostKept && mBytes.size() <= pieceSize)
            mBytes.squeeze();
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
