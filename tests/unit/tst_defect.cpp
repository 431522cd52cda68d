// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Defect.h"
#include "ReferenceDefects.h"

#include <QtTest>

#include <cmath>
#include <limits>
#include <new>
#include <random>
#include <type_traits>
#include <utility>
#include <vector>

using namespace FiberInspection;

Q_DECLARE_METATYPE(FiberInspection::Defect::Type)
Q_DECLARE_METATYPE(QVector<QPointF>)

namespace {
constexpr float infinity = std::numeric_limits<float>::infinity();
constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();

Defect withPixels(const QVector<QPointF> &pixels)
{
    Defect defect;
    defect.pixels = pixels;
    return defect;
}

/// Every field differs from a default one.
void fill(Defect &defect)
{
    defect.type = Defect::Type::Scratch;
    defect.pixels = {{1, 2}, {3.5, -4}};
    defect.enclosingCircle = Circle(5, 6, 7);
    defect.boundingRectPoints = {{1, 1}, {2, 1}, {2, 2}, {1, 2}};
    defect.boundingRectSize = QSize(7, 30);
    defect.size = 8.5F;
    defect.causesFailure = true;
}

#define COMPARE_WITH_FILLED(defect)                                                                                    \
    do {                                                                                                               \
        QCOMPARE((defect).type, Defect::Type::Scratch);                                                                \
        QCOMPARE((defect).pixels, (QVector<QPointF>{{1, 2}, {3.5, -4}}));                                              \
        QVERIFY((defect).enclosingCircle == Circle(5, 6, 7));                                                          \
        QCOMPARE((defect).boundingRectPoints, (QVector<QPointF>{{1, 1}, {2, 1}, {2, 2}, {1, 2}}));                     \
        QCOMPARE((defect).boundingRectSize, QSize(-1, -1));                                                            \
        QCOMPARE((defect).size, 8.5F);                                                                                 \
        QCOMPARE((defect).causesFailure, true);                                                                        \
        QCOMPARE((defect).maxScratchWidth, 7);                                                                         \
        QCOMPARE((defect).minScratchLength, 30);                                                                       \
    } while (false)
} // namespace

