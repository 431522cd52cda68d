// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "common/StopSignals.h"
#include "common/TemporaryFolder.h"
#include "inspect/Batch.h"
#include "inspect/CommandLine.h"
#include "inspect/ReportText.h"

#include <QCoreApplication>

#include <unistd.h>

using namespace Inspect;
using Tools::Program;

namespace {
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
    OutputFolder output(options.outputFolder);
    QString problem;
    if (output.keepsImages() && !output.prepare(&problem)) {
        Tools::Terminal::tell(problem);
        return Tools::WrongUsage;
    }

    const ImageList list = ImageList::of(options.operands);
    for (const Tools::FolderListing::LeftOut &entry : list.leftOut)
        Tools::Terminal::tell(
            QStringLiteral("%1: left out: %2").arg(Tools::Terminal::printableName(entry.path), entry.reason));
    if (options.verbose)
        tellWhatIsOpen(Sandbox::support());
    output.spare(list.images);
    const QVector<Task> tasks = makeTasks(list.images, options, output);

    Tools::StopSignals signals;
    const Tools::TemporaryFolder temporaryFolder(QCoreApplication::applicationName());
    if (!temporaryFolder.isValid()) {
        Tools::Terminal::tell(
            QStringLiteral("cannot create a temporary folder in %1").arg(Tools::TemporaryFolder::parentPath()));
        return Tools::Unavailable;
    }
    const Tools::TextStyle style(options.isForPerson() && Tools::Terminal::hasColors(STDOUT_FILENO));
    const Session session{options, output, tasks, style, temporaryFolder.path()};
    return Batch(session, list.leftOut.size(), &signals).run();
}

int run(const Options &options)
{
    Program::showLog(Program::Log::Nothing); // only the workers have something to log, and they ask for it
    if (options.action == Options::Action::ListStandards)
        return Tools::print(standardsText(Tools::TextStyle(Tools::Terminal::hasColors(STDOUT_FILENO))).toUtf8());
    return inspectAll(options);
}
} // namespace

int main(int argc, char *argv[])
{
    const Program program(argc, argv, "vantor-inspect");
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return run(commandLine.options()); });
}
