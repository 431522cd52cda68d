// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"
#include "inspect/Options.h"

namespace Inspect {

/// The options of the program: their names, their help, and the checks of their values.
class CommandLine : public Tools::CommandLineBase
{
public:
    CommandLine();

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override;
    bool checkThatItOnlyLists();
    bool checkCombinations();
    bool readStandards();
    bool readFieldOfView();
    bool readScale();
    bool readCount(const QCommandLineOption &option, int most, int *count);
    bool readOutput();

    Options mOptions;
    const QCommandLineOption mListStandards;
    const QCommandLineOption mStandard;
    const QCommandLineOption mFieldOfView;
    const QCommandLineOption mScale;
    const QCommandLineOption mOut;
    const QCommandLineOption mSteps;
    const QCommandLineOption mJobs;
    const QCommandLineOption mMaxMegapixels;
    const QCommandLineOption mTimeout;
    const QCommandLineOption mRepeat;
    const QCommandLineOption mJson;
    const QCommandLineOption mCsv;
    const QCommandLineOption mQuiet;
    const QCommandLineOption mVerbose;
};

} // namespace Inspect
