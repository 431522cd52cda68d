// SPDX-License-Identifier: Apache-2.0
#include "Reports/Sections_p.h"

#include <algorithm>

namespace Reports::Sections {

using namespace Records;

namespace {
constexpr int mostRulesShown = 20;
constexpr double barHeight = 4; // millimetres

QString passRateText(const ReportText &words, const JobReport &report)
{
    const std::optional<double> rate = report.passRate();
    return rate ? words.percent(*rate) : QStringLiteral("\u2013");
}

/// A label, a bar as long as its share of the longest, and a number behind it.
void drawBar(Sheet *sheet, const QString &label, int value, int longest, double labelWidth)
{
    const double most = Sheet::width - labelWidth - 16;
    const double length = longest > 0 ? most * value / longest : 0;
    sheet->need(barHeight + 2.4);
    sheet->text(Sheet::left, sheet->y, labelWidth - 2, label, {8.5});
    if (value > 0)
        sheet->box({Sheet::left + labelWidth, sheet->y, std::max(0.4, length), barHeight}, Ink::accent, 0.4);
    sheet->text(Sheet::left + labelWidth + length + 2, sheet->y, 14, sheet->words().count(value), {8.5, true});
    sheet->y += barHeight + 2.4;
}

void drawRules(Sheet *sheet, const JobReport &report)
{
    const ReportText &words = sheet->words();
    QVector<RuleFailures> failures = report.statistics.failures;
    sheet->subheading(words(QT_TRANSLATE_NOOP("Report", "Points that fail, by zone and rule")), 12);
    if (failures.isEmpty())
        sheet->y += sheet->paragraph(words(QT_TRANSLATE_NOOP("Report", "No rule is violated.")));
    int longest = 0;
    for (const RuleFailures &failure : failures)
        longest = std::max(longest, failure.points);
    const QVector<RuleFailures> shown = failures.mid(0, mostRulesShown);
    for (const RuleFailures &failure : shown)
        drawBar(sheet,
            words.nameOf(failure.zone) + QStringLiteral(": ") + words.kindsOf(failure.rule.defectType)
                + QLatin1Char(' ') + words.criterionOf(failure.rule),
            failure.points, longest, 68);
    if (failures.size() > mostRulesShown)
        sheet->y += sheet->paragraph(
            words(QT_TRANSLATE_NOOP("Report", "and %1 more"), {words.count(failures.size() - mostRulesShown)}));
    sheet->y += 2;
}

QString rangeText(const ReportText &words, const QVector<double> &edges, int index)
{
    const auto edge = [&](int i) { return words.number(edges[i], 0); };
    if (index == 0)
        return QStringLiteral("< ") + edge(0) + QStringLiteral("\u00A0\u00B5m");
    if (index == edges.size())
        return QStringLiteral("\u2265 ") + edge(index - 1) + QStringLiteral("\u00A0\u00B5m");
    return edge(index - 1) + QStringLiteral("\u2013") + edge(index) + QStringLiteral("\u00A0\u00B5m");
}

void drawSizes(Sheet *sheet, const JobReport &report)
{
    const ReportText &words = sheet->words();
    const QVector<int> &sizes = report.statistics.sizes;
    sheet->subheading(words(QT_TRANSLATE_NOOP("Report", "Sizes of the defects that points fail for")),
        double(sizes.size()) * (barHeight + 2.4));
    const int longest = sizes.isEmpty() ? 0 : *std::max_element(sizes.cbegin(), sizes.cend());
    for (int i = 0; i < sizes.size() && i <= report.sizeEdges.size(); ++i)
        drawBar(sheet, rangeText(words, report.sizeEdges, i), sizes[i], longest, 28);
}

void drawFigures(Sheet *sheet, const JobReport &report)
{
    const ReportText &words = sheet->words();
    const ReportCounts counts = report.counts();
    const std::optional<double> seconds = report.statistics.secondsBetween;
    const QString between =
        seconds ? words(QT_TRANSLATE_NOOP("Report", "%1 s"), {words.number(*seconds, 0)}) : QStringLiteral("\u2013");
    const struct
    {
        QString label;
        QString value;
    } figures[] = {
        {words(QT_TRANSLATE_NOOP("Report", "Pass rate of the points with a verdict")), passRateText(words, report)},
        {words(QT_TRANSLATE_NOOP("Report", "Points that passed")),
            words.count(counts.passed) + QStringLiteral(" / ") + words.count(counts.points)},
        {words(QT_TRANSLATE_NOOP("Report", "Inspections of the job")), words.count(report.statistics.inspections)},
        {words(QT_TRANSLATE_NOOP("Report", "Median time from one inspection to the next")), between},
    };
    for (const auto &figure : figures) {
        sheet->text(Sheet::left, sheet->y + 1, 100, figure.label, {9, false, Ink::faint});
        sheet->y += sheet->text(Sheet::left + 100, sheet->y, 74, figure.value, {12, true}) + 1;
    }
    sheet->y += 2;
}
} // namespace

void statistics(Sheet *sheet, const JobReport &report)
{
    if (report.inspections.isEmpty())
        return;
    const ReportText &words = sheet->words();
    sheet->heading(words(QT_TRANSLATE_NOOP("Report", "Statistics")));
    drawFigures(sheet, report);
    drawRules(sheet, report);
    drawSizes(sheet, report);
    sheet->need(14);
    sheet->y += 3
        + sheet->paragraph(words(QT_TRANSLATE_NOOP("Report",
                               "Of each point its last inspection counts, also where it is to be repeated or in doubt. "
                               "In the pass rate "
                               "an accepted point has failed, and one that is open or in doubt does not count.")),
            {8, false, Ink::faint, Qt::AlignLeft, 3});
}

} // namespace Reports::Sections
