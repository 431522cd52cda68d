// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/CircleSearch_p.h"

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>

namespace FiberInspection {

namespace {
constexpr double mostComparisons = 2e9; // at most five seconds of a processor; end faces need up to 1e8
constexpr double mostBySize = 5 * mostComparisons; // known patterns need up to 22 % of it: 2.2e9, or 5.5 seconds
constexpr double densest = 0.866; // of their distance squared, the place of each point where they lie closest together
constexpr int pixelBits = 10; // places are in fractions of a pixel

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

/// Each point of an edge votes for the centres of the circles whose rim it may be a part of. Rounded as by OpenCV: on a
/// pattern that repeats itself, votes that meet in one pixel there are spread over four by any other way.
class Votes
{
public:
    Votes(const Edges &edges, int minRadius, int maxRadius)
        : mImage(edges.points.size())
        , mVotes(cv::Mat::zeros(mImage + cv::Size(1, 1), CV_32SC1))
    {
        for (int y = 0; y < edges.points.rows; ++y) {
            const auto *const isPoint = edges.points.ptr<uchar>(y);
            const auto *const acrossX = edges.acrossX.ptr<short>(y);
            const auto *const acrossY = edges.acrossY.ptr<short>(y);
            for (int x = 0; x < edges.points.cols; ++x) {
                const auto dx = static_cast<float>(acrossX[x]);
                const auto dy = static_cast<float>(acrossY[x]);
                const float length = std::sqrt(dx * dx + dy * dy);
                if (isPoint[x] == 0 || length < 1)
                    continue;
                const Place point = Place(x, y) * (1 << pixelBits);
                const Place step(cvRound(dx * (1 << pixelBits) / length), cvRound(dy * (1 << pixelBits) / length));
                vote(point, step, minRadius, maxRadius);
                vote(point, -step, minRadius, maxRadius);
            }
        }
    }

    /// How many pixels have more votes than the threshold and than those beside them. To OpenCV the first row and the
    /// first column are the frame, so the last ones are not.
    double centres(double threshold) const
    {
        double count = 0;
        for (int y = 1; y < mVotes.rows - 1; ++y) {
            const auto *const above = mVotes.ptr<int>(y - 1);
            const auto *const votes = mVotes.ptr<int>(y);
            const auto *const below = mVotes.ptr<int>(y + 1);
            for (int x = 1; x < mVotes.cols - 1; ++x) {
                const bool isPeak =
                    votes[x] > votes[x - 1] && votes[x] >= votes[x + 1] && votes[x] > above[x] && votes[x] >= below[x];
                count += votes[x] > threshold && isPeak ? 1 : 0;
            }
        }
        return count;
    }

private:
    using Place = cv::Point2l; // any radius fits

    void vote(const Place &point, const Place &step, int minRadius, int maxRadius)
    {
        Place centre = point + step * minRadius;
        for (int radius = minRadius; radius <= maxRadius; ++radius, centre += step) {
            const cv::Point2l at(centre.x >> pixelBits, centre.y >> pixelBits);
            if (at.x < 0 || at.x >= mImage.width || at.y < 0 || at.y >= mImage.height)
                return;
            ++mVotes.ptr<int>(static_cast<int>(at.y))[at.x];
        }
    }

    const cv::Size mImage;
    cv::Mat mVotes; ///< with a row and a column behind the last ones
};

/// The pixels of the square in which a circle around a centre lies, at most.
double pixelsAround(const cv::Size &image, int maxRadius)
{
    const double width = 2.0 * maxRadius + 1;
    return std::min<double>(width, image.width) * std::min<double>(width, image.height);
}

/// How many circles are kept, at most.
double mostKept(const cv::Size &image, double distance)
{
    return (image.width + distance) * (image.height + distance) / (densest * distance * distance);
}

/// Each centre is compared with points, and then, as that of a circle, with the circles that are kept.
double comparisons(double centres, double points, double kept)
{
    return centres * (points + std::min(centres, kept));
}
} // namespace

double CircleSearch::centres(const cv::Mat &gray) const
{
    return Votes(Edges(gray, edgeThreshold), minRadius, maxRadius).centres(votesThreshold);
}

bool CircleSearch::isAffordable(const cv::Mat &gray) const
{
    const double halfOfThem = static_cast<double>(gray.total()) / 2; // no two centres are neighbours
    const double around = pixelsAround(gray.size(), maxRadius);
    const double kept = mostKept(gray.size(), distance);
    if (comparisons(halfOfThem, around, kept) <= mostBySize)
        return true;

    const Edges edges(gray, edgeThreshold);
    const double points = cv::countNonZero(edges.points);
    const bool isByPoint = points < static_cast<double>(maxRadius) * maxRadius; // otherwise OpenCV scans the square
    const double compared = isByPoint ? points : around;
    const double votes = 2 * points * (static_cast<double>(maxRadius) - minRadius + 1);
    const double mostCentres = std::min(halfOfThem, votes / std::max(1.0, votesThreshold));
    if (comparisons(mostCentres, compared, kept) <= mostComparisons)
        return true;
    const double centres = Votes(edges, minRadius, maxRadius).centres(votesThreshold);
    return comparisons(centres, compared, kept) <= mostComparisons;
}

} // namespace FiberInspection
