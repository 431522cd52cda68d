// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "plot/AxisRange.h"
#include "plot/Charts.h"
#include "plot/SvgCanvas.h"

#include <QRectF>

namespace Plot {

namespace Look {
const QLatin1String ink("#222222");
const QLatin1String fadedInk("#5f6368");
const QLatin1String gridLine("#e4e6e9");
const QLatin1String fineGridLine("#f2f3f5");
const QLatin1String axisLine("#80868b");
constexpr double titleSize = 15; // pixels, as are the others
constexpr double textSize = 12;
constexpr double tickSize = 11;
constexpr double padding = 14;

/// A colour as given, or that of the palette.
QString color(const QString &given, int place);
} // namespace Look

struct LegendEntry
{
    enum class Symbol : int { Line, LineAndPoints, Points, Area };

    QString name;
    QString color;
    Symbol symbol = Symbol::Line;
    bool dashed = false;
};

struct FrameContent
{
    QString title;
    QString subtitle;
    QVector<LegendEntry> legend;
    QString xLabel;
    double xTickHeight = 0; ///< of the labels below the plot
    double headroom = 0; ///< for what stands above the plot
    Axis y;
    DataRange yData;
    AxisRange::Fit yFit = AxisRange::Fit::ToTicks;
    QVector<ReferenceLine> horizontal;
};

/// What surrounds the data: heading, legend, the upright axis, reference lines; and where the data go.
class ChartFrame
{
public:
    ChartFrame(SvgCanvas *canvas, const QRectF &area, const FrameContent &content);

    const QRectF &plot() const { return mPlot; }
    double yOf(double value) const; ///< NaN for what has no place

    void paintBack(); ///< before the data
    void paintReferenceLines();
    void paintFront(); ///< after the data

private:
    double legendHeight() const;
    QVector<QPointF> legendPlaces() const; ///< relative to the legend's corner; one more for its end
    void paintHeading();
    void paintLegend();
    void paintSymbol(const LegendEntry &entry, const QPointF &middle);
    void paintUprightAxis();
    void paintReferenceLabels();

    SvgCanvas *mCanvas;
    QRectF mArea;
    FrameContent mContent;
    QRectF mPlot;
    double mLegendTop = 0;
    AxisRange mY;
};

} // namespace Plot
