// SPDX-License-Identifier: Apache-2.0
#include "link/Endpoint.h"

#include "Tcp/TcpClient.h"
#include "Tcp/TcpServer.h"
#include "common/Terminal.h"

using Tools::Terminal::tell;

namespace Link {

namespace {
class PayloadMessage : public AbstractTcpMessage
{
public:
    explicit PayloadMessage(const QByteArray &payload)
        : mPayload(payload)
    {
    }
    QByteArray toByteArray() const override { return mPayload; }

private:
    const QByteArray mPayload;
};

class ListeningEnd : public Endpoint
{
public:
    explicit ListeningEnd(const Options &options)
        : mAddress(options.address.isEmpty() ? QHostAddress(QHostAddress::Any) : QHostAddress(options.address))
        , mPort(options.port)
    {
        mServer.setMaximumFrameSize(options.maxFrame);
        mServer.setDropsLeftovers(true);
        connect(&mServer, &TcpServer::dataReceived, this, &ListeningEnd::received);
        connect(&mServer, &TcpServer::clientConnected, this, [this] { note(true, "a unit has connected"); });
        connect(&mServer, &TcpServer::clientDisconnected, this, [this] { note(false, "the unit has gone"); });
    }

    bool open() override
    {
        const bool listens = mServer.start(mAddress, mPort);
        tell((listens ? QStringLiteral("listening on port %1")
                      : QStringLiteral("cannot listen on port %1: it is taken, or not allowed"))
                 .arg(mPort));
        return listens;
    }
    void send(const QByteArray &payload) override { Q_EMIT mServer.send(PayloadMessage(payload)); }
    bool isConnected() const override { return mIsConnected; }
    qint64 bytesToWrite() const override { return mServer.bytesToWrite(); }
    qint64 bytesUnsent() const override { return mServer.bytesUnsent(); }

private:
    void note(bool isConnected, const char *text)
    {
        mIsConnected = isConnected;
        tell(QString::fromUtf8(text));
        if (isConnected)
            Q_EMIT connected();
        else
            Q_EMIT disconnected();
    }

    TcpServer mServer;
    const QHostAddress mAddress;
    const int mPort;
    bool mIsConnected = false;
};

class ConnectingEnd : public Endpoint
{
public:
    explicit ConnectingEnd(const Options &options)
        : mAddress(options.address)
        , mPort(options.port)
    {
        mClient.setMaximumFrameSize(options.maxFrame);
        mClient.setDropsLeftovers(true);
        connect(&mClient, &TcpClient::dataReceived, this, &ConnectingEnd::received);
        connect(&mClient, &TcpClient::connected, this, [this] {
            tell(QStringLiteral("connected to %1, port %2").arg(mAddress).arg(mPort));
            Q_EMIT connected();
        });
        connect(&mClient, &TcpClient::disconnected, this, [this] {
            tell(QStringLiteral("the connection is lost; trying again every second"));
            Q_EMIT disconnected();
        });
    }

    bool open() override
    {
        if (!mClient.start(mAddress, mPort))
            tell(QStringLiteral("no connection to %1, port %2; trying again every second").arg(mAddress).arg(mPort));
        return true;
    }
    void send(const QByteArray &payload) override { Q_EMIT mClient.send(PayloadMessage(payload)); }
    bool isConnected() const override { return mClient.isConnected(); }
    qint64 bytesToWrite() const override { return mClient.bytesToWrite(); }
    qint64 bytesUnsent() const override { return mClient.bytesUnsent(); }

private:
    TcpClient mClient;
    const QString mAddress;
    const int mPort;
};
} // namespace

std::unique_ptr<Endpoint> Endpoint::create(const Options &options)
{
    if (options.action == Options::Action::Connect)
        return std::make_unique<ConnectingEnd>(options);
    return std::make_unique<ListeningEnd>(options);
}

} // namespace Link
