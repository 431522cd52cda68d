// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "inspect/ImageList.h"

namespace Inspect {

class OutputFolder;
struct Options;

/// One image to be graded by one standard.
struct Task
{
    InputImage image;
    FiberInspection::Standard::Id standardId = FiberInspection::Standard::IEC61300_3_35_SM_RL45;
    QString outputName; ///< start of the names of all files that the task may leave in the output folder
};

/// Image by image, for each in the order of the standards. No two tasks share an output name, also where the file
/// system ignores case, and no output takes the place of an image.
QVector<Task> makeTasks(const QVector<InputImage> &images, const Options &options, const OutputFolder &output);

} // namespace Inspect
