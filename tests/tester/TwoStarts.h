// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Internal/ChildProcess.h"
#include "TesterTest.h"

#include <cstdio>

/// A test of what is there again at the next start: the application works in one process, and in the next one it is
/// looked at what has stayed. Once in each language, each in a folder of its own.
namespace TwoStarts {
inline constexpr char worksArgument[] = "work";
inline constexpr char looksArgument[] = "look";

/// Of the process.
inline QString &language()
{
    static QString language;
    return language;
}

/// Both processes on one folder, one after the other. Returns how many languages failed.
inline int runBoth(const QString &program, const QString &language)
{
    constexpr int limit = 280000; // milliseconds
    const QTemporaryDir folder;
    for (const char *const mode : {worksArgument, looksArgument}) {
        ChildProcess process;
        process.setProcessChannelMode(QProcess::ForwardedChannels);
        process.start(program, {QLatin1String(mode), folder.path(), language});
        if (!process.waitForFinished(limit) || process.exitStatus() != QProcess::NormalExit
            || process.exitCode() != 0) {
            std::fprintf(stderr, "FAIL!  : the part \"%s\" in \"%s\"\n", mode, qPrintable(language));
            return 1;
        }
    }
    return 0;
}

/// The body of main(): the first test, and the second one at the next start.
template <typename Works, typename Looks>
int run(int argc, char *argv[])
{
    constexpr int partArguments = 4;
    if (argc < partArguments) {
        const QCoreApplication application(argc, argv);
        const QString program = QCoreApplication::applicationFilePath();
        return runBoth(program, QStringLiteral("en")) + runBoth(program, QStringLiteral("de"));
    }
    const QString folder = QString::fromLocal8Bit(argv[2]);
    language() = QString::fromLocal8Bit(argv[3]);
    char silent[] = "-maxwarnings";
    char none[] = "0";
    char *arguments[] = {argv[0], silent, none, nullptr};
    const QString plugin = SimulatedScope::pluginPath();
    return qstrcmp(argv[1], worksArgument) == 0 ? runTesterTest<Works>(3, arguments, folder, plugin)
                                                : runTesterTest<Looks>(3, arguments, folder, plugin);
}
} // namespace TwoStarts
