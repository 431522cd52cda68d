// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"
#include "PlainPipeline.h"
#include "WorkDir.h"
#include "WorkTimer.h"
#include "simulation/EndfacePainter.h"
#include "simulation/EndfaceScenes.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QtTest>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>
#include <memory>
#include <random>
#include <thread>
#include <unistd.h>

using namespace FiberInspection;

namespace {
constexpr float infinity = std::numeric_limits<float>::infinity();

constexpr double ferruleGray = 200;
constexpr double claddingGray = 140;
constexpr double claddingRadius = 62.5; // micrometres

QStringList stepSuffixes()
{
    return {QStringLiteral("_01_gray.png"), QStringLiteral("_02_cropped.png"),
        QStringLiteral("_03_cropped_without_core.png"), QStringLiteral("_04_blurred.png"),
        QStringLiteral("_05_canny_edges.png"), QStringLiteral("_06_canny_edges_without_cladding.png"),
        QStringLiteral("_07_defect_contours.png"), QStringLiteral("_08_defect_rectangles.png"),
        QStringLiteral("_09_merged_defects_contours.png"), QStringLiteral("_10_merged_defects_rectangles.png"),
        QStringLiteral("_11_core_defects.png"), QStringLiteral("_11_core_defects_contours.png"),
        QStringLiteral("_12_cladding_defects.png"), QStringLiteral("_12_cladding_defects_contours.png")};
}
const QString scaledSuffix = QStringLiteral("_01_gray_scalled.png");

/// A smooth end face; lengths are micrometres, positions relative to the fibre centre.
class Face
{
public:
    explicit Face(const QSize &size = QSize(800, 600), const QPointF &center = QPointF(0, 0))
        : mPixelsPerMicron(size.width() / 860.0)
        , mImage(size.height(), size.width(), CV_8UC3, cv::Scalar::all(ferruleGray))
        , mCenter(center)
    {
    }

    Face &disc(const QPointF &at, double radius, double gray)
    {
        cv::circle(mImage, fixed(at), qRound(radius * mPixelsPerMicron * 256), cv::Scalar::all(gray), cv::FILLED,
            cv::LINE_AA, fractionBits);
        return *this;
    }
    Face &fibre(const QPointF &at = QPointF(0, 0)) { return disc(at, claddingRadius, claddingGray); }

    Face &line(const QPointF &from, const QPointF &to, double width, double gray)
    {
        const int thickness = qMax(1, qRound(width * mPixelsPerMicron));
        cv::line(mImage, fixed(from), fixed(to), cv::Scalar::all(gray), thickness, cv::LINE_AA, fractionBits);
        return *this;
    }

    /// Grey noise on all three channels alike.
    Face &noise(unsigned seed, double deviation)
    {
        cv::RNG random(seed);
        cv::Mat grayNoise(mImage.size(), CV_16SC1);
        random.fill(grayNoise, cv::RNG::NORMAL, 0, deviation);
        cv::Mat noise;
        cv::merge(std::vector<cv::Mat>(3, grayNoise), noise);
        cv::add(mImage, noise, mImage, cv::noArray(), CV_8UC3);
        return *this;
    }

    Face &rectangle(const cv::Rect &pixels, double gray)
    {
        cv::rectangle(mImage, pixels, cv::Scalar::all(gray), cv::FILLED);
        return *this;
    }

    const cv::Mat &image() const { return mImage; }

private:
    static constexpr int fractionBits = 8;

    cv::Point fixed(const QPointF &at) const
    {
        const QPointF middle(mImage.cols / 2.0, mImage.rows / 2.0);
        const QPointF pixel = middle + (mCenter + at) * mPixelsPerMicron;
        return {qRound(pixel.x() * 256), qRound(pixel.y() * 256)};
    }

    double mPixelsPerMicron;
    cv::Mat mImage;
    QPointF mCenter;
};

/// With defects of both kinds in core, cladding and contact zone, some of them close to each other.
Face blemishedFace()
{
    Face face;
    face.fibre();
    face.disc({4, 3}, 2.5, 60).disc({-9, -6}, 1.5, 60).disc({-9, -9.5}, 1.2, 60); // core
    face.disc({30, 20}, 5, 50).disc({-35, 10}, 15, 70).disc({-30, -30}, 2, 60).disc({-27, -34}, 2, 60); // cladding
    face.disc({90, 40}, 12, 50).disc({-100, -20}, 3, 20); // contact zone
    face.line({-20, 40}, {38, 34}, 2, 60); // a scratch
    face.disc({58, 22}, 4, 50); // on the rim
    return face;
}

/// Nothing but the cladding is blemished, and the core is as even as it can be: there is nothing to paint over at
/// random, so that one run is like the other.
Face evenFace()
{
    Face face;
    face.fibre().disc({40, 20}, 6, 50).disc({-38, 5}, 16, 70).disc({10, -45}, 2, 60);
    return face;
}

/// The text as the message log puts it together.
template <typename... Values>
QString logged(const char *level, const Values &...values)
{
    QString text;
    (QDebug(&text).noquote() << ... << values);
    return QLatin1String(level) + QStringLiteral(": ") + text.trimmed();
}

/// The lines of a log without what differs from run to run: times, and the order within a hash.
QStringList comparable(QStringList lines)
{
    static const QRegularExpression milliseconds(QStringLiteral("^(info: .*) \\d+ ms$"));
    static const QRegularExpression took(QStringLiteral("^(debug: TOOK) \\d+$"));
    static const QRegularExpression hash(QStringLiteral("^debug: QHash\\(.*\\) QVector\\(.*\\)$"));
    for (QString &line : lines) {
        line.replace(milliseconds, QStringLiteral("\\1 N ms"));
        line.replace(took, QStringLiteral("\\1 N"));
        line.replace(hash, QStringLiteral("debug: QHash QVector"));
    }
    return lines;
}

/// The log of an inspection that came to its end.
QStringList expectedLog(const PlainForms::Inspection &inspection)
{
    const auto step = [](const char *text) { return logged("info", text, "N ms"); };
    QStringList grading;
    {
        const LogCapture log;
        TestResult again(Standard(static_cast<Standard::Id>(inspection.testResult.core().rules.size() == 5
                ? Standard::IEC61300_3_35_SM_RL45
                : inspection.testResult.core().standardZone.outerDiameter == 65 ? Standard::IEC61300_3_35_MM
                                                                                : Standard::IEC61300_3_35_SM_RL26)));
        again.processDefects(inspection.testResult.coreDefects(), inspection.testResult.claddingDefects());
        grading = log.asText();
    }
    const int side = inspection.crop.width();

    QStringList lines;
    lines << QStringLiteral("info: ---- START BENCHMARK ----") << step("image loaded")
          << step("image converted to gray") << step("cladding detection finished")
          << logged("debug", "cladding:", inspection.cladding.radius, inspection.expectedCladdingDiameter,
                 2 * inspection.cladding.radius)
          << QStringLiteral("debug: cladding info") << logged("debug", "cropGeometry", inspection.crop)
          << step("image cropped") << logged("debug", "colorAroundCore:", inspection.colorAroundCore)
          << logged("debug", "colorAroundCladding:", inspection.colorAroundCladding)
          << step("cladding & core colors calculated") << step("core circle removed") << step("image blurred")
          << logged("debug", "claddingColor", inspection.claddingColor)
          << logged("debug", "colorAroundCore", inspection.colorAroundCore) << step("canny edges detected")
          << step("cladding circle removed") << step("images cloned") << step("contours detected")
          << logged("debug", "contours.size:", inspection.contours.size())
          << logged("debug", "rawDefects.size:", inspection.rawDefects.size()) << step("contours processed")
          << QStringLiteral("debug: QHash QVector")
          << logged("debug", "rawDefects found:", inspection.rawDefects.size())
          << logged("debug", "merged rawDefects:", inspection.mergedRawDefects.size()) << step("defects merged")
          << logged("debug", "coreRadius", inspection.zones.coreRadius)
          << logged("debug", "claddingRadius", inspection.zones.claddingRadius)
          << logged("debug", "contactRadius", inspection.zones.contactRadius)
          << logged("debug", "center", QPoint(side / 2, side / 2))
          << logged("debug", "coreDefects.size:", inspection.coreDefects.size())
          << logged("debug", "claddingDefects.size:", inspection.claddingDefects.size())
          << QStringLiteral("debug: contactDefects.size: 0") << step("checking standard rules");
    lines << grading << step("defects processed") << QStringLiteral("debug: TOOK N")
          << (inspection.testResult.passed() ? QStringLiteral("debug: TEST PASSED")
                                             : QStringLiteral("debug: TEST FAILED"));
    return lines;
}

bool sameImage(const cv::Mat &a, const cv::Mat &b)
{
    return a.size() == b.size() && a.type() == b.type() && !a.empty() && cv::norm(a, b, cv::NORM_INF) == 0;
}

cv::Mat readImage(const QString &path)
{
    return cv::imread(path.toStdString(), cv::IMREAD_UNCHANGED);
}

/// As it is after it went through the format of the result image.
cv::Mat throughJpeg(const cv::Mat &image)
{
    std::vector<uchar> bytes;
    cv::imencode(".jpg", image, bytes);
    return cv::imdecode(bytes, cv::IMREAD_UNCHANGED);
}

int countColor(const cv::Mat &image, const cv::Scalar &color)
{
    cv::Mat mask;
    cv::inRange(image, color, color, mask);
    return cv::countNonZero(mask);
}
} // namespace

