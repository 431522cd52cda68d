// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/CommandLineBase.h"
#include "common/ExitCode.h"

#include <QByteArray>
#include <QStringList>

#include <functional>
#include <memory>

class QCoreApplication;

namespace Tools {

/// What the command-line programs have in common, from the process to the exit code:
///
///     int main(int argc, char *argv[])
///     {
///         const Tools::Program program(argc, argv, "vantor-names");
///         Names::CommandLine commandLine;
///         return program.run(&commandLine, [&] { return generate(commandLine.options()); });
///     }
///
/// Standard streams that are closed take no other file's place, names of files survive whatever their bytes are, and a
/// reader of stdout that is gone shows as an error of print(). Signals that end a program do so, unless it makes
/// StopSignals.
class Program
{
public:
    enum class Needs : int {
        Core,
        Fonts, ///< to set text on pages; there is no display, and none is asked for
    };

    /// Makes the application object.
    Program(int &argc, char *argv[], const char *name, Needs needs = Needs::Core);
    ~Program();
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    /// Does the work, which returns the exit code; or only what --help, --version or a wrong command line ask for.
    int run(CommandLineBase *commandLine, const std::function<int()> &work) const;

    /// For a program that reads its arguments itself.
    int run(const std::function<int()> &work) const;

    enum class Log : int { Nothing, Warnings, Everything };

    /// Shows that much of the log of this process on stderr. Qt would send it to the system's journal where there is no
    /// terminal.
    static void showLog(Log log);

private:
    const std::unique_ptr<QCoreApplication> mApplication;
    const QStringList mArguments; ///< also those that Qt would take for its own
};

/// Prints on stdout.
/// @return Done, or what the program has to end with: nobody reads any more, or the disk is full, and that was told
int print(const QByteArray &text);

} // namespace Tools