class TestDefect : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aDefaultDefectIsDefined()
    {
        // On memory that is anything but zero.
        alignas(Defect) unsigned char memory[sizeof(Defect)];
        std::fill(std::begin(memory), std::end(memory), static_cast<unsigned char>(0xA5));
        Defect *const defect = new (memory) Defect();

        QCOMPARE(defect->type, Defect::Type::Defect);
        QVERIFY(defect->pixels.isEmpty());
        QVERIFY(defect->enclosingCircle == Circle());
        QVERIFY(defect->boundingRectPoints.isEmpty());
        QCOMPARE(defect->boundingRectSize, QSize(-1, -1));
        QCOMPARE(defect->size, 0.0F);
        QCOMPARE(defect->causesFailure, false);
        QCOMPARE(defect->maxScratchWidth, 7);
        QCOMPARE(defect->minScratchLength, 30);
        defect->~Defect();
    }

    void copyingLeavesOutTheSizeOfTheRectangle()
    {
        Defect source;
        fill(source);
        const Defect copy(source);

        COMPARE_WITH_FILLED(copy);
        QCOMPARE(source.boundingRectSize, QSize(7, 30));
    }

    void assigningLeavesOutTheSizeOfTheRectangle()
    {
        Defect source;
        fill(source);
        Defect target;
        target.boundingRectSize = QSize(99, 99);
        target = source;

        COMPARE_WITH_FILLED(target);
        QCOMPARE(source.boundingRectSize, QSize(7, 30));
    }

    void movingFollowsTheRuleOfCopying()
    {
        static_assert(std::is_nothrow_move_constructible_v<Defect>);
        static_assert(std::is_nothrow_move_assignable_v<Defect>);
        Defect source;
        fill(source);

        Defect moved(std::move(source));
        COMPARE_WITH_FILLED(moved);

        moved.boundingRectSize = QSize(7, 30);
        Defect target;
        target.boundingRectSize = QSize(99, 99);
        target = std::move(moved);
        COMPARE_WITH_FILLED(target);
    }

    void assigningToItselfKeepsTheContent()
    {
        Defect defect;
        fill(defect);
        const Defect &itself = defect;
        defect = itself;

        COMPARE_WITH_FILLED(defect);

        Defect &sameAgain = defect;
        defect = std::move(sameAgain);
        COMPARE_WITH_FILLED(defect);
    }

    void whatAContainerHoldsIsACopy()
    {
        Defect source;
        fill(source);
        std::vector<Defect> vector{source};
        QVector<Defect> list{source};
        for (int i = 0; i < 100; ++i) { // through many reallocations
            vector.push_back(source);
            list.append(source);
        }

        for (const Defect &defect : vector)
            COMPARE_WITH_FILLED(defect);
        for (const Defect &defect : qAsConst(list))
            COMPARE_WITH_FILLED(defect);
        vector.erase(vector.begin());
        COMPARE_WITH_FILLED(vector.front());
    }

    void aCopySharesNothingWithItsSource()
    {
        Defect source;
        fill(source);
        Defect copy(source);
        copy.pixels.append(QPointF(9, 9));
        copy.boundingRectPoints.clear();

        QCOMPARE(source.pixels.size(), 2);
        QCOMPARE(source.boundingRectPoints.size(), 4);
    }

    void aScratchIsNarrowAndLong_data()
    {
        QTest::addColumn<QSize>("rectangle");
        QTest::addColumn<bool>("isScratch");
        QTest::newRow("7 x 30") << QSize(7, 30) << true;
        QTest::newRow("30 x 7") << QSize(30, 7) << true;
        QTest::newRow("8 x 30") << QSize(8, 30) << false;
        QTest::newRow("30 x 8") << QSize(30, 8) << false;
        QTest::newRow("7 x 29") << QSize(7, 29) << false;
        QTest::newRow("29 x 7") << QSize(29, 7) << false;
        QTest::newRow("a line") << QSize(0, 30) << true;
        QTest::newRow("a long line") << QSize(1000000, 0) << true;
        QTest::newRow("30 x 30") << QSize(30, 30) << false;
        QTest::newRow("7 x 7") << QSize(7, 7) << false;
        QTest::newRow("a point") << QSize(0, 0) << false;
        QTest::newRow("of a copy") << QSize(-1, -1) << false;
    }

    void aScratchIsNarrowAndLong()
    {
        QFETCH(QSize, rectangle);
        QFETCH(bool, isScratch);
        const Defect::Type expected = isScratch ? Defect::Type::Scratch : Defect::Type::Defect;

        for (const Defect::Type before : {Defect::Type::Defect, Defect::Type::Scratch}) {
            Defect defect;
            defect.type = before;
            defect.boundingRectSize = rectangle;

            QCOMPARE(defect.calculateType(), expected);
            QCOMPARE(defect.type, expected);
        }
    }

    void theTypeOfACopyIsAlwaysDefect()
    {
        Defect source;
        source.boundingRectSize = QSize(7, 30);
        QCOMPARE(source.calculateType(), Defect::Type::Scratch);
        Defect copy(source);
        QCOMPARE(copy.type, Defect::Type::Scratch);

        QCOMPARE(copy.calculateType(), Defect::Type::Defect);
    }

    void sizeIsTheDiameterInMicrometres_data()
    {
        QTest::addColumn<float>("radius");
        QTest::addColumn<float>("pixelSize");
        QTest::addColumn<float>("size");
        QTest::newRow("ten pixels") << 5.0F << 1.075F << 2.0F * 5.0F * 1.075F;
        QTest::newRow("one micrometre a pixel") << 2.5F << 1.0F << 5.0F;
        QTest::newRow("no radius") << 0.0F << 1.075F << 0.0F;
        QTest::newRow("no pixel size") << 5.0F << 0.0F << 0.0F;
        QTest::newRow("negative") << 5.0F << -1.0F << -10.0F;
        QTest::newRow("infinite") << infinity << 1.075F << infinity;
    }

    void sizeIsTheDiameterInMicrometres()
    {
        QFETCH(float, radius);
        QFETCH(float, pixelSize);
        QFETCH(float, size);
        Defect defect;
        defect.enclosingCircle.radius = radius;

        defect.calculateSize(pixelSize);

        QVERIFY(defect.size == size);
    }

    void closenessIsThatOfTheNearestPixels_data()
    {
        QTest::addColumn<QVector<QPointF>>("pixels");
        QTest::addColumn<QVector<QPointF>>("otherPixels");
        QTest::addColumn<float>("threshold");
        QTest::addColumn<bool>("close");
        using Points = QVector<QPointF>;
        QTest::newRow("exactly at the threshold") << Points{{0, 0}} << Points{{3, 4}} << 5.0F << true;
        QTest::newRow("just beyond it") << Points{{0, 0}} << Points{{3, 4}} << std::nextafter(5.0F, 0.0F) << false;
        QTest::newRow("the last pair counts") << Points{{0, 0}, {50, 50}} << Points{{90, 90}, {51, 50}} << 1.0F << true;
        QTest::newRow("no pair") << Points{{0, 0}, {50, 50}} << Points{{90, 90}, {52, 50}} << 1.0F << false;
        QTest::newRow("same pixel, threshold 0") << Points{{7, 7}} << Points{{7, 7}} << 0.0F << true;
        QTest::newRow("same pixel, negative threshold") << Points{{7, 7}} << Points{{7, 7}} << -0.5F << false;
        QTest::newRow("same pixel, not a number") << Points{{7, 7}} << Points{{7, 7}} << notANumber << false;
        QTest::newRow("far, infinite threshold") << Points{{-2e9, 0}} << Points{{2e9, 0}} << infinity << true;
        QTest::newRow("first has no pixel") << Points{} << Points{{0, 0}} << 100.0F << false;
        QTest::newRow("second has no pixel") << Points{{0, 0}} << Points{} << 100.0F << false;
        QTest::newRow("neither has") << Points{} << Points{} << infinity << false;
        QTest::newRow("fractions are cut off") << Points{{0.9, 0.9}} << Points{{1.1, 0.1}} << 1.0F << true;
        QTest::newRow("a fraction is no nearness") << Points{{0.9, 0}} << Points{{2.0, 0}} << 1.5F << false;
        QTest::newRow("toward zero below it") << Points{{-0.9, 0}} << Points{{0.9, 0}} << 0.0F << true;
        QTest::newRow("negative coordinates") << Points{{-10, -10}} << Points{{-13, -14}} << 5.0F << true;
        QTest::newRow("the whole range of int")
            << Points{{-2147483648.0, 0}} << Points{{2147483647.0, 0}} << 4294967040.0F << false;
        QTest::newRow("the whole range of int, wider")
            << Points{{-2147483648.0, 0}} << Points{{2147483647.0, 0}} << 4294967296.0F << true;
    }

    void closenessIsThatOfTheNearestPixels()
    {
        QFETCH(QVector<QPointF>, pixels);
        QFETCH(QVector<QPointF>, otherPixels);
        QFETCH(float, threshold);
        QFETCH(bool, close);
        const Defect defect = withPixels(pixels);
        const Defect other = withPixels(otherPixels);

        QCOMPARE(defect.isCloseTo(other, threshold), close);
        QCOMPARE(other.isCloseTo(defect, threshold), close);
        QCOMPARE(Reference::isCloseTo(defect, other, threshold), close);
    }

    void closenessIgnoresEverythingButThePixels()
    {
        Defect defect = withPixels({{0, 0}});
        Defect other = withPixels({{1, 0}});
        defect.type = Defect::Type::Scratch;
        other.enclosingCircle = Circle(1000, 1000, 1);

        QVERIFY(defect.isCloseTo(other, 1));
    }

    void closenessEqualsThePlainForm()
    {
        std::mt19937 random(20240611);
        const std::vector<float> thresholds{-1.0F, -0.0F, 0.0F, 1.0F, 1.41421354F, 1.41421366F, 2.23606801F, 3.72093F,
            5.0F, 12.5F, 1e9F, 3e38F, infinity, notANumber, std::numeric_limits<float>::denorm_min()};
        const auto randomDefect = [&random]() {
            std::uniform_real_distribution<double> coordinate(-12, 12);
            QVector<QPointF> pixels(static_cast<int>(random() % 4));
            for (QPointF &pixel : pixels)
                pixel =
                    random() % 50 == 0 ? QPointF(1e300, std::nan("")) : QPointF(coordinate(random), coordinate(random));
            return withPixels(pixels);
        };

        int closeOnes = 0;
        for (int run = 0; run < 20000; ++run) {
            const Defect defect = randomDefect();
            const Defect other = randomDefect();
            const float threshold = thresholds[random() % thresholds.size()];
            const bool expected = Reference::isCloseTo(defect, other, threshold);
            closeOnes += expected ? 1 : 0;
            QCOMPARE(defect.isCloseTo(other, threshold), expected);
        }
        QVERIFY(closeOnes > 2000 && closeOnes < 18000);
    }

    void closenessAtEveryRootOfAWholeNumber()
    {
        // A threshold that is the rounded distance itself, and its neighbours on both sides.
        for (int dx = 0; dx < 60; ++dx) {
            for (int dy = 0; dy <= dx; ++dy) {
                const Defect defect = withPixels({{0, 0}});
                const Defect other = withPixels({QPointF(dx, dy)});
                const auto distance = static_cast<float>(std::sqrt(double(dx * dx + dy * dy)));

                QVERIFY(defect.isCloseTo(other, distance));
                QVERIFY(defect.isCloseTo(other, std::nextafter(distance, infinity)));
                QVERIFY(!defect.isCloseTo(other, std::nextafter(distance, -infinity)));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestDefect)
#include "tst_defect.moc"
