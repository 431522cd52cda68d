// SPDX-License-Identifier: Apache-2.0
#include "common/Terminal.h"
#include "study/CommandLine.h"
#include "study/Commands.h"
#include "study/formatting/FormattingDocument.h"

#include <QLoggingCategory>

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

int runFormatting(const QStringList &arguments)
{
    if (const std::optional<int> code = FormattingCommandLine().answered(arguments))
        return *code;
    QLoggingCategory::setFilterRules(QStringLiteral("*=false")); // what functions find fault with is meant to be shown

    QString problem;
    const QString document = formattingDocument(&problem);
    if (document.isEmpty()) {
        Tools::Terminal::tell(problem);
        return Failed;
    }
    return print(document.toUtf8()) ? Measured : NotWritten;
}

} // namespace Study
