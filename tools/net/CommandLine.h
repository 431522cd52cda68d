// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"
#include "net/Options.h"

namespace Net {

/// The commands of the program and their options: their names, their help, and the checks of their values.
class CommandLine : public Tools::CommandLineBase
{
public:
    CommandLine();

    const Options &options() const { return mOptions; }

private:
    bool readOptions() override;
    bool readCommand(QStringList words);
    bool readMac(const QStringList &words);
    bool readServers(const QStringList &words);
    bool takeOperand(Options::Action action, const QStringList &words, int least, int most);
    bool checkCombinations();

    Options mOptions;
    const QCommandLineOption mJson;
    const QCommandLineOption mDomain;
    const QCommandLineOption mApplication;
    const QCommandLineOption mYes;
    const QCommandLineOption mVerbose;
};

} // namespace Net
