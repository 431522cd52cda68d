// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"
#include "JsonOutput.h"
#include "PaintedFaces.h"

#include <QBuffer>
#include <QImageWriter>
#include <QtTest>

#include <random>

namespace {
constexpr int truncatedFiles = 50; // of each format
constexpr int mutatedFiles = 60; // of each format
constexpr int mostMutations = 24; // of one file

QByteArray encoded(const QImage &image, const QByteArray &format)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    QImageWriter(&buffer, format).write(image);
    return bytes;
}

/// Changes bytes here and there; every second time in the first ones, where the structure is.
QByteArray mutated(QByteArray bytes, std::mt19937 &random)
{
    const auto below = [&random](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
    const int reach = below(2) == 0 ? qMin(200, bytes.size()) : bytes.size();
    for (int mutation = below(mostMutations); mutation >= 0; --mutation) {
        const int at = below(reach);
        switch (below(4)) {
        case 0:
            bytes[at] = static_cast<char>(below(256));
            break;
        case 1:
            bytes[at] = static_cast<char>(below(2) == 0 ? 0x00 : 0xFF);
            break;
        case 2:
            bytes[at] = static_cast<char>(bytes[at] ^ (1 << below(8)));
            break;
        default:
            bytes.insert(at, below(4), '\0');
        }
    }
    return bytes;
}
} // namespace

class TestVantorInspectBadInput : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void damagedFilesGiveEntriesAndNeverACrash_data()
    {
        QTest::addColumn<QByteArray>("format");
        QTest::newRow("JPEG") << QByteArray("jpeg");
        QTest::newRow("PNG") << QByteArray("png");
        QTest::newRow("BMP") << QByteArray("bmp");
        QTest::newRow("PNM") << QByteArray("ppm");
        QTest::newRow("TIFF") << QByteArray("tiff");
        QTest::newRow("WebP") << QByteArray("webp");
    }

    void damagedFilesGiveEntriesAndNeverACrash()
    {
        QFETCH(QByteArray, format);
        const QByteArray whole = encoded(badFace(), format);
        QVERIFY(whole.size() > 1000);
        QTemporaryDir folder;
        QStringList images;
        const auto add = [&](const char *kind, int number, const QByteArray &bytes) {
            images.append(folder.filePath(
                QStringLiteral("%1-%2.jpg").arg(QLatin1String(kind)).arg(number, 3, 10, QLatin1Char('0'))));
            QFile file(images.last());
            return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
        };
        std::mt19937 random(20240229);
        for (int i = 0; i < mutatedFiles; ++i)
            QVERIFY(add("mutated", i, mutated(whole, random)));
        for (int i = 0; i < truncatedFiles; ++i) { // the first ones lack next to nothing
            const int missing = i < 8 ? i + 1 : 1 + static_cast<int>(random() % static_cast<unsigned>(whole.size()));
            QVERIFY(add("truncated", i, whole.chopped(missing)));
        }
        QVERIFY(add("whole", 0, whole));

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--jobs=2"), folder.path()});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.messages, QByteArray());
        QCOMPARE(run.temporaryFiles, QStringList());
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), static_cast<std::size_t>(images.size()));
        int errors = 0;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            const QString image = objects[i][QStringLiteral("image")].toString();
            const QString reason = objects[i][QStringLiteral("reason")].toString();
            const bool error = objects[i][QStringLiteral("error")].toBool();
            QCOMPARE(image, images[static_cast<int>(i)]);
            QCOMPARE(schemaViolation(objects[i]), QString());
            QCOMPARE(reason.isEmpty(), !error);
            QVERIFY2(!reason.startsWith(QStringLiteral("the analysis")), qPrintable(image + reason));
            QVERIFY2(error || !image.contains(QStringLiteral("truncated")), qPrintable(image));
            errors += error ? 1 : 0;
        }
        QVERIFY2(errors >= truncatedFiles / 2, qPrintable(QString::number(errors)));
        QCOMPARE(objects.back()[QStringLiteral("error")].toBool(), false);
        QCOMPARE(objects.back()[QStringLiteral("passed")].toBool(), false);
    }
};

QTEST_GUILESS_MAIN(TestVantorInspectBadInput)
#include "tst_vantor_inspect_badinput.moc"
