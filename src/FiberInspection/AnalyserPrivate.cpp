// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"

#include "FiberInspection/ImageFile_p.h"
#include "FiberInspection/Log_p.h"
#include "FiberInspection/StepImages_p.h"
#include "FiberInspection/StepLog_p.h"
#include "Helpers/BaseDirHelper.h"

#include <QFile>
#include <QMutex>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace FiberInspection {

namespace {
constexpr float maxPixelDistanceToMergeDefects = 4.0F; // micrometres

/// The diameters of a standard in pixels of the image.
struct ZoneDiameters
{
    float core = 0;
    float cladding = 0;
    float adhesive = 0;
    float adhesiveWidth = 0;
    float contact = 0;

    ZoneDiameters(const Standard &standard, const QSize &fov, const QSize &imageSize)
        : core(AnalyserPrivate::micronsToPixels(float(standard.core().outerDiameter), fov, imageSize))
        , cladding(AnalyserPrivate::micronsToPixels(float(standard.cladding().outerDiameter), fov, imageSize))
        , adhesive(AnalyserPrivate::micronsToPixels(float(standard.adhesive().outerDiameter), fov, imageSize))
        , adhesiveWidth(AnalyserPrivate::micronsToPixels(
              float(standard.adhesive().outerDiameter - standard.adhesive().innerDiameter), fov, imageSize))
        , contact(AnalyserPrivate::micronsToPixels(float(standard.contact().outerDiameter), fov, imageSize))
    {
    }

    float expectedCladdingRadius() const { return cladding / 2 + adhesiveWidth / 2; }
};

struct GrayLevels
{
    int cladding = 0;
    int aroundCore = 0;
    int aroundCladding = 0;
};

/// Divides the size of both images. False for a divisor that leaves nothing or asks for an image of unreasonable size.
bool scaleDown(cv::Mat &grayImage, cv::Mat &colorImage, float scale)
{
    const float width = static_cast<float>(grayImage.cols) / scale;
    const float height = static_cast<float>(grayImage.rows) / scale;
    const bool isUsable = std::isfinite(scale) && width >= 1 && height >= 1
        && static_cast<double>(width) * static_cast<double>(height) <= static_cast<double>(ImageFile::maxPixels())
        && std::max(width, height) < static_cast<float>(std::numeric_limits<int>::max());
    if (!isUsable)
        return false;

    const cv::Size size(static_cast<int>(width), static_cast<int>(height));
    for (cv::Mat *const image : {&grayImage, &colorImage}) {
        cv::Mat scaled;
        cv::resize(*image, scaled, size, 0, 0, cv::INTER_LINEAR);
        *image = scaled;
    }
    return true;
}

GrayLevels measureGrayLevels(const cv::Mat &grayCrop, float measuredCladdingDiameter, float coreDiameter)
{
    constexpr float diameterToleranceMarginForColorAroundCladding = 8;
    constexpr int brightest = 255;

    GrayLevels levels;
    levels.cladding = AnalyserPrivate::claddingColor(grayCrop, measuredCladdingDiameter, coreDiameter);
    levels.aroundCore = AnalyserPrivate::colorAroundCircle(grayCrop, coreDiameter, levels.cladding, brightest);
    const auto diameterForColorAroundCladding =
        static_cast<int>(measuredCladdingDiameter + diameterToleranceMarginForColorAroundCladding);
    levels.aroundCladding =
        AnalyserPrivate::colorAroundCircle(grayCrop, float(diameterForColorAroundCladding), levels.cladding, brightest);
    return levels;
}

/// Turns a blurred image into its edge map, in the same pixels.
cv::Mat detectEdges(cv::Mat blurredImage)
{
    constexpr double lowerThreshold = 10.0;
    constexpr double upperThreshold = 40.0;
    constexpr int apertureSize = 3;
    cv::Canny(blurredImage, blurredImage, lowerThreshold, upperThreshold, apertureSize, false);
    return blurredImage;
}

std::vector<std::vector<cv::Point>> detectContours(const cv::Mat &edges)
{
    std::vector<std::vector<cv::Point>> contours;
    cv::findContours(edges, contours, cv::RETR_EXTERNAL, cv::CHAIN_APPROX_NONE, cv::Point(0, 0));
    return contours;
}

/// The contours that reach the cladding, as defects without a size. Single pixels are noise.
std::vector<Defect> createRawDefects(
    const std::vector<std::vector<cv::Point>> &contours, const QSize &imageSize, float claddingRadius)
{
    const QPoint imageCenter(imageSize.width() / 2, imageSize.height() / 2);
    std::vector<Defect> rawDefects;
    for (const std::vector<cv::Point> &contour : contours) {
        if (contour.size() == 1)
            continue;
        Defect defect = AnalyserPrivate::createDefectFromPixels(contour, 0);
        const float distance = AnalyserPrivate::distanceBetweenPoints(imageCenter, defect.enclosingCircle.center);
        if (distance <= claddingRadius + defect.enclosingCircle.radius)
            rawDefects.push_back(std::move(defect));
    }
    return rawDefects;
}

/// Gives every defect its size. A joined one is rebuilt from its pixels; a lonely one has its geometry already.
std::vector<Defect> createMergedDefects(const std::vector<Defect> &mergedRawDefects, float pixelSize)
{
    std::vector<Defect> mergedDefects;
    mergedDefects.reserve(mergedRawDefects.size());
    for (const Defect &defect : mergedRawDefects) {
        if (defect.boundingRectPoints.isEmpty()) {
            mergedDefects.push_back(AnalyserPrivate::createDefectFromPixels(defect.pixels, pixelSize));
        } else {
            mergedDefects.push_back(defect);
            mergedDefects.back().calculateSize(pixelSize);
        }
    }
    return mergedDefects;
}

QVector<Defect> toVector(const std::vector<Defect> &defects)
{
    return {defects.cbegin(), defects.cend()};
}
} // namespace

