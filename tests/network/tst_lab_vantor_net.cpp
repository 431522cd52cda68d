// SPDX-License-Identifier: Apache-2.0
// vantor-net as its users meet it, beside a real DHCP client and server.
#include "Helpers/NetworkHelper.h"
#include "Lab.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

namespace {
Lab::Run net(const QString &arguments)
{
    return Lab::shell(QCoreApplication::applicationDirPath() + QStringLiteral("/vantor-net ") + arguments);
}

QJsonObject shownJson(const QString &interface)
{
    return QJsonDocument::fromJson(net(QStringLiteral("show --json ") + interface).output).object();
}
} // namespace

class TestLabVantorNet : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(Lab::isHere(), "tests/network/inside.sh runs this program");
        QVERIFY(mServer.start({QStringLiteral("--dhcp-option=option:dns-server,10.20.0.1,10.20.0.3"),
            QStringLiteral("--dhcp-option=option:domain-name,lab")}));
    }

    void configureNeedsAYes()
    {
        const QByteArray before = Lab::read(QStringLiteral("/etc/resolv.conf"));

        const Lab::Run run = net(QStringLiteral("configure --application tester"));

        QCOMPARE(run.exitCode, 64);
        for (const char *file : {"/etc/dhcp/dhclient-exit-hooks.d/ipdetails to /opt/tester/scripts/ipdetails",
                 "/etc/dnsmasq.conf", "/etc/resolv.conf", "nothing was changed; add --yes"})
            QVERIFY2(run.output.contains(file), run.output.constData());
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), before);
        QVERIFY(!QFile::exists(QStringLiteral("/run/systemctl.log")));
    }

    void configureConfigures()
    {
        QCOMPARE(net(QStringLiteral("configure --application tester --yes")).exitCode, 0);

        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.conf")), QByteArray("nameserver ::1\nnameserver 127.0.0.1\n"));
        QCOMPARE(QFile::symLinkTarget(QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails")),
            QStringLiteral("/opt/tester/scripts/ipdetails"));
    }

    void aConfigurationThatFailsIsToldOf()
    {
        const Lab::ReadOnly disk(QStringLiteral("/etc"));
        QVERIFY(disk.isReadOnly());

        const Lab::Run run = net(QStringLiteral("configure --application tester --yes"));

        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.output.endsWith("vantor-net: this failed: writing /etc/dnsmasq.conf, writing /etc/resolv.conf; "
                                     "--verbose tells why\n"),
            run.output.constData());
        QVERIFY(net(QStringLiteral("configure --application tester --yes --verbose"))
                    .output.contains("Failed to create /etc/resolv.conf\n"));
    }

    // It makes its link within the folder then, and has no complaint.
    void aFolderInPlaceOfTheHookIsToldOf()
    {
        const QString hook = QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails");
        QVERIFY(Lab::succeeds(QStringLiteral("mv %1 /run/hook; mkdir %1").arg(hook)));

        const Lab::Run run = net(QStringLiteral("configure --application tester --yes"));

        QVERIFY(Lab::succeeds(QStringLiteral("rm -r %1; mv /run/hook %1").arg(hook)));
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.output.endsWith("vantor-net: this failed: linking the hook; --verbose tells why\n"),
            run.output.constData());
    }

    void everyStepThatFailedIsNamed_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("removal");
        QTest::addColumn<QByteArray>("words");
        const auto row = [](const char *name, const char *obstacle, const char *removal, const char *words) {
            QTest::newRow(name) << QString::fromUtf8(obstacle) << QString::fromUtf8(removal) << QByteArray(words);
        };
        row("the first file under /tmp", "mkdir /tmp/dnsmasq.conf", "rmdir /tmp/dnsmasq.conf",
            "writing /tmp/dnsmasq.conf, which was the end");
        row("the first file", "mv /etc/dnsmasq.conf /run/away; mkdir /etc/dnsmasq.conf",
            "rmdir /etc/dnsmasq.conf; mv /run/away /etc/dnsmasq.conf", "writing /etc/dnsmasq.conf");
        row("the second file under /tmp", "mkdir /tmp/resolv.conf", "rmdir /tmp/resolv.conf",
            "writing /tmp/resolv.conf, which was the end");
        row("the hook and the restart", "mv /etc/dhcp/dhclient-exit-hooks.d /etc/dhcp/away; touch /run/systemctl.fails",
            "mv /etc/dhcp/away /etc/dhcp/dhclient-exit-hooks.d; rm /run/systemctl.fails",
            "linking the hook, restarting dnsmasq");
    }

    void everyStepThatFailedIsNamed()
    {
        QFETCH(QString, obstacle);
        QFETCH(QString, removal);
        QFETCH(QByteArray, words);
        QVERIFY(Lab::succeeds(obstacle));

        const Lab::Run run = net(QStringLiteral("configure --application tester --yes"));

        QVERIFY(Lab::succeeds(removal));
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.output.endsWith("vantor-net: this failed: " + words + "; --verbose tells why\n"),
            run.output.constData());
    }

    void anInterfaceIsShownWithAllThatIsKnown()
    {
        QString fileName;
        QVERIFY(NetworkHelper::createDhcpClientConfig(20, false, fileName));
        QVERIFY(Lab::succeeds(QStringLiteral("dhclient -4 -1 -cf %1 -lf /run/d0.l -pf /run/d0.pid d0; "
                                             "ip addr add fd00:20::2/64 dev d0")
                                  .arg(fileName)));
        QTRY_VERIFY_WITH_TIMEOUT(
            !shownJson(QStringLiteral("d0")).value(QLatin1String("ipv6Gateway")).toString().isEmpty(), Lab::patience);

        const QJsonObject shown = shownJson(QStringLiteral("d0"));

        QCOMPARE(shown.value(QLatin1String("interface")).toString(), QStringLiteral("d0"));
        QCOMPARE(shown.value(QLatin1String("mac")).toString(), QStringLiteral("02:00:00:00:00:01"));
        QVERIFY(shown.value(QLatin1String("address")).toString().startsWith(QLatin1String("10.20.0.5")));
        QCOMPARE(shown.value(QLatin1String("netmask")).toString(), QStringLiteral("255.255.255.0"));
        QCOMPARE(shown.value(QLatin1String("gateway")).toString(), QStringLiteral("10.20.0.1"));
        QCOMPARE(shown.value(QLatin1String("nameServers")).toArray(),
            (QJsonArray{QStringLiteral("10.20.0.1"), QStringLiteral("10.20.0.3")}));
        QCOMPARE(shown.value(QLatin1String("domain")).toString(), QStringLiteral("lab"));
        QCOMPARE(shown.value(QLatin1String("ipv6LinkLocal")).toString(), QStringLiteral("fe80::ff:fe00:1/64"));
        QVERIFY(shown.value(QLatin1String("ipv6Global")).toString().endsWith(QLatin1String("/64")));
        QVERIFY(shown.value(QLatin1String("ipv6Gateway")).toString().startsWith(QLatin1String("fe80::")));

        const Lab::Run text = net(QStringLiteral("show d0"));
        QCOMPARE(text.exitCode, 0);
        for (const char *line :
            {"d0\n", "\n  MAC address       02:00:00:00:00:01\n", "\n  netmask           255.255.255.0\n",
                "\n  gateway           10.20.0.1\n", "\n  name servers      10.20.0.1, 10.20.0.3\n",
                "\n  domain            lab\n", "\n  IPv6 link-local   fe80::ff:fe00:1/64\n"})
            QVERIFY2(text.output.contains(line), text.output.constData());
    }

    void whatIsEmptyIsNotTakenForNothing_data()
    {
        QTest::addColumn<QString>("problem");
        QTest::newRow("show ''") << "show needs the name of an interface, or none";
        QTest::newRow("dns add 10.20.0.1 '' --yes") << "dns add needs addresses and a domain that are not empty";
        QTest::newRow("dns add 10.20.0.1 --domain= --yes") << "dns add needs addresses and a domain that are not empty";
    }
    void whatIsEmptyIsNotTakenForNothing()
    {
        QFETCH(const QString, problem);
        const QByteArray before = Lab::read(QStringLiteral("/tmp/resolv.dmasq"));

        const Lab::Run run = net(QString::fromLatin1(QTest::currentDataTag()));

        QCOMPARE(run.exitCode, 64);
        QCOMPARE(run.output, "vantor-net: " + problem.toUtf8() + '\n');
        QCOMPARE(Lab::read(QStringLiteral("/tmp/resolv.dmasq")), before);
    }

    void allInterfacesAreShown()
    {
        const Lab::Run run = net(QStringLiteral("show --json"));

        QCOMPARE(run.exitCode, 0);
        QStringList names;
        const QList<QByteArray> lines = run.output.trimmed().split('\n');
        for (const QByteArray &line : lines)
            names << QJsonDocument::fromJson(line).object().value(QLatin1String("interface")).toString();
        names.sort();
        QCOMPARE(names, (QStringList{QStringLiteral("d0"), QStringLiteral("d1"), QStringLiteral("lo")}));
    }

    void anInterfaceThatIsNotThereIsToldOf()
    {
        const Lab::Run run = net(QStringLiteral("show d9"));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.output, QByteArray("vantor-net: there is no interface \"d9\"\n"));
    }

    void aRecordThatIsNotReadIsToldOf_data()
    {
        QTest::addColumn<QString>("planting");
        QTest::newRow("that others could have written") << QStringLiteral("echo ip_address=6.6.6.6 >%1; chmod 666 %1");
        QTest::newRow("a pipe") << QStringLiteral("mkfifo %1");
        QTest::newRow("a link that leads nowhere") << QStringLiteral("ln -s /nothing %1");
    }

    void whatTheKernelWasNotAskedForIsTold()
    {
        const Lab::Run run = Lab::shell(QStringLiteral("PATH=/nowhere ") + QCoreApplication::applicationDirPath()
            + QStringLiteral("/vantor-net show lo 2>&1 >/dev/null"));

        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.output,
            QByteArray("vantor-net: lo: the kernel could not be asked for the IPv6 link-local address\n"
                       "vantor-net: lo: the kernel could not be asked for the IPv6 global address\n"
                       "vantor-net: lo: the kernel could not be asked for the IPv6 gateway\n"));
    }

    void aRecordThatIsNotReadIsToldOf()
    {
        QFETCH(QString, planting);
        const QString record = NetworkHelper::getInterfaceIPDetailsFileName(QStringLiteral("lo"), false);
        QVERIFY(Lab::succeeds(planting.arg(record)));

        const Lab::Run run = net(QStringLiteral("show lo 2>&1 >/dev/null"));
        const Lab::Run json = net(QStringLiteral("show --json lo 2>/dev/null"));

        QVERIFY(Lab::succeeds(QStringLiteral("rm %1").arg(record)));
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.output, QStringLiteral("vantor-net: %1 is not read; --verbose tells why\n").arg(record).toUtf8());
        QVERIFY(!json.output.contains("6.6.6.6"));
    }

    void aRecordWithoutAnAddressIsShown()
    {
        const QString record = NetworkHelper::getInterfaceIPDetailsFileName(QStringLiteral("lo"), false);
        QVERIFY(Lab::succeeds(QStringLiteral("echo subnet_mask=255.0.0.0 >%1").arg(record)));

        const Lab::Run run = net(QStringLiteral("show lo 2>&1"));

        QVERIFY(Lab::succeeds(QStringLiteral("rm %1").arg(record)));
        QVERIFY2(run.output.contains("255.0.0.0") && !run.output.contains("not read"), run.output.constData());
    }

    void serversAreAddedAfterAYes()
    {
        const QByteArray before = Lab::read(QStringLiteral("/etc/resolv.dmasq"));
        const QString command = QStringLiteral("dns add 10.20.0.1 fd00:20::1 --domain lab");

        const Lab::Run plan = net(command);
        QCOMPARE(plan.exitCode, 64);
        QVERIFY(plan.output.contains("/tmp/resolv.dmasq.bkp") && plan.output.contains("/etc/resolv.dmasq"));
        QCOMPARE(Lab::read(QStringLiteral("/etc/resolv.dmasq")), before);

        QCOMPARE(net(command + QStringLiteral(" --yes")).exitCode, 0);
        QVERIFY(Lab::read(QStringLiteral("/etc/resolv.dmasq")).contains("nameserver fd00:20::1\ndomain lab\n"));
        const Lab::Run refused = net(QStringLiteral("dns add '10.20.0.1 x' --yes"));
        QCOMPARE(refused.exitCode, 1);
        QVERIFY2(
            refused.output.endsWith("this failed: taking these for name servers and a domain; --verbose tells why\n"),
            refused.output.constData());
    }

    void theStepAtWhichNoServersAreAddedIsNamed_data()
    {
        QTest::addColumn<QString>("obstacle");
        QTest::addColumn<QString>("removal");
        QTest::addColumn<QByteArray>("words");
        const auto row = [](const char *name, const char *obstacle, const char *removal, const char *words) {
            QTest::newRow(name) << QString::fromUtf8(obstacle) << QString::fromUtf8(removal) << QByteArray(words);
        };
        const char *const copying = "copying /etc/resolv.dmasq to /tmp/resolv.dmasq.bkp";
        row("the new list", "rm -f /tmp/resolv.dmasq.bkp; mkdir /tmp/resolv.dmasq.bkp", "rmdir /tmp/resolv.dmasq.bkp",
            copying);
        row("the present list", "rm -f /tmp/resolv.dmasq; mkdir /tmp/resolv.dmasq", "rmdir /tmp/resolv.dmasq", copying);
        row("the restart", "touch /run/systemctl.fails", "rm /run/systemctl.fails", "restarting dnsmasq");
    }

    void theStepAtWhichNoServersAreAddedIsNamed()
    {
        QFETCH(QString, obstacle);
        QFETCH(QString, removal);
        QFETCH(QByteArray, words);
        QVERIFY(Lab::succeeds(obstacle));

        const Lab::Run run = net(QStringLiteral("dns add 10.20.0.1 --yes"));

        QVERIFY(Lab::succeeds(removal));
        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.output.endsWith("vantor-net: this failed: " + words + "; --verbose tells why\n"),
            run.output.constData());
    }

    void aTextIsChecked_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QByteArray>("output");
        QTest::newRow("IPv4") << QStringLiteral("10.0.0.5") << 0
                              << QByteArray("strict IPv4     yes\nshorthand IPv4  yes\nIPv6            no\n");
        QTest::newRow("shorthand") << QStringLiteral("1.2.3") << 0
                                   << QByteArray("strict IPv4     no\nshorthand IPv4  yes\nIPv6            no\n");
        QTest::newRow("IPv6") << QStringLiteral("fd00::1") << 0
                              << QByteArray("strict IPv4     no\nshorthand IPv4  no\nIPv6            yes\n");
        QTest::newRow("none") << QStringLiteral("lab") << 1
                              << QByteArray("strict IPv4     no\nshorthand IPv4  no\nIPv6            no\n");
        QTest::newRow("as JSON") << QStringLiteral("1.2.3 --json") << 0
                                 << QByteArray("{\"text\":\"1.2.3\",\"ipAddressIsValid\":true,\"validateIpv4\":false,"
                                               "\"validateIpv6\":false}\n");
    }

    void aTextIsChecked()
    {
        QFETCH(QString, text);
        QFETCH(int, exitCode);
        QFETCH(QByteArray, output);

        const Lab::Run run = net(QStringLiteral("check ") + text);

        QCOMPARE(run.exitCode, exitCode);
        QCOMPARE(run.output, output);
    }

    void aMacAddressIsParsedOrMade()
    {
        QCOMPARE(net(QStringLiteral("mac parse A1:b2:C3:d4:e5:F6")).output,
            QByteArray("a1:b2:c3:d4:e5:f6  177789161760246\n"));
        QCOMPARE(net(QStringLiteral("mac parse a1b2")).exitCode, 1);
        const Lab::Run random = net(QStringLiteral("mac random"));
        QCOMPARE(random.exitCode, 0);
        QVERIFY(random.output.startsWith("02:"));
        QCOMPARE(random.output.size(), 18);
    }

    void wrongUsageIsToldOf_data()
    {
        QTest::addColumn<QString>("arguments");
        for (const char *arguments :
            {"", "nothing", "show d0 d1", "check", "check 1 2", "mac", "mac parse", "mac random 1", "dns", "dns add",
                "dns add ''", "dns remove 1", "dns add 1 2 3", "configure now", "show --yes", "check 1 --domain x",
                "mac random --json", "configure --application ../x", "show --application x", "--nothing"})
            QTest::newRow(*arguments ? arguments : "no command") << QString::fromUtf8(arguments);
    }

    void wrongUsageIsToldOf()
    {
        QFETCH(QString, arguments);

        const Lab::Run run = net(arguments);

        QCOMPARE(run.exitCode, 64);
        QVERIFY(run.output.startsWith("vantor-net: "));
        QCOMPARE(run.output.count('\n'), 1);
    }

    void helpAndVersionAreShown()
    {
        const Lab::Run help = net(QStringLiteral("--help"));
        QCOMPARE(help.exitCode, 0);
        QVERIFY(help.output.contains("dns add PRIMARY [SECONDARY]"));
        const Lab::Run version = net(QStringLiteral("--version"));
        QCOMPARE(version.exitCode, 0);
        QVERIFY(version.output.startsWith("vantor-net "));
    }

    void aReportThatCannotBeWrittenIsToldOf() { QCOMPARE(net(QStringLiteral("show >/dev/full")).exitCode, 74); }

    void aPlanThatCannotBeWrittenIsCarriedOutAndToldOf_data()
    {
        QTest::addColumn<QString>("command");
        for (const char *command : {"configure --application tester --yes", "dns add 10.20.0.1 --yes"})
            QTest::newRow(command) << QString::fromUtf8(command);
    }

    void aPlanThatCannotBeWrittenIsCarriedOutAndToldOf()
    {
        QFETCH(QString, command);
        QVERIFY(Lab::succeeds(QStringLiteral("rm -f /run/systemctl.log")));

        const Lab::Run run = net(command + QStringLiteral(" >/dev/full"));

        QCOMPARE(run.exitCode, 74);
        QVERIFY2(run.output.contains("cannot write to stdout"), run.output.constData());
        QVERIFY(QFile::exists(QStringLiteral("/run/systemctl.log")));
    }

    void anApplicationWithoutAHookIsNotConfigured()
    {
        QVERIFY(Lab::succeeds(QStringLiteral("rm -f /etc/dhcp/dhclient-exit-hooks.d/ipdetails /run/systemctl.log")));

        const Lab::Run run = net(QStringLiteral("configure --application TYPO --yes"));

        QCOMPARE(run.exitCode, 1);
        QVERIFY2(run.output.contains("there is no /opt/TYPO/scripts/ipdetails; nothing was changed"),
            run.output.constData());
        QVERIFY(!QFileInfo(QStringLiteral("/etc/dhcp/dhclient-exit-hooks.d/ipdetails")).isSymLink());
        QVERIFY(!QFile::exists(QStringLiteral("/run/systemctl.log")));
    }

private:
    Lab::PeerServer mServer;
};

QTEST_GUILESS_MAIN(TestLabVantorNet)
#include "tst_lab_vantor_net.moc"
