// SPDX-License-Identifier: Apache-2.0
#include "SimulatedCamera.h"

#include "SimulatedScope.h"

namespace {
constexpr int startMilliseconds = 100;
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
    mStart.stop();
    switch (state) {
    case QCamera::UnloadedState:
        setStatus(QCamera::UnloadedStatus);
        break;
    case QCamera::LoadedState:
        setStatus(QCamera::LoadedStatus);
        break;
    case QCamera::ActiveState:
        setStatus(QCamera::StartingStatus);
        mStart.start();
        break;
    }
    Q_EMIT stateChanged(mState);
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
    setState(QCamera::UnloadedState);
    fail(QStringLiteral("The scope was unplugged"));
}
