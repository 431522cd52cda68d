// SPDX-License-Identifier: Apache-2.0
#include "BenchImages.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "Goals.h"
#include "Internal/ChildProcess.h"
#include "simulation/EndfaceScenes.h"

#include <QFile>
#include <QLoggingCategory>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace FiberInspection;

namespace {
constexpr int imageCount = 200;
constexpr double mebibyte = 1024; // kibibytes

const QString program = QStringLiteral(VANTOR_INSPECT_PROGRAM);

void runInspect(const QStringList &arguments)
{
    ChildProcess process;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    constexpr int tooLong = 300000; // milliseconds
    constexpr int analysed = 1; // exit codes up to here
    if (!process.waitForFinished(tooLong) || process.exitStatus() != QProcess::NormalExit
        || process.exitCode() > analysed)
        qFatal("vantor-inspect failed");
}

void benchJobs(const char *name, const QString &folder, int jobs)
{
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            for (auto _ : state)
                runInspect({QStringLiteral("--json"), QStringLiteral("--jobs"), QString::number(jobs), folder});
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(1);
}

/// Kibibytes of a line of /proc/self/status.
double statusOf(const QByteArray &key)
{
    QFile file(QStringLiteral("/proc/self/status"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(key))
            return line.mid(key.size() + 1).trimmed().split(' ').first().toDouble();
    }
    return 0;
}

/// Peak memory of a whole run of the program on one image.
void printPeakOfProgram(const QString &image)
{
    runInspect({QStringLiteral("--json"), image});
    rusage usage = {};
    getrusage(RUSAGE_CHILDREN, &usage);
    std::printf(
        "peak memory of vantor-inspect, one image: %.1f MiB\n", static_cast<double>(usage.ru_maxrss) / mebibyte);
}

/// The most that the first analysis of a process holds on the heap and on its stacks: nothing is given back meanwhile.
void printMemoryOfAnalysis(const QString &image)
{
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        constexpr int keepAll = 1024 * 1024 * 1024; // bytes
        mallopt(M_MMAP_THRESHOLD, keepAll);
        mallopt(M_TRIM_THRESHOLD, keepAll);
        malloc_trim(0);
        const double before = statusOf("RssAnon");
        AnalyserPrivate::analyse(Standard::IEC61300_3_35_SM_RL45, image, Device::ks20(), 1.0F, false);
        std::printf("memory that an analysis adds: %.1f MiB\n", (statusOf("RssAnon") - before) / mebibyte);
        std::fflush(stdout);
        _exit(0);
    }
    waitpid(child, nullptr, 0);
}
} // namespace

int main(int argc, char **argv)
{
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    const BenchImages images;

    const QString folder = images.path(QStringLiteral("batch"));
    images.makeFolder(QStringLiteral("batch"));
    for (int i = 0; i < imageCount; ++i)
        images.paint(randomEndfaceScene(static_cast<quint32>(i)), QStringLiteral("batch/face%1.jpg").arg(i));
    const QString typical = images.paint(endfacePreset(QStringLiteral("scratched")), QStringLiteral("typical.jpg"));

    printPeakOfProgram(typical);
    printMemoryOfAnalysis(typical);

    benchJobs("jobs_1", folder, 1);
    benchJobs("jobs_2", folder, 2);
    constexpr double throughput = 1.8;
    return runBenchmarks(argc, argv, {{"200 images: --jobs 2 / --jobs 1", "jobs_2", "jobs_1", 1 / throughput}});
}
