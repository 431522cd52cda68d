// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "focus/Frame.h"
#include "simulation/FocusStack.h"

namespace Focus {

/// What a painted sweep through the focus looks like.
struct SweepSettings
{
    int steps = 31;
    quint32 seed = 1; ///< of the face and its noise
    double noise = 0.9; ///< grey levels
    double illumination = 0; ///< light gained from one end of the width to the other, as a share
    double maxBlur = 6; ///< micrometres at both ends

    EndfaceScene scene() const; ///< a face with some defects, somewhere near the middle of the picture
};

class SweepFrames : public FrameSource
{
public:
    explicit SweepFrames(const SweepSettings &settings);

    bool next(Frame *frame) override;
    int nameWidth() const override;

private:
    Simulation::FocusStack mStack;
    double mNoise;
    int mNext = 0;
};

} // namespace Focus
