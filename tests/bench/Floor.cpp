// SPDX-License-Identifier: Apache-2.0
#include "Floor.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <vector>

void inspectionFloor(
    const std::string &imagePath, const std::string &resultPath, const cv::Rect &crop, int largestRadius)
{
    const cv::Mat image = cv::imread(imagePath, cv::IMREAD_COLOR);
    cv::Mat gray;
    cv::cvtColor(image, gray, cv::COLOR_RGB2GRAY);
    std::vector<cv::Vec3f> circles;
    cv::HoughCircles(gray, circles, cv::HOUGH_GRADIENT, 1.0, 60.0, 50.0, 30.0, largestRadius - 10, largestRadius);
    cv::Mat edges;
    cv::GaussianBlur(gray(crop), edges, cv::Size(5, 5), 0);
    cv::Canny(edges, edges, 10.0, 40.0, 3, false);
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(edges, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE);
    if (resultPath.empty())
        return;
    const cv::Mat result = image(crop).clone();
    cv::imwrite(resultPath, result);
}
