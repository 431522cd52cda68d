// SPDX-License-Identifier: Apache-2.0
#include "plot/AxisRange.h"
#include "plot/ChartFrame.h"
#include "plot/ChartPainters_p.h"

#include <algorithm>
#include <cmath>

namespace Plot {

namespace {
constexpr double pixelsPerTick = 70;
constexpr double pointRadius = 2.8; // pixels
constexpr double lonePointRadius = 2.2;
constexpr double bandOpacity = 0.18;

DataRange xRange(const LineChart &chart)
{
    DataRange range;
    for (const Series &series : chart.series) {
        for (const QPointF &point : series.points)
            range.add(point.x());
    }
    for (const Band &band : chart.bands) {
        for (const double x : band.x)
            range.add(x);
    }
    for (const ReferenceLine &line : chart.vertical)
        range.add(line.value);
    return range;
}

DataRange yRange(const LineChart &chart)
{
    DataRange range;
    for (const Series &series : chart.series) {
        for (const QPointF &point : series.points)
            range.add(point.y());
    }
    for (const Band &band : chart.bands) {
        for (const QVector<double> *const bound : {&band.low, &band.high}) {
            for (const double y : *bound)
                range.add(y);
        }
    }
    for (const ReferenceLine &line : chart.horizontal)
        range.add(line.value);
    return range;
}

LegendEntry::Symbol symbolOf(Series::Style style)
{
    switch (style) {
    case Series::Style::Line:
        return LegendEntry::Symbol::Line;
    case Series::Style::Points:
        return LegendEntry::Symbol::Points;
    case Series::Style::LineAndPoints:
        break;
    }
    return LegendEntry::Symbol::LineAndPoints;
}

/// A tint of the colour on white, as the band looks.
QString tint(const QString &color)
{
    bool ok = false;
    const uint rgb = color.midRef(1).toUInt(&ok, 16);
    if (!ok || color.size() != 7)
        return color;
    uint mixed = 0;
    for (const uint shift : {16U, 8U, 0U}) {
        const uint level = (rgb >> shift) & 0xffU;
        mixed |= static_cast<uint>(std::lround(255 - (255 - level) * bandOpacity * 1.6)) << shift;
    }
    return QStringLiteral("#%1").arg(mixed, 6, 16, QLatin1Char('0'));
}

QVector<LegendEntry> legendOf(const LineChart &chart)
{
    QVector<LegendEntry> legend;
    for (int i = 0; i < chart.series.size(); ++i) {
        const Series &series = chart.series.at(i);
        if (!series.name.isEmpty())
            legend.append({series.name, Look::color(series.color, i), symbolOf(series.style), series.dashed});
    }
    for (int i = 0; i < chart.bands.size(); ++i) {
        const Band &band = chart.bands.at(i);
        if (!band.name.isEmpty())
            legend.append({band.name, tint(Look::color(band.color, i)), LegendEntry::Symbol::Area, false});
    }
    return legend;
}

FrameContent contentOf(const LineChart &chart)
{
    FrameContent content;
    content.title = chart.title;
    content.subtitle = chart.subtitle;
    content.legend = legendOf(chart);
    content.xLabel = chart.x.label;
    content.xTickHeight = Look::tickSize * 1.4;
    content.y = chart.y;
    content.yData = yRange(chart);
    content.horizontal = chart.horizontal;
    return content;
}

class LineChartPainter
{
public:
    LineChartPainter(const LineChart &chart, SvgCanvas *canvas, const QRectF &area)
        : mChart(chart)
        , mCanvas(canvas)
        , mFrame(canvas, area, contentOf(chart))
        , mPlot(mFrame.plot())
        , mX(chart.x, xRange(chart), std::max(2, static_cast<int>(mPlot.width() / pixelsPerTick)),
              AxisRange::Fit::ToData)
    {
    }

    void paint()
    {
        mFrame.paintBack();
        paintLevelAxis();
        mFrame.paintReferenceLines();
        paintVerticalLines();
        mCanvas->beginClip(mPlot.adjusted(-pointRadius, -pointRadius, pointRadius, pointRadius));
        for (int i = 0; i < mChart.bands.size(); ++i)
            paintBand(mChart.bands.at(i), Look::color(mChart.bands.at(i).color, i));
        for (int i = 0; i < mChart.series.size(); ++i)
            paintSeries(mChart.series.at(i), Look::color(mChart.series.at(i).color, i));
        mCanvas->endClip();
        paintVerticalLabels();
        mFrame.paintFront();
    }

private:
    QPointF place(const QPointF &point) const { return {xOf(point.x()), mFrame.yOf(point.y())}; }

    static bool isGap(const QPointF &place) { return !std::isfinite(place.x()) || !std::isfinite(place.y()); }

    /// The stretches between the gaps.
    QVector<QVector<QPointF>> stretches(const QVector<QPointF> &points) const
    {
        QVector<QVector<QPointF>> result(1);
        for (const QPointF &point : points) {
            const QPointF at = place(point);
            if (!isGap(at))
                result.last().append(at);
            else if (!result.constLast().isEmpty())
                result.append(QVector<QPointF>());
        }
        return result;
    }

