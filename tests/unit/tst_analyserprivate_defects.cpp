// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"
#include "ReferenceDefects.h"
#include "WorkTimer.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <random>
#include <type_traits>

using namespace FiberInspection;

using CvPoints = std::vector<cv::Point>;
using Points = QVector<QPointF>;

Q_DECLARE_METATYPE(CvPoints)
Q_DECLARE_METATYPE(QVector<QPointF>)

namespace {
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

/// A defect whose circle is as large as it needs to be for merging to look at its pixels.
Defect pointDefect(const Points &pixels, const Circle &circle = Circle(0, 0, 1000))
{
    Defect defect;
    defect.pixels = pixels;
    defect.enclosingCircle = circle;
    return defect;
}

Defect scratchDefect(const Points &pixels)
{
    Defect defect = pointDefect(pixels);
    defect.type = Defect::Type::Scratch;
    return defect;
}

Defect withCircle(const Circle &circle, float size = 0)
{
    Defect defect;
    defect.enclosingCircle = circle;
    defect.size = size;
    return defect;
}

/// From the middle outwards, a point at every second pixel of the way.
CvPoints spiralOfPoints(double largestRadius)
{
    constexpr double pitch = 12; // pixels a turn
    CvPoints points;
    for (double angle = 1; pitch * angle / (2 * M_PI) < largestRadius; angle += pitch / (pitch * angle + 1)) {
        const double radius = pitch * angle / (2 * M_PI);
        points.emplace_back(qRound(radius * std::cos(angle)), qRound(radius * std::sin(angle)));
    }
    return points;
}

std::vector<Points> pixelsOf(const std::vector<Defect> &defects)
{
    std::vector<Points> result;
    result.reserve(defects.size());
    for (const Defect &defect : defects)
        result.push_back(defect.pixels);
    return result;
}

template <typename Float>
bool sameBits(Float a, Float b)
{
    return std::signbit(a) == std::signbit(b) && (a == b || (std::isnan(a) && std::isnan(b)));
}

bool sameBits(const QPointF &a, const QPointF &b)
{
    return sameBits(a.x(), b.x()) && sameBits(a.y(), b.y());
}

bool sameBits(const Points &a, const Points &b)
{
    return std::equal(
        a.cbegin(), a.cend(), b.cbegin(), b.cend(), [](const QPointF &p, const QPointF &q) { return sameBits(p, q); });
}

/// Equal to the last bit, so that numbers that are none compare as well.
bool sameBits(const Defect &a, const Defect &b)
{
    return a.type == b.type && sameBits(a.pixels, b.pixels)
        && sameBits(a.enclosingCircle.center, b.enclosingCircle.center)
        && sameBits(a.enclosingCircle.radius, b.enclosingCircle.radius)
        && sameBits(a.boundingRectPoints, b.boundingRectPoints) && a.boundingRectSize == b.boundingRectSize
        && sameBits(a.size, b.size) && a.causesFailure == b.causesFailure;
}

bool sameBits(const std::vector<Defect> &a, const std::vector<Defect> &b)
{
    return std::equal(a.cbegin(), a.cend(), b.cbegin(), b.cend(),
        [](const Defect &first, const Defect &second) { return sameBits(first, second); });
}

/// What an unlucky set of defects looks like, for the message of a failed comparison.
QString asText(const std::vector<Defect> &defects)
{
    QString text;
    QDebug stream(&text);
    for (const Defect &defect : defects)
        stream << int(defect.type) << defect.enclosingCircle.center << defect.enclosingCircle.radius << defect.pixels
               << '\n';
    return text;
}

/// Makes sets of defects that lie close together, with all that can be odd about them.
class RandomDefects
{
public:
    explicit RandomDefects(unsigned seed)
        : mRandom(seed)
    {
    }

    int below(int count) { return static_cast<int>(mRandom() % static_cast<unsigned long>(count)); }

    double real(double lowest, double highest)
    {
        return std::uniform_real_distribution<double>(lowest, highest)(mRandom);
    }

    template <typename Value, std::size_t count>
    Value oneOf(const Value (&values)[count])
    {
        return values[below(static_cast<int>(count))];
    }

    float threshold()
    {
        const float odd[] = {-1, -0.0F, 0, infinity, -infinity, notANumber, 1e9F, 4.3e9F, 3.4e38F, 1e-45F};
        const float usual[] = {1, std::sqrt(2.0F), 2, std::sqrt(5.0F), 3, 3.720930F, 5, 7.5F};
        return below(4) == 0 ? oneOf(odd) : oneOf(usual);
    }

    double coordinate(double extent, bool odd)
    {
        const double oddOnes[] = {
            2147483647.0, -2147483648.0, 1e300, -1e300, std::nan(""), 2147483647.5, INFINITY, -0.5};
        if (odd && below(12) == 0)
            return oneOf(oddOnes);
        const double value = real(-extent, extent);
        return below(3) == 0 ? value : std::trunc(value);
    }

    float radius()
    {
        const float odd[] = {0, -1, notANumber, infinity, -infinity, 3e38F, 1e-30F};
        return below(8) == 0 ? oneOf(odd) : static_cast<float>(real(0, 4));
    }

