// SPDX-License-Identifier: Apache-2.0
#include "common/StopSignals.h"
#include "common/Terminal.h"
#include "link/CommandLine.h"
#include "link/ExitCode.h"
#include "link/Session.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <new>

using namespace Link;

namespace {
/// Memory that runs out while an event is handled, here or in the library, ends the program: no exception may get into
/// the event loop, which is not made for that.
class Application : public QCoreApplication
{
public:
    using QCoreApplication::QCoreApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        try {
            return QCoreApplication::notify(receiver, event);
        } catch (const std::bad_alloc &) {
            exit(OutOfMemory);
            return true;
        }
    }
};

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
    const Application application(argc, argv);
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
    try {
        return Session(options, &signals).run();
    } catch (const std::bad_alloc &) { // before the event loop: while it connects
        return tellOutOfMemory();
    }
}
