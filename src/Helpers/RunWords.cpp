// SPDX-License-Identifier: Apache-2.0
#include "Helpers/RunWords_p.h"
#include "Helpers/SystemHelper.h"

#include <QDeadlineTimer>
#include <QDebug>

#include <climits>
#include <csignal>

namespace {
constexpr int startTimeout = 500; // milliseconds, as the following
constexpr int endTimeout = 1000;
constexpr int loggedPart = 4096; // bytes of the beginning and of the end of an output

void storeExitCode(int *exitCode, int value)
{
    if (exitCode)
        *exitCode = value;
}

/// Waits until the command has ended, its time is up, or it has printed more than the limit. Returns whether it has
/// ended.
bool waitForEnd(CommandProcess &process, quint32 timeout, qint64 limit)
{
    const QDeadlineTimer deadline(timeout);
    const auto rest = [&deadline] { return static_cast<int>(qMin<qint64>(deadline.remainingTime(), INT_MAX)); };
    while (process.bytesAvailable() <= limit && process.waitForReadyRead(rest()) && !deadline.hasExpired()) {}
    if (process.bytesAvailable() > limit)
        return false;
    return process.state() == QProcess::NotRunning || process.waitForFinished(rest()); // may have closed its output
}

void killAllAndClose(CommandProcess &process)
{
    process.killAll();
    process.waitForFinished(endTimeout);
    process.close();
}

/// Much of it would fill the log, and several times its size of memory on the way there.
void tellOutput(const QByteArray &output)
{
    if (output.size() <= 2 * loggedPart)
        qWarning() << output;
    else
        qWarning() << output.left(loggedPart) << "..." << output.size() - 2 * loggedPart << "more bytes ..."
                   << output.right(loggedPart);
}
} // namespace

bool runWords(CommandProcess &process, const QStringList &words, const QString &command, quint32 timeout,
    QByteArray *output, int *exitCode)
{
    const qint64 limit = SystemHelper::maximumOutput();
    process.startCommand(words);
    if (!process.waitForCommand(startTimeout)) {
        qDebug().noquote() << "Failed to start command: " << command;
        process.killAndClose();
        storeExitCode(exitCode, SystemHelper::notStarted);
        return false;
    }

    const bool isFinished = waitForEnd(process, timeout, limit);
    if (process.bytesAvailable() > limit) {
        qWarning().noquote() << "Command printed more than" << limit << "bytes: " << command;
        if (output)
            *output = process.read(limit);
        killAllAndClose(process);
        storeExitCode(exitCode, SIGKILL);
        return false;
    }
    if (!isFinished) {
        qWarning() << "Command didn't finish: " << command;
        killAllAndClose(process);
        storeExitCode(exitCode, SystemHelper::timedOut);
        return false;
    }

    if (output)
        *output = process.readAll();
    storeExitCode(exitCode, process.exitCode());
    const bool isSuccess = process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!isSuccess) {
        qWarning().noquote() << command;
        tellOutput(output ? *output : process.readAll());
    }
    process.close();
    return isSuccess;
}
