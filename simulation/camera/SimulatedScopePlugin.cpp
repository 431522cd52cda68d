// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/SimulatedScopePlugin.h"

#include "simulation/SimulatedScope.h"
#include "simulation/camera/CameraService.h"

QMediaService *SimulatedScopePlugin::create(const QString &key)
{
    return key == QLatin1String(Q_MEDIASERVICE_CAMERA) ? new CameraService : nullptr;
}

void SimulatedScopePlugin::release(QMediaService *service)
{
    delete service;
}

QList<QByteArray> SimulatedScopePlugin::devices(const QByteArray &service) const
{
    if (service != Q_MEDIASERVICE_CAMERA || !SimulatedScope::instance()->isPlugged())
        return {};
    return {OneDevice::name()};
}

QString SimulatedScopePlugin::deviceDescription(const QByteArray &service, const QByteArray &device)
{
    return devices(service).contains(device) ? SimulatedScope::displayName() : QString();
}

QByteArray SimulatedScopePlugin::defaultDevice(const QByteArray &service) const
{
    return devices(service).isEmpty() ? QByteArray() : OneDevice::name();
}

QCamera::Position SimulatedScopePlugin::cameraPosition(const QByteArray &) const
{
    return QCamera::UnspecifiedPosition;
}

int SimulatedScopePlugin::cameraOrientation(const QByteArray &) const
{
    return 0;
}

QMediaServiceProviderHint::Features SimulatedScopePlugin::supportedFeatures(const QByteArray &service) const
{
    return service == Q_MEDIASERVICE_CAMERA ? QMediaServiceProviderHint::VideoSurface
                                            : QMediaServiceProviderHint::Features();
}
