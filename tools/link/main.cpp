// SPDX-License-Identifier: Apache-2.0
#include "CommandLine.h"
#include "ExitCode.h"
#include "Session.h"
#include "StopSignals.h"
#include "Terminal.h"

#include <QCoreApplication>
#include <QLoggingCategory>

using namespace Link;

namespace {
/// Qt would send the log to the system's journal where there is no terminal.
void logToStderr(QtMsgType, const QMessageLogContext &, const QString &text)
{
    Tools::Terminal::tell(text);
}

void setUpLog(bool verbose)
{
    qInstallMessageHandler(logToStderr);
    if (!verbose)
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false"));
}

int print(const QString &text)
{
    Tools::StopSignals signals;
    return Tools::StandardOutput(&signals).write(text.toUtf8()) ? AllSent : NotWritten;
}
} // namespace

int main(int argc, char *argv[])
{
    Tools::Terminal::reserveStandardStreams();
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-link"));

    CommandLine commandLine;
    if (!commandLine.parse(QCoreApplication::arguments())) {
        Tools::Terminal::tell(commandLine.problem());
        return WrongUsage;
    }
    if (const QString answer = commandLine.answer(); !answer.isEmpty())
        return print(answer);

    const Options &options = commandLine.options();
    setUpLog(options.verbose);
    Tools::StopSignals signals;
    return Session(options, &signals).run();
}
