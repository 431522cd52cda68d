// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"
#include "common/Terminal.h"
#include "endface/EndfaceCommand.h"

#include <QCoreApplication>

#include <unistd.h>

namespace {
int run()
{
    QString output;
    QString messages;
    QTextStream out(&output);
    QTextStream err(&messages);
    const int exitCode = runEndfaceCommand(QCoreApplication::arguments(), out, err);
    Tools::Terminal::write(STDERR_FILENO, messages.toUtf8());
    const int printed = Tools::print(output.toUtf8());
    return exitCode == Tools::Done ? printed : exitCode;
}
} // namespace

int main(int argc, char *argv[])
{
    const Tools::Program program(argc, argv, "vantor-endface");
    return program.run(run);
}
