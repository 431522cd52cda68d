// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

#include <QCommandLineParser>

namespace Inspect {

/// The options of the program: their names, their help, and the checks of their values.
class CommandLine
{
public:
    CommandLine();

    /// @param arguments the program's name first
    /// @return whether the options can be obeyed; if not, problem() says why
    bool parse(const QStringList &arguments);

    const Options &options() const { return mOptions; }
    QString problem() const { return mProblem; }
    QString helpText() const { return mParser.helpText(); }

private:
    bool chooseAction();
    bool checkCombinations();
    bool readStandards();
    bool readFieldOfView();
    bool readScale();
    bool readCount(const QCommandLineOption &option, int most, int *count);
    bool readOutput();
    bool refuse(const QString &problem);
    bool refuseValue(const QCommandLineOption &option, const QString &expectation);

    Options mOptions;
    QString mProblem;
    QCommandLineParser mParser;
    const QCommandLineOption mHelp;
    const QCommandLineOption mVersion;
    const QCommandLineOption mListStandards;
    const QCommandLineOption mStandard;
    const QCommandLineOption mFieldOfView;
    const QCommandLineOption mScale;
    const QCommandLineOption mOut;
    const QCommandLineOption mSteps;
    const QCommandLineOption mJobs;
    const QCommandLineOption mRepeat;
    const QCommandLineOption mJson;
    const QCommandLineOption mCsv;
    const QCommandLineOption mQuiet;
    const QCommandLineOption mVerbose;
};

} // namespace Inspect
