// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QPointer>
#include <QTimer>
#include <QVideoRendererControl>

class SimulatedCamera;

/// Gives the frames of an active camera to the surface that shows them.
class ViewFinder : public QVideoRendererControl
{
    Q_OBJECT

public:
    explicit ViewFinder(SimulatedCamera *camera, QObject *parent = nullptr);
    ~ViewFinder() override;

    QAbstractVideoSurface *surface() const override;
    void setSurface(QAbstractVideoSurface *surface) override;

private:
    void followCamera();
    void showFrame();
    void stopSurface();

    SimulatedCamera *const mCamera;
    QPointer<QAbstractVideoSurface> mSurface;
    QTimer mTimer;
};
