// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Geometry.h"
#include "simulation/SimulatedScope.h"

#include <QAbstractVideoSurface>
#include <QCamera>
#include <QCameraInfo>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QVideoSurfaceFormat>
#include <QtTest>

#include <cmath>
#include <cstring>
#include <limits>

namespace {
/// Notes when frames arrive.
class FrameCounter : public QAbstractVideoSurface
{
public:
    QList<QVideoFrame::PixelFormat> supportedPixelFormats(QAbstractVideoBuffer::HandleType) const override
    {
        return {QVideoFrame::Format_NV12};
    }
    bool present(const QVideoFrame &frame) override
    {
        last = frame;
        ++frames;
        return true;
    }

    QVideoFrame last;
    int frames = 0;
};

QByteArray luminance(QVideoFrame frame)
{
    if (!frame.map(QAbstractVideoBuffer::ReadOnly))
        return {};
    const QByteArray bytes(reinterpret_cast<const char *>(frame.bits()), frame.bytesPerLine() * frame.height());
    frame.unmap();
    return bytes;
}

/// How much neighbours differ: falls as the picture blurs.
double sharpness(const QImage &image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y) {
        const uchar *const line = image.constScanLine(y);
        for (int x = 2; x < image.width(); ++x)
            sum += std::abs(line[x] - line[x - 2]);
    }
    return sum / image.width() / image.height();
}
} // namespace

class TestSimulatedScope : public QObject
{
    Q_OBJECT

private:
    SimulatedScope *const mScope = SimulatedScope::instance();

