// SPDX-License-Identifier: Apache-2.0
#include "DrawnFibre.h"
#include "FiberInspection/Analyser.h"
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "Internal/ChildProcess.h"

#include <QElapsedTimer>
#include <QSemaphore>
#include <QThread>
#include <QVideoFrame>
#include <QVideoSurfaceFormat>
#include <QtTest>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <sys/resource.h>
#include <unistd.h>

using FiberInspection::Analyser;
using FiberInspection::Circle;
using FiberInspection::FiberRealtimeAnalyser;
using FiberInspection::LiveReading;

// Each in a process of its own, as the threads of OpenCV stay once they are there.
namespace {
constexpr int patience = 60000; // milliseconds
constexpr uid_t nobody = 65534;

/// While it lives, this process, which is not root's any more, may start no thread.
class NoThreads
{
public:
    NoThreads()
        : mIsOrdinary(geteuid() != 0 || (setgid(nobody) == 0 && setuid(nobody) == 0))
    {
        getrlimit(RLIMIT_NPROC, &mFormer);
        const rlimit none{0, mFormer.rlim_max};
        mIsOrdinary = setrlimit(RLIMIT_NPROC, &none) == 0 && mIsOrdinary;
    }
    NoThreads(const NoThreads &) = delete;
    NoThreads &operator=(const NoThreads &) = delete;
    ~NoThreads() { setrlimit(RLIMIT_NPROC, &mFormer); }

    bool hold() const
    {
        QThread thread;
        thread.start();
        const bool isThere = thread.isRunning() || thread.isFinished();
        thread.quit();
        thread.wait();
        return mIsOrdinary && !isThere;
    }

private:
    bool mIsOrdinary;
    rlimit mFormer{};
};

/// Of OpenCV's threads it starts none yet.
cv::Mat paint(const DrawnFibre &fibre)
{
    cv::setNumThreads(0);
    cv::Mat gray = fibre.gray();
    cv::setNumThreads(-1);
    return gray;
}

/// 4:2:0, without colour.
cv::Mat bytesOf(const cv::Mat &gray)
{
    cv::Mat bytes(gray.rows * 3 / 2, gray.cols, CV_8UC1, cv::Scalar(128));
    gray.copyTo(bytes.rowRange(0, gray.rows));
    return bytes;
}

QVideoFrame frameOf(const cv::Mat &gray)
{
    const cv::Mat bytes = bytesOf(gray);
    const int size = bytes.rows * bytes.cols;
    QVideoFrame frame(size, QSize(gray.cols, gray.rows), gray.cols, QVideoFrame::Format_YUV420P);
    frame.map(QAbstractVideoBuffer::WriteOnly);
    std::copy_n(bytes.data, size, frame.bits());
    frame.unmap();
    return frame;
}

void show(QVideoFilterRunnable *runnable, QVideoFrame frame)
{
    runnable->run(&frame, QVideoSurfaceFormat(), {});
}

int searchAFrame()
{
    cv::Mat bytes = bytesOf(paint(DrawnFibre()));
    const int width = bytes.cols;
    const int height = bytes.rows * 2 / 3;
    const NoThreads noThreads;
    const Circle circle = Analyser::approximateFindCladdingCircle(bytes.data, width, width, height);
    const double focus = Analyser::getBlurLevel(bytes.data, width, width, height, circle);
    return noThreads.hold() && circle.isValid() && focus > 0 ? 0 : 1;
}

int showFramesBeforeAndAfter()
{
    FiberRealtimeAnalyser filter;
    const std::unique_ptr<QVideoFilterRunnable> runnable(filter.createFilterRunnable());
    const QVideoFrame frame = frameOf(paint(DrawnFibre()));
    {
        const NoThreads noThreads;
        show(runnable.get(), frame);
        if (!noThreads.hold() || filter.lastReading().state != LiveReading::State::AnalysisBroken)
            return 1;
    }
    const QDeadlineTimer deadline(patience / 2);
    while (!filter.lastReading().hasFibre() && !deadline.hasExpired()) {
        show(runnable.get(), frame);
        QThread::msleep(5);
    }
    return filter.lastReading().hasFibre() ? 0 : 2;
}

QSemaphore &isHeld()
{
    static QSemaphore semaphore;
    return semaphore;
}

void holdUpOtherThreads(QtMsgType /*type*/, const QMessageLogContext & /*context*/, const QString &text)
{
    std::fprintf(stderr, "%s\n", qPrintable(text));
    if (QThread::currentThread() == QCoreApplication::instance()->thread())
        return;
    isHeld().release();
    for (;;)
        pause();
}

int destroyWhileAnAnalysisHangs()
{
    FiberRealtimeAnalyser filter;
    std::unique_ptr<QVideoFilterRunnable> runnable(filter.createFilterRunnable());
    qInstallMessageHandler(&holdUpOtherThreads);
    DrawnFibre fibre;
    fibre.center = QPointF(400, 56); // at the border, which is logged
    show(runnable.get(), frameOf(paint(fibre)));
    if (!isHeld().tryAcquire(1, patience / 2))
        return 1;
    QElapsedTimer timer;
    timer.start();
    runnable.reset();
    _exit(timer.elapsed() < patience / 2 ? 0 : 2); // the thread hangs on
}

struct Role
{
    const char *name;
    int (*play)();
};
constexpr Role roles[] = {
    {"search", &searchAFrame}, {"live", &showFramesBeforeAndAfter}, {"hanging", &destroyWhileAnAnalysisHangs}};

/// Empty if all was as it should be.
QByteArray complaintOf(const char *role)
{
    ChildProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--role"), QString::fromLatin1(role)});
    if (!process.waitForFinished(patience))
        return "does not end: " + process.readAll();
    if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return {};
    return QByteArray::number(process.exitCode()) + ": " + process.readAll();
}
} // namespace

class ThreadShortageTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theSearchOfAFrameNeedsNoOtherThread() { QCOMPARE(complaintOf("search"), QByteArray()); }

    void theLivePictureGoesOnWhenThereAreThreadsAgain() { QCOMPARE(complaintOf("live"), QByteArray()); }

    void anAnalysisThatHangsHoldsUpNoPage() { QCOMPARE(complaintOf("hanging"), QByteArray()); }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 3 && qstrcmp(argv[1], "--role") == 0) {
        for (const Role &role : roles) {
            if (qstrcmp(argv[2], role.name) == 0)
                return role.play();
        }
    }
    ThreadShortageTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_threadshortage.moc"
