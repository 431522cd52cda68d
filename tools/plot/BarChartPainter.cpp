// SPDX-License-Identifier: Apache-2.0
#include "plot/AxisRange.h"
#include "plot/ChartFrame.h"
#include "plot/ChartPainters_p.h"

#include <algorithm>
#include <cmath>

namespace Plot {

namespace {
constexpr double groupShare = 0.74; ///< of a category's width that bars fill
constexpr double barGap = 1.5; // pixels
constexpr double slant = 35; ///< degrees, of labels that are too long to lie level

/// The number, or NaN where there is none.
double at(const QVector<double> &values, int index)
{
    return index < values.size() ? values.at(index) : automatic;
}

double longestLabel(const BarChart &chart)
{
    double width = 0;
    for (const QString &category : chart.categories)
        width = std::max(width, SvgCanvas::textWidth(category, Look::tickSize));
    return width;
}

DataRange yRange(const BarChart &chart)
{
    DataRange range;
    if (chart.y.scale == Scale::Linear)
        range.add(0);
    for (const BarGroup &group : chart.groups) {
        for (const QVector<double> *const values : {&group.values, &group.low, &group.high}) {
            for (const double value : *values)
                range.add(value);
        }
    }
    for (const ReferenceLine &line : chart.horizontal)
        range.add(line.value);
    return range;
}

class BarChartPainter
{
public:
    BarChartPainter(const BarChart &chart, SvgCanvas *canvas, const QRectF &area)
        : mChart(chart)
        , mCanvas(canvas)
        , mIsSlanted(longestLabel(chart) > 0.7 * area.width() / std::max(chart.categories.size(), 1))
        , mFrame(canvas, area, content())
        , mPlot(mFrame.plot())
        , mSlot(mPlot.width() / std::max(chart.categories.size(), 1))
    {
    }

    void paint()
    {
        mFrame.paintBack();
        for (int category = 0; category < mChart.categories.size(); ++category)
            paintCategoryLabel(category);
        mCanvas->beginClip(mPlot);
        forEachBar([this](const QRectF &bar, const QString &color, int, int) { mCanvas->rectangle(bar, color); });
        mCanvas->endClip();
        mFrame.paintReferenceLines();
        mFrame.paintFront();
        forEachBar([this](const QRectF &bar, const QString &, int group, int category) {
            paintErrorBar(bar, group, category);
            paintValue(bar, group, category);
        });
    }

private:
    FrameContent content() const
    {
        constexpr double degree = 3.14159265358979 / 180;
        FrameContent content;
        content.title = mChart.title;
        content.subtitle = mChart.subtitle;
        content.xLabel = mChart.categoryLabel;
        content.xTickHeight = Look::tickSize * 1.4;
        if (mIsSlanted)
            content.xTickHeight += longestLabel(mChart) * std::sin(slant * degree);
        if (mChart.valueDecimals >= 0)
            content.headroom = Look::tickSize;
        content.y = mChart.y;
        content.yData = yRange(mChart);
        content.horizontal = mChart.horizontal;
        for (int i = 0; i < mChart.groups.size(); ++i) {
            const BarGroup &group = mChart.groups.at(i);
            if (!group.name.isEmpty())
                content.legend.append({group.name, Look::color(group.color, i), LegendEntry::Symbol::Area, false});
        }
        return content;
    }

    void paintCategoryLabel(int category)
    {
        const double middle = mPlot.left() + (category + 0.5) * mSlot;
        const QString &label = mChart.categories.at(category);
        if (mIsSlanted)
            mCanvas->text({middle + Look::tickSize / 2, mPlot.bottom() + Look::tickSize * 1.3}, label,
                {Look::tickSize, Look::fadedInk, TextFormat::Anchor::End, false, -slant});
        else
            mCanvas->text({middle, mPlot.bottom() + Look::tickSize * 1.5}, label,
                {Look::tickSize, Look::fadedInk, TextFormat::Anchor::Middle, false, 0});
    }

    template <typename Function>
    void forEachBar(Function function)
    {
        const int groups = mChart.groups.size();
        const double width = mSlot * groupShare / std::max(groups, 1);
        for (int group = 0; group < groups; ++group) {
            const BarGroup &bars = mChart.groups.at(group);
            for (int category = 0; category < mChart.categories.size(); ++category) {
                const double y = mFrame.yOf(at(bars.values, category));
                if (!std::isfinite(y))
                    continue;
                const double zero = mFrame.yOf(0);
                const double base = std::isfinite(zero) ? qBound(mPlot.top(), zero, mPlot.bottom()) : mPlot.bottom();
                const double left = mPlot.left() + (category + (1 - groupShare) / 2) * mSlot + group * width;
                const QRectF bar(
                    left + barGap / 2, std::min(y, base), std::max(width - barGap, 0.5), std::abs(base - y));
                function(bar, Look::color(bars.color, group), group, category);
            }
        }
    }

    void paintErrorBar(const QRectF &bar, int group, int category)
    {
        const BarGroup &bars = mChart.groups.at(group);
        const double low = mFrame.yOf(at(bars.low, category));
        const double high = mFrame.yOf(at(bars.high, category));
        if (!std::isfinite(low) || !std::isfinite(high))
            return;
        const double x = bar.center().x();
        const double half = std::min(bar.width() / 4, 4.0);
        const Stroke stroke{Look::ink, 1.2, {}};
        mCanvas->line({x, low}, {x, high}, stroke);
        mCanvas->line({x - half, low}, {x + half, low}, stroke);
        mCanvas->line({x - half, high}, {x + half, high}, stroke);
    }

    void paintValue(const QRectF &bar, int group, int category)
    {
        if (mChart.valueDecimals < 0)
            return;
        constexpr double gap = 4;
        const BarGroup &bars = mChart.groups.at(group);
        const double value = at(bars.values, category);
        const double errorTop = mFrame.yOf(at(bars.high, category));
        const double top = std::isfinite(errorTop) ? std::min(errorTop, bar.top()) : bar.top();
        const QString text = QString::number(value, 'f', std::min(mChart.valueDecimals, 6));
        mCanvas->text({bar.center().x(), std::max(top, mPlot.top()) - gap}, text,
            {Look::tickSize, Look::ink, TextFormat::Anchor::Middle, false, 0});
    }

    const BarChart &mChart;
    SvgCanvas *mCanvas;
    bool mIsSlanted;
    ChartFrame mFrame;
    QRectF mPlot;
    double mSlot; ///< width of one category
};
} // namespace

void paint(const BarChart &chart, SvgCanvas *canvas, const QRectF &area)
{
    BarChartPainter(chart, canvas, area).paint();
}

} // namespace Plot
