// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "ProgramRun.h"
#include "endface/EndfaceCommand.h"
#include "simulation/EndfaceScenes.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>
#include <QtTest>

#include <cmath>
#include <limits>
#include <sys/stat.h>

Q_DECLARE_METATYPE(EndfaceScene)

namespace {
struct Outcome
{
    int code;
    QString out;
    QString err;
};

Outcome run(const QStringList &arguments)
{
    Outcome outcome;
    QTextStream out(&outcome.out);
    QTextStream err(&outcome.err);
    outcome.code = runEndfaceCommand(QStringList{QStringLiteral("vantor-endface")} + arguments, out, err);
    return outcome;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QJsonObject jsonFile(const QString &path)
{
    return QJsonDocument::fromJson(contents(path)).object();
}

// Nothing but geometry: no grain, no light falloff, no blur, no noise.
EndfaceScene bareScene()
{
    EndfaceScene scene;
    scene.texture = 0.0;
    scene.vignetting = 0.0;
    scene.blurSigma = 0.0;
    scene.noiseSigma = 0.0;
    scene.offset = {30.0, -20.0};
    return scene;
}

EndfaceDefect defectOf(EndfaceDefect::Kind kind, double size, QPointF center)
{
    EndfaceDefect defect;
    defect.kind = kind;
    defect.size = size;
    defect.center = center;
    defect.irregularity = 0.0;
    return defect;
}

QPointF pointOf(const QJsonValue &value)
{
    return {value[QLatin1String("x")].toDouble(), value[QLatin1String("y")].toDouble()};
}

int greyAt(const QImage &image, QPointF point)
{
    return qGray(image.pixel(point.toPoint()));
}

double meanDifference(const QImage &a, const QImage &b)
{
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x)
            sum += std::abs(qGray(a.pixel(x, y)) - qGray(b.pixel(x, y)));
    }
    return sum / a.width() / a.height();
}

// How much light the blemishes of a scene take away, in whole pixels of complete darkness.
double lightLost(const EndfaceScene &scene)
{
    EndfaceScene clean = scene;
    clean.defects.clear();
    const EndfaceSurface with = paintEndfaceSurface(scene);
    const EndfaceSurface without = paintEndfaceSurface(clean);
    double sum = 0.0;
    for (std::size_t i = 0; i < with.grey.size(); ++i)
        sum += 1.0 - static_cast<double>(with.grey[i] / without.grey[i]);
    return sum;
}

QJsonValue defectTruth(const EndfaceScene &scene)
{
    return endfaceTruth(scene).value(QLatin1String("defects"))[0];
}

QStringList zonesOf(const EndfaceScene &scene)
{
    QStringList names;
    const QJsonArray zones = defectTruth(scene)[QLatin1String("zones")].toArray();
    for (const QJsonValue &zone : zones)
        names.append(zone.toString());
    return names;
}
} // namespace

