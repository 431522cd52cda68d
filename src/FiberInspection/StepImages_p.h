// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/AnalyserPrivate.h"

#include <functional>

namespace FiberInspection {

/// The contour of one defect, in red.
void drawOutline(cv::Mat &colorImage, const QVector<QPointF> &outline);

/// A picture of each step of an inspection, painted when somebody looks.
class StepImages
{
public:
    using Show = std::function<void(const QString &step, const QImage &picture)>;

    /// The pixels of a grey picture, or of one in blue, green and red, as a matrix; not to be written to.
    static cv::Mat viewOf(const QImage &picture);

    /// @param show may be empty
    explicit StepImages(const Show &show);

    void show(const char *step, const cv::Mat &image) const;

    /// Steps 07 to 10: contours, then rectangles and circles, of the defects before and after merging.
    void showDefects(const cv::Mat &colorCrop, const std::vector<Defect> &rawDefects,
        const std::vector<Defect> &mergedDefects) const;

    /// Steps 11 and 12: the graded defects of the core and of the cladding, with the zones.
    void showGradedDefects(const cv::Mat &colorCrop, const TestResult &testResult, const ZoneSizes &zoneSizes) const;

private:
    Show mShow;
};

} // namespace FiberInspection
