// SPDX-License-Identifier: Apache-2.0
// What all programs have in common, whatever they are for.
#include "Internal/ChildProcess.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryFile>
#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace {
constexpr int wrongUsage = 64;
constexpr int notWritten = 74;
constexpr int stoppedBySignal = 128;

const QStringList programs = QStringLiteral(VANTOR_PROGRAMS).split(QLatin1Char('|'));

QString nameOf(const QString &program)
{
    return program.section(QLatin1Char('/'), -1);
}

struct Outcome
{
    int exitCode = -1;
    QByteArray output;
    QByteArray messages;
};

/// A program whose stdout is what the test says; -1: closed.
class Process : public ChildProcess
{
public:
    explicit Process(std::optional<int> output = {})
        : mOutput(output)
    {
    }

protected:
    void setupChildProcess() override
    {
        if (mOutput == -1)
            ::close(STDOUT_FILENO);
        else if (mOutput)
            dup2(*mOutput, STDOUT_FILENO);
    }

private:
    const std::optional<int> mOutput;
};

Outcome run(const QString &program, const QStringList &arguments, std::optional<int> output = {})
{
    Process process(output);
    process.start(program, arguments);
    process.closeWriteChannel();
    if (!process.waitForFinished() || process.exitStatus() != QProcess::NormalExit)
        return {};
    return {process.exitCode(), process.readAllStandardOutput(), process.readAllStandardError()};
}

/// The codes that the table of the page gives a meaning for this program: its column holds more than a dash.
QStringList documentedCodes(const QString &name)
{
    QFile page(QStringLiteral(VANTOR_EXIT_CODES));
    if (!page.open(QIODevice::ReadOnly))
        return {};
    QStringList codes;
    int column = -1;
    const QStringList lines = QString::fromUtf8(page.readAll()).split(QLatin1Char('\n'));
    for (const QString &line : lines) {
        const QStringList cells = line.split(QLatin1Char('|'));
        if (column < 0) {
            for (int i = 0; i < cells.size(); ++i)
                column = cells[i].trimmed() == QLatin1Char('`') + name + QLatin1Char('`') ? i : column;
            continue;
        }
        bool isCode = false;
        cells.value(1).trimmed().toInt(&isCode);
        if (isCode && cells.value(column).trimmed().size() > 1)
            codes << cells.value(1).trimmed();
    }
    return codes;
}

/// Those that are no signal's.
QStringList codesOfHelp(const QByteArray &help)
{
    const QString sentence =
        QString::fromUtf8(help).section(QLatin1String("Exit code:"), 1).section(QLatin1Char('.'), 0, 0);
    static const QRegularExpression code(QStringLiteral("(?:^|,)\\s+(\\d{1,2})(?=\\s)"));
    QStringList codes;
    for (auto match = code.globalMatch(sentence); match.hasNext();)
        codes << match.next().captured(1);
    return codes;
}
} // namespace

class TestPrograms : public QObject
{
    Q_OBJECT

private:
    static void programRows()
    {
        QTest::addColumn<QString>("program");
        for (const QString &program : programs)
            QTest::newRow(qPrintable(nameOf(program))) << program;
    }

private Q_SLOTS:
    void theVersionIsOneLine_data() { programRows(); }

    void theVersionIsOneLine()
    {
        QFETCH(const QString, program);

        const Outcome outcome = run(program, {QStringLiteral("--version")});

        QCOMPARE(outcome.exitCode, 0);
        QCOMPARE(outcome.output, nameOf(program).toUtf8() + " " VANTOR_VERSION "\n");
        QCOMPARE(outcome.messages, QByteArray());
    }

    void theHelpTellsTheExitCodes_data() { programRows(); }

    void theHelpTellsTheExitCodes()
    {
        QFETCH(const QString, program);

        const Outcome help = run(program, {QStringLiteral("--help")});

        QCOMPARE(help.exitCode, 0);
        QCOMPARE(run(program, {QStringLiteral("-h")}).output, help.output);
        QVERIFY(help.output.startsWith("Usage: "));
        QCOMPARE(help.messages, QByteArray());
        QVERIFY(codesOfHelp(help.output).size() >= 3);
        QCOMPARE(codesOfHelp(help.output), documentedCodes(nameOf(program)));
    }

    void whatIsWrongWithTheUsageIsOneLine_data() { programRows(); }

    void whatIsWrongWithTheUsageIsOneLine()
    {
        QFETCH(const QString, program);

        const Outcome outcome = run(program, {QStringLiteral("--nonsense")});

        QCOMPARE(outcome.exitCode, wrongUsage);
        QCOMPARE(outcome.output, QByteArray());
        QVERIFY(outcome.messages.startsWith(nameOf(program).toUtf8() + ": "));
        QVERIFY(outcome.messages.contains("nonsense"));
        QCOMPARE(outcome.messages.count('\n'), 1);
    }

    void anOutputThatIsClosedIsToldOf_data() { programRows(); }

    void anOutputThatIsClosedIsToldOf()
    {
        QFETCH(const QString, program);

        const Outcome outcome = run(program, {QStringLiteral("--help")}, -1);

        QCOMPARE(outcome.exitCode, notWritten);
        QCOMPARE(outcome.messages, nameOf(program).toUtf8() + ": cannot write to stdout: Bad file descriptor\n");
    }

    void aFullDiskIsToldOf_data() { programRows(); }

    void aFullDiskIsToldOf()
    {
        QFETCH(const QString, program);
        const int full = open("/dev/full", O_WRONLY | O_CLOEXEC);
        QVERIFY(full >= 0);

        const Outcome outcome = run(program, {QStringLiteral("--help")}, full);
        close(full);

        QCOMPARE(outcome.exitCode, notWritten);
        QCOMPARE(outcome.messages, nameOf(program).toUtf8() + ": cannot write to stdout: No space left on device\n");
    }

    void aFileThatMayNotGrowIsToldOf_data() { programRows(); }

    void aFileThatMayNotGrowIsToldOf()
    {
        QFETCH(const QString, program);
        QTemporaryFile file;
        QVERIFY(file.open());

        const Outcome outcome = run(QStringLiteral("prlimit"),
            {QStringLiteral("--fsize=10"), program, QStringLiteral("--help")}, file.handle());

        QCOMPARE(outcome.exitCode, notWritten);
        QCOMPARE(outcome.messages, nameOf(program).toUtf8() + ": cannot write to stdout: File too large\n");
        QCOMPARE(file.size(), qint64(10));
    }

    // As in "vantor-names A1 Z9 | head -1".
    void aReaderThatIsGoneEndsItInSilence_data() { programRows(); }

    void aReaderThatIsGoneEndsItInSilence()
    {
        QFETCH(const QString, program);
        int ends[2] = {-1, -1};
        QVERIFY(pipe2(ends, O_CLOEXEC) == 0);
        close(ends[0]);

        const Outcome outcome = run(program, {QStringLiteral("--help")}, ends[1]);
        close(ends[1]);

        QCOMPARE(outcome.exitCode, stoppedBySignal + SIGPIPE);
        QCOMPARE(outcome.messages, QByteArray());
    }
};

QTEST_GUILESS_MAIN(TestPrograms)
#include "tst_programs.moc"
