// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/InspectionTrace_p.h"
#include "FiberInspection/Log_p.h"

namespace FiberInspection {

InspectionTrace::InspectionTrace(const StepImages::Show &show)
    : mImages(show)
{
}

void InspectionTrace::loaded()
{
    mLog.finish("image loaded");
}

void InspectionTrace::convertedToGray(const cv::Mat &gray)
{
    mImages.show("01_gray", gray);
    mLog.finish("image converted to gray");
}

void InspectionTrace::scaled(const cv::Mat &gray)
{
    mImages.show("01_gray_scalled", gray);
}

void InspectionTrace::foundCladding(const Circle &cladding, float expectedDiameter)
{
    mLog.finish("cladding detection finished");
    qCDebug(messageLog) << "cladding:" << cladding.radius << expectedDiameter << 2 * cladding.radius;
    qCDebug(messageLog) << "cladding info";
}

void InspectionTrace::calculatedCrop(const QRect &crop)
{
    qCDebug(messageLog) << "cropGeometry" << crop;
}

void InspectionTrace::cropped(const cv::Mat &gray)
{
    mImages.show("02_cropped", gray);
    mLog.finish("image cropped");
}

void InspectionTrace::measured(const GrayLevels &levels)
{
    qCDebug(messageLog) << "colorAroundCore:" << levels.aroundCore;
    qCDebug(messageLog) << "colorAroundCladding:" << levels.aroundCladding;
    mLog.finish("cladding & core colors calculated");
}

void InspectionTrace::removedCore(const cv::Mat &gray)
{
    mImages.show("03_cropped_without_core", gray);
    mLog.finish("core circle removed");
}

void InspectionTrace::blurred(const cv::Mat &gray, const GrayLevels &levels)
{
    mImages.show("04_blurred", gray);
    mLog.finish("image blurred");
    qCDebug(messageLog) << "claddingColor" << levels.cladding;
    qCDebug(messageLog) << "colorAroundCore" << levels.aroundCore;
}

void InspectionTrace::detectedEdges(const cv::Mat &edges)
{
    mImages.show("05_canny_edges", edges);
    mLog.finish("canny edges detected");
}

void InspectionTrace::removedCladdingEdges(const cv::Mat &edges)
{
    mImages.show("06_canny_edges_without_cladding", edges);
    mLog.finish("cladding circle removed");
    mLog.finish("images cloned"); // nothing is cloned any more, but logs are read by programs
}

void InspectionTrace::detectedContours()
{
    mLog.finish("contours detected");
}

void InspectionTrace::processedContours(const DefectCounts &counts)
{
    qCDebug(messageLog) << "contours.size:" << counts.contours;
    qCDebug(messageLog) << "rawDefects.size:" << counts.raw;
    mLog.finish("contours processed");
}

void InspectionTrace::merged(
    const cv::Mat &colorCrop, const std::vector<Defect> &rawDefects, const std::vector<Defect> &mergedDefects)
{
    qCDebug(messageLog) << "rawDefects found:" << rawDefects.size();
    qCDebug(messageLog) << "merged rawDefects:" << mergedDefects.size();
    mLog.finish("defects merged");
    mImages.showDefects(colorCrop, rawDefects, mergedDefects);
}

void InspectionTrace::split(std::size_t coreDefects, std::size_t claddingDefects, std::size_t contactDefects)
{
    qCDebug(messageLog) << "coreDefects.size:" << coreDefects;
    qCDebug(messageLog) << "claddingDefects.size:" << claddingDefects;
    qCDebug(messageLog) << "contactDefects.size:" << contactDefects;
    mLog.finish("checking standard rules");
}

void InspectionTrace::graded(const cv::Mat &colorCrop, const TestResult &result, const ZoneSizes &zones)
{
    mImages.showGradedDefects(colorCrop, result, zones);
    mLog.finish("defects processed");
}

void InspectionTrace::failed(const char *reason)
{
    qCDebug(messageLog) << reason;
}

void InspectionTrace::finished(bool passed)
{
    qCDebug(messageLog) << "TOOK" << mLog.totalMilliseconds();
    qCDebug(messageLog) << (passed ? "TEST PASSED" : "TEST FAILED");
}

} // namespace FiberInspection
