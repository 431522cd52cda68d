// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulation/camera/CameraControls.h"
#include "simulation/camera/SimulatedCamera.h"
#include "simulation/camera/StillCapture.h"
#include "simulation/camera/ViewFinder.h"

#include <QMediaService>

/// All controls of the simulated scope, by name.
class CameraService : public QMediaService
{
    Q_OBJECT

public:
    CameraService();
    ~CameraService() override;

    QMediaControl *requestControl(const char *name) override;
    void releaseControl(QMediaControl *control) override;

private:
    SimulatedCamera mCamera;
    ViewFinder mViewFinder;
    StillCapture mStillCapture;
    OneDevice mDevice;
    ScopeInfo mInfo;
    ToFile mDestination;
    JpegOnly mEncoder;
};
