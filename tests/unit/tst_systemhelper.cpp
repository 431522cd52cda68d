// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "ForkedChild.h"
#include "Helpers/NetworkHelper.h"
#include "Helpers/SystemHelper.h"
#include "Internal/ChildProcess.h"
#include "LogCapture.h"
#include "OneProcess.h"
#include "PollTimes.h"
#include "ProgramRun.h"
#include "StandInPrograms.h"

#include <QCryptographicHash>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <grp.h>
#include <limits>
#include <memory>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {
constexpr quint32 patience = 20000; // milliseconds
constexpr int unset = -77;

std::atomic<fsblkcnt64_t> reservedBlocks{0}; // of every file system
std::atomic<qint64> lastAvailable{-1}; // bytes

std::function<void(const char *from)> beforeRename;
std::function<void(const char *from)> afterRename;

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

bool copyLibrary(const QString &folder)
{
    const QList<QByteArray> mappings = read(QStringLiteral("/proc/self/maps")).split('\n');
    const auto library = std::find_if(mappings.cbegin(), mappings.cend(),
        [](const QByteArray &mapping) { return mapping.contains("/libVantorBase.so."); });
    return library != mappings.cend()
        && QFile::copy(
            QFile::decodeName(library->mid(library->indexOf('/'))), folder + QStringLiteral("/libVantorBase.so.0.1"));
}

QByteArray outputOf(const QString &program, const QByteArray &input)
{
    ChildProcess process;
    process.start(program, QStringList());
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished() ? process.readAllStandardOutput() : QByteArray();
}

bool makeFifo(const QString &path)
{
    return mkfifo(QFile::encodeName(path).constData(), 0600) == 0;
}

ino_t inodeOf(const QString &path)
{
    struct stat status = {};
    return lstat(QFile::encodeName(path).constData(), &status) == 0 ? status.st_ino : 0;
}

/// Who adopts a process may not have reaped it yet.
bool isAlive(pid_t process)
{
    return OneProcess::sendSignal(process, 0) && !read(QStringLiteral("/proc/%1/stat").arg(process)).contains(") Z ");
}

/// How a command ended.
struct Run
{
    bool ok = false;
    int exitCode = unset;
    QByteArray output = QByteArrayLiteral("untouched");
};

Run run(const QString &command, quint32 timeout = patience)
{
    Run result;
    result.ok = SystemHelper::runCommand(command, timeout, &result.output, &result.exitCode);
    return result;
}

Run runBash(const QString &command, quint32 timeout = patience)
{
    Run result;
    result.ok = SystemHelper::runBashCommand(command, timeout, &result.output, &result.exitCode);
    return result;
}

/// A command that goes on until this dies, in a thread of its own.
class HeldCommand
{
public:
    HeldCommand()
        : mThread([this] {
            runBash(QStringLiteral("echo $PPID >%1; until test -e %2; do sleep 0.01; done")
                        .arg(mDir.filePath(QStringLiteral("watcher")), goFile()));
        })
    {
    }
    HeldCommand(const HeldCommand &) = delete;
    HeldCommand &operator=(const HeldCommand &) = delete;
    ~HeldCommand()
    {
        write(goFile(), "go");
        mThread.join();
    }

    /// Its parent; 0 until it has come that far.
    pid_t watcher() const { return read(mDir.filePath(QStringLiteral("watcher"))).trimmed().toInt(); }

private:
    QString goFile() const { return mDir.filePath(QStringLiteral("go")); }

    const QTemporaryDir mDir;
    std::thread mThread;
};

/// A name for a process that no other test has at the same time. All of it counts: at most 15 characters.
QString ownProcessName(const char *suffix)
{
    return QStringLiteral("vu-%1-%2").arg(QCoreApplication::applicationPid()).arg(QLatin1String(suffix));
}

/// A process with a name of its own.
class NamedProcess
{
public:
    bool start(const QString &name)
    {
        const QString path = mDir.filePath(name);
        if (!QFile::copy(QStandardPaths::findExecutable(QStringLiteral("sleep")), path))
            return false;
        mProcess.start(path, {QStringLiteral("60")});
        return mProcess.waitForStarted();
    }
    NamedProcess() = default;
    NamedProcess(const NamedProcess &) = delete;
    NamedProcess &operator=(const NamedProcess &) = delete;
    ~NamedProcess() { stop(); }

    void stop()
    {
        mProcess.kill();
        mProcess.waitForFinished();
    }
    int niceness() const { return getpriority(PRIO_PROCESS, static_cast<id_t>(mProcess.processId())); }

private:
    QTemporaryDir mDir;
    ChildProcess mProcess;
};
} // namespace

// Qt calls it in place of libc's.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's name is reserved
extern "C" int statvfs64(const char *path, struct statvfs64 *status) noexcept
{
    static const auto libc = reinterpret_cast<decltype(&statvfs64)>(dlsym(RTLD_NEXT, "statvfs64"));
    const int result = libc(path, status);
    if (result == 0) {
        status->f_bfree = status->f_bavail + reservedBlocks;
        lastAvailable = static_cast<qint64>(status->f_bavail) * static_cast<qint64>(status->f_frsize);
    }
    return result;
}

// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): libc's names are reserved
extern "C" int rename(const char *from, const char *to) noexcept
{
    static const auto libc = reinterpret_cast<decltype(&rename)>(dlsym(RTLD_NEXT, "rename"));
    if (beforeRename)
        beforeRename(from);
    const int result = libc(from, to);
    if (afterRename)
        afterRename(from);
    return result;
}

