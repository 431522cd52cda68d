// SPDX-License-Identifier: Apache-2.0
#include "Tcp/FrameLength_p.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>
#include <QIODevice>

#include <cstring>
#include <limits>

namespace {
constexpr int pieceSize = 256 * 1024; // bytes; remains in the processor's cache
constexpr int mostKept = 4 * pieceSize; // bytes of memory, when a large frame has passed
constexpr int longestLength = std::numeric_limits<int>::digits10 + 1; // digits of a length without zeros before it

bool isDigit(char byte)
{
    return byte >= '0' && byte <= '9';
}

/// The frame that stands there if it is complete, not too large, and its length nothing but digits.
FrameLength wholeFrame(const char *begin, const char *end, int folded, int largest)
{
    const FrameLength frame = readPlainLength(begin, end);
    const auto [start, size] = frame;
    const bool isWhole = start >= 0 && size > 0 && size <= end - begin - start && start + folded <= largest - size;
    return isWhole ? frame : FrameLength();
}

/// Whether nobody kept it, so that its memory serves again. Acquires: another thread may have read it until now.
bool isOurs(QByteArray *payload)
{
    return payload->data_ptr()->ref.atomic.loadAcquire() == 1;
}
} // namespace

SocketBuffer::SocketBuffer(int largeFrame)
    : mLargeFrame(largeFrame)
    , mLargestFrame(TcpProtocolParser::maxBufferSize)
{
}

void SocketBuffer::setLargestFrame(int bytes)
{
    mLargestFrame = qBound(1, bytes, TcpProtocolParser::maxBufferSize);
}

void SocketBuffer::beginConnection()
{
    const FrameCut rest = mDropsLeftovers ? keepWholePayloads() : FrameCut();
    const int leftovers = unframedSize();
    if (mDropsLeftovers) {
        mBytes.clear();
        mFolded = 0;
    }
    // Last: a handler of the log may run an event loop, in which the new connection brings its first bytes.
    if (rest.kind == FrameCut::Invalid)
        rest.tell();
    else if (leftovers > 0 && mDropsLeftovers)
        qWarning() << "bytes of a former connection are dropped:" << leftovers;
    else if (leftovers > 0)
        qWarning() << "bytes of a former connection stand before the new one's:" << leftovers;
}

FrameCut SocketBuffer::keepWholePayloads()
{
    for (QByteArray payload;;) {
        if (!takePlainFrame(&payload)) {
            const FrameCut cut = takeAnyFrame(&payload);
            if (payload.isEmpty())
                return cut;
        }
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
    if (available < mLargeFrame || available > mLargestFrame || !mBytes.isEmpty() || !mWholePayloads.isEmpty())
        return false;
    char head[longestLength + 1];
    const qint64 headSize = device.peek(head, sizeof head);
    const auto [start, length] = readPlainLength(head, head + headSize);
    if (start < 0 || length != available - start)
        return false;
    device.skip(start);
    QByteArray payload(length, Qt::Uninitialized); // of the device it would keep more alive than itself
    payload.truncate(static_cast<int>(qMax<qint64>(device.read(payload.data(), length), 0)));
    mWholePayloads << payload;
    return true;
}

bool SocketBuffer::takePayload(QByteArray *payload)
{
    if (!mWholePayloads.isEmpty()) {
        *payload = mWholePayloads.takeFirst();
        return true;
    }
    if (takePlainFrame(payload))
        return true;
    const FrameCut cut = takeAnyFrame(payload);
    const bool isTaken = !payload->isEmpty();
    cut.tell();
    return isTaken;
}

bool SocketBuffer::takePlainFrame(QByteArray *payload)
{
    const char *const begin = mBytes.constData() + mPosition;
    const auto [start, size] = wholeFrame(begin, mBytes.constData() + mBytes.size(), mFolded, mLargestFrame);
    if (start < 0)
        return false;

    if (isOurs(payload)) {
        payload->resize(size);
        std::memcpy(payload->data(), begin + start, static_cast<std::size_t>(size));
    } else {
        *payload = QByteArray(begin + start, size);
    }
    mPosition += start + size;
    mFolded = 0;
    return true;
}

FrameCut SocketBuffer::takeAnyFrame(QByteArray *payload)
{
    const FrameCut cut = FrameCut::find(mBytes, mPosition, mFolded, mLargestFrame);
    *payload = cut.kind == FrameCut::Payload ? mBytes.mid(cut.start, cut.size) : QByteArray();
    if (cut.kind == FrameCut::Payload)
        mPosition = cut.start + cut.size;
    if (cut.kind == FrameCut::Invalid)
        mPosition = mBytes.size();
    if (cut.kind != FrameCut::Partial)
        mFolded = 0;
    if (payload->isEmpty())
        cutOff();
    return cut;
}

void SocketBuffer::cutOff()
{
    mBytes.remove(0, mPosition);
    mPosition = 0;
    if (mBytes.capacity() > mostKept && mBytes.size() <= pieceSize)
        mBytes.squeeze();
    foldLength();
}

int SocketBuffer::unframedSize() const
{
    const char *begin = mBytes.constData() + mPosition;
    const char *const end = mBytes.constData() + mBytes.size();
    int folded = mFolded;
    for (;;) {
        const auto [start, size] = wholeFrame(begin, end, folded, mLargestFrame);
        if (start < 0)
            return static_cast<int>(end - begin) + folded;
        begin += start + size;
        folded = 0;
    }
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
