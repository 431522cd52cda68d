// SPDX-License-Identifier: Apache-2.0
#include "Helpers/DhcpRecord_p.h"
#include "LogCapture.h"

#include <QBuffer>
#include <QFile>
#include <QtTest>

namespace {
using Values = QStringList; // address, netmask, gateway, primary and secondary server, domain

const QString none = QStringLiteral("-");

std::optional<DhcpRecord> readAny(const QByteArray &text, DhcpRecord::Family family)
{
    QBuffer buffer;
    buffer.setData(text);
    buffer.open(QIODevice::ReadOnly);
    return DhcpRecord::read(&buffer, family);
}

DhcpRecord readText(const QByteArray &text, DhcpRecord::Family family)
{
    return readAny(text, family).value_or(DhcpRecord());
}

Values listed(const DhcpRecord &record)
{
    Values values;
    for (const QString &value : record.values)
        values << value;
    return values;
}

Values values(const char *address, const char *netmask, const char *gateway, const char *primary, const char *secondary,
    const char *domain)
{
    Values result;
    for (const char *value : {address, netmask, gateway, primary, secondary, domain})
        result << QString::fromUtf8(value);
    return result;
}
} // namespace

Q_DECLARE_METATYPE(DhcpRecord::Family)

class TestDhcpRecord : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aRecordIsReadByItsKeys_data()
    {
        constexpr auto v4 = DhcpRecord::Family::IPv4;
        constexpr auto v6 = DhcpRecord::Family::IPv6;
        QTest::addColumn<DhcpRecord::Family>("family");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("hasAddress");
        QTest::addColumn<Values>("expected");

        QTest::newRow("IPv4") << v4
                              << QByteArray("ip_address=10.0.0.5\nsubnet_mask=255.255.255.0\nrouters=10.0.0.1\n"
                                            "domain_name_servers=10.0.0.2 10.0.0.3 10.0.0.4\ndomain_name=lab\n")
                              << true << values("10.0.0.5", "255.255.255.0", "10.0.0.1", "10.0.0.2", "10.0.0.3", "lab");
        QTest::newRow("IPv6") << v6
                              << QByteArray("ip6_address=fd00::5\nip6_prefixlen=128\n"
                                            "dhcp6_name_servers=fd00::2 fd00::3\ndomain_name=lab\n")
                              << true << values("fd00::5", "128", "-", "fd00::2", "fd00::3", "lab");
        QTest::newRow("without an address") << v4 << QByteArray("subnet_mask=255.0.0.0\nrouters=10.0.0.1\n") << false
                                            << values("-", "255.0.0.0", "10.0.0.1", "-", "-", "-");
        QTest::newRow("one server") << v4 << QByteArray("domain_name_servers=10.0.0.2") << false
                                    << values("-", "-", "-", "10.0.0.2", "-", "-");
        QTest::newRow("many blanks between servers")
            << v4 << QByteArray("domain_name_servers=   10.0.0.2    10.0.0.3  ") << false
            << values("-", "-", "-", "10.0.0.2", "10.0.0.3", "-");
        QTest::newRow("no server") << v4 << QByteArray("domain_name_servers=") << false
                                   << values("-", "-", "-", "-", "-", "-");
        QTest::newRow("only blanks for a server")
            << v4 << QByteArray("domain_name_servers=  \nip_address=1") << true << values("1", "-", "-", "-", "-", "-");
        QTest::newRow("empty value") << v4 << QByteArray("ip_address=\nrouters=\n") << true
                                     << values("", "-", "", "-", "-", "-");
        QTest::newRow("empty values of IPv6") << v6 << QByteArray("domain_name=\nip6_address=\nip6_prefixlen==64")
                                              << true << values("", "", "-", "-", "-", "");
        QTest::newRow("behind a line of 64 KiB") << v4 << "x=" + QByteArray(65536, 'x') + "\nip_address=10.0.0.5\n"
                                                 << true << values("10.0.0.5", "-", "-", "-", "-", "-");
        QTest::newRow("no equals sign") << v4 << QByteArray("ip_address\n10.0.0.5\n=\n") << false
                                        << values("-", "-", "-", "-", "-", "-");
        QTest::newRow("two equals signs") << v4 << QByteArray("ip_address=10.0.0.5=6\ndomain_name=a=b") << true
                                          << values("10.0.0.5", "-", "-", "-", "-", "a");
        QTest::newRow("blanks around a line")
            << v4 << QByteArray("  ip_address=10.0.0.5 \t\r\n") << true << values("10.0.0.5", "-", "-", "-", "-", "-");
        QTest::newRow("blanks inside belong to key and value")
            << v4 << QByteArray("ip_address = 10.0.0.5\nrouters= 1") << false << values("-", "-", " 1", "-", "-", "-");
        QTest::newRow("the last of two counts") << v4 << QByteArray("routers=10.0.0.1\nrouters=10.0.0.2\n") << false
                                                << values("-", "-", "10.0.0.2", "-", "-", "-");
        QTest::newRow("keys of the other family") << v4 << QByteArray("ip6_address=fd00::5\nip6_prefixlen=64") << false
                                                  << values("-", "-", "-", "-", "-", "-");
        QTest::newRow("IPv4 keys in IPv6") << v6 << QByteArray("ip_address=10.0.0.5\nrouters=10.0.0.1") << false
                                           << values("-", "-", "-", "-", "-", "-");
        QTest::newRow("longer and shorter keys") << v4 << QByteArray("ip_addresses=1\nip_addres=2\nIP_ADDRESS=3")
                                                 << false << values("-", "-", "-", "-", "-", "-");
        QTest::newRow("no line end") << v4 << QByteArray("ip_address=10.0.0.5") << true
                                     << values("10.0.0.5", "-", "-", "-", "-", "-");
        QTest::newRow("empty") << v4 << QByteArray() << false << values("-", "-", "-", "-", "-", "-");
        QTest::newRow("bytes") << v4 << QByteArray("\xff\xfe\0\x80=\0\n\xff\n", 9) << false
                               << values("-", "-", "-", "-", "-", "-");
    }

    void aRecordIsReadByItsKeys()
    {
        QFETCH(DhcpRecord::Family, family);
        QFETCH(QByteArray, text);
        QFETCH(bool, hasAddress);
        QFETCH(Values, expected);
        const LogCapture log;

        const DhcpRecord record = readText(text, family);

        QCOMPARE(listed(record), expected);
        QCOMPARE(record.hasAddress, hasAddress);
    }

    void everyLineIsLogged()
    {
        const LogCapture log;

        readText("ip_address=10.0.0.5\n other\n\nlast", DhcpRecord::Family::IPv4);

        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: line= \"ip_address=10.0.0.5\""),
                QStringLiteral("debug: line= \" other\""), QStringLiteral("debug: line= \"\""),
                QStringLiteral("debug: line= \"last\"")}));
    }

    void aFileIsReadUpToItsLimitOrNotAtAll()
    {
        constexpr int largest = 4 * 1024 * 1024; // bytes
        const LogCapture log;
        const QByteArray start = "ip_address=10.0.0.5\n";
        const QByteArray end = "\nrouters=10.0.0.1";
        const QByteArray whole = start + QByteArray(largest - start.size() - end.size(), 'x') + end;

        const std::optional<DhcpRecord> record = readAny(whole, DhcpRecord::Family::IPv4);

        QVERIFY(record);
        QVERIFY(record->hasAddress);
        QCOMPARE(record->values[NetworkHelper::Gateway], QStringLiteral("10.0.0.1"));
        QVERIFY(!readAny(whole + '\n', DhcpRecord::Family::IPv4));
    }

    void ofAnEndlessFileNotMuchIsRead()
    {
        const LogCapture log;
        QFile endless(QStringLiteral("/dev/zero"));
        QVERIFY(endless.open(QIODevice::ReadOnly));

        QVERIFY(!DhcpRecord::read(&endless, DhcpRecord::Family::IPv4));
    }
};

QTEST_GUILESS_MAIN(TestDhcpRecord)
#include "tst_dhcprecord.moc"