    void paintLevelAxis()
    {
        for (const Tick &tick : mX.ticks()) {
            const double x = xOf(tick.value);
            const QLatin1String color = tick.label.isEmpty() ? Look::fineGridLine : Look::gridLine;
            mCanvas->line({x, mPlot.top()}, {x, mPlot.bottom()}, {color, 1, {}});
            if (!tick.label.isEmpty())
                mCanvas->text({x, mPlot.bottom() + Look::tickSize * 1.5}, tick.label,
                    {Look::tickSize, Look::fadedInk, TextFormat::Anchor::Middle, false, 0});
        }
    }

    void paintBand(const Band &band, const QString &color)
    {
        const int count = std::min({band.x.size(), band.low.size(), band.high.size()});
        QVector<QPointF> outline;
        QVector<QPointF> wayBack;
        const auto close = [&]() {
            std::reverse(wayBack.begin(), wayBack.end());
            if (outline.size() > 1)
                mCanvas->polygon(outline + wayBack, color, bandOpacity);
            outline.clear();
            wayBack.clear();
        };
        for (int i = 0; i < count; ++i) {
            const QPointF low = place({band.x.at(i), band.low.at(i)});
            const QPointF high = place({band.x.at(i), band.high.at(i)});
            if (isGap(low) || isGap(high)) {
                close();
            } else {
                outline.append(low);
                wayBack.append(high);
            }
        }
        close();
    }

    void paintSeries(const Series &series, const QString &color)
    {
        const bool hasLine = series.style != Series::Style::Points;
        const bool hasPoints = series.style != Series::Style::Line;
        const QString dashes = series.dashed ? QStringLiteral("6 4") : QString();
        const QVector<QVector<QPointF>> parts = stretches(series.points);
        for (const QVector<QPointF> &stretch : parts) {
            if (hasLine && stretch.size() > 1)
                mCanvas->polyline(stretch, {color, 2, dashes});
            if (hasPoints) {
                for (const QPointF &point : stretch)
                    mCanvas->dot(point, pointRadius, color);
            } else if (stretch.size() == 1) { // a line of one point would not be seen
                mCanvas->dot(stretch.constFirst(), lonePointRadius, color);
            }
        }
    }

    QVector<ReferenceLine> verticalLines() const
    {
        QVector<ReferenceLine> lines;
        for (const ReferenceLine &line : mChart.vertical) {
            const double share = mX.share(line.value);
            const QString color = line.color.isEmpty() ? QString(Look::fadedInk) : line.color;
            if (share >= 0 && share <= 1)
                lines.append({line.value, line.label, color});
        }
        std::sort(lines.begin(), lines.end(), [](const auto &a, const auto &b) { return a.value < b.value; });
        return lines;
    }

    double xOf(double value) const { return mPlot.left() + mX.share(value) * mPlot.width(); }

    void paintVerticalLines()
    {
        const QVector<ReferenceLine> lines = verticalLines();
        for (const ReferenceLine &line : lines)
            mCanvas->line({xOf(line.value), mPlot.top()}, {xOf(line.value), mPlot.bottom()},
                {line.color, 1.4, QStringLiteral("6 4")});
    }

    /// How much of the curves lies in the rectangle.
    int crowd(const QRectF &rectangle) const
    {
        int count = 0;
        for (const Series &series : mChart.series) {
            for (int i = 0; i < series.points.size(); ++i) {
                const QPointF here = place(series.points.at(i));
                const QPointF next = place(series.points.at(std::min(i + 1, series.points.size() - 1)));
                count += rectangle.contains(here) ? 1 : 0;
                count += rectangle.contains((here + next) / 2) ? 1 : 0;
            }
        }
        return count;
    }

    /// At the top, or at the bottom where there is more room. What would touch the label before goes one row further.
    void paintVerticalLabels()
    {
        constexpr double rowHeight = Look::tickSize * 1.3;
        constexpr double gap = 5;
        const QVector<ReferenceLine> lines = verticalLines();
        double taken = mPlot.left();
        int row = 0;
        for (const ReferenceLine &line : lines) {
            const double x = xOf(line.value);
            const double width = SvgCanvas::textWidth(line.label, Look::tickSize);
            const bool fitsRight = x + gap + width <= mPlot.right();
            const double left = fitsRight ? x + gap : x - gap - width;
            row = left < taken ? row + 1 : 0;
            taken = std::max(taken, left + width);

            const QRectF above(left - gap, mPlot.top() + row * rowHeight - gap, width + 2 * gap, rowHeight + 2 * gap);
            const QRectF below = above.translated(0, mPlot.height() - (2 * row + 1) * rowHeight);
            const QRectF &room = crowd(above) <= crowd(below) ? above : below;
            mCanvas->text({fitsRight ? left : left + width, room.top() + gap + Look::tickSize}, line.label,
                {Look::tickSize, line.color, fitsRight ? TextFormat::Anchor::Start : TextFormat::Anchor::End, false,
                    0});
        }
    }

    const LineChart &mChart;
    SvgCanvas *mCanvas;
    ChartFrame mFrame;
    QRectF mPlot;
    AxisRange mX;
};
} // namespace

void paint(const LineChart &chart, SvgCanvas *canvas, const QRectF &area)
{
    LineChartPainter(chart, canvas, area).paint();
}

} // namespace Plot
