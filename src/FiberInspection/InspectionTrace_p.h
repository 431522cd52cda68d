// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "FiberInspection/StepImages_p.h"
#include "FiberInspection/StepLog_p.h"

namespace FiberInspection {

/// What an inspection tells about itself: the log of its steps and, if somebody looks, a picture of each. It is told
/// after each step; the inspection does not depend on it.
class InspectionTrace
{
public:
    explicit InspectionTrace(const StepImages::Show &show);

    void loaded();
    void convertedToGray(const cv::Mat &gray);
    void scaled(const cv::Mat &gray);
    void foundCladding(const Circle &cladding, float expectedDiameter);
    void calculatedCrop(const QRect &crop);
    void cropped(const cv::Mat &gray);
    void measured(const GrayLevels &levels);
    void removedCore(const cv::Mat &gray);
    void blurred(const cv::Mat &gray, const GrayLevels &levels);
    void detectedEdges(const cv::Mat &edges);
    void removedCladdingEdges(const cv::Mat &edges);
    void detectedContours();
    void processedContours(const DefectCounts &counts);
    void merged(
        const cv::Mat &colorCrop, const std::vector<Defect> &rawDefects, const std::vector<Defect> &mergedDefects);
    void split(std::size_t coreDefects, std::size_t claddingDefects, std::size_t contactDefects);
    void graded(const cv::Mat &colorCrop, const TestResult &result, const ZoneSizes &zones);

    void failed(const char *reason);
    void finished(bool passed); ///< with everything, the result image included

private:
    StepLog mLog;
    StepImages mImages;
};

} // namespace FiberInspection
