// SPDX-License-Identifier: Apache-2.0
#include "Goals.h"
#include "Reports/JobArchive.h"
#include "simulation/EndfaceScenes.h"

#include <QBuffer>
#include <QFileInfo>
#include <QGuiApplication>
#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <cstdio>

using namespace Records;

namespace {
constexpr int portCount = 144;
constexpr qint64 largestReport = 20LL * 1024 * 1024; // bytes
constexpr double megabyte = 1e6;

void expect(bool isRight, const char *what)
{
    if (!isRight)
        qFatal("%s", what);
}

QByteArray photographOf(const QString &preset)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    expect(paintEndface(endfacePreset(preset)).save(&buffer, "JPEG", 92), "there is no photograph");
    return bytes;
}

/// A panel of which every port fails, each on a photograph of its own.
Id fill(RecordStore *store)
{
    Job job;
    job.name = QStringLiteral("Panel");
    job.id = store->addJob(job).value.id;
    const auto points = store->addPoints(job.id, {QStringLiteral("A001"), QStringLiteral("A%1").arg(portCount)}).value;
    expect(points.size() == portCount, "there are no points");
    const QByteArray photographs[] = {photographOf(QStringLiteral("dirty")), photographOf(QStringLiteral("scratched"))};
    for (int i = 0; i < portCount; ++i) {
        const QByteArray photograph = photographs[i % 2];
        const auto inspection = FiberInspection::inspect(FiberInspection::decodeImage(photograph).image, job.standard);
        expect(inspection.hasVerdict() && !inspection.passed(), "a port has passed");
        const QByteArray comment = QByteArray("\xFF\xFE\0\6", 4) + QByteArray::number(1000 + i); // a sum of its own
        expect(
            store->addInspection(Origin::of(points[i].id), inspection, QByteArray(photograph).insert(2, comment)).ok(),
            "nothing is stored");
    }
    return job.id;
}

template <typename Call>
void bench(const char *name, Call call)
{
    benchmark::RegisterBenchmark(name,
        [=](benchmark::State &state) {
            for (auto _ : state)
                call();
        })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
}
} // namespace

int main(int argc, char **argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QGuiApplication application(argc, argv);
    const QTemporaryDir dir;
    RecordStore store;
    expect(store.open(dir.filePath(QStringLiteral("store"))).canWrite(), "there is no store");
    const Id job = fill(&store);
    const QString pdf = dir.filePath(QStringLiteral("report.pdf"));
    const QString zip = dir.filePath(QStringLiteral("job.zip"));
    const auto write = [&] {
        expect(Reports::writeJobPdf(Reports::JobReport::gather(store, job).value, pdf).isWhole(), "there is no report");
    };

    write();
    const qint64 size = QFileInfo(pdf).size();
    std::printf("A report of %d failed ports: %.1f MB, at most 20 MiB\n", portCount, double(size) / megabyte);
    bench("gather", [&] { expect(Reports::JobReport::gather(store, job).ok(), "nothing is gathered"); });
    bench("report_of_144_failures", write);
    bench("archive_of_144_failures", [&] {
        expect(Reports::writeJobArchive(Reports::JobReport::gather(store, job).value, zip).isWhole(), "no archive");
    });
    const int missed = runBenchmarks(argc, argv, {{"report_of_144_failures", "report_of_144_failures", {}, 5000}});
    return size <= largestReport ? missed : 1;
}
