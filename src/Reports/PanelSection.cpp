// SPDX-License-Identifier: Apache-2.0
#include "Reports/Sections_p.h"
#include "Reports/StateMark_p.h"

#include <algorithm>

namespace Reports::Sections {

using namespace Records;

namespace {
constexpr int mostColumns = 12;
constexpr double cellHeight = 12; // millimetres
constexpr double gap = 1;

void drawCell(Sheet *sheet, const QRectF &cell, const ReportPoint &point)
{
    const QRgb color = StateMark::colorOf(point.state);
    sheet->box(cell, Ink::stripe, 0.8);
    sheet->box({cell.left(), cell.bottom() - 0.8, cell.width(), 0.8}, color);
    StateMark::draw(sheet, {cell.center().x(), cell.top() + 3.6}, 4.2, point.state);
    sheet->text(cell.left() + 0.5, cell.top() + 6.4, cell.width() - 1, ReportText::shown(point.point.name),
        {7.5, false, Ink::text, Qt::AlignHCenter, 1, Qt::ElideMiddle});
}

void drawGrid(Sheet *sheet, const QVector<ReportPoint> &points)
{
    const double pitch = Sheet::width / mostColumns;
    for (int i = 0; i < points.size(); ++i) {
        const int column = i % mostColumns;
        if (column == 0) {
            if (i > 0)
                sheet->y += cellHeight + gap;
            sheet->need(cellHeight);
        }
        drawCell(sheet, {Sheet::left + column * pitch, sheet->y, pitch - gap, cellHeight}, points[i]);
    }
    sheet->y += points.isEmpty() ? 0 : cellHeight + gap;
}

void drawLegend(Sheet *sheet)
{
    StateMark::inColumns(sheet, 8, [sheet](ReportState state, double x) {
        StateMark::drawWithWord(sheet, x, sheet->y, Sheet::right - x, state, 8);
    });
    sheet->y += 7;
}

QVector<ReportPoint> pointsOf(const JobReport &report, Side side)
{
    QVector<ReportPoint> points;
    std::copy_if(report.points.cbegin(), report.points.cend(), std::back_inserter(points),
        [side](const ReportPoint &point) { return point.point.side == side; });
    return points;
}
} // namespace

void panel(Sheet *sheet, const JobReport &report)
{
    const ReportText &words = sheet->words();
    sheet->heading(words(QT_TRANSLATE_NOOP("Report", "Panel")));
    drawLegend(sheet);
    if (report.points.isEmpty())
        sheet->y += sheet->paragraph(words(QT_TRANSLATE_NOOP("Report", "The job has no points")));
    for (const Side side : {Side::A, Side::B}) {
        const QVector<ReportPoint> points = pointsOf(report, side);
        if (points.isEmpty())
            continue;
        sheet->subheading(
            words(side == Side::A ? QT_TRANSLATE_NOOP("Report", "Side A") : QT_TRANSLATE_NOOP("Report", "Side B")),
            cellHeight);
        drawGrid(sheet, points);
    }
}

} // namespace Reports::Sections
