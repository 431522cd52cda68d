// SPDX-License-Identifier: Apache-2.0
#include "Helpers/UnitHelper.h"
#include "ProgramRun.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>
#include <QTranslator>
#include <QXmlStreamReader>
#include <QtTest>

class TestTranslations : public QObject
{
    Q_OBJECT

private:
    const QString mSources = QStringLiteral(VANTOR_SOURCE_FOLDER);

    static QStringList translatedTexts()
    {
        QTimer timer;
        timer.start(125500);
        QStringList texts{UnitHelper::remainingTimeString(&timer)};
        timer.start(5500);
        texts << UnitHelper::remainingTimeString(&timer);
        for (const quint64 rate : {5ULL, 5000ULL, 5000000ULL, 5000000000ULL})
            texts << UnitHelper::formatBitsPerSecondDataRate(rate, 2);
        return texts;
    }

    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

private Q_SLOTS:
    void theLibraryLoadsNothingByItself()
    {
        const QStringList english{QStringLiteral("2 min"), QStringLiteral("5 sec"), QStringLiteral("5 bps"),
            QStringLiteral("5 Kbps"), QStringLiteral("5 Mbps"), QStringLiteral("5 Gbps")};

        QCOMPARE(translatedTexts(), english);
    }

    void theGermanCatalogueIsComplete()
    {
        const QStringList german{QStringLiteral("2 Min."), QStringLiteral("5 Sek."), QStringLiteral("5 bit/s"),
            QStringLiteral("5 kbit/s"), QStringLiteral("5 Mbit/s"), QStringLiteral("5 Gbit/s")};
        const QStringList english = translatedTexts();
        QTranslator translator;

        QVERIFY(translator.load(QStringLiteral("VantorBase_de"), QStringLiteral(VANTOR_TRANSLATIONS)));
        QVERIFY(QCoreApplication::installTranslator(&translator));
        const QStringList texts = translatedTexts();
        const QString manual = QCoreApplication::translate("QObject", "Manual");
        QVERIFY(QCoreApplication::removeTranslator(&translator));

        QCOMPARE(texts, german);
        QCOMPARE(manual, QStringLiteral("Manuell"));
        QCOMPARE(translatedTexts(), english);
    }

    void otherTextsAreNotTranslated()
    {
        QTranslator translator;
        QVERIFY(translator.load(QStringLiteral("VantorBase_de"), QStringLiteral(VANTOR_TRANSLATIONS)));
        QVERIFY(QCoreApplication::installTranslator(&translator));
        const QString bytes = UnitHelper::bytesToReadable(1536, 1);
        QVERIFY(QCoreApplication::removeTranslator(&translator));

        QCOMPARE(bytes, QStringLiteral("1.5 kB"));
    }

    void aThingHasOneGermanWord_data()
    {
        QTest::addColumn<QString>("english");
        QTest::addColumn<QString>("german");
        const auto row = [](const char *english, const char *german) {
            QTest::newRow(english) << QString::fromUtf8(english) << QString::fromUtf8(german);
        };
        row("end faces?", "Stirnfläche");
        row("focus knob", "Fokusknopf");
        row("(defects?|blemish(es)?)", "Fehlstelle");
        row("records?", "Datens");
        row("points?", "Messpunkt");
        row("panel", "Verteilerfeld");
        row("details", "Details");
        row("scope", "Mikroskop");
        row("standards?", "Norm");
    }
    void aThingHasOneGermanWord()
    {
        QFETCH(const QString, english);
        QFETCH(const QString, german);
        const QRegularExpression thing(
            QStringLiteral("\\b%1\\b").arg(english), QRegularExpression::CaseInsensitiveOption);
        int texts = 0;

        for (const char *const name : {"VantorBase_de.ts", "VantorTester_de.ts"}) {
            QFile file(mSources + QStringLiteral("/translations/") + QLatin1String(name));
            QVERIFY(file.open(QIODevice::ReadOnly));
            QXmlStreamReader catalogue(&file);
            QString source;
            while (!catalogue.atEnd()) {
                if (catalogue.readNext() != QXmlStreamReader::StartElement)
                    continue;
                if (catalogue.name() == QLatin1String("source"))
                    source = catalogue.readElementText();
                if (catalogue.name() != QLatin1String("translation") || !thing.match(source).hasMatch())
                    continue;
                const QString translation = catalogue.readElementText(QXmlStreamReader::IncludeChildElements);
                QVERIFY2(translation.contains(german, Qt::CaseInsensitive),
                    qPrintable(source + QLatin1String(": ") + translation));
                ++texts;
            }
        }
        QVERIFY(texts > 0);
    }

    void everyCatalogueIsUpToDate_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("folders");

        const QDir folder(mSources + QStringLiteral("/translations"));
        const QStringList names = folder.entryList({QStringLiteral("*.ts")});
        QVERIFY(!names.isEmpty());
        const QStringList ofLibrary{mSources + QStringLiteral("/src"), mSources + QStringLiteral("/qml")};
        const QStringList ofTester{mSources + QStringLiteral("/apps")};
        for (const QString &name : names)
            QTest::newRow(qPrintable(name))
                << name << (name.startsWith(QLatin1String("VantorTester")) ? ofTester : ofLibrary);
    }

    void everyCatalogueIsUpToDate()
    {
        QFETCH(const QString, name);
        QFETCH(const QStringList, folders);
        const QTemporaryDir copies;
        const QString copy = copies.filePath(name);
        QVERIFY(QFile::copy(mSources + QStringLiteral("/translations/") + name, copy));
        const QByteArray before = contentOf(copy);

        const QStringList options{QStringLiteral("-silent"), QStringLiteral("-no-obsolete"),
            QStringLiteral("-locations"), QStringLiteral("none")};
        QCOMPARE(
            ProgramRun::of(QStringLiteral(VANTOR_LUPDATE), options + folders + QStringList{QStringLiteral("-ts"), copy})
                .exitCode,
            0);

        QCOMPARE(contentOf(copy), before);
        QVERIFY(before.contains("<translation>"));
        QVERIFY2(!before.contains("type=\"unfinished\""), "run the target update_translations, then translate");
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
