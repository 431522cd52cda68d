// SPDX-License-Identifier: Apache-2.0
#include "Helpers/UnitHelper.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QTranslator>
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
        QCOMPARE(QProcess::execute(
                     QStringLiteral(VANTOR_LUPDATE), options + folders + QStringList{QStringLiteral("-ts"), copy}),
            0);

        QCOMPARE(contentOf(copy), before);
        QVERIFY(before.contains("<translation>"));
        QVERIFY2(!before.contains("type=\"unfinished\""), "run the target update_translations, then translate");
    }
};

QTEST_GUILESS_MAIN(TestTranslations)
#include "tst_translations.moc"
