// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/AnalyserPrivate.h"

namespace FiberInspection {

/// The crop with the contours of the defects, as the user sees it.
cv::Mat annotatedImage(const cv::Mat &colorCrop, const std::vector<Defect> &defects);

/// Numbered images of the steps of an inspection, written beside the photograph when they are asked for.
class StepImages
{
public:
    StepImages(const QString &fileName, bool enabled);

    void save(const char *suffix, const cv::Mat &image) const;

    /// Steps 07 to 10: contours, then rectangles and circles, of the defects before and after merging.
    void saveDefects(const cv::Mat &colorCrop, const std::vector<Defect> &rawDefects,
        const std::vector<Defect> &mergedDefects) const;

    /// Steps 11 and 12: the graded defects of the core and of the cladding, with the zones.
    void saveGradedDefects(const cv::Mat &colorCrop, const TestResult &testResult, const ZoneSizes &zoneSizes) const;

private:
    QString mFileName;
    bool mEnabled;
};

} // namespace FiberInspection
