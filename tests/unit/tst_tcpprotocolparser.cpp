// SPDX-License-Identifier: Apache-2.0
#include "LogCapture.h"
#include "Tcp/AbstractTcpMessage.h"
#include "Tcp/TcpProtocolParser.h"

#include <QElapsedTimer>
#include <QtTest>

#include <limits>
#include <type_traits>
#include <utility>

class FixedMessage : public AbstractTcpMessage
{
    Q_OBJECT

public:
    explicit FixedMessage(QByteArray payload)
        : mPayload(std::move(payload))
    {
    }
    QByteArray toByteArray() const override { return mPayload; }

private:
    const QByteArray mPayload;
};

namespace {
constexpr int maxPayloads = 1000; // more than any vector holds
constexpr int maxMilliseconds = 1000;

const char *const waiting = "debug: Partial buffer, waiting for more data";

QString erasing(int size)
{
    return QStringLiteral("warning: Invalid data. Erasing buffer %1").arg(size);
}

/// All payloads that the buffer gives, as a receiver takes them; more than maxPayloads when it does not end.
QList<QByteArray> drain(QByteArray &buffer)
{
    QList<QByteArray> payloads;
    for (QByteArray payload = TcpProtocolParser::retrieveMessageData(buffer);
         !payload.isEmpty() && payloads.size() <= maxPayloads; payload = TcpProtocolParser::retrieveMessageData(buffer))
        payloads << payload;
    return payloads;
}
} // namespace

