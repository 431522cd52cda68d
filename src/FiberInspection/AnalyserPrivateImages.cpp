// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"

#include "FiberInspection/CircleSearch_p.h"
#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/InspectionCore_p.h"
#include "FiberInspection/Log_p.h"
#include "FiberInspection/PixelGeometry_p.h"
#include "Internal/WholeFile.h"

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace FiberInspection {

namespace {
constexpr double largestInt = std::numeric_limits<int>::max();

bool isGray(const cv::Mat &mat)
{
    return mat.type() == CV_8UC1;
}

/// The luminance plane within the buffer of a 4:2:0 frame; empty without data or for a size that is not even.
cv::Mat luminanceView(uchar *data, int width, int height)
{
    const bool isEven = width % 2 == 0 && height % 2 == 0; // colour is shared among blocks of 2 x 2 pixels
    if (!data || width <= 0 || height <= 0 || !isEven)
        return {};
    return {height, width, CV_8UC1, data};
}

/// Mean grey level of the pixels that `counts` accepts in the square around the middle of the image; 0 if none is.
/// `counts` is given the squared distance of a pixel from the middle, and its grey level. x is the row; the crops are
/// square. Parts of the square that lie outside of the image are left out.
template <typename Counts>
int meanColor(const cv::Mat &mat, float halfSide, Counts counts)
{
    if (!isGray(mat) || mat.empty() || !std::isfinite(halfSide))
        return 0;

    const auto xCenter = static_cast<float>(mat.cols) / 2;
    const auto yCenter = static_cast<float>(mat.rows) / 2;
    const auto startOf = [halfSide](
                             float center) { return std::max(0, truncated(static_cast<double>(center - halfSide))); };
    const auto endOf = [halfSide](float center, int size) {
        return std::min(size, truncated(std::ceil(static_cast<double>(center + halfSide))));
    };
    const int startY = startOf(yCenter);
    const int endX = endOf(xCenter, mat.rows);
    const int endY = endOf(yCenter, mat.cols);

    quint64 sum = 0;
    quint64 count = 0;
    for (int x = startOf(xCenter); x < endX; ++x) {
        const uchar *const row = mat.ptr<uchar>(x);
        const double dx = x - static_cast<int>(xCenter);
        for (int y = startY; y < endY; ++y) {
            const double dy = y - static_cast<int>(yCenter);
            const bool counted = counts(dx * dx + dy * dy, int(row[y]));
            sum += counted ? row[y] : 0U;
            count += counted ? 1U : 0U;
        }
    }
    return count == 0 ? 0 : static_cast<int>(sum / count);
}
} // namespace

QSize AnalyserPrivate::imageSize(const cv::Mat &mat)
{
    return {mat.cols, mat.rows};
}

cv::Mat AnalyserPrivate::loadImage(const QString &path, QString *problem)
{
    const LoadedImage loaded = InspectionCore::readImage(path, ImageFile::maxPixels());
    if (problem)
        *problem = loaded.detail;
    return loaded.image.isNull() ? cv::Mat() : StepImages::viewOf(loaded.image).clone();
}

QByteArray AnalyserPrivate::encodeImage(const cv::Mat &mat, const QString &extension)
{
    try {
        std::vector<uchar> bytes;
        if (!cv::imencode(extension.toStdString(), mat, bytes))
            return {};
        return {reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size())};
    } catch (const cv::Exception &exception) {
        qCDebug(messageLog) << "image not encoded:" << extension << exception.what();
        return {};
    }
}

bool AnalyserPrivate::saveImage(const cv::Mat &mat, const QString &path)
{
    const int extensionStart = path.lastIndexOf(QLatin1Char('.'));
    if (extensionStart < 0)
        return false;
    const QByteArray content = encodeImage(mat, path.mid(extensionStart));
    return !content.isEmpty() && WholeFile::write(path, content);
}

