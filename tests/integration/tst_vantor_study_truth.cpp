// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Scenes.h"
#include "study/accuracy/Truth.h"

#include <QLoggingCategory>
#include <QtTest>

using namespace Study;
using FiberInspection::Defect;
using FiberInspection::Standard;
using FiberInspection::Zone;

namespace {
constexpr Standard::Id strictest = Standard::IEC61300_3_35_SM_RL45;

EndfaceDefect pit(double size, const QPointF &center)
{
    return spot(EndfaceDefect::Kind::Pit, size, center, 0.5);
}

TrueVerdict verdictOn(const QVector<EndfaceDefect> &blemishes, Standard::Id standard = strictest,
    ScratchSize scratchSize = ScratchSize::Length)
{
    EndfaceScene scene;
    scene.defects = blemishes;
    return gradeTruth(scene, standard, scratchSize);
}
} // namespace

/// The verdict that the analysis is measured by.
class TestStudyTruth : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false")); }

    void aFaceWithoutBlemishesPasses()
    {
        QVERIFY(verdictOn({}).passed);
        QVERIFY(verdictOn({}).defects.isEmpty());
    }

    void theSizeDecidesInTheCore_data()
    {
        QTest::addColumn<double>("size");
        QTest::addColumn<bool>("passed");

        QTest::newRow("below 2 um") << 1.9 << true;
        QTest::newRow("2 to 3 um, one is allowed") << 2.5 << true;
        QTest::newRow("exactly 3 um") << 3.0 << true;
        QTest::newRow("above 3 um") << 3.1 << false;
    }

    void theSizeDecidesInTheCore()
    {
        QFETCH(double, size);

        const TrueVerdict verdict = verdictOn({pit(size, {3, 4})});

        QTEST(verdict.passed, "passed");
        QCOMPARE(verdict.defects.size(), 1);
        QCOMPARE(verdict.defects[0].zone, Zone::Core);
        QVERIFY(qAbs(verdict.defects[0].size - size) < 1e-6);
        QCOMPARE(verdict.defects[0].causesFailure, !verdict.passed);
    }

    void theSecondTolerableDefectFails()
    {
        const TrueVerdict verdict = verdictOn({pit(2.5, {-8, 0}), pit(2.5, {8, 0})});

        QVERIFY(!verdict.passed);
        QCOMPARE(verdict.defects.size(), 2);
        QVERIFY(verdict.defects[0].causesFailure != verdict.defects[1].causesFailure);
    }

    void theZoneIsTheInnermostThatIsOverlapped_data()
    {
        QTest::addColumn<double>("distance");
        QTest::addColumn<int>("zone"); // -1: not graded

        QTest::newRow("overlaps the core zone") << 14.4 << int(Zone::Core);
        QTest::newRow("touches the core zone") << 14.5 << int(Zone::Cladding);
        QTest::newRow("overlaps the cladding") << 64.4 << int(Zone::Cladding);
        QTest::newRow("touches the cladding") << 64.5 << -1;
    }

    void theZoneIsTheInnermostThatIsOverlapped()
    {
        QFETCH(double, distance);
        QFETCH(int, zone);

        const TrueVerdict verdict = verdictOn({pit(4, {0, distance})});

        QCOMPARE(verdict.defects.isEmpty(), zone < 0);
        if (zone >= 0)
            QCOMPARE(int(verdict.defects[0].zone), zone);
    }

    void closePitsAreOneDefect_data()
    {
        QTest::addColumn<double>("gap");
        QTest::addColumn<int>("defects");

        QTest::newRow("3.9 um apart") << 3.9 << 1;
        QTest::newRow("4.1 um apart") << 4.1 << 3;
    }

    void closePitsAreOneDefect()
    {
        QFETCH(double, gap);
        const double step = 10 + gap;

        const TrueVerdict verdict = verdictOn({pit(10, {40, -step}), pit(10, {40, step}), pit(10, {40, 0})});

        QTEST(verdict.defects.size(), "defects");
        if (verdict.defects.size() == 1) { // 37.8 micrometres long
            QVERIFY(qAbs(verdict.defects[0].size - (2 * step + 10)) < 0.1);
            QVERIFY(!verdict.passed);
        }
    }

    void aScratchIsLongAndNarrow_data()
    {
        QTest::addColumn<double>("width");
        QTest::addColumn<double>("length");
        QTest::addColumn<bool>("isScratch");

        // 1.075 micrometres are a pixel.
        QTest::newRow("narrow and long") << 2.0 << 40.0 << true;
        QTest::newRow("too short") << 2.0 << 32.0 << false;
        QTest::newRow("just long enough") << 2.0 << 32.5 << true;
        QTest::newRow("just narrow enough") << 8.5 << 40.0 << true;
        QTest::newRow("too wide") << 8.7 << 40.0 << false;
    }

    void aScratchIsLongAndNarrow()
    {
        QFETCH(double, width);
        QFETCH(double, length);
        QFETCH(bool, isScratch);

        const TrueVerdict verdict = verdictOn({scratch(width, length, {0, 35}, 0, 0.5)});

        QCOMPARE(verdict.defects.size(), 1);
        QCOMPARE(verdict.defects[0].type == Defect::Type::Scratch, isScratch);
        QVERIFY(qAbs(verdict.defects[0].size - length) < 1e-4);
    }

    void scratchesAreNotJoinedUnlessTheyTouch()
    {
        const EndfaceDefect first = scratch(2, 40, {0, 30}, 0, 0.5);

        QCOMPARE(verdictOn({first, scratch(2, 40, {0, 34}, 0, 0.5)}).defects.size(), 2);
        QCOMPARE(verdictOn({first, scratch(2, 40, {0, 30}, 90, 0.5)}).defects.size(), 1);
        QCOMPARE(verdictOn({first, pit(4, {0, 35})}).defects.size(), 2);
        QCOMPARE(verdictOn({first, pit(4, {0, 32})}).defects.size(), 1);
    }

    void byItsWidthAScratchOfTheCoreMayPass()
    {
        const QVector<EndfaceDefect> narrow{scratch(2, 60, {0, 0}, 30, 0.5)};

        QVERIFY(!verdictOn(narrow).passed);
        QVERIFY(verdictOn(narrow, strictest, ScratchSize::Width).passed);
    }

    void byTheirWidthTheStandardsDiffer()
    {
        const QVector<EndfaceDefect> wide{scratch(3.5, 60, {0, 0}, 30, 0.5)};
        const auto passes = [&](Standard::Id id) { return verdictOn(wide, id, ScratchSize::Width).passed; };

        QVERIFY(!passes(Standard::IEC61300_3_35_SM_RL45));
        QVERIFY(passes(Standard::IEC61300_3_35_SM_RL26));
        QVERIFY(passes(Standard::IEC61300_3_35_SM_RL35));
    }

    void placesNearABlemishLieOnIt()
    {
        const EndfaceDefect line = scratch(2, 40, {0, 0}, 90, 0.5);

        QVERIFY(liesOn(line, {0, 19}, 0.5));
        QVERIFY(liesOn(line, {3.5, 0}, 3));
        QVERIFY(!liesOn(line, {4.5, 0}, 3));
        QVERIFY(!liesOn(line, {0, 23.5}, 3));
    }
};

QTEST_GUILESS_MAIN(TestStudyTruth)
#include "tst_vantor_study_truth.moc"