class TestTcpProtocolParser : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thereAreNoInstances() { QVERIFY(!std::is_default_constructible_v<TcpProtocolParser>); }

    void aFrameIsTheLengthAndThePayload()
    {
        AbstractTcpMessage message;
        message.set_type(3);

        QCOMPARE(TcpProtocolParser::messageToData(message), QByteArray("18{\n    \"type\": 3\n}\n"));
    }

    void theLengthCountsBytes()
    {
        QCOMPARE(TcpProtocolParser::messageToData(FixedMessage("{\"\xc3\xa4\xe4\xb8\x96\"}")),
            QByteArray("9{\"\xc3\xa4\xe4\xb8\x96\"}"));
    }

    void theMessageDecidesOnItsPayload_data()
    {
        QTest::addColumn<QByteArray>("payload");
        QTest::addColumn<QByteArray>("data");

        QTest::newRow("nothing") << QByteArray() << QByteArray("0");
        QTest::newRow("ten bytes") << QByteArray("{12345678}") << QByteArray("10{12345678}");
        QTest::newRow("zero bytes within") << QByteArray("{\0}", 3) << QByteArray("3{\0}", 4);
        QTest::newRow("an array") << QByteArray("[1]") << QByteArray("3[1]");
    }

    void theMessageDecidesOnItsPayload()
    {
        QFETCH(const QByteArray, payload);
        QFETCH(const QByteArray, data);

        QCOMPARE(TcpProtocolParser::messageToData(FixedMessage(payload)), data);
    }

    void bytesAreFramed_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QList<QByteArray>>("payloads");
        QTest::addColumn<QByteArray>("rest");
        QTest::addColumn<QStringList>("log");

        const QList<QByteArray> none;
        const QByteArray nothing;
        const auto taken = [&](const char *name, const QByteArray &bytes, const QList<QByteArray> &payloads) {
            QTest::newRow(name) << bytes << payloads << nothing << QStringList();
        };
        const auto waits = [&](const QByteArray &bytes) {
            QTest::newRow(bytes.constData()) << bytes << none << bytes << QStringList{QString::fromUtf8(waiting)};
        };
        const auto erased = [&](const char *name, const QByteArray &bytes) {
            QTest::newRow(name) << bytes << none << nothing << QStringList{erasing(bytes.size())};
        };

        QTest::newRow("empty") << nothing << none << nothing << QStringList();
        taken("one frame", "2{}", {"{}"});
        taken("two frames", "15{\"type\": 12345}2{}", {"{\"type\": 12345}", "{}"});
        taken("a payload may hold frames", "6{2{}2}2{}", {"{2{}2}", "{}"});
        taken("a payload may be no JSON", "4{abc", {"{abc"});
        taken("a payload of one byte", "1{", {"{"});
        taken("zero bytes in the payload", QByteArray("4{\0\0}", 5), {QByteArray("{\0\0}", 4)});
        taken("+2{}", "+2{}", {"{}"});
        taken("blank before", " 2{}", {"{}"});
        taken("blanks of all kinds before", " \t\n\v\f\r2{}", {"{}"});
        taken("blank behind", "2 {}", {"{}"});
        taken("line feed behind", "2\n{}", {"{}"});
        taken("leading zeros", "00000000000000000000002{}", {"{}"});
        taken("zero byte behind the digits", QByteArray("2\0{}", 4), {"{}"});
        waits("0");
        waits("1");
        waits("2");
        waits("25");
        waits("213");
        waits("2147483647");
        waits("+2");
        waits("2{");
        waits("3{}");
        waits("15{\"type\": 1234");
        waits("2147483646{}");
        waits("2147483647{}");
        erased("-1{}", "-1{}");
        erased("-2{}", "-2{}");
        erased("-5{abc}", "-5{abc}");
        erased("-3", "-3");
        erased("-0{}", "-0{}");
        erased("-0", "-0");
        erased("-", "-");
        erased("+", "+");
        erased(" ", " ");
        erased("- with a blank before", " -2{}");
        erased("-2147483648{}", "-2147483648{}");
        erased("-2147483649{}", "-2147483649{}");
        erased("2147483648{}", "2147483648{}");
        erased("2147483648", "2147483648");
        erased("99999999999999999999{}", "99999999999999999999{}");
        erased("tab", "\t{}");
        erased("{}", "{}");
        erased("abc{}", "abc{}");
        erased("abc", "abc");
        erased("0x2{}", "0x2{}");
        erased("2.0{}", "2.0{}");
        erased("2[1]", "2[1]");
        erased("1 2{}", "1 2{}");
        erased("zero byte before the digits", QByteArray("\0002{}", 4));
        erased("letters, and a whole frame behind them", "x2{}15{\"type\": 12345}");
        erased("bytes that are no text", "\xff\xfe{}");
        QTest::newRow("a brace too many")
            << QByteArray("2{}}") << QList<QByteArray>{"{}"} << nothing << QStringList{erasing(1)};
        QTest::newRow("1{}") << QByteArray("1{}") << QList<QByteArray>{"{"} << nothing << QStringList{erasing(1)};
        QTest::newRow("a frame and a part") << QByteArray("2{}2{") << QList<QByteArray>{"{}"} << QByteArray("2{")
                                            << QStringList{QString::fromUtf8(waiting)};
        QTest::newRow("a frame and a digit") << QByteArray("2{}2") << QList<QByteArray>{"{}"} << QByteArray("2")
                                             << QStringList{QString::fromUtf8(waiting)};
        QTest::newRow("a frame and garbage")
            << QByteArray("2{}ab2{}") << QList<QByteArray>{"{}"} << nothing << QStringList{erasing(5)};
        QTest::newRow("a frame and a negative length")
            << QByteArray("2{}-2{}") << QList<QByteArray>{"{}"} << nothing << QStringList{erasing(4)};
        QTest::newRow("length zero") << QByteArray("0{") << none << QByteArray("{") << QStringList();
        QTest::newRow("length zero, then more") << QByteArray("0{}2{}") << none << QByteArray("{}2{}") << QStringList();
        QTest::newRow("a frame, then length zero")
            << QByteArray("2{}0{}") << QList<QByteArray>{"{}"} << QByteArray("{}") << QStringList();
    }

    void bytesAreFramed()
    {
        QFETCH(const QByteArray, bytes);
        QFETCH(const QList<QByteArray>, payloads);
        QFETCH(const QByteArray, rest);
        QFETCH(const QStringList, log);
        const LogCapture capture;
        QElapsedTimer timer;
        timer.start();
        QByteArray buffer = bytes;

        const QList<QByteArray> taken = drain(buffer);

        QCOMPARE(taken, payloads);
        QCOMPARE(buffer, rest);
        QCOMPARE(capture.asText(), log);
        QVERIFY(timer.elapsed() < maxMilliseconds);
    }

    void whatFollowsALengthOfZeroIsErasedAtTheNextCall()
    {
        const LogCapture capture;
        QByteArray buffer = "0{}2{}";

        QCOMPARE(drain(buffer), QList<QByteArray>());
        QCOMPARE(buffer, QByteArray("{}2{}"));
        QCOMPARE(drain(buffer), QList<QByteArray>());

        QCOMPARE(buffer, QByteArray());
        QCOMPARE(capture.asText(), QStringList{erasing(5)});
    }

    void aFrameMayArriveInPieces_data()
    {
        QTest::addColumn<QList<QByteArray>>("pieces");
        QTest::addColumn<QByteArray>("payload");

        const QByteArray json = "{" + QByteArray(211, 'x') + "}";
        QList<QByteArray> bytes;
        for (const char byte : QByteArray("213") + json)
            bytes << QByteArray(1, byte);
        QTest::newRow("the first digit alone") << QList<QByteArray>{"2", "13" + json} << json;
        QTest::newRow("the length alone") << QList<QByteArray>{"213", json} << json;
        QTest::newRow("the brace with the length") << QList<QByteArray>{"213{", json.mid(1)} << json;
        QTest::newRow("the last byte alone") << QList<QByteArray>{"213" + json.left(212), "}"} << json;
        QTest::newRow("byte by byte") << bytes << json;
    }

    void aFrameMayArriveInPieces()
    {
        QFETCH(const QList<QByteArray>, pieces);
        QFETCH(const QByteArray, payload);
        const LogCapture capture;
        QByteArray buffer;

        for (int i = 0; i < pieces.size(); ++i) {
            buffer += pieces[i];
            const QByteArray before = buffer;
            const bool isLast = i == pieces.size() - 1;
            QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer), isLast ? payload : QByteArray());
            QCOMPARE(buffer, isLast ? QByteArray() : before);
        }

        QCOMPARE(capture.asText().count(QString::fromUtf8(waiting)), pieces.size() - 1);
        QCOMPARE(capture.asText().size(), pieces.size() - 1);
    }

    void theNextFrameAfterAnErasureIsTaken()
    {
        const LogCapture capture;
        QByteArray buffer = "garbage";
        QCOMPARE(drain(buffer), QList<QByteArray>());

        buffer += "2{}";

        QCOMPARE(drain(buffer), QList<QByteArray>{"{}"});
    }

    void waitingLeavesTheBufferAlone()
    {
        const LogCapture capture;
        const QByteArray original = "100{" + QByteArray(50, 'x');
        QByteArray buffer = original;
        const char *const bytes = original.constData();

        TcpProtocolParser::retrieveMessageData(buffer);

        QCOMPARE(buffer.constData(), bytes);
    }

    void bytesWithoutATerminatorAreRead()
    {
        const LogCapture capture;
        const char bytes[] = {'2', '5', '9'};
        QByteArray buffer = QByteArray::fromRawData(bytes, 2);

        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer), QByteArray());
        QCOMPARE(buffer, QByteArray("25"));
    }

    void aPositionMovesBehindEachPayload()
    {
        QByteArray buffer = "2{}3{1}";
        int position = 0;

        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer, position), QByteArray("{}"));
        QCOMPARE(position, 3);
        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer, position), QByteArray("{1}"));
        QCOMPARE(position, 7);
        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer, position), QByteArray());
        QCOMPARE(position, 7);
        QCOMPARE(buffer, QByteArray("2{}3{1}"));
    }

    void aPositionStaysWhileItWaits()
    {
        const LogCapture capture;
        QByteArray buffer = "2{}3{1";
        int position = 3;

        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer, position), QByteArray());

        QCOMPARE(position, 3);
        QCOMPARE(buffer, QByteArray("2{}3{1"));
        QCOMPARE(capture.asText(), QStringList{QString::fromUtf8(waiting)});
    }

    void anErasureCountsFromThePosition()
    {
        const LogCapture capture;
        QByteArray buffer = "2{}x{}";
        int position = 3;

        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer, position), QByteArray());

        QCOMPARE(position, 0);
        QCOMPARE(buffer, QByteArray());
        QCOMPARE(capture.asText(), QStringList{erasing(3)});
    }

    void aPositionOutsideOfTheBufferGivesNothing_data()
    {
        QTest::addColumn<int>("position");

        QTest::newRow("at the end") << 3;
        QTest::newRow("behind the end") << 4;
        QTest::newRow("highest") << std::numeric_limits<int>::max();
    }

    void aPositionOutsideOfTheBufferGivesNothing()
    {
        QFETCH(const int, position);
        QByteArray buffer = "2{}";
        int moved = position;

        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer, moved), QByteArray());

        QCOMPARE(moved, position);
        QCOMPARE(buffer, QByteArray("2{}"));
    }

    void onlySoMuchIsHeldBack_data()
    {
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<char>("filling");

        QTest::newRow("a payload that does not end") << QByteArray("2147483647{") << 'x';
        QTest::newRow("zeros without an end") << QByteArray("0") << '0';
        QTest::newRow("blanks behind a digit") << QByteArray("2") << ' ';
    }

    void onlySoMuchIsHeldBack()
    {
        QFETCH(const QByteArray, start);
        QFETCH(const char, filling);
        QCOMPARE(TcpProtocolParser::maxBufferSize, 64 * 1024 * 1024);
        LogCapture capture;
        QByteArray buffer = start + QByteArray(TcpProtocolParser::maxBufferSize - start.size(), filling);

        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer), QByteArray());
        QCOMPARE(buffer.size(), TcpProtocolParser::maxBufferSize);
        QCOMPARE(capture.asText(), QStringList{QString::fromUtf8(waiting)});

        capture.clear();
        buffer += filling;
        QCOMPARE(TcpProtocolParser::retrieveMessageData(buffer), QByteArray());
        QCOMPARE(buffer.size(), 0);
        QCOMPARE(capture.asText(), QStringList{erasing(TcpProtocolParser::maxBufferSize + 1)});
    }

    void aWholeFrameIsTakenHoweverLargeTheBuffer()
    {
        const LogCapture capture;
        const QByteArray payload = "{" + QByteArray(TcpProtocolParser::maxBufferSize, 'x');
        QByteArray buffer = QByteArray::number(payload.size()) + payload;

        QVERIFY(TcpProtocolParser::retrieveMessageData(buffer) == payload);

        QCOMPARE(buffer.size(), 0);
        QCOMPARE(capture.asText(), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestTcpProtocolParser)
#include "tst_tcpprotocolparser.moc"
