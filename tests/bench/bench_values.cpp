// SPDX-License-Identifier: Apache-2.0
// Names and texts against the least that one could do instead.
#include "Goals.h"
#include "Helpers/TestNameGenerator.h"
#include "Helpers/UnitHelper.h"

#include <QCoreApplication>
#include <QString>
#include <QVector>

#include <benchmark/benchmark.h>

namespace {
constexpr int nameCount = 1000000;

void generate(benchmark::State &state, const char *from, const char *to)
{
    const QString first = QString::fromUtf8(from);
    const QString last = QString::fromUtf8(to);
    for (auto _ : state) {
        QVector<QString> names;
        if (TestNameGenerator::generateTestNames(first, last, names, nameCount) != TestNameGenerator::NoError
            || names.size() != nameCount)
            qFatal("these are not the names");
        benchmark::DoNotOptimize(names.data());
    }
}

/// What every such run must at least do: one text each of that length.
void fill(benchmark::State &state, int length)
{
    for (auto _ : state) {
        QVector<QString> names;
        names.reserve(nameCount);
        for (int i = 0; i < nameCount; ++i)
            names.append(QString(length, QLatin1Char('x')));
        benchmark::DoNotOptimize(names.data());
    }
}

constexpr char shortFirst[] = "A000000";
constexpr char shortLast[] = "A999999";
constexpr char longFirst[] = "Building-7/Floor-00/Room-00/Outlet-00a";
constexpr char longLast[] = "Building-7/Floor-99/Room-99/Outlet-09j";

void shortNames(benchmark::State &state)
{
    generate(state, shortFirst, shortLast);
}
void shortNamesFilled(benchmark::State &state)
{
    fill(state, sizeof shortFirst - 1);
}
void longNames(benchmark::State &state)
{
    generate(state, longFirst, longLast);
}
void longNamesFilled(benchmark::State &state)
{
    fill(state, sizeof longFirst - 1);
}

void dataRate(benchmark::State &state)
{
    quint64 rate = 1234567;
    for (auto _ : state) {
        benchmark::DoNotOptimize(rate);
        benchmark::DoNotOptimize(UnitHelper::formatBitsPerSecondDataRate(rate, 2));
    }
}

void dataRateNumber(benchmark::State &state)
{
    double value = 1.234567F;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(QString(QString::number(value, 'g', 3) + QStringLiteral(" Mbps")));
    }
}

void byteSize(benchmark::State &state)
{
    quint64 bytes = 1234567;
    for (auto _ : state) {
        benchmark::DoNotOptimize(bytes);
        benchmark::DoNotOptimize(UnitHelper::bytesToReadable(bytes, 2));
    }
}

void byteSizeNumber(benchmark::State &state)
{
    double value = 1234567 / 1048576.0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(value);
        benchmark::DoNotOptimize(QString(QString::number(value, 'f', 2) + QStringLiteral(" MB")));
    }
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::RegisterBenchmark("names_short", shortNames)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("fill_short", shortNamesFilled)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("names_long", longNames)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("fill_long", longNamesFilled)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("data_rate", dataRate);
    benchmark::RegisterBenchmark("data_rate_number", dataRateNumber);
    benchmark::RegisterBenchmark("byte_size", byteSize);
    benchmark::RegisterBenchmark("byte_size_number", byteSizeNumber);

    constexpr double ofTheFilling = 2;
    constexpr double ofOneNumber = 1.5;
    return runBenchmarks(argc, argv,
        {
            {"a million names of 7 / filling a vector", "names_short", "fill_short", ofTheFilling},
            {"a million names of 38 / filling a vector", "names_long", "fill_long", ofTheFilling},
            {"formatBitsPerSecondDataRate / number and text", "data_rate", "data_rate_number", ofOneNumber},
            {"bytesToReadable / number and text", "byte_size", "byte_size_number", ofOneNumber},
        });
}
