// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpServer.h"

#include "Tcp/HeldSocket_p.h"
#include "Tcp/MessageWriter_p.h"
#include "Tcp/SocketBuffer_p.h"

#include <QDebug>
#include <QPointer>

#include <limits>
#include <utility>

TcpServer::TcpServer(QObject *parent)
    : QObject(parent)
    , mSocketBuffer(std::make_unique<SocketBuffer>())
{
    connect(&mServer, &QTcpServer::newConnection, this, &TcpServer::onNewConnection, Qt::AutoConnection);
    connect(this, &TcpServer::send, this, &TcpServer::onSend, Qt::AutoConnection);
}

TcpServer::~TcpServer()
{
    dropSocket(mSocket, this); // closing it must not reach members that are gone already
}

bool TcpServer::start(int port)
{
    if (port < 0 || port > std::numeric_limits<quint16>::max()) {
        qWarning() << "invalid port" << port;
        return false;
    }
    return mServer.listen(QHostAddress::Any, static_cast<quint16>(port));
}

void TcpServer::stop()
{
    if (mServer.isListening())
        mServer.close();
}

qint64 TcpServer::bytesToWrite() const
{
    return mSocket ? mSocket->bytesToWrite() : 0;
}

void TcpServer::onNewConnection()
{
    qDebug() << "Client connected";
    QTcpSocket *const newcomer = mServer.nextPendingConnection();
    if (!newcomer) // taken by an event loop within a receiver
        return;
    const HeldSocket socket = holdSocket(newcomer);
    const QPointer<TcpServer> self(this);
    if (const HeldSocket oldSocket = std::exchange(mSocket, nullptr)) {
        oldSocket->abort(); // clientDisconnected() comes from here
        if (!self)
            return;
    }
    if (mSocket) { // a receiver ran an event loop in which a newer client came
        socket->abort();
        return;
    }

    mSocket = socket;
    connectHeld(socket, &QTcpSocket::readyRead, this, &TcpServer::onReadyRead);
    connectHeld(socket, &QTcpSocket::disconnected, this, &TcpServer::clientDisconnected);
    Q_EMIT clientConnected();
}

void TcpServer::onReadyRead()
{
    const QPointer<TcpServer> self(this);
    const HeldSocket socket = mSocket;
    QByteArray data;
    while (mSocket == socket && mSocketBuffer->readFrom(*socket)) { // an old client's bytes stay unread
        while (mSocketBuffer->takePayload(&data)) {
            Q_EMIT dataReceived(data);
            if (!self)
                return;
        }
    }
}

void TcpServer::onSend(const AbstractTcpMessage &message)
{
    const auto state = mSocket ? mSocket->state() : QAbstractSocket::UnconnectedState;
    // After the client has left, Qt still calls the socket open and writable.
    const bool isUsable = state == QAbstractSocket::ConnectedState && mSocket->isOpen() && mSocket->isWritable();
    if (!isUsable || !writeMessage(*mSocket, message))
        qWarning() << "invalid socket state" << state;
}
