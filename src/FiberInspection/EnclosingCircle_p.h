// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Geometry.h"
#include "VantorBase_export.h"

#include <opencv2/core/types.hpp>

#include <vector>

namespace FiberInspection {

/// The smallest circle around the points, bit by bit that of cv::minEnclosingCircle, whose time grows with the square
/// or the cube of the length of a winding contour. The points must not be empty.
/// Where their order makes this search slow, too, as that of a spiral does, the last bits may differ.
VANTORBASE_EXPORT Circle smallestEnclosingCircle(const std::vector<cv::Point> &points);

} // namespace FiberInspection
