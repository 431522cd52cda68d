// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Geometry.h"

#include <QPoint>
#include <QRect>
#include <QString>
#include <QtGlobal>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <cmath>
#include <limits>
#include <vector>

/// The image functions in their plainest form: slow, one statement per sentence of the rule, no shared parts with the
/// library. Where the rule would read beyond the image or never end, what lies beyond is left out.
namespace Reference {

using FiberInspection::Circle;

inline float distance(int x1, int y1, int x2, int y2)
{
    return static_cast<float>(std::sqrt(std::pow(double(x1) - double(x2), 2) + std::pow(double(y1) - double(y2), 2)));
}

/// Mean of the pixels that are accepted in the square around the middle; x is the row.
template <typename Accepts>
int meanAroundCenter(const cv::Mat &mat, float radius, Accepts accepts)
{
    if (std::isnan(radius) || std::isinf(radius))
        return 0;
    const float cx = float(mat.cols) / 2;
    const float cy = float(mat.rows) / 2;
    quint64 sum = 0;
    quint64 count = 0;
    for (int x = 0; x < mat.rows; ++x) {
        if (float(x) < std::trunc(cx - radius) || !(float(x) < cx + radius))
            continue;
        for (int y = 0; y < mat.cols; ++y) {
            if (float(y) < std::trunc(cy - radius) || !(float(y) < cy + radius))
                continue;
            const int color = mat.at<uchar>(x, y);
            if (!accepts(distance(int(cx), int(cy), x, y), color))
                continue;
            sum += quint64(color);
            ++count;
        }
    }
    return count == 0 ? 0 : int(sum / count);
}

inline int claddingColor(const cv::Mat &mat, float claddingDiameter, float coreDiameter)
{
    const float outer = claddingDiameter / 2;
    const float inner = coreDiameter / 2;
    return meanAroundCenter(mat, outer, [=](float d, int) { return d <= outer && d >= inner; }) - 8;
}

inline int colorAroundCircle(const cv::Mat &mat, float diameter, int minColor, int maxColor)
{
    const float radius = diameter / 2 + 2.0F;
    return meanAroundCenter(mat, radius, [=](float d, int color) {
        if (qFuzzyCompare(d, radius))
            return false;
        if (color < minColor || color > maxColor)
            return false;
        return true;
    });
}

inline int backgroundColor(const cv::Mat &mat, float claddingDiameter)
{
    const float radius = claddingDiameter / 2;
    return meanAroundCenter(mat, radius, [=](float d, int) { return d > radius + 4; });
}

struct CropAnswer
{
    QRect crop;
    QString warning;
};

inline CropAnswer calculateCrop(const QPointF &center, float diameter, const QSize &resolution)
{
    const QString invalid = QStringLiteral("one of input parameters is invalid");
    const QString negative = QStringLiteral("Invalid x or y coordinates");
    const QString outside = QStringLiteral("Crop is out of bounds");

    if (resolution.width() < 0 || resolution.height() < 0)
        return {{}, invalid};
    if (center.x() == 0 && center.y() == 0)
        return {{}, invalid};
    if (diameter <= 0)
        return {{}, invalid};

    const double side = double(diameter) + 2 * 20.0;
    const double left = std::trunc(center.x() - side / 2);
    const double top = std::trunc(center.y() - side / 2);
    for (const double value : {side, left, top}) {
        if (std::isnan(value) || std::abs(value) > 2147483647.0)
            return {{}, outside};
    }
    if (left < 0 || top < 0)
        return {{}, negative};
    if (left + std::trunc(side) > resolution.width())
        return {{}, outside};
    if (top + std::trunc(side) > resolution.height())
        return {{}, outside};
    return {QRect(int(left), int(top), int(side), int(side)), {}};
}

struct CircleAnswer
{
    Circle circle;
    QString warning;
};

inline CircleAnswer findCladdingCircle(const cv::Mat &grayImage, float expectedRadius)
{
    if (grayImage.type() != CV_8UC1)
        return {{}, QStringLiteral("Image is not gray")};
    if (grayImage.empty())
        return {};
    if (std::isnan(expectedRadius) || expectedRadius < 1 || expectedRadius >= 2147483648.0F)
        return {};
    std::vector<cv::Vec3f> circles;
    cv::HoughCircles(
        grayImage, circles, cv::HOUGH_GRADIENT, 1.0, 60.0, 50.0, 30.0, int(expectedRadius - 10), int(expectedRadius));
    if (circles.empty())
        return {};
    if (circles.size() > 1)
        return {{}, QStringLiteral("More than 1 cladding found!")};
    return {Circle(circles[0][0], circles[0][1], circles[0][2]), {}};
}

inline CircleAnswer approximateFindCladdingCircle(const cv::Mat &grayImage)
{
    if (int(grayImage.cols / 6.0) == 0 || int(grayImage.rows / 6.0) == 0)
        return {};
    const float radius = 55.0F * (float(grayImage.cols) / 860.0F);
    cv::Mat scaled;
    cv::resize(
        grayImage, scaled, cv::Size(int(grayImage.cols / 6.0), int(grayImage.rows / 6.0)), 0, 0, cv::INTER_LINEAR);
    const CircleAnswer reduced = findCladdingCircle(scaled, float(double(radius) / 6.0 + 5));
    if (reduced.circle.radius < 1.0F)
        return {{}, reduced.warning};
    return {Circle(reduced.circle.center * 6.0, float(double(reduced.circle.radius) * 6.0)), {}};
}

/// Middle pixel minus its four neighbours; beyond the border the image is mirrored without repeating its edge.
inline cv::Mat laplacian(const cv::Mat &mat)
{
    const auto mirrored = [](int index, int size) {
        if (size == 1)
            return 0;
        if (index < 0)
            return -index;
        return index >= size ? 2 * (size - 1) - index : index;
    };
    cv::Mat result(mat.size(), CV_8UC1);
    for (int row = 0; row < mat.rows; ++row) {
        for (int col = 0; col < mat.cols; ++col) {
            const int up = mat.at<uchar>(mirrored(row - 1, mat.rows), col);
            const int down = mat.at<uchar>(mirrored(row + 1, mat.rows), col);
            const int left = mat.at<uchar>(row, mirrored(col - 1, mat.cols));
            const int right = mat.at<uchar>(row, mirrored(col + 1, mat.cols));
            result.at<uchar>(row, col) = uchar(qBound(0, up + down + left + right - 4 * mat.at<uchar>(row, col), 255));
        }
    }
    return result;
}

inline double getBlurLevel(const cv::Mat &grayImage, const Circle &claddingCircle)
{
    if (grayImage.empty())
        return 0;
    const CropAnswer answer =
        calculateCrop(claddingCircle.center, claddingCircle.radius + 20.0F, {grayImage.cols, grayImage.rows});
    if (answer.crop.isEmpty())
        return 0;
    const QRect crop = answer.crop;
    cv::Mat blurred;
    cv::GaussianBlur(grayImage(cv::Rect(crop.x(), crop.y(), crop.width(), crop.height())), blurred, cv::Size(5, 5), 0);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(laplacian(blurred), mean, deviation);
    return std::ceil(deviation[0] * deviation[0] * 10) / 10;
}

/// The buffer holds width * height * 3 / 2 bytes.
inline cv::Mat createOpenCVImageFromBytes(uchar *data, int width, int height)
{
    constexpr int yuv420ToGray = 106;
    if (!data || width <= 0 || height <= 0)
        return {};
    const int rows = height * 3 / 2;
    if (width % 2 != 0 || rows % 3 != 0) // the conversion would throw
        return {};
    cv::Mat gray;
    cv::cvtColor(cv::Mat(rows, width, CV_8UC1, data), gray, yuv420ToGray);
    return gray;
}

/// The pixels that removeCoreCircle() replaces: x is the row.
inline std::vector<QPoint> corePixels(const cv::Mat &mat, float coreDiameter, int claddingColor)
{
    std::vector<QPoint> result;
    if (claddingColor == 0)
        return result;
    for (int x = 0; x < mat.rows; ++x) {
        for (int y = 0; y < mat.cols; ++y) {
            if (distance(mat.cols / 2, mat.rows / 2, x, y) <= coreDiameter / 2 && mat.at<uchar>(x, y) > claddingColor)
                result.emplace_back(x, y);
        }
    }
    return result;
}

struct Pixel
{
    qint64 x = 0;
    qint64 y = 0;
};

inline Pixel nextPixel(Pixel start, Pixel end, qint64 distance)
{
    const auto sign = [](qint64 value) { return value < 0 ? -1 : value > 0 ? 1 : 0; };
    const qint64 xDiff = end.x - start.x;
    const qint64 yDiff = end.y - start.y;
    const int dx1 = sign(xDiff);
    const int dy1 = sign(yDiff);
    int dx2 = sign(xDiff);
    int dy2 = 0;
    qint64 longest = std::abs(xDiff);
    qint64 shortest = std::abs(yDiff);
    if (!(longest > shortest)) {
        longest = std::abs(yDiff);
        shortest = std::abs(xDiff);
        dy2 = sign(yDiff);
        dx2 = 0;
    }
    const qint64 numerator = (longest >> 1) + shortest;
    if (numerator >= longest)
        return {end.x + distance * dx1, end.y + distance * dy1};
    return {end.x + distance * dx2, end.y + distance * dy2};
}

inline Pixel prevPixel(Pixel start, Pixel end, qint64 distance)
{
    const Pixel next = nextPixel(start, end, distance);
    return {end.x + (end.x - next.x), end.y + (end.y - next.y)};
}

inline void removeCladdingEdges(
    cv::Mat &edgeImage, const cv::Mat &grayImage, float claddingRadius, int claddingColor, int colorAroundCladding)
{
    if (edgeImage.type() != CV_8UC1 || grayImage.type() != CV_8UC1)
        return;
    const float xCenter = float(edgeImage.cols) / 2;
    const float yCenter = float(edgeImage.rows) / 2;
    const float startX = std::trunc(xCenter - claddingRadius - 4);
    const float endX = std::trunc(xCenter + claddingRadius + 4);
    const float startY = std::trunc(yCenter - claddingRadius - 4);
    const float endY = std::trunc(yCenter + claddingRadius + 4);
    const Pixel center{int(xCenter), int(yCenter)};
    const auto isInside = [](const cv::Mat &mat, Pixel pixel) {
        return pixel.x >= 0 && pixel.y >= 0 && pixel.x < mat.rows && pixel.y < mat.cols;
    };

    for (int x = 0; x < edgeImage.rows; ++x) {
        for (int y = 0; y < edgeImage.cols; ++y) {
            if (!(float(x) >= startX && float(x) < endX && float(y) >= startY && float(y) < endY))
                continue;
            const float d = distance(int(xCenter), int(yCenter), x, y);
            if (!(std::floor(claddingRadius) - 4 <= d && d <= std::ceil(claddingRadius) + 4))
                continue;
            if (edgeImage.at<uchar>(x, y) != 255)
                continue;
            const Pixel next = nextPixel(center, {x, y}, 3);
            const Pixel prev = prevPixel(center, {x, y}, 3);
            if (!isInside(grayImage, next) || !isInside(grayImage, prev))
                continue;
            if (float(grayImage.at<uchar>(int(next.x), int(next.y))) < float(colorAroundCladding) * 0.8F)
                continue;
            if (float(grayImage.at<uchar>(int(prev.x), int(prev.y))) < float(claddingColor) * 0.8F)
                continue;
            edgeImage.at<uchar>(x, y) = 0;
        }
    }
}

inline void removeEdgesWithinRing(cv::Mat &mat, float innerRadius, float outerRadius)
{
    if (mat.type() != CV_8UC1)
        return;
    if (qFuzzyCompare(outerRadius, -1.0F))
        outerRadius = float(std::numeric_limits<int>::max());
    for (int x = 0; x < mat.rows; ++x) {
        for (int y = 0; y < mat.cols; ++y) {
            const float d = distance(mat.cols / 2, mat.rows / 2, x, y);
            if (mat.at<uchar>(x, y) == 255 && innerRadius <= d && d <= outerRadius)
                mat.at<uchar>(x, y) = 0;
        }
    }
}

} // namespace Reference
