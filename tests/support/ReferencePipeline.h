// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "ReferenceDefects.h"
#include "ReferenceImages.h"

#include <QMap>

#include <opencv2/imgproc.hpp>

#include <cmath>
#include <vector>

/// The inspection once more, step by step, from the plain forms and the calls of OpenCV.
namespace Reference {

using FiberInspection::Standard;
using FiberInspection::TestResult;

struct Inspection
{
    QString failure; ///< why it ended early; empty when it did not
    QSize sourceSize;
    float pixelSize = 0;
    float expectedCladdingDiameter = 0;
    Circle cladding;
    QRect crop;
    int claddingColor = 0;
    int colorAroundCore = 0;
    int colorAroundCladding = 0;
    ZoneSizes zones;
    std::vector<std::vector<cv::Point>> contours;
    std::vector<Defect> rawDefects;
    std::vector<Defect> mergedRawDefects;
    std::vector<Defect> mergedDefects;
    std::vector<Defect> coreDefects;
    std::vector<Defect> claddingDefects;
    TestResult testResult;
    QMap<QString, cv::Mat> stepImages; ///< by the end of the file's name
    cv::Mat resultImage;
};

namespace Drawing {
const cv::Scalar red(0, 0, 255); // clazy:exclude=non-pod-global-static
const cv::Scalar blue(255, 0, 0); // clazy:exclude=non-pod-global-static

inline void contour(cv::Mat &image, const Defect &defect, const cv::Scalar &color)
{
    std::vector<cv::Point> pixels;
    for (const QPointF &pixel : defect.pixels)
        pixels.emplace_back(cvRound(pixel.x()), cvRound(pixel.y()));
    if (!pixels.empty())
        cv::drawContours(image, std::vector<std::vector<cv::Point>>{pixels}, 0, color, 1, cv::LINE_8);
}

inline cv::Point rounded(const QPointF &point)
{
    return {cvRound(float(point.x())), cvRound(float(point.y()))};
}

inline void shape(cv::Mat &image, const Defect &defect)
{
    for (int i = 0; i < 4; ++i) {
        const cv::Point from = rounded(defect.boundingRectPoints[i]);
        const cv::Point to = rounded(defect.boundingRectPoints[(i + 1) % 4]);
        cv::line(image, from, to, red, 1, cv::LINE_8);
    }
    if (defect.type != Defect::Type::Scratch) {
        const cv::Point center = rounded(defect.enclosingCircle.center);
        cv::circle(image, center, int(defect.enclosingCircle.radius), blue, 1, cv::LINE_8);
    }
}

template <typename Defects>
cv::Mat contours(const cv::Mat &colorCrop, const Defects &defects)
{
    cv::Mat image = colorCrop.clone();
    for (const Defect &defect : defects)
        contour(image, defect, red);
    return image;
}

template <typename Defects>
cv::Mat shapes(const cv::Mat &colorCrop, const Defects &defects)
{
    cv::Mat image = colorCrop.clone();
    for (const Defect &defect : defects)
        shape(image, defect);
    return image;
}

inline cv::Mat rings(const cv::Mat &colorCrop, const ZoneSizes &zones)
{
    cv::Mat image = colorCrop.clone();
    const cv::Point center(cvRound(float(image.cols) / 2), cvRound(float(image.rows) / 2));
    cv::circle(image, center, int(zones.coreRadius), cv::Scalar(0, 255, 255), 1, cv::LINE_8);
    cv::circle(image, center, int(zones.adhesiveRadius), cv::Scalar(0, 255, 0), 1, cv::LINE_8);
    cv::circle(image, center, int(zones.claddingRadius), cv::Scalar(0, 255, 0), 1, cv::LINE_8);
    cv::circle(image, center, int(zones.contactRadius), cv::Scalar(128, 0, 0), 1, cv::LINE_8);
    return image;
}
} // namespace Drawing

/// Where the fibre lies; the first half of an inspection. Fills the step images up to 02.
inline Inspection locate(cv::Mat &photo, cv::Mat &gray, const Standard &standard, const QSize &fov, float scale)
{
    Inspection inspection;
    cv::cvtColor(photo, gray, cv::COLOR_RGB2GRAY);
    inspection.stepImages[QStringLiteral("_01_gray.png")] = gray.clone();
    if (scale != 1.0F) {
        const int width = int(float(photo.cols) / scale);
        const int height = int(float(photo.rows) / scale);
        cv::Mat scaledPhoto;
        cv::Mat scaledGray;
        cv::resize(photo, scaledPhoto, cv::Size(width, height), 0, 0, cv::INTER_LINEAR);
        cv::resize(gray, scaledGray, cv::Size(width, height), 0, 0, cv::INTER_LINEAR);
        photo = scaledPhoto;
        gray = scaledGray;
        inspection.stepImages[QStringLiteral("_01_gray_scalled.png")] = gray.clone();
    }

    inspection.sourceSize = QSize(gray.cols, gray.rows);
    const float pixelsPerMicron = float(gray.cols) / float(fov.width());
    inspection.pixelSize = float(fov.width()) / float(gray.cols);
    const float claddingDiameter = float(standard.cladding().outerDiameter) * pixelsPerMicron;
    const float adhesiveWidth =
        float(standard.adhesive().outerDiameter - standard.adhesive().innerDiameter) * pixelsPerMicron;
    inspection.expectedCladdingDiameter = claddingDiameter;

    inspection.cladding = findCladdingCircle(gray, claddingDiameter / 2 + adhesiveWidth / 2).circle;
    if (inspection.cladding.radius == 0) {
        inspection.failure = QStringLiteral("Failed to detect cladding");
        return inspection;
    }
    const float contactDiameter = float(standard.contact().outerDiameter) * pixelsPerMicron;
    inspection.crop = calculateCrop(inspection.cladding.center, contactDiameter, inspection.sourceSize).crop;
    if (!inspection.crop.isValid()) {
        inspection.failure = QStringLiteral("crop geometry is invalid");
        return inspection;
    }
    inspection.zones.coreRadius = float(standard.core().outerDiameter) * pixelsPerMicron / 2;
    inspection.zones.claddingRadius = 2 * inspection.cladding.radius / 2;
    inspection.zones.adhesiveRadius = float(standard.adhesive().outerDiameter) * pixelsPerMicron / 2;
    inspection.zones.contactRadius = contactDiameter / 2;
    return inspection;
}

/// The whole inspection of a photograph. The core is painted over at random: if the outcome of that is given, it is
/// used; else the core is left as it is, which is right for a core without bright pixels.
inline Inspection inspect(
    const cv::Mat &image, Standard::Id id, const QSize &fov, float scale, const cv::Mat &cropWithoutCore = {})
{
    const Standard standard(id);
    cv::Mat photo = image.clone();
    cv::Mat gray;
    Inspection inspection = locate(photo, gray, standard, fov, scale);
    inspection.testResult = TestResult(standard);
    if (!inspection.failure.isEmpty())
        return inspection;
    auto &steps = inspection.stepImages;

    const cv::Rect crop(inspection.crop.x(), inspection.crop.y(), inspection.crop.width(), inspection.crop.height());
    cv::Mat grayCrop = gray(crop);
    const cv::Mat colorCrop = photo(crop);
    steps[QStringLiteral("_02_cropped.png")] = grayCrop.clone();

    const float measuredDiameter = 2 * inspection.cladding.radius;
    const float coreDiameter =
        float(standard.core().outerDiameter) * (float(inspection.sourceSize.width()) / float(fov.width()));
    inspection.claddingColor = claddingColor(grayCrop, measuredDiameter, coreDiameter);
    inspection.colorAroundCore = colorAroundCircle(grayCrop, coreDiameter, inspection.claddingColor, 255);
    inspection.colorAroundCladding =
        colorAroundCircle(grayCrop, float(int(measuredDiameter + 8)), inspection.claddingColor, 255);

    if (!cropWithoutCore.empty())
        cropWithoutCore.copyTo(grayCrop);
    steps[QStringLiteral("_03_cropped_without_core.png")] = grayCrop.clone();

    cv::Mat edges;
    cv::GaussianBlur(grayCrop, edges, cv::Size(5, 5), 0, 0); // the neighbours outside of the crop count
    steps[QStringLiteral("_04_blurred.png")] = edges.clone();
    cv::Canny(edges.clone(), edges, 10, 40, 3, false);
    steps[QStringLiteral("_05_canny_edges.png")] = edges.clone();
    removeCladdingEdges(
        edges, grayCrop, measuredDiameter / 2, inspection.claddingColor, inspection.colorAroundCladding);
    steps[QStringLiteral("_06_canny_edges_without_cladding.png")] = edges.clone();

    cv::findContours(edges, inspection.contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE, cv::Point(0, 0));
    for (const std::vector<cv::Point> &contour : inspection.contours) {
        if (contour.size() == 1)
            continue;
        const Defect defect = createDefectFromPixels(contour, 0);
        const QPoint center(edges.cols / 2, edges.rows / 2);
        const float distance = wholePixelDistance(center, defect.enclosingCircle.center);
        if (distance <= measuredDiameter / 2 + defect.enclosingCircle.radius)
            inspection.rawDefects.push_back(defect);
    }
    const float mergeDistance = 4.0F * (float(inspection.sourceSize.width()) / float(fov.width()));
    inspection.mergedRawDefects = mergeDefects(inspection.rawDefects, mergeDistance);
    for (const Defect &merged : inspection.mergedRawDefects) {
        std::vector<cv::Point> pixels;
        for (const QPointF &pixel : merged.pixels)
            pixels.push_back(Drawing::rounded(pixel));
        inspection.mergedDefects.push_back(createDefectFromPixels(pixels, inspection.pixelSize));
    }
    steps[QStringLiteral("_07_defect_contours.png")] = Drawing::contours(colorCrop, inspection.rawDefects);
    steps[QStringLiteral("_08_defect_rectangles.png")] = Drawing::shapes(colorCrop, inspection.rawDefects);
    steps[QStringLiteral("_09_merged_defects_contours.png")] = Drawing::contours(colorCrop, inspection.mergedDefects);
    steps[QStringLiteral("_10_merged_defects_rectangles.png")] = Drawing::shapes(colorCrop, inspection.mergedDefects);

    splitDefectsToZones(inspection.mergedDefects, inspection.coreDefects, inspection.claddingDefects,
        QSize(edges.cols, edges.rows), inspection.zones);
    const auto toVector = [](const std::vector<Defect> &defects) {
        return QVector<Defect>(defects.cbegin(), defects.cend());
    };
    inspection.testResult.processDefects(toVector(inspection.coreDefects), toVector(inspection.claddingDefects));

    const cv::Mat rings = Drawing::rings(colorCrop, inspection.zones);
    const auto drawGraded = [&](const QString &start, const QVector<Defect> &defects) {
        cv::Mat contours = rings.clone();
        for (const Defect &defect : defects)
            Drawing::contour(contours, defect, defect.causesFailure ? Drawing::red : Drawing::blue);
        steps[start + QStringLiteral(".png")] = Drawing::shapes(rings, defects);
        steps[start + QStringLiteral("_contours.png")] = contours;
    };
    drawGraded(QStringLiteral("_11_core_defects"), inspection.testResult.coreDefects());
    drawGraded(QStringLiteral("_12_cladding_defects"), inspection.testResult.claddingDefects());
    inspection.resultImage = Drawing::contours(colorCrop, inspection.mergedDefects);
    return inspection;
}

} // namespace Reference
