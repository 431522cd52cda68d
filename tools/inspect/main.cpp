// SPDX-License-Identifier: Apache-2.0
#include "common/FileNameCodec.h"
#include "common/StopSignals.h"
#include "common/TemporaryFolder.h"
#include "inspect/Batch.h"
#include "inspect/CommandLine.h"
#include "inspect/ExitCode.h"
#include "inspect/ReportText.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <unistd.h>

using namespace Inspect;

namespace {
/// Qt would send the log to the system's journal where there is no terminal.
void logToStderr(QtMsgType, const QMessageLogContext &, const QString &text)
{
    Tools::Terminal::write(STDERR_FILENO, (Tools::Terminal::printable(text) + QLatin1Char('\n')).toUtf8());
}

/// Only the workers have something to log, and they ask for it.
void setUpLog()
{
    qInstallMessageHandler(logToStderr);
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
}

int print(const QString &text)
{
    Tools::StopSignals signals;
    Tools::StandardOutput output(&signals);
    return output.write(text.toUtf8()) ? AllPassed : NotWritten;
}

int refuse(const QString &problem)
{
    Tools::Terminal::tell(problem);
    return WrongUsage;
}

/// A kernel may lack what the workers are shut in with.
void tellWhatIsOpen(const Sandbox::Support &support)
{
    if (!support.filtersFiles)
        Tools::Terminal::tell(QStringLiteral("this kernel has no Landlock: the analysis can open files"));
    if (!support.filtersCalls)
        Tools::Terminal::tell(QStringLiteral("this kernel has no seccomp: the analysis can make any system call"));
}

int inspectAll(const Options &options)
{
    const OutputFolder output(options.outputFolder);
    QString problem;
    if (output.keepsImages() && !output.prepare(&problem))
        return refuse(problem);

    const ImageList list = ImageList::of(options.operands);
    for (const Tools::FolderListing::LeftOut &entry : list.leftOut)
        Tools::Terminal::tell(
            QStringLiteral("%1: left out: %2").arg(Tools::Terminal::printableName(entry.path), entry.reason));
    if (options.verbose)
        tellWhatIsOpen(Sandbox::support());
    const QVector<Task> tasks = makeTasks(list.images, options);

    Tools::StopSignals signals;
    const Tools::TemporaryFolder temporaryFolder(QCoreApplication::applicationName());
    if (!temporaryFolder.isValid()) {
        Tools::Terminal::tell(
            QStringLiteral("cannot create a temporary folder in %1").arg(Tools::TemporaryFolder::parentPath()));
        return NoMeans;
    }
    const Tools::TextStyle style(options.isForPerson() && Tools::Terminal::hasColors(STDOUT_FILENO));
    const Session session{options, output, tasks, style, temporaryFolder.path()};
    return Batch(session, list.leftOut.size(), &signals).run();
}
} // namespace

int main(int argc, char *argv[])
{
    Tools::Terminal::reserveStandardStreams();
    Tools::FileNameCodec::install();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-inspect"));

    CommandLine commandLine;
    if (!commandLine.parse(QCoreApplication::arguments()))
        return refuse(commandLine.problem());
    if (const QString answer = commandLine.answer(); !answer.isEmpty())
        return print(answer);
    const Options &options = commandLine.options();
    setUpLog();

    if (options.action == Options::Action::ListStandards)
        return print(standardsText(Tools::TextStyle(Tools::Terminal::hasColors(STDOUT_FILENO))));
    return inspectAll(options);
}
