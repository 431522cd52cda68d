// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCameraCaptureDestinationControl>
#include <QCameraInfoControl>
#include <QImageEncoderControl>
#include <QVideoDeviceSelectorControl>

/// The one device that there is.
class OneDevice : public QVideoDeviceSelectorControl
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

/// The scope looks at the fibre, not at the user.
class ScopeInfo : public QCameraInfoControl
{
    Q_OBJECT

public:
    using QCameraInfoControl::QCameraInfoControl;

    QCamera::Position cameraPosition(const QString &deviceName) const override;
    int cameraOrientation(const QString &deviceName) const override;
};

/// Stills go to files.
class ToFile : public QCameraCaptureDestinationControl
{
    Q_OBJECT

public:
    using QCameraCaptureDestinationControl::QCameraCaptureDestinationControl;

    bool isCaptureDestinationSupported(QCameraImageCapture::CaptureDestinations destination) const override;
    QCameraImageCapture::CaptureDestinations captureDestination() const override;
    void setCaptureDestination(QCameraImageCapture::CaptureDestinations destination) override;
};

/// Stills are JPEG of one size.
class JpegOnly : public QImageEncoderControl
{
    Q_OBJECT

public:
    using QImageEncoderControl::QImageEncoderControl;

    QStringList supportedImageCodecs() const override;
    QString imageCodecDescription(const QString &codec) const override;
    QList<QSize> supportedResolutions(const QImageEncoderSettings &settings, bool *continuous) const override;
    QImageEncoderSettings imageSettings() const override { return mSettings; }
    void setImageSettings(const QImageEncoderSettings &settings) override { mSettings = settings; }

private:
    QImageEncoderSettings mSettings;
};
