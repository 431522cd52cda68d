// SPDX-License-Identifier: Apache-2.0
#include "plot/Script.h"

#include <QRectF>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cmath>

namespace Plot {

namespace {
constexpr double largest = 1e100; ///< beyond it gnuplot's axes give up
constexpr double groupShare = 0.74; ///< of a category's width that bars fill
constexpr double barShare = 0.97; ///< of its place that a bar fills
constexpr double labelPixelsPerLetter = 7.3; // about, as are all of these: nobody knows the font
constexpr double sideMargin = 14; // pixels, as are the next
constexpr double leftMargin = 62;
constexpr double bottomMargin = 52;
constexpr char gray[] = "#666666";

/// As a string of gnuplot's in which nothing has a meaning: no quote is left, and it gets by without.
QString quoted(const QString &text)
{
    return QLatin1Char('\'') + plainText(text).replace(QLatin1Char('\''), QChar(0x2019)) + QLatin1Char('\'');
}

/// Likewise as the name of a tick, where a % would begin a format.
QString quotedTick(const QString &text)
{
    return quoted(text).replace(QLatin1Char('%'), QLatin1String("%%"));
}

QString colorOf(const QString &color, const char *other)
{
    static const QRegularExpression pattern(QStringLiteral("^#[0-9a-fA-F]{6}$"));
    return quoted(pattern.match(color).hasMatch() ? color : QLatin1String(other));
}

QString colorOf(const QString &color, int place)
{
    static constexpr std::array<const char *, 8> palette{
        "#0072b2", "#d55e00", "#009e73", "#cc79a7", "#e69f00", "#56b4e9", "#8c564b", "#444444"};
    return colorOf(color, palette.at(static_cast<std::size_t>(place) % palette.size()));
}

QString number(double value)
{
    constexpr int digits = 12;
    return std::abs(value) <= largest ? QString::number(value, 'g', digits) : QStringLiteral("NaN");
}

QString number(double value, Scale scale)
{
    return number(scale == Scale::Logarithmic && value <= 0 ? automatic : value);
}

double at(const QVector<double> &values, int index)
{
    return index < values.size() ? values.at(index) : automatic;
}

bool isSet(double value)
{
    return std::abs(value) <= largest;
}

/// The commands for one chart: the data as named blocks, then one plot command with all of them.
class ChartScript
{
public:
    /// @param area pixels of the picture of that size
    ChartScript(const QSize &size, const QRectF &area, QString *script)
        : mSize(size)
        , mArea(area)
        , mScript(script)
    {
    }

    void draw(const LineChart &chart)
    {
        begin(chart.title, chart.subtitle, namesOf(chart.bands) + namesOf(chart.series), longestLabel(chart.horizontal),
            !chart.vertical.isEmpty());
        setAxes(chart.x, chart.y);
        if (chart.x.wholeNumbers && isShort(chart.series))
            command(QStringLiteral("set xtics 1"));
        for (int i = 0; i < chart.bands.size(); ++i)
            addBand(chart.bands.at(i), chart, i);
        for (int i = 0; i < chart.series.size(); ++i)
            addSeries(chart.series.at(i), i);
        addHorizontalLines(chart.horizontal);
        addVerticalLines(chart.vertical);
        end();
    }

    void draw(const BarChart &chart)
    {
        begin(chart.title, chart.subtitle, namesOf(chart.groups), 0, false);
        setAxes({}, chart.y);
        if (!isSet(chart.y.minimum) && chart.y.scale == Scale::Linear)
            command(QStringLiteral("set yrange [0:%1]").arg(bound(chart.y.maximum)));
        QStringList categories;
        for (int i = 0; i < chart.categories.size(); ++i)
            categories.append(QStringLiteral("%1 %2").arg(quotedTick(chart.categories.at(i)), QString::number(i)));
        command(QStringLiteral("set xrange [-0.5:%1]").arg(std::max(chart.categories.size(), 1) - 0.5));
        command(QStringLiteral("set xtics (%1)").arg(categories.join(QLatin1String(", "))));
        command(QStringLiteral("set grid noxtics"));
        for (int i = 0; i < chart.groups.size(); ++i)
            addBars(chart, i);
        end();
    }

private:
    void command(const QString &text) { *mScript += text + QLatin1Char('\n'); }

