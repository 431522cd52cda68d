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

    void aServerWithoutDescriptorsTriesAgain()
    {
        const ForkedChild child = ForkedChild::run(&runOutOfDescriptors);

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
            bool isSent = connectPlainly(descriptor, port)
                && write(descriptor, head.constData(), size_t(head.size())) == head.size();
            for (int sent = 0; isSent && sent < payloadSize; sent += pieceSize)
                isSent = write(descriptor, piece.constData(), size_t(piece.size())) == piece.size();
            close(descriptor);
        });
        loop.exec();
        sender.join();
        const double times = double(peak - before) * 1024 / payloadSize;
        std::fprintf(stderr, "%lld bytes received, %.2f times that at the peak\n", size, times);
        return size == payloadSize && times > 1 && times < most ? 0 : 1;
    }

    static int runOutOfDescriptors()
    {
        constexpr int watched = 2500; // milliseconds, in which it tries twice
        constexpr int mostTurns = 1000; // of the event loop; a busy one takes as many in a few milliseconds
        const LogCapture log;
        TcpServer server;
        const int port = Loopback::freePort();
        const QSignalSpy came(&server, &TcpServer::clientConnected);
        const QSignalSpy data(&server, &TcpServer::dataReceived);
        const int client = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const rlimit few{64, 64};
        if (!server.start(port) || setrlimit(RLIMIT_NOFILE, &few) != 0)
            return 1;
        std::vector<int> fillers;
        for (int filler = 0; (filler = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;)
            fillers.push_back(filler);

        if (!connectPlainly(client, port))
            return 2;
        if (!QTest::qWaitFor([&] { return !log.warnings().isEmpty(); }, patience))
            return 3;
        int turns = 0;
        QObject::connect(
            QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake, &server, [&] { ++turns; });
        QEventLoop loop;
        QTimer::singleShot(watched, &loop, &QEventLoop::quit);
        loop.exec();
        const QStringList told = log.warnings();
        for (const int filler : fillers)
            close(filler);

        const QByteArray bytes = frame(7);
        const bool isWritten = write(client, bytes.constData(), size_t(bytes.size())) == bytes.size();
        const bool isBack = QTest::qWaitFor([&] { return data.count() == 1; }, patience);
        std::fprintf(stderr, "%d turns, back: %d, told: %s\n", turns, isBack, qPrintable(told.join(QLatin1Char('|'))));
        return isWritten && isBack && came.count() == 1 && turns < mostTurns && told.size() == 1
                && told.constFirst().startsWith(QLatin1String("cannot accept connections, trying again every second: "))
            ? 0
            : 4;
    }
};

QTEST_GUILESS_MAIN(TestTcpLimits)
#include "tst_tcp_limits.moc"
