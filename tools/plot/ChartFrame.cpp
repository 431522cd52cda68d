// SPDX-License-Identifier: Apache-2.0
#include "plot/ChartFrame.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Plot {

namespace {
constexpr double lineSpacing = 1.45; ///< from line to line, in sizes of the text
constexpr double symbolWidth = 24; // pixels, as are the others
constexpr double symbolGap = 6; ///< between symbol and name
constexpr double entryGap = 20;
constexpr double tickGap = 6; ///< between an axis and its numbers
constexpr double pixelsPerTick = 46;
constexpr double leastSide = 20; ///< of the plot, however small the picture is

double widest(const QVector<Tick> &ticks)
{
    double width = 0;
    for (const Tick &tick : ticks)
        width = std::max(width, SvgCanvas::textWidth(tick.label, Look::tickSize));
    return width;
}

double widest(const QVector<ReferenceLine> &lines)
{
    double width = 0;
    for (const ReferenceLine &line : lines)
        width = std::max(width, SvgCanvas::textWidth(line.label, Look::tickSize));
    return width;
}

int tickCount(double height)
{
    return std::max(2, static_cast<int>(height / pixelsPerTick));
}
} // namespace

QString Look::color(const QString &given, int place)
{
    static constexpr std::array<const char *, 8> palette{
        "#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#8c564b", "#4d4d4d"};
    return given.isEmpty() ? QLatin1String(palette.at(static_cast<std::size_t>(place) % palette.size())) : given;
}

ChartFrame::ChartFrame(SvgCanvas *canvas, const QRectF &area, const FrameContent &content)
    : mCanvas(canvas)
    , mArea(area.adjusted(Look::padding, Look::padding, -Look::padding, -Look::padding))
    , mContent(content)
    , mY(content.y, content.yData, tickCount(mArea.height() * 3 / 4), content.yFit)
{
    double top = mArea.top();
    if (!content.title.isEmpty())
        top += Look::titleSize * lineSpacing;
    if (!content.subtitle.isEmpty())
        top += Look::textSize * lineSpacing;
    mLegendTop = top + Look::padding / 3;
    top = mLegendTop + legendHeight() + content.headroom + Look::padding / 2;

    double bottom = mArea.bottom() - content.xTickHeight - tickGap;
    if (!content.xLabel.isEmpty())
        bottom -= Look::textSize * lineSpacing;
    double left = mArea.left() + widest(mY.ticks()) + tickGap;
    if (!content.y.label.isEmpty())
        left += Look::textSize * lineSpacing;
    double right = mArea.right();
    if (!content.horizontal.isEmpty())
        right -= widest(content.horizontal) + tickGap;
    mPlot.setCoords(left, top, std::max(right, left + leastSide), std::max(bottom, top + leastSide));
}

double ChartFrame::yOf(double value) const
{
    return mPlot.bottom() - mY.share(value) * mPlot.height();
}

void ChartFrame::paintBack()
{
    paintHeading();
    paintLegend();
    paintUprightAxis();
}

void ChartFrame::paintReferenceLines()
{
    int place = 0;
    for (const ReferenceLine &line : qAsConst(mContent.horizontal)) {
        const double share = mY.share(line.value);
        const QString color = Look::color(line.color.isEmpty() ? QString(Look::fadedInk) : line.color, place++);
        if (share >= 0 && share <= 1)
            mCanvas->line(
                {mPlot.left(), yOf(line.value)}, {mPlot.right(), yOf(line.value)}, {color, 1.4, QStringLiteral("6 4")});
    }
}

void ChartFrame::paintFront()
{
    paintReferenceLabels();
    mCanvas->line(mPlot.bottomLeft(), mPlot.bottomRight(), {Look::axisLine, 1.2, {}});
}

QVector<QPointF> ChartFrame::legendPlaces() const
{
    const double rowHeight = Look::textSize * lineSpacing;
    QVector<QPointF> places;
    QPointF place;
    for (const LegendEntry &entry : mContent.legend) {
        const double width = symbolWidth + symbolGap + SvgCanvas::textWidth(entry.name, Look::textSize);
        if (place.x() > 0 && place.x() + width > mArea.width())
            place = {0, place.y() + rowHeight};
        places.append(place);
        place.rx() += width + entryGap;
    }
    places.append({0, mContent.legend.isEmpty() ? 0 : place.y() + rowHeight});
    return places;
}

