// SPDX-License-Identifier: Apache-2.0
#include "DrawnFibre.h"
#include "Faults.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "Internal/ChildProcess.h"
#include "LogCapture.h"

#include <QAbstractPlanarVideoBuffer>
#include <QCoreApplication>
#include <QElapsedTimer>
#include <QMetaEnum>
#include <QMetaMethod>
#include <QMetaProperty>
#include <QPointer>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTextStream>
#include <QThread>
#include <QVector>
#include <QVideoFrame>
#include <QVideoSurfaceFormat>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <functional>
#include <limits>
#include <malloc.h>
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>
#include <vector>

using FiberInspection::AnalyserPrivate;
using FiberInspection::Circle;
using FiberInspection::FiberRealtimeAnalyser;
using FiberInspection::LiveReading;
using State = LiveReading::State;

namespace {
const char *const firstFrameRole = "--first-frame";
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true; // keeps memory back, and needs address space without bounds
#else
constexpr bool isSanitized = false;
#endif
constexpr QVideoFrame::PixelFormat usualFormat = QVideoFrame::Format_NV12;

/// A face that is found on a frame of 800x600.
DrawnFibre usualFibre()
{
    DrawnFibre fibre;
    fibre.center = QPointF(390, 310);
    return fibre;
}

/// A face that is found on a frame so small that its analysis takes next to no time.
DrawnFibre smallFibre(double blur = 1.0)
{
    DrawnFibre fibre;
    fibre.size = QSize(400, 300);
    fibre.center = QPointF(200, 150);
    fibre.claddingRadius = 103;
    fibre.blur = blur;
    return fibre;
}

/// The smallest face that the search finds.
DrawnFibre tinyFibre(double blur = 1.0)
{
    DrawnFibre fibre;
    fibre.size = QSize(200, 150);
    fibre.center = QPointF(103, 78);
    fibre.claddingRadius = 155;
    fibre.blur = blur;
    return fibre;
}

/// Two faces on a frame of 800x600.
cv::Mat twoFibres()
{
    DrawnFibre fibre;
    fibre.center = QPointF(120, 300);
    cv::Mat gray = fibre.gray();
    gray(cv::Rect(20, 200, 200, 200)).copyTo(gray(cv::Rect(580, 200, 200, 200)));
    return gray;
}

/// The bytes of a 4:2:0 frame: luminance in rows of `stride` bytes, garbage in the padding, colour without colour.
QByteArray planar420(const cv::Mat &gray, int stride)
{
    QByteArray bytes(stride * gray.rows * 3 / 2, '\x80');
    for (int y = 0; y < gray.rows; ++y) {
        char *const row = bytes.data() + qint64(y) * stride;
        std::copy_n(reinterpret_cast<const char *>(gray.ptr(y)), gray.cols, row);
        for (int x = gray.cols; x < stride; ++x)
            row[x] = static_cast<char>(x * 37 + y * 101);
    }
    return bytes;
}

QVideoFrame frameOfBytes(const QByteArray &bytes, const QSize &size, int stride, QVideoFrame::PixelFormat format)
{
    QVideoFrame frame(bytes.size(), size, stride, format);
    if (frame.map(QAbstractVideoBuffer::WriteOnly)) {
        std::copy_n(bytes.constData(), qMin(bytes.size(), frame.mappedBytes()), reinterpret_cast<char *>(frame.bits()));
        frame.unmap();
    }
    return frame;
}

QVideoFrame frameOf(const DrawnFibre &fibre)
{
    return frameOfBytes(planar420(fibre.gray(), fibre.size.width()), fibre.size, fibre.size.width(), usualFormat);
}

/// What the live view must show of a picture.
struct Expected
{
    explicit Expected(const cv::Mat &gray)
    {
        const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(gray);
        position = circle.center;
        focus = AnalyserPrivate::getBlurLevel(gray, circle);
    }
    QPointF position;
    double focus = 0;
};

/// A filter with the runnable that the video framework would have made.
class LiveView
{
public:
    LiveView()
        : filter(std::make_unique<FiberRealtimeAnalyser>())
        , runnable(filter->createFilterRunnable())
    {
        onFocus([this] { ++focusChanges; });
        onPlace([this] { ++positionChanges; });
    }

    /// Calls the receiver in the thread that emits.
    template <typename Receiver>
    QMetaObject::Connection onFocus(const Receiver &receiver)
    {
        return QObject::connect(
            filter.get(), &FiberRealtimeAnalyser::focusValue_changed, filter.get(), receiver, Qt::DirectConnection);
    }
    template <typename Receiver>
    QMetaObject::Connection onPlace(const Receiver &receiver)
    {
        return QObject::connect(filter.get(), &FiberRealtimeAnalyser::claddingPosition_changed, filter.get(), receiver,
            Qt::DirectConnection);
    }

    QVideoFrame run(QVideoFrame frame) const
    {
        return runnable->run(
            &frame, QVideoSurfaceFormat(frame.size(), frame.pixelFormat()), QVideoFilterRunnable::LastInChain);
    }

    /// Also waits until its analysis, if there is one, has ended: that is what the end of a runnable does.
    QVideoFrame analyse(const QVideoFrame &frame)
    {
        const QVideoFrame result = run(frame);
        runnable.reset();
        runnable.reset(filter->createFilterRunnable());
        return result;
    }

