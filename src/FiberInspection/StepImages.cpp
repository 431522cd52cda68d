// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Log_p.h"
#include "FiberInspection/StepImages_p.h"

#include <opencv2/imgproc.hpp>

namespace FiberInspection {

namespace {
struct Color
{
    double blue;
    double green;
    double red;

    operator cv::Scalar() const { return {blue, green, red}; }
};
constexpr Color redColor{0, 0, 255};
constexpr Color blueColor{255, 0, 0};
constexpr Color coreRingColor{0, 255, 255};
constexpr Color claddingRingColor{0, 255, 0};
constexpr Color adhesiveRingColor{0, 255, 0};
constexpr Color contactRingColor{128, 0, 0};

constexpr int ringWidth = 1;
constexpr int lineThickness = 1;

void drawContour(cv::Mat &image, const Defect &defect, const Color &color)
{
    constexpr int contourIndex = 0;
    if (defect.pixels.isEmpty())
        return;
    const std::vector<std::vector<cv::Point>> contours{AnalyserPrivate::qpointVectorToCvPoint2fVector(defect.pixels)};
    cv::drawContours(image, contours, contourIndex, color, lineThickness, cv::LINE_8);
}

/// The sides of the rotated rectangle, and around what is no scratch the enclosing circle.
void drawShape(cv::Mat &image, const Defect &defect)
{
    const QVector<QPointF> &corners = defect.boundingRectPoints;
    for (int i = 0; i < corners.size(); ++i) {
        cv::line(image, AnalyserPrivate::qpointfToCvPoint2f(corners[i]),
            AnalyserPrivate::qpointfToCvPoint2f(corners[(i + 1) % corners.size()]), redColor, lineThickness,
            cv::LINE_8);
    }
    if (defect.type != Defect::Type::Scratch) {
        cv::circle(image, AnalyserPrivate::qpointfToCvPoint2f(defect.enclosingCircle.center),
            static_cast<int>(defect.enclosingCircle.radius), blueColor, lineThickness, cv::LINE_8);
    }
}

void drawZones(cv::Mat &image, const ZoneSizes &zoneSizes)
{
    const cv::Point imageCenter(cv::Point2f(static_cast<float>(image.cols) / 2, static_cast<float>(image.rows) / 2));
    const auto drawRing = [&](float radius, const Color &color) {
        cv::circle(image, imageCenter, static_cast<int>(radius), color, ringWidth, cv::LINE_8);
    };
    drawRing(zoneSizes.coreRadius, coreRingColor);
    drawRing(zoneSizes.adhesiveRadius, adhesiveRingColor);
    drawRing(zoneSizes.claddingRadius, claddingRingColor);
    drawRing(zoneSizes.contactRadius, contactRingColor);
}
} // namespace

cv::Mat annotatedImage(const cv::Mat &colorCrop, const std::vector<Defect> &defects)
{
    cv::Mat image = colorCrop.clone();
    for (const Defect &defect : defects)
        drawContour(image, defect, redColor);
    return image;
}

StepImages::StepImages(const QString &fileName, bool enabled)
    : mFileName(fileName)
    , mEnabled(enabled)
{
}

void StepImages::save(const char *suffix, const cv::Mat &image) const
{
    if (!mEnabled)
        return;
    const QString path = mFileName + QLatin1String(suffix);
    if (!AnalyserPrivate::saveImage(image, path))
        qCWarning(messageLog) << "step image not written:" << path;
}

void StepImages::saveDefects(
    const cv::Mat &colorCrop, const std::vector<Defect> &rawDefects, const std::vector<Defect> &mergedDefects) const
{
    if (!mEnabled)
        return;
    const auto shapesOf = [&colorCrop](const std::vector<Defect> &defects) {
        cv::Mat image = colorCrop.clone();
        for (const Defect &defect : defects)
            drawShape(image, defect);
        return image;
    };
    save("_07_defect_contours.png", annotatedImage(colorCrop, rawDefects));
    save("_08_defect_rectangles.png", shapesOf(rawDefects));
    save("_09_merged_defects_contours.png", annotatedImage(colorCrop, mergedDefects));
    save("_10_merged_defects_rectangles.png", shapesOf(mergedDefects));
}

void StepImages::saveGradedDefects(
    const cv::Mat &colorCrop, const TestResult &testResult, const ZoneSizes &zoneSizes) const
{
    if (!mEnabled)
        return;
    const auto saveZone = [&](const char *shapesSuffix, const char *contoursSuffix, const QVector<Defect> &defects) {
        cv::Mat contours = colorCrop.clone();
        drawZones(contours, zoneSizes);
        cv::Mat shapes = contours.clone();
        for (const Defect &defect : defects) {
            drawContour(contours, defect, defect.causesFailure ? redColor : blueColor);
            drawShape(shapes, defect);
        }
        save(shapesSuffix, shapes);
        save(contoursSuffix, contours);
    };
    saveZone("_11_core_defects.png", "_11_core_defects_contours.png", testResult.coreDefects());
    saveZone("_12_cladding_defects.png", "_12_cladding_defects_contours.png", testResult.claddingDefects());
}

} // namespace FiberInspection
