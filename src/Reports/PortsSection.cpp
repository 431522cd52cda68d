// SPDX-License-Identifier: Apache-2.0
#include "Reports/Sections_p.h"
#include "Reports/StateMark_p.h"

#include <QSet>

#include <algorithm>
#include <iterator>

namespace Reports::Sections {

using namespace FiberInspection;
using namespace Records;

namespace {
struct Column
{
    const char *title;
    double width; ///< millimetres
};
constexpr Column columns[] = {
    {QT_TRANSLATE_NOOP("Report", "No."), 10},
    {QT_TRANSLATE_NOOP("Report", "Point"), 50},
    {QT_TRANSLATE_NOOP("Report", "Side"), 11},
    {QT_TRANSLATE_NOOP("Report", "Fibre"), 15},
    {QT_TRANSLATE_NOOP("Report", "Result"), 37},
    {QT_TRANSLATE_NOOP("Report", "Core (µm)"), 24},
    {QT_TRANSLATE_NOOP("Report", "Cladding (µm)"), 27},
};
constexpr double rowGap = 1.6; // millimetres
constexpr TextStyle plain{8.5, false, Ink::text, Qt::AlignLeft, 1};

void drawTitles(Sheet *sheet)
{
    double x = Sheet::left;
    for (const Column &column : columns) {
        sheet->text(x + 0.8, sheet->y, column.width - 1.6, sheet->words()(column.title), {8, true, Ink::faint});
        x += column.width;
    }
    sheet->y += 5.2;
    sheet->line({Sheet::left, sheet->y - 0.6}, {Sheet::right, sheet->y - 0.6}, Ink::faint, 0.3);
}

/// "2 of 5, to 5.4": defects that fail, all of them, and the largest.
QString zoneText(const ReportText &words, const StoredInspection &inspection, Zone::Id zone)
{
    int all = 0;
    double largest = 0;
    for (const StoredDefect &defect : inspection.defects) {
        if (defect.graded.zone != zone)
            continue;
        ++all;
        largest = std::max(largest, defect.graded.sizeMicrons);
    }
    if (all == 0)
        return words(QT_TRANSLATE_NOOP("Report", "none"));
    return words(QT_TRANSLATE_NOOP("Report", "%1, up to %2"), {words.count(all), words.number(largest)});
}

/// Of those of which something is missing; looked for once, not once a point.
QSet<Id> withLostPictures(const JobReport &report)
{
    QSet<Id> ids;
    for (const PictureFault &fault : report.pictureFaults)
        ids.insert(fault.inspection);
    return ids;
}

/// What else there is to say of a point.
QString remarkOf(const ReportText &words, const ReportPoint &point, const StoredInspection *last, bool hasLostPicture)
{
    QStringList remarks;
    if (hasLostPicture)
        remarks.append(words(QT_TRANSLATE_NOOP("Report", "picture missing or damaged")));
    if (last != nullptr)
        remarks.append(words(
            QT_TRANSLATE_NOOP("Report", "Inspection %1, %2"), {QString::number(last->id), words.time(last->made)}));
    if (point.point.inspections > 1)
        remarks.append(words(QT_TRANSLATE_NOOP("Report", "%1 inspections"), {words.count(point.point.inspections)}));
    if (last != nullptr && last->decision == Decision::ToRepeat)
        remarks.append(words(QT_TRANSLATE_NOOP("Report", "to be inspected again")));
    if (last != nullptr && last->verdict == Verdict::None)
        remarks.append(words.reasonOf(*last));
    if (last == nullptr && point.point.lastInspection != noId)
        remarks.append(words(QT_TRANSLATE_NOOP("Report", "The record of inspection %1 cannot be read."),
            {QString::number(point.point.lastInspection)}));
    return remarks.join(QStringLiteral(" \u00B7 "));
}

QString noteOf(const StoredInspection *last)
{
    const QString note = last != nullptr ? ReportText::shown(last->note) : QString();
    return note.isEmpty() ? note : QStringLiteral("\u201C") + note + QStringLiteral("\u201D");
}

class Row
{
public:
    Row(Sheet *sheet, const JobReport &report, int index, const QSet<Id> &withLostPictures)
        : mSheet(sheet)
        , mPoint(report.points[index])
        , mLast(report.lastOf(mPoint))
        , mNumber(index + 1)
        , mName(ReportText::shown(mPoint.point.name))
        , mRemark(remarkOf(sheet->words(), mPoint, mLast, withLostPictures.contains(mPoint.point.lastInspection)))
        , mNote(noteOf(mLast))
    {
    }

