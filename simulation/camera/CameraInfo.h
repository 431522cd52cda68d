// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCameraInfoControl>

/// The scope looks at the fibre, not at the user.
class CameraInfo : public QCameraInfoControl
{
    Q_OBJECT

public:
    using QCameraInfoControl::QCameraInfoControl;

    QCamera::Position cameraPosition(const QString &deviceName) const override;
    int cameraOrientation(const QString &deviceName) const override;
};
