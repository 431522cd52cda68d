// SPDX-License-Identifier: Apache-2.0
#include "Helpers/JsonHelper.h"
#include "Internal/ChildProcess.h"
#include "LinkProgram.h"
#include "LogCapture.h"
#include "Loopback.h"
#include "OwnNetwork.h"
#include "Tcp/TcpClient.h"
#include "Tcp/TcpProtocolParser.h"

#include <QDir>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int patience = 20000; // milliseconds
constexpr int longPatience = 120000; // milliseconds
constexpr int mebibyte = 1024 * 1024;
constexpr int mostBuffered = 8 * mebibyte; // far less than what is sent

const QString echoOption = QStringLiteral("--echo");
const QString noInputOption = QStringLiteral("--no-input");
const QString maxFrameOption = QStringLiteral("--max-frame");

QByteArray numberLine(int number)
{
    return "{\"number\":" + QByteArray::number(number) + "}\n";
}

QByteArray numberLines(int first, int count)
{
    QByteArray lines;
    for (int i = first; i < first + count; ++i)
        lines += numberLine(i);
    return lines;
}

int numberOf(const QByteArray &line)
{
    const int start = line.indexOf(':') + 1;
    return line.mid(start, line.indexOf('}') - start).toInt();
}

QByteArray randomBytes(int size)
{
    std::mt19937 random(1);
    QByteArray bytes(size, '\0');
    for (char &byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

int descriptorsOfThisProcess()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

void addHostileBytes()
{
    QTest::addColumn<QByteArray>("bytes");
    constexpr int tooMuch = TcpProtocolParser::maxBufferSize + 4 * mebibyte;
    QTest::newRow("garbage") << randomBytes(4 * mebibyte) + "x";
    QTest::newRow("endless digits") << QByteArray(4 * mebibyte, '7') + "x";
    QTest::newRow("endless zeros") << QByteArray(tooMuch, '0');
    QTest::newRow("endless blanks") << QByteArray(tooMuch, ' ');
    QTest::newRow("a length of 2 GB") << "2000000000{" + QByteArray(tooMuch, 'a') + "x";
    QTest::newRow("braces") << QByteArray(4 * mebibyte, '{') + "x";
    QTest::newRow("negative lengths") << QByteArray("-2{}-5{abc}-3").repeated(10000) + "x";
}

/// A frame of this size, with its number in it.
QByteArray frameOfSize(int size)
{
    const auto digits = [](int number) { return QByteArray::number(number).size(); };
    const QByteArray object = numberLine(size).trimmed();
    const int padding = size - digits(size - digits(size)) - object.size();
    return Loopback::frame(object.chopped(1) + QByteArray(padding, ' ') + '}');
}

/// Writes all of it, whatever the other end makes of it, and whenever it reads.
bool writeAll(QTcpSocket &socket, const QByteArray &bytes)
{
    socket.write(bytes);
    return waitUntil([&] { return socket.bytesToWrite() == 0; }, longPatience);
}

/// One message each way.
bool linkWorks(LinkProgram &program, QTcpSocket &peer)
{
    static int marker = 0;
    ++marker;
    const QByteArray text = QByteArray::number(marker);
    peer.write(Loopback::frame("{\"there\": " + text + "}"));
    if (!program.waitForOutput("{\"there\":" + text + "}\n"))
        return false;
    program.write("{\"back\": " + text + "}\n");
    QByteArray received;
    return waitUntil(
        [&] {
            received += peer.readAll();
            return received.contains(Loopback::frame("{\n    \"back\": " + text + "\n}\n"));
        },
        patience);
}
} // namespace

class TestVantorLink : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY(mFolder.isValid()); }

    void init() { mPort = Loopback::freePort(); }

    // --- The command line ---

    void wrongUsageIsTold_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *arguments, const char *message) {
            QTest::newRow(arguments) << QString::fromUtf8(arguments) << QString::fromUtf8(message);
        };
        row("", "listen or connect? See --help");
        row("send", "listen or connect? See --help");
        row("listen", "--port needs a number from 1 to 65535, not \"\"");
        row("listen --port 0", "--port needs a number from 1 to 65535, not \"0\"");
        row("listen --port 65536", "--port needs a number from 1 to 65535, not \"65536\"");
        row("listen --port x", "--port needs a number from 1 to 65535, not \"x\"");
        row("listen 127.0.0.1 --port 1", "listen takes no address but that of --address");
        row("listen --address localhost --port 1",
            "\"localhost\" is no address, such as 192.0.2.7 or fe80::7%eth0; names are not looked up");
        row("connect 127.0.0.1 --address ::1 --port 1", "--address is for listen");
        row("connect --port 1", "connect needs one address, such as 192.0.2.7");
        row("connect 127.0.0.1 ::1 --port 1", "connect needs one address, such as 192.0.2.7");
        row("connect localhost --port 1",
            "\"localhost\" is no address, such as 192.0.2.7 or fe80::7%eth0; names are not looked up");
        row("listen --port 1 --linger -1", "--linger needs seconds, from 0 to 3600, not \"-1\"");
        row("listen --port 1 --linger nan", "--linger needs seconds, from 0 to 3600, not \"nan\"");
        row("listen --port 1 --max-frame 0", "--max-frame needs bytes, from 1 to 67108864, not \"0\"");
        row("listen --port 1 --max-frame 67108865", "--max-frame needs bytes, from 1 to 67108864, not \"67108865\"");
        row("connect ::1 --port 1 --max-frame 1M", "--max-frame needs bytes, from 1 to 67108864, not \"1M\"");
        row("listen --port 1 --queue", "Unknown option 'queue'.");
    }

    void wrongUsageIsTold()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, message);
        LinkProgram program;

        program.begin(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), 64);
        QCOMPARE(QString::fromUtf8(program.messages()), QStringLiteral("vantor-link: %1\n").arg(message));
        QCOMPARE(program.output(), QByteArray());
    }

    void helpAndVersionGoToStdout()
    {
        LinkProgram help;
        help.begin({QStringLiteral("--help")});
        QVERIFY(help.waitForEnd());
        QCOMPARE(help.endCode(), 0);
        QVERIFY(help.output().contains("--no-input"));
        QVERIFY(help.output().contains("--max-frame"));

        LinkProgram version;
        version.begin({QStringLiteral("--version")});
        QVERIFY(version.waitForEnd());
        QCOMPARE(version.endCode(), 0);
        QVERIFY(version.output().startsWith("vantor-link 0."));
    }

    void aPortThatIsTakenIsTold() const
    {
        QTcpServer other;
        QVERIFY(other.listen(QHostAddress::Any, static_cast<quint16>(mPort)));
        LinkProgram program;

        program.begin({QStringLiteral("listen"), QStringLiteral("--port"), QString::number(mPort)});

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), 69);
        QVERIFY(program.says("cannot listen on port"));
    }

    void itListensOnTheGivenAddressOnly() const
    {
        LinkProgram program;
        program.listen(mPort, {QStringLiteral("--address"), QStringLiteral("127.0.0.2"), noInputOption});
        QTcpSocket client;

        client.connectToHost(Loopback::address(), quint16(mPort));
        QVERIFY(!client.waitForConnected());
        client.connectToHost(QStringLiteral("127.0.0.2"), quint16(mPort));

        QVERIFY(client.waitForConnected());
        QVERIFY(program.waitForMessage("a unit has connected"));
    }

    // --- Lines and payloads ---

    void wrongLinesAreToldAndTheOthersSent() const
    {
        LinkProgram listener;
        listener.listen(mPort, {noInputOption});
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort);

        sender.write("{\"a\": 1}\nabc\n\n   \r\n[1, 2]\n{\"a\": 2}\r\n{\"a\": \n\xff\xfe\n{\"a\": 1, \"a\": "
                     "2}\n{\"\xc3\xa9\": [true, null]}");
        sender.closeWriteChannel();

        QVERIFY(sender.waitForEnd());
        QCOMPARE(sender.endCode(), 1);
        QVERIFY(listener.waitForOutput("null"));
        QCOMPARE(listener.output(), QByteArray("{\"a\":1}\n{\"a\":2}\n{\"\xc3\xa9\":[true,null]}\n"));
        for (const char *const line : {"line 2 is not sent: no JSON object: illegal value, at byte 1\n",
                 "line 5 is not sent: an array cannot be sent, only an object\n", "line 7 is not sent: no JSON object",
                 "line 8 is not sent: no JSON object",
                 "line 9 is not sent: no JSON object: duplicate key, at byte 15\n"})
            QVERIFY2(sender.says(line), sender.messages().constData());
        QCOMPARE(sender.messages().count("is not sent"), 5);
    }

    void aLineThatIsTooLongIsToldAndTheNextOneSent() const
    {
        LinkProgram listener;
        listener.listen(mPort, {noInputOption});
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort);

        sender.write('{' + QByteArray(mebibyte - 1, ' ') + "}\n" + numberLine(1));
        sender.closeWriteChannel();

        QVERIFY(sender.waitForEnd(longPatience));
        QCOMPARE(sender.endCode(), 1);
        QVERIFY(sender.says("line 1 is not sent: longer than 1048576 bytes, see --max-frame\n"));
        QVERIFY(listener.waitForOutput(numberLine(1)));
    }

    void aFrameThatIsTooLargeIsToldAndTheNextOneSent() const
    {
        LinkProgram listener;
        listener.listen(mPort, {noInputOption});
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort, {maxFrameOption, QStringLiteral("22")});

        sender.write(numberLine(10) + numberLine(1)); // frames of 23 and 22 bytes
        sender.closeWriteChannel();

        QVERIFY(sender.waitForEnd());
        QCOMPARE(sender.endCode(), 1);
        QVERIFY(sender.says("line 1 is not sent: a frame of 23 bytes, more than --max-frame allows\n"));
        QCOMPARE(sender.messages().count("is not sent"), 1);
        QVERIFY(listener.waitForOutput(numberLine(1)));
    }

    void theSizeOfAFrameThatIsTooLargeIsExact_data()
    {
        QTest::addColumn<QByteArray>("line");
        const auto row = [](const char *line) { QTest::newRow(line) << QByteArray(line); };
        row("{\"a\":[],\"b\":{},\"c\":[[],{}]}");
        row("{\"a\":[1,2,[3,4,{\"x\":null,\"y\":true}]],\"b\":{\"c\":{\"d\":-1.5e300}}}");
        row("{\"a,b:[{\\\"\\\\\":\"\\\",]}:[{\\\\\",\"\":\"\\u0001\xc3\xa9\\n\"}");
        row("{\"a\":1e300,\"b\":[0.1,1e21]}");
    }

    void theSizeOfAFrameThatIsTooLargeIsExact() const
    {
        QFETCH(QByteArray, line);
        const int size = Loopback::frame(JsonHelper::toByteArray(JsonHelper::parse(line).object())).size();
        LinkProgram listener;
        listener.listen(mPort, {noInputOption});
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort, {maxFrameOption, QString::number(size - 1)});

        sender.write(line + '\n');
        sender.closeWriteChannel();

        QVERIFY(sender.waitForEnd());
        const QByteArray message = "a frame of " + QByteArray::number(size) + " bytes, more than --max-frame allows\n";
        QVERIFY2(sender.says(message.constData()), sender.messages().constData());
    }

    // The indentation is nearly all of it: 400 blanks before each number.
    void aFrameThatIsTooLargeTakesNoMemory() const
    {
        constexpr int depth = 100;
        constexpr int numbers = 500000;
        constexpr qint64 most = 64LL * mebibyte; // of the indented text there are 200 MB
        LinkProgram listener;
        listener.listen(mPort, {noInputOption});
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort);
        QVERIFY(sender.waitForMessage("connected to"));
        const qint64 memory = sender.memory();

        sender.write("{\"a\":" + QByteArray(depth, '[') + QByteArray("1,").repeated(numbers) + '1'
            + QByteArray(depth, ']') + "}\n");

        QVERIFY(sender.waitForMessage("bytes, more than --max-frame allows\n"));
        QVERIFY2(sender.peakMemory() < memory + most + memorySlack(),
            qPrintable(QString::number(sender.peakMemory() - memory)));
    }

    void noLargerFrameIsTaken_data()
    {
        QTest::addColumn<QStringList>("options");
        QTest::addColumn<int>("largest");
        QTest::newRow("without --max-frame") << QStringList() << mebibyte;
        QTest::newRow("with --max-frame") << QStringList{maxFrameOption, QStringLiteral("1000")} << 1000;
        QTest::newRow("the largest") << QStringList{maxFrameOption, QStringLiteral("67108864")}
                                     << TcpProtocolParser::maxBufferSize;
    }

    void noLargerFrameIsTaken()
    {
        QFETCH(QStringList, options);
        QFETCH(int, largest);
        LinkProgram listener;
        listener.listen(mPort, options + QStringList{noInputOption});
        const auto peer = connectPeer();
        QVERIFY(peerGetsNoLargerFrameThrough(listener, *peer, largest));

        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        LinkProgram client;
        client.connectTo(Loopback::address(), server.serverPort(), options + QStringList{noInputOption});
        QTRY_VERIFY(server.hasPendingConnections());
        QVERIFY(peerGetsNoLargerFrameThrough(client, *server.nextPendingConnection(), largest));
    }

    void outOfMemoryEndsIt_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("listens");
        QTest::newRow("reading the payload, listening") << 60 * mebibyte << true;
        QTest::newRow("reading the payload, connecting") << 60 * mebibyte << false;
    }

    void outOfMemoryEndsIt()
    {
#ifdef __SANITIZE_ADDRESS__
        QSKIP("the sanitizer itself needs more memory than is left");
#endif
        QFETCH(int, size);
        QFETCH(bool, listens);
        LinkProgram program({QStringLiteral("prlimit"), QStringLiteral("--as=600000000")});
        const QStringList options{noInputOption, maxFrameOption, QStringLiteral("67108864")};
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        std::unique_ptr<QTcpSocket> connection;
        if (listens) {
            program.listen(mPort, options);
            connection = connectPeer();
        } else {
            program.connectTo(Loopback::address(), server.serverPort(), options);
            QTRY_VERIFY(server.hasPendingConnections());
            connection.reset(server.nextPendingConnection());
        }

        connection->write(Loopback::frame(1));
        QVERIFY(program.waitForOutput("{\"type\":1}\n"));
        connection->write(Loopback::frame("{\"a\":[" + QByteArray("1,").repeated(size / 2) + "1]}"));

        QVERIFY(program.waitForEnd(longPatience));
        QCOMPARE(program.endCode(), 71);
        QVERIFY2(program.says("vantor-link: out of memory; a smaller --max-frame needs less\n"),
            program.messages().constData());
        QCOMPARE(program.output(), QByteArray("{\"type\":1}\n"));
    }

    void aPayloadThatIsNoJsonIsPrintedAsAString()
    {
        LinkProgram program;
        program.listen(mPort, {noInputOption});
        const auto peer = connectPeer();

        peer->write("8{\n\x1b\"\xff}x}" + Loopback::frame(1));

        QVERIFY(program.waitForOutput("}\n"));
        QVERIFY(program.waitForOutput("{\"type\":1}\n"));
        QCOMPARE(program.output(), QByteArray("\"{\\n\\u001b\\\"\xef\xbf\xbd}x}\"\n{\"type\":1}\n"));
    }

    void echoAnswersWithTheSameBytes()
    {
        LinkProgram program;
        program.listen(mPort, {noInputOption, echoOption});
        const auto peer = connectPeer();
        const QByteArray frames = "15{\"type\": 12345}" + Loopback::frame(7) + "6{\xff abc";

        peer->write(frames);

        QTRY_COMPARE(peer->bytesAvailable(), qint64(frames.size()));
        QCOMPARE(peer->readAll(), frames);
    }

    void statsTellRatesAndTheSum() const
    {
        LinkProgram listener;
        listener.listen(mPort, {noInputOption, echoOption, QStringLiteral("--stats")});
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort, {QStringLiteral("--stats")});

        sender.write(numberLines(0, 10));
        QVERIFY(listener.waitForMessage("messages/s"));
        sender.closeWriteChannel();
        QVERIFY(sender.waitForEnd());
        listener.sendSignal(SIGTERM);
        QVERIFY(listener.waitForEnd());

        // A frame is 2 digits and 20 bytes: {\n    "number": 0\n}\n
        QVERIFY2(sender.says("in all: sent 10 messages, 220 bytes; received 10 messages, 220 bytes; "),
            sender.messages().constData());
        QVERIFY(listener.says("in all: sent 10 messages, 220 bytes; received 10 messages, 220 bytes; "));
    }

    // --- The end ---

    void linesWaitForTheConnectionAndTheEndWaitsForAnswers() const
    {
        LinkProgram sender;
        sender.connectTo(Loopback::address(), mPort);
        sender.write(numberLines(0, 3));
        sender.closeWriteChannel();
        QVERIFY(sender.waitForMessage("no connection to 127.0.0.1"));

        LinkProgram listener;
        listener.listen(mPort, {noInputOption, echoOption});

        QVERIFY(sender.waitForEnd());
        QCOMPARE(sender.endCode(), 0);
        QCOMPARE(sender.output(), numberLines(0, 3));
    }

    void withoutLingerTheEndComesAtOnce() const
    {
        LinkProgram listener;
        listener.listen(mPort, {noInputOption});
        LinkProgram sender;
        QElapsedTimer timer;
        timer.start();
        sender.connectTo(Loopback::address(), mPort, {QStringLiteral("--linger"), QStringLiteral("0")});
        sender.write(numberLine(1));
        sender.closeWriteChannel();

        QVERIFY(sender.waitForEnd());
        QVERIFY(listener.waitForOutput(numberLine(1)));
        QCOMPARE(sender.endCode(), 0);
    }

    void aSignalEndsIt_data()
    {
        QTest::addColumn<int>("number");
        QTest::addColumn<bool>("isConnected");
        QTest::newRow("Ctrl-C, waiting for a unit") << SIGINT << false;
        QTest::newRow("Ctrl-C, connected") << SIGINT << true;
        QTest::newRow("SIGTERM, connected") << SIGTERM << true;
        QTest::newRow("SIGHUP, connected") << SIGHUP << true;
    }

    void aSignalEndsIt()
    {
        QFETCH(int, number);
        QFETCH(bool, isConnected);
        LinkProgram program;
        program.listen(mPort);
        const auto peer = connectPeer();
        QVERIFY(program.waitForMessage("a unit has connected"));
        if (!isConnected) {
            peer->abort();
            QVERIFY(program.waitForMessage("the unit has gone"));
        }

        program.sendSignal(number);

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), 128 + number);
    }

    void aSignalTellsWhatIsNotSent()
    {
        LinkProgram program;
        program.listen(mPort);
        const auto peer = connectPeer();
        peer->setReadBufferSize(1);
        const QByteArray line = "{\"text\":\"" + QByteArray(100000, 'x') + "\"}\n";
        for (int i = 0; i < 200; ++i)
            program.write(line);
        QVERIFY(program.waitUntilHeldBack([&] { return program.bytesToWrite(); })); // the system takes no more

        program.sendSignal(SIGINT);

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), 130);
        QVERIFY2(program.says("bytes were not sent"), program.messages().constData());
    }

    void whatIsLostWithAConnectionCounts_data()
    {
        QTest::addColumn<bool>("listens");
        QTest::addColumn<bool>("thrownOut");
        QTest::newRow("connecting, the peer resets") << false << false;
        QTest::newRow("listening, the peer resets") << true << false;
        QTest::newRow("listening, another peer comes") << true << true;
    }

    // Less than would keep it from reading its input.
    void whatIsLostWithAConnectionCounts()
    {
        QFETCH(bool, listens);
        QFETCH(bool, thrownOut);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        LinkProgram program;
        std::unique_ptr<QTcpSocket> peer;
        if (listens) {
            program.listen(mPort);
            peer = connectPeer();
        } else {
            program.connectTo(Loopback::address(), server.serverPort());
            QTRY_VERIFY(server.hasPendingConnections());
            peer.reset(server.nextPendingConnection());
        }
        peer->setReadBufferSize(1);
        QVERIFY(program.waitForMessage(listens ? "a unit has connected" : "connected to"));
        QVERIFY(sendMoreThanTheSystemTakes(program, *peer));

        std::unique_ptr<QTcpSocket> other;
        if (thrownOut)
            other = connectPeer();
        else
            peer->abort();

        QVERIFY2(program.waitForMessage("bytes that were waiting to be sent are lost\n", patience / 4),
            program.messages().constData());
        if (!thrownOut && listens)
            other = connectPeer();
        program.closeWriteChannel();
        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), 1);
    }

    void answersThatAreNotSentCount_data()
    {
        QTest::addColumn<int>("answers");
        QTest::newRow("waiting at the end") << 200;
        QTest::newRow("more than may wait") << 1600;
    }

    void answersThatAreNotSentCount()
    {
        QFETCH(int, answers);
        LinkProgram program;
        program.listen(mPort, {echoOption, QStringLiteral("--linger"), QStringLiteral("3")}); // a busy peer is late
        program.closeWriteChannel();
        const auto peer = connectPeer();
        peer->setReadBufferSize(1);

        QVERIFY(writeAll(*peer, Loopback::frame("{\"a\":\"" + QByteArray(50000, 'x') + "\"}").repeated(answers)));

        QVERIFY(program.waitForEnd());
        QVERIFY2(program.says("bytes were not sent"), program.messages().constData());
        QCOMPARE(program.endCode(), 1);
    }

    void aFullDiskEndsIt()
    {
        LinkProgram program;
        program.setStandardOutputFile(QStringLiteral("/dev/full"));
        program.listen(mPort, {noInputOption});
        const auto peer = connectPeer();

        peer->write(Loopback::frame(1));

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), 74);
        QVERIFY(program.says("cannot write to stdout: No space left on device"));
    }

    void outputThatIsLostAtTheEndCounts_data()
    {
        QTest::addColumn<bool>("readerSleeps"); // until a signal comes; else the disk is full
        QTest::addColumn<int>("endCode");
        QTest::newRow("a full disk") << false << 74;
        QTest::newRow("a reader that sleeps, and a signal") << true << 143;
    }

    void outputThatIsLostAtTheEndCounts()
    {
        QFETCH(bool, readerSleeps);
        QFETCH(int, endCode);
        const QString pipe = mFolder.filePath(QStringLiteral("pipe"));
        if (readerSleeps)
            QVERIFY(makeFullPipe(pipe));
        QTcpServer units;
        QVERIFY(units.listen(QHostAddress::LocalHost, quint16(mPort)));
        LinkProgram program;
        program.setStandardOutputFile(readerSleeps ? pipe : QStringLiteral("/dev/full"));
        program.connectTo(Loopback::address(), mPort);
        program.write(numberLine(1));
        program.closeWriteChannel();
        QVERIFY(waitUntil([&] { return units.hasPendingConnections(); }, patience));
        QTcpSocket *const unit = units.nextPendingConnection();
        QVERIFY(waitUntil([&] { return unit->bytesAvailable() > 0; }, patience));

        program.sendSignal(SIGSTOP); // so that it finds the answer and the end of the connection at once
        unit->write(Loopback::frame(1));
        unit->disconnectFromHost();
        QVERIFY(waitUntil([&] { return unit->state() == QAbstractSocket::UnconnectedState; }, patience));
        program.sendSignal(SIGCONT);
        if (readerSleeps) {
            program.waitForMessage("the connection is lost", 500); // which does not come if it writes first
            program.sendSignal(SIGTERM);
        }

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.endCode(), endCode);
    }

    // --- A peer of another make ---

    void aPeerInPythonTalksToTheListeningEnd() const
    {
        LinkProgram program;
        program.listen(mPort, {noInputOption, echoOption});

        const QString problem = runPython(
            {QStringLiteral("connect"), Loopback::address(), QString::number(mPort), QStringLiteral("20000")});

        QCOMPARE(problem, QString());
        QCOMPARE(program.outputLines().size(), 20000);
    }

    void aPeerInPythonTalksToTheConnectingEnd() const
    {
        LinkProgram program;
        program.connectTo(Loopback::address(), mPort, {noInputOption, echoOption});

        const QString problem = runPython({QStringLiteral("listen"), QString::number(mPort), QStringLiteral("20000")});

        QCOMPARE(problem, QString());
        QCOMPARE(program.outputLines().size(), 20000);
    }

    // --- Much, and long ---

    void aMillionMessagesArriveInTheirOrder()
    {
        constexpr int count = 1000000;
        const QByteArray lines = numberLines(0, count);
        const QString input = mFolder.filePath(QStringLiteral("million"));
        const QString output = mFolder.filePath(QStringLiteral("received"));
        QVERIFY(writeFile(input, lines));
        LinkProgram listener;
        listener.setStandardOutputFile(output);
        listener.listen(mPort, {noInputOption});
        const int descriptors = listener.descriptors();
        const qint64 memory = listener.memory();
        LinkProgram sender;
        sender.setStandardInputFile(input);
        sender.connectTo(Loopback::address(), mPort);

        QTRY_VERIFY_WITH_TIMEOUT(
            QFileInfo(output).size() >= lines.size() || sender.state() == QProcess::NotRunning, longPatience);
        const qint64 peak = sender.peakMemory();
        QVERIFY(sender.waitForEnd(longPatience));
        QCOMPARE(sender.endCode(), 0);
        QTRY_COMPARE(QFileInfo(output).size(), qint64(lines.size()));

        QVERIFY(readFile(output) == lines);
        QVERIFY2(peak <= memory + mostBuffered + memorySlack(), qPrintable(QString::number(peak - memory)));
        QVERIFY(listener.peakMemory() <= memory + mostBuffered + memorySlack());
        QVERIFY(listener.memory() <= memory + memorySlack());
        QTRY_COMPARE(listener.descriptors(), descriptors);
    }

    void aReaderThatSleepsHoldsTheSenderBack()
    {
        const QByteArray line = "{\"text\":\"" + QByteArray(20000, 'x') + "\"}\n";
        const QByteArray lines = line.repeated(2000); // far more than the system takes
        const QString input = mFolder.filePath(QStringLiteral("much"));
        QVERIFY(writeFile(input, lines));
        LinkProgram listener;
        listener.listen(mPort);
        const qint64 memory = listener.memory();
        LinkProgram sender;
        sender.setStandardInputFile(input);
        listener.sendSignal(SIGSTOP);
        sender.connectTo(Loopback::address(), mPort);
        QVERIFY(sender.waitForMessage("connected to"));

        QVERIFY(sender.waitUntilHeldBack([&] { return lines.size() - sender.inputRead(); }));
        QCOMPARE(sender.state(), QProcess::Running);
        QVERIFY2(sender.peakMemory() <= memory + mostBuffered + memorySlack(),
            qPrintable(QString::number(sender.peakMemory() - memory)));
        listener.sendSignal(SIGCONT);

        QVERIFY(sender.waitForEnd());
        QCOMPARE(sender.endCode(), 0);
        QVERIFY(waitUntil([&] { return listener.output().size() >= lines.size(); }, longPatience));
        QVERIFY(listener.output() == lines);
        const auto peer = connectPeer();
        QVERIFY(linkWorks(listener, *peer));
    }

    void aServerThatIsKilledAndStartedAgainGetsTheRest()
    {
        constexpr int count = 300000;
        const QString input = mFolder.filePath(QStringLiteral("stream"));
        QVERIFY(writeFile(input, numberLines(0, count)));
        auto first = std::make_unique<LinkProgram>();
        first->listen(mPort, {noInputOption});
        LinkProgram sender;
        sender.setStandardInputFile(input);
        sender.connectTo(Loopback::address(), mPort);
        QVERIFY(first->waitForOutput(numberLine(1000)));

        first->sendSignal(SIGKILL);
        QVERIFY(first->waitForEnd());
        QVERIFY(sender.waitForMessage("the connection is lost; trying again every second"));
        LinkProgram second;
        second.listen(mPort, {noInputOption});
        QVERIFY(second.waitForOutput(numberLine(count - 1), longPatience));

        const QList<QByteArray> before = first->outputLines();
        const QList<QByteArray> after = second.outputLines();
        for (int i = 0; i < before.size(); ++i)
            QCOMPARE(before.at(i), numberLine(i).chopped(1));
        const int start = numberOf(after.constFirst()); // what was on its way is lost, and nothing comes twice
        QVERIFY2(start >= before.size() && start < count, qPrintable(QString::number(start)));
        QCOMPARE(after.size(), count - start);
        for (int i = 0; i < after.size(); ++i)
            QCOMPARE(after.at(i), numberLine(start + i).chopped(1));
        QVERIFY(sender.waitForEnd());
        QVERIFY(!second.says("Erasing buffer"));
    }

    void theNewestOfTwoClientsIsServed()
    {
        LinkProgram program;
        program.listen(mPort);
        const int descriptors = program.descriptors();
        const auto first = connectPeer();
        QVERIFY(linkWorks(program, *first));
        const auto second = connectPeer();

        QTRY_COMPARE(first->state(), QAbstractSocket::UnconnectedState);
        QVERIFY(linkWorks(program, *second));
        second->disconnectFromHost();
        QTRY_COMPARE(program.descriptors(), descriptors);
    }

    void twoClientsThatFightLeaveTheLinkWhole() const
    {
        LinkProgram listener;
        listener.listen(mPort);
        const int descriptors = listener.descriptors();
        LinkProgram first;
        first.connectTo(Loopback::address(), mPort, {noInputOption});
        auto second = std::make_unique<LinkProgram>();
        second->connectTo(Loopback::address(), mPort, {noInputOption});
        QTRY_VERIFY_WITH_TIMEOUT(listener.messages().count("a unit has connected") >= 6, patience);
        const qint64 memory = listener.memory();

        second.reset();
        const int fights = listener.messages().count("a unit has connected");
        QTRY_VERIFY(listener.messages().count("a unit has connected") > fights
            || !listener.messages().endsWith("the unit has gone\n"));
        listener.write(numberLine(fights));

        QVERIFY(first.waitForOutput(numberLine(fights)));
        QVERIFY(listener.memory() <= memory + memorySlack());
        first.kill();
        QVERIFY(first.waitForEnd());
        QTRY_COMPARE(listener.descriptors(), descriptors);
    }

    void aThousandConnectionsLeaveNothingBehind()
    {
        LinkProgram program;
        program.listen(mPort, {echoOption});
        const int descriptors = program.descriptors();
        QVERIFY(comeAndGo(100));
        const qint64 memory = program.memory();

        QVERIFY(comeAndGo(1000));

        QTRY_COMPARE(program.descriptors(), descriptors);
        QVERIFY2(program.memory() <= memory + memorySlack(), qPrintable(QString::number(program.memory() - memory)));
        const auto peer = connectPeer();
        QVERIFY(linkWorks(program, *peer));
    }

    void aThousandReconnectionsOfAClientLeaveNothingBehind()
    {
        const LogCapture log;
        constexpr int count = 1000;
        const int descriptors = descriptorsOfThisProcess();
        {
            QTcpServer server;
            QVERIFY(server.listen(QHostAddress::Any, static_cast<quint16>(mPort)));
            TcpClient client;
            int connections = 0;
            connect(&client, &TcpClient::connected, this, [&] { ++connections; });
            connect(&client, &TcpClient::disconnected, this,
                [&] { client.start(Loopback::address(), mPort); }); // does not wait for the second to pass
            connect(&server, &QTcpServer::newConnection, this, [&] {
                QTcpSocket *const socket = server.nextPendingConnection();
                if (connections < count)
                    socket->abort();
                else
                    socket->write(Loopback::frame(connections));
                if (connections < count)
                    socket->deleteLater();
            });
            QSignalSpy received(&client, &TcpClient::dataReceived);
            client.start(Loopback::address(), mPort);

            QVERIFY(received.count() > 0 || received.wait(longPatience));

            QCOMPARE(connections, count);
            QCOMPARE(received.first().first().toByteArray(), Loopback::payload(count));
            QTRY_COMPARE(descriptorsOfThisProcess(), descriptors + 3); // the server, and both ends of a connection
        }
        QTRY_COMPARE(descriptorsOfThisProcess(), descriptors);
    }

    // --- Peers that mean no good ---

    void theListeningEndOutlivesHostileBytes_data()
    {
        addHostileBytes();
    }

    void theListeningEndOutlivesHostileBytes()
    {
        QFETCH(QByteArray, bytes);
        LinkProgram program;
        program.listen(mPort);
        auto peer = connectPeer();
        QVERIFY(linkWorks(program, *peer));
        const qint64 memory = program.memory();
        const int descriptors = program.descriptors();

        QVERIFY(writeAll(*peer, bytes));

        QVERIFY(linkWorksAfterAWhile(program, *peer));
        QVERIFY2(program.memory() <= memory + memorySlack(), qPrintable(QString::number(program.memory() - memory)));
        peer = connectPeer();
        QVERIFY(linkWorks(program, *peer));
        QTRY_COMPARE(program.descriptors(), descriptors);
    }

    void theConnectingEndOutlivesHostileBytes_data()
    {
        addHostileBytes();
    }

    void theConnectingEndOutlivesHostileBytes() const
    {
        QFETCH(QByteArray, bytes);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::Any, static_cast<quint16>(mPort)));
        LinkProgram program;
        program.connectTo(Loopback::address(), mPort);
        QTRY_VERIFY(server.hasPendingConnections());
        QTcpSocket *peer = server.nextPendingConnection();
        QVERIFY(linkWorks(program, *peer));
        const qint64 memory = program.memory();
        const int descriptors = program.descriptors();

        QVERIFY(writeAll(*peer, bytes));

        QVERIFY(linkWorksAfterAWhile(program, *peer));
        QVERIFY2(program.memory() <= memory + memorySlack(), qPrintable(QString::number(program.memory() - memory)));
        peer->abort();
        QTRY_VERIFY(server.hasPendingConnections());
        peer = server.nextPendingConnection();
        QVERIFY(linkWorks(program, *peer));
        QCOMPARE(program.descriptors(), descriptors);
    }

    void whatAPeerBeganSwallowsNothingOfTheNextOne_data()
    {
        QTest::addColumn<bool>("listens");
        QTest::newRow("listening") << true;
        QTest::newRow("connecting") << false;
    }

    void whatAPeerBeganSwallowsNothingOfTheNextOne()
    {
        QFETCH(bool, listens);
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        LinkProgram program;
        if (listens)
            program.listen(mPort, {noInputOption});
        else
            program.connectTo(Loopback::address(), server.serverPort(), {noInputOption});
        const auto nextPeer = [&] {
            if (listens)
                return connectPeer();
            waitUntil([&] { return server.hasPendingConnections(); }, patience);
            return std::unique_ptr<QTcpSocket>(server.nextPendingConnection());
        };

        auto peer = nextPeer();
        QVERIFY(peer);
        peer->write(Loopback::frame(1) + "900000{");
        QVERIFY(program.waitForOutput("{\"type\":1}\n"));
        peer->disconnectFromHost();
        QVERIFY(program.waitForMessage(listens ? "the unit has gone" : "the connection is lost"));
        peer = nextPeer();
        QVERIFY(peer);
        peer->write(Loopback::frame(2));

        QVERIFY(program.waitForOutput("{\"type\":2}\n", patience / 4));
        QVERIFY(program.says("bytes of a former connection are dropped: 7"));
    }

    void framesMayComeByteByByte()
    {
        LinkProgram program;
        program.listen(mPort);
        const auto peer = connectPeer();
        peer->setSocketOption(QAbstractSocket::LowDelayOption, 1);
        QByteArray frames;
        for (int i = 0; i < 100; ++i)
            frames += Loopback::frame("{\"number\": " + QByteArray::number(i) + "}");

        for (const char byte : qAsConst(frames)) {
            peer->write(&byte, 1);
            QVERIFY(peer->flush());
        }

        QVERIFY(program.waitForOutput(numberLine(99)));
        QCOMPARE(program.output(), numberLines(0, 100));
        QVERIFY(linkWorks(program, *peer));
    }

