// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/TestResult.h"
#include "LogCapture.h"
#include "ReferenceDefects.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QSignalSpy>
#include <QtTest>

#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

using namespace FiberInspection;

Q_DECLARE_METATYPE(FiberInspection::Rule)
Q_DECLARE_METATYPE(QVector<float>)
Q_DECLARE_METATYPE(QVector<int>)

namespace {
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

constexpr auto point = Defect::Type::Defect;
constexpr auto scratch = Defect::Type::Scratch;

float justBelow(float value)
{
    return std::nextafter(value, -infinity);
}

float justAbove(float value)
{
    return std::nextafter(value, infinity);
}

Defect sized(Defect::Type type, float size, const QPointF &center = QPointF(10, 20))
{
    Defect defect;
    defect.type = type;
    defect.size = size;
    defect.enclosingCircle = Circle(center, size / 2);
    return defect;
}

QVector<Defect> listOf(Defect::Type type, const QVector<float> &sizes)
{
    QVector<Defect> defects;
    for (const float size : sizes)
        defects.append(sized(type, size));
    return defects;
}

/// Indices of the defects that were marked.
QVector<int> causes(const QVector<Defect> &defects)
{
    QVector<int> indices;
    for (int i = 0; i < defects.size(); ++i) {
        if (defects[i].causesFailure)
            indices.append(i);
    }
    return indices;
}

QVector<int> counts(const ZoneResult &zone)
{
    QVector<int> result;
    for (const RuleResult &rule : zone.rules)
        result.append(rule.defectCount);
    return result;
}

TestResult graded(Standard::Id id, const QVector<Defect> &coreDefects, const QVector<Defect> &claddingDefects)
{
    const LogCapture silence;
    TestResult result{Standard(id)};
    result.processDefects(coreDefects, claddingDefects);
    return result;
}
} // namespace

