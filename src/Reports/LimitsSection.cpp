// SPDX-License-Identifier: Apache-2.0
#include "Reports/Sections_p.h"

#include <iterator>

namespace Reports::Sections {

namespace {
/// A sentence with the names of its figures, up to the first that is null.
struct Statement
{
    const char *text;
    const char *figures[4];
};
constexpr Statement statements[] = {
    {QT_TRANSLATE_NOOP(
         "Report", "On clean faces a false defect was found in %1 of the single-mode and %2 of the multimode faces."),
        {"clean-sm-alarmed", "clean-mm-alarmed"}},
    {QT_TRANSLATE_NOOP("Report",
         "Dark pits are found reliably (95 % or more) from %1 µm in the cladding and from %2 µm in the core zone; "
         "below "
         "2 µm almost none is found."),
        {"pit-sm-cladding-reliable", "pit-sm-core-reliable"}},
    {QT_TRANSLATE_NOOP("Report", "Small blemishes are measured too large: a pit of 2.5 µm in the core zone by %1 µm."),
        {"size-error-pit-core-2-5um"}},
    {QT_TRANSLATE_NOOP("Report", "Scratches are found from %1 µm of width and %2 % of contrast beside the core."),
        {"scratch-width-cladding-reliable", "scratch-contrast-cladding-reliable"}},
    {QT_TRANSLATE_NOOP("Report",
         "A scratch in the cladding should never fail a face. One of 35 µm length did in %1 of the cases, one of 50 µm "
         "in "
         "%2, one of 80 µm in %3."),
        {"scratch-length-35-failed", "scratch-length-50-failed", "scratch-length-80-failed"}},
    {QT_TRANSLATE_NOOP("Report",
         "The verdict agreed with that of the rules on the true blemishes in %1 of the mixed faces by SM RL45, and in "
         "%2 by "
         "MM."),
        {"verdicts-sm-rl45-agreement", "verdicts-mm-agreement"}},
    {QT_TRANSLATE_NOOP("Report",
         "At the margin a face may pass once and fail once: %1 of the single-mode files there changed their verdict "
         "when "
         "analysed again."),
        {"flips-sm-at-the-margin-count"}},
    {QT_TRANSLATE_NOOP("Report", "Bright blemishes inside the core zone are not seen: %1 were found."),
        {"contrast-bright-core-all"}},
};

/// A number stays with its unit.
QString joined(QString text)
{
    return text.replace(QStringLiteral(" \u00B5m"), QStringLiteral("\u00A0\u00B5m"))
        .replace(QLatin1String(" %"), QStringLiteral("\u00A0%"));
}

QString textOf(const ReportText &words, const Statement &statement)
{
    QStringList figures;
    for (const char *const name : statement.figures) {
        if (name != nullptr)
            figures.append(words.figure(name));
    }
    return joined(words(statement.text, figures));
}

void drawParagraph(Sheet *sheet, const QString &words)
{
    const QString text = joined(words);
    const TextStyle style{9.5, false, Ink::text, Qt::AlignLeft, 8};
    sheet->need(sheet->heightOf(text, Sheet::width, style));
    sheet->y += sheet->paragraph(text, style) + 3;
}

void drawStatement(Sheet *sheet, const QString &text)
{
    const TextStyle style{9.5, false, Ink::text, Qt::AlignLeft, 8};
    const double width = Sheet::width - 6;
    const double height = sheet->heightOf(text, width, style);
    sheet->need(height);
    sheet->disc({Sheet::left + 2, sheet->y + 2.3}, 0.7, Ink::accent);
    sheet->y += sheet->text(Sheet::left + 6, sheet->y, width, text, style) + 1.6;
}
} // namespace

void limits(Sheet *sheet)
{
    const ReportText &words = sheet->words();
    sheet->heading(words(QT_TRANSLATE_NOOP("Report", "What a verdict says, and what it cannot say")));
    drawParagraph(sheet,
        words(QT_TRANSLATE_NOOP("Report",
            "A verdict says whether what was found on one photograph of an end face keeps to the rules of the standard "
            "on "
            "the cover. It says nothing about what the photograph does not show, about dirt that came later, about the "
            "other end of the link, or about its attenuation.")));
    drawParagraph(sheet,
        words(QT_TRANSLATE_NOOP("Report",
            "Accepted: it did not pass, and the operator accepted it. Open: not inspected, or to be inspected again. "
            "No "
            "verdict: the inspection could not be made. Doubtful: the record cannot be read, or contradicts itself. "
            "None "
            "of these has passed.")));
    drawParagraph(sheet,
        words(
            QT_TRANSLATE_NOOP("Report",
                "How far a verdict can be relied on was measured on %1 painted faces whose blemishes are known, in %2 "
                "analyses. The figures hold for the conditions of that study, and are no promise about other "
                "photographs. In parentheses: the 95 % confidence interval, in per cent."),
            {words.figure("faces"), words.figure("analyses")}));
    for (const Statement &statement : statements)
        drawStatement(sheet, textOf(words, statement));
}

} // namespace Reports::Sections
