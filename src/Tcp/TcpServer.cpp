// SPDX-License-Identifier: Apache-2.0
#include "Tcp/TcpServer.h"

#include "Tcp/MessageWriter_p.h"
#include "Tcp/SocketBuffer_p.h"

#include <QDebug>
#include <QPointer>
#include <QTcpSocket>

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
    // Closing them must not reach members that are gone already. They die later: this may come from one of their
    // signals.
    const auto sockets = mServer.findChildren<QTcpSocket *>();
    for (QTcpSocket *const socket : sockets) {
        socket->disconnect(this);
        socket->setParent(nullptr);
        socket->abort();
        socket->deleteLater();
    }
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
    QTcpSocket *const socket = mServer.nextPendingConnection();
    if (!socket) // taken by an event loop within a receiver
        return;
    const QPointer<TcpServer> self(this);
    if (QTcpSocket *const oldSocket = std::exchange(mSocket, nullptr)) {
        oldSocket->deleteLater();
        oldSocket->abort(); // clientDisconnected() comes from here
        if (!self)
            return;
    }
    if (mSocket) { // a receiver ran an event loop in which a newer client came
        socket->abort();
        socket->deleteLater();
        return;
    }

    mSocket = socket;
    connect(socket, &QTcpSocket::readyRead, this, [this, socket]() { onReadyRead(socket); });
    connect(socket, &QTcpSocket::disconnected, this, &TcpServer::clientDisconnected);
    Q_EMIT clientConnected();
}

void TcpServer::onReadyRead(const QTcpSocket *socket)
{
    const QPointer<TcpServer> self(this);
    QByteArray data;
    while (mSocket == socket && mSocketBuffer->readFrom(*mSocket)) { // an old client's bytes stay unread
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
