// SPDX-License-Identifier: Apache-2.0
#include "study/CommandLine.h"

namespace Study {

CommandLine::CommandLine(const QString &command, const char *description)
{
    mParser.setApplicationDescription(QString::fromUtf8(description)
        + QStringLiteral("\n\nExit code: 0 done, 1 the study failed, 64 wrong usage, 69 gnuplot, which draws the "
                         "charts, is\nnot installed, 71 out of memory, 74 it cannot be written."));
    if (!command.isEmpty())
        mParser.addPositionalArgument(command, QStringLiteral("This study."), command);
    mParser.addOptions({mHelp, mVersion});
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

} // namespace Study
