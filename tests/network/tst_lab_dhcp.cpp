// SPDX-License-Identifier: Apache-2.0
// The road of an address: DHCP server, dhclient, our hook, record, IPDetails. All parts are the real ones.
#include "Helpers/IPDetails.h"
#include "Helpers/NetworkHelper.h"
#include "Lab.h"
#include "LogCapture.h"
#include "SmallDisk.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QtTest>

namespace {
constexpr char configV4[] = "option rfc3442-classless-static-routes code 121 = array of unsigned integer 8;\n"
                            "send host-name = gethostname();\n"
                            "request subnet-mask, broadcast-address, time-offset, routers,\n"
                            "\tdomain-name, domain-name-servers, domain-search, host-name,\n"
                            "\tnetbios-name-servers, netbios-scope, interface-mtu,\n"
                            "\trfc3442-classless-static-routes, ntp-servers;\n"
                            "timeout 20;\n";
constexpr char configV6[] = "option rfc3442-classless-static-routes code 121 = array of unsigned integer 8;\n"
                            "send host-name = gethostname();\n"
                            "request subnet-mask, broadcast-address, time-offset, routers,\n"
                            "\tdomain-name, domain-name-servers, domain-search, host-name,\n"
                            "\tdhcp6.name-servers, dhcp6.domain-search, dhcp6.fqdn, dhcp6.sntp-servers,\n"
                            "\tnetbios-name-servers, netbios-scope, interface-mtu,\n"
                            "\trfc3442-classless-static-routes, ntp-servers;\n"
                            "timeout 4294967295;\n";

const QString recordV4 = QStringLiteral("/tmp/ipDetails.d0");
const QString recordV6 = QStringLiteral("/tmp/ip6Details.d0");
const QString servers = QStringLiteral("/etc/resolv.dmasq");

QStringList serverOptions()
{
    return {QStringLiteral("--dhcp-option=option:dns-server,10.20.0.1,10.20.0.3,10.20.0.4"),
        QStringLiteral("--dhcp-option=option:domain-name,lab"),
        QStringLiteral("--dhcp-option=option6:dns-server,[fd00:20::1],[fd00:20::3]"),
        QStringLiteral("--dhcp-option=option6:domain-search,lab")};
}

/// No server gives a lease that is shorter than two minutes, but the client may cut it.
bool shortenLeases()
{
    return Lab::succeeds(QStringLiteral("printf 'supersede dhcp-%s;\\n' 'lease-time 4' 'renewal-time 2' "
                                        "'rebinding-time 3' >>/tmp/dhclient.conf"));
}

QString dhclient(const QString &interface, bool ipv6, const QString &options)
{
    const QString family = ipv6 ? QStringLiteral("6") : QStringLiteral("4");
    return QStringLiteral("dhclient -%1 %2 -cf /tmp/dhclient%3.conf -lf /run/%4.%1.leases -pf /run/%4.%1.pid %4")
        .arg(family, options, ipv6 ? family : QString(), interface);
}

QStringList valuesOf(const IPDetails &details)
{
    return {details.address(), details.netmask(), details.gateway(), details.primaryDNS(), details.secondaryDNS(),
        details.domain()};
}

QStringList unknown()
{
    QStringList values;
    for (int i = 0; i < NetworkHelper::Max; ++i)
        values << QStringLiteral("-");
    return values;
}

/// What dhclient does at an event: it runs dhclient-script with the facts in variables.
Lab::Run dhclientScript(const QString &variables)
{
    return Lab::shell(QStringLiteral("env interface=d0 %1 /sbin/dhclient-script").arg(variables));
}

const QString bound = QStringLiteral("reason=BOUND new_ip_address=10.20.0.5 new_subnet_mask=255.255.255.0 "
                                     "new_routers='10.20.0.1 10.20.0.2' new_domain_name=lab "
                                     "new_domain_name_servers='10.20.0.1 10.20.0.3'");
const QString bound6 = QStringLiteral("reason=BOUND6 new_ip6_address=fd00:20::5 new_ip6_prefixlen=128 "
                                      "new_max_life=600 new_preferred_life=600 new_dhcp6_domain_search='lab. lan.' "
                                      "new_dhcp6_name_servers='fd00:20::1 fe80::9'");
} // namespace