    Defect defect(double extent, bool odd)
    {
        Defect result;
        result.type = below(6) == 0 ? Defect::Type::Scratch : Defect::Type::Defect;
        const QPointF start(coordinate(extent, odd), coordinate(extent, odd));
        for (int i = below(5); i > 0; --i) {
            const QPointF step(below(5) - 2, below(5) - 2);
            result.pixels.append(
                below(4) == 0 ? QPointF(coordinate(extent, odd), coordinate(extent, odd)) : start + step);
        }
        result.enclosingCircle =
            below(2) == 0 ? Circle(start, 1000) : Circle(start, odd ? radius() : static_cast<float>(real(0, 4)));
        result.boundingRectPoints = {start};
        result.boundingRectSize = QSize(below(9), below(9));
        result.size = static_cast<float>(below(30));
        result.causesFailure = below(10) == 0;
        return result;
    }

    std::vector<Defect> defects(int count, double extent, bool odd)
    {
        std::vector<Defect> result;
        for (int i = 0; i < count; ++i) {
            result.push_back(defect(extent, odd));
            if (below(15) == 0)
                result.push_back(result.back()); // twice the same
        }
        return result;
    }

private:
    std::mt19937 mRandom;
};
/// Contours of a kind, most of them long.
std::vector<CvPoints> contoursOf(const QString &form, RandomDefects &random)
{
    const int count = 60 + random.below(600);
    CvPoints pixels;
    if (form == QLatin1String("noise")) {
        cv::Mat noise(120, 120, CV_8UC1);
        cv::RNG(static_cast<quint64>(random.below(1 << 30))).fill(noise, cv::RNG::UNIFORM, 0, 256);
        cv::GaussianBlur(noise, noise, cv::Size(5, 5), 0);
        std::vector<CvPoints> contours;
        cv::findContours(noise > 128, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
        return contours;
    }
    cv::Point at(random.below(300), random.below(300));
    for (int i = 0; i < count; ++i) {
        if (form == QLatin1String("walk"))
            at += cv::Point(random.below(3) - 1, random.below(3) - 1);
        else if (form == QLatin1String("jumps"))
            at = {random.below(500) - 250, random.below(500) - 250};
        else if (form == QLatin1String("spiral"))
            at = {200 + qRound(i * 0.2 * std::cos(i * 0.1)), 200 + qRound(i * 0.2 * std::sin(i * 0.1))};
        else if (form == QLatin1String("circle"))
            at = {qRound(count * std::cos(i * 6.3 / count)), qRound(count * std::sin(i * 6.3 / count))};
        else if (form == QLatin1String("line"))
            at = {i, i * (count % 7) / 3};
        else if (form == QLatin1String("comb"))
            at = {i / 20, (i / 20 % 2 == 0 ? i % 20 : 19 - i % 20) * (1 + count % 5)};
        else if (form == QLatin1String("far"))
            at = {1000000 + random.below(1000), -2000000 + random.below(1000)};
        pixels.push_back(at);
    }
    return {pixels};
}
} // namespace

class TestAnalyserPrivateDefects : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // --- createDefectFromPixels

    void aDefectIsBuiltFromItsPixels()
    {
        // The corners of a rectangle of 6 x 8, and a point in it.
        const CvPoints pixels{{10, 20}, {16, 20}, {16, 28}, {10, 28}, {12, 22}};
        const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, 1.075F);

