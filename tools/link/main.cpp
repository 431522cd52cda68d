// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "common/StopSignals.h"
#include "link/CommandLine.h"
#include "link/Session.h"

#include <new>

using namespace Link;
using Tools::Program;

namespace {
int run(const Options &options)
{
    Program::showLog(options.verbose ? Program::Log::Everything : Program::Log::Warnings);
    Tools::StopSignals signals;
    try {
        return Session(options, &signals).run();
    } catch (const std::bad_alloc &) { // before the event loop: while it connects
        return tellOutOfMemory();
    }
}
} // namespace

int main(int argc, char *argv[])
{
    const Program program(argc, argv, "vantor-link");
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return run(commandLine.options()); });
}
