// SPDX-License-Identifier: Apache-2.0
#include "Helpers/ResolverFile_p.h"
#include "LogCapture.h"

#include <QtTest>

class TestResolverFile : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatIsMissingIsAppended_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("primary");
        QTest::addColumn<QString>("secondary");
        QTest::addColumn<QString>("domain");
        QTest::addColumn<QByteArray>("missing");
        const auto row = [](const char *name, const char *text, const char *primary, const char *secondary,
                             const char *domain, const char *missing) {
            QTest::newRow(name) << QByteArray(text) << QString::fromUtf8(primary) << QString::fromUtf8(secondary)
                                << QString::fromUtf8(domain) << QByteArray(missing);
        };
        row("all", "", "10.0.0.2", "10.0.0.3", "lab", "nameserver 10.0.0.2\nnameserver 10.0.0.3\ndomain lab\n");
        row("primary alone", "", "10.0.0.2", "", "", "nameserver 10.0.0.2\n");
        row("secondary alone", "", "", "10.0.0.3", "", "nameserver 10.0.0.3\n");
        row("equal servers come twice", "", "10.0.0.2", "10.0.0.2", "", "nameserver 10.0.0.2\nnameserver 10.0.0.2\n");
        row("nothing, all there", "domain lab\nnameserver 10.0.0.3\nnameserver 10.0.0.2\n", "10.0.0.2", "10.0.0.3",
            "lab", "");
        row("secondary", "nameserver 10.0.0.2\n", "10.0.0.2", "10.0.0.3", "", "nameserver 10.0.0.3\n");
        row("equal servers that are there", "nameserver 10.0.0.2\n", "10.0.0.2", "10.0.0.2", "", "");
        row("IPv6", "nameserver fd00::2\n", "fd00::2", "fd00::3", "", "nameserver fd00::3\n");
        row("several domains", "", "10.0.0.2", "", "lab lan", "nameserver 10.0.0.2\ndomain lab lan\n");
        row("domain of blanks", "", "10.0.0.2", "", "  ", "nameserver 10.0.0.2\n");
        row("several domains, there", "domain lab lan\n", "10.0.0.2", "", "lab lan", "nameserver 10.0.0.2\n");
        row("another domain", "domain lan\n", "10.0.0.2", "", "lab", "nameserver 10.0.0.2\ndomain lab\n");
        row("no line end", "nameserver 10.0.0.9", "10.0.0.2", "", "", "\nnameserver 10.0.0.2\n");
        row("no line end and nothing missing", "nameserver 10.0.0.2", "10.0.0.2", "", "", "");
        row("blanks around", "   nameserver    10.0.0.2   # d0\n", "10.0.0.2", "", "", "");
        row("a server in a comment", "# nameserver 10.0.0.2\n", "10.0.0.2", "", "", "nameserver 10.0.0.2\n");
        row("keyword alone", "nameserver\ndomain\n", "10.0.0.2", "", "lab", "nameserver 10.0.0.2\ndomain lab\n");
        row("longer server", "nameserver 10.0.0.22\n", "10.0.0.2", "", "", "nameserver 10.0.0.2\n");
        row("longer keyword counts", "nameservers 10.0.0.2\n", "10.0.0.2", "", "", "");
        row("tabs do not cut", "nameserver\t10.0.0.2\n", "10.0.0.2", "", "", "nameserver 10.0.0.2\n");
        row("only a line end", "\n", "10.0.0.2", "", "", "nameserver 10.0.0.2\n");
    }

    void whatIsMissingIsAppended()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, primary);
        QFETCH(QString, secondary);
        QFETCH(QString, domain);
        QFETCH(QByteArray, missing);
        const LogCapture log;
        const ResolverFile::Entries wanted{primary, secondary, domain};

        QCOMPARE(ResolverFile::missingLines(text, wanted), missing);
        QCOMPARE(ResolverFile::missingLines(text + missing, wanted), QByteArray());
    }

    void everyLineIsLogged()
    {
        const LogCapture log;

        ResolverFile::missingLines(" domain lab \nlast", {QStringLiteral("x"), {}, {}});

        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: line= \" domain lab \""), QStringLiteral("debug: line= \"last\"")}));
    }

    void anEntryIsOneWord_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isValid");
        const auto row = [](const char *name, const QString &text, bool isValid) {
            QTest::newRow(name) << text << isValid;
        };
        row("empty", QString(), true);
        row("IPv4", QStringLiteral("10.0.0.2"), true);
        row("IPv6 with a zone", QStringLiteral("fe80::1%eth0"), true);
        row("international domain", QString::fromUtf8("prüfer.example"), true);
        row("line feed", QStringLiteral("a\nb"), false);
        row("carriage return", QStringLiteral("a\r"), false);
        row("no-break space", QString(QChar(QChar::Nbsp)), false);
        row("null character", QString(QChar(0)), false);
        row("escape", QString(QChar(27)), false);
    }

    void anEntryIsOneWord()
    {
        QFETCH(QString, text);
        QFETCH(bool, isValid);

        QCOMPARE((ResolverFile::Entries{text, {}, {}}.isValid()), isValid);
        QCOMPARE((ResolverFile::Entries{{}, text, {}}.isValid()), isValid);
        QCOMPARE((ResolverFile::Entries{{}, {}, text}.isValid()), isValid);
    }

    void onlyDomainsMayBeSeveral()
    {
        const QString words = QStringLiteral("lab lan");

        QVERIFY((ResolverFile::Entries{{}, {}, words}.isValid()));
        QVERIFY(!(ResolverFile::Entries{words, {}, {}}.isValid()));
        QVERIFY(!(ResolverFile::Entries{{}, words, {}}.isValid()));
    }
};

QTEST_GUILESS_MAIN(TestResolverFile)
#include "tst_resolverfile.moc"