        QCOMPARE(defect.pixels, (Points{{10, 20}, {16, 20}, {16, 28}, {10, 28}, {12, 22}}));
        QCOMPARE(defect.type, Defect::Type::Defect);
        QCOMPARE(defect.enclosingCircle.center, QPointF(13, 24));
        QVERIFY(std::abs(defect.enclosingCircle.radius - 5.0F) < 0.001F);
        QCOMPARE(defect.boundingRectPoints.size(), 4);
        const QSet<QPair<int, int>> corners{{10, 20}, {16, 20}, {16, 28}, {10, 28}};
        QSet<QPair<int, int>> found;
        for (const QPointF &corner : defect.boundingRectPoints)
            found.insert({qRound(corner.x()), qRound(corner.y())});
        QCOMPARE(found, corners);
        QVERIFY(defect.boundingRectSize == QSize(6, 8) || defect.boundingRectSize == QSize(8, 6));
        QCOMPARE(defect.size, 2 * defect.enclosingCircle.radius * 1.075F);
        QCOMPARE(defect.causesFailure, false);
    }

    void aPixelSizeOfZeroLeavesTheSizeUnset_data()
    {
        QTest::addColumn<float>("pixelSize");
        QTest::addColumn<bool>("sizeIsSet");
        QTest::newRow("zero") << 0.0F << false;
        QTest::newRow("minus zero") << -0.0F << false;
        QTest::newRow("smallest number") << std::numeric_limits<float>::min() << true;
        QTest::newRow("usual") << 1.075F << true;
        QTest::newRow("negative") << -1.0F << true;
        QTest::newRow("infinite") << infinity << true;
        QTest::newRow("not a number") << notANumber << true;
    }

    void aPixelSizeOfZeroLeavesTheSizeUnset()
    {
        QFETCH(float, pixelSize);
        QFETCH(bool, sizeIsSet);
        const CvPoints pixels{{0, 0}, {40, 0}};

        const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, pixelSize);

        const float expected = sizeIsSet ? 2 * defect.enclosingCircle.radius * pixelSize : 0.0F;
        QVERIFY(sameBits(defect.size, expected) || (std::isnan(defect.size) && std::isnan(expected)));
        QCOMPARE(defect.type, Defect::Type::Scratch);
        QCOMPARE(defect.boundingRectPoints.size(), 4);
        QVERIFY(defect.boundingRectSize.isValid());
        QCOMPARE(defect.enclosingCircle.center, QPointF(20, 0));
    }

    void noPixelsGiveADefaultDefect()
    {
        const Defect fromCv = AnalyserPrivate::createDefectFromPixels(CvPoints(), 1.075F);
        const Defect fromQt = AnalyserPrivate::createDefectFromPixels(Points(), 1.075F);

        for (const Defect *const defect : {&fromCv, &fromQt}) {
            QCOMPARE(defect->type, Defect::Type::Defect);
            QCOMPARE(defect->size, 0.0F);
            QVERIFY(defect->pixels.isEmpty());
            QVERIFY(defect->enclosingCircle == Circle());
            QVERIFY(defect->boundingRectPoints.isEmpty());
            QCOMPARE(defect->boundingRectSize, QSize(-1, -1));
        }
    }

    void fewPixelsAreNoTrouble_data()
    {
        QTest::addColumn<CvPoints>("pixels");
        QTest::addColumn<float>("radius");
        QTest::newRow("one") << CvPoints{{7, 9}} << 0.0F;
        QTest::newRow("one twice") << CvPoints{{7, 9}, {7, 9}} << 0.0F;
        QTest::newRow("one three times") << CvPoints{{7, 9}, {7, 9}, {7, 9}} << 0.0F;
        QTest::newRow("two, five apart") << CvPoints{{0, 0}, {3, 4}} << 2.5F;
        QTest::newRow("three in a line") << CvPoints{{0, 0}, {2, 2}, {6, 6}} << std::sqrt(18.0F);
        QTest::newRow("ten in a line, there and back")
            << CvPoints{{0, 5}, {1, 5}, {2, 5}, {3, 5}, {4, 5}, {5, 5}, {4, 5}, {3, 5}, {2, 5}, {1, 5}} << 2.5F;
        QTest::newRow("negative") << CvPoints{{-3, -4}, {3, 4}} << 5.0F;
    }

    void fewPixelsAreNoTrouble()
    {
        QFETCH(CvPoints, pixels);
        QFETCH(float, radius);

        const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, 1);

        // OpenCV adds a ten thousandth to the radius: no size lies exactly on a bound of a rule.
        QVERIFY2(std::abs(defect.enclosingCircle.radius - radius) < 0.001F,
            qPrintable(QString::number(double(defect.enclosingCircle.radius))));
        QCOMPARE(defect.pixels.size(), int(pixels.size()));
        QCOMPARE(defect.boundingRectPoints.size(), 4);
        QVERIFY(defect.boundingRectSize.isValid());
        QCOMPARE(defect.type, Defect::Type::Defect);
    }

    void theRadiusOfTwoPixelsCarriesTheAdditionOfOpenCV()
    {
        const Defect defect = AnalyserPrivate::createDefectFromPixels(CvPoints{{0, 0}, {3, 4}}, 1);

        QVERIFY(defect.enclosingCircle.radius > 2.5F);
        QVERIFY(std::abs(defect.enclosingCircle.radius - 2.5001F) < 1e-5F);
        QCOMPARE(defect.size, 2 * defect.enclosingCircle.radius);
    }

    void theTypeIsThatOfTheRotatedRectangle_data()
    {
        QTest::addColumn<CvPoints>("pixels");
        QTest::addColumn<bool>("isScratch");
        const auto rectangle = [](int width, int height) {
            return CvPoints{{100, 100}, {100 + width, 100}, {100 + width, 100 + height}, {100, 100 + height}};
        };
        QTest::newRow("7 x 30") << rectangle(7, 30) << true;
        QTest::newRow("30 x 7") << rectangle(30, 7) << true;
        QTest::newRow("8 x 30") << rectangle(8, 30) << false;
        QTest::newRow("30 x 8") << rectangle(30, 8) << false;
        QTest::newRow("7 x 29") << rectangle(7, 29) << false;
        QTest::newRow("29 x 7") << rectangle(29, 7) << false;
        QTest::newRow("a slanted line, 42 long") << CvPoints{{0, 0}, {30, 30}} << true;
        QTest::newRow("a slanted line, 28 long") << CvPoints{{0, 0}, {20, 20}} << false;
        QTest::newRow("slanted, 7 wide") << CvPoints{{0, 0}, {40, 40}, {45, 35}, {5, -5}} << true;
        QTest::newRow("slanted, 8 wide") << CvPoints{{0, 0}, {40, 40}, {46, 34}, {6, -6}} << false;
    }

    void theTypeIsThatOfTheRotatedRectangle()
    {
        QFETCH(CvPoints, pixels);
        QFETCH(bool, isScratch);

        const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, 0);

        QCOMPARE(defect.type == Defect::Type::Scratch, isScratch);
    }

    void pointsAreRoundedToPixelsFirst()
    {
        const Defect defect =
            AnalyserPrivate::createDefectFromPixels(Points{{0.5, 1.5}, {2.5, -0.5}, {3.49, 3.51}, {-1.5, -2.6}}, 1);

        // Halves go to the even neighbour.
        QCOMPARE(defect.pixels, (Points{{0, 2}, {2, 0}, {3, 4}, {-2, -3}}));
    }

    void absurdCoordinatesAreNoTrouble_data()
    {
        QTest::addColumn<QVector<QPointF>>("pixels");
        QTest::newRow("one, not a number") << Points{{std::nan(""), 3}};
        QTest::newRow("one, huge") << Points{{1e300, -1e300}};
        QTest::newRow("one infinite among others") << Points{{0, 0}, {INFINITY, 1}, {2, 5}};
        QTest::newRow("the corners of int") << Points{
            {-2147483648.0, -2147483648.0}, {2147483647.0, -2147483648.0}, {2147483647.0, 2147483647.0}, {0, 0}};
        QTest::newRow("a million apart") << Points{{0, 0}, {1e6, 1e6}, {1e6, 0}};
    }

    void absurdCoordinatesAreNoTrouble()
    {
        QFETCH(QVector<QPointF>, pixels);
        const WorkTimer timer;

        const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, 1);

        QCOMPARE(defect.pixels.size(), pixels.size());
        QVERIFY(timer.seconds() < 1);
    }

    void buildingEqualsThePlainForm()
    {
        RandomDefects random(2718);
        const float pixelSizes[] = {0, 1, 1.075F, 0.5F, -2, 1e-20F, 1e20F, infinity};
        int scratches = 0;
        for (int run = 0; run < 5000; ++run) {
            const int extent = 1 + random.below(60);
            const int flatness = 1 + random.below(extent);
            CvPoints pixels(static_cast<std::size_t>(random.below(25)));
            for (cv::Point &pixel : pixels)
                pixel = {random.below(extent) - 20, random.below(flatness) - 5};
            const float pixelSize = random.oneOf(pixelSizes);

            const Defect expected = Reference::createDefectFromPixels(pixels, pixelSize);
            const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, pixelSize);

            QVERIFY2(sameBits(defect, expected), qPrintable(asText({defect, expected})));
            QVERIFY(sameBits(AnalyserPrivate::createDefectFromPixels(expected.pixels, pixelSize), expected));
            scratches += expected.type == Defect::Type::Scratch ? 1 : 0;
        }
        QVERIFY(scratches > 100 && scratches < 4900);
    }

    void longContoursEqualThePlainForm_data()
    {
        QTest::addColumn<QString>("form");
        for (const char *const form : {"walk", "jumps", "spiral", "circle", "line", "comb", "same", "far", "noise"})
            QTest::newRow(form) << QString::fromUtf8(form);
    }

    void longContoursEqualThePlainForm()
    {
        QFETCH(QString, form);
        RandomDefects random(1618);

        int compared = 0;
        for (int run = 0; run < 120; ++run) {
            for (const CvPoints &pixels : contoursOf(form, random)) {
                const Defect expected = Reference::createDefectFromPixels(pixels, 1.075F);
                const Defect defect = AnalyserPrivate::createDefectFromPixels(pixels, 1.075F);
                QVERIFY2(sameBits(defect, expected),
                    qPrintable(QStringLiteral("%1 pixels, run %2").arg(pixels.size()).arg(run)));
                ++compared;
            }
        }
        QVERIFY(compared >= 120);
    }

    // From its middle outwards every point is outside of all circles so far.
    void aSpiralOfManyTurnsTakesTimeLikeItsLength()
    {
        CvPoints spiral;
        Circle circle;
        const auto seconds = [&](double largestRadius) {
            spiral = spiralOfPoints(largestRadius);
            double best = 1e9;
            for (int round = 0; round < 2; ++round) {
                const WorkTimer timer;
                circle = AnalyserPrivate::createDefectFromPixels(spiral, 1).enclosingCircle;
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(250);
        const double fourfoldTime = seconds(500); // four times as many points

        QVERIFY(spiral.size() > 30000);
        QVERIFY2(fourfoldTime < 8 * time, qPrintable(QStringLiteral("%1 s, then %2 s").arg(time).arg(fourfoldTime)));
        int onRim = 0;
        for (const cv::Point &point : spiral) {
            const double distance = QLineF(circle.center, QPointF(point.x, point.y)).length();
            QVERIFY(distance <= static_cast<double>(circle.radius) + 0.01);
            onRim += distance > static_cast<double>(circle.radius) - 0.01 ? 1 : 0;
        }
        QVERIFY(onRim >= 2);
    }

    // --- mergeDefects

    void nothingMergesToNothing()
    {
        const LogCapture log;

        QVERIFY(AnalyserPrivate::mergeDefects({}, 4).empty());

        QCOMPARE(log.asText(), QStringList{QStringLiteral("debug: QHash() QVector()")});
    }

    void aLonelyDefectKeepsAllItsFields()
    {
        const LogCapture silence;
        Defect lonely = pointDefect({{1, 2}, {3, 4}}, Circle(2, 3, 2));
        lonely.boundingRectPoints = {{1, 1}, {2, 2}, {3, 3}, {4, 4}};
        lonely.boundingRectSize = QSize(2, 2);
        lonely.size = 3.5F;
        lonely.causesFailure = true;

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects({lonely}, 4);

        QCOMPARE(result.size(), std::size_t(1));
        QVERIFY(sameBits(result.front(), Defect(lonely)));
        QCOMPARE(result.front().boundingRectSize, QSize(-1, -1));
    }

    void aChainBecomesOneDefectInTheOrderOfInput()
    {
        const LogCapture log;
        const std::vector<Defect> defects{pointDefect({{0, 0}}), pointDefect({{4, 0}}), pointDefect({{8, 0}})};

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, 4);

        QCOMPARE(pixelsOf(result), (std::vector<Points>{{{0, 0}, {4, 0}, {8, 0}}}));
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().level, QtDebugMsg);
        QVERIFY(log.lines().constFirst().text.startsWith(QStringLiteral("QHash((")));
        QVERIFY(log.lines().constFirst().text.endsWith(QStringLiteral(") QVector(QVector(0, 1, 2))")));
    }

    void aMergedDefectHasNothingButItsPixels()
    {
        const LogCapture silence;
        Defect first = pointDefect({{0, 0}}, Circle(0, 0, 5));
        first.boundingRectPoints = {{1, 1}};
        first.size = 9;
        first.causesFailure = true;

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects({first, first}, 4);

        Defect expected;
        expected.pixels = {{0, 0}, {0, 0}};
        QCOMPARE(result.size(), std::size_t(1));
        QVERIFY(sameBits(result.front(), expected));
    }

    void theDistanceIsInclusive()
    {
        const LogCapture silence;
        const std::vector<Defect> defects{pointDefect({{0, 0}}), pointDefect({{3, 4}})};

        QCOMPARE(AnalyserPrivate::mergeDefects(defects, 5).size(), std::size_t(1));
        QCOMPARE(AnalyserPrivate::mergeDefects(defects, std::nextafter(5.0F, 0.0F)).size(), std::size_t(2));
    }

    void closePixelsOfDistantCirclesDoNotMerge()
    {
        const LogCapture silence;
        const auto merged = [](float radius) {
            const std::vector<Defect> defects{
                pointDefect({{0, 0}}, Circle(10, 0, radius)), pointDefect({{1, 0}}, Circle(20, 0, 2.5F))};
            return AnalyserPrivate::mergeDefects(defects, 4).size() == 1;
        };

        QVERIFY(merged(3.5F)); // 10 apart, and 3.5 + 2.5 + 4
        QVERIFY(!merged(3.499F));
        QVERIFY(!merged(notANumber));
        QVERIFY(!merged(-infinity));
        QVERIFY(merged(infinity));
    }

    void centresAreCutToWholePixels()
    {
        const LogCapture silence;
        const std::vector<Defect> defects{
            pointDefect({{0, 0}}, Circle(QPointF(0.9, 0), 1)), pointDefect({{1, 0}}, Circle(QPointF(4.9, 0), 1))};

        QCOMPARE(AnalyserPrivate::mergeDefects(defects, 2).size(), std::size_t(1));
        QCOMPARE(AnalyserPrivate::mergeDefects(defects, 1.99F).size(), std::size_t(2));
    }

    void scratchesNeverMergeAndComeFirst()
    {
        const LogCapture silence;
        const std::vector<Defect> defects{pointDefect({{0, 0}}), scratchDefect({{0, 1}}), pointDefect({{1, 0}}),
            scratchDefect({{1, 1}}), pointDefect({{90, 90}}), scratchDefect({{0, 0}})};

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, 4);

        QCOMPARE(pixelsOf(result), (std::vector<Points>{{{0, 1}}, {{1, 1}}, {{90, 90}}, {{0, 0}}, {{0, 0}, {1, 0}}}));
        QCOMPARE(result[0].type, Defect::Type::Scratch);
        QCOMPARE(result[3].type, Defect::Type::Scratch);
    }

    void aScratchIsNoBridge()
    {
        const LogCapture silence;
        const std::vector<Defect> defects{pointDefect({{0, 0}}), scratchDefect({{4, 0}}), pointDefect({{8, 0}})};

        QCOMPARE(AnalyserPrivate::mergeDefects(defects, 4).size(), std::size_t(3));
    }

    void theGroupOfTheLowerDefectSurvives()
    {
        // 0 is close to 3 and 1 to 2; then 2 and 3 join the groups {0, 3} and {1, 2}.
        const std::vector<Defect> defects{pointDefect({{0, 0}}), pointDefect({{40, 0}}),
            pointDefect({{36, 0}, {20, 3}}), pointDefect({{4, 0}, {20, 0}})};
        const LogCapture log;

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, 4);

        QCOMPARE(pixelsOf(result),
            (std::vector<Points>{{{40, 0}, {36, 0}, {20, 3}, {0, 0}, {4, 0}, {20, 0}}})); // 1, 2, 0, 3
        QCOMPARE(log.lines().size(), 1);
        QVERIFY(log.debugs().constFirst().endsWith(QStringLiteral("QVector(QVector(), QVector(1, 2, 0, 3))")));
        for (const QString &entry :
            {QStringLiteral("(0, 1)"), QStringLiteral("(1, 1)"), QStringLiteral("(2, 1)"), QStringLiteral("(3, 1)")})
            QVERIFY(log.debugs().constFirst().contains(entry));
    }

    void groupsThatWereJoinedJoinAgain()
    {
        // Four pairs; the later ones find both members in the same group, or in one that was joined before.
        const std::vector<Defect> defects{
            pointDefect({{0, 0}, {100, 0}}), // with 7
            pointDefect({{10, 50}}), // with 5
            pointDefect({{50, 10}}), // with 4
            pointDefect({{70, 70}, {11, 54}}), // with 6 and 5
            pointDefect({{50, 12}, {99, 3}}), // with 7
            pointDefect({{10, 52}, {50, 14}}), // with 4's partner
            pointDefect({{72, 70}}),
            pointDefect({{100, 2}}),
        };
        const LogCapture silence;

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, 4);

        QVERIFY(sameBits(result, Reference::mergeDefects(defects, 4)));
        QCOMPARE(result.size(), std::size_t(1));
        QCOMPARE(result.front().pixels.size(), 12);
    }

    void aPairInTheSameGroupChangesNothing()
    {
        const LogCapture log;
        // All three pairs are close.
        const std::vector<Defect> defects{pointDefect({{0, 0}}), pointDefect({{1, 0}}), pointDefect({{0, 1}})};

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, 4);

        QCOMPARE(pixelsOf(result), (std::vector<Points>{{{0, 0}, {1, 0}, {0, 1}}}));
        QVERIFY(log.debugs().constFirst().endsWith(QStringLiteral("QVector(QVector(0, 1, 2))")));
    }

    void groupsComeInTheOrderOfTheirBeginning()
    {
        const LogCapture silence;
        const std::vector<Defect> defects{pointDefect({{0, 0}}), pointDefect({{500, 0}}), pointDefect({{502, 0}}),
            pointDefect({{900, 900}}), pointDefect({{2, 0}})};

        const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, 4);

        QCOMPARE(pixelsOf(result), (std::vector<Points>{{{900, 900}}, {{0, 0}, {2, 0}}, {{500, 0}, {502, 0}}}));
    }

    void defectsWithoutPixelsStayAlone()
    {
        const LogCapture silence;
        const std::vector<Defect> defects{pointDefect({}), pointDefect({}), pointDefect({{0, 0}})};

        QCOMPARE(AnalyserPrivate::mergeDefects(defects, infinity).size(), std::size_t(3));
    }

    void mergingEqualsThePlainForm_data()
    {
        QTest::addColumn<int>("largestCount");
        QTest::addColumn<double>("extent");
        QTest::addColumn<bool>("odd");
        QTest::newRow("a few, everything odd") << 8 << 6.0 << true;
        QTest::newRow("a crowd, everything odd") << 40 << 25.0 << true;
        QTest::newRow("far apart and odd") << 25 << 3e9 << true;
        QTest::newRow("a crowd of real ones") << 60 << 40.0 << false;
        QTest::newRow("thinly spread") << 60 << 400.0 << false;
    }

    void mergingEqualsThePlainForm()
    {
        QFETCH(int, largestCount);
        QFETCH(double, extent);
        QFETCH(bool, odd);
        const LogCapture silence;
        RandomDefects random(static_cast<unsigned>(largestCount) * 31 + static_cast<unsigned>(odd));

        int merges = 0;
        int joins = 0;
        for (int run = 0; run < 1500; ++run) {
            const std::vector<Defect> defects = random.defects(random.below(largestCount), extent, odd);
            const float threshold = random.threshold();

            const std::vector<Defect> expected = Reference::mergeDefects(defects, threshold);
            const std::vector<Defect> result = AnalyserPrivate::mergeDefects(defects, threshold);

            QVERIFY2(sameBits(result, expected),
                qPrintable(QStringLiteral("threshold %1\n%2\ngives\n%3\ninstead of\n%4")
                               .arg(double(threshold))
                               .arg(asText(defects), asText(result), asText(expected))));
            merges += expected.size() < defects.size() ? 1 : 0;
            joins += expected.size() + 3 < defects.size() ? 1 : 0;
        }
        QVERIFY2(merges > 100 && joins > 20, qPrintable(QStringLiteral("%1 %2").arg(merges).arg(joins)));
    }

    void mergingLinesTakesTimeLikeTheirPixels()
    {
        // Each is close to all that the distance reaches, which are as many more as it is larger; and so are the
        // pixels.
        const LogCapture silence;
        std::vector<Defect> lines;
        for (int i = 0; i < 250; ++i) {
            Points points;
            for (int x = 0; x < 1000; ++x)
                points << QPointF(x, 4 * i);
            for (int x = 999; x >= 0; --x) // and back again, as a contour goes around a line
                points << QPointF(x, 4 * i);
            lines.push_back(pointDefect(points, Circle(QPointF(500, 4 * i), 0)));
        }
        const auto seconds = [&lines](float distance) {
            double best = 1e9;
            for (int round = 0; round < 3; ++round) {
                const WorkTimer timer;
                if (AnalyserPrivate::mergeDefects(lines, distance).size() != 1)
                    return -1.0;
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(10);
        const double timeForMore = seconds(80);

        QVERIFY(time > 0 && timeForMore > 0);
        QVERIFY2(timeForMore < 8 * time, qPrintable(QStringLiteral("%1 s, %2 s").arg(time).arg(timeForMore)));
    }

    void mergingIsGivenUpWhereItWouldNotEnd()
    {
        // Triangles whose bounds overlap and whose pixels do not come close.
        const LogCapture silence;
        constexpr int size = 250;
        const auto triangle = [](int from, bool isUpper) {
            Points points;
            for (int y = 0; y < size; ++y) {
                for (int x = isUpper ? size - y : 0; x < (isUpper ? size : size - y); ++x)
                    points << QPointF(from + x, from + y);
            }
            return pointDefect(points);
        };
        const std::vector<Defect> defects{
            triangle(0, false), triangle(160, true), triangle(161, true), triangle(162, true)};

        QVERIFY_EXCEPTION_THROWN(AnalyserPrivate::mergeDefects(defects, 220), std::runtime_error);
    }

    void mergingThousandsTakesTimeLikeTheirNumber()
    {
        const LogCapture silence;
        const auto seconds = [](int count) {
            std::vector<Defect> defects;
            for (int i = 0; i < count; ++i) {
                const QPointF corner = QPoint(i % 200, i / 200) * 6;
                const Circle around(corner, 1);
                defects.push_back(pointDefect({corner, corner + QPointF(1, 0), corner + QPointF(1, 1)}, around));
            }
            double best = 1e9;
            for (int round = 0; round < 3; ++round) {
                const WorkTimer timer;
                if (AnalyserPrivate::mergeDefects(defects, 3.72F).size() != defects.size())
                    return -1.0;
                best = std::min(best, timer.seconds());
            }
            return best;
        };

        const double time = seconds(5000);
        const double fourfoldTime = seconds(20000);

        QVERIFY(time > 0 && fourfoldTime > 0);
        // 16 when each is compared with each.
        QVERIFY2(fourfoldTime < 10 * time, qPrintable(QStringLiteral("%1 s, then %2 s").arg(time).arg(fourfoldTime)));
    }

    // --- splitDefectsToZones

    void aDefectBelongsToTheInnermostZoneItReaches_data()
    {
        QTest::addColumn<double>("distance");
        QTest::addColumn<float>("radius");
        QTest::addColumn<QString>("zone");
        const QString core = QStringLiteral("core");
        const QString cladding = QStringLiteral("cladding");
        const QString dropped = QStringLiteral("dropped");
        // Core radius 10, cladding radius 50, centre of the image (100, 100).
        QTest::newRow("in the middle") << 0.0 << 1.0F << core;
        QTest::newRow("a point in the middle") << 0.0 << 0.0F << core;
        QTest::newRow("overlaps the core") << 12.0 << 2.001F << core;
        QTest::newRow("touches the core") << 12.0 << 2.0F << cladding;
        QTest::newRow("in the cladding") << 30.0 << 5.0F << cladding;
        QTest::newRow("overlaps the cladding") << 53.0 << 3.001F << cladding;
        QTest::newRow("touches the cladding") << 53.0 << 3.0F << dropped;
        QTest::newRow("in the contact zone") << 70.0 << 3.0F << dropped;
        QTest::newRow("its distance is cut to whole pixels") << 10.9 << 0.5F << core;
        QTest::newRow("reaches everything") << 90.0 << 1000.0F << core;
        QTest::newRow("infinite radius") << 90.0 << infinity << core;
        QTest::newRow("negative radius") << 9.0 << -1.0F << cladding;
        QTest::newRow("radius that is no number") << 0.0 << notANumber << dropped;
    }

    void aDefectBelongsToTheInnermostZoneItReaches()
    {
        QFETCH(double, distance);
        QFETCH(float, radius);
        QFETCH(QString, zone);
        const LogCapture silence;
        const ZoneSizes sizes{10, 50, 60, 90};

        for (const QPointF &direction : {QPointF(1, 0), QPointF(0, 1)}) {
            std::vector<Defect> core;
            std::vector<Defect> cladding;
            std::vector<Defect> contact;
            const Defect defect = withCircle(Circle(QPointF(100, 100) + direction * distance, radius));
            AnalyserPrivate::splitDefectsToZones({defect}, core, cladding, contact, QSize(200, 200), sizes);

            QCOMPARE(core.size(), std::size_t(zone == QLatin1String("core") ? 1 : 0));
            QCOMPARE(cladding.size(), std::size_t(zone == QLatin1String("cladding") ? 1 : 0));
            QVERIFY(contact.empty());
        }
    }

    void splittingAppendsAndKeepsTheOrder()
    {
        const LogCapture silence;
        std::vector<Defect> core{withCircle(Circle(1, 1, 1), 100)};
        std::vector<Defect> cladding{withCircle(Circle(2, 2, 1), 200)};
        std::vector<Defect> contact{withCircle(Circle(3, 3, 1), 300)};
        const std::vector<Defect> defects{withCircle(Circle(100, 100, 1), 1), withCircle(Circle(130, 100, 1), 2),
            withCircle(Circle(190, 100, 1), 3), withCircle(Circle(99, 100, 1), 4), withCircle(Circle(100, 140, 1), 5)};

        AnalyserPrivate::splitDefectsToZones(defects, core, cladding, contact, QSize(200, 200), {10, 50, 60, 90});

        const auto sizes = [](const std::vector<Defect> &list) {
            QVector<int> result;
            for (const Defect &defect : list)
                result.append(int(defect.size));
            return result;
        };
        QCOMPARE(sizes(core), (QVector<int>{100, 1, 4}));
        QCOMPARE(sizes(cladding), (QVector<int>{200, 2, 5}));
        QCOMPARE(sizes(contact), QVector<int>{300});
    }

    void splittingNothingGivesNothing()
    {
        const LogCapture silence;
        std::vector<Defect> core;
        std::vector<Defect> cladding;
        std::vector<Defect> contact;

        AnalyserPrivate::splitDefectsToZones({}, core, cladding, contact, QSize(200, 200), {10, 50, 60, 90});

        QVERIFY(core.empty() && cladding.empty() && contact.empty());
    }

    void splittingLogsTheSizes_data()
    {
        QTest::addColumn<QSize>("imageSize");
        QTest::addColumn<QString>("center");
        QTest::newRow("even") << QSize(200, 100) << QStringLiteral("QPoint(100,50)");
        QTest::newRow("odd") << QSize(505, 505) << QStringLiteral("QPoint(252,252)");
        QTest::newRow("empty") << QSize(0, 0) << QStringLiteral("QPoint(0,0)");
        QTest::newRow("invalid") << QSize(-1, -1) << QStringLiteral("QPoint(0,0)");
    }

    void splittingLogsTheSizes()
    {
        QFETCH(QSize, imageSize);
        QFETCH(QString, center);
        const LogCapture log;
        std::vector<Defect> core;
        std::vector<Defect> cladding;
        std::vector<Defect> contact;

        AnalyserPrivate::splitDefectsToZones({}, core, cladding, contact, imageSize, {11.5F, 58, 62.75F, 116.25F});

        QCOMPARE(log.asText(),
            (QStringList{QStringLiteral("debug: coreRadius 11.5"), QStringLiteral("debug: claddingRadius 58"),
                QStringLiteral("debug: contactRadius 116.25"), QStringLiteral("debug: center ") + center}));
    }

    void theCentreOfAnOddImageIsCutToAWholePixel()
    {
        const LogCapture silence;
        std::vector<Defect> core;
        std::vector<Defect> cladding;
        std::vector<Defect> contact;
        // From 252 it is 10, from 252.5 it would be less.
        const std::vector<Defect> defects{withCircle(Circle(262, 252, 0))};

        AnalyserPrivate::splitDefectsToZones(defects, core, cladding, contact, QSize(505, 505), {10, 50, 60, 90});

        QVERIFY(core.empty());
        QCOMPARE(cladding.size(), std::size_t(1));
    }

    void splittingEqualsThePlainForm()
    {
        const LogCapture silence;
        RandomDefects random(31415);
        const float radii[] = {0, -1, 5, 10.5F, 20, 30, notANumber, infinity};
        std::size_t inCore = 0;
        std::size_t inCladding = 0;
        for (int run = 0; run < 3000; ++run) {
            const std::vector<Defect> defects = random.defects(random.below(12), 30, true);
            const QSize imageSize(random.below(40) - 2, random.below(40) - 2);
            const ZoneSizes sizes{random.oneOf(radii), random.oneOf(radii), random.oneOf(radii), random.oneOf(radii)};
            std::vector<Defect> core;
            std::vector<Defect> cladding;
            std::vector<Defect> contact;
            std::vector<Defect> expectedCore;
            std::vector<Defect> expectedCladding;

            AnalyserPrivate::splitDefectsToZones(defects, core, cladding, contact, imageSize, sizes);
            Reference::splitDefectsToZones(defects, expectedCore, expectedCladding, imageSize, sizes);

            QVERIFY2(sameBits(core, expectedCore), qPrintable(asText(defects)));
            QVERIFY2(sameBits(cladding, expectedCladding), qPrintable(asText(defects)));
            QVERIFY(contact.empty());
            inCore += core.size();
            inCladding += cladding.size();
        }
        QVERIFY(inCore > 1000 && inCladding > 1000);
    }
};

QTEST_GUILESS_MAIN(TestAnalyserPrivateDefects)
#include "tst_analyserprivate_defects.moc"
