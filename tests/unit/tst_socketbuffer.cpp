// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Loopback.h"
#include "PlainFraming.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QtTest>

#include <algorithm>
#include <ctime>
#include <random>

namespace {
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

/// Seconds that this thread has worked; others may keep the machine busy.
double processorTime()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) * 1e-9;
}

Bytes drained(SocketBuffer &buffer)
{
    return drain([&] { return buffer.takePayload(); });
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

    /// The same bytes in pieces of any length.
    Bytes cut(const QByteArray &bytes)
    {
        const int longest = between(1, 2) == 1 ? 3 : 1 + int(bytes.size());
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
        QCOMPARE(buffer.takePayload(), QByteArray("{}"));

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
                const Bytes expected = drain([&] { return PlainFraming::retrieveMessageData(plainBuffer); });
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

    void manySmallFramesAreTaken()
    {
        constexpr int count = 160000;
        SocketBuffer buffer;
        buffer.append(QByteArray("15{\"type\": 12345}").repeated(count));

        int taken = 0;
        while (taken <= count && buffer.takePayload() == "{\"type\": 12345}")
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
                const double start = processorTime();
                int taken = 0;
                for (QByteArray payload = buffer.takePayload(); !payload.isEmpty(); payload = buffer.takePayload())
                    ++taken;
                if (taken != count)
                    return -1.0;
                best = std::min(best, processorTime() - start);
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
            QCOMPARE(buffer.takePayload(), QByteArray());
        }

        QCOMPARE(log.warnings(), QStringList{QStringLiteral("Invalid data. Erasing buffer %1").arg(size)});
        buffer.append("2{}");
        QCOMPARE(drained(buffer), Bytes{"{}"});
        QVERIFY2(timer.elapsed() < 10000, qPrintable(QStringLiteral("%1 ms").arg(timer.elapsed())));
    }
};

QTEST_GUILESS_MAIN(TestSocketBuffer)
#include "tst_socketbuffer.moc"