QImage AnalyserPrivate::matToQImage(const cv::Mat &mat)
{
    if (mat.empty())
        return {};
    const auto view = [&mat](QImage::Format format) {
        return QImage(mat.data, mat.cols, mat.rows, static_cast<int>(mat.step), format);
    };

    switch (mat.type()) {
    case CV_8UC1:
        return view(QImage::Format_Grayscale8);
    case CV_8UC3:
        return view(QImage::Format_RGB888).rgbSwapped();
    case CV_8UC4:
        return view(QImage::Format_ARGB32);
    default:
        qCWarning(messageLog) << "matToImage - Mat image type not handled in switch:" << mat.type();
        return {};
    }
}

cv::Mat AnalyserPrivate::convertImageToGray(const cv::Mat &mat)
{
    cv::Mat gray;
    try {
        // RGB weights on BGR pixels: red and blue are exchanged, and the grading is tuned to that.
        cv::cvtColor(mat, gray, cv::COLOR_RGB2GRAY);
    } catch (const cv::Exception &) {
        return {};
    }
    return gray;
}

Circle AnalyserPrivate::findCladdingCircle(const cv::Mat &grayImage, float expectedCladdingRadius, int *candidates)
{
    constexpr double accumulatorRatio = 1.0;
    constexpr double minDistance = 60.0;
    constexpr double cannyThreshold = 50.0;
    constexpr double accumulatorThreshold = 30.0;
    constexpr float minRadiusToleranceMargin = 10;

    if (!isGray(grayImage)) {
        qCWarning(messageLog) << "Image is not gray";
        return {};
    }
    // OpenCV takes a largest radius of 0 for "any", which costs many seconds on a noisy image.
    const bool usableRadius = expectedCladdingRadius >= 1 && static_cast<double>(expectedCladdingRadius) <= largestInt;
    if (grayImage.empty() || !usableRadius)
        return {};

    const auto minRadius = static_cast<int>(expectedCladdingRadius - minRadiusToleranceMargin);
    const auto maxRadius = static_cast<int>(expectedCladdingRadius);
    const CircleSearch search{cannyThreshold, accumulatorThreshold, std::max(0, minRadius), maxRadius, minDistance};
    if (!search.isAffordable(grayImage)) {
        qCWarning(messageLog) << "Too many edges to look for the cladding";
        if (candidates)
            *candidates = notSearched;
        return {};
    }
    std::vector<cv::Vec3f> circles;
    cv::HoughCircles(grayImage, circles, cv::HOUGH_GRADIENT, accumulatorRatio, minDistance, cannyThreshold,
        accumulatorThreshold, minRadius, maxRadius);
    if (candidates)
        *candidates = static_cast<int>(circles.size());
    if (circles.empty())
        return {};
    if (circles.size() > 1) {
        qCWarning(messageLog) << "More than 1 cladding found!";
        return {};
    }
    const cv::Vec3f &circle = circles.front();
    return {circle[0], circle[1], circle[2]};
}

Circle AnalyserPrivate::approximateFindCladdingCircle(const cv::Mat &grayImage, int *candidates)
{
    constexpr double scaleForCircleDetection = 6.0;
    constexpr int toleranceMarginForRadius = 5;
    static const QSize fov = Device::ks20().fov;
    static const float claddingRadiusMicrons =
        static_cast<float>(Standard(Standard::IEC61300_3_35_MM).cladding().outerDiameter) / 2.0F;

    const cv::Size scaledSize(static_cast<int>(grayImage.cols / scaleForCircleDetection),
        static_cast<int>(grayImage.rows / scaleForCircleDetection));
    if (scaledSize.empty())
        return {};

    const float claddingRadius = micronsToPixels(claddingRadiusMicrons, fov, imageSize(grayImage));
    cv::Mat scaledImage;
    cv::resize(grayImage, scaledImage, scaledSize, 0, 0, cv::INTER_LINEAR);
    const double reducedRadius = static_cast<double>(claddingRadius) / scaleForCircleDetection;
    const Circle reducedCircle =
        findCladdingCircle(scaledImage, static_cast<float>(reducedRadius + toleranceMarginForRadius), candidates);
    if (reducedCircle.radius < 1.0F)
        return {};
    return {reducedCircle.center * scaleForCircleDetection,
        static_cast<float>(static_cast<double>(reducedCircle.radius) * scaleForCircleDetection)};
}