private:
    std::unique_ptr<QTcpSocket> connectPeer() const
    {
        auto socket = std::make_unique<QTcpSocket>();
        socket->connectToHost(Loopback::address(), static_cast<quint16>(mPort));
        socket->waitForConnected(patience);
        return socket;
    }

    /// One that is as large as may be comes through, one byte more does not, and the link goes on.
    static bool peerGetsNoLargerFrameThrough(LinkProgram &program, QTcpSocket &peer, int largest)
    {
        const QByteArray warning = "vantor-link: Invalid data. Erasing buffer " + QByteArray::number(largest + 1);
        return writeAll(peer, frameOfSize(largest)) && program.waitForOutput(numberLine(largest))
            && !program.says(warning.constData()) && writeAll(peer, frameOfSize(largest + 1))
            && program.waitForMessage(warning.constData()) && writeAll(peer, Loopback::frame(numberLine(1)))
            && program.waitForOutput(numberLine(1)) && !program.output().contains(numberLine(largest + 1));
    }

    /// Connects, has one message answered, and goes; so often.
    bool comeAndGo(int count) const
    {
        const QByteArray frame = Loopback::frame(5);
        for (int i = 0; i < count; ++i) {
            const auto peer = connectPeer();
            peer->write(frame);
            const auto isAnswered = [&] { return peer->bytesAvailable() >= frame.size(); };
            if (!waitUntil(isAnswered, patience) || peer->readAll() != frame)
                return false;
        }
        return true;
    }

    /// The program may still be reading what came before, and drop the first messages together with it.
    static bool linkWorksAfterAWhile(LinkProgram &program, QTcpSocket &peer)
    {
        int round = 0;
        const bool isHeard = waitUntil(
            [&] {
                peer.write(Loopback::frame("{\"hello\": " + QByteArray::number(++round) + "}"));
                QTest::qWait(20);
                return program.output().contains("{\"hello\":");
            },
            longPatience);
        return isHeard && linkWorks(program, peer);
    }

    /// Some of it waits in the program then, and less than a mebibyte. Only the last piece is not taken whole.
    static bool sendMoreThanTheSystemTakes(LinkProgram &program, const QTcpSocket &peer)
    {
        constexpr int mostPieces = 400;
        constexpr int pieceSize = 100000; // bytes
        const QByteArray line = "{\"a\":\"" + QByteArray(pieceSize, 'x') + "\"}\n";
        qint64 sent = 0;
        for (int piece = 0; piece < mostPieces; ++piece) {
            program.write(line);
            sent += pieceSize;
            const auto isTaken = [&] { return program.bytesToWrite() == 0 && bytesInSystem(peer) >= sent; };
            if (!waitUntil(isTaken, 300))
                return program.bytesToWrite() == 0;
        }
        return false;
    }

    /// What one end has sent and the other not read.
    static qint64 bytesInSystem(const QTcpSocket &peer)
    {
        const auto port = [](int number) {
            return ':' + QByteArray::number(number, 16).rightJustified(4, '0').toUpper();
        };
        qint64 bytes = 0;
        const QList<QByteArray> lines =
            (readFile(QStringLiteral("/proc/self/net/tcp")) + readFile(QStringLiteral("/proc/self/net/tcp6")))
                .split('\n');
        for (const QByteArray &line : lines) { // number, local, remote, state, unsent:unread
            const QList<QByteArray> fields = line.simplified().split(' ');
            if (fields.size() < 5)
                continue;
            const QByteArray ends = fields[1] + ' ' + fields[2];
            if (!ends.contains(port(peer.localPort())) || !ends.contains(port(peer.peerPort())))
                continue;
            const QList<QByteArray> queues = fields[4].split(':');
            for (const QByteArray &queue : queues)
                bytes += queue.toLongLong(nullptr, 16);
        }
        return bytes;
    }

    /// Nobody reads from it, and this process keeps it open.
    bool makeFullPipe(const QString &path)
    {
        const QByteArray name = QFile::encodeName(path);
        if (mkfifo(name.constData(), S_IRUSR | S_IWUSR) != 0)
            return false;
        const int end = open(name.constData(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
        if (end < 0 || !mFullPipe.open(end, QIODevice::ReadWrite | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle))
            return false;
        const QByteArray block(4096, 'x');
        while (write(end, block.constData(), size_t(block.size())) > 0) {}
        return errno == EAGAIN;
    }

    static bool writeFile(const QString &path, const QByteArray &bytes)
    {
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
    }

    static QByteArray readFile(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    /// What the program says when it does not succeed; it talks to a process, so events may wait.
    static QString runPython(const QStringList &arguments)
    {
        ChildProcess python;
        python.setProcessChannelMode(QProcess::MergedChannels);
        python.start(QStringLiteral("python3"), QStringList{QStringLiteral(VANTOR_LINK_PEER)} + arguments);
        if (!waitUntil([&] { return python.state() == QProcess::NotRunning; }, longPatience))
            return QStringLiteral("does not end");
        if (python.exitStatus() == QProcess::NormalExit && python.exitCode() == 0)
            return {};
        return QStringLiteral("exit code %1: ").arg(python.exitCode()) + QString::fromUtf8(python.readAll());
    }

    QTemporaryDir mFolder;
    QFile mFullPipe;
    int mPort = 0;
};

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    QString problem; // the machine's own loopback serves as well
    OwnNetwork::enter(&problem); // here, before Qt Test starts a thread
    TestVantorLink test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_vantor_link.moc"
