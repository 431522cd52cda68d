// SPDX-License-Identifier: Apache-2.0
#include "BenchImages.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "Floor.h"
#include "Goals.h"
#include "simulation/EndfaceScenes.h"

#include <QLoggingCategory>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace FiberInspection;

namespace {
constexpr double longestInspection = 200; // milliseconds

/// An image with what one inspection measures on it.
struct Sample
{
    QString path;
    Standard::Id standard = Standard::IEC61300_3_35_SM_RL45;
    Inspection inspection;

    explicit Sample(const QString &imagePath, Standard::Id standardId = Standard::IEC61300_3_35_SM_RL45)
        : path(imagePath)
        , standard(standardId)
    {
        analyse();
    }

    bool analyse()
    {
        return !AnalyserPrivate::analyse(standard, path, Device::ks20(), 1.0F, false, &inspection).error();
    }

    void print(const char *name) const
    {
        std::printf("%-16s %s%d contours, %d raw and %d merged defects\n", name, qPrintable(inspection.reasonText()),
            inspection.counts().contours, inspection.counts().raw, inspection.counts().merged);
    }
};

void benchAnalysis(const char *name, Sample *sample)
{
    benchmark::RegisterBenchmark(name,
        [sample](benchmark::State &state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(sample->analyse());
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

void benchFloor(const char *name, const Sample *sample)
{
    const QRect crop = sample->inspection.crop();
    constexpr double expectedRadius = 67.5; // micrometres: cladding and half of the adhesive
    const int largestRadius =
        static_cast<int>(expectedRadius / static_cast<double>(sample->inspection.micronsPerPixel()));
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            const std::string image = sample->path.toStdString();
            const std::string result = BaseDirHelper::tmpFiberInspectionResultImagePath().toStdString();
            for (auto _ : state)
                inspectionFloor(image, result, {crop.x(), crop.y(), crop.width(), crop.height()}, largestRadius);
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

/// Specks of eight pixels, as dense as they can lie without all of them being joined.
std::vector<Defect> specks(int count)
{
    constexpr int columns = 50;
    constexpr int spacing = 7; // pixels; every third speck is close to its neighbour
    std::vector<Defect> defects;
    defects.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        const cv::Point corner(i % columns * spacing + i % 3, i / columns * spacing);
        const std::vector<cv::Point> outline{{0, 0}, {0, 1}, {0, 2}, {1, 2}, {2, 2}, {2, 1}, {2, 0}, {1, 0}};
        std::vector<cv::Point> pixels;
        pixels.reserve(outline.size());
        for (const cv::Point &point : outline)
            pixels.push_back(corner + point);
        defects.push_back(AnalyserPrivate::createDefectFromPixels(pixels, 0));
    }
    return defects;
}

void benchMerging(const char *name, int count)
{
    benchmark::RegisterBenchmark(name,
        [count](benchmark::State &state) {
            constexpr float distance = 3.72F; // pixels: 4 micrometres at 800x600
            const std::vector<Defect> defects = specks(count);
            for (auto _ : state)
                benchmark::DoNotOptimize(AnalyserPrivate::mergeDefects(defects, distance));
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}

/// The strongest white noise in which the fibre is still found: what is stronger fails early and costs less.
Sample noisySample(const BenchImages &images, int width, int height, const QString &fileName)
{
    constexpr int strongest = 128; // grey levels
    for (int span = strongest; span > 1; span -= 2) {
        Sample sample(images.paintNoise(width, height, span, fileName));
        if (sample.inspection.reasonText().isEmpty())
            return sample;
    }
    qFatal("no fibre found in any noise");
}

/// Takes the messages as an application's log would, up to the writing.
void discardMessage(QtMsgType, const QMessageLogContext &, const QString &message)
{
    benchmark::DoNotOptimize(message.size());
}
} // namespace

int main(int argc, char **argv)
{
    qInstallMessageHandler(discardMessage);
    const BenchImages images;

    Sample typical(images.paint(endfacePreset(QStringLiteral("scratched")), QStringLiteral("typical.jpg")));
    Sample clean(images.paint(endfacePreset(QStringLiteral("clean")), QStringLiteral("clean.jpg")));
    Sample dirty2000(images.paint(dirtyEndfaceScene(1, 2000), QStringLiteral("dirty2000.jpg")));
    Sample dirty4000(images.paint(dirtyEndfaceScene(1, 4000), QStringLiteral("dirty4000.jpg")));
    Sample noise = noisySample(images, 800, 600, QStringLiteral("noise.png"));
    Sample largeNoise = noisySample(images, 2592, 1944, QStringLiteral("large_noise.png"));
    EndfaceScene largeScene = endfacePreset(QStringLiteral("dirty"));
    largeScene.size = QSize(2592, 1944);
    Sample large(images.paint(largeScene, QStringLiteral("large.jpg")));
    Sample manual(noise.path, Standard::Manual);
    typical.print("typical");
    clean.print("clean");
    dirty2000.print("dirty 2000");
    dirty4000.print("dirty 4000");
    noise.print("noise");
    large.print("large");
    largeNoise.print("large noise");

    benchAnalysis("analyse_typical", &typical);
    benchFloor("floor_typical", &typical);
    benchAnalysis("analyse_clean", &clean);
    benchFloor("floor_clean", &clean);
    benchAnalysis("analyse_dirty_2000", &dirty2000);
    benchAnalysis("analyse_dirty_4000", &dirty4000);
    benchFloor("floor_dirty_4000", &dirty4000);
    benchAnalysis("analyse_noise", &noise);
    benchFloor("floor_noise", &noise);
    benchAnalysis("analyse_large", &large);
    benchFloor("floor_large", &large);
    benchAnalysis("analyse_large_noise", &largeNoise);
    benchFloor("floor_large_noise", &largeNoise);
    benchAnalysis("analyse_manual", &manual);
    benchMerging("merge_2000", 2000);
    benchMerging("merge_4000", 4000);

    return runBenchmarks(argc, argv,
        {
            {"typical 800x600 JPEG / floor", "analyse_typical", "floor_typical", 1.15},
            {"clean 800x600 JPEG / floor", "analyse_clean", "floor_clean", 1.15},
            {"4000 contours / 2000 contours", "analyse_dirty_4000", "analyse_dirty_2000", 2.3},
            {"merging 4000 specks / 2000 specks", "merge_4000", "merge_2000", 2.3},
            {"2000 contours", "analyse_dirty_2000", "", longestInspection},
            {"4000 contours", "analyse_dirty_4000", "", longestInspection},
            {"white noise 800x600", "analyse_noise", "", longestInspection},
            {"5 megapixels", "analyse_large", "", longestInspection},
            {"white noise, 5 megapixels", "analyse_large_noise", "", longestInspection},
            {"standard Manual / floor", "analyse_manual", "floor_noise", 1.0},
        });
}
