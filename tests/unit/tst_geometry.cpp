// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Geometry.h"
#include "FiberInspection/PixelGeometry_p.h"

#include <QtTest>

#include <limits>
#include <random>
#include <type_traits>

using namespace FiberInspection;

namespace {
constexpr int highestInt = std::numeric_limits<int>::max();
constexpr int lowestInt = std::numeric_limits<int>::min();
constexpr float nanFloat = std::numeric_limits<float>::quiet_NaN();
constexpr float infinityFloat = std::numeric_limits<float>::infinity();
constexpr double infinity = std::numeric_limits<double>::infinity();

float rootOf(double square)
{
    return static_cast<float>(std::sqrt(square));
}

/// The border must part all squares into those whose root passes the direct comparison and those whose root does not.
template <typename Passes>
bool partsSquares(double border, double square, Passes passes)
{
    return (square <= border) == passes(rootOf(square));
}
} // namespace

class TestGeometry : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDefaultCircleMeansNoneFound()
    {
        const Circle circle;

        QCOMPARE(circle.center, QPointF(0, 0));
        QCOMPARE(circle.radius, 0.0F);
        QVERIFY(!circle.isValid());
    }

    void aCircleIsBuiltFromItsCenterOrFromItsCoordinates()
    {
        const Circle fromPoint(QPointF(1.5, -2.25), 7.5F);
        const Circle fromCoordinates(1.5F, -2.25F, 7.5F);

        QCOMPARE(fromPoint.center.x(), 1.5);
        QCOMPARE(fromPoint.center.y(), -2.25);
        QCOMPARE(fromPoint.radius, 7.5F);
        QCOMPARE(fromCoordinates.center.x(), 1.5);
        QCOMPARE(fromCoordinates.center.y(), -2.25);
        QCOMPARE(fromCoordinates.radius, 7.5F);
    }

    void aCircleNeedsARadiusAndACenterToBeValid_data()
    {
        QTest::addColumn<QPointF>("center");
        QTest::addColumn<float>("radius");
        QTest::addColumn<bool>("valid");
        QTest::newRow("centre at the origin") << QPointF(0, 0) << 5.0F << false;
        QTest::newRow("centre at the negative origin") << QPointF(-0.0, -0.0) << 5.0F << false;
        QTest::newRow("no radius") << QPointF(1, 0) << 0.0F << false;
        QTest::newRow("negative zero as radius") << QPointF(1, 0) << -0.0F << false;
        QTest::newRow("centre on the upper border") << QPointF(1, 0) << 0.5F << true;
        QTest::newRow("centre on the left border") << QPointF(0, 1) << 0.5F << true;
        QTest::newRow("tiny offset from the origin") << QPointF(1e-300, 0) << 0.5F << true;
        QTest::newRow("tiny radius") << QPointF(1, 1) << 1e-30F << true;
        QTest::newRow("smallest radius of all") << QPointF(1, 1) << std::numeric_limits<float>::denorm_min() << true;
        QTest::newRow("negative radius") << QPointF(1, 1) << -3.0F << true;
    }
    void aCircleNeedsARadiusAndACenterToBeValid()
    {
        QFETCH(QPointF, center);
        QFETCH(float, radius);

        QTEST(Circle(center, radius).isValid(), "valid");
    }

    void circlesAreEqualByCenterAndRadius()
    {
        const Circle circle(3, 4, 5);

        QVERIFY(circle == Circle(QPointF(3, 4), 5));
        QVERIFY(!(circle != Circle(QPointF(3, 4), 5)));
        QVERIFY(circle != Circle(3.5F, 4, 5));
        QVERIFY(circle != Circle(3, 4.5F, 5));
        QVERIFY(circle != Circle(3, 4, 5.5F));
    }

    void theZoneSizesGoFromTheCoreOutward()
    {
        const ZoneSizes none;
        const ZoneSizes sizes{1, 2, 3, 4};

        QCOMPARE(none.coreRadius, 0.0F);
        QCOMPARE(none.contactRadius, 0.0F);
        QCOMPARE(sizes.coreRadius, 1.0F);
        QCOMPARE(sizes.claddingRadius, 2.0F);
        QCOMPARE(sizes.adhesiveRadius, 3.0F);
        QCOMPARE(sizes.contactRadius, 4.0F);
        QVERIFY(std::is_trivially_copyable<ZoneSizes>::value);
    }

    void theScopeHasItsNameAndFieldOfView()
    {
        const Device device = Device::ks20();

        QCOMPARE(device.name, QStringLiteral("ODM Scope 2"));
        QCOMPARE(device.fov, QSize(860, 640));
    }

    void aDefaultDeviceSeesNothing()
    {
        const Device device;

        QVERIFY(device.name.isEmpty());
        QVERIFY(!device.fov.isValid());
    }

    void numbersAreTruncatedTowardZeroAndStayInRange_data()
    {
        QTest::addColumn<double>("value");
        QTest::addColumn<int>("whole");
        QTest::newRow("below one") << 0.999 << 0;
        QTest::newRow("above minus one") << -0.999 << 0;
        QTest::newRow("negative") << -252.5 << -252;
        QTest::newRow("positive") << 252.5 << 252;
        QTest::newRow("highest") << double(highestInt) << highestInt;
        QTest::newRow("a fraction above the highest") << double(highestInt) + 0.5 << highestInt;
        QTest::newRow("lowest") << double(lowestInt) << lowestInt;
        QTest::newRow("a fraction below the lowest") << double(lowestInt) - 0.5 << lowestInt;
        QTest::newRow("too high") << 1e300 << highestInt;
        QTest::newRow("too low") << -1e300 << lowestInt;
        QTest::newRow("infinite") << infinity << highestInt;
        QTest::newRow("negative infinite") << -infinity << lowestInt;
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << lowestInt;
    }
    void numbersAreTruncatedTowardZeroAndStayInRange()
    {
        QFETCH(double, value);

        QTEST(truncated(value), "whole");
    }

    void thePixelOfAPointIsTruncated()
    {
        const PixelPosition position = PixelPosition::of(QPointF(-0.9, 3.99));

        QCOMPARE(position.x, 0.0);
        QCOMPARE(position.y, 3.0);
        QCOMPARE(position.squaredDistanceTo({3, -1}), 25.0);
        QCOMPARE(position.distanceTo({3, -1}), 5.0F);
    }

    void theDistanceOfTheFarthestPixelsDoesNotOverflow()
    {
        const PixelPosition lowest = PixelPosition::of(QPointF(-1e300, 0));
        const PixelPosition highest = PixelPosition::of(QPointF(1e300, 0));

        QCOMPARE(lowest.distanceTo(highest), 4294967296.0F);
    }

    void noSquareLiesWithinANegativeLimit()
    {
        QCOMPARE(largestSquareWithin(-0.5F), -1.0);
        QCOMPARE(largestSquareWithin(-infinityFloat), -1.0);
        QCOMPARE(largestSquareWithin(nanFloat), -1.0);
        QCOMPARE(largestSquareBelow(0.0F), -1.0);
        QCOMPARE(largestSquareBelow(-0.0F), -1.0);
        QCOMPARE(largestSquareBelow(-3.0F), -1.0);
    }

    void allSquaresLieWithinAnEndlessLimit()
    {
        QCOMPARE(largestSquareWithin(infinityFloat), infinity);
        QCOMPARE(largestSquareBelow(infinityFloat), infinity);
    }

    void nothingButZeroLiesWithinZero()
    {
        const double border = largestSquareWithin(0.0F);

        QVERIFY(border >= 0);
        QVERIFY(border < 1e-80);
    }

    void bordersOfSquaresAgreeWithComparedDistances_data()
    {
        QTest::addColumn<float>("limit");
        const auto row = [](const char *name, float limit) { QTest::newRow(name) << limit; };
        row("zero", 0.0F);
        row("smallest", std::numeric_limits<float>::denorm_min());
        row("smallest normal", std::numeric_limits<float>::min());
        row("half", 0.5F);
        row("one", 1.0F);
        row("root of two", std::sqrt(2.0F));
        row("below the root of two", std::nextafter(std::sqrt(2.0F), 0.0F));
        row("above the root of two", std::nextafter(std::sqrt(2.0F), 2.0F));
        row("five", 5.0F);
        row("just below five", std::nextafter(5.0F, 0.0F));
        row("half a pixel off", 252.5F);
        row("largest whole float", 16777216.0F);
        row("largest int", 2147483648.0F);
        row("huge", 1e30F);
    }
    void bordersOfSquaresAgreeWithComparedDistances()
    {
        QFETCH(float, limit);
        const double within = largestSquareWithin(limit);
        const double below = largestSquareBelow(limit);

        for (const double border : {within, below, double(limit) * double(limit)}) {
            double square = std::max(border, 0.0);
            for (int step = 0; step < 1000; ++step) {
                QVERIFY(partsSquares(within, square, [=](float root) { return root <= limit; }));
                QVERIFY(partsSquares(below, square, [=](float root) { return root < limit; }));
                square = std::nextafter(square, infinity);
            }
            square = std::max(border, 0.0);
            for (int step = 0; step < 1000 && square > 0; ++step) {
                QVERIFY(partsSquares(within, square, [=](float root) { return root <= limit; }));
                QVERIFY(partsSquares(below, square, [=](float root) { return root < limit; }));
                square = std::nextafter(square, 0);
            }
        }
    }

    void bordersOfSquaresAgreeForAllPixelsAndRandomLimits()
    {
        std::mt19937 random(20240611);
        std::uniform_real_distribution<float> anyLimit(-2, 60);
        std::uniform_int_distribution<int> anySquare(0, 60 * 60);

        for (int i = 0; i < 3000; ++i) {
            // Every other limit is the very distance of some pixel, or its neighbour among the floats.
            float limit = anyLimit(random);
            if (i % 2 == 0)
                limit = rootOf(anySquare(random));
            if (i % 6 == 0)
                limit = std::nextafter(limit, 0.0F);
            if (i % 6 == 2)
                limit = std::nextafter(limit, 100.0F);
            const double within = largestSquareWithin(limit);
            const double below = largestSquareBelow(limit);

            for (int dx = 0; dx <= 40; ++dx) {
                for (int dy = dx; dy <= 40; ++dy) {
                    const double square = double(dx) * dx + double(dy) * dy;
                    QVERIFY(partsSquares(within, square, [=](float root) { return root <= limit; }));
                    QVERIFY(partsSquares(below, square, [=](float root) { return root < limit; }));
                }
            }
        }
    }
};

QTEST_APPLESS_MAIN(TestGeometry)
#include "tst_geometry.moc"
