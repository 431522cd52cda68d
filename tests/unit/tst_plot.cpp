// SPDX-License-Identifier: Apache-2.0
#include "StandInPrograms.h"
#include "plot/Charts.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

#include <cmath>
#include <limits>
#include <sys/stat.h>

using namespace Plot;

namespace {
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double pixel = 0.02; ///< as exactly as gnuplot writes places

struct Element
{
    QString name;
    QXmlStreamAttributes attributes;
    QString text;

    QString value(const char *attribute) const { return attributes.value(QLatin1String(attribute)).toString(); }
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

QByteArray drawn(const Picture &picture)
{
    QString problem;
    const std::optional<QByteArray> drawing = svg(picture, &problem);
    if (!drawing)
        qWarning("%s", qPrintable(problem));
    return drawing.value_or(QByteArray());
}

QByteArray drawn(const Chart &chart)
{
    return drawn(Picture{{chart}});
}

/// The texts of the picture, and none of what describes it.
QStringList textsOf(const QByteArray &svg)
{
    QStringList texts;
    const QVector<Element> elements = elementsOf(svg);
    for (const Element &element : elements) {
        if (element.name == QLatin1String("text"))
            texts.append(element.text.trimmed());
    }
    return texts;
}

/// "rgb( 18,  52,  86)", as gnuplot writes it.
bool hasColor(const Element &element, const char *attribute, const QColor &color)
{
    static const QRegularExpression number(QStringLiteral("[0-9]+"));
    QVector<int> parts;
    QRegularExpressionMatchIterator matches = number.globalMatch(element.value(attribute));
    while (matches.hasNext())
        parts.append(matches.next().captured().toInt());
    return parts == QVector<int>{color.red(), color.green(), color.blue()};
}

/// The lines of that colour, each from where the pen goes down to where it goes up.
QVector<QVector<QPointF>> curvesOf(const QByteArray &svg, const QColor &color)
{
    static const QRegularExpression step(QStringLiteral("([ML])(-?[0-9.]+),(-?[0-9.]+)"));
    QVector<QVector<QPointF>> curves;
    const QVector<Element> elements = elementsOf(svg);
    for (const Element &element : elements) {
        if (element.name != QLatin1String("path") || !hasColor(element, "stroke", color))
            continue;
        QRegularExpressionMatchIterator steps = step.globalMatch(element.value("d"));
        while (steps.hasNext()) {
            const QRegularExpressionMatch match = steps.next();
            if (match.captured(1) == QLatin1String("M"))
                curves.append(QVector<QPointF>());
            curves.last().append({match.captured(2).toDouble(), match.captured(3).toDouble()});
        }
    }
    return curves;
}

int countDots(const QByteArray &svg, const QColor &color)
{
    int count = 0;
    const QVector<Element> elements = elementsOf(svg);
    for (const Element &element : elements)
        count += element.name == QLatin1String("use") && hasColor(element, "color", color) ? 1 : 0;
    return count;
}

QVector<QRectF> filledAreasOf(const QByteArray &svg, const QColor &color)
{
    QVector<QRectF> areas;
    const QVector<Element> elements = elementsOf(svg);
    for (const Element &element : elements) {
        if (element.name != QLatin1String("polygon") || !hasColor(element, "fill", color))
            continue;
        QPolygonF polygon;
        const QStringList pairs = element.value("points").split(QLatin1Char(' '), Qt::SkipEmptyParts);
        for (const QString &pair : pairs)
            polygon.append(
                {pair.section(QLatin1Char(','), 0, 0).toDouble(), pair.section(QLatin1Char(','), 1).toDouble()});
        areas.append(polygon.boundingRect());
    }
    return areas;
}

const QColor ink(0x12, 0x34, 0x56);

LineChart lineChart(const QVector<QPointF> &points, Series::Style style = Series::Style::Line)
{
    LineChart chart;
    chart.title = QStringLiteral("Title");
    Series series;
    series.points = points;
    series.style = style;
    series.color = ink.name();
    chart.series.append(series);
    return chart;
}
} // namespace

class TestPlot : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aCurveGoesThroughItsPoints()
    {
        LineChart chart = lineChart({{0, 0}, {5, 25}, {10, 100}});
        chart.y.maximum = 100;

