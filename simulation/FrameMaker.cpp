// SPDX-License-Identifier: Apache-2.0
#include "simulation/FrameMaker.h"

#include "simulation/EndfaceScenes.h"
#include "simulation/Lens.h"
#include "simulation/SimulatedScope.h"
#include "simulation/VideoFrames.h"

#include <QtConcurrent>

namespace {
constexpr double greatestBlur = 6.0; // micrometres, at both ends of the knob
constexpr double noise = 0.9; // grey levels

EndfaceScene sceneOf(const QString &face)
{
    EndfaceScene scene = endfacePreset(face);
    if (face == SimulatedScope::emptyAdapter())
        scene.frame = EndfaceScene::Frame::NoFibre;
    scene.size = SimulatedScope::frameSize;
    return scene;
}
} // namespace

FrameMaker::FrameMaker()
{
    connect(&mPainter, &QFutureWatcherBase::finished, this, [this] { take(mPainter.result()); });
}

FrameMaker::~FrameMaker()
{
    mPainter.waitForFinished();
}

void FrameMaker::show(const QString &face, double focus)
{
    mWanted = {face, focus};
    paintNext();
}

QVideoFrame FrameMaker::next()
{
    if (mPictures.isEmpty())
        return {};
    mShown = (mShown + 1) % mPictures.size();
    return mPictures[mShown].frame;
}

void FrameMaker::paintNext()
{
    if (mPainter.isRunning())
        return;
    const int pattern = isSettled() ? mPictures.size() : 0;
    if (pattern < noisePatterns)
        mPainter.setFuture(QtConcurrent::run([this, view = mWanted, pattern] { return paint(view, pattern); }));
}

void FrameMaker::take(const Painting &painting)
{
    if (!isSettled()) {
        mPictures.clear();
        mShown = 0;
    }
    mPicturesView = painting.view;
    mPictures.append(painting.picture);
    paintNext();
}

FrameMaker::Painting FrameMaker::paint(const View &view, int pattern)
{
    if (view.face != mSurfaceFace) {
        mSurface = paintEndfaceSurface(sceneOf(view.face));
        mSurfaceFace = view.face;
    }
    const QImage image = exposeEndface(
        mSurface, Simulation::Lens(greatestBlur).blurAt(view.focus), noise, static_cast<quint32>(pattern));
    return {view, {image, Simulation::videoFrame(image)}};
}
