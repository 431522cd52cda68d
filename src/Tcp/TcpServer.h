// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tcp/AbstractTcpMessage.h"
#include "VantorBase_export.h"

#include <QTcpServer>

#include <memory>

class QTcpSocket;
class SocketBuffer;

/// The end of the link that listens. It talks to one client at a time: the newest.
///
/// Belongs to the thread that creates it; emit send() there. Messages sent while there is no client are lost. Bytes
/// that an old client left without completing a frame stay in front of what the new client sends. A receiver of any
/// signal may start, stop or destroy the server, also from an event loop of its own, as a dialog runs one.
class VANTORBASE_EXPORT TcpServer : public QObject
{
    Q_OBJECT

public:
    explicit TcpServer(QObject *parent = nullptr);
    ~TcpServer() override;

    /// Listens on all interfaces, IPv4 and IPv6. @param port 0 to 65535; 0 takes a free one
    bool start(int port);

    /// Stops listening. A client stays connected.
    void stop();

    /// Bytes that wait until the peer has read what went before.
    qint64 bytesToWrite() const;

Q_SIGNALS:
    /// @param data the payload of one frame
    void dataReceived(QByteArray data);
    void clientConnected();
    void clientDisconnected();
    void send(const AbstractTcpMessage &message);

private:
    void onNewConnection();
    void onReadyRead();
    void onSend(const AbstractTcpMessage &message);

    QTcpServer mServer;
    std::unique_ptr<SocketBuffer> mSocketBuffer;
    std::shared_ptr<QTcpSocket> mSocket; ///< the client, if ever there was one; calls that stand on it hold it, too
};