        const QVector<QVector<QPointF>> curves = curvesOf(drawn(chart), ink);

        QCOMPARE(curves.size(), 1);
        const QVector<QPointF> &points = curves.first();
        QCOMPARE(points.size(), 3);
        QVERIFY(points[0].x() < points[2].x());
        QVERIFY(points[0].y() > points[2].y()); // y runs down
        QVERIFY(qAbs(points[0].x() + points[2].x() - 2 * points[1].x()) < pixel);
        QVERIFY(qAbs(3 * points[0].y() + points[2].y() - 4 * points[1].y()) < 4 * pixel);
        QVERIFY(QRectF(QPointF(), QSizeF(usualSize)).contains(points[0]));
        QVERIFY(QRectF(QPointF(), QSizeF(usualSize)).contains(points[2]));
    }

    void aLogarithmicAxisCountsDecades()
    {
        LineChart chart = lineChart({{0, 1}, {1, 10}, {2, 100}});
        chart.y.scale = Scale::Logarithmic;

        const QByteArray picture = drawn(chart);

        const QVector<QPointF> points = curvesOf(picture, ink).value(0);
        QCOMPARE(points.size(), 3);
        QVERIFY(qAbs(points[0].y() + points[2].y() - 2 * points[1].y()) < pixel);
        for (const char *const tick : {"1", "2", "5", "10", "20", "50", "100"})
            QVERIFY2(textsOf(picture).contains(QLatin1String(tick)), tick);
    }

    void wholeNumbersHaveNoTicksBetween()
    {
        LineChart chart = lineChart({{1, 7}, {3, 9}});
        chart.x.wholeNumbers = true;
        chart.y.minimum = 7;
        chart.y.maximum = 9;

        const QStringList texts = textsOf(drawn(chart));

        for (const char *const tick : {"1", "2", "3"})
            QVERIFY2(texts.contains(QLatin1String(tick)), tick);
        QVERIFY(!texts.contains(QStringLiteral("1.5")));
    }

    void gapsBreakACurve()
    {
        const QByteArray picture =
            drawn(lineChart({{0, 1}, {1, 2}, {2, automatic}, {3, 2}, {4, 1}, {5, infinity}, {6, 2}, {7, 1}},
                Series::Style::LineAndPoints));

        const QVector<QVector<QPointF>> curves = curvesOf(picture, ink);
        QCOMPARE(curves.size(), 3);
        for (const QVector<QPointF> &curve : curves)
            QCOMPARE(curve.size(), 2);
        QCOMPARE(countDots(picture, ink), 6);
    }

    void onALogarithmicAxisZeroIsAGap()
    {
        LineChart chart = lineChart({{0, 1}, {1, 10}, {2, 0}, {3, 10}, {4, 1}});
        chart.y.scale = Scale::Logarithmic;

        QCOMPARE(curvesOf(drawn(chart), ink).size(), 2);
    }

    void pointsAreDotsWithoutALine()
    {
        const QByteArray picture = drawn(lineChart({{0, 1}, {1, 2}, {2, 1}}, Series::Style::Points));

        QVERIFY(curvesOf(picture, ink).isEmpty());
        QCOMPARE(countDots(picture, ink), 3);
    }

    void aBandLiesBetweenItsCurves()
    {
        LineChart chart = lineChart({{0, 0}, {10, 100}});
        chart.bands = {{QString(), {2.5, 7.5}, {20, 20}, {60, 60}, QStringLiteral("#654321")}};

        const QByteArray picture = drawn(chart);

        const QVector<QPointF> curve = curvesOf(picture, ink).value(0);
        const QVector<QRectF> areas = filledAreasOf(picture, QColor(0x65, 0x43, 0x21));
        QVERIFY(curve.size() == 2 && areas.size() == 1);
        const QPointF span = curve[1] - curve[0];
        QVERIFY(qAbs(areas[0].left() - curve[0].x() - 0.25 * span.x()) < pixel);
        QVERIFY(qAbs(areas[0].right() - curve[0].x() - 0.75 * span.x()) < pixel);
        QVERIFY(qAbs(areas[0].bottom() - curve[0].y() - 0.2 * span.y()) < pixel);
        QVERIFY(qAbs(areas[0].top() - curve[0].y() - 0.6 * span.y()) < pixel);
    }

