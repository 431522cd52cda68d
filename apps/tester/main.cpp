// SPDX-License-Identifier: Apache-2.0
#include "Helpers/AbsoluteBaseDir.h"
#include "Helpers/BaseDirHelper.h"
#include "InstanceLock.h"
#include "Tester.h"
#include "WorkFolder.h"
#include "simulation/SimulatedScope.h"

#include <QCommandLineParser>
#include <QDir>
#include <QGuiApplication>
#include <QQuickWindow>

#include <cstdio>
#include <cstdlib>

namespace {
constexpr int usageError = 64;
constexpr int unavailable = 69; // as of sysexits.h

struct Options
{
    QString folder = WorkFolder::defaultPath();
    QSize screenSize{800, 480};
    QString language;
};

int fail(const QString &message)
{
    std::fprintf(stderr, "vantor-tester: %s\n", qPrintable(message));
    return usageError;
}

/// 800x480 as a size; invalid for anything but the sizes that the user interface is made for.
QSize sizeFromText(const QString &text)
{
    if (text == QLatin1String("800x480"))
        return {800, 480};
    return text == QLatin1String("1024x600") ? QSize(1024, 600) : QSize();
}

/// Works without an application object, which may exist only after the environment is prepared.
/// Returns -1 to go on, else the exit code.
int parse(int &argc, char *argv[], Options &options)
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));

    QCommandLineParser parser;
    const QCommandLineOption help = parser.addHelpOption();
    const QCommandLineOption version = parser.addVersionOption();
    const QCommandLineOption folder(QStringLiteral("folder"),
        QStringLiteral("The work directory (%1).").arg(options.folder), QStringLiteral("path"));
    const QCommandLineOption size(QStringLiteral("size"),
        QStringLiteral("The unit's screen: 800x480 (without the option) or 1024x600."), QStringLiteral("size"));
    const QCommandLineOption language(QStringLiteral("language"),
        QStringLiteral("en or de; without the option that of the system."), QStringLiteral("language"));
    parser.addOptions({folder, size, language});
    if (!parser.parse(arguments))
        return fail(parser.errorText());
    if (parser.isSet(help)) {
        const QCoreApplication application(argc, argv); // the text begins with the name of the program
        std::printf("Vantor Tester: inspects fibre end faces.\n\n%s", qPrintable(parser.helpText()));
        return 0;
    }
    if (parser.isSet(version)) {
        std::printf("vantor-tester " VANTORBASE_VERSION "\n");
        return 0;
    }
    for (const QCommandLineOption &option : {folder, size, language}) {
        if (parser.values(option).size() > 1)
            return fail(QStringLiteral("--%1 is given more than once").arg(option.names().constFirst()));
    }
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument: %1").arg(parser.positionalArguments().constFirst()));

    if (parser.isSet(folder) && parser.value(folder).isEmpty())
        return fail(QStringLiteral("--folder has no value"));
    if (parser.isSet(folder))
        options.folder = parser.value(folder);
    if (parser.isSet(size))
        options.screenSize = sizeFromText(parser.value(size));
    if (!options.screenSize.isValid())
        return fail(QStringLiteral("no size that the user interface is made for: %1").arg(parser.value(size)));
    options.language = parser.value(language);
    if (!QStringList{QString(), QStringLiteral("en"), QStringLiteral("de")}.contains(options.language))
        return fail(QStringLiteral("no such language: %1").arg(options.language));
    return -1;
}

/// Qt ends the process by abort() where there is no display.
void tellAndEnd(QtMsgType type, const QMessageLogContext &, const QString &message)
{
    const QString line = message.section(QLatin1Char('\n'), 0, 0);
    std::fprintf(stderr, "vantor-tester: %s\n", qPrintable(line));
    if (type == QtFatalMsg)
        std::_Exit(1);
}
} // namespace

int main(int argc, char *argv[])
{
    Options options;
    const int exitCode = parse(argc, argv, options);
    if (exitCode >= 0)
        return exitCode;

    const AbsoluteBaseDir folders(options.folder); // before all that asks for a path
    QDir().mkpath(BaseDirHelper::workDir());
    const InstanceLock lock(BaseDirHelper::workDir()); // two would share the camera, and files under way
    if (!lock.isHeld()) {
        fail(lock.problem());
        return unavailable;
    }
    Tester::prepareProcess(SimulatedScope::pluginPath()); // changes what another one uses

    const QtMessageHandler handler = qInstallMessageHandler(tellAndEnd);
    const QGuiApplication application(argc, argv);
    qInstallMessageHandler(handler);
    QGuiApplication::setApplicationVersion(QStringLiteral(VANTORBASE_VERSION));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Vantor Tester"));
    Tester tester(options.screenSize, options.language);
    if (!tester.window())
        return 1;
    return QGuiApplication::exec();
}
