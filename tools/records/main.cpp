// SPDX-License-Identifier: Apache-2.0
#include "common/ExitCode.h"
#include "common/Program.h"
#include "common/Terminal.h"
#include "records/CommandLine.h"
#include "records/Export.h"
#include "records/Import.h"
#include "records/InspectionText.h"
#include "records/ListText.h"
#include "records/ReportExport.h"
#include "records/StoreAccess.h"
#include "records/Upkeep.h"

#include <QFileInfo>

#include <algorithm>

using namespace RecordsTool;
using Tools::Program;

namespace {
int read(const Options &options)
{
    Records::RecordStore store;
    const int refused = openToRead(options.store, &store);
    if (refused != Tools::Done)
        return refused;
    switch (options.action) {
    case Options::Action::ListJobs:
        return listJobs(options, store);
    case Options::Action::Show:
        return showInspection(options, store);
    case Options::Action::Export:
        return options.isReport() ? exportReport(options, store) : exportInspections(options, store);
    case Options::Action::Verify:
        return verifyStore(options, store);
    case Options::Action::Backup:
        return backUpStore(options, store);
    default:
        return listInspections(options, store);
    }
}

/// Before a store is begun for nothing.
int lookAtOperand(const Options &options)
{
    const bool isMerge = options.action == Options::Action::Merge;
    if (isMerge ? Records::RecordStore::isThere(options.operand) : QFileInfo(options.operand).isDir())
        return Tools::Done;
    const QString problem =
        isMerge ? QStringLiteral("there is no store in %1") : QStringLiteral("there is no folder %1");
    Tools::Terminal::tell(problem.arg(Tools::Terminal::printableName(options.operand)));
    return isMerge ? Tools::Unavailable : Tools::NotAnswered;
}

int write(const Options &options)
{
    const int useless = lookAtOperand(options);
    if (useless != Tools::Done)
        return useless;
    if (options.action == Options::Action::Import)
        return importFolder(options);
    Records::RecordStore store;
    int atLeast = Tools::Done;
    const int refused = openToWrite(options.store, &store, &atLeast);
    return refused == Tools::Done ? std::max(atLeast, mergeStore(options, &store)) : refused;
}

int run(const Options &options)
{
    Program::showLog(Program::Log::Nothing); // what goes wrong comes back as a value
    const bool writes = options.action == Options::Action::Import || options.action == Options::Action::Merge;
    return writes ? write(options) : read(options);
}

/// Before there is a command line: what makes pages needs another application object.
Program::Needs needsOf(int argc, char *argv[])
{
    const bool isReport = std::any_of(argv, argv + argc, [](const char *argument) {
        const QByteArray name = QByteArray(argument).split('=').first();
        return name == "--pdf" || name == "--zip";
    });
    return isReport ? Program::Needs::Fonts : Program::Needs::Core;
}
} // namespace

int main(int argc, char *argv[])
{
    const Program program(argc, argv, "vantor-records", needsOf(argc, argv));
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return run(commandLine.options()); });
}