    void wordsAreThere()
    {
        LineChart chart = lineChart({{0, 0}, {1, 5}});
        chart.subtitle = QStringLiteral("Subtitle");
        chart.x.label = QStringLiteral("across, µm");
        chart.y.label = QStringLiteral("upwards");
        chart.series.first().name = QStringLiteral("curve");
        chart.horizontal = {{2.5, QStringLiteral("2.5 capture"), {}}};
        chart.vertical = {{0.5, QStringLiteral("middle"), {}}};

        const QByteArray picture = drawn(chart);

        const QStringList texts = textsOf(picture);
        for (const char *const word : {"Title", "Subtitle", "across, µm", "upwards", "curve", "2.5 capture", "middle"})
            QVERIFY2(texts.contains(QString::fromUtf8(word)), word);
        QVERIFY(picture.contains("<title>Title</title>"));
    }

    void aReferenceLineLiesAtItsValueWhereverTheDataAre()
    {
        LineChart chart = lineChart({{0, 0}, {1, 1}});
        chart.horizontal = {{4, QStringLiteral("four"), QStringLiteral("#654321")}};

        const QByteArray picture = drawn(chart);

        const QVector<QPointF> curve = curvesOf(picture, ink).value(0);
        const QVector<QPointF> line = curvesOf(picture, QColor(0x65, 0x43, 0x21)).value(0);
        QVERIFY(curve.size() == 2 && line.size() >= 2);
        QVERIFY(qAbs(curve[0].y() - line.first().y() - 4 * (curve[0].y() - curve[1].y())) < 5 * pixel);
        QCOMPARE(line.first().y(), line.last().y());
        QCOMPARE(line.first().x(), curve[0].x());
        QCOMPARE(line.last().x(), curve[1].x());
    }

    void labelsOfCloseReferenceLinesDoNotTouch()
    {
        LineChart chart = lineChart({{0, 0}, {1, 1000}});
        chart.horizontal = {{2.5, QStringLiteral("second"), {}}, {1.0, QStringLiteral("first"), {}}};
        static const QRegularExpression place(
            QStringLiteral("translate\\([0-9.]+,([0-9.]+)\\)[^>]*>\\s*<text>(first|second)"));

        QMap<QString, double> bases;
        QRegularExpressionMatchIterator labels = place.globalMatch(QString::fromUtf8(drawn(chart)));
        while (labels.hasNext()) {
            const QRegularExpressionMatch label = labels.next();
            bases.insert(label.captured(2), label.captured(1).toDouble());
        }

        QCOMPARE(bases.size(), 2);
        QVERIFY(bases[QStringLiteral("first")] - bases[QStringLiteral("second")] >= 12);
    }

    void barsAreAsHighAsTheirValues()
    {
        BarChart chart;
        chart.categories = QStringList{QStringLiteral("one"), QStringLiteral("two"), QStringLiteral("three")};
        chart.y.maximum = 100;
        chart.groups = {{QString(), {25, 50, automatic}, {20, 40, automatic}, {30, 70, automatic}, ink.name()}};

        const QByteArray picture = drawn(chart);

        const QVector<QRectF> bars = filledAreasOf(picture, ink);
        QCOMPARE(bars.size(), 2);
        QVERIFY(qAbs(bars[1].height() - 2 * bars[0].height()) < 3 * pixel);
        QVERIFY(qAbs(bars[0].bottom() - bars[1].bottom()) < pixel);
        QVERIFY(bars[0].right() < bars[1].left());
        for (const QString &category : qAsConst(chart.categories))
            QVERIFY2(textsOf(picture).contains(category), qPrintable(category));
    }

