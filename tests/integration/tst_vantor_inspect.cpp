// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Geometry.h"
#include "FiberInspection/Standard.h"
#include "InspectProgram.h"
#include "Internal/Csv.h"
#include "JsonOutput.h"
#include "PaintedFaces.h"

#include <QJsonArray>
#include <QtTest>

#include <cmath>
#include <sys/stat.h>
#include <unistd.h>

using FiberInspection::Standard;

namespace {
QStringList reportLine(const QString &line)
{
    return line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

/// Splits one record of CSV as RFC 4180 says; `text` may hold several lines within quotes.
QVector<QStringList> csvRecords(const QString &text)
{
    QVector<QStringList> records;
    QStringList fields;
    QString field;
    bool inQuotes = false;
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        const bool isQuote = character == QLatin1Char('"');
        if (inQuotes && isQuote && i + 1 < text.size() && text.at(i + 1) == character) {
            field += character;
            ++i;
        } else if (isQuote) {
            inQuotes = !inQuotes;
        } else if (!inQuotes && (character == QLatin1Char(',') || character == QLatin1Char('\n'))) {
            fields.append(field);
            field.clear();
            if (character == QLatin1Char('\n')) {
                records.append(fields);
                fields.clear();
            }
        } else {
            field += character;
        }
    }
    return records;
}

QString onlyReason(const InspectRun &run)
{
    const std::vector<QJsonObject> objects = jsonLines(run.output);
    return objects.size() == 1 ? objects[0][QStringLiteral("reason")].toString() : QStringLiteral("no single line");
}
} // namespace

