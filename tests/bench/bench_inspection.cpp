// SPDX-License-Identifier: Apache-2.0
#include "BenchImages.h"
#include "FiberInspection/Inspection.h"
#include "Floor.h"
#include "Goals.h"
#include "simulation/EndfaceScenes.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <thread>

using namespace FiberInspection;

namespace {
constexpr int imageCount = 200;
constexpr int asManyAsUsual = -1; // threads of OpenCV
constexpr Standard::Id standard = Standard::IEC61300_3_35_SM_RL45;

/// Shares the images out among the threads, each as soon as one has time for it.
void inspectAll(const QStringList &paths, int threadCount)
{
    std::atomic<int> next{0};
    const auto work = [&] {
        for (int i = next++; i < paths.size(); i = next++)
            benchmark::DoNotOptimize(inspectFile(paths[i], standard).passed());
    };
    std::vector<std::thread> threads;
    for (int i = 1; i < threadCount; ++i)
        threads.emplace_back(work);
    work();
    for (std::thread &thread : threads)
        thread.join();
}

void benchThreads(const char *name, const QStringList &paths, int threadCount)
{
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            cv::setNumThreads(asManyAsUsual);
            for (auto _ : state)
                inspectAll(paths, threadCount);
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(1);
}

void benchOne(const char *name, const QString &path)
{
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            cv::setNumThreads(asManyAsUsual);
            for (auto _ : state)
                benchmark::DoNotOptimize(inspectFile(path, standard).passed());
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void benchFloor(const char *name, const QString &path)
{
    const Inspection inspection = inspectFile(path, standard);
    const QRect crop = inspection.crop();
    constexpr double expectedRadius = 67.5; // micrometres: cladding and half of the adhesive
    const int largestRadius = static_cast<int>(expectedRadius / static_cast<double>(inspection.micronsPerPixel()));
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            cv::setNumThreads(1); // an inspection has no more
            const std::string image = path.toStdString();
            for (auto _ : state)
                inspectionFloor(image, {}, {crop.x(), crop.y(), crop.width(), crop.height()}, largestRadius);
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}
} // namespace

int main(int argc, char **argv)
{
    const BenchImages images;
    QStringList paths;
    for (int i = 0; i < imageCount; ++i)
        paths << images.paint(randomEndfaceScene(static_cast<quint32>(i)), QStringLiteral("face%1.jpg").arg(i));
    const QString typical = images.paint(endfacePreset(QStringLiteral("scratched")), QStringLiteral("typical.jpg"));

    benchThreads("inspect_200_by_1_thread", paths, 1);
    benchThreads("inspect_200_by_2_threads", paths, 2);
    benchOne("inspect_one", typical);
    benchFloor("floor_one", typical);

    constexpr double throughput = 1.8;
    return runBenchmarks(argc, argv,
        {
            {"200 images: 2 threads / 1 thread", "inspect_200_by_2_threads", "inspect_200_by_1_thread", 1 / throughput},
            {"one image, one thread / floor", "inspect_one", "floor_one", 1.10},
        });
}
