// SPDX-License-Identifier: Apache-2.0
#include "Helpers/NetworkHelper.h"
#include "Helpers/OrvelStringValidator.h"

#include <QtTest>

class TestOrvelStringValidator : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void eachCheckAcceptsItsKindOfText_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isAddress"); // by NetworkHelper, which knows shorthand
        QTest::addColumn<bool>("isIpv4");
        QTest::addColumn<bool>("isIpv6");
        const auto row = [](const char *text, bool isAddress, bool isIpv4, bool isIpv6) {
            QTest::newRow(*text ? text : "empty") << QString::fromUtf8(text) << isAddress << isIpv4 << isIpv6;
        };
        row("", false, false, false);
        row("10.0.0.5", true, true, false);
        row("0.0.0.0", true, true, false);
        row("255.255.255.255", true, true, false);
        row("256.0.0.1", false, false, false);
        row("1.2.3", true, false, false);
        row("1", true, false, false);
        row("0x7f.1", true, false, false);
        row("010.0.0.1", true, false, false);
        row("1.2.3.4 junk", true, false, false);
        row(" 1.2.3.4", false, false, false);
        row("1.2.3.4.5", false, false, false);
        row("1.2.3.", false, false, false);
        row("-1.2.3.4", false, false, false);
        row("one", false, false, false);
        row("::", false, false, true);
        row("::1", false, false, true);
        row("fe80::250:b6ff:fe29:9222", false, false, true);
        row("FE80::1", false, false, true);
        row("::ffff:10.0.0.5", false, false, true);
        row("1:2:3:4:5:6:7:8", false, false, true);
        row("1:2:3:4:5:6:7:8:9", false, false, false);
        row("fe80::1/64", false, false, false);
        row("fe80::1%eth0", false, false, false);
        row("[::1]", false, false, false);
        row(":::", false, false, false);
        row("12345::", false, false, false);
        row("١.٢.٣.٤", false, false, false);
    }

    void eachCheckAcceptsItsKindOfText()
    {
        QFETCH(QString, text);
        QFETCH(bool, isAddress);
        QFETCH(bool, isIpv4);
        QFETCH(bool, isIpv6);

        QCOMPARE(NetworkHelper::ipAddressIsValid(text), isAddress);
        QCOMPARE(OrvelStringValidator::validateIpv4(text), isIpv4);
        QCOMPARE(OrvelStringValidator::validateIpv6(text), isIpv6);
    }

    void textBehindANullCharacterIsNotOverlooked()
    {
        QVERIFY(!NetworkHelper::ipAddressIsValid(QStringLiteral("1.2.3.4") + QChar(0) + QStringLiteral("x")));
        QVERIFY(!OrvelStringValidator::validateIpv4(QStringLiteral("1.2.3.4") + QChar(0)));
        QVERIFY(!OrvelStringValidator::validateIpv6(QStringLiteral("::1") + QChar(0)));
        QVERIFY(!NetworkHelper::ipAddressIsValid(QString(QChar(0))));
    }

    void theUserInterfaceCanCallIt()
    {
        QObject parent;
        auto *const validator = new OrvelStringValidator(&parent);
        bool ipv4 = false;
        bool ipv6 = true;

        QVERIFY(QMetaObject::invokeMethod(
            validator, "validateIpv4", Q_RETURN_ARG(bool, ipv4), Q_ARG(QString, QStringLiteral("1.2.3.4"))));
        QVERIFY(QMetaObject::invokeMethod(
            validator, "validateIpv6", Q_RETURN_ARG(bool, ipv6), Q_ARG(QString, QStringLiteral("1.2.3.4"))));

        QVERIFY(ipv4);
        QVERIFY(!ipv6);
    }
};

QTEST_GUILESS_MAIN(TestOrvelStringValidator)
#include "tst_orvelstringvalidator.moc"
