// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/CaptureDestination.h"

bool CaptureDestination::isCaptureDestinationSupported(QCameraImageCapture::CaptureDestinations destination) const
{
    return destination == QCameraImageCapture::CaptureToFile;
}

QCameraImageCapture::CaptureDestinations CaptureDestination::captureDestination() const
{
    return QCameraImageCapture::CaptureToFile;
}

void CaptureDestination::setCaptureDestination(QCameraImageCapture::CaptureDestinations) {}
