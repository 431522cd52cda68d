// SPDX-License-Identifier: Apache-2.0
// The receivers of what a camera tells unplug it, stop it, and destroy its service, as a page does that goes.
#include "NestedLoop.h"
#include "simulation/SimulatedScope.h"
#include "simulation/camera/CameraService.h"

#include <QAbstractVideoSurface>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QVideoSurfaceFormat>
#include <QtTest>

#include <functional>
#include <memory>

namespace {
enum class Deed {
    DeleteService,
    DeleteServiceInLoop,
    Unplug,
    UnplugInLoop,
    Stop,
    StopInLoop,
    CancelCapture,
};

bool deletesService(Deed deed)
{
    return deed == Deed::DeleteService || deed == Deed::DeleteServiceInLoop;
}

/// Calls functions when it is started and shown frames.
class CallingSurface : public QAbstractVideoSurface
{
public:
    QList<QVideoFrame::PixelFormat> supportedPixelFormats(QAbstractVideoBuffer::HandleType) const override
    {
        return {QVideoFrame::Format_NV12};
    }
    bool start(const QVideoSurfaceFormat &format) override
    {
        QAbstractVideoSurface::start(format);
        const bool isStarted = isAccepting;
        call(onStart);
        return isStarted;
    }
    void stop() override
    {
        QAbstractVideoSurface::stop();
        call(onStop);
    }
    bool present(const QVideoFrame &) override
    {
        ++frames;
        call(onFrame);
        return true;
    }

    std::function<void()> onStart;
    std::function<void()> onStop;
    std::function<void()> onFrame;
    bool isAccepting = true;
    int frames = 0;

private:
    /// By a copy: the surface may go in the call.
    static void call(const std::function<void()> &function)
    {
        if (const auto copy = function)
            copy();
    }
};

/// The service of a camera, as the media framework holds it.
struct Camera
{
    QPointer<CameraService> service = new CameraService;
    QPointer<QCameraControl> control = request<QCameraControl>(QCameraControl_iid);
    QPointer<QCameraImageCaptureControl> capture = request<QCameraImageCaptureControl>(QCameraImageCaptureControl_iid);
    QPointer<QVideoRendererControl> renderer = request<QVideoRendererControl>(QVideoRendererControl_iid);
    QPointer<QVideoDeviceSelectorControl> selector =
        request<QVideoDeviceSelectorControl>(QVideoDeviceSelectorControl_iid);

    Camera() = default;
    ~Camera() { delete service; }
    Camera(const Camera &) = delete;
    Camera &operator=(const Camera &) = delete;

    template <typename Control>
    Control *request(const char *name)
    {
        return qobject_cast<Control *>(service->requestControl(name));
    }

    bool start() const
    {
        control->setState(QCamera::ActiveState);
        return NestedLoop::runUntil([this] { return control->status() == QCamera::ActiveStatus; });
    }
};

void carryOut(Deed deed, const Camera &camera)
{
    switch (deed) {
    case Deed::DeleteService:
        delete camera.service;
        break;
    case Deed::DeleteServiceInLoop:
        QVERIFY(NestedLoop::runAndDelete(camera.service));
        break;
    case Deed::Unplug:
        SimulatedScope::instance()->setPlugged(false);
        break;
    case Deed::UnplugInLoop:
        QVERIFY(NestedLoop::runWith([] { SimulatedScope::instance()->setPlugged(false); }));
        break;
    case Deed::Stop:
        camera.control->setState(QCamera::UnloadedState);
        break;
    case Deed::StopInLoop:
        QVERIFY(NestedLoop::runWith([&] { camera.control->setState(QCamera::UnloadedState); }));
        break;
    case Deed::CancelCapture:
        camera.capture->cancelCapture();
        break;
    }
}

void addDeedRows(const QStringList &moments, bool withCapture = false)
{
    QTest::addColumn<QString>("moment");
    QTest::addColumn<Deed>("deed");
    for (const QString &moment : moments) {
        const auto row = [&](const char *text, Deed deed) {
            QTest::addRow("%s: %s", qPrintable(moment), text) << moment << deed;
        };
        row("the service is deleted", Deed::DeleteService);
        row("the service is deleted in a loop", Deed::DeleteServiceInLoop);
        row("the scope is unplugged", Deed::Unplug);
        row("the scope is unplugged in a loop", Deed::UnplugInLoop);
        row("the camera is stopped", Deed::Stop);
        row("the camera is stopped in a loop", Deed::StopInLoop);
        if (withCapture)
            row("the capture is cancelled", Deed::CancelCapture);
    }
}
} // namespace

