// SPDX-License-Identifier: Apache-2.0
#include "study/CommandLine.h"

#include "common/Terminal.h"
#include "study/Commands.h"

#include <cstdio>

namespace Study {

CommandLine::CommandLine(const QString &command, const char *description)
{
    mParser.setApplicationDescription(QString::fromUtf8(description)
        + QStringLiteral("\n\nExit code: 0 done, 1 the study failed, 64 wrong usage, 74 it cannot be written."));
    if (!command.isEmpty())
        mParser.addPositionalArgument(command, QStringLiteral("This study."), command);
    mParser.addOptions({mHelp, mVersion});
}

std::optional<int> CommandLine::answered(const QStringList &arguments)
{
    if (!parse(arguments)) {
        Tools::Terminal::tell(problem());
        return WrongUsage;
    }
    if (answer().isEmpty())
        return {};
    return print(answer().toUtf8()) ? Measured : NotWritten;
}

bool CommandLine::readNumber(const QCommandLineOption &option, int most, int *number)
{
    if (!mParser.isSet(option))
        return true;
    bool ok = false;
    *number = mParser.value(option).toInt(&ok);
    return (ok && *number >= 1 && *number <= most)
        || refuseValue(option, QStringLiteral("a number from 1 to %1").arg(most));
}

bool print(const QByteArray &text)
{
    const auto size = static_cast<std::size_t>(text.size());
    const bool isWritten = std::fwrite(text.constData(), 1, size, stdout) == size && std::fflush(stdout) == 0;
    if (!isWritten)
        Tools::Terminal::tell(QStringLiteral("cannot write to stdout"));
    return isWritten;
}

} // namespace Study
