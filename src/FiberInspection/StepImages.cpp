// SPDX-License-Identifier: Apache-2.0
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

void drawContour(cv::Mat &image, const QVector<QPointF> &outline, const Color &color)
{
    constexpr int contourIndex = 0;
    if (outline.isEmpty())
        return;
    const std::vector<std::vector<cv::Point>> contours{AnalyserPrivate::qpointVectorToCvPoint2fVector(outline)};
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

/// A copy, because nobody knows how long it is kept.
QImage pictureOf(const cv::Mat &image)
{
    const QImage::Format format = image.channels() == 1 ? QImage::Format_Grayscale8 : QImage::Format_BGR888;
    return QImage(image.data, image.cols, image.rows, static_cast<int>(image.step), format).copy();
}
} // namespace

void drawOutline(cv::Mat &colorImage, const QVector<QPointF> &outline)
{
    drawContour(colorImage, outline, redColor);
}

cv::Mat StepImages::viewOf(const QImage &picture)
{
    const int type = picture.format() == QImage::Format_Grayscale8 ? CV_8UC1 : CV_8UC3;
    return {picture.height(), picture.width(), type, const_cast<uchar *>(picture.constBits()),
        static_cast<std::size_t>(picture.bytesPerLine())};
}

StepImages::StepImages(const Show &show)
    : mShow(show)
{
}

void StepImages::show(const char *step, const cv::Mat &image) const
{
    if (mShow)
        mShow(QString::fromLatin1(step), pictureOf(image));
}

void StepImages::showDefects(
    const cv::Mat &colorCrop, const std::vector<Defect> &rawDefects, const std::vector<Defect> &mergedDefects) const
{
    if (!mShow)
        return;
    const auto contoursOf = [&colorCrop](const std::vector<Defect> &defects) {
        cv::Mat image = colorCrop.clone();
        for (const Defect &defect : defects)
            drawContour(image, defect.pixels, redColor);
        return image;
    };
    const auto shapesOf = [&colorCrop](const std::vector<Defect> &defects) {
        cv::Mat image = colorCrop.clone();
        for (const Defect &defect : defects)
            drawShape(image, defect);
        return image;
    };
    show("07_defect_contours", contoursOf(rawDefects));
    show("08_defect_rectangles", shapesOf(rawDefects));
    show("09_merged_defects_contours", contoursOf(mergedDefects));
    show("10_merged_defects_rectangles", shapesOf(mergedDefects));
}

void StepImages::showGradedDefects(
    const cv::Mat &colorCrop, const TestResult &testResult, const ZoneSizes &zoneSizes) const
{
    if (!mShow)
        return;
    const auto showZone = [&](const char *shapesStep, const char *contoursStep, const QVector<Defect> &defects) {
        cv::Mat contours = colorCrop.clone();
        drawZones(contours, zoneSizes);
        cv::Mat shapes = contours.clone();
        for (const Defect &defect : defects) {
            drawContour(contours, defect.pixels, defect.causesFailure ? redColor : blueColor);
            drawShape(shapes, defect);
        }
        show(shapesStep, shapes);
        show(contoursStep, contours);
    };
    showZone("11_core_defects", "11_core_defects_contours", testResult.coreDefects());
    showZone("12_cladding_defects", "12_cladding_defects_contours", testResult.claddingDefects());
}

} // namespace FiberInspection
