// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "common/Terminal.h"
#include "study/CommandLine.h"
#include "study/Commands.h"
#include "study/formatting/FormattingDocument.h"

namespace Study {

namespace {
class FormattingCommandLine : public CommandLine
{
public:
    FormattingCommandLine()
        : CommandLine(QStringLiteral("formatting"), "Prints what each function shows for which value, as Markdown.")
    {
    }

private:
    bool readOptions() override
    {
        return operands().isEmpty() || refuse(QStringLiteral("formatting takes no arguments"));
    }
};
} // namespace

int runFormatting(const Tools::Program &program)
{
    FormattingCommandLine commandLine;
    return program.run(&commandLine, []() -> int {
        // What functions find fault with is meant to be shown.
        Tools::Program::showLog(Tools::Program::Log::Nothing);
        QString problem;
        const QString document = formattingDocument(&problem);
        if (!document.isEmpty())
            return Tools::print(document.toUtf8());
        Tools::Terminal::tell(problem);
        return Tools::NotPassed;
    });
}

} // namespace Study
