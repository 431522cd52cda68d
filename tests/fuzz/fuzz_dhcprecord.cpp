// SPDX-License-Identifier: Apache-2.0
// Whatever stands in the record of an interface: the reader ends, and each value is "-" or stands behind its key.
#include "Helpers/DhcpRecord_p.h"

#include <QBuffer>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

std::optional<DhcpRecord> read(const QByteArray &bytes, DhcpRecord::Family family)
{
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    return DhcpRecord::read(&buffer, family);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int * /*argc*/, char *** /*argv*/)
{
    qInstallMessageHandler(&keepSilent);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    const QString text = QString::fromUtf8(bytes);

    for (const DhcpRecord::Family family : {DhcpRecord::Family::IPv4, DhcpRecord::Family::IPv6}) {
        const std::optional<DhcpRecord> found = read(bytes, family);
        if (!found)
            continue;
        const DhcpRecord &record = *found;
        for (const QString &value : record.values) {
            must(!value.contains(QLatin1Char('=')) && !value.contains(QLatin1Char('\n')), "a value is part of a line");
            must(value == QLatin1String("-") || text.contains(value), "a value stands in the text");
        }
        const auto servers = {record.values[NetworkHelper::PrimaryDNS], record.values[NetworkHelper::SecondaryDNS]};
        for (const QString &server : servers)
            must(!server.contains(QLatin1Char(' ')), "a server is one word");
        must(family == DhcpRecord::Family::IPv4 || record.values[NetworkHelper::Gateway] == QLatin1String("-"),
            "a record of IPv6 tells no gateway");
    }
    return 0;
}
