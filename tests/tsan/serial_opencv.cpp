// SPDX-License-Identifier: Apache-2.0
// Preloaded: the workers of OpenCV are not instrumented, so that everything they share would count as a race.
#include <opencv2/core/utility.hpp>

namespace {
const struct Serial
{
    Serial() { cv::setNumThreads(1); }
} serial;
} // namespace
