// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QCommandLineParser>

namespace Tools {

/// The options of a program: their names, their help, and the first thing that is wrong with them. Each program derives
/// a class that adds its options and checks their values; --help and --version are answered here.
class CommandLineBase
{
public:
    virtual ~CommandLineBase() = default;
    CommandLineBase(const CommandLineBase &) = delete;
    CommandLineBase &operator=(const CommandLineBase &) = delete;

    /// @param arguments the program's name first
    /// @return whether they can be obeyed; if not, problem() says why
    virtual bool parse(const QStringList &arguments);

    QString problem() const { return mProblem; }

    /// The text that is to be printed instead of anything else; empty without --help and --version.
    QString answer() const;

protected:
    CommandLineBase();

    static QCommandLineOption option(const QStringList &names, const char *description, const char *valueName = "");
    static QCommandLineOption option(const char *name, const char *description, const char *valueName = "");

    /// Takes what was parsed over into the options of the program. Not called when there is an answer.
    virtual bool readOptions() = 0;

    /// Whether all values of an option count. Of any other one but a single value may be given.
    virtual bool mayRepeat(const QString &option) const;

    bool refuse(const QString &problem); ///< @return false
    bool refuseValue(const QCommandLineOption &option, const QString &expectation); ///< @return false

    QCommandLineParser mParser;
    const QCommandLineOption mHelp;
    const QCommandLineOption mVersion;

private:
    bool checkRepetitions();

    QString mProblem;
};

} // namespace Tools