class TestAnalyserPrivate : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<TemporaryWorkDir> mWorkDir;

    QString photoPath(const QString &name = QStringLiteral("photo.png")) const
    {
        return mWorkDir->filePath(QStringLiteral("data/") + name);
    }
    QString resultPath() const { return mWorkDir->filePath(QStringLiteral("tmp/fiber_result_image.jpg")); }

    QString write(const cv::Mat &image, const QString &name = QStringLiteral("photo.png")) const
    {
        const QString path = photoPath(name);
        return cv::imwrite(path.toStdString(), image) ? path : QString();
    }

    static QStringList files(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDir::Name);
    }
    QStringList photoFiles() const { return files(mWorkDir->filePath(QStringLiteral("data"))); }
    QStringList temporaryFiles() const { return files(mWorkDir->filePath(QStringLiteral("tmp"))); }

    static TestResult analyse(const QString &path, Standard::Id id = Standard::IEC61300_3_35_SM_RL45,
        Inspection *inspection = nullptr, float scale = 1.0F, bool steps = false)
    {
        return AnalyserPrivate::analyse(id, path, Device::ks20(), scale, steps, inspection);
    }

    /// Runs the inspection with step images and compares every one of them, the verdict, and the inspection with what
    /// the plain form gives.
    void compareWithPlainForm(const QString &path, Standard::Id id, float scale, PlainForms::Inspection *plain)
    {
        Inspection inspection;
        const LogCapture log;
        const TestResult result = analyse(path, id, &inspection, scale, true);
        const cv::Mat photo = cv::imread(path.toStdString(), cv::IMREAD_COLOR);
        const cv::Mat withoutCore = readImage(path + QStringLiteral("_03_cropped_without_core.png"));
        {
            const LogCapture silence;
            *plain = PlainForms::inspect(photo, id, QSize(860, 640), scale, withoutCore);
        }
        const PlainForms::Inspection &expected = *plain;

        QCOMPARE(inspection.reasonText(), expected.failure);
        QCOMPARE(result.error(), !expected.failure.isEmpty());
        if (result.error())
            return;

        for (auto step = expected.stepImages.cbegin(); step != expected.stepImages.cend(); ++step)
            QVERIFY2(sameImage(readImage(path + step.key()), step.value()), qPrintable(step.key()));
        QVERIFY(sameImage(readImage(resultPath()), throughJpeg(expected.resultImage)));
        QCOMPARE(comparable(log.asText()), expectedLog(expected));

        QCOMPARE(result.passed(), expected.testResult.passed());
        QCOMPARE(result.core().violations, expected.testResult.core().violations);
        QCOMPARE(result.cladding().violations, expected.testResult.cladding().violations);
        compareDefects(result.coreDefects(), expected.testResult.coreDefects());
        compareDefects(result.claddingDefects(), expected.testResult.claddingDefects());

        QCOMPARE(inspection.detail(), QString());
        QCOMPARE(inspection.micronsPerPixel(), expected.pixelSize);
        QVERIFY(inspection.claddingCircle() == expected.cladding);
        QCOMPARE(inspection.crop(), expected.crop);
        QCOMPARE(inspection.grayLevels().cladding, expected.claddingColor);
        QCOMPARE(inspection.grayLevels().aroundCore, expected.colorAroundCore);
        QCOMPARE(inspection.grayLevels().aroundCladding, expected.colorAroundCladding);
        QCOMPARE(inspection.counts().contours, int(expected.contours.size()));
        QCOMPARE(inspection.counts().raw, int(expected.rawDefects.size()));
        QCOMPARE(inspection.counts().merged, int(expected.mergedDefects.size()));
    }

    static void compareDefects(const QVector<Defect> &defects, const QVector<Defect> &expected)
    {
        QCOMPARE(defects.size(), expected.size());
        for (int i = 0; i < defects.size(); ++i) {
            QCOMPARE(defects[i].type, expected[i].type);
            QCOMPARE(defects[i].pixels, expected[i].pixels);
            QVERIFY(defects[i].enclosingCircle == expected[i].enclosingCircle);
            QCOMPARE(defects[i].boundingRectPoints, expected[i].boundingRectPoints);
            QVERIFY(defects[i].size == expected[i].size);
            QCOMPARE(defects[i].causesFailure, expected[i].causesFailure);
        }
    }

    /// A run that ends early leaves the result as constructed and writes nothing.
    void compareFailure(const TestResult &result, Standard::Id id)
    {
        const TestResult constructed{Standard(id)};
        QCOMPARE(result.error(), true);
        QCOMPARE(result.passed(), false);
        QVERIFY(result.coreDefects().isEmpty());
        QVERIFY(result.claddingDefects().isEmpty());
        QCOMPARE(result.core().violations, 0);
        QCOMPARE(result.core().rules.size(), constructed.core().rules.size());
        QCOMPARE(result.cladding().rules.size(), constructed.cladding().rules.size());
        for (const RuleResult &rule : result.core().rules)
            QCOMPARE(rule.defectCount, 0);
        QVERIFY2(temporaryFiles().isEmpty(), qPrintable(temporaryFiles().join(QLatin1Char(' '))));
    }

