// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

/// What a bench program holds its figures to: the time of a benchmark, alone or divided by that of another one.
struct Goal
{
    std::string what; ///< as the table says it
    std::string measured; ///< name of a benchmark
    std::string reference; ///< name of another one; empty for a bound in milliseconds
    double bound = 0; ///< largest ratio, or largest time in milliseconds
};

/// Runs the registered benchmarks several times in random order, so that a drift of the machine's speed hits all of
/// them alike, and prints the medians and then the goals with what was reached. Returns the exit code of the program.
int runBenchmarks(int argc, char **argv, const std::vector<Goal> &goals);
