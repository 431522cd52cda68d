// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/CircleSearch_p.h"

#include <QtTest>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <set>
#include <vector>

Q_DECLARE_METATYPE(cv::Size)

using FiberInspection::CircleSearch;

namespace {
constexpr double edgeThreshold = 50;

cv::Mat noise(const cv::Size &size, int seed)
{
    cv::Mat mat(size, CV_8UC1);
    cv::RNG(static_cast<uint64>(seed)).fill(mat, cv::RNG::UNIFORM, 0, 256);
    return mat;
}

/// Without a largest radius, OpenCV answers with the centres themselves; as far as they lie that much apart.
std::vector<cv::Vec3f> centresOfOpenCv(const cv::Mat &gray, double votesThreshold, int minRadius)
{
    constexpr double anyDistance = 0.25;
    constexpr int centresOnly = -1;
    std::vector<cv::Vec3f> centres;
    cv::HoughCircles(
        gray, centres, cv::HOUGH_GRADIENT, 1, anyDistance, edgeThreshold, votesThreshold, minRadius, centresOnly);
    return centres;
}

CircleSearch searchOf(const cv::Mat &gray, double votesThreshold, int minRadius)
{
    return {edgeThreshold, votesThreshold, minRadius, std::max(gray.cols, gray.rows), 1};
}

/// As in a photograph of that width, whose cladding is 135 of 860 micrometres wide at most.
CircleSearch searchOfPhotograph(const cv::Mat &gray)
{
    const int radius = gray.cols * 135 / 2 / 860;
    return {edgeThreshold, 30, std::max(0, radius - 10), std::max(1, radius), 60};
}

cv::Mat tiled(const QByteArray &tile, const cv::Size &size)
{
    constexpr int side = 4;
    cv::Mat mat(size, CV_8UC1);
    for (int y = 0; y < mat.rows; ++y) {
        for (int x = 0; x < mat.cols; ++x)
            mat.at<uchar>(y, x) = static_cast<uchar>(tile.at(y % side * side + x % side));
    }
    return mat;
}
} // namespace

class TestCircleSearch : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void asManyCentresAreCountedAsOpenCvFinds()
    {
        std::size_t found = 0;
        std::set<float> rows;
        std::set<float> columns;
        for (int round = 0; round < 300; ++round) {
            cv::RNG random(static_cast<uint64>(round + 1));
            const cv::Size size(random.uniform(3, 60), random.uniform(3, 60));
            cv::Mat mat = noise(size, round + 1);
            if (round % 2 == 0) // fewer edges, and longer ones
                cv::GaussianBlur(mat, mat, cv::Size(5, 5), 0);
            const int votes = random.uniform(1, 9);
            const int minRadius = random.uniform(0, 12);
            const std::vector<cv::Vec3f> expected = centresOfOpenCv(mat, votes, minRadius);

            QCOMPARE(searchOf(mat, votes, minRadius).centres(mat), double(expected.size()));

            found += expected.size();
            for (const cv::Vec3f &centre : expected) {
                columns.insert(centre[0] + 0.5F - float(size.width));
                rows.insert(centre[1] + 0.5F - float(size.height));
            }
        }
        QVERIFY(found > 3000);
        QVERIFY(columns.count(0) == 1 && rows.count(0) == 1); // the last ones
    }

    void centresInTheLastRowAndColumnCount_data()
    {
        QTest::addColumn<QPoint>("centre");
        QTest::newRow("last row") << QPoint(60, 100);
        QTest::newRow("last column") << QPoint(120, 50);
        QTest::newRow("both") << QPoint(120, 100);
    }
    void centresInTheLastRowAndColumnCount()
    {
        QFETCH(const QPoint, centre);
        cv::Mat mat(100, 120, CV_8UC1, cv::Scalar(40));
        // Just outside: what votes for its centre is rounded towards the inside.
        cv::circle(mat, {centre.x(), centre.y()}, 35, cv::Scalar(200), cv::FILLED, cv::LINE_AA);
        constexpr double votes = 25; // those beside it have fewer
        const std::vector<cv::Vec3f> expected = centresOfOpenCv(mat, votes, 30);
        QVERIFY(!expected.empty());
        for (const cv::Vec3f &found : expected)
            QVERIFY(int(found[0]) == mat.cols - 1 || int(found[1]) == mat.rows - 1);

        QCOMPARE(searchOf(mat, votes, 30).centres(mat), double(expected.size()));
    }

    // All of them are compared with the thousands that are kept.
    void aPictureOfCountlessSmallCirclesIsTooMuch_data()
    {
        QTest::addColumn<int>("height");
        QTest::addColumn<bool>("isAffordable");
        QTest::newRow("far too much") << 81067 << false;
        QTest::newRow("just too much") << 28000 << false;
        QTest::newRow("just not") << 26800 << true;
    }
    void aPictureOfCountlessSmallCirclesIsTooMuch()
    {
        QFETCH(const int, height);
        QFETCH(const bool, isAffordable);
        const QByteArray centreInEveryEighthPixel(
            "\x00\xA8\xA8\xA8\x00\x00\x00\x00\x00\xA8\xA8\xA8\x00\xA8\x00\xA8", 16);
        const cv::Mat mat = tiled(centreInEveryEighthPixel, {206, height});

        QCOMPARE(searchOfPhotograph(mat).isAffordable(mat), isAffordable);
    }

    void anHonestPictureOfAnySizeIsSearched_data()
    {
        QTest::addColumn<cv::Size>("size");
        QTest::addColumn<int>("noiseLevel"); // gray levels
        QTest::newRow("as from the camera") << cv::Size(800, 600) << 8;
        QTest::newRow("as large as can be, and all of it noise") << cv::Size(4096, 4096) << 255;
    }
    void anHonestPictureOfAnySizeIsSearched()
    {
        QFETCH(const cv::Size, size);
        QFETCH(const int, noiseLevel);
        cv::Mat mat(size, CV_8UC1, cv::Scalar(90));
        const cv::Point middle(size.width / 2, size.height / 2);
        const int radius = size.width * 62 / 860;
        cv::circle(mat, middle, radius, cv::Scalar(160), cv::FILLED, cv::LINE_AA);
        cv::circle(mat, middle, radius / 14, cv::Scalar(220), cv::FILLED, cv::LINE_AA);
        cv::addWeighted(mat, 1, noise(size, 1), noiseLevel / 255.0, -noiseLevel / 2.0, mat);

        QVERIFY(searchOfPhotograph(mat).isAffordable(mat));
    }
};

QTEST_APPLESS_MAIN(TestCircleSearch)
#include "tst_circlesearch.moc"
