// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/StillEncoder.h"

#include "simulation/SimulatedScope.h"

QStringList StillEncoder::supportedImageCodecs() const
{
    return {QStringLiteral("image/jpeg")};
}

QString StillEncoder::imageCodecDescription(const QString &) const
{
    return QStringLiteral("JPEG");
}

QList<QSize> StillEncoder::supportedResolutions(const QImageEncoderSettings &, bool *continuous) const
{
    if (continuous)
        *continuous = false;
    return {SimulatedScope::frameSize};
}