    QImage settledPicture() const
    {
        QElapsedTimer timer;
        timer.start();
        while (!mScope->isSettled() && !timer.hasExpired(10000))
            QTest::qWait(5);
        mScope->nextFrame();
        return mScope->picture();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!SimulatedScope::pluginPath().isEmpty());
        QCoreApplication::addLibraryPath(SimulatedScope::pluginPath());
    }

    // The library looks for the camera under that name; what is simulated knows nothing of the library.
    void itsNameIsThatOfTheScope() { QCOMPARE(SimulatedScope::displayName(), FiberInspection::Device::ks20().name); }

    void init()
    {
        mScope->setPlugged(true);
        mScope->setFace(QStringLiteral("clean"));
        mScope->setFocus(0);
        QVERIFY(!settledPicture().isNull());
    }

    void aFrameIsNv12OfTheUsualSize()
    {
        QVideoFrame frame = mScope->nextFrame();

        QVERIFY(frame.isValid());
        QCOMPARE(frame.size(), QSize(800, 600));
        QCOMPARE(frame.pixelFormat(), QVideoFrame::Format_NV12);
        QVERIFY(frame.map(QAbstractVideoBuffer::ReadOnly));
        QCOMPARE(frame.bytesPerLine(), 800);
        QCOMPARE(frame.mappedBytes(), 720000);
        QCOMPARE(frame.planeCount(), 2);
        QCOMPARE(static_cast<int>(frame.bits()[std::size_t(800) * 600]), 0x80);
        frame.unmap();
    }

    void aStillIsThePictureOfTheLastFrame()
    {
        const QByteArray bytes = luminance(mScope->nextFrame());
        const QImage picture = mScope->picture();

        QCOMPARE(picture.size(), QSize(800, 600));
        for (int y = 0; y < 600; ++y)
            QCOMPARE(std::memcmp(picture.constScanLine(y), bytes.constData() + std::ptrdiff_t(800) * y, 800), 0);
    }

    void neighbouringFramesDifferInTheirNoise()
    {
        QTRY_VERIFY(luminance(mScope->nextFrame()) != luminance(mScope->nextFrame()));
    }

    void theKnobBlursThePictureToBothSides()
    {
        const double sharp = sharpness(settledPicture());
        for (const double position : {-1.0, 1.0}) {
            mScope->setFocus(position);
            QVERIFY(sharpness(settledPicture()) < 0.8 * sharp);
        }
    }

    void theKnobHasTwoEnds_data()
    {
        QTest::addColumn<double>("wanted");
        QTest::addColumn<double>("reached");
        QTest::newRow("inside") << -0.25 << -0.25;
        QTest::newRow("too far left") << -7.0 << -1.0;
        QTest::newRow("too far right") << 1.01 << 1.0;
        QTest::newRow("infinitely far") << std::numeric_limits<double>::infinity() << 1.0;
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << 0.0;
    }
    void theKnobHasTwoEnds()
    {
        QFETCH(double, wanted);
        QFETCH(double, reached);

        mScope->setFocus(wanted);

        QCOMPARE(mScope->focus(), reached);
    }

    void everyFaceCanBeShown()
    {
        QVERIFY(SimulatedScope::faces().contains(SimulatedScope::emptyAdapter()));
        QVector<QImage> seen;
        const QStringList faces = SimulatedScope::faces();
        for (const QString &face : faces) {
            mScope->setFace(face);
            const QImage picture = settledPicture();
            QVERIFY(!seen.contains(picture));
            seen.append(picture);
        }
    }

    void anUnknownFaceIsNotTaken()
    {
        const QSignalSpy changed(mScope, &SimulatedScope::faceChanged);

        mScope->setFace(QStringLiteral("spotless"));

        QCOMPARE(mScope->face(), QStringLiteral("clean"));
        QCOMPARE(changed.count(), 0);
    }

    void changesAreToldOnce()
    {
        const QSignalSpy focus(mScope, &SimulatedScope::focusChanged);
        const QSignalSpy face(mScope, &SimulatedScope::faceChanged);
        const QSignalSpy plug(mScope, &SimulatedScope::isPluggedChanged);

        for (int i = 0; i < 2; ++i) {
            mScope->setFocus(0.5);
            mScope->setFace(QStringLiteral("dirty"));
            mScope->setPlugged(false);
        }

        QCOMPARE(focus.count(), 1);
        QCOMPARE(face.count(), 1);
        QCOMPARE(plug.count(), 1);
    }

    void aTurnOfTheKnobKeepsThePictureUntilThereIsANewOne()
    {
        mScope->setFocus(0.9);

        QVERIFY(!mScope->isSettled());
        QVERIFY(mScope->nextFrame().isValid());
    }

    void theCameraIsThereWhileItIsPlugged()
    {
        const auto names = [] {
            const QList<QCameraInfo> cameras = QCameraInfo::availableCameras();
            QStringList found;
            for (const QCameraInfo &info : cameras)
                found << info.description();
            return found;
        };

        QVERIFY(names().contains(SimulatedScope::displayName()));
        mScope->setPlugged(false);
        QVERIFY(!names().contains(SimulatedScope::displayName()));
    }

    void framesComeTwentyFiveTimesASecond()
    {
        FrameCounter surface;
        QCamera camera(QByteArrayLiteral("simscope"));
        camera.setViewfinder(&surface);
        camera.start();
        QTRY_COMPARE(camera.status(), QCamera::ActiveStatus);
        QTRY_VERIFY(surface.frames > 0);
        QElapsedTimer timer;
        timer.start();
        const int before = surface.frames;

        QTRY_VERIFY_WITH_TIMEOUT(timer.hasExpired(2000), 10000);

        const double perSecond = (surface.frames - before) * 1000.0 / static_cast<double>(timer.elapsed());
        QVERIFY2(perSecond > 20 && perSecond < 26, qPrintable(QString::number(perSecond)));
        camera.stop();
        QVERIFY(!surface.isActive());
        const int after = surface.frames;
        FrameCounter another;
        QCamera goingOn(QByteArrayLiteral("simscope"));
        goingOn.setViewfinder(&another);
        goingOn.start();
        QTRY_VERIFY(another.frames > 3);
        QCOMPARE(surface.frames, after);
    }

    void unpluggingIsAnErrorOfTheCamera()
    {
        FrameCounter surface;
        QCamera camera(QByteArrayLiteral("simscope"));
        camera.setViewfinder(&surface);
        camera.start();
        QTRY_COMPARE(camera.status(), QCamera::ActiveStatus);

        mScope->setPlugged(false);

        QCOMPARE(camera.state(), QCamera::UnloadedState);
        QCOMPARE(camera.error(), QCamera::CameraError);
        QCOMPARE(camera.errorString(), QStringLiteral("The scope was unplugged"));
        camera.start();
        QCOMPARE(camera.status(), QCamera::UnloadedStatus);
        mScope->setPlugged(true);
        camera.start();
        QTRY_COMPARE(camera.status(), QCamera::ActiveStatus);
    }
};

QTEST_GUILESS_MAIN(TestSimulatedScope)

#include "tst_simulatedscope.moc"
