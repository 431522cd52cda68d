// SPDX-License-Identifier: Apache-2.0
#include "Reports/Sections_p.h"
#include "Reports/StateMark_p.h"

namespace Reports::Sections {

using namespace Records;

namespace {
constexpr int mostNamed = 4; // of what is wrong
constexpr double labelWidth = 42; // millimetres

struct Fact
{
    QString label;
    QString value;
};

/// Those that differ, in the order in which they come.
QString distinct(const JobReport &report, const std::function<QString(const StoredInspection &)> &valueOf)
{
    QStringList values;
    for (const StoredInspection &inspection : report.inspections) {
        const QString value = ReportText::shown(valueOf(inspection));
        if (!value.isEmpty() && !values.contains(value))
            values.append(value);
        if (values.size() > mostNamed)
            break;
    }
    QString text = QStringList(values.mid(0, mostNamed)).join(QStringLiteral(", "));
    return values.size() > mostNamed ? text + QStringLiteral(" \u2026") : text;
}

QString scopeOf(const StoredInspection &inspection)
{
    const QSize fov = inspection.origin.device.fov;
    return QStringLiteral("%1 (%2 \u00D7 %3 \u00B5m)")
        .arg(inspection.origin.device.name, QString::number(fov.width()), QString::number(fov.height()));
}

QVector<Fact> factsOf(const ReportText &words, const JobReport &report)
{
    const Job &job = report.job;
    const QString closed =
        job.isOpen() ? words(QT_TRANSLATE_NOOP("Report", "the job is still open")) : words.time(job.closed);
    return {
        {words(QT_TRANSLATE_NOOP("Report", "Customer")), ReportText::shown(job.customer)},
        {words(QT_TRANSLATE_NOOP("Report", "Site")), ReportText::shown(job.site)},
        {words(QT_TRANSLATE_NOOP("Report", "Operator")), ReportText::shown(job.operatorName)},
        {words(QT_TRANSLATE_NOOP("Report", "Standard")), words.nameOf(job.standard)},
        {words(QT_TRANSLATE_NOOP("Report", "Job begun")), words.time(job.created)},
        {words(QT_TRANSLATE_NOOP("Report", "Job closed")), closed},
        {words(QT_TRANSLATE_NOOP("Report", "Points")), words.count(report.points.size())},
        {words(QT_TRANSLATE_NOOP("Report", "Inspections")),
            words.count(report.inspections.size() + report.unreadable.size())},
        {words(QT_TRANSLATE_NOOP("Report", "Scope")), distinct(report, scopeOf)},
        {words(QT_TRANSLATE_NOOP("Report", "Inspected with")),
            distinct(report, [](const StoredInspection &inspection) { return inspection.origin.software; })},
        {words(QT_TRANSLATE_NOOP("Report", "Report made")), words.time(report.made)},
        {words(QT_TRANSLATE_NOOP("Report", "Identity of the job")), job.identity.toString(QUuid::WithoutBraces)},
    };
}

/// The whole job in one line.
QString outcomeOf(const ReportText &words, const JobReport &report)
{
    const ReportCounts counts = report.counts();
    if (counts.points == 0)
        return words(QT_TRANSLATE_NOOP("Report", "The job has no points"));
    if (counts.allPassed())
        return report.isSound() ? words(QT_TRANSLATE_NOOP("Report", "All points passed"))
                                : words(QT_TRANSLATE_NOOP("Report", "All points passed; see what is to be noted"));
    return words(QT_TRANSLATE_NOOP("Report", "%1 of %2 points passed"),
        {words.count(counts.passed), words.count(counts.points)});
}

void drawOutcome(Sheet *sheet, const JobReport &report)
{
    constexpr double height = 14;
    const ReportCounts counts = report.counts();
    const bool isBad = counts.failed + counts.withoutVerdict + counts.doubtful > 0;
    const QRgb color = counts.allPassed() && report.isSound() ? Ink::good : isBad ? Ink::bad : Ink::caution;
    sheet->box({Sheet::left, sheet->y, Sheet::width, height}, color, 1.5);
    sheet->text(
        Sheet::left + 6, sheet->y + 3.4, Sheet::width - 12, outcomeOf(sheet->words(), report), {16, true, Ink::white});
    sheet->y += height + 5;
    StateMark::inColumns(sheet, 8.5, [&](ReportState state, double x) {
        const TextStyle number{18, true, StateMark::colorOf(state)};
        sheet->text(x, sheet->y, 24, sheet->words().count(StateMark::countOf(counts, state)), number);
        StateMark::drawWithWord(sheet, x, sheet->y + 9, Sheet::right - x, state, 8.5);
    });
    sheet->y += 19;
}

void drawFacts(Sheet *sheet, const JobReport &report)
{
    const TextStyle label{9, false, Ink::faint};
    const TextStyle value{9.5, false, Ink::text, Qt::AlignLeft, 4};
    const QVector<Fact> facts = factsOf(sheet->words(), report);
    for (const Fact &fact : facts) {
        const QString shown = fact.value.isEmpty() ? QStringLiteral("\u2013") : fact.value;
        sheet->text(Sheet::left, sheet->y, labelWidth, fact.label, label);
        const double height = sheet->text(Sheet::left + labelWidth, sheet->y, Sheet::width - labelWidth, shown, value);
        sheet->y += height + 1.6;
        sheet->line({Sheet::left, sheet->y - 0.7}, {Sheet::right, sheet->y - 0.7}, Ink::rule, 0.1);
    }
    sheet->y += 4;
}

/// "inspections 3, 7, 12, 19 and 4 more"
QString named(const ReportText &words, const QVector<Id> &ids)
{
    QStringList numbers;
    const QVector<Id> first = ids.mid(0, mostNamed);
    for (const Id id : first)
        numbers.append(QString::number(id));
    const QString list = numbers.join(QStringLiteral(", "));
    if (ids.size() == 1)
        return words(QT_TRANSLATE_NOOP("Report", "inspection %1"), {list});
    return ids.size() > mostNamed
        ? words(QT_TRANSLATE_NOOP("Report", "inspections %1 and %2 more"), {list, words.count(ids.size() - mostNamed)})
        : words(QT_TRANSLATE_NOOP("Report", "inspections %1"), {list});
}

QString pictureWarning(const ReportText &words, const JobReport &report)
{
    QVector<Id> ids;
    for (const PictureFault &fault : report.pictureFaults) {
        if (!ids.contains(fault.inspection))
            ids.append(fault.inspection);
    }
    return words(QT_TRANSLATE_NOOP("Report", "Pictures that are missing or damaged: %1 (%2)."),
        {words.count(report.pictureFaults.size()), named(words, ids)});
}

QStringList warningsOf(const ReportText &words, const JobReport &report)
{
    QStringList warnings;
    if (!report.pictureFaults.isEmpty())
        warnings.append(pictureWarning(words, report));
    if (!report.contradictions.isEmpty())
        warnings.append(words(QT_TRANSLATE_NOOP("Report",
                                  "Records that contradict themselves or their job: %1 (%2). They count as doubtful."),
            {words.count(report.contradictions.size()), named(words, report.contradictions)}));
    if (!report.unreadable.isEmpty())
        warnings.append(words(QT_TRANSLATE_NOOP("Report",
                                  "Records that cannot be read: %1 (%2). They are left out, and count as doubtful."),
            {words.count(report.unreadable.size()), named(words, report.unreadable)}));
    const int open = report.counts().open;
    if (open > 0)
        warnings.append(
            words(QT_TRANSLATE_NOOP("Report", "Points that were not inspected, or are to be inspected again: %1."),
                {words.count(open)}));
    return warnings;
}

void drawWarnings(Sheet *sheet, const JobReport &report)
{
    const QStringList warnings = warningsOf(sheet->words(), report);
    if (warnings.isEmpty())
        return;
    const TextStyle style{9.5, false, Ink::text, Qt::AlignLeft, 3};
    const double inner = Sheet::width - 10;
    double height = 11;
    for (const QString &warning : warnings)
        height += sheet->heightOf(warning, inner, style) + 1;
    sheet->need(height);
    sheet->box({Sheet::left, sheet->y, Sheet::width, height}, Ink::cautionGround, 1);
    sheet->box({Sheet::left, sheet->y, 1.5, height}, Ink::caution);
    double y = sheet->y + 3;
    y += sheet->text(Sheet::left + 5, y, inner, sheet->words()(QT_TRANSLATE_NOOP("Report", "To be noted")),
             {10, true, Ink::caution})
        + 1;
    for (const QString &warning : warnings)
        y += sheet->text(Sheet::left + 5, y, inner, warning, style) + 1;
    sheet->y += height + 4;
}
} // namespace

void cover(Sheet *sheet, const JobReport &report)
{
    const ReportText &words = sheet->words();
    sheet->newPage();
    sheet->y = 20;
    sheet->y +=
        sheet->paragraph(words(QT_TRANSLATE_NOOP("Report", "Fibre inspection report")), {11, true, Ink::accent});
    sheet->y += sheet->paragraph(ReportText::shown(report.job.name), {20, true, Ink::text, Qt::AlignLeft, 4}) + 5;
    drawOutcome(sheet, report);
    drawFacts(sheet, report);
    drawWarnings(sheet, report);
    sheet->need(14);
    sheet->y += sheet->paragraph(words(QT_TRANSLATE_NOOP("Report",
                                     "The complete record is attached to this file as record.json. How far a verdict "
                                     "can be relied on is told on the "
                                     "last page.")),
        {8.5, false, Ink::faint, Qt::AlignLeft, 3});
}

} // namespace Reports::Sections
