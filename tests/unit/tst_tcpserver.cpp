// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Loopback.h"
#include "MetaText.h"
#include "Tcp/TcpProtocolParser.h"
#include "Tcp/TcpServer.h"

#include <QDir>
#include <QEventLoop>
#include <QPointer>
#include <QSignalSpy>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

#include <limits>
#include <memory>
#include <thread>

using Loopback::frame;
using Loopback::payload;

namespace {

QByteArrayList received(const QSignalSpy &spy)
{
    QByteArrayList result;
    for (const QVariantList &arguments : spy)
        result << arguments.first().toByteArray();
    return result;
}

class LargeMessage : public AbstractTcpMessage
{
public:
    QByteArray toByteArray() const override { return "{" + QByteArray(1024 * 1024, ' ') + "}"; }
};

QStringList unconnected()
{
    return {QStringLiteral("warning: invalid socket state QAbstractSocket::UnconnectedState")};
}

} // namespace

class TestTcpServer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mPayloads.clear();
        mTold.clear();
        mServer = std::make_unique<TcpServer>();
        mPort = Loopback::freePort();
        QVERIFY(mServer->start(mPort));
    }

    void cleanup() { mServer.reset(); }

    void theMetaObjectHoldsTheSignalsInTheirOrder()
    {
        QCOMPARE(MetaText::ofMethods(TcpServer::staticMetaObject),
            (QStringList{QStringLiteral("signal dataReceived(QByteArray data)"),
                QStringLiteral("signal clientConnected()"), QStringLiteral("signal clientDisconnected()"),
                QStringLiteral("signal send(AbstractTcpMessage message)")}));
        QCOMPARE(MetaText::ofProperties(TcpServer::staticMetaObject), QStringList());
        QCOMPARE(TcpServer::staticMetaObject.superClass(), &QObject::staticMetaObject);
    }

    void itListensOnAllInterfaces_data()
    {
        QTest::addColumn<QString>("address");

        QTest::newRow("IPv4") << Loopback::address();
        QTest::newRow("IPv6") << QStringLiteral("::1");
    }

    void itListensOnAllInterfaces() const
    {
        QFETCH(const QString, address);
        const bool isThere = QTcpServer().listen(QHostAddress(address)); // a machine may be without IPv6
        QTcpSocket client;

        client.connectToHost(address, quint16(mPort));

        QCOMPARE(client.waitForConnected(), isThere);
    }

    void portsThatAreNoneAreRefused_data()
    {
        QTest::addColumn<int>("port");

        QTest::newRow("-1") << -1;
        QTest::newRow("65536") << 65536;
        QTest::newRow("70000") << 70000;
        QTest::newRow("highest") << std::numeric_limits<int>::max();
        QTest::newRow("lowest") << std::numeric_limits<int>::min();
    }

    void portsThatAreNoneAreRefused()
    {
        QFETCH(const int, port);
        const LogCapture log;
        TcpServer server;

        QVERIFY(!server.start(port));
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: invalid port %1").arg(port)});
        QVERIFY(server.start(0)); // it had not begun to listen
    }

    void aPortInUseIsRefused() const
    {
        TcpServer other;

        QVERIFY(!other.start(mPort));
    }

    void itListensOnTheGivenAddressOnly_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("other");

        QTest::newRow("127.0.0.2") << QStringLiteral("127.0.0.2") << QStringLiteral("127.0.0.1");
        QTest::newRow("127.0.0.1") << QStringLiteral("127.0.0.1") << QStringLiteral("127.0.0.2");
    }

    void itListensOnTheGivenAddressOnly()
    {
        QFETCH(const QString, address);
        QFETCH(const QString, other);
        const int port = Loopback::freePort();
        TcpServer server;

        QVERIFY(server.start(QHostAddress(address), port));

        QTcpSocket client;
        client.connectToHost(other, quint16(port));
        QVERIFY(!client.waitForConnected());
        QCOMPARE(client.error(), QAbstractSocket::ConnectionRefusedError);
        client.connectToHost(address, quint16(port));
        QVERIFY(client.waitForConnected());
    }

    void anAddressThatIsNoneIsRefused()
    {
        const LogCapture log;
        TcpServer server;

        QVERIFY(!server.start(QHostAddress(QStringLiteral("nowhere")), 0));
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: invalid address")});
        QVERIFY(!server.start(QHostAddress(QHostAddress::LocalHost), -1));
        QVERIFY(server.start(QHostAddress(QHostAddress::LocalHost), 0)); // it had not begun to listen
    }

    void aListeningServerDoesNotStartAgain()
    {
        const LogCapture log;

        QVERIFY(!mServer->start(Loopback::freePort()));

        QVERIFY(connectClient(mFirst));
    }

    void stopEndsTheListeningOnly()
    {
        const LogCapture log;
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);
        QVERIFY(connectClient(mFirst));

        mServer->stop();
        mServer->stop();

        mSecond = std::make_unique<QTcpSocket>();
        mSecond->connectToHost(Loopback::address(), quint16(mPort));
        QVERIFY(!mSecond->waitForConnected());
        mFirst->write(frame(7));
        QTRY_COMPARE(received(data), QByteArrayList{payload(7)});
        Q_EMIT mServer->send(AbstractTcpMessage());
        QTRY_COMPARE(mFirst->peek(100), frame(0));
        QCOMPARE(left.count(), 0);
        QVERIFY(mServer->start(mPort));
        QVERIFY(connectClient(mSecond));
        QCOMPARE(left.count(), 1);
    }

    void aClientIsTold()
    {
        const LogCapture log;
        const QSignalSpy came(mServer.get(), &TcpServer::clientConnected);
        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);

        QVERIFY(connectClient(mFirst));
        QCOMPARE(came.count(), 1);
        QCOMPARE(left.count(), 0);
        mFirst->disconnectFromHost();
        QTRY_COMPARE(left.count(), 1);

        QCOMPARE(came.count(), 1);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("debug: Client connected")});
    }

    void theNewestClientReplacesTheOldOne()
    {
        const LogCapture log;
        QStringList told;
        const auto tell = [&](const char *text) { return [&told, text] { told << QString::fromUtf8(text); }; };
        connect(mServer.get(), &TcpServer::clientConnected, this, tell("connected"));
        connect(mServer.get(), &TcpServer::clientDisconnected, this, tell("disconnected"));
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);

        QVERIFY(connectClient(mFirst));
        QVERIFY(connectClient(mSecond));

        QCOMPARE(told,
            (QStringList{QStringLiteral("connected"), QStringLiteral("disconnected"), QStringLiteral("connected")}));
        QTRY_COMPARE(mFirst->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(mSecond->state(), QAbstractSocket::ConnectedState);
        mSecond->write(frame(8));
        QTRY_COMPARE(received(data), QByteArrayList{payload(8)});
        Q_EMIT mServer->send(AbstractTcpMessage());
        QTRY_COMPARE(mSecond->peek(100), frame(0));
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: Client connected"), QStringLiteral("debug: Client connected")}));
    }

    void aNewcomerIsLoggedBeforeTheOldClientGoes()
    {
        QVERIFY(connectClient(mFirst));
        const LogCapture log;
        QStringList loggedBefore;
        const auto look = [&] { loggedBefore = log.asText(); };
        connect(mServer.get(), &TcpServer::clientDisconnected, this, look);

        QVERIFY(connectClient(mSecond));

        QCOMPARE(loggedBefore, QStringList{QStringLiteral("debug: Client connected")});
    }

    void aNewClientAfterTheOldOneLeftIsToldOnce()
    {
        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);
        QVERIFY(connectClient(mFirst));
        mFirst->disconnectFromHost();
        QTRY_COMPARE(left.count(), 1);

        QVERIFY(connectClient(mSecond));

        QCOMPARE(left.count(), 1);
    }

    void manyClientsInTurnLeaveNoDescriptorBehind()
    {
        const auto descriptors = [] { return QDir(QStringLiteral("/proc/self/fd")).entryList().size(); };
        QVERIFY(connectClient(mFirst));
        QVERIFY(connectClient(mSecond));
        QTRY_COMPARE(mFirst->state(), QAbstractSocket::UnconnectedState);
        const int before = descriptors();

        for (int i = 0; i < 50; ++i)
            QVERIFY(connectClient(i % 2 == 0 ? mFirst : mSecond));

        QTRY_COMPARE(mFirst->state(), QAbstractSocket::UnconnectedState);
        QCOMPARE(descriptors(), before);
        mSecond->write(frame(7));
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        QTRY_COMPARE(received(data), QByteArrayList{payload(7)});
    }

    void whatAnOldClientLeftStaysInFrontOfTheNewOnesBytes()
    {
        const LogCapture log;
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        QVERIFY(connectClient(mFirst));
        mFirst->write("9");
        QTRY_COMPARE(log.debugs().constLast(), QStringLiteral("Partial buffer, waiting for more data"));
        QVERIFY(connectClient(mSecond));

        const QByteArray first = "{" + QByteArray(23, 'x') + "}";
        const QByteArray others = frame(1).repeated(45); // 25 and 900 bytes: the length reads 925
        mSecond->write("25" + first + others);
        QTRY_COMPARE(received(data), QByteArrayList{first + others});

        mSecond->write(frame(7));
        QTRY_COMPARE(received(data).constLast(), payload(7));
        QCOMPARE(data.count(), 2);
    }

    void whatAnOldClientLeftIsErasedWhereItDoesNotFrame()
    {
        const LogCapture log;
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        QVERIFY(connectClient(mFirst));
        mFirst->write("2{");
        QTRY_COMPARE(log.debugs().constLast(), QStringLiteral("Partial buffer, waiting for more data"));
        QVERIFY(connectClient(mSecond));

        mSecond->write("2{}");
        QTRY_COMPARE(received(data), QByteArrayList{"{2"});
        QTRY_COMPARE(log.warnings(),
            (QStringList{QStringLiteral("bytes of a former connection stand before the new one's: 2"),
                QStringLiteral("Invalid data. Erasing buffer 2")}));
        mSecond->write(frame(7));

        QTRY_COMPARE(received(data), (QByteArrayList{"{2", payload(7)}));
    }

    void twoFramesInOneWriteAreTwoPayloads()
    {
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        QVERIFY(connectClient(mFirst));

        mFirst->write(frame(7) + frame(8));

        QTRY_COMPARE(received(data), (QByteArrayList{payload(7), payload(8)}));
    }

    void hostileBytesDoNotEndTheLink_data()
    {
        QTest::addColumn<QByteArray>("bytes");

        QTest::newRow("garbage") << QByteArray("garbage");
        QTest::newRow("binary") << QByteArray("\0\xff\x01{\0", 5);
        QTest::newRow("negative length") << QByteArray("-2{}");
        QTest::newRow("length of more than 2 GB") << QByteArray("2147483648{}");
        QTest::newRow("blanks") << QByteArray(1024 * 1024, ' ');
        QTest::newRow("digits") << QByteArray(1024 * 1024, '7');
        QTest::newRow("braces") << QByteArray(1024 * 1024, '{');
        QTest::newRow("an array") << QByteArray("3[1]");
        QTest::newRow("text of another protocol") << QByteArray("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }

    void hostileBytesDoNotEndTheLink()
    {
        QFETCH(const QByteArray, bytes);
        const LogCapture log;
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        QVERIFY(connectClient(mFirst));

        mFirst->write(bytes);
        QTRY_COMPARE(erasedBytes(log), bytes.size());
        mFirst->write(frame(7));

        QTRY_COMPARE(received(data), QByteArrayList{payload(7)});
    }

    void aMessageIsWrittenAsOneFrame()
    {
        QVERIFY(connectClient(mFirst));
        const LogCapture log;
        AbstractTcpMessage message;
        message.set_type(3);

        Q_EMIT mServer->send(message);

        QTRY_COMPARE(mFirst->bytesAvailable(), 20);
        QCOMPARE(mFirst->readAll(), QByteArray("18{\n    \"type\": 3\n}\n"));
        QCOMPARE(log.asText(), QStringList());
    }

    void withoutAClientAMessageIsLost()
    {
        LogCapture log;
        Q_EMIT mServer->send(AbstractTcpMessage());
        QCOMPARE(log.asText(), unconnected());

        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);
        QVERIFY(connectClient(mFirst));
        mFirst->disconnectFromHost();
        QTRY_COMPARE(left.count(), 1);
        log.clear();
        Q_EMIT mServer->send(AbstractTcpMessage());
        QCOMPARE(log.asText(), unconnected());

        TcpServer never;
        QCOMPARE(never.bytesToWrite(), qint64(0));
        log.clear();
        Q_EMIT never.send(AbstractTcpMessage());
        QCOMPARE(log.asText(), unconnected());
    }

    void aMessageFromAnotherThreadIsLost()
    {
        QVERIFY(connectClient(mFirst));
        const LogCapture log;

        std::thread([&] { Q_EMIT mServer->send(AbstractTcpMessage()); }).join();

        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(
            log.warnings().constFirst().contains(QLatin1String("Cannot queue arguments of type 'AbstractTcpMessage'")));
        QVERIFY(!mFirst->waitForReadyRead(50));
    }

    void aPeerThatDoesNotReadIsWarnedOfOnce()
    {
        QVERIFY(connectClient(mFirst));
        mFirst->setReadBufferSize(1);
        const LogCapture log;
        const LargeMessage large;
        QCOMPARE(mServer->bytesToWrite(), qint64(0));

        for (int i = 0; i < 40; ++i)
            Q_EMIT mServer->send(large);

        QVERIFY(mServer->bytesToWrite() > 0);
        QCOMPARE(log.asText().size(), 1);
        QVERIFY2(
            log.asText().constFirst().startsWith(QLatin1String("warning: the peer does not read, bytes waiting: ")),
            qPrintable(log.asText().constFirst()));
    }

    void whatWasNeverSentIsCountedUntilTheNextClient()
    {
        const LogCapture log;
        QCOMPARE(mServer->bytesUnsent(), qint64(0));
        QVERIFY(connectClient(mFirst));
        mFirst->setReadBufferSize(1);
        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);

        for (int i = 0; i < 40; ++i)
            Q_EMIT mServer->send(LargeMessage());
        QVERIFY(mServer->bytesUnsent() > 0);
        QCOMPARE(mServer->bytesUnsent(), mServer->bytesToWrite());
        mFirst->abort();
        QTRY_COMPARE(left.count(), 1);

        QCOMPARE(mServer->bytesToWrite(), qint64(0));
        QVERIFY(mServer->bytesUnsent() > 0);
        QVERIFY(connectClient(mSecond));
        QCOMPARE(mServer->bytesUnsent(), qint64(0));
    }

    void whatIsSentIsNotUnsent()
    {
        QVERIFY(connectClient(mFirst));

        Q_EMIT mServer->send(LargeMessage()); // more than the system takes at once
        QVERIFY(mServer->bytesUnsent() > 0);

        QTRY_COMPARE(mFirst->bytesAvailable(), qint64(TcpProtocolParser::messageToData(LargeMessage()).size()));
        QTRY_COMPARE(mServer->bytesUnsent(), qint64(0));
    }

    void aReceiverOfClientDisconnectedMaySendAndStop()
    {
        const LogCapture log;
        QVERIFY(connectClient(mFirst));
        connect(mServer.get(), &TcpServer::clientDisconnected, mServer.get(), [&] {
            Q_EMIT mServer->send(AbstractTcpMessage());
            mServer->stop();
        });

        QVERIFY(connectClient(mSecond));

        QCOMPARE(log.warnings(), QStringList{QStringLiteral("invalid socket state QAbstractSocket::UnconnectedState")});
        Q_EMIT mServer->send(AbstractTcpMessage());
        QTRY_COMPARE(mSecond->peek(100), frame(0));
    }

    void bytesThatComeWhileAReceiverRunsAnEventLoopAreRead()
    {
        QVERIFY(connectClient(mFirst));
        connect(mServer.get(), &TcpServer::dataReceived, this, [this](const QByteArray &data) {
            mPayloads << data;
            if (mPayloads.size() > 1)
                return;
            mFirst->write(frame(8) + frame(9));
            runEventLoop();
        });

        mFirst->write(frame(7));

        QTRY_COMPARE(mPayloads, (QByteArrayList{payload(7), payload(8), payload(9)}));
    }

    void aReplacedClientIsNotReadAnyMore()
    {
        const LogCapture log;
        QVERIFY(connectClient(mFirst));
        connect(mServer.get(), &TcpServer::dataReceived, this, [this](const QByteArray &data) {
            mPayloads << data;
            if (mPayloads.size() > 1)
                return;
            mFirst->write(frame(8));
            runEventLoop();
            QVERIFY(connectClient(mSecond));
        });

        mFirst->write(frame(7));
        QTRY_VERIFY(mSecond && mSecond->state() == QAbstractSocket::ConnectedState);
        mSecond->write(frame(9));

        QTRY_COMPARE(mPayloads, (QByteArrayList{payload(7), payload(9)}));
        const QString told = QStringLiteral("bytes of a replaced connection are dropped: %1").arg(frame(8).size());
        QCOMPARE(log.warnings(), QStringList(told));
    }

    void ofTwoClientsThatComeInEachOtherTheNewestStays()
    {
        QVERIFY(connectClient(mFirst));
        connect(mServer.get(), &TcpServer::clientConnected, this, [this] { mTold << QStringLiteral("connected"); });
        connect(mServer.get(), &TcpServer::clientDisconnected, this, [this] {
            mTold << QStringLiteral("disconnected");
            if (!mThird) {
                mThird = std::make_unique<QTcpSocket>();
                mThird->connectToHost(Loopback::address(), quint16(mPort));
                runEventLoop();
            }
        });

        mSecond = std::make_unique<QTcpSocket>();
        mSecond->connectToHost(Loopback::address(), quint16(mPort));
        QTRY_COMPARE(mTold, (QStringList{QStringLiteral("disconnected"), QStringLiteral("connected")}));

        QTRY_COMPARE(mSecond->state(), QAbstractSocket::UnconnectedState);
        QTRY_COMPARE(mThird->state(), QAbstractSocket::ConnectedState);
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        mThird->write(frame(7));
        QTRY_COMPARE(received(data), QByteArrayList{payload(7)});
        Q_EMIT mServer->send(AbstractTcpMessage());
        QTRY_COMPARE(mThird->peek(100), frame(0));
        QCOMPARE(mTold.size(), 2);
    }

    void aReceiverMayDestroyTheServer_data()
    {
        QTest::addColumn<QByteArray>("signal");
        QTest::addColumn<bool>("isReplaced");

        QTest::newRow("clientConnected()") << QByteArray(SIGNAL(clientConnected())) << false;
        QTest::newRow("dataReceived()") << QByteArray(SIGNAL(dataReceived(QByteArray))) << false;
        QTest::newRow("clientDisconnected(), it left") << QByteArray(SIGNAL(clientDisconnected())) << false;
        QTest::newRow("clientDisconnected(), it was replaced") << QByteArray(SIGNAL(clientDisconnected())) << true;
    }

    void aReceiverMayDestroyTheServer()
    {
        QFETCH(const QByteArray, signal);
        QFETCH(const bool, isReplaced);
        const LogCapture log;
        QVERIFY(connect(mServer.get(), signal.constData(), this, SLOT(destroyServer())));

        mFirst = std::make_unique<QTcpSocket>();
        mFirst->connectToHost(Loopback::address(), quint16(mPort));
        QVERIFY(mFirst->waitForConnected());
        mFirst->write(frame(7) + frame(8));
        if (signal == SIGNAL(clientDisconnected())) {
            QTRY_VERIFY(!log.debugs().isEmpty());
            if (isReplaced) {
                mSecond = std::make_unique<QTcpSocket>();
                mSecond->connectToHost(Loopback::address(), quint16(mPort));
            } else {
                mFirst->disconnectFromHost();
            }
        }

        QTRY_VERIFY(!mServer);
        QTRY_COMPARE(mFirst->state(), QAbstractSocket::UnconnectedState);
        if (isReplaced)
            QTRY_COMPARE(mSecond->state(), QAbstractSocket::UnconnectedState);
    }

    void destroyingAServerWithAClientTellsNobody()
    {
        QVERIFY(connectClient(mFirst));
        const LogCapture log;
        const QSignalSpy left(mServer.get(), &TcpServer::clientDisconnected);
        const QSignalSpy data(mServer.get(), &TcpServer::dataReceived);
        mFirst->write(frame(7));
        mFirst->flush();

        mServer.reset();

        QCOMPARE(left.count() + data.count(), 0);
        QCOMPARE(log.asText(), QStringList());
        QTRY_COMPARE(mFirst->state(), QAbstractSocket::UnconnectedState);
    }