class TestEndfacePainter : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void equalScenesGiveEqualPixels_data() { presetRows(); }
    void equalScenesGiveEqualPixels()
    {
        QFETCH(QString, preset);

        const QImage image = paintEndface(endfacePreset(preset));

        QVERIFY(!image.isNull());
        QCOMPARE(image.size(), QSize(800, 600));
        QCOMPARE(image.format(), QImage::Format_Grayscale8);
        QCOMPARE(image, paintEndface(endfacePreset(preset)));
    }

    void anotherSeedGivesAnotherGrain()
    {
        EndfaceScene scene = endfacePreset(QStringLiteral("clean"));
        const QImage image = paintEndface(scene);

        scene.seed += 1;

        QVERIFY(meanDifference(image, paintEndface(scene)) > 0.5);
    }

    void theSequenceOfRandomFacesIsFixed()
    {
        const EndfaceScene scene = randomEndfaceScene(7);

        QCOMPARE(endfaceTruth(scene), endfaceTruth(randomEndfaceScene(7)));
        QVERIFY(endfaceTruth(scene) != endfaceTruth(randomEndfaceScene(8)));
    }

    void theFibreLiesWhereTheTruthSaysIt_data()
    {
        QTest::addColumn<bool>("multimode");
        QTest::addColumn<QSize>("size");
        QTest::newRow("single-mode, 800x600") << false << QSize(800, 600);
        QTest::newRow("multimode, 800x600") << true << QSize(800, 600);
        QTest::newRow("single-mode, 5 megapixels") << false << QSize(2592, 1944);
        QTest::newRow("odd size") << false << QSize(641, 479);
    }
    void theFibreLiesWhereTheTruthSaysIt()
    {
        QFETCH(bool, multimode);
        QFETCH(QSize, size);
        EndfaceScene scene = bareScene();
        scene.size = size;
        scene.coreDiameter = multimode ? 62.5 : 9.0;
        scene.gradedCore = multimode;
        const QJsonObject truth = endfaceTruth(scene);
        const QPointF center = pointOf(truth[QLatin1String("fibresPx")][0]);
        const double radius = truth[QLatin1String("claddingRadiusPx")].toDouble();
        const double pixel = 1.0 / truth[QLatin1String("micronsPerPixel")].toDouble();

        const QImage image = paintEndface(scene);

        const int core = greyAt(image, center);
        QVERIFY(core > greyAt(image, center + QPointF(45.0 * pixel, 0.0)) + 10);
        for (int angle = 0; angle < 360; angle += 15) {
            const QPointF direction(std::cos(angle * M_PI / 180.0), std::sin(angle * M_PI / 180.0));
            QVERIFY(std::abs(greyAt(image, center + direction * (radius - 5.0 * pixel)) - scene.claddingGrey) < 6.0);
            QVERIFY(std::abs(greyAt(image, center + direction * (radius + 5.0 * pixel)) - scene.ferruleGrey) < 2.0);
        }
    }

    void aPitDarkensThePlaceThatTheTruthNames_data()
    {
        QTest::addColumn<double>("size");
        QTest::addColumn<QPointF>("center");
        QTest::newRow("10 um in the cladding") << 10.0 << QPointF(25.0, -31.0);
        QTest::newRow("2 um in the cladding") << 2.0 << QPointF(-20.3, 14.2);
        QTest::newRow("30 um on the ferrule") << 30.0 << QPointF(-120.0, 64.5);
        QTest::newRow("4 um on the core") << 4.0 << QPointF(0.0, 0.0);
    }
    void aPitDarkensThePlaceThatTheTruthNames()
    {
        QFETCH(double, size);
        QFETCH(QPointF, center);
        EndfaceScene scene = bareScene();
        const QImage clean = paintEndface(scene);
        scene.defects = {defectOf(EndfaceDefect::Kind::Pit, size, center)};
        scene.defects[0].contrast = 0.6;
        const QJsonValue truth = defectTruth(scene);
        const QPointF place = pointOf(truth[QLatin1String("centerPx")]);
        const double radius = truth[QLatin1String("size")].toDouble() / 2.0 / scene.micronsPerPixel();

        const QImage image = paintEndface(scene);

        double x = 0.0;
        double y = 0.0;
        double lost = 0.0;
        for (int row = 0; row < image.height(); ++row) {
            for (int column = 0; column < image.width(); ++column) {
                const int difference = qGray(clean.pixel(column, row)) - qGray(image.pixel(column, row));
                if (std::hypot(column - place.x(), row - place.y()) > radius + 1.5)
                    QCOMPARE(difference, 0);
                x += column * difference;
                y += row * difference;
                lost += difference;
            }
        }
        QVERIFY(lost > 0.0);
        QVERIFY(std::hypot(x / lost - place.x(), y / lost - place.y()) < 0.35);
        QVERIFY(greyAt(image, place) < greyAt(clean, place) * (radius < 1.5 ? 0.8 : 0.6));
    }

    void smallPitsKeepTheirWeight_data()
    {
        QTest::addColumn<double>("size");
        for (const double size : {0.5, 1.0, 2.0, 5.0, 20.0})
            QTest::addRow("%g um", size) << size;
    }
    void smallPitsKeepTheirWeight()
    {
        QFETCH(double, size);
        EndfaceScene scene = bareScene();
        scene.size = {1600, 1200};
        scene.defects = {defectOf(EndfaceDefect::Kind::Pit, size, {-30.0, 20.0})};
        scene.defects[0].contrast = 1.0;
        const double radius = size / 2.0 / scene.micronsPerPixel();
        const double area = M_PI * radius * radius;

        const double lost = lightLost(scene);

        QVERIFY2(lost > 0.75 * area && lost < 1.15 * area, qPrintable(QStringLiteral("%1 of %2").arg(lost).arg(area)));
    }

    void aRaggedPitStaysInsideItsCircle()
    {
        EndfaceScene scene = bareScene();
        scene.defects = {defectOf(EndfaceDefect::Kind::Pit, 40.0, {0.0, -28.0})};
        const double round = lightLost(scene);

        scene.defects[0].irregularity = 0.5;

        QVERIFY(lightLost(scene) < 0.85 * round);
        QVERIFY(lightLost(scene) > 0.3 * round);
    }

    void aScratchRunsAlongItsAngle_data()
    {
        QTest::addColumn<double>("angle");
        for (const double angle : {0.0, 30.0, 90.0, 135.0})
            QTest::addRow("%g degrees", angle) << angle;
    }
    void aScratchRunsAlongItsAngle()
    {
        QFETCH(double, angle);
        EndfaceScene scene = bareScene();
        const QImage clean = paintEndface(scene);
        EndfaceDefect scratch = defectOf(EndfaceDefect::Kind::Scratch, 4.0, {5.0, 10.0});
        scratch.length = 60.0;
        scratch.angle = angle;
        scene.defects = {scratch};
        const QJsonValue truth = defectTruth(scene);
        const QPointF place = pointOf(truth[QLatin1String("centerPx")]);
        const QPointF along(std::cos(angle * M_PI / 180.0), std::sin(angle * M_PI / 180.0));
        const QPointF across(-along.y(), along.x());

        const QImage image = paintEndface(scene);

        const auto change = [&](QPointF micrometres) {
            const QPointF point = place + micrometres / scene.micronsPerPixel();
            return greyAt(clean, point) - greyAt(image, point);
        };
        for (const double step : {-15.0, -8.0, 0.0, 8.0, 15.0})
            QVERIFY(change(along * step) > 30);
        for (const double side : {-6.0, 6.0})
            QCOMPARE(change(across * side), 0);
        for (const double end : {-33.0, 33.0})
            QCOMPARE(change(along * end), 0);
        QCOMPARE(truth[QLatin1String("size")].toDouble(), 60.0);
        QCOMPARE(truth[QLatin1String("width")].toDouble(), 4.0);
        QCOMPARE(truth[QLatin1String("angle")].toDouble(), angle);
    }

    void dustIsBrightInsideADarkRim()
    {
        EndfaceScene scene = bareScene();
        scene.defects = {defectOf(EndfaceDefect::Kind::Particle, 24.0, {-25.0, 20.0})};
        const QPointF place = pointOf(defectTruth(scene)[QLatin1String("centerPx")]);
        const double radius = 12.0 / scene.micronsPerPixel();

        const QImage image = paintEndface(scene);

        int brightest = 0;
        for (int angle = 0; angle < 360; angle += 30) {
            const QPointF direction(std::cos(angle * M_PI / 180.0), std::sin(angle * M_PI / 180.0));
            QVERIFY(greyAt(image, place + direction * 0.93 * radius) < 0.7 * scene.claddingGrey);
            brightest = qMax(brightest, greyAt(image, place + direction * 0.2 * radius));
        }
        QVERIFY(brightest > 0.9 * scene.claddingGrey);
    }

    void aNegativeContrastShines()
    {
        EndfaceScene scene = bareScene();
        const QImage clean = paintEndface(scene);
        scene.defects = {defectOf(EndfaceDefect::Kind::Pit, 8.0, {-25.0, 20.0})};
        scene.defects[0].contrast = -0.3;
        const QPointF place = pointOf(defectTruth(scene)[QLatin1String("centerPx")]);

        QVERIFY(greyAt(paintEndface(scene), place) > greyAt(clean, place) + 20);
    }

    void blemishesOutsideThePictureChangeNothing()
    {
        EndfaceScene scene = bareScene();
        const QImage clean = paintEndface(scene);
        EndfaceDefect scratch = defectOf(EndfaceDefect::Kind::Scratch, 4.0, {0.0, 9000.0});
        scratch.length = 100.0;
        scene.defects = {scratch, defectOf(EndfaceDefect::Kind::Pit, 50.0, {-9000.0, 0.0})};

        QCOMPARE(paintEndface(scene), clean);
    }

    void theTruthNamesTheZones_data()
    {
        QTest::addColumn<bool>("multimode");
        QTest::addColumn<double>("distance");
        QTest::addColumn<double>("size");
        QTest::addColumn<QStringList>("zones");
        const auto list = [](const char *text) { return QString::fromUtf8(text).split(QLatin1Char(' ')); };
        QTest::newRow("core") << false << 5.0 << 4.0 << list("core");
        QTest::newRow("core edge") << false << 12.5 << 4.0 << list("core cladding");
        QTest::newRow("cladding") << false << 30.0 << 4.0 << list("cladding");
        QTest::newRow("multimode core") << true << 30.0 << 4.0 << list("core");
        QTest::newRow("rim") << false << 60.0 << 20.0 << list("cladding adhesive contact");
        QTest::newRow("contact") << false << 100.0 << 4.0 << list("contact");
        QTest::newRow("everything") << false << 0.0 << 400.0 << list("core cladding adhesive contact");
    }
    void theTruthNamesTheZones()
    {
        QFETCH(bool, multimode);
        QFETCH(double, distance);
        QFETCH(double, size);
        QFETCH(QStringList, zones);
        EndfaceScene scene;
        scene.coreDiameter = multimode ? 50.0 : 9.0;
        scene.defects = {defectOf(EndfaceDefect::Kind::Pit, size, {0.6 * distance, -0.8 * distance})};

        const QJsonObject truth = endfaceTruth(scene);

        QCOMPARE(zonesOf(scene), zones);
        QCOMPARE(truth[QLatin1String("zones")][QLatin1String("core")].toInt(), multimode ? 65 : 25);
    }

    void aScratchTouchesTheZonesItCrosses()
    {
        EndfaceScene scene;
        EndfaceDefect scratch = defectOf(EndfaceDefect::Kind::Scratch, 2.0, {30.0, 0.0});
        scratch.length = 100.0;
        scene.defects = {scratch};
        const QStringList crossed = zonesOf(scene);
        scene.defects[0].angle = 90.0;
        const QStringList passed = zonesOf(scene);

        QCOMPARE(crossed.join(QLatin1Char(' ')), QStringLiteral("core cladding adhesive contact"));
        QCOMPARE(passed.join(QLatin1Char(' ')), QStringLiteral("cladding adhesive"));
    }

    void eachFrameShowsTheFibresOfItsTruth_data()
    {
        QTest::addColumn<int>("frame");
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("fibres");
        const auto row = [](EndfaceScene::Frame frame, const char *name, int fibres) {
            QTest::newRow(name) << static_cast<int>(frame) << QString::fromUtf8(name) << fibres;
        };
        row(EndfaceScene::Frame::Normal, "normal", 1);
        row(EndfaceScene::Frame::NoFibre, "none", 0);
        row(EndfaceScene::Frame::TwoFibres, "two", 2);
        row(EndfaceScene::Frame::CutByBorder, "cut", 1);
    }
    void eachFrameShowsTheFibresOfItsTruth()
    {
        QFETCH(int, frame);
        QFETCH(QString, name);
        QFETCH(int, fibres);
        EndfaceScene scene = bareScene();
        scene.frame = static_cast<EndfaceScene::Frame>(frame);
        const QJsonObject truth = endfaceTruth(scene);

        const QImage image = paintEndface(scene);

        QCOMPARE(truth[QLatin1String("frame")].toString(), name);
        QCOMPARE(truth[QLatin1String("fibresPx")].toArray().size(), fibres);
        int dark = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                dark += qGray(image.pixel(x, y)) < 180 ? 1 : 0;
        }
        const double radius = truth[QLatin1String("claddingRadiusPx")].toDouble();
        const double visible = dark / (M_PI * radius * radius);
        if (scene.frame == EndfaceScene::Frame::CutByBorder)
            QVERIFY(visible > 0.55 && visible < 0.75);
        else
            QVERIFY(std::abs(visible - fibres) < 0.05 * fibres + 1e-9);
        const QJsonArray centers = truth[QLatin1String("fibresPx")].toArray();
        for (const QJsonValue &fibre : centers)
            QVERIFY(std::abs(greyAt(image, pointOf(fibre)) - scene.coreGrey) < 5.0);
    }

    void theSameSceneLooksTheSameInAnotherResolution()
    {
        EndfaceScene scene = endfacePreset(QStringLiteral("pitted"));
        scene.noiseSigma = 0.0;
        const QImage coarse = paintEndface(scene);
        scene.size *= 2;

        const QImage fine = paintEndface(scene).scaled(coarse.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);

        QVERIFY(meanDifference(coarse, fine) < 2.0);
    }

    void theLightGrowsInItsDirection()
    {
        EndfaceScene scene = bareScene();
        scene.frame = EndfaceScene::Frame::NoFibre;
        scene.ferruleGrey = 150.0;
        scene.illumination = 0.2;
        const QImage toTheRight = paintEndface(scene);
        scene.illuminationAngle = 90.0;
        const QImage down = paintEndface(scene);

        QVERIFY(std::abs(qGray(toTheRight.pixel(799, 300)) - qGray(toTheRight.pixel(0, 300)) - 30) <= 1);
        QCOMPARE(qGray(toTheRight.pixel(400, 0)), qGray(toTheRight.pixel(400, 599)));
        QVERIFY(qGray(down.pixel(400, 599)) > qGray(down.pixel(400, 0)) + 15);
    }

    void vignettingDarkensTheCorners()
    {
        EndfaceScene scene = bareScene();
        scene.frame = EndfaceScene::Frame::NoFibre;
        scene.vignetting = 0.2;

        const QImage image = paintEndface(scene);

        QVERIFY(std::abs(qGray(image.pixel(0, 0)) - 0.8 * scene.ferruleGrey) < 1.5);
        QVERIFY(std::abs(qGray(image.pixel(400, 300)) - scene.ferruleGrey) < 1.5);
    }

    void theNoiseHasTheGivenDeviation_data()
    {
        QTest::addColumn<double>("sigma");
        for (const double sigma : {0.0, 2.0, 10.0})
            QTest::addRow("%g grey levels", sigma) << sigma;
    }
    void theNoiseHasTheGivenDeviation()
    {
        QFETCH(double, sigma);
        const EndfaceSurface flat{QSize(400, 300), 1.0, std::vector<float>(120000, 128.0F)};

        const QImage image = exposeEndface(flat, 0.0, sigma, 5);

        double sum = 0.0;
        double squares = 0.0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x) {
                const int deviation = qGray(image.pixel(x, y)) - 128;
                sum += deviation;
                squares += deviation * deviation;
            }
        }
        QVERIFY(std::abs(sum / 120000.0) < 0.1);
        QVERIFY(std::abs(std::sqrt(squares / 120000.0) - sigma) < 0.05 * sigma + 1e-9);
    }

    void blurSpreadsLightAndKeepsItsSum()
    {
        EndfaceSurface spot{QSize(101, 101), 1.0, std::vector<float>(10201, 0.0F)};
        const double sigma = 4.0;
        spot.grey[spot.grey.size() / 2] = 20000.0F;

        const QImage image = exposeEndface(spot, sigma, 0.0, 1);

        const double peak = 20000.0 / (2.0 * M_PI * sigma * sigma);
        QVERIFY(std::abs(qGray(image.pixel(50, 50)) - peak) < 0.02 * peak);
        QVERIFY(std::abs(qGray(image.pixel(54, 50)) - peak * std::exp(-0.5)) < 0.02 * peak);
        QVERIFY(std::abs(qGray(image.pixel(50, 46)) - peak * std::exp(-0.5)) < 0.02 * peak);
        QCOMPARE(qGray(image.pixel(50, 50 + 13)), 0);
    }

    void blurKeepsAnEvenSurface()
    {
        const EndfaceSurface flat{QSize(50, 40), 1.0, std::vector<float>(2000, 128.0F)};

        const QImage image = exposeEndface(flat, 30.0, 0.0, 1);

        for (int y = 0; y < image.height(); ++y) {
            for (int x = 0; x < image.width(); ++x)
                QCOMPARE(qGray(image.pixel(x, y)), 128);
        }
    }

    void aSceneWithAProblemIsNotPainted_data()
    {
        QTest::addColumn<EndfaceScene>("scene");
        QTest::addColumn<QString>("problem");
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const auto row = [](const char *name, const char *problem, auto change) {
            EndfaceScene scene;
            scene.defects = {defectOf(EndfaceDefect::Kind::Pit, 5.0, {})};
            change(&scene);
            QTest::newRow(name) << scene << QString::fromUtf8(problem);
        };
        row("empty size", "pixels", [](EndfaceScene *scene) { scene->size = {}; });
        row("huge size", "pixels", [](EndfaceScene *scene) { scene->size = {100000, 600}; });
        row("no field of view", "field of view", [](EndfaceScene *scene) { scene->fovWidth = 0.0; });
        row("NaN field of view", "field of view", [nan](EndfaceScene *scene) { scene->fovWidth = nan; });
        row("NaN offset", "offset", [nan](EndfaceScene *scene) { scene->offset = {nan, 0.0}; });
        row("no cladding", "cladding", [](EndfaceScene *scene) { scene->claddingDiameter = 0.0; });
        row("core too wide", "core", [](EndfaceScene *scene) { scene->coreDiameter = 130.0; });
        row("grey level", "grey", [](EndfaceScene *scene) { scene->coreGrey = 256.0; });
        row("ring", "ring", [](EndfaceScene *scene) { scene->ringWidth = -1.0; });
        row("ring contrast", "ring", [](EndfaceScene *scene) { scene->ringContrast = 2.0; });
        row("illumination", "illumination", [nan](EndfaceScene *scene) { scene->illuminationAngle = nan; });
        row("blur", "blur", [](EndfaceScene *scene) { scene->blurSigma = 1e6; });
        row("negative blur", "blur", [](EndfaceScene *scene) { scene->blurSigma = -1.0; });
        row("noise", "noise", [nan](EndfaceScene *scene) { scene->noiseSigma = nan; });
        row("size of a defect", "size", [](EndfaceScene *scene) { scene->defects[0].size = 0.0; });
        row("place of a defect", "within", [nan](EndfaceScene *scene) { scene->defects[0].center = {0.0, nan}; });
        row("contrast of a defect", "contrast", [](EndfaceScene *scene) { scene->defects[0].contrast = 1.5; });
        row("irregular defect", "irregularity", [](EndfaceScene *scene) { scene->defects[0].irregularity = 1.0; });
        row("scratch without length", "length",
            [](EndfaceScene *scene) { scene->defects[0].kind = EndfaceDefect::Kind::Scratch; });
        row("angle", "angle", [](EndfaceScene *scene) { scene->defects[0].angle = 1e9; });
        row("too many defects", "at most",
            [](EndfaceScene *scene) { scene->defects.resize(EndfaceScene::maxDefects + 1); });
    }
    void aSceneWithAProblemIsNotPainted()
    {
        QFETCH(EndfaceScene, scene);
        QFETCH(QString, problem);

        QVERIFY2(scene.problem().contains(problem), qPrintable(scene.problem()));
        QVERIFY(paintEndface(scene).isNull());
        QVERIFY(paintEndfaceSurface(scene).grey.empty());
    }

    void everyPresetHasANameAndADescription()
    {
        const QStringList names = endfacePresets();

        QCOMPARE(names.join(QLatin1Char(' ')), QStringLiteral("clean scratched pitted dirty mm margin"));
        for (const QString &name : names) {
            QVERIFY(!endfacePresetDescription(name).isEmpty());
            QCOMPARE(endfacePreset(name).problem(), QString());
        }
        QVERIFY(endfacePresetDescription(QStringLiteral("unknown")).isEmpty());
        QVERIFY(endfacePreset(QStringLiteral("mm")).isMultimode());
        QVERIFY(endfacePreset(QStringLiteral("clean")).defects.isEmpty());
    }

    void randomScenesKeepTheirBounds()
    {
        EndfaceRandomOptions options;
        options.maxOffsetX = 50.0;
        options.minDefectSize = 3.0;
        options.maxDefectSize = 6.0;
        int defects = 0;
        for (quint32 seed = 0; seed < 300; ++seed) {
            const EndfaceScene scene = randomEndfaceScene(seed, options);
            QCOMPARE(scene.problem(), QString());
            QVERIFY(std::abs(scene.offset.x()) <= 50.0);
            QVERIFY(scene.defects.size() <= options.maxPits + options.maxParticles + options.maxScratches);
            for (const EndfaceDefect &defect : scene.defects) {
                if (defect.kind != EndfaceDefect::Kind::Scratch)
                    QVERIFY(defect.size >= 3.0 && defect.size <= 6.0);
            }
            defects += scene.defects.size();
        }
        QVERIFY(defects > 300);
    }

    void specksStayApart_data()
    {
        QTest::addColumn<int>("specks");
        QTest::addColumn<QSize>("size");
        QTest::newRow("none") << 0 << QSize(800, 600);
        QTest::newRow("one") << 1 << QSize(800, 600);
        QTest::newRow("1000") << 1000 << QSize(800, 600);
        QTest::newRow("4000") << 4000 << QSize(1600, 1200);
    }
    void specksStayApart()
    {
        QFETCH(int, specks);
        QFETCH(QSize, size);

        const EndfaceScene scene = dirtyEndfaceScene(3, specks);

        QCOMPARE(scene.size, size);
        QCOMPARE(scene.defects.size(), specks);
        QCOMPARE(scene.problem(), QString());
        double nearest = std::numeric_limits<double>::infinity();
        for (int i = 0; i < specks; ++i) {
            const QPointF center = scene.defects[i].center;
            QVERIFY(qMax(std::abs(center.x()), std::abs(center.y())) < 125.0 + 20.0 * scene.micronsPerPixel());
            for (int j = i + 1; j < specks; ++j) {
                const QPointF apart = scene.defects[j].center - center;
                nearest = qMin(nearest, std::hypot(apart.x(), apart.y()));
            }
        }
        QVERIFY(nearest > 6.9 * scene.micronsPerPixel());
    }

    void specksThatDoNotFitAreCutOff()
    {
        const EndfaceScene scene = dirtyEndfaceScene(3, 1000000);

        QCOMPARE(scene.size, QSize(1600, 1200));
        QVERIFY(scene.defects.size() > 4000);
        QCOMPARE(scene.problem(), QString());
    }

    void theCommandWritesTheSameBytesEachTime_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("JPEG") << QStringLiteral("face.jpg");
        QTest::newRow("JPEG, long name") << QStringLiteral("face.of.a.fibre.JPEG");
        QTest::newRow("PNG") << QStringLiteral("face.png");
    }
    void theCommandWritesTheSameBytesEachTime()
    {
        QFETCH(QString, name);
        const QTemporaryDir folder;
        const QString path = folder.filePath(name);
        const QStringList arguments{QStringLiteral("--preset"), QStringLiteral("dirty"), QStringLiteral("--defect"),
            QStringLiteral("scratch,2,40,3,-4,30,0.4"), path};
        const QString truthPath = folder.filePath(QFileInfo(name).completeBaseName() + QLatin1String(".json"));
        QCOMPARE(run(arguments).code, 0);
        const QByteArray picture = contents(path);
        const QByteArray truth = contents(truthPath);

        QCOMPARE(run(arguments).code, 0);

        QVERIFY(!picture.isEmpty() && !truth.isEmpty());
        QCOMPARE(contents(path), picture);
        QCOMPARE(contents(truthPath), truth);
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
        QCOMPARE(QImage(path).size(), QSize(800, 600));
    }

    void theCommandDoesWhatItsOptionsSay()
    {
        const QTemporaryDir folder;
        const QString truthPath = folder.filePath(QStringLiteral("truth.json"));

        const Outcome outcome =
            run({QStringLiteral("--size=640x480"), QStringLiteral("--fov=700"), QStringLiteral("--core=8"),
                QStringLiteral("--offset=-10,5.5"), QStringLiteral("--blur=2"), QStringLiteral("--noise=0.5"),
                QStringLiteral("--illumination=0.1,45"), QStringLiteral("--seed=99"), QStringLiteral("--frame=two"),
                QStringLiteral("--defect=pit,3,1,2"), QStringLiteral("--defect=particle,4,-1,-2,0.5"),
                QStringLiteral("--specks=10"), QStringLiteral("--quality=50"), QStringLiteral("--truth"), truthPath,
                folder.filePath(QStringLiteral("face.jpg"))});

        QCOMPARE(outcome.err, QString());
        QCOMPARE(outcome.code, 0);
        QCOMPARE(QImage(folder.filePath(QStringLiteral("face.jpg"))).size(), QSize(640, 480));
        const QJsonObject truth = jsonFile(truthPath);
        QCOMPARE(truth[QLatin1String("fovWidth")].toDouble(), 700.0);
        QCOMPARE(truth[QLatin1String("coreDiameter")].toDouble(), 8.0);
        QCOMPARE(pointOf(truth[QLatin1String("offset")]), QPointF(-10.0, 5.5));
        QCOMPARE(truth[QLatin1String("blurSigma")].toDouble(), 2.0);
        QCOMPARE(truth[QLatin1String("noiseSigma")].toDouble(), 0.5);
        QCOMPARE(truth[QLatin1String("illumination")].toDouble(), 0.1);
        QCOMPARE(truth[QLatin1String("illuminationAngle")].toDouble(), 45.0);
        QCOMPARE(truth[QLatin1String("seed")].toInt(), 99);
        QCOMPARE(truth[QLatin1String("frame")].toString(), QStringLiteral("two"));
        QCOMPARE(truth[QLatin1String("mode")].toString(), QStringLiteral("single-mode"));
        const QJsonArray defects = truth[QLatin1String("defects")].toArray();
        QCOMPARE(defects.size(), 12);
        QCOMPARE(defects[0][QLatin1String("kind")].toString(), QStringLiteral("pit"));
        QCOMPARE(defects[1][QLatin1String("kind")].toString(), QStringLiteral("particle"));
        QCOMPARE(defects[1][QLatin1String("contrast")].toDouble(), 0.5);
    }

    void wrongUsageIsOneClearLine_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *arguments, const char *text) {
            QTest::newRow(arguments) << QString::fromUtf8(arguments) << QString::fromUtf8(text);
        };
        row("", "one picture");
        row("a.jpg b.jpg", "one picture");
        row("--unknown a.jpg", "unknown");
        row("--preset nothing a.jpg", "--preset needs");
        row("--size 800 a.jpg", "--size needs");
        row("--size 800x600x3 a.jpg", "--size needs");
        row("--size 1e300x600 a.jpg", "--size needs");
        row("--size 8x6 a.jpg", "pixels");
        row("--fov inf a.jpg", "--fov needs");
        row("--core wide a.jpg", "--core needs");
        row("--core 200 a.jpg", "core");
        row("--offset 3 a.jpg", "--offset needs");
        row("--blur nan a.jpg", "--blur needs");
        row("--blur -1 a.jpg", "blur");
        row("--noise -1 a.jpg", "noise");
        row("--illumination a,b a.jpg", "--illumination needs");
        row("--illumination 5 a.jpg", "illumination");
        row("--seed -1 a.jpg", "--seed needs");
        row("--seed 1.5 a.jpg", "--seed needs");
        row("--seed 4294967296 a.jpg", "--seed needs");
        row("--frame three a.jpg", "--frame needs");
        row("--defect hole,1,2,3 a.jpg", "--defect needs");
        row("--defect pit,1,2 a.jpg", "--defect needs");
        row("--defect pit,1,2,3,0.5,7 a.jpg", "--defect needs");
        row("--defect scratch,1,2,3,4 a.jpg", "--defect needs");
        row("--defect pit,-1,2,3 a.jpg", "size of a defect");
        row("--defect pit,1,2,3,9 a.jpg", "contrast");
        row("--specks many a.jpg", "--specks needs");
        row("--specks 100000 a.jpg", "--specks needs");
        row("--specks 5 --size 8x6 a.jpg", "pixels");
        row("--quality 0 a.jpg", "--quality needs");
        row("--quality 101 a.jpg", "--quality needs");
        row("a.gif", ".jpg or .png");
        row("a", ".jpg or .png");
        row("--random 0 --out x", "--random needs");
        row("--random 5", "--out");
        row("--random 5 --seed 4294967295 --out x", "--seed needs");
        row("--random 2 --frame three --out .", "--frame needs");
        row("--random 2 --out . a.jpg", "--random does not go with a picture to write");
        row("--random 2 --out . --preset dirty", "--random does not go with --preset");
        row("--random 2 --out . --truth a.json", "--random does not go with --truth");
        row("--samples . --random 2 --out .", "--samples does not go with --random");
        row("--samples . --blur 3", "--samples does not go with --blur");
        row("--samples . a.jpg", "--samples does not go with a picture to write");
        row("--list-presets a.jpg", "--list-presets does not go with a picture to write");
        row("--list-presets --samples .", "--list-presets does not go with --samples");
        row("--out . a.jpg", "--out needs --random");
        row("--seed 1 --seed 2 a.jpg", "--seed is given twice");
    }
    void wrongUsageIsOneClearLine()
    {
        QFETCH(QString, arguments);
        QFETCH(QString, text);
        const QTemporaryDir folder;
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(folder.path()));

        const Outcome outcome = run(arguments.split(QLatin1Char(' '), Qt::SkipEmptyParts));

        QVERIFY(QDir::setCurrent(before));
        QCOMPARE(outcome.code, 64);
        QCOMPARE(outcome.out, QString());
        QVERIFY2(outcome.err.contains(text, Qt::CaseInsensitive), qPrintable(outcome.err));
        QVERIFY(outcome.err.startsWith(QLatin1String("vantor-endface: ")));
        QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void whatCannotBeWrittenIsReportedAndLeavesNothing_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto list = [](const char *text) { return QString::fromUtf8(text).split(QLatin1Char(' ')); };
        QTest::newRow("folder of the picture") << list("DIR/missing/a.jpg");
        QTest::newRow("folder of the truth") << list("--truth DIR/missing/a.json DIR/a.jpg");
        QTest::newRow("a folder in the place of the truth") << list("--truth DIR DIR/a.png");
        QTest::newRow("one name for both") << list("--truth DIR/a.png DIR/a.png");
        QTest::newRow("samples below a file") << list("--samples FILE/samples");
        QTest::newRow("random faces below a file") << list("--random 2 --out FILE/faces");
    }
    void whatCannotBeWrittenIsReportedAndLeavesNothing()
    {
        QFETCH(QStringList, arguments);
        const QTemporaryDir folder;
        const QTemporaryFile file;
        QVERIFY(const_cast<QTemporaryFile &>(file).open());
        arguments.replaceInStrings(QStringLiteral("DIR"), folder.path());
        arguments.replaceInStrings(QStringLiteral("FILE"), file.fileName());

        const Outcome outcome = run(arguments);

        QCOMPARE(outcome.code, 74);
        QVERIFY(outcome.err.startsWith(QLatin1String("vantor-endface: cannot write ")));
        QCOMPARE(outcome.err.count(QLatin1Char('\n')), 1);
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void aPipeIsNotReplaced_data()
    {
        QTest::addColumn<QString>("pipe");
        QTest::newRow("picture") << QStringLiteral("a.png");
        QTest::newRow("truth") << QStringLiteral("a.json");
    }
    void aPipeIsNotReplaced()
    {
        QFETCH(const QString, pipe);
        const QTemporaryDir folder;
        const QByteArray path = QFile::encodeName(folder.filePath(pipe));
        QCOMPARE(mkfifo(path.constData(), 0600), 0);

        const Outcome outcome = run({folder.filePath(QStringLiteral("a.png"))});

        QCOMPARE(outcome.code, 74);
        QVERIFY2(outcome.err.endsWith(pipe + QStringLiteral(": it is not a file\n")), qPrintable(outcome.err));
        struct stat status = {};
        QVERIFY(lstat(path.constData(), &status) == 0 && S_ISFIFO(status.st_mode));
    }

    void theTruthDoesNotReplaceThePictureBehindALink_data()
    {
        QTest::addColumn<QString>("link");
        QTest::addColumn<QString>("target");
        QTest::addColumn<QString>("truth");
        QTest::newRow("to the picture, which is not there yet")
            << QStringLiteral("t.json") << QStringLiteral("a.png") << QStringLiteral("t.json");
        QTest::newRow("to its folder") << QStringLiteral("here") << QStringLiteral(".") << QStringLiteral("here/a.png");
    }
    void theTruthDoesNotReplaceThePictureBehindALink()
    {
        QFETCH(const QString, link);
        QFETCH(const QString, target);
        QFETCH(const QString, truth);
        const QTemporaryDir folder;
        QCOMPARE(
            symlink(QFile::encodeName(target).constData(), QFile::encodeName(folder.filePath(link)).constData()), 0);

        const Outcome outcome =
            run({folder.filePath(QStringLiteral("a.png")), QStringLiteral("--truth"), folder.filePath(truth)});

        QCOMPARE(outcome.code, 74);
        QVERIFY2(outcome.err.endsWith(QStringLiteral(": it is the picture\n")), qPrintable(outcome.err));
        QVERIFY(!QFileInfo::exists(folder.filePath(QStringLiteral("a.png"))));
    }

    void messagesDoNotControlTheTerminal()
    {
        const QString name = QStringLiteral("/missing/\x1b[2J\u202e.png");
        const QString text = run({name}).err + run({QStringLiteral("--\x1b[2J"), name}).err;
        QVERIFY(text.contains(QStringLiteral("\\x1b[2J")));
        QVERIFY(!text.contains(QLatin1Char('\x1b')) && !text.contains(QChar(0x202e)));
    }

    void aPictureThatMayNotGrowIsReportedWithTheReason()
    {
        const QTemporaryDir folder;
        const Faults::FileSizeLimit limit(1024); // the program survives the signal, too

        const Outcome outcome = run({folder.filePath(QStringLiteral("a.png"))});

        QCOMPARE(outcome.code, 74);
        QVERIFY2(outcome.err.endsWith(QLatin1String("a.png: File too large\n")), qPrintable(outcome.err));
        QVERIFY(QDir(folder.path()).isEmpty());
    }

    void helpAndPresetsAreListed()
    {
        const Outcome help = run({QStringLiteral("--help")});
        const Outcome list = run({QStringLiteral("--list-presets")});

        QCOMPARE(help.code, 0);
        QVERIFY(help.out.contains(QLatin1String("--defect")));
        QCOMPARE(list.code, 0);
        QCOMPARE(list.out.count(QLatin1Char('\n')), endfacePresets().size());
        QVERIFY(list.out.startsWith(QLatin1String("clean ")));
    }

    void randomFacesCarryTheirSeedAndTruth()
    {
        const QTemporaryDir folder;

        const Outcome outcome = run({QStringLiteral("--random=3"), QStringLiteral("--seed=40"),
            QStringLiteral("--multimode"), QStringLiteral("--size=320x240"), QStringLiteral("--out"),
            folder.filePath(QStringLiteral("new/faces"))});

        QCOMPARE(outcome.code, 0);
        const QDir faces(folder.filePath(QStringLiteral("new/faces")));
        QCOMPARE(faces.entryList(QDir::Files).size(), 6);
        for (int seed = 40; seed < 43; ++seed) {
            const QString name = QStringLiteral("face-%1").arg(seed, 6, 10, QLatin1Char('0'));
            const QJsonObject truth = jsonFile(faces.filePath(name + QLatin1String(".json")));
            QCOMPARE(truth[QLatin1String("seed")].toInt(), seed);
            QCOMPARE(truth[QLatin1String("mode")].toString(), QStringLiteral("multimode"));
            QCOMPARE(QImage(faces.filePath(name + QLatin1String(".jpg"))).size(), QSize(320, 240));
        }
    }

    void theShippedSamplesAreWhatTheCommandWrites_data() { presetRows(); }
    void theShippedSamplesAreWhatTheCommandWrites()
    {
        QFETCH(QString, preset);
        const QDir shipped(QFINDTESTDATA("../../data/samples"));
        const EndfaceScene scene = endfacePreset(preset);

        const QImage sample(shipped.filePath(preset + QLatin1String(".jpg")));

        QCOMPARE(jsonFile(shipped.filePath(preset + QLatin1String(".json"))), endfaceTruth(scene));
        QCOMPARE(sample.size(), scene.size);
        QVERIFY(meanDifference(sample, paintEndface(scene)) < 1.5);
    }

    void theSamplesCommandWritesEveryPreset()
    {
        const QTemporaryDir folder;

        QCOMPARE(run({QStringLiteral("--samples"), folder.path()}).code, 0);

        const QStringList names = endfacePresets();
        for (const QString &name : names) {
            QVERIFY(QFile::exists(folder.filePath(name + QLatin1String(".jpg"))));
            QVERIFY(QFile::exists(folder.filePath(name + QLatin1String(".json"))));
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files).size(), 2 * endfacePresets().size());
    }

    void aLinkOfAnotherUserInAnOpenFolderIsRefused_data()
    {
        QTest::addColumn<QString>("link");
        QTest::newRow("picture") << QStringLiteral("face.png");
        QTest::newRow("truth") << QStringLiteral("face.json");
        QTest::newRow("behind a link of ours") << QStringLiteral("behind.png");
    }
    void aLinkOfAnotherUserInAnOpenFolderIsRefused()
    {
        QFETCH(const QString, link);
        const QTemporaryDir elsewhere;
        const QTemporaryDir folder;
        const QString target = elsewhere.filePath(QStringLiteral("precious"));
        const QString picture = folder.filePath(QStringLiteral("face.png"));
        const QString planted = folder.filePath(link);
        QCOMPARE(chmod(QFile::encodeName(folder.path()).constData(), 01777), 0);
        QVERIFY(QFile::link(target, planted));
        if (lchown(QFile::encodeName(planted).constData(), 12345, 12345) != 0)
            QSKIP("only root gives files away");
        if (link == QLatin1String("behind.png"))
            QVERIFY(QFile::link(planted, picture));

        const Outcome outcome = run({QStringLiteral("--size=200x150"), picture});

        QCOMPARE(outcome.code, 74);
        QVERIFY2(outcome.err.contains(QLatin1String("another user has put a link there")), qPrintable(outcome.err));
        QVERIFY(!QFile::exists(target));
    }

    void aFolderBehindALinkOfAnotherUserIsNotWrittenTo_data()
    {
        QTest::addColumn<QStringList>("arguments"); // the last one is below the link
        QTest::newRow("picture") << QStringList{QStringLiteral("--size=200x150"), QStringLiteral("face.png")};
        QTest::newRow("samples") << QStringList{QStringLiteral("--samples"), QStringLiteral("samples")};
        QTest::newRow("random scenes") << QStringList{
            QStringLiteral("--random=1"), QStringLiteral("--out"), QStringLiteral("scenes")};
    }
    void aFolderBehindALinkOfAnotherUserIsNotWrittenTo()
    {
        QFETCH(QStringList, arguments);
        const QTemporaryDir elsewhere;
        const QTemporaryDir folder;
        const QString planted = folder.filePath(QStringLiteral("charts"));
        QCOMPARE(chmod(QFile::encodeName(folder.path()).constData(), 01777), 0);
        QVERIFY(QFile::link(elsewhere.path(), planted));
        if (lchown(QFile::encodeName(planted).constData(), 12345, 12345) != 0)
            QSKIP("only root gives files away");
        arguments.last().prepend(planted + QLatin1Char('/'));

        const Outcome outcome = run(arguments);

        QCOMPARE(outcome.code, 74);
        QVERIFY2(outcome.err.contains(QLatin1String("another user has put a link there")), qPrintable(outcome.err));
        QVERIFY(QDir(elsewhere.path()).isEmpty());
    }

    /// The folder cannot be opened to have it written to the disk.
    void aPictureThatAPowerFailureMayTakeIsTold()
    {
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("face.png"));
        QVERIFY(QFile::setPermissions(folder.path(), QFile::WriteOwner | QFile::ExeOwner));
        Outcome outcome{};

        Faults::withoutOverride([&] { outcome = run({QStringLiteral("--size=200x150"), path}); });

        QVERIFY(QFile::setPermissions(folder.path(), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(outcome.code, 74);
        QCOMPARE(outcome.err,
            QStringLiteral("vantor-endface: cannot write %1: it is there, but the disk does not confirm it: "
                           "Permission denied\n")
                .arg(path));
    }

    void theProgramReturnsTheExitCode()
    {
        const QTemporaryDir folder;
        const QString program = QStringLiteral(VANTOR_ENDFACE_PROGRAM);
        const QString path = folder.filePath(QStringLiteral("face.png"));

        QCOMPARE(ProgramRun::of(program, {QStringLiteral("--size=200x150"), path}).exitCode, 0);
        QCOMPARE(QImage(path).size(), QSize(200, 150));
        const ProgramRun wrong = ProgramRun::of(program, {});
        QCOMPARE(wrong.exitCode, 64);
        QVERIFY(wrong.errors.startsWith("vantor-endface: "));
        const ProgramRun full = ProgramRun::of(program, {QStringLiteral("--list-presets")},
            [](ChildProcess &process) { process.setStandardOutputFile(QStringLiteral("/dev/full")); });
        QCOMPARE(full.exitCode, 74);
    }

    void argumentsMayBeginWithAColon()
    {
        const QTemporaryDir folder;
        const auto exitCode = [&folder](const QStringList &arguments) {
            return ProgramRun::in(folder.path(), QStringLiteral(VANTOR_ENDFACE_PROGRAM),
                QStringList(QStringLiteral("--size=200x150")) + arguments)
                .exitCode;
        };
        const auto exists = [&folder](const char *name) {
            return QFile::exists(folder.path() + QLatin1Char('/') + QLatin1String(name));
        };

        QCOMPARE(exitCode({QStringLiteral("--truth"), QStringLiteral(":truth"), QStringLiteral(":face.png")}), 0);
        QVERIFY(exists(":face.png") && exists(":truth"));
        QCOMPARE(exitCode({QStringLiteral("--random=1"), QStringLiteral("--out"), QStringLiteral(":faces")}), 0);
        QVERIFY(exists(":faces/face-000001.jpg"));
    }

private:
    static void presetRows()
    {
        QTest::addColumn<QString>("preset");
        const QStringList names = endfacePresets();
        for (const QString &name : names)
            QTest::newRow(qPrintable(name)) << name;
    }
};

QTEST_GUILESS_MAIN(TestEndfacePainter)
#include "tst_endfacepainter.moc"
