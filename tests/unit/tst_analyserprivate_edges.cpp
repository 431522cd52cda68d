// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"
#include "ReferenceImages.h"

#include <QtTest>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <limits>
#include <random>
#include <set>

using namespace FiberInspection;

namespace {
constexpr int highestInt = std::numeric_limits<int>::max();
constexpr int lowestInt = std::numeric_limits<int>::min();
constexpr float nanFloat = std::numeric_limits<float>::quiet_NaN();
constexpr float infinityFloat = std::numeric_limits<float>::infinity();

bool areEqual(const cv::Mat &a, const cv::Mat &b)
{
    return a.size() == b.size() && a.type() == b.type() && (a.empty() || cv::norm(a, b, cv::NORM_INF) == 0);
}

cv::Mat filled(int rows, int cols, int color)
{
    return {rows, cols, CV_8UC1, cv::Scalar::all(color)};
}

int countOf(const cv::Mat &mat, int color)
{
    return mat.empty() ? 0 : cv::countNonZero(mat == color);
}

/// Matrices, radii and colours of all kinds, the same ones in every run.
class RandomInput
{
public:
    cv::Mat grayImage()
    {
        cv::Mat mat(whole(0, 40), whole(0, 40), CV_8UC1);
        fill(mat, [this] { return whole(0, 255); });
        return mat;
    }

    /// Mostly edges, some pixels that are almost edges.
    cv::Mat edgeImage(const cv::Size &size)
    {
        cv::Mat mat(size, CV_8UC1);
        fill(mat, [this] { return whole(0, 9) < 7 ? 255 : whole(0, 1) * 254; });
        return mat;
    }

    float radius()
    {
        static const float special[] = {0, -0.0F, -1, -7.5F, nanFloat, infinityFloat, -infinityFloat, 1e30F, -1e30F,
            3e9F, 2147483648.0F, 16777216.0F, 1e-40F};
        switch (whole(0, 5)) {
        case 0:
            return special[whole(0, int(std::size(special)) - 1)];
        case 1:
            return float(whole(0, 30));
        case 2:
            return float(whole(0, 60)) / 2;
        case 3:
            return std::sqrt(float(whole(0, 900))); // the distance of a pixel
        default:
            return float(whole(-3000, 30000)) / 1000;
        }
    }

    int color()
    {
        static const int special[] = {lowestInt, -1000, -8, -1, 0, 1, 255, 256, 320, 1000, highestInt};
        return whole(0, 4) == 0 ? special[whole(0, int(std::size(special)) - 1)] : whole(0, 255);
    }

    int whole(int lowest, int highest) { return std::uniform_int_distribution<int>(lowest, highest)(mRandom); }

private:
    template <typename Color>
    void fill(cv::Mat &mat, Color nextColor)
    {
        for (int row = 0; row < mat.rows; ++row) {
            for (int col = 0; col < mat.cols; ++col)
                mat.at<uchar>(row, col) = uchar(nextColor());
        }
    }

    std::mt19937 mRandom{4711};
};
} // namespace

