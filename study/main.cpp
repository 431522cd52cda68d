// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "study/CommandLine.h"
#include "study/Commands.h"

#include <QCoreApplication>

namespace {
struct Command
{
    const char *name;
    int (*run)(const Tools::Program &program);
};
constexpr Command commands[] = {
    {"accuracy", Study::runAccuracy},
    {"focus", Study::runFocus},
    {"formatting", Study::runFormatting},
};

/// What is said when no study is named.
class Overview : public Study::CommandLine
{
public:
    Overview()
        : CommandLine({},
            "Measures the library and writes this repository's documents. `vantor-study COMMAND --help` tells more.")
    {
        mParser.addPositionalArgument(QStringLiteral("COMMAND"),
            QStringLiteral(
                "accuracy: how far a verdict can be relied on; focus: what the focus value tells; formatting: "
                "what each function shows for which value."));
    }

private:
    bool readOptions() override { return refuse(QStringLiteral("which study? See --help")); }
};
} // namespace

int main(int argc, char *argv[])
{
    qputenv("TZ", "UTC"); // documents are the same wherever they are written
    qputenv("LC_ALL", "C");
    const Tools::Program program(argc, argv, "vantor-study");
    for (const Command &command : commands) {
        if (QCoreApplication::arguments().value(1) == QLatin1String(command.name))
            return command.run(program);
    }
    Overview overview;
    return program.run(&overview, [] { return Tools::WrongUsage; });
}
