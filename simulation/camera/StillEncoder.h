// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImageEncoderControl>

/// Stills are JPEG of one size.
class StillEncoder : public QImageEncoderControl
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
