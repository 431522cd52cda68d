// SPDX-License-Identifier: Apache-2.0
#include "Helpers/DhcpRecord_p.h"

#include <QDebug>
#include <QIODevice>
#include <QTextStream>

#include <algorithm>
#include <iterator>

namespace {
constexpr qint64 maxRecordSize = 4194304; // bytes

struct Key
{
    const char *name;
    NetworkHelper::IPInfo info; ///< PrimaryDNS: the secondary one may follow in the same value
};

constexpr Key ipv4Keys[] = {
    {"ip_address", NetworkHelper::Address},
    {"subnet_mask", NetworkHelper::Netmask},
    {"routers", NetworkHelper::Gateway},
    {"domain_name_servers", NetworkHelper::PrimaryDNS},
    {"domain_name", NetworkHelper::Domain},
};

constexpr Key ipv6Keys[] = {
    {"ip6_address", NetworkHelper::Address},
    {"ip6_prefixlen", NetworkHelper::Netmask},
    {"dhcp6_name_servers", NetworkHelper::PrimaryDNS},
    {"domain_name", NetworkHelper::Domain},
};

template <std::size_t count>
const Key *find(const Key (&keys)[count], const QString &name)
{
    const auto *const key =
        std::find_if(std::begin(keys), std::end(keys), [&](const Key &k) { return name == QLatin1String(k.name); });
    return key == std::end(keys) ? nullptr : key;
}

const Key *find(DhcpRecord::Family family, const QString &name)
{
    return family == DhcpRecord::Family::IPv4 ? find(ipv4Keys, name) : find(ipv6Keys, name);
}

void takeValue(DhcpRecord *record, NetworkHelper::IPInfo info, const QString &value)
{
    if (info != NetworkHelper::PrimaryDNS) {
        record->values[static_cast<std::size_t>(info)] = value;
        record->hasAddress = record->hasAddress || info == NetworkHelper::Address;
        return;
    }
    const QStringList servers = value.split(QLatin1Char(' '), Qt::SkipEmptyParts);
    if (!servers.isEmpty())
        record->values[NetworkHelper::PrimaryDNS] = servers.first();
    if (servers.size() > 1)
        record->values[NetworkHelper::SecondaryDNS] = servers.at(1);
}
} // namespace

std::optional<DhcpRecord> DhcpRecord::read(QIODevice *device, Family family)
{
    DhcpRecord record;
    record.values.fill(QStringLiteral("-"));

    const QByteArray bytes = device->read(maxRecordSize + 1);
    if (bytes.size() > maxRecordSize)
        return std::nullopt;
    QString text = QString::fromUtf8(bytes);
    QTextStream lines(&text, QIODevice::ReadOnly);
    for (QString line; lines.readLineInto(&line);) {
        qDebug() << "line=" << line;
        const QStringList parts = line.trimmed().split(QLatin1Char('='));
        if (parts.size() < 2)
            continue;
        if (const Key *const key = find(family, parts.first()))
            takeValue(&record, key->info, parts.at(1));
    }
    return record;
}
