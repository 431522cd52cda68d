// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "EndfacePainter.h"

namespace Focus {

/// A painted end face on its way through the focus: from far out on one side to far out on the other.
///
/// The blur of a defocused lens grows with the distance from the focus and adds to its own one as squares.
class FocusStack
{
public:
    static constexpr double sharpestBlur = 0.9; ///< micrometres; the lens's own

    /// @param steps at least 2
    /// @param maxBlur micrometres at both ends
    FocusStack(const EndfaceScene &scene, int steps, double maxBlur);

    int steps() const { return mSteps; }
    double blurAt(int step) const; ///< micrometres
    QImage frameAt(int step, double noise) const; ///< noise in grey levels; equal for equal arguments

    /// The middle of the stack, where the blur is least.
    double sharpestStep() const { return (mSteps - 1) / 2.0; }

private:
    EndfaceSurface mSurface;
    quint32 mSeed;
    int mSteps;
    double mMaxBlur;
};

} // namespace Focus
