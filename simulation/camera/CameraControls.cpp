// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/CameraControls.h"

#include "simulation/SimulatedScope.h"

#include <QPointer>

QByteArray OneDevice::name()
{
    return QByteArrayLiteral("simscope");
}

int OneDevice::deviceCount() const
{
    return SimulatedScope::instance()->isPlugged() ? 1 : 0;
}

QString OneDevice::deviceName(int) const
{
    return QString::fromLatin1(name());
}

QString OneDevice::deviceDescription(int) const
{
    return SimulatedScope::displayName();
}

void OneDevice::setSelectedDevice(int index)
{
    const QPointer<OneDevice> self(this);
    Q_EMIT selectedDeviceChanged(index);
    if (self) // a receiver may have destroyed the camera
        Q_EMIT selectedDeviceChanged(deviceName(index));
}

QCamera::Position ScopeInfo::cameraPosition(const QString &) const
{
    return QCamera::UnspecifiedPosition;
}

int ScopeInfo::cameraOrientation(const QString &) const
{
    return 0;
}

bool ToFile::isCaptureDestinationSupported(QCameraImageCapture::CaptureDestinations destination) const
{
    return destination == QCameraImageCapture::CaptureToFile;
}

QCameraImageCapture::CaptureDestinations ToFile::captureDestination() const
{
    return QCameraImageCapture::CaptureToFile;
}

void ToFile::setCaptureDestination(QCameraImageCapture::CaptureDestinations) {}

QStringList JpegOnly::supportedImageCodecs() const
{
    return {QStringLiteral("image/jpeg")};
}

QString JpegOnly::imageCodecDescription(const QString &) const
{
    return QStringLiteral("JPEG");
}

QList<QSize> JpegOnly::supportedResolutions(const QImageEncoderSettings &, bool *continuous) const
{
    if (continuous)
        *continuous = false;
    return {SimulatedScope::frameSize};
}
