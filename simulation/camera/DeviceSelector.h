// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QVideoDeviceSelectorControl>

/// Selects the one device that there is.
class DeviceSelector : public QVideoDeviceSelectorControl
{
    Q_OBJECT

public:
    using QVideoDeviceSelectorControl::QVideoDeviceSelectorControl;

    static QByteArray name(); ///< what Qt Multimedia tells devices apart by

    int deviceCount() const override;
    QString deviceName(int index) const override;
    QString deviceDescription(int index) const override;
    int defaultDevice() const override { return 0; }
    int selectedDevice() const override { return 0; }

public Q_SLOTS:
    void setSelectedDevice(int index) override;
};
