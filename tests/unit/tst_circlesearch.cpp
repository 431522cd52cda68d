// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/CircleSearch_p.h"

#include <QtTest>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <set>
#include <vector>

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
    return {edgeThreshold, votesThreshold, minRadius, std::max(gray.cols, gray.rows)};
}
} // namespace

class tst_CircleSearch : public QObject
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
};

QTEST_APPLESS_MAIN(tst_CircleSearch)
#include "tst_circlesearch.moc"
