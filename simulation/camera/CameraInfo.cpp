// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/CameraInfo.h"

QCamera::Position CameraInfo::cameraPosition(const QString &) const
{
    return QCamera::UnspecifiedPosition;
}

int CameraInfo::cameraOrientation(const QString &) const
{
    return 0;
}