    double height() const
    {
        double remarks = mRemark.isEmpty() ? 0 : mSheet->heightOf(mRemark, remarkWidth, small);
        remarks += mNote.isEmpty() ? 0 : mSheet->heightOf(mNote, remarkWidth, small);
        return mSheet->heightOf(mName, columns[1].width - 1.6, name) + remarks + rowGap + 0.3;
    }

    void draw(bool isStriped)
    {
        const double whole = height();
        if (isStriped)
            mSheet->box({Sheet::left, mSheet->y, Sheet::width, whole}, Ink::stripe);
        mX = Sheet::left;
        mColumn = 0;
        mTop = mSheet->y + rowGap / 2;
        cell(mSheet->words().count(mNumber), plain);
        const double used = cell(mName, name);
        cell(mPoint.point.side == Side::A ? QStringLiteral("A") : QStringLiteral("B"), plain);
        cell(mSheet->words().nameOf(mPoint.point.fibre), plain);
        StateMark::drawWithWord(mSheet, mX + 0.8, mTop, columns[mColumn].width - 1.6, mPoint.state, 8.5);
        cell(QString(), plain);
        for (const Zone::Id zone : {Zone::Core, Zone::Cladding})
            cell(isCounted() ? zoneText(mSheet->words(), *mLast, zone) : QStringLiteral("\u2013"), plain);
        drawRemarks(mTop + used + 0.3);
        mSheet->y += whole;
    }

private:
    static constexpr TextStyle name{8.5, true, Ink::text, Qt::AlignLeft, 3};
    static constexpr TextStyle small{7.5, false, Ink::faint, Qt::AlignLeft, 2};
    static constexpr double remarkWidth = Sheet::width - 12;

    /// Without a verdict nothing was counted, and none would look like a clean one.
    bool isCounted() const { return mLast != nullptr && mLast->verdict != Verdict::None; }

    double cell(const QString &text, const TextStyle &style)
    {
        const double width = columns[mColumn++].width;
        const double used = mSheet->text(mX + 0.8, mTop, width - 1.6, text, style);
        mX += width;
        return used;
    }

    void drawRemarks(double y)
    {
        for (const QString &text : {mRemark, mNote})
            y += text.isEmpty() ? 0 : mSheet->text(Sheet::left + 10.8, y, remarkWidth, text, small);
    }

    Sheet *mSheet;
    const ReportPoint &mPoint;
    const StoredInspection *mLast;
    const int mNumber;
    const QString mName;
    const QString mRemark;
    const QString mNote;
    double mX = 0;
    double mTop = 0;
    int mColumn = 0;
};
} // namespace

void ports(Sheet *sheet, const JobReport &report)
{
    if (report.points.isEmpty())
        return;
    const ReportText &words = sheet->words();
    sheet->heading(words(QT_TRANSLATE_NOOP("Report", "Points")));
    sheet->y +=
        sheet->paragraph(words(QT_TRANSLATE_NOOP("Report",
                             "Of each point its last inspection. Core and cladding: how many defects were found "
                             "there, and the size of the largest in micrometres.")),
            {8.5, false, Ink::faint, Qt::AlignLeft, 2})
        + 3;
    drawTitles(sheet);
    const QSet<Id> lost = withLostPictures(report);
    for (int i = 0; i < report.points.size() && !sheet->isStopped(); ++i) {
        Row row(sheet, report, i, lost);
        if (sheet->need(row.height()))
            drawTitles(sheet);
        row.draw(i % 2 == 1);
    }
}

} // namespace Reports::Sections
