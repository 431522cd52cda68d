// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulation/EndfacePainter.h"
#include "simulation/Lens.h"

namespace Simulation {

/// A painted end face on its way through the focus: from far out on one side to far out on the other.
class FocusStack
{
public:
    /// @param steps at least 2
    /// @param maxBlur micrometres at both ends
    FocusStack(const EndfaceScene &scene, int steps, double maxBlur);

    int steps() const { return mSteps; }
    double blurAt(int step) const; ///< micrometres
    QImage frameAt(int step, double noise) const; ///< noise in grey levels; equal for equal arguments

private:
    EndfaceSurface mSurface;
    quint32 mSeed;
    int mSteps;
    Lens mLens;
};

} // namespace Simulation