class TestVantorInspect : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mFolder;
    QString mGood; ///< one file
    QString mBad; ///< one file
    QString mNoFibre; ///< one file
    QString mMissing;

    QString in(const QString &name) const { return mFolder.filePath(name); }

    QString save(const QImage &image, const QString &name) const
    {
        QDir().mkpath(QFileInfo(in(name)).path());
        return image.save(in(name)) ? in(name) : QStringLiteral("cannot save %1").arg(name);
    }

    QString write(const QByteArray &bytes, const QString &name) const
    {
        QFile file(in(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? in(name) : QString();
    }

    QString newFolder(const QString &name) const
    {
        QDir().mkpath(in(name));
        return in(name);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        mGood = save(goodFace(), QStringLiteral("good.png"));
        mBad = save(badFace(), QStringLiteral("bad.jpg"));
        mNoFibre = save(noFace(), QStringLiteral("nofibre.png"));
        mMissing = in(QStringLiteral("missing.png"));
    }

    // --- usage

    void wrongUsageEndsWith64AndOneLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("named");
        const auto row = [](const char *name, const char *arguments, const char *named) {
            QTest::newRow(name) << QString::fromUtf8(arguments).split(QLatin1Char(' ')) << QString::fromUtf8(named);
        };
        row("unknown option", "--nonsense x.png", "nonsense");
        row("unknown short option", "-x x.png", "'x'");
        row("unknown standard", "--standard sm-rl99 x.png", "sm-rl99");
        row("unknown standard in a list", "--standard mm,nonsense x.png", "sm-rl26, sm-rl35, sm-rl45, sm-apc, mm");
        row("unfinished list of standards", "--standard mm, x.png", "--standard");
        row("empty standard", "--standard= x.png", "--standard");
        row("standard without a value", "x.png --standard", "standard");
        row("standard not gradable", "--standard manual x.png", "manual");
        row("field of view without height", "--fov 860 x.png", "--fov");
        row("field of view of nothing", "--fov 0x645 x.png", "--fov");
        row("negative field of view", "--fov 860x-645 x.png", "--fov");
        row("huge field of view", "--fov 999999x999999 x.png", "--fov");
        row("field of view in words", "--fov wide x.png", "--fov");
        row("scale 0", "--scale 0 x.png", "--scale");
        row("negative scale", "--scale -1 x.png", "--scale");
        row("scale nan", "--scale nan x.png", "--scale");
        row("scale inf", "--scale inf x.png", "--scale");
        row("tiny scale", "--scale 1e-30 x.png", "--scale");
        row("huge scale", "--scale 1e30 x.png", "--scale");
        row("scale with a unit", "--scale 2x x.png", "--scale");
        row("no jobs", "--jobs 0 x.png", "--jobs");
        row("negative jobs", "--jobs -2 x.png", "--jobs");
        row("half a job", "--jobs 1.5 x.png", "--jobs");
        row("too many jobs", "--jobs 257 x.png", "--jobs");
        row("jobs beyond int", "-j 99999999999 x.png", "--jobs");
        row("no time", "--timeout 0 x.png", "--timeout");
        row("more than an hour", "--timeout 3601 x.png", "--timeout");
        row("no repetition", "--repeat 0 x.png", "--repeat");
        row("repeat in words", "--repeat often x.png", "--repeat");
        row("json and csv", "--json --csv x.png", "--csv");
        row("json with a value", "--json=1 x.png", "json");
        row("quiet and verbose", "--quiet --verbose x.png", "--quiet");
        row("steps without a folder", "--steps x.png", "--steps");
        row("empty output folder", "--out= x.png", "--out");
        row("output folder without a value", "x.png --out", "out");
        row("two lists of standards", "--standard mm --standard sm-rl45 x.png", "--standard is given twice");
        row("a folder by two names of one option", "-o a --out b x.png", "is given twice");
        row("a list in another form", "--list-standards --json", "--list-standards goes with no other option");
        row("an image that would not be graded", "--list-standards x.png", "--list-standards takes no image");
        QTest::newRow("no image") << QStringList{} << QStringLiteral("--help");
        QTest::newRow("wrong usage outweighs what else is wrong")
            << QStringList{mMissing, mBad, QStringLiteral("--jobs"), QStringLiteral("x")} << QStringLiteral("--jobs");
    }

    void wrongUsageEndsWith64AndOneLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, named);

        const InspectRun run = runInspect(arguments);

        QCOMPARE(run.exitCode, 64);
        QCOMPARE(run.output, QByteArray());
        QCOMPARE(run.messageLines().size(), 1);
        QVERIFY2(run.messageLines().at(0).startsWith(QStringLiteral("vantor-inspect: ")), run.messages.constData());
        QVERIFY2(run.messageLines().at(0).contains(named), run.messages.constData());
    }

    void helpNamesEveryOption()
    {
        const InspectRun run = runInspect({QStringLiteral("--help")});

        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.messages, QByteArray());
        for (const char *const option : {"--standard", "--list-standards", "--fov", "--scale", "--steps", "--out",
                 "--jobs", "--timeout", "--repeat", "--json", "--csv", "--quiet", "--verbose", "--version", "--help"})
            QVERIFY2(run.output.contains(option), option);
    }

    void helpTellsTheFieldOfViewOfTheScope()
    {
        const QSize fov = FiberInspection::Device::ks20().fov;

        const InspectRun run = runInspect({QStringLiteral("--help")});

        const QString told = QStringLiteral("(default: %1x%2)").arg(fov.width()).arg(fov.height());
        QVERIFY2(run.output.simplified().contains(told.toUtf8()), run.output.constData());
    }

    void versionIsOneLine()
    {
        const InspectRun run = runInspect({QStringLiteral("--version")});

        QCOMPARE(run.exitCode, 0);
        QVERIFY(QRegularExpression(QStringLiteral("^vantor-inspect \\d+\\.\\d+\\.\\d+\n$"))
                    .match(QString::fromUtf8(run.output))
                    .hasMatch());
    }

    void listOfStandardsTellsZonesAndRules()
    {
        const InspectRun run = runInspect({QStringLiteral("--list-standards")});
        const QString text = QString::fromUtf8(run.output).simplified();

        QCOMPARE(run.exitCode, 0);
        const QVector<QPair<QString, Standard::Id>> standards{
            {QStringLiteral("sm-rl26"), Standard::IEC61300_3_35_SM_RL26},
            {QStringLiteral("sm-rl35"), Standard::IEC61300_3_35_SM_RL35},
            {QStringLiteral("sm-rl45"), Standard::IEC61300_3_35_SM_RL45},
            {QStringLiteral("sm-apc"), Standard::IEC61300_3_35_SM_APC},
            {QStringLiteral("mm"), Standard::IEC61300_3_35_MM},
        };
        int start = 0;
        for (const auto &[name, id] : standards) {
            start = text.indexOf(name + QLatin1Char(' ') + Standard::name(id), start);
            QVERIFY2(start >= 0, qPrintable(name));
            int ruleStart = start;
            const QVector<FiberInspection::Rule> rules = Standard(id).core().rules;
            for (const FiberInspection::Rule &rule : rules) {
                ruleStart = text.indexOf(rule.toString(), ruleStart + 1);
                QVERIFY2(ruleStart >= 0, qPrintable(name + rule.toString()));
            }
        }
        QVERIFY(text.contains(QStringLiteral("Core 0 to 25 \u00B5m")));
        QVERIFY(text.contains(QStringLiteral("Core 0 to 65 \u00B5m")));
        QVERIFY(text.contains(QStringLiteral("Cladding 65 to 110 \u00B5m")));
        QVERIFY(text.contains(QStringLiteral("Contact 135 to 250 \u00B5m not graded")));
    }

    // --- verdicts and exit codes

    void exitCodeTellsTheWorst_data()
    {
        QTest::addColumn<QStringList>("images");
        QTest::addColumn<int>("exitCode");

        QTest::newRow("passed") << QStringList{mGood} << 0;
        QTest::newRow("failed") << QStringList{mBad} << 1;
        QTest::newRow("passed and failed") << QStringList{mGood, mBad} << 1;
        QTest::newRow("no fibre") << QStringList{mNoFibre} << 2;
        QTest::newRow("missing") << QStringList{mMissing} << 2;
        QTest::newRow("missing and failed") << QStringList{mMissing, mBad} << 2;
        QTest::newRow("failed and missing") << QStringList{mBad, mMissing} << 2;
        QTest::newRow("empty folder") << QStringList{newFolder(QStringLiteral("empty"))} << 2;
        QTest::newRow("empty name") << QStringList{QString()} << 2;
    }

    void exitCodeTellsTheWorst()
    {
        QFETCH(QStringList, images);
        QFETCH(int, exitCode);

        for (const char *const option : {"--json", "--csv", "--quiet", "--jobs=2"}) {
            const InspectRun run = runInspect(QStringList{QString::fromUtf8(option)} + images);
            QCOMPARE(run.exitCode, exitCode);
            QCOMPARE(run.temporaryFiles, QStringList());
        }
    }

    void whatCannotBeAnalysedIsOneLineAndDoesNotStopTheRest_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("reason");

        QFile jpeg(mBad);
        QVERIFY(jpeg.open(QIODevice::ReadOnly));
        const QByteArray truncated = jpeg.readAll().chopped(2000);
        const QByteArray oversized = QByteArray("\x89PNG\r\n\x1A\n")
            + QByteArray::fromHex("0000000D494844520001117000011170080000000000000000") // 70000 x 70000, gray
            + QByteArray::fromHex("0000000049454E44AE426082");

        const auto row = [](const char *name, const QString &file, const char *reason) {
            QTest::newRow(name) << file << QString::fromUtf8(reason);
        };
        row("missing", mMissing, "Failed to load image: no such file");
        row("truncated", write(truncated, QStringLiteral("truncated.jpg")),
            "Failed to load image: the image is incomplete");
        row("oversized", write(oversized, QStringLiteral("oversized.png")),
            "Failed to load image: 70000 x 70000 pixels are too many");
        row("empty", write({}, QStringLiteral("empty.jpg")), "Failed to load image: the file is empty");
        row("no image", write("hello", QStringLiteral("text.jpg")),
            "Failed to load image: not an image of a known format");
        row("no fibre", mNoFibre, "Failed to detect cladding");
        row("device", QStringLiteral("/dev/null"), "Failed to load image: not a file");
        row("folder without images", newFolder(QStringLiteral("without/images")), "there is no image in the folder");
    }

    void whatCannotBeAnalysedIsOneLineAndDoesNotStopTheRest()
    {
        QFETCH(QString, file);
        QFETCH(QString, reason);
        const QStringList images{mGood, file, mGood};

        const InspectRun forPerson = runInspect(images);
        QCOMPARE(forPerson.messageLines(), QStringList{QStringLiteral("vantor-inspect: %1: %2").arg(file, reason)});
        QCOMPARE(forPerson.output.count("PASSED"), 2);

        const InspectRun everyStandard =
            runInspect(QStringList{QStringLiteral("--standard"), QStringLiteral("all")} + images);
        QCOMPARE(everyStandard.messageLines().size(), 1);

        const InspectRun json = runInspect(QStringList{QStringLiteral("--json")} + images);
        QCOMPARE(json.messages, QByteArray());
        const std::vector<QJsonObject> objects = jsonLines(json.output);
        QCOMPARE(objects.size(), std::size_t(3));
        QCOMPARE(schemaViolation(objects[1]), QString());
        QCOMPARE(objects[1][QStringLiteral("image")].toString(), file);
        QCOMPARE(objects[1][QStringLiteral("error")].toBool(), true);
        QCOMPARE(objects[1][QStringLiteral("passed")].toBool(), false);
        QCOMPARE(objects[1][QStringLiteral("reason")].toString(), reason);
        QCOMPARE(objects[2][QStringLiteral("passed")].toBool(), true);

        const InspectRun csv = runInspect(QStringList{QStringLiteral("--csv")} + images);
        QCOMPARE(csv.messages, QByteArray());
        const QVector<QStringList> records = csvRecords(QString::fromUtf8(csv.output));
        QCOMPARE(records.size(), 4);
        QCOMPARE(records[2][records[0].indexOf(QStringLiteral("reason"))], reason);
    }

    void aPipeIsNotWaitedFor()
    {
        const QString pipe = in(QStringLiteral("pipe.jpg"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);

        QCOMPARE(onlyReason(runInspect({QStringLiteral("--json"), pipe})),
            QStringLiteral("Failed to load image: not a file"));
    }

    void aFolderStandsForItsImagesByName()
    {
        newFolder(QStringLiteral("folder"));
        for (const char *const name : {"b.png", "a.JPG", "c.tiff", "d.webp", "e.bmp", "f.jpeg", "sub/no.png"})
            save(goodFace(), QStringLiteral("folder/") + QLatin1String(name));
        write("text", QStringLiteral("folder/notes.txt"));

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("folder/")}, mFolder.path());

        QStringList images;
        for (const QJsonObject &object : jsonLines(run.output)) {
            images.append(object[QStringLiteral("image")].toString());
            QVERIFY2(object[QStringLiteral("passed")].toBool(), qPrintable(images.last()));
        }
        const QStringList names{QStringLiteral("a.JPG"), QStringLiteral("b.png"), QStringLiteral("c.tiff"),
            QStringLiteral("d.webp"), QStringLiteral("e.bmp"), QStringLiteral("f.jpeg")};
        QStringList expected;
        for (const QString &name : names)
            expected.append(QStringLiteral("folder/") + name);
        QCOMPARE(images, expected);
    }

    // --- standards, field of view, scale

    void eachImageIsGradedByEachStandardInTheGivenOrder()
    {
        const InspectRun run = runInspect(
            {QStringLiteral("--json"), QStringLiteral("--standard"), QStringLiteral("mm,sm-rl26,mm"), mGood, mBad});

        QStringList results;
        for (const QJsonObject &object : jsonLines(run.output))
            results.append(QFileInfo(object[QStringLiteral("image")].toString()).baseName() + QLatin1Char(' ')
                + object[QStringLiteral("standard")].toString());
        QCOMPARE(results,
            (QStringList{QStringLiteral("good IEC61300_3_35_MM"), QStringLiteral("good IEC61300_3_35_SM_RL26"),
                QStringLiteral("bad IEC61300_3_35_MM"), QStringLiteral("bad IEC61300_3_35_SM_RL26")}));
    }

    void allStandardsAreFive()
    {
        const InspectRun run =
            runInspect({QStringLiteral("--json"), QStringLiteral("--standard"), QStringLiteral("all"), mGood});

        QStringList names;
        for (const QJsonObject &object : jsonLines(run.output)) {
            names.append(object[QStringLiteral("standard")].toString());
            QCOMPARE(schemaViolation(object), QString());
        }
        QCOMPARE(names,
            (QStringList{QStringLiteral("IEC61300_3_35_SM_RL26"), QStringLiteral("IEC61300_3_35_SM_RL35"),
                QStringLiteral("IEC61300_3_35_SM_RL45"), QStringLiteral("IEC61300_3_35_SM_APC"),
                QStringLiteral("IEC61300_3_35_MM")}));
    }

    void theFieldOfViewDecidesTheScaleOfMicrometres()
    {
        const InspectRun usual = runInspect({QStringLiteral("--json"), mGood});
        const InspectRun wide =
            runInspect({QStringLiteral("--json"), QStringLiteral("--fov"), QStringLiteral("1720x1290"), mGood});

        const QJsonObject usualObject = jsonLines(usual.output).at(0);
        const QJsonObject wideObject = jsonLines(wide.output).at(0);
        QCOMPARE(usualObject[QStringLiteral("pixelSize")].toDouble(), 1.075);
        QCOMPARE(wideObject[QStringLiteral("pixelSize")].toDouble(), 2.15);
        QCOMPARE(wideObject[QStringLiteral("reason")].toString(), QStringLiteral("Failed to detect cladding"));
    }

    void theScaleDividesTheImage()
    {
        const QString large = save(goodFace().scaled(1600, 1200, Qt::IgnoreAspectRatio, Qt::SmoothTransformation),
            QStringLiteral("large.png"));

        const InspectRun run =
            runInspect({QStringLiteral("--json"), QStringLiteral("--scale"), QStringLiteral("2"), large});

        const QJsonObject object = jsonLines(run.output).at(0);
        QCOMPARE(object[QStringLiteral("passed")].toBool(), true);
        QCOMPARE(object[QStringLiteral("pixelSize")].toDouble(), 1.075);
        const double x = object[QStringLiteral("cladding")].toObject()[QStringLiteral("x")].toDouble();
        QVERIFY2(std::abs(x - 410) < 2, qPrintable(QString::number(x)));
    }

    // --- JSON

    void jsonTellsWhatWasFound()
    {
        const InspectRun run = runInspect({QStringLiteral("--json"), mBad});

        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.messages, QByteArray());
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), std::size_t(1));
        const QJsonObject &object = objects[0];
        QCOMPARE(schemaViolation(object), QString());
        QCOMPARE(object[QStringLiteral("image")].toString(), mBad);
        QCOMPARE(object[QStringLiteral("standard")].toString(), QStringLiteral("IEC61300_3_35_SM_RL45"));
        QCOMPARE(object[QStringLiteral("standardName")].toString(), Standard::name(Standard::IEC61300_3_35_SM_RL45));
        QCOMPARE(object[QStringLiteral("error")].toBool(), false);
        QCOMPARE(object[QStringLiteral("reason")].toString(), QString());
        QCOMPARE(object[QStringLiteral("passed")].toBool(), false);
        QCOMPARE(object[QStringLiteral("resultImage")].toString(), QString());
        QVERIFY(object[QStringLiteral("elapsedMs")].toDouble() > 0);

        const QJsonObject cladding = object[QStringLiteral("cladding")].toObject();
        QVERIFY(std::abs(cladding[QStringLiteral("x")].toDouble() - 410) <= 1.5);
        QVERIFY(std::abs(cladding[QStringLiteral("y")].toDouble() - 290) <= 1.5);
        QVERIFY(std::abs(cladding[QStringLiteral("radius")].toDouble() - 58.1) <= 1.5);
        const QJsonArray crop = object[QStringLiteral("crop")].toArray();
        QCOMPARE(crop[2], crop[3]);
        QVERIFY(std::abs(crop[0].toDouble() + crop[2].toDouble() / 2 - 410) <= 2);

        const QJsonObject core = object[QStringLiteral("zones")].toObject()[QStringLiteral("Core")].toObject();
        QCOMPARE(core[QStringLiteral("violations")].toInt(), 1);
        const QJsonArray rules = core[QStringLiteral("rules")].toArray();
        const auto standardRules = Standard(Standard::IEC61300_3_35_SM_RL45).core().rules;
        QCOMPARE(rules.size(), standardRules.size());
        for (int i = 0; i < rules.size(); ++i) {
            const QJsonObject rule = rules[i].toObject();
            QCOMPARE(rule[QStringLiteral("rule")].toString(), standardRules[i].toString());
            QCOMPARE(rule[QStringLiteral("minSize")].toInt(-99), standardRules[i].minSize);
            QCOMPARE(rule[QStringLiteral("maxSize")].toInt(-99), standardRules[i].maxSize);
            QCOMPARE(rule[QStringLiteral("maxAllowedAmount")].toInt(-99), standardRules[i].maxAllowedAmount);
            const bool isViolated = standardRules[i].toString() == QStringLiteral("size > 3 [0]");
            QCOMPARE(rule[QStringLiteral("violated")].toBool(), isViolated);
            QCOMPARE(rule[QStringLiteral("defectCount")].toInt(-1), isViolated ? 1 : 0);
        }

        const QJsonArray defects = core[QStringLiteral("defects")].toArray();
        QCOMPARE(defects.size(), 1);
        const QJsonObject defect = defects[0].toObject();
        QCOMPARE(defect[QStringLiteral("type")].toString(), QStringLiteral("defect"));
        QCOMPARE(defect[QStringLiteral("causesFailure")].toBool(), true);
        const double size = defect[QStringLiteral("size")].toDouble();
        const double radius = defect[QStringLiteral("radius")].toDouble();
        QVERIFY(std::abs(size - 2 * radius * paintedMicronsPerPixel) < 0.001);
        QVERIFY2(size > 7 && size < 13, qPrintable(QString::number(size))); // 8 pixels wide, and its edge
        const QJsonObject center = defect[QStringLiteral("center")].toObject();
        QVERIFY(std::abs(center[QStringLiteral("x")].toDouble() - crop[2].toDouble() / 2 - 3) <= 2);
        QVERIFY(std::abs(center[QStringLiteral("y")].toDouble() - crop[2].toDouble() / 2 + 2) <= 2);
    }

    void jsonKeysComeInAFixedOrder()
    {
        const QByteArray line =
            runInspect({QStringLiteral("--json"), QStringLiteral("--repeat"), QStringLiteral("2"), mGood}).output;

        int last = -1;
        for (const char *const key : {"image", "standard", "standardName", "error", "reason", "passed", "resultImage",
                 "elapsedMs", "pixelSize", "cladding", "crop", "claddingColor", "colorAroundCore",
                 "colorAroundCladding", "contours", "rawDefects", "mergedDefects", "zones", "repeat"}) {
            const int at = line.indexOf(QByteArray("\"") + key + "\":", last + 1);
            QVERIFY2(at > last, key);
            last = at;
        }
    }

    void theSchemaRefusesWhatIsNotOurs_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("key too much") << QStringLiteral("more") << QJsonValue(1);
        QTest::newRow("text for a number") << QStringLiteral("contours") << QJsonValue(QStringLiteral("3"));
        QTest::newRow("no number") << QStringLiteral("elapsedMs") << QJsonValue(QJsonValue::Null);
        QTest::newRow("unknown standard") << QStringLiteral("standard") << QJsonValue(QStringLiteral("Manual"));
        QTest::newRow("crop of three") << QStringLiteral("crop") << QJsonValue(QJsonArray{1, 2, 3});
        QTest::newRow("zones missing") << QStringLiteral("zones") << QJsonValue(QJsonObject());
        QTest::newRow("key missing") << QStringLiteral("reason") << QJsonValue(QJsonValue::Undefined);
    }

    void theSchemaRefusesWhatIsNotOurs()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QJsonObject object = jsonLines(runInspect({QStringLiteral("--json"), mGood}).output).at(0);
        QCOMPARE(schemaViolation(object), QString());

        object.insert(key, value); // an undefined value removes the key

        QVERIFY(!schemaViolation(object).isEmpty());
    }

    // --- CSV

    void csvHasAHeaderAndOneRecordForEachResult()
    {
        const InspectRun run = runInspect({QStringLiteral("--csv"), QStringLiteral("--standard"),
            QStringLiteral("sm-rl45,mm"), mGood, mMissing, mBad});

        QCOMPARE(run.exitCode, 2);
        const QVector<QStringList> records = csvRecords(QString::fromUtf8(run.output));
        QCOMPARE(records.size(), 7);
        for (const QStringList &record : records)
            QCOMPARE(record.size(), records[0].size());
        QCOMPARE(records[0].mid(0, 7),
            QStringLiteral("image standard standardName error reason passed resultImage").split(QLatin1Char(' ')));
        QCOMPARE(records[1][5], QStringLiteral("true"));
        QCOMPARE(records[3][3], QStringLiteral("true"));
        QCOMPARE(records[6][1], QStringLiteral("IEC61300_3_35_MM"));
        QCOMPARE(records[6][5], QStringLiteral("false"));
        QCOMPARE(records[6][records[0].indexOf(QStringLiteral("coreViolations"))], QStringLiteral("1"));
        QCOMPARE(records[6][records[0].indexOf(QStringLiteral("pixelSize"))], QStringLiteral("1.075"));
    }

    // --- the report for a person

    void theReportIsATableAndEndsWithTheVerdict()
    {
        const InspectRun run = runInspect({mBad});
        const QStringList lines = run.outputLines();

        QVERIFY(!run.output.contains('\033'));
        QVERIFY(lines.first().startsWith(mBad));
        QVERIFY(lines.first().endsWith(Standard::name(Standard::IEC61300_3_35_SM_RL45)));
        QCOMPARE(
            reportLine(lines[1]), QStringLiteral("Zone Kind Criterion Allowed Found Verdict").split(QLatin1Char(' ')));
        const QStringList violated = lines.filter(QStringLiteral("size > 3 [0]"));
        QCOMPARE(violated.size(), 1);
        QCOMPARE(reportLine(violated[0]), QStringLiteral("Core defect size > 3 [0] 0 1 fail").split(QLatin1Char(' ')));
        QCOMPARE(reportLine(lines.filter(QStringLiteral("size < 2")).value(0)),
            QStringLiteral("Core defect size < 2 [\u221E] \u221E 0 pass").split(QLatin1Char(' ')));

        const int verdictColumn = lines[1].indexOf(QStringLiteral("Verdict"));
        for (int i = 2; i < 10; ++i)
            QVERIFY2(
                QStringList({QStringLiteral("pass"), QStringLiteral("fail")}).contains(lines[i].mid(verdictColumn)),
                qPrintable(lines[i]));

        const QStringList defects = lines.filter(QRegularExpression(QStringLiteral("^  Core +defect +[0-9.]+ +[+-]")));
        QCOMPARE(defects.size(), 1);
        const QStringList defect = reportLine(defects[0]);
        QVERIFY(std::abs(defect[3].toDouble() - 3 * paintedMicronsPerPixel) < 2);
        QVERIFY(std::abs(defect[4].toDouble() + 2 * paintedMicronsPerPixel) < 2);
        QCOMPARE(lines.last(), QString());
        QCOMPARE(lines.value(lines.size() - 2).trimmed(), QStringLiteral("FAILED"));
    }

    void manyFailingDefectsAreCutShort()
    {
        QVector<Spot> spots;
        for (int i = 0; i < 36; ++i) { // separate spots over the core zone of a multimode fibre
            const QPointF place((i % 6 - 2.5) * 9, (i / 6 - 2.5) * 9); // NOLINT(bugprone-integer-division)
            spots.append({place, 2});
        }
        const QString image = save(paintFace(spots), QStringLiteral("spots.png"));

        const InspectRun run = runInspect({QStringLiteral("--standard"), QStringLiteral("mm"), image});

        const QStringList lines = run.outputLines();
        const QStringList defects = lines.filter(QRegularExpression(QStringLiteral("^  Core +defect +[0-9.]+ +[+-]")));
        QCOMPARE(defects.size(), 20);
        QCOMPARE(lines.filter(QRegularExpression(QStringLiteral("^ +and \\d+ more$"))).size(), 1);
    }

    void severalImagesAreSummedUp()
    {
        const InspectRun run = runInspect({mGood, mBad, mMissing});

        QCOMPARE(run.outputLines().constLast(), QStringLiteral("3 inspections: 1 passed, 1 failed, 1 not analysed"));
    }

    void quietLeavesOnlyWhatWentWrong()
    {
        const InspectRun run = runInspect({QStringLiteral("--quiet"), mGood, mMissing, mBad});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(run.output, QByteArray());
        QCOMPARE(run.messageLines().size(), 1);
        QCOMPARE(jsonLines(runInspect({QStringLiteral("--quiet"), QStringLiteral("--json"), mGood}).output).size(),
            std::size_t(1));
    }

    void onlyVerboseShowsTheLogAndKeepsStdoutClean()
    {
        const InspectRun silent = runInspect({QStringLiteral("--json"), mBad});
        const InspectRun verbose = runInspect({QStringLiteral("--json"), QStringLiteral("--verbose"), mBad});

        QCOMPARE(silent.messages, QByteArray());
        QVERIFY(verbose.messageLines().contains(QStringLiteral("---- START BENCHMARK ----")));
        QVERIFY(verbose.messageLines().contains(QStringLiteral("TEST FAILED")));
        QCOMPARE(jsonLines(verbose.output).size(), std::size_t(1));
        QCOMPARE(schemaViolation(jsonLines(verbose.output)[0]), QString());
    }

    void aTerminalGetsColoursUnlessTheUserWantsNone()
    {
        const TerminalRun coloured = runInspectInTerminal({mBad});
        QCOMPARE(coloured.exitCode, 1);
        QVERIFY(coloured.output.contains("\033[1;31mFAILED\033[0m"));

        QVERIFY(!runInspectInTerminal({mBad}, {QStringLiteral("NO_COLOR=1")}).output.contains('\033'));
        QVERIFY(!runInspectInTerminal({mBad}, {QStringLiteral("TERM=dumb")}).output.contains('\033'));
        QVERIFY(!runInspectInTerminal({mBad, QStringLiteral("--json")}).output.contains('\033'));
    }

    void aTerminalGetsAProgressBarForSeveralImages()
    {
        const QByteArray blocks = QStringLiteral("\u2591\u2591").toUtf8();
        QVERIFY(runInspectInTerminal({mGood, mBad, mGood}).output.contains(blocks));
        QVERIFY(!runInspectInTerminal({mGood}).output.contains(blocks));
        QVERIFY(!runInspectInTerminal({mGood, mBad, QStringLiteral("--quiet")}).output.contains(blocks));
        QVERIFY(!runInspect({mGood, mBad, mGood}).messages.contains(blocks));
    }

    // --- repetition

    void repetitionCountsTheVerdicts()
    {
        const InspectRun json =
            runInspect({QStringLiteral("--json"), QStringLiteral("--repeat"), QStringLiteral("7"), mBad, mNoFibre});
        const std::vector<QJsonObject> objects = jsonLines(json.output);
        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(schemaViolation(objects[0]), QString());
        const auto counts = [&objects](std::size_t i) {
            const QJsonObject repeat = objects[i][QStringLiteral("repeat")].toObject();
            return QVector<int>{repeat[QStringLiteral("runs")].toInt(-1), repeat[QStringLiteral("passed")].toInt(-1),
                repeat[QStringLiteral("failed")].toInt(-1), repeat[QStringLiteral("errors")].toInt(-1)};
        };
        QCOMPARE(counts(0), (QVector<int>{7, 0, 7, 0}));
        QCOMPARE(counts(1), (QVector<int>{7, 0, 0, 7}));

        const InspectRun text = runInspect({QStringLiteral("--repeat"), QStringLiteral("3"), mGood});
        QVERIFY(text.output.contains("Of 3 runs: 3 passed, 0 failed, 0 not analysed\n"));

        QVERIFY(!jsonLines(runInspect({QStringLiteral("--json"), mGood}).output)[0].contains(QStringLiteral("repeat")));
    }

    // --- annotated images

    void withoutAnOutputFolderNothingIsLeft()
    {
        newFolder(QStringLiteral("inputs"));
        save(badFace(), QStringLiteral("inputs/face.jpg"));
        const QStringList before = listing(mFolder.path());

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("inputs")}, mFolder.path());

        QCOMPARE(run.exitCode, 1);
        QCOMPARE(listing(mFolder.path()), before);
        QCOMPARE(run.temporaryFiles, QStringList());
    }

    void theOutputFolderIsCreatedAndGetsTheAnnotatedCrop()
    {
        const QString out = in(QStringLiteral("new/nested/out folder"));

        const InspectRun run =
            runInspect({QStringLiteral("--json"), QStringLiteral("--out"), out, mBad, mGood, mMissing});

        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), std::size_t(3));
        QCOMPARE(objects[0][QStringLiteral("resultImage")].toString(), out + QStringLiteral("/bad_result.jpg"));
        QCOMPARE(objects[2][QStringLiteral("resultImage")].toString(), QString());
        QCOMPARE(QDir(out).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            (QStringList{QStringLiteral("bad_result.jpg"), QStringLiteral("good_result.jpg")}));
        const QImage annotated(out + QStringLiteral("/bad_result.jpg"));
        QCOMPARE(annotated.width(), objects[0][QStringLiteral("crop")].toArray()[2].toInt());
        QCOMPARE(run.temporaryFiles, QStringList());
    }

    void nothingIsKeptBehindALinkOfAnotherUser()
    {
        const QString elsewhere = in(QStringLiteral("elsewhere"));
        const QString open = in(QStringLiteral("open"));
        const QString link = open + QStringLiteral("/link");
        QVERIFY(QDir().mkpath(elsewhere) && QDir().mkpath(open));
        QCOMPARE(chmod(QFile::encodeName(open).constData(), 01777), 0);
        QVERIFY(QFile::link(elsewhere, link));
        if (lchown(QFile::encodeName(link).constData(), 12345, 12345) != 0)
            QSKIP("only root gives files away");
        const QString image = save(badFace(), QStringLiteral("plantedinput/face.png"));

        for (const QString &out : {link, link + QStringLiteral("/new")}) {
            const InspectRun run = runInspect({QStringLiteral("-o"), out, image});
            QVERIFY(run.exitCode > 1);
            QVERIFY2(run.messages.contains("another user has put a link there"), run.messages.constData());
        }
        QVERIFY(QDir(elsewhere).isEmpty());
    }

    void stepImagesLandInTheOutputFolder()
    {
        const QString out = in(QStringLiteral("steps"));
        const QString image = save(badFace(), QStringLiteral("stepinput/face.png"));

        const InspectRun run = runInspect({QStringLiteral("--steps"), QStringLiteral("-o"), out, image});

        QCOMPARE(run.exitCode, 1);
        QCOMPARE(run.messages, QByteArray());
        const QStringList files = QDir(out).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        QCOMPARE(files.size(), 15);
        QVERIFY(files.contains(QStringLiteral("face_01_gray.png")));
        QVERIFY(files.contains(QStringLiteral("face_12_cladding_defects_contours.png")));
        QVERIFY(files.contains(QStringLiteral("face_result.jpg")));
        for (const QString &file : files) {
            QVERIFY2(!QImage(QDir(out).filePath(file)).isNull(), qPrintable(file));
            QVERIFY2(!QFileInfo(QDir(out).filePath(file)).isSymLink(), qPrintable(file));
        }
        QCOMPARE(QDir(in(QStringLiteral("stepinput"))).entryList(QDir::Files), QStringList{QStringLiteral("face.png")});
        QCOMPARE(run.temporaryFiles, QStringList());
    }

    void equalBaseNamesGetNamesOfTheirOwn()
    {
        const QString out = in(QStringLiteral("same"));
        const QStringList images{save(badFace(), QStringLiteral("one/face.png")),
            save(goodFace(), QStringLiteral("two/face.png")), save(goodFace(), QStringLiteral("two/Face.jpg")),
            save(goodFace(), QStringLiteral("two/face-2.png"))};

        const InspectRun run = runInspect(
            QStringList{QStringLiteral("--json"), QStringLiteral("--jobs=2"), QStringLiteral("--out"), out} + images);

        QStringList names;
        for (const QJsonObject &object : jsonLines(run.output)) {
            const QString path = object[QStringLiteral("resultImage")].toString();
            QVERIFY2(QFileInfo(path).isFile(), qPrintable(path));
            names.append(QFileInfo(path).fileName().toLower());
        }
        QCOMPARE(names.size(), 4);
        QCOMPARE(names.removeDuplicates(), 0);
        QCOMPARE(QDir(out).entryList(QDir::Files).size(), 4);
    }

    void aMarkOfAPlaceInANameIsAName()
    {
        const QString out = in(QStringLiteral("marks"));
        const QStringList images{
            save(goodFace(), QStringLiteral("one/a%1.jpg")), save(goodFace(), QStringLiteral("two/a%1.jpg"))};

        runInspect(QStringList{QStringLiteral("--out"), out} + images);

        QCOMPARE(QDir(out).entryList(QDir::Files),
            (QStringList{QStringLiteral("a%1-2_result.jpg"), QStringLiteral("a%1_result.jpg")}));
    }

    void standardsGetNamesOfTheirOwn()
    {
        const QString out = in(QStringLiteral("standards"));

        runInspect({QStringLiteral("--standard"), QStringLiteral("sm-apc,mm"), QStringLiteral("--out"), out, mGood});

        QCOMPARE(QDir(out).entryList(QDir::Files),
            (QStringList{QStringLiteral("good_mm_result.jpg"), QStringLiteral("good_sm-apc_result.jpg")}));
    }

    void anInputInTheOutputFolderIsNotOverwritten()
    {
        const QString folder = newFolder(QStringLiteral("both"));
        save(badFace(), QStringLiteral("both/face.jpg"));
        save(goodFace(), QStringLiteral("both/face_result.jpg"));
        QFile input(folder + QStringLiteral("/face_result.jpg"));
        QVERIFY(input.open(QIODevice::ReadOnly));
        const QByteArray before = input.readAll();

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--out"), folder, folder});

        QCOMPARE(jsonLines(run.output).size(), std::size_t(2));
        QFile now(input.fileName());
        QVERIFY(now.open(QIODevice::ReadOnly));
        QCOMPARE(now.readAll(), before);
        QCOMPARE(QDir(folder).entryList(QDir::Files).size(), 4);
    }

    void anOutputFolderThatCannotBeUsedIsWrongUsage_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::newRow("file") << mGood;
        QTest::newRow("below a file") << mGood + QStringLiteral("/out");
        QTest::newRow("nobody can write there") << QStringLiteral("/proc/out");
    }

    void anOutputFolderThatCannotBeUsedIsWrongUsage()
    {
        QFETCH(QString, folder);

        const InspectRun run = runInspect({QStringLiteral("--out"), folder, mGood});

        QCOMPARE(run.exitCode, 64);
        QCOMPARE(run.output, QByteArray());
        QCOMPARE(run.messageLines().size(), 1);
        QVERIFY2(run.messageLines().at(0).contains(folder), run.messages.constData());
    }

    void anAnnotatedImageThatCannotBeWrittenIsToldAndTheVerdictStands()
    {
        const QString out = newFolder(QStringLiteral("blocked"));
        newFolder(QStringLiteral("blocked/good_result.jpg"));

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--out"), out, mGood});

        QCOMPARE(run.exitCode, 74);
        QCOMPARE(jsonLines(run.output).at(0)[QStringLiteral("passed")].toBool(), true);
        QCOMPARE(jsonLines(run.output).at(0)[QStringLiteral("resultImage")].toString(), QString());
        QCOMPARE(run.messageLines().size(), 1);
        QVERIFY2(run.messages.contains("good_result.jpg"), run.messages.constData());
        QCOMPARE(listing(out).size(), 1);
    }

    void anOutputFolderOnAnotherDeviceGetsWholeFiles()
    {
        QTemporaryDir memory(QStringLiteral("/dev/shm/vantor-test-XXXXXX"));
        QVERIFY(memory.isValid());

        const InspectRun run = runInspect({QStringLiteral("--steps"), QStringLiteral("--out"), memory.path(), mBad});

        QCOMPARE(run.messages, QByteArray());
        const QStringList files = QDir(memory.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        QCOMPARE(files.size(), 15);
        for (const QString &file : files)
            QVERIFY2(!QImage(memory.filePath(file)).isNull(), qPrintable(file));
        QCOMPARE(run.temporaryFiles, QStringList());
    }

    // --- names

    void everyFileNameIsPossible_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *const name : {"gr\u00fc\u00dfe \u6e2c\u8a66 \U0001F52C.png", "with blanks .png", "-dash.png",
                 "--json.png", "quote\".png", "comma,.png", "back\\slash.png", "new\nline.png", "tab\t.png",
                 "[a-z]*?.png", "%1%2.png", "no suffix", ".hidden.png"})
            QTest::newRow(name) << QString::fromUtf8(name);
    }

    void everyFileNameIsPossible()
    {
        QFETCH(QString, name);
        const QString folder = QStringLiteral("names");
        newFolder(folder);
        QVERIFY(goodFace().save(in(folder + QLatin1Char('/') + name), "png"));
        QTemporaryDir out;

        for (const char *const format : {"--json", "--csv"}) {
            InspectProgram program;
            program.setVariable("LC_ALL", QStringLiteral("C"));
            program.setWorkingDirectory(in(folder));
            program.begin({QLatin1String(format), QStringLiteral("--steps"), QStringLiteral("--out"), out.path(),
                QStringLiteral("--"), name});
            QVERIFY(program.waitForEnd());
            QCOMPARE(program.exitCode(), 0);
            QCOMPARE(program.readAllStandardError(), QByteArray());
            const QByteArray output = program.readAllStandardOutput();
            if (QByteArray(format) == "--json") {
                QCOMPARE(jsonLines(output).size(), std::size_t(1));
                QCOMPARE(jsonLines(output)[0][QStringLiteral("image")].toString(), name);
                QVERIFY(QFileInfo(jsonLines(output)[0][QStringLiteral("resultImage")].toString()).isFile());
            } else {
                QString printed = name;
                printed.replace(QLatin1Char('\\'), QStringLiteral("\\\\"))
                    .replace(QLatin1Char('\n'), QStringLiteral("\\x0a"))
                    .replace(QLatin1Char('\t'), QStringLiteral("\\x09"));
                if (printed.startsWith(QLatin1Char('-'))) // no formula
                    printed.prepend(QLatin1Char('\''));
                QCOMPARE(csvRecords(QString::fromUtf8(output)).value(1).value(0), printed);
            }
        }
    }

    void aFileNameIsNoFormulaToASpreadsheet_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("cell");
        const auto row = [](const char *name, const char *cell) {
            QTest::newRow(name) << QString::fromUtf8(name) << QString::fromUtf8(cell);
        };
        row("=HYPERLINK(\"x\").png", "'=HYPERLINK(\"x\").png");
        row("+1.png", "'+1.png");
        row("-1.png", "'-1.png");
        row("@SUM.png", "'@SUM.png");
        row("\t=1.png", "\\x09=1.png");
        row("\r=1.png", "\\x0d=1.png");
        row("'quoted.png", "''quoted.png"); // so that one quote can always be taken off
        row("face=1.png", "face=1.png");
    }

    void aFileNameIsNoFormulaToASpreadsheet()
    {
        QFETCH(QString, name);
        QFETCH(QString, cell);

        const InspectRun run = runInspect({QStringLiteral("--csv"), QStringLiteral("--"), name});

        const QStringList cells = csvRecords(QString::fromUtf8(run.output)).value(1);
        QCOMPARE(cells.value(0), cell);
        QCOMPARE(cells.value(4), QStringLiteral("Failed to load image: no such file"));
    }

    void aNumberStaysANumberInCsv()
    {
        QCOMPARE(csvLine({QStringLiteral("-1"), QStringLiteral("-1.5e-07"), QStringLiteral("+3"),
                     QStringLiteral("-inf"), QStringLiteral("-"), QStringLiteral("-1+2")}),
            QByteArray("-1,-1.5e-07,+3,-inf,'-,'-1+2\n"));
    }

    void aWideFormulaIsNoneInCsv()
    {
        QCOMPARE(csvLine({QStringLiteral("\uFF1D1+1"), QStringLiteral("\uFF0B1+1"), QStringLiteral("\uFF0D1+1"),
                     QStringLiteral("\uFF20SUM(1)"), QStringLiteral("a\uFF1D")}),
            QByteArray("'\uFF1D1+1,'\uFF0B1+1,'\uFF0D1+1,'\uFF20SUM(1),a\uFF1D\n"));
    }

    void aFileNameDoesNotControlTheTerminal()
    {
        const QString name = QStringLiteral("evil\033[2J.png");
        QVERIFY(goodFace().save(in(name), "png"));

        QVERIFY(!runInspect({in(name)}).output.contains('\033'));
        QVERIFY(!runInspect({in(name) + QStringLiteral("x")}).messages.contains('\033'));
        QCOMPARE(jsonLines(runInspect({QStringLiteral("--json"), in(name)}).output)
                     .at(0)[QStringLiteral("image")]
                     .toString(),
            in(name));
    }

    void aVeryLongFileNameStillGetsItsAnnotatedImage()
    {
        const QString name = QString(120, QChar(0x00FC)) + QStringLiteral(".png"); // 244 bytes
        QVERIFY(goodFace().save(in(name)));
        const QString out = in(QStringLiteral("long"));

        const InspectRun run = runInspect({QStringLiteral("--steps"), QStringLiteral("--out"), out, in(name)});

        QCOMPARE(run.exitCode, 0);
        QCOMPARE(run.messages, QByteArray());
        QCOMPARE(QDir(out).entryList(QDir::Files).size(), 15);
    }

    // --- rights

    // Root without its capabilities is bound to permissions like everybody else.
    void itRunsWithoutRightsOnAReadOnlyFolder()
    {
        const QString folder = newFolder(QStringLiteral("readonly"));
        save(badFace(), QStringLiteral("readonly/face.jpg"));
        save(goodFace(), QStringLiteral("readonly/secret.jpg"));
        QVERIFY(QFile::setPermissions(folder + QStringLiteral("/secret.jpg"), {}));
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        const QStringList ordinary = geteuid() == 0 ? QStringList{QStringLiteral("setpriv"),
                                         QStringLiteral("--bounding-set=-all"), QStringLiteral("--inh-caps=-all")}
                                                    : QStringList{QStringLiteral("env")};
        const QStringList before = listing(mFolder.path());

        InspectProgram program;
        program.beginThrough(ordinary, {QStringLiteral("--json"), folder});
        QVERIFY(program.waitForEnd());
        InspectProgram refused;
        refused.beginThrough(ordinary, {QStringLiteral("--out"), folder, mGood});
        QVERIFY(refused.waitForEnd());
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(objects[0][QStringLiteral("error")].toBool(), false);
        QCOMPARE(
            objects[1][QStringLiteral("reason")].toString(), QStringLiteral("Failed to load image: Permission denied"));
        QCOMPARE(program.temporaryFiles(), QStringList());

        QCOMPARE(refused.exitCode(), 64);
        QCOMPARE(QString::fromUtf8(refused.readAllStandardError()),
            QStringLiteral("vantor-inspect: cannot write into the folder %1\n").arg(folder));
        QCOMPARE(listing(mFolder.path()), before);
    }
};

QTEST_GUILESS_MAIN(TestVantorInspect)
#include "tst_vantor_inspect.moc"
