// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/EnclosingCircle_p.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <random>

namespace FiberInspection {

namespace {
constexpr std::size_t fewPoints = 64; // up to here OpenCV is quick whatever the points look like
constexpr std::size_t fewLooks = 4000000; // at a point or a box: 25 milliseconds
constexpr std::size_t mostLooks = 200; // per point; contours of white noise need up to 160, others up to 30
constexpr float roundingAllowance = 1.0e-4F; // what OpenCV adds to a radius

struct Disc
{
    cv::Point2f center;
    float radius = 0;
};

double length(const cv::Point2f &vector)
{
    return std::sqrt(static_cast<double>(vector.x) * static_cast<double>(vector.x)
        + static_cast<double>(vector.y) * static_cast<double>(vector.y));
}

cv::Point2f toFloat(const cv::Point &point)
{
    return {static_cast<float>(point.x), static_cast<float>(point.y)};
}

/// The circle that has the two points as a diameter.
Disc discOver(const cv::Point &a, const cv::Point &b)
{
    const auto half = [](int first, int second) { return static_cast<float>(int64_t(first) + second) / 2.0F; };
    const auto difference = [](int first, int second) { return static_cast<float>(int64_t(first) - second); };
    return {{half(a.x, b.x), half(a.y, b.y)},
        static_cast<float>(length({difference(a.x, b.x), difference(a.y, b.y)})) / 2.0F + roundingAllowance};
}

/// The circle through three points: where the perpendicular bisectors of two sides meet. Points on a line give the
/// circle over the longest side.
Disc discThrough(const cv::Point2f &a, const cv::Point2f &b, const cv::Point2f &c)
{
    const cv::Point2f ab = b - a;
    const cv::Point2f ac = c - a;
    const cv::Point2f middleAb = (a + b) / 2.0F;
    const cv::Point2f middleAc = (a + c) / 2.0F;
    const float offsetAb = middleAb.x * ab.x + middleAb.y * ab.y;
    const float offsetAc = middleAc.x * ac.x + middleAc.y * ac.y;
    const float determinant = ab.x * ac.y - ab.y * ac.x;

    if (std::abs(determinant) <= roundingAllowance) {
        const auto square = [](const cv::Point2f &vector) { return vector.x * vector.x + vector.y * vector.y; };
        const float squareAb = square(a - b);
        const float squareAc = square(a - c);
        const float squareBc = square(b - c);
        const float radius = std::sqrt(std::max(squareAb, std::max(squareAc, squareBc))) * 0.5F + roundingAllowance;
        if (squareAb >= squareAc && squareAb >= squareBc)
            return {(a + b) * 0.5F, radius};
        return {squareAc >= squareBc ? (a + c) * 0.5F : (b + c) * 0.5F, radius};
    }

    const cv::Point2f center(
        (offsetAb * ac.y - offsetAc * ab.y) / determinant, (ab.x * offsetAc - ac.x * offsetAb) / determinant);
    const cv::Point2f spoke = center - a;
    return {center, std::sqrt(spoke.x * spoke.x + spoke.y * spoke.y) + roundingAllowance};
}

/// The points of a contour with the boxes around runs of them: a run whose box lies inside of a circle is passed over
/// as a whole. Neighbours on a contour lie close together, so the boxes are small.
class PointRuns
{
public:
    explicit PointRuns(const std::vector<cv::Point> &points)
        : mPoints(points)
    {
        std::vector<Box> boxes;
        boxes.reserve(points.size());
        for (const cv::Point &point : points)
            boxes.push_back({point.x, point.x, point.y, point.y});
        while (boxes.size() > runLength) {
            boxes = boxesAroundRuns(boxes);
            mLevels.push_back(boxes);
        }
    }

    const cv::Point &operator[](std::size_t index) const { return mPoints[index]; }
    std::size_t size() const { return mPoints.size(); }

    /// Whether the points were looked at so often that their order must be a bad one. Then no point is outside any
    /// more.
    bool isExhausted() const { return mLooks > std::max(fewLooks, mostLooks * mPoints.size()); }

    /// The first point from `from` on, before `end`, that is not inside of the circle; `end` if there is none.
    /// @param isInside the exact test of one point
    template <typename IsInside>
    std::size_t firstOutside(std::size_t from, std::size_t end, const Disc &disc, IsInside isInside) const
    {
        while (from < end && !isExhausted()) {
            ++mLooks;
            if (const std::size_t passed = pointsToPass(from, end, disc))
                from += passed;
            else if (isInside(mPoints[from], disc))
                ++from;
            else
                return from;
        }
        return end;
    }

private:
    static constexpr std::size_t runLength = 8;

