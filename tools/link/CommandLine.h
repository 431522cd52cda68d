// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

#include <QCommandLineParser>

namespace Link {

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
    bool readRole();
    bool readPort();
    bool readLinger();
    bool refuse(const QString &problem);

    Options mOptions;
    QString mProblem;
    QCommandLineParser mParser;
    const QCommandLineOption mHelp;
    const QCommandLineOption mVersion;
    const QCommandLineOption mPort;
    const QCommandLineOption mEcho;
    const QCommandLineOption mStats;
    const QCommandLineOption mNoInput;
    const QCommandLineOption mLinger;
    const QCommandLineOption mVerbose;
};

} // namespace Link
