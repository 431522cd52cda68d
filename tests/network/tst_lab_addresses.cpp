// SPDX-License-Identifier: Apache-2.0
// What NetworkHelper asks the kernel and the real ip program.
#include "Helpers/NetworkHelper.h"
#include "Lab.h"
#include "LogCapture.h"

#include <QDir>
#include <QtTest>

namespace {
const QString d0 = QStringLiteral("d0");
const QString untouched = QStringLiteral("untouched");

int openFiles()
{
    return int(QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size());
}
} // namespace

class TestLabAddresses : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(Lab::isHere(), "tests/network/inside.sh runs this program"); }

    void cleanup()
    {
        Lab::shell(QStringLiteral("ip -4 addr flush dev d0; ip -6 addr flush dev d0 scope global; "
                                  "ip link set d0 down; ip link set d0 up"));
    }

    void theMacAddressIsThatOfTheCable()
    {
        QString text = untouched;
        QVector<unsigned char> bytes;
        const LogCapture log;

        QVERIFY(NetworkHelper::getMACAddress(QStringLiteral("d1"), text));
        QVERIFY(NetworkHelper::getMACAddress(QStringLiteral("d1"), bytes));

        QCOMPARE(text, QStringLiteral("02:00:00:00:01:01"));
        QCOMPARE(bytes, (QVector<unsigned char>{2, 0, 0, 0, 1, 1}));
    }

    void aMacAddressIsThereWhileTheCableIsDown()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(QStringLiteral("ip link set d0 down")));
        QString text;

        QVERIFY(NetworkHelper::getMACAddress(d0, text));
        QCOMPARE(text, QStringLiteral("02:00:00:00:00:01"));
    }

    void namesAreComparedWhole()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(QStringLiteral("ip link add d00 address 02:00:00:00:99:99 type bridge")));
        QString text = untouched;

        QVERIFY(!NetworkHelper::getMACAddress(QStringLiteral("d"), text));
        QCOMPARE(text, QString());
        QVERIFY(NetworkHelper::getMACAddress(d0, text));
        QCOMPARE(text, QStringLiteral("02:00:00:00:00:01"));
        QVERIFY(Lab::succeeds(QStringLiteral("ip link del d00")));
    }

    void theIPv4AddressIsTheKernels()
    {
        QString address = untouched;
        QVERIFY(!NetworkHelper::getIPv4Address(d0, address));
        QCOMPARE(address, untouched);

        QVERIFY(Lab::succeeds(
            QStringLiteral("ip addr add 10.20.0.200/24 dev d0; ip addr add 10.20.1.1/24 dev d0 label d0:1")));

        QVERIFY(NetworkHelper::getIPv4Address(d0, address));
        QCOMPARE(address, QStringLiteral("10.20.0.200"));
        QVERIFY(NetworkHelper::getIPv4Address(QStringLiteral("d0:1"), address));
        QCOMPARE(address, QStringLiteral("10.20.1.1"));
        QVERIFY(NetworkHelper::getIPv4Address(QStringLiteral("lo"), address));
        QCOMPARE(address, QStringLiteral("127.0.0.1"));
    }

    void anInterfaceThatIsNotThereHasNothing()
    {
        const LogCapture log;
        QString text = untouched;

        QVERIFY(!NetworkHelper::getIPv4Address(QStringLiteral("d9"), text));
        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(QStringLiteral("d9"), text));
        QVERIFY(!NetworkHelper::getIPv6GlobalAddress(QStringLiteral("d9"), text));
        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d9"), text));
        QCOMPARE(text, untouched);
        QVERIFY(log.warnings().contains(QStringLiteral("ip -o -6 addr show dev d9 scope link")));
    }

    void theLongestNameIsNoTrouble()
    {
        QVERIFY(Lab::succeeds(
            QStringLiteral("ip link add fifteen-letters type bridge; ip addr add 10.9.9.9/32 dev fifteen-letters")));
        QString address;

        QVERIFY(NetworkHelper::getIPv4Address(QStringLiteral("fifteen-letters"), address));
        QCOMPARE(address, QStringLiteral("10.9.9.9"));
        QVERIFY(Lab::succeeds(QStringLiteral("ip link del fifteen-letters")));
    }

    void noQueryLeavesAFileOpen()
    {
        const LogCapture log;
        QString text;
        NetworkHelper::getIPv4Address(d0, text);
        const int before = openFiles();

        for (int i = 0; i < 10; ++i) {
            NetworkHelper::getIPv4Address(d0, text);
            NetworkHelper::getIPv4Address(QStringLiteral("d9"), text);
            NetworkHelper::getMACAddress(d0, text);
            NetworkHelper::getMACAddress(QStringLiteral("d9"), text);
        }

        QCOMPARE(openFiles(), before);
    }

    void theLinkLocalAddressFollowsTheCable()
    {
        const LogCapture log;
        QString address = untouched;
        QTRY_VERIFY(NetworkHelper::getIPv6LinkLocalAddress(d0, address));
        QCOMPARE(address, QStringLiteral("fe80::ff:fe00:1/64"));

        QVERIFY(Lab::succeeds(QStringLiteral("ip link set d0 down")));
        address = untouched;

        QVERIFY(!NetworkHelper::getIPv6LinkLocalAddress(d0, address));
        QCOMPARE(address, untouched);
    }

    void theGlobalAddressIsAnother()
    {
        const LogCapture log;
        QString address = untouched;
        QVERIFY(!NetworkHelper::getIPv6GlobalAddress(d0, address));
        QCOMPARE(address, untouched);

        QVERIFY(Lab::succeeds(QStringLiteral("ip addr add fd00:20::2/64 dev d0")));

        QVERIFY(NetworkHelper::getIPv6GlobalAddress(d0, address));
        QCOMPARE(address, QStringLiteral("fd00:20::2/64"));
    }

    void theGatewayIsThatOfTheInterface()
    {
        const LogCapture log;
        QString gateway = untouched;
        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(d0, gateway));
        QCOMPARE(gateway, untouched); // ip prints nothing

        QVERIFY(Lab::succeeds(QStringLiteral("ip -6 route add default via fe80::1 dev d0")));

        QVERIFY(NetworkHelper::getIPv6DefaultGateway(d0, gateway));
        QCOMPARE(gateway, QStringLiteral("fe80::1"));
        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(QStringLiteral("d1"), gateway));
    }

    void aDefaultRouteOnTheLinkHasNoGateway()
    {
        const LogCapture log;
        QVERIFY(Lab::succeeds(QStringLiteral("ip -6 route add default dev d0")));
        QString gateway = untouched;

        QVERIFY(!NetworkHelper::getIPv6DefaultGateway(d0, gateway));
        QCOMPARE(gateway, untouched);
    }

    void aRouterTellsItsAddress()
    {
        const LogCapture log;
        Lab::PeerServer peer;
        QVERIFY(peer.start());
        QString gateway;

        QTRY_VERIFY_WITH_TIMEOUT(NetworkHelper::getIPv6DefaultGateway(d0, gateway), Lab::patience);
        QVERIFY(Lab::succeeds(QStringLiteral("ip -n peer -6 addr show dev p0 | grep -qF %1/64").arg(gateway)));
    }

    void anInterfaceWithALinkLocalAddressIsFound()
    {
        const LogCapture log;
        QString name = untouched;
        QTRY_VERIFY(NetworkHelper::getIPv6LinkLocalInterfaceName(name));
        QVERIFY2(name == d0 || name == QLatin1String("d1"), qPrintable(name));

        QVERIFY(Lab::succeeds(QStringLiteral("ip link set d0 down; ip link set d1 down")));
        name = untouched;
        QVERIFY(!NetworkHelper::getIPv6LinkLocalInterfaceName(name));
        QCOMPARE(name, untouched);
        QVERIFY(Lab::succeeds(QStringLiteral("ip link set d1 up")));
        QTRY_VERIFY(NetworkHelper::getIPv6LinkLocalInterfaceName(name));
        QCOMPARE(name, QStringLiteral("d1"));
    }
};

QTEST_GUILESS_MAIN(TestLabAddresses)
#include "tst_lab_addresses.moc"
