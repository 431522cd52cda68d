// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Loopback.h"
#include "MetaText.h"
#include "PollTimes.h"
#include "Tcp/TcpClient.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <netinet/in.h>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <limits>
#include <memory>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

using Loopback::frame;
using Loopback::payload;

namespace {
constexpr int oneRetry = 1200; // milliseconds, a little more than the client waits

/// Listens without ever accepting: whoever tries to connect waits.
class DeafServer
{
public:
    DeafServer()
    {
        mListener = open();
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        auto *const plainAddress = reinterpret_cast<sockaddr *>(&address);
        mIsDeaf = bind(mListener, plainAddress, size) == 0 && listen(mListener, 0) == 0
            && getsockname(mListener, plainAddress, &size) == 0;
        for (int &filler : mFillers) { // so many that its queue is full
            filler = open();
            mIsDeaf = mIsDeaf && (connect(filler, plainAddress, size) == 0 || errno == EINPROGRESS);
        }
        mPort = ntohs(address.sin_port);
    }
    ~DeafServer()
    {
        for (const int filler : mFillers)
            close(filler);
        close(mListener);
    }
    DeafServer(const DeafServer &) = delete;
    DeafServer &operator=(const DeafServer &) = delete;

    bool isDeaf() const { return mIsDeaf; }
    int port() const { return mPort; }

private:
    static int open() { return socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

    int mListener = -1;
    int mFillers[4] = {};
    int mPort = 0;
    bool mIsDeaf = false;
};

class LargeMessage : public AbstractTcpMessage
{
public:
    QByteArray toByteArray() const override { return "{" + QByteArray(1024 * 1024, ' ') + "}"; }
};

QByteArrayList received(const QSignalSpy &spy)
{
    QByteArrayList result;
    for (const QVariantList &arguments : spy)
        result << arguments.first().toByteArray();
    return result;
}
} // namespace

class TestTcpClient : public QObject
{
    Q_OBJECT

public:
    static void initMain() { qputenv("QT_NO_GLIB", "1"); } // Qt's own event loop tells how long it waits for a timer

private Q_SLOTS:
    void init()
    {
        mPeer = std::make_unique<QTcpServer>();
        QVERIFY(mPeer->listen(QHostAddress::LocalHost));
    }

    void cleanup() { mPeer.reset(); }

    void theMetaObjectHoldsSignalsAndPropertyInTheirOrder()
    {
        QCOMPARE(MetaText::ofMethods(TcpClient::staticMetaObject),
            (QStringList{QStringLiteral("signal isConnected_changed(bool value)"),
                QStringLiteral("signal send(AbstractTcpMessage message)"),
                QStringLiteral("signal dataReceived(QByteArray data)"), QStringLiteral("signal connected()"),
                QStringLiteral("signal disconnected()")}));
        QCOMPARE(MetaText::ofProperties(TcpClient::staticMetaObject),
            QStringList{QStringLiteral("bool isConnected read write notify isConnected_changed")});
        QCOMPARE(TcpClient::staticMetaObject.superClass(), &QObject::staticMetaObject);
    }

    void aNewClientIsNotConnected()
    {
        const LogCapture log;
        QObject parent;
        const auto *const client = new TcpClient(&parent);

        QVERIFY(!client->isConnected());
        QVERIFY(!client->isConnected_dirty());
        QCOMPARE(TcpClient::isConnected_name(), QStringLiteral("isConnected"));
        QCOMPARE(client->parent(), &parent);
        QCOMPARE(log.asText(), QStringList());
    }

    void startConnectsAndTellsSoBeforeItReturns()
    {
        const LogCapture log;
        TcpClient client;
        QStringList told;
        const auto tell = [&](const char *text) { return [&told, text] { told << QString::fromUtf8(text); }; };
        connect(&client, &TcpClient::isConnected_changed, this, tell("changed"));
        connect(&client, &TcpClient::connected, this, tell("connected"));
        connect(&client, &TcpClient::disconnected, this, tell("disconnected"));

        QVERIFY(client.start(Loopback::address(), mPeer->serverPort()));

        QVERIFY(client.isConnected());
        QCOMPARE(told, (QStringList{QStringLiteral("connected"), QStringLiteral("changed")}));
        QCOMPARE(
            log.asText(), (QStringList{QStringLiteral("debug: true"), QStringLiteral("debug: Connected to server")}));
        QTRY_VERIFY(mPeer->hasPendingConnections());
    }