    template <typename Items>
    static QStringList namesOf(const Items &items)
    {
        QStringList names;
        for (const auto &item : items) {
            if (!item.name.isEmpty())
                names.append(item.name);
        }
        return names;
    }

    /// Whether gnuplot would put ticks between whole numbers.
    static bool isShort(const QVector<Series> &series)
    {
        constexpr double shortest = 10;
        double low = largest;
        double high = -largest;
        for (const Series &one : series) {
            for (const QPointF &point : one.points) {
                low = std::min(low, point.x());
                high = std::max(high, point.x());
            }
        }
        return high - low < shortest;
    }

    static int longestLabel(const QVector<ReferenceLine> &lines)
    {
        int longest = 0;
        for (const ReferenceLine &line : lines)
            longest = std::max(longest, line.label.size());
        return longest;
    }

    /// From top to bottom: title, subtitle, legend, labels of vertical lines, plot, numbers and name of the x axis.
    void begin(
        const QString &title, const QString &subtitle, const QStringList &legend, int rightLabel, bool hasTopLabel)
    {
        const double rightMargin = std::max(20.0, rightLabel * labelPixelsPerLetter + 12);
        double y = mArea.top() + 22;
        addText(title, y, QStringLiteral("font ',16'"));
        if (!subtitle.isEmpty()) {
            y += 20;
            addText(subtitle, y, QStringLiteral("textcolor rgb '%1'").arg(QLatin1String(gray)));
        }
        if (!legend.isEmpty())
            y = addLegend(legend, y + 13);
        y += hasTopLabel ? 24 : 12;

        const QPointF topLeft(mArea.left() + leftMargin, y);
        const QPointF bottomRight(mArea.right() - rightMargin, mArea.bottom() - bottomMargin);
        command(QStringLiteral("set lmargin at %1\nset tmargin at %2").arg(across(topLeft.x()), upwards(topLeft.y())));
        command(QStringLiteral("set rmargin at %1\nset bmargin at %2")
                    .arg(across(bottomRight.x()), upwards(bottomRight.y())));
        mMiddleOfY = {mArea.left() + sideMargin + 4, (topLeft.y() + bottomRight.y()) / 2};
    }

    /// @return where it ends, as far as can be said before anybody knows the font: in the widths that gnuplot reckons
    /// with
    double addLegend(const QStringList &names, double y)
    {
        constexpr double pixelsPerLetter = 8.4;
        constexpr double symbolWidth = 45;
        constexpr double rowHeight = 18;
        int longest = 0;
        for (const QString &name : names)
            longest = std::max(longest, name.size());
        const double column = longest * pixelsPerLetter + symbolWidth;
        const int columns = std::max(1, static_cast<int>((mArea.width() - sideMargin) / column));
        const int rows = (names.size() + columns - 1) / columns;
        command(QStringLiteral("set key at %1 left top vertical maxrows %2 Left reverse samplen 2.2 width 0")
                    .arg(place({mArea.left() + sideMargin - 4, y}))
                    .arg(rows));
        return y + rows * rowHeight;
    }

    QString across(double x) const { return QStringLiteral("screen ") + number(x / mSize.width()); }
    QString upwards(double y) const { return QStringLiteral("screen ") + number(1 - y / mSize.height()); }
    QString place(const QPointF &pixels) const
    {
        return across(pixels.x()) + QLatin1String(", ") + upwards(pixels.y());
    }

    void addText(const QString &text, double y, const QString &look)
    {
        command(QStringLiteral("set label %1 at %2 left %3")
                    .arg(quoted(text), place({mArea.left() + sideMargin, y}), look));
    }

    static QString bound(double value) { return isSet(value) ? number(value) : QStringLiteral("*"); }

    void setAxes(const Axis &x, const Axis &y)
    {
        mX = x;
        mY = y;
        command(QStringLiteral("set xlabel %1 offset 0, char 0.6").arg(quoted(x.label)));
        command(QStringLiteral("set label %1 at %2 center rotate").arg(quoted(y.label), place(mMiddleOfY)));
        for (const auto &[name, axis] : {std::pair{QLatin1Char('x'), x}, std::pair{QLatin1Char('y'), y}}) {
            const bool isPossible = !(axis.minimum >= axis.maximum);
            if (isPossible)
                command(QStringLiteral("set %1range [%2:%3]").arg(name).arg(bound(axis.minimum), bound(axis.maximum)));
            if (axis.scale == Scale::Logarithmic)
                command(QStringLiteral("set logscale %1\nset %1tics (%2)").arg(name).arg(logarithmicTicks()));
        }
    }

