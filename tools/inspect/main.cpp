// SPDX-License-Identifier: Apache-2.0
#include "Batch.h"
#include "CommandLine.h"
#include "ExitCode.h"
#include "ReportText.h"
#include "StopSignals.h"
#include "TemporaryFolder.h"

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTextCodec>

#include <unistd.h>

using namespace Inspect;

namespace {
/// Qt would send the log to the system's journal where there is no terminal.
void logToStderr(QtMsgType, const QMessageLogContext &, const QString &text)
{
    Tools::Terminal::write(STDERR_FILENO, (Tools::Terminal::printable(text) + QLatin1Char('\n')).toUtf8());
}

void setUpLog(bool verbose)
{
    qInstallMessageHandler(logToStderr);
    if (!verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
}

int print(const QString &text)
{
    Tools::StopSignals signals;
    Tools::StandardOutput output(&signals);
    return output.write(text.toUtf8()) ? AllPassed : SomeNotAnalysed;
}

int refuse(const QString &problem)
{
    Tools::Terminal::tell(problem);
    return WrongUsage;
}

int inspectAll(const Options &options)
{
    const OutputFolder output(options.outputFolder);
    QString problem;
    if (output.keepsImages() && !output.prepare(&problem))
        return refuse(problem);

    const QVector<Task> tasks = makeTasks(listImages(options.operands), options);

    Tools::StopSignals signals;
    const Tools::TemporaryFolder temporaryFolder(QCoreApplication::applicationName());
    if (!temporaryFolder.isValid()) {
        Tools::Terminal::tell(
            QStringLiteral("cannot create a temporary folder in %1").arg(Tools::TemporaryFolder::parentPath()));
        return SomeNotAnalysed;
    }
    const Tools::TextStyle style(options.isForPerson() && Tools::Terminal::hasColors(STDOUT_FILENO));
    const Session session{options, output, tasks, style, temporaryFolder.path()};
    return Batch(session, &signals).run();
}
} // namespace

int main(int argc, char *argv[])
{
    Tools::Terminal::reserveStandardStreams();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // file names, whatever the locale is
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-inspect"));

    CommandLine commandLine;
    if (!commandLine.parse(QCoreApplication::arguments()))
        return refuse(commandLine.problem());
    if (const QString answer = commandLine.answer(); !answer.isEmpty())
        return print(answer);
    const Options &options = commandLine.options();
    setUpLog(options.verbose);

    if (options.action == Options::Action::ListStandards)
        return print(standardsText(Tools::TextStyle(Tools::Terminal::hasColors(STDOUT_FILENO))));
    return inspectAll(options);
}
