// SPDX-License-Identifier: Apache-2.0
// What needs neither fixed file names nor interfaces of its own; the rest is tested in tests/network.
#include "Helpers/IPDetails.h"
#include "Helpers/NetworkHelper.h"
#include "LogCapture.h"
#include "OneProcess.h"
#include "PollTimes.h"
#include "StandInPrograms.h"

#include <QMetaEnum>
#include <QRegularExpression>
#include <QSet>
#include <QtTest>

#include <netpacket/packet.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ifaddrs.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {
const QString untouched = QStringLiteral("untouched");

/// The interfaces that the library sees in place of this machine's.
struct Interfaces
{
    ifaddrs *first = nullptr;
    int error = 0;
    int freed = 0;
} given;

ifaddrs entry(const char *name, sockaddr *address, ifaddrs *next)
{
    ifaddrs result = {};
    result.ifa_next = next;
    result.ifa_name = const_cast<char *>(name);
    result.ifa_addr = address;
    return result;
}

sockaddr_ll linkAddress(unsigned char length)
{
    sockaddr_ll link = {};
    link.sll_family = AF_PACKET;
    link.sll_halen = length;
    unsigned char next = 10;
    for (unsigned char &byte : link.sll_addr) {
        byte = next;
        next = static_cast<unsigned char>(next + 16);
    }
    return link;
}

sockaddr *pointer(sockaddr_ll *link)
{
    return reinterpret_cast<sockaddr *>(link);
}

void addNames(const QStringList &names)
{
    QTest::addColumn<QString>("name");
    for (const QString &name : names)
        QTest::newRow(qPrintable(QString(name).replace(QLatin1Char('\n'), QLatin1String("\\n")))) << name;
}

QStringList listOf(std::initializer_list<const char *> names)
{
    QStringList list;
    for (const char *const name : names)
        list << QString::fromUtf8(name);
    return list;
}
} // namespace

// The library calls these in place of libc's.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's name is reserved
extern "C" int getifaddrs(ifaddrs **list) noexcept
{
    if (given.error) {
        errno = given.error;
        return -1;
    }
    *list = given.first;
    return 0;
}

extern "C" void freeifaddrs(ifaddrs * /*list*/) noexcept
{
    ++given.freed;
}

class TestNetworkHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { given = {}; }
    void cleanup() { NetworkHelper::setIsHardwareSimulation(false); }

    void theValuesOfARecordAreNumbered()
    {
        QCOMPARE(int(NetworkHelper::Address), 0);
        QCOMPARE(int(NetworkHelper::Netmask), 1);
        QCOMPARE(int(NetworkHelper::Gateway), 2);
        QCOMPARE(int(NetworkHelper::PrimaryDNS), 3);
        QCOMPARE(int(NetworkHelper::SecondaryDNS), 4);
        QCOMPARE(int(NetworkHelper::Domain), 5);
        QCOMPARE(int(NetworkHelper::Max), 6);
        QCOMPARE(QMetaEnum::fromType<NetworkHelper::IPInfo>().keyCount(), 7);
    }

    void everyInterfaceHasItsOwnFiles_data()
    {
        addNames(listOf({"eth0", "eth0.100", "sixteenlettersX", "..a", "%1", "-f", "a\"b", "é", "", "..", "a/b",
            "longer than any interface"}));
    }

    void everyInterfaceHasItsOwnFiles()
    {
        QFETCH(QString, name);

        QCOMPARE(NetworkHelper::getInterfaceIPDetailsFileName(name, false), QStringLiteral("/tmp/ipDetails.") + name);
        QCOMPARE(NetworkHelper::getInterfaceIPDetailsFileName(name, true), QStringLiteral("/tmp/ip6Details.") + name);
    }

    void aNameThatNoInterfaceHasIsRefused_data()
    {
        addNames(listOf({"", ".", "..", "../x", "a/b", "eth 0", "eth0\n", "\n", "sixteen-letters0"}));
        QTest::newRow("null") << QString(QChar());
        QTest::newRow("a wide blank, at which a command is split") << QStringLiteral("d0\u2003x");
    }

    void aNameThatNoInterfaceHasIsRefused()
    {
        QFETCH(QString, name);
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("ip")));
        const LogCapture log;
        IPDetails details;
        QString text = untouched;

        QVERIFY(!NetworkHelper::getIPv4Address(name, text)); // asks the kernel, which knows none
        QVERIFY(log.lines().isEmpty());
        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(name, details));
        QVERIFY(!NetworkHelper::getInterfaceIPv6Details(name, details));
        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(name, text));
        QVERIFY(!NetworkHelper::getIPv6GlobalAddress(name, text));
        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(name, text));

        QCOMPARE(text, untouched);
        QVERIFY(!details.address_dirty());
        QCOMPARE(programs.arguments(QStringLiteral("ip")), QByteArray("not run"));
        QCOMPARE(log.lines().size(), 5);
        const QStringList warnings = log.warnings();
        QCOMPARE(warnings.size(), 5);
        for (const QString &warning : warnings)
            QVERIFY2(warning.startsWith(QLatin1String("Not the name of a network interface: ")), qPrintable(warning));
    }

    void aNameThatLinuxAllowsIsAWordOfTheCommand_data()
    {
        addNames(listOf({"eth0:1", "%1", "%2", "-f", "a\"b", "\"\"", "eth0;id", "$(id)", "eth0'", "..a"}));
    }

    void aNameThatLinuxAllowsIsAWordOfTheCommand()
    {
        QFETCH(QString, name);
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("ip")));
        QString text;

        NetworkHelper::getIPv6GlobalAddress(name, text);
        QCOMPARE(programs.arguments(QStringLiteral("ip")),
            "-o\n-6\naddr\nshow\ndev\n" + name.toUtf8() + "\nscope\nglobal\n");
        NetworkHelper::getIPv6DefaultGateway(name, text);
        QCOMPARE(
            programs.arguments(QStringLiteral("ip")), "-o\n-6\nroute\nshow\ndefault\ndev\n" + name.toUtf8() + '\n');
    }

    void inTheSimulationARefusedNameReachesNoShell_data()
    {
        addNames(listOf({"", "eth 0", "eth0\n", "$(id)", "eth0;id", "`id`", "a\\b", "é", "\"", "eth0'", "a|b"}));
    }

    void inTheSimulationARefusedNameReachesNoShell()
    {
        QFETCH(QString, name);
        NetworkHelper::setIsHardwareSimulation(true);
        const LogCapture log;
        QString text = untouched;

        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(name, text));
        QCOMPARE(text, untouched);
    }

    void theSimulationHasFixedAnswers()
    {
        NetworkHelper::setIsHardwareSimulation(true);
        const LogCapture log;
        QString link;
        QString global;
        QString gateway;

        QVERIFY(NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("eth0"), link));
        QVERIFY(NetworkHelper::getIPv6GlobalAddress(QStringLiteral("%1"), global));
        QVERIFY(NetworkHelper::getIPv6DefaultGateway(QStringLiteral("eth0"), gateway));

        QCOMPARE(link, QStringLiteral("fe80::250:b6ff:fe29:9222/64"));
        QCOMPARE(global, QStringLiteral("fc80:1000::250:b6ff:fe29:9222/64"));
        QCOMPARE(gateway, QStringLiteral("fe80::290:7fff:feb1:62be"));
        QCOMPARE(log.asText(), QStringList());
    }

    void anIPv6AddressIsTheWordBehindInet6_data()
    {
        QTest::addColumn<QByteArray>("output");
        QTest::addColumn<QString>("address");
        QTest::newRow("one line") << QByteArray(
            "2: d0    inet6 fe80::1/64 scope link \\       valid_lft forever preferred_lft forever")
                                  << QStringLiteral("fe80::1/64");
        QTest::newRow("the first of two")
            << QByteArray("2: d0 inet6 fe80::1/64 scope link\n2: d0 inet6 fe80::2/64") << QStringLiteral("fe80::1/64");
        QTest::newRow("last word") << QByteArray("2: d0 inet6 fe80::1/64") << QStringLiteral("fe80::1/64");
        QTest::newRow("nothing behind") << QByteArray("2: d0 inet6") << untouched;
        QTest::newRow("a blank behind") << QByteArray("2: d0 inet6 ") << untouched;
        QTest::newRow("only in part of a word") << QByteArray("2: d0 xinet6 a inet66 b") << untouched;
        QTest::newRow("no output") << QByteArray() << untouched;
    }

    void anIPv6AddressIsTheWordBehindInet6()
    {
        QFETCH(QByteArray, output);
        QFETCH(QString, address);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("ip"), "cat <<'END'\n" + output + "\nEND"));
        QString found = untouched;

        QCOMPARE(NetworkHelper::getIPv6GlobalAddress(QStringLiteral("d0"), found), address != untouched);
        QCOMPARE(found, address);
    }

    void theQueriesAreThoseOfTheIpProgram()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("ip")));
        QString text;

        NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("d0"), text);
        QCOMPARE(programs.arguments(QStringLiteral("ip")), QByteArray("-o\n-6\naddr\nshow\ndev\nd0\nscope\nlink\n"));
        NetworkHelper::getIPv6GlobalAddress(QStringLiteral("d0"), text);
        QCOMPARE(programs.arguments(QStringLiteral("ip")), QByteArray("-o\n-6\naddr\nshow\ndev\nd0\nscope\nglobal\n"));
        NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d0"), text);
        QCOMPARE(programs.arguments(QStringLiteral("ip")), QByteArray("-o\n-6\nroute\nshow\ndefault\ndev\nd0\n"));
        NetworkHelper::getIPv6LinkLocalInterfaceName(text);
        QCOMPARE(programs.arguments(QStringLiteral("ip")), QByteArray("-6\nroute\nshow\n"));
    }

    void aFailingQueryIsLogged()
    {
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("ip"), "echo inet6 fe80::1/64; exit 1"));
        const LogCapture log;
        QString address = untouched;

        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("d0"), address));

        QCOMPARE(address, untouched);
        QCOMPARE(log.debugs(),
            QStringList(
                QStringLiteral("ok=  false : Failed to run command -  \"ip -o -6 addr show dev d0 scope link\"")));
    }

    void aQueryThatHangsIsGivenUp()
    {
        StandInPrograms programs;
        const LogCapture log;
        QString text = untouched;
        QElapsedTimer timer;

        QVERIFY(programs.add(QStringLiteral("ip"), "sleep 2.7; echo inet6 fe80::1/64"));
        timer.start();
        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("d0"), text));
        QVERIFY(timer.elapsed() >= 1900);

        QVERIFY(programs.add(QStringLiteral("ip"), "sleep 1.7; echo default via fe80::1"));
        timer.start();
        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d0"), text));
        QVERIFY(timer.elapsed() >= 900);

        QVERIFY(programs.add(QStringLiteral("ip"), "sleep 1.7; echo fe80::/64 dev d0"));
        timer.start();
        QVERIFY(!NetworkHelper::getIPv6LinkLocalInterfaceName(text));
        QVERIFY(timer.elapsed() >= 900);

        QCOMPARE(text, untouched);
    }

    void aQueryHasItsTime()
    {
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("ip"), "sleep 0.1"));
        QString text;

        PollTimes::forget();
        NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("d0"), text);
        QVERIFY2(PollTimes::areUpTo(2000), qPrintable(QString::number(PollTimes::longest)));
        PollTimes::forget();
        NetworkHelper::getIPv6GlobalAddress(QStringLiteral("d0"), text);
        QVERIFY2(PollTimes::areUpTo(2000), qPrintable(QString::number(PollTimes::longest)));
        PollTimes::forget();
        NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d0"), text);
        QVERIFY2(PollTimes::areUpTo(1000), qPrintable(QString::number(PollTimes::longest)));
        PollTimes::forget();
        NetworkHelper::getIPv6LinkLocalInterfaceName(text);
        QVERIFY2(PollTimes::areUpTo(1000), qPrintable(QString::number(PollTimes::longest)));
    }

    void theListOfRoutesIsReadHoweverItEnds_data()
    {
        QTest::addColumn<QByteArray>("end");
        QTest::newRow("success") << QByteArray("exit 0");
        QTest::newRow("failure") << QByteArray("exit 1");
        QTest::newRow("crash") << QByteArray("kill -9 $$");
        QTest::newRow("too late") << QByteArray("sleep 60 & echo $! >\"$0.pid\"; wait");
    }

    void theListOfRoutesIsReadHoweverItEnds()
    {
        QFETCH(const QByteArray, end);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("ip"), "echo 'fe80::/64 dev eth0' >&2; " + end));
        const LogCapture log;
        QString name = untouched;

        QVERIFY(NetworkHelper::getIPv6LinkLocalInterfaceName(name));

        QCOMPARE(name, QStringLiteral("eth0"));
        QCOMPARE(log.asText(), QStringList(QStringLiteral("debug: line =  \"fe80::/64 dev eth0\"")));
        const QByteArray child = programs.read(QStringLiteral("ip.pid")).trimmed();
        QVERIFY(!OneProcess::sendSignal(child.toInt(), 0));
    }

    void withoutTheIpProgramNothingIsFound()
    {
        StandInPrograms programs;
        programs.hideOthers();
        const LogCapture log;
        QString text = untouched;

        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("d0"), text));
        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d0"), text));
        QVERIFY(!NetworkHelper::getIPv6LinkLocalInterfaceName(text));
        QCOMPARE(text, untouched);
    }

    void theGatewayIsTheWordBehindVia_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<QString>("gateway");
        QTest::newRow("of a router") << QByteArray("echo default via fe80::1 proto ra metric 1024") << true
                                     << QStringLiteral("fe80::1");
        QTest::newRow("last word") << QByteArray("echo default via fe80::1") << true << QStringLiteral("fe80::1");
        QTest::newRow("the first of two") << QByteArray("echo default via fe80::1; echo default via fe80::2") << true
                                          << QStringLiteral("fe80::1default"); // the line end goes, no blank is left
        QTest::newRow("on the link") << QByteArray("echo default proto static metric 1024") << false << untouched;
        QTest::newRow("nothing behind via") << QByteArray("echo default via") << false << untouched;
        QTest::newRow("only a line end behind via") << QByteArray("echo 'default via '") << false << untouched;
        QTest::newRow("no default route") << QByteArray("echo fe80::/64 via fe80::1") << false << QString();
        QTest::newRow("a blank first") << QByteArray("echo ' default via fe80::1'") << false << QString();
        QTest::newRow("no output") << QByteArray("true") << false << untouched;
        QTest::newRow("failure") << QByteArray("echo default via fe80::1; exit 2") << false << untouched;
    }

    void theGatewayIsTheWordBehindVia()
    {
        QFETCH(QByteArray, script);
        QFETCH(bool, ok);
        QFETCH(QString, gateway);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("ip"), script));
        const LogCapture log;
        QString found = untouched;

        QCOMPARE(NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d0"), found), ok);
        QCOMPARE(found, gateway);
    }

    void theLinkLocalInterfaceIsTheThirdWordOfARoute_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("name");
        QTest::newRow("a prefix") << QByteArray("echo 'fe80::/64 dev eth0 proto kernel metric 256'")
                                  << QStringLiteral("eth0");
        QTest::newRow("nothing behind the name") << QByteArray("echo 'fe80::/64 dev eth0'") << QStringLiteral("eth0");
        QTest::newRow("behind others") << QByteArray("echo '::1 dev lo'; echo 'fe80::/64 dev eth1 proto kernel'")
                                       << QStringLiteral("eth1");
        QTest::newRow("the first of two")
            << QByteArray("echo 'fe80::/64 dev a'; echo 'fe80::/64 dev b'") << QStringLiteral("a");
        QTest::newRow("in another word") << QByteArray("echo 'default via fe80::1 dev eth0'")
                                         << QStringLiteral("fe80::1"); // prefixes come first, so this is not met
        QTest::newRow("two words") << QByteArray("echo 'fe80::/64 dev'") << untouched;
        QTest::newRow("single blanks cut") << QByteArray("echo 'fe80::/64  dev eth0'") << QStringLiteral("dev");
        QTest::newRow("none") << QByteArray("echo '2001:db8::/64 dev eth0'") << untouched;
        QTest::newRow("printed before a failure")
            << QByteArray("echo 'fe80::/64 dev eth0'; exit 1") << QStringLiteral("eth0");
    }

    void theLinkLocalInterfaceIsTheThirdWordOfARoute()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, name);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("ip"), script));
        const LogCapture log;
        QString found = untouched;

        QCOMPARE(NetworkHelper::getIPv6LinkLocalInterfaceName(found), name != untouched);
        QCOMPARE(found, name);
        QVERIFY(log.debugs().constFirst().startsWith(QLatin1String("line =  \"")));
    }

    void theMacAddressIsThatOfTheLinkLayer()
    {
        sockaddr ipv4 = {};
        ipv4.sa_family = AF_INET;
        sockaddr_ll link = linkAddress(6);
        sockaddr_ll other = linkAddress(3);
        ifaddrs wanted = entry("d0", pointer(&link), nullptr);
        ifaddrs sameName = entry("d0", &ipv4, &wanted);
        ifaddrs longerName = entry("d01", pointer(&other), &sameName);
        ifaddrs tunnel = entry("d0", nullptr, &longerName);
        given.first = &tunnel;
        const LogCapture log;
        QVector<unsigned char> bytes{1, 2};
        QString text = untouched;

        QVERIFY(NetworkHelper::getMACAddress(QStringLiteral("d0"), bytes));
        QVERIFY(NetworkHelper::getMACAddress(QStringLiteral("d0"), text));

        QCOMPARE(bytes, (QVector<unsigned char>{1, 2, 10, 26, 42, 58, 74, 90}));
        QCOMPARE(text, QStringLiteral("0a:1a:2a:3a:4a:5a"));
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: 0a:1a:2a:3a:4a:5a\n"), QStringLiteral("debug: 0a:1a:2a:3a:4a:5a\n")}));
        QCOMPARE(given.freed, 2);
    }

    void anInterfaceThatIsNotThereHasNoMacAddress()
    {
        sockaddr_ll link = linkAddress(6);
        ifaddrs only = entry("d0", pointer(&link), nullptr);
        given.first = &only;
        QVector<unsigned char> bytes{1};
        QString text = untouched;

        QVERIFY(!NetworkHelper::getMACAddress(QStringLiteral("d"), bytes));
        QVERIFY(!NetworkHelper::getMACAddress(QStringLiteral("d1"), text));

        QCOMPARE(bytes, QVector<unsigned char>{1});
        QCOMPARE(text, QString());
        QCOMPARE(given.freed, 2);
    }

    void aLongHardwareAddressIsCutToWhatIsThere()
    {
        sockaddr_ll link = linkAddress(20); // InfiniBand
        ifaddrs only = entry("ib0", pointer(&link), nullptr);
        given.first = &only;
        const LogCapture log;
        QString text;

        QVERIFY(NetworkHelper::getMACAddress(QStringLiteral("ib0"), text));
        QCOMPARE(text, QStringLiteral("0a:1a:2a:3a:4a:5a:6a:7a"));
    }

    void aLinkWithoutAnAddressHasAnEmptyOne()
    {
        sockaddr_ll link = linkAddress(0);
        ifaddrs only = entry("tun0", pointer(&link), nullptr);
        given.first = &only;
        const LogCapture log;
        QString text = untouched;

        QVERIFY(NetworkHelper::getMACAddress(QStringLiteral("tun0"), text));
        QCOMPARE(text, QString());
    }

    void withoutAListOfInterfacesThereIsNoMacAddress()
    {
        QVector<unsigned char> bytes;
        {
            const LogCapture log;
            QVERIFY(!NetworkHelper::getMACAddress(QStringLiteral("d0"), bytes));
            QCOMPARE(log.asText(), QStringList(QStringLiteral("warning: interfaceAddressList is NULL\n")));
        }
        given.error = ENOMEM;
        const LogCapture log;
        std::FILE *const printed = std::tmpfile();
        QVERIFY(printed);
        const int formerError = dup(STDERR_FILENO);
        dup2(fileno(printed), STDERR_FILENO);
        const bool ok = NetworkHelper::getMACAddress(QStringLiteral("d0"), bytes);
        dup2(formerError, STDERR_FILENO);
        close(formerError);
        char text[200] = {};
        std::rewind(printed);
        const std::size_t size = std::fread(text, 1, sizeof text - 1, printed);
        std::fclose(printed);

        QVERIFY(!ok);
        QCOMPARE(log.asText(), QStringList());
        QCOMPARE(QByteArray(text, int(size)), QByteArray("getifaddrs: Cannot allocate memory\n"));
        QCOMPARE(given.freed, 0);
    }

    void aRandomMacAddressIsLocallyAdministered()
    {
        const QRegularExpression form(QStringLiteral("\\A02(:[0-9a-f]{2}){5}\\z"));
        QSet<QString> seen;
        int late = 0; // on a busy machine half a second may be too short
        for (int i = 0; i < 20; ++i) {
            QString mac = untouched;
            QElapsedTimer timer;
            timer.start();
            NetworkHelper::generateRandomMACAddress(mac);
            if (timer.elapsed() >= 500) {
                ++late;
                continue;
            }
            QVERIFY2(form.match(mac).hasMatch(), qPrintable(mac));
            seen.insert(mac);
        }
        QVERIFY(late < 20);
        QCOMPARE(seen.size(), 20 - late);
    }

    void aRandomMacAddressHasHalfASecond()
    {
        QString mac;
        PollTimes::forget();

        NetworkHelper::generateRandomMACAddress(mac);

        QVERIFY2(PollTimes::areUpTo(500), qPrintable(QString::number(PollTimes::longest)));
    }

    void aRandomSourceThatFailsGivesAShortAddress_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("mac");
        QTest::newRow("hangs") << QByteArray("exec sleep 30") << QStringLiteral("02");
        QTest::newRow("prints nothing") << QByteArray("true") << QStringLiteral("02");
        QTest::newRow("prints less") << QByteArray("echo ' ab cd'") << QStringLiteral("02:ab:cd");
    }

    void aRandomSourceThatFailsGivesAShortAddress()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, mac);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("od"), script));
        const LogCapture log;
        QString found = untouched;
        QElapsedTimer timer;
        timer.start();

        NetworkHelper::generateRandomMACAddress(found);

        QCOMPARE(found, mac);
        QVERIFY(timer.elapsed() < 10000);
        QCOMPARE(log.asText(), QStringList()); // Qt would warn of a process that is left running
    }

    void aMacAddressInTextBecomesBytes_data()
    {
        QTest::addColumn<QString>("mac");
        QTest::addColumn<QVector<unsigned char>>("bytes");
        const auto row = [](const char *mac, const QVector<unsigned char> &bytes) {
            QTest::newRow(mac) << QString::fromUtf8(mac) << bytes;
        };
        row("a1:b2:c3:d4:e5:f6", {0xa1, 0xb2, 0xc3, 0xd4, 0xe5, 0xf6});
        row("A1:B2:C3:D4:E5:F6", {0xa1, 0xb2, 0xc3, 0xd4, 0xe5, 0xf6});
        row("0:1:2:3:4:5", {0, 1, 2, 3, 4, 5});
        row("::1:2::3:4:5:6:", {1, 2, 3, 4, 5, 6});
        row("1ff:x:-1: 2:100000000:6", {0xff, 0, 0, 2, 0, 6});
    }

    void aMacAddressInTextBecomesBytes()
    {
        QFETCH(QString, mac);
        QFETCH(QVector<unsigned char>, bytes);
        const LogCapture log;
        QVector<unsigned char> found{7};

        NetworkHelper::convertStringMACAddressToByteArray(mac, found);

        QCOMPARE(found, QVector<unsigned char>{7} + bytes);
        QCOMPARE(log.asText(), QStringList());
    }

    void aTextWithoutSixPartsIsNoMacAddress_data()
    {
        QTest::addColumn<QString>("mac");
        for (const char *mac : {"", ":", ":::::", "1:2:3:4:5", "1:2:3:4:5:6:7", "1-2-3-4-5-6", "a1b2c3d4e5f6"})
            QTest::newRow(mac) << QString::fromUtf8(mac);
    }

    void aTextWithoutSixPartsIsNoMacAddress()
    {
        QFETCH(QString, mac);
        const LogCapture log;
        QVector<unsigned char> bytes{7};
        quint64 number = 7;

        NetworkHelper::convertStringMACAddressToByteArray(mac, bytes);
        NetworkHelper::convertStringMACAddressToNumeric(mac, number);

        QCOMPARE(bytes, QVector<unsigned char>{7});
        QCOMPARE(number, quint64(7));
        const QString warning = QStringLiteral("warning: Invalid MAC address  \"%1\"").arg(mac);
        QCOMPARE(log.asText(), (QStringList{warning, warning}));
    }

    void sixBytesBecomeText()
    {
        const LogCapture log;
        QString mac = untouched;

        NetworkHelper::convertByteArrayToStringMACAddress({0x02, 0, 0x5e, 0x10, 0, 0xff}, mac);

        QCOMPARE(mac, QStringLiteral("02:00:5e:10:00:ff"));
        QCOMPARE(log.asText(), QStringList());
    }

    void otherNumbersOfBytesDoNot()
    {
        const LogCapture log;
        QString mac = untouched;

        NetworkHelper::convertByteArrayToStringMACAddress({}, mac);
        NetworkHelper::convertByteArrayToStringMACAddress({1, 255}, mac);
        NetworkHelper::convertByteArrayToStringMACAddress({1, 2, 3, 4, 5, 6, 7}, mac);

        QCOMPARE(mac, untouched);
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("warning: Invalid MAC address bytes:  QVector()"),
                QStringLiteral("warning: Invalid MAC address bytes:  QVector(1, 255)"),
                QStringLiteral("warning: Invalid MAC address bytes:  QVector(1, 2, 3, 4, 5, 6, 7)")}));
    }

    void aMacAddressIsANumberOf48Bits_data()
    {
        QTest::addColumn<QString>("mac");
        QTest::addColumn<quint64>("number");
        QTest::newRow("ordinary") << QStringLiteral("a1:b2:c3:d4:e5:f6") << quint64(0xA1B2C3D4E5F6);
        QTest::newRow("zero") << QStringLiteral("00:00:00:00:00:00") << quint64(0);
        QTest::newRow("broadcast") << QStringLiteral("ff:ff:ff:ff:ff:ff") << quint64(0xFFFFFFFFFFFF);
        QTest::newRow("small parts") << QStringLiteral("00:01:02:03:04:05") << quint64(0x000102030405);
    }

    void aMacAddressIsANumberOf48Bits()
    {
        QFETCH(QString, mac);
        QFETCH(quint64, number);
        quint64 toNumber = 7;
        QString toText = untouched;

        NetworkHelper::convertStringMACAddressToNumeric(mac, toNumber);
        NetworkHelper::convertNumericMACAddressToString(number, toText);

        QCOMPARE(toNumber, number);
        QCOMPARE(toText, mac);
    }

    void bitsAbove48AreLeftOut()
    {
        QString mac;
        NetworkHelper::convertNumericMACAddressToString(0x1234A1B2C3D4E5F6, mac);
        QCOMPARE(mac, QStringLiteral("a1:b2:c3:d4:e5:f6"));
    }

    void aPartBeyondAByteSpillsOver_data()
    {
        QTest::addColumn<QString>("mac");
        QTest::addColumn<quint64>("number");
        QTest::newRow("into the part before") << QStringLiteral("0:0:0:0:1:1ff") << quint64(0x1ff);
        QTest::newRow("merged with it") << QStringLiteral("0:0:0:0:2:1ff") << quint64(0x3ff);
        QTest::newRow("beyond 48 bits") << QStringLiteral("1ff:0:0:0:0:0") << quint64(0x1ff0000000000);
        QTest::newRow("not hexadecimal") << QStringLiteral("x:0:0:0:0:1") << quint64(1);
    }

    void aPartBeyondAByteSpillsOver()
    {
        QFETCH(QString, mac);
        QFETCH(quint64, number);
        quint64 found = 7;

        NetworkHelper::convertStringMACAddressToNumeric(mac, found);

        QCOMPARE(found, number);
    }

    void noServersAreNothingToDo()
    {
        const LogCapture log;

        QVERIFY(NetworkHelper::updateSystemDNSServers(QString(), QString(), QString()));
        QVERIFY(NetworkHelper::updateSystemDNSServers(QString(), QString(), QStringLiteral("lab")));
        QCOMPARE(log.asText(), QStringList());
    }

    void whatWouldMakeLinesOfItsOwnIsNoServer_data()
    {
        QTest::addColumn<QString>("primary");
        QTest::addColumn<QString>("secondary");
        QTest::addColumn<QString>("domain");
        const QString good = QStringLiteral("10.0.0.2");
        QTest::newRow("line feed") << QStringLiteral("10.0.0.2\nnameserver 6.6.6.6") << QString() << QString();
        QTest::newRow("blank") << good << QStringLiteral("10.0.0.3 x") << QString();
        QTest::newRow("tab in the domain") << good << QString() << QStringLiteral("lab\tx");
        QTest::newRow("null character") << good + QChar(0) << QString() << QString();
        QTest::newRow("line separator") << good << good + QChar(QChar::LineSeparator) << QString();
    }

    void whatWouldMakeLinesOfItsOwnIsNoServer()
    {
        QFETCH(QString, primary);
        QFETCH(QString, secondary);
        QFETCH(QString, domain);
        const LogCapture log;

        QVERIFY(!NetworkHelper::updateSystemDNSServers(primary, secondary, domain));

        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(log.warnings().constFirst().startsWith(QLatin1String("Not name servers and a domain: ")));
    }
};

QTEST_GUILESS_MAIN(TestNetworkHelper)
#include "tst_networkhelper.moc"
