// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "CameraControls.h"
#include "SimulatedCamera.h"
#include "StillCapture.h"
#include "ViewFinder.h"

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
