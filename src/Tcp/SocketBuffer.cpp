// SPDX-License-Identifier: Apache-2.0
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>
#include <QIODevice>

#include <cstring>

namespace {
constexpr int pieceSize = 256 * 1024; // bytes; remains in the processor's cache
constexpr int mostKept = 4 * pieceSize; // bytes of memory, when a large frame has passed

/// Whether nobody kept it, so that its memory serves again. Acquires: another thread may have read it until now.
bool isOurs(QByteArray *payload)
{
    return payload->data_ptr()->ref.atomic.loadAcquire() == 1;
}

void copyInto(QByteArray *payload, const char *begin, int size)
{
    if (!isOurs(payload)) {
        *payload = QByteArray(begin, size);
        return;
    }
    payload->resize(size);
    std::memcpy(payload->data(), begin, static_cast<std::size_t>(size));
}
} // namespace

SocketBuffer::SocketBuffer(int largeFrame)
    : mLargeFrame(largeFrame)
    , mReader(TcpProtocolParser::maxBufferSize)
{
}

void SocketBuffer::setLargestFrame(int bytes)
{
    mReader.setLargestFrame(qBound(1, bytes, TcpProtocolParser::maxBufferSize));
}

void SocketBuffer::beginConnection()
{
    const Frame rest = mDropsLeftovers ? keepWholePayloads() : Frame();
    const int leftovers = mReader.unframedSize(mBytes, mPosition);
    if (mDropsLeftovers) {
        mBytes.clear();
        mReader.startNextLength();
    }
    // Last: a handler of the log may run an event loop, in which the new connection brings its first bytes.
    if (rest.kind == Frame::Invalid)
        rest.tell();
    else if (leftovers > 0 && mDropsLeftovers)
        qWarning() << "bytes of a former connection are dropped:" << leftovers;
    else if (leftovers > 0)
        qWarning() << "bytes of a former connection stand before the new one's:" << leftovers;
}

Frame SocketBuffer::keepWholePayloads()
{
    for (QByteArray payload;;) {
        const Frame frame = takeFrame(&payload);
        if (payload.isEmpty())
            return frame;
        mWholePayloads << payload;
    }
}

bool SocketBuffer::readFrom(QIODevice &device)
{
    const auto available = static_cast<int>(qMin<qint64>(device.bytesAvailable(), pieceSize));
    if (available <= 0)
        return false;
    if (readWholeFrame(device, available))
        return true;
    if (mBytes.capacity() < pieceSize)
        mBytes.reserve(pieceSize); // stays, so that not every piece needs memory anew
    const int oldSize = mBytes.size();
    mBytes.resize(oldSize + available);
    const qint64 size = device.read(mBytes.data() + oldSize, available);
    mBytes.truncate(oldSize + static_cast<int>(qMax<qint64>(size, 0)));
    return size > 0;
}

bool SocketBuffer::readWholeFrame(QIODevice &device, int available)
{
    if (available < mLargeFrame || available > mReader.largestFrame() || !mBytes.isEmpty() || !mWholePayloads.isEmpty())
        return false;
    char head[FrameReader::longestPlainHead];
    const qint64 headSize = qMax<qint64>(device.peek(head, sizeof head), 0);
    const int start = FrameReader::startOfWholeFrame(head, head + headSize, available);
    if (start < 0)
        return false;
    device.skip(start);
    QByteArray payload(available - start, Qt::Uninitialized); // of the device it would keep more alive than itself
    payload.truncate(static_cast<int>(qMax<qint64>(device.read(payload.data(), payload.size()), 0)));
    mWholePayloads << payload;
    return true;
}

bool SocketBuffer::takePayload(QByteArray *payload)
{
    if (!mWholePayloads.isEmpty()) {
        *payload = mWholePayloads.takeFirst();
        return true;
    }
    const Frame frame = takeFrame(payload);
    const bool isTaken = !payload->isEmpty();
    frame.tell();
    return isTaken;
}

Frame SocketBuffer::takeFrame(QByteArray *payload)
{
    const Frame frame = mReader.read(mBytes, mPosition);
    if (frame.kind == Frame::Payload) {
        copyInto(payload, mBytes.constData() + frame.start, frame.size);
        mPosition = frame.start + frame.size;
    } else {
        payload->clear();
    }
    if (frame.kind == Frame::Invalid)
        mPosition = mBytes.size(); // the start of a later frame goes too, on purpose
    if (frame.kind != Frame::Partial)
        mReader.startNextLength();
    if (payload->isEmpty())
        cutOff();
    return frame;
}

void SocketBuffer::cutOff()
{
    mBytes.remove(0, mPosition);
    mPosition = 0;
    if (mBytes.capacity() > mostKept && mBytes.size() <= pieceSize)
        mBytes.squeeze();
    mReader.fold(&mBytes);
}
