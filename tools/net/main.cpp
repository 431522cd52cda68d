// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "common/Terminal.h"
#include "net/CommandLine.h"
#include "net/Commands.h"

using namespace Net;
using Tools::Program;

namespace {
Outcome outcomeOf(const Options &options)
{
    switch (options.action) {
    case Options::Action::Show:
        return show(options);
    case Options::Action::Check:
        return check(options);
    case Options::Action::RandomMac:
        return randomMac();
    case Options::Action::ParseMac:
        return parseMac(options);
    case Options::Action::AddServers:
        return addServers(options);
    case Options::Action::Configure:
        return configure(options);
    }
    return {Tools::WrongUsage, {}, {}};
}

int run(const Options &options)
{
    Program::showLog(options.verbose ? Program::Log::Everything : Program::Log::Nothing);
    const Outcome outcome = outcomeOf(options);
    if (const int printed = Tools::print(outcome.output); printed != Tools::Done)
        return printed;
    if (!outcome.problem.isEmpty())
        Tools::Terminal::tell(outcome.problem);
    return outcome.exitCode;
}
} // namespace

int main(int argc, char *argv[])
{
    const Program program(argc, argv, "vantor-net");
    CommandLine commandLine;
    return program.run(&commandLine, [&] { return run(commandLine.options()); });
}
