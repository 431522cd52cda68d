// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/ViewFinder.h"

#include "simulation/SimulatedScope.h"
#include "simulation/camera/SimulatedCamera.h"

#include <QAbstractVideoSurface>
#include <QVideoSurfaceFormat>

ViewFinder::ViewFinder(SimulatedCamera *camera, QObject *parent)
    : QVideoRendererControl(parent)
    , mCamera(camera)
{
    mTimer.setTimerType(Qt::PreciseTimer);
    mTimer.setInterval(1000 / SimulatedScope::framesPerSecond);
    connect(&mTimer, &QTimer::timeout, this, &ViewFinder::showFrame);
    connect(camera, &QCameraControl::statusChanged, this, &ViewFinder::followCamera);
}

ViewFinder::~ViewFinder() = default;

QAbstractVideoSurface *ViewFinder::surface() const
{
    return mSurface;
}

void ViewFinder::setSurface(QAbstractVideoSurface *surface)
{
    if (surface == mSurface)
        return;
    const QPointer<ViewFinder> self(this);
    const QPointer<QAbstractVideoSurface> next(surface);
    stopSurface();
    if (!self) // a surface runs code of others, and the camera may go in it
        return;
    mSurface = next;
    followCamera();
}

void ViewFinder::followCamera()
{
    if (mCamera->isActive() && mSurface) {
        mTimer.start();
    } else {
        mTimer.stop();
        stopSurface();
    }
}

void ViewFinder::showFrame()
{
    const QVideoFrame frame = SimulatedScope::instance()->nextFrame();
    if (!frame.isValid() || !mSurface)
        return;
    const QPointer<ViewFinder> self(this);
    if (!mSurface->isActive() && !mSurface->start(QVideoSurfaceFormat(frame.size(), frame.pixelFormat()))) {
        if (self)
            mTimer.stop(); // it does not show frames of this kind
        return;
    }
    if (self && mSurface && mSurface->isActive()) // its start may have been the end of either
        mSurface->present(frame);
}

void ViewFinder::stopSurface()
{
    if (mSurface && mSurface->isActive())
        mSurface->stop();
}
