// SPDX-License-Identifier: Apache-2.0
#include "Goals.h"
#include "Helpers/JsonHelper.h"
#include "Helpers/QObjectHelper.h"
#include "Loopback.h"
#include "PlainLink.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpClient.h"
#include "Tcp/TcpProtocolParser.h"
#include "Tcp/TcpServer.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QLoggingCategory>

#include <benchmark/benchmark.h>

#include <string>
#include <utility>
#include <vector>

/// A message class of an application: ten properties of the usual types.
class Reading : public AbstractTcpMessage
{
    Q_OBJECT
    VANTOR_PROPERTY(int, port, 0)
    VANTOR_PROPERTY(int, wavelength, 0)
    VANTOR_PROPERTY(double, loss, 0)
    VANTOR_PROPERTY(double, length, 0)
    VANTOR_PROPERTY(bool, passed, false)
    VANTOR_PROPERTY(bool, remote, false)
    VANTOR_PROPERTY(QString, name, {})
    VANTOR_PROPERTY(QString, standard, {})
    VANTOR_PROPERTY(QString, operatorName, {})
};

#define VANTOR_FIVE_PROPERTIES(n)                                                                                      \
    VANTOR_PROPERTY(int, a##n, 0)                                                                                      \
    VANTOR_PROPERTY(QString, b##n, {})                                                                                 \
    VANTOR_PROPERTY(double, c##n, 0)                                                                                   \
    VANTOR_PROPERTY(bool, d##n, false)                                                                                 \
    VANTOR_PROPERTY(QString, e##n, {})

class FortyProperties : public QObject
{
    Q_OBJECT
    VANTOR_FIVE_PROPERTIES(1)
    VANTOR_FIVE_PROPERTIES(2)
    VANTOR_FIVE_PROPERTIES(3)
    VANTOR_FIVE_PROPERTIES(4)
    VANTOR_FIVE_PROPERTIES(5)
    VANTOR_FIVE_PROPERTIES(6)
    VANTOR_FIVE_PROPERTIES(7)
    VANTOR_FIVE_PROPERTIES(8)
};

class EightyProperties : public QObject
{
    Q_OBJECT
    VANTOR_FIVE_PROPERTIES(1)
    VANTOR_FIVE_PROPERTIES(2)
    VANTOR_FIVE_PROPERTIES(3)
    VANTOR_FIVE_PROPERTIES(4)
    VANTOR_FIVE_PROPERTIES(5)
    VANTOR_FIVE_PROPERTIES(6)
    VANTOR_FIVE_PROPERTIES(7)
    VANTOR_FIVE_PROPERTIES(8)
    VANTOR_FIVE_PROPERTIES(9)
    VANTOR_FIVE_PROPERTIES(10)
    VANTOR_FIVE_PROPERTIES(11)
    VANTOR_FIVE_PROPERTIES(12)
    VANTOR_FIVE_PROPERTIES(13)
    VANTOR_FIVE_PROPERTIES(14)
    VANTOR_FIVE_PROPERTIES(15)
    VANTOR_FIVE_PROPERTIES(16)
};

namespace {
constexpr char smallFrame[] = "15{\"type\": 12345}";
constexpr int smallFrameSize = sizeof smallFrame - 1;
constexpr int tenMegabytes = 10 * 1000 * 1000;

// --- Framing ---------------------------------------------------------------------------------------------------------

QByteArray smallFrames(int bytes)
{
    return QByteArray(smallFrame).repeated(bytes / smallFrameSize);
}

void benchDrain(benchmark::State &state, int bytes)
{
    const QByteArray frames = smallFrames(bytes);
    while (state.KeepRunning()) {
        SocketBuffer buffer;
        buffer.append(frames);
        qint64 received = 0;
        QByteArray payload;
        while (buffer.takePayload(&payload))
            received += payload.size();
        benchmark::DoNotOptimize(received);
    }
}

/// Finds the frames, reads their lengths as the parser does, and hands out nothing.
void benchScan(benchmark::State &state)
{
    const QByteArray frames = smallFrames(tenMegabytes);
    while (state.KeepRunning()) {
        QByteArray buffer; // taken over byte by byte, as from a socket
        buffer.append(frames.constData(), frames.size());
        qint64 received = 0;
        for (int position = 0; position < buffer.size();) {
            const int start = buffer.indexOf('{', position);
            const int length = buffer.mid(position, start - position).toInt();
            received += length;
            position = start + length;
        }
        benchmark::DoNotOptimize(received);
    }
}

/// The same without Qt: digits are all that it knows.
void benchBareScan(benchmark::State &state)
{
    const QByteArray frames = smallFrames(tenMegabytes);
    while (state.KeepRunning()) {
        QByteArray buffer;
        buffer.append(frames.constData(), frames.size());
        const char *at = buffer.constData();
        const char *const end = at + buffer.size();
        qint64 received = 0;
        while (at < end) {
            int length = 0;
            for (; *at != '{'; ++at)
                length = length * 10 + (*at - '0');
            received += length;
            at += length;
        }
        benchmark::DoNotOptimize(received);
    }
}

// --- Loopback --------------------------------------------------------------------------------------------------------

/// A message whose payload is there already: what is measured is the way to the other end.
class ReadyMessage : public AbstractTcpMessage
{
public:
    explicit ReadyMessage(int size)
        : mPayload('{' + QByteArray(size - 2, ' ') + '}')
    {
    }
    QByteArray toByteArray() const override { return mPayload; }

private:
    const QByteArray mPayload;
};

enum class Pace : int {
    ByTurns, ///< the event loop takes a turn after every message, as between the events of an application
    Queued, ///< a megabyte of messages at once, which the event loop then finds waiting
};

/// Sends through `send` and lets events pass until `received` has grown by so much for each message; so on and on.
template <typename Send>
void pump(benchmark::State &state, Pace pace, int size, int perMessage, const qint64 &received, Send send)
{
    constexpr int batchBytes = 1024 * 1024;
    const int count = batchBytes / size;
    qint64 expected = received;
    for (auto _ : state) {
        for (int i = 0; i < count; ++i) {
            send();
            if (pace == Pace::ByTurns)
                QCoreApplication::processEvents();
        }
        expected += qint64(count) * perMessage;
        while (received < expected)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    state.SetBytesProcessed(state.iterations() * count * size);
}

void benchLink(benchmark::State &state, Pace pace, int size)
{
    TcpServer server;
    const int port = Loopback::freePort();
    server.start(port);
    qint64 received = 0;
    QObject::connect(
        &server, &TcpServer::dataReceived, &server, [&](const QByteArray &data) { received += data.size(); });
    TcpClient client;
    client.start(Loopback::address(), port);
    const ReadyMessage message(size);
    pump(state, pace, size, size, received, [&] { Q_EMIT client.send(message); });
}

void benchPlain(benchmark::State &state, Pace pace, int size)
{
    PlainLink link;
    const QByteArray frame = TcpProtocolParser::messageToData(ReadyMessage(size));
    pump(state, pace, size, frame.size(), link.received(), [&] { link.send(frame); });
}

constexpr double share = 1 / 0.8; // of the bytes per second, as a ratio of times

/// The link and plain sockets at this size of messages.
std::vector<Goal> addLoopback(const std::string &sizeName, int size)
{
    std::vector<Goal> goals;
    for (const Pace pace : {Pace::ByTurns, Pace::Queued}) {
        const std::string suffix = (pace == Pace::ByTurns ? "_" : "_queued_") + sizeName;
        benchmark::RegisterBenchmark(("link" + suffix).c_str(), benchLink, pace, size)->UseRealTime();
        benchmark::RegisterBenchmark(("plain" + suffix).c_str(), benchPlain, pace, size)->UseRealTime();
        std::string what = "loopback, " + sizeName;
        what += pace == Pace::ByTurns ? ", one by one: time / plain sockets" : ", queued: time / plain sockets";
        goals.push_back({what, "link" + suffix, "plain" + suffix, share});
    }
    return goals;
}

// --- JSON and reflection ---------------------------------------------------------------------------------------------

void fill(Reading *reading)
{
    reading->set_type(12);
    reading->set_port(24);
    reading->set_wavelength(1310);
    reading->set_loss(0.25);
    reading->set_length(1532.5);
    reading->set_passed(true);
    reading->set_name(QStringLiteral("Building 7, rack 12, panel B"));
    reading->set_standard(QStringLiteral("IEC 61300-3-35 SM"));
    reading->set_operatorName(QStringLiteral("somebody"));
}

QByteArray writeByHand(const Reading &reading)
{
    QJsonObject json;
    json.insert(QStringLiteral("type"), reading.type());
    json.insert(QStringLiteral("port"), reading.port());
    json.insert(QStringLiteral("wavelength"), reading.wavelength());
    json.insert(QStringLiteral("loss"), reading.loss());
    json.insert(QStringLiteral("length"), reading.length());
    json.insert(QStringLiteral("passed"), reading.passed());
    json.insert(QStringLiteral("remote"), reading.remote());
    json.insert(QStringLiteral("name"), reading.name());
    json.insert(QStringLiteral("standard"), reading.standard());
    json.insert(QStringLiteral("operatorName"), reading.operatorName());
    return QJsonDocument(json).toJson();
}

bool readByHand(const QByteArray &data, Reading *reading)
{
    const QJsonDocument document = QJsonDocument::fromJson(data);
    if (!document.isObject())
        return false;
    const QJsonObject json = document.object();
    reading->set_type(json.value(QStringLiteral("type")).toInt());
    reading->set_port(json.value(QStringLiteral("port")).toInt());
    reading->set_wavelength(json.value(QStringLiteral("wavelength")).toInt());
    reading->set_loss(json.value(QStringLiteral("loss")).toDouble());
    reading->set_length(json.value(QStringLiteral("length")).toDouble());
    reading->set_passed(json.value(QStringLiteral("passed")).toBool());
    reading->set_remote(json.value(QStringLiteral("remote")).toBool());
    reading->set_name(json.value(QStringLiteral("name")).toString());
    reading->set_standard(json.value(QStringLiteral("standard")).toString());
    reading->set_operatorName(json.value(QStringLiteral("operatorName")).toString());
    return true;
}

template <typename Function>
void benchReading(const char *name, Function function)
{
    benchmark::RegisterBenchmark(name, [=](benchmark::State &state) {
        Reading reading;
        fill(&reading);
        const QByteArray text = writeByHand(reading);
        for (auto _ : state)
            function(text, &reading);
    });
}

template <typename Record>
void benchRecord(const char *equalName, const char *reassignName)
{
    benchmark::RegisterBenchmark(equalName, [](benchmark::State &state) {
        const Record one;
        const Record other;
        for (auto _ : state)
            benchmark::DoNotOptimize(QObjectHelper::equal(&one, &other));
    });
    benchmark::RegisterBenchmark(reassignName, [](benchmark::State &state) {
        const Record one;
        Record other;
        for (auto _ : state)
            benchmark::DoNotOptimize(QObjectHelper::reassign(&one, &other));
    });
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));

    benchmark::RegisterBenchmark("drain_5MB", benchDrain, tenMegabytes / 2)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("drain_10MB", benchDrain, tenMegabytes)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("scan_10MB", benchScan)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("bare_scan_10MB", benchBareScan)->Unit(benchmark::kMillisecond);
    benchReading("json_write",
        [](const QByteArray &, const Reading *reading) { benchmark::DoNotOptimize(JsonHelper::toByteArray(reading)); });
    benchReading("json_write_by_hand",
        [](const QByteArray &, const Reading *reading) { benchmark::DoNotOptimize(writeByHand(*reading)); });
    benchReading("json_read", [](const QByteArray &text, Reading *reading) { JsonHelper::fromJson(text, reading); });
    benchReading("json_read_by_hand", [](const QByteArray &text, Reading *reading) { readByHand(text, reading); });
    benchRecord<FortyProperties>("equal_40", "reassign_40");
    benchRecord<EightyProperties>("equal_80", "reassign_80");

    constexpr double linear = 2.2;
    constexpr double half = 2;
    constexpr double moreThanByHand = 1.5;
    std::vector<Goal> goals{
        {"framing: 10 MB of small frames / 5 MB", "drain_10MB", "drain_5MB", linear},
        {"framing: 10 MB / a scan by Qt's functions", "drain_10MB", "scan_10MB", half},
        {"framing: 10 MB / a bare scan", "drain_10MB", "bare_scan_10MB", half},
        {"JSON: writing ten properties / by hand", "json_write", "json_write_by_hand", moreThanByHand},
        {"JSON: reading ten properties / by hand", "json_read", "json_read_by_hand", moreThanByHand},
        {"equal: 80 properties / 40", "equal_80", "equal_40", linear},
        {"reassign: 80 properties / 40", "reassign_80", "reassign_40", linear},
    };
    for (const auto &[name, size] : {std::pair("100 B", 100), std::pair("1 kB", 1000), std::pair("64 kB", 64 * 1024)}) {
        const std::vector<Goal> more = addLoopback(name, size);
        goals.insert(goals.end(), more.begin(), more.end());
    }
    return runBenchmarks(argc, argv, goals);
}

#include "bench_link.moc"