    void missingValuesOfBarsDoNoHarm()
    {
        BarChart chart;
        chart.categories = QStringList{QStringLiteral("a"), QStringLiteral("b")};
        chart.groups = {{QStringLiteral("short"), {1}, {0.5}, {2, 3}, {}}, {QStringLiteral("none"), {}, {}, {}, {}}};
        chart.y.scale = Scale::Logarithmic;

        QVERIFY(!elementsOf(drawn(chart)).isEmpty());
    }

    void anyTextIsOnlyShown_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("markup") << QStringLiteral("<&>\"' ]]> </text><script>");
        QTest::newRow("the end of a string") << QStringLiteral("'; system \"touch found\"; print '");
        QTest::newRow("the end of a line") << QStringLiteral("a\n!touch found\nEND\n`touch found` \\");
        QTest::newRow("no characters") << QStringLiteral("\x01\x1b[31m \xFFFF ") + QChar(0xd800)
                + QStringLiteral(" end");
        QTest::newRow("markup of gnuplot's") << QStringLiteral("a_b^{c} @d ~e{f} %1 $x");
    }

    void anyTextIsOnlyShown()
    {
        QFETCH(QString, text);
        LineChart chart = lineChart({{0, 0}, {1, 1}});
        chart.title = chart.subtitle = chart.x.label = chart.y.label = chart.series.first().name = text;
        chart.series.first().color = QStringLiteral("red'; system \"touch found\"; print '");
        chart.horizontal = {{0.5, text, {}}};
        BarChart bars;
        bars.categories = QStringList{text};
        bars.groups = {{text, {1}, {}, {}, {}}};
        const QTemporaryDir folder;
        const QString former = QDir::currentPath();
        QVERIFY(QDir::setCurrent(folder.path()));

        const QByteArray both = drawn(Picture{{chart, bars}, 1, usualSize});

        QVERIFY(QDir::setCurrent(former));
        QVERIFY(QDir(folder.path()).isEmpty());
        const QVector<Element> elements = elementsOf(both);
        QVERIFY(!elements.isEmpty() && elements.first().name == QLatin1String("svg"));
        QVERIFY(!both.contains("<script"));
        const QStringList texts = textsOf(both);
        int most = 0;
        for (const QString &shown : texts)
            most = std::max(most, texts.count(shown));
        QCOMPARE(most, 8); // as often as it was given
    }

    void emptyChartsArePictures()
    {
        for (const Picture &picture : {Picture{{LineChart()}}, Picture{{BarChart()}}, Picture(),
                 Picture{{lineChart({{0, 1}})}, 1, {1, 1}}, Picture{{lineChart({{automatic, infinity}})}}})
            QVERIFY(!elementsOf(drawn(picture)).isEmpty());
    }

    void anyDataGiveAChart_data()
    {
        QTest::addColumn<QVector<double>>("values");
        QTest::newRow("not a number") << QVector<double>{automatic, infinity, -infinity};
        QTest::newRow("one") << QVector<double>{5};
        QTest::newRow("zero") << QVector<double>{0};
        QTest::newRow("equal") << QVector<double>{-7, -7, -7};
        QTest::newRow("almost equal") << QVector<double>{1e15, 1e15 + 1};
        QTest::newRow("tiny") << QVector<double>{1e-300, 2e-300};
        QTest::newRow("huge") << QVector<double>{-1e99, 1e99};
        QTest::newRow("beyond reason") << QVector<double>{-1e308, 1e308};
    }

    void anyDataGiveAChart()
    {
        QFETCH(QVector<double>, values);
        for (const Scale scale : {Scale::Linear, Scale::Logarithmic}) {
            QVector<QPointF> points;
            for (int i = 0; i < values.size(); ++i)
                points.append({values.size() == 1 ? values[i] : i, values[i]});
            LineChart chart = lineChart(points);
            chart.y.scale = scale;

            QVERIFY(!elementsOf(drawn(chart)).isEmpty());
        }
    }

    void chartsOfAGridLieBesideEachOther()
    {
        const LineChart chart = lineChart({{0, 0}, {1, 1}});

        const QVector<QVector<QPointF>> curves =
            curvesOf(drawn(Picture{{chart, chart, chart}, 2, QSize(800, 600)}), ink);

        QCOMPARE(curves.size(), 3);
        const QPointF right = curves[1].constFirst() - curves[0].constFirst();
        const QPointF below = curves[2].constFirst() - curves[0].constFirst();
        QVERIFY((right - QPointF(400, 0)).manhattanLength() < 2 * pixel);
        QVERIFY((below - QPointF(0, 300)).manhattanLength() < 2 * pixel);
    }

    void theSamePictureGivesTheSameBytesWhoeverDraws()
    {
        const LineChart chart = lineChart({{0, 0.1}, {1, 1.0 / 3}});
        const QByteArray first = drawn(chart);
        const QTemporaryDir home;
        QFile settings(home.filePath(QStringLiteral(".gnuplot")));
        QVERIFY(settings.open(QIODevice::WriteOnly) && settings.write("set title 'mine'\n") > 0);
        settings.close();
        const QByteArray formerHome = qgetenv("HOME");
        qputenv("HOME", QFile::encodeName(home.path()));
        qputenv("GNUTERM", "dumb");
        qputenv("LC_ALL", "de_DE.UTF-8");

        const QByteArray second = drawn(chart);

        qputenv("HOME", formerHome);
        qunsetenv("GNUTERM");
        qunsetenv("LC_ALL");
        QVERIFY(!first.isEmpty());
        QCOMPARE(second, first);
    }

    void aFileIsWrittenWholeOrNotAtAll()
    {
        const QTemporaryDir folder;
        const Picture picture{{lineChart({{0, 0}, {1, 1}})}};
        QString problem;

        QVERIFY(save(picture, folder.filePath(QStringLiteral("plot.svg")), &problem));
        QVERIFY(problem.isEmpty());
        QFile file(folder.filePath(QStringLiteral("plot.svg")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), drawn(picture));

        QVERIFY(!save(picture, folder.filePath(QStringLiteral("missing/plot.svg")), &problem));
        QVERIFY(!problem.isEmpty());
    }

    void aPipeOrAFolderIsNotReplaced()
    {
        const QTemporaryDir folder;
        const QString pipe = folder.filePath(QStringLiteral("pipe"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);

        for (const QString &path : {pipe, folder.path()}) {
            QString problem;
            QVERIFY(!save({{lineChart({{0, 0}, {1, 1}})}}, path, &problem));
            QCOMPARE(problem, QStringLiteral("it is not a file"));
            QVERIFY(QFileInfo::exists(path) && !QFileInfo(path).isFile());
        }
        QCOMPARE(QDir(folder.path()).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
            QStringList(QStringLiteral("pipe")));
    }

    void withoutGnuplotThereIsAReasonAndNoPicture()
    {
        StandInPrograms programs;
        programs.hideOthers();
        QString problem;

        QVERIFY(!canDraw(&problem));

        QVERIFY(problem.contains(QStringLiteral("gnuplot-nox")));
        QVERIFY(!svg({{lineChart({{0, 0}})}}, &problem));
    }

    void aGnuplotThatFailsGivesNoPicture_data()
    {
        QTest::addColumn<QByteArray>("program");
        QTest::addColumn<QString>("reason");
        QTest::newRow("it says why") << QByteArray("echo '<svg></svg>'; echo; echo no memory >&2; exit 1")
                                     << QStringLiteral("no memory");
        QTest::newRow("it dies") << QByteArray("kill -9 $$") << QStringLiteral("crashed");
        QTest::newRow("half a picture") << QByteArray("/bin/cat >/dev/null; echo '<svg>'") << QStringLiteral("gnuplot");
        QTest::newRow("it does not listen") << QByteArray("exec <&-; echo '<svg>'") << QStringLiteral("gnuplot");
    }

    void aGnuplotThatFailsGivesNoPicture()
    {
        QFETCH(QByteArray, program);
        QFETCH(QString, reason);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("gnuplot"), program));
        QString problem;

        QVERIFY(!svg({{lineChart({{0, 0}, {1, 1}})}}, &problem));

        QVERIFY2(problem.contains(reason), qPrintable(problem));
    }
};

QTEST_GUILESS_MAIN(TestPlot)
#include "tst_plot.moc"
