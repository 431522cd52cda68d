// SPDX-License-Identifier: Apache-2.0
#include "focus/SweepFrames.h"

#include "simulation/EndfaceScenes.h"
#include "simulation/VideoFrames.h"

namespace Focus {

EndfaceScene SweepSettings::scene() const
{
    EndfaceScene scene = randomEndfaceScene(seed);
    scene.illumination = illumination;
    return scene;
}

SweepFrames::SweepFrames(const SweepSettings &settings)
    : mStack(settings.scene(), settings.steps, settings.maxBlur)
    , mNoise(settings.noise)
{
}

bool SweepFrames::next(Frame *frame)
{
    if (mNext >= mStack.steps())
        return false;
    *frame = Frame();
    frame->name = QStringLiteral("sweep#%1").arg(mNext + 1);
    frame->blur = mStack.blurAt(mNext);
    frame->picture = Simulation::videoFrame(mStack.frameAt(mNext, mNoise));
    ++mNext;
    return true;
}

int SweepFrames::nameWidth() const
{
    return QStringLiteral("sweep#%1").arg(mStack.steps()).size();
}

} // namespace Focus
