// SPDX-License-Identifier: Apache-2.0
// A receiver of a signal of the link may run an event loop of its own, as a dialog does, in which the peer hangs up, a
// newcomer connects, or the endpoint is stopped, started or destroyed. Also run under valgrind: what goes wrong there
// is mostly read by Qt after it was freed, and goes unnoticed otherwise.
#include "LogCapture.h"
#include "Loopback.h"
#include "NestedLoop.h"
#include "Tcp/TcpClient.h"
#include "Tcp/TcpServer.h"

#include <QDeadlineTimer>
#include <QPointer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <malloc.h>
#include <memory>
#include <utility>
#include <vector>

using Loopback::frame;
using Loopback::payload;
using NestedLoop::patience;

namespace {
enum class Event { PeerCloses, NewcomerConnects, Stop, Start, Restart, Delete };
enum class LoopEnds { BeforeIt, AfterIt, WhenTheLinkIsBack };

struct Signal
{
    const char *text;
    const char *signature;
};

const Signal clientSignals[] = {
    {"isConnected_changed()", SIGNAL(isConnected_changed(bool))},
    {"connected()", SIGNAL(connected())},
    {"dataReceived()", SIGNAL(dataReceived(QByteArray))},
    {"disconnected()", SIGNAL(disconnected())},
};
const Signal serverSignals[] = {
    {"clientConnected()", SIGNAL(clientConnected())},
    {"dataReceived()", SIGNAL(dataReceived(QByteArray))},
    {"clientDisconnected()", SIGNAL(clientDisconnected())},
};
constexpr Event clientEvents[] = {Event::PeerCloses, Event::Stop, Event::Start, Event::Restart, Event::Delete};
constexpr Event serverEvents[] = {
    Event::PeerCloses, Event::NewcomerConnects, Event::Stop, Event::Start, Event::Restart, Event::Delete};

constexpr int mostNested = 8; // calls from sockets of an endpoint
constexpr int newcomers = 40; // fewer than the system lets wait

/// Runs an event loop within whatever calls it: until the condition holds, and some turns more, in which everything is
/// deleted that waits for that.
bool runLoopUntil(const std::function<bool()> &condition)
{
    constexpr int turnsBehind = 5;
    int turns = 0;
    return NestedLoop::runUntil([&] { return (turns > 0 || condition()) && ++turns > turnsBehind; }, 0);
}

bool always()
{
    return true;
}

const char *name(Event event)
{
    switch (event) {
    case Event::PeerCloses:
        return "peer closes";
    case Event::NewcomerConnects:
        return "newcomer connects";
    case Event::Stop:
        return "stop";
    case Event::Start:
        return "start";
    case Event::Restart:
        return "stop and start";
    case Event::Delete:
        return "delete";
    }
    return "";
}

const char *name(LoopEnds ends)
{
    switch (ends) {
    case LoopEnds::BeforeIt:
        return "loop ends before";
    case LoopEnds::AfterIt:
        return "loop ends after";
    case LoopEnds::WhenTheLinkIsBack:
        return "loop ends when the link is back";
    }
    return "";
}

/// What a server talks to: one socket after the other, each kept until the end.
class Clients
{
public:
    QTcpSocket *connectOne(int port)
    {
        mSockets.push_back(std::make_unique<QTcpSocket>());
        mSockets.back()->connectToHost(Loopback::address(), quint16(port));
        return mSockets.back().get();
    }
    QTcpSocket *newest() const { return mSockets.empty() ? nullptr : mSockets.back().get(); }
    int count() const { return int(mSockets.size()); }
    int countOf(QAbstractSocket::SocketState state) const
    {
        return int(std::count_if(
            mSockets.begin(), mSockets.end(), [state](const auto &socket) { return socket->state() == state; }));
    }

private:
    std::vector<std::unique_ptr<QTcpSocket>> mSockets;
};

/// Does something while it is asked for its content, and runs an event loop before it answers.
class BusyMessage : public AbstractTcpMessage
{
    Q_OBJECT

public:
    explicit BusyMessage(std::function<void()> deed)
        : mDeed(std::move(deed))
    {
    }

    QByteArray toByteArray() const override
    {
        mDeed();
        runLoopUntil(always);
        return payload(5);
    }

private:
    const std::function<void()> mDeed;
};

/// A handler of the log that does something the first time that a line with this text comes. Else it is silent.
class LogInterruption
{
public:
    LogInterruption(const QString &text, std::function<void()> deed)
        : mText(text)
        , mDeed(std::move(deed))
    {
        sCurrent = this;
        mPreviousHandler = qInstallMessageHandler(&LogInterruption::handle);
    }
    ~LogInterruption()
    {
        qInstallMessageHandler(mPreviousHandler);
        sCurrent = nullptr;
    }
    Q_DISABLE_COPY_MOVE(LogInterruption)