class TestAnalyserPrivateEdges : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    // --- blurImage

    void blurringSpreadsAPixelByTheBinomialKernel()
    {
        cv::Mat mat = filled(9, 9, 0);
        mat.at<uchar>(4, 4) = 255;

        const cv::Mat blurred = AnalyserPrivate::blurImage(mat);

        // 1 4 6 4 1 in both directions, out of 256.
        QCOMPARE(int(blurred.at<uchar>(4, 4)), 36);
        QCOMPARE(int(blurred.at<uchar>(4, 5)), 24);
        QCOMPARE(int(blurred.at<uchar>(5, 4)), 24);
        QCOMPARE(int(blurred.at<uchar>(4, 2)), 6);
        QCOMPARE(int(blurred.at<uchar>(2, 2)), 1);
        QCOMPARE(int(blurred.at<uchar>(4, 7)), 0);
        QCOMPARE(int(blurred.at<uchar>(1, 4)), 0);
    }

    void blurringLeavesItsInputAlone()
    {
        RandomInput input;
        const cv::Mat mat = input.edgeImage({20, 30});
        const cv::Mat before = mat.clone();

        const cv::Mat blurred = AnalyserPrivate::blurImage(mat);

        QVERIFY(areEqual(mat, before));
        QVERIFY(blurred.data != mat.data);
    }

    void blurringMirrorsTheImageAtItsBorder()
    {
        cv::Mat mat = filled(6, 6, 0);
        mat.col(1).setTo(160);

        const cv::Mat blurred = AnalyserPrivate::blurImage(mat);

        // The column at 1 is seen a second time at -1, and the border column only once.
        QCOMPARE(int(blurred.at<uchar>(3, 0)), 2 * 160 * 4 / 16);
        QCOMPARE(int(blurred.at<uchar>(3, 1)), 160 * (6 + 1) / 16);
    }

    void blurringAViewSeesThePixelsAroundIt()
    {
        RandomInput input;
        const cv::Mat mat = input.edgeImage({30, 30});
        const cv::Rect part(8, 7, 12, 13);
        cv::Mat whole;
        cv::GaussianBlur(mat, whole, cv::Size(5, 5), 0, 0);

        QVERIFY(areEqual(AnalyserPrivate::blurImage(mat(part)), whole(part)));
        QVERIFY(!areEqual(AnalyserPrivate::blurImage(mat(part).clone()), whole(part)));
    }

    // --- removeCoreCircle

    void noColorLeavesTheCoreAsItIs()
    {
        cv::Mat mat = filled(21, 21, 200);
        LogCapture log;

        AnalyserPrivate::removeCoreCircle(mat, 10, 0);

        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: claddingColor is 0. core won't be removed")});
        QCOMPARE(log.lines().constFirst().category, QStringLiteral("default"));
        QCOMPARE(countOf(mat, 200), 21 * 21);
    }

    void theCoreIsFilledNearTheCladdingColor()
    {
        cv::Mat mat = filled(201, 201, 250);
        LogCapture log;

        AnalyserPrivate::removeCoreCircle(mat, 160, 100);

        std::set<int> colors;
        for (const uchar color : cv::Mat_<uchar>(mat))
            colors.insert(color);
        // Twenty thousand draws leave out none of the eight, and the upper end is excluded.
        QCOMPARE(colors, (std::set<int>{96, 97, 98, 99, 100, 101, 102, 103, 250}));
        QVERIFY(log.lines().isEmpty());
    }

    void theFillIsUniform()
    {
        cv::Mat mat = filled(401, 401, 250);

        AnalyserPrivate::removeCoreCircle(mat, 400, 100);

        const int replaced = 401 * 401 - countOf(mat, 250);
        for (int color = 96; color < 104; ++color)
            QVERIFY(std::abs(countOf(mat, color) - replaced / 8) < replaced / 80); // over ten standard deviations
    }

    void theFillDiffersFromRunToRun()
    {
        cv::Mat first = filled(61, 61, 250);
        cv::Mat second = first.clone();

        AnalyserPrivate::removeCoreCircle(first, 50, 100);
        AnalyserPrivate::removeCoreCircle(second, 50, 100);

        QVERIFY(!areEqual(first, second));
    }

    void theFillWrapsAround_data()
    {
        QTest::addColumn<int>("claddingColor");
        QTest::addColumn<QVector<int>>("colors");
        QTest::newRow("below black") << 2 << QVector<int>{0, 1, 2, 3, 4, 5, 254, 255};
        QTest::newRow("above white") << 253 << QVector<int>{0, 249, 250, 251, 252, 253, 254, 255};
        QTest::newRow("negative") << -8 << QVector<int>{244, 245, 246, 247, 248, 249, 250, 251};
        QTest::newRow("one") << 1 << QVector<int>{0, 1, 2, 3, 4, 253, 254, 255};
        // The lowest int plus 4 ends in 0x04.
        QTest::newRow("lowest int") << lowestInt << QVector<int>{0, 1, 2, 3, 4, 5, 6, 7};
    }
    void theFillWrapsAround()
    {
        QFETCH(int, claddingColor);
        cv::Mat mat = filled(101, 101, 254);
        const cv::Mat before = mat.clone();

        AnalyserPrivate::removeCoreCircle(mat, 60, claddingColor);

        QVector<int> colors;
        for (const QPoint &pixel : Reference::corePixels(before, 60, claddingColor)) {
            const int color = mat.at<uchar>(pixel.x(), pixel.y());
            if (!colors.contains(color))
                colors << color;
        }
        std::sort(colors.begin(), colors.end());
        QTEST(colors, "colors");
    }

    void nothingIsBrighterThanAColorAboveWhite_data()
    {
        QTest::addColumn<int>("claddingColor");
        QTest::newRow("white") << 255;
        QTest::newRow("above white") << 256;
        QTest::newRow("highest int") << highestInt;
    }
    void nothingIsBrighterThanAColorAboveWhite()
    {
        QFETCH(int, claddingColor);
        cv::Mat mat = filled(31, 31, 255);

        AnalyserPrivate::removeCoreCircle(mat, 60, claddingColor);

        QCOMPARE(countOf(mat, 255), 31 * 31);
    }

    void theCoreEndsExactlyAtItsRadius()
    {
        cv::Mat mat = filled(41, 41, 250);

        AnalyserPrivate::removeCoreCircle(mat, 20, 100);

        QVERIFY(mat.at<uchar>(20, 30) != 250); // at a distance of 10
        QVERIFY(mat.at<uchar>(10, 20) != 250);
        QVERIFY(mat.at<uchar>(26, 28) != 250); // 6 and 8 make 10
        QCOMPARE(int(mat.at<uchar>(20, 31)), 250);
        QCOMPARE(int(mat.at<uchar>(27, 28)), 250);
    }

    void anOddDiameterEndsHalfAPixelFarther()
    {
        cv::Mat mat = filled(41, 41, 250);

        AnalyserPrivate::removeCoreCircle(mat, 21, 100);

        QVERIFY(mat.at<uchar>(20, 30) != 250);
        QVERIFY(mat.at<uchar>(27, 27) != 250); // 9.9
        QCOMPARE(int(mat.at<uchar>(20, 31)), 250);
        QCOMPARE(int(mat.at<uchar>(28, 27)), 250); // 10.6
    }

    void darkPixelsOfTheCoreSurvive()
    {
        cv::Mat mat = filled(41, 41, 250);
        mat.at<uchar>(20, 20) = 0;
        mat.at<uchar>(21, 20) = 99;
        mat.at<uchar>(20, 21) = 100;
        mat.at<uchar>(21, 21) = 101;

        for (int run = 0; run < 20; ++run) {
            cv::Mat painted = mat.clone();
            AnalyserPrivate::removeCoreCircle(painted, 20, 100);

            QCOMPARE(int(painted.at<uchar>(20, 20)), 0);
            QCOMPARE(int(painted.at<uchar>(21, 20)), 99);
            QCOMPARE(int(painted.at<uchar>(20, 21)), 100);
            QVERIFY(painted.at<uchar>(21, 21) >= 96 && painted.at<uchar>(21, 21) <= 103);
        }
    }

    void theFirstCoordinateOfTheCoreIsTheRow()
    {
        cv::Mat mat = filled(30, 20, 250); // middle: (10, 15), as row and column

        AnalyserPrivate::removeCoreCircle(mat, 2, 100);

        QCOMPARE(30 * 20 - countOf(mat, 250), 5);
        for (const QPoint &pixel : {QPoint(10, 15), QPoint(9, 15), QPoint(11, 15), QPoint(10, 14), QPoint(10, 16)})
            QVERIFY(mat.at<uchar>(pixel.x(), pixel.y()) != 250);
    }

    void aCoreWithoutUsableDiameterIsNotPainted_data()
    {
        QTest::addColumn<float>("diameter");
        QTest::newRow("negative") << -1.0F;
        QTest::newRow("not a number") << nanFloat;
        QTest::newRow("negative infinite") << -infinityFloat;
    }
    void aCoreWithoutUsableDiameterIsNotPainted()
    {
        QFETCH(float, diameter);
        cv::Mat mat = filled(11, 11, 250);

        AnalyserPrivate::removeCoreCircle(mat, diameter, 100);

        QCOMPARE(countOf(mat, 250), 11 * 11);
    }

    void aCoreOfOnePixel()
    {
        cv::Mat mat = filled(11, 11, 250);

        AnalyserPrivate::removeCoreCircle(mat, 0, 100);

        QCOMPARE(countOf(mat, 250), 11 * 11 - 1);
        QVERIFY(mat.at<uchar>(5, 5) != 250);
    }

    void anEndlessCoreIsTheWholeImage()
    {
        cv::Mat mat = filled(11, 11, 250);

        AnalyserPrivate::removeCoreCircle(mat, infinityFloat, 100);

        QCOMPARE(countOf(mat, 250), 0);
    }

    void paintingAViewStaysWithinIt()
    {
        cv::Mat mat = filled(40, 40, 250);
        cv::Mat view = mat(cv::Rect(10, 10, 20, 20));

        AnalyserPrivate::removeCoreCircle(view, 1000, 100);

        QCOMPARE(countOf(view, 250), 0);
        QCOMPARE(countOf(mat, 250), 40 * 40 - 20 * 20);
    }

    void paintingOtherMatricesDoesNoHarm_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("cols");
        QTest::addColumn<int>("type");
        QTest::newRow("colour") << 10 << 10 << int(CV_8UC3);
        QTest::newRow("float") << 10 << 10 << int(CV_32FC1);
        QTest::newRow("empty") << 0 << 0 << int(CV_8UC1);
        QTest::newRow("no rows") << 0 << 7 << int(CV_8UC1);
        QTest::newRow("no columns") << 7 << 0 << int(CV_8UC1);
        QTest::newRow("empty colour") << 0 << 0 << int(CV_8UC3);
    }
    void paintingOtherMatricesDoesNoHarm()
    {
        QFETCH(int, rows);
        QFETCH(int, cols);
        QFETCH(int, type);
        cv::Mat mat(rows, cols, type, cv::Scalar::all(1));
        LogCapture log;

        AnalyserPrivate::removeCoreCircle(mat, 10, 100);

        QVERIFY(log.lines().isEmpty());
        QCOMPARE(mat.type(), type);
        QCOMPARE(mat.rows, rows);
    }

    void thePaintedPixelsAreThoseOfThePlainForm()
    {
        RandomInput input;
        for (int i = 0; i < 3000; ++i) {
            const cv::Mat before = input.grayImage();
            const float diameter = 2 * input.radius();
            const int color = input.color();
            cv::Mat after = before.clone();
            {
                LogCapture log;
                AnalyserPrivate::removeCoreCircle(after, diameter, color);
                QCOMPARE(log.warnings().size(), color == 0 ? 1 : 0);
            }

            cv::Mat expected = before.clone();
            for (const QPoint &pixel : Reference::corePixels(before, diameter, color)) {
                uchar &painted = after.at<uchar>(pixel.x(), pixel.y());
                // Clamped colours keep their low byte out of this check; they have a test of their own.
                if (color > lowestInt + 4 && color < highestInt - 4) {
                    const int offset = int(uchar(painted - uchar(color) + 4));
                    QVERIFY(offset < 8);
                }
                painted = 1;
                expected.at<uchar>(pixel.x(), pixel.y()) = 1;
            }
            QVERIFY(areEqual(after, expected));
        }
    }

    // --- removeCladdingEdges

    void thePlainRimIsErased()
    {
        cv::Mat edges = filled(101, 101, 0);
        cv::circle(edges, {50, 50}, 30, cv::Scalar(255));
        QVERIFY(countOf(edges, 255) > 150);
        LogCapture log;

        AnalyserPrivate::removeCladdingEdges(edges, filled(101, 101, 200), 30, 200, 200);

        QCOMPARE(countOf(edges, 0), 101 * 101);
        QVERIFY(log.lines().isEmpty());
    }

    void darkNeighboursKeepAnEdge_data()
    {
        QTest::addColumn<int>("outward");
        QTest::addColumn<int>("inward");
        QTest::addColumn<bool>("isKept");
        // 0.8 times 200 outward, 0.8 times 100 inward
        QTest::newRow("plain") << 200 << 100 << false;
        QTest::newRow("at both limits") << 160 << 80 << false;
        QTest::newRow("darker outward") << 159 << 100 << true;
        QTest::newRow("darker inward") << 200 << 79 << true;
        QTest::newRow("darker on both sides") << 0 << 0 << true;
        QTest::newRow("bright") << 255 << 255 << false;
        QTest::newRow("the colours of the wrong sides") << 100 << 200 << true;
    }
    void darkNeighboursKeepAnEdge()
    {
        QFETCH(int, outward);
        QFETCH(int, inward);
        cv::Mat gray = filled(101, 101, 128);
        gray.at<uchar>(83, 50) = uchar(outward);
        gray.at<uchar>(77, 50) = uchar(inward);
        cv::Mat edges = filled(101, 101, 0);
        edges.at<uchar>(80, 50) = 255;

        AnalyserPrivate::removeCladdingEdges(edges, gray, 30, 100, 200);

        QTEST(edges.at<uchar>(80, 50) == 255, "isKept");
    }

    void fourFifthsOfAColorAreNotDarkYet()
    {
        for (int color = 5; color <= 255; color += 5) {
            for (const bool isOutward : {true, false}) {
                for (const int darker : {0, 1}) {
                    cv::Mat gray = filled(101, 101, 255);
                    gray.at<uchar>(isOutward ? 83 : 77, 50) = uchar(color / 5 * 4 - darker);
                    cv::Mat edges = filled(101, 101, 0);
                    edges.at<uchar>(80, 50) = 255;

                    AnalyserPrivate::removeCladdingEdges(edges, gray, 30, isOutward ? 0 : color, isOutward ? color : 0);

                    QCOMPARE(int(edges.at<uchar>(80, 50)), darker == 1 ? 255 : 0);
                }
            }
        }
    }

    void onlyTheRingAroundTheRimIsLookedAt_data()
    {
        QTest::addColumn<float>("radius");
        QTest::addColumn<QPoint>("pixel"); // x is the row
        QTest::addColumn<bool>("isErased");
        QTest::newRow("nearest") << 30.0F << QPoint(76, 50) << true;
        QTest::newRow("too near") << 30.0F << QPoint(75, 50) << false;
        QTest::newRow("farthest, off the axes") << 30.0F << QPoint(80, 66) << true; // 30 and 16 make 34
        QTest::newRow("too far, off the axes") << 30.0F << QPoint(80, 67) << false;
        QTest::newRow("nearest for a fraction") << 30.5F << QPoint(50, 76) << true;
        QTest::newRow("too near for a fraction") << 30.5F << QPoint(50, 75) << false;
        QTest::newRow("farthest for a fraction") << 30.5F << QPoint(71, 78) << true; // 21 and 28 make 35
        QTest::newRow("too far for a fraction") << 30.5F << QPoint(72, 78) << false;
        QTest::newRow("far outside") << 30.0F << QPoint(95, 50) << false;
        QTest::newRow("the middle") << 30.0F << QPoint(50, 50) << false;
        // The square of half side 34 around 50.5: its start belongs to it, its end does not.
        QTest::newRow("first row") << 30.0F << QPoint(16, 50) << true;
        QTest::newRow("first column") << 30.0F << QPoint(50, 16) << true;
        QTest::newRow("last row") << 30.0F << QPoint(83, 50) << true;
        QTest::newRow("row behind the last") << 30.0F << QPoint(84, 50) << false;
        QTest::newRow("column behind the last") << 30.0F << QPoint(50, 84) << false;
    }
    void onlyTheRingAroundTheRimIsLookedAt()
    {
        QFETCH(float, radius);
        QFETCH(QPoint, pixel);
        cv::Mat edges = filled(101, 101, 0);
        edges.at<uchar>(pixel.x(), pixel.y()) = 255;

        AnalyserPrivate::removeCladdingEdges(edges, filled(101, 101, 200), radius, 200, 200);

        QTEST(edges.at<uchar>(pixel.x(), pixel.y()) == 0, "isErased");
    }

    void theMiddlePixelOfASmallRimIsItsOwnNeighbour()
    {
        cv::Mat edges = filled(31, 31, 255);

        AnalyserPrivate::removeCladdingEdges(edges, filled(31, 31, 200), 3, 200, 200);

        QCOMPARE(int(edges.at<uchar>(15, 15)), 0);
        QCOMPARE(int(edges.at<uchar>(15, 18)), 0);
        QCOMPARE(int(edges.at<uchar>(15, 23)), 255);
    }

    void whatIsNoEdgeKeepsItsColor()
    {
        cv::Mat edges = filled(101, 101, 254);

        AnalyserPrivate::removeCladdingEdges(edges, filled(101, 101, 200), 30, 200, 200);

        QCOMPARE(countOf(edges, 254), 101 * 101);
    }

    void theFirstCoordinateOfTheRimIsTheRow()
    {
        cv::Mat edges = filled(90, 60, 0); // middle: (30, 45), as row and column
        edges.at<uchar>(40, 45) = 255;
        edges.at<uchar>(55, 30) = 255;

        AnalyserPrivate::removeCladdingEdges(edges, filled(90, 60, 200), 10, 200, 200);

        QCOMPARE(int(edges.at<uchar>(40, 45)), 0);
        QCOMPARE(int(edges.at<uchar>(55, 30)), 255);
    }

    void edgesWithoutNeighboursInTheImageStay()
    {
        cv::Mat edges = filled(40, 40, 255);

        AnalyserPrivate::removeCladdingEdges(edges, filled(40, 40, 200), 20, 200, 200);

        QCOMPARE(int(edges.at<uchar>(20, 0)), 255);
        QCOMPARE(int(edges.at<uchar>(20, 2)), 255); // its outward neighbour would be at -1
        QCOMPARE(int(edges.at<uchar>(20, 3)), 0);
        QCOMPARE(int(edges.at<uchar>(36, 20)), 0);
        QCOMPARE(int(edges.at<uchar>(37, 20)), 255);
    }

    void aSmallerGrayImageLeavesTheEdgesBeyondIt()
    {
        cv::Mat edges = filled(101, 101, 255);

        AnalyserPrivate::removeCladdingEdges(edges, filled(60, 101, 200), 30, 200, 200);

        QCOMPARE(int(edges.at<uchar>(20, 50)), 0);
        QCOMPARE(int(edges.at<uchar>(50, 80)), 0);
        QCOMPARE(int(edges.at<uchar>(80, 50)), 255);
    }

    void aRimWithoutUsableRadiusErasesNothing_data()
    {
        QTest::addColumn<float>("radius");
        QTest::newRow("not a number") << nanFloat;
        QTest::newRow("infinite") << infinityFloat;
        QTest::newRow("negative infinite") << -infinityFloat;
        QTest::newRow("huge") << 1e30F;
        QTest::newRow("larger than any int") << 3e9F;
        QTest::newRow("far below zero") << -20.0F;
    }
    void aRimWithoutUsableRadiusErasesNothing()
    {
        QFETCH(float, radius);
        cv::Mat edges = filled(31, 31, 255);

        AnalyserPrivate::removeCladdingEdges(edges, filled(31, 31, 200), radius, 200, 200);

        QCOMPARE(countOf(edges, 255), 31 * 31);
    }

    void theRimOfOtherMatricesIsRefused_data()
    {
        QTest::addColumn<int>("edgeType");
        QTest::addColumn<int>("grayType");
        QTest::newRow("colour edges") << int(CV_8UC3) << int(CV_8UC1);
        QTest::newRow("colour image") << int(CV_8UC1) << int(CV_8UC3);
        QTest::newRow("16-bit image") << int(CV_8UC1) << int(CV_16UC1);
        QTest::newRow("signed edges") << int(CV_8SC1) << int(CV_8UC1);
        QTest::newRow("both float") << int(CV_32FC1) << int(CV_32FC1);
    }
    void theRimOfOtherMatricesIsRefused()
    {
        QFETCH(int, edgeType);
        QFETCH(int, grayType);
        cv::Mat edges(31, 31, edgeType, cv::Scalar::all(255));
        const cv::Mat before = edges.clone();
        const cv::Mat gray(31, 31, grayType, cv::Scalar::all(200));
        LogCapture log;

        AnalyserPrivate::removeCladdingEdges(edges, gray, 10, 200, 200);

        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Image is not bit-scale")});
        QVERIFY(areEqual(edges, before));
    }

    void theRimInAViewIsMeasuredFromItsOwnMiddle()
    {
        cv::Mat edges = filled(120, 120, 255);
        cv::Mat view = edges(cv::Rect(10, 5, 101, 101));

        AnalyserPrivate::removeCladdingEdges(view, filled(101, 101, 200), 30, 200, 200);

        QCOMPARE(int(edges.at<uchar>(5 + 80, 10 + 50)), 0);
        QCOMPARE(countOf(edges, 0), countOf(view, 0));
    }

    void theErasedRimIsThatOfThePlainForm()
    {
        RandomInput input;
        int erasedPixels = 0;
        for (int i = 0; i < 6000; ++i) {
            const cv::Mat gray = input.grayImage();
            const bool hasOtherSize = input.whole(0, 7) == 0;
            const cv::Mat before =
                input.edgeImage(hasOtherSize ? cv::Size(input.whole(0, 40), input.whole(0, 40)) : gray.size());
            const float radius = input.radius();
            const int claddingColor = input.whole(0, 2) == 0 ? input.color() : input.whole(0, 120);
            const int colorAround = input.whole(0, 2) == 0 ? input.color() : input.whole(0, 120);

            cv::Mat expected = before.clone();
            Reference::removeCladdingEdges(expected, gray, radius, claddingColor, colorAround);
            cv::Mat edges = before.clone();
            AnalyserPrivate::removeCladdingEdges(edges, gray, radius, claddingColor, colorAround);

            QVERIFY2(areEqual(edges, expected),
                qPrintable(QStringLiteral("%1 x %2, radius %3").arg(gray.rows).arg(gray.cols).arg(double(radius))));
            erasedPixels += countOf(edges, 0) - countOf(before, 0);
        }
        QVERIFY(erasedPixels > 100000);
    }

    // --- nextPixel and prevPixel

    void thePixelBeyondALineFollowsItsDirection_data()
    {
        QTest::addColumn<QPoint>("end");
        QTest::addColumn<QPoint>("next");
        const auto row = [](const char *name, QPoint end, QPoint next) { QTest::newRow(name) << end << next; };
        row("along the first axis", {150, 100}, {153, 100});
        row("diagonal", {110, 110}, {113, 113});
        row("rather flat", {110, 104}, {113, 104});
        row("rather diagonal", {110, 106}, {113, 109});
        row("half-way is diagonal", {110, 105}, {113, 108});
        row("odd length, below half-way", {111, 105}, {114, 105});
        row("odd length, above half-way", {111, 106}, {114, 109});
        row("along the second axis", {100, 150}, {100, 153});
        row("rather steep", {104, 110}, {104, 113});
        row("steep, rather diagonal", {106, 110}, {109, 113});
        row("backward along the first axis", {50, 100}, {47, 100});
        row("backward along the second axis", {100, 50}, {100, 47});
        row("backward diagonal", {90, 90}, {87, 87});
        row("up and down", {110, 90}, {113, 87});
        row("down and up", {90, 110}, {87, 113});
        row("backward, rather flat", {90, 96}, {87, 96});
        row("backward, rather diagonal", {90, 94}, {87, 91});
        row("one step", {101, 100}, {104, 100});
        row("one diagonal step", {101, 99}, {104, 96});
        row("a point", {100, 100}, {100, 100});
    }
    void thePixelBeyondALineFollowsItsDirection()
    {
        QFETCH(QPoint, end);
        QFETCH(QPoint, next);

        QCOMPARE(AnalyserPrivate::nextPixel(100, 100, end.x(), end.y(), 3), next);
        QCOMPARE(AnalyserPrivate::nextPixel(QPoint(100, 100), end, 3), next);
        const QPoint prev = end - (next - end);
        QCOMPARE(AnalyserPrivate::prevPixel(100, 100, end.x(), end.y(), 3), prev);
        QCOMPARE(AnalyserPrivate::prevPixel(QPoint(100, 100), end, 3), prev);
    }

    void noDistanceGivesTheEndPoint()
    {
        QCOMPARE(AnalyserPrivate::nextPixel(3, 4, 50, 60, 0), QPoint(50, 60));
        QCOMPARE(AnalyserPrivate::prevPixel(3, 4, 50, 60, 0), QPoint(50, 60));
    }

    void aNegativeDistanceGoesTheOtherWay()
    {
        QCOMPARE(AnalyserPrivate::nextPixel(100, 100, 110, 110, -3), QPoint(107, 107));
        QCOMPARE(AnalyserPrivate::prevPixel(100, 100, 110, 110, -3), QPoint(113, 113));
    }

    void farCoordinatesDoNotOverflow()
    {
        QCOMPARE(AnalyserPrivate::nextPixel(lowestInt, 0, highestInt - 3, 0, 3), QPoint(highestInt, 0));
        QCOMPARE(AnalyserPrivate::nextPixel(highestInt, 0, lowestInt + 3, 0, 3), QPoint(lowestInt, 0));
        QCOMPARE(AnalyserPrivate::nextPixel(lowestInt, lowestInt, 0, 0, 3), QPoint(3, 3));
        QCOMPARE(AnalyserPrivate::nextPixel(0, 0, -1, 0, highestInt), QPoint(lowestInt, 0));
        QCOMPARE(AnalyserPrivate::prevPixel(lowestInt, 0, highestInt - 3, 0, 3), QPoint(highestInt - 6, 0));
        // What no int can hold stays at the end of the range.
        QCOMPARE(AnalyserPrivate::nextPixel(lowestInt, lowestInt, highestInt, highestInt, 3),
            QPoint(highestInt, highestInt));
        QCOMPARE(AnalyserPrivate::nextPixel(0, 0, lowestInt, 0, highestInt), QPoint(lowestInt, 0));
    }

    void thePixelsBeyondAndBeforeAgreeWithThePlainForm()
    {
        RandomInput input;
        for (int i = 0; i < 20000; ++i) {
            const int reach = i % 3 == 0 ? 5 : i % 3 == 1 ? 400 : 1000000000;
            const auto coordinate = [&] { return input.whole(-reach, reach); };
            const QPoint start(coordinate(), coordinate());
            const QPoint end(coordinate(), coordinate());
            const int distance = input.whole(-20, 20);
            const Reference::Pixel plainNext =
                Reference::nextPixel({start.x(), start.y()}, {end.x(), end.y()}, distance);
            const Reference::Pixel plainPrev =
                Reference::prevPixel({start.x(), start.y()}, {end.x(), end.y()}, distance);

            const QPoint next = AnalyserPrivate::nextPixel(start, end, distance);
            const QPoint prev = AnalyserPrivate::prevPixel(start, end, distance);

            QCOMPARE(next, QPoint(int(plainNext.x), int(plainNext.y)));
            QCOMPARE(prev, QPoint(int(plainPrev.x), int(plainPrev.y)));
            QCOMPARE(qint64(prev.x()) + next.x(), 2 * qint64(end.x()));
            QCOMPARE(qint64(prev.y()) + next.y(), 2 * qint64(end.y()));
        }
    }

    // --- removeEdgesWithinRing and applyZonesOnEdges

    void aRingOfOneRadiusErasesExactlyThatDistance()
    {
        cv::Mat edges = filled(41, 41, 255);

        AnalyserPrivate::removeEdgesWithinRing(edges, 10, 10);

        QCOMPARE(countOf(edges, 0), 12); // four on the axes, eight of 6 and 8
        for (const QPoint &pixel : {QPoint(30, 20), QPoint(10, 20), QPoint(20, 30), QPoint(20, 10), QPoint(26, 28),
                 QPoint(28, 26), QPoint(14, 12), QPoint(12, 14)})
            QCOMPARE(int(edges.at<uchar>(pixel.x(), pixel.y())), 0);
    }

    void aRingWithoutEndErasesEverythingOutside()
    {
        cv::Mat edges = filled(41, 41, 255);

        AnalyserPrivate::removeEdgesWithinRing(edges, 10, -1);

        QCOMPARE(int(edges.at<uchar>(0, 0)), 0);
        QCOMPARE(int(edges.at<uchar>(30, 20)), 0);
        QCOMPARE(int(edges.at<uchar>(29, 20)), 255);
        int inside = 0;
        for (int x = -9; x <= 9; ++x) {
            for (int y = -9; y <= 9; ++y)
                inside += x * x + y * y < 100 ? 1 : 0;
        }
        QCOMPARE(countOf(edges, 255), inside);
    }

    void onlyMinusOneMeansWithoutEnd_data()
    {
        QTest::addColumn<float>("outerRadius");
        QTest::addColumn<bool>("isEndless");
        QTest::newRow("exactly") << -1.0F << true;
        QTest::newRow("nearly") << -1.000001F << true;
        QTest::newRow("nearly, from above") << -0.999999F << true;
        QTest::newRow("off by a thousandth") << -1.001F << false;
        QTest::newRow("minus two") << -2.0F << false;
        QTest::newRow("not a number") << nanFloat << false;
        QTest::newRow("negative infinite") << -infinityFloat << false;
        QTest::newRow("infinite") << infinityFloat << true;
        QTest::newRow("zero") << 0.0F << false;
    }
    void onlyMinusOneMeansWithoutEnd()
    {
        QFETCH(float, outerRadius);
        QFETCH(bool, isEndless);
        cv::Mat edges = filled(11, 11, 255);

        AnalyserPrivate::removeEdgesWithinRing(edges, 2, outerRadius);

        QCOMPARE(int(edges.at<uchar>(0, 0)), isEndless ? 0 : 255);
        QCOMPARE(int(edges.at<uchar>(5, 5)), 255);
    }

    void aRingErasesNothingButEdges()
    {
        cv::Mat edges = filled(11, 11, 254);
        edges.at<uchar>(5, 5) = 255;

        AnalyserPrivate::removeEdgesWithinRing(edges, 0, -1);

        QCOMPARE(countOf(edges, 254), 11 * 11 - 1);
        QCOMPARE(int(edges.at<uchar>(5, 5)), 0);
    }

    void aRingWithoutWidthErasesNothing_data()
    {
        QTest::addColumn<float>("innerRadius");
        QTest::addColumn<float>("outerRadius");
        QTest::newRow("inner beyond outer") << 6.0F << 5.0F;
        QTest::newRow("inner not a number") << nanFloat << 5.0F;
        QTest::newRow("inner not a number, without end") << nanFloat << -1.0F;
        QTest::newRow("inner infinite") << infinityFloat << -1.0F;
        QTest::newRow("both negative") << -5.0F << -3.0F;
    }
    void aRingWithoutWidthErasesNothing()
    {
        QFETCH(float, innerRadius);
        QFETCH(float, outerRadius);
        cv::Mat edges = filled(21, 21, 255);

        AnalyserPrivate::removeEdgesWithinRing(edges, innerRadius, outerRadius);

        QCOMPARE(countOf(edges, 255), 21 * 21);
    }

    void theFirstCoordinateOfARingIsTheRow()
    {
        cv::Mat edges = filled(30, 20, 255); // middle: (10, 15), as row and column

        AnalyserPrivate::removeEdgesWithinRing(edges, 0, 0);

        QCOMPARE(countOf(edges, 0), 1);
        QCOMPARE(int(edges.at<uchar>(10, 15)), 0);
    }

    void ringsOfOtherMatricesAreRefused_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("colour") << int(CV_8UC3);
        QTest::newRow("signed") << int(CV_8SC1);
        QTest::newRow("16-bit") << int(CV_16UC1);
        QTest::newRow("float") << int(CV_32FC1);
    }
    void ringsOfOtherMatricesAreRefused()
    {
        QFETCH(int, type);
        cv::Mat edges(11, 11, type, cv::Scalar::all(255));
        const cv::Mat before = edges.clone();
        LogCapture log;

        AnalyserPrivate::removeEdgesWithinRing(edges, 0, -1);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Image is not bit-scale")});
        log.clear();

        AnalyserPrivate::applyZonesOnEdges(edges, ZoneSizes());
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: Image is not bit-scale")});
        QVERIFY(areEqual(edges, before));
    }

    void emptyEdgeMapsStayEmpty_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("cols");
        QTest::newRow("default") << 0 << 0;
        QTest::newRow("no rows") << 0 << 5;
        QTest::newRow("no columns") << 5 << 0;
    }
    void emptyEdgeMapsStayEmpty()
    {
        QFETCH(int, rows);
        QFETCH(int, cols);
        cv::Mat edges(rows, cols, CV_8UC1);
        LogCapture log;

        AnalyserPrivate::removeEdgesWithinRing(edges, 0, -1);
        AnalyserPrivate::applyZonesOnEdges(edges, ZoneSizes());
        AnalyserPrivate::removeCladdingEdges(edges, filled(11, 11, 200), 5, 200, 200);

        QVERIFY(edges.empty());
        QVERIFY(log.lines().isEmpty());
    }

    void theErasedRingIsThatOfThePlainForm()
    {
        RandomInput input;
        for (int i = 0; i < 6000; ++i) {
            const cv::Mat before = input.edgeImage(cv::Size(input.whole(0, 40), input.whole(0, 40)));
            const float innerRadius = input.radius();
            const float outerRadius = input.radius();
            cv::Mat expected = before.clone();
            Reference::removeEdgesWithinRing(expected, innerRadius, outerRadius);

            cv::Mat edges = before.clone();
            AnalyserPrivate::removeEdgesWithinRing(edges, innerRadius, outerRadius);

            QVERIFY2(areEqual(edges, expected),
                qPrintable(QStringLiteral("%1 to %2").arg(double(innerRadius)).arg(double(outerRadius))));
        }
    }

    void theZonesEndAtTheContactRadius()
    {
        cv::Mat edges = filled(41, 41, 255);
        cv::Mat expected = edges.clone();
        Reference::removeEdgesWithinRing(expected, 12, -1);

        AnalyserPrivate::applyZonesOnEdges(edges, {3, 6, 9, 12});

        QVERIFY(areEqual(edges, expected));
        QCOMPARE(int(edges.at<uchar>(32, 20)), 0);
        QCOMPARE(int(edges.at<uchar>(31, 20)), 255);
    }
};

QTEST_APPLESS_MAIN(TestAnalyserPrivateEdges)
#include "tst_analyserprivate_edges.moc"