    std::atomic<int> focusChanges{0};
    std::atomic<int> positionChanges{0};
    std::unique_ptr<FiberRealtimeAnalyser> filter;
    std::unique_ptr<QVideoFilterRunnable> runnable;
};

/// A buffer that does what a test says on being mapped.
class OwnBuffer : public QAbstractVideoBuffer
{
public:
    explicit OwnBuffer(std::function<uchar *(int *, int *)> map)
        : QAbstractVideoBuffer(NoHandle)
        , mMap(std::move(map))
    {
    }
    MapMode mapMode() const override { return mMode; }
    uchar *map(MapMode mode, int *byteCount, int *bytesPerLine) override
    {
        uchar *const data = mMap(byteCount, bytesPerLine);
        mMode = data ? mode : NotMapped;
        return data;
    }
    void unmap() override { mMode = NotMapped; }

private:
    std::function<uchar *(int *, int *)> mMap;
    MapMode mMode = NotMapped;
};

/// A 4:2:0 frame whose colour lies somewhere else in memory, in front of the luminance.
class SplitBuffer : public QAbstractPlanarVideoBuffer
{
public:
    SplitBuffer(const cv::Mat &gray, int stride)
        : QAbstractPlanarVideoBuffer(NoHandle)
        , mStride(stride)
        , mTotal(stride * gray.rows * 3 / 2)
        , mLuminance(static_cast<std::size_t>(stride * (gray.rows - 1) + gray.cols))
        , mColor(static_cast<std::size_t>(stride * gray.rows / 2))
    {
        const QByteArray bytes = planar420(gray, stride);
        std::copy_n(bytes.constData(), mLuminance.size(), mLuminance.begin());
    }
    MapMode mapMode() const override { return mMode; }
    int map(MapMode mode, int *byteCount, int bytesPerLine[4], uchar *data[4]) override
    {
        mMode = mode;
        *byteCount = mTotal;
        bytesPerLine[0] = bytesPerLine[1] = mStride;
        data[0] = mLuminance.data();
        data[1] = mColor.data();
        return 2;
    }
    void unmap() override { mMode = NotMapped; }

private:
    int mStride;
    int mTotal;
    std::vector<uchar> mLuminance;
    std::vector<uchar> mColor;
    MapMode mMode = NotMapped;
};

void spin(int microseconds)
{
    QElapsedTimer timer;
    timer.start();
    while (timer.nsecsElapsed() < microseconds * 1000LL)
        std::this_thread::yield();
}

/// Prints the log of three frames in a process that has seen none before.
int showFirstFrames(int argc, char **argv)
{
    const QCoreApplication app(argc, argv);
    const LogCapture log;
    LiveView view;
    view.analyse(QVideoFrame());
    view.analyse(frameOfBytes(QByteArray(16, 'x'), QSize(800, 600), 0, QVideoFrame::Format_Jpeg));
    view.analyse(frameOf(smallFibre()));
    QTextStream(stdout) << log.asText().join(QLatin1Char('\n')) << '\n';
    return 0;
}
} // namespace

class TestFiberRealtimeAnalyser : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> mLog;

    /// Whatever happened before: the next good frame is analysed.
    static bool liveViewWorks()
    {
        LiveView view;
        view.analyse(frameOf(smallFibre()));
        return view.filter->focusValue() > 0 && view.focusChanges == 1 && view.positionChanges == 1;
    }

    static bool showsNothing(const LiveView &view)
    {
        return view.focusChanges == 0 && view.positionChanges == 0 && view.filter->focusValue() == -1.0
            && view.filter->claddingPosition() == QPointF(0, 0);
    }

