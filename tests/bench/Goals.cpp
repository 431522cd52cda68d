// SPDX-License-Identifier: Apache-2.0
#include "Goals.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>

namespace {
constexpr double millisecondsPerSecond = 1e3;

/// Prints as usual and keeps the medians.
class MedianReporter : public benchmark::ConsoleReporter
{
public:
    void ReportRuns(const std::vector<Run> &runs) override
    {
        for (const Run &run : runs) {
            if (run.aggregate_name == "median") {
                const double seconds = run.GetAdjustedRealTime() / benchmark::GetTimeUnitMultiplier(run.time_unit);
                mMilliseconds[run.run_name.function_name] = seconds * millisecondsPerSecond;
            }
        }
        ConsoleReporter::ReportRuns(runs);
    }

    /// Negative when the benchmark did not run.
    double milliseconds(const std::string &name) const
    {
        const auto found = mMilliseconds.find(name);
        return found == mMilliseconds.end() ? -1 : found->second;
    }

private:
    std::map<std::string, double> mMilliseconds;
};

void print(const Goal &goal, const MedianReporter &reporter)
{
    const double measured = reporter.milliseconds(goal.measured);
    const double reference = goal.reference.empty() ? 1 : reporter.milliseconds(goal.reference);
    if (measured < 0 || reference < 0)
        return;
    const double reached = measured / reference;
    const char *const unit = goal.reference.empty() ? " ms" : "";
    std::printf("%-52s %9.3f%s  goal <= %.3f%s  %s\n", goal.what.c_str(), reached, unit, goal.bound, unit,
        reached <= goal.bound ? "reached" : "MISSED");
}
} // namespace

int runBenchmarks(int argc, char **argv, const std::vector<Goal> &goals)
{
    std::vector<std::string> arguments{argv[0], "--benchmark_repetitions=9", "--benchmark_min_time=0.05",
        "--benchmark_enable_random_interleaving=true", "--benchmark_display_aggregates_only=true"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char *> pointers;
    pointers.reserve(arguments.size());
    for (std::string &argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());

    benchmark::Initialize(&count, pointers.data());
    if (benchmark::ReportUnrecognizedArguments(count, pointers.data()))
        return 1;
    MedianReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);

    std::printf("\n");
    for (const Goal &goal : goals)
        print(goal, reporter);
    return 0;
}
