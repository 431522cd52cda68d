// SPDX-License-Identifier: Apache-2.0
#include "net/InterfaceFacts.h"

#include "Helpers/IPDetails.h"
#include "Helpers/NetworkHelper.h"
#include "Internal/JsonWriter.h"

#include <QFileInfo>
#include <QNetworkInterface>

namespace Net {

namespace {
constexpr int labelWidth = 18; // columns

/// Where the record says that something is unknown.
QString known(const QString &value)
{
    return value == QLatin1String("-") ? QString() : value;
}

/// The record of the DHCP client. That there is none is no reason for a warning here.
bool readRecord(const QString &interface, bool ipv6, IPDetails *details, QStringList *unread)
{
    const QString path = NetworkHelper::getInterfaceIPDetailsFileName(interface, ipv6);
    const QFileInfo file(path);
    if (!file.exists() && !file.isSymLink())
        return false;
    if (ipv6)
        NetworkHelper::getInterfaceIPv6Details(interface, *details);
    else
        NetworkHelper::getInterfaceIPv4Details(interface, *details);
    const bool isRead = details->address_dirty(); // a record without an address tells other things
    if (!isRead)
        unread->append(path);
    return isRead;
}

void addServers(const IPDetails &details, QStringList *servers)
{
    for (const QString &server : {known(details.primaryDNS()), known(details.secondaryDNS())}) {
        if (!server.isEmpty() && !servers->contains(server))
            servers->append(server);
    }
}
} // namespace

InterfaceFacts InterfaceFacts::of(const QString &interface)
{
    InterfaceFacts facts;
    facts.name = interface;
    NetworkHelper::getMACAddress(interface, facts.mac);
    NetworkHelper::getIPv4Address(interface, facts.address);
    const auto note = [&facts](NetworkHelper::Lookup lookup, const char *what) {
        if (lookup == NetworkHelper::Lookup::NotAsked)
            facts.notAsked << QString::fromLatin1(what);
    };
    note(NetworkHelper::lookUpIPv6LinkLocalAddress(interface, facts.ipv6LinkLocal), "IPv6 link-local address");
    note(NetworkHelper::lookUpIPv6GlobalAddress(interface, facts.ipv6Global), "IPv6 global address");
    note(NetworkHelper::lookUpIPv6DefaultGateway(interface, facts.ipv6Gateway), "IPv6 gateway");

    IPDetails ipv4;
    if (readRecord(interface, false, &ipv4, &facts.unreadRecords)) {
        facts.netmask = known(ipv4.netmask());
        facts.gateway = known(ipv4.gateway());
        facts.domain = known(ipv4.domain());
        addServers(ipv4, &facts.nameServers);
    }
    IPDetails ipv6;
    if (readRecord(interface, true, &ipv6, &facts.unreadRecords)) {
        addServers(ipv6, &facts.nameServers);
        if (facts.domain.isEmpty())
            facts.domain = known(ipv6.domain());
    }
    return facts;
}

QStringList InterfaceFacts::allInterfaces()
{
    QStringList names;
    const QList<QNetworkInterface> interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &interface : interfaces)
        names << interface.name();
    return names;
}

QByteArray InterfaceFacts::toText(const Tools::TextStyle &style) const
{
    QString text = style.bold(Tools::Terminal::printable(name)) + QLatin1Char('\n');
    const auto line = [&](const char *label, const QString &value) {
        text += QStringLiteral("  %1%2\n")
                    .arg(QString::fromUtf8(label).leftJustified(labelWidth),
                        value.isEmpty() ? QStringLiteral("-") : Tools::Terminal::printable(value));
    };
    line("MAC address", mac);
    line("IPv4 address", address);
    line("netmask", netmask);
    line("gateway", gateway);
    line("name servers", nameServers.join(QStringLiteral(", ")));
    line("domain", domain);
    line("IPv6 link-local", ipv6LinkLocal);
    line("IPv6 global", ipv6Global);
    line("IPv6 gateway", ipv6Gateway);
    return text.toUtf8();
}

QByteArray InterfaceFacts::toJson() const
{
    JsonWriter json;
    json.beginObject();
    json.member("interface", name);
    json.member("mac", mac);
    json.member("address", address);
    json.member("netmask", netmask);
    json.member("gateway", gateway);
    json.key("nameServers").beginArray();
    for (const QString &server : nameServers)
        json.value(server);
    json.endArray();
    json.member("domain", domain);
    json.member("ipv6LinkLocal", ipv6LinkLocal);
    json.member("ipv6Global", ipv6Global);
    json.member("ipv6Gateway", ipv6Gateway);
    json.endObject();
    return json.bytes() + '\n';
}

} // namespace Net
