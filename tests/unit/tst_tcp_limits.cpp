// SPDX-License-Identifier: Apache-2.0
// What a peer can make an endpoint take: bytes while a receiver is busy, large frames, bytes that it leaves to the next
// one, and file descriptors.
#include "ForkedChild.h"
#include "LogCapture.h"
#include "Loopback.h"
#include "Tcp/TcpClient.h"
#include "Tcp/TcpProtocolParser.h"
#include "Tcp/TcpServer.h"

#include <QAbstractEventDispatcher>
#include <QEventLoop>
#include <QFile>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QtTest>

#include <netinet/in.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <memory>
#include <sys/resource.h>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

using Loopback::frame;
using Loopback::payload;

namespace {
constexpr int patience = 20000; // milliseconds
constexpr int retryDelay = 1000; // milliseconds
constexpr int twoRetries = 2500; // milliseconds
constexpr int mebibyte = 1024 * 1024; // bytes

/// A server of the library and plain sockets that connect to it; a client likewise below, by the same names.
class ServerUnderTest
{
public:
    ServerUnderTest() { mEndpoint.start(mPort); }
    TcpServer &endpoint() { return mEndpoint; }

    /// A connection to it, of which it knows; the one before is gone.
    QTcpSocket *connectPeer()
    {
        QSignalSpy came(&mEndpoint, &TcpServer::clientConnected);
        mPeer = std::make_unique<QTcpSocket>();
        mPeer->connectToHost(Loopback::address(), quint16(mPort));
        return came.wait() ? mPeer.get() : nullptr;
    }

private:
    const int mPort = Loopback::freePort();
    TcpServer mEndpoint;
    std::unique_ptr<QTcpSocket> mPeer;
};

class ClientUnderTest
{
public:
    ClientUnderTest() { mPeers.listen(QHostAddress::LocalHost); }
    TcpClient &endpoint() { return mEndpoint; }

    QTcpSocket *connectPeer()
    {
        delete mPeer;
        const QDeadlineTimer deadline(patience);
        while (mEndpoint.isConnected() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        if (!mEndpoint.start(Loopback::address(), mPeers.serverPort())
            || (!mPeers.hasPendingConnections() && !mPeers.waitForNewConnection(patience)))
            return nullptr;
        mPeer = mPeers.nextPendingConnection();
        return mPeer;
    }

private:
    QTcpServer mPeers;
    TcpClient mEndpoint;
    QPointer<QTcpSocket> mPeer;
};

QByteArrayList payloads(const QSignalSpy &spy)
{
    QByteArrayList result;
    for (const QVariantList &arguments : spy)
        result << arguments.first().toByteArray();
    return result;
}

QByteArray numbered(int number)
{
    return '{' + QByteArray::number(number) + QByteArray(64 * 1024, ' ') + '}';
}

/// A line of /proc/self/status in kibibytes, such as VmHWM.
qint64 memoryOf(const QByteArray &name)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(name + ':'))
            return line.mid(name.size() + 1).simplified().split(' ').constFirst().toLongLong();
    }
    return -1;
}

void forgetPeakMemory()
{
    QFile file(QStringLiteral("/proc/self/clear_refs"));
    if (file.open(QIODevice::WriteOnly))
        file.write("5");
}

