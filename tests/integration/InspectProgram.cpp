// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"

#include "OneProcess.h"

#include <QDirIterator>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

#include <csignal>
#include <cstdlib>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
constexpr int patience = 30000; // milliseconds, for what takes a moment
constexpr int pauseBetweenLooks = 2; // milliseconds between two looks

QStringList linesOf(const QByteArray &text)
{
    QStringList lines = QString::fromUtf8(text).split(QLatin1Char('\n'));
    if (lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

InspectRun finish(InspectProgram &program)
{
    const bool ended = program.waitForEnd() && program.exitStatus() == QProcess::NormalExit;
    return {ended ? program.exitCode() : -1, program.readAllStandardOutput(), program.readAllStandardError(),
        program.temporaryFiles()};
}
} // namespace

InspectProgram::InspectProgram()
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), mTemporaryFolder.path());
    environment.remove(QStringLiteral("QT_LOGGING_RULES"));
    setProcessEnvironment(environment);
}

InspectProgram::~InspectProgram()
{
    if (state() != NotRunning) {
        kill();
        waitForFinished(patience);
    }
}

QString InspectProgram::path()
{
    return QStringLiteral(VANTOR_INSPECT_PROGRAM);
}

void InspectProgram::setVariable(const char *name, const QString &value)
{
    QProcessEnvironment environment = processEnvironment();
    environment.insert(QLatin1String(name), value);
    setProcessEnvironment(environment);
}

void InspectProgram::begin(const QStringList &arguments)
{
    start(path(), arguments);
    waitForStarted(patience);
}

void InspectProgram::beginThrough(const QStringList &command, const QStringList &arguments)
{
    start(command.first(), command.mid(1) + QStringList{path()} + arguments);
    waitForStarted(patience);
}

void InspectProgram::sendSignal(int number)
{
    OneProcess::sendSignal(processId(), number);
}

bool InspectProgram::waitForLine()
{
    QElapsedTimer timer;
    timer.start();
    while (!canReadLine() && timer.elapsed() < patience && waitForReadyRead(patience)) {}
    return canReadLine();
}

bool InspectProgram::waitForEnd(int milliseconds)
{
    return state() == NotRunning || waitForFinished(milliseconds);
}

std::vector<qint64> InspectProgram::children(const QByteArray &name, std::size_t count) const
{
    std::vector<qint64> pids;
    QElapsedTimer timer;
    for (timer.start(); pids.size() < count && timer.elapsed() < patience; QThread::msleep(pauseBetweenLooks)) {
        pids.clear();
        QFile list(QStringLiteral("/proc/%1/task/%1/children").arg(processId()));
        if (!list.open(QIODevice::ReadOnly))
            return {};
        const QList<QByteArray> listed = list.readAll().simplified().split(' ');
        for (const QByteArray &pid : listed) {
            QFile comm(QStringLiteral("/proc/%1/comm").arg(QString::fromLatin1(pid)));
            if (comm.open(QIODevice::ReadOnly) && comm.readAll().trimmed() == name)
                pids.push_back(pid.toLongLong());
        }
    }
    return pids;
}

QStringList InspectProgram::temporaryFiles() const
{
    return listing(mTemporaryFolder.path());
}

QStringList InspectRun::outputLines() const
{
    return linesOf(output);
}

QStringList InspectRun::messageLines() const
{
    return linesOf(messages);
}

InspectRun runInspect(const QStringList &arguments, const QString &workingFolder)
{
    InspectProgram program;
    program.setWorkingDirectory(workingFolder);
    program.begin(arguments);
    return finish(program);
}

TerminalRun runInspectInTerminal(const QStringList &arguments, const QStringList &variables)
{
    std::vector<QByteArray> texts{QFile::encodeName(InspectProgram::path())};
    for (const QString &argument : arguments)
        texts.push_back(QFile::encodeName(argument));
    std::vector<char *> argumentPointers;
    argumentPointers.reserve(texts.size() + 1);
    for (QByteArray &text : texts)
        argumentPointers.push_back(text.data());
    argumentPointers.push_back(nullptr);
    std::vector<QByteArray> settings;
    for (const QString &variable : variables)
        settings.push_back(variable.toUtf8());

    int terminal = -1;
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (pid == 0) {
        unsetenv("NO_COLOR");
        setenv("TERM", "xterm", 1);
        for (QByteArray &setting : settings)
            putenv(setting.data());
        execv(argumentPointers[0], argumentPointers.data());
        _exit(127);
    }

    TerminalRun run;
    char buffer[4096];
    for (ssize_t size = 0; (size = read(terminal, buffer, sizeof buffer)) > 0;)
        run.output.append(buffer, static_cast<int>(size));
    int status = 0;
    waitpid(pid, &status, 0);
    close(terminal);
    run.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

bool processExists(qint64 pid)
{
    return OneProcess::sendSignal(pid, 0);
}

QStringList listing(const QString &folder)
{
    QStringList entries;
    QDirIterator entry(
        folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        const QString path = entry.next();
        const QFileInfo file = entry.fileInfo();
        entries.append(QStringLiteral("%1 %2").arg(path).arg(file.isDir() ? 0 : file.size()));
    }
    entries.sort();
    return entries;
}
