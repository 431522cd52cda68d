// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/AnalysisThreads_p.h"
#include "FiberInspection/ExceptionText_p.h"
#include "FiberInspection/FiberRealtimeAnalyserRunnable_p.h"
#include "FiberInspection/LiveAnalysisLink_p.h"
#include "FiberInspection/Log_p.h"

#include <QDeadlineTimer>
#include <QSemaphore>
#include <QVideoFrame>

#include <opencv2/core.hpp>

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>
#include <vector>

namespace FiberInspection {

std::atomic<bool> FiberRealtimeAnalyserRunnable::mProcessing{false};

/// The luminance of a frame, its rows one behind the other. Frames of one size after another use the same memory.
class FiberRealtimeAnalyserRunnable::Luminance
{
public:
    void copyFrom(const QVideoFrame &frame)
    {
        const auto width = static_cast<std::size_t>(frame.width());
        const auto height = static_cast<std::size_t>(frame.height());
        const auto stride = static_cast<std::size_t>(frame.bytesPerLine());
        const uchar *const source = frame.bits();
        mSize = frame.size();
        mBytes.resize(width * height);
        if (stride == width) {
            std::memcpy(mBytes.data(), source, width * height);
            return;
        }
        for (std::size_t y = 0; y < height; ++y)
            std::memcpy(mBytes.data() + y * width, source + y * stride, width);
    }

    uchar *bytes() { return mBytes.data(); }
    int width() const { return mSize.width(); }
    int height() const { return mSize.height(); }

private:
    QSize mSize;
    std::vector<uchar> mBytes;
};

/// What a runnable and its analysis have in common.
struct FiberRealtimeAnalyserRunnable::Work
{
    Luminance luminance; ///< belongs to whoever set mProcessing
    QSemaphore idle{1};
};

namespace {
constexpr int pollInterval = 20; // milliseconds, as the following
constexpr int analysisPatience = 5000;

/// Whether the frame starts with a plane of luminance that is followed by half as much of colour.
bool isPlanar420(QVideoFrame::PixelFormat format)
{
    switch (format) {
    case QVideoFrame::Format_NV12:
    case QVideoFrame::Format_NV21:
    case QVideoFrame::Format_YUV420P:
    case QVideoFrame::Format_YV12:
    case QVideoFrame::Format_IMC1:
    case QVideoFrame::Format_IMC2:
    case QVideoFrame::Format_IMC3:
    case QVideoFrame::Format_IMC4:
        return true;
    default:
        return false;
    }
}

/// Whether a mapped frame holds all the rows that its format promises.
bool isComplete(const QVideoFrame &frame)
{
    const qint64 width = frame.width();
    const qint64 height = frame.height();
    const qint64 stride = frame.bytesPerLine();
    const qint64 bytes = frame.mappedBytes();
    return width > 0 && height > 0 && stride >= width && bytes >= width * height * 3 / 2
        && bytes >= stride * (height - 1) + width;
}

/// None if a mapped frame can be analysed.
LiveReading::State obstacleIn(const QVideoFrame &frame)
{
    if (!isPlanar420(frame.pixelFormat()))
        return LiveReading::State::FormatUnsupported;
    return isComplete(frame) ? LiveReading::State::None : LiveReading::State::FrameUnusable;
}

LiveReading readingWithout(LiveReading::State state, const QString &detail = {})
{
    LiveReading reading;
    reading.state = state;
    reading.detail = detail;
    return reading;
}

/// Of the exception that is being handled.
LiveReading broken()
{
    const QByteArray text = exceptionText();
    qCWarning(messageLog) << "frame not analysed:" << text.constData();
    return readingWithout(LiveReading::State::AnalysisBroken, QString::fromLocal8Bit(text));
}

LiveReading::State stateOf(bool fits, double focusValue)
{
    if (!fits)
        return LiveReading::State::FibreAtBorder;
    return focusValue <= LiveReading::badFocus ? LiveReading::State::OutOfFocus : LiveReading::State::Measured;
}

/// Rows without padding.
LiveReading readingOf(uchar *luminance, int width, int height)
{
    const bool isEven = width % 2 == 0 && height % 2 == 0; // colour is shared among blocks of 2 x 2 pixels
    if (!isEven)
        return readingWithout(LiveReading::State::FrameUnusable);
    const cv::Mat gray(height, width, CV_8UC1, luminance);
    int candidates = 0;
    const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(gray, &candidates);
    if (!circle.isValid())
        return readingWithout(candidates > 1 ? LiveReading::State::SeveralFibres : LiveReading::State::NoFibre);

    LiveReading reading;
    bool fits = false;
    reading.focusValue = AnalyserPrivate::getBlurLevel(gray, circle, &fits);
    reading.claddingPosition = circle.center;
    reading.state = stateOf(fits, reading.focusValue);
    return reading;
}

void logFormatOnce(const QVideoFrame &frame)
{
    static std::atomic<bool> formatWasPrinted{false};
    if (!formatWasPrinted.exchange(true)) {
        qCDebug(messageLog) << "pixel format" << frame.pixelFormat()
                            << static_cast<int>(QVideoFrame::imageFormatFromPixelFormat(frame.pixelFormat()));
    }
}

/// Unmaps a frame at the end of the scope.
class MappedFrame
{
public:
    explicit MappedFrame(QVideoFrame &frame)
        : mFrame(frame)
        , mIsMapped(frame.map(QAbstractVideoBuffer::ReadOnly))
    {
    }
    MappedFrame(const MappedFrame &) = delete;
    MappedFrame &operator=(const MappedFrame &) = delete;
    ~MappedFrame()
    {
        if (mIsMapped)
            mFrame.unmap();
    }

