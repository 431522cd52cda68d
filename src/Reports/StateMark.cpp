// SPDX-License-Identifier: Apache-2.0
#include "Reports/StateMark_p.h"

#include <algorithm>
#include <iterator>

namespace Reports::StateMark {

QString wordOf(const ReportText &words, ReportState state)
{
    switch (state) {
    case ReportState::Open:
        return words(QT_TRANSLATE_NOOP("Report", "Open"));
    case ReportState::Passed:
        return words(QT_TRANSLATE_NOOP("Report", "Passed"));
    case ReportState::Failed:
        return words(QT_TRANSLATE_NOOP("Report", "Failed"));
    case ReportState::Accepted:
        return words(QT_TRANSLATE_NOOP("Report", "Accepted"));
    case ReportState::NoVerdict:
        return words(QT_TRANSLATE_NOOP("Report", "No verdict"));
    case ReportState::Doubtful:
        break;
    }
    return words(QT_TRANSLATE_NOOP("Report", "Doubtful"));
}

QRgb colorOf(ReportState state)
{
    switch (state) {
    case ReportState::Open:
        return Ink::faint;
    case ReportState::Passed:
        return Ink::good;
    case ReportState::Failed:
        return Ink::bad;
    case ReportState::Accepted:
        return Ink::caution;
    case ReportState::NoVerdict:
    case ReportState::Doubtful:
        break;
    }
    return 0xff6a1b6e;
}

namespace {
constexpr double markSize = 0.42; // millimetres a point of the text beside it
constexpr double markGap = 1.2; // millimetres

void drawCheck(Sheet *sheet, const QPointF &c, double r)
{
    sheet->polyline({c + QPointF(-0.5 * r, 0.05 * r), c + QPointF(-0.1 * r, 0.45 * r), c + QPointF(0.55 * r, -0.4 * r)},
        Ink::white, 0.22 * r);
}

void drawCross(Sheet *sheet, const QPointF &c, double r)
{
    sheet->polyline({c + QPointF(-0.45 * r, -0.45 * r), c + QPointF(0.45 * r, 0.45 * r)}, Ink::white, 0.22 * r);
    sheet->polyline({c + QPointF(0.45 * r, -0.45 * r), c + QPointF(-0.45 * r, 0.45 * r)}, Ink::white, 0.22 * r);
}
} // namespace

void draw(Sheet *sheet, const QPointF &centre, double size, ReportState state)
{
    const double r = size / 2;
    const QRgb color = colorOf(state);
    const QRectF square(centre.x() - 0.9 * r, centre.y() - 0.9 * r, 1.8 * r, 1.8 * r);
    switch (state) {
    case ReportState::Passed:
        sheet->disc(centre, r, color);
        drawCheck(sheet, centre, r);
        break;
    case ReportState::Failed:
        sheet->box(square, color, 0.2 * r);
        drawCross(sheet, centre, r);
        break;
    case ReportState::Accepted:
        sheet->box(square, color, 0.8 * r);
        drawCheck(sheet, centre, r);
        break;
    case ReportState::NoVerdict:
        sheet->disc(centre, r, color);
        sheet->polyline({centre + QPointF(-0.5 * r, 0), centre + QPointF(0.5 * r, 0)}, Ink::white, 0.24 * r);
        break;
    case ReportState::Doubtful:
        sheet->box(square, color, 0.2 * r);
        sheet->polyline({centre + QPointF(0, -0.5 * r), centre + QPointF(0, 0.12 * r)}, Ink::white, 0.24 * r);
        sheet->disc(centre + QPointF(0, 0.5 * r), 0.14 * r, Ink::white);
        break;
    case ReportState::Open:
        sheet->ring(centre, 0.85 * r, color, 0.2 * r);
        break;
    }
}

double drawWithWord(Sheet *sheet, double x, double y, double width, ReportState state, double points)
{
    const double size = points * markSize;
    const TextStyle style{points, true, colorOf(state)};
    const double height =
        sheet->text(x + size + markGap, y, width - size - markGap, wordOf(sheet->words(), state), style);
    draw(sheet, {x + size / 2, y + height / 2}, size, state);
    return height;
}

void inColumns(Sheet *sheet, double points, const std::function<void(ReportState state, double x)> &draw)
{
    const TextStyle style{points, true};
    const auto widthOf = [&](ReportState state) {
        return points * markSize + markGap + sheet->widthOf(wordOf(sheet->words(), state), style) + 0.5;
    };
    double free = Sheet::width;
    for (const ReportState state : all)
        free -= widthOf(state);
    const double between = std::max(1.0, free / double(std::size(all) - 1));
    double x = Sheet::left;
    for (const ReportState state : all) {
        draw(state, x);
        x += widthOf(state) + between;
    }
}

int countOf(const ReportCounts &counts, ReportState state)
{
    switch (state) {
    case ReportState::Open:
        return counts.open;
    case ReportState::Passed:
        return counts.passed;
    case ReportState::Failed:
        return counts.failed;
    case ReportState::Accepted:
        return counts.accepted;
    case ReportState::NoVerdict:
        return counts.withoutVerdict;
    case ReportState::Doubtful:
        break;
    }
    return counts.doubtful;
}

} // namespace Reports::StateMark