    bool wasThere() const { return mWasThere; }

private:
    static void handle(QtMsgType, const QMessageLogContext &, const QString &line)
    {
        if (line.contains(sCurrent->mText) && !std::exchange(sCurrent->mWasThere, true))
            sCurrent->mDeed();
    }

    static inline LogInterruption *sCurrent = nullptr;

    const QString mText;
    const std::function<void()> mDeed;
    QtMessageHandler mPreviousHandler = nullptr;
    bool mWasThere = false;
};
} // namespace

Q_DECLARE_METATYPE(Event)
Q_DECLARE_METATYPE(LoopEnds)

class TestTcpReentrancy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        mWasCalled = false;
        mHasReturned = false;
        mCame = 0;
        mLeft = 0;
        mCalls = 0;
        mDepth = 0;
        mDeepest = 0;
        mIsFull = false;
        mPayloads.clear();
        mTold.clear();
        mPeerSocket = nullptr;
        mLog = std::make_unique<LogCapture>();
        mClients = std::make_unique<Clients>();
    }

    void cleanup()
    {
        delete mClient;
        delete mServer;
        mPeer.reset();
        mClients.reset();
        mLog.reset();
    }

    void aReceiverOfTheClientMayRunAnEventLoop_data()
    {
        addColumns();
        for (const Signal &signal : clientSignals) {
            addRows(signal, clientEvents);
            for (const Event event : {Event::PeerCloses, Event::Stop})
                addRow(signal, event, LoopEnds::WhenTheLinkIsBack);
        }
    }

    void aReceiverOfTheClientMayRunAnEventLoop()
    {
        QFETCH(const QByteArray, signal);
        startPeer();
        createClient(signal, SLOT(receiveOfClient()));

        mClient->start(Loopback::address(), mPeer->serverPort());
        if (signal == SIGNAL(dataReceived(QByteArray)) || signal == SIGNAL(disconnected())) {
            QTRY_VERIFY_WITH_TIMEOUT(mPeerSocket, patience);
            mPeerSocket->write(frame(7) + frame(8));
            if (signal == SIGNAL(disconnected())) {
                QTRY_COMPARE_WITH_TIMEOUT(mPayloads.size(), 2, patience);
                mPeerSocket->disconnectFromHost();
            }
        }
        QTRY_VERIFY_WITH_TIMEOUT(mHasReturned, patience);
        QVERIFY(runLoopUntil(always));

        QFETCH(const Event, event);
        if (event == Event::Delete) {
            QVERIFY(!mClient);
            return;
        }
        if (signal == SIGNAL(dataReceived(QByteArray)))
            QCOMPARE(mPayloads, (QByteArrayList{payload(7), payload(8)}));
        theClientWorks();
    }

    void aReceiverOfTheServerMayRunAnEventLoop_data()
    {
        addColumns();
        for (const Signal &signal : serverSignals)
            addRows(signal, serverEvents);
    }

    void aReceiverOfTheServerMayRunAnEventLoop()
    {
        QFETCH(const QByteArray, signal);
        startServer(signal, SLOT(receiveOfServer()));

        QTcpSocket *const client = mClients->connectOne(mPort);
        QVERIFY(client->waitForConnected());
        client->write(frame(7) + frame(8));
        if (signal == SIGNAL(clientDisconnected())) {
            QTRY_COMPARE_WITH_TIMEOUT(mPayloads.size(), 2, patience);
            client->disconnectFromHost();
        }
        QTRY_VERIFY_WITH_TIMEOUT(mHasReturned, patience);
        QVERIFY(runLoopUntil(always));

        QFETCH(const Event, event);
        if (event == Event::Delete) {
            QVERIFY(!mServer);
            return;
        }
        if (signal == SIGNAL(dataReceived(QByteArray)))
            QCOMPARE(mPayloads, (QByteArrayList{payload(7), payload(8)}));
        theServerWorks();
    }

    // clientDisconnected() then comes from the arrival of the next one.
    void aReceiverOfAReplacementMayRunAnEventLoop_data()
    {
        addColumns();
        addRows({"clientDisconnected()", SIGNAL(clientDisconnected())}, serverEvents);
    }

    void aReceiverOfAReplacementMayRunAnEventLoop()
    {
        QFETCH(const QByteArray, signal);
        startServer(signal, SLOT(receiveOfServer()));
        mClients->connectOne(mPort);
        QTRY_COMPARE_WITH_TIMEOUT(mCame, 1, patience);

        mClients->connectOne(mPort);
        QTRY_VERIFY_WITH_TIMEOUT(mHasReturned, patience);
        QVERIFY(runLoopUntil(always));

        QFETCH(const Event, event);
        if (event == Event::Delete) {
            QVERIFY(!mServer);
            return;
        }
        theServerWorks();
    }

    // As a property does whose getter asks the user.
    void aMessageOfTheClientMayRunAnEventLoop_data()
    {
        QTest::addColumn<Event>("event");
        for (const Event event : clientEvents)
            QTest::newRow(name(event)) << event;
    }

    void aMessageOfTheClientMayRunAnEventLoop()
    {
        QFETCH(const Event, event);
        startPeer();
        createClient(SIGNAL(connected()), SLOT(doNothing()));
        QVERIFY(mClient->start(Loopback::address(), mPeer->serverPort()));
        QTRY_VERIFY_WITH_TIMEOUT(mPeerSocket, patience);

        const bool endsConnection = event == Event::PeerCloses || event == Event::Stop;
        Q_EMIT mClient->send(BusyMessage([this, event, endsConnection] {
            bringAboutAtClient(event);
            if (endsConnection)
                runLoopUntil([this] { return !mClient->isConnected(); });
        }));
        QVERIFY(runLoopUntil(always));

        if (event == Event::Delete) {
            QVERIFY(!mClient);
            return;
        }
        const QString unusable = QStringLiteral("Socket not open");
        if (endsConnection) {
            QCOMPARE(mLog->warnings(), QStringList(unusable));
        } else {
            QVERIFY(!mLog->warnings().contains(unusable));
            QTRY_COMPARE_WITH_TIMEOUT(mPeerSocket->peek(100), frame(5), patience);
            mPeerSocket->readAll();
        }
        theClientWorks();
    }

    void aMessageOfTheServerMayRunAnEventLoop_data()
    {
        QTest::addColumn<Event>("event");
        for (const Event event : serverEvents)
            QTest::newRow(name(event)) << event;
    }

    void aMessageOfTheServerMayRunAnEventLoop()
    {
        QFETCH(const Event, event);
        startServer(SIGNAL(clientConnected()), SLOT(doNothing()));
        QTcpSocket *const client = mClients->connectOne(mPort);
        QTRY_COMPARE_WITH_TIMEOUT(mCame, 1, patience);

        Q_EMIT mServer->send(BusyMessage([this, event, client] {
            bringAboutAtServer(event);
            if (event == Event::NewcomerConnects)
                runLoopUntil([this] { return mCame == 2; });
            if (event == Event::PeerCloses)
                runLoopUntil([client] { return client->state() == QAbstractSocket::UnconnectedState; });
        }));
        QVERIFY(runLoopUntil(always));

        if (event == Event::Delete) {
            QVERIFY(!mServer);
            return;
        }
        const QString unusable = QStringLiteral("invalid socket state QAbstractSocket::UnconnectedState");
        if (event == Event::PeerCloses) {
            QCOMPARE(mLog->warnings(), QStringList(unusable));
        } else {
            QVERIFY(!mLog->warnings().contains(unusable));
            QTRY_COMPARE_WITH_TIMEOUT(mClients->newest()->peek(100), frame(5), patience);
        }
        if (event == Event::NewcomerConnects)
            QVERIFY(client->peek(100).isEmpty());
        theServerWorks();
    }

    // The oldest of them still stands on the stack; those that came and went meanwhile do not.
    void theLogMayRunAnEventLoopThatDeletes_data()
    {
        QTest::addColumn<bool>("isServer");
        QTest::addColumn<QString>("line");
        const auto row = [](bool isServer, const char *line) {
            QTest::addRow("%s: %s", isServer ? "server" : "client", line) << isServer << QString::fromUtf8(line);
        };
        for (const bool isServer : {true, false}) {
            row(isServer, "Invalid data");
            row(isServer, "Partial buffer");
            row(isServer, "of a former connection");
            row(isServer, "are dropped");
        }
        row(true, "Client connected");
        row(false, "true");
        row(false, "Connected to server");
        row(false, "Disonnected from server");
        row(false, "false");
    }

    void theLogMayRunAnEventLoopThatDeletes()
    {
        QFETCH(bool, isServer);
        QFETCH(QString, line);
        const bool drops = line == QStringLiteral("are dropped");
        const LogInterruption interruption(line, [this] {
            runLoopUntil(always);
            delete mServer;
            delete mClient;
            runLoopUntil(always);
        });
        if (isServer) {
            startServer(SIGNAL(clientConnected()), SLOT(doNothing()));
            mServer->setDropsLeftovers(drops);
        } else {
            startPeer();
            createClient(SIGNAL(connected()), SLOT(doNothing()));
            mClient->setDropsLeftovers(drops);
            mClient->start(Loopback::address(), mPeer->serverPort());
        }

        for (const char *const bytes :
            {"1", "x{", "900{", "2{}"}) { // incomplete, no frame, left over, in front of what comes
            if (isServer)
                mPeerSocket = mClients->connectOne(mPort);
            else if (mClient)
                mClient->start(Loopback::address(), mPeer->serverPort());
            NestedLoop::runUntil(
                [&] {
                    return interruption.wasThere()
                        || (mPeerSocket && mPeerSocket->state() == QAbstractSocket::ConnectedState);
                },
                0);
            if (mPeerSocket)
                mPeerSocket->write(bytes);
            runLoopUntil(always);
            if (mPeerSocket)
                mPeerSocket->disconnectFromHost();
            runLoopUntil(always);
            if (interruption.wasThere())
                break;
        }

        QVERIFY(interruption.wasThere());
        QVERIFY(!mServer && !mClient);
    }

    // Not erased with the garbage, nor taken for a part of what the former connection has left.
    void whatComesInAnEventLoopOfTheLogIsReceived_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<bool>("drops");
        QTest::newRow("no frame") << QStringLiteral("Invalid data") << false;
        QTest::newRow("an incomplete one") << QStringLiteral("Partial buffer") << true;
        QTest::newRow("dropped") << QStringLiteral("are dropped") << true;
        QTest::newRow("connected") << QStringLiteral("Client connected") << true;
    }

    void whatComesInAnEventLoopOfTheLogIsReceived()
    {
        QFETCH(QString, line);
        QFETCH(bool, drops);
        startServer(SIGNAL(clientConnected()), SLOT(doNothing()));
        mServer->setDropsLeftovers(drops);
        mServer->setMaximumFrameSize(100);
        const LogInterruption interruption(line, [this] {
            QTcpSocket *const newcomer = mClients->connectOne(mPort);
            newcomer->write(frame(1) + frame(2).left(5));
            runLoopUntil([newcomer] { return newcomer->state() == QAbstractSocket::ConnectedState; });
        });

        for (const char *const bytes : {drops ? "50{" : "x{", "50{"}) {
            if (interruption.wasThere())
                break;
            QTcpSocket *const peer = mClients->connectOne(mPort);
            NestedLoop::runUntil([peer] { return peer->state() == QAbstractSocket::ConnectedState; }, 0);
            peer->write(bytes);
            runLoopUntil(always);
            if (!interruption.wasThere())
                peer->disconnectFromHost();
            runLoopUntil(always);
        }
        QVERIFY(interruption.wasThere());
        mClients->newest()->write(frame(2).mid(5) + frame(3));

        QTRY_COMPARE_WITH_TIMEOUT(mPayloads, (QByteArrayList{payload(1), payload(2), payload(3)}), patience);
        QTRY_COMPARE_WITH_TIMEOUT(mCame - mLeft, 1, patience);
    }

    // Else a peer that asks, and waits for the answer, waits for ever.
    void whatANewcomerSendsBeforeItIsToldIsReceived_data()
    {
        QTest::addColumn<QString>("line"); // in whose handler of the log a loop runs; empty: where the old one leaves
        QTest::addColumn<bool>("leaves"); // at once
        QTest::newRow("while the old one leaves") << QString() << false;
        QTest::newRow("while the old one leaves, and leaves as well") << QString() << true;
        QTest::newRow("while the log tells of it") << QStringLiteral("Client connected") << false;
        QTest::newRow("while the log tells of it, and leaves") << QStringLiteral("Client connected") << true;
    }

    void whatANewcomerSendsBeforeItIsToldIsReceived()
    {
        QFETCH(QString, line);
        QFETCH(bool, leaves);
        startServer(SIGNAL(clientConnected()), SLOT(doNothing()));
        const auto talk = [this, leaves] {
            QTcpSocket *const newcomer = mClients->newest();
            newcomer->write(frame(7));
            if (leaves)
                newcomer->disconnectFromHost();
            const auto end = leaves ? QAbstractSocket::UnconnectedState : QAbstractSocket::ConnectedState;
            runLoopUntil([newcomer, end] { return newcomer->state() == end && newcomer->bytesToWrite() == 0; });
        };
        std::unique_ptr<LogInterruption> interruption;
        if (line.isEmpty()) {
            mClients->connectOne(mPort);
            QTRY_COMPARE_WITH_TIMEOUT(mCame, 1, patience);
            connect(mServer, &TcpServer::clientDisconnected, this, [this, talk] {
                if (!std::exchange(mWasCalled, true))
                    talk();
            });
        } else {
            interruption = std::make_unique<LogInterruption>(line, talk);
        }
        const int before = mCame;

        mClients->connectOne(mPort);

        QTRY_COMPARE_WITH_TIMEOUT(mPayloads, QByteArrayList{payload(7)}, patience);
        QTRY_COMPARE_WITH_TIMEOUT(mCame, before + 1, patience);
        QTRY_COMPARE_WITH_TIMEOUT(mCame - mLeft, leaves ? 0 : 1, patience);
    }

    // The rest of a frame, which the old socket has read; the new one has nothing to add.
    void whatComesInAnEventLoopOfTheLogOutlivesTheConnection()
    {
        startPeer();
        createClient(SIGNAL(connected()), SLOT(doNothing()));
        const LogInterruption interruption(QStringLiteral("Partial buffer"), [this] {
            mPeerSocket->write(frame(7).mid(1));
            mPeerSocket->disconnectFromHost();
            runLoopUntil([this] { return mLeft == 1; });
        });
        QVERIFY(mClient->start(Loopback::address(), mPeer->serverPort()));
        QTRY_VERIFY_WITH_TIMEOUT(mPeerSocket, patience);

        mPeerSocket->write(frame(7).left(1));

        QTRY_COMPARE_WITH_TIMEOUT(mPayloads, QByteArrayList{payload(7)}, patience);
    }

    // A connection that its peer has closed is heard to its end, also when that comes together with the next one.
    void whatAClosedConnectionHasBroughtIsReceived_data()
    {
        QTest::addColumn<bool>("inALoop"); // of the receiver of the first message; else the thread was busy
        QTest::addColumn<int>("padding"); // bytes of each message
        QTest::newRow("while a receiver runs an event loop") << true << 0;
        QTest::newRow("while a receiver runs an event loop, more than is read ahead") << true << 900 * 1000;
        QTest::newRow("while the thread is busy") << false << 0;
    }

    void whatAClosedConnectionHasBroughtIsReceived()
    {
        QFETCH(const bool, inALoop);
        QFETCH(const int, padding);
        const auto padded = [padding](int number) {
            return Loopback::frame('{' + QByteArray::number(number) + QByteArray(padding, ' ') + '}');
        };
        startServer(SIGNAL(clientConnected()), SLOT(doNothing()));
        connect(mServer, &TcpServer::clientConnected, this, [this] { mTold << QStringLiteral("came"); });
        connect(mServer, &TcpServer::clientDisconnected, this, [this] { mTold << QStringLiteral("left"); });
        const auto closeAndComeAgain = [=](QTcpSocket *client) {
            client->write(padded(2) + padded(3));
            client->disconnectFromHost();
            if (inALoop)
                runLoopUntil([client] { return client->state() == QAbstractSocket::UnconnectedState; });
            else
                QVERIFY(client->state() == QAbstractSocket::UnconnectedState || client->waitForDisconnected());
            QVERIFY(mClients->connectOne(mPort)->waitForConnected());
            mClients->newest()->write(padded(4));
            if (inALoop)
                runLoopUntil([this] { return mCame == 2; });
        };
        connect(mServer, &TcpServer::dataReceived, this, [=](const QByteArray &data) {
            mTold << QString::fromLatin1(data.mid(1, 1));
            if (inALoop && !std::exchange(mWasCalled, true))
                closeAndComeAgain(mClients->newest());
        });
        QTcpSocket *const client = mClients->connectOne(mPort);
        QTRY_COMPARE_WITH_TIMEOUT(mCame, 1, patience);

        client->write(padded(1));
        if (!inALoop) {
            QTRY_COMPARE_WITH_TIMEOUT(mTold.size(), 2, patience);
            closeAndComeAgain(client);
        }

        QTRY_VERIFY_WITH_TIMEOUT(mTold.contains(QStringLiteral("4")), patience);
        // In the loop the end of the connection is mTold, as everything is; the messages wait for the receiver.
        QCOMPARE(mTold.join(QLatin1Char(' ')),
            inALoop ? QStringLiteral("came 1 left came 2 3 4") : QStringLiteral("came 1 2 3 left came 4"));
        QCOMPARE(mLog->warnings(), QStringList());
        theyTalk(*mClients->newest(), mServer);
    }

    void newcomersDuringAnEventLoopOfAReceiverLeaveNothingBehind()
    {
        constexpr int count = 300;
        constexpr std::size_t mostPerNewcomer = 256; // bytes; a socket has thousands
        mServer = new TcpServer;
        QVERIFY(mServer->start(mPort = Loopback::freePort()));
        std::size_t grownBy = 0;
        connect(mServer, &TcpServer::clientConnected, this, [this] { ++mCame; });
        connect(mServer, &TcpServer::dataReceived, this, [&] {
            const auto connectSome = [&](int some) {
                for (int i = 0; i < some; ++i) {
                    QTcpSocket client;
                    const int before = mCame;
                    client.connectToHost(Loopback::address(), quint16(mPort));
                    QVERIFY(runLoopUntil([&] { return mCame > before; }));
                }
            };
            connectSome(50); // after which nothing has to grow any more
            const std::size_t before = mallinfo2().uordblks;
            connectSome(count);
            const std::size_t after = mallinfo2().uordblks;
            grownBy = after > before ? after - before : 0; // clazy:exclude=lambda-in-connect
            mHasReturned = true;
        });

        mClients->connectOne(mPort)->write(frame(7));

        QTRY_VERIFY_WITH_TIMEOUT(mHasReturned, patience);
        QVERIFY2(grownBy < count * mostPerNewcomer, qPrintable(QString::number(grownBy)));
    }

    // Else the peer decides how deep the stack becomes.
    void newcomersNestReceiversOfTheServerOnlySoDeep_data()
    {
        QTest::addColumn<QByteArray>("signal");
        QTest::addColumn<Event>("event");
        QTest::addColumn<bool>("othersLeave"); // before the next one comes
        for (const Signal &signal : serverSignals) {
            for (const Event event : {Event::NewcomerConnects, Event::Restart, Event::Stop, Event::Delete}) {
                QTest::addRow("%s, %s", signal.text, name(event)) << QByteArray(signal.signature) << event << false;
            }
        }
        QTest::newRow("clientConnected(), the others have left, newcomer connects")
            << QByteArray(SIGNAL(clientConnected())) << Event::NewcomerConnects << true;
    }

    void newcomersNestReceiversOfTheServerOnlySoDeep()
    {
        QFETCH(const QByteArray, signal);
        QFETCH(const Event, event);
        startServer(signal, SLOT(nestAtServer()));

        connectNestingClient();
        QTRY_VERIFY_WITH_TIMEOUT(mCalls > 0 && mDepth == 0, patience);

        QCOMPARE(mDeepest, mostNested);
        if (event == Event::Delete) {
            QVERIFY(!mServer);
            return;
        }
        if (event == Event::Stop) {
            theServerWorks();
            return;
        }
        // All that waited were taken, one after the other.
        QCOMPARE(mClients->count(), mostNested + newcomers);
        QTRY_COMPARE_WITH_TIMEOUT(mClients->countOf(QAbstractSocket::ConnectedState), 1, patience);
        if (signal == SIGNAL(clientConnected()))
            QCOMPARE(mCame, mostNested + newcomers);
        theyTalk(*mClients->newest(), mServer);
    }

    void aPeerThatHangsUpNestsReceiversOfTheClientOnlySoDeep_data()
    {
        QTest::addColumn<QByteArray>("signal");
        QTest::newRow("connected()") << QByteArray(SIGNAL(connected()));
        QTest::newRow("dataReceived()") << QByteArray(SIGNAL(dataReceived(QByteArray)));
    }

    void aPeerThatHangsUpNestsReceiversOfTheClientOnlySoDeep()
    {
        QFETCH(const QByteArray, signal);
        startPeer();
        connect(mPeer.get(), &QTcpServer::newConnection, this, [this] {
            if (mIsFull)
                return;
            mPeerSocket->write(frame(7));
            mPeerSocket->disconnectFromHost();
        });
        createClient(signal, SLOT(nestAtClient()));

        mClient->start(Loopback::address(), mPeer->serverPort());
        QTRY_VERIFY_WITH_TIMEOUT(mCalls > 0 && mDepth == 0, patience);

        QCOMPARE(mDeepest, mostNested);
        QCOMPARE(mCame, mostNested);
        QTRY_VERIFY_WITH_TIMEOUT(mClient->isConnected(), patience); // by itself
        theClientWorks();
    }