double ChartFrame::legendHeight() const
{
    return legendPlaces().constLast().y();
}

void ChartFrame::paintHeading()
{
    double base = mArea.top();
    if (!mContent.title.isEmpty()) {
        base += Look::titleSize;
        mCanvas->text(
            {mArea.left(), base}, mContent.title, {Look::titleSize, Look::ink, TextFormat::Anchor::Start, true, 0});
        base += Look::titleSize * (lineSpacing - 1);
    }
    if (!mContent.subtitle.isEmpty())
        mCanvas->text({mArea.left(), base + Look::textSize}, mContent.subtitle,
            {Look::textSize, Look::fadedInk, TextFormat::Anchor::Start, false, 0});
}

void ChartFrame::paintLegend()
{
    const QVector<QPointF> places = legendPlaces();
    const QPointF corner(mArea.left(), mLegendTop);
    for (int i = 0; i < mContent.legend.size(); ++i) {
        const LegendEntry &entry = mContent.legend.at(i);
        const QPointF base = corner + places.at(i) + QPointF(0, Look::textSize);
        paintSymbol(entry, base + QPointF(symbolWidth / 2, -Look::textSize / 3));
        mCanvas->text(base + QPointF(symbolWidth + symbolGap, 0), entry.name,
            {Look::textSize, Look::ink, TextFormat::Anchor::Start, false, 0});
    }
}

void ChartFrame::paintSymbol(const LegendEntry &entry, const QPointF &middle)
{
    using Symbol = LegendEntry::Symbol;
    constexpr double squareSide = 11;
    const QPointF half(symbolWidth / 2, 0);
    if (entry.symbol == Symbol::Area) {
        const QSizeF size(squareSide, squareSide);
        mCanvas->rectangle({middle - QPointF(squareSide / 2, squareSide / 2), size}, entry.color);
        return;
    }
    if (entry.symbol != Symbol::Points)
        mCanvas->line(middle - half, middle + half, {entry.color, 2, entry.dashed ? QStringLiteral("6 4") : QString()});
    if (entry.symbol != Symbol::Line)
        mCanvas->dot(middle, 3.2, entry.color);
}

void ChartFrame::paintUprightAxis()
{
    for (const Tick &tick : mY.ticks()) {
        const double y = yOf(tick.value);
        const QLatin1String color = tick.label.isEmpty() ? Look::fineGridLine : Look::gridLine;
        mCanvas->line({mPlot.left(), y}, {mPlot.right(), y}, {color, 1, {}});
        if (!tick.label.isEmpty())
            mCanvas->text({mPlot.left() - tickGap, y + Look::tickSize * 0.36}, tick.label,
                {Look::tickSize, Look::fadedInk, TextFormat::Anchor::End, false, 0});
    }

    const TextFormat centered{Look::textSize, Look::ink, TextFormat::Anchor::Middle, false, 0};
    if (!mContent.xLabel.isEmpty())
        mCanvas->text({mPlot.center().x(), mArea.bottom() - 2}, mContent.xLabel, centered);
    if (!mContent.y.label.isEmpty()) {
        TextFormat upright = centered;
        upright.rotation = -90;
        mCanvas->text({mArea.left() + Look::textSize * 0.8, mPlot.center().y()}, mContent.y.label, upright);
    }
}

void ChartFrame::paintReferenceLabels()
{
    // From the bottom upwards, each at its line or just above the one before.
    QVector<ReferenceLine> lines = mContent.horizontal;
    std::sort(lines.begin(), lines.end(), [](const auto &a, const auto &b) { return a.value < b.value; });
    double lowest = mPlot.bottom();
    for (const ReferenceLine &line : qAsConst(lines)) {
        const double share = mY.share(line.value);
        if (!(share >= 0 && share <= 1))
            continue;
        const double y = std::min(yOf(line.value), lowest);
        mCanvas->text({mPlot.right() + tickGap, y + Look::tickSize * 0.36}, line.label,
            {Look::tickSize, line.color.isEmpty() ? QString(Look::fadedInk) : line.color, TextFormat::Anchor::Start,
                false, 0});
        lowest = y - Look::tickSize * 1.25;
    }
}

} // namespace Plot
