// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/TestResult.h"
#include "simulation/EndfacePainter.h"

namespace Study {

/// What the size of a scratch is when the truth is graded.
enum class ScratchSize : quint8 {
    Length, ///< of the circle around it, as the analysis measures every defect
    Width, ///< across it
};

/// A blemish, or several that count as one, as a perfect eye grades it.
struct TrueDefect
{
    QVector<int> blemishes; ///< indices in the scene
    FiberInspection::Defect::Type type = FiberInspection::Defect::Type::Defect;
    FiberInspection::Zone::Id zone = FiberInspection::Zone::Core;
    double size = 0; ///< micrometres
    bool causesFailure = false;
};

struct TrueVerdict
{
    bool passed = false;
    QVector<TrueDefect> defects; ///< of the graded zones
};

/// Whether a place, in micrometres from the fibre centre, lies on the blemish or at most `reach` beside it.
bool liesOn(const EndfaceDefect &blemish, const QPointF &place, double reach);

/// The verdict of the rules on the painted blemishes themselves, with the analysis' own notions of a scratch, of what
/// is too close to count twice, and of the zone that a defect belongs to, but without its pixels.
TrueVerdict gradeTruth(const EndfaceScene &scene, FiberInspection::Standard::Id standard, ScratchSize scratchSize);

} // namespace Study
