// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/CircleSearch_p.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>

namespace FiberInspection {

namespace {
constexpr double alwaysAffordable = 2 << 20; // pixels; no pattern in so few keeps the search busy for more than seconds
constexpr double mostComparisons = 1e11; // three seconds of a processor; photographs of end faces need up to 1e8

/// The points of the edges, and the way across the edge at each of them.
struct Edges
{
    cv::Mat acrossX;
    cv::Mat acrossY;
    cv::Mat points;

    Edges(const cv::Mat &gray, double threshold)
    {
        cv::Sobel(gray, acrossX, CV_16SC1, 1, 0, 3, 1, 0, cv::BORDER_REPLICATE);
        cv::Sobel(gray, acrossY, CV_16SC1, 0, 1, 3, 1, 0, cv::BORDER_REPLICATE);
        cv::Canny(acrossX, acrossY, points, std::max(1.0, threshold / 2), threshold);
    }
};

/// Each point of an edge votes for the centres of the circles whose rim it may be a part of.
class Votes
{
public:
    Votes(const Edges &edges, int minRadius, int maxRadius)
        : mVotes(cv::Mat::zeros(edges.points.size() + cv::Size(2, 2), CV_16UC1)) // with a frame of one pixel
    {
        for (int y = 0; y < edges.points.rows; ++y) {
            const auto *const isPoint = edges.points.ptr<uchar>(y);
            const auto *const acrossX = edges.acrossX.ptr<short>(y);
            const auto *const acrossY = edges.acrossY.ptr<short>(y);
            for (int x = 0; x < edges.points.cols; ++x) {
                if (isPoint[x] == 0)
                    continue;
                const cv::Point2f point = cv::Point(x, y);
                const cv::Point2f across = cv::Point(acrossX[x], acrossY[x]);
                const cv::Point2f step = across / std::max(1.0, cv::norm(across));
                vote(point, step, minRadius, maxRadius);
                vote(point, -step, minRadius, maxRadius);
            }
        }
    }

    /// How many pixels have more votes than the threshold and than those beside them.
    double centres(double threshold) const
    {
        double count = 0;
        for (int y = 1; y < mVotes.rows - 1; ++y) {
            const auto *const above = mVotes.ptr<ushort>(y - 1);
            const auto *const votes = mVotes.ptr<ushort>(y);
            const auto *const below = mVotes.ptr<ushort>(y + 1);
            for (int x = 1; x < mVotes.cols - 1; ++x) {
                const bool isPeak =
                    votes[x] > votes[x - 1] && votes[x] >= votes[x + 1] && votes[x] > above[x] && votes[x] >= below[x];
                count += votes[x] > threshold && isPeak ? 1 : 0;
            }
        }
        return count;
    }

private:
    void vote(const cv::Point2f &point, const cv::Point2f &step, int minRadius, int maxRadius)
    {
        const cv::Rect image({1, 1}, mVotes.size() - cv::Size(2, 2));
        cv::Point2f centre = point + step * minRadius + cv::Point2f(1, 1);
        for (int radius = minRadius; radius <= maxRadius; ++radius, centre += step) {
            const cv::Point pixel = centre;
            if (!image.contains(pixel))
                return;
            ushort &votes = mVotes.at<ushort>(pixel);
            votes = std::max(votes, static_cast<ushort>(votes + 1)); // stays at the largest number
        }
    }

    cv::Mat mVotes;
};
} // namespace

bool CircleSearch::isAffordable(const cv::Mat &gray) const
{
    const auto pixels = static_cast<double>(gray.total());
    if (pixels <= alwaysAffordable)
        return true;

    const Edges edges(gray, edgeThreshold);
    const double points = cv::countNonZero(edges.points);
    const double votes = 2 * points * (maxRadius - minRadius + 1);
    const double mostCentres = std::min(pixels / 2, votes / std::max(1.0, votesThreshold));
    if (points * mostCentres <= mostComparisons)
        return true;
    return points * Votes(edges, minRadius, maxRadius).centres(votesThreshold) <= mostComparisons;
}

} // namespace FiberInspection