protected Q_SLOTS: // private ones would be tests
    void doNothing() {}

    void receiveOfClient()
    {
        QFETCH(const Event, event);
        QFETCH(const LoopEnds, ends);
        // The first time only, but of isConnected_changed() and connected() that is on the stack of start().
        if (std::exchange(mWasCalled, true))
            return;
        const auto finish = qScopeGuard([this] { mHasReturned = true; });
        const bool needsConnection = event == Event::PeerCloses || event == Event::Stop;
        if (needsConnection && !mClient->isConnected())
            QVERIFY(mClient->start(Loopback::address(), mPeer->serverPort()));
        const auto canComeAbout = [this, event] {
            return event != Event::PeerCloses
                || (mPeerSocket && mPeerSocket->state() == QAbstractSocket::ConnectedState && mClient->isConnected());
        };
        if (ends == LoopEnds::BeforeIt) {
            QVERIFY(runLoopUntil(canComeAbout));
            bringAboutAtClient(event);
            return;
        }
        bool isDone = false;
        int came = 0;
        QVERIFY(runLoopUntil([&] {
            if (!isDone && canComeAbout()) {
                came = mCame;
                bringAboutAtClient(event);
                isDone = true;
            }
            if (!isDone || event == Event::Delete || event == Event::Start || event == Event::Restart)
                return isDone;
            return ends == LoopEnds::AfterIt ? !mClient->isConnected() : mCame > came && mClient->isConnected();
        }));
    }

    void receiveOfServer()
    {
        QFETCH(const Event, event);
        QFETCH(const LoopEnds, ends);
        if (std::exchange(mWasCalled, true))
            return;
        const auto finish = qScopeGuard([this] { mHasReturned = true; });
        if (ends == LoopEnds::BeforeIt) {
            QVERIFY(runLoopUntil(always));
            bringAboutAtServer(event);
            return;
        }
        const int came = mCame;
        bool isDone = false;
        QVERIFY(runLoopUntil([&] {
            if (!std::exchange(isDone, true))
                bringAboutAtServer(event);
            return event != Event::NewcomerConnects || mCame > came;
        }));
    }

    /// Ends with all others that it stands on, when newcomers had the opportunity to nest it deeper than they may.
    void nestAtServer()
    {
        QFETCH(const bool, othersLeave);
        constexpr int someTurns = 20;
        int turns = 0;
        nestUntil([&] {
            if (mIsFull)
                return mClients->countOf(QAbstractSocket::ConnectingState) == 0 && ++turns > someTurns;
            if (mDepth < mostNested && mCalls == mClients->count()) // the last one has brought its call about
                othersLeave &&mLeft < mClients->count() ? mClients->newest()->abort() : connectNestingClient();
            else if (mDepth == mostNested)
                goOnAtTheLimit();
            return false;
        });
    }

    void nestAtClient()
    {
        constexpr int twoRetries = 2500; // milliseconds
        QDeadlineTimer deadline(QDeadlineTimer::Forever);
        nestUntil([&] {
            if (mIsFull || mClient->isConnected())
                return mIsFull;
            if (mDepth < mostNested) // as the retry does, sooner
                mClient->start(Loopback::address(), mPeer->serverPort());
            else if (deadline.isForever())
                deadline.setRemainingTime(twoRetries);
            mIsFull = mIsFull || mDepth > mostNested || deadline.hasExpired();
            return mIsFull;
        });
    }