Circle AnalyserPrivate::approximateFindCladdingCircle(uchar *data, int bytesPerLine, int width, int height)
{
    Q_UNUSED(bytesPerLine)
    return approximateFindCladdingCircle(luminanceView(data, width, height));
}

QRect AnalyserPrivate::calculateCrop(
    const QPointF &claddingCenter, float contactZoneOuterDiameter, const QSize &resolution)
{
    constexpr double cropMargin = 20.0;

    if (!resolution.isValid() || claddingCenter.isNull() || contactZoneOuterDiameter <= 0) {
        qCWarning(messageLog) << "one of input parameters is invalid";
        return {};
    }

    const double cropDiameterInPixels = static_cast<double>(contactZoneOuterDiameter) + 2 * cropMargin;
    const double left = claddingCenter.x() - cropDiameterInPixels / 2;
    const double top = claddingCenter.y() - cropDiameterInPixels / 2;
    const auto fitsInt = [](double value) { return std::abs(value) < largestInt; }; // false for NaN
    if (!fitsInt(left) || !fitsInt(top) || !fitsInt(cropDiameterInPixels)) {
        qCWarning(messageLog) << "Crop is out of bounds";
        return {};
    }

    const auto x = static_cast<int>(left);
    const auto y = static_cast<int>(top);
    const auto side = static_cast<int>(cropDiameterInPixels);
    if (x < 0 || y < 0) {
        qCWarning(messageLog) << "Invalid x or y coordinates";
        return {};
    }
    if (side > resolution.width() - x || side > resolution.height() - y) {
        qCWarning(messageLog) << "Crop is out of bounds";
        return {};
    }
    return {x, y, side, side};
}

cv::Mat AnalyserPrivate::cropImage(const cv::Mat &mat, const QRect &cropGeometry)
{
    return mat(cv::Rect(cropGeometry.x(), cropGeometry.y(), cropGeometry.width(), cropGeometry.height()));
}

float AnalyserPrivate::pixelSize(const QSize &fov, const QSize &resolution)
{
    return static_cast<float>(fov.width()) / static_cast<float>(resolution.width());
}

float AnalyserPrivate::micronSize(const QSize &fov, const QSize &resolution)
{
    return static_cast<float>(resolution.width()) / static_cast<float>(fov.width());
}

float AnalyserPrivate::pixelsToMicrons(float pixels, const QSize &fov, const QSize &resolution)
{
    if (pixels < 0 || !fov.isValid() || !resolution.isValid() || resolution.width() == 0)
        return -1.0F;
    return pixels * pixelSize(fov, resolution);
}

float AnalyserPrivate::micronsToPixels(float microns, const QSize &fov, const QSize &resolution)
{
    if (microns < 0 || !fov.isValid() || !resolution.isValid() || fov.width() == 0)
        return -1.0F;
    return microns * micronSize(fov, resolution);
}

float AnalyserPrivate::distanceBetweenPoints(int x1, int y1, int x2, int y2)
{
    return PixelPosition::of(x1, y1).distanceTo(PixelPosition::of(x2, y2));
}

float AnalyserPrivate::distanceBetweenPoints(const QPointF &point1, const QPointF &point2)
{
    return PixelPosition::of(point1).distanceTo(PixelPosition::of(point2));
}

float AnalyserPrivate::distanceBetweenPoints(const cv::Point &point1, const cv::Point &point2)
{
    return distanceBetweenPoints(point1.x, point1.y, point2.x, point2.y);
}

int AnalyserPrivate::claddingColor(const cv::Mat &mat, float claddingDiameter, float coreDiameter)
{
    constexpr int colorMargin = 8;
    if (std::isnan(coreDiameter)) // nothing lies beyond such a core
        return -colorMargin;
    const float claddingRadius = claddingDiameter / 2;
    const double outerSquare = largestSquareWithin(claddingRadius);
    const double excludedSquare = largestSquareBelow(coreDiameter / 2);
    const int mean = meanColor(
        mat, claddingRadius, [=](double square, int) { return square <= outerSquare && square > excludedSquare; });
    return mean - colorMargin;
}

