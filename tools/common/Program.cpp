// SPDX-License-Identifier: Apache-2.0
#include "common/Program.h"

#include "common/FileNameCodec.h"
#include "common/StandardOutput.h"
#include "common/Terminal.h"

#include <QFile>
#include <QGuiApplication>
#include <QLoggingCategory>

#include <csignal>
#include <new>
#include <unistd.h>

namespace Tools {

namespace {
/// Memory that runs out while an event is handled, here or in the library, ends the event loop: no exception may get
/// into it, it is not made for that.
template <typename Base>
class Application : public Base
{
public:
    using Base::Base;

    bool notify(QObject *receiver, QEvent *event) override
    {
        try {
            return Base::notify(receiver, event);
        } catch (const std::bad_alloc &) {
            Base::exit(OutOfMemory);
            return true;
        }
    }
};

/// Other than SIG_IGN it is not handed on to the programs that this one starts.
void passOver(int) {}

void passOverText(QtMsgType, const QMessageLogContext &, const QString &) {}

/// Qt for pages takes arguments of its own away, which may be names here; so it gets none.
std::unique_ptr<QCoreApplication> makeApplicationWithFonts(char *argv[])
{
    static int count = 1;
    static char *name[] = {argv[0], nullptr};
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QtMessageHandler former = qInstallMessageHandler(passOverText); // it warns of what a session would have
    auto application = std::make_unique<Application<QGuiApplication>>(count, name);
    qInstallMessageHandler(former);
    return application;
}

std::unique_ptr<QCoreApplication> makeApplication(int &argc, char *argv[], Program::Needs needs)
{
    Terminal::reserveStandardStreams();
    FileNameCodec::install(); // the arguments are read with it
    std::signal(SIGPIPE, SIG_IGN); // a closed pipe shows as an error of write
    std::signal(SIGXFSZ, passOver); // and so does a file that may not grow
    if (needs == Program::Needs::Fonts)
        return makeApplicationWithFonts(argv);
    return std::make_unique<Application<QCoreApplication>>(argc, argv);
}

QStringList argumentsOf(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QFile::decodeName(argv[i]));
    return arguments;
}

/// Unasked, a warning is a message of the program.
void tellWarning(QtMsgType, const QMessageLogContext &, const QString &text)
{
    Terminal::tell(text);
}

void showLine(QtMsgType, const QMessageLogContext &, const QString &text)
{
    Terminal::write(STDERR_FILENO, (Terminal::printable(text) + QLatin1Char('\n')).toUtf8());
}

QString rulesFor(Program::Log log)
{
    switch (log) {
    case Program::Log::Nothing:
        return QStringLiteral("*.debug=false\n*.info=false\n*.warning=false");
    case Program::Log::Warnings:
        return QStringLiteral("*.debug=false\n*.info=false");
    case Program::Log::Everything:
        break;
    }
    return {};
}
} // namespace

Program::Program(int &argc, char *argv[], const char *name, Needs needs)
    : mApplication(makeApplication(argc, argv, needs))
    , mArguments(needs == Needs::Fonts ? argumentsOf(argc, argv) : QCoreApplication::arguments())
{
    QCoreApplication::setApplicationName(QString::fromUtf8(name));
}

Program::~Program() = default;

int Program::run(CommandLineBase *commandLine, const std::function<int()> &work) const
{
    return run([&]() -> int {
        if (!commandLine->parse(mArguments)) {
            Terminal::tell(commandLine->problem());
            return WrongUsage;
        }
        const QString answer = commandLine->answer();
        return answer.isEmpty() ? work() : print(answer.toUtf8());
    });
}

// A member, so that there is an application.
int Program::run(const std::function<int()> &work) const // NOLINT(readability-convert-member-functions-to-static)
{
    try {
        return work();
    } catch (const std::bad_alloc &) {
        Terminal::tell(QStringLiteral("out of memory"));
        return OutOfMemory;
    }
}

void Program::showLog(Log log)
{
    qInstallMessageHandler(log == Log::Warnings ? tellWarning : showLine);
    QLoggingCategory::setFilterRules(rulesFor(log));
}

int print(const QByteArray &text)
{
    StandardOutput output;
    return output.write(text) ? Done : output.tellFailure();
}

} // namespace Tools