class TestLabDhcp : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(Lab::isHere(), "tests/network/inside.sh runs this program");
        QVERIFY(Lab::write(QStringLiteral("/etc/resolv.conf"), "nameserver ::1\n"));
        QVERIFY(Lab::write(QStringLiteral("/etc/dnsmasq.conf"), "interface=lo\nbind-interfaces\n"));
        QVERIFY(QFile::link(QStringLiteral("/opt/tester/scripts/ipdetails"),
            QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails")));
    }

    void init()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("rm -rf /tmp/* /etc/resolv.dmasq /run/*.leases")));
        QString fileName;
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, true, fileName));
        QVERIFY(mServer.start(serverOptions()));
    }

    void cleanup()
    {
        Lab::shell(QStringLiteral("kill -9 $(cat /run/d?.?.pid); rm -f /run/d?.?.pid"));
        Lab::shell(QStringLiteral("for i in d0 d1; do ip -4 addr flush dev $i; ip -6 addr flush dev $i scope global; "
                                  "ip link set $i down; ip link set $i up; ip -n peer link set ${i/d/p} up; done"));
    }

    void theConfigurationOfTheClientIsWritten()
    {
        QString fileName;
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QCOMPARE(fileName, QStringLiteral("/tmp/dhclient.conf"));
        QCOMPARE(Lab::read(fileName), QByteArray(configV4));

        QVERIFY(NetworkHelper::createDhcpClientConfig(4294967295, true, fileName));
        QCOMPARE(fileName, QStringLiteral("/tmp/dhclient6.conf"));
        QCOMPARE(Lab::read(fileName), QByteArray(configV6));
    }

    void aConfigurationTakesThePlaceOfALink()
    {
        QVERIFY(Lab::write(QStringLiteral("/etc/precious"), "precious"));
        QVERIFY(Lab::succeeds(QStringLiteral("ln -sf /etc/precious /tmp/dhclient.conf; rm /tmp/dhclient6.conf; "
                                             "mkfifo /tmp/dhclient6.conf")));
        QString fileName;

        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, true, fileName));

        QCOMPARE(Lab::read(QStringLiteral("/etc/precious")), QByteArray("precious"));
        QCOMPARE(Lab::read(QStringLiteral("/tmp/dhclient.conf")), QByteArray(configV4));
        QVERIFY(QFileInfo(fileName).isFile());
    }

    void aFullDiskIsToldAndTheNameAsWell()
    {
        const FullDisk disk(QStringLiteral("/tmp"));
        QCOMPARE(disk.problem(), QString());
        QString fileName;

        QVERIFY(!NetworkHelper::createDhcpClientConfig(20, true, fileName));
        QCOMPARE(fileName, QStringLiteral("/tmp/dhclient6.conf"));
    }

    void aReadOnlyDiskIsTold()
    {
        const Lab::ReadOnly disk(QStringLiteral("/tmp"));
        QVERIFY(disk.isReadOnly());
        QString fileName;

        QVERIFY(!NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QCOMPARE(fileName, QStringLiteral("/tmp/dhclient.conf"));
    }

    void aLeaseOfIPv4ReachesTheDetails()
    {
        const LogCapture log;
        IPDetails details;
        QSignalSpy changed(&details, &IPDetails::address_changed);
        QVERIFY2(Lab::succeeds(dhclient(QStringLiteral("d0"), false, QStringLiteral("-1"))), mServer.log().constData());

        QVERIFY(NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));

        QVERIFY(details.address().startsWith(QLatin1String("10.20.0.5")));
        QCOMPARE(valuesOf(details).mid(1),
            (QStringList{QStringLiteral("255.255.255.0"), QStringLiteral("10.20.0.1"), QStringLiteral("10.20.0.1"),
                QStringLiteral("10.20.0.3"), QStringLiteral("lab")}));
        QCOMPARE(changed.count(), 1);
        QString fromKernel;
        QVERIFY(NetworkHelper::getIPv4Address(QStringLiteral("d0"), fromKernel));
        QCOMPARE(fromKernel, details.address());
    }

    void aLeaseOfIPv6ReachesTheDetails()
    {
        const LogCapture log;
        IPDetails details;
        QVERIFY2(Lab::succeeds(dhclient(QStringLiteral("d0"), true, QStringLiteral("-1"))), mServer.log().constData());
        QString router;
        QTRY_VERIFY_WITH_TIMEOUT(NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d0"), router), Lab::patience);

        QVERIFY(NetworkHelper::getInterfaceIPv6Details(QStringLiteral("d0"), details));

        QVERIFY2(details.address().startsWith(QLatin1String("fd00:20::")), qPrintable(details.address()));
        QCOMPARE(valuesOf(details).mid(1),
            (QStringList{QStringLiteral("128"), router, QStringLiteral("fd00:20::1"), QStringLiteral("fd00:20::3"),
                QStringLiteral("lab")}));
        QVERIFY(router.startsWith(QLatin1String("fe80::")));
        QVERIFY(Lab::succeeds(QStringLiteral("ip -6 addr show dev d0 | grep -qF %1").arg(details.address())));
    }

    void theClientLeavesTheResolverAlone()
    {
        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), false, QStringLiteral("-1"))));
        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), true, QStringLiteral("-1"))));

        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray("nameserver ::1\n"));
        QCOMPARE(Lab::read(servers),
            QByteArray("nameserver 10.20.0.1 # dhclient d0 IPv4;\nnameserver 10.20.0.3 # dhclient d0 IPv4;\n"
                       "nameserver 10.20.0.4 # dhclient d0 IPv4;\nnameserver fd00:20::1 # dhclient d0 IPv6;\n"
                       "nameserver fd00:20::3 # dhclient d0 IPv6;\n"));
        QCOMPARE(QFile::symLinkTarget(servers), QStringLiteral("/tmp/resolv.dmasq"));
    }

    void everyInterfaceHasItsOwnLease()
    {
        QVERIFY(mServer.start()); // its own addresses as router and name server
        const LogCapture log;
        IPDetails first;
        IPDetails second;

        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), false, QStringLiteral("-1"))));
        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d1"), second));
        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d1"), false, QStringLiteral("-1"))));
        QVERIFY(NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), first));
        QVERIFY(NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d1"), second));

        QCOMPARE(first.gateway(), QStringLiteral("10.20.0.1"));
        QCOMPARE(second.gateway(), QStringLiteral("10.21.0.1"));
        QCOMPARE(second.primaryDNS(), QStringLiteral("10.21.0.1"));
        QCOMPARE(second.domain(), QStringLiteral("-"));
        QCOMPARE(Lab::read(servers),
            QByteArray("nameserver 10.20.0.1 # dhclient d0 IPv4;\nnameserver 10.21.0.1 # dhclient d1 IPv4;\n"));
    }

    void aReleasedLeaseIsForgotten_data()
    {
        QTest::addColumn<bool>("ipv6");
        QTest::newRow("IPv4") << false;
        QTest::newRow("IPv6") << true;
    }

    void aReleasedLeaseIsForgotten()
    {
        QFETCH(bool, ipv6);
        const LogCapture log;
        IPDetails details;
        const auto read = [&] {
            return ipv6 ? NetworkHelper::getInterfaceIPv6Details(QStringLiteral("d0"), details)
                        : NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details);
        };
        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), ipv6, QStringLiteral("-1"))));
        QVERIFY(read());

        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), ipv6, QStringLiteral("-r"))));

        QVERIFY(!read());
        details.set_gateway(QStringLiteral("-")); // of IPv6 it is the router's business, not the lease's
        QCOMPARE(valuesOf(details), unknown());
        QVERIFY(!Lab::read(servers).contains("nameserver"));
    }

    void anExpiredLeaseIsForgotten()
    {
        const LogCapture log;
        IPDetails details;
        QVERIFY(shortenLeases());
        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), false, QStringLiteral("-1"))));
        QVERIFY(NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));

        mServer.stop();

        QTRY_VERIFY_WITH_TIMEOUT(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details), Lab::patience);
        QCOMPARE(valuesOf(details), unknown());
        QString address;
        QVERIFY(!NetworkHelper::getIPv4Address(QStringLiteral("d0"), address));
    }

    void aRenewedLeaseBringsNewValues()
    {
        const LogCapture log;
        IPDetails details;
        QVERIFY(shortenLeases());
        QVERIFY(Lab::succeeds(dhclient(QStringLiteral("d0"), false, QStringLiteral("-1"))));
        QVERIFY(NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));
        const QString address = details.address();

        QVERIFY(mServer.start({QStringLiteral("--dhcp-option=option:dns-server,10.20.0.9"),
            QStringLiteral("--dhcp-option=option:domain-name,lan")}));

        QTRY_VERIFY_WITH_TIMEOUT(NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details)
                && details.domain() == QLatin1String("lan"),
            Lab::patience);
        QCOMPARE(details.address(), address);
        QCOMPARE(details.primaryDNS(), QStringLiteral("10.20.0.9"));
        QCOMPARE(details.secondaryDNS(), QStringLiteral("-"));
        QTRY_COMPARE(Lab::read(servers), QByteArray("nameserver 10.20.0.9 # dhclient d0 IPv4;\n"));
    }

    void aCableThatIsUnpluggedGivesNoLease()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(QStringLiteral("ip -n peer link set p0 down")));
        QString fileName;
        QVERIFY(NetworkHelper::createDhcpClientConfig(2, false, fileName));
        IPDetails details;

        QCOMPARE(Lab::shell(dhclient(QStringLiteral("d0"), false, QStringLiteral("-1"))).exitCode, 2);

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));
        QCOMPARE(valuesOf(details), unknown());
    }

    void everyEventKeepsOrForgets_data()
    {
        QTest::addColumn<QString>("variables");
        QTest::addColumn<QByteArray>("record");
        const QByteArray before = "ip_address=1.2.3.4\n";
        const QByteArray now = "ip_address=10.20.0.5\nsubnet_mask=255.255.255.0\nrouters=10.20.0.1\n"
                               "domain_name_servers=10.20.0.1 10.20.0.3\ndomain_name=lab\n";
        for (const char *reason : {"BOUND", "RENEW", "REBIND", "REBOOT"})
            QTest::newRow(reason) << QString(bound).replace(QStringLiteral("BOUND"), QString::fromUtf8(reason)) << now;
        for (const char *reason : {"EXPIRE", "FAIL", "RELEASE", "STOP"})
            QTest::newRow(reason) << QStringLiteral("reason=%1 old_ip_address=1.2.3.4").arg(QString::fromUtf8(reason))
                                  << QByteArray();
        for (const char *reason : {"PREINIT", "MEDIUM", "ARPCHECK", "ARPSEND", "NBI", "WHATEVER"})
            QTest::newRow(reason) << QStringLiteral("reason=") + QString::fromUtf8(reason) << before;
        QTest::newRow("no reason") << QString() << before;
        QTest::newRow("TIMEOUT, the router answers")
            << QString(bound).replace(QLatin1String("BOUND"), QLatin1String("TIMEOUT")) << now;
        QTest::newRow("TIMEOUT, nobody answers")
            << QStringLiteral("reason=TIMEOUT new_ip_address=10.99.0.5 new_routers=10.99.0.1") << QByteArray();
        QTest::newRow("an address alone")
            << QStringLiteral("reason=BOUND new_ip_address=10.20.0.5") << QByteArray("ip_address=10.20.0.5\n");
        QTest::newRow("a value of two lines")
            << QStringLiteral("reason=BOUND new_ip_address=10.20.0.5 new_domain_name=$'lab\\nrouters=6.6.6.6'")
            << QByteArray("ip_address=10.20.0.5\n");
        QTest::newRow("shell syntax is only text")
            << QStringLiteral("reason=BOUND new_ip_address=10.20.0.5 new_domain_name='$(reboot);%s'")
            << QByteArray("ip_address=10.20.0.5\ndomain_name=$(reboot);%s\n");
    }

    void everyEventKeepsOrForgets()
    {
        QFETCH(QString, variables);
        QFETCH(QByteArray, record);
        QVERIFY(Lab::write(recordV4, "ip_address=1.2.3.4\n"));

        dhclientScript(variables);

        QCOMPARE(Lab::read(recordV4), record);
        QVERIFY(!QFile::exists(recordV6));
    }

    void everyEventOfIPv6KeepsOrForgets_data()
    {
        QTest::addColumn<QString>("variables");
        QTest::addColumn<QByteArray>("record");
        const QByteArray before = "ip6_address=fd00::1\n";
        const QByteArray now = "ip6_address=fd00:20::5\nip6_prefixlen=128\ndhcp6_name_servers=fd00:20::1 fe80::9\n"
                               "domain_name=lab\n";
        for (const char *reason : {"BOUND6", "RENEW6", "REBIND6"})
            QTest::newRow(reason) << QString(bound6).replace(QLatin1String("BOUND6"), QLatin1String(reason)) << now;
        for (const char *reason : {"EXPIRE6", "RELEASE6", "STOP6"})
            QTest::newRow(reason) << QStringLiteral("reason=%1 old_ip6_address=fd00::1").arg(QString::fromUtf8(reason))
                                  << QByteArray();
        QTest::newRow("another lease expires") << QStringLiteral("reason=EXPIRE6 old_ip6_address=fd00::2") << before;
        QTest::newRow("PREINIT6") << QStringLiteral("reason=PREINIT6") << before;
        QTest::newRow("DEPREF6") << QStringLiteral("reason=DEPREF6 cur_ip6_address=fd00::1") << before;
        QTest::newRow("servers alone") << QStringLiteral("reason=BOUND6 new_dhcp6_name_servers=fd00:20::1")
                                       << QByteArray("dhcp6_name_servers=fd00:20::1\n");
    }

    void everyEventOfIPv6KeepsOrForgets()
    {
        QFETCH(QString, variables);
        QFETCH(QByteArray, record);
        QVERIFY(Lab::write(recordV6, "ip6_address=fd00::1\n"));

        dhclientScript(variables);

        QCOMPARE(Lab::read(recordV6), record);
        QVERIFY(!QFile::exists(recordV4));
    }

    void theHookKeepsServersOfOthers()
    {
        QVERIFY(Lab::write(servers, "domain lab\nnameserver 10.9.9.9\nnameserver 1.1.1.1 # dhclient d00 IPv4;"));

        dhclientScript(bound6);
        dhclientScript(bound);

        const QByteArray others = "domain lab\nnameserver 10.9.9.9\nnameserver 1.1.1.1 # dhclient d00 IPv4;\n";
        const QByteArray ours6 =
            "nameserver fd00:20::1 # dhclient d0 IPv6;\nnameserver fe80::9%d0 # dhclient d0 IPv6;\n";
        QCOMPARE(Lab::read(servers),
            others + ours6 + "nameserver 10.20.0.1 # dhclient d0 IPv4;\nnameserver 10.20.0.3 # dhclient d0 IPv4;\n");
        dhclientScript(QStringLiteral("reason=EXPIRE old_ip_address=10.20.0.5"));
        QCOMPARE(Lab::read(servers), others + ours6);
    }

    void hooksThatRunAtOnceLoseNoServer()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("for i in 1 2 3 4 5 6 7 8; do (reason=BOUND interface=x$i "
                                             "new_ip_address=10.0.0.$i new_domain_name_servers=10.0.0.$i; "
                                             ". /opt/tester/scripts/ipdetails) & done; wait")));

        const QByteArray text = Lab::read(servers);
        QCOMPARE(text.count('\n'), 8);
        for (char i = '1'; i <= '8'; ++i)
            QVERIFY2(text.contains(QByteArray("nameserver 10.0.0.") + i + " # dhclient x" + i), text.constData());
    }

    void theHookLeavesNoTrace()
    {
        dhclientScript(bound);

        QCOMPARE(QDir(QStringLiteral("/tmp")).entryList(QDir::Files | QDir::Hidden),
            (QStringList{QStringLiteral("dhclient.conf"), QStringLiteral("dhclient6.conf"),
                QStringLiteral("ipDetails.d0"), QStringLiteral("resolv.dmasq")}));
        QVERIFY(QFileInfo(recordV4).permission(QFile::ReadOther));
        QVERIFY(QFileInfo(QStringLiteral("/tmp/resolv.dmasq")).permission(QFile::ReadOther));
    }

    void theHookDoesNotEndTheScriptThatSourcesIt()
    {
        const QString sourced = QStringLiteral("reason=%1 interface=d0; . /opt/tester/scripts/ipdetails; "
                                               "echo $? ${record-unset} flags $-");
        const QByteArray flags = Lab::shell(QStringLiteral("sh -c 'echo flags $-'")).output;

        for (const char *reason : {"BOUND", "EXPIRE", "PREINIT"}) {
            const Lab::Run run = Lab::shell(QStringLiteral("sh -c '%1'").arg(sourced.arg(QString::fromUtf8(reason))));
            QCOMPARE(run.output, "0 unset " + flags);
        }
    }

    void theHookTakesThePlaceOfALink()
    {
        QVERIFY(Lab::write(QStringLiteral("/etc/precious"), "precious"));
        QVERIFY(Lab::succeeds(
            QStringLiteral("ln -s /etc/precious /tmp/ipDetails.d0; ln -s /etc/precious /tmp/resolv.dmasq")));

        dhclientScript(bound);

        QCOMPARE(Lab::read(QStringLiteral("/etc/precious")), QByteArray("precious"));
        QVERIFY(Lab::read(recordV4).startsWith("ip_address=10.20.0.5\n"));
        QVERIFY(!QFileInfo(QStringLiteral("/tmp/resolv.dmasq")).isSymLink());
    }

    void serversThatOthersCouldHaveWrittenAreNotKept_data()
    {
        QTest::addColumn<bool>("byAnother");
        QTest::addColumn<QString>("command");
        const auto row = [](const char *name, bool byAnother, const char *command) {
            QTest::newRow(name) << byAnother << QString::fromUtf8(command);
        };
        row("a file of another user", true, "echo nameserver 6.6.6.6 >/tmp/resolv.dmasq");
        row("what the hook would write", true,
            "printf 'nameserver %s # dhclient d0 IPv4;\\n' 10.20.0.1 10.20.0.3 >/tmp/resolv.dmasq");
        row("a file of ours that all may write", false,
            "echo nameserver 6.6.6.6 >/tmp/resolv.dmasq; chmod 666 /tmp/resolv.dmasq");
        row("a second name of a file of ours", false,
            "echo nameserver 6.6.6.6 >/tmp/other; ln /tmp/other /tmp/resolv.dmasq");
        row("a link to a file of ours", true, "ln -s /etc/precious /tmp/resolv.dmasq");
        row("a pipe", true, "mkfifo -m 666 /tmp/resolv.dmasq");
        row("a folder", true, "mkdir -p /tmp/resolv.dmasq/resolv.dmasq");
    }

    void serversThatOthersCouldHaveWrittenAreNotKept()
    {
        QFETCH(bool, byAnother);
        QFETCH(QString, command);
        if (byAnother && !Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        QVERIFY(Lab::write(QStringLiteral("/etc/precious"), "nameserver 6.6.6.6\n"));
        QVERIFY(QFile::link(QStringLiteral("/tmp/resolv.dmasq"), servers));
        QVERIFY(byAnother ? Lab::succeedsAsAnother(command) : Lab::succeeds(command));

        const Lab::Run run = dhclientScript(bound);

        QCOMPARE(Lab::read(servers),
            QByteArray("nameserver 10.20.0.1 # dhclient d0 IPv4;\nnameserver 10.20.0.3 # dhclient d0 IPv4;\n"));
        QVERIFY(Lab::succeeds(QStringLiteral("find /tmp/resolv.dmasq -type f -uid 0 -perm 644 | grep -q .")));
        QVERIFY2(run.output.contains("ipdetails: "), run.output.constData());
    }

    void aListThatTheGroupMayWriteIsKeptIfTheGroupIsRoots_data()
    {
        QTest::addColumn<int>("group");
        QTest::newRow("root's") << 0;
        QTest::newRow("another") << 1;
    }

    void aListThatTheGroupMayWriteIsKeptIfTheGroupIsRoots()
    {
        QFETCH(const int, group);
        if (group != 0 && !Lab::hasAnotherUser())
            QSKIP("there is no other group here");
        QVERIFY(Lab::write(servers, "nameserver 10.9.9.9\n"));
        QVERIFY(Lab::succeeds(QStringLiteral("chgrp %1 /etc/resolv.dmasq; chmod 664 /etc/resolv.dmasq").arg(group)));

        dhclientScript(bound);

        QCOMPARE(Lab::read(servers).startsWith("nameserver 10.9.9.9\nnameserver 10.20.0.1 "), group == 0);
    }

    void aListBehindARelativeLinkIsKept()
    {
        QVERIFY(Lab::write(QStringLiteral("/etc/dhcp/list"), "nameserver 9.9.9.9\n"));
        QVERIFY(QFile::link(QStringLiteral("dhcp/list"), servers));

        const Lab::Run run = dhclientScript(bound);

        QCOMPARE(Lab::read(servers),
            QByteArray("nameserver 9.9.9.9\nnameserver 10.20.0.1 # dhclient d0 IPv4;\n"
                       "nameserver 10.20.0.3 # dhclient d0 IPv4;\n"));
        QCOMPARE(run.output.count("ipdetails: "), 0);
    }

    void aLongListIsLeftAlone_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("isTaken");
        QTest::newRow("1 MiB") << 1048576 << true;
        QTest::newRow("a byte more") << 1048577 << false;
    }

    void aLongListIsLeftAlone()
    {
        QFETCH(const int, size);
        QFETCH(const bool, isTaken);
        const QByteArray list = "nameserver 9.9.9.9\n#" + QByteArray(size - 21, 'x') + '\n';
        QVERIFY(Lab::write(servers, list));

        const Lab::Run run = dhclientScript(bound);

        const QByteArray added = "nameserver 10.20.0.1 # dhclient d0 IPv4;\nnameserver 10.20.0.3 # dhclient d0 IPv4;\n";
        QVERIFY(Lab::read(servers) == (isTaken ? list + added : list));
        QCOMPARE(QFileInfo(servers).isSymLink(), isTaken);
        QCOMPARE(run.output.contains("ipdetails: left alone, longer than 1024 KiB: /etc/resolv.dmasq\n"), !isTaken);
        QVERIFY(!run.output.contains("others"));
        QVERIFY(Lab::read(recordV4).startsWith("ip_address=10.20.0.5\n"));
    }

    void aFolderOfAnotherUserIsNoRecord()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        QVERIFY(Lab::succeedsAsAnother(QStringLiteral("mkdir /tmp/ipDetails.d0 && touch /tmp/ipDetails.d0/file")));

        dhclientScript(bound);

        QVERIFY(Lab::read(recordV4).startsWith("ip_address=10.20.0.5\n"));
        QVERIFY(Lab::read(servers).contains("nameserver 10.20.0.1 "));
    }

    void foldersOfAnotherUserThatComeAgainAreNoRecord()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        constexpr int rounds = 5;
        const Lab::FolderMaker another({recordV4, QStringLiteral("/tmp/resolv.dmasq")});

        for (int i = 0; i < rounds; ++i) {
            QVERIFY(Lab::succeeds(QStringLiteral("rm -rf /tmp/ipDetails.d0* /tmp/resolv.dmasq* /etc/resolv.dmasq")));
            const Lab::Run run = dhclientScript(bound);
            QVERIFY2(Lab::read(recordV4).startsWith("ip_address=10.20.0.5\n"), run.output.constData());
            QVERIFY2(Lab::read(servers).contains("nameserver 10.20.0.1 "), run.output.constData());
        }
    }

    // Who has made it may need what it holds.
    void aFolderOfRootIsLeftWhereItIs()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("mkdir /tmp/ipDetails.d0 && touch /tmp/ipDetails.d0/file")));

        const Lab::Run run = dhclientScript(bound);

        QVERIFY(run.output.contains("ipdetails: a folder of root is in the way: /tmp/ipDetails.d0\n"));
        QVERIFY(QFile::exists(QStringLiteral("/tmp/ipDetails.d0/file")));
        QVERIFY(Lab::read(servers).contains("nameserver 10.20.0.1 "));
        QVERIFY(Lab::succeeds(QStringLiteral("rm -r /tmp/ipDetails.d0")));
    }

    void aRecordOfAnotherUserIsNotRead()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        QVERIFY(Lab::succeedsAsAnother(QStringLiteral("echo ip_address=6.6.6.6 >/tmp/ipDetails.d0")));
        IPDetails details;
        const LogCapture log;

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));

        QVERIFY(!details.address_dirty());
        QCOMPARE(log.warnings().constLast(), QStringLiteral("Failed to open  \"/tmp/ipDetails.d0\"  for reading"));
    }

    void theConfigurationOfTheClientIsWrittenWholeAndOnce()
    {
        QString fileName;
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QVERIFY(Lab::succeeds(QStringLiteral("ln /tmp/dhclient6.conf /tmp/former")));
        const QDateTime before = QFileInfo(fileName).metadataChangeTime();

        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QCOMPARE(QFileInfo(fileName).metadataChangeTime(), before);

        QVERIFY(NetworkHelper::createDhcpClientConfig(7, true, fileName));
        QVERIFY(Lab::read(fileName).endsWith("timeout 7;\n"));
        QVERIFY(Lab::read(QStringLiteral("/tmp/former")).endsWith("timeout 20;\n")); // who reads it goes on reading it
    }

    void aFolderOfAnotherUserIsNoConfiguration()
    {
        if (!Lab::hasAnotherUser())
            QSKIP("there is no other user here");
        QVERIFY(Lab::succeedsAsAnother(QStringLiteral("mkdir /tmp/dhclient7.conf")));
        QVERIFY(Lab::succeeds(QStringLiteral("rm /tmp/dhclient.conf; mv /tmp/dhclient7.conf /tmp/dhclient.conf")));
        const LogCapture log;
        QString fileName;

        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));

        QCOMPARE(Lab::read(fileName), QByteArray(configV4));
        QVERIFY(!log.warnings().filter(fileName).isEmpty());
    }

    void aServerIsAnAddressAndNothingElse_data()
    {
        QTest::addColumn<QString>("named");
        QTest::newRow("a pattern of files") << QStringLiteral("10.20.0.1 * /etc/pass*");
        QTest::newRow("a comment") << QStringLiteral("10.20.0.1 #1");
        QTest::newRow("a port") << QStringLiteral("10.20.0.1 10.20.0.3#5353");
        QTest::newRow("a name") << QStringLiteral("10.20.0.1 evil.example");
        QTest::newRow("a second line") << QStringLiteral("'10.20.0.1 10.20.0.3\nnameserver'").remove(QLatin1Char('\''));
    }

    void aServerIsAnAddressAndNothingElse()
    {
        QFETCH(QString, named);

        Lab::shell(QStringLiteral("cd /etc; env interface=d0 reason=BOUND new_ip_address=10.20.0.5 "
                                  "new_domain_name_servers=$'%1' /sbin/dhclient-script")
                       .arg(named));

        QCOMPARE(Lab::read(servers).replace("nameserver 10.20.0.3 # dhclient d0 IPv4;\n", ""),
            QByteArray("nameserver 10.20.0.1 # dhclient d0 IPv4;\n"));
    }

    // A name on the wire is ASCII. Of the rest much moves a cursor or hides text: C1 controls, bidirectional controls.
    void aValueIsPrintableAscii_data()
    {
        QTest::addColumn<QString>("domain"); // as bash quotes it
        QTest::addColumn<QByteArray>("line");
        QTest::newRow("printable") << QStringLiteral("a-1.lab !~") << QByteArray("domain_name=a-1.lab !~\n");
        const auto refused = [](const char *name, const char *domain) {
            QTest::newRow(name) << QString::fromUtf8(domain) << QByteArray();
        };
        refused("C0", "lab\\x1b[2J");
        refused("a tab", "lab\\tx");
        refused("delete", "lab\\x7f");
        refused("C1, a byte", "lab\\x9b2J");
        refused("the first of C1, a byte", "\\x80");
        refused("C1, UTF-8", "lab\\xc2\\x9b2J");
        refused("next line, UTF-8", "lab\\xc2\\x85subnet_mask=1.2.3.4");
        refused("a bidirectional control", "lab\\xe2\\x80\\xae");
    }

    void aValueIsPrintableAscii()
    {
        QFETCH(QString, domain);
        QFETCH(QByteArray, line);

        for (const char *locale : {"C", "C.UTF-8"}) {
            const QString variables =
                QStringLiteral("LC_ALL=%1 reason=BOUND new_ip_address=10.20.0.5 new_domain_name=$'%2'");
            dhclientScript(variables.arg(QLatin1String(locale), domain));

            QCOMPARE(Lab::read(recordV4), "ip_address=10.20.0.5\n" + line);
        }
    }

    void withoutItsLockTheHookGoesOnAndTellsIt()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("rm -f /run/ipdetails.lock; mkdir /run/ipdetails.lock")));

        const Lab::Run run = dhclientScript(bound);

        QVERIFY(Lab::succeeds(QStringLiteral("rmdir /run/ipdetails.lock")));
        QVERIFY2(
            run.output.contains("ipdetails: going on without a lock: /run/ipdetails.lock\n"), run.output.constData());
        QVERIFY(Lab::read(recordV4).startsWith("ip_address=10.20.0.5\n"));
        QVERIFY(Lab::read(servers).contains("nameserver 10.20.0.1 "));
    }

    void theHookLetsNobodyElseHoldTheLock()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("rm -f /run/ipdetails.lock")));

        dhclientScript(bound);

        QVERIFY(Lab::succeeds(QStringLiteral("find /run/ipdetails.lock -perm 600 | grep -q .")));
    }

    void ratherNoRecordThanAnOldOne()
    {
        const LogCapture log;
        const FullDisk disk(QStringLiteral("/tmp"));
        QCOMPARE(disk.problem(), QString());
        QVERIFY(Lab::succeeds(QStringLiteral("ln -s nowhere %1").arg(recordV4)));
        IPDetails details;

        dhclientScript(bound);

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));
        QVERIFY(!QFileInfo(recordV4).isSymLink());
        QCOMPARE(
            QDir(QStringLiteral("/tmp")).entryList(QDir::Files | QDir::Hidden), QStringList(QStringLiteral("filling")));
    }

    void aMissingRecordLeavesTheDetailsAsTheyAre()
    {
        IPDetails details;
        details.set_address(QStringLiteral("before"));
        const LogCapture log;

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));
        QVERIFY(!NetworkHelper::getInterfaceIPv6Details(QStringLiteral("d0"), details));

        QCOMPARE(valuesOf(details),
            (QStringList{QStringLiteral("before"), QString(), QString(), QString(), QString(), QString()}));
        QVERIFY(!details.netmask_dirty());
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("warning: Failed to open  \"/tmp/ipDetails.d0\"  for reading"),
                QStringLiteral("warning: Failed to open  \"/tmp/ip6Details.d0\"  for reading")}));
    }

    void aRecordThatIsTooLargeIsRefusedAndTold()
    {
        QVERIFY(Lab::write(recordV4, "ip_address=10.0.0.5\n" + QByteArray(4 * 1024 * 1024, 'x')));
        IPDetails details;
        const LogCapture log;

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));

        QVERIFY(!details.address_dirty());
        QCOMPARE(log.asText(), QStringList(QStringLiteral("warning: Too large for a record:  \"/tmp/ipDetails.d0\"")));
    }

    void aRecordWithoutAnAddressStillGivesTheOtherValues()
    {
        QVERIFY(Lab::write(recordV4, "subnet_mask=255.0.0.0\ndomain_name=lab\n"));
        IPDetails details;
        const LogCapture log;

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));

        QStringList expected = unknown();
        expected[NetworkHelper::Netmask] = QStringLiteral("255.0.0.0");
        expected[NetworkHelper::Domain] = QStringLiteral("lab");
        QCOMPARE(valuesOf(details), expected);
        QVERIFY(details.address_dirty() && details.gateway_dirty() && details.secondaryDNS_dirty());
    }

    void aPipeInPlaceOfARecordDoesNotBlock()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("mkfifo %1").arg(recordV4)));
        IPDetails details;
        const LogCapture log;

        QVERIFY(!NetworkHelper::getInterfaceIPv4Details(QStringLiteral("d0"), details));
        QVERIFY(!details.address_dirty());
    }

    void withoutADefaultRouteTheGatewayIsUnknown()
    {
        QVERIFY(Lab::write(QStringLiteral("/tmp/ip6Details.lo"), "ip6_address=fd00::1\n"));
        IPDetails details;
        const LogCapture log;

        QVERIFY(NetworkHelper::getInterfaceIPv6Details(QStringLiteral("lo"), details));

        QCOMPARE(details.gateway(), QStringLiteral("-"));
    }

private:
    Lab::PeerServer mServer;
};

QTEST_GUILESS_MAIN(TestLabDhcp)
#include "tst_lab_dhcp.moc"
