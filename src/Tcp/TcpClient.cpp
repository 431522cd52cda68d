// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpClient.h"

#include "Tcp/FrameWriter_p.h"
#include "Tcp/HeldSocket_p.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDebug>
#include <QPointer>

#include <limits>
#include <utility>

namespace {
constexpr int connectTimeout = 3000; // milliseconds
constexpr int retryDelay = 1000; // milliseconds

bool isPort(int port)
{
    return port >= 1 && port <= std::numeric_limits<quint16>::max();
}
} // namespace

TcpClient::TcpClient(QObject *parent)
    : QObject(parent)
    , mSocketBuffer(std::make_shared<SocketBuffer>())
    , mCalls(std::make_shared<NestedCalls>())
{
    mRetryTimer.setSingleShot(true);
    mRetryTimer.setInterval(retryDelay);
    connect(&mRetryTimer, &QTimer::timeout, this, &TcpClient::retry);

    connect(this, &TcpClient::send, this, &TcpClient::onSend, Qt::AutoConnection);
    connect(this, &TcpClient::isConnected_changed, this, &TcpClient::announceConnection, Qt::AutoConnection);
    renewSocket();
}

TcpClient::~TcpClient()
{
    dropSocket(mSocket, this); // closing it must not reach members that are gone already
}

bool TcpClient::start(const QString &ip, int port)
{
    if (mSocket->state() == QAbstractSocket::ConnectedState || isConnected()) {
        qWarning() << "already started & connected" << isConnected() << mSocket->state();
        return true;
    }
    if (!isPort(port)) {
        qWarning() << "invalid port" << port;
        return false;
    }

    mServerIP = ip;
    mServerPort = port;
    renewSocket(); // the old one may still be connecting to the former address
    const QPointer<TcpClient> self(this);
    const HeldSocket socket = mSocket;
    socket->connectToHost(ip, static_cast<quint16>(port), QIODevice::ReadWrite, QAbstractSocket::AnyIPProtocol);
    const bool isStarted = socket->waitForConnected(connectTimeout);
    if (!self)
        return isStarted;
    if (!isStarted && !isConnected())
        retryLater(false);
    const bool isStarved = !isStarted && socket->error() == QAbstractSocket::SocketResourceError;
    if (!std::exchange(mIsStarved, isStarved) && isStarved)
        qWarning().noquote() << "cannot connect, trying again every second:" << socket->errorString();
    return isStarted;
}

void TcpClient::stop()
{
    // Stopping does not end the retries: the link has to come back by itself.
    const HeldSocket socket = mSocket;
    if (socket->isOpen() && isConnected())
        socket->disconnectFromHost();
    else
        socket->abort();
}

qint64 TcpClient::bytesToWrite() const
{
    return mSocket->bytesToWrite();
}

void TcpClient::noteUnsent()
{
    mBytesUnsent = mSocket->bytesToWrite();
}

void TcpClient::setMaximumFrameSize(int bytes)
{
    mSocketBuffer->setLargestFrame(bytes);
}

int TcpClient::maximumFrameSize() const
{
    return mSocketBuffer->largestFrame();
}

void TcpClient::setDropsLeftovers(bool drops)
{
    mSocketBuffer->setDropsLeftovers(drops);
}

bool TcpClient::dropsLeftovers() const
{
    return mSocketBuffer->dropsLeftovers();
}

void TcpClient::renewSocket()
{
    dropSocket(mSocket, this);
    mSocket = holdSocket(new QTcpSocket);
    connectHeld(mSocket, &QTcpSocket::disconnected, this, &TcpClient::onDisconnected, mCalls);
    connectHeld(mSocket, &QTcpSocket::connected, this, &TcpClient::onConnected, mCalls);
    connectHeld(mSocket, &QTcpSocket::readyRead, this, &TcpClient::onReadyRead, mCalls);
    connect(mSocket.get(), &QTcpSocket::bytesWritten, this, &TcpClient::noteUnsent);
}

void TcpClient::onConnected()
{
    mRetryTimer.stop();
    mBytesUnsent = 0;
    const QPointer<TcpClient> self(this);
    const std::shared_ptr<SocketBuffer> buffer = mSocketBuffer;
    const HeldSocket socket = mSocket;
    buffer->beginConnection(); // tells in the log, whose handler may do what a receiver may
    if (!self || mSocket != socket || socket->state() != QAbstractSocket::ConnectedState)
        return;
    set_isConnected(true);
    qDebug() << "Connected to server";
}

void TcpClient::onDisconnected()
{
    const QPointer<TcpClient> self(this);
    qDebug() << "Disonnected from server";
    if (!self)
        return;
    while (mSocketBuffer->readFrom(*mSocket)) {} // what came while a receiver ran an event loop of its own
    renewSocket(); // a receiver may start again, for which a socket that is just telling of its end does not serve
    set_isConnected(false);
    if (self && mSocket->state() == QAbstractSocket::UnconnectedState)
        retryLater(true);
}

void TcpClient::onReadyRead()
{
    const QPointer<TcpClient> self(this);
    const std::shared_ptr<SocketBuffer> buffer = mSocketBuffer;
    QByteArray data;
    HeldSocket socket = mSocket;
    // More may come while a receiver runs an event loop of its own, and be read when this connection ends in there.
    while (self && (buffer->readFrom(*mSocket) || std::exchange(socket, mSocket) != mSocket)) {
        while (buffer->takePayload(&data)) {
            Q_EMIT dataReceived(data);
            if (!self)
                return;
        }
    }
}

void TcpClient::onSend(const AbstractTcpMessage &message)
{
    const auto isUsable = [this] { return mSocket->isOpen() && isConnected(); };
    const QPointer<TcpClient> self(this);
    // Asked for its content, a message may run an event loop, in which another connection takes the place of this one.
    const QByteArray frame = isUsable() ? TcpProtocolParser::messageToData(message) : QByteArray();
    if (!self)
        return;
    const HeldSocket socket = mSocket;
    if (frame.isEmpty() || !isUsable() || !writeFrame(*socket, frame, &mBytesUnsent))
        qWarning() << "Socket not open";
}

void TcpClient::announceConnection(bool value)
{
    const QPointer<TcpClient> self(this);
    qDebug() << value;
    if (!self)
        return;
    if (value)
        Q_EMIT connected();
    else
        Q_EMIT disconnected();
}

void TcpClient::retryLater(bool afterDrop)
{
    mRetriesAfterDrop = afterDrop;
    mRetryTimer.start();
}

void TcpClient::retry()
{
    if (mCalls->areMost()) {
        mRetryTimer.start();
        return;
    }
    const QPointer<TcpClient> self(this);
    if (mRetriesAfterDrop)
        qDebug() << "";
    if (self)
        start(mServerIP, mServerPort);
}
