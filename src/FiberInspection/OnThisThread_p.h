// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <opencv2/core.hpp>

namespace FiberInspection {

/// On the calling thread: OpenCV does not share out what is nested in a loop of its own. Of one photograph its threads
/// gain little, and they stand in the way of those who inspect many at once. There is one mark for such a loop in the
/// process, and of inspections that overlap the first one to end takes it away from all.
template <typename Run>
void onThisThread(Run run)
{
    cv::parallel_for_(cv::Range(0, 1), [&run](const cv::Range &) { run(); });
}

} // namespace FiberInspection
