// SPDX-License-Identifier: Apache-2.0
#include "common/Terminal.h"
#include "net/CommandLine.h"
#include "net/Commands.h"

#include <QCoreApplication>
#include <QTextCodec>

#include <unistd.h>

using namespace Net;

namespace {
void logToStderr(QtMsgType, const QMessageLogContext &, const QString &text)
{
    Tools::Terminal::write(STDERR_FILENO, (Tools::Terminal::printable(text) + QLatin1Char('\n')).toUtf8());
}

void keepSilent(QtMsgType, const QMessageLogContext &, const QString &) {}

Outcome run(const CommandLine &commandLine)
{
    if (const QString answer = commandLine.answer(); !answer.isEmpty())
        return {Done, answer.toUtf8(), {}};
    const Options &options = commandLine.options();
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
    return {WrongUsage, {}, {}};
}
} // namespace

int main(int argc, char *argv[])
{
    Tools::Terminal::reserveStandardStreams();
    QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); // arguments, whatever the locale is
    const QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("vantor-net"));

    CommandLine commandLine;
    if (!commandLine.parse(QCoreApplication::arguments())) {
        Tools::Terminal::tell(commandLine.problem());
        return WrongUsage;
    }
    qInstallMessageHandler(commandLine.options().verbose ? &logToStderr : &keepSilent);

    const Outcome outcome = run(commandLine);
    if (!print(outcome.output)) {
        Tools::Terminal::tell(QStringLiteral("cannot write the report"));
        return NotWritten;
    }
    if (!outcome.problem.isEmpty())
        Tools::Terminal::tell(outcome.problem);
    return outcome.exitCode;
}