private:
    void nestUntil(const std::function<bool()> &condition)
    {
        ++mCalls;
        mDeepest = qMax(mDeepest, ++mDepth);
        QVERIFY(runLoopUntil(condition));
        --mDepth;
    }

    void connectNestingClient()
    {
        QFETCH(const QByteArray, signal);
        QTcpSocket *const client = mClients->connectOne(mPort);
        if (signal == SIGNAL(dataReceived(QByteArray)))
            client->write(frame(7));
        if (signal == SIGNAL(clientDisconnected()))
            client->disconnectFromHost();
    }

    void goOnAtTheLimit()
    {
        QFETCH(const Event, event);
        mIsFull = true;
        if (event != Event::NewcomerConnects)
            bringAboutAtServer(event);
        if (event == Event::NewcomerConnects || event == Event::Restart) {
            for (int i = 0; i < newcomers; ++i)
                mClients->connectOne(mPort)->write(frame(7));
        }
    }

    static void addColumns()
    {
        QTest::addColumn<QByteArray>("signal");
        QTest::addColumn<Event>("event");
        QTest::addColumn<LoopEnds>("ends");
    }

    static void addRow(const Signal &signal, Event event, LoopEnds ends)
    {
        QTest::addRow("%s, %s, %s", signal.text, name(event), name(ends))
            << QByteArray(signal.signature) << event << ends;
    }

    template <int count>
    static void addRows(const Signal &signal, const Event (&events)[count])
    {
        for (const Event event : events) {
            addRow(signal, event, LoopEnds::BeforeIt);
            addRow(signal, event, LoopEnds::AfterIt);
        }
    }

    /// One message each way.
    template <typename Endpoint>
    void theyTalk(QTcpSocket &peer, const QPointer<Endpoint> &endpoint)
    {
        peer.write(frame(9));
        QTRY_COMPARE_WITH_TIMEOUT(mPayloads.isEmpty() ? QByteArray() : mPayloads.constLast(), payload(9), patience);
        Q_EMIT endpoint->send(AbstractTcpMessage());
        QTRY_COMPARE_WITH_TIMEOUT(peer.peek(100), frame(0), patience);
    }

    // --- The client ---

    void startPeer()
    {
        mPeer = std::make_unique<QTcpServer>();
        QVERIFY(mPeer->listen(QHostAddress::LocalHost));
        connect(
            mPeer.get(), &QTcpServer::newConnection, this, [this] { mPeerSocket = mPeer->nextPendingConnection(); });
    }

    void createClient(const QByteArray &signal, const char *slot)
    {
        mClient = new TcpClient;
        QVERIFY(connect(mClient, signal.constData(), this, slot));
        connect(mClient, &TcpClient::connected, this, [this] { ++mCame; });
        connect(mClient, &TcpClient::disconnected, this, [this] { ++mLeft; });
        connect(mClient, &TcpClient::dataReceived, this, [this](const QByteArray &data) { mPayloads << data; });
    }

    void bringAboutAtClient(Event event)
    {
        switch (event) {
        case Event::PeerCloses:
            if (mPeerSocket)
                mPeerSocket->disconnectFromHost();
            break;
        case Event::Stop:
            mClient->stop();
            break;
        case Event::Restart:
            mClient->stop();
            Q_FALLTHROUGH();
        case Event::Start:
            mClient->start(Loopback::address(), mPeer->serverPort());
            break;
        case Event::Delete:
            delete mClient;
            break;
        case Event::NewcomerConnects:
            QFAIL("a client has none");
        }
    }

    /// Whatever has happened to it.
    void theClientWorks()
    {
        QVERIFY(mClient);
        const bool isUp = runLoopUntil(
            [this] { return mClient->isConnected() || mClient->start(Loopback::address(), mPeer->serverPort()); });
        QVERIFY(isUp && mClient->isConnected());
        // The peer's newest connection is the one that lives.
        QTRY_VERIFY_WITH_TIMEOUT(
            mPeerSocket && mPeerSocket->state() == QAbstractSocket::ConnectedState && !mPeer->hasPendingConnections(),
            patience);
        theyTalk(*mPeerSocket, mClient);
    }

    // --- The server ---

    void startServer(const QByteArray &signal, const char *slot)
    {
        mServer = new TcpServer;
        QVERIFY(connect(mServer, signal.constData(), this, slot));
        connect(mServer, &TcpServer::clientConnected, this, [this] { ++mCame; });
        connect(mServer, &TcpServer::clientDisconnected, this, [this] { ++mLeft; });
        connect(mServer, &TcpServer::dataReceived, this, [this](const QByteArray &data) { mPayloads << data; });
        QVERIFY(mServer->start(mPort = Loopback::freePort()));
    }

    void bringAboutAtServer(Event event)
    {
        switch (event) {
        case Event::PeerCloses:
            mClients->newest()->abort();
            break;
        case Event::NewcomerConnects:
            mClients->connectOne(mPort);
            break;
        case Event::Stop:
            mServer->stop();
            break;
        case Event::Restart:
            mServer->stop();
            Q_FALLTHROUGH();
        case Event::Start:
            mServer->start(mPort);
            break;
        case Event::Delete:
            delete mServer;
            break;
        }
    }

    void theServerWorks()
    {
        QVERIFY(mServer);
        mServer->stop();
        QVERIFY(mServer->start(mPort));
        const int before = mCame;
        QTcpSocket *const client = mClients->connectOne(mPort);
        QTRY_VERIFY_WITH_TIMEOUT(mCame > before, patience);
        theyTalk(*client, mServer);
    }

    std::unique_ptr<LogCapture> mLog;
    QPointer<TcpClient> mClient;
    QPointer<TcpServer> mServer;
    std::unique_ptr<QTcpServer> mPeer; ///< of the client
    QPointer<QTcpSocket> mPeerSocket; ///< its newest; owned by mPeer
    std::unique_ptr<Clients> mClients; ///< of the server
    int mPort = 0;
    bool mWasCalled = false;
    bool mHasReturned = false;
    int mCame = 0; ///< connections that the endpoint told of
    int mLeft = 0;
    int mCalls = 0; ///< of receivers that nest
    int mDepth = 0;
    int mDeepest = 0;
    bool mIsFull = false; ///< as many are on the stack as may be
    QByteArrayList mPayloads;
    QStringList mTold; ///< in the order of the signals
};

QTEST_GUILESS_MAIN(TestTcpReentrancy)
#include "tst_tcp_reentrancy.moc"
