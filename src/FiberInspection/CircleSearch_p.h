// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

namespace cv {
class Mat;
} // namespace cv

namespace FiberInspection {

/// A search by cv::HoughCircles() with HOUGH_GRADIENT at full resolution, as far as its work depends on it.
struct VANTORBASE_EXPORT CircleSearch
{
    double edgeThreshold = 0; ///< the upper one of Canny; the lower one is half of it
    double votesThreshold = 0;
    int minRadius = 0;
    int maxRadius = 0;
    double distance = 1; ///< between the centres of circles, at least, or only one is kept

    /// How many pixels of this grey image OpenCV takes for possible centres.
    double centres(const cv::Mat &gray) const;

    /// Whether the search on this grey image ends within seconds. It compares every possible centre with every point of
    /// an edge, and every circle with those that are kept: a picture of a few kilobytes that is all stripes would keep
    /// it busy for minutes.
    bool isAffordable(const cv::Mat &gray) const;
};

} // namespace FiberInspection
