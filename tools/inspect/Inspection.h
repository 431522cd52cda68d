// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "inspect/Task.h"

namespace Inspect {

class Pictures;
struct Options;

/// From the best to the worst.
enum class Verdict : quint8 { Passed, Failed, NotAnalysed };

/// How often each verdict came out.
struct Repetition
{
    int runs = 0;
    int passed = 0;
    int failed = 0;
    int errors = 0;
};

/// What an analysis measured on its way.
struct Measurements
{
    float pixelSize = 0; ///< micrometres per pixel
    FiberInspection::Circle cladding; ///< pixels of the analysed image
    QRect crop; ///< pixels of the analysed image
    FiberInspection::GrayLevels grayLevels;
    FiberInspection::DefectCounts counts;
    double elapsedMs = 0;
};

/// All that is known about one task after it was done.
struct Inspection
{
    Task task;
    FiberInspection::TestResult result;
    Measurements measurements;
    QString reason; ///< why there is no verdict; empty when there is one
    QVector<int> corePixels; ///< of each core defect; the pixels themselves stay with the worker
    QVector<int> claddingPixels; ///< of each cladding defect
    bool hasKeptResult = false; ///< the annotated image lies in the worker's folder
    QString resultImage; ///< path of the annotated image that was kept; empty when there is none
    QString problem; ///< what went wrong beside the analysis, with the images to keep
    Repetition repetition;

    Verdict verdict() const;
};

/// Analyses the image of the task as often as asked for, and tells about the worst run, whose pictures are kept if the
/// options say so.
/// @param image path of the image as the worker sees it
Inspection inspect(const Task &task, const QString &image, const Options &options, const Pictures &pictures);

/// A task that could not be done.
Inspection notAnalysed(const Task &task, const QString &reason);

} // namespace Inspect
