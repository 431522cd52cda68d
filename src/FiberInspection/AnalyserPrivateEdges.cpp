// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"

#include "FiberInspection/Log_p.h"
#include "FiberInspection/PixelGeometry_p.h"

#include <QRandomGenerator>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace FiberInspection {

namespace {
constexpr uchar edgeColor = 255;
constexpr uchar erasedColor = 0;

/// Warns when the matrix is no edge map or grey image.
bool isBitScale(const cv::Mat &mat)
{
    if (mat.type() == CV_8UC1)
        return true;
    qCWarning(messageLog) << "Image is not bit-scale";
    return false;
}

/// Squared distance from the middle of the image, with x as the row; the crops are square.
class CenterDistance
{
public:
    explicit CenterDistance(const cv::Mat &mat)
        : mCenter(PixelPosition::of(mat.cols / 2, mat.rows / 2))
    {
    }

    double square(int x, int y) const { return mCenter.squaredDistanceTo(PixelPosition::of(x, y)); }

private:
    PixelPosition mCenter;
};

struct IndexRange
{
    int start = 0;
    int end = 0; ///< not included
};

/// The indices around the centre that exist in a matrix of that size.
IndexRange indicesAround(float center, float radius, float margin, int size)
{
    const int start = std::clamp(truncated(static_cast<double>(center - radius - margin)), 0, size);
    return {start, std::clamp(truncated(static_cast<double>(center + radius + margin)), start, size)};
}

/// The part of a grey image that a disc around its middle can lie in; of any other matrix the whole.
cv::Rect squareAround(const cv::Mat &mat, float radius)
{
    constexpr float margin = 1;
    if (mat.type() != CV_8UC1)
        return {0, 0, mat.cols, mat.rows};
    const int xCenter = mat.cols / 2;
    const int yCenter = mat.rows / 2;
    const IndexRange xs = indicesAround(static_cast<float>(xCenter), radius, margin, mat.rows);
    const IndexRange ys = indicesAround(static_cast<float>(yCenter), radius, margin, mat.cols);
    return {ys.start, xs.start, ys.end - ys.start, xs.end - xs.start};
}

bool contains(const cv::Mat &mat, const QPoint &pixel)
{
    return pixel.x() >= 0 && pixel.x() < mat.rows && pixel.y() >= 0 && pixel.y() < mat.cols;
}

uchar colorAt(const cv::Mat &mat, const QPoint &pixel)
{
    return mat.at<uchar>(pixel.x(), pixel.y());
}

int saturated(qint64 value)
{
    return static_cast<int>(qBound<qint64>(std::numeric_limits<int>::min(), value, std::numeric_limits<int>::max()));
}

int sign(qint64 value)
{
    return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0);
}
} // namespace

cv::Mat AnalyserPrivate::blurImage(const cv::Mat &mat)
{
    constexpr int kernelSize = 5;
    cv::Mat blurred;
    cv::GaussianBlur(mat, blurred, cv::Size(kernelSize, kernelSize), 0);
    return blurred;
}

void AnalyserPrivate::removeCoreCircle(cv::Mat &mat, float coreDiameter, int claddingColor, QRandomGenerator *random)
{
    constexpr int randomColorMargin = 4;

    if (claddingColor == 0) {
        qCWarning(messageLog) << "claddingColor is 0. core won't be removed";
        return;
    }
    if (mat.empty())
        return;

    const float coreRadius = coreDiameter / 2;
    const double coreSquare = largestSquareWithin(coreRadius);
    const CenterDistance centerDistance(mat);
    const int fillColor = qBound(std::numeric_limits<int>::min() + randomColorMargin, claddingColor,
        std::numeric_limits<int>::max() - randomColorMargin);
    const cv::Rect square = squareAround(mat, coreRadius);
    if (square.empty())
        return;
    const auto paint = [=](uchar &color, int x, int y, QRandomGenerator *generator) {
        if (color > claddingColor && centerDistance.square(x, y) <= coreSquare) {
            color =
                static_cast<uchar>(generator->bounded(fillColor - randomColorMargin, fillColor + randomColorMargin));
        }
    };
    if (!random) {
        mat(square).forEach<uchar>([=](uchar &color, const int position[]) {
            paint(color, square.y + position[0], square.x + position[1], QRandomGenerator::global());
        });
        return;
    }
    for (int x = square.y; x < square.y + square.height; ++x) {
        uchar *const row = mat.ptr<uchar>(x);
        for (int y = square.x; y < square.x + square.width; ++y)
            paint(row[y], x, y, random);
    }
}

