// SPDX-License-Identifier: Apache-2.0
#include "plot/AxisRange.h"
#include "plot/Charts.h"
#include "plot/SvgCanvas.h"

#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

#include <cmath>
#include <limits>

using namespace Plot;

namespace {
constexpr double infinity = std::numeric_limits<double>::infinity();

QStringList words(const char *text)
{
    return QString::fromUtf8(text).split(QLatin1Char(' '));
}

struct Element
{
    QString name;
    QXmlStreamAttributes attributes;
    QString text;

    double number(const char *attribute) const { return attributes.value(QLatin1String(attribute)).toDouble(); }
};

/// The elements of the picture in their order; none if it is not well-formed.
QVector<Element> elementsOf(const QByteArray &svg)
{
    QVector<Element> elements;
    QXmlStreamReader reader(svg);
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement())
            elements.append({reader.name().toString(), reader.attributes(), {}});
        else if (reader.isCharacters() && !reader.isWhitespace() && !elements.isEmpty())
            elements.last().text += reader.text();
    }
    return reader.hasError() ? QVector<Element>() : elements;
}

QVector<Element> named(const QVector<Element> &elements, const char *name)
{
    QVector<Element> result;
    for (const Element &element : elements) {
        if (element.name == QLatin1String(name))
            result.append(element);
    }
    return result;
}

QStringList textsOf(const QByteArray &svg)
{
    QStringList texts;
    const QVector<Element> elements = named(elementsOf(svg), "text");
    for (const Element &element : elements)
        texts.append(element.text);
    return texts;
}

QVector<QPointF> pointsOf(const Element &element)
{
    QVector<QPointF> points;
    const QStringList pairs = element.attributes.value(QLatin1String("points")).toString().split(QLatin1Char(' '));
    for (const QString &pair : pairs)
        points.append({pair.section(QLatin1Char(','), 0, 0).toDouble(), pair.section(QLatin1Char(','), 1).toDouble()});
    return points;
}

LineChart lineChart(const QVector<QPointF> &points, Series::Style style = Series::Style::Line)
{
    LineChart chart;
    chart.title = QStringLiteral("Title");
    Series series;
    series.name = QStringLiteral("curve");
    series.points = points;
    series.style = style;
    chart.series.append(series);
    return chart;
}

DataRange rangeOf(const QVector<double> &values)
{
    DataRange range;
    for (const double value : values)
        range.add(value);
    return range;
}

QStringList labelsOf(const AxisRange &axis)
{
    QStringList labels;
    for (const Tick &tick : axis.ticks()) {
        if (!tick.label.isEmpty())
            labels.append(tick.label);
    }
    return labels;
}
} // namespace

