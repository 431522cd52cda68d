// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/DeviceSelector.h"

#include "simulation/SimulatedScope.h"

#include <QPointer>

QByteArray DeviceSelector::name()
{
    return QByteArrayLiteral("simscope");
}

int DeviceSelector::deviceCount() const
{
    return SimulatedScope::instance()->isPlugged() ? 1 : 0;
}

QString DeviceSelector::deviceName(int) const
{
    return QString::fromLatin1(name());
}

QString DeviceSelector::deviceDescription(int) const
{
    return SimulatedScope::displayName();
}

void DeviceSelector::setSelectedDevice(int index)
{
    const QPointer<DeviceSelector> self(this);
    Q_EMIT selectedDeviceChanged(index);
    if (self) // a receiver may have destroyed the camera
        Q_EMIT selectedDeviceChanged(deviceName(index));
}
