// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Geometry.h"

#include <QRect>

namespace FiberInspection {

/// What one inspection measured on its way. Values of stages that were not reached keep their initial ones.
struct InspectionRecord
{
    QString reason; ///< why there is no verdict, as the log says it; empty when there is one
    QString detail; ///< what exactly is wrong with the file, where that is known
    float pixelSize = 0; ///< micrometres per pixel
    Circle cladding; ///< pixels of the analysed image
    QRect crop; ///< pixels of the analysed image
    int claddingColor = 0; ///< grey level, 0 to 255; a little below the mean of the cladding
    int colorAroundCore = 0; ///< grey level
    int colorAroundCladding = 0; ///< grey level
    int contours = 0; ///< all of the cleaned edge map
    int rawDefects = 0; ///< contours that reach the cladding
    int mergedDefects = 0;
    bool resultImageWritten = false;
    double elapsedMs = 0;
};

} // namespace FiberInspection
