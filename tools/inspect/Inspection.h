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
    double elapsedMs = 0; ///< with the decoding, also where that was done for another standard
};

/// All that is known about one task after it was done.
struct Inspection
{
    Task task;
    FiberInspection::TestResult result;
    Measurements measurements;
    NoVerdict reason;
    QVector<int> corePixels; ///< of each core defect; the pixels themselves stay with the worker
    QVector<int> claddingPixels; ///< of each cladding defect
    bool hasKeptResult = false; ///< the annotated image lies in the worker's folder
    QString resultImage; ///< path of the annotated image that was kept; empty when there is none
    QString problem; ///< what went wrong beside the analysis, with the images to keep
    Repetition repetition;

    Verdict verdict() const;
};

/// An image as the worker decoded it, for all standards.
struct Photograph
{
    FiberInspection::LoadedImage image;
    double decodingMs = 0;

    /// @param path as the worker sees it
    static Photograph load(const QString &path, const Options &options);
};

/// Analyses the photograph as often as asked for, and tells about the worst run, whose pictures are kept if the options
/// say so.
Inspection inspect(const Task &task, const Photograph &photograph, const Options &options, const Pictures &pictures);

/// A task that could not be done.
Inspection notAnalysed(const Task &task, const NoVerdict &reason);

} // namespace Inspect
