// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"
#include "link/Options.h"

namespace Link {

/// The options of the program: their names, their help, and the checks of their values.
class CommandLine : public Tools::CommandLineBase
{
public:
    CommandLine();

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override;
    bool readRole();
    bool readAddress();
    bool readPort();
    bool readMaxFrame();
    bool readLinger();

    Options mOptions;
    const QCommandLineOption mPort;
    const QCommandLineOption mAddress;
    const QCommandLineOption mEcho;
    const QCommandLineOption mStats;
    const QCommandLineOption mNoInput;
    const QCommandLineOption mMaxFrame;
    const QCommandLineOption mLinger;
    const QCommandLineOption mVerbose;
};

} // namespace Link