    bool isMapped() const { return mIsMapped; }

private:
    QVideoFrame &mFrame;
    bool mIsMapped;
};

/// Calls the function when the last copy is gone: on whichever thread, and on whichever way out.
template <typename Function>
std::shared_ptr<void> callWhenReleased(Function function)
{
    return {nullptr, [function](void *) { function(); }};
}
} // namespace

FiberRealtimeAnalyserRunnable::FiberRealtimeAnalyserRunnable(std::shared_ptr<LiveAnalysisLink> fiberRealtimeAnalyser)
    : mFiberRealtimeAnalyser(std::move(fiberRealtimeAnalyser))
    , mWork(std::make_shared<Work>())
{
}

FiberRealtimeAnalyserRunnable::~FiberRealtimeAnalyserRunnable()
{
    if (mFiberRealtimeAnalyser->isPublishedHere())
        return; // this very thread would have to end the analysis
    const QDeadlineTimer patience(analysisPatience);
    while (!mWork->idle.tryAcquire(1, pollInterval)) {
        if (!mFiberRealtimeAnalyser->waitForReceivers())
            return;
        if (patience.hasExpired()) {
            qCWarning(messageLog) << "a live analysis does not come to its end, it is not waited for";
            return;
        }
    }
    mWork->idle.release(); // a frame may be about to be analysed: its mapping may have come to this
}

QVideoFrame FiberRealtimeAnalyserRunnable::run(
    QVideoFrame *frame, const QVideoSurfaceFormat &surfaceFormat, RunFlags flags)
{
    Q_UNUSED(surfaceFormat)
    Q_UNUSED(flags)
    if (!frame)
        return {};
    if (frame->isValid() && !mProcessing) {
        // To map a frame is to call code that we do not know, and it may destroy this.
        const std::shared_ptr<LiveAnalysisLink> fiberRealtimeAnalyser = mFiberRealtimeAnalyser;
        const std::shared_ptr<Work> work = mWork;
        withHandler([&] { startAnalysis(*frame, fiberRealtimeAnalyser, work); },
            [&] { fiberRealtimeAnalyser->publish(broken()); }); // out of memory or threads: this frame is dropped
    }
    return *frame;
}

void FiberRealtimeAnalyserRunnable::startAnalysis(QVideoFrame &frame,
    const std::shared_ptr<LiveAnalysisLink> &fiberRealtimeAnalyser, const std::shared_ptr<Work> &work)
{
    const MappedFrame mapped(frame);
    if (mProcessing)
        return;
    if (!mapped.isMapped()) {
        fiberRealtimeAnalyser->publish(readingWithout(LiveReading::State::FrameUnusable));
        return;
    }
    logFormatOnce(frame); // a log may run an event loop, too: nothing is held yet that an end of this would wait for
    if (mProcessing.exchange(true))
        return;
    work->idle.acquire(); // is free, or will be in a moment: the analysis before has ended
    const std::shared_ptr<void> processing = callWhenReleased([work] {
        mProcessing = false;
        work->idle.release();
    });

    if (!fiberRealtimeAnalyser->isOpen())
        return;
    if (const LiveReading::State obstacle = obstacleIn(frame); obstacle != LiveReading::State::None) {
        fiberRealtimeAnalyser->publish(readingWithout(obstacle));
        return;
    }
    work->luminance.copyFrom(frame);
    AnalysisThreads::run([link = fiberRealtimeAnalyser, work, processing]() {
        Luminance &luminance = work->luminance;
        processImage(*link, luminance.bytes(), luminance.width(), luminance.height());
    });
}

void FiberRealtimeAnalyserRunnable::processImage(
    LiveAnalysisLink &fiberRealtimeAnalyser, uchar *luminance, int width, int height)
{
    const LiveReading reading =
        withHandler([&] { return readingOf(luminance, width, height); }, [] { return broken(); });
    withHandler([&] { fiberRealtimeAnalyser.publish(reading); },
        [] { qCWarning(messageLog) << "frame not analysed:" << exceptionText().constData(); }); // of a receiver
}

} // namespace FiberInspection
