// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QMediaServiceProviderPlugin>

/// Offers the simulated scope to Qt Multimedia as a camera.
class SimulatedScopePlugin :
    public QMediaServiceProviderPlugin,
    public QMediaServiceSupportedDevicesInterface,
    public QMediaServiceDefaultDeviceInterface,
    public QMediaServiceCameraInfoInterface,
    public QMediaServiceFeaturesInterface
{
    Q_OBJECT
    Q_INTERFACES(QMediaServiceSupportedDevicesInterface)
    Q_INTERFACES(QMediaServiceDefaultDeviceInterface)
    Q_INTERFACES(QMediaServiceCameraInfoInterface)
    Q_INTERFACES(QMediaServiceFeaturesInterface)
    Q_PLUGIN_METADATA(IID QMediaServiceProviderFactoryInterface_iid FILE "simscope.json")

public:
    QMediaService *create(const QString &key) override;
    void release(QMediaService *service) override;

    QList<QByteArray> devices(const QByteArray &service) const override;
    QString deviceDescription(const QByteArray &service, const QByteArray &device) override;
    QByteArray defaultDevice(const QByteArray &service) const override;
    QCamera::Position cameraPosition(const QByteArray &device) const override;
    int cameraOrientation(const QByteArray &device) const override;
    QMediaServiceProviderHint::Features supportedFeatures(const QByteArray &service) const override;
};