    struct Box
    {
        int left = 0;
        int right = 0;
        int top = 0;
        int bottom = 0;
    };

    static std::vector<Box> boxesAroundRuns(const std::vector<Box> &boxes)
    {
        std::vector<Box> result;
        result.reserve(boxes.size() / runLength + 1);
        for (std::size_t i = 0; i < boxes.size(); ++i) {
            const Box &box = boxes[i];
            if (i % runLength == 0)
                result.push_back(box);
            Box &around = result.back();
            around = {std::min(around.left, box.left), std::max(around.right, box.right), std::min(around.top, box.top),
                std::max(around.bottom, box.bottom)};
        }
        return result;
    }

    /// True only if every point of the box passes the exact test, with all the roundings of that.
    static bool isSurelyInside(const Box &box, const Disc &disc)
    {
        constexpr double safety = 1 - 1e-5;
        const auto farther = [](int low, int high, float center) {
            return std::max(std::abs(static_cast<double>(center) - low), std::abs(static_cast<double>(center) - high));
        };
        const double dx = farther(box.left, box.right, disc.center.x);
        const double dy = farther(box.top, box.bottom, disc.center.y);
        const double reach = static_cast<double>(disc.radius) * safety;
        return dx * dx + dy * dy < reach * reach;
    }

    /// Length of the longest run that starts here, ends before `end`, and lies inside of the circle; 0 if none does.
    std::size_t pointsToPass(std::size_t from, std::size_t end, const Disc &disc) const
    {
        std::size_t passed = 0;
        std::size_t length = runLength;
        for (const std::vector<Box> &boxes : mLevels) {
            if (from % length != 0 || end - from < length || !isSurelyInside(boxes[from / length], disc))
                break;
            passed = length;
            length *= runLength;
        }
        return passed;
    }

    const std::vector<cv::Point> &mPoints;
    mutable std::size_t mLooks = 0;
    std::vector<std::vector<Box>> mLevels; ///< boxes around 8 points, around 64, and so on
};

bool isInside(const cv::Point &point, const Disc &disc)
{
    return length(disc.center - toFloat(point)) < static_cast<double>(disc.radius);
}

/// As isInside(), with the distance rounded first: OpenCV's outermost loop does it so.
bool isInsideRounded(const cv::Point &point, const Disc &disc)
{
    return static_cast<float>(length(disc.center - toFloat(point))) < disc.radius;
}

/// The smallest circle around the points before j that has points i and j on it.
Disc discWithTwoOnRim(const PointRuns &points, std::size_t i, std::size_t j)
{
    Disc disc = discOver(points[j], points[i]);
    for (std::size_t k = 0; (k = points.firstOutside(k, j, disc, isInside)) < j; ++k) {
        const Disc larger = discThrough(toFloat(points[i]), toFloat(points[j]), toFloat(points[k]));
        if (larger.radius > 0)
            disc = larger;
    }
    return disc;
}

/// The smallest circle around the points before i that has point i on it.
Disc discWithOneOnRim(const PointRuns &points, std::size_t i)
{
    Disc disc = discOver(points[0], points[i]);
    for (std::size_t j = 1; (j = points.firstOutside(j, i, disc, isInside)) < i; ++j) {
        const Disc larger = discWithTwoOnRim(points, i, j);
        if (larger.radius > 0)
            disc = larger;
    }
    return disc;
}

/// E. Welzl, Smallest enclosing disks (balls and ellipsoids), 1991, with the points in their given order.
Disc smallestDisc(const PointRuns &points)
{
    Disc disc = discOver(points[0], points[1]);
    for (std::size_t i = 2; (i = points.firstOutside(i, points.size(), disc, isInsideRounded)) < points.size(); ++i) {
        const Disc larger = discWithOneOnRim(points, i);
        if (larger.radius > 0)
            disc = larger;
    }
    return disc;
}

/// The corners of the points' hull, always in the same random order: in that the search takes linear time.
std::vector<cv::Point> shuffledHull(const std::vector<cv::Point> &points)
{
    std::vector<cv::Point> hull;
    cv::convexHull(points, hull);
    std::shuffle(hull.begin(), hull.end(), std::minstd_rand());
    return hull;
}
} // namespace

Circle smallestEnclosingCircle(const std::vector<cv::Point> &points)
{
    Disc disc;
    if (points.size() <= fewPoints) {
        cv::minEnclosingCircle(points, disc.center, disc.radius);
    } else {
        const PointRuns runs(points);
        disc = smallestDisc(runs);
        if (runs.isExhausted())
            cv::minEnclosingCircle(shuffledHull(points), disc.center, disc.radius);
    }
    return {disc.center.x, disc.center.y, disc.radius};
}

} // namespace FiberInspection