class TestPlot : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void ticksAreRoundNumbers_data()
    {
        QTest::addColumn<double>("low");
        QTest::addColumn<double>("high");
        QTest::addColumn<int>("count");
        QTest::addColumn<QStringList>("labels");
        const auto row = [](const char *name, double low, double high, int count, const char *labels) {
            QTest::newRow(name) << low << high << count << words(labels);
        };
        row("whole numbers", 0, 10, 5, "0 2 4 6 8 10");
        row("the ends are extended", 0.3, 9.7, 5, "0 2 4 6 8 10");
        row("a quarter of ten", 0, 10, 4, "0.0 2.5 5.0 7.5 10.0");
        row("below zero", -3, 3, 6, "−3 −2 −1 0 1 2 3");
        row("fractions", 0, 0.3, 3, "0.0 0.1 0.2 0.3");
        row("thousands", 0, 5000, 5, "0 1000 2000 3000 4000 5000");
    }

    void ticksAreRoundNumbers()
    {
        QFETCH(double, low);
        QFETCH(double, high);
        QFETCH(int, count);
        QFETCH(QStringList, labels);

        const AxisRange axis({}, rangeOf({low, high}), count, AxisRange::Fit::ToTicks);

        QCOMPARE(labelsOf(axis), labels);
    }

    void anAxisFitsTightWhereAsked()
    {
        const AxisRange axis({}, rangeOf({0.3, 9.7}), 5, AxisRange::Fit::ToData);

        QCOMPARE(axis.low(), 0.3);
        QCOMPARE(axis.high(), 9.7);
        QCOMPARE(labelsOf(axis), words("2 4 6 8"));
    }

    void wholeNumbersHaveNoTicksBetween()
    {
        Axis frames;
        frames.wholeNumbers = true;

        const AxisRange axis(frames, rangeOf({1, 3}), 10, AxisRange::Fit::ToData);

        QCOMPARE(labelsOf(axis), words("1 2 3"));
    }

    void aLogarithmicAxisCountsDecades()
    {
        Axis axis;
        axis.scale = Scale::Logarithmic;

        const AxisRange wide(axis, rangeOf({1, 1e6}), 5, AxisRange::Fit::ToTicks);
        const AxisRange narrow(axis, rangeOf({1, 20}), 5, AxisRange::Fit::ToTicks);

        QCOMPARE(labelsOf(wide), words("1 10 100 1000 10000 100000 1e+06"));
        QCOMPARE(labelsOf(narrow), words("1 2 5 10 20"));
        QCOMPARE(wide.share(1), 0.0);
        QCOMPARE(wide.share(1000), 0.5);
        QCOMPARE(wide.share(1e6), 1.0);
        QVERIFY(std::isnan(wide.share(0)));
        QVERIFY(std::isnan(wide.share(-5)));
    }

    void anyDataGiveAUsableAxis_data()
    {
        QTest::addColumn<QVector<double>>("values");
        QTest::newRow("none") << QVector<double>();
        QTest::newRow("not a number") << QVector<double>{automatic, infinity, -infinity};
        QTest::newRow("one") << QVector<double>{5};
        QTest::newRow("zero") << QVector<double>{0};
        QTest::newRow("equal") << QVector<double>{-7, -7, -7};
        QTest::newRow("almost equal") << QVector<double>{1e15, 1e15 + 1};
        QTest::newRow("tiny") << QVector<double>{1e-300, 2e-300};
        QTest::newRow("huge") << QVector<double>{-1e99, 1e99};
        QTest::newRow("beyond reason") << QVector<double>{-1e308, 1e308};
    }

    void anyDataGiveAUsableAxis()
    {
        QFETCH(QVector<double>, values);
        for (const Scale scale : {Scale::Linear, Scale::Logarithmic}) {
            for (const AxisRange::Fit fit : {AxisRange::Fit::ToData, AxisRange::Fit::ToTicks}) {
                Axis axis;
                axis.scale = scale;

                const AxisRange range(axis, rangeOf(values), 6, fit);

                QVERIFY(std::isfinite(range.low()) && std::isfinite(range.high()));
                QVERIFY(range.low() < range.high());
                QVERIFY(range.ticks().size() <= 2000);
                for (const Tick &tick : range.ticks())
                    QVERIFY(range.share(tick.value) >= -1e-3 && range.share(tick.value) <= 1 + 1e-3);
            }
        }
    }

    void givenBoundsAreKept_data()
    {
        QTest::addColumn<double>("minimum");
        QTest::addColumn<double>("maximum");
        QTest::addColumn<double>("low");
        QTest::addColumn<double>("high");
        QTest::newRow("both") << 0.0 << 100.0 << 0.0 << 100.0;
        QTest::newRow("lower one") << 0.0 << automatic << 0.0 << 60.0;
        QTest::newRow("upper one") << automatic << 100.0 << 20.0 << 100.0;
        QTest::newRow("exchanged") << 100.0 << 0.0 << 0.0 << 0.0;
    }

    void givenBoundsAreKept()
    {
        QFETCH(double, minimum);
        QFETCH(double, maximum);
        QFETCH(double, low);
        QFETCH(double, high);
        Axis axis;
        axis.minimum = minimum;
        axis.maximum = maximum;

        const AxisRange range(axis, rangeOf({23, 57}), 6, AxisRange::Fit::ToTicks);

        if (low < high) {
            QCOMPARE(range.low(), low);
            QCOMPARE(range.high(), high);
        } else {
            QVERIFY(range.low() < range.high());
        }
    }

    void aCurveGoesThroughItsPoints()
    {
        LineChart chart = lineChart({{0, 0}, {5, 50}, {10, 100}});
        chart.y.maximum = 100;

        const QVector<Element> curves = named(elementsOf(svg(chart)), "polyline");

        QCOMPARE(curves.size(), 1);
        const QVector<QPointF> points = pointsOf(curves.first());
        QCOMPARE(points.size(), 3);
        QVERIFY(qAbs((points[0] + points[2]).x() / 2 - points[1].x()) < 0.02);
        QVERIFY(qAbs((points[0] + points[2]).y() / 2 - points[1].y()) < 0.02);
        QVERIFY(points[0].x() < points[2].x());
        QVERIFY(points[0].y() > points[2].y()); // y runs down
        QVERIFY(QRectF(QPointF(), QSizeF(usualSize)).contains(points[0]));
        QVERIFY(QRectF(QPointF(), QSizeF(usualSize)).contains(points[2]));
    }

    void gapsBreakACurve()
    {
        const LineChart chart = lineChart({{0, 1}, {1, 2}, {2, automatic}, {3, 2}, {4, 1}, {5, infinity}, {6, 2}});

        const QVector<Element> elements = elementsOf(svg(chart));

        QCOMPARE(named(elements, "polyline").size(), 2);
        QCOMPARE(named(elements, "circle").size(), 1); // the lonely last point
    }

    void onALogarithmicAxisZeroIsAGap()
    {
        LineChart chart = lineChart({{0, 1}, {1, 10}, {2, 0}, {3, 10}, {4, 1}});
        chart.y.scale = Scale::Logarithmic;

        QCOMPARE(named(elementsOf(svg(chart)), "polyline").size(), 2);
    }

    void pointsAreDotsWithoutALine()
    {
        const QByteArray picture = svg(lineChart({{0, 1}, {1, 2}, {2, 1}}, Series::Style::Points));

        QCOMPARE(named(elementsOf(picture), "polyline").size(), 0);
        QCOMPARE(named(elementsOf(picture), "circle").size(), 3 + 1); // one in the legend
    }

    void wordsAreThere()
    {
        LineChart chart = lineChart({{0, 0}, {1, 5}});
        chart.subtitle = QStringLiteral("Subtitle");
        chart.x.label = QStringLiteral("across, µm");
        chart.y.label = QStringLiteral("upwards");
        chart.horizontal = {{2.5, QStringLiteral("2.5 capture"), {}}};
        chart.vertical = {{0.5, QStringLiteral("middle"), {}}};

        const QStringList texts = textsOf(svg(chart));

        for (const char *const word : {"Title", "Subtitle", "across, µm", "upwards", "curve", "2.5 capture", "middle"})
            QVERIFY2(texts.contains(QString::fromUtf8(word)), word);
    }

    void aReferenceLineLiesAtItsValue()
    {
        LineChart chart = lineChart({{0, 0}, {1, 4}});
        chart.y.maximum = 4;
        chart.horizontal = {{2, QStringLiteral("half"), QStringLiteral("#123456")}};

        const QVector<Element> elements = elementsOf(svg(chart));

        const QVector<QPointF> curve = pointsOf(named(elements, "polyline").constFirst());
        const QVector<Element> lines = named(elements, "line");
        const auto line = std::find_if(lines.cbegin(), lines.cend(), [](const Element &element) {
            return element.attributes.value(QLatin1String("stroke")) == QLatin1String("#123456");
        });
        QVERIFY(line != lines.cend());
        QVERIFY(qAbs(line->number("y1") - (curve[0].y() + curve[1].y()) / 2) < 0.02);
        QCOMPARE(line->number("y1"), line->number("y2"));
    }

    void labelsOfCloseReferenceLinesDoNotTouch()
    {
        LineChart chart = lineChart({{0, 0}, {1, 1000}});
        chart.horizontal = {{1.0, QStringLiteral("first"), {}}, {2.5, QStringLiteral("second"), {}}};

        QVector<double> bases;
        const QVector<Element> elements = named(elementsOf(svg(chart)), "text");
        for (const Element &element : elements) {
            if (element.text == QLatin1String("first") || element.text == QLatin1String("second"))
                bases.append(element.number("y"));
        }

        QCOMPARE(bases.size(), 2);
        QVERIFY(qAbs(bases[0] - bases[1]) >= 11);
    }

    void barsAreAsHighAsTheirValues()
    {
        BarChart chart;
        chart.categories = QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c")};
        chart.y.maximum = 100;
        chart.groups = {{QString(), {25, 50, automatic}, {}, {}, QStringLiteral("#123456")}};
        chart.valueDecimals = 0;

        const QByteArray picture = svg(chart);

        QVector<Element> bars;
        const QVector<Element> elements = named(elementsOf(picture), "rect");
        for (const Element &element : elements) {
            if (element.attributes.value(QLatin1String("fill")) == QLatin1String("#123456"))
                bars.append(element);
        }
        QCOMPARE(bars.size(), 2);
        QVERIFY(qAbs(bars[1].number("height") - 2 * bars[0].number("height")) < 0.05);
        QVERIFY(qAbs(bars[0].number("y") + bars[0].number("height") - bars[1].number("y") - bars[1].number("height"))
            < 0.05);
        QVERIFY(textsOf(picture).contains(QStringLiteral("25")));
        QVERIFY(textsOf(picture).contains(QStringLiteral("50")));
    }

    void missingValuesOfBarsDoNoHarm()
    {
        BarChart chart;
        chart.categories = QStringList{QStringLiteral("a"), QStringLiteral("b")};
        chart.groups = {{QStringLiteral("short"), {1}, {0.5}, {2, 3}, {}}, {QStringLiteral("none"), {}, {}, {}, {}}};
        chart.y.scale = Scale::Logarithmic;

        QVERIFY(!elementsOf(svg(chart)).isEmpty());
    }

    void anyTextIsWellFormed()
    {
        LineChart chart = lineChart({{0, 0}, {1, 1}});
        const QString nasty =
            QStringLiteral("<&>\"' ]]> \x01\x1b[31m \xFFFF é µ ") + QChar(0xd800) + QStringLiteral(" end");
        chart.title = chart.subtitle = chart.x.label = chart.y.label = chart.series.first().name = nasty;
        chart.series.first().color = QStringLiteral("\"/><script>");

        const QVector<Element> elements = elementsOf(svg(chart));

        QVERIFY(!elements.isEmpty());
        QVERIFY(named(elements, "script").isEmpty());
        QVERIFY(elements.first().name == QLatin1String("svg"));
    }

    void emptyChartsArePictures()
    {
        QCOMPARE(named(elementsOf(svg(LineChart())), "svg").size(), 1);
        QCOMPARE(named(elementsOf(svg(BarChart())), "svg").size(), 1);
        QCOMPARE(named(elementsOf(svg(QVector<Chart>(), 0, QSize(100, 100))), "svg").size(), 1);
        QCOMPARE(named(elementsOf(svg(lineChart({{0, 1}}), QSize(1, 1))), "svg").size(), 1);
    }

    void chartsOfAGridLieBesideEachOther()
    {
        const LineChart chart = lineChart({{0, 0}, {1, 1}});

        const QVector<Element> curves =
            named(elementsOf(svg(QVector<Chart>{chart, chart, chart}, 2, QSize(800, 600))), "polyline");

        QCOMPARE(curves.size(), 3);
        QCOMPARE(pointsOf(curves[1]).constFirst() - pointsOf(curves[0]).constFirst(), QPointF(400, 0));
        QCOMPARE(pointsOf(curves[2]).constFirst() - pointsOf(curves[0]).constFirst(), QPointF(0, 300));
    }

    void theSameChartGivesTheSameBytes()
    {
        const LineChart chart = lineChart({{0, 0.1}, {1, 1.0 / 3}});

        QCOMPARE(svg(chart), svg(chart));
        QVERIFY(!svg(chart).contains("nan"));
        QVERIFY(!svg(chart).contains("inf"));
    }

    void aFileIsWrittenWholeOrNotAtAll()
    {
        const QTemporaryDir folder;
        const QByteArray picture = svg(lineChart({{0, 0}, {1, 1}}));
        QString problem;

        QVERIFY(save(picture, folder.filePath(QStringLiteral("plot.svg")), &problem));
        QVERIFY(problem.isEmpty());
        QFile file(folder.filePath(QStringLiteral("plot.svg")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), picture);

        QVERIFY(!save(picture, folder.filePath(QStringLiteral("missing/plot.svg")), &problem));
        QVERIFY(!problem.isEmpty());
        QVERIFY(!save(picture, folder.filePath(QStringLiteral("missing/plot.svg"))));
    }
};

QTEST_APPLESS_MAIN(TestPlot)
#include "tst_plot.moc"