void AnalyserPrivate::removeCladdingEdges(
    cv::Mat &edgeImage, const cv::Mat &grayImage, float claddingRadius, int claddingColor, int colorAroundCladding)
{
    constexpr float colorMatchToleranceFactor = 0.8F;
    constexpr float radiusMargin = 4;
    constexpr int lookAhead = 3;

    if (!isBitScale(edgeImage) || !isBitScale(grayImage))
        return;

    const auto imageXCenter = static_cast<float>(edgeImage.cols) / 2;
    const auto imageYCenter = static_cast<float>(edgeImage.rows) / 2;
    const QPoint center(static_cast<int>(imageXCenter), static_cast<int>(imageYCenter));
    const CenterDistance centerDistance(edgeImage);
    const double tooNearSquare = largestSquareBelow(std::floor(claddingRadius) - radiusMargin);
    const double ringSquare = largestSquareWithin(std::ceil(claddingRadius) + radiusMargin);
    const float darkOutside = static_cast<float>(colorAroundCladding) * colorMatchToleranceFactor;
    const float darkInside = static_cast<float>(claddingColor) * colorMatchToleranceFactor;

    const auto isRim = [&](const QPoint &pixel) {
        const QPoint outward = nextPixel(center, pixel, lookAhead);
        const QPoint inward = prevPixel(center, pixel, lookAhead);
        return contains(grayImage, outward) && contains(grayImage, inward) && colorAt(grayImage, outward) >= darkOutside
            && colorAt(grayImage, inward) >= darkInside;
    };

    const IndexRange xs = indicesAround(imageXCenter, claddingRadius, radiusMargin, edgeImage.rows);
    const IndexRange ys = indicesAround(imageYCenter, claddingRadius, radiusMargin, edgeImage.cols);
    for (int x = xs.start; x < xs.end; ++x) {
        uchar *const row = edgeImage.ptr<uchar>(x);
        for (int y = ys.start; y < ys.end; ++y) {
            if (row[y] != edgeColor)
                continue;
            const double square = centerDistance.square(x, y);
            if (square > tooNearSquare && square <= ringSquare && isRim({x, y}))
                row[y] = erasedColor;
        }
    }
}

QPoint AnalyserPrivate::nextPixel(int startX, int startY, int endX, int endY, int distance)
{
    const qint64 xDiff = qint64(endX) - startX;
    const qint64 yDiff = qint64(endY) - startY;
    const bool isFlat = qAbs(xDiff) > qAbs(yDiff);
    const qint64 longest = isFlat ? qAbs(xDiff) : qAbs(yDiff);
    const qint64 shortest = isFlat ? qAbs(yDiff) : qAbs(xDiff);

    const qint64 numerator = (longest >> 1) + shortest;
    const bool isDiagonal = numerator >= longest;
    const int stepX = isDiagonal || isFlat ? sign(xDiff) : 0;
    const int stepY = isDiagonal || !isFlat ? sign(yDiff) : 0;
    return {saturated(endX + qint64(distance) * stepX), saturated(endY + qint64(distance) * stepY)};
}

QPoint AnalyserPrivate::nextPixel(const QPoint &start, const QPoint &end, int distance)
{
    return nextPixel(start.x(), start.y(), end.x(), end.y(), distance);
}

QPoint AnalyserPrivate::prevPixel(int startX, int startY, int endX, int endY, int distance)
{
    return prevPixel(QPoint(startX, startY), QPoint(endX, endY), distance);
}

QPoint AnalyserPrivate::prevPixel(const QPoint &start, const QPoint &end, int distance)
{
    const QPoint next = nextPixel(start, end, distance);
    return {saturated(2 * qint64(end.x()) - next.x()), saturated(2 * qint64(end.y()) - next.y())};
}

void AnalyserPrivate::removeEdgesWithinRing(cv::Mat &mat, float innerRadius, float outerRadius)
{
    if (!isBitScale(mat) || mat.empty() || std::isnan(innerRadius))
        return;

    const bool endless = qFuzzyCompare(outerRadius, -1.0F);
    const double excludedSquare = largestSquareBelow(innerRadius);
    const double outerSquare =
        largestSquareWithin(endless ? static_cast<float>(std::numeric_limits<int>::max()) : outerRadius);
    const CenterDistance centerDistance(mat);
    mat.forEach<uchar>([=](uchar &color, const int position[]) {
        const double square = centerDistance.square(position[0], position[1]);
        if (color == edgeColor && square > excludedSquare && square <= outerSquare)
            color = erasedColor;
    });
}

void AnalyserPrivate::applyZonesOnEdges(cv::Mat &edgeImage, const ZoneSizes &zoneSizes)
{
    if (isBitScale(edgeImage))
        removeEdgesWithinRing(edgeImage, zoneSizes.contactRadius, -1);
}

} // namespace FiberInspection
