// SPDX-License-Identifier: Apache-2.0
#include "FocusStack.h"

#include <algorithm>
#include <cmath>

namespace Focus {

FocusStack::FocusStack(const EndfaceScene &scene, int steps, double maxBlur)
    : mSurface(paintEndfaceSurface(scene))
    , mSeed(scene.seed)
    , mSteps(std::max(steps, 2))
    , mMaxBlur(std::max(maxBlur, sharpestBlur))
{
}

double FocusStack::blurAt(int step) const
{
    const double distance = (step - sharpestStep()) / sharpestStep(); // -1 to 1
    const double squaredGrowth = mMaxBlur * mMaxBlur - sharpestBlur * sharpestBlur;
    return std::sqrt(sharpestBlur * sharpestBlur + squaredGrowth * distance * distance);
}

QImage FocusStack::frameAt(int step, double noise) const
{
    constexpr quint32 stride = 7919; // apart from the seeds of other stacks
    return exposeEndface(mSurface, blurAt(step), noise, mSeed * stride + static_cast<quint32>(step));
}

} // namespace Focus