    /// 1, 2 and 5 of each decade carry numbers.
    static QString logarithmicTicks()
    {
        QStringList ticks;
        for (int decade = -6; decade <= 6; ++decade) {
            for (const int digit : {1, 2, 5})
                ticks.append(number(digit * std::pow(10, decade)));
        }
        return ticks.join(QLatin1String(", "));
    }

    /// Starts a block of data that a part of the plot shows.
    void startBlock(const QString &look)
    {
        const QString block = QStringLiteral("$data%1").arg(mPlots.size() + 1);
        mPlots.append(block + QLatin1Char(' ') + look);
        command(block + QLatin1String(" << END"));
    }

    static QString titled(const QString &name)
    {
        return name.isEmpty() ? QStringLiteral("notitle") : QStringLiteral("title ") + quoted(name);
    }

    double noted(double value)
    {
        if (number(value, mY.scale) != QLatin1String("NaN")) {
            mLowest = std::min(mLowest, value);
            mHighest = std::max(mHighest, value);
        }
        return value;
    }

    /// One line of the block.
    void addRow(double x, std::initializer_list<double> values)
    {
        QStringList cells{number(x, mX.scale)};
        for (const double value : values)
            cells.append(number(noted(value), mY.scale));
        command(cells.join(QLatin1Char(' ')));
        mHasData = mHasData || !cells.contains(QStringLiteral("NaN"));
    }

    void addBand(const Band &band, const LineChart &chart, int place)
    {
        const QString own =
            band.color.isEmpty() && place < chart.series.size() ? chart.series.at(place).color : band.color;
        startBlock(QStringLiteral("using 1:2:3 with filledcurves %1 fillstyle transparent solid 0.18 noborder "
                                  "linecolor rgb %2")
                       .arg(titled(band.name), colorOf(own, place)));
        for (int i = 0; i < band.x.size(); ++i)
            addRow(band.x.at(i), {at(band.low, i), at(band.high, i)});
        command(QStringLiteral("END"));
    }

    void addSeries(const Series &series, int place)
    {
        static constexpr std::array<const char *, 3> styles{"lines", "linespoints", "points"};
        startBlock(
            QStringLiteral("using 1:2 with %1 %2 linecolor rgb %3 linewidth 2 pointtype 7 pointsize 0.55%4")
                .arg(QLatin1String(styles.at(static_cast<std::size_t>(series.style))), titled(series.name),
                    colorOf(series.color, place), series.dashed ? QStringLiteral(" dashtype (5,4)") : QString()));
        for (const QPointF &point : series.points)
            addRow(point.x(), {point.y()});
        command(QStringLiteral("END"));
    }

    void addBars(const BarChart &chart, int place)
    {
        const BarGroup &group = chart.groups.at(place);
        const double width = groupShare / chart.groups.size();
        const double shift = (place - (chart.groups.size() - 1) / 2.0) * width;
        startBlock(QStringLiteral("using 1:2:(%1) with boxes %2 fillstyle solid noborder linecolor rgb %3")
                       .arg(number(width * barShare), titled(group.name), colorOf(group.color, place)));
        for (int i = 0; i < chart.categories.size(); ++i)
            addRow(i + shift, {at(group.values, i)});
        command(QStringLiteral("END"));
        if (group.low.isEmpty() && group.high.isEmpty())
            return;
        startBlock(QStringLiteral("using 1:2:(0):($3-$2) notitle with vectors heads size screen 0.006,90 fixed "
                                  "linecolor rgb '#222222' linewidth 1.2"));
        for (int i = 0; i < chart.categories.size(); ++i)
            addRow(i + shift, {at(group.low, i), at(group.high, i)});
        command(QStringLiteral("END"));
    }

