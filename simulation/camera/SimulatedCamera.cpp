// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/SimulatedCamera.h"

#include "simulation/SimulatedScope.h"

#include <QPointer>

namespace {
constexpr int startMilliseconds = 100;

/// What the camera is in as soon as it is asked for the state.
QCamera::Status statusOf(QCamera::State state)
{
    switch (state) {
    case QCamera::UnloadedState:
        break;
    case QCamera::LoadedState:
        return QCamera::LoadedStatus;
    case QCamera::ActiveState:
        return QCamera::StartingStatus;
    }
    return QCamera::UnloadedStatus;
}
} // namespace

SimulatedCamera::SimulatedCamera(QObject *parent)
    : QCameraControl(parent)
{
    mStart.setSingleShot(true);
    mStart.setInterval(startMilliseconds);
    connect(&mStart, &QTimer::timeout, this, [this] { setStatus(QCamera::ActiveStatus); });
    connect(SimulatedScope::instance(), &SimulatedScope::isPluggedChanged, this, &SimulatedCamera::handlePlug);
}

void SimulatedCamera::setState(QCamera::State state)
{
    if (state == mState)
        return;
    if (state != QCamera::UnloadedState && !SimulatedScope::instance()->isPlugged()) {
        fail(QStringLiteral("There is no scope"));
        return;
    }
    mState = state;
    if (state == QCamera::ActiveState)
        mStart.start(); // before anyone hears of it, who may stop the camera again
    else
        mStart.stop();
    const QPointer<SimulatedCamera> self(this);
    setStatus(statusOf(state));
    if (self && mState == state) // a receiver may have destroyed the camera, or told of another state
        Q_EMIT stateChanged(state);
}

bool SimulatedCamera::isCaptureModeSupported(QCamera::CaptureModes mode) const
{
    return mode == QCamera::CaptureStillImage || mode == QCamera::CaptureViewfinder;
}

void SimulatedCamera::setStatus(QCamera::Status status)
{
    if (status == mStatus)
        return;
    mStatus = status;
    Q_EMIT statusChanged(mStatus);
}

void SimulatedCamera::fail(const QString &why)
{
    Q_EMIT error(QCamera::CameraError, why);
}

void SimulatedCamera::handlePlug(bool isPlugged)
{
    if (isPlugged || mState == QCamera::UnloadedState)
        return;
    const QPointer<SimulatedCamera> self(this);
    setState(QCamera::UnloadedState);
    if (self) // the page may be gone with its camera
        fail(QStringLiteral("The scope was unplugged"));
}
