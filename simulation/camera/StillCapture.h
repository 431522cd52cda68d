// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCameraImageCaptureControl>
#include <QMap>

class SimulatedCamera;

/// Captures what the camera sees into JPEG files. The answer comes after the request has returned its
/// number, unless the scope is told otherwise.
class StillCapture : public QCameraImageCaptureControl
{
    Q_OBJECT

public:
    explicit StillCapture(SimulatedCamera *camera, QObject *parent = nullptr);

    bool isReadyForCapture() const override;
    QCameraImageCapture::DriveMode driveMode() const override { return QCameraImageCapture::SingleImageCapture; }
    void setDriveMode(QCameraImageCapture::DriveMode) override {}

    int capture(const QString &fileName) override;
    void cancelCapture() override;

private:
    void exposeSoon(int id, const QString &path);
    void expose(int id, const QString &path);

    SimulatedCamera *const mCamera;
    QMap<int, QString> mHeld; ///< paths by their ids
    int mLastId = 0;
    int mLastCancelledId = 0;
};