TestResult AnalyserPrivate::analyse(Standard::Id standardId, const QString &fileName, const Device &device, float scale,
    bool saveStepsImages, InspectionRecord *record)
{
    // Every analysis writes the same result image.
    static QMutex oneAtATime;
    const QMutexLocker lock(&oneAtATime);

    const Standard standard(standardId);
    TestResult testResult(standard);
    InspectionRecord unusedRecord;
    InspectionRecord &measured = record ? *record : unusedRecord;
    measured = InspectionRecord();
    StepLog log;
    const StepImages images(fileName, saveStepsImages);

    const auto finish = [&]() {
        measured.elapsedMs = static_cast<double>(log.totalNanoseconds()) / 1e6;
        return testResult;
    };
    const auto fail = [&](const char *reason) {
        qCDebug(messageLog) << reason;
        measured.reason = QLatin1String(reason);
        return finish();
    };

    cv::Mat matImage = loadImage(fileName, &measured.detail);
    if (matImage.empty())
        return fail("Failed to load image");
    log.finish("image loaded");

    cv::Mat grayMatImage = convertImageToGray(matImage);
    if (grayMatImage.empty())
        return fail("Failed to convert image to grayscale");
    images.save("_01_gray.png", grayMatImage);
    log.finish("image converted to gray");

    if (!qFuzzyCompare(scale, 1.0F)) {
        if (!scaleDown(grayMatImage, matImage, scale))
            return fail("Failed to detect cladding");
        images.save("_01_gray_scalled.png", grayMatImage);
    }

    const QSize sourceImageSize = imageSize(grayMatImage);
    const ZoneDiameters diameters(standard, device.fov, sourceImageSize);
    measured.pixelSize = pixelSize(device.fov, sourceImageSize);

    const Circle claddingCircle = findCladdingCircle(grayMatImage, diameters.expectedCladdingRadius());
    if (!claddingCircle.isValid())
        return fail("Failed to detect cladding");
    const float measuredCladdingDiameter = 2 * claddingCircle.radius;
    const float measuredCladdingRadius = measuredCladdingDiameter / 2;
    measured.cladding = claddingCircle;
    log.finish("cladding detection finished");
    qCDebug(messageLog) << "cladding:" << claddingCircle.radius << diameters.cladding << measuredCladdingDiameter;
    qCDebug(messageLog) << "cladding info";

    const QRect cropGeometry = calculateCrop(claddingCircle.center, diameters.contact, sourceImageSize);
    qCDebug(messageLog) << "cropGeometry" << cropGeometry;
    if (!cropGeometry.isValid())
        return fail("crop geometry is invalid");
    measured.crop = cropGeometry;
    cv::Mat croppedGrayMatyImage = cropImage(grayMatImage, cropGeometry);
    const cv::Mat croppedColorMatImage = cropImage(matImage, cropGeometry);
    const QSize croppedImageSize = imageSize(croppedGrayMatyImage);
    images.save("_02_cropped.png", croppedGrayMatyImage);
    log.finish("image cropped");

    const GrayLevels levels = measureGrayLevels(croppedGrayMatyImage, measuredCladdingDiameter, diameters.core);
    measured.claddingColor = levels.cladding;
    measured.colorAroundCore = levels.aroundCore;
    measured.colorAroundCladding = levels.aroundCladding;
    qCDebug(messageLog) << "colorAroundCore:" << levels.aroundCore;
    qCDebug(messageLog) << "colorAroundCladding:" << levels.aroundCladding;
    log.finish("cladding & core colors calculated");

    removeCoreCircle(croppedGrayMatyImage, diameters.core, levels.aroundCore);
    images.save("_03_cropped_without_core.png", croppedGrayMatyImage);
    log.finish("core circle removed");

    const cv::Mat blurredImage = blurImage(croppedGrayMatyImage);
    images.save("_04_blurred.png", blurredImage);
    log.finish("image blurred");
    qCDebug(messageLog) << "claddingColor" << levels.cladding;
    qCDebug(messageLog) << "colorAroundCore" << levels.aroundCore;

    cv::Mat cannyEdgesImage = detectEdges(blurredImage);
    images.save("_05_canny_edges.png", cannyEdgesImage);
    log.finish("canny edges detected");

    removeCladdingEdges(
        cannyEdgesImage, croppedGrayMatyImage, measuredCladdingRadius, levels.cladding, levels.aroundCladding);
    images.save("_06_canny_edges_without_cladding.png", cannyEdgesImage);
    log.finish("cladding circle removed");

    const ZoneSizes zoneSizes{
        diameters.core / 2, measuredCladdingRadius, diameters.adhesive / 2, diameters.contact / 2};
    log.finish("images cloned");

    const std::vector<std::vector<cv::Point>> contours = detectContours(cannyEdgesImage);
    log.finish("contours detected");

    const std::vector<Defect> rawDefects = createRawDefects(contours, croppedImageSize, measuredCladdingRadius);
    measured.contours = static_cast<int>(contours.size());
    measured.rawDefects = static_cast<int>(rawDefects.size());
    qCDebug(messageLog) << "contours.size:" << contours.size();
    qCDebug(messageLog) << "rawDefects.size:" << rawDefects.size();
    log.finish("contours processed");

    const float maxDistanceToMerge = micronsToPixels(maxPixelDistanceToMergeDefects, device.fov, sourceImageSize);
    const std::vector<Defect> mergedRawDefects = mergeDefects(rawDefects, maxDistanceToMerge);
    measured.mergedDefects = static_cast<int>(mergedRawDefects.size());
    qCDebug(messageLog) << "rawDefects found:" << rawDefects.size();
    qCDebug(messageLog) << "merged rawDefects:" << mergedRawDefects.size();

    const std::vector<Defect> mergedDefects = createMergedDefects(mergedRawDefects, measured.pixelSize);
    log.finish("defects merged");
    images.saveDefects(croppedColorMatImage, rawDefects, mergedDefects);

    std::vector<Defect> coreDefects;
    std::vector<Defect> claddingDefects;
    std::vector<Defect> contactDefects;
    splitDefectsToZones(mergedDefects, coreDefects, claddingDefects, contactDefects, croppedImageSize, zoneSizes);
    qCDebug(messageLog) << "coreDefects.size:" << coreDefects.size();
    qCDebug(messageLog) << "claddingDefects.size:" << claddingDefects.size();
    qCDebug(messageLog) << "contactDefects.size:" << contactDefects.size();
    log.finish("checking standard rules");

    testResult.processDefects(toVector(coreDefects), toVector(claddingDefects));
    images.saveGradedDefects(croppedColorMatImage, testResult, zoneSizes);
    log.finish("defects processed");

    const QString resultImagePath = BaseDirHelper::tmpFiberInspectionResultImagePath();
    measured.resultImageWritten = saveImage(annotatedImage(croppedColorMatImage, mergedDefects), resultImagePath);
    if (!measured.resultImageWritten) {
        QFile::remove(resultImagePath); // nothing is better than the picture of another fibre
        qCWarning(messageLog) << "result image not written:" << resultImagePath;
    }

    qCDebug(messageLog) << "TOOK" << log.totalNanoseconds() / 1000000;
    qCDebug(messageLog) << (testResult.passed() ? "TEST PASSED" : "TEST FAILED");
    testResult.setError(false);
    return finish();
}

} // namespace FiberInspection
