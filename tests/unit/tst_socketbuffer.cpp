// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Loopback.h"
#include "ReferenceFraming.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"
#include "WorkTimer.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>

#include <algorithm>
#include <malloc.h>
#include <random>

namespace {
constexpr int patience = 20000; // milliseconds
constexpr int maxPayloads = 10000; // more than any stream here holds

using Bytes = QList<QByteArray>;

template <typename Take>
Bytes drain(Take take)
{
    Bytes payloads;
    for (QByteArray payload = take(); !payload.isEmpty() && payloads.size() <= maxPayloads; payload = take())
        payloads << payload;
    return payloads;
}

Bytes drained(SocketBuffer &buffer)
{
    QByteArray payload;
    return drain([&] { return buffer.takePayload(&payload) ? payload : QByteArray(); });
}

/// Streams such as an honest, a confused and a hostile peer would send, each by its number.
class StreamPainter
{
public:
    explicit StreamPainter(unsigned number)
        : mRandom(number)
    {
    }

    QByteArray stream()
    {
        QByteArray bytes;
        const int pieces = between(1, 12);
        for (int i = 0; i < pieces; ++i)
            bytes += piece();
        return bytes;
    }

    /// Mostly frames that one read may bring as a whole; all of it is less than a read takes.
    QByteArray streamOfLargeFrames()
    {
        QByteArray bytes;
        for (int i = between(1, 3); i > 0; --i) {
            const QByteArray payload = '{' + QByteArray(between(1, 80 * 1000), 'x');
            bytes += between(1, 4) == 1 ? piece() : QByteArray::number(payload.size()) + payload;
        }
        return bytes;
    }

    /// The same bytes in pieces of any length.
    Bytes cut(const QByteArray &bytes) { return cut(bytes, between(1, 2) == 1 ? 3 : 1 + int(bytes.size())); }
    Bytes cut(const QByteArray &bytes, int longest)
    {
        Bytes pieces;
        for (int start = 0; start < bytes.size();) {
            const int length = between(1, longest);
            pieces << bytes.mid(start, length);
            start += length;
        }
        return pieces;
    }

private:
    int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(mRandom); }

    QByteArray oneOf(std::initializer_list<QByteArray> choices)
    {
        return *(choices.begin() + between(0, int(choices.size()) - 1));
    }

    QByteArray anyOf(const QByteArray &alphabet, int longest)
    {
        QByteArray bytes;
        for (int count = between(0, longest); count > 0; --count)
            bytes += alphabet[between(0, alphabet.size() - 1)];
        return bytes;
    }

    QByteArray validFrame()
    {
        const int longest = between(0, 20) == 0 ? 3000 : 20;
        const QByteArray payload = "{" + anyOf("{}[]\":,0123456789abc \n", longest);
        return QByteArray::number(payload.size()) + payload;
    }

    QByteArray piece()
    {
        switch (between(0, 11)) {
        case 0:
            return anyOf("0123456789", 6);
        case 1:
            return anyOf(" \t\n\r+-", 3);
        case 2:
            return anyOf("{}", 3);
        case 3:
            return oneOf({"-1{}", "-2{}", "-0{}", "-5{abc}", "-3", "-2147483648{}", "2147483646{}", "2147483647{}",
                "2147483648{}", "0{", "0", "+2{}", "2 {}", "\t{}", "0x2{}", "2.0{}", "2[1]", "2{}}", "1{}",
                QByteArray("2\0{}", 4), "00000000000000000000002{}"});
        case 4: // lengths longer than any that counts
            return anyOf(" \t", 12) + oneOf({"", "+", "-"}) + anyOf("0", 40) + anyOf("0123456789", 4) + anyOf(" \n", 12)
                + anyOf(QByteArray("\0001 x", 4), between(0, 4));
        case 5: {
            QByteArray bytes;
            for (int count = between(0, 8); count > 0; --count)
                bytes += char(between(0, 255));
            return bytes;
        }
        default:
            return validFrame();
        }
    }

    std::mt19937 mRandom;
};
} // namespace

class TestSocketBuffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDeviceIsReadPieceByPiece()
    {
        const QByteArray large = '{' + QByteArray(3 * 1024 * 1024, 'x') + '}';
        QByteArray stream = Loopback::frame(1) + Loopback::frame(large) + Loopback::frame(2) + "18{";
        QBuffer device(&stream);
        QVERIFY(device.open(QIODevice::ReadOnly));
        const LogCapture log;
        SocketBuffer buffer;

        Bytes payloads;
        int pieces = 0;
        for (; buffer.readFrom(device); ++pieces)
            payloads += drained(buffer);
        buffer.append(Loopback::payload(3).mid(1));
        payloads += drained(buffer);

        QVERIFY(payloads == (Bytes{Loopback::payload(1), large, Loopback::payload(2), Loopback::payload(3)}));
        QVERIFY2(pieces > 1, "all at once");
        QVERIFY(!buffer.readFrom(device));
        QCOMPARE(log.warnings(), QStringList());
    }

    // What is there as a whole when it is read takes another road than pieces do.
    void largeFramesAreReadInTheirOrder_data()
    {
        QTest::addColumn<Bytes>("reads");
        QTest::addColumn<Bytes>("payloads");
        QTest::addColumn<QStringList>("log");

        const auto payload = [](int size) { return '{' + QByteArray(size - 2, 'x') + '}'; };
        const QByteArray large = payload(64 * 1024);
        const QByteArray other = payload(100 * 1000);
        const QByteArray frame = Loopback::frame(large);
        const QStringList waits{QStringLiteral("debug: Partial buffer, waiting for more data")};
        QTest::newRow("one") << Bytes{frame} << Bytes{large} << QStringList();
        for (const int size : {16 * 1024 - 1, 16 * 1024, 16 * 1024 + 1, 256 * 1024 - 6}) {
            const QByteArray bytes = payload(size);
            QTest::addRow("%d bytes", size) << Bytes{Loopback::frame(bytes)} << Bytes{bytes} << QStringList();
        }
        QTest::newRow("a byte more than a read takes")
            << Bytes{Loopback::frame(payload(256 * 1024 - 5))} << Bytes{payload(256 * 1024 - 5)} << waits;
        for (const char *const length : {"000065536", "0000065536", "00000065536", "000000065536"})
            QTest::addRow("length %s", length) << Bytes{length + large} << Bytes{large} << QStringList();
        QTest::newRow("two at once") << Bytes{frame + Loopback::frame(other)} << Bytes{large, other} << QStringList();
        QTest::newRow("behind a small one") << Bytes{"2{}" + frame} << Bytes{"{}", large} << QStringList();
        QTest::newRow("before a small one") << Bytes{frame + "2{}"} << Bytes{large, "{}"} << QStringList();
        QTest::newRow("a byte is missing") << Bytes{frame.chopped(1), frame.right(1)} << Bytes{large} << waits;
        QTest::newRow("the first byte came before") << Bytes{frame.left(1), frame.mid(1)} << Bytes{large} << waits;
        QTest::newRow("leading zeros") << Bytes{"00" + frame} << Bytes{large} << QStringList();
        QTest::newRow("too many leading zeros to look ahead")
            << Bytes{QByteArray(20, '0') + frame} << Bytes{large} << QStringList();
        QTest::newRow("a blank behind the length")
            << Bytes{QByteArray::number(large.size()) + ' ' + large} << Bytes{large} << QStringList();
        QTest::newRow("followed by what is no frame") << Bytes{frame + "junk",
            "2{}"} << Bytes{large, "{}"} << QStringList{QStringLiteral("warning: Invalid data. Erasing buffer 4")};
        QTest::newRow("no frame")
            << Bytes{"x" + frame} << Bytes{}
            << QStringList{QStringLiteral("warning: Invalid data. Erasing buffer %1").arg(frame.size() + 1)};
    }

    void largeFramesAreReadInTheirOrder()
    {
        QFETCH(const Bytes, reads);
        QFETCH(const Bytes, payloads);
        QFETCH(const QStringList, log);
        const LogCapture capture;
        SocketBuffer buffer;

        Bytes taken;
        for (QByteArray read : reads) {
            QBuffer device(&read);
            QVERIFY(device.open(QIODevice::ReadOnly));
            while (buffer.readFrom(device))
                taken += drained(buffer);
            QCOMPARE(device.bytesAvailable(), 0);
        }

        QVERIFY(taken == payloads);
        QCOMPARE(capture.asText(), log);
    }

    void anyReadsGiveWhatThePlainFormGives()
    {
        int largePayloads = 0;
        for (unsigned number = 0; number < 300; ++number) {
            StreamPainter painter(number);
            SocketBuffer buffer;
            QByteArray plainBuffer;
            const Bytes reads = painter.cut(painter.streamOfLargeFrames(), 120 * 1000);
            for (QByteArray read : reads) {
                LogCapture log;
                plainBuffer += read;
                const Bytes expected = drain([&] { return ReferenceFraming::retrieveMessageData(plainBuffer); });
                const QStringList expectedLog = log.asText();

                log.clear();
                QBuffer device(&read);
                QVERIFY(device.open(QIODevice::ReadOnly));
                Bytes taken;
                while (buffer.readFrom(device))
                    taken += drained(buffer);

                QVERIFY2(taken == expected, qPrintable(QStringLiteral("stream %1").arg(number)));
                QCOMPARE(log.asText(), expectedLog);
                largePayloads += static_cast<int>(std::count_if(
                    taken.cbegin(), taken.cend(), [](const QByteArray &bytes) { return bytes.size() > 16 * 1024; }));
            }
        }
        QVERIFY(largePayloads > 300);
    }

    // Qt hands out all that came at once when it is asked for the end of that.
    void aLargePayloadKeepsNoMoreThanItself()
    {
        QTcpServer server;
        QVERIFY(server.listen(QHostAddress::LocalHost));
        QTcpSocket near;
        near.connectToHost(server.serverAddress(), server.serverPort());
        QVERIFY(server.waitForNewConnection(patience));
        QTcpSocket *const far = server.nextPendingConnection();
        const QByteArray former = '{' + QByteArray(100 * 1000, 'x') + '}';
        const QByteArray large = '{' + QByteArray(20 * 1000, 'x') + '}';
        near.write(Loopback::frame(former) + Loopback::frame(large));
        QTRY_COMPARE_WITH_TIMEOUT(
            far->bytesAvailable(), qint64(Loopback::frame(former).size() + Loopback::frame(large).size()), patience);
        far->skip(Loopback::frame(former).size());
        SocketBuffer buffer;

        QByteArray payload;
        QVERIFY(buffer.readFrom(*far));
        QVERIFY(buffer.takePayload(&payload));

        QCOMPARE(payload, large);
        QVERIFY2(payload.capacity() < 2 * large.size(), qPrintable(QString::number(payload.capacity())));
    }

    // As when a connection ends while a receiver is busy.
    void allMayBeReadBeforeAnythingIsTaken()
    {
        const QByteArray large = '{' + QByteArray(64 * 1024, 'x') + '}';
        QByteArray stream = Loopback::frame(large).repeated(10) + "2{}";
        QBuffer device(&stream);
        QVERIFY(device.open(QIODevice::ReadOnly));
        SocketBuffer buffer;

        while (buffer.readFrom(device)) {}

        const Bytes payloads = drained(buffer);
        QCOMPARE(payloads.size(), 10 + 1);
        QCOMPARE(payloads.count(large), 10);
        QCOMPARE(payloads.last(), QByteArray("{}"));
    }

    void aPayloadThatSomebodyKeepsStaysAsItIs()
    {
        SocketBuffer buffer;
        buffer.append("3{1}5{333}4{22}5{444}");
        QByteArray payload;

        QVERIFY(buffer.takePayload(&payload));
        const QByteArray kept = payload;
        QVERIFY(buffer.takePayload(&payload));
        const char *const memory = payload.constData();
        QCOMPARE(payload, QByteArray("{333}"));
        QVERIFY(buffer.takePayload(&payload));
        QCOMPARE(payload, QByteArray("{22}"));
        QVERIFY(buffer.takePayload(&payload));

        QCOMPARE(payload, QByteArray("{444}"));
        QCOMPARE(kept, QByteArray("{1}"));
        QCOMPARE(static_cast<const void *>(payload.constData()), static_cast<const void *>(memory));
    }

    void payloadsComeInTheirOrder()
    {
        const LogCapture log;
        SocketBuffer buffer;
        QCOMPARE(drained(buffer), Bytes());

        buffer.append("2{}3{1}15{\"ty");
        QCOMPARE(drained(buffer), (Bytes{"{}", "{1}"}));
        buffer.append("pe\": 12345}2{}");
        QCOMPARE(drained(buffer), (Bytes{"{\"type\": 12345}", "{}"}));

        QCOMPARE(drained(buffer), Bytes());
        QCOMPARE(log.asText(), QStringList{QStringLiteral("debug: Partial buffer, waiting for more data")});
    }

    void bytesMayBeAppendedBetweenTwoPayloads()
    {
        const LogCapture log;
        SocketBuffer buffer;
        buffer.append("2{}3{1");
        QByteArray payload;
        QVERIFY(buffer.takePayload(&payload));
        QCOMPARE(payload, QByteArray("{}"));

        buffer.append("}4{22}");

        QCOMPARE(drained(buffer), (Bytes{"{1}", "{22}"}));
        QCOMPARE(log.asText(), QStringList());
    }

    void anErasureForgetsWhatIsLeftOnly()
    {
        const LogCapture log;
        SocketBuffer buffer;
        buffer.append("2{}junk");
        QCOMPARE(drained(buffer), Bytes{"{}"});

        buffer.append("2{}");

        QCOMPARE(drained(buffer), Bytes{"{}"});
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Invalid data. Erasing buffer 4")});
    }

    // However a stream is cut, it gives the payloads and the log of the plain loop.
    void anyStreamGivesWhatThePlainFormGives_data()
    {
        QTest::addColumn<unsigned>("first");

        for (const unsigned first : {0U, 10000U, 20000U, 30000U})
            QTest::addRow("streams from %u", first) << first;
    }

    void anyStreamGivesWhatThePlainFormGives()
    {
        QFETCH(const unsigned, first);
        int payloadsInAll = 0;
        int erasuresInAll = 0;
        for (unsigned number = first; number < first + 1000; ++number) {
            StreamPainter painter(number);
            const Bytes pieces = painter.cut(painter.stream());
            SocketBuffer buffer;
            QByteArray parserBuffer;
            QByteArray plainBuffer;
            for (const QByteArray &piece : pieces) {
                LogCapture log;
                plainBuffer += piece;
                const Bytes expected = drain([&] { return ReferenceFraming::retrieveMessageData(plainBuffer); });
                const QStringList expectedLog = log.asText();
                QVERIFY(expected.size() <= maxPayloads);

                log.clear();
                parserBuffer += piece;
                const Bytes parsed = drain([&] { return TcpProtocolParser::retrieveMessageData(parserBuffer); });
                const QStringList parserLog = log.asText();

                log.clear();
                buffer.append(piece);
                const Bytes taken = drained(buffer);
                const QStringList takenLog = log.asText();

                if (parsed != expected || parserBuffer != plainBuffer || parserLog != expectedLog)
                    qCritical() << "parser, stream" << number << pieces;
                QCOMPARE(parsed, expected);
                QCOMPARE(parserBuffer, plainBuffer);
                QCOMPARE(parserLog, expectedLog);
                if (taken != expected || takenLog != expectedLog)
                    qCritical() << "buffer, stream" << number << pieces;
                QCOMPARE(taken, expected);
                QCOMPARE(takenLog, expectedLog);
                payloadsInAll += taken.size();
                erasuresInAll += log.warnings().size();
            }
        }
        QVERIFY(payloadsInAll > 1000);
        QVERIFY(erasuresInAll > 1000);
    }

    void noFrameAboveTheLargestIsTaken_data()
    {
        QTest::addColumn<QByteArray>("frame");
        QTest::addColumn<bool>("isTaken");

        QTest::newRow("as large as may be") << "97{" + QByteArray(96, 'x') << true;
        QTest::newRow("a byte more") << "98{" + QByteArray(97, 'x') << false;
        QTest::newRow("twice as large") << "197{" + QByteArray(196, 'x') << false;
        QTest::newRow("with zeros, as large as may be") << QByteArray(19, '0') + "80{" + QByteArray(79, 'x') << false;
        QTest::newRow("with zeros, a byte less") << QByteArray(18, '0') + "80{" + QByteArray(79, 'x') << false;
        QTest::newRow("with zeros, small") << QByteArray(17, '0') + "80{" + QByteArray(79, 'x') << true;
    }

    // However it comes: at once, byte by byte, in one read of a device.
    void noFrameAboveTheLargestIsTaken()
    {
        QFETCH(QByteArray, frame);
        QFETCH(const bool, isTaken);
        const LogCapture log;
        const auto prepared = [] {
            auto buffer = std::make_unique<SocketBuffer>(1);
            buffer->setLargestFrame(99);
            return buffer;
        };
        const Bytes expected = isTaken ? Bytes{frame.mid(frame.indexOf('{'))} : Bytes();

        const auto whole = prepared();
        whole->append(frame);
        QCOMPARE(drained(*whole), expected);
        const auto pieces = prepared();
        Bytes taken;
        for (const char byte : qAsConst(frame)) {
            pieces->append(QByteArray(1, byte));
            taken += drained(*pieces);
        }
        QCOMPARE(taken, expected);
        const auto read = prepared();
        QBuffer device(&frame);
        QVERIFY(device.open(QIODevice::ReadOnly) && read->readFrom(device));
        QCOMPARE(drained(*read), expected);

        QCOMPARE(log.warnings().isEmpty(), isTaken);
        for (SocketBuffer *const buffer : {whole.get(), pieces.get(), read.get()}) {
            drained(*buffer);
            buffer->append(isTaken ? "2{}" : "x2{}"); // whatever is left of it is erased by that
            buffer->append("2{}");
            QCOMPARE(drained(*buffer), isTaken ? (Bytes{"{}", "{}"}) : Bytes());
            buffer->append("3{1}");
            QCOMPARE(drained(*buffer), Bytes{"{1}"});
        }
    }

    void whatCameWholeOutlivesItsConnection()
    {
        const LogCapture log;
        SocketBuffer buffer(1);
        buffer.setDropsLeftovers(true);
        buffer.append("2{}3{1}4{");

        buffer.beginConnection();
        buffer.append("4{22}");

        QCOMPARE(drained(buffer), (Bytes{"{}", "{1}", "{22}"}));
        QCOMPARE(log.warnings(), QStringList{QStringLiteral("bytes of a former connection are dropped: 2")});
    }

    void leftoversAreCountedAsTheyWereReceived()
    {
        LogCapture log;
        SocketBuffer buffer;
        buffer.beginConnection();
        QCOMPARE(log.asText(), QStringList());
        buffer.append("2{}" + QByteArray(1000, '0'));
        QCOMPARE(drained(buffer), Bytes{"{}"});

        buffer.beginConnection();

        QCOMPARE(log.warnings(),
            QStringList{QStringLiteral("bytes of a former connection stand before the new one's: 1000")});
    }

    void theMemoryOfALargeFrameIsGivenBack()
    {
        constexpr int size = 30000000; // bytes
        constexpr std::size_t slack = std::size_t{2} * 1024 * 1024;
        const auto held = [] {
            const struct mallinfo2 memory = mallinfo2();
            return memory.uordblks + memory.hblkhd;
        };
        SocketBuffer buffer;
        QByteArray payload;
        const std::size_t before = held();

        buffer.append(QByteArray::number(size) + '{' + QByteArray(size - 1, ' ') + "1");
        QVERIFY(buffer.takePayload(&payload));
        QCOMPARE(payload.size(), size);
        payload.clear();
        QVERIFY(!buffer.takePayload(&payload));

        QVERIFY2(held() < before + slack, qPrintable(QString::number(held() - before)));
        buffer.append("}2{}");
        QVERIFY(!buffer.takePayload(&payload)); // the brace is no length
    }

    // They came whole, and a busy receiver just has not taken them yet.
    void wholeFramesAreNoLeftovers_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("count");
        QTest::newRow("whole ones") << QByteArray("2{}3{1}") << 0;
        QTest::newRow("one that is not") << QByteArray("2{}3{1}9{22}") << 5;
        QTest::newRow("the start of a length") << QByteArray("2{}12") << 2;
        QTest::newRow("no frame") << QByteArray("2{}xyz") << 3;
        QTest::newRow("a length beyond the limit") << QByteArray("3{1}8{345678}") << 9;
    }

    void wholeFramesAreNoLeftovers()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const int, count);
        const LogCapture log;
        SocketBuffer buffer;
        buffer.setLargestFrame(8);
        QByteArray payload;
        buffer.append("2{}" + bytes);
        QVERIFY(buffer.takePayload(&payload));

        buffer.beginConnection();

        QCOMPARE(log.warnings(),
            count == 0 ? QStringList()
                       : QStringList{
                           QStringLiteral("bytes of a former connection stand before the new one's: %1").arg(count)});
        QVERIFY(buffer.takePayload(&payload)); // they stay all the same
        QCOMPARE(payload, bytes.mid(1, bytes.indexOf('}')));
    }

    void manySmallFramesAreTaken()
    {
        constexpr int count = 160000;
        SocketBuffer buffer;
        buffer.append(QByteArray("15{\"type\": 12345}").repeated(count));

        int taken = 0;
        QByteArray payload;
        while (taken <= count && buffer.takePayload(&payload) && payload == "{\"type\": 12345}")
            ++taken;

        QCOMPARE(taken, count);
    }

    void manySmallFramesTakeLinearTime()
    {
        const QByteArray frame = "15{\"type\": 12345}";
        const auto seconds = [&](int count) {
            double best = 1e9;
            for (int round = 0; round < 3; ++round) {
                SocketBuffer buffer;
                buffer.append(frame.repeated(count));
                const WorkTimer timer;
                int taken = 0;
                QByteArray payload;
                while (buffer.takePayload(&payload))
                    ++taken;
                if (taken != count)
                    return -1.0;
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(50000);
        const double fourfoldTime = seconds(200000);

        QVERIFY(time > 0 && fourfoldTime > 0);
        // 4 when linear, 16 when each payload moves the rest.
        QVERIFY2(fourfoldTime < 8 * time, qPrintable(QStringLiteral("%1 s, then %2 s").arg(time).arg(fourfoldTime)));
    }

    // Leading zeros are part of a number, and blanks may follow it: neither may keep the receiver busy.
    void aFloodWithoutAPayloadEndsInOneErasure_data()
    {
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<char>("filling");

        QTest::newRow("zeros") << QByteArray() << '0';
        QTest::newRow("blanks behind a digit") << QByteArray("2") << ' ';
        QTest::newRow("blanks before a digit") << QByteArray(1024 * 1024, ' ') + "2" << ' ';
        QTest::newRow("a payload that does not end") << QByteArray("2147483647{") << 'x';
    }

    void aFloodWithoutAPayloadEndsInOneErasure()
    {
        QFETCH(const QByteArray, start);
        QFETCH(const char, filling);
        constexpr int readSize = 64 * 1024;
        const QByteArray read(readSize, filling);
        const LogCapture log;
        SocketBuffer buffer;
        buffer.append(start);
        QElapsedTimer timer;
        timer.start();

        int size = start.size();
        for (; size <= TcpProtocolParser::maxBufferSize; size += readSize) {
            QCOMPARE(log.warnings(), QStringList());
            buffer.append(read);
            QByteArray payload;
            QVERIFY(!buffer.takePayload(&payload));
            QCOMPARE(payload, QByteArray());
        }

        QCOMPARE(log.warnings(), QStringList{QStringLiteral("Invalid data. Erasing buffer %1").arg(size)});
        buffer.append("2{}");
        QCOMPARE(drained(buffer), Bytes{"{}"});
        QVERIFY2(timer.elapsed() < 10000, qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
    }
};

QTEST_GUILESS_MAIN(TestSocketBuffer)
#include "tst_socketbuffer.moc"
