// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QPointF>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QVector>

#include <limits>
#include <optional>
#include <variant>

/// Charts for reports, as SVG text that gnuplot draws: a program that has to be installed. The same picture gives the
/// same bytes on the same machine.
///
/// Numbers that are not finite are gaps, and so is on a logarithmic axis what is not above zero. Colours are those of
/// the web ("#0072b2"); empty ones come from a palette that colour-blind people can tell apart.
namespace Plot {

constexpr double automatic = std::numeric_limits<double>::quiet_NaN();

enum class Scale : int { Linear, Logarithmic };

struct Axis
{
    QString label; ///< with its unit: "Diameter, µm"
    Scale scale = Scale::Linear;
    double minimum = automatic; ///< automatic: from the data
    double maximum = automatic;
    bool wholeNumbers = false; ///< no ticks between them
};

/// One curve, or one cloud of points.
struct Series
{
    enum class Style : int { Line, LineAndPoints, Points };

    QString name; ///< in the legend; empty: not there
    QVector<QPointF> points;
    Style style = Style::LineAndPoints;
    bool dashed = false;
    QString color;
};

/// The area between two curves: the spread around a series.
struct Band
{
    QString name; ///< in the legend; empty: not there
    QVector<double> x;
    QVector<double> low; ///< as many as x
    QVector<double> high; ///< as many as x
    QString color;
};

/// A labelled line across the chart: a threshold, a figure to compare with.
struct ReferenceLine
{
    double value = 0;
    QString label;
    QString color;
};

struct LineChart
{
    QString title;
    QString subtitle;
    Axis x;
    Axis y;
    QVector<Band> bands; ///< behind the series; each has the colour of the series of the same place
    QVector<Series> series;
    QVector<ReferenceLine> horizontal; ///< values of y
    QVector<ReferenceLine> vertical; ///< values of x
};

/// One bar for each category, side by side with those of the other groups.
struct BarGroup
{
    QString name; ///< in the legend; empty: not there
    QVector<double> values; ///< as many as there are categories
    QVector<double> low; ///< lower ends of the error bars; empty: none
    QVector<double> high; ///< upper ends
    QString color;
};

struct BarChart
{
    QString title;
    QString subtitle;
    QStringList categories;
    Axis y; ///< starts at zero unless said otherwise
    QVector<BarGroup> groups;
};

using Chart = std::variant<LineChart, BarChart>;

constexpr QSize usualSize{760, 440}; ///< pixels

/// One or several charts, row by row; each gets an equal part of the size.
struct Picture
{
    QVector<Chart> charts;
    int columns = 1;
    QSize size = usualSize;
};

/// Whether gnuplot is installed; if not, the problem says what to do.
bool canDraw(QString *problem);

/// The picture as SVG. Nothing on failure; the problem says why.
std::optional<QByteArray> svg(const Picture &picture, QString *problem);

/// Draws, and writes the file whole or not at all.
/// @return whether it was written; if not, problem says why
bool save(const Picture &picture, const QString &path, QString *problem);

} // namespace Plot
