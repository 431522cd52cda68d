// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCameraControl>
#include <QTimer>

/// The camera of the simulated scope: on, off, or unplugged.
class SimulatedCamera : public QCameraControl
{
    Q_OBJECT

public:
    explicit SimulatedCamera(QObject *parent = nullptr);

    QCamera::State state() const override { return mState; }
    void setState(QCamera::State state) override;
    QCamera::Status status() const override { return mStatus; }
    bool isActive() const { return mStatus == QCamera::ActiveStatus; }

    QCamera::CaptureModes captureMode() const override { return QCamera::CaptureStillImage; }
    void setCaptureMode(QCamera::CaptureModes) override {}
    bool isCaptureModeSupported(QCamera::CaptureModes mode) const override;
    bool canChangeProperty(PropertyChangeType, QCamera::Status) const override { return true; }

private:
    void setStatus(QCamera::Status status);
    void fail(const QString &why);
    void handlePlug(bool isPlugged);

    QCamera::State mState = QCamera::UnloadedState;
    QCamera::Status mStatus = QCamera::UnloadedStatus;
    QTimer mStart; // a sensor needs a moment
};
