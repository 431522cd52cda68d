// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Property.h"
#include "Tcp/AbstractTcpMessage.h"
#include "VantorBase_export.h"

#include <QTimer>

#include <memory>

class NestedCalls;
class QTcpSocket;
class SocketBuffer;

/// The end of the link that connects, and connects again whenever the link is lost, until it is destroyed.
///
/// Belongs to the thread that creates it; emit send() there. Messages sent while there is no connection are lost. A
/// receiver of any signal may start, stop or destroy the client, also from an event loop of its own, as a dialog runs
/// one. While 8 calls nest in such loops, it does not connect again by itself.
///
/// @code
/// TcpClient client;
/// QObject::connect(&client, &TcpClient::dataReceived, &client, [](const QByteArray &payload) {
///     AbstractTcpMessage message;
///     if (message.fromByteArray(payload))
///         qInfo() << "message of type" << message.type();
/// });
/// client.start(QStringLiteral("192.0.2.7"), 4000);
/// @endcode
class VANTORBASE_EXPORT TcpClient : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(bool, isConnected, false)

public:
    explicit TcpClient(QObject *parent = nullptr);
    ~TcpClient() override;

    /// Connects, and blocks for up to 3 s for that. Returns whether it succeeded; without success it is tried again a
    /// second later, and so on. True at once when connected already; false at once for a port outside of 1 to 65535.
    /// @param ip an address; the look-up of a host name may block for longer
    bool start(const QString &ip, int port);

    /// Closes the connection, which comes back a second later. What waits is sent first: of a peer that does not read
    /// only the destructor gets rid.
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

    /// Whether bytes that a lost connection left without completing a frame are dropped when the next one begins, and
    /// do not stand before what that brings. Either is told in the log. Not by default.
    void setDropsLeftovers(bool drops);
    bool dropsLeftovers() const;

Q_SIGNALS:
    void send(const AbstractTcpMessage &message);

    /// @param data the payload of one frame
    void dataReceived(QByteArray data);
    void connected();
    void disconnected();

private:
    void renewSocket();
    void onConnected();
    void onDisconnected();
    void onReadyRead();
    void onSend(const AbstractTcpMessage &message);
    void noteUnsent();
    void announceConnection(bool value);
    void retryLater(bool afterDrop);
    void retry();

    std::shared_ptr<QTcpSocket> mSocket; ///< never null; calls that stand on it hold it, too
    std::shared_ptr<SocketBuffer> mSocketBuffer; ///< never null; calls that stand on it hold it, too
    std::shared_ptr<NestedCalls> mCalls; ///< from sockets
    qint64 mBytesUnsent = 0; ///< Qt forgets it with the connection
    QString mServerIP;
    int mServerPort = 0;
    QTimer mRetryTimer; ///< a single one: starts that fail do not pile up retries
    bool mRetriesAfterDrop = false;
    bool mIsStarved = false; ///< of file descriptors, and that was told
};