Q_DECLARE_METATYPE(Deed)

class TestReentrancyScope : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        SimulatedScope::instance()->setPlugged(true);
        QVERIFY(NestedLoop::runUntil([] { return !SimulatedScope::instance()->nextFrame().size().isEmpty(); }));
    }

    void aReceiverOfTheStateMayDoAnything_data()
    {
        addDeedRows({QStringLiteral("starting"), QStringLiteral("active state"), QStringLiteral("active"),
            QStringLiteral("ready")});
    }
    void aReceiverOfTheStateMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        const Camera camera;
        bool isDone = false;
        const auto hear = [&](const QString &heard) {
            if (heard != moment || isDone)
                return;
            isDone = true;
            carryOut(deed, camera);
        };
        connect(camera.control, &QCameraControl::statusChanged, this, [&](QCamera::Status status) {
            if (status == QCamera::StartingStatus)
                hear(QStringLiteral("starting"));
            if (status == QCamera::ActiveStatus)
                hear(QStringLiteral("active"));
        });
        connect(camera.control, &QCameraControl::stateChanged, this, [&](QCamera::State state) {
            if (state == QCamera::ActiveState)
                hear(QStringLiteral("active state"));
        });
        connect(camera.capture, &QCameraImageCaptureControl::readyForCaptureChanged, this, [&](bool isReady) {
            if (isReady)
                hear(QStringLiteral("ready"));
        });

        camera.control->setState(QCamera::ActiveState);
        QVERIFY(NestedLoop::runUntil([&] { return isDone; }));

        QCOMPARE(camera.service.isNull(), deletesService(deed));
        if (!camera.service)
            return;
        SimulatedScope::instance()->setPlugged(true);
        const Camera another;
        QVERIFY(another.start()); // takes as long: what was stopped has not started by itself meanwhile
        QCOMPARE(camera.control->state(), QCamera::UnloadedState);
        QCOMPARE(camera.control->status(), QCamera::UnloadedStatus);
    }

    void aReceiverOfTheLossMayDoAnything_data()
    {
        QTest::addColumn<QString>("moment");
        QTest::addColumn<Deed>("deed");
        for (const char *moment : {"unloaded", "unloaded state", "error"}) {
            QTest::addRow("%s: the service is deleted", moment) << QString::fromUtf8(moment) << Deed::DeleteService;
            QTest::addRow("%s: the service is deleted in a loop", moment)
                << QString::fromUtf8(moment) << Deed::DeleteServiceInLoop;
        }
    }
    void aReceiverOfTheLossMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        const Camera camera;
        QVERIFY(camera.start());
        const auto hear = [&](const char *heard) {
            if (moment == QLatin1String(heard))
                carryOut(deed, camera);
        };
        connect(camera.control, &QCameraControl::statusChanged, this, [&] { hear("unloaded"); });
        connect(camera.control, &QCameraControl::stateChanged, this, [&] { hear("unloaded state"); });
        connect(camera.control, &QCameraControl::error, this, [&] { hear("error"); });

        SimulatedScope::instance()->setPlugged(false);

        QVERIFY(!camera.service);
    }

    void aReceiverOfACaptureMayDoAnything_data()
    {
        addDeedRows({QStringLiteral("exposed"), QStringLiteral("captured"), QStringLiteral("saved")}, true);
    }
    void aReceiverOfACaptureMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("still.jpg"));
        const Camera camera;
        CallingSurface surface;
        camera.renderer->setSurface(&surface);
        QVERIFY(camera.start());
        QVERIFY(NestedLoop::runUntil([&] { return surface.frames > 0; }));
        bool isDone = false;
        bool isSaved = false;
        const auto hear = [&](const char *heard) {
            if (moment != QLatin1String(heard))
                return;
            carryOut(deed, camera);
            isDone = true;
        };
        connect(camera.capture, &QCameraImageCaptureControl::imageExposed, this, [&] { hear("exposed"); });
        connect(camera.capture, &QCameraImageCaptureControl::imageCaptured, this, [&] { hear("captured"); });
        connect(camera.capture, &QCameraImageCaptureControl::imageSaved, this, [&] {
            isSaved = true;
            hear("saved");
        });

        camera.capture->capture(path);
        QVERIFY(NestedLoop::runUntil([&] { return isDone; }));

        QCOMPARE(camera.service.isNull(), deletesService(deed));
        const bool isGivenUp = deletesService(deed) || deed == Deed::CancelCapture;
        QCOMPARE(isSaved, moment == QStringLiteral("saved") || !isGivenUp);
        QCOMPARE(QFile::exists(path), isSaved); // what nobody waits for any more is not written
    }

    void aSurfaceMayDoAnything_data()
    {
        addDeedRows(
            {QStringLiteral("start"), QStringLiteral("refusal"), QStringLiteral("frame"), QStringLiteral("stop")});
    }
    void aSurfaceMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        const Camera camera;
        CallingSurface surface;
        bool isDone = false;
        const auto hear = [&] {
            if (isDone)
                return;
            isDone = true;
            carryOut(deed, camera);
        };
        surface.isAccepting = moment != QStringLiteral("refusal");
        if (moment == QStringLiteral("frame"))
            surface.onFrame = hear;
        else if (moment == QStringLiteral("stop"))
            surface.onStop = hear;
        else
            surface.onStart = hear;
        camera.renderer->setSurface(&surface);
        QVERIFY(camera.start());
        if (moment == QStringLiteral("stop")) {
            QVERIFY(NestedLoop::runUntil([&] { return surface.frames > 0; }));
            camera.renderer->setSurface(nullptr);
        }

        QVERIFY(NestedLoop::runUntil([&] { return isDone; }));
        QCOMPARE(camera.service.isNull(), deletesService(deed));
    }

    void aSurfaceMayGoInItsOwnStart()
    {
        const Camera camera;
        const QPointer<CallingSurface> surface = new CallingSurface;
        surface->onStart = [&] { QVERIFY(NestedLoop::runAndDelete(surface)); };
        camera.renderer->setSurface(surface);
        QVERIFY(camera.start());

        QVERIFY(NestedLoop::runUntil([&] { return !surface; }));
    }

    void aReceiverOfTheDeviceMayDeleteTheService()
    {
        const Camera camera;
        QSignalSpy names(camera.selector, QOverload<const QString &>::of(&DeviceSelector::selectedDeviceChanged));
        connect(camera.selector, QOverload<int>::of(&QVideoDeviceSelectorControl::selectedDeviceChanged), this,
            [&] { delete camera.service; });

        camera.selector->setSelectedDevice(0);

        QVERIFY(!camera.service);
        QCOMPARE(names.count(), 0);
    }

    void theNameOfAFaceIsThatOfTheChange()
    {
        SimulatedScope *const scope = SimulatedScope::instance();
        const QString before = scope->face();
        QString told;
        const auto listener = connect(scope, &SimulatedScope::faceChanged, this, [&](const QString &face) {
            if (face != QStringLiteral("dirty"))
                return;
            scope->setFace(QStringLiteral("pitted")); // clazy:exclude=lambda-in-connect
            told = face; // clazy:exclude=lambda-in-connect
        });

        scope->setFace(QStringLiteral("dirty"));

        disconnect(listener);
        QCOMPARE(told, QStringLiteral("dirty"));
        scope->setFace(before);
    }
};

QTEST_GUILESS_MAIN(TestReentrancyScope)
#include "tst_reentrancy_scope.moc"