private:
    Q_SLOT void destroyServer() { mServer.reset(); }

    /// Connects it and waits until the server knows.
    bool connectClient(std::unique_ptr<QTcpSocket> &client)
    {
        QSignalSpy came(mServer.get(), &TcpServer::clientConnected);
        client = std::make_unique<QTcpSocket>();
        client->connectToHost(Loopback::address(), quint16(mPort));
        return client->waitForConnected() && (came.count() > 0 || came.wait());
    }

    static void runEventLoop()
    {
        QEventLoop loop;
        QTimer::singleShot(50, &loop, &QEventLoop::quit);
        loop.exec();
    }

    static int erasedBytes(const LogCapture &log)
    {
        int bytes = 0;
        const QStringList warnings = log.warnings();
        for (const QString &warning : warnings)
            bytes += warning.section(QLatin1Char(' '), -1).toInt();
        return bytes;
    }

    std::unique_ptr<TcpServer> mServer;
    int mPort = 0;
    std::unique_ptr<QTcpSocket> mFirst;
    std::unique_ptr<QTcpSocket> mSecond;
    std::unique_ptr<QTcpSocket> mThird;
    QByteArrayList mPayloads; ///< what a receiver of its own collects
    QStringList mTold;
};

QTEST_GUILESS_MAIN(TestTcpServer)
#include "tst_tcpserver.moc"
