// SPDX-License-Identifier: Apache-2.0
#include "ForkedChild.h"
#include "Helpers/NetworkHelper.h"
#include "Helpers/SystemHelper.h"
#include "LogCapture.h"
#include "OneProcess.h"
#include "OwnNamespace.h"
#include "plot/Charts.h"

#include <QDirIterator>
#include <QRegularExpression>
#include <QStandardPaths>
#include <QtTest>

#include <csignal>
#include <cstdio>
#include <functional>
#include <sched.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/// Whether it came out as it should.
using Attempt = std::function<bool()>;
Q_DECLARE_METATYPE(Attempt)

namespace {
constexpr uid_t nobody = 65534;
constexpr unsigned patience = 20; // seconds
enum : int { Fine = 0, NoNamespace = 11, NotAsExpected, BystanderKilled };

/// Tries it where this process may start no other one.
bool runsWithoutRoom(const Attempt &attempt)
{
    const rlimit none{0, 0};
    if (setrlimit(RLIMIT_NPROC, &none) != 0 || fork() >= 0)
        return false;
    alarm(patience);
    return attempt();
}

/// To be called as the first process of a namespace: it is what a kill of all processes leaves alone.
int runAmongBystanders(const Attempt &attempt)
{
    if (getpid() != 1)
        return NoNamespace;
    if (geteuid() != nobody && (setgid(nobody) != 0 || setuid(nobody) != 0))
        return NoNamespace;
    std::signal(SIGTERM, SIG_DFL);
    const pid_t bystander = fork();
    if (bystander == 0) {
        for (;;)
            pause();
    }
    const pid_t worker = fork();
    if (worker == 0)
        _exit(runsWithoutRoom(attempt) ? Fine : NotAsExpected);
    int status = 0;
    if (bystander < 0 || waitpid(worker, &status, 0) != worker)
        return NoNamespace;
    std::fprintf(stderr, "status %d\n", status);
    int end = 0;
    OneProcess::sendSignal(bystander, SIGTERM); // it ends by the first signal that it got
    if (waitpid(bystander, &end, 0) != bystander || !WIFSIGNALED(end) || WTERMSIG(end) != SIGTERM)
        return BystanderKilled;
    return status == 0 ? Fine : NotAsExpected;
}

/// Nobody but the processes in it can be killed from inside a namespace of processes.
int runInNamespace(const Attempt &attempt)
{
    QString problem;
    if (!OwnNamespace::enter(CLONE_NEWPID, nobody, nobody, &problem)) {
        std::fputs(qPrintable(problem), stderr);
        return NoNamespace;
    }
    const pid_t first = fork();
    if (first == 0)
        _exit(runAmongBystanders(attempt));
    int status = 0;
    return first > 0 && waitpid(first, &status, 0) == first && WIFEXITED(status) ? WEXITSTATUS(status) : NoNamespace;
}

bool told(const LogCapture &log, const QString &start)
{
    const QStringList lines = log.asText();
    std::fputs(qPrintable(lines.join(QLatin1Char('\n'))), stderr);
    return lines.size() == 1 && lines.first().startsWith(QStringLiteral("warning: ") + start);
}

/// What starts processes in another way than ChildProcess does; empty if nothing does.
QString plainProcessIn(const QString &source)
{
    static const QRegularExpression ignored(
        QStringLiteral("//.*$|^#include.*$|\".*\""), QRegularExpression::MultilineOption);
    static const QRegularExpression plain(
        QStringLiteral("^.*\\bQProcess\\b(?!\\s*[&*]|::(?!execute\\b)).*$"), QRegularExpression::MultilineOption);
    return plain.match(QString(source).remove(ignored)).captured().trimmed();
}
/// What sends a signal to a process that may be none, and so to all of them; empty if nothing does.
QString looseSignalIn(const QString &source)
{
    static const QRegularExpression ignored(QStringLiteral("//.*$|\".*\""), QRegularExpression::MultilineOption);
    static const QRegularExpression loose(QStringLiteral("^.*(?<![\\w.>])kill\\((?!\\)|getpp?id\\(\\)|-1, 0\\)).*$"),
        QRegularExpression::MultilineOption);
    return loose.match(QString(source).remove(ignored)).captured().trimmed();
}

/// What is found in the sources below the folder. @param count of the sources
QStringList lookedFor(
    const QString &folder, QString (*find)(const QString &), const QStringList &exceptions, int *count)
{
    QStringList found;
    QDirIterator entry(
        folder, {QStringLiteral("*.h"), QStringLiteral("*.cpp")}, QDir::Files, QDirIterator::Subdirectories);
    while (entry.hasNext()) {
        QFile file(entry.next());
        if (!file.open(QIODevice::ReadOnly))
            return {QStringLiteral("unreadable: ") + file.fileName()};
        const QString line = find(QString::fromUtf8(file.readAll()));
        ++*count;
        if (!line.isEmpty() && !exceptions.contains(entry.fileName()))
            found << entry.fileName() + QStringLiteral(": ") + line;
    }
    return found;
}
} // namespace

class ChildProcessTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void withoutRoomForAProcessNobodyIsKilled_data()
    {
        QTest::addColumn<Attempt>("attempt");
        QTest::newRow("is a process running") << Attempt([] {
            const LogCapture log;
            return !SystemHelper::isProcessRunning(QStringLiteral("bash"))
                && told(log, QStringLiteral("Failed to look for the process bash "));
        });
        QTest::newRow("random MAC address") << Attempt([] {
            const LogCapture log;
            QString mac = QStringLiteral("former");
            NetworkHelper::generateRandomMACAddress(mac);
            return mac.isEmpty() && told(log, QStringLiteral("Failed to make a MAC address: "));
        });
        QTest::newRow("chart") << Attempt([] {
            QString problem;
            return !Plot::svg({}, &problem) && problem.startsWith(QStringLiteral("gnuplot draws no chart: "));
        });
        QTest::newRow("command") << Attempt(
            [] { return !SystemHelper::runCommand(QStringLiteral("true"), 1000, nullptr, nullptr); });
    }
    void withoutRoomForAProcessNobodyIsKilled()
    {
        QFETCH(Attempt, attempt);
        if (QLatin1String(QTest::currentDataTag()) == QLatin1String("chart")
            && QStandardPaths::findExecutable(QStringLiteral("gnuplot")).isEmpty())
            QSKIP("there is no gnuplot");

        const ForkedChild child = ForkedChild::run([&] { return runInNamespace(attempt); }, 2 * patience);

        if (child.exitCode == NoNamespace)
            QSKIP(child.standardError.isEmpty() ? "no namespace of processes" : child.standardError.constData());
        QVERIFY2(child.exitCode != BystanderKilled, "another process was killed");
        QVERIFY2(child.exitCode == Fine, child.standardError.constData());
    }

    void plainProcessesAreFound_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<bool>("isPlain");
        QTest::newRow("on the stack") << QStringLiteral("int a;\n    QProcess process;\nint b;\n") << true;
        QTest::newRow("on the heap") << QStringLiteral("auto *p = new QProcess(parent);") << true;
        QTest::newRow("in a pointer") << QStringLiteral("std::make_unique<QProcess>()") << true;
        QTest::newRow("member") << QStringLiteral("    QProcess mProcess;") << true;
        QTest::newRow("temporary") << QStringLiteral("QProcess().start(x);") << true;
        QTest::newRow("Qt's own") << QStringLiteral("return QProcess::execute(program);") << true;
        QTest::newRow("value of an enumeration") << QStringLiteral("QProcess::NormalExit") << false;
        QTest::newRow("reference") << QStringLiteral("bool wait(QProcess &process);") << false;
        QTest::newRow("comment") << QStringLiteral("int a; // as a QProcess does") << false;
        QTest::newRow("another name") << QStringLiteral("QProcessEnvironment environment;") << false;
    }
    void plainProcessesAreFound()
    {
        QFETCH(QString, source);
        QFETCH(bool, isPlain);

        QCOMPARE(!plainProcessIn(source).isEmpty(), isPlain);
    }

    void noSourceStartsAPlainProcess_data()
    {
        QTest::addColumn<QString>("folder");
        for (const char *const folder :
            {"apps", "examples", "simulation", "src", "study", "tests/bench", "tests/integration", "tests/network",
                "tests/qml", "tests/records", "tests/reports", "tests/support", "tests/tester", "tests/unit", "tools"})
            QTest::newRow(folder) << QStringLiteral(VANTOR_SOURCE_FOLDER "/") + QLatin1String(folder);
    }
    void noSourceStartsAPlainProcess()
    {
        QFETCH(QString, folder);
        int count = 0;

        QCOMPARE(lookedFor(folder, plainProcessIn, {QStringLiteral("ChildProcess.h")}, &count), QStringList());

        QVERIFY(count > 0);
    }

    void looseSignalsAreFound_data()
    {
        QTest::addColumn<QString>("source");
        QTest::addColumn<bool>("isLoose");
        QTest::newRow("what may be none") << QStringLiteral("    kill(child, SIGKILL);") << true;
        QTest::newRow("of the system") << QStringLiteral("if (::kill(child.toInt(), 0) != 0)") << true;
        QTest::newRow("itself") << QStringLiteral("::kill(getpid(), SIGKILL);") << false;
        QTest::newRow("parent") << QStringLiteral("return kill(getppid(), 0) == 0;") << false;
        QTest::newRow("only asked") << QStringLiteral("return kill(-1, 0) == 0;") << false;
        QTest::newRow("of a class") << QStringLiteral("process.kill(); other->kill(); kill();") << false;
        QTest::newRow("declared") << QStringLiteral("    void kill()") << false;
        QTest::newRow("another name") << QStringLiteral("tgkill(one, two, 9);") << false;
        QTest::newRow("comment") << QStringLiteral("int a; // as kill(child, 9)") << false;
    }
    void looseSignalsAreFound()
    {
        QFETCH(QString, source);
        QFETCH(bool, isLoose);

        QCOMPARE(!looseSignalIn(source).isEmpty(), isLoose);
    }

    void noTestSignalsWhatMayBeAllProcesses()
    {
        int count = 0;

        QCOMPARE(lookedFor(QStringLiteral(VANTOR_SOURCE_FOLDER "/tests"), looseSignalIn,
                     {QStringLiteral("OneProcess.h")}, &count),
            QStringList());

        QVERIFY(count > 0);
    }
};

QTEST_GUILESS_MAIN(ChildProcessTest)
#include "tst_childprocess.moc"
