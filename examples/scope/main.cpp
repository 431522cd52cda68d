// SPDX-License-Identifier: Apache-2.0
// Watches the picture of a fibre scope, takes a photograph of it and grades that. The scope is the simulated one with a
// pitted end face in it; with a real one, the lines of main() that begin with "scope" go.
#include <FiberInspection/Inspection.h>

#include <QAbstractVideoSurface>
#include <QCamera>
#include <QCameraImageCapture>
#include <QCameraInfo>
#include <QGuiApplication>
#include <QTemporaryDir>
#include <QTextStream>

#include <simulation/SimulatedScope.h>

using namespace FiberInspection;

namespace {
constexpr int enoughFrames = 25; // after a second the picture is what the scope sees now

/// In place of a window: counts the frames.
class LiveView : public QAbstractVideoSurface
{
    Q_OBJECT

public:
    QList<QVideoFrame::PixelFormat> supportedPixelFormats(QAbstractVideoBuffer::HandleType) const override
    {
        return {QVideoFrame::Format_NV12};
    }
    bool present(const QVideoFrame &) override
    {
        if (++mFrames == enoughFrames)
            Q_EMIT isLive();
        return true;
    }

Q_SIGNALS:
    void isLive();

private:
    int mFrames = 0;
};

QCameraInfo cameraNamed(const QString &name)
{
    const QList<QCameraInfo> cameras = QCameraInfo::availableCameras();
    for (const QCameraInfo &camera : cameras) {
        if (camera.description() == name)
            return camera;
    }
    return QCameraInfo();
}

int grade(const QString &photograph)
{
    const Inspection face = inspectFile(photograph, Standard::IEC61300_3_35_SM_RL45);
    QTextStream(stdout) << (face.passed() ? "PASSED"
            : face.hasVerdict()           ? "FAILED"
                                          : "NO VERDICT: ")
                        << face.problem() << '\n';
    return face.passed() ? 0 : face.hasVerdict() ? 1 : 2;
}

void giveUp(const QString &problem)
{
    QTextStream(stderr) << "no photograph: " << problem << '\n';
    QCoreApplication::exit(2);
}
} // namespace

int main(int argc, char *argv[])
{
    const QGuiApplication application(argc, argv);
    QCoreApplication::addLibraryPath(SimulatedScope::pluginPath());
    SimulatedScope *const scope = SimulatedScope::instance();
    scope->setFace(QStringLiteral("pitted"));
    scope->setFocus(0); // sharp

    const QCameraInfo found = cameraNamed(SimulatedScope::displayName());
    if (found.isNull()) {
        QTextStream(stderr) << "there is no camera " << SimulatedScope::displayName() << '\n';
        return 2;
    }
    const QTemporaryDir folder;
    LiveView view;
    QCamera camera(found);
    QCameraImageCapture capture(&camera);
    camera.setViewfinder(&view);
    QObject::connect(
        &view, &LiveView::isLive, &capture, [&] { capture.capture(folder.filePath(QStringLiteral("face.jpg"))); },
        Qt::QueuedConnection); // present() may be called in a thread of the camera's
    QObject::connect(&capture, &QCameraImageCapture::imageSaved,
        [](int, const QString &photograph) { QCoreApplication::exit(grade(photograph)); });
    QObject::connect(&capture, qOverload<int, QCameraImageCapture::Error, const QString &>(&QCameraImageCapture::error),
        [](int, QCameraImageCapture::Error, const QString &problem) { giveUp(problem); });
    camera.start();
    return QGuiApplication::exec();
}

#include "main.moc"