    void startOnAConnectedClientWarnsAndChangesNothing()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost));
        const LogCapture log;

        QVERIFY(client.start(Loopback::address(), other.serverPort()));
        QVERIFY(client.start(Loopback::address(), -1));

        const QString warning =
            QStringLiteral("warning: already started & connected true QAbstractSocket::ConnectedState");
        QCOMPARE(log.asText(), (QStringList{warning, warning}));
        QVERIFY(!other.waitForNewConnection(50));
        exchange(client);
    }

    void aReceiverOfConnectedFindsTheClientConnected()
    {
        const LogCapture log;
        TcpClient client;
        bool startedAgain = false;
        connect(&client, &TcpClient::connected, this,
            [&] { startedAgain = client.isConnected() && client.start(Loopback::address(), mPeer->serverPort()); });

        QVERIFY(client.start(Loopback::address(), mPeer->serverPort()));

        QVERIFY(startedAgain);
        QCOMPARE(log.warnings(),
            QStringList{QStringLiteral("already started & connected true QAbstractSocket::ConnectedState")});
    }

    void thePropertySetByHandIsBelieved()
    {
        const LogCapture log;
        TcpClient client;
        const QSignalSpy connectedSpy(&client, &TcpClient::connected);
        const QSignalSpy disconnectedSpy(&client, &TcpClient::disconnected);

        client.set_isConnected(true);
        QCOMPARE(connectedSpy.count(), 1);
        QVERIFY(client.start(Loopback::address(), mPeer->serverPort()));
        Q_EMIT client.send(AbstractTcpMessage());
        client.set_isConnected(false);

        QCOMPARE(disconnectedSpy.count(), 1);
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: true"),
                QStringLiteral("warning: already started & connected true QAbstractSocket::UnconnectedState"),
                QStringLiteral("warning: Socket not open"), QStringLiteral("debug: false")}));
        QVERIFY(!mPeer->hasPendingConnections());
    }

    void portsThatAreNoneAreRefused_data()
    {
        QTest::addColumn<int>("port");

        QTest::newRow("zero") << 0;
        QTest::newRow("negative") << -1;
        QTest::newRow("65536") << 65536;
        QTest::newRow("70000") << 70000;
        QTest::newRow("the peer's port, wrapped") << -2;
        QTest::newRow("highest") << std::numeric_limits<int>::max();
        QTest::newRow("lowest") << std::numeric_limits<int>::min();
    }

    void portsThatAreNoneAreRefused()
    {
        QFETCH(const int, port);
        const int wrapped = port == -2 ? 65536 + mPeer->serverPort() : port;
        const LogCapture log;
        TcpClient client;

        QVERIFY(!client.start(Loopback::address(), wrapped));

        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: invalid port %1").arg(wrapped)});
        QVERIFY(!client.isConnected());
        QVERIFY(!mPeer->waitForNewConnection(20));
    }

    void withoutAServerItTriesAgainEverySecond()
    {
        const int port = Loopback::freePort();
        const LogCapture log;
        TcpClient client;
        QElapsedTimer timer;
        for (int i = 0; i < 4; ++i) // several starts make one row of retries
            QVERIFY(!client.start(Loopback::address(), port));
        client.stop(); // does not end them
        QCOMPARE(log.asText(), QStringList());
        timer.start();

        QTcpServer server;
        const QSignalSpy connections(&server, &QTcpServer::newConnection);
        QTimer::singleShot(1500, &server, [&] { server.listen(QHostAddress::LocalHost, quint16(port)); });
        QTRY_VERIFY(client.isConnected());

        QVERIFY2(timer.elapsed() >= 1900, qPrintable(QString::number(timer.elapsed()))); // the second retry
        QVERIFY2(timer.elapsed() < 4000, qPrintable(QString::number(timer.elapsed())));
        QTRY_COMPARE(connections.count(), 1);
        QSignalSpy others(&server, &QTcpServer::newConnection);
        QVERIFY(!others.wait(oneRetry));
        QCOMPARE(
            log.asText(), (QStringList{QStringLiteral("debug: true"), QStringLiteral("debug: Connected to server")}));
    }

    void aRetryIsASecondAway()
    {
        TcpClient client;
        QVERIFY(!client.start(Loopback::address(), Loopback::freePort()));
        PollTimes::forget();
        QEventLoop loop;
        const QDeadlineTimer patience(5000);

        std::thread observer([&] {
            while (PollTimes::longest == 0 && !patience.hasExpired())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            loop.quit();
        });
        loop.exec();
        observer.join();

        const long long coarse = 1000 / 20; // Qt's timers end up to so much later
        QVERIFY2(PollTimes::longest > 500 && PollTimes::longest <= 1000 + coarse,
            qPrintable(QString::number(PollTimes::longest)));
    }

    void aConnectionThatAReceiverHasRenewedEndsTheRetries()
    {
        LogCapture log;
        TcpClient client;
        int calls = 0;
        connect(&client, &TcpClient::connected, this, [&] {
            if (++calls > 1)
                return;
            client.stop();
            client.start(Loopback::address(), mPeer->serverPort());
        });

        QVERIFY(!client.start(Loopback::address(), mPeer->serverPort())); // the first connection is gone
        QCOMPARE(calls, 2);
        QVERIFY(client.isConnected());
        log.clear();
        QSignalSpy changes(&client, &TcpClient::isConnected_changed);

        QVERIFY(!changes.wait(oneRetry));

        QCOMPARE(log.asText(), QStringList());
    }

    void aConnectionEndsTheRetries()
    {
        TcpClient client;
        QVERIFY(!client.start(Loopback::address(), Loopback::freePort()));
        QVERIFY(startConnected(client));
        const LogCapture log;
        QSignalSpy changes(&client, &TcpClient::isConnected_changed);

        QVERIFY(!changes.wait(oneRetry));

        QCOMPARE(log.asText(), QStringList());
    }

    void startBlocksForThreeSecondsAtMost()
    {
        const DeafServer server;
        QVERIFY(server.isDeaf());
        TcpClient client;
        QElapsedTimer timer;
        timer.start();

        QVERIFY(!client.start(Loopback::address(), server.port()));

        QVERIFY2(timer.elapsed() >= 2900, qPrintable(QString::number(timer.elapsed())));
        QVERIFY2(timer.elapsed() < 4500, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(!client.isConnected());
    }

    void aLostConnectionComesBackASecondLater()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        const LogCapture log;
        const QSignalSpy disconnectedSpy(&client, &TcpClient::disconnected);
        const QSignalSpy connectedSpy(&client, &TcpClient::connected);
        const QSignalSpy data(&client, &TcpClient::dataReceived);
        QElapsedTimer timer;
        timer.start();

        mSocket->write("1"); // half a length, which stays
        mSocket->disconnectFromHost();
        QTRY_COMPARE(disconnectedSpy.count(), 1);
        QVERIFY(!client.isConnected());
        QTRY_COMPARE(connectedSpy.count(), 1);

        QVERIFY2(timer.elapsed() >= 950, qPrintable(QString::number(timer.elapsed())));
        QVERIFY(client.isConnected());
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: Partial buffer, waiting for more data"),
                QStringLiteral("debug: Disonnected from server"), QStringLiteral("debug: false"),
                QStringLiteral("debug: "),
                QStringLiteral("warning: bytes of a former connection stand before the new one's: 1"),
                QStringLiteral("debug: true"), QStringLiteral("debug: Connected to server")}));
        QVERIFY(accept());
        mSocket->write("5{\"type\": 12345}");
        QTRY_COMPARE(received(data), QByteArrayList{"{\"type\": 12345}"});
    }

    void aStoppedClientComesBackASecondLater()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();

        client.stop();
        QTRY_VERIFY(!client.isConnected());
        QTRY_COMPARE(mSocket->state(), QAbstractSocket::UnconnectedState);
        QTRY_VERIFY(client.isConnected());

        QVERIFY2(timer.elapsed() >= 950, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: Disonnected from server"), QStringLiteral("debug: false"),
                QStringLiteral("debug: "), QStringLiteral("debug: true"),
                QStringLiteral("debug: Connected to server")}));
        QVERIFY(accept());
        exchange(client);
    }

    void whatWasSentBeforeStopArrives()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        const LargeMessage message; // more than the system takes at once

        Q_EMIT client.send(message);
        QVERIFY(client.bytesToWrite() > 0);
        client.stop();

        const qint64 size = TcpProtocolParser::messageToData(message).size();
        QTRY_COMPARE(mSocket->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(mSocket->bytesAvailable(), size);
    }

    void stopWithoutAConnectionDoesNothing()
    {
        const LogCapture log;
        TcpClient client;

        client.stop();

        QVERIFY(!client.isConnected_dirty());
        QCOMPARE(log.asText(), QStringList());
    }

    void aReceiverOfDisconnectedMayStartItAgain()
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost));
        TcpClient client;
        QVERIFY(startConnected(client));
        bool isStarted = false;
        connect(&client, &TcpClient::disconnected, this,
            [&] { isStarted = client.start(Loopback::address(), other.serverPort()); });

        const LogCapture log;
        mSocket->abort();
        QTRY_VERIFY(isStarted);

        QVERIFY(client.isConnected());
        QSignalSpy disconnectedSpy(&client, &TcpClient::disconnected);
        QVERIFY(!disconnectedSpy.wait(oneRetry));
        QVERIFY(client.isConnected());
        QTRY_VERIFY(other.hasPendingConnections());
        mSocket = other.nextPendingConnection();
        exchange(client);
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: Disonnected from server"), QStringLiteral("debug: false"),
                QStringLiteral("debug: true"), QStringLiteral("debug: Connected to server")}));
        QVERIFY(!other.hasPendingConnections());
        QVERIFY(!mPeer->hasPendingConnections());
    }

    void bytesBecomePayloads_data()
    {
        QTest::addColumn<QByteArrayList>("writes");
        QTest::addColumn<QByteArrayList>("payloads");

        QByteArrayList bytes;
        for (const char byte : frame(7) + frame(8))
            bytes << QByteArray(1, byte);
        QTest::newRow("one frame") << QByteArrayList{frame(7)} << QByteArrayList{payload(7)};
        QTest::newRow("two frames in one write")
            << QByteArrayList{frame(7) + frame(8)} << QByteArrayList{payload(7), payload(8)};
        QTest::newRow("a frame in two writes")
            << QByteArrayList{frame(7).left(9), frame(7).mid(9)} << QByteArrayList{payload(7)};
        QTest::newRow("byte by byte") << bytes << QByteArrayList{payload(7), payload(8)};
        QTest::newRow("negative lengths") << QByteArrayList{"-2{}", "-5{abc}", frame(7)} << QByteArrayList{payload(7)};
        QTest::newRow("garbage") << QByteArrayList{"garbage{}", frame(7)} << QByteArrayList{payload(7)};
        QTest::newRow("blanks without end")
            << QByteArrayList{QByteArray(300000, ' '), frame(7)} << QByteArrayList{payload(7)};
        QTest::newRow("no JSON") << QByteArrayList{"3{ab"} << QByteArrayList{"{ab"};
    }

    void bytesBecomePayloads()
    {
        QFETCH(const QByteArrayList, writes);
        QFETCH(const QByteArrayList, payloads);
        LogCapture log;
        TcpClient client;
        QVERIFY(startConnected(client));
        const QSignalSpy data(&client, &TcpClient::dataReceived);

        for (const QByteArray &bytes : writes) {
            log.clear();
            const int before = data.count();
            mSocket->write(bytes);
            // Each write is read before the next: it left a payload or a line in the log.
            QTRY_VERIFY(data.count() > before || !log.asText().isEmpty());
        }

        QTRY_COMPARE(received(data), payloads);
    }

    void aMessageIsWrittenAsOneFrame()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        const LogCapture log;
        AbstractTcpMessage message;
        message.set_type(3);

        Q_EMIT client.send(message);
        message.set_type(12345);
        Q_EMIT client.send(message);

        const QByteArray expected = "18{\n    \"type\": 3\n}\n22{\n    \"type\": 12345\n}\n";
        QTRY_COMPARE(mSocket->bytesAvailable(), qint64(expected.size()));
        QCOMPARE(mSocket->readAll(), expected);
        QCOMPARE(log.asText(), QStringList());
    }

    void withoutAConnectionAMessageIsLost()
    {
        LogCapture log;
        TcpClient client;
        Q_EMIT client.send(AbstractTcpMessage());
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Socket not open")});

        QVERIFY(startConnected(client));
        mSocket->disconnectFromHost();
        QTRY_VERIFY(!client.isConnected());
        log.clear();
        Q_EMIT client.send(AbstractTcpMessage());

        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Socket not open")});
    }

    void aMessageFromAnotherThreadIsLost()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        const LogCapture log;

        std::thread([&] { Q_EMIT client.send(AbstractTcpMessage()); }).join();

        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(
            log.warnings().constFirst().contains(QLatin1String("Cannot queue arguments of type 'AbstractTcpMessage'")));
        QVERIFY(!mSocket->waitForReadyRead(50));
    }

    void aPeerThatDoesNotReadIsWarnedOfOnce()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        mSocket->setReadBufferSize(1);
        const LogCapture log;
        const LargeMessage large;
        QCOMPARE(client.bytesToWrite(), qint64(0));

        for (int i = 0; i < 40; ++i)
            Q_EMIT client.send(large);

        QVERIFY(client.bytesToWrite() > 0);
        QCOMPARE(log.asText().size(), 1);
        QVERIFY2(
            log.asText().constFirst().startsWith(QLatin1String("warning: the peer does not read, bytes waiting: ")),
            qPrintable(log.asText().constFirst()));
        QVERIFY(client.isConnected());
    }

    void whatWasNeverSentIsCountedUntilTheNextConnection()
    {
        const LogCapture log;
        TcpClient client;
        QVERIFY(startConnected(client));
        mSocket->setReadBufferSize(1);
        QCOMPARE(client.bytesUnsent(), qint64(0));

        for (int i = 0; i < 40; ++i)
            Q_EMIT client.send(LargeMessage());
        QVERIFY(client.bytesUnsent() > 0);
        QCOMPARE(client.bytesUnsent(), client.bytesToWrite());
        mSocket->abort();
        QTRY_VERIFY(!client.isConnected());

        QCOMPARE(client.bytesToWrite(), qint64(0));
        QVERIFY(client.bytesUnsent() > 0);
        QVERIFY(startConnected(client));
        QCOMPARE(client.bytesUnsent(), qint64(0));
    }

    void whatIsSentIsNotUnsent()
    {
        TcpClient client;
        QVERIFY(startConnected(client));

        Q_EMIT client.send(LargeMessage()); // more than the system takes at once
        QVERIFY(client.bytesUnsent() > 0);

        QTRY_COMPARE(mSocket->bytesAvailable(), qint64(TcpProtocolParser::messageToData(LargeMessage()).size()));
        QTRY_COMPARE(client.bytesUnsent(), qint64(0));
    }

    void bytesThatComeWhileAReceiverRunsAnEventLoopAreRead()
    {
        TcpClient client;
        QVERIFY(startConnected(client));
        QByteArrayList payloads;
        connect(&client, &TcpClient::dataReceived, this, [&](const QByteArray &data) {
            payloads << data;
            if (payloads.size() > 1)
                return;
            mSocket->write(frame(8) + frame(9));
            QEventLoop loop;
            QTimer::singleShot(50, &loop, &QEventLoop::quit);
            loop.exec();
        });

        mSocket->write(frame(7));

        QTRY_COMPARE(payloads, (QByteArrayList{payload(7), payload(8), payload(9)}));
    }

    void bytesThatComeBeforeADropWithinAnEventLoopAreRead()
    {
        const LogCapture log;
        TcpClient client;
        QVERIFY(startConnected(client));
        QByteArrayList payloads;
        connect(&client, &TcpClient::dataReceived, this, [&](const QByteArray &data) {
            payloads << data;
            if (payloads.size() > 1)
                return;
            mSocket->write(frame(8));
            mSocket->disconnectFromHost();
            QEventLoop loop;
            connect(&client, &TcpClient::disconnected, &loop, &QEventLoop::quit);
            QTimer::singleShot(5000, &loop, &QEventLoop::quit);
            loop.exec();
            QVERIFY(!client.isConnected());
        });

        mSocket->write(frame(7));

        QTRY_COMPARE(payloads, (QByteArrayList{payload(7), payload(8)}));
    }

    void aReceiverOfDataMayStopIt()
    {
        const LogCapture log;
        TcpClient client;
        QVERIFY(startConnected(client));
        const QSignalSpy data(&client, &TcpClient::dataReceived);
        connect(&client, &TcpClient::dataReceived, &client, &TcpClient::stop);

        mSocket->write(frame(7) + frame(8));

        QTRY_VERIFY(!client.isConnected());
        QCOMPARE(received(data), (QByteArrayList{payload(7), payload(8)}));
        QTRY_COMPARE(mSocket->state(), QAbstractSocket::UnconnectedState);
    }

    void aReceiverOfDataMayConnectItElsewhere()
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::LocalHost));
        const LogCapture log;
        TcpClient client;
        QVERIFY(startConnected(client));
        bool isStarted = false;
        connect(&client, &TcpClient::dataReceived, &other, [&] {
            if (isStarted)
                return;
            client.stop();
            isStarted = client.start(Loopback::address(), other.serverPort());
        });

        mSocket->write(frame(7));
        QTRY_VERIFY(isStarted);

        QTRY_VERIFY(other.hasPendingConnections());
        mSocket = other.nextPendingConnection();
        exchange(client);
        QCOMPARE(log.warnings(), QStringList());
    }

    void aReceiverMayDestroyTheClient_data()
    {
        QTest::addColumn<QByteArray>("signal");

        QTest::newRow("connected()") << QByteArray(SIGNAL(connected()));
        QTest::newRow("isConnected_changed()") << QByteArray(SIGNAL(isConnected_changed(bool)));
        QTest::newRow("dataReceived()") << QByteArray(SIGNAL(dataReceived(QByteArray)));
        QTest::newRow("disconnected()") << QByteArray(SIGNAL(disconnected()));
    }

    void aReceiverMayDestroyTheClient()
    {
        QFETCH(const QByteArray, signal);
        const LogCapture log;
        mVictim = new TcpClient;
        QVERIFY(connect(mVictim, signal.constData(), this, SLOT(destroyVictim())));

        mVictim->start(Loopback::address(), mPeer->serverPort());
        QVERIFY(accept());
        mSocket->write(frame(7) + frame(8));
        if (signal == SIGNAL(disconnected()))
            mSocket->disconnectFromHost();

        QTRY_VERIFY(!mVictim);
        QTRY_COMPARE(mSocket->state(), QAbstractSocket::UnconnectedState);
    }

    void destroyingAConnectedClientTellsNobody()
    {
        auto client = std::make_unique<TcpClient>();
        QVERIFY(startConnected(*client));
        const LogCapture log;
        const QSignalSpy changes(client.get(), &TcpClient::isConnected_changed);
        const QSignalSpy disconnectedSpy(client.get(), &TcpClient::disconnected);

        client.reset();

        QCOMPARE(changes.count() + disconnectedSpy.count(), 0);
        QCOMPARE(log.asText(), QStringList());
        QTRY_COMPARE(mSocket->state(), QAbstractSocket::UnconnectedState);
    }

    void destroyingAClientEndsItsRetries()
    {
        const int port = Loopback::freePort();
        const LogCapture log;
        {
            TcpClient client;
            QVERIFY(!client.start(Loopback::address(), port));
        }
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost, quint16(port)));
        QSignalSpy connections(&server, &QTcpServer::newConnection);

        QVERIFY(!connections.wait(oneRetry));
        QCOMPARE(log.asText(), QStringList());
    }

private:
    Q_SLOT void destroyVictim() { delete mVictim; }

    bool accept()
    {
        if (!mPeer->hasPendingConnections() && !mPeer->waitForNewConnection(5000))
            return false;
        mSocket = mPeer->nextPendingConnection();
        return mSocket != nullptr;
    }

    bool startConnected(TcpClient &client)
    {
        return client.start(Loopback::address(), mPeer->serverPort()) && accept();
    }

    /// One message each way.
    void exchange(TcpClient &client)
    {
        const QSignalSpy data(&client, &TcpClient::dataReceived);
        mSocket->write(frame(7));
        QTRY_COMPARE(received(data), QByteArrayList{payload(7)});
        Q_EMIT client.send(AbstractTcpMessage());
        QTRY_COMPARE(mSocket->peek(100), frame(0));
    }

    std::unique_ptr<QTcpServer> mPeer;
    QTcpSocket *mSocket = nullptr; ///< the peer's end of the connection; owned by mPeer
    QPointer<TcpClient> mVictim;
};

QTEST_GUILESS_MAIN(TestTcpClient)
#include "tst_tcpclient.moc"