class TestSystemHelper : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        const QString folder = qEnvironmentVariable("VANTOR_TEST_FOLDER"); // for a process that a test starts
        QVERIFY(folder.isEmpty() || QDir::setCurrent(folder));
    }

    void aCommandGivesItsOutputOfBothChannels()
    {
        const LogCapture log;

        const Run result = runBash(QStringLiteral("echo out; echo err >&2; echo out again"));

        QVERIFY(result.ok);
        QCOMPARE(result.exitCode, 0);
        QCOMPARE(result.output, QByteArray("out\nerr\nout again\n"));
        QCOMPARE(log.asText(), QStringList());
    }

    void outputsMayBeNull()
    {
        const LogCapture log;

        QVERIFY(SystemHelper::runCommand(QStringLiteral("true"), patience, nullptr, nullptr));
        QVERIFY(SystemHelper::runCommand(QStringLiteral("true"), nullptr));
        QVERIFY(!SystemHelper::runCommand(QStringLiteral("false"), nullptr));
        QVERIFY(!SystemHelper::runCommand(QStringLiteral("/no/such/program"), nullptr));
        QVERIFY(!SystemHelper::runCommand(QStringLiteral("sleep 5"), 1, nullptr, nullptr));
    }

    void theShortFormHasThreeSeconds()
    {
        PollTimes::forget();

        QVERIFY(SystemHelper::runCommand(QStringLiteral("sleep 0.1"), nullptr));

        QVERIFY2(PollTimes::areUpTo(3000), qPrintable(QString::number(PollTimes::longest)));
    }

    void theStartHasHalfASecond()
    {
        const LogCapture log;
        PollTimes::forget();

        QCOMPARE(
            run(QStringLiteral("/no/such/program")).exitCode, int(SystemHelper::notStarted)); // only that is waited for

        QVERIFY2(PollTimes::areUpTo(500), qPrintable(QString::number(PollTimes::longest)));
    }

    void doubleQuotesGroupWords()
    {
        QCOMPARE(run(QStringLiteral("printf [%s] one \"two  words\"   three")).output,
            QByteArray("[one][two  words][three]"));
    }

    void aCommandThatDoesNotExistDidNotStart_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("no such program") << QStringLiteral("/no/such/program --now");
        QTest::newRow("not executable") << QStringLiteral("/etc/passwd");
        QTest::newRow("a folder") << QStringLiteral("/tmp");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << QStringLiteral("  \t ");
        QTest::newRow("empty quotes") << QStringLiteral("\"\"");
    }

    void aCommandThatDoesNotExistDidNotStart()
    {
        QFETCH(QString, command);
        const LogCapture log;

        const Run result = run(command);

        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, -1);
        QCOMPARE(result.output, QByteArray("untouched"));
        QCOMPARE(log.asText(), QStringList(QStringLiteral("debug: Failed to start command:  ") + command));
    }

    // There is room for one process more: the watcher, but not the command.
    void withoutRoomForItACommandDoesNotStart()
    {
        if (geteuid() != 0)
            QSKIP("only root can become a user who has no other processes");
        const QTemporaryDir dir;
        const QString trace = dir.filePath(QStringLiteral("trace"));
        QVERIFY(chmod(QFile::encodeName(dir.path()).constData(), 0777) == 0);

        const ForkedChild child = ForkedChild::run([&] {
            constexpr uid_t nobodysUser = 54321;
            const rlimit one{2, 2};
            if (setuid(nobodysUser) != 0 || setrlimit(RLIMIT_NPROC, &one) != 0)
                return 1;
            const LogCapture log;
            const QString command = QStringLiteral("/bin/sh -c \"echo >%1\"").arg(trace);
            const Run result = run(command);
            std::fprintf(
                stderr, "%d, %d: %s\n", result.ok, result.exitCode, qPrintable(log.asText().join(QLatin1Char('|'))));
            const QStringList expected{QStringLiteral("debug: Failed to start command:  ") + command};
            return !result.ok && result.exitCode == SystemHelper::notStarted && log.asText() == expected ? 0 : 2;
        });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
        QVERIFY(!QFile::exists(trace));
    }

    void aCommandThatOutlivesItsTimeIsKilled()
    {
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();

        const Run result = run(QStringLiteral("sleep 5"), 100);

        QVERIFY(timer.elapsed() < 4000);
        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, -2);
        QCOMPARE(result.output, QByteArray("untouched"));
        QCOMPARE(log.asText(), QStringList(QStringLiteral("warning: Command didn't finish:  \"sleep 5\"")));
    }

    // Qt learns of the end of a process by it.
    void anApplicationThatBlocksTheSignalOfChildrenIsNotHungUp()
    {
        constexpr unsigned enough = 10; // seconds
        const ForkedChild child = ForkedChild::run(
            [] {
                sigset_t signals;
                sigset_t after;
                sigemptyset(&signals);
                sigaddset(&signals, SIGCHLD);
                sigprocmask(SIG_BLOCK, &signals, nullptr);
                const bool ends = !SystemHelper::runCommand(QStringLiteral("sleep 1000"), 300, nullptr, nullptr);
                QByteArray output;
                const bool runs = SystemHelper::runCommand(QStringLiteral("echo here"), 3000, &output, nullptr);
                const bool isListed = SystemHelper::isProcessRunning(QStringLiteral("no such process"));
                QString mac;
                NetworkHelper::generateRandomMACAddress(mac);
                sigprocmask(SIG_BLOCK, nullptr, &after);
                sigset_t pending;
                sigpending(&pending); // as if nobody had heard of a child
                if (sigismember(&pending, SIGCHLD) != 1)
                    return 2;
                return ends && runs && !isListed && mac.size() == 17 && output == "here\n"
                        && sigismember(&after, SIGCHLD) == 1
                    ? 0
                    : 1;
            },
            enough);

        QCOMPARE(child.signal, 0);
        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void aCommandThatPrintsAllTheTimeIsKilledWhenItsTimeIsUp()
    {
        const LogCapture log;
        QElapsedTimer elapsed;
        elapsed.start();

        const Run result = runBash(QStringLiteral("while :; do echo; done & while :; do echo; done"), 100);

        QCOMPARE(result.exitCode, SystemHelper::timedOut);
        QCOMPARE(result.output, QByteArray("untouched"));
        QVERIFY2(elapsed.elapsed() < 5000, qPrintable(QString::number(elapsed.elapsed())));
    }

    void aCommandThatHasClosedItsOutputIsWaitedFor()
    {
        const Run result = runBash(QStringLiteral("echo before; exec >&- 2>&-; sleep 0.3; exit 7"));

        QCOMPARE(result.exitCode, 7);
        QCOMPARE(result.output, QByteArray("before\n"));
    }

    void aTimeoutEndsWhatTheCommandHasStarted_data()
    {
        QTest::addColumn<QString>("command"); // writes the number of a process that would go on for a minute
        const auto row = [](const char *name, const char *command) {
            QTest::newRow(name) << QString::fromUtf8(command);
        };
        row("a child", "sleep 60 & echo $! >%1; wait");
        row("a group of its own", "set -m; sleep 60 & echo $! >%1; wait");
        row("a session of its own", "setsid sh -c 'echo $$ >%1; exec sleep 60' & wait");
        row("an orphan", "(sleep 60 & echo $! >%1); sleep 60");
        row("an orphan with a session of its own",
            "(setsid sh -c 'trap : TERM HUP INT; echo $$ >%1; sleep 60; sleep 60' &); sleep 60");
        row("a daemon of a daemon", "(setsid sh -c '(setsid sh -c \\'echo $$ >%1; exec sleep 60\\' &) &' &); sleep 60");
        row("a stopped one", "(setsid sh -c 'echo $$ >%1; kill -STOP $$; exec sleep 60' &); sleep 60");
    }

    void aTimeoutEndsWhatTheCommandHasStarted()
    {
        QFETCH(QString, command);
        const LogCapture log;
        const QTemporaryDir dir;
        const QString pidFile = dir.filePath(QStringLiteral("pid"));
        const QString script = dir.filePath(QStringLiteral("script"));
        QVERIFY(write(script, command.arg(pidFile).replace(QLatin1String("\\'"), QLatin1String("'\\''")).toUtf8()));

        pid_t child = 0;
        for (quint32 timeout = 100; timeout < patience && child <= 0; timeout *= 2) { // until it has come that far
            QCOMPARE(run(QStringLiteral("/bin/bash ") + script, timeout).exitCode, -2);
            child = QFile::exists(pidFile) ? read(pidFile).trimmed().toInt() : 0;
        }

        QVERIFY(child > 0);
        QVERIFY(!isAlive(child));
    }

    void aTimeoutEndsManyGenerations()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString script = dir.filePath(QStringLiteral("script"));
        QVERIFY(write(script,
            "echo $$ >>" + QFile::encodeName(dir.filePath(QStringLiteral("pids")))
                + "; [ $1 -gt 0 ] && (setsid /bin/sh $0 $(($1 - 1)) &); sleep 60"));

        QCOMPARE(run(QStringLiteral("/bin/sh %1 20").arg(script), 1500).exitCode, -2);

        const QList<QByteArray> pids = read(dir.filePath(QStringLiteral("pids"))).trimmed().split('\n');
        QCOMPARE(pids.size(), 21);
        for (const QByteArray &pid : pids)
            QVERIFY2(!isAlive(pid.toInt()), pid.constData());
    }

    void whatACommandLeavesBehindGoesOnUnlessItsTimeIsUp_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<int>("exitCode");
        QTest::newRow("success") << QStringLiteral("(setsid sleep 60 >/dev/null 2>&1 & echo $!)") << 0;
        QTest::newRow("in its group") << QStringLiteral("sleep 60 >/dev/null 2>&1 & echo $!") << 0;
        QTest::newRow("failure") << QStringLiteral("(setsid sleep 60 >/dev/null 2>&1 & echo $!); exit 3") << 3;
        QTest::newRow("crash") << QStringLiteral("(setsid sleep 60 >/dev/null 2>&1 & echo $!); kill -9 $$") << 9;
    }

    void whatACommandLeavesBehindGoesOnUnlessItsTimeIsUp()
    {
        QFETCH(QString, command);
        QFETCH(int, exitCode);
        const LogCapture log;

        const Run result = runBash(command);

        QCOMPARE(result.exitCode, exitCode);
        const pid_t child = result.output.trimmed().toInt();
        QVERIFY(child > 0);
        QVERIFY(isAlive(child));
        QVERIFY(OneProcess::sendSignal(child, SIGKILL));
    }

    void aCommandLeadsAGroupOfItsOwn()
    {
        const Run result = runBash(QStringLiteral("ps -o pgid= -p $$; echo $$; ps -o pgid= -p $PPID"));

        const QList<QByteArray> numbers = result.output.simplified().split(' ');
        QCOMPARE(numbers.size(), 3);
        QCOMPARE(numbers.at(0), numbers.at(1));
        QVERIFY(numbers.at(2) != numbers.at(0));
        QVERIFY(numbers.at(2).toInt() != getpgrp());
    }

    // A copy of us would keep all that until the command ends.
    void theWatcherKeepsNothingOfOurs()
    {
        const QTemporaryDir dir;
        const QByteArray path = QFile::encodeName(dir.filePath(QStringLiteral("file")));
        constexpr int size = 65536; // bytes
        QVERIFY(write(QFile::decodeName(path), QByteArray(size, 'x')));
        const int mapped = open(path.constData(), O_RDWR | O_CLOEXEC);
        QCOMPARE(flock(mapped, LOCK_EX), 0);
        void *const mapping = mmap(nullptr, size, PROT_READ, MAP_SHARED, mapped, 0);
        QVERIFY(mapping != MAP_FAILED);

        const HeldCommand command;
        QTRY_VERIFY_WITH_TIMEOUT(command.watcher() > 0, int(patience));
        munmap(mapping, size);
        close(mapped);

        const int again = open(path.constData(), O_RDWR | O_CLOEXEC);
        const auto closed = qScopeGuard([again] { close(again); });
        QTRY_COMPARE(flock(again, LOCK_EX | LOCK_NB), 0);
        const QString watcher = QStringLiteral("/proc/%1/").arg(command.watcher());
        QCOMPARE(QFileInfo(QFile::symLinkTarget(watcher + QStringLiteral("exe"))).fileName(),
            QStringLiteral("command-watcher"));
        QCOMPARE(read(watcher + QStringLiteral("environ")), QByteArray());
        QCOMPARE(QDir(watcher + QStringLiteral("fd")).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot),
            QStringList());
        constexpr int mostPages = 4096; // of a program with the C library alone
        const int pages = read(watcher + QStringLiteral("statm")).split(' ').constFirst().toInt();
        QVERIFY2(pages > 0 && pages < mostPages, qPrintable(QString::number(pages)));
    }

    void theWatcherDoesNotHaveOurName()
    {
        const HeldCommand command;
        QTRY_VERIFY_WITH_TIMEOUT(command.watcher() > 0, int(patience));
        const auto namesakes = [] {
            ChildProcess pidof;
            pidof.start(QStringLiteral("pidof"), {QFileInfo(QCoreApplication::applicationFilePath()).fileName()});
            return pidof.waitForFinished() ? pidof.readAll().trimmed().split(' ') : QList<QByteArray>();
        };

        QVERIFY(namesakes().contains(QByteArray::number(getpid())));
        QTRY_VERIFY(!namesakes().contains(QByteArray::number(command.watcher())));
    }

    // Where the process happens to be now somebody else may have put one.
    void theWatcherIsSoughtWhereTheLibraryWasLoaded()
    {
        const QTemporaryDir folders;
        const QString elsewhere = folders.filePath(QStringLiteral("elsewhere"));
        const QString watcher = elsewhere + QStringLiteral("/libexec/vantorbase/command-watcher");
        QVERIFY(QDir(folders.path()).mkpath(QStringLiteral("here/lib")));
        QVERIFY(QDir(folders.path()).mkpath(QStringLiteral("elsewhere/lib")));
        QVERIFY(QDir(folders.path()).mkpath(QStringLiteral("elsewhere/libexec/vantorbase")));
        QVERIFY(copyLibrary(folders.filePath(QStringLiteral("here/lib"))));
        QVERIFY(copyLibrary(elsewhere + QStringLiteral("/lib")));
        QVERIFY(write(watcher, "#!/bin/sh\ntouch " + QFile::encodeName(elsewhere) + "/was-here\n"));
        QVERIFY(QFile::setPermissions(watcher, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        ChildProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LD_LIBRARY_PATH"), QStringLiteral("lib"));
        environment.insert(QStringLiteral("VANTOR_TEST_FOLDER"), elsewhere);
        process.setProcessEnvironment(environment);
        process.setWorkingDirectory(folders.filePath(QStringLiteral("here")));

        process.start(QCoreApplication::applicationFilePath(), {QStringLiteral("doubleQuotesGroupWords")});
        QVERIFY(process.waitForFinished());

        const QByteArray output = process.readAll();
        QVERIFY2(process.exitCode() == 0, output.constData());
        QVERIFY2(output.contains(QFile::encodeName(folders.filePath(QStringLiteral("here/lib/ so copies")))),
            output.constData());
        QVERIFY(!QFile::exists(elsewhere + QStringLiteral("/was-here")));
    }

    void withoutTheWatchersProgramACopyWatchesAndTheLogTellsOnce()
    {
        const QTemporaryDir dir; // with the library alone
        QVERIFY(copyLibrary(dir.path()));
        ChildProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("LD_LIBRARY_PATH"),
            dir.path() + QLatin1Char(':') + environment.value(QStringLiteral("LD_LIBRARY_PATH")));
        process.setProcessEnvironment(environment);

        process.start(QCoreApplication::applicationFilePath(),
            {QStringLiteral("doubleQuotesGroupWords"), QStringLiteral("doubleQuotesGroupWords"),
                QStringLiteral("theWatcherDoesNotHaveOurName"), QStringLiteral("aCrashedCommandTellsItsSignal"),
                QStringLiteral("aTimeoutEndsWhatTheCommandHasStarted:an orphan with a session of its own")});
        QVERIFY(process.waitForFinished());

        const QByteArray output = process.readAll();
        QVERIFY2(process.exitCode() == 0, output.constData());
        const QString told = QStringLiteral("command-watcher is not installed beside %1/ so copies");
        QCOMPARE(output.count(QFile::encodeName(told.arg(dir.path()))), 1);
    }

    void aCommandThatKillsItsParentHarmsNobody()
    {
        const LogCapture log;

        const Run result = runBash(QStringLiteral("kill -9 $PPID; sleep 60"));

        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, SIGKILL);
    }

    void aCommandDoesNotOutliveItsWatcher()
    {
        const LogCapture log;

        const Run result = runBash(QStringLiteral("echo $$; kill -KILL $PPID; exec sleep 60"));

        const int command = result.output.trimmed().toInt();
        QVERIFY(!result.ok && command > 0);
        QTRY_VERIFY(!OneProcess::sendSignal(command, 0));
    }

    void noSignalButTheLastEndsTheWatcher()
    {
        const Run result =
            runBash(QStringLiteral("for s in HUP INT TERM USR1 PIPE ALRM; do kill -$s $PPID; done; echo goes on"));

        QVERIFY(result.ok);
        QCOMPARE(result.output, QByteArray("goes on\n"));
    }

    void orphansOfACommandAreReapedWhileItRuns()
    {
        const Run result = runBash(QStringLiteral("(true &); (true &); sleep 0.3; ps -o stat= --ppid $PPID; echo end"));

        QVERIFY(result.output.endsWith("end\n"));
        QVERIFY2(!result.output.contains('Z'), result.output.constData());
    }

    void noProcessIsLeftOfACommand()
    {
        const LogCapture log;
        for (const char *command : {"true", "false", "/no/such/program", "sleep 60"})
            run(QString::fromUtf8(command), 50);

        QCOMPARE(waitpid(-1, nullptr, WNOHANG), -1);
        QCOMPARE(errno, ECHILD);
    }

    void commandsOfManyThreadsDoNotDisturbEachOther()
    {
        constexpr int count = 8;
        constexpr int turns = 5;
        const LogCapture log;
        std::atomic<int> right{0};
        std::atomic<int> unstarted{0}; // a busy machine may take too long for that
        const auto take = [&](const Run &result, bool isRight) {
            right += isRight;
            unstarted += !isRight && result.exitCode == SystemHelper::notStarted;
        };
        std::vector<std::thread> threads;
        threads.reserve(count);
        for (int i = 0; i < count; ++i) {
            threads.emplace_back([i, &take] {
                for (int turn = 0; turn < turns; ++turn) {
                    const Run slow = run(QStringLiteral("sleep 30"), 20);
                    take(slow, slow.exitCode == SystemHelper::timedOut);
                    const Run quick = runBash(QStringLiteral("sleep 0.05; echo %1; exit %1").arg(i));
                    take(quick, quick.exitCode == i && quick.output.trimmed().toInt() == i);
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();

        QCOMPARE(right + unstarted, 2 * count * turns);
        QVERIFY(right > unstarted);
        QCOMPARE(log.debugs().filter(QStringLiteral("Failed to start command: ")).size(), unstarted.load());
    }

    void aCommandThatPrintsTooMuchIsKilled()
    {
        constexpr int limit = 1000000;
        SystemHelper::setMaximumOutput(limit);
        const auto restored = qScopeGuard([] { SystemHelper::setMaximumOutput(SystemHelper::defaultMaximumOutput); });
        const QTemporaryDir dir;
        const QString pidFile = dir.filePath(QStringLiteral("pid"));
        const QString command = QStringLiteral("/bin/bash -c \"(setsid yes & echo $! >%1); sleep 60\"").arg(pidFile);
        const LogCapture log;

        const Run result = run(command);

        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, SIGKILL);
        QCOMPARE(result.output.size(), limit);
        QVERIFY(!isAlive(read(pidFile).trimmed().toInt()));
        QCOMPARE(
            log.asText(), QStringList(QStringLiteral("warning: Command printed more than 1000000 bytes:  ") + command));
    }

    // The rest of the time-out may be long, and a command that is killed need not end: here it is traced, and so
    // remains for its tracer.
    void tooMuchOutputIsNotWaitedForUntilTheTimeIsUp()
    {
        constexpr quint32 timeout = 10000; // milliseconds
        SystemHelper::setMaximumOutput(1000000);
        const auto restored = qScopeGuard([] { SystemHelper::setMaximumOutput(SystemHelper::defaultMaximumOutput); });
        const QTemporaryDir dir;
        const QString pidFile = dir.filePath(QStringLiteral("pid"));
        const QString goFile = dir.filePath(QStringLiteral("go"));
        const LogCapture log;
        std::atomic<bool> isTraced{false};
        std::atomic<bool> isOver{false};
        std::thread tracer([&] {
            pid_t command = 0;
            while (command == 0 && !isOver)
                command = read(pidFile).trimmed().toInt();
            isTraced = ptrace(PTRACE_SEIZE, command, nullptr, nullptr) == 0;
            write(goFile, "go");
            while (!isOver)
                QThread::msleep(1);
        });

        QElapsedTimer elapsed;
        elapsed.start();
        const Run result = runBash(
            QStringLiteral("echo $$ >%1; until test -e %2; do :; done; exec yes").arg(pidFile, goFile), timeout);
        const qint64 time = elapsed.elapsed();
        isOver = true;
        tracer.join();

        if (!isTraced)
            QSKIP("processes must not be traced here");
        QCOMPARE(result.exitCode, SIGKILL);
        QCOMPARE(result.output.size(), 1000000);
        QVERIFY2(time < timeout / 2, qPrintable(QString::number(time)));
    }

    void aCommandMayPrintAsMuchAsTheLimit()
    {
        SystemHelper::setMaximumOutput(1000000);
        const auto restored = qScopeGuard([] { SystemHelper::setMaximumOutput(SystemHelper::defaultMaximumOutput); });

        const Run result = runBash(QStringLiteral("head -c 1000000 /dev/zero"));

        QVERIFY(result.ok);
        QCOMPARE(result.output.size(), 1000000);
    }

    void oneByteMoreThanTheLimitIsTooMuch()
    {
        SystemHelper::setMaximumOutput(3);
        const auto restored = qScopeGuard([] { SystemHelper::setMaximumOutput(SystemHelper::defaultMaximumOutput); });
        const LogCapture log;

        QVERIFY(run(QStringLiteral("printf abc")).ok);
        const Run result = run(QStringLiteral("printf abcd")); // may have ended before it is killed

        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, SIGKILL);
        QCOMPARE(result.output, QByteArray("abc"));
        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Command printed more than 3 bytes:  printf abcd")));
    }

    void theLimitOfTheOutputHasADefaultAndBounds()
    {
        const auto restored = qScopeGuard([] { SystemHelper::setMaximumOutput(SystemHelper::defaultMaximumOutput); });

        QCOMPARE(SystemHelper::maximumOutput(), qint64(64) * 1024 * 1024);
        SystemHelper::setMaximumOutput(-1);
        QCOMPARE(SystemHelper::maximumOutput(), qint64(0));
        SystemHelper::setMaximumOutput(std::numeric_limits<qint64>::max());
        QCOMPARE(SystemHelper::maximumOutput(), qint64(1) << 30); // what a QByteArray holds beside its copy
    }

    void aLargeTimeoutIsNoNegativeOne_data()
    {
        QTest::addColumn<quint32>("timeout");
        QTest::newRow("INT_MAX") << quint32(INT_MAX);
        QTest::newRow("one more") << quint32(INT_MAX) + 1;
        QTest::newRow("3,000,000,000") << 3000000000U;
        QTest::newRow("-1 as an int") << 4294967295U;
    }

    void aLargeTimeoutIsNoNegativeOne()
    {
        QFETCH(quint32, timeout);

        const Run result = run(QStringLiteral("sleep 0.2"), timeout);

        QVERIFY(result.ok);
        QCOMPARE(result.exitCode, 0);
    }

    void aFailingCommandTellsItsExitCodeAndItsOutput()
    {
        const LogCapture log;

        const Run result = runBash(QStringLiteral("echo why; exit 1"));

        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, 1);
        QCOMPARE(result.output, QByteArray("why\n"));
        QCOMPARE(log.asText(),
            (QStringList{
                QStringLiteral("warning: /bin/bash -c \"echo why; exit 1\""), QStringLiteral("warning: \"why\\n\"")}));
    }

    void theOutputOfAFailureIsLoggedEvenIfNobodyWantsIt()
    {
        const LogCapture log;

        QVERIFY(!SystemHelper::runBashCommand(QStringLiteral("echo why; exit 255"), patience, nullptr, nullptr));

        QCOMPARE(log.warnings(),
            (QStringList{QStringLiteral("/bin/bash -c \"echo why; exit 255\""), QStringLiteral("\"why\\n\"")}));
    }

    void aCrashedCommandTellsItsSignal_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGSEGV") << SIGSEGV;
        QTest::newRow("SIGKILL") << SIGKILL;
        QTest::newRow("SIGTERM") << SIGTERM;
    }

    void aCrashedCommandTellsItsSignal()
    {
        QFETCH(int, signal);
        const LogCapture log;

        const Run result = runBash(QStringLiteral("ulimit -c 0; kill -%1 $$").arg(signal));

        QVERIFY(!result.ok);
        QCOMPARE(result.exitCode, signal);
        QCOMPARE(log.warnings().size(), 2);
    }

    void theInputStaysOpenAndEmpty()
    {
        const LogCapture log;

        QCOMPARE(run(QStringLiteral("cat"), 300).exitCode, -2);
    }

    void allOutputIsStored()
    {
        const Run result = runBash(QStringLiteral("head -c 20000000 /dev/zero"));

        QVERIFY(result.ok);
        QCOMPARE(result.output.size(), 20000000);
    }

    void aChildThatKeepsTheOutputOpenIsNotWaitedFor()
    {
        QElapsedTimer timer;
        timer.start();

        const Run result = runBash(QStringLiteral("sleep 30 & echo $!"));

        QVERIFY(result.ok);
        QVERIFY(timer.elapsed() < 10000);
        QVERIFY(OneProcess::sendSignal(result.output.trimmed().toInt(), SIGKILL)); // it goes on by itself
    }

    void aShellReadsItsSyntax()
    {
        const QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("file"));

        const Run result = runBash(QStringLiteral("echo $(echo one two | tr a-z A-Z) >%1; cat %1").arg(file));

        QCOMPARE(result.output, QByteArray("ONE TWO\n"));
    }

    void aPlaceholderInACommandIsOnlyText()
    {
        QCOMPARE(runBash(QStringLiteral("echo %1 %2 %99")).output, QByteArray("%1 %2 %99\n"));
    }

    void aDoubleQuoteEndsTheCommandOfAShell()
    {
        QCOMPARE(runBash(QStringLiteral("echo one\" two")).output, QByteArray("one\n")); // "two" becomes $0
    }

    void theBoardIsReachedBySsh()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("ssh")));

        QVERIFY(SystemHelper::runCcmbBashCommand(QStringLiteral("uptime -p"), patience, nullptr, nullptr));

        QCOMPARE(programs.arguments(QStringLiteral("ssh")), QByteArray("root@192.168.9.2\nuptime\n-p\n"));
    }

    void theUnitsShellReadsTheBoardsCommandFirst()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("ssh")));

        const Run result = [] {
            Run run;
            run.ok = SystemHelper::runCcmbBashCommand(
                QStringLiteral("echo '$HOME' $(echo here); echo local"), patience, &run.output, &run.exitCode);
            return run;
        }();

        QCOMPARE(result.output, QByteArray("local\n"));
        QCOMPARE(programs.arguments(QStringLiteral("ssh")), QByteArray("root@192.168.9.2\necho\n$HOME\nhere\n"));
    }

    void aRunningProcessIsFound()
    {
        const QString name = ownProcessName("a");
        NamedProcess process;
        QVERIFY(!SystemHelper::isProcessRunning(name));

        QVERIFY(process.start(name));

        QVERIFY(SystemHelper::isProcessRunning(name));
        QVERIFY(SystemHelper::isProcessRunning(QStringLiteral("^%1[a]$").arg(name.chopped(1)))); // a regular expression
        process.stop();
        QVERIFY(!SystemHelper::isProcessRunning(name));
    }

    void onlyFifteenCharactersOfAProcessNameCount()
    {
        const LogCapture log; // pgrep warns of long patterns on its error channel, which does not count
        const QString name = ownProcessName("a-long-name");
        NamedProcess process;
        QVERIFY(process.start(name));

        QVERIFY(SystemHelper::isProcessRunning(name.left(15)));
        QVERIFY(!SystemHelper::isProcessRunning(name));
    }

    void anOptionIsNoProcessName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("-f") << QStringLiteral("-f");
        QTest::newRow("-V prints something") << QStringLiteral("-V");
        QTest::newRow("--list-full") << QStringLiteral("--list-full");
    }

    void anOptionIsNoProcessName()
    {
        QFETCH(QString, name);
        const LogCapture log;

        QVERIFY(!SystemHelper::isProcessRunning(name));

        QCOMPARE(log.asText(), QStringList(QStringLiteral("warning: Not the name of a process:  \"%1\"").arg(name)));
    }

    void aSilentProcessListIsGivenUpAndClosed()
    {
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("pgrep"), "exec sleep 30"));
        const LogCapture log;
        QElapsedTimer timer;
        timer.start();

        QVERIFY(!SystemHelper::isProcessRunning(QStringLiteral("anything")));

        QVERIFY(timer.elapsed() >= 2900 && timer.elapsed() < 10000);
        QCOMPARE(log.asText(), QStringList()); // Qt would warn of a process that is left running
    }

    void theProcessListIsAskedForTheNameAlone()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("pgrep")));

        QVERIFY(!SystemHelper::isProcessRunning(QStringLiteral("two words; $(true)")));

        QCOMPARE(programs.arguments(QStringLiteral("pgrep")), QByteArray("two words; $(true)\n"));
    }

    void withoutAProcessListNothingRuns()
    {
        StandInPrograms programs;
        programs.hideOthers();

        QVERIFY(!SystemHelper::isProcessRunning(QStringLiteral("anything")));
    }

    void thePriorityOfAProcessIsAltered()
    {
        const LogCapture log;
        const QString name = ownProcessName("b");
        NamedProcess process;
        QVERIFY(process.start(name));

        // Only upwards, as everybody may. Were it added to the former one, the second step would lead to 19.
        for (const int priority : {std::max(process.niceness(), 15), std::max(process.niceness(), 16), 19}) {
            QVERIFY2(
                SystemHelper::alterProcessPriority(name, priority), qPrintable(log.asText().join(QLatin1Char('\n'))));
            QCOMPARE(process.niceness(), priority);
        }
    }

    void allProcessesOfANameAreMeant()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("renice")));
        QVERIFY(programs.add(QStringLiteral("pidof"), "echo 12 34 \"$@\""));

        QVERIFY(SystemHelper::alterProcessPriority(QStringLiteral("Vantor_2.x-y"), -5));

        QCOMPARE(programs.arguments(QStringLiteral("renice")), QByteArray("-n\n-5\n-p\n12\n34\nVantor_2.x-y\n"));
    }

    void aProcessMayBeMeantByItsPath()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("renice")));
        QVERIFY(programs.add(QStringLiteral("pidof"), "echo \"$@\""));
        for (const char *const name : {"/usr/bin/sleep", "g++", "getty@tty1"}) {
            QVERIFY(SystemHelper::alterProcessPriority(QLatin1String(name), 5));
            QCOMPARE(programs.arguments(QStringLiteral("renice")), QByteArray("-n\n5\n-p\n") + name + '\n');
        }
    }

    void alteringAPriorityHasThreeSeconds()
    {
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("renice"), "sleep 0.1"));
        PollTimes::forget();

        QVERIFY(SystemHelper::alterProcessPriority(QStringLiteral("x"), 5));

        QVERIFY2(PollTimes::areUpTo(3000), qPrintable(QString::number(PollTimes::longest)));
    }

    void aPriorityThatCannotBeAlteredIsAFailure()
    {
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("renice"), "exit 1"));
        const LogCapture log;

        QVERIFY(!SystemHelper::alterProcessPriority(QStringLiteral("vantor-unit-none"), 5));

        QCOMPARE(log.warnings().value(0), QStringLiteral("/bin/bash -c \"renice -n 5 -p $(pidof vantor-unit-none)\""));
    }

    void aProcessNameIsNoShellSyntax_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *name : {"", "a;b", "$(touch x)", "a b", "a\"b", "`x`", "a\nb", "a|b", "-x", "ü", "%1", "a\n"})
            QTest::newRow(qPrintable(QString::fromUtf8(name).replace(QLatin1Char('\n'), QLatin1String("\\n"))))
                << QString::fromUtf8(name);
    }

    void aProcessNameIsNoShellSyntax()
    {
        QFETCH(QString, name);
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("renice")));
        const LogCapture log;

        QVERIFY(!SystemHelper::alterProcessPriority(name, 5));

        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(log.warnings().constFirst().startsWith(QLatin1String("Not the name of a process: ")));
        QCOMPARE(programs.arguments(QStringLiteral("renice")), QByteArray("not run"));
    }

    void aNumberIsAllOfTheFirstLine_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("value");
        QTest::newRow("number") << QByteArray("42") << true << 42;
        QTest::newRow("with a line end") << QByteArray("42\n") << true << 42;
        QTest::newRow("with the other line end") << QByteArray("42\r\n") << true << 42;
        QTest::newRow("more lines") << QByteArray("42\n43\n") << true << 42;
        QTest::newRow("empty line behind") << QByteArray("42\n\n") << true << 42;
        QTest::newRow("zero") << QByteArray("0\n") << true << 0;
        QTest::newRow("leading zeros") << QByteArray("007\n") << true << 7;
        QTest::newRow("leading blank") << QByteArray(" 42\n") << true << 42;
        QTest::newRow("plus") << QByteArray("+42\n") << true << 42;
        QTest::newRow("largest int") << QByteArray("2147483647\n") << true << INT_MAX;
        QTest::newRow("largest unsigned") << QByteArray("4294967295\n") << true << -1;
        QTest::newRow("beyond unsigned") << QByteArray("4294967296\n") << false << 0;
        QTest::newRow("negative") << QByteArray("-5") << false << 0;
        QTest::newRow("trailing blank") << QByteArray("42 \n") << false << 0;
        QTest::newRow("trailing blank without line end") << QByteArray("42 ") << false << 0;
        QTest::newRow("trailing tab") << QByteArray("42\t\n") << false << 0;
        QTest::newRow("text behind") << QByteArray("42 kB\n") << false << 0;
        QTest::newRow("text") << QByteArray("none\n") << false << 0;
        QTest::newRow("hexadecimal") << QByteArray("0x2a\n") << false << 0;
        QTest::newRow("empty first line") << QByteArray("\n42\n") << false << 0;
        QTest::newRow("null byte") << QByteArray("42\0\n", 4) << false << 0;
        QTest::newRow("empty file") << QByteArray() << false << unset;
        QTest::newRow("blanks up to the limit") << QByteArray(1022, ' ') + "42\n" << true << 42;
        QTest::newRow("a line beyond the limit") << QByteArray(1023, ' ') + "42\n" << false << 0;
        QTest::newRow("cut within the number") << QByteArray(1024, ' ') + "42\n" << false << 0;
        QTest::newRow("a line without end") << QByteArray(1000000, '1') << false << 0;
    }

    void aNumberIsAllOfTheFirstLine()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, ok);
        QFETCH(int, value);
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("number"));
        QVERIFY(write(path, content));
        int number = unset;

        QCOMPARE(SystemHelper::readIntFromFile(path, number), ok);
        QCOMPARE(number, value);
    }

    void noNumberIsReadFromWhatIsNoFile_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << QStringLiteral("missing");
        QTest::newRow("folder") << QStringLiteral(".");
        QTest::newRow("pipe") << QStringLiteral("pipe");
        QTest::newRow("link to a pipe") << QStringLiteral("link");
        QTest::newRow("empty name") << QString();
    }

    void noNumberIsReadFromWhatIsNoFile()
    {
        QFETCH(QString, name);
        const QTemporaryDir dir;
        QVERIFY(makeFifo(dir.filePath(QStringLiteral("pipe"))));
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("pipe")), dir.filePath(QStringLiteral("link"))));
        int number = unset;

        QVERIFY(!SystemHelper::readIntFromFile(name.isEmpty() ? name : dir.filePath(name), number));
        QCOMPARE(number, unset);
    }

    void aNumberOfTheKernelIsRead()
    {
        int number = unset;
        QVERIFY(SystemHelper::readIntFromFile(QStringLiteral("/proc/sys/kernel/pid_max"), number));
        QVERIFY(number > 0);
    }

    void aWrittenNumberHasNoLineEnd_data()
    {
        QTest::addColumn<int>("value");
        QTest::newRow("0") << 0;
        QTest::newRow("-5") << -5;
        QTest::newRow("largest") << INT_MAX;
        QTest::newRow("smallest") << INT_MIN;
    }

    void aWrittenNumberHasNoLineEnd()
    {
        QFETCH(int, value);
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("number"));
        QVERIFY(write(path, "what was here before"));

        QVERIFY(SystemHelper::writeIntToFile(path, value));

        QCOMPARE(read(path), QByteArray::number(value));
    }

    void textReplacesOrFollowsWhatIsThere()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("text"));

        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("one\n"), false));
        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("two"), false));
        QCOMPARE(read(path), QByteArray("one\ntwo"));
        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("three"), true));
        QCOMPARE(read(path), QByteArray("three"));
        QVERIFY(SystemHelper::writeStringToFile(path, QString(), true));
        QCOMPARE(read(path), QByteArray());
    }

    void bytesReplaceOrFollowWhatIsThere()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("bytes"));
        const QByteArray all("\0\xff\r\n\x80", 5);

        QVERIFY(SystemHelper::writeBytesToFile(path, all, false));
        QVERIFY(SystemHelper::writeBytesToFile(path, "more", false));
        QCOMPARE(read(path), all + "more");
        QVERIFY(SystemHelper::writeBytesToFile(path, all, true));
        QCOMPARE(read(path), all);
        QVERIFY(SystemHelper::writeBytesToFile(path, QByteArray(), true));
        QCOMPARE(read(path), QByteArray());
    }

    void theReaderOfAPipeMayGoWhileItIsWritten_data()
    {
        QTest::addColumn<bool>("isBlocked");
        QTest::newRow("as the process was started") << false;
        QTest::newRow("with the signal blocked, and one that waits") << true;
    }
    void theReaderOfAPipeMayGoWhileItIsWritten()
    {
        QFETCH(bool, isBlocked);
        const QTemporaryDir dir;
        const QString pipe = dir.filePath(QStringLiteral("pipe"));
        QVERIFY(makeFifo(pipe));

        const ForkedChild child = ForkedChild::run([&] {
            std::signal(SIGPIPE, SIG_DFL);
            sigset_t signals;
            sigemptyset(&signals);
            sigaddset(&signals, SIGPIPE);
            if (isBlocked && (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0 || raise(SIGPIPE) != 0))
                return 1;
            const LogCapture log;
            std::atomic<bool> hasEnded{false};
            std::thread reader([&] {
                while (!hasEnded)
                    close(open(QFile::encodeName(pipe).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
            });
            const QDeadlineTimer deadline(patience);
            while (log.asText().isEmpty() && !deadline.hasExpired()) // it has to go between opening and writing
                SystemHelper::writeBytesToFile(pipe, "x", true);
            hasEnded = true;
            reader.join();
            std::fputs(qPrintable(log.asText().join(QLatin1Char('|'))), stderr);
            const bool isTold = log.asText() == QStringList(QStringLiteral("warning: Failed to write ") + pipe);
            sigpending(&signals);
            return isTold && (sigismember(&signals, SIGPIPE) == 1) == isBlocked ? 0 : 2;
        });

        QCOMPARE(child.signal, 0);
        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void nothingIsWrittenToWhatCannotBeOpened_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("folder missing") << QStringLiteral("missing/file");
        QTest::newRow("a folder") << QStringLiteral(".");
        QTest::newRow("a pipe that nobody reads") << QStringLiteral("pipe");
        QTest::newRow("empty name") << QString();
    }

    void nothingIsWrittenToWhatCannotBeOpened()
    {
        QFETCH(QString, name);
        const QTemporaryDir dir;
        QVERIFY(makeFifo(dir.filePath(QStringLiteral("pipe"))));
        const QString path = name.isEmpty() ? name : dir.filePath(name);

        QVERIFY(!SystemHelper::writeIntToFile(path, 1));
        QVERIFY(!SystemHelper::writeStringToFile(path, QStringLiteral("x"), true));
        QVERIFY(!SystemHelper::writeStringToFile(path, QStringLiteral("x"), false));
        QVERIFY(!SystemHelper::writeBytesToFile(path, "x", true));
        QVERIFY(!SystemHelper::writeBytesToFile(path, "x", false));
    }

    void aFileWithoutPermissionIsNotOpened()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("file"));
        QVERIFY(write(path, "1"));
        QVERIFY(QFile::setPermissions(path, QFileDevice::Permissions()));
        int number = unset;
        bool isRead = true;
        bool isWritten = true;

        Faults::withoutOverride([&] {
            isRead = SystemHelper::readIntFromFile(path, number);
            isWritten = SystemHelper::writeIntToFile(path, 2);
        });

        QVERIFY(!isRead);
        QVERIFY(!isWritten);
    }

    void onlyTheBytesTellOfAFullDisk()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("file"));
        const Faults::FileSizeLimit limit(4);

        QVERIFY(!SystemHelper::writeBytesToFile(path, "12345", true));
        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("12345"), true));
        QVERIFY(SystemHelper::writeIntToFile(path, 12345));
        QVERIFY(!SystemHelper::writeBytesToFile(path, QByteArray(100000, 'x'), true));
        QVERIFY(SystemHelper::writeBytesToFile(path, "1234", true));
    }

    void aFolderIsCreatedWithItsParents()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("a/b c/d"));

        QVERIFY(SystemHelper::createDirIfNotExist(path));
        QVERIFY(QFileInfo(path).isDir());
        QVERIFY(SystemHelper::createDirIfNotExist(path));
    }

    void aFileIsInTheWayOfAFolder()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("file"));
        QVERIFY(write(path, {}));
        const LogCapture log;

        QVERIFY(!SystemHelper::createDirIfNotExist(path));

        QCOMPARE(log.asText(),
            QStringList(QStringLiteral("warning: Failed to create DIR:  %1  does this name already exist as a file?")
                            .arg(path)));
    }

    void filesArePackedUnderTheirBareNames()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a/b")));
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("c")));
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("out")));
        const QByteArray large(300000, 'x');
        QVERIFY(write(dir.filePath(QStringLiteral("a/b/x.txt")), large));
        QVERIFY(write(dir.filePath(QStringLiteral("c/y%1.txt")), "why"));
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));

        QVERIFY(SystemHelper::compressFile(
            {dir.filePath(QStringLiteral("a/b/x.txt")), dir.filePath(QStringLiteral("c/y%1.txt"))}, archive));

        QCOMPARE(ProgramRun::of(QStringLiteral("tar"),
                     {QStringLiteral("-zxf"), archive, QStringLiteral("-C"), dir.filePath(QStringLiteral("out"))})
                     .exitCode,
            0);
        QCOMPARE(QDir(dir.filePath(QStringLiteral("out"))).entryList(QDir::Files),
            (QStringList{QStringLiteral("x.txt"), QStringLiteral("y%1.txt")}));
        QCOMPARE(read(dir.filePath(QStringLiteral("out/x.txt"))), large);
        QCOMPARE(read(dir.filePath(QStringLiteral("out/y%1.txt"))), QByteArray("why"));
        QVERIFY(QFileInfo(archive).size() < 10000);
    }

    void theCommandOfPackingIsLogged()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("tar")));
        const LogCapture log;

        QVERIFY(SystemHelper::compressFile(
            {QStringLiteral("/a/b/x.txt"), QStringLiteral("/c/y.txt")}, QStringLiteral("/t/o.tar.gz")));

        QCOMPARE(log.asText(),
            QStringList(QStringLiteral("debug: command:  tar -zcf /t/o.tar.gz -C /a/b x.txt -C /c y.txt")));
        QCOMPARE(programs.arguments(QStringLiteral("tar")),
            QByteArray("-zcf\n/t/o.tar.gz\n-C\n/a/b\nx.txt\n-C\n/c\ny.txt\n"));
    }

    void packingHasFiveMinutes()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"), "sleep 0.1"));
        PollTimes::forget();

        QVERIFY(SystemHelper::compressFile({QStringLiteral("/a")}, dir.filePath(QStringLiteral("o.tar.gz"))));

        QVERIFY2(PollTimes::areUpTo(300000), qPrintable(QString::number(PollTimes::longest)));
    }

    void aNameWithoutAFolderIsPackedFromTheWorkingFolder()
    {
        const QTemporaryDir dir; // where nobody else can exchange the archive
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        const auto restored = qScopeGuard([&] { QDir::setCurrent(before); });
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("tar")));

        QVERIFY(SystemHelper::compressFile({QStringLiteral("x.txt")}, QStringLiteral("o.tar.gz")));

        QCOMPARE(programs.arguments(QStringLiteral("tar")), QByteArray("-zcf\no.tar.gz\n-C\n.\nx.txt\n"));
    }

    void blanksInAPathMakeWords()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("tar")));

        QVERIFY(SystemHelper::compressFile({QStringLiteral("/a b/x y.txt")}, QStringLiteral("/o.tar.gz")));

        QCOMPARE(programs.arguments(QStringLiteral("tar")), QByteArray("-zcf\n/o.tar.gz\n-C\n/a\nb\nx\ny.txt\n"));
    }

    void aNameIsNoOptionOfTar_data()
    {
        QTest::addColumn<QStringList>("sources");
        QTest::addColumn<QString>("target");
        const QString plain = QStringLiteral("/tmp/x");
        const auto row = [](const char *name, const QStringList &sources, const QString &target) {
            QTest::newRow(name) << sources << target;
        };
        row("file", {QStringLiteral("/tmp/--checkpoint-action=exec=sh")}, plain);
        row("file without folder", {QStringLiteral("-x")}, plain);
        row("folder", {QStringLiteral("-x/y")}, plain);
        row("target", {plain}, QStringLiteral("-"));
        row("behind a blank", {QStringLiteral("/tmp/a --checkpoint=1")}, plain);
        row("folder behind a blank", {QStringLiteral("/tmp/a --to-command=x/y")}, plain);
        row("behind a tab", {QStringLiteral("/tmp/a\t--checkpoint=1")}, plain);
        row("in quotes", {QStringLiteral("/tmp/\"--checkpoint=1\"")}, plain);
        row("quotes over two names", {QStringLiteral("/tmp/\"/\" --checkpoint=1")}, plain);
        row("quotes over two files, one option for another",
            {QStringLiteral("/tmp/a\""), QStringLiteral("/tmp/b\" --checkpoint=1")}, plain);
        row("the option of the archive again", {QStringLiteral("/tmp/a\""), QStringLiteral("/tmp/b\" -zcf")}, plain);
        row("target behind a blank", {plain}, QStringLiteral("/tmp/x --checkpoint=1"));
        row("no target: the next option would be it", {plain}, QString());
        row("no target and no file", {}, QString());
    }

    void aNameIsNoOptionOfTar()
    {
        QFETCH(QStringList, sources);
        QFETCH(QString, target);
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("tar")));
        const LogCapture log;

        QVERIFY(!SystemHelper::compressFile(sources, target));

        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(log.warnings().constFirst().startsWith(QLatin1String("tar would take a name for an option: ")));
        QCOMPARE(programs.arguments(QStringLiteral("tar")), QByteArray("not run"));
    }

    void aSlashAtTheEndNamesTheFolder_data()
    {
        QTest::addColumn<QStringList>("sources");
        QTest::addColumn<QByteArray>("names");
        const QString file = QStringLiteral("f");
        QTest::newRow("before a file") << QStringList{QStringLiteral("logs/"), file}
                                       << QByteArray("logs/\nlogs/x\nf\n");
        QTest::newRow("behind a file") << QStringList{file, QStringLiteral("logs/")}
                                       << QByteArray("f\nlogs/\nlogs/x\n");
        QTest::newRow("alone") << QStringList(QStringLiteral("logs/")) << QByteArray("logs/\nlogs/x\n");
        QTest::newRow("two slashes") << QStringList{QStringLiteral("logs//"), file} << QByteArray("logs/\nlogs/x\nf\n");
        QTest::newRow("behind a link") << QStringList{QStringLiteral("link/"), file}
                                       << QByteArray("link/./\nlink/./x\nf\n");
        QTest::newRow("the link itself") << QStringList{QStringLiteral("link"), file} << QByteArray("link\nf\n");
    }

    void aSlashAtTheEndNamesTheFolder()
    {
        QFETCH(QStringList, sources);
        QFETCH(const QByteArray, names);
        const LogCapture log;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("logs")));
        QVERIFY(
            write(dir.filePath(QStringLiteral("logs/x")), "text") && write(dir.filePath(QStringLiteral("f")), "text"));
        QVERIFY(QFile::link(QStringLiteral("logs"), dir.filePath(QStringLiteral("link"))));
        for (QString &source : sources)
            source.prepend(dir.path() + QLatin1Char('/'));

        for (const char *place : {"o.tar.gz", "logs/o.tar.gz"}) {
            const QString archive = dir.filePath(QLatin1String(place));
            for (int round = 0; round < 2; ++round)
                QVERIFY2(
                    SystemHelper::compressFile(sources, archive), qPrintable(log.asText().join(QLatin1Char('\n'))));
            const ProgramRun tar = ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-tzf"), archive});
            QCOMPARE(tar.exitCode, 0);
            QCOMPARE(tar.output, names);
        }
    }

    void whatTheCommandLineCannotNameIsRefused_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("other"); // what tar would pack instead
        QTest::newRow("quotes") << QStringLiteral("a\"b\"c") << QStringLiteral("abc");
        QTest::newRow("three quotes") << QStringLiteral("a\"\"\"b") << QStringLiteral("a\"b");
        QTest::newRow("a quote") << QStringLiteral("ab\"") << QStringLiteral("ab");
        QTest::newRow("nothing but quotes") << QStringLiteral("\"\"") << QStringLiteral("f");
        QTest::newRow("a blank") << QStringLiteral("a b") << QStringLiteral("a");
        QTest::newRow("a line feed") << QStringLiteral("a\nb") << QStringLiteral("a");
        QTest::newRow("a blank at the end") << QStringLiteral("a ") << QStringLiteral("a");
        QTest::newRow("a blank in its folder") << QStringLiteral("a b/b") << QStringLiteral("a/b");
        QTest::newRow("a null") << QStringLiteral("a") + QChar::Null << QStringLiteral("a");
        QTest::newRow("nothing") << QString() << QStringLiteral("f");
    }

    void whatTheCommandLineCannotNameIsRefused()
    {
        QFETCH(const QString, name);
        QFETCH(const QString, other);
        const LogCapture log;
        const QTemporaryDir dir;
        for (const QString &file : {name, other, QStringLiteral("b"), QStringLiteral("f")}) {
            QVERIFY(QDir().mkpath(QFileInfo(dir.filePath(file)).path()));
            write(dir.filePath(file), "text"); // as far as a file can have the name
        }
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        const auto restored = qScopeGuard([&] { QDir::setCurrent(before); });

        QVERIFY(!SystemHelper::compressFile({name, QStringLiteral("f")}, QStringLiteral("o.tar.gz")));
        QVERIFY(!SystemHelper::compressFile({QStringLiteral("f"), name}, QStringLiteral("o.tar.gz")));
        QVERIFY(!SystemHelper::compressFile({QStringLiteral("f")}, name));

        QCOMPARE(log.warnings().size(), 3);
        QVERIFY(!QFile::exists(QStringLiteral("o.tar.gz")));
        QCOMPARE(read(QStringLiteral("f")), QByteArray("text"));
    }

    void aFolderThatHasNoNameIsRefused()
    {
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("tar")));
        const LogCapture log;

        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/"), QStringLiteral("/tmp/x")}, QStringLiteral("/o")));
        QVERIFY(
            !SystemHelper::compressFile({QStringLiteral("/tmp/ "), QStringLiteral("/tmp/x")}, QStringLiteral("/o")));

        QCOMPARE(log.warnings().size(), 2);
        QCOMPARE(programs.arguments(QStringLiteral("tar")), QByteArray("not run"));
    }

    void aColonInTheNameOfAnArchiveIsNoHost()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("ssh")) && programs.addRecorder(QStringLiteral("rsh")));
        QVERIFY(write(dir.filePath(QStringLiteral("x:y.txt")), "text"));
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        const auto restored = qScopeGuard([&] { QDir::setCurrent(before); });

        QVERIFY(SystemHelper::compressFile({QStringLiteral("x:y.txt")}, QStringLiteral("host:o.tar.gz")));

        QVERIFY(QFileInfo(dir.filePath(QStringLiteral("host:o.tar.gz"))).size() > 0);
        QCOMPARE(programs.arguments(QStringLiteral("ssh")), QByteArray("not run"));
        QCOMPARE(programs.arguments(QStringLiteral("rsh")), QByteArray("not run"));
    }

    void theOptionsOfTheEnvironmentReachTar()
    {
        StandInPrograms programs;
        const QTemporaryDir dir;
        QVERIFY(programs.add(QStringLiteral("tar"), "echo \"$TAR_OPTIONS\" >\"$2\""));
        qputenv("TAR_OPTIONS", "--exclude=x");
        const auto restored = qScopeGuard([] { qunsetenv("TAR_OPTIONS"); });

        QVERIFY(SystemHelper::compressFile({QStringLiteral("/a")}, dir.filePath(QStringLiteral("o"))));

        QCOMPARE(read(dir.filePath(QStringLiteral("o"))), QByteArray("--exclude=x --force-local --no-unquote\n"));
        QCOMPARE(qgetenv("TAR_OPTIONS"), QByteArray("--exclude=x"));
    }

    void aFailedRunLeavesTheFormerArchiveAndNoHalfOne_data()
    {
        QTest::addColumn<QByteArray>("tar"); // in its place
        QTest::newRow("tar fails at the end") << QByteArray("echo half >\"$2\"; exit 2");
        QTest::newRow("tar crashes") << QByteArray("echo half >\"$2\"; kill -9 $$");
        QTest::newRow("tar removes it") << QByteArray("rm -f \"$2\"; exit 2");
        QTest::newRow("tar writes nothing") << QByteArray("exit 2");
    }

    void aFailedRunLeavesTheFormerArchiveAndNoHalfOne()
    {
        QFETCH(QByteArray, tar);
        const LogCapture log;
        const QTemporaryDir dir;
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"), tar));
        const QString former = dir.filePath(QStringLiteral("former.tar.gz"));
        QVERIFY(write(former, "good"));
        QVERIFY(QFile::setPermissions(former, QFile::ReadOwner | QFile::WriteOwner));
        const ino_t inode = inodeOf(former);

        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/a")}, former));
        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/a")}, dir.filePath(QStringLiteral("new.tar.gz"))));

        QCOMPARE(read(former), QByteArray("good"));
        QCOMPARE(inodeOf(former), inode);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList(QStringLiteral("former.tar.gz")));
    }

    void aFileThatIsMissingLeavesTheFormerArchive()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString source = dir.filePath(QStringLiteral("x.txt"));
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        QVERIFY(write(source, "text"));
        const QString other = dir.filePath(QStringLiteral("y.txt"));
        QVERIFY(write(other, "other"));
        QVERIFY(SystemHelper::compressFile({source}, archive));
        const QByteArray good = read(archive);

        QVERIFY(!SystemHelper::compressFile({other, dir.filePath(QStringLiteral("missing"))}, archive));

        QCOMPARE(read(archive), good);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 3);
    }

    void aNewArchiveTakesThePlaceOfTheFormerOne()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString source = dir.filePath(QStringLiteral("x.txt"));
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        QVERIFY(write(source, "text"));
        QVERIFY(write(archive, "former"));
        QVERIFY(QFile::setPermissions(archive, QFile::ReadOwner | QFile::WriteOwner));

        QVERIFY(SystemHelper::compressFile({source}, archive));

        QVERIFY(read(archive).startsWith("\x1f\x8b"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
        QCOMPARE(QFile::permissions(archive) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
    }

    void theOwnerAndTheModeOfAnArchiveStay_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("0640") << 0640;
        QTest::newRow("0600") << 0600;
        QTest::newRow("0664") << 0664;
    }

    void theOwnerAndTheModeOfAnArchiveStay()
    {
        QFETCH(const int, mode);
        if (geteuid() != 0)
            QSKIP("only root gives a file away");
        const LogCapture log;
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        const QByteArray path = QFile::encodeName(archive);
        QVERIFY(write(dir.filePath(QStringLiteral("x.txt")), "text"));
        QVERIFY(write(archive, "former"));
        QVERIFY(chown(path.constData(), 1000, 1001) == 0 && chmod(path.constData(), static_cast<mode_t>(mode)) == 0);

        QVERIFY(SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, archive));

        struct stat status = {};
        QCOMPARE(lstat(path.constData(), &status), 0);
        QCOMPARE(status.st_uid, uid_t(1000));
        QCOMPARE(status.st_gid, gid_t(1001));
        QCOMPARE(int(status.st_mode & 0777), mode);
        QVERIFY(read(archive).startsWith("\x1f\x8b"));
    }

    void theOwnerAndTheModeOfAnotherUsersFileAreNotAdopted_data()
    {
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<uint>("folderOwner");
        QTest::addColumn<uint>("folderGroup");
        QTest::addColumn<uint>("owner");
        QTest::addColumn<bool>("isAdopted");
        const auto row = [](const char *name, int mode, uint folderOwner, uint folderGroup, uint owner, bool adopted) {
            QTest::newRow(name) << mode << folderOwner << folderGroup << owner << adopted;
        };
        row("sticky", 01777, 0, 1001, 1000, false);
        row("open to all", 0777, 0, 1001, 1000, false);
        row("open to a group", 0775, 0, 1001, 1000, false);
        row("their folder", 0755, 1000, 1000, 1000, false);
        row("on a stick all is one user's", 0777, 1000, 1000, 1000, false);
        row("ours", 01777, 0, 1001, 0, true);
        row("ours in their folder", 0755, 1000, 1000, 0, true);
        row("where only we can write", 0755, 0, 1001, 1000, true);
        row("where only the group of root can write", 0775, 0, 0, 1000, true);
    }

    void theOwnerAndTheModeOfAnotherUsersFileAreNotAdopted()
    {
        QFETCH(const int, folderMode);
        QFETCH(const uint, folderOwner);
        QFETCH(const uint, folderGroup);
        QFETCH(const uint, owner);
        QFETCH(const bool, isAdopted);
        if (geteuid() != 0)
            QSKIP("only root gives a file away");
        const LogCapture log;
        const QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("open"));
        QVERIFY(QDir().mkdir(folder) && QDir().mkdir(dir.filePath(QStringLiteral("closed"))));
        const QString file = folder + QStringLiteral("/o.tar.gz");
        const QString link = dir.filePath(QStringLiteral("closed/link"));
        QVERIFY(write(dir.filePath(QStringLiteral("x.txt")), "text") && QFile::link(file, link));
        const QString before = QDir::currentPath();
        const auto restored = qScopeGuard([&] { QDir::setCurrent(before); });
        const mode_t mask = umask(022);
        const auto unmasked = qScopeGuard([&] { umask(mask); });

        for (const QString &archive : {file, QStringLiteral("o.tar.gz"), link}) {
            QVERIFY(write(file, "former"));
            QVERIFY(chown(QFile::encodeName(file).constData(), owner, owner) == 0
                && chmod(QFile::encodeName(file).constData(), 0606) == 0
                && chown(QFile::encodeName(folder).constData(), folderOwner, folderGroup) == 0
                && chmod(QFile::encodeName(folder).constData(), static_cast<mode_t>(folderMode)) == 0);
            QVERIFY(QDir::setCurrent(folder));

            QVERIFY2(SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, archive),
                qPrintable(log.asText().join(QLatin1Char(10))));

            struct stat status = {};
            QCOMPARE(lstat(QFile::encodeName(file).constData(), &status), 0);
            QCOMPARE(status.st_uid, isAdopted ? uid_t(owner) : geteuid());
            QCOMPARE(int(status.st_mode & 07777), isAdopted ? 0606 : 0644);
            QVERIFY(read(file).startsWith("\x1f\x8b"));
            QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
        }
        QCOMPARE(log.warnings(), QStringList());
    }

    void aSecondNameInAnOpenFolderGivesNoMode()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("open"));
        const QString archive = folder + QStringLiteral("/o.tar.gz");
        const QString other = dir.filePath(QStringLiteral("other"));
        QVERIFY(QDir().mkdir(folder) && write(dir.filePath(QStringLiteral("x.txt")), "text") && write(other, "other"));
        QVERIFY(chmod(QFile::encodeName(other).constData(), 0666) == 0
            && ::link(QFile::encodeName(other).constData(), QFile::encodeName(archive).constData()) == 0
            && chmod(QFile::encodeName(folder).constData(), 01777) == 0);
        const mode_t mask = umask(077);
        const auto unmasked = qScopeGuard([&] { umask(mask); });

        QVERIFY(SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, archive));

        QCOMPARE(QFile::permissions(archive) & (QFile::ReadGroup | QFile::ReadOther), QFile::Permissions());
        QCOMPARE(read(other), QByteArray("other"));
    }

    void aLinkThatAnotherUserPutThereIsNotFollowed_data()
    {
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<uint>("folderOwner");
        QTest::addColumn<uint>("owner"); // of the link
        QTest::addColumn<QString>("archive");
        QTest::addColumn<bool>("isFollowed");
        const auto row = [](const char *name, int mode, uint folderOwner, uint owner, const char *archive,
                             bool follows) {
            QTest::newRow(name) << mode << folderOwner << owner << QString::fromUtf8(archive) << follows;
        };
        row("sticky", 01777, 0, 1000, "open/link", false);
        row("their folder", 0755, 1000, 1000, "open/link", false);
        row("ours", 01777, 0, 0, "open/link", true);
        row("ours in their folder", 0755, 1000, 0, "open/link", true);
        row("where only we can write", 0755, 0, 1000, "open/link", true);
        row("behind a link of ours", 01777, 0, 1000, "closed/to-link", false);
        row("behind a link of ours in the same folder", 01777, 0, 1000, "open/to-link", false);
        row("behind a relative link", 01777, 0, 1000, "closed/relative", false);
        row("to the folder", 01777, 0, 1000, "open/to-closed/precious", false);
        row("to the folder, of ours", 01777, 0, 0, "open/to-closed/precious", true);
        row("to the folder, by a detour", 01777, 0, 1000, "closed/..//open/./to-closed/precious", false);
        row("to what is not there", 01777, 0, 1000, "open/dangling", false);
    }

    void aLinkThatAnotherUserPutThereIsNotFollowed()
    {
        QFETCH(const int, folderMode);
        QFETCH(const uint, folderOwner);
        QFETCH(const uint, owner);
        QFETCH(const QString, archive);
        QFETCH(const bool, isFollowed);
        if (geteuid() != 0)
            QSKIP("only root gives a link away");
        const LogCapture log;
        const QTemporaryDir dir;
        const QByteArray folder = QFile::encodeName(dir.filePath(QStringLiteral("open")));
        const QString precious = dir.filePath(QStringLiteral("closed/precious"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("open")) && QDir(dir.path()).mkdir(QStringLiteral("closed")));
        QVERIFY(write(dir.filePath(QStringLiteral("x.txt")), "text") && write(precious, "precious"));
        QVERIFY(QFile::link(QFileInfo(precious).path(), dir.filePath(QStringLiteral("open/to-closed"))));
        QVERIFY(QFile::link(precious, dir.filePath(QStringLiteral("open/link"))));
        QVERIFY(QFile::link(precious + QStringLiteral("2"), dir.filePath(QStringLiteral("open/dangling"))));
        for (const char *name : {"link", "to-closed", "dangling"})
            QCOMPARE(lchown((folder + '/' + name).constData(), owner, owner), 0);
        for (const char *name : {"open/to-link", "closed/to-link"})
            QVERIFY(QFile::link(dir.filePath(QStringLiteral("open/link")), dir.filePath(QLatin1String(name))));
        QVERIFY(QFile::link(QStringLiteral("../open/link"), dir.filePath(QStringLiteral("closed/relative"))));
        QVERIFY(chown(folder.constData(), folderOwner, 1001) == 0
            && chmod(folder.constData(), static_cast<mode_t>(folderMode)) == 0);
        const QString target = dir.path() + QLatin1Char('/') + archive;

        QCOMPARE(SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, target), isFollowed);

        QCOMPARE(read(precious).startsWith("\x1f\x8b"), isFollowed);
        QCOMPARE(read(precious) == "precious", !isFollowed);
        QVERIFY(!QFile::exists(precious + QStringLiteral("2")));
        QCOMPARE(QFileInfo(target).isSymLink(), !archive.contains(QLatin1String("precious")));
        const QString refusal = QStringLiteral("What has the name of the archive is another user's:  ") + target;
        QCOMPARE(log.warnings(), isFollowed ? QStringList() : QStringList(refusal));
    }

    void aPipeOfAnotherUserIsNotWrittenTo()
    {
        if (geteuid() != 0)
            QSKIP("only root gives a pipe away");
        const LogCapture log;
        const QTemporaryDir dir;
        StandInPrograms programs;
        QVERIFY(programs.addRecorder(QStringLiteral("tar")));
        const QString pipe = dir.filePath(QStringLiteral("open/pipe"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("open")) && makeFifo(pipe));
        QVERIFY(chown(QFile::encodeName(pipe).constData(), 1000, 1000) == 0
            && chmod(QFile::encodeName(QFileInfo(pipe).path()).constData(), 01777) == 0);

        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/a")}, pipe));

        QCOMPARE(programs.arguments(QStringLiteral("tar")), QByteArray("not run"));
        QCOMPARE(log.warnings(),
            QStringList(QStringLiteral("What has the name of the archive is another user's:  ") + pipe));
    }

    void whatTakesTheNameBeforeTarWritesIsNotWrittenTo_data()
    {
        QTest::addColumn<bool>("isLater"); // than the former one has been set aside
        QTest::newRow("a link that is moved in its place") << false;
        QTest::newRow("a link in the place that it has left") << true;
    }

    void whatTakesTheNameBeforeTarWritesIsNotWrittenTo()
    {
        QFETCH(const bool, isLater);
        const LogCapture log;
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("open/o.tar.gz"));
        const QByteArray path = QFile::encodeName(archive);
        const QString precious = dir.filePath(QStringLiteral("precious"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("open")) && write(archive, "former"));
        QVERIFY(write(dir.filePath(QStringLiteral("x.txt")), "text") && write(precious, "precious"));
        QCOMPARE(chmod(QFile::encodeName(QFileInfo(archive).path()).constData(), 0777), 0);
        const auto plant = [&](const char *from) {
            if (!QByteArray(from).endsWith("/o.tar.gz"))
                return;
            ::unlink(path.constData());
            QVERIFY(symlink(QFile::encodeName(precious).constData(), path.constData()) == 0);
        };
        (isLater ? afterRename : beforeRename) = plant;
        const auto restored = qScopeGuard([] { afterRename = beforeRename = {}; });

        QVERIFY(!SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, archive));

        QCOMPARE(log.warnings(),
            QStringList(QStringLiteral("Something else has taken the name of the archive:  ") + archive));
        QCOMPARE(read(precious), QByteArray("precious"));
        QCOMPARE(QFileInfo(archive).isSymLink(), !isLater);
        QCOMPARE(read(archive), isLater ? QByteArray("former") : QByteArray("precious"));
        QCOMPARE(QDir(dir.filePath(QStringLiteral("open"))).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void whatTakesTheNameWhileTarWritesIsNoArchive_data()
    {
        QTest::addColumn<bool>("hasFormer");
        QTest::newRow("a former one is put back") << true;
        QTest::newRow("without a former one it stays") << false;
    }

    void whatTakesTheNameWhileTarWritesIsNoArchive()
    {
        QFETCH(const bool, hasFormer);
        const LogCapture log;
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("open/o.tar.gz"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("open")) && (!hasFormer || write(archive, "former")));
        QCOMPARE(chmod(QFile::encodeName(QFileInfo(archive).path()).constData(), 0777), 0);
        StandInPrograms programs;
        const QByteArray name = QFile::encodeName(archive);
        QVERIFY(programs.add(QStringLiteral("tar"), "rm " + name + " && echo theirs >" + name));

        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/a")}, archive));

        QCOMPARE(log.warnings(),
            QStringList(QStringLiteral("Something else has taken the name of the archive:  ") + archive));
        QCOMPARE(read(archive), QByteArray(hasFormer ? "former" : "theirs\n"));
        QCOMPARE(QDir(dir.filePath(QStringLiteral("open"))).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void tarWritesNothingElseWhateverBecomesOfTheWay_data()
    {
        QTest::addColumn<QByteArray>("deed"); // of somebody who can rename in "open", before tar opens the archive
        QTest::addColumn<bool>("isThere"); // where it is sought then
        QTest::newRow("nothing") << QByteArray("true") << true;
        QTest::newRow("a link in its place")
            << QByteArray("rm sub/o.tar.gz; ln -s ../../precious sub/o.tar.gz") << false;
        QTest::newRow("another name of a file") << QByteArray("rm sub/o.tar.gz; ln ../precious sub/o.tar.gz") << false;
        QTest::newRow("another folder on the way")
            << QByteArray("mv sub away; mkdir sub; ln -s ../../precious sub/o.tar.gz") << true;
        QTest::newRow("a link on the way") << QByteArray("mv sub away; ln -s ../closed sub") << true;
    }
    void tarWritesNothingElseWhateverBecomesOfTheWay()
    {
        QFETCH(const QByteArray, deed);
        QFETCH(const bool, isThere);
        const LogCapture log;
        const QTemporaryDir dir;
        const QString precious = dir.filePath(QStringLiteral("precious"));
        QVERIFY(
            QDir(dir.path()).mkpath(QStringLiteral("open/sub")) && QDir(dir.path()).mkdir(QStringLiteral("closed")));
        QVERIFY(write(precious, "precious") && write(dir.filePath(QStringLiteral("closed/o.tar.gz")), "precious"));
        for (const char *const folder : {"open", "open/sub"})
            QCOMPARE(chmod(QFile::encodeName(dir.filePath(QLatin1String(folder))).constData(), 0777), 0);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"),
            "(cd " + QFile::encodeName(dir.filePath(QStringLiteral("open"))) + " && " + deed
                + ") || exit 3; echo new >\"$2\""));

        const bool isDone =
            SystemHelper::compressFile({QStringLiteral("/a")}, dir.filePath(QStringLiteral("open/sub/o.tar.gz")));

        QCOMPARE(isDone, isThere);
        QCOMPARE(read(precious), QByteArray("precious"));
        QCOMPARE(read(dir.filePath(QStringLiteral("closed/o.tar.gz"))), QByteArray("precious"));
        const bool isMoved = QFile::exists(dir.filePath(QStringLiteral("open/away")));
        if (isDone)
            QCOMPARE(read(dir.filePath(
                         isMoved ? QStringLiteral("open/away/o.tar.gz") : QStringLiteral("open/sub/o.tar.gz"))),
                QByteArray("new\n"));
    }

    void aTarThatWritesNothingLeavesTheFormerArchive()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        QVERIFY(write(archive, "former"));
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"), "exit 0"));

        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/a")}, archive));

        QCOMPARE(read(archive), QByteArray("former"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void archivesOfOneNameAreWrittenOneAfterTheOther_data()
    {
        QTest::addColumn<bool>("hasFormer");
        QTest::newRow("with a former one") << true;
        QTest::newRow("without") << false;
    }
    void archivesOfOneNameAreWrittenOneAfterTheOther()
    {
        QFETCH(const bool, hasFormer);
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        const QString overlap = dir.filePath(QStringLiteral("overlap"));
        QVERIFY(!hasFormer || write(archive, "former"));
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"),
            "cd " + QFile::encodeName(dir.path())
                + "; mkdir busy || echo >overlap\n"
                  "until test -e go; do sleep 0.01; done; echo \"$5\" >>\"$2\"; rmdir busy; exit 0"));
        std::atomic<int> done{0};
        const auto pack = [&](const QString &source) { done += SystemHelper::compressFile({source}, archive) ? 1 : 0; };

        std::thread first(pack, QStringLiteral("/first"));
        const bool isBusy = QTest::qWaitFor([&] { return QFile::exists(dir.filePath(QStringLiteral("busy"))); });
        std::thread second(pack, QStringLiteral("/second"));
        const bool areBoth = QTest::qWaitFor([&] { return QFile::exists(overlap); }, 300); // it must not come to that
        write(dir.filePath(QStringLiteral("go")), "go");
        first.join();
        second.join();

        QVERIFY(isBusy && !areBoth);
        QVERIFY(!QFile::exists(overlap));
        QCOMPARE(done.load(), 2);
        QCOMPARE(read(archive), QByteArray("second\n"));
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
    }

    void whatIsBehindALinkOfAnotherUserIsNotPacked_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<uint>("owner"); // of the link
        QTest::addColumn<bool>("isPacked");
        QTest::newRow("the folder") << QStringLiteral("open/logs/") << 1000U << false;
        QTest::newRow("a file in it") << QStringLiteral("open/logs/key") << 1000U << false;
        QTest::newRow("a folder in it") << QStringLiteral("open/logs/sub/") << 1000U << false;
        QTest::newRow("the link itself") << QStringLiteral("open/logs") << 1000U << true;
        QTest::newRow("ours") << QStringLiteral("open/logs/") << 0U << true;
        QTest::newRow("a file in ours") << QStringLiteral("open/logs/key") << 0U << true;
    }
    void whatIsBehindALinkOfAnotherUserIsNotPacked()
    {
        QFETCH(const QString, source);
        QFETCH(const uint, owner);
        QFETCH(const bool, isPacked);
        if (geteuid() != 0)
            QSKIP("only root gives a link away");
        const LogCapture log;
        const QTemporaryDir dir;
        const QString path = dir.path() + QLatin1Char('/') + source;
        QVERIFY(
            QDir(dir.path()).mkdir(QStringLiteral("open")) && QDir(dir.path()).mkpath(QStringLiteral("secret/sub")));
        QVERIFY(write(dir.filePath(QStringLiteral("secret/key")), "secret"));
        const QString link = dir.filePath(QStringLiteral("open/logs"));
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("secret")), link));
        QVERIFY(lchown(QFile::encodeName(link).constData(), owner, owner) == 0
            && chmod(QFile::encodeName(QFileInfo(link).path()).constData(), 01777) == 0);
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));

        QCOMPARE(SystemHelper::compressFile({path}, archive), isPacked);

        QCOMPARE(QFile::exists(archive), isPacked);
        QCOMPARE(log.warnings().isEmpty(), isPacked);
    }

    void aFolderOfWhatIsPackedIsTheOneThatWasLookedAt()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString open = dir.filePath(QStringLiteral("open"));
        QVERIFY(QDir(open).mkpath(QStringLiteral("logs")) && QDir(dir.path()).mkdir(QStringLiteral("secret")));
        QVERIFY(write(open + QStringLiteral("/logs/x"), "logged")
            && write(dir.filePath(QStringLiteral("secret/x")), "secret"));
        QCOMPARE(chmod(QFile::encodeName(open).constData(), 0777), 0);
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"),
            "(cd " + QFile::encodeName(open)
                + " && mv logs away && ln -s ../secret logs) || exit 3; cat \"$4/$5\" >\"$2\""));

        QVERIFY(SystemHelper::compressFile({open + QStringLiteral("/logs/x")}, dir.filePath(QStringLiteral("o"))));

        QCOMPARE(read(dir.filePath(QStringLiteral("o"))), QByteArray("logged"));
    }

    void whatAKilledRunHasLeftIsNotPacked()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("logs/o.tar.gz"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("logs")));
        QVERIFY(write(dir.filePath(QStringLiteral("logs/x")), "text"));
        QVERIFY(SystemHelper::compressFile({dir.filePath(QStringLiteral("logs"))}, archive));
        QVERIFY(QFile::copy(archive, dir.filePath(QStringLiteral("logs/.archive.aB3dEf"))));
        QVERIFY(write(dir.filePath(QStringLiteral("logs/.archive.begun1")), {}));
        QVERIFY(write(dir.filePath(QStringLiteral("logs/.archive.notes1")), "a note"));

        QVERIFY(SystemHelper::compressFile({dir.filePath(QStringLiteral("logs"))}, archive));

        const ProgramRun tar = ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-tzf"), archive});
        QCOMPARE(tar.exitCode, 0);
        QByteArrayList names = tar.output.trimmed().split('\n');
        std::sort(names.begin(), names.end());
        QCOMPARE(names, (QByteArrayList{"logs/", "logs/.archive.notes1", "logs/x"}));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("logs/.archive.aB3dEf"))));
    }

    // Nor is it read by a group that could not read the former one.
    void anArchiveOfAnotherGroupIsNotForOurs()
    {
        if (geteuid() != 0)
            QSKIP("only root can become another user");
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        QVERIFY(write(dir.filePath(QStringLiteral("x.txt")), "text"));
        QVERIFY(write(archive, "former"));
        for (const QString &path : {dir.path(), archive})
            QCOMPARE(chown(QFile::encodeName(path).constData(), 1000, 1001), 0);
        QCOMPARE(chmod(QFile::encodeName(archive).constData(), 0640), 0);

        const ForkedChild child = ForkedChild::run([&] {
            const LogCapture log;
            if (setgroups(0, nullptr) != 0 || setgid(1002) != 0 || setuid(1000) != 0)
                return 1;
            return SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, archive) ? 0 : 2;
        });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
        struct stat status = {};
        QCOMPARE(lstat(QFile::encodeName(archive).constData(), &status), 0);
        QCOMPARE(status.st_gid, gid_t(1002));
        QCOMPARE(int(status.st_mode & 0777), 0600);
    }

    void whereNothingCanBeSetAsideTarWritesInPlace_data()
    {
        QTest::addColumn<int>("folderMode");
        QTest::addColumn<uint>("owner");
        QTest::addColumn<bool>("isWritten");
        QTest::newRow("the folder is not ours to change") << 0555 << 0U << true;
        QTest::newRow("a sticky folder, the archive is root's") << 01777 << 0U << true;
        QTest::newRow("the folder is not ours, the archive is another's") << 0555 << 1000U << true;
        QTest::newRow("a sticky folder, the archive is another's") << 01777 << 1000U << false;
    }

    void whereNothingCanBeSetAsideTarWritesInPlace()
    {
        QFETCH(const int, folderMode);
        QFETCH(const uint, owner);
        QFETCH(const bool, isWritten);
        if (geteuid() != 0)
            QSKIP("only root can become another user");
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("folder")));
        const QByteArray folder = QFile::encodeName(dir.filePath(QStringLiteral("folder")));
        const QString archive = dir.filePath(QStringLiteral("folder/o.tar.gz"));
        QVERIFY(write(dir.filePath(QStringLiteral("x.txt")), "text"));
        QVERIFY(write(archive, "former"));
        QVERIFY(chmod(QFile::encodeName(dir.path()).constData(), 0755) == 0
            && chown(QFile::encodeName(archive).constData(), owner, owner) == 0
            && chmod(QFile::encodeName(archive).constData(), 0666) == 0
            && chmod(folder.constData(), static_cast<mode_t>(folderMode)) == 0);
        const ino_t inode = inodeOf(archive);

        const ForkedChild child = ForkedChild::run([&] {
            const LogCapture log;
            if (setgroups(0, nullptr) != 0 || setgid(1002) != 0 || setuid(1002) != 0)
                return 1;
            if (SystemHelper::compressFile({dir.filePath(QStringLiteral("x.txt"))}, archive) != isWritten)
                return 2;
            const QString refusal = QStringLiteral("What has the name of the archive is another user's:  ") + archive;
            return log.warnings() == (isWritten ? QStringList() : QStringList(refusal)) ? 0 : 3;
        });

        QVERIFY2(child.exitCode == 0, qPrintable(QString::number(child.exitCode)));
        QCOMPARE(inodeOf(archive), inode);
        QCOMPARE(read(archive).startsWith("\x1f\x8b"), isWritten);
        QCOMPARE(read(archive) == "former", !isWritten);
        QCOMPARE(QDir(QFile::decodeName(folder)).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void anArchiveInTheFolderThatIsPackedIsNotPacked_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<QString>("archive");
        QTest::addColumn<QString>("root");
        const auto row = [](const char *name, const char *source, const char *archive, const char *root) {
            QTest::newRow(name) << QString::fromUtf8(source) << QString::fromUtf8(archive) << QString::fromUtf8(root);
        };
        row("in it", "logs", "logs/o.tar.gz", "logs");
        row("below it", "logs", "logs/sub/o.tar.gz", "logs");
        row("of a name that is a pattern", "logs", "logs/[ab]*?.tar.gz", "logs");
        row("of a name with signs of a shell", "logs", "logs/$HOME'\\n\\#~;&.tar.gz", "logs");
        row("of a name beyond ASCII", "logs", "logs/\xc3\xa4.tar.gz", "logs");
        row("by a dot", "logs/.", "logs/o.tar.gz", ".");
        row("by a detour", "logs", "logs/sub/../o.tar.gz", "logs");
        row("by a link to it", "logs", "link/o.tar.gz", "logs");
        row("through a link", "logs", "link-to-archive", "logs");
    }

    void anArchiveInTheFolderThatIsPackedIsNotPacked()
    {
        QFETCH(const QString, source);
        QFETCH(const QString, archive);
        QFETCH(const QString, root);
        const LogCapture log;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("logs/sub")));
        QVERIFY(QFile::link(QStringLiteral("logs"), dir.filePath(QStringLiteral("link"))));
        QVERIFY(QFile::link(
            dir.filePath(QStringLiteral("logs/real.tar.gz")), dir.filePath(QStringLiteral("link-to-archive"))));
        const QStringList files{QStringLiteral(".archive.mine12"), QStringLiteral("sub/o.tar.gz.old"),
            QStringLiteral("sub/o.tar.gz2"), QStringLiteral("x")};
        QStringList expected;
        for (const QString &file : files) {
            QVERIFY(write(dir.filePath(QStringLiteral("logs/") + file), "text"));
            expected << root + QLatin1Char('/') + file;
        }

        for (int round = 0; round < 3; ++round) {
            QVERIFY(SystemHelper::compressFile({dir.filePath(source)}, dir.filePath(archive)));

            const ProgramRun tar =
                ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-tzf"), dir.filePath(archive)});
            QCOMPARE(tar.exitCode, 0);
            QStringList names = QString::fromUtf8(tar.output).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
            names.erase(std::remove_if(names.begin(), names.end(),
                            [](const QString &name) { return name.endsWith(QLatin1Char('/')); }),
                names.end());
            names.sort();
            QCOMPARE(names, expected);
        }
        QCOMPARE(QFile::permissions(dir.filePath(archive)), QFile::permissions(dir.filePath(QStringLiteral("logs/x"))));
        QCOMPARE(QDir(dir.filePath(QStringLiteral("logs")))
                     .entryList({QStringLiteral(".archive.*")}, QDir::Hidden | QDir::Files),
            QStringList(QStringLiteral(".archive.mine12")));
    }

    void anArchiveDoesNotReplaceWhatItPacks_data()
    {
        QTest::addColumn<QString>("target");
        QTest::newRow("itself") << QStringLiteral("x");
        QTest::newRow("a link to it") << QStringLiteral("link");
        QTest::newRow("another name of it") << QStringLiteral("twin");
        QTest::newRow("by a detour") << QStringLiteral("sub/../x");
    }
    void anArchiveDoesNotReplaceWhatItPacks()
    {
        QFETCH(const QString, target);
        const LogCapture log;
        const QTemporaryDir dir;
        const QString source = dir.filePath(QStringLiteral("x"));
        QVERIFY(write(source, "precious") && QDir(dir.path()).mkdir(QStringLiteral("sub")));
        QVERIFY(QFile::link(source, dir.filePath(QStringLiteral("link"))));
        QCOMPARE(::link(QFile::encodeName(source).constData(),
                     QFile::encodeName(dir.filePath(QStringLiteral("twin"))).constData()),
            0);

        QVERIFY(!SystemHelper::compressFile({source}, dir.filePath(target)));

        QFile file(source);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("precious"));
        QVERIFY(log.warnings().contains(
            QStringLiteral("The archive would replace a file that it packs:  ") + dir.filePath(target)));
    }

    void anArchiveAmongTheFilesThatArePackedIsLeftOut_data()
    {
        QTest::addColumn<QStringList>("sources");
        QTest::addColumn<QByteArray>("names");
        const QString archive = QStringLiteral("logs/o.tar.gz");
        const QString file = QStringLiteral("logs/x");
        const auto row = [](const char *name, const QStringList &sources, const char *names) {
            QTest::newRow(name) << sources << QByteArray(names);
        };
        row("behind a file", {file, archive}, "x\n");
        row("before a file", {archive, file}, "x\n");
        row("twice", {archive, file, archive}, "x\n");
        row("by another name", {QStringLiteral("other/twin"), file}, "x\n");
        row("a link to it is no archive", {file, QStringLiteral("other/link")}, "x\nlink\n");
        row("with its folder", {QStringLiteral("logs"), archive}, "logs/\nlogs/x\n");
    }

    void anArchiveAmongTheFilesThatArePackedIsLeftOut()
    {
        QFETCH(QStringList, sources);
        QFETCH(const QByteArray, names);
        const LogCapture log;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("logs")) && QDir(dir.path()).mkdir(QStringLiteral("other")));
        QVERIFY(write(dir.filePath(QStringLiteral("logs/x")), "text"));
        const QString archive = dir.filePath(QStringLiteral("logs/o.tar.gz"));
        const QString twin = dir.filePath(QStringLiteral("other/twin"));
        QVERIFY(QFile::link(archive, dir.filePath(QStringLiteral("other/link"))));
        for (QString &source : sources)
            source = dir.filePath(source);

        for (int round = 0; round < 3; ++round) {
            if (sources.contains(twin)) {
                QFile::remove(twin);
                QVERIFY(round > 0 || SystemHelper::compressFile({dir.filePath(QStringLiteral("logs/x"))}, archive));
                QCOMPARE(::link(QFile::encodeName(archive).constData(), QFile::encodeName(twin).constData()), 0);
            }
            QVERIFY2(SystemHelper::compressFile(sources, archive), qPrintable(log.asText().join(QLatin1Char('\n'))));

            const ProgramRun tar = ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-tzf"), archive});
            QCOMPARE(tar.exitCode, 0);
            QCOMPARE(tar.output, names);
        }
        QCOMPARE(QDir(dir.filePath(QStringLiteral("logs"))).entryList(QDir::Files | QDir::Hidden).size(), 2);
    }

    void aFileOfTheArchivesNameIsNotLeftOutInSilence()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("other")));
        const QString other = dir.filePath(QStringLiteral("other/o.tar.gz"));
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        QVERIFY(write(other, "other"));

        QVERIFY(!SystemHelper::compressFile({archive, other}, archive));

        QCOMPARE(log.warnings(),
            QStringList(QStringLiteral("A file of the archive's name cannot be packed with the archive left out:  ")
                + archive));
        QVERIFY(!QFile::exists(archive));
    }

    void onlyAFormerArchiveMakesRoomInWhatIsPacked_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("makesRoom");
        const auto packed = [](const QByteArray &bytes) { return outputOf(QStringLiteral("gzip"), bytes); };
        const QByteArray archive = packed(QByteArray(1024, '\0'));
        QTest::newRow("text") << QByteArray("precious") << false;
        QTest::newRow("packed text") << packed("precious") << false;
        QTest::newRow("packed text of many blocks") << packed(QByteArray(5000, 'x')) << false;
        QTest::newRow("an unpacked block of zeros") << QByteArray(1024, '\0') << false;
        QTest::newRow("nothing") << QByteArray() << true;
        QTest::newRow("an archive of nothing") << archive << true;
        QTest::newRow("one that was cut off at once") << archive.left(12) << true;
    }

    void onlyAFormerArchiveMakesRoomInWhatIsPacked()
    {
        QFETCH(const QByteArray, content);
        QFETCH(const bool, makesRoom);
        const LogCapture log;
        const QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("logs/x"));
        const QString other = dir.filePath(QStringLiteral("logs/y"));
        QVERIFY(QDir(dir.path()).mkdir(QStringLiteral("logs")) && write(other, "other"));
        const QString folder = dir.filePath(QStringLiteral("logs"));

        for (const QStringList &sources : {QStringList(folder), QStringList{other, file}}) {
            QVERIFY(write(file, content));
            QCOMPARE(SystemHelper::compressFile(sources, file), makesRoom);
            QCOMPARE(read(file) == content, !makesRoom);
        }

        const QString refusal = QStringLiteral("The archive would replace a file that it packs:  ") + file;
        QCOMPARE(log.warnings(), makesRoom ? QStringList() : QStringList({refusal, refusal}));
    }

    void anArchiveOfNothingButTheFormerOneIsNotMade()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString archive = dir.filePath(QStringLiteral("o.tar.gz"));
        QVERIFY(write(dir.filePath(QStringLiteral("x")), "text"));
        QVERIFY(SystemHelper::compressFile({dir.filePath(QStringLiteral("x"))}, archive));
        const QByteArray before = read(archive);

        QVERIFY(!SystemHelper::compressFile({archive}, archive));
        QCOMPARE(read(archive), before);

        QVERIFY(QFile::remove(archive));
        QVERIFY(!SystemHelper::compressFile({archive}, archive));
        QVERIFY(!QFile::exists(archive));
    }

    void aFolderWhoseNameBeginsWithAColonIsPackedWithoutTheArchiveInIt()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString folder = dir.path() + QStringLiteral("/:logs");
        QVERIFY(QDir().mkpath(folder));
        QVERIFY(write(folder + QStringLiteral("/x"), "text"));
        const QString archive = folder + QStringLiteral("/o.tar.gz");

        for (int round = 0; round < 2; ++round) {
            QVERIFY(SystemHelper::compressFile({folder}, archive));

            const ProgramRun tar = ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-tzf"), archive});
            QCOMPARE(tar.exitCode, 0);
            QCOMPARE(tar.output, QByteArray(":logs/\n:logs/x\n"));
        }
    }

    void aBackslashInANameIsNoEscape_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("a file of the folder beside it") << QStringLiteral("..\\057secret\\057key");
        QTest::newRow("the archive") << QStringLiteral("\\157.tar.gz");
        QTest::newRow("a tab") << QStringLiteral("a\\tb");
        QTest::newRow("a backslash") << QStringLiteral("a\\\\b");
        QTest::newRow("nothing") << QStringLiteral("a\\");
    }
    void aBackslashInANameIsNoEscape()
    {
        QFETCH(const QString, name);
        const LogCapture log;
        const QTemporaryDir dir;
        for (const char *folder : {"in", "out", "secret"})
            QVERIFY(QDir(dir.path()).mkdir(QLatin1String(folder)));
        QVERIFY(write(dir.filePath(QStringLiteral("secret/key")), "secret"));
        const QString source = dir.path() + QStringLiteral("/in/") + name;
        QVERIFY(write(source, "named"));
        const QString archive = dir.filePath(QStringLiteral("in/o.tar.gz"));
        QVERIFY(write(archive, "former"));

        QVERIFY2(SystemHelper::compressFile({source}, archive), qPrintable(log.asText().join(QLatin1Char('\n'))));

        const QString out = dir.filePath(QStringLiteral("out"));
        QCOMPARE(ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-zxf"), archive, QStringLiteral("-C"), out})
                     .exitCode,
            0);
        QCOMPARE(QDir(out).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList(name));
        QCOMPARE(read(out + QLatin1Char('/') + name), QByteArray("named"));
    }

    void relativeFoldersLeadTarFromOneToTheNext()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a/b/logs")));
        QVERIFY(write(dir.filePath(QStringLiteral("a/x")), "text"));
        QVERIFY(write(dir.filePath(QStringLiteral("a/b/logs/y")), "text"));
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));
        const auto restored = qScopeGuard([&] { QDir::setCurrent(before); });

        QVERIFY(SystemHelper::compressFile(
            {QStringLiteral("a/x"), QStringLiteral("b/logs")}, QStringLiteral("a/b/logs/o.tar.gz")));

        const ProgramRun tar =
            ProgramRun::of(QStringLiteral("tar"), {QStringLiteral("-tzf"), QStringLiteral("a/b/logs/o.tar.gz")});
        QCOMPARE(tar.exitCode, 0);
        QCOMPARE(tar.output, QByteArray("x\nlogs/\nlogs/y\n"));
    }

    void anArchiveIsWrittenThroughALink()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString source = dir.filePath(QStringLiteral("x.txt"));
        QVERIFY(write(source, "text"));
        QVERIFY(write(dir.filePath(QStringLiteral("target")), "former"));
        const QString link = dir.filePath(QStringLiteral("link"));
        QVERIFY(QFile::link(dir.filePath(QStringLiteral("target")), link));

        QVERIFY(!SystemHelper::compressFile({dir.filePath(QStringLiteral("missing"))}, link));
        QCOMPARE(read(dir.filePath(QStringLiteral("target"))), QByteArray("former"));
        QVERIFY(SystemHelper::compressFile({source}, link));

        QVERIFY(QFileInfo(link).isSymLink());
        QVERIFY(read(dir.filePath(QStringLiteral("target"))).startsWith("\x1f\x8b"));
    }

    void aDeviceStaysWhatItIs()
    {
        const LogCapture log;
        const QTemporaryDir dir;
        const QString pipe = dir.filePath(QStringLiteral("pipe"));
        QVERIFY(makeFifo(pipe));
        StandInPrograms programs;
        QVERIFY(programs.add(QStringLiteral("tar"), "exit 2"));

        QVERIFY(!SystemHelper::compressFile({QStringLiteral("/a")}, pipe));

        QVERIFY(!QFileInfo(pipe).isFile() && QFileInfo::exists(pipe));
    }

    void packingNothingFails()
    {
        const LogCapture log;
        const QTemporaryDir dir;

        QVERIFY(!SystemHelper::compressFile({}, dir.filePath(QStringLiteral("o.tar.gz"))));
        QVERIFY(!SystemHelper::compressFile(
            {dir.filePath(QStringLiteral("missing"))}, dir.filePath(QStringLiteral("o.tar.gz"))));
    }

    void theChecksumIsOfAllBytes_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("sum");
        QTest::newRow("empty") << QByteArray() << QByteArray("d41d8cd98f00b204e9800998ecf8427e");
        QTest::newRow("abc") << QByteArray("abc") << QByteArray("900150983cd24fb0d6963f7d28e17f72");
        QTest::newRow("carriage returns count")
            << QByteArray("a\r\nb") << QCryptographicHash::hash("a\r\nb", QCryptographicHash::Md5).toHex();
        QTest::newRow("large") << QByteArray(1000000, 'a') << QByteArray("7707d6ae4e027c70eea2a935c2296f21");
    }

    void theChecksumIsOfAllBytes()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, sum);
        const QTemporaryDir dir;
        QVERIFY(write(dir.filePath(QStringLiteral("file")), content));

        QCOMPARE(SystemHelper::fileChecksum(dir.filePath(QStringLiteral("file"))).toHex(), sum);
    }

    void whatIsNoFileHasNoChecksum()
    {
        const QTemporaryDir dir;
        QVERIFY(makeFifo(dir.filePath(QStringLiteral("pipe"))));

        QVERIFY(SystemHelper::fileChecksum(dir.path()).isEmpty());
        QVERIFY(SystemHelper::fileChecksum(dir.filePath(QStringLiteral("pipe"))).isEmpty());
        QVERIFY(SystemHelper::fileChecksum(dir.filePath(QStringLiteral("missing"))).isEmpty());
        QVERIFY(SystemHelper::fileChecksum(QStringLiteral("/dev/zero")).isEmpty());
    }

    void aFileOfTheKernelHasAChecksumUpToALimit()
    {
        const LogCapture log;
        const QByteArray version = read(QStringLiteral("/proc/version"));

        QCOMPARE(SystemHelper::fileChecksum(QStringLiteral("/proc/version")),
            QCryptographicHash::hash(version, QCryptographicHash::Md5));
        QCOMPARE(log.asText(), QStringList());
        QVERIFY(SystemHelper::fileChecksum(QStringLiteral("/proc/self/pagemap")).isEmpty()); // 256 GiB
        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Too large for a checksum: /proc/self/pagemap")));
    }

    void aHugeFileHasNoChecksum()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("huge"));
        QVERIFY(write(path, "x"));
        if (!QFile::resize(path, SystemHelper::maximumChecksummed + 1)) // no byte of it is on the disk
            QSKIP("the file system has no files that large");
        const LogCapture log;

        QVERIFY(SystemHelper::fileChecksum(path).isEmpty());

        QCOMPARE(log.warnings(), QStringList(QStringLiteral("Too large for a checksum: ") + path));
    }

    void ofAFailedCommandThatPrintsMuchTheLogHasBothEnds()
    {
        const LogCapture log;

        const Run result = runBash(QStringLiteral("echo start; head -c 1000000 /dev/zero; echo end; false"));

        QCOMPARE(result.output.size(), 1000010);
        QCOMPARE(log.warnings().size(), 2);
        const QString told = log.warnings().constLast();
        QVERIFY2(told.startsWith(QLatin1String("\"start\\n")) && told.endsWith(QLatin1String("end\\n\"")),
            qPrintable(told.left(100)));
        QVERIFY(told.contains(QString::number(1000010 - 2 * 4096)));
        QVERIFY2(told.size() < 100000, qPrintable(QString::number(told.size())));
    }

    // A command of the log's handler would not end when its reader goes.
    void whenAFailureIsToldNoSignalIsBlocked()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("file"));
        const Faults::FileSizeLimit limit(4);
        static QVector<bool> blocked;
        blocked.clear();
        const QtMessageHandler former =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {
                sigset_t mask;
                sigemptyset(&mask);
                pthread_sigmask(SIG_BLOCK, nullptr, &mask);
                blocked << (sigismember(&mask, SIGPIPE) != 0);
            });

        SystemHelper::writeStringToFile(path, QStringLiteral("12345"), true);
        SystemHelper::writeBytesToFile(path, "12345", true);
        qInstallMessageHandler(former);

        QCOMPARE(blocked, (QVector<bool>{false, false}));
    }

    void textThatDoesNotFitIsTold()
    {
        const QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("file"));
        const Faults::FileSizeLimit limit(4);
        const LogCapture log;

        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("12345"), true));
        QVERIFY(SystemHelper::writeIntToFile(path, 12345));
        QVERIFY(!SystemHelper::writeBytesToFile(path, "12345", true));
        QVERIFY(SystemHelper::writeStringToFile(path, QStringLiteral("1234"), true));

        const QString told = QStringLiteral("Failed to write ") + path;
        QCOMPARE(log.warnings(), (QStringList{told, told, told}));
    }

    void freeSpaceIsThatOfTheFileSystem()
    {
        const QTemporaryDir dir;
        const LogCapture log;

        const qint64 bytes = SystemHelper::getFreeDiskSpace(dir.path());

        QVERIFY(bytes > 0);
        QCOMPARE(log.asText(),
            QStringList(QStringLiteral("debug: Bytes available on  %1  =  %2").arg(dir.path()).arg(bytes)));
    }

    void whatOnlyRootMayFillIsNotFree()
    {
        const QTemporaryDir dir;
        const LogCapture log;
        reservedBlocks = 1000;
        const auto restored = qScopeGuard([] { reservedBlocks = 0; });

        const qint64 bytes = SystemHelper::getFreeDiskSpace(dir.path());

        QCOMPARE(bytes, lastAvailable.load());
    }

    void aMissingPathHasNoFreeSpace()
    {
        const QTemporaryDir dir;
        const LogCapture log;

        QCOMPARE(SystemHelper::getFreeDiskSpace(dir.filePath(QStringLiteral("missing"))), qint64(-1));
        QCOMPARE(log.asText(), QStringList());
    }

    void filesWithTheExtensionAreRemovedAtAllDepths()
    {
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a/b.jpg/c")));
        for (const char *name : {"x.jpg", "y.JPG", "jpg", "z.jpg.png", "a/x.jpg", "a/b.jpg/c/x.jpg", "a/b.jpg/c/keep"})
            QVERIFY(write(dir.filePath(QString::fromUtf8(name)), "x"));

        SystemHelper::removeFilesFromDir(dir.path(), QStringLiteral(".jpg"));

        QStringList left;
        for (QDirIterator it(dir.path(), QDir::Files, QDirIterator::Subdirectories); it.hasNext();)
            left << it.next().mid(dir.path().size() + 1);
        left.sort();
        QCOMPARE(left,
            (QStringList{QStringLiteral("a/b.jpg/c/keep"), QStringLiteral("jpg"), QStringLiteral("y.JPG"),
                QStringLiteral("z.jpg.png")}));
        QVERIFY(QFileInfo(dir.filePath(QStringLiteral("a/b.jpg/c"))).isDir());
    }

    void theEndOfTheWholePathCounts()
    {
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a/b")));
        for (const char *name : {"b.jpg", "a/b.jpg", "a/b/b.jpg"})
            QVERIFY(write(dir.filePath(QString::fromUtf8(name)), "x"));

        SystemHelper::removeFilesFromDir(dir.path(), QStringLiteral("/b/b.jpg"));

        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("b.jpg"))));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("a/b.jpg"))));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("a/b/b.jpg"))));
    }

    void hiddenFilesStay()
    {
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral(".hidden")));
        for (const char *name : {"x.jpg", ".x.jpg", ".jpg", ".hidden/x.jpg"})
            QVERIFY(write(dir.filePath(QString::fromUtf8(name)), "x"));

        SystemHelper::removeFilesFromDir(dir.path(), QStringLiteral(".jpg"));

        QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden),
            (QStringList{QStringLiteral(".jpg"), QStringLiteral(".x.jpg")}));
        QVERIFY(QFile::exists(dir.filePath(QStringLiteral(".hidden/x.jpg"))));
    }

    void anEmptyExtensionRemovesEveryFileButNoFolder()
    {
        const QTemporaryDir dir;
        QVERIFY(QDir(dir.path()).mkpath(QStringLiteral("a")));
        QVERIFY(write(dir.filePath(QStringLiteral("one")), "x"));
        QVERIFY(write(dir.filePath(QStringLiteral("a/two")), "x"));

        SystemHelper::removeFilesFromDir(dir.path(), QString());

        QCOMPARE(QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList(QStringLiteral("a")));
        QVERIFY(QDir(dir.filePath(QStringLiteral("a"))).isEmpty());
    }

    void anEmptyFolderNameRemovesNothing()
    {
        const QTemporaryDir dir;
        QVERIFY(write(dir.filePath(QStringLiteral("x.jpg")), "x"));
        const QString before = QDir::currentPath();
        QVERIFY(QDir::setCurrent(dir.path()));

        SystemHelper::removeFilesFromDir(QString(), QStringLiteral(".jpg"));

        QVERIFY(QFile::exists(dir.filePath(QStringLiteral("x.jpg"))));
        SystemHelper::removeFilesFromDir(QStringLiteral("."), QStringLiteral(".jpg"));
        QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("x.jpg"))));
        QVERIFY(QDir::setCurrent(before));
    }

    void whatAnotherUsersLinkLeadsToIsNotEmptied_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<uint>("owner"); // of the link
        QTest::newRow("at its end") << QStringLiteral("open/link") << 1000U;
        QTest::newRow("on the way") << QStringLiteral("open/link/sub") << 1000U;
        QTest::newRow("of ours") << QStringLiteral("open/link") << 0U;
    }
    void whatAnotherUsersLinkLeadsToIsNotEmptied()
    {
        QFETCH(const QString, path);
        QFETCH(const uint, owner);
        if (geteuid() != 0)
            QSKIP("only root gives a link away");
        const LogCapture log;
        const QTemporaryDir dir;
        const QString link = dir.filePath(QStringLiteral("open/link"));
        const QString precious = dir.filePath(QStringLiteral("closed/sub/precious"));
        QVERIFY(
            QDir(dir.path()).mkdir(QStringLiteral("open")) && QDir(dir.path()).mkpath(QStringLiteral("closed/sub")));
        QVERIFY(write(precious, "precious") && QFile::link(dir.filePath(QStringLiteral("closed")), link));
        QVERIFY(lchown(QFile::encodeName(link).constData(), owner, owner) == 0
            && chmod(QFile::encodeName(QFileInfo(link).path()).constData(), 01777) == 0);

        SystemHelper::removeFilesFromDir(dir.path() + QLatin1Char('/') + path, QString());

        QCOMPARE(QFile::exists(precious), owner != 0);
        QCOMPARE(log.warnings().isEmpty(), owner == 0);
    }

    void linksAreRemovedAndNotFollowed()
    {
        const QTemporaryDir dir;
        const QTemporaryDir elsewhere;
        QVERIFY(write(elsewhere.filePath(QStringLiteral("x.jpg")), "x"));
        QVERIFY(QFile::link(elsewhere.filePath(QStringLiteral("x.jpg")), dir.filePath(QStringLiteral("link.jpg"))));
        QVERIFY(QFile::link(elsewhere.path(), dir.filePath(QStringLiteral("folder"))));
        QVERIFY(QFile::link(elsewhere.path(), dir.filePath(QStringLiteral("folder.jpg"))));

        SystemHelper::removeFilesFromDir(dir.path(), QStringLiteral(".jpg"));

        QVERIFY(QFile::exists(elsewhere.filePath(QStringLiteral("x.jpg"))));
        QCOMPARE(
            QDir(dir.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList(QStringLiteral("folder")));
    }

    void aFolderThatBecomesALinkMeanwhileIsNotFollowed()
    {
        const QTemporaryDir dir;
        const QTemporaryDir elsewhere;
        const QString precious = elsewhere.filePath(QStringLiteral("x.jpg"));
        const QByteArray folder = QFile::encodeName(dir.filePath(QStringLiteral("folder")));
        const QByteArray link = QFile::encodeName(dir.filePath(QStringLiteral("link")));
        QVERIFY(write(precious, "x"));
        QVERIFY(QDir().mkdir(QFile::decodeName(folder)));
        QCOMPARE(symlink(QFile::encodeName(elsewhere.path()).constData(), link.constData()), 0);
        const int inside = open(folder.constData(), O_DIRECTORY | O_RDONLY | O_CLOEXEC);
        QVERIFY(inside >= 0);
        std::atomic<bool> isOver{false};
        std::thread exchanger([&] {
            while (!isOver)
                renameat2(AT_FDCWD, folder.constData(), AT_FDCWD, link.constData(), RENAME_EXCHANGE);
        });

        for (int turn = 0; turn < 3000 && QFile::exists(precious); ++turn) {
            const int file = openat(inside, "x.jpg", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
            close(file);
            SystemHelper::removeFilesFromDir(dir.path(), QStringLiteral(".jpg"));
        }
        isOver = true;
        exchanger.join();
        close(inside);

        QVERIFY(QFile::exists(precious));
    }

    void thousandsOfFilesAreRemovedInOneWalk()
    {
        const QTemporaryDir dir;
        for (int i = 0; i < 3000; ++i)
            QVERIFY(write(dir.filePath(QStringLiteral("%1.tmp").arg(i)), {}));

        SystemHelper::removeFilesFromDir(dir.path(), QStringLiteral(".tmp"));

        QVERIFY(QDir(dir.path()).isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestSystemHelper)
#include "tst_systemhelper.moc"
