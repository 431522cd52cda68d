// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Options.h"

#include <QCommandLineParser>

namespace Net {

/// The commands of the program and their options: their names, their help, and the checks of their values.
class CommandLine
{
public:
    CommandLine();

    /// @param arguments the program's name first
    /// @return whether they can be obeyed; if not, problem() says why
    bool parse(const QStringList &arguments);

    const Options &options() const { return mOptions; }
    QString problem() const { return mProblem; }
    QString helpText() const { return mParser.helpText(); }

private:
    bool readCommand(QStringList words);
    bool readMac(const QStringList &words);
    bool readServers(const QStringList &words);
    bool takeOperand(Options::Action action, const QStringList &words, int least, int most);
    bool checkCombinations();
    bool refuse(const QString &problem);

    Options mOptions;
    QString mProblem;
    QCommandLineParser mParser;
    const QCommandLineOption mHelp;
    const QCommandLineOption mVersion;
    const QCommandLineOption mJson;
    const QCommandLineOption mDomain;
    const QCommandLineOption mApplication;
    const QCommandLineOption mYes;
    const QCommandLineOption mVerbose;
};

} // namespace Net
