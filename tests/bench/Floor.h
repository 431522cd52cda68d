// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <opencv2/core.hpp>

#include <string>

/// The least that an inspection can cost: nothing but the calls to OpenCV that it cannot do without, on the same image.
/// @param resultPath of the result image; empty when none is written
/// @param crop the square around the fibre
/// @param largestRadius of the fibre, pixels
void inspectionFloor(
    const std::string &imagePath, const std::string &resultPath, const cv::Rect &crop, int largestRadius);