int AnalyserPrivate::colorAroundCircle(const cv::Mat &mat, float diameter, int minColor, int maxColor)
{
    constexpr float radiusMargin = 2.0F;
    constexpr double fuzz = 1e-4; // far above the tolerance of qFuzzyCompare
    const float radius = diameter / 2 + radiusMargin;
    const double radiusSquare = static_cast<double>(radius) * static_cast<double>(radius);
    const auto liesOnCircle = [=](double square) {
        return std::abs(square - radiusSquare) <= radiusSquare * fuzz
            && qFuzzyCompare(static_cast<float>(std::sqrt(square)), radius);
    };
    return meanColor(mat, radius,
        [=](double square, int color) { return color >= minColor && color <= maxColor && !liesOnCircle(square); });
}

int AnalyserPrivate::backgroundColor(const cv::Mat &mat, float claddingDiameter)
{
    constexpr float claddingMargin = 4;
    const float claddingRadius = claddingDiameter / 2;
    const double innerSquare = largestSquareWithin(claddingRadius + claddingMargin);
    return meanColor(mat, claddingRadius, [=](double square, int) { return square > innerSquare; });
}

double AnalyserPrivate::getBlurLevel(const cv::Mat &mat, const Circle &claddingCircle, bool *fits)
{
    constexpr float diameterMargin = 20.0F;

    if (mat.empty()) {
        qCWarning(messageLog) << "invalid image provided";
        return 0;
    }
    // The radius stands for the diameter on purpose: only the core and the inner cladding are looked at.
    const QRect cropGeometry =
        calculateCrop(claddingCircle.center, claddingCircle.radius + diameterMargin, imageSize(mat));
    if (fits)
        *fits = cropGeometry.isValid();
    if (!cropGeometry.isValid())
        return 0;

    cv::Mat laplacian;
    try {
        cv::Laplacian(blurImage(cropImage(mat, cropGeometry)), laplacian, CV_8U, 1, 1.0, 0);
    } catch (const cv::Exception &) { // no 8-bit image
        return 0;
    }
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(laplacian, mean, deviation);
    return std::ceil(deviation[0] * deviation[0] * 10) / 10;
}

double AnalyserPrivate::getBlurLevel(uchar *data, int bytesPerLine, int width, int height, const Circle &claddingCircle)
{
    Q_UNUSED(bytesPerLine)
    return getBlurLevel(luminanceView(data, width, height), claddingCircle);
}

cv::Mat AnalyserPrivate::createOpenCVImageFromBytes(uchar *data, int bytesPerLine, int width, int height)
{
    Q_UNUSED(bytesPerLine)
    return luminanceView(data, width, height).clone();
}

cv::Point2f AnalyserPrivate::qpointfToCvPoint2f(const QPointF &point)
{
    return {static_cast<float>(point.x()), static_cast<float>(point.y())};
}

QPointF AnalyserPrivate::cvPoint2fToQPoint(const cv::Point2f &point)
{
    return {static_cast<qreal>(point.x), static_cast<qreal>(point.y)};
}

std::vector<cv::Point> AnalyserPrivate::qpointVectorToCvPoint2fVector(const QVector<QPointF> &points)
{
    std::vector<cv::Point> result;
    result.reserve(static_cast<std::size_t>(points.size()));
    for (const QPointF &point : points)
        result.emplace_back(qpointfToCvPoint2f(point)); // rounds half to even
    return result;
}

QVector<QPointF> AnalyserPrivate::cvPoint2fVectorToQPointVector(const std::vector<cv::Point> &points)
{
    QVector<QPointF> result;
    result.reserve(static_cast<int>(points.size()));
    for (const cv::Point &point : points)
        result.append(QPointF(point.x, point.y));
    return result;
}

} // namespace FiberInspection
