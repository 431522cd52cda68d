// SPDX-License-Identifier: Apache-2.0
#include "Internal/JsonWriter.h"
#include "common/FileNameCodec.h"
#include "common/FolderListing.h"
#include "common/Terminal.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <random>
#include <unistd.h>

using Tools::FileNameCodec;
using Tools::FolderListing;

class TestFileNames : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyNameComesBackUnchanged_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<bool>("isText");
        QTest::newRow("ASCII") << QByteArray("face.jpg") << true;
        QTest::newRow("UTF-8 of two bytes") << QByteArray("St\xC3\xB6rung.jpg") << true;
        QTest::newRow("UTF-8 of three bytes") << QByteArray("\xE6\xB8\xAC.jpg") << true;
        QTest::newRow("UTF-8 of four bytes") << QByteArray("\xF0\x9F\x94\xAC.jpg") << true;
        QTest::newRow("Latin-1") << QByteArray("St\xF6rung.jpg") << false;
        QTest::newRow("cut short") << QByteArray("face\xE6\xB8") << false;
        QTest::newRow("overlong") << QByteArray("\xC0\xAF\xE0\x80\xAF") << false;
        QTest::newRow("surrogate in UTF-8") << QByteArray("\xED\xB3\xB6.jpg") << false;
        QTest::newRow("a pair of surrogates in UTF-8") << QByteArray("\xED\xA0\xBD\xED\xB4\xAC") << false;
        QTest::newRow("beyond Unicode") << QByteArray("\xF4\x90\x80\x80\xFF") << false;
        QTest::newRow("a last byte alone") << QByteArray("\x80") << false;
    }

    void everyNameComesBackUnchanged()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, isText);

        const QString text = QFile::decodeName(name);

        QCOMPARE(QFile::encodeName(text), name);
        QCOMPARE(FileNameCodec::isText(text), isText);
        if (isText)
            QCOMPARE(text, QString::fromUtf8(name));
        QCOMPARE(QByteArray::fromPercentEncoding(FileNameCodec::percentEncoded(text).toLatin1()), name);
    }

    void randomNamesComeBackUnchanged()
    {
        std::mt19937 random(1);
        const QByteArray pieces("\xC3\xA9\xED\xB2\x80\xF0\x9F\x98\x80\xE2\x80\xAE/a\\\x1B\xFF\xC0", 18);
        for (int run = 0; run < 20000; ++run) {
            QByteArray name;
            for (auto i = random() % 12; i > 0; --i)
                name += random() % 2 == 0 ? static_cast<char>(1 + random() % 255)
                                          : pieces.at(static_cast<int>(random() % 18));
            QCOMPARE(QFile::encodeName(QFile::decodeName(name)), name);
        }
    }

    void filesOfAnyNameCanBeOpened()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QFile::decodeName("\xF6\xED\xB2\x80\xFF"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));

        QVERIFY(QFile::exists(path));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files), QStringList{QFileInfo(path).fileName()});
    }

    void whatControlsATerminalIsPrintedAsBytes_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<QString>("printed");
        const auto row = [](const char *title, const char *name, const char *printed) {
            QTest::newRow(title) << QByteArray(name) << QString::fromUtf8(printed);
        };
        row("plain", "a b.jpg", "a b.jpg");
        row("umlaut", "St\xC3\xB6rung", "St\xC3\xB6rung");
        row("Latin-1", "St\xF6rung", "St\\xf6rung");
        row("escape", "a\033[2Jb", "a\\x1b[2Jb");
        row("line break", "a\nb\r", "a\\x0ab\\x0d");
        row("delete", "a\x7F", "a\\x7f");
        row("C1 control", "a\xC2\x9B", "a\\xc2\\x9b");
        row("right to left override", "a\xE2\x80\xAEgpj", "a\\xe2\\x80\\xaegpj");
        row("isolate", "\xE2\x81\xA6", "\\xe2\\x81\\xa6");
        row("line separator", "\xE2\x80\xA8", "\\xe2\\x80\\xa8");
        row("byte order mark", "\xEF\xBB\xBF", "\\xef\\xbb\\xbf");
        row("invisible tag", "a\xF3\xA0\x81\x81", "a\\xf3\\xa0\\x81\\x81");
        row("format of music", "\xF0\x9D\x85\xB3", "\\xf0\\x9d\\x85\\xb3");
        row("half of a pair", "\xED\xA0\xBD", "\\xed\\xa0\\xbd");
        row("emoji with a joiner", "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x94\xAC",
            "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x94\xAC");
        row("backslash", "a\\x1b", "a\\\\x1b");
    }

    void whatControlsATerminalIsPrintedAsBytes()
    {
        QFETCH(QByteArray, name);
        QFETCH(QString, printed);

        QCOMPARE(Tools::Terminal::printableName(QFile::decodeName(name)), printed);
    }

    void jsonIsAlwaysValidAndHarmless()
    {
        QString everything(QLatin1String("\"\\\n\t\033\x7F"));
        everything += QString::fromUtf8("\xC2\x9B\xE2\x80\xAE\xE2\x80\xA8\xF0\x9F\x94\xAC");
        const QByteArray json =
            JsonWriter().beginArray().value(everything + QFile::decodeName("\xF6")).endArray().bytes();

        QCOMPARE(QJsonDocument::fromJson(json).array().at(0).toString(), everything + QChar(0xFFFD));
        QCOMPARE(Tools::Terminal::printable(QString::fromUtf8(json)), QString::fromUtf8(json));
    }

    void aFolderWithTooManyEntriesIsCutShortAndSaysSo()
    {
        const QTemporaryDir folder(QStringLiteral("/dev/shm/vantor-test-XXXXXX"));
        const QByteArray path = QFile::encodeName(folder.path());
        const QByteArray first = path + "/0.png";
        QVERIFY(QFile(folder.filePath(QStringLiteral("0.png"))).open(QIODevice::WriteOnly));
        for (int i = 1; i <= FolderListing::mostEntries; ++i)
            QCOMPARE(link(first.constData(), (path + '/' + QByteArray::number(i) + ".png").constData()), 0);

        const FolderListing listing = FolderListing::of(folder.path(), {QStringLiteral("png")});

        QCOMPARE(listing.files.size(), FolderListing::mostEntries);
        QVERIFY2(listing.problem.contains(QStringLiteral("more than 100000 entries")), qPrintable(listing.problem));
    }
};

int main(int argc, char **argv)
{
    FileNameCodec::install();
    QCoreApplication application(argc, argv);
    TestFileNames test;
    return QTest::qExec(&test, argc, argv);
}
#include "tst_file_names.moc"