class TestTestResult : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDefaultRuleResultIsEmpty()
    {
        const RuleResult result;

        QCOMPARE(result.defectCount, 0);
        QCOMPARE(result.violated, false);
        QCOMPARE(result.standardRule.toString(), Rule().toString());
    }

    void aRuleResultHoldsItsRule()
    {
        const RuleResult result(Rule{scratch, Rule::ClosedRange, 3, 4, 2});

        QCOMPARE(result.standardRule.defectType, scratch);
        QCOMPARE(result.standardRule.toString(), QStringLiteral("3 <= size <= 4 [2]"));
        QCOMPARE(result.defectCount, 0);
        QCOMPARE(result.violated, false);
    }

    void aRuleMatchesBySize_data()
    {
        QTest::addColumn<int>("ruleOperator");
        QTest::addColumn<float>("size");
        QTest::addColumn<bool>("matches");
        const auto row = [](const char *name, int ruleOperator, float size, bool matches) {
            QTest::newRow(name) << ruleOperator << size << matches;
        };
        // The bounds of the rule are 2 and 3.
        row("smaller: just below the maximum", 0, justBelow(3), true);
        row("smaller: at the maximum", 0, 3, false);
        row("smaller: unset size", 0, 0, true);
        row("smaller: negative", 0, -1e30F, true);
        row("smaller: minus infinity", 0, -infinity, true);
        row("smaller: not a number", 0, notANumber, false);
        row("smaller or equal: at the maximum", 1, 3, true);
        row("smaller or equal: just above", 1, justAbove(3), false);
        row("smaller or equal: not a number", 1, notANumber, false);
        row("greater: at the minimum", 2, 2, false);
        row("greater: just above", 2, justAbove(2), true);
        row("greater: infinity", 2, infinity, true);
        row("greater: not a number", 2, notANumber, false);
        row("greater or equal: at the minimum", 3, 2, true);
        row("greater or equal: just below", 3, justBelow(2), false);
        row("greater or equal: not a number", 3, notANumber, false);
        row("range: just below", 4, justBelow(2), false);
        row("range: at the minimum", 4, 2, true);
        row("range: between", 4, 2.5F, true);
        row("range: at the maximum", 4, 3, true);
        row("range: just above", 4, justAbove(3), false);
        row("range: not a number", 4, notANumber, false);
        row("unknown operator", 5, 2.5F, false);
        row("negative operator", -1, 2.5F, false);
    }

    void aRuleMatchesBySize()
    {
        QFETCH(int, ruleOperator);
        QFETCH(float, size);
        QFETCH(bool, matches);
        const Rule rule{point, static_cast<Rule::Operator>(ruleOperator), 2, 3, 0};
        const LogCapture log;

        RuleResult result(rule);
        Defect defect = sized(point, size);
        result.processDefect(defect);
        QCOMPARE(result.defectCount, matches ? 1 : 0);
        QCOMPARE(result.violated, matches);
        QCOMPARE(defect.causesFailure, matches);
        QCOMPARE(log.lines().size(), matches ? 1 : 0);
        QCOMPARE(Reference::matchesRule(rule, defect), matches);

        RuleResult ofOtherKind(rule);
        Defect otherDefect = sized(scratch, size);
        ofOtherKind.processDefect(otherDefect);
        QCOMPARE(ofOtherKind.defectCount, 0);
        QCOMPARE(ofOtherKind.violated, false);
        QCOMPARE(otherDefect.causesFailure, false);
    }

    void theFirstAboveTheAllowanceCausesTheFailure()
    {
        const LogCapture log;
        RuleResult result(Rule{point, Rule::ClosedRange, 2, 3, 1});
        Defect first = sized(point, 2.5F, {10, 20});
        Defect second = sized(point, 3, {1.5, -2.25});
        Defect third = sized(point, 2, {0, 0});

        result.processDefect(first);
        QCOMPARE(result.defectCount, 1);
        QCOMPARE(result.violated, false);
        result.processDefect(second);
        result.processDefect(third);

        QCOMPARE(result.defectCount, 3);
        QCOMPARE(result.violated, true);
        QCOMPARE(first.causesFailure, false);
        QCOMPARE(second.causesFailure, true);
        QCOMPARE(third.causesFailure, true);
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: 2 <= size <= 3 [1] matched but not violated by: 2.5 QPointF(10,20)"),
                QStringLiteral("debug: 2 <= size <= 3 [1] violated by: 3 QPointF(1.5,-2.25)"),
                QStringLiteral("debug: 2 <= size <= 3 [1] violated by: 2 QPointF(0,0)")}));
        const auto lines = log.lines();
        for (const LogCapture::Line &line : lines)
            QCOMPARE(line.category, QStringLiteral("default"));
    }

    void anUnlimitedRuleOnlyCounts()
    {
        const LogCapture log;
        RuleResult result(Rule{scratch, Rule::GreaterThan, -1, -1, -1});
        QVector<Defect> defects = listOf(scratch, QVector<float>(100, 4.25F));

        QCOMPARE(result.processDefects(defects), false);

        QCOMPARE(result.defectCount, 100);
        QVERIFY(causes(defects).isEmpty());
        QStringList lines = log.asText();
        QCOMPARE(lines.size(), 100);
        lines.removeDuplicates();
        QCOMPARE(lines,
            QStringList{QString::fromUtf8("debug: size > -1 [∞] matched but not violated by: 4.25 QPointF(10,20)")});
    }

    void anEarlierMarkOfADefectStays()
    {
        const LogCapture silence;
        RuleResult result(Rule{point, Rule::GreaterThan, 3, -1, 0});
        Defect defect = sized(point, 1);
        defect.causesFailure = true;

        result.processDefect(defect);

        QCOMPARE(defect.causesFailure, true);
        QCOMPARE(result.violated, false);
    }

    void evaluatingAgainAddsUpTheCountAndStartsTheVerdictAnew()
    {
        const LogCapture silence;
        RuleResult result(Rule{point, Rule::ClosedRange, 2, 3, 1});
        QVector<Defect> one = listOf(point, {2.5F});
        QVector<Defect> none;

        QCOMPARE(result.processDefects(one), false);
        QCOMPARE(result.processDefects(one), true);
        QCOMPARE(result.defectCount, 2);
        QCOMPARE(causes(one), QVector<int>{0});
        QCOMPARE(result.processDefects(none), false);
        QCOMPARE(result.violated, false);
        QCOMPARE(result.defectCount, 2);
    }

    void aDefaultZoneResultIsEmptyAndPasses()
    {
        ZoneResult result;
        QVector<Defect> defects = listOf(point, {1000.0F});

        QCOMPARE(result.standardZone.zone, Zone::Core);
        QCOMPARE(result.standardZone.outerDiameter, 0);
        QVERIFY(result.rules.isEmpty());
        QCOMPARE(result.violations, 0);
        QCOMPARE(result.processDefects(defects), true);
    }

    void aZoneResultHoldsTheRulesInOrder()
    {
        const Zone zone = Standard(Standard::IEC61300_3_35_SM_RL26).core();
        const ZoneResult result(zone);

        QCOMPARE(result.standardZone.outerDiameter, 25);
        QCOMPARE(result.violations, 0);
        QCOMPARE(result.rules.size(), 6);
        for (int i = 0; i < 6; ++i) {
            QCOMPARE(result.rules[i].standardRule.toString(), zone.rules[i].toString());
            QCOMPARE(result.rules[i].standardRule.defectType, zone.rules[i].defectType);
            QCOMPARE(result.rules[i].defectCount, 0);
            QCOMPARE(result.rules[i].violated, false);
        }
    }

    void violationsAreAllMatchesOfTheViolatedRules()
    {
        const LogCapture silence;
        ZoneResult result(Standard(Standard::IEC61300_3_35_SM_RL26).core());
        QVector<Defect> defects = listOf(point, {1, 1, 2.5F, 2.5F, 2.5F, 4}) + listOf(scratch, {3.5F, 3.5F});

        QCOMPARE(result.processDefects(defects), false);

        QCOMPARE(counts(result), (QVector<int>{2, 3, 1, 0, 2, 0}));
        QCOMPARE(result.violations, 3 + 1);
        QCOMPARE(causes(defects), (QVector<int>{3, 4, 5}));
    }

    void gradingAZoneAgainAddsUp()
    {
        const LogCapture silence;
        ZoneResult result(Standard(Standard::IEC61300_3_35_SM_RL26).core());
        QVector<Defect> defects = listOf(point, {2.5F});

        QCOMPARE(result.processDefects(defects), true);
        QCOMPARE(result.violations, 0);
        QCOMPARE(result.processDefects(defects), false);
        QCOMPARE(result.violations, 2);
        QCOMPARE(result.processDefects(defects), false);
        QCOMPARE(result.violations, 2 + 3);
    }

    void aResultIsAnErrorUntilTheEnd()
    {
        const TestResult unnamed;
        const TestResult result{Standard(Standard::IEC61300_3_35_MM)};

        for (const TestResult *const fresh : {&unnamed, &result}) {
            QCOMPARE(fresh->passed(), false);
            QCOMPARE(fresh->error(), true);
            QVERIFY(fresh->coreDefects().isEmpty());
            QVERIFY(fresh->claddingDefects().isEmpty());
            QVERIFY(fresh->summary().isEmpty());
        }
        QVERIFY(unnamed.core().rules.isEmpty());
        QVERIFY(unnamed.cladding().rules.isEmpty());
        QCOMPARE(result.core().standardZone.outerDiameter, 65);
        QCOMPARE(result.core().rules.size(), 6);
        QCOMPARE(result.cladding().standardZone.zone, Zone::Cladding);
        QCOMPARE(result.cladding().rules.size(), 3);
    }

    void verdictAndErrorCanBeSet()
    {
        TestResult result;

        result.setPassed(true);
        QCOMPARE(result.passed(), true);
        QCOMPARE(result.error(), true);
        result.setError(false);
        QCOMPARE(result.error(), false);
        result.setPassed(false);
        QCOMPARE(result.passed(), false);
        QCOMPARE(result.error(), false);
    }

    void gradingLogsTheZonesAndTheVerdict()
    {
        const LogCapture log;
        TestResult result{Standard(Standard::IEC61300_3_35_SM_RL26)};

        result.processDefects(listOf(point, {2.5F, 2.5F}), listOf(scratch, {50}));

        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: Core: processDefects"),
                QStringLiteral("debug: 2 <= size <= 3 [1] matched but not violated by: 2.5 QPointF(10,20)"),
                QStringLiteral("debug: 2 <= size <= 3 [1] violated by: 2.5 QPointF(10,20)"),
                QStringLiteral("debug: Cladding: processDefects"),
                QString::fromUtf8("debug: size > -1 [∞] matched but not violated by: 50 QPointF(10,20)"),
                QStringLiteral("debug: corePassed: false violations: 2"),
                QStringLiteral("debug: claddingPassed: true violations: 0")}));
        QCOMPARE(result.passed(), false);
        QCOMPARE(result.error(), true);
        QCOMPARE(causes(result.coreDefects()), QVector<int>{1});
        QCOMPARE(result.core().violations, 2);
    }

    void gradingNothingPasses()
    {
        const LogCapture log;
        TestResult result{Standard(Standard::IEC61300_3_35_SM_APC)};

        result.processDefects({}, {});

        QCOMPARE(result.passed(), true);
        QCOMPARE(result.error(), true);
        QCOMPARE(result.core().violations, 0);
        QCOMPARE(result.cladding().violations, 0);
        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: Core: processDefects"),
                QStringLiteral("debug: Cladding: processDefects"),
                QStringLiteral("debug: corePassed: true violations: 0"),
                QStringLiteral("debug: claddingPassed: true violations: 0")}));
    }

    void theMarksAreInTheStoredDefectsOnly()
    {
        const LogCapture silence;
        const QVector<Defect> core = listOf(point, {9});
        const QVector<Defect> cladding = listOf(point, {26});
        TestResult result{Standard(Standard::IEC61300_3_35_SM_RL45)};

        result.processDefects(core, cladding);

        QCOMPARE(causes(result.coreDefects()), QVector<int>{0});
        QCOMPARE(causes(result.claddingDefects()), QVector<int>{0});
        QVERIFY(causes(core).isEmpty());
        QVERIFY(causes(cladding).isEmpty());
    }

    void gradingAResultAgainAddsUp()
    {
        const LogCapture silence;
        TestResult result{Standard(Standard::IEC61300_3_35_SM_RL26)};

        result.processDefects(listOf(point, {2.5F}), {});
        QCOMPARE(result.passed(), true);
        result.processDefects(listOf(point, {2.5F}), {});

        QCOMPARE(result.passed(), false);
        QCOMPARE(result.core().violations, 2);
        QCOMPARE(result.coreDefects().size(), 1);
    }

    void gradingClearsAnEarlierVerdict()
    {
        const LogCapture silence;
        TestResult result{Standard(Standard::IEC61300_3_35_SM_RL26)};
        result.setPassed(true);

        result.processDefects({}, listOf(point, {25.5F}));

        QCOMPARE(result.passed(), false);
    }

    void manualGradesNothing()
    {
        const TestResult result = graded(Standard::Manual, listOf(point, {1000}), listOf(scratch, {1000}));

        QCOMPARE(result.passed(), true);
        QVERIFY(result.core().rules.isEmpty());
        QVERIFY(result.cladding().rules.isEmpty());
    }

    void aResultTravelsByValue()
    {
        TestResult source = graded(Standard::IEC61300_3_35_SM_RL26, listOf(point, {4}), {});
        source.setError(false);
        const TestResult copy = source;

        QCOMPARE(copy.passed(), false);
        QCOMPARE(copy.error(), false);
        QCOMPARE(causes(copy.coreDefects()), QVector<int>{0});
        QCOMPARE(copy.core().violations, 1);
    }

    void coreRulesGrade_data()
    {
        QTest::addColumn<int>("standard");
        QTest::addColumn<bool>("scratches");
        QTest::addColumn<QVector<float>>("sizes");
        QTest::addColumn<QVector<int>>("counts");
        QTest::addColumn<QVector<int>>("causes");
        QTest::addColumn<int>("violations");

        using Sizes = QVector<float>;
        using Ints = QVector<int>;
        const auto row = [](const char *name, int standard, bool scratches, const Sizes &sizes, const Ints &ruleCounts,
                             const Ints &marked, int violations) {
            QTest::newRow(name) << standard << scratches << sizes << ruleCounts << marked << violations;
        };
        const char *const names[] = {"RL26", "RL35", "RL45", "APC", "MM"};
        const auto named = [&names](
                               int standard, const char *text) { return QByteArray(names[standard]) + ": " + text; };

        // Point defects are graded alike by all: below 2 any number, from 2 to 3 one, above 3 none.
        for (int standard = 0; standard < 5; ++standard) {
            const Ints noScratches = standard == 2 ? Ints{0, 0} : Ints{0, 0, 0};
            const auto points = [&](const char *text, const Sizes &sizes, const Ints &pointCounts, const Ints &marked,
                                    int violations) {
                row(named(standard, text), standard, false, sizes, pointCounts + noScratches, marked, violations);
            };
            points("many small points", Sizes(50, justBelow(2)), {50, 0, 0}, {}, 0);
            points("one point of 2", {2}, {0, 1, 0}, {}, 0);
            points("one point of 3", {3}, {0, 1, 0}, {}, 0);
            points("a second point of 2 to 3", {2.5F, 3}, {0, 2, 0}, {1}, 2);
            points("a point just above 3", {justAbove(3)}, {0, 0, 1}, {0}, 1);
            points("three bad points among small ones", {1, 4, 2, 1, 2, 9}, {2, 2, 2}, {1, 4, 5}, 4);
            points("a size that is no number", {notANumber}, {0, 0, 0}, {}, 0);
        }

        // Scratches of 3 to 4: how many are allowed tells the standards apart.
        const int allowedScratches[] = {2, 1, 0, 4, 4};
        for (int standard : {0, 1, 3, 4}) {
            const int allowed = allowedScratches[standard];
            row(named(standard, "many fine scratches"), standard, true, Sizes(50, justBelow(3)), {0, 0, 0, 50, 0, 0},
                {}, 0);
            row(named(standard, "all allowed scratches of 3"), standard, true, Sizes(allowed, 3.0F),
                {0, 0, 0, 0, allowed, 0}, {}, 0);
            row(named(standard, "all allowed scratches of 4"), standard, true, Sizes(allowed, 4.0F),
                {0, 0, 0, 0, allowed, 0}, {}, 0);
            row(named(standard, "one scratch too many"), standard, true, Sizes(allowed + 1, 3.5F),
                {0, 0, 0, 0, allowed + 1, 0}, {allowed}, allowed + 1);
            row(named(standard, "a scratch just above 4"), standard, true, {justAbove(4)}, {0, 0, 0, 0, 0, 1}, {0}, 1);
            row(named(standard, "both scratch rules violated"), standard, true, Sizes{5} + Sizes(allowed + 2, 3.0F),
                {0, 0, 0, 0, allowed + 2, 1}, {0, allowed + 1, allowed + 2}, allowed + 3);
        }
        row("RL45: many fine scratches", 2, true, Sizes(50, justBelow(3)), {0, 0, 0, 50, 0}, {}, 0);
        row("RL45: a scratch of 3", 2, true, {3}, {0, 0, 0, 0, 1}, {0}, 1);
        row("RL45: a scratch of 3.5", 2, true, {3.5F}, {0, 0, 0, 0, 1}, {0}, 1);
        row("RL45: a scratch of 4 and one above", 2, true, {4, 1, justAbove(4)}, {0, 0, 0, 1, 2}, {0, 2}, 2);
    }

    void coreRulesGrade()
    {
        QFETCH(int, standard);
        QFETCH(bool, scratches);
        QFETCH(QVector<float>, sizes);
        QFETCH(QVector<int>, counts);
        QFETCH(QVector<int>, causes);
        QFETCH(int, violations);

        const TestResult result =
            graded(static_cast<Standard::Id>(standard), listOf(scratches ? scratch : point, sizes), {});

        QCOMPARE(::counts(result.core()), counts);
        QCOMPARE(::causes(result.coreDefects()), causes);
        QCOMPARE(result.core().violations, violations);
        QCOMPARE(result.passed(), violations == 0);
        QCOMPARE(result.cladding().violations, 0);
    }

    void claddingRulesGrade_data()
    {
        QTest::addColumn<bool>("scratches");
        QTest::addColumn<QVector<float>>("sizes");
        QTest::addColumn<QVector<int>>("counts");
        QTest::addColumn<QVector<int>>("causes");
        QTest::addColumn<int>("violations");
        using Sizes = QVector<float>;
        using Ints = QVector<int>;
        QTest::newRow("any number of points up to 25")
            << false << Sizes{1, 25, 24, 3, 3} << Ints{5, 0, 0} << Ints{} << 0;
        QTest::newRow("one point just above 25") << false << Sizes{25, justAbove(25)} << Ints{1, 1, 0} << Ints{1} << 1;
        QTest::newRow("two large points") << false << Sizes{100, 2, 30} << Ints{1, 2, 0} << Ints{0, 2} << 2;
        QTest::newRow("any number of scratches") << true << Sizes(200, 500.0F) << Ints{0, 0, 200} << Ints{} << 0;
        QTest::newRow("a scratch without size") << true << Sizes{0} << Ints{0, 0, 1} << Ints{} << 0;
        QTest::newRow("no number") << true << Sizes{notANumber} << Ints{0, 0, 0} << Ints{} << 0;
    }

    void claddingRulesGrade()
    {
        QFETCH(bool, scratches);
        QFETCH(QVector<float>, sizes);
        QFETCH(QVector<int>, counts);
        QFETCH(QVector<int>, causes);
        QFETCH(int, violations);

        for (int standard = 0; standard < 5; ++standard) {
            const TestResult result =
                graded(static_cast<Standard::Id>(standard), {}, listOf(scratches ? scratch : point, sizes));

            QCOMPARE(::counts(result.cladding()), counts);
            QCOMPARE(::causes(result.claddingDefects()), causes);
            QCOMPARE(result.cladding().violations, violations);
            QCOMPARE(result.passed(), violations == 0);
            QCOMPARE(result.core().violations, 0);
        }
    }

    void bothZonesHaveToPass()
    {
        const QVector<Defect> bad = listOf(point, {26});
        const auto passes = [](const QVector<Defect> &core, const QVector<Defect> &cladding) {
            return graded(Standard::IEC61300_3_35_SM_RL26, core, cladding).passed();
        };

        QVERIFY(passes({}, {}));
        QVERIFY(!passes(bad, {}));
        QVERIFY(!passes({}, bad));
        QVERIFY(!passes(bad, bad));
    }

    void gradingEqualsThePlainCount()
    {
        std::mt19937 random(61300);
        const QVector<float> sizes{0, 1, justBelow(2), 2, 2.5F, justBelow(3), 3, justAbove(3), 3.5F, 4, justAbove(4), 5,
            25, justAbove(25), 26, notANumber, infinity, -1};
        const auto randomDefects = [&]() {
            QVector<Defect> defects;
            for (auto i = random() % 9; i > 0; --i)
                defects.append(sized(random() % 2 == 0 ? point : scratch, sizes[int(random() % 18)]));
            return defects;
        };

        int passes = 0;
        for (int run = 0; run < 3000; ++run) {
            const Standard standard(static_cast<Standard::Id>(run % 6));
            const QVector<Defect> lists[] = {randomDefects(), randomDefects()};
            const Zone zones[] = {standard.core(), standard.cladding()};
            const TestResult result = graded(standard.id(), lists[0], lists[1]);
            const ZoneResult results[] = {result.core(), result.cladding()};
            const QVector<Defect> gradedLists[] = {result.coreDefects(), result.claddingDefects()};

            bool expectedPass = true;
            for (int zone = 0; zone < 2; ++zone) {
                QSet<int> expectedCauses;
                int expectedViolations = 0;
                for (int rule = 0; rule < zones[zone].rules.size(); ++rule) {
                    QVector<int> matching;
                    for (int i = 0; i < lists[zone].size(); ++i) {
                        if (Reference::matchesRule(zones[zone].rules[rule], lists[zone][i]))
                            matching.append(i);
                    }
                    const int allowed = zones[zone].rules[rule].maxAllowedAmount;
                    const bool violated = allowed != -1 && matching.size() > allowed;
                    QCOMPARE(results[zone].rules[rule].defectCount, matching.size());
                    QCOMPARE(results[zone].rules[rule].violated, violated);
                    if (violated) {
                        expectedViolations += matching.size();
                        const auto excess = matching.mid(allowed);
                        for (const int i : excess)
                            expectedCauses.insert(i);
                    }
                }
                for (int i = 0; i < lists[zone].size(); ++i)
                    QCOMPARE(gradedLists[zone][i].causesFailure, expectedCauses.contains(i));
                QCOMPARE(results[zone].violations, expectedViolations);
                expectedPass = expectedPass && expectedViolations == 0;
            }
            QCOMPARE(result.passed(), expectedPass);
            passes += expectedPass ? 1 : 0;
        }
        QVERIFY(passes > 300 && passes < 2700);
    }

    void aSummaryRowHasFourNotifyingProperties()
    {
        const QMetaObject &meta = TestSummaryEntity::staticMetaObject;
        QStringList properties;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            QVERIFY(property.isReadable() && property.isWritable() && property.hasNotifySignal());
            properties << QString::fromUtf8(property.typeName()) + QLatin1Char(' ') + QString::fromUtf8(property.name())
                    + QLatin1Char(' ') + QString::fromUtf8(property.notifySignal().methodSignature());
        }
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            methods << QString::fromUtf8(meta.method(i).methodSignature());

        QCOMPARE(QByteArray(meta.className()), QByteArray("FiberInspection::TestSummaryEntity"));
        QCOMPARE(properties,
            (QStringList{QStringLiteral("QString zoneName zoneName_changed(QString)"),
                QStringLiteral("QString criteria criteria_changed(QString)"),
                QStringLiteral("int allowed allowed_changed(int)"),
                QStringLiteral("int detected detected_changed(int)")}));
        QCOMPARE(methods,
            (QStringList{QStringLiteral("zoneName_changed(QString)"), QStringLiteral("criteria_changed(QString)"),
                QStringLiteral("allowed_changed(int)"), QStringLiteral("detected_changed(int)")}));
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            QCOMPARE(meta.method(i).parameterNames(), QList<QByteArray>{QByteArray("value")});
    }

    void aSummaryRowStartsEmptyAndClean()
    {
        const TestSummaryEntity row;

        QVERIFY(row.zoneName().isEmpty());
        QVERIFY(row.criteria().isEmpty());
        QCOMPARE(row.allowed(), 0);
        QCOMPARE(row.detected(), 0);
        QVERIFY(!row.zoneName_dirty() && !row.criteria_dirty() && !row.allowed_dirty() && !row.detected_dirty());
        QCOMPARE(TestSummaryEntity::zoneName_name(), QStringLiteral("zoneName"));
        QCOMPARE(TestSummaryEntity::criteria_name(), QStringLiteral("criteria"));
        QCOMPARE(TestSummaryEntity::allowed_name(), QStringLiteral("allowed"));
        QCOMPARE(TestSummaryEntity::detected_name(), QStringLiteral("detected"));
    }

    void aSummaryRowNotifiesOfChangesOnly()
    {
        TestSummaryEntity row;
        QSignalSpy zoneNames(&row, &TestSummaryEntity::zoneName_changed);
        QSignalSpy criteria(&row, &TestSummaryEntity::criteria_changed);
        QSignalSpy allowed(&row, &TestSummaryEntity::allowed_changed);
        QSignalSpy detected(&row, &TestSummaryEntity::detected_changed);

        row.set_zoneName(Zone::name(Zone::Cladding));
        row.set_zoneName(Zone::name(Zone::Cladding));
        row.set_allowed(0);
        row.set_detected(3);

        QCOMPARE(zoneNames.count(), 1);
        QCOMPARE(zoneNames.first().first().toString(), QStringLiteral("Cladding"));
        QCOMPARE(criteria.count(), 0);
        QCOMPARE(allowed.count(), 0);
        QCOMPARE(detected.count(), 1);
        QVERIFY(row.zoneName_dirty() && row.allowed_dirty() && row.detected_dirty());
        QVERIFY(!row.criteria_dirty());
    }
};

QTEST_GUILESS_MAIN(TestTestResult)
#include "tst_testresult.moc"
