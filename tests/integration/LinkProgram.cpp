// SPDX-License-Identifier: Apache-2.0
#include "LinkProgram.h"

#include "OneProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QProcessEnvironment>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <sys/prctl.h>

namespace {
constexpr int patience = 20000; // milliseconds
constexpr qint64 kibibyte = 1024;
constexpr qint64 mebibyte = 1024 * kibibyte;
} // namespace

LinkProgram::LinkProgram(const QStringList &command)
    : mCommand(command + QStringList{QStringLiteral(VANTOR_LINK_PROGRAM)})
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("QT_LOGGING_RULES"));
    // What is freed goes back to the system at once, so that what stays is still held.
    environment.insert(QStringLiteral("MALLOC_MMAP_THRESHOLD_"), QStringLiteral("65536"));
    environment.insert(QStringLiteral("MALLOC_TRIM_THRESHOLD_"), QStringLiteral("65536"));
    setProcessEnvironment(environment);
    connect(this, &QProcess::readyReadStandardOutput, this, [this] { mOutput += readAllStandardOutput(); });
    connect(this, &QProcess::readyReadStandardError, this, [this] { mMessages += readAllStandardError(); });
}

LinkProgram::~LinkProgram()
{
    disconnect(this);
    if (state() != NotRunning) {
        kill();
        waitForFinished(patience);
    }
}

void LinkProgram::begin(const QStringList &arguments)
{
    start(mCommand.first(), mCommand.mid(1) + arguments);
    waitForStarted(patience);
}

void LinkProgram::listen(int port, const QStringList &options)
{
    begin(QStringList{QStringLiteral("listen"), QStringLiteral("--port"), QString::number(port)} + options);
    waitForMessage("listening on port");
}

void LinkProgram::connectTo(const QString &address, int port, const QStringList &options)
{
    begin(QStringList{QStringLiteral("connect"), address, QStringLiteral("--port"), QString::number(port)} + options);
}

QList<QByteArray> LinkProgram::outputLines() const
{
    QList<QByteArray> lines = mOutput.split('\n');
    lines.removeLast(); // behind the last end of a line there is nothing, or a part of a line
    return lines;
}

bool LinkProgram::waitForMessage(const char *message, int milliseconds) const
{
    return waitUntil([&] { return says(message); }, milliseconds);
}

bool LinkProgram::waitForOutput(const QByteArray &text, int milliseconds)
{
    return waitUntil([&] { return mOutput.contains(text); }, milliseconds);
}

bool LinkProgram::waitForEnd(int milliseconds)
{
    return waitUntil([&] { return state() == NotRunning; }, milliseconds);
}

void LinkProgram::sendSignal(int number)
{
    OneProcess::sendSignal(processId(), number);
}

qint64 LinkProgram::memory() const
{
    return status("VmRSS:");
}

qint64 LinkProgram::peakMemory() const
{
    return status("VmHWM:");
}

int LinkProgram::descriptors() const
{
    return QDir(QStringLiteral("/proc/%1/fd").arg(processId()))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

/// Who could go on reading would be running, or waiting for a processor, at one of the looks.
bool LinkProgram::waitUntilHeldBack(const std::function<qint64()> &left) const
{
    constexpr int wanted = 10; // looks
    constexpr int longest = 60000; // milliseconds
    qint64 former = 0;
    int looks = 0;
    return waitUntil(
        [&] {
            const qint64 now = left();
            looks = now > 0 && now == former && isAsleep() ? looks + 1 : 0;
            former = now;
            return looks >= wanted;
        },
        longest);
}

qint64 LinkProgram::inputRead() const
{
    QFile file(QStringLiteral("/proc/%1/fdinfo/0").arg(processId()));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QList<QByteArray> position = file.readLine().simplified().split(' '); // "pos:", and where it is
    return position.value(1).toLongLong();
}

/// All of its threads.
bool LinkProgram::isAsleep() const
{
    const QString threads = QStringLiteral("/proc/%1/task/").arg(processId());
    const QStringList numbers = QDir(threads).entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    return std::all_of(numbers.cbegin(), numbers.cend(), [&threads](const QString &number) {
        QFile file(threads + number + QStringLiteral("/stat"));
        const QByteArray text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        return text.mid(text.lastIndexOf(')') + 2, 1) == "S";
    });
}

void LinkProgram::setupChildProcess()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

qint64 LinkProgram::status(const QByteArray &key) const
{
    QFile file(QStringLiteral("/proc/%1/status").arg(processId()));
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (const QByteArray &line : lines) {
        if (line.startsWith(key))
            return line.mid(key.size()).trimmed().split(' ').first().toLongLong() * kibibyte;
    }
    return -1;
}

bool waitUntil(const std::function<bool()> &condition, int milliseconds)
{
    constexpr int tick = 10; // milliseconds; conditions may hold without an event
    QTimer timer;
    timer.start(tick);
    const QDeadlineTimer deadline(milliseconds);
    while (!condition()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

qint64 memorySlack()
{
#ifdef __SANITIZE_ADDRESS__
    return 512 * mebibyte; // what is freed stays in quarantine
#else
    return 4 * mebibyte;
#endif
}
