// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/TestNameGenerator.h"
#include "common/CommandLineBase.h"

namespace Names {

struct Options
{
    QString first;
    QString last;
    QString prefix;
    int max = TestNameGenerator::maxPermittedGeneration;
    bool isJson = false;
};

/// The options of the program: their names, their help, and the checks of their values.
class CommandLine : public Tools::CommandLineBase
{
public:
    CommandLine();

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override;

    Options mOptions;
    const QCommandLineOption mPrefix;
    const QCommandLineOption mMax;
    const QCommandLineOption mJson;
};

} // namespace Names
