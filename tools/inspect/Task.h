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
    int imageNumber = 0; ///< of two tasks of one image the same
    FiberInspection::Standard::Id standardId = FiberInspection::Standard::IEC61300_3_35_SM_RL45;
    QString outputName; ///< start of the names of all files that the task may leave in the output folder
};

/// What one worker does of an image, one after the other: the image is fetched and decoded once for all of it.
struct Share
{
    int next = 0; ///< task
    int end = 0; ///< behind the last task
};

/// The tasks of each image as one share. Where there are more processes than images, several of them share one.
/// @param tasks of so many images, as many of each
QVector<Share> makeShares(int tasks, int standards, int jobs);

/// Image by image, for each in the order of the standards. No two tasks share an output name, also where the file
/// system ignores case, and no output takes the place of an image.
QVector<Task> makeTasks(const QVector<InputImage> &images, const Options &options, const OutputFolder &output);

} // namespace Inspect
