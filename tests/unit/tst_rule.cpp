// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Rule.h"
#include "FiberInspection/Standard.h"

#include <QtTest>

#include <limits>
#include <type_traits>

using namespace FiberInspection;

Q_DECLARE_METATYPE(FiberInspection::Rule)

class TestRule : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void operatorsHaveFixedValuesOfTypeInt()
    {
        static_assert(std::is_same_v<std::underlying_type_t<Rule::Operator>, int>);
        static_assert(std::is_same_v<std::underlying_type_t<Defect::Type>, int>);

        QCOMPARE(int(Rule::SmallerThan), 0);
        QCOMPARE(int(Rule::SmallerThanOrEqual), 1);
        QCOMPARE(int(Rule::GreaterThan), 2);
        QCOMPARE(int(Rule::GreaterThanOrEqual), 3);
        QCOMPARE(int(Rule::ClosedRange), 4);
        QCOMPARE(int(Defect::Type::Defect), 0);
        QCOMPARE(int(Defect::Type::Scratch), 1);
    }

    void fieldsComeInOrder()
    {
        const Rule rule{Defect::Type::Scratch, Rule::ClosedRange, 3, 4, 2};

        QCOMPARE(rule.defectType, Defect::Type::Scratch);
        QCOMPARE(rule.ruleOperator, Rule::ClosedRange);
        QCOMPARE(rule.minSize, 3);
        QCOMPARE(rule.maxSize, 4);
        QCOMPARE(rule.maxAllowedAmount, 2);
    }

    void aDefaultRuleIsDefined()
    {
        const Rule rule;

        QCOMPARE(rule.defectType, Defect::Type::Defect);
        QCOMPARE(rule.ruleOperator, Rule::SmallerThan);
        QCOMPARE(rule.minSize, -1);
        QCOMPARE(rule.maxSize, -1);
        QCOMPARE(rule.maxAllowedAmount, -1);
    }

    void sizesAreWithinBounds_data()
    {
        QTest::addColumn<Rule>("rule");
        QTest::addColumn<double>("microns");
        QTest::addColumn<bool>("isAbout");
        const auto rows = [](const char *name, Rule::Operator how, bool below, bool atMin, bool between, bool atMax,
                              bool above) {
            const Rule rule{Defect::Type::Defect, how, 2, 5, 0};
            QTest::addRow("%s: below", name) << rule << 1.9 << below;
            QTest::addRow("%s: the least", name) << rule << 2.0 << atMin;
            QTest::addRow("%s: between", name) << rule << 3.5 << between;
            QTest::addRow("%s: the most", name) << rule << 5.0 << atMax;
            QTest::addRow("%s: above", name) << rule << 5.1 << above;
            QTest::addRow("%s: none", name) << rule << std::numeric_limits<double>::quiet_NaN() << false;
        };
        rows("<", Rule::SmallerThan, true, true, true, false, false);
        rows("<=", Rule::SmallerThanOrEqual, true, true, true, true, false);
        rows(">", Rule::GreaterThan, false, false, true, true, true);
        rows(">=", Rule::GreaterThanOrEqual, false, true, true, true, true);
        rows("range", Rule::ClosedRange, false, true, true, true, false);
    }
    void sizesAreWithinBounds()
    {
        QFETCH(Rule, rule);
        QFETCH(double, microns);
        QFETCH(bool, isAbout);

        QCOMPARE(rule.isAbout(Defect::Type::Defect, microns), isAbout);
        QVERIFY(!rule.isAbout(Defect::Type::Scratch, microns));
    }

    void toStringNamesTheCriterionAndTheAllowance_data()
    {
        QTest::addColumn<Rule>("rule");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *text, const Rule &rule) {
            QTest::newRow(text) << rule << QString::fromUtf8(text);
        };
        const auto point = Defect::Type::Defect;
        const auto scratch = Defect::Type::Scratch;
        row("size < 2 [∞]", {point, Rule::SmallerThan, -1, 2, -1});
        row("size <= 25 [∞]", {point, Rule::SmallerThanOrEqual, -1, 25, -1});
        row("size > 25 [0]", {point, Rule::GreaterThan, 25, -1, 0});
        row("size > -1 [∞]", {scratch, Rule::GreaterThan, -1, -1, -1});
        row("size >= 3 [0]", {scratch, Rule::GreaterThanOrEqual, 3, -1, 0});
        row("2 <= size <= 3 [1]", {point, Rule::ClosedRange, 2, 3, 1});
        row("3 <= size <= 4 [12]", {scratch, Rule::ClosedRange, 3, 4, 12});
        row("size < -5 [-2]", {point, Rule::SmallerThan, 7, -5, -2});
        row(" [∞]", {point, static_cast<Rule::Operator>(5), 1, 2, -1});
        row(" [3]", {point, static_cast<Rule::Operator>(-1), 1, 2, 3});
        row("-2147483648 <= size <= 2147483647 [2147483647]",
            {point, Rule::ClosedRange, std::numeric_limits<int>::min(), std::numeric_limits<int>::max(),
                std::numeric_limits<int>::max()});
    }

    void toStringNamesTheCriterionAndTheAllowance()
    {
        QFETCH(Rule, rule);
        QFETCH(QString, text);

        QCOMPARE(rule.toString(), text);
    }

    void theInfinitySignIsOneCharacter()
    {
        QCOMPARE(Rule().toString(), QStringLiteral("size < -1 [") + QChar(0x221E) + QLatin1Char(']'));
    }

    void rulesOfTheStandardsReadAsInTheLog()
    {
        const auto texts = [](const QVector<Rule> &rules) {
            QStringList result;
            for (const Rule &rule : rules)
                result << rule.toString();
            return result;
        };
        const QStringList coreRL45 =
            QString::fromUtf8("size < 2 [∞];2 <= size <= 3 [1];size > 3 [0];size < 3 [∞];size >= 3 [0]")
                .split(QLatin1Char(';'));
        const QStringList coreRL35 = QString::fromUtf8(
            "size < 2 [∞];2 <= size <= 3 [1];size > 3 [0];size < 3 [∞];3 <= size <= 4 [1];size > 4 [0]")
                                         .split(QLatin1Char(';'));
        const QStringList cladding =
            QString::fromUtf8("size <= 25 [∞];size > 25 [0];size > -1 [∞]").split(QLatin1Char(';'));

        QCOMPARE(texts(Standard(Standard::IEC61300_3_35_SM_RL45).core().rules), coreRL45);
        QCOMPARE(texts(Standard(Standard::IEC61300_3_35_SM_RL35).core().rules), coreRL35);
        QCOMPARE(texts(Standard(Standard::IEC61300_3_35_MM).cladding().rules), cladding);
    }
};

QTEST_GUILESS_MAIN(TestRule)
#include "tst_rule.moc"
