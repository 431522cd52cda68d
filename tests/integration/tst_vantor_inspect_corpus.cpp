// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"
#include "JsonOutput.h"
#include "simulation/EndfacePainter.h"
#include "simulation/EndfaceScenes.h"

#include <QJsonArray>
#include <QtTest>

#include <cmath>
#include <random>

namespace {
enum class Expected { Pass, Fail, NoVerdict };

struct Face
{
    QString name;
    EndfaceScene scene;
    Expected expected = Expected::Pass;
    bool failsInCore = false;
    bool failsInCladding = false;
};

/// Faces whose verdict leaves no doubt, by single-mode standards: blemishes far from the limits of size and zone.
class Corpus
{
public:
    std::vector<Face> faces()
    {
        for (int i = 0; i < facesOfAKind; ++i) {
            add("clean", Expected::Pass, {});
            add("small-in-cladding", Expected::Pass, {pit(uniform(3, 12), uniform(26, 38))});
            add("outside-of-cladding", Expected::Pass, {pit(uniform(8, 25), uniform(88, 100))});
            add("pit-in-core", Expected::Fail, {pit(uniform(5, 9), uniform(0, 5))}).failsInCore = true;
            add("particle-in-cladding", Expected::Fail, {pit(uniform(30, 32), uniform(34, 36))}).failsInCladding = true;
            add("scratch-across-core", Expected::Fail, {scratch(uniform(2, 3), uniform(60, 80))}).failsInCore = true;
            add("no-fibre", Expected::NoVerdict, {}).scene.frame = EndfaceScene::Frame::NoFibre;
            add("two-fibres", Expected::NoVerdict, {}).scene.frame = EndfaceScene::Frame::TwoFibres;
            add("cut-by-border", Expected::NoVerdict, {}).scene.frame = EndfaceScene::Frame::CutByBorder;
        }
        return mFaces;
    }

private:
    static constexpr int facesOfAKind = 6;
    static constexpr double pi = 3.14159265358979323846;

    double uniform(double low, double high)
    {
        return low + (high - low) * double(mRandom()) / double(std::mt19937::max());
    }

    EndfaceDefect pit(double size, double distance)
    {
        const double angle = uniform(0, 2 * pi);
        EndfaceDefect defect;
        defect.size = size;
        defect.center = QPointF(distance * std::cos(angle), distance * std::sin(angle));
        defect.contrast = 0.65;
        return defect;
    }

    EndfaceDefect scratch(double width, double length)
    {
        EndfaceDefect defect;
        defect.kind = EndfaceDefect::Kind::Scratch;
        defect.size = width;
        defect.length = length;
        defect.angle = uniform(0, 180);
        defect.contrast = 0.65;
        return defect;
    }

    Face &add(const char *kind, Expected expected, const QVector<EndfaceDefect> &defects)
    {
        Face face;
        face.name = QStringLiteral("%1-%2.jpg").arg(QLatin1String(kind)).arg(mFaces.size());
        face.expected = expected;
        face.scene = endfacePreset(QStringLiteral("clean"));
        face.scene.seed = static_cast<quint32>(mRandom());
        face.scene.offset = QPointF(uniform(-100, 100), uniform(-60, 60));
        face.scene.illumination = uniform(0, 0.05);
        face.scene.illuminationAngle = uniform(0, 360);
        face.scene.blurSigma = uniform(0.7, 1.0);
        face.scene.noiseSigma = uniform(0.5, 1.0);
        face.scene.defects = defects;
        mFaces.push_back(face);
        return mFaces.back();
    }

    std::mt19937 mRandom{61300};
    std::vector<Face> mFaces;
};

int violations(const QJsonObject &object, const QString &zone)
{
    return object[QStringLiteral("zones")].toObject()[zone].toObject()[QStringLiteral("violations")].toInt(-1);
}
} // namespace

class TestVantorInspectCorpus : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void verdictsMeetTheTruth()
    {
        QTemporaryDir folder;
        const std::vector<Face> faces = Corpus().faces();
        QStringList arguments{QStringLiteral("--json"), QStringLiteral("--jobs=2"),
            QStringLiteral("--standard=sm-rl26,sm-rl35,sm-rl45,sm-apc")};
        for (const Face &face : faces) {
            QCOMPARE(face.scene.problem(), QString());
            QVERIFY(paintEndface(face.scene).save(folder.filePath(face.name), "jpg", 92));
            arguments.append(folder.filePath(face.name));
        }

        const InspectRun run = runInspect(arguments);

        QCOMPARE(run.exitCode, 2);
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), 4 * faces.size());
        QStringList wrong;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            const Face &face = faces[i / 4];
            const QJsonObject &object = objects[i];
            QCOMPARE(schemaViolation(object), QString());
            QCOMPARE(object[QStringLiteral("image")].toString(), folder.filePath(face.name));
            const bool hasVerdict = !object[QStringLiteral("error")].toBool();
            const bool passed = object[QStringLiteral("passed")].toBool();
            const bool isRight = hasVerdict == (face.expected != Expected::NoVerdict)
                && passed == (face.expected == Expected::Pass)
                && (violations(object, QStringLiteral("Core")) > 0) == face.failsInCore
                && (violations(object, QStringLiteral("Cladding")) > 0) == face.failsInCladding;
            if (!isRight)
                wrong.append(face.name + QLatin1Char(' ') + object[QStringLiteral("standard")].toString());
        }
        QVERIFY2(wrong.isEmpty(), qPrintable(wrong.join(QLatin1Char('\n'))));
    }

    void defectsAreFoundWhereTheyWerePainted()
    {
        QTemporaryDir folder;
        EndfaceScene scene = endfacePreset(QStringLiteral("clean"));
        const QPointF place(22, -27); // micrometres
        EndfaceDefect painted;
        painted.size = 12;
        painted.center = place;
        painted.contrast = 0.65;
        scene.defects = {painted};
        QVERIFY(paintEndface(scene).save(folder.filePath(QStringLiteral("face.png"))));

        const InspectRun run = runInspect({QStringLiteral("--json"), folder.path()});

        const QJsonObject object = jsonLines(run.output).at(0);
        const QJsonArray defects = object[QStringLiteral("zones")]
                                       .toObject()[QStringLiteral("Cladding")]
                                       .toObject()[QStringLiteral("defects")]
                                       .toArray();
        QCOMPARE(defects.size(), 1);
        const QJsonObject defect = defects[0].toObject();
        const double pixelSize = object[QStringLiteral("pixelSize")].toDouble();
        const double middle = object[QStringLiteral("crop")].toArray()[2].toDouble() / 2;
        const QJsonObject center = defect[QStringLiteral("center")].toObject();
        const QPointF found((center[QStringLiteral("x")].toDouble() - middle) * pixelSize,
            (center[QStringLiteral("y")].toDouble() - middle) * pixelSize);
        QVERIFY2(std::hypot(found.x() - place.x(), found.y() - place.y()) < 3,
            qPrintable(QStringLiteral("%1 %2").arg(found.x()).arg(found.y())));
        QVERIFY2(std::abs(defect[QStringLiteral("size")].toDouble() - 12) < 4,
            qPrintable(QString::number(defect[QStringLiteral("size")].toDouble())));
    }
};

QTEST_GUILESS_MAIN(TestVantorInspectCorpus)
#include "tst_vantor_inspect_corpus.moc"