private Q_SLOTS:
    void init()
    {
        mWorkDir = std::make_unique<TemporaryWorkDir>();
        QVERIFY(mWorkDir->isValid());
    }

    void cleanup() { mWorkDir.reset(); }

    // --- a run that comes to its end

    void aCleanFacePasses_data()
    {
        QTest::addColumn<int>("standard");
        QTest::newRow("RL26") << 0;
        QTest::newRow("RL35") << 1;
        QTest::newRow("RL45") << 2;
        QTest::newRow("APC") << 3;
        QTest::newRow("MM") << 4;
    }

    void aCleanFacePasses()
    {
        QFETCH(int, standard);
        const LogCapture log;

        const TestResult result = analyse(write(Face().fibre().image()), static_cast<Standard::Id>(standard));

        QCOMPARE(result.error(), false);
        QCOMPARE(result.passed(), true);
        QVERIFY(result.coreDefects().isEmpty());
        QVERIFY(result.claddingDefects().isEmpty());
        QCOMPARE(log.debugs().constLast(), QStringLiteral("TEST PASSED"));
        QVERIFY(log.warnings().isEmpty());
        QCOMPARE(temporaryFiles(), QStringList{QStringLiteral("fiber_result_image.jpg")});
        QCOMPARE(photoFiles(), QStringList{QStringLiteral("photo.png")});
    }

    void theVerdictRestsOnTheDefects_data()
    {
        QTest::addColumn<QPointF>("at");
        QTest::addColumn<double>("radius");
        QTest::addColumn<int>("coreDefects");
        QTest::addColumn<int>("claddingDefects");
        QTest::addColumn<bool>("passed");
        QTest::newRow("large pit in the core") << QPointF(3, 3) << 4.0 << 1 << 0 << false;
        QTest::newRow("pit of 15 in the cladding") << QPointF(35, 0) << 7.5 << 0 << 1 << true;
        QTest::newRow("pit of 36 in the cladding") << QPointF(-10, 37) << 18.0 << 0 << 1 << false;
        QTest::newRow("large stain in the contact zone") << QPointF(100, 0) << 20.0 << 0 << 0 << true;
    }

    void theVerdictRestsOnTheDefects()
    {
        QFETCH(QPointF, at);
        QFETCH(double, radius);
        QFETCH(int, coreDefects);
        QFETCH(int, claddingDefects);
        QFETCH(bool, passed);
        const LogCapture log;

        const TestResult result = analyse(write(Face().fibre().disc(at, radius, 50).image()));

        QCOMPARE(result.error(), false);
        QCOMPARE(result.passed(), passed);
        QCOMPARE(result.coreDefects().size(), coreDefects);
        QCOMPARE(result.claddingDefects().size(), claddingDefects);
        QCOMPARE(log.debugs().constLast(), passed ? QStringLiteral("TEST PASSED") : QStringLiteral("TEST FAILED"));
        const QVector<Defect> defects = result.coreDefects() + result.claddingDefects();
        for (const Defect &defect : defects) {
            QVERIFY(std::abs(double(defect.size) - 2 * radius) < 4);
            QCOMPARE(defect.causesFailure, !passed);
        }
    }

    void everyStepEqualsThePlainForm_data()
    {
        QTest::addColumn<int>("standard");
        QTest::addColumn<float>("scale");
        const float scales[] = {1.0F, 0.5F, 2.0F, 0.75F, 1.25F};
        for (const float scale : scales) {
            for (const int standard : {0, 2, 4})
                QTest::addRow("standard %d, scale %g", standard, double(scale)) << standard << scale;
        }
    }

    void everyStepEqualsThePlainForm()
    {
        QFETCH(int, standard);
        QFETCH(float, scale);
        const QString path = write(blemishedFace().image());

        PlainForms::Inspection plain;
        compareWithPlainForm(path, static_cast<Standard::Id>(standard), scale, &plain);
        if (QTest::currentTestFailed())
            return;

        QCOMPARE(plain.failure, QString());
        QVERIFY(scale > 1 || plain.rawDefects.size() > plain.mergedDefects.size());
        QVERIFY(!plain.coreDefects.empty() && !plain.claddingDefects.empty());
    }

    void everyStepOfANoisyFaceEqualsThePlainForm()
    {
        int singlePixels = 0;
        int pairsKept = 0;
        int beyondReach = 0;
        int merged = 0;
        int inspected = 0;
        for (unsigned seed = 1; seed <= 8; ++seed) {
            const QString path = write(blemishedFace().noise(seed, 3 + seed).image());
            PlainForms::Inspection plain;
            compareWithPlainForm(path, Standard::IEC61300_3_35_SM_RL26, 1, &plain);
            if (QTest::currentTestFailed())
                return;
            inspected += plain.failure.isEmpty() ? 1 : 0;
            for (const std::vector<cv::Point> &contour : plain.contours)
                singlePixels += contour.size() == 1 ? 1 : 0;
            for (const Defect &defect : plain.rawDefects)
                pairsKept += defect.pixels.size() == 2 ? 1 : 0;
            beyondReach += int(plain.contours.size() - plain.rawDefects.size());
            merged += int(plain.rawDefects.size() - plain.mergedDefects.size());
        }
        // The noise has to bring what the comparison is made for.
        QVERIFY(inspected > 4);
        QVERIFY(singlePixels > 0);
        QVERIFY(pairsKept > 0);
        QVERIFY(beyondReach > singlePixels);
        QVERIFY(merged > 0);
    }

    void everyStepOfAPaintedFaceEqualsThePlainForm()
    {
        const Standard::Id standards[] = {
            Standard::IEC61300_3_35_SM_RL26, Standard::IEC61300_3_35_SM_RL45, Standard::IEC61300_3_35_SM_APC};
        int inspected = 0;
        for (quint32 seed = 1; seed <= 8; ++seed) {
            EndfaceRandomOptions options;
            options.multimode = seed % 4 == 0;
            const QString path = photoPath(seed % 2 == 0 ? QStringLiteral("photo.png") : QStringLiteral("photo.jpg"));
            QVERIFY(paintEndface(randomEndfaceScene(seed, options)).save(path));
            PlainForms::Inspection plain;
            compareWithPlainForm(path, options.multimode ? Standard::IEC61300_3_35_MM : standards[seed % 3], 1, &plain);
            if (QTest::currentTestFailed())
                return;
            inspected += plain.failure.isEmpty() ? 1 : 0;
        }
        QVERIFY(inspected >= 5);
    }

    void everyStepOfADirtyFaceEqualsThePlainForm()
    {
        const QString path = photoPath();
        QVERIFY(paintEndface(dirtyEndfaceScene(7, 1500)).save(path));

        PlainForms::Inspection plain;
        compareWithPlainForm(path, Standard::IEC61300_3_35_SM_RL45, 1, &plain);

        QCOMPARE(plain.failure, QString());
        QVERIFY(plain.rawDefects.size() > 100);
        QCOMPARE(plain.testResult.passed(), false);
    }

    void onlyTheBrightCoreIsPaintedOver_data()
    {
        QTest::addColumn<int>("standard");
        QTest::addColumn<double>("coreRadius");
        QTest::addColumn<double>("zoneRadius");
        QTest::newRow("single mode") << 2 << 4.5 << 12.5;
        QTest::newRow("single mode, larger than the zone") << 2 << 20.0 << 12.5;
        QTest::newRow("multi mode") << 4 << 25.0 << 32.5;
    }

    void onlyTheBrightCoreIsPaintedOver()
    {
        QFETCH(int, standard);
        QFETCH(double, coreRadius);
        QFETCH(double, zoneRadius);
        const LogCapture silence;
        Inspection inspection;
        const QString path = write(Face().fibre().disc({0, 0}, coreRadius, 230).disc({2, 6}, 2, 60).image());

        const TestResult result = analyse(path, static_cast<Standard::Id>(standard), &inspection, 1, true);

        QCOMPARE(result.error(), false);
        const cv::Mat before = readImage(path + QStringLiteral("_02_cropped.png"));
        const cv::Mat after = readImage(path + QStringLiteral("_03_cropped_without_core.png"));
        const int middle = before.cols / 2;
        int painted = 0;
        for (int row = 0; row < before.rows; ++row) {
            for (int column = 0; column < before.cols; ++column) {
                const int was = before.at<uchar>(row, column);
                const int is = after.at<uchar>(row, column);
                const double distance = std::hypot(row - middle, column - middle);
                if (distance <= zoneRadius / 1.075 && was > inspection.grayLevels().aroundCore) {
                    QVERIFY(
                        is >= inspection.grayLevels().aroundCore - 4 && is < inspection.grayLevels().aroundCore + 4);
                    ++painted;
                } else {
                    QCOMPARE(is, was);
                }
            }
        }
        QVERIFY(painted > 40);
    }

    void aDarkSpotOfTheCoreIsFoundBesideItsLight()
    {
        const LogCapture silence;

        const TestResult lit = analyse(write(Face().fibre().disc({0, 0}, 4.5, 172).image()));
        const TestResult spotted = analyse(write(Face().fibre().disc({0, 0}, 4.5, 172).disc({2, 6}, 2, 60).image()));

        QVERIFY(lit.coreDefects().isEmpty());
        QCOMPARE(spotted.coreDefects().size(), 1);
        QVERIFY(!spotted.passed());
    }

    // --- step images

    void stepImagesAreWrittenBesideThePhotograph()
    {
        const LogCapture silence;
        const QString path = write(blemishedFace().image());

        analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 1, true);

        QStringList expected{QStringLiteral("photo.png")};
        const QStringList suffixes = stepSuffixes();
        for (const QString &suffix : suffixes)
            expected << QStringLiteral("photo.png") + suffix;
        expected.sort();
        QCOMPARE(photoFiles(), expected);
        QCOMPARE(temporaryFiles(), QStringList{QStringLiteral("fiber_result_image.jpg")});
    }

    void aScaledRunHasOneStepImageMore()
    {
        const LogCapture silence;
        const QString path = write(blemishedFace().image());

        analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 2, true);

        QStringList expected{QStringLiteral("photo.png")};
        const QStringList suffixes = stepSuffixes() + QStringList{scaledSuffix};
        for (const QString &suffix : suffixes)
            expected << QStringLiteral("photo.png") + suffix;
        expected.sort();
        QCOMPARE(photoFiles(), expected);
        QCOMPARE(readImage(path + QStringLiteral("_01_gray.png")).cols, 800);
        QCOMPARE(readImage(path + scaledSuffix).cols, 400);
        QCOMPARE(readImage(path + scaledSuffix).rows, 300);
    }

    void aScaleOfAboutOneScalesNothing()
    {
        const LogCapture silence;
        const QString path = write(blemishedFace().image());

        analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 1.000001F, true);

        QVERIFY(photoFiles().contains(QStringLiteral("photo.png_02_cropped.png")));
        QVERIFY(!photoFiles().contains(QStringLiteral("photo.png") + scaledSuffix));
    }

    void withoutStepImagesOnlyTheResultIsWritten()
    {
        const LogCapture silence;
        const QString path = write(blemishedFace().image());

        analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 2, false);

        QCOMPARE(photoFiles(), QStringList{QStringLiteral("photo.png")});
        QCOMPARE(temporaryFiles(), QStringList{QStringLiteral("fiber_result_image.jpg")});
    }

    void theVerdictDoesNotDependOnTheStepImages()
    {
        const LogCapture silence;
        const QString path = write(evenFace().image());
        Inspection with;
        Inspection without;

        const TestResult resultWith = analyse(path, Standard::IEC61300_3_35_SM_RL26, &with, 1, true);
        const TestResult resultWithout = analyse(path, Standard::IEC61300_3_35_SM_RL26, &without, 1, false);

        QCOMPARE(resultWith.passed(), resultWithout.passed());
        compareDefects(resultWith.coreDefects(), resultWithout.coreDefects());
        compareDefects(resultWith.claddingDefects(), resultWithout.claddingDefects());
        QCOMPARE(with.counts().contours, without.counts().contours);
    }

    void ringsAndDefectsHaveTheirColours()
    {
        const LogCapture silence;
        // Two small ones in the core, of which the second is too many, and a harmless one in the cladding.
        const QString path =
            write(Face().fibre().disc({6, 0}, 4, 50).disc({-6, 0}, 4, 50).disc({35, 5}, 5, 50).image());
        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 1, true);
        QCOMPARE(result.coreDefects().size(), 2);
        QCOMPARE(result.claddingDefects().size(), 1);

        const cv::Scalar red(0, 0, 255);
        const cv::Scalar blue(255, 0, 0);
        const cv::Scalar yellow(0, 255, 255);
        const cv::Scalar green(0, 255, 0);
        const cv::Scalar navy(128, 0, 0);
        const auto counted = [&](const char *suffix, const cv::Scalar &color) {
            return countColor(readImage(path + QLatin1String(suffix)), color);
        };

        for (const char *const suffix : {"_07_defect_contours.png", "_09_merged_defects_contours.png"}) {
            QVERIFY(counted(suffix, red) > 30);
            for (const cv::Scalar &other : {blue, yellow, green, navy})
                QCOMPARE(counted(suffix, other), 0);
        }
        for (const char *const suffix : {"_08_defect_rectangles.png", "_10_merged_defects_rectangles.png"}) {
            QVERIFY(counted(suffix, red) > 20);
            QVERIFY(counted(suffix, blue) > 20);
            for (const cv::Scalar &other : {yellow, green, navy})
                QCOMPARE(counted(suffix, other), 0);
        }
        for (const char *const suffix : {"_11_core_defects.png", "_11_core_defects_contours.png",
                 "_12_cladding_defects.png", "_12_cladding_defects_contours.png"}) {
            QVERIFY(counted(suffix, yellow) > 40);
            QVERIFY(counted(suffix, green) > 600);
            QVERIFY(counted(suffix, navy) > 500);
        }
        QVERIFY(counted("_11_core_defects.png", red) > 20);
        QVERIFY(counted("_11_core_defects.png", blue) > 20);
        QVERIFY(counted("_11_core_defects_contours.png", red) > 10); // those that cause the failure
        QCOMPARE(counted("_11_core_defects_contours.png", blue), 0);
        QCOMPARE(counted("_12_cladding_defects_contours.png", red), 0);
        QVERIFY(counted("_12_cladding_defects_contours.png", blue) > 10);
        QVERIFY(counted("_12_cladding_defects.png", red) > 10);
    }

    void aScratchIsDrawnWithoutACircle()
    {
        const LogCapture silence;
        const QString path = write(Face().fibre().line({-18, 48}, {18, 48}, 2, 60).image());
        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 1, true);

        QCOMPARE(result.claddingDefects().size(), 1);
        QCOMPARE(result.claddingDefects().first().type, Defect::Type::Scratch);
        const cv::Scalar blue(255, 0, 0);
        const cv::Mat shapes = readImage(path + QStringLiteral("_10_merged_defects_rectangles.png"));
        QCOMPARE(countColor(shapes, blue), 0);
        QVERIFY(countColor(shapes, {0, 0, 255}) > 60);
        QCOMPARE(countColor(readImage(path + QStringLiteral("_12_cladding_defects.png")), blue), 0);
        QVERIFY(result.passed()); // any scratch is allowed there
    }

    void aStepImageThatCannotBeWrittenIsOnlyReported()
    {
        const QString path = write(Face().fibre().image());
        const QString obstacle = path + QStringLiteral("_02_cropped.png");
        QVERIFY(QDir().mkdir(obstacle));
        const LogCapture log;

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, 1, true);

        QCOMPARE(result.error(), false);
        QCOMPARE(result.passed(), true);
        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(log.warnings().constFirst().contains(obstacle));
        QVERIFY(QFileInfo::exists(path + QStringLiteral("_12_cladding_defects_contours.png")));
    }

    // --- the result image

    void theResultImageReplacesTheLastOne()
    {
        const LogCapture silence;
        QFile old(resultPath());
        QVERIFY(old.open(QIODevice::WriteOnly));
        old.write(QByteArray(1000000, 'x'));
        old.close();

        analyse(write(blemishedFace().image()));
        const cv::Mat blemished = readImage(resultPath());
        analyse(write(Face().fibre().image()));
        const cv::Mat clean = readImage(resultPath());

        QCOMPARE(blemished.cols, 272);
        QCOMPARE(blemished.rows, 272);
        QCOMPARE(clean.cols, 272);
        QVERIFY(!sameImage(blemished, clean));
        QCOMPARE(temporaryFiles(), QStringList{QStringLiteral("fiber_result_image.jpg")});
    }

    void aFailureLeavesTheLastResultImage()
    {
        const LogCapture silence;
        analyse(write(blemishedFace().image()));
        QFile file(resultPath());
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray before = file.readAll();
        file.close();

        QVERIFY(analyse(photoPath(QStringLiteral("missing.png"))).error());
        QVERIFY(analyse(write(Face().image())).error());

        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), before);
    }

    void aResultImageThatCannotBeWrittenLeavesTheVerdict_data()
    {
        QTest::addColumn<bool>("folderInTheWay");
        QTest::newRow("no temporary folder") << false;
        QTest::newRow("a folder of that name") << true;
    }

    void aResultImageThatCannotBeWrittenLeavesTheVerdict()
    {
        QFETCH(bool, folderInTheWay);
        if (folderInTheWay)
            QVERIFY(QDir().mkpath(resultPath() + QStringLiteral("/full")));
        else
            QVERIFY(QDir().rmdir(mWorkDir->filePath(QStringLiteral("tmp"))));
        const QString path = write(blemishedFace().image());
        const LogCapture log;
        Inspection inspection;

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, &inspection);

        QCOMPARE(result.error(), false);
        QCOMPARE(result.passed(), false);
        QVERIFY(!result.coreDefects().isEmpty());
        QCOMPARE(inspection.reasonText(), QString());
        QCOMPARE(log.warnings().size(), 1);
        QVERIFY2(log.warnings().constFirst().contains(BaseDirHelper::tmpFiberInspectionResultImagePath()),
            qPrintable(log.warnings().constFirst()));
        QCOMPARE(log.debugs().constLast(), QStringLiteral("TEST FAILED"));
        QCOMPARE(photoFiles(), QStringList{QStringLiteral("photo.png")});
    }

    // A handler may show a line in a dialog, whose event loop brings the next request to the same thread.
    void aHandlerOfTheLogMayAnalyseAsWell()
    {
        static int lines = 0;
        static QString innerPath;
        lines = 0;
        innerPath = photoPath(QStringLiteral("missing.png"));
        const QString path = write(evenFace().image());
        Inspection inspection;
        alarm(60); // seconds; a thread that waits for itself does so for ever

        const QtMessageHandler former =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                if (lines++ == 0)
                    analyse(innerPath, Standard::Manual, nullptr, 1, false);
            });
        analyse(path, Standard::IEC61300_3_35_SM_RL26, &inspection, 1, false);
        qInstallMessageHandler(former);
        alarm(0);

        QVERIFY(lines > 1);
        QVERIFY(inspection.hasVerdict());
        QCOMPARE(temporaryFiles(), QStringList{QStringLiteral("fiber_result_image.jpg")});
    }

    // --- runs that end early

    void aFileThatCannotBeReadIsNoPhotograph_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("missing.png");
        QTest::newRow("empty path") << QString();
        QTest::newRow("a folder") << QStringLiteral("folder");
        QTest::newRow("empty file") << QStringLiteral("empty.png");
        QTest::newRow("text") << QStringLiteral("text.png");
        QTest::newRow("truncated") << QStringLiteral("truncated.png");
    }

    void aFileThatCannotBeReadIsNoPhotograph()
    {
        QFETCH(QString, name);
        const auto create = [this](const char *fileName, const QByteArray &content) {
            QFile file(photoPath(QLatin1String(fileName)));
            return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
        };
        QVERIFY(QDir().mkdir(photoPath(QStringLiteral("folder"))));
        QVERIFY(create("empty.png", {}));
        QVERIFY(create("text.png", "this is no image"));
        QFile whole(write(Face().fibre().image()));
        QVERIFY(whole.open(QIODevice::ReadOnly));
        QVERIFY(create("truncated.png", whole.readAll().chopped(100)));
        const QStringList before = photoFiles();
        const LogCapture log;
        Inspection inspection;

        const TestResult result = analyse(
            name.isEmpty() ? QString() : photoPath(name), Standard::IEC61300_3_35_SM_RL45, &inspection, 0.5F, true);

        compareFailure(result, Standard::IEC61300_3_35_SM_RL45);
        QCOMPARE(log.texts(QtInfoMsg), QStringList{QStringLiteral("---- START BENCHMARK ----")});
        QCOMPARE(log.asText().constFirst(), QStringLiteral("info: ---- START BENCHMARK ----"));
        QCOMPARE(log.asText().constLast(), QStringLiteral("debug: Failed to load image"));
        QCOMPARE(photoFiles(), before);
        QCOMPARE(inspection.reasonText(), QStringLiteral("Failed to load image"));
        QVERIFY(!inspection.detail().isEmpty());
        QCOMPARE(inspection.counts().merged, 0);
        QVERIFY(inspection.claddingCircle() == Circle());
        QCOMPARE(inspection.crop(), QRect());
    }

    void withoutASingleFibreThereIsNoVerdict_data()
    {
        QTest::addColumn<QString>("scene");
        QTest::addColumn<QStringList>("warnings");
        QTest::newRow("no fibre") << QStringLiteral("none") << QStringList();
        QTest::newRow("two fibres") << QStringLiteral("two")
                                    << QStringList{QStringLiteral("More than 1 cladding found!")};
        QTest::newRow("a much smaller disc") << QStringLiteral("small") << QStringList();
        QTest::newRow("a much larger disc") << QStringLiteral("large") << QStringList();
        QTest::newRow("black") << QStringLiteral("black") << QStringList();
        QTest::newRow("painted without a fibre") << QStringLiteral("painted none") << QStringList();
        QTest::newRow("painted with two")
            << QStringLiteral("painted two") << QStringList{QStringLiteral("More than 1 cladding found!")};
    }

    void withoutASingleFibreThereIsNoVerdict()
    {
        QFETCH(QString, scene);
        QFETCH(QStringList, warnings);
        cv::Mat image = Face().image();
        if (scene == QLatin1String("two"))
            image = Face().fibre({-150, 0}).fibre({150, 0}).image();
        else if (scene == QLatin1String("small"))
            image = Face().disc({0, 0}, 40, claddingGray).image();
        else if (scene == QLatin1String("large"))
            image = Face().disc({0, 0}, 90, claddingGray).image();
        else if (scene == QLatin1String("black"))
            image = cv::Mat::zeros(600, 800, CV_8UC3);
        QString path = write(image);
        if (scene.startsWith(QLatin1String("painted"))) {
            EndfaceScene endface;
            endface.frame =
                scene.endsWith(QLatin1String("none")) ? EndfaceScene::Frame::NoFibre : EndfaceScene::Frame::TwoFibres;
            QVERIFY(paintEndface(endface).save(path));
        }
        const LogCapture log;
        Inspection inspection;

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL26, &inspection, 1, true);

        compareFailure(result, Standard::IEC61300_3_35_SM_RL26);
        QStringList expected{QStringLiteral("info: ---- START BENCHMARK ----"),
            QStringLiteral("info: image loaded N ms"), QStringLiteral("info: image converted to gray N ms")};
        for (const QString &warning : warnings)
            expected << QStringLiteral("warning: ") + warning;
        expected << QStringLiteral("debug: Failed to detect cladding");
        QCOMPARE(comparable(log.asText()), expected);
        QCOMPARE(photoFiles(), (QStringList{QStringLiteral("photo.png"), QStringLiteral("photo.png_01_gray.png")}));
        QCOMPARE(inspection.reasonText(), QStringLiteral("Failed to detect cladding"));
        QCOMPARE(inspection.micronsPerPixel(), 1.075F);
        QVERIFY(inspection.claddingCircle() == Circle());
    }

    void aFibreTooNearTheBorderCannotBeCropped_data()
    {
        QTest::addColumn<QPointF>("center");
        QTest::addColumn<QString>("warning");
        const QString negative = QStringLiteral("Invalid x or y coordinates");
        const QString outside = QStringLiteral("Crop is out of bounds");
        QTest::newRow("left") << QPointF(-320, 0) << negative;
        QTest::newRow("top") << QPointF(0, -220) << negative;
        QTest::newRow("right") << QPointF(320, 0) << outside;
        QTest::newRow("bottom") << QPointF(0, 220) << outside;
        QTest::newRow("a little too far left") << QPointF(-292, 0) << negative;
        QTest::newRow("a little too far right") << QPointF(292, 0) << outside;
    }

    void aFibreTooNearTheBorderCannotBeCropped()
    {
        QFETCH(QPointF, center);
        QFETCH(QString, warning);
        const QString path = write(Face(QSize(800, 600), center).fibre().image());
        const LogCapture log;
        Inspection inspection;

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_APC, &inspection, 1, true);

        compareFailure(result, Standard::IEC61300_3_35_SM_APC);
        const float diameter = 110.0F * (800.0F / 860.0F);
        QCOMPARE(comparable(log.asText()),
            (QStringList{QStringLiteral("info: ---- START BENCHMARK ----"), QStringLiteral("info: image loaded N ms"),
                QStringLiteral("info: image converted to gray N ms"),
                QStringLiteral("info: cladding detection finished N ms"),
                logged("debug", "cladding:", inspection.claddingCircle().radius, diameter,
                    2 * inspection.claddingCircle().radius),
                QStringLiteral("debug: cladding info"), QStringLiteral("warning: ") + warning,
                QStringLiteral("debug: cropGeometry QRect(0,0 0x0)"),
                QStringLiteral("debug: crop geometry is invalid")}));
        QCOMPARE(photoFiles(), (QStringList{QStringLiteral("photo.png"), QStringLiteral("photo.png_01_gray.png")}));
        QCOMPARE(inspection.reasonText(), QStringLiteral("crop geometry is invalid"));
        QVERIFY(inspection.claddingCircle().isValid());
        QCOMPARE(inspection.crop(), QRect());
        QCOMPARE(inspection.counts().contours, 0);
    }

    void aFibreCutByTheBorderGivesNoVerdict()
    {
        const LogCapture silence;
        EndfaceScene scene;
        scene.frame = EndfaceScene::Frame::CutByBorder;
        const QString path = photoPath();
        QVERIFY(paintEndface(scene).save(path));

        compareFailure(analyse(path), Standard::IEC61300_3_35_SM_RL45);
    }

    void aCropThatTouchesTheBorderIsInspected()
    {
        const LogCapture silence;
        const TestResult result = analyse(write(Face(QSize(800, 600), QPointF(-280, 0)).fibre().image()));

        QCOMPARE(result.error(), false);
        QCOMPARE(result.passed(), true);
    }

    void manualFailsAtOnce_data()
    {
        QTest::addColumn<bool>("noise");
        QTest::newRow("a clean face") << false;
        QTest::newRow("noise, where any circle is found") << true;
    }

    void manualFailsAtOnce()
    {
        QFETCH(bool, noise);
        cv::Mat image = Face().fibre().image();
        if (noise)
            cv::RNG(1).fill(image, cv::RNG::UNIFORM, 0, 256);
        const QString path = write(image);
        const LogCapture log;
        const WorkTimer timer;

        const TestResult result = analyse(path, Standard::Manual);

        QVERIFY2(timer.seconds() < 1, qPrintable(QString::number(timer.seconds())));
        compareFailure(result, Standard::Manual);
        QCOMPARE(comparable(log.asText()),
            (QStringList{QStringLiteral("info: ---- START BENCHMARK ----"), QStringLiteral("info: image loaded N ms"),
                QStringLiteral("info: image converted to gray N ms"),
                QStringLiteral("debug: Failed to detect cladding")}));
    }

    void anUnknownStandardFailsLikeManual()
    {
        const LogCapture log;

        const TestResult result = analyse(write(Face().fibre().image()), static_cast<Standard::Id>(9));

        compareFailure(result, Standard::Manual);
        QCOMPARE(log.debugs(), QStringList{QStringLiteral("Failed to detect cladding")});
    }

    void aScopeWithoutAFieldOfViewFails_data()
    {
        QTest::addColumn<QSize>("fov");
        QTest::newRow("none") << QSize();
        QTest::newRow("empty") << QSize(0, 0);
        QTest::newRow("no width") << QSize(0, 640);
        QTest::newRow("negative") << QSize(-860, -640);
        QTest::newRow("tiny") << QSize(1, 1);
        QTest::newRow("huge") << QSize(std::numeric_limits<int>::max(), 1);
    }

    void aScopeWithoutAFieldOfViewFails()
    {
        QFETCH(QSize, fov);
        const QString path = write(Face().fibre().image());
        const LogCapture log;
        Device device = Device::ks20();
        device.fov = fov;
        QElapsedTimer timer;
        timer.start();

        const TestResult result = AnalyserPrivate::analyse(Standard::IEC61300_3_35_SM_RL45, path, device, 1, false);

        QVERIFY(timer.elapsed() < 5000);
        compareFailure(result, Standard::IEC61300_3_35_SM_RL45);
        QCOMPARE(log.debugs(), QStringList{QStringLiteral("Failed to detect cladding")});
    }

    // --- scales and sizes

    void anAbsurdScaleFails_data()
    {
        QTest::addColumn<float>("scale");
        QTest::newRow("zero") << 0.0F;
        QTest::newRow("minus zero") << -0.0F;
        QTest::newRow("negative") << -1.0F;
        QTest::newRow("slightly negative") << -1e-30F;
        QTest::newRow("not a number") << std::numeric_limits<float>::quiet_NaN();
        QTest::newRow("infinite") << infinity;
        QTest::newRow("minus infinite") << -infinity;
        QTest::newRow("a billionth") << 1e-9F;
        QTest::newRow("smallest") << std::numeric_limits<float>::denorm_min();
        QTest::newRow("a hundredth") << 0.01F;
        QTest::newRow("a billion") << 1e9F;
        QTest::newRow("largest") << std::numeric_limits<float>::max();
        QTest::newRow("the height is less than a pixel") << 601.0F;
        QTest::newRow("a single row") << 600.0F;
    }

    void anAbsurdScaleFails()
    {
        QFETCH(float, scale);
        const QString path = write(Face().fibre().image());
        const LogCapture log;
        const WorkTimer timer;

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, scale, false);

        QVERIFY2(timer.seconds() < 3, qPrintable(QString::number(timer.seconds())));
        compareFailure(result, Standard::IEC61300_3_35_SM_RL45);
        QCOMPARE(comparable(log.asText()),
            (QStringList{QStringLiteral("info: ---- START BENCHMARK ----"), QStringLiteral("info: image loaded N ms"),
                QStringLiteral("info: image converted to gray N ms"),
                QStringLiteral("debug: Failed to detect cladding")}));
    }

    void theScaleDividesInSinglePrecision_data()
    {
        QTest::addColumn<float>("scale");
        QTest::addColumn<QSize>("size");
        // In double precision several of these are one pixel less.
        QTest::newRow("0.8") << 0.8F << QSize(1000, 750);
        QTest::newRow("1.6") << 1.6F << QSize(500, 375);
        QTest::newRow("0.5") << 0.5F << QSize(1600, 1200);
        QTest::newRow("1.3") << 1.3F << QSize(615, 461);
        QTest::newRow("0.7") << 0.7F << QSize(1142, 857);
    }

    void theScaleDividesInSinglePrecision()
    {
        QFETCH(float, scale);
        QFETCH(QSize, size);
        const LogCapture silence;
        const QString path = write(Face().fibre().image());

        analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, scale, true);

        const cv::Mat scaled = readImage(path + scaledSuffix);
        QCOMPARE(QSize(scaled.cols, scaled.rows), size);
    }

    void aScaledFaceKeepsItsMicrometres()
    {
        const LogCapture silence;
        const QString path = write(Face().fibre().disc({35, 0}, 8, 50).image());
        float sizes[2] = {0, 0};
        int i = 0;
        for (const float scale : {1.0F, 0.5F}) {
            const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr, scale);
            QCOMPARE(result.claddingDefects().size(), 1);
            sizes[i++] = result.claddingDefects().first().size;
        }

        QVERIFY(std::abs(sizes[0] - sizes[1]) < 2);
    }

    void imagesOfOtherSizesAreInspected_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("found");
        QTest::newRow("640 x 480") << QSize(640, 480) << true;
        QTest::newRow("1024 x 768") << QSize(1024, 768) << true;
        QTest::newRow("1280 x 720") << QSize(1280, 720) << true;
        QTest::newRow("1600 x 1200") << QSize(1600, 1200) << true;
        QTest::newRow("1 x 1") << QSize(1, 1) << false;
        QTest::newRow("800 x 1") << QSize(800, 1) << false;
        QTest::newRow("1 x 600") << QSize(1, 600) << false;
        QTest::newRow("801 x 3") << QSize(801, 3) << false;
    }

    void imagesOfOtherSizesAreInspected()
    {
        QFETCH(QSize, size);
        QFETCH(bool, found);
        const QString path = write(Face(size).fibre().disc({35, 0}, 5, 50).image());
        const LogCapture log;
        Inspection inspection;

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, &inspection);

        QCOMPARE(result.error(), !found);
        QCOMPARE(inspection.micronsPerPixel(), 860.0F / float(size.width()));
        if (found) {
            QVERIFY(result.passed());
            QCOMPARE(result.claddingDefects().size(), 1);
            QVERIFY(std::abs(result.claddingDefects().first().size - 10) < 3.5F);
        } else {
            QCOMPARE(log.debugs().constLast(), QStringLiteral("Failed to detect cladding"));
        }
    }

    void aFinerImageAsksForABetterFit()
    {
        const LogCapture silence;
        // The radius may be 10 pixels smaller than expected, however many micrometres these are.
        const auto error = [this](const QSize &size) {
            return analyse(write(Face(size).disc({0, 0}, 56, claddingGray).image())).error();
        };

        QVERIFY(!error(QSize(800, 600)));
        QVERIFY(error(QSize(2592, 1944)));
    }

    void grayAndTransparentPhotographsAreInspected()
    {
        const LogCapture silence;
        cv::Mat gray;
        cv::cvtColor(Face().fibre().image(), gray, cv::COLOR_BGR2GRAY);
        cv::Mat transparent;
        cv::cvtColor(Face().fibre().image(), transparent, cv::COLOR_BGR2BGRA);

        QVERIFY(analyse(write(gray)).passed());
        QVERIFY(analyse(write(transparent)).passed());
    }

    // --- what counts

    void defectsOfTheContactZoneNeverCount()
    {
        const LogCapture log;
        Face face = Face().fibre();
        for (int i = 0; i < 12; ++i)
            face.disc(QPointF(95 * std::cos(i * 0.52), 95 * std::sin(i * 0.52)), 10, 30);
        Inspection inspection;

        const TestResult result = analyse(write(face.image()), Standard::IEC61300_3_35_SM_RL45, &inspection);

        QCOMPARE(result.passed(), true);
        QVERIFY(inspection.counts().contours >= 12);
        QCOMPARE(inspection.counts().raw, 0);
        QVERIFY(log.debugs().contains(QStringLiteral("contactDefects.size: 0")));
    }

    void anUnbrokenRimHidesWhatLiesInside()
    {
        const LogCapture silence;
        Inspection inspection;
        // A dark ring of adhesive: its inner edge is no plain rim, stays, and closes.
        const QString path = write(Face().disc({0, 0}, 76, 60).fibre().disc({30, 0}, 4, 50).image());

        const TestResult result = analyse(path, Standard::IEC61300_3_35_SM_RL45, &inspection);

        QCOMPARE(result.error(), false);
        QCOMPARE(result.passed(), false);
        QCOMPARE(inspection.counts().merged, 1);
        const QVector<Defect> defects = result.coreDefects() + result.claddingDefects();
        QCOMPARE(defects.size(), 1);
        QVERIFY(defects.first().size > 110); // the rim itself
        QVERIFY(defects.first().causesFailure);
    }

    void smallDefectsCloseToEachOtherCountAsOne()
    {
        const LogCapture silence;
        // Two of 16 micrometres, alone harmless; together larger than 25.
        const auto analysed = [this](double distance) {
            return analyse(write(Face().fibre().disc({0, 38}, 8, 50).disc({0 + distance, 38}, 8, 50).image()));
        };
        const TestResult apart = analysed(30);
        const TestResult together = analysed(20);

        QCOMPARE(apart.claddingDefects().size(), 2);
        QVERIFY(apart.passed());
        QCOMPARE(together.claddingDefects().size(), 1);
        QVERIFY(!together.passed());
    }

    // --- several at once

    void theInspectionIsOptional()
    {
        const LogCapture silence;
        const QString path = write(evenFace().image());
        Inspection inspection;

        const TestResult with = analyse(path, Standard::IEC61300_3_35_SM_RL45, &inspection);
        const TestResult without = analyse(path, Standard::IEC61300_3_35_SM_RL45, nullptr);

        QCOMPARE(with.passed(), without.passed());
        compareDefects(with.coreDefects(), without.coreDefects());
    }

    void twoInspectionsAtOnceDoNotMix()
    {
        constexpr int rounds = 15;
        const QString cleanPath = write(Face().fibre().image(), QStringLiteral("clean.png"));
        const QString badPath = write(evenFace().image(), QStringLiteral("bad.png"));
        cv::Mat results[2];
        {
            const LogCapture silence;
            QVERIFY(analyse(cleanPath).passed());
            results[0] = readImage(resultPath());
            QVERIFY(!analyse(badPath).passed());
            results[1] = readImage(resultPath());
        }
        QVERIFY(!sameImage(results[0], results[1]));
        const LogCapture log;

        for (int round = 0; round < rounds; ++round) {
            bool cleanPassed = false;
            bool badPassed = true;
            std::thread clean([&] { cleanPassed = analyse(cleanPath).passed(); });
            std::thread bad([&] { badPassed = analyse(badPath).passed(); });
            clean.join();
            bad.join();

            QVERIFY(cleanPassed);
            QVERIFY(!badPassed);
            const cv::Mat result = readImage(resultPath());
            QVERIFY(sameImage(result, results[0]) || sameImage(result, results[1]));
            QCOMPARE(temporaryFiles(), QStringList{QStringLiteral("fiber_result_image.jpg")});
        }

        // One after the other: between a beginning and its verdict nothing else begins.
        bool running = false;
        int finished = 0;
        const auto lines = log.lines();
        for (const LogCapture::Line &line : lines) {
            if (line.text == QLatin1String("---- START BENCHMARK ----")) {
                QVERIFY(!running);
                running = true;
            } else if (line.text.startsWith(QLatin1String("TEST "))) {
                QVERIFY(running);
                running = false;
                ++finished;
            }
        }
        QCOMPARE(finished, 2 * rounds);
    }
};

QTEST_GUILESS_MAIN(TestAnalyserPrivate)
#include "tst_analyserprivate.moc"
