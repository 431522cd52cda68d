// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Tcp/AbstractTcpMessage.h"
#include "VantorBase_export.h"

#include <QHostAddress>
#include <QTimer>

#include <memory>

class Listener;
class NestedCalls;
class QTcpSocket;
class SocketBuffer;

/// The end of the link that listens. It talks to one client at a time: the newest. What one sent before it closed the
/// connection is received all the same; of one that is replaced while it is connected, the log tells what was not read.
///
/// Belongs to the thread that creates it; emit send() there. Messages sent while there is no client are lost. A
/// receiver of any signal may start, stop or destroy the server, also from an event loop of its own, as a dialog runs
/// one. While 8 calls nest in such loops, newcomers wait.
///
/// @code
/// TcpServer server;
/// QObject::connect(&server, &TcpServer::clientConnected, &server, [&server] {
///     AbstractTcpMessage greeting;
///     greeting.set_type(7);
///     Q_EMIT server.send(greeting);
/// });
/// if (!server.start(4000))
///     qWarning() << "the port is taken";
/// @endcode
class VANTORBASE_EXPORT TcpServer : public QObject
{
    Q_OBJECT

public:
    explicit TcpServer(QObject *parent = nullptr);
    ~TcpServer() override;

    /// Listens on all interfaces, IPv4 and IPv6. @param port 0 to 65535; 0 takes a free one
    bool start(int port);

    /// Listens on one address only, as on 127.0.0.1 behind a tunnel.
    bool start(const QHostAddress &address, int port);

    /// Stops listening. A client stays connected.
    void stop();

    /// Bytes that wait until the peer has read what went before.
    qint64 bytesToWrite() const;

    /// The same, and after the connection is lost, what was lost with it: never handed to the system. 0 again when the
    /// next one begins.
    qint64 bytesUnsent() const { return mBytesUnsent; }

    /// The largest frame that is received, length and payload, in bytes: 1 to TcpProtocolParser::maxBufferSize, which
    /// is the default. A larger one erases what was received, as bytes do that are no frame. Receiving takes twice its
    /// size.
    void setMaximumFrameSize(int bytes);
    int maximumFrameSize() const;

    /// Whether bytes that an old client left without completing a frame are dropped when the next one comes, and do not
    /// stand before what that sends. Either is told in the log. Not by default.
    void setDropsLeftovers(bool drops);
    bool dropsLeftovers() const;

Q_SIGNALS:
    /// @param data the payload of one frame
    void dataReceived(QByteArray data);
    void clientConnected();
    void clientDisconnected();
    void send(const AbstractTcpMessage &message);

private:
    void onAcceptFailed(const QString &reason);
    void acceptOrPause();
    void onNewConnection();
    void hearOutClosed(); ///< reads what the client sent before it closed the connection; it is received as ever
    void onReadyRead();
    void onSend(const AbstractTcpMessage &message);
    void noteUnsent();

    std::unique_ptr<Listener> mServer; ///< never null
    QTimer mAcceptTimer; ///< runs while connections cannot be accepted
    bool mIsDeaf = false; ///< and that was told
    std::shared_ptr<SocketBuffer> mSocketBuffer; ///< never null; calls that stand on it hold it, too
    std::shared_ptr<NestedCalls> mCalls; ///< from sockets
    qint64 mBytesUnsent = 0; ///< Qt forgets it with the connection
    std::shared_ptr<QTcpSocket> mSocket; ///< the client, if ever there was one; calls that stand on it hold it, too
};
