// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/TestNameGenerator.h"

#include <QCommandLineParser>

namespace Names {

struct Options
{
    enum class Action { Generate, ShowHelp, ShowVersion };

    Action action = Action::Generate;
    QString first;
    QString last;
    QString prefix;
    int max = TestNameGenerator::maxPermittedGeneration;
    bool isJson = false;
};

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
    bool refuse(const QString &problem);

    Options mOptions;
    QString mProblem;
    QCommandLineParser mParser;
    const QCommandLineOption mHelp;
    const QCommandLineOption mVersion;
    const QCommandLineOption mPrefix;
    const QCommandLineOption mMax;
    const QCommandLineOption mJson;
};

} // namespace Names