    /// The labels stand at the right end, each a line's height from the next at least.
    void addHorizontalLines(QVector<ReferenceLine> lines)
    {
        std::sort(lines.begin(), lines.end(),
            [](const ReferenceLine &one, const ReferenceLine &other) { return one.value < other.value; });
        for (int i = 0; i < lines.size(); ++i) {
            const ReferenceLine &line = lines.at(i);
            if (number(line.value, mY.scale) == QLatin1String("NaN"))
                continue;
            const QString color = colorOf(line.color, gray);
            mPlots.append(QStringLiteral("%1 with lines notitle linecolor rgb %2 linewidth 1.5 dashtype (6,4)")
                              .arg(number(noted(line.value)), color));
            command(QStringLiteral("set label %1 at graph 1, first %2 left offset char 0.7, char %3 textcolor rgb %4")
                        .arg(quoted(line.label), number(line.value), number(i - (lines.size() - 1) / 2.0), color));
        }
    }

    void addVerticalLines(const QVector<ReferenceLine> &lines)
    {
        for (const ReferenceLine &line : lines) {
            if (number(line.value, mX.scale) == QLatin1String("NaN"))
                continue;
            const QString color = colorOf(line.color, gray);
            const QString place = number(line.value);
            command(QStringLiteral("set arrow from first %1, graph 0 to first %1, graph 1 nohead linecolor rgb %2 "
                                   "linewidth 1.5 dashtype (6,4)")
                        .arg(place, color));
            command(QStringLiteral("set label %1 at first %2, graph 1 center offset char 0, char 0.6 textcolor rgb %3")
                        .arg(quoted(line.label), place, color));
        }
    }

    void end()
    {
        if (!mHasData) { // gnuplot refuses to draw axes that nothing tells the range of
            command(QStringLiteral("set xrange [1:2]\nset yrange [1:2]"));
            mPlots.append(QStringLiteral("NaN notitle"));
        }
        if (mY.scale == Scale::Logarithmic && mLowest <= mHighest) // by itself gnuplot goes on to the next decade
            command(QStringLiteral("set yrange [%1:%2] noextend")
                        .arg(isSet(mY.minimum) ? number(mY.minimum) : number(mLowest * 0.9),
                            isSet(mY.maximum) ? number(mY.maximum) : number(mHighest * 1.1)));
        command(QStringLiteral("plot ") + mPlots.join(QLatin1String(", \\\n    ")));
    }

    QSizeF mSize;
    QRectF mArea;
    QPointF mMiddleOfY; ///< where the name of the axis stands
    QString *mScript;
    Axis mX;
    Axis mY;
    QStringList mPlots;
    bool mHasData = false;
    double mLowest = largest; ///< of all values of y
    double mHighest = -largest;
};

/// What all charts have in common; names of gnuplot's own stand for themselves in its manual.
constexpr char look[] = R"(set minussign
set tics scale 0 nomirror
set xtics textcolor rgb '#666666'
set ytics textcolor rgb '#666666'
set border 1 linecolor rgb '#888888'
set grid xtics ytics linetype 1 linewidth 1 linecolor rgb '#e3e3e3'
set autoscale xfix
)";
} // namespace

QByteArray script(const Picture &picture)
{
    const int columns = std::max(picture.columns, 1);
    const int rows = std::max((picture.charts.size() + columns - 1) / columns, 1);
    const QSize size = picture.size.expandedTo({100, 100});
    const QSizeF part(size.width() / static_cast<double>(columns), size.height() / static_cast<double>(rows));
    QString text =
        QStringLiteral("set encoding utf8\n"
                       "set terminal svg noenhanced fixed size %1,%2 font 'sans-serif,12' background '#ffffff'\n"
                       "set multiplot\n")
            .arg(size.width())
            .arg(size.height());
    for (int i = 0; i < picture.charts.size(); ++i) {
        const QPoint place(i % columns, i / columns);
        const QRectF area({place.x() * part.width(), place.y() * part.height()}, part);
        text += QLatin1String("reset\n") + QLatin1String(look);
        std::visit([&](const auto &chart) { ChartScript(size, area, &text).draw(chart); }, picture.charts.at(i));
    }
    return text.toUtf8() + "unset multiplot\n";
}

QString plainText(QString text)
{
    for (QChar &character : text) {
        if (character.category() == QChar::Other_Control || character.unicode() >= 0xfffe)
            character = QLatin1Char(' ');
    }
    text.replace(QLatin1String("]]>"), QLatin1String("]] >")); // gnuplot leaves it as it is, and XML does not allow it
    return QString::fromUtf8(text.toUtf8()); // mends lonely surrogates
}

} // namespace Plot