private Q_SLOTS:
    void init() { mLog = std::make_unique<LogCapture>(); }

    void cleanup()
    {
        const bool works = liveViewWorks();
        mLog.reset();
        QVERIFY(works);
    }

    void itsMetaObjectHasTheAgreedPropertiesAndSignals()
    {
        const QMetaObject &meta = FiberRealtimeAnalyser::staticMetaObject;
        QCOMPARE(meta.superClass(), &QAbstractVideoFilter::staticMetaObject);
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            methods << QString::fromUtf8(meta.method(i).methodSignature());
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
            QCOMPARE(meta.method(i).parameterNames(), QList<QByteArray>{QByteArray("value")});
        }
        QStringList properties;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            properties << QString::fromUtf8(property.typeName()) + QLatin1Char(' ')
                    + QString::fromUtf8(property.name());
            QVERIFY(property.isReadable() && property.isWritable());
            QCOMPARE(property.notifySignal().name(), QByteArray(property.name()) + "_changed");
        }

        QCOMPARE(methods,
            (QStringList{
                QStringLiteral("focusValue_changed(double)"), QStringLiteral("claddingPosition_changed(QPointF)")}));
        QCOMPARE(
            properties, (QStringList{QStringLiteral("double focusValue"), QStringLiteral("QPointF claddingPosition")}));
    }

    void aNewFilterHasMeasuredNothing()
    {
        const FiberRealtimeAnalyser filter;

        QCOMPARE(filter.focusValue(), -1.0);
        QCOMPARE(filter.claddingPosition(), QPointF(0, 0));
        QVERIFY(!filter.focusValue_dirty());
        QVERIFY(!filter.claddingPosition_dirty());
        QVERIFY(filter.isActive());
        QVERIFY(!filter.parent());
    }

    void aFilterGoesWithItsParent()
    {
        auto parent = std::make_unique<QObject>();
        const QPointer<FiberRealtimeAnalyser> filter = new FiberRealtimeAnalyser(parent.get());

        parent.reset();

        QVERIFY(!filter);
    }

    void settersTellOnlyOfChanges()
    {
        FiberRealtimeAnalyser filter;
        QSignalSpy focus(&filter, &FiberRealtimeAnalyser::focusValue_changed);
        QSignalSpy position(&filter, &FiberRealtimeAnalyser::claddingPosition_changed);

        filter.set_focusValue(-1.0);
        QCOMPARE(focus.count(), 0);
        QVERIFY(filter.focusValue_dirty());
        QVERIFY(!filter.claddingPosition_dirty());
        filter.set_focusValue(2.5);
        filter.set_focusValue(2.5);
        filter.set_focusValue(std::nextafter(2.5, 3.0)); // no tolerance
        QCOMPARE(focus.count(), 2);

        filter.set_claddingPosition(QPointF(400, 300));
        filter.set_claddingPosition(QPointF(400 + 1e-11, 300)); // the point's own comparison has one
        QCOMPARE(position.count(), 1);
        QVERIFY(filter.claddingPosition().x() > 400); // it is stored all the same
        filter.set_claddingPosition(QPointF(401, 300));
        QCOMPARE(position.count(), 2);
        QCOMPARE(position.last().first().toPointF(), QPointF(401, 300));
    }

    void aFocusThatIsNoNumberIsToldEveryTime()
    {
        FiberRealtimeAnalyser filter;
        QSignalSpy focus(&filter, &FiberRealtimeAnalyser::focusValue_changed);

        for (int i = 0; i < 3; ++i)
            filter.set_focusValue(std::numeric_limits<double>::quiet_NaN());

        QCOMPARE(focus.count(), 3);
    }

    void theFirstMappedFrameShowsItsFormatInTheLog()
    {
        ChildProcess child;
        child.start(QCoreApplication::applicationFilePath(), {QString::fromUtf8(firstFrameRole)});
        QVERIFY(child.waitForFinished(30000));
        QCOMPARE(child.exitCode(), 0);

        QCOMPARE(QString::fromUtf8(child.readAllStandardOutput()),
            QStringLiteral("debug: pixel format Format_Jpeg %1\n")
                .arg(QVideoFrame::imageFormatFromPixelFormat(QVideoFrame::Format_Jpeg)));
    }

    void frames420AreMeasured_data()
    {
        QTest::addColumn<QVideoFrame::PixelFormat>("format");
        QTest::addColumn<int>("padding");
        const auto rows = [](const char *name, QVideoFrame::PixelFormat format) {
            for (const int padding : {0, 1, 16, 224})
                QTest::addRow("%s, %d bytes behind each row", name, padding) << format << padding;
        };
        rows("NV12", QVideoFrame::Format_NV12);
        rows("NV21", QVideoFrame::Format_NV21);
        rows("YUV420P", QVideoFrame::Format_YUV420P);
        rows("YV12", QVideoFrame::Format_YV12);
        rows("IMC1", QVideoFrame::Format_IMC1);
        rows("IMC2", QVideoFrame::Format_IMC2);
        rows("IMC3", QVideoFrame::Format_IMC3);
        rows("IMC4", QVideoFrame::Format_IMC4);
    }
    void frames420AreMeasured()
    {
        QFETCH(QVideoFrame::PixelFormat, format);
        QFETCH(int, padding);
        const DrawnFibre fibre = usualFibre();
        const cv::Mat gray = fibre.gray();
        const Expected expected(gray);
        const int stride = fibre.size.width() + padding;
        LiveView view;

        view.analyse(frameOfBytes(planar420(gray, stride), fibre.size, stride, format));

        QCOMPARE(view.filter->focusValue(), expected.focus);
        QCOMPARE(view.filter->claddingPosition(), expected.position);
        const QPointF error = view.filter->claddingPosition() - fibre.center;
        QVERIFY(qAbs(error.x()) <= 6 && qAbs(error.y()) <= 6); // a pixel of the search is six of the frame
        QVERIFY(view.filter->focusValue() > 0);
        QVERIFY(view.filter->focusValue_dirty() && view.filter->claddingPosition_dirty());
        QCOMPARE(mLog->warnings(), QStringList());
    }

    void framesOfOtherSizesAreMeasured_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::newRow("1280x720") << QSize(1280, 720);
        QTest::newRow("2592x1944") << QSize(2592, 1944);
        QTest::newRow("1000x2000") << QSize(1000, 2000);
    }
    void framesOfOtherSizesAreMeasured()
    {
        QFETCH(QSize, size);
        DrawnFibre fibre;
        fibre.size = size;
        fibre.center = QPointF(size.width() * 0.45, size.height() * 0.55);
        const Expected expected(fibre.gray());
        LiveView view;

        view.analyse(frameOf(fibre));

        QVERIFY(expected.focus > 0);
        QCOMPARE(view.filter->focusValue(), expected.focus);
        QCOMPARE(view.filter->claddingPosition(), expected.position);
    }

    void aSharperFrameHasALargerFocusValue()
    {
        double former = std::numeric_limits<double>::max();
        for (const double blur : {0.8, 1.2, 2.0, 3.0}) {
            DrawnFibre fibre = usualFibre();
            fibre.blur = blur;
            LiveView view;
            view.analyse(frameOf(fibre));
            QVERIFY(view.filter->focusValue() >= 0);
            QVERIFY(view.filter->focusValue() < former);
            former = view.filter->focusValue();
        }
    }

    void planesFarFromEachOtherAreNoTrouble_data()
    {
        QTest::addColumn<int>("stride");
        QTest::newRow("rows without padding") << 800;
        QTest::newRow("padded rows") << 832;
    }
    void planesFarFromEachOtherAreNoTrouble()
    {
        QFETCH(int, stride);
        const DrawnFibre fibre = usualFibre();
        const Expected expected(fibre.gray());
        LiveView view;

        view.analyse(QVideoFrame(new SplitBuffer(fibre.gray(), stride), fibre.size, usualFormat));

        QCOMPARE(view.filter->focusValue(), expected.focus);
        QCOMPARE(view.filter->claddingPosition(), expected.position);
    }

    void framesOfOtherFormatsAreLeftAlone_data()
    {
        QTest::addColumn<QVideoFrame::PixelFormat>("format");
        QTest::newRow("RGB32") << QVideoFrame::Format_RGB32;
        QTest::newRow("ARGB32") << QVideoFrame::Format_ARGB32;
        QTest::newRow("RGB24") << QVideoFrame::Format_RGB24;
        QTest::newRow("BGRA32") << QVideoFrame::Format_BGRA32;
        QTest::newRow("YUYV") << QVideoFrame::Format_YUYV;
        QTest::newRow("UYVY") << QVideoFrame::Format_UYVY;
        QTest::newRow("YUV444") << QVideoFrame::Format_YUV444;
        QTest::newRow("Y8") << QVideoFrame::Format_Y8;
        QTest::newRow("Y16") << QVideoFrame::Format_Y16;
        QTest::newRow("Jpeg") << QVideoFrame::Format_Jpeg;
        QTest::newRow("CameraRaw") << QVideoFrame::Format_CameraRaw;
        QTest::newRow("Invalid") << QVideoFrame::Format_Invalid;
        QTest::newRow("User") << QVideoFrame::Format_User;
    }
    void framesOfOtherFormatsAreLeftAlone()
    {
        QFETCH(QVideoFrame::PixelFormat, format);
        // The bytes would make a fine 4:2:0 frame.
        const DrawnFibre fibre = usualFibre();
        const QByteArray bytes = planar420(fibre.gray(), fibre.size.width());
        LiveView view;

        const QVideoFrame frame = frameOfBytes(bytes, fibre.size, fibre.size.width(), format);
        QVERIFY(view.analyse(frame) == frame);

        QVERIFY(showsNothing(view));
    }

    void framesThatAreTooShortAreLeftAlone_data()
    {
        QTest::addColumn<QVideoFrame::PixelFormat>("format");
        QTest::addColumn<int>("stride");
        QTest::addColumn<int>("bytes");
        const int all = 800 * 600 * 3 / 2;
        for (const QVideoFrame::PixelFormat format : {QVideoFrame::Format_NV12, QVideoFrame::Format_YUV420P}) {
            const char *const name = format == QVideoFrame::Format_NV12 ? "NV12" : "YUV420P";
            const auto row = [&](const char *text, int stride, int bytes) {
                QTest::addRow("%s, %s", name, text) << format << stride << bytes;
            };
            row("one byte less", 800, all - 1);
            row("luminance only", 800, 800 * 600);
            row("half of the luminance", 800, 800 * 300);
            row("as much as a compressed frame", 800, 30000);
            row("one byte", 800, 1);
            row("enough without the padding only", 1300, all);
            row("rows shorter than the width", 799, all);
            row("rows without bytes", 0, all);
            row("rows that go backwards", -800, all);
            row("rows of two gibibytes", std::numeric_limits<int>::max(), all);
        }
    }
    void framesThatAreTooShortAreLeftAlone()
    {
        QFETCH(QVideoFrame::PixelFormat, format);
        QFETCH(int, stride);
        QFETCH(int, bytes);
        const DrawnFibre fibre = usualFibre();
        QByteArray content = planar420(fibre.gray(), fibre.size.width());
        content.truncate(bytes);
        content.squeeze(); // a sanitizer shall see every byte read beyond it
        const auto data = std::make_unique<uchar[]>(static_cast<std::size_t>(content.size()));
        std::copy_n(content.constData(), content.size(), data.get());
        LiveView view;

        view.analyse(QVideoFrame(new OwnBuffer([&](int *byteCount, int *bytesPerLine) {
            *byteCount = content.size();
            *bytesPerLine = stride;
            return data.get();
        }),
            fibre.size, format));

        QVERIFY(showsNothing(view));
    }

    void framesOfUnusableSizeAreLeftAlone_data()
    {
        QTest::addColumn<QSize>("size");
        for (const QSize &size : {QSize(0, 0), QSize(0, 600), QSize(800, 0), QSize(-800, 600), QSize(800, -600),
                 QSize(-800, -600), QSize(1, 1), QSize(2, 2), QSize(1, 600), QSize(800, 1), QSize(5, 5), QSize(6, 6),
                 QSize(12, 12), QSize(801, 600), QSize(800, 601), QSize(799, 599), QSize(100000, 100000),
                 QSize(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()),
                 QSize(std::numeric_limits<int>::min(), 2)})
            QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
    void framesOfUnusableSizeAreLeftAlone()
    {
        QFETCH(QSize, size);
        const QByteArray bytes = planar420(usualFibre().gray(), 800) + QByteArray(4000, '\x80');
        LiveView view;

        view.analyse(frameOfBytes(bytes, size, qBound(0, size.width(), 100000), usualFormat));

        QVERIFY(showsNothing(view));
    }

    void noFrameAtAllGivesAnInvalidOne()
    {
        LiveView view;

        const QVideoFrame result =
            view.runnable->run(nullptr, QVideoSurfaceFormat(), QVideoFilterRunnable::LastInChain);

        QVERIFY(!result.isValid());
        QVERIFY(showsNothing(view));
    }

    void anInvalidFrameComesBack()
    {
        LiveView view;

        QVERIFY(!view.analyse(QVideoFrame()).isValid());

        QVERIFY(showsNothing(view));
    }

    void aFrameThatCannotBeMappedComesBack()
    {
        LiveView view;
        int maps = 0;
        const auto refuse = [&](int *, int *) -> uchar * {
            ++maps;
            return nullptr;
        };
        const QVideoFrame frame(new OwnBuffer(refuse), QSize(800, 600), usualFormat);

        QVERIFY(view.analyse(frame) == frame);

        QCOMPARE(maps, 1);
        QVERIFY(!frame.isMapped());
        QVERIFY(showsNothing(view));
    }

    void aFrameMappedForWritingComesBack()
    {
        LiveView view;
        QVideoFrame frame = frameOf(smallFibre());
        QVERIFY(frame.map(QAbstractVideoBuffer::WriteOnly));

        view.analyse(frame);

        QVERIFY(showsNothing(view));
        QCOMPARE(frame.mapMode(), QAbstractVideoBuffer::WriteOnly);
        frame.unmap();
    }

    void aFrameMappedForReadingIsMeasuredAndStaysMapped()
    {
        LiveView view;
        QVideoFrame frame = frameOf(smallFibre());
        QVERIFY(frame.map(QAbstractVideoBuffer::ReadOnly));

        view.analyse(frame);

        QCOMPARE(view.focusChanges.load(), 1);
        QCOMPARE(frame.mapMode(), QAbstractVideoBuffer::ReadOnly);
        frame.unmap();
    }

    void framesComeBackAsTheyWere()
    {
        const DrawnFibre fibre = smallFibre();
        const QByteArray bytes = planar420(fibre.gray(), 448);
        QVideoFrame frame = frameOfBytes(bytes, fibre.size, 448, usualFormat);
        frame.setStartTime(1234);
        frame.setMetaData(QStringLiteral("lamp"), 5);
        LiveView view;

        QVideoFrame result = view.analyse(frame);

        QVERIFY(result == frame);
        QVERIFY(!frame.isMapped() && !result.isMapped());
        QCOMPARE(result.startTime(), 1234);
        QCOMPARE(result.metaData(QStringLiteral("lamp")), QVariant(5));
        QVERIFY(result.map(QAbstractVideoBuffer::ReadOnly));
        QCOMPARE(QByteArray(reinterpret_cast<const char *>(result.bits()), result.mappedBytes()), bytes);
        result.unmap();
    }

    void aFrameIsNoLongerNeededWhenRunReturns()
    {
        const DrawnFibre fibre = usualFibre();
        QByteArray bytes = planar420(fibre.gray(), 800);
        const Expected expected(fibre.gray());
        LiveView view;

        view.run(QVideoFrame(new OwnBuffer([&](int *byteCount, int *bytesPerLine) {
            *byteCount = bytes.size();
            *bytesPerLine = 800;
            return reinterpret_cast<uchar *>(bytes.data());
        }),
            fibre.size, usualFormat));
        bytes.fill('\xFF'); // as a camera does with its next picture

        view.runnable.reset();
        QCOMPARE(view.filter->focusValue(), expected.focus);
    }

    void framesWithoutAFibreLeaveTheValuesAlone_data()
    {
        QTest::addColumn<QByteArray>("luminance");
        const auto row = [](const char *name, const QByteArray &luminance) { QTest::newRow(name) << luminance; };
        row("black", QByteArray(800 * 600, '\0'));
        row("white", QByteArray(800 * 600, '\xFF'));
        QByteArray noise(800 * 600, '\0');
        QRandomGenerator random(7);
        std::generate(noise.begin(), noise.end(), [&] { return static_cast<char>(random.bounded(256)); });
        row("noise", noise);
        row("two fibres", QByteArray(reinterpret_cast<const char *>(twoFibres().data), 800 * 600));
    }
    void framesWithoutAFibreLeaveTheValuesAlone()
    {
        QFETCH(QByteArray, luminance);
        LiveView view;
        const QByteArray bytes = luminance + QByteArray(luminance.size() / 2, '\x80');
        const QVideoFrame frame = frameOfBytes(bytes, QSize(800, 600), 800, usualFormat);

        view.analyse(frame);
        QVERIFY(showsNothing(view));
        QVERIFY(!view.filter->focusValue_dirty() && !view.filter->claddingPosition_dirty());

        view.analyse(frameOf(usualFibre()));
        const double focus = view.filter->focusValue();
        view.analyse(frame);
        QCOMPARE(view.filter->focusValue(), focus);
        QCOMPARE(view.focusChanges.load(), 1);
    }

    void severalCirclesAreLoggedAsTheSearchDoes()
    {
        LiveView view;

        view.analyse(frameOfBytes(planar420(twoFibres(), 800), QSize(800, 600), 800, usualFormat));

        QVERIFY(showsNothing(view));
        QCOMPARE(mLog->warnings(), QStringList{QStringLiteral("More than 1 cladding found!")});
    }

    void aFibreTooNearTheBorderIsOutOfFocus()
    {
        DrawnFibre fibre = usualFibre();
        fibre.center = QPointF(400, 56);
        LiveView view;

        view.analyse(frameOf(fibre));

        QCOMPARE(view.filter->focusValue(), 0.0);
        QVERIFY(view.filter->claddingPosition().y() < 70);
        QCOMPARE(mLog->warnings(), QStringList{QStringLiteral("Invalid x or y coordinates")});
    }

    void everyFrameThatIsLookedAtHasAReading_data()
    {
        QTest::addColumn<QVideoFrame>("frame");
        QTest::addColumn<State>("state");
        const auto row = [](const char *name, State state, const QVideoFrame &frame) {
            QTest::newRow(name) << frame << state;
        };
        const auto fibre = [](double blur, const QPointF &center) {
            DrawnFibre face = usualFibre();
            face.blur = blur;
            face.center = center;
            return frameOf(face);
        };
        const auto refuse = [](int *, int *) -> uchar * { return nullptr; };
        const auto fail = [](int *, int *) -> uchar * { throw std::runtime_error("cable pulled"); };
        const QSize size(800, 600);
        const QByteArray bytes = planar420(usualFibre().gray(), 800);
        row("cannot be mapped", State::FrameUnusable, QVideoFrame(new OwnBuffer(refuse), size, usualFormat));
        row("a byte is missing", State::FrameUnusable, frameOfBytes(bytes.chopped(1), size, 800, usualFormat));
        row("rows too short", State::FrameUnusable, frameOfBytes(bytes, size, 799, usualFormat));
        row("odd", State::FrameUnusable, frameOfBytes(bytes, QSize(799, 599), 800, usualFormat));
        row("no 4:2:0", State::FormatUnsupported, frameOfBytes(bytes, size, 800, QVideoFrame::Format_YUYV));
        row("compressed", State::FormatUnsupported, frameOfBytes(bytes, size, 800, QVideoFrame::Format_Jpeg));
        row("nothing but grey", State::NoFibre, frameOfBytes(QByteArray(bytes.size(), 'x'), size, 800, usualFormat));
        row("a pixel or so", State::NoFibre, frameOfBytes(bytes, QSize(2, 2), 2, usualFormat));
        row("two fibres", State::SeveralFibres, frameOfBytes(planar420(twoFibres(), 800), size, 800, usualFormat));
        row("above the upper border", State::FibreAtBorder, fibre(1.0, QPointF(400, 56)));
        row("blurred", State::OutOfFocus, fibre(4.0, QPointF(390, 310)));
        row("sharp", State::Measured, fibre(0.8, QPointF(390, 310)));
        row("a buffer that throws", State::AnalysisBroken, QVideoFrame(new OwnBuffer(fail), size, usualFormat));
    }
    void everyFrameThatIsLookedAtHasAReading()
    {
        QFETCH(QVideoFrame, frame);
        QFETCH(State, state);
        LiveView view;
        view.analyse(frameOf(smallFibre()));
        const double focusBefore = view.filter->focusValue();
        const QPointF placeBefore = view.filter->claddingPosition();

        view.analyse(frame);

        const LiveReading reading = view.filter->lastReading();
        const bool hasFibre = state == State::FibreAtBorder || state == State::OutOfFocus || state == State::Measured;
        QCOMPARE(reading.state, state);
        QCOMPARE(reading.frame, quint64(2));
        QCOMPARE(reading.hasFibre(), hasFibre);
        QCOMPARE(reading.focusValue, hasFibre ? view.filter->focusValue() : -1.0);
        QCOMPARE(reading.claddingPosition, hasFibre ? view.filter->claddingPosition() : QPointF());
        QCOMPARE(reading.detail, state == State::AnalysisBroken ? QStringLiteral("cable pulled") : QString());
        if (!hasFibre) {
            QCOMPARE(view.filter->focusValue(), focusBefore);
            QCOMPARE(view.filter->claddingPosition(), placeBefore);
        }
    }

    void theThresholdsDivideTheReadings()
    {
        LiveReading reading;
        QVERIFY(!reading.hasFibre() && !reading.isSharpEnoughToCapture());
        reading.state = State::Measured;
        reading.focusValue = LiveReading::captureFocus;
        QVERIFY(!reading.isSharpEnoughToCapture());
        reading.focusValue += 0.1;
        QVERIFY(reading.isSharpEnoughToCapture());

        // All states of a rising focus in one row: out of focus up to 1.0, and measured from 1.1 on.
        int outOfFocus = 0;
        int measured = 0;
        for (int step = 8; step < 60; ++step) {
            DrawnFibre fibre = usualFibre();
            fibre.blur = step / 10.0;
            LiveView view;
            view.analyse(frameOf(fibre));
            const LiveReading told = view.filter->lastReading();
            if (!told.hasFibre())
                continue;
            QCOMPARE(told.state, told.focusValue <= 1.0 ? State::OutOfFocus : State::Measured);
            ++(told.focusValue <= 1.0 ? outOfFocus : measured);
        }
        QVERIFY(outOfFocus > 0 && measured > 0);
    }

    void whatIsNotLookedAtLeavesTheReading()
    {
        LiveView view;
        QCOMPARE(view.filter->lastReading().state, State::None);
        QCOMPARE(view.filter->lastReading().frame, quint64(0));

        view.analyse(QVideoFrame());
        view.runnable->run(nullptr, QVideoSurfaceFormat(), QVideoFilterRunnable::LastInChain);
        QCOMPARE(view.filter->lastReading().frame, quint64(0));

        QSemaphore entered;
        QSemaphore leave;
        view.onFocus([&] {
            entered.release();
            leave.tryAcquire(1, 20000);
        });
        view.run(frameOf(smallFibre()));
        QVERIFY(entered.tryAcquire(1, 20000));
        view.run(frameOf(smallFibre(2.0))); // passes by
        leave.release();
        view.runnable.reset();
        QCOMPARE(view.filter->lastReading().frame, quint64(1));
    }

    void receiversSeeTheReadingThatTheyAreToldOf()
    {
        LiveView view;
        LiveReading atFocus; // written by the pool thread, read when it has ended
        LiveReading atPlace;
        view.onFocus([&] { atFocus = view.filter->lastReading(); });
        view.onPlace([&] { atPlace = view.filter->lastReading(); });

        view.analyse(frameOf(smallFibre()));

        QCOMPARE(atFocus.frame, quint64(1));
        QCOMPARE(atFocus.focusValue, view.filter->focusValue());
        QCOMPARE(atPlace.claddingPosition, view.filter->claddingPosition());
    }

    void aReadingCanTravelInASignal()
    {
        const QMetaEnum states = QMetaEnum::fromType<State>();
        QCOMPARE(states.keyCount(), 9);
        QCOMPARE(states.valueToKey(int(State::FibreAtBorder)), "FibreAtBorder");
        LiveReading reading;
        reading.frame = 7;
        QCOMPARE(QVariant::fromValue(reading).value<LiveReading>().frame, quint64(7));
    }

    void equalFramesAreToldOnce()
    {
        LiveView view;
        const QVideoFrame frame = frameOf(smallFibre());

        view.analyse(frame);
        view.analyse(frame);
        view.analyse(frame);

        QCOMPARE(view.focusChanges.load(), 1);
        QCOMPARE(view.positionChanges.load(), 1);
        view.analyse(frameOf(smallFibre(2.0)));
        QCOMPARE(view.focusChanges.load(), 2);
        QCOMPARE(view.positionChanges.load(), 1);
    }

    void signalsComeFromAPoolThreadFocusFirst()
    {
        LiveView view;
        QVector<QString> order; // written by the pool thread, read when it has ended
        QThread *emitter = nullptr;
        view.onFocus([&](double value) {
            emitter = QThread::currentThread();
            order << (value == view.filter->focusValue() ? QStringLiteral("focus") : QStringLiteral("other"));
        });
        view.onPlace([&](const QPointF &value) {
            order << (value == view.filter->claddingPosition() ? QStringLiteral("place") : QStringLiteral("other"));
        });

        view.analyse(frameOf(smallFibre()));

        QCOMPARE(order, (QVector<QString>{QStringLiteral("focus"), QStringLiteral("place")}));
        QVERIFY(emitter != QThread::currentThread());
    }

    void receiversOfThisThreadAreToldByItsEventLoop()
    {
        LiveView view;
        double told = -1;
        const auto listen = [&](double value) { told = value; };
        connect(view.filter.get(), &FiberRealtimeAnalyser::focusValue_changed, this, listen);

        view.analyse(frameOf(smallFibre()));

        QCOMPARE(told, -1.0);
        QCoreApplication::processEvents();
        QCOMPARE(told, view.filter->focusValue());
    }

    void noLockIsHeldWhileASignalIsEmitted()
    {
        LiveView view;
        double readElsewhere = -1;
        view.onFocus([&] {
            std::thread reader([&] {
                readElsewhere = view.filter->focusValue();
                view.filter->set_claddingPosition(QPointF(1, 2));
                const LiveView other; // nor a lock that belongs to all filters
            });
            reader.join();
        });

        view.analyse(frameOf(smallFibre()));

        QVERIFY(readElsewhere > 0);
        QCOMPARE(view.positionChanges.load(), 2);
    }

    void framesThatComeDuringAnAnalysisPassBy()
    {
        constexpr int crowd = 20;
        LiveView busy;
        QSemaphore entered;
        QSemaphore leave;
        busy.onFocus([&] {
            entered.release();
            leave.tryAcquire(1, 20000);
        });
        std::atomic<int> maps{0};
        const QByteArray bytes = planar420(smallFibre().gray(), 400);
        const auto countingFrame = [&] {
            return QVideoFrame(new OwnBuffer([&](int *byteCount, int *bytesPerLine) {
                ++maps;
                *byteCount = bytes.size();
                *bytesPerLine = 400;
                return reinterpret_cast<uchar *>(const_cast<char *>(bytes.constData()));
            }),
                smallFibre().size, usualFormat);
        };
        busy.run(frameOf(smallFibre()));
        QVERIFY(entered.tryAcquire(1, 20000));

        std::vector<std::unique_ptr<LiveView>> others;
        for (int i = 0; i < crowd; ++i) {
            others.push_back(std::make_unique<LiveView>());
            const QVideoFrame frame = countingFrame();
            QVERIFY(others.back()->analyse(frame) == frame);
            const QVideoFrame again = frameOf(smallFibre(3.0));
            QVERIFY(busy.run(again) == again);
        }
        QCOMPARE(maps.load(), 0);
        for (const std::unique_ptr<LiveView> &other : others)
            QVERIFY(showsNothing(*other));

        leave.release();
        busy.runnable.reset();
        QCOMPARE(busy.focusChanges.load(), 1); // what passed by is not analysed later
        others.front()->analyse(countingFrame());
        QCOMPARE(maps.load(), 1);
        QCOMPARE(others.front()->focusChanges.load(), 1);
    }

    void aFrameGoesToTheFilterThatMadeTheRunnable()
    {
        LiveView first;
        LiveView second;
        first.analyse(frameOf(smallFibre()));
        QVERIFY(showsNothing(second));

        const std::unique_ptr<QVideoFilterRunnable> another(first.filter->createFilterRunnable());
        QVERIFY(another);
        QVERIFY(another != first.runnable);
    }

    void oneAnalysisAtATimeIsUnderWayInTheProcess()
    {
        constexpr int threads = 4;
        constexpr int frames = 300;
        std::atomic<int> inside{0};
        std::atomic<int> most{0};
        std::atomic<int> analysed{0};
        std::vector<std::thread> videoThreads;
        videoThreads.reserve(threads);
        for (int thread = 0; thread < threads; ++thread) {
            videoThreads.emplace_back([&] {
                LiveView view;
                view.onFocus([&] {
                    most = std::max(most.load(), ++inside);
                    spin(20);
                    --inside;
                    ++analysed;
                });
                const QVideoFrame sharp = frameOf(smallFibre());
                const QVideoFrame blurred = frameOf(smallFibre(2.0));
                for (int i = 0; i < frames; ++i) {
                    view.run(i % 2 == 0 ? sharp : blurred);
                    spin(100);
                }
            });
        }
        for (std::thread &thread : videoThreads)
            thread.join();

        QVERIFY(analysed > 0);
        QCOMPARE(most.load(), 1);
    }

    void anExceptionOfTheBufferDropsTheFrame()
    {
        LiveView view;
        const auto fail = [](int *, int *) -> uchar * { throw std::runtime_error("cable pulled"); };
        const auto failOtherwise = [](int *, int *) -> uchar * { throw 5; };
        const QVideoFrame frame(new OwnBuffer(fail), QSize(800, 600), usualFormat);
        const QVideoFrame otherFrame(new OwnBuffer(failOtherwise), QSize(800, 600), usualFormat);

        QVERIFY(view.analyse(frame) == frame);
        QVERIFY(view.analyse(otherFrame) == otherFrame);

        QVERIFY(showsNothing(view));
        QCOMPARE(mLog->warnings(),
            (QStringList{QStringLiteral("frame not analysed: cable pulled"),
                QStringLiteral("frame not analysed: an exception of an unknown type")}));
    }

    void anExceptionInThePoolThreadDropsTheFrame()
    {
        LiveView view;
        const auto fail = [] { throw std::runtime_error("listener failed"); };
        const QMetaObject::Connection failing = view.onFocus(fail);

        view.analyse(frameOf(smallFibre()));
        QCOMPARE(mLog->warnings(), QStringList{QStringLiteral("frame not analysed: listener failed")});
        QCOMPARE(view.positionChanges.load(), 0);

        disconnect(failing);
        view.analyse(frameOf(smallFibre(2.0)));
        QCOMPARE(view.positionChanges.load(), 1);
    }

    void aFilterCanGoAfterAnExceptionInThePoolThread()
    {
        LiveView view;
        const auto fail = [] { throw std::runtime_error("listener failed"); };
        view.onFocus(fail);
        QSemaphore failed;
        const std::unique_ptr<QThread> end(QThread::create([&] {
            failed.acquire();
            view.filter.reset();
        }));
        end->start(); // before the analysis, so that it is no namesake of the pool thread

        view.analyse(frameOf(smallFibre()));
        failed.release();

        QVERIFY(end->wait(10000)); // nothing counts as under way any more
    }

    void aFrameThatNoMemoryIsLeftForPassesBy_data()
    {
        QTest::addColumn<bool>("bufferTakesTheLast");
        QTest::newRow("none to map it") << true;
        if (!isSanitized)
            QTest::newRow("none to copy it") << false;
    }
    void aFrameThatNoMemoryIsLeftForPassesBy()
    {
        QFETCH(bool, bufferTakesTheLast);
        const QSize size(8192, 8192);
        std::vector<uchar> bytes(
            static_cast<std::size_t>(size.width()) * static_cast<std::size_t>(size.height()) * 3 / 2);
        const auto map = [&](int *byteCount, int *bytesPerLine) -> uchar * {
            if (bufferTakesTheLast)
                throw std::bad_alloc();
            *byteCount = static_cast<int>(bytes.size());
            *bytesPerLine = size.width();
            return bytes.data();
        };
        LiveView view;
        view.analyse(frameOf(smallFibre()));
        const QVideoFrame frame(new OwnBuffer(map), size, usualFormat);

        {
            std::unique_ptr<Faults::MemoryLimit> limit;
            if (!bufferTakesTheLast)
                limit = std::make_unique<Faults::MemoryLimit>(32ULL * 1024 * 1024);
            QVERIFY(view.run(frame) == frame);
        }

        QCOMPARE(mLog->warnings(), QStringList{QStringLiteral("frame not analysed: std::bad_alloc")});
        QVERIFY(!frame.isMapped());
        QCOMPARE(view.focusChanges.load(), 1);
        view.analyse(frameOf(smallFibre(2.0)));
        QCOMPARE(view.focusChanges.load(), 2);
    }

    void theEndOfTheFilterWaitsForAPublicationUnderWay()
    {
        int endedBetween = 0; // the two signals; on a busy machine the receiver of the first may be back before
        for (int i = 0; i < 20 || (endedBetween == 0 && i < 1000); ++i) {
            LiveView view;
            QSemaphore entered;
            std::atomic<bool> left{false};
            view.onFocus([&] {
                entered.release();
                QThread::msleep(5);
                left = true;
            });
            view.run(frameOf(smallFibre()));
            QVERIFY(entered.tryAcquire(1, 20000));

            view.filter.reset();

            QVERIFY(left);
            const int published = view.positionChanges;
            endedBetween += published == 0 ? 1 : 0;
            view.runnable.reset();
            QCOMPARE(view.positionChanges.load(), published); // the filter was gone by then
        }
        QVERIFY(endedBetween > 0);
    }

    void framesForAFilterThatIsGonePassBy()
    {
        LiveView view;
        view.filter.reset();

        const QVideoFrame frame = frameOf(smallFibre());
        QVERIFY(view.run(frame) == frame);
        view.runnable.reset();

        QCOMPARE(view.focusChanges.load(), 0);
    }

    void destructionInFlightIsSafe_data()
    {
        QTest::addColumn<int>("order");
        QTest::newRow("the filter, then the runnable") << 0;
        QTest::newRow("the runnable, then the filter") << 1;
        QTest::newRow("both at once in two threads") << 2;
        QTest::newRow("the filter in another thread, later the runnable") << 3;
        QTest::newRow("the runnable in another thread, later the filter") << 4;
        QTest::newRow("both in another thread") << 5;
        QTest::newRow("the filter while frames keep coming") << 6;
    }
    void destructionInFlightIsSafe()
    {
        constexpr int times = 1000;
        QFETCH(int, order);
        const QVideoFrame frame = frameOf(smallFibre());
        QRandomGenerator random(static_cast<quint32>(order + 1));
        QElapsedTimer timer;
        timer.start();
        int published = 0;

        for (int i = 0; i < times; ++i) {
            LiveView view;
            view.run(frame);
            spin(random.bounded(300));

            if (order == 0) {
                view.filter.reset();
                view.runnable.reset();
            } else if (order == 1) {
                view.runnable.reset();
                view.filter.reset();
            } else if (order == 2) {
                std::thread other([&] { view.filter.reset(); });
                view.runnable.reset();
                other.join();
            } else if (order == 3) {
                std::thread([&] { view.filter.reset(); }).join();
                view.runnable.reset();
            } else if (order == 4) {
                std::thread([&] { view.runnable.reset(); }).join();
                view.filter.reset();
            } else if (order == 5) {
                std::thread([&] {
                    view.filter.reset();
                    view.runnable.reset();
                }).join();
            } else {
                std::atomic<bool> end{false};
                std::thread video([&] {
                    while (!end)
                        view.run(frame);
                });
                view.filter.reset();
                end = true;
                video.join();
                view.runnable.reset();
            }
            published += view.focusChanges;
            QVERIFY2(timer.elapsed() < 120000, "this takes too long");
        }

        mLog.reset();
        qInfo("%d times in %lld ms; %d analyses came to their end", times, timer.elapsed(), published);
        mLog = std::make_unique<LogCapture>();
    }

    void aReceiverMayDestroyWhatItHearsOf_data()
    {
        QTest::addColumn<bool>("onFocus");
        QTest::addColumn<bool>("filterGoes");
        QTest::addColumn<bool>("runnableGoes");
        QTest::newRow("the filter on its focus") << true << true << false;
        QTest::newRow("the filter on its place") << false << true << false;
        QTest::newRow("the runnable on the focus") << true << false << true;
        QTest::newRow("the runnable on the place") << false << false << true;
        QTest::newRow("both") << true << true << true;
    }
    void aReceiverMayDestroyWhatItHearsOf()
    {
        constexpr int times = 200;
        QFETCH(bool, onFocus);
        QFETCH(bool, filterGoes);
        QFETCH(bool, runnableGoes);
        const QVideoFrame frame = frameOf(smallFibre());

        for (int i = 0; i < times; ++i) {
            LiveView view;
            QSemaphore done;
            const auto destroy = [&] {
                if (runnableGoes)
                    view.runnable.reset();
                if (filterGoes)
                    view.filter.reset();
                done.release();
            };
            if (onFocus)
                view.onFocus(destroy);
            else
                view.onPlace(destroy);

            view.run(frame);

            QVERIFY(done.tryAcquire(1, 20000));
            if (runnableGoes)
                QTRY_VERIFY(liveViewWorks()); // nobody waits for this analysis
            else
                view.runnable.reset();
        }
    }

    void memoryDoesNotGrow()
    {
        constexpr int frames = isSanitized ? 3000 : 100000;
        constexpr int warmUp = 1000;
        const QVideoFrame sharp = frameOf(tinyFibre());
        const QVideoFrame blurred = frameOf(tinyFibre(1.5));
        LiveView view;
        QElapsedTimer timer;
        timer.start();
        std::size_t before = 0;

        for (int i = 0; i < frames; ++i) {
            if (i == warmUp)
                before = mallinfo2().uordblks;
            while (view.focusChanges <= i) { // each of them is analysed
                view.run(i % 2 == 0 ? sharp : blurred);
                std::this_thread::yield();
                QVERIFY2(timer.elapsed() < 200000, "this takes too long");
            }
        }
        view.runnable.reset();
        const std::size_t after = mallinfo2().uordblks;
        mLog.reset();
        qInfo("%d frames in %lld ms; bytes in use after the first thousand %zu, in the end %zu", frames,
            timer.elapsed(), before, after);
        mLog = std::make_unique<LogCapture>();
        QVERIFY(after <= before + 16384);
    }
};

int main(int argc, char **argv)
{
    if (argc == 2 && qstrcmp(argv[1], firstFrameRole) == 0)
        return showFirstFrames(argc, argv);
    QCoreApplication app(argc, argv);
    TestFiberRealtimeAnalyser test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_fiberrealtimeanalyser.moc"
