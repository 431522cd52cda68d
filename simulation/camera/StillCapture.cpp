// SPDX-License-Identifier: Apache-2.0
#include "simulation/camera/StillCapture.h"

#include "simulation/SimulatedScope.h"
#include "simulation/camera/SimulatedCamera.h"

#include <QBuffer>
#include <QImageWriter>
#include <QPointer>
#include <QSaveFile>
#include <QTimer>

#include <utility>

namespace {
constexpr int exposureMilliseconds = 40;
constexpr int jpegQuality = 95;
constexpr int noNumber = -1;

/// Empty when it cannot be encoded.
QByteArray jpeg(const QImage &image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(jpegQuality);
    return writer.write(image) ? bytes : QByteArray();
}

/// Empty when the whole file is on the disk, else why not. Never leaves half of it.
QString write(const QByteArray &bytes, const QString &path)
{
    if (bytes.isEmpty())
        return QStringLiteral("The picture could not be encoded");
    QSaveFile file(path);
    // commit() alone would rename what a failed flush has left behind.
    const bool isWritten =
        file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.flush() && file.commit();
    return isWritten ? QString() : QStringLiteral("The picture could not be written: %1").arg(file.errorString());
}
} // namespace

StillCapture::StillCapture(SimulatedCamera *camera, QObject *parent)
    : QCameraImageCaptureControl(parent)
    , mCamera(camera)
{
    connect(
        camera, &QCameraControl::statusChanged, this, [this] { Q_EMIT readyForCaptureChanged(isReadyForCapture()); });
    connect(SimulatedScope::instance(), &SimulatedScope::stillsReleased, this, [this] {
        const QMap<int, QString> held = std::exchange(mHeld, {});
        for (auto still = held.cbegin(); still != held.cend(); ++still)
            exposeSoon(still.key(), still.value());
    });
    connect(SimulatedScope::instance(), &SimulatedScope::numbersBeginAgain, this,
        [this] { mLastId = mLastCancelledId = 0; });
}

bool StillCapture::isReadyForCapture() const
{
    return mCamera->isActive();
}

int StillCapture::capture(const QString &fileName)
{
    const SimulatedScope::Still still = SimulatedScope::instance()->takeNextStill();
    if (still == SimulatedScope::Still::Refused)
        return noNumber;
    const int id = ++mLastId; // a receiver may destroy this
    if (still == SimulatedScope::Still::Held)
        mHeld.insert(id, fileName);
    else if (still == SimulatedScope::Still::SavedAtOnce)
        expose(id, fileName);
    else
        exposeSoon(id, fileName);
    return id;
}

void StillCapture::cancelCapture()
{
    mLastCancelledId = mLastId;
}

void StillCapture::exposeSoon(int id, const QString &path)
{
    QTimer::singleShot(exposureMilliseconds, this, [this, id, path] { expose(id, path); });
}

void StillCapture::expose(int id, const QString &path)
{
    if (id <= mLastCancelledId)
        return;
    const QImage picture = SimulatedScope::instance()->picture();
    if (!mCamera->isActive() || picture.isNull()) {
        Q_EMIT error(id, QCameraImageCapture::NotReadyError, QStringLiteral("The camera is not active"));
        return;
    }
    // A receiver may cancel the capture, or destroy the camera and this with it.
    const QPointer<StillCapture> self(this);
    const auto isGivenUp = [&] { return !self || id <= mLastCancelledId; };
    Q_EMIT imageExposed(id);
    if (isGivenUp())
        return;
    Q_EMIT imageCaptured(id, picture);
    if (isGivenUp())
        return;
    const QString problem = write(jpeg(picture.convertToFormat(QImage::Format_RGB32)), path);
    if (problem.isEmpty())
        Q_EMIT imageSaved(id, path);
    else
        Q_EMIT error(id, QCameraImageCapture::ResourceError, problem);
}
