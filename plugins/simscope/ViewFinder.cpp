// SPDX-License-Identifier: Apache-2.0
#include "ViewFinder.h"

#include "SimulatedCamera.h"
#include "SimulatedScope.h"

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
    stopSurface();
    mSurface = surface;
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
    if (!mSurface->isActive() && !mSurface->start(QVideoSurfaceFormat(frame.size(), frame.pixelFormat()))) {
        mTimer.stop(); // it does not show frames of this kind
        return;
    }
    mSurface->present(frame);
}

void ViewFinder::stopSurface()
{
    if (mSurface && mSurface->isActive())
        mSurface->stop();
}
