// SPDX-License-Identifier: Apache-2.0
#include "Helpers/NetworkHelper.h"

#include "Helpers/CommandProcess_p.h"
#include "Helpers/DhcpRecord_p.h"
#include "Helpers/IPDetails.h"
#include "Helpers/SystemHelper.h"
#include "Internal/FileAccess.h"

#include <QDebug>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>

#include <netpacket/packet.h>

#include <algorithm>
#include <arpa/inet.h>
#include <cstdio>
#include <cstring>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

std::atomic<bool> NetworkHelper::mIsHardwareSimulation{false};

namespace {
constexpr quint32 addressTimeout = 2000; // milliseconds, as the following
constexpr int routeTimeout = 1000;
constexpr int startTimeout = 500;
constexpr int randomTimeout = 500;

constexpr int macSize = 6; // bytes
constexpr int hexadecimal = 16;

bool refuse(const QString &name)
{
    qWarning() << "Not the name of a network interface: " << name;
    return false;
}

/// Whether Linux may call an interface so. Asked where the name becomes part of a path or a word of a command.
bool isInterfaceName(const QString &name)
{
    // Also those that are not ASCII: a command is split at them.
    const bool hasBlank = std::any_of(name.cbegin(), name.cend(), [](QChar c) { return c.isSpace(); });
    const QByteArray bytes = QFile::encodeName(name);
    const bool isOne = !bytes.isEmpty() && bytes.size() < IFNAMSIZ && bytes != "." && bytes != ".."
        && !bytes.contains('/') && !bytes.contains('\0') && !hasBlank;
    return isOne || refuse(name);
}

/// Whether it is nothing but itself between the double quotes of a shell.
bool isHarmlessInShell(const QString &name)
{
    static const QRegularExpression plain(QStringLiteral("\\A[A-Za-z0-9._:@%+=,-]+\\z"));
    return plain.match(name).hasMatch() || refuse(name);
}

/// As a word of a command line, in which double quotes group words and three of them are one.
QString wordOf(QString name)
{
    return name.replace(QLatin1Char('"'), QLatin1String("\"\"\""));
}

QStringList wordsOf(const QString &text)
{
    return text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// The word behind a keyword; empty if there is none.
QString wordBehind(const QString &keyword, const QStringList &words)
{
    const int at = words.indexOf(keyword);
    return at < 0 ? QString() : words.value(at + 1);
}

QString echo(const QString &text)
{
    return QStringLiteral("/bin/sh -c \"echo %1\"").arg(text);
}

QString simulatedIPv6Address(const QString &interface, const QString &scope)
{
    const QString address = scope == QLatin1String("link") ? QStringLiteral("fe80::250:b6ff:fe29:9222/64")
                                                           : QStringLiteral("fc80:1000::250:b6ff:fe29:9222/64");
    const QString shownScope = scope == QLatin1String("link") ? scope : QStringLiteral("global");
    return QStringLiteral("5: %1 inet6 %2 scope %3 valid_lft forever preferred_lft forever")
        .arg(interface, address, shownScope);
}

/// What a command has printed until its time is up. How it ends is told nowhere.
QByteArray outputOf(const QString &command)
{
    CommandProcess process;
    process.startCommand(QProcess::splitCommand(command));
    if (!process.waitForCommand(startTimeout)) {
        process.killAndClose();
        return {};
    }
    if (!process.waitForFinished(routeTimeout)) {
        process.killAll();
        process.waitForFinished(routeTimeout);
    }
    const QByteArray output = process.readAll();
    process.close();
    return output;
}

bool readRecord(const QString &interface, DhcpRecord::Family family, DhcpRecord *record)
{
    if (!isInterfaceName(interface))
        return false;
    const bool isIPv6 = family == DhcpRecord::Family::IPv6;
    const QString fileName = NetworkHelper::getInterfaceIPDetailsFileName(interface, isIPv6);
    QFile file;
    if (FileAccess::openOurs(fileName, &file) != FileAccess::Found::Ours) {
        qWarning() << "Failed to open " << fileName << " for reading";
        return false;
    }
    const std::optional<DhcpRecord> found = DhcpRecord::read(&file, family);
    if (!found) {
        qWarning() << "Too large for a record: " << fileName;
        return false;
    }
    *record = *found;
    return true;
}

void store(const DhcpRecord &record, IPDetails *details)
{
    IPDetails values;
    values.set_address(record.values[NetworkHelper::Address]);
    values.set_netmask(record.values[NetworkHelper::Netmask]);
    values.set_gateway(record.values[NetworkHelper::Gateway]);
    values.set_primaryDNS(record.values[NetworkHelper::PrimaryDNS]);
    values.set_secondaryDNS(record.values[NetworkHelper::SecondaryDNS]);
    values.set_domain(record.values[NetworkHelper::Domain]);
    *details = values; // also where a receiver of one change deletes what tells of it
}

QString hexText(const QVector<unsigned char> &bytes)
{
    const QByteArray raw(reinterpret_cast<const char *>(bytes.constData()), bytes.size());
    return QString::fromLatin1(raw.toHex(':'));
}

/// The six parts of the text; none if it is no MAC address.
QStringList macParts(const QString &mac)
{
    const QStringList parts = mac.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (parts.size() == macSize)
        return parts;
    qWarning() << "Invalid MAC address " << mac;
    return {};
}

/// What ip itself says no to is an answer; otherwise it did not run, or could not ask the kernel.
NetworkHelper::Lookup lookupThatFailed(int exitCode)
{
    constexpr int refused = 1; // by ip: there is no such interface
    constexpr int refusedByKernel = 2; // which has no IPv6
    return exitCode == refused || exitCode == refusedByKernel ? NetworkHelper::Lookup::None
                                                              : NetworkHelper::Lookup::NotAsked;
}
} // namespace

QString NetworkHelper::getInterfaceIPDetailsFileName(const QString &interface, bool ipv6)
{
    return (ipv6 ? QStringLiteral("/tmp/ip6Details.") : QStringLiteral("/tmp/ipDetails.")) + interface;
}

bool NetworkHelper::getInterfaceIPv4Details(const QString &interface, IPDetails &details)
{
    DhcpRecord record;
    if (!readRecord(interface, DhcpRecord::Family::IPv4, &record))
        return false;
    store(record, &details);
    return record.hasAddress;
}

bool NetworkHelper::getInterfaceIPv6Details(const QString &interface, IPDetails &details)
{
    DhcpRecord record;
    if (!readRecord(interface, DhcpRecord::Family::IPv6, &record))
        return false;
    getIPv6DefaultGateway(interface, record.values[Gateway]); // routers tell it, not DHCP
    store(record, &details);
    return record.hasAddress;
}

bool NetworkHelper::getIPv4Address(const QString &interface, QString &address)
{
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    ifreq request = {};
    request.ifr_addr.sa_family = AF_INET;
    std::strncpy(request.ifr_name, interface.toLatin1().constData(), IFNAMSIZ - 1);
    const bool isAnswered = ioctl(descriptor, SIOCGIFADDR, &request) == 0;
    close(descriptor);
    if (!isAnswered)
        return false;

    sockaddr_in answer = {};
    std::memcpy(&answer, &request.ifr_addr, sizeof answer);
    char text[INET_ADDRSTRLEN] = {};
    address = QString::fromLatin1(inet_ntop(AF_INET, &answer.sin_addr, text, sizeof text));
    return true;
}

bool NetworkHelper::getIPv6LinkLocalAddress(const QString &interface, QString &address)
{
    return lookUpIPv6LinkLocalAddress(interface, address) == Lookup::Found;
}

NetworkHelper::Lookup NetworkHelper::lookUpIPv6LinkLocalAddress(const QString &interface, QString &address)
{
    return lookUpIPv6Address(interface, QStringLiteral("link"), address);
}

bool NetworkHelper::getIPv6GlobalAddress(const QString &interface, QString &address)
{
    return lookUpIPv6GlobalAddress(interface, address) == Lookup::Found;
}

NetworkHelper::Lookup NetworkHelper::lookUpIPv6GlobalAddress(const QString &interface, QString &address)
{
    return lookUpIPv6Address(interface, QStringLiteral("global"), address);
}

NetworkHelper::Lookup NetworkHelper::lookUpIPv6Address(const QString &interface, const QString &scope, QString &address)
{
    if (!isInterfaceName(interface) || (mIsHardwareSimulation && !isHarmlessInShell(interface)))
        return Lookup::None;
    const QString command = mIsHardwareSimulation
        ? echo(simulatedIPv6Address(interface, scope))
        : QStringLiteral("ip -o -6 addr show dev %1 scope %2").arg(wordOf(interface), scope);
    QByteArray output;
    int exitCode = 0;
    const bool ok = SystemHelper::runCommand(command, addressTimeout, &output, &exitCode);
    if (!ok) {
        qDebug() << "ok= " << ok << ": Failed to run command - " << command;
        return lookupThatFailed(exitCode);
    }

    const QString found = wordBehind(QStringLiteral("inet6"), wordsOf(QString::fromUtf8(output))).trimmed();
    if (found.isEmpty())
        return Lookup::None;
    address = found;
    return Lookup::Found;
}

bool NetworkHelper::getIPv6DefaultGateway(const QString &interface, QString &gateway)
{
    return lookUpIPv6DefaultGateway(interface, gateway) == Lookup::Found;
}

NetworkHelper::Lookup NetworkHelper::lookUpIPv6DefaultGateway(const QString &interface, QString &gateway)
{
    if (!isInterfaceName(interface))
        return Lookup::None;
    const QString command = mIsHardwareSimulation
        ? echo(QStringLiteral("default via fe80::290:7fff:feb1:62be"))
        : QStringLiteral("ip -o -6 route show default dev ") + wordOf(interface);
    QByteArray output;
    int exitCode = 0;
    if (!SystemHelper::runCommand(command, routeTimeout, &output, &exitCode))
        return lookupThatFailed(exitCode);
    if (output.isEmpty())
        return Lookup::None;
    if (!output.startsWith("default")) {
        gateway.clear();
        return Lookup::None;
    }

    QString router = wordBehind(QStringLiteral("via"), wordsOf(QString::fromUtf8(output)));
    router.remove(QLatin1Char('\n'));
    if (router.isEmpty()) // the whole world is on the link
        return Lookup::None;
    gateway = router;
    return Lookup::Found;
}

bool NetworkHelper::getIPv6LinkLocalInterfaceName(QString &interface)
{
    const QByteArray output = outputOf(QStringLiteral("ip -6 route show"));
    const QStringList lines = QString::fromUtf8(output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (const QString &line : lines) {
        qDebug() << "line = " << line;
        const QStringList words = line.split(QLatin1Char(' '));
        const bool isLinkLocal = std::any_of(
            words.cbegin(), words.cend(), [](const QString &word) { return word.startsWith(QLatin1String("fe80")); });
        if (words.size() > 2 && isLinkLocal) { // fe80::/64 dev NAME
            interface = words.at(2);
            return true;
        }
    }
    return false;
}

bool NetworkHelper::getMACAddress(const QString &interface, QVector<unsigned char> &bytes)
{
    ifaddrs *all = nullptr;
    if (getifaddrs(&all) != 0) {
        std::perror("getifaddrs");
        return false;
    }
    if (!all) {
        qWarning() << "interfaceAddressList is NULL\n";
        return false;
    }
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> list(all, &freeifaddrs);

    const QByteArray name = interface.toLatin1();
    const ifaddrs *entry = all;
    // Tunnels have entries without an address.
    while (entry && !(entry->ifa_addr && entry->ifa_addr->sa_family == AF_PACKET && name == entry->ifa_name))
        entry = entry->ifa_next;
    if (!entry)
        return false;

    sockaddr_ll link = {};
    std::memcpy(&link, entry->ifa_addr, sizeof link);
    QVector<unsigned char> found;
    // InfiniBand tells a length beyond what the structure holds.
    std::copy_n(link.sll_addr, std::min<std::size_t>(link.sll_halen, sizeof link.sll_addr), std::back_inserter(found));
    qDebug().noquote() << hexText(found) + QLatin1Char('\n');
    bytes += found;
    return true;
}

bool NetworkHelper::getMACAddress(const QString &interface, QString &text)
{
    text.clear();
    QVector<unsigned char> bytes;
    if (!getMACAddress(interface, bytes))
        return false;
    text = hexText(bytes);
    return true;
}

void NetworkHelper::generateRandomMACAddress(QString &mac)
{
    ChildProcess process;
    process.start(QStringLiteral("/bin/sh"),
        {QStringLiteral("-c"), QStringLiteral("echo -n 02; od -t x1 -An -N 5 /dev/urandom | tr ' ' ':'")});
    process.waitForFinished(randomTimeout);
    mac = QString::fromLatin1(process.readAllStandardOutput()).trimmed();
    if (process.error() == QProcess::FailedToStart)
        qWarning().noquote() << "Failed to make a MAC address:" << process.errorString();
    process.killAndClose();
}

void NetworkHelper::convertStringMACAddressToByteArray(const QString &mac, QVector<unsigned char> &bytes)
{
    const QStringList parts = macParts(mac);
    for (const QString &part : parts)
        bytes.append(static_cast<unsigned char>(part.toUInt(nullptr, hexadecimal)));
}

void NetworkHelper::convertByteArrayToStringMACAddress(const QVector<unsigned char> &bytes, QString &mac)
{
    if (bytes.size() != macSize) {
        qWarning() << "Invalid MAC address bytes: " << bytes;
        return;
    }
    mac = hexText(bytes);
}

void NetworkHelper::convertStringMACAddressToNumeric(const QString &mac, quint64 &number)
{
    const QStringList parts = macParts(mac);
    if (parts.isEmpty())
        return;
    number = 0;
    for (const QString &part : parts)
        number = (number << 8) | part.toULongLong(nullptr, hexadecimal);
}

void NetworkHelper::convertNumericMACAddressToString(quint64 number, QString &mac)
{
    QVector<unsigned char> bytes;
    for (int bit = 40; bit >= 0; bit -= 8)
        bytes.append(static_cast<unsigned char>(number >> bit));
    mac = hexText(bytes);
}

bool NetworkHelper::ipAddressIsValid(const QString &address)
{
    const QByteArray text = address.toUtf8();
    in_addr ignored = {};
    return !text.isEmpty() && !text.contains('\0') && inet_aton(text.constData(), &ignored) != 0;
}

void NetworkHelper::setIsHardwareSimulation(bool isSimulation)
{
    mIsHardwareSimulation = isSimulation;
}
