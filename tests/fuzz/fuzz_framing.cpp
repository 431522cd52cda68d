// SPDX-License-Identifier: Apache-2.0
// A stream, cut at places that its first byte chooses, must give the same payloads and the same log through the
// endpoints' buffer and through the parser as through the plain form.
#include "ReferenceFraming.h"
#include "Tcp/SocketBuffer_p.h"
#include "Tcp/TcpProtocolParser.h"

#include <QBuffer>
#include <QByteArrayList>
#include <QString>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>

namespace {

constexpr int mostPieces = 32; // about so many: each is read four times

QByteArray &logged()
{
    static QByteArray text;
    return text;
}

void keepLog(QtMsgType level, const QMessageLogContext & /*context*/, const QString &text)
{
    logged() += QByteArray::number(level) + text.toUtf8() + '\n';
}

struct Outcome
{
    QByteArrayList payloads;
    QByteArray log;
};

template <typename Take>
Outcome drain(int maxPayloads, Take take)
{
    logged().clear();
    Outcome outcome;
    for (QByteArray payload = take(); !payload.isEmpty(); payload = take()) {
        outcome.payloads << payload;
        if (outcome.payloads.size() > maxPayloads) {
            std::fputs("more payloads than bytes: it does not end\n", stderr);
            std::abort();
        }
    }
    outcome.log = logged();
    return outcome;
}

void mustAgree(const char *what, const Outcome &outcome, const Outcome &expected)
{
    if (outcome.payloads == expected.payloads && outcome.log == expected.log)
        return;
    std::fprintf(stderr, "%s: %d payloads, expected %d\nlog:\n%sexpected:\n%s", what, outcome.payloads.size(),
        expected.payloads.size(), outcome.log.constData(), expected.log.constData());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepLog);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    const QByteArray stream(reinterpret_cast<const char *>(data) + 1, static_cast<int>(size) - 1);
    std::minstd_rand random(data[0] + 1U);
    const int longestPiece = std::max(1 + data[0], stream.size() / mostPieces);

    SocketBuffer buffer;
    SocketBuffer reader(1); // looks for a whole frame in every read
    QByteArray payload;
    QByteArray parsed;
    QByteArray plain;
    for (int start = 0; start < stream.size();) {
        QByteArray piece = stream.mid(start, 1 + static_cast<int>(random() % unsigned(longestPiece)));
        start += piece.size();

        plain += piece;
        const Outcome expected = drain(stream.size(), [&] { return ReferenceFraming::retrieveMessageData(plain); });
        parsed += piece;
        mustAgree(
            "parser", drain(stream.size(), [&] { return TcpProtocolParser::retrieveMessageData(parsed); }), expected);
        buffer.append(piece);
        const auto takeFrom = [&](SocketBuffer &from) { return from.takePayload(&payload) ? payload : QByteArray(); };
        mustAgree("buffer", drain(stream.size(), [&] { return takeFrom(buffer); }), expected);
        QBuffer device(&piece);
        if (!device.open(QIODevice::ReadOnly) || !reader.readFrom(device) || !device.atEnd())
            std::abort();
        mustAgree("reader", drain(stream.size(), [&] { return takeFrom(reader); }), expected);
        if (parsed != plain)
            std::abort();
    }
    return 0;
}
