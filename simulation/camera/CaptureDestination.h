// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCameraCaptureDestinationControl>

/// Stills go to files.
class CaptureDestination : public QCameraCaptureDestinationControl
{
    Q_OBJECT

public:
    using QCameraCaptureDestinationControl::QCameraCaptureDestinationControl;

    bool isCaptureDestinationSupported(QCameraImageCapture::CaptureDestinations destination) const override;
    QCameraImageCapture::CaptureDestinations captureDestination() const override;
    void setCaptureDestination(QCameraImageCapture::CaptureDestinations destination) override;
};