/// While it lives, this process can open nothing more. For a process of its own, whose limit it lowers for good.
class NoDescriptors
{
public:
    NoDescriptors()
    {
        const rlimit few{64, 64};
        setrlimit(RLIMIT_NOFILE, &few);
        for (int filler = 0; (filler = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
            mFillers.push_back(filler);
    }
    ~NoDescriptors()
    {
        for (const int filler : mFillers)
            close(filler);
    }
    NoDescriptors(const NoDescriptors &) = delete;
    NoDescriptors &operator=(const NoDescriptors &) = delete;

private:
    std::vector<int> mFillers;
};

void runLoopFor(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

bool writePlainly(int descriptor, const QByteArray &bytes)
{
    return write(descriptor, bytes.constData(), size_t(bytes.size())) == bytes.size();
}

/// Connects a socket without Qt to a port of this machine.
bool connectPlainly(int descriptor, int port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<quint16>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connect(descriptor, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
}
} // namespace

class TestTcpLimits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whileAReceiverIsBusyThePeerWaits_data() { addEnds(); }
    void whileAReceiverIsBusyThePeerWaits()
    {
        QFETCH(const bool, isServer);
        isServer ? thePeerOfABusyReceiverWaits<ServerUnderTest>() : thePeerOfABusyReceiverWaits<ClientUnderTest>();
    }

    void theLargestFrameIsSettable_data() { addEnds(); }
    void theLargestFrameIsSettable()
    {
        QFETCH(const bool, isServer);
        isServer ? theLargestFrameCounts<ServerUnderTest>() : theLargestFrameCounts<ClientUnderTest>();
    }

    void whatAConnectionLeavesIsTold_data() { addEnds(); }
    void whatAConnectionLeavesIsTold()
    {
        QFETCH(const bool, isServer);
        isServer ? leftoversStay<ServerUnderTest>() : leftoversStay<ClientUnderTest>();
    }

    void whatAConnectionLeavesMayBeDropped_data() { addEnds(); }
    void whatAConnectionLeavesMayBeDropped()
    {
        QFETCH(const bool, isServer);
        isServer ? leftoversAreDropped<ServerUnderTest>() : leftoversAreDropped<ClientUnderTest>();
    }

    void aLargeFrameTakesNoMoreThanFourTimesItsSize()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("the sanitizer keeps what is freed");
#endif
        const ForkedChild child = ForkedChild::run(&receiveALargeFrame);

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void aServerWithoutDescriptorsTriesAgain_data()
    {
        QTest::addColumn<bool>("anotherWasThere");
        QTest::newRow("for the first peer") << false;
        QTest::newRow("for a later one") << true;
    }

    void aServerWithoutDescriptorsTriesAgain()
    {
        QFETCH(const bool, anotherWasThere);
        const ForkedChild child = ForkedChild::run([=] { return runOutOfDescriptors(anotherWasThere); });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void aServerThatHasDescriptorsAgainIsAsBefore()
    {
        const ForkedChild child = ForkedChild::run(&connectAfterAShortage);

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    // Each time anew, when it was not deaf in between.
    void aServerTellsEveryTimeThatItHasNoDescriptors()
    {
        const ForkedChild child = ForkedChild::run(&runOutOfDescriptorsTwice);

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void aServerThatIsStartedAgainTellsAgainThatItHasNoDescriptors()
    {
        const ForkedChild child = ForkedChild::run(&startAgainWithoutDescriptors);

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void theRetryOfAServerTakesNobodyWhileAsManyReceiversNestAsMay()
    {
        const ForkedChild child = ForkedChild::run(&runOutOfDescriptorsAndNest);

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void aClientWithoutDescriptorsTellsItOnceAndTriesAgain()
    {
        const ForkedChild child = ForkedChild::run(&connectWithoutDescriptors);

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

private:
    static void addEnds()
    {
        QTest::addColumn<bool>("isServer");

        QTest::newRow("server") << true;
        QTest::newRow("client") << false;
    }

    template <typename End>
    static void thePeerOfABusyReceiverWaits()
    {
        constexpr int count = 1000; // frames of 64 KiB
        constexpr int turnsOfRest = 50;
        constexpr qint64 mostTaken = 24LL * mebibyte; // most of it by the system
        const LogCapture log;
        End end;
        QTcpSocket *const peer = end.connectPeer();
        QVERIFY(peer);
        qint64 sent = 0;
        qint64 taken = 0;
        QVector<int> numbers;
        QObject context;
        connect(&end.endpoint(), &std::remove_reference_t<decltype(end.endpoint())>::dataReceived, &context,
            [&](const QByteArray &data) {
                numbers << data.mid(1).trimmed().chopped(1).trimmed().toInt();
                if (numbers.size() > 1)
                    return;
                QEventLoop loop; // until the peer gets nothing more away
                QTimer timer;
                int rest = 0;
                connect(&timer, &QTimer::timeout, &loop, [&] {
                    const bool rests = taken == sent - peer->bytesToWrite();
                    taken = sent - peer->bytesToWrite();
                    rest = rests ? rest + 1 : 0;
                    if (rest >= turnsOfRest)
                        loop.quit();
                });
                timer.start(1);
                loop.exec();
            });

        for (int i = 0; i < count; ++i)
            sent += peer->write(frame(numbered(i)));

        QTRY_COMPARE_WITH_TIMEOUT(numbers.size(), count, patience);
        QVERIFY2(taken < mostTaken, qPrintable(QString::number(taken)));
        for (int i = 0; i < count; ++i)
            QCOMPARE(numbers[i], i);
    }

    template <typename End>
    static void theLargestFrameCounts()
    {
        End end;
        auto &endpoint = end.endpoint();
        QCOMPARE(endpoint.maximumFrameSize(), TcpProtocolParser::maxBufferSize);
        endpoint.setMaximumFrameSize(std::numeric_limits<int>::max());
        QCOMPARE(endpoint.maximumFrameSize(), TcpProtocolParser::maxBufferSize);
        endpoint.setMaximumFrameSize(0);
        QCOMPARE(endpoint.maximumFrameSize(), 1);
        endpoint.setMaximumFrameSize(20);
        QCOMPARE(endpoint.maximumFrameSize(), 20);
        const LogCapture log;
        const QSignalSpy data(&endpoint, &std::remove_reference_t<decltype(endpoint)>::dataReceived);
        QTcpSocket *const peer = end.connectPeer();
        QVERIFY(peer);

        peer->write("18{" + QByteArray(16, ' ') + "}19{" + QByteArray(17, ' ') + "}");
        QTRY_COMPARE_WITH_TIMEOUT(
            log.warnings(), QStringList{QStringLiteral("Invalid data. Erasing buffer 21")}, patience);
        peer->write(frame(payload(7).simplified()));

        QTRY_COMPARE_WITH_TIMEOUT(
            payloads(data), (QByteArrayList{'{' + QByteArray(16, ' ') + '}', payload(7).simplified()}), patience);
    }

    template <typename End>
    static void leftoversStay()
    {
        const LogCapture log;
        End end;
        const QSignalSpy data(&end.endpoint(), &std::remove_reference_t<decltype(end.endpoint())>::dataReceived);
        QVERIFY(leave(end, log, "2{}60{"));

        QTcpSocket *const peer = end.connectPeer();
        QVERIFY(peer);

        QCOMPARE(
            log.warnings(), QStringList{QStringLiteral("bytes of a former connection stand before the new one's: 3")});
        const QByteArray rest(59, 'x');
        peer->write(rest + frame(7));
        QTRY_COMPARE_WITH_TIMEOUT(payloads(data), (QByteArrayList{"{}", '{' + rest, payload(7)}), patience);
        QVERIFY(end.connectPeer()); // leaves nothing
        QCOMPARE(log.warnings().size(), 1);
    }

    template <typename End>
    static void leftoversAreDropped()
    {
        const LogCapture log;
        End end;
        QVERIFY(!end.endpoint().dropsLeftovers());
        end.endpoint().setDropsLeftovers(true);
        QVERIFY(end.endpoint().dropsLeftovers());
        const QSignalSpy data(&end.endpoint(), &std::remove_reference_t<decltype(end.endpoint())>::dataReceived);
        QVERIFY(leave(end, log, "2{}60000000{"));

        QTcpSocket *const peer = end.connectPeer();
        QVERIFY(peer);

        QCOMPARE(log.warnings(), QStringList{QStringLiteral("bytes of a former connection are dropped: 9")});
        peer->write(frame(7));
        QTRY_COMPARE_WITH_TIMEOUT(payloads(data), (QByteArrayList{"{}", payload(7)}), patience);
        QVERIFY(end.connectPeer());
        QCOMPARE(log.warnings().size(), 1);
    }

    /// A connection that brings these bytes, and has been read.
    template <typename End>
    static bool leave(End &end, const LogCapture &log, const QByteArray &bytes)
    {
        QTcpSocket *const peer = end.connectPeer();
        if (!peer)
            return false;
        peer->write(bytes);
        return QTest::qWaitFor(
            [&] { return log.debugs().contains(QStringLiteral("Partial buffer, waiting for more data")); }, patience);
    }

    static int receiveALargeFrame()
    {
        constexpr int pieceSize = 63 * 1000; // bytes
        constexpr int payloadSize = 1000 * pieceSize;
        constexpr int most = 4;
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        if (!server.start(port))
            return 1;
        qint64 size = 0;
        qint64 peak = 0;
        QEventLoop loop;
        connect(&server, &TcpServer::dataReceived, &loop, [&](const QByteArray &data) {
            size = data.size();
            peak = memoryOf("VmHWM");
            loop.quit();
        });
        const qint64 before = memoryOf("VmRSS");
        forgetPeakMemory();
        std::thread sender([port] {
            const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            const QByteArray head = QByteArray::number(payloadSize);
            const QByteArray piece(pieceSize, '{');
            bool isSent = connectPlainly(descriptor, port) && writePlainly(descriptor, head);
            for (int sent = 0; isSent && sent < payloadSize; sent += pieceSize)
                isSent = writePlainly(descriptor, piece);
            close(descriptor);
        });
        loop.exec();
        sender.join();
        const double times = double(peak - before) * 1024 / payloadSize;
        std::fprintf(stderr, "%lld bytes received, %.2f times that at the peak\n", size, times);
        return size == payloadSize && times > 1 && times < most ? 0 : 1;
    }

    static int runOutOfDescriptors(bool anotherWasThere)
    {
        constexpr int mostTurns = 1000; // of the event loop; a busy one takes as many in a few milliseconds
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        const QSignalSpy came(&server, &TcpServer::clientConnected);
        const QSignalSpy data(&server, &TcpServer::dataReceived);
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (!server.start(port))
            return 1;
        if (anotherWasThere && !comeAndGo(server, port))
            return 5;
        const int before = came.count();
        auto fillers = std::make_unique<NoDescriptors>();

        if (!connectPlainly(client, port))
            return 2;
        if (!QTest::qWaitFor([&] { return !log.warnings().isEmpty(); }, patience))
            return 3;
        int turns = 0;
        QObject::connect(
            QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &server, [&] { ++turns; });
        runLoopFor(twoRetries);
        const QStringList told = log.warnings();
        fillers.reset();

        const bool isWritten = writePlainly(client, frame(7));
        const bool isBack = QTest::qWaitFor([&] { return data.count() == 1; }, patience);
        std::fprintf(stderr, "%d turns, back: %d, told: %s\n", turns, isBack, qPrintable(told.join(QLatin1Char('|'))));
        return isWritten && isBack && came.count() == before + 1 && turns < mostTurns && told.size() == 1
                && told.constFirst().startsWith(QLatin1String("cannot accept connections, trying again every second: "))
            ? 0
            : 4;
    }

    static int connectAfterAShortage()
    {
        constexpr int peers = 3;
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        const QSignalSpy came(&server, &TcpServer::clientConnected);
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (!server.start(port))
            return 1;
        auto fillers = std::make_unique<NoDescriptors>();
        if (!connectPlainly(client, port))
            return 2;
        if (!QTest::qWaitFor([&] { return log.warnings().size() == 1; }, patience))
            return 3;
        fillers.reset();
        if (!QTest::qWaitFor([&] { return came.count() == 1; }, patience))
            return 4;

        QElapsedTimer timer;
        timer.start();
        for (int i = 0; i < peers; ++i) {
            if (!comeAndGo(server, port))
                return 5;
        }
        const qint64 elapsed = timer.elapsed();

        std::fprintf(stderr, "%lld ms, told: %s\n", elapsed, qPrintable(log.warnings().join(QLatin1Char('|'))));
        return log.warnings().size() == 1 && elapsed < (peers - 1) * qint64(retryDelay) ? 0 : 6;
    }

    /// A peer that the server has seen come and go, as nearly all do.
    static bool comeAndGo(const TcpServer &server, int port)
    {
        const QSignalSpy came(&server, &TcpServer::clientConnected);
        const QSignalSpy left(&server, &TcpServer::clientDisconnected);
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool hasCome =
            connectPlainly(client, port) && QTest::qWaitFor([&] { return came.count() == 1; }, patience);
        close(client);
        return hasCome && QTest::qWaitFor([&] { return left.count() > 0; }, patience);
    }

    static int runOutOfDescriptorsTwice()
    {
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        const QSignalSpy came(&server, &TcpServer::clientConnected);
        if (!server.start(port))
            return 1;
        for (const int times : {1, 2}) {
            const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
            auto fillers = std::make_unique<NoDescriptors>();
            if (!connectPlainly(client, port))
                return 2;
            if (!QTest::qWaitFor([&] { return log.warnings().size() == times; }, patience))
                return 3;
            fillers.reset();
            if (!QTest::qWaitFor([&] { return came.count() == times; }, patience))
                return 4;
        }
        return log.warnings().constFirst() == log.warnings().constLast() ? 0 : 5;
    }

    static int startAgainWithoutDescriptors()
    {
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        if (!server.start(port))
            return 1;
        const int clients[] = {
            socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)};
        const NoDescriptors fillers;
        if (!connectPlainly(clients[0], port) || !QTest::qWaitFor([&] { return log.warnings().size() == 1; }, patience))
            return 2;

        server.stop();
        if (!server.start(port) || !connectPlainly(clients[1], port)) // with the descriptor of before
            return 3;

        return QTest::qWaitFor([&] { return log.warnings().size() == 2; }, patience) ? 0 : 4;
    }

    /// Seven receivers wait in event loops, a newcomer cannot be taken, and then the eighth is called.
    static int runOutOfDescriptorsAndNest()
    {
        constexpr int mostNested = 8;
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        int came = 0;
        int cameAtTheLimit = -1;
        int depth = 0;
        bool isOver = false;
        std::vector<int> clients(mostNested);
        for (int &client : clients)
            client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        std::unique_ptr<NoDescriptors> fillers;
        const auto nest = [&] {
            if (++depth < mostNested - 1 && !connectPlainly(clients[size_t(depth)], port))
                std::exit(2);
            if (depth == mostNested - 1) {
                fillers = std::make_unique<NoDescriptors>();
                if (!connectPlainly(clients[size_t(depth)], port)
                    || !QTest::qWaitFor([&] { return !log.warnings().isEmpty(); }, patience)
                    || !writePlainly(clients[size_t(depth - 1)], frame(7)))
                    std::exit(3);
            }
            if (depth == mostNested) {
                fillers.reset();
                runLoopFor(twoRetries);
                cameAtTheLimit = came;
                isOver = true;
            }
            if (!QTest::qWaitFor([&] { return isOver; }, patience))
                std::exit(4);
            --depth;
        };
        QObject::connect(&server, &TcpServer::clientConnected, &server, [&] {
            ++came;
            if (!isOver)
                nest();
        });
        QObject::connect(&server, &TcpServer::dataReceived, &server, nest);
        if (!server.start(port) || !connectPlainly(clients[0], port))
            return 1;

        const bool isBack = QTest::qWaitFor([&] { return depth == 0 && came == mostNested; }, patience);
        std::fprintf(stderr, "%d taken at the limit, back: %d\n", cameAtTheLimit, isBack);
        return isBack && cameAtTheLimit == mostNested - 1 ? 0 : 5;
    }

    static int connectWithoutDescriptors()
    {
        const LogCapture log;
        QTcpServer peers;
        if (!peers.listen(QHostAddress::LocalHost))
            return 1;
        TcpClient client;
        for (const int times : {1, 2}) {
            auto fillers = std::make_unique<NoDescriptors>();
            if (client.start(Loopback::address(), peers.serverPort()))
                return 2;
            runLoopFor(twoRetries);
            if (log.warnings().size() != times)
                return 3;
            fillers.reset();
            if (!QTest::qWaitFor([&] { return client.isConnected() && peers.hasPendingConnections(); }, patience))
                return 4;
            delete peers.nextPendingConnection();
            if (!QTest::qWaitFor([&] { return !client.isConnected(); }, patience))
                return 5;
        }
        const QString text = log.warnings().constFirst();
        std::fprintf(stderr, "told: %s\n", qPrintable(text));
        return text.startsWith(QLatin1String("cannot connect, trying again every second: ")) ? 0 : 6;
    }
};

QTEST_GUILESS_MAIN(TestTcpLimits)
#include "tst_tcp_limits.moc"
