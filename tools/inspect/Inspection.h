// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/InspectionRecord_p.h"
#include "FiberInspection/TestResult.h"
#include "Task.h"

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

/// All that is known about one task after it was done.
struct Inspection
{
    Task task;
    FiberInspection::TestResult result;
    FiberInspection::InspectionRecord record;
    QString reason; ///< why there is no verdict; empty when there is one
    QVector<int> corePixels; ///< of each core defect; the pixels themselves stay with the worker
    QVector<int> claddingPixels; ///< of each cladding defect
    QString resultImage; ///< path of the annotated image that was kept; empty when there is none
    QString problem; ///< what went wrong beside the analysis, with the images to keep
    Repetition repetition;

    Verdict verdict() const;
};

/// Analyses the image that the worker sees now as often as asked for, and tells about the worst run. Never throws.
Inspection inspect(const Task &task, const Options &options, const Pictures &pictures);

/// A task that could not be done.
Inspection notAnalysed(const Task &task, const QString &reason);

} // namespace Inspect
