// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/CameraService.h"

CameraService::CameraService()
    : QMediaService(nullptr)
    , mViewFinder(&mCamera)
    , mStillCapture(&mCamera)
{
}

CameraService::~CameraService() = default;

QMediaControl *CameraService::requestControl(const char *name)
{
    const struct
    {
        const char *name;
        QMediaControl *control;
    } controls[] = {
        {QCameraControl_iid, &mCamera},
        {QVideoRendererControl_iid, &mViewFinder},
        {QCameraImageCaptureControl_iid, &mStillCapture},
        {QVideoDeviceSelectorControl_iid, &mDevice},
        {QCameraInfoControl_iid, &mInfo},
        {QCameraCaptureDestinationControl_iid, &mDestination},
        {QImageEncoderControl_iid, &mEncoder},
    };
    for (const auto &entry : controls) {
        if (qstrcmp(name, entry.name) == 0)
            return entry.control;
    }
    return nullptr;
}

void CameraService::releaseControl(QMediaControl *control)
{
    if (control == &mViewFinder)
        mViewFinder.setSurface(nullptr);
}
