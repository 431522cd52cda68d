// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QHostAddress>
#include <QTcpServer>
#include <QTcpSocket>

/// The least that two ends can do: bytes go into a socket, and are read and counted at the other side.
class PlainLink
{
public:
    PlainLink()
    {
        mServer.listen(QHostAddress::LocalHost);
        mNear.connectToHost(QHostAddress(QHostAddress::LocalHost), mServer.serverPort());
        constexpr int patience = 3000; // milliseconds
        if (!mNear.waitForConnected(patience) || !mServer.waitForNewConnection(patience))
            qFatal("no connection to this machine itself");
        mFar = mServer.nextPendingConnection();
        QObject::connect(mFar, &QTcpSocket::readyRead, mFar, [this] { mReceived += mFar->readAll().size(); });
    }

    void send(const QByteArray &bytes) { mNear.write(bytes); }
    const qint64 &received() const { return mReceived; } ///< bytes

private:
    QTcpServer mServer;
    QTcpSocket mNear;
    QTcpSocket *mFar = nullptr; ///< owned by the server
    qint64 mReceived = 0;
};
