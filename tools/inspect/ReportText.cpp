// SPDX-License-Identifier: Apache-2.0
#include "inspect/ReportText.h"

#include "FiberInspection/EnumeratorNames.h"
#include "common/Micrometres.h"
#include "common/StandardNames.h"
#include "common/Terminal.h"
#include "inspect/Inspection.h"
#include "inspect/Options.h"

#include <QStringList>

#include <algorithm>
#include <cmath>

namespace Inspect {

using FiberInspection::Defect;
using FiberInspection::GradedDefect;
using FiberInspection::Rule;
using FiberInspection::RuleResult;
using FiberInspection::Standard;
using FiberInspection::TestResult;
using FiberInspection::Zone;
using FiberInspection::ZoneResult;

namespace {
constexpr int mostDefectsShown = 20; // of a zone

// columns
constexpr int zoneWidth = 9;
constexpr int kindWidth = 8;
constexpr int criterionWidth = 19;
constexpr int numberWidth = 8;

QString left(const QString &text, int width)
{
    return text.leftJustified(width) + QLatin1Char(' ');
}

QString right(const QString &text, int width)
{
    return text.rightJustified(width);
}

QString allowance(const Rule &rule)
{
    return rule.maxAllowedAmount == Rule::unlimited ? QStringLiteral("\u221E") : QString::number(rule.maxAllowedAmount);
}

QString ruleHeader()
{
    return left(QStringLiteral("Zone"), zoneWidth) + left(QStringLiteral("Kind"), kindWidth)
        + left(QStringLiteral("Criterion"), criterionWidth) + right(QStringLiteral("Allowed"), numberWidth)
        + right(QStringLiteral("Found"), numberWidth) + QStringLiteral("  Verdict");
}

QString ruleLine(const QString &zoneName, const RuleResult &rule, const Tools::TextStyle &style)
{
    const QString line = left(zoneName, zoneWidth)
        + left(FiberInspection::wordOf(rule.standardRule.defectType), kindWidth)
        + left(rule.standardRule.toString(), criterionWidth) + right(allowance(rule.standardRule), numberWidth)
        + right(QString::number(rule.defectCount), numberWidth);
    const QString verdict = rule.violated ? style.bad(QStringLiteral("fail")) : style.good(QStringLiteral("pass"));
    return (rule.defectCount == 0 ? style.dim(line) : line) + QStringLiteral("  ") + verdict;
}

QStringList rulesTable(const TestResult &result, const Tools::TextStyle &style)
{
    QStringList lines{style.bold(ruleHeader())};
    for (const ZoneResult *const zone : {&result.core(), &result.cladding()}) {
        for (const RuleResult &rule : zone->rules)
            lines.append(ruleLine(Zone::name(zone->standardZone.zone), rule, style));
    }
    return lines;
}

/// Those of a zone, the largest first.
QVector<GradedDefect> failingDefects(const Inspection &inspection, Zone::Id zone, const QVector<Defect> &defects)
{
    const Measurements &measured = inspection.measurements;
    QVector<GradedDefect> failing;
    for (const Defect &defect : defects) {
        if (defect.causesFailure)
            failing.append(GradedDefect::of(zone, defect, measured.crop, measured.pixelSize));
    }
    std::stable_sort(failing.begin(), failing.end(),
        [](const GradedDefect &a, const GradedDefect &b) { return a.sizeMicrons > b.sizeMicrons; });
    return failing;
}

QStringList defectLines(const QVector<GradedDefect> &defects)
{
    QStringList lines;
    for (const GradedDefect &defect : defects) {
        if (lines.size() == mostDefectsShown) {
            lines.append(
                QStringLiteral("%1 and %2 more").arg(left(QString(), zoneWidth)).arg(defects.size() - lines.size()));
            break;
        }
        lines.append(left(Zone::name(defect.zone), zoneWidth) + left(FiberInspection::wordOf(defect.kind), kindWidth)
            + right(Tools::micrometres(defect.sizeMicrons), numberWidth)
            + right(Tools::position(defect.centerMicrons.x()), numberWidth)
            + right(Tools::position(defect.centerMicrons.y()), numberWidth));
    }
    return lines;
}

QStringList defectsTable(const Inspection &inspection, const Tools::TextStyle &style)
{
    const TestResult &result = inspection.result;
    const QStringList lines = defectLines(failingDefects(inspection, Zone::Core, result.coreDefects()))
        + defectLines(failingDefects(inspection, Zone::Cladding, result.claddingDefects()));
    if (lines.isEmpty())
        return {};
    const QString header = left(QStringLiteral("Failing"), zoneWidth) + left(QStringLiteral("Kind"), kindWidth)
        + right(QStringLiteral("Size"), numberWidth) + right(QStringLiteral("x"), numberWidth)
        + right(QStringLiteral("y"), numberWidth);
    return QStringList{QString(),
               style.bold(header) + style.dim(QStringLiteral("   \u00B5m from the fibre centre, x right, y down"))}
    + lines;
}

QString repetitionLine(const Repetition &repetition)
{
    return QStringLiteral("Of %1 runs: %2 passed, %3 failed, %4 not analysed")
        .arg(repetition.runs)
        .arg(repetition.passed)
        .arg(repetition.failed)
        .arg(repetition.errors);
}

QString verdictLine(const TestResult &result, const Tools::TextStyle &style)
{
    return result.passed() ? style.good(QStringLiteral("PASSED")) : style.bad(QStringLiteral("FAILED"));
}

QStringList zoneLines(const Zone &zone)
{
    const QString name = QStringLiteral("%1 %2 to %3 \u00B5m")
                             .arg(left(Zone::name(zone.zone), zoneWidth))
                             .arg(zone.innerDiameter, 3)
                             .arg(zone.outerDiameter, 3);
    if (zone.rules.isEmpty())
        return {name + QStringLiteral("  not graded")};
    QStringList lines;
    for (const Rule &rule : zone.rules) {
        lines.append((lines.isEmpty() ? name : QString(name.size(), QLatin1Char(' '))) + QStringLiteral("  ")
            + left(FiberInspection::wordOf(rule.defectType), kindWidth) + rule.toString());
    }
    return lines;
}
} // namespace

QString textReport(const Inspection &inspection, const Options &options, const Tools::TextStyle &style)
{
    QStringList lines = rulesTable(inspection.result, style) + defectsTable(inspection, style);
    lines.append(QString());
    if (!inspection.resultImage.isEmpty())
        lines.append(QStringLiteral("Annotated image: ") + Tools::Terminal::printableName(inspection.resultImage));
    if (options.reportsRuns)
        lines.append(repetitionLine(inspection.repetition));
    lines.append(verdictLine(inspection.result, style));

    QString text = style.bold(Tools::Terminal::printableName(inspection.task.image.path)) + QStringLiteral("  ")
        + Standard::name(inspection.task.standardId) + QLatin1Char('\n');
    for (const QString &line : lines)
        text += line.isEmpty() ? QStringLiteral("\n") : QStringLiteral("  %1\n").arg(line);
    return text + QLatin1Char('\n');
}

QString textSummary(int passed, int failed, int notAnalysed, int leftOut, const Tools::TextStyle &style)
{
    const auto count = [](int number, const char *what) {
        return QStringLiteral("%1 %2").arg(number).arg(QLatin1String(what));
    };
    const QString failures = count(failed, "failed");
    const QString errors = count(notAnalysed, "not analysed");
    const QString rest = leftOut > 0 ? QStringLiteral(", ") + style.bad(count(leftOut, "left out")) : QString();
    return QStringLiteral("%1: %2, %3, %4%5\n")
        .arg(count(passed + failed + notAnalysed, "inspections"), style.good(count(passed, "passed")),
            failed > 0 ? style.bad(failures) : failures, notAnalysed > 0 ? style.bad(errors) : errors, rest);
}

QString standardsText(const Tools::TextStyle &style)
{
    QString text;
    const QVector<Standard::Id> ids = Tools::standardsNamed(QStringLiteral("all"));
    for (const Standard::Id id : ids) {
        const Standard standard(id);
        text += QStringLiteral("%1  %2\n").arg(style.bold(Tools::standardName(id)), standard.name());
        for (const Zone *const zone :
            {&standard.core(), &standard.cladding(), &standard.adhesive(), &standard.contact()}) {
            const QStringList lines = zoneLines(*zone);
            for (const QString &line : lines)
                text += QStringLiteral("  %1\n").arg(line);
        }
        text += QLatin1Char('\n');
    }
    text.chop(1);
    return text;
}

} // namespace Inspect
