// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "records/CommandLine.h"
#include "records/Export.h"
#include "records/Import.h"
#include "records/InspectionText.h"
#include "records/ListText.h"
#include "records/StoreAccess.h"
#include "records/Upkeep.h"

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
        return exportInspections(options, store);
    case Options::Action::Verify:
        return verifyStore(options, store);
    case Options::Action::Backup:
        return backUpStore(options, store);
    default:
        return listInspections(options, store);
    }
}

int write(const Options &options)
{
    Records::RecordStore store;
    const int refused = openToWrite(options.store, &store);
    if (refused != Tools::Done)
        return refused;
    return options.action == Options::Action::Merge ? mergeStore(options, &store) : importFolder(options, &store);
}

int run(const Options &options)
{
    Program::showLog(Program::Log::Nothing); // what goes wrong comes back as a value
    const bool writes = options.action == Options::Action::Import || options.action == Options::Action::Merge;
    return writes ? write(options) : read(options);
}
} // namespace

int main(int argc, char *argv[])
{
    const Program program(argc, argv, "vantor-records");
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return run(commandLine.options()); });
}
