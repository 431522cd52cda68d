// SPDX-License-Identifier: Apache-2.0
#include "simulation/FocusStack.h"

#include <algorithm>

namespace Simulation {

FocusStack::FocusStack(const EndfaceScene &scene, int steps, double maxBlur)
    : mSurface(paintEndfaceSurface(scene))
    , mSeed(scene.seed)
    , mSteps(std::max(steps, 2))
    , mLens(maxBlur)
{
}

double FocusStack::blurAt(int step) const
{
    const double middle = (mSteps - 1) / 2.0;
    return mLens.blurAt((step - middle) / middle);
}

QImage FocusStack::frameAt(int step, double noise) const
{
    constexpr quint32 stride = 7919; // apart from the seeds of other stacks
    return exposeEndface(mSurface, blurAt(step), noise, mSeed * stride + static_cast<quint32>(step));
}

} // namespace Simulation
