// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpServer.h"

#include "Tcp/FrameWriter_p.h"
#include "Tcp/HeldSocket_p.h"
#include "Tcp/Listener_p.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>
#include <QPointer>

#include <limits>
#include <poll.h>
#include <sys/ioctl.h>
#include <utility>

namespace {
constexpr int acceptRetryDelay = 1000; // milliseconds

/// Qt notices it once all has been read.
bool hasPeerClosed(const QTcpSocket &socket)
{
    pollfd descriptor{static_cast<int>(socket.socketDescriptor()), POLLRDHUP, 0};
    return socket.state() != QAbstractSocket::ConnectedState || poll(&descriptor, 1, 0) != 0;
}

qint64 unreadBytes(const QTcpSocket &socket)
{
    int inSystem = 0;
    ioctl(static_cast<int>(socket.socketDescriptor()), FIONREAD, &inSystem);
    return socket.bytesAvailable() + inSystem;
}
} // namespace

TcpServer::TcpServer(QObject *parent)
    : QObject(parent)
    , mServer(std::make_unique<Listener>())
    , mSocketBuffer(std::make_shared<SocketBuffer>())
    , mCalls(std::make_shared<NestedCalls>([this] { acceptOrPause(); }))
{
    mAcceptTimer.setSingleShot(true);
    mAcceptTimer.setInterval(acceptRetryDelay);
    connect(&mAcceptTimer, &QTimer::timeout, this, &TcpServer::acceptOrPause);
    connect(mServer.get(), &Listener::acceptFailed, this, &TcpServer::onAcceptFailed);

    connect(mServer.get(), &Listener::newConnection, this, &TcpServer::onNewConnection, Qt::AutoConnection);
    connect(this, &TcpServer::send, this, &TcpServer::onSend, Qt::AutoConnection);
}

TcpServer::~TcpServer()
{
    dropSocket(mSocket, this); // closing it must not reach members that are gone already
}

bool TcpServer::start(int port)
{
    return start(QHostAddress(QHostAddress::Any), port);
}

bool TcpServer::start(const QHostAddress &address, int port)
{
    if (port < 0 || port > std::numeric_limits<quint16>::max()) {
        qWarning() << "invalid port" << port;
        return false;
    }
    if (address.isNull()) {
        qWarning() << "invalid address";
        return false;
    }
    mIsDeaf = false;
    if (!mServer->listen(address, static_cast<quint16>(port)))
        return false;
    acceptOrPause();
    return true;
}

void TcpServer::stop()
{
    if (mServer->isListening())
        mServer->close();
}

qint64 TcpServer::bytesToWrite() const
{
    return mSocket ? mSocket->bytesToWrite() : 0;
}

void TcpServer::noteUnsent()
{
    if (mSocket) // a former one has nothing to say anymore
        mBytesUnsent = mSocket->bytesToWrite();
}

void TcpServer::setMaximumFrameSize(int bytes)
{
    mSocketBuffer->setLargestFrame(bytes);
}

int TcpServer::maximumFrameSize() const
{
    return mSocketBuffer->largestFrame();
}

void TcpServer::setDropsLeftovers(bool drops)
{
    mSocketBuffer->setDropsLeftovers(drops);
}

bool TcpServer::dropsLeftovers() const
{
    return mSocketBuffer->dropsLeftovers();
}

void TcpServer::onAcceptFailed(const QString &reason)
{
    mAcceptTimer.start();
    if (!std::exchange(mIsDeaf, true))
        qWarning().noquote() << "cannot accept connections, trying again every second:" << reason;
}

void TcpServer::acceptOrPause()
{
    mServer->setAccepting(!mCalls->areMost());
}

void TcpServer::onNewConnection()
{
    mIsDeaf = false;
    const QPointer<TcpServer> self(this);
    qDebug() << "Client connected";
    if (self)
        hearOutClosed();
    if (!self)
        return;
    QTcpSocket *const newcomer = mServer->takeNewcomer();
    if (!newcomer) // taken by an event loop within a receiver
        return;
    const HeldSocket socket = holdSocket(newcomer);
    if (const HeldSocket oldSocket = std::exchange(mSocket, nullptr)) {
        const qint64 unread = unreadBytes(*oldSocket);
        oldSocket->abort(); // clientDisconnected() comes from here
        if (unread > 0)
            qWarning() << "bytes of a replaced connection are dropped:" << unread;
        if (!self)
            return;
    }
    if (mSocket) { // a receiver ran an event loop in which a newer client came
        socket->abort();
        return;
    }

    mSocket = socket;
    connectHeld(socket, &QTcpSocket::readyRead, this, &TcpServer::onReadyRead, mCalls);
    connect(socket.get(), &QTcpSocket::bytesWritten, this, &TcpServer::noteUnsent);
    mBytesUnsent = 0;
    const std::shared_ptr<SocketBuffer> buffer = mSocketBuffer;
    buffer->beginConnection(); // tells in the log, whose handler may do what a receiver may
    if (!self || mSocket != socket)
        return;
    const bool isGone = socket->state() != QAbstractSocket::ConnectedState;
    connectHeld(socket, &QTcpSocket::disconnected, this, &TcpServer::clientDisconnected, mCalls);
    const NestedCall call(mCalls);
    Q_EMIT clientConnected();
    if (self && mSocket == socket && socket->bytesAvailable() > 0) // it came, and was told, in a loop further up
        onReadyRead();
    if (isGone && self)
        Q_EMIT clientDisconnected();
}

void TcpServer::hearOutClosed()
{
    const QPointer<TcpServer> self(this);
    const HeldSocket socket = mSocket;
    const std::shared_ptr<SocketBuffer> buffer = mSocketBuffer;
    bool isMore = socket != nullptr;
    while (isMore && self && mSocket == socket && hasPeerClosed(*socket)) {
        isMore = socket->state() == QAbstractSocket::ConnectedState && socket->waitForReadyRead(0);
        // Qt tells of no more bytes while a receiver of earlier ones runs an event loop. It is given them afterwards.
        while (self && mSocket == socket && buffer->readFrom(*socket))
            isMore = true;
    }
}

void TcpServer::onReadyRead()
{
    const QPointer<TcpServer> self(this);
    QByteArray data;
    const std::shared_ptr<SocketBuffer> buffer = mSocketBuffer;
    HeldSocket socket = mSocket;
    // While a receiver runs an event loop more may come, and be read when another connection takes the place of this
    // one.
    while (self && ((mSocket && buffer->readFrom(*mSocket)) || std::exchange(socket, mSocket) != mSocket)) {
        while (buffer->takePayload(&data)) {
            Q_EMIT dataReceived(data);
            if (!self)
                return;
        }
    }
}

void TcpServer::onSend(const AbstractTcpMessage &message)
{
    const auto state = [this] { return mSocket ? mSocket->state() : QAbstractSocket::UnconnectedState; };
    const auto isUsable = [this, state] {
        // After the client has left, Qt still calls the socket open and writable.
        return state() == QAbstractSocket::ConnectedState && mSocket->isOpen() && mSocket->isWritable();
    };
    const QPointer<TcpServer> self(this);
    // Asked for its content, a message may run an event loop, in which another client takes the place of this one.
    const QByteArray frame = isUsable() ? TcpProtocolParser::messageToData(message) : QByteArray();
    if (!self)
        return;
    const HeldSocket socket = mSocket;
    const QAbstractSocket::SocketState stateBefore = state();
    if (frame.isEmpty() || !isUsable() || !writeFrame(*socket, frame, &mBytesUnsent))
        qWarning() << "invalid socket state" << stateBefore;
}
