// SPDX-License-Identifier: Apache-2.0
#include "common/FileNameCodec.h"
#include "common/Terminal.h"
#include "study/CommandLine.h"
#include "study/Commands.h"

#include <QCoreApplication>

namespace {
struct Command
{
    const char *name;
    int (*run)(const QStringList &arguments);
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
    Tools::Terminal::reserveStandardStreams();
    Tools::FileNameCodec::install();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-study"));

    const QStringList arguments = QCoreApplication::arguments();
    for (const Command &command : commands) {
        if (arguments.value(1) == QLatin1String(command.name))
            return command.run(arguments);
    }
    return Overview().answered(arguments).value_or(Study::WrongUsage);
}
