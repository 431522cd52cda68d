// SPDX-License-Identifier: Apache-2.0
#include "BenchImages.h"
#include "FiberInspection/Analyser.h"
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "Goals.h"
#include "simulation/EndfaceScenes.h"
#include "simulation/VideoFrames.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QImage>
#include <QLoggingCategory>
#include <QThread>
#include <QVideoFrame>
#include <QVideoSurfaceFormat>

#include <opencv2/imgproc.hpp>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>
#include <string>

using namespace FiberInspection;

namespace {
/// A painted frame, as the camera gives it and as bare luminance.
class Frame
{
public:
    explicit Frame(const QSize &size)
    {
        EndfaceScene scene = endfacePreset(QStringLiteral("clean"));
        scene.size = size;
        mImage = paintEndface(scene).convertToFormat(QImage::Format_Grayscale8);
        for (int y = 0; y < height(); ++y)
            mLuminance.append(reinterpret_cast<const char *>(mImage.constScanLine(y)), width());
    }

    int width() const { return mImage.width(); }
    int height() const { return mImage.height(); }
    const QByteArray &luminance() const { return mLuminance; }
    std::size_t luminanceBytes() const { return static_cast<std::size_t>(mLuminance.size()); }
    QVideoFrame video() const { return Simulation::videoFrame(mImage); }

private:
    QImage mImage;
    QByteArray mLuminance;
};

/// The least that a live analysis can cost: a copy of the luminance and the calls to OpenCV that it cannot do without.
double liveFloor(const Frame &frame)
{
    constexpr double reduction = 6;
    constexpr double fovWidth = 860; // micrometres
    constexpr double claddingRadius = 55; // micrometres
    const auto reducedRadius = static_cast<int>(claddingRadius * frame.width() / fovWidth / reduction + 5);

    const cv::Mat image(frame.height(), frame.width(), CV_8UC1);
    std::memcpy(image.data, frame.luminance().constData(), frame.luminanceBytes());
    cv::Mat reduced;
    cv::resize(image, reduced, {static_cast<int>(image.cols / reduction), static_cast<int>(image.rows / reduction)});
    std::vector<cv::Vec3f> circles;
    cv::HoughCircles(reduced, circles, cv::HOUGH_GRADIENT, 1.0, 60.0, 50.0, 30.0, reducedRadius - 10, reducedRadius);
    if (circles.size() != 1)
        return 0;
    const int side = static_cast<int>(circles[0][2] * reduction) + 60;
    const cv::Rect crop(static_cast<int>(circles[0][0] * reduction) - side / 2,
        static_cast<int>(circles[0][1] * reduction) - side / 2, side, side);
    cv::Mat blurred;
    cv::GaussianBlur(image(crop), blurred, cv::Size(5, 5), 0);
    cv::Laplacian(blurred, blurred, CV_8U, 1);
    cv::Scalar mean;
    cv::Scalar deviation;
    cv::meanStdDev(blurred, mean, deviation);
    return deviation[0];
}

double analyseLive(const Frame &frame)
{
    const std::unique_ptr<uchar[]> luminance(new uchar[frame.luminanceBytes()]);
    std::memcpy(luminance.get(), frame.luminance().constData(), frame.luminanceBytes());
    const Circle circle =
        Analyser::approximateFindCladdingCircle(luminance.get(), frame.width(), frame.width(), frame.height());
    return Analyser::getBlurLevel(luminance.get(), frame.width(), frame.width(), frame.height(), circle);
}

void benchLive(const std::string &size, const Frame *frame)
{
    if (analyseLive(*frame) <= 0 || liveFloor(*frame) <= 0)
        qFatal("no fibre in the painted frame");
    benchmark::RegisterBenchmark(("live_" + size).c_str(),
        [frame](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(analyseLive(*frame));
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
    benchmark::RegisterBenchmark(("live_floor_" + size).c_str(),
        [frame](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(liveFloor(*frame));
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

/// The filter with its runnable, as the video framework holds them.
class RunningFilter
{
public:
    RunningFilter()
        : mRunnable(mFilter.createFilterRunnable())
    {
    }

    void run(QVideoFrame *frame) { mRunnable->run(frame, QVideoSurfaceFormat(), {}); }

    /// Waits for the analysis under way: a runnable waits for it when it ends.
    void settle() { mRunnable.reset(mFilter.createFilterRunnable()); }

    double focusValue() const { return mFilter.focusValue(); }

private:
    FiberRealtimeAnalyser mFilter;
    std::unique_ptr<QVideoFilterRunnable> mRunnable;
};

/// Times one step of a video thread, as often as frames come: what was in the caches before has been used by others.
template <typename Step>
void benchVideoThread(const char *name, const Frame *frame, Step step)
{
    benchmark::RegisterBenchmark(name,
        [frame, step](benchmark::State &state) {
            constexpr unsigned long framePause = 40; // milliseconds
            constexpr double nanosecondsPerSecond = 1e9;
            RunningFilter filter;
            QVideoFrame video = frame->video();
            QByteArray copy(frame->luminance().size() * 3 / 2, '\0'); // with the colours
            filter.run(&video); // the first frame starts the pool's thread
            for (auto _ : state) {
                QThread::msleep(framePause);
                QElapsedTimer timer;
                timer.start();
                step(filter, video, copy);
                state.SetIterationTime(static_cast<double>(timer.nsecsElapsed()) / nanosecondsPerSecond);
            }
            filter.settle();
            if (filter.focusValue() < 0)
                qFatal("the frame was not analysed");
        })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime()
        ->Iterations(25); // a second, whatever the shortest time asked for
}

void benchBlockedTime(const char *name, const Frame *frame)
{
    benchVideoThread(name, frame, [](RunningFilter &filter, QVideoFrame &video, QByteArray &) { filter.run(&video); });
}

void benchCopy(const char *name, const Frame *frame)
{
    benchVideoThread(name, frame, [](RunningFilter &, QVideoFrame &video, QByteArray &copy) {
        video.map(QAbstractVideoBuffer::ReadOnly);
        std::memcpy(copy.data(), video.bits(), static_cast<std::size_t>(copy.size()));
        video.unmap();
        benchmark::ClobberMemory();
    });
}

/// Kibibytes of memory that the process holds.
double residentKibibytes()
{
    std::ifstream status("/proc/self/status");
    std::string key;
    double value = 0;
    while (status >> key) {
        if (key == "VmRSS:" && status >> value)
            return value;
    }
    return value;
}

void printGrowth(const Frame &frame)
{
    constexpr int warmUp = 1000;
    constexpr int frames = 100000;
    constexpr unsigned long pause = 100; // microseconds; enough for most of the frames to be analysed
    RunningFilter filter;
    QVideoFrame video = frame.video();
    double before = 0;
    for (int i = 0; i < frames; ++i) {
        if (i == warmUp)
            before = residentKibibytes();
        filter.run(&video);
        QThread::usleep(pause);
    }
    filter.settle();
    std::printf(
        "%d frames through the filter: %+.0f KiB after the first %d\n", frames, residentKibibytes() - before, warmUp);
}
} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    cv::setNumThreads(1); // the figures are those of one core

    const Frame small(QSize(800, 600));
    const Frame wide(QSize(1280, 720));
    const Frame large(QSize(2592, 1944));
    printGrowth(small);

    benchLive("800x600", &small);
    benchLive("1280x720", &wide);
    benchLive("2592x1944", &large);
    benchBlockedTime("blocked_800x600", &small);
    benchCopy("copy_800x600", &small);
    benchBlockedTime("blocked_2592x1944", &large);
    benchCopy("copy_2592x1944", &large);

    constexpr double ofTheFloor = 1.15;
    constexpr double ofOneCopy = 1.5;
    return runBenchmarks(argc, argv,
        {
            {"live analysis 800x600 / floor", "live_800x600", "live_floor_800x600", ofTheFloor},
            {"live analysis 1280x720 / floor", "live_1280x720", "live_floor_1280x720", ofTheFloor},
            {"live analysis 2592x1944 / floor", "live_2592x1944", "live_floor_2592x1944", ofTheFloor},
            {"live analysis 800x600, one core", "live_800x600", "", 1.0},
            {"video thread blocked 800x600 / one copy", "blocked_800x600", "copy_800x600", ofOneCopy},
            {"video thread blocked 2592x1944 / one copy", "blocked_2592x1944", "copy_2592x1944", ofOneCopy},
        });
}
