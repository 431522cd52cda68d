// SPDX-License-Identifier: Apache-2.0
#include "OneProcess.h"
#include "ProgramRun.h"

#include <QElapsedTimer>
#include <QtTest>

#include <limits>
#include <unistd.h>

/// What the tests run programs with, and end processes.
class TestProgramRun : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void whatAProgramSaysAndReturnsComesBack()
    {
        const ProgramRun run =
            ProgramRun::of(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("echo a; echo b >&2; exit 3")});

        QCOMPARE(run.exitCode, 3);
        QCOMPARE(run.output, QByteArray("a\n"));
        QCOMPARE(run.errors, QByteArray("b\n"));
    }

    void itRunsInTheFolder()
    {
        QCOMPARE(ProgramRun::in(QStringLiteral("/"), QStringLiteral("pwd"), {}).output, QByteArray("/\n"));
    }

    void whatDoesNotStartHasNoExitCode()
    {
        const ProgramRun run = ProgramRun::of(QStringLiteral("/nowhere/program"), {});

        QCOMPARE(run.exitCode, -1);
        QVERIFY(!run.errors.isEmpty());
    }

    void whatIsKilledHasNoExitCode()
    {
        QCOMPARE(
            ProgramRun::of(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("kill -9 $$")}).exitCode, -1);
    }

    void whatHangsIsKilled()
    {
        QElapsedTimer timer;
        timer.start();

        const ProgramRun run = ProgramRun::of(
            QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("echo $$; exec sleep 1000")}, {}, 1000);

        QCOMPARE(run.exitCode, -1);
        QVERIFY(timer.elapsed() < ProgramRun::patience);
        QVERIFY(run.output.toInt() > 0);
        QVERIFY(!OneProcess::sendSignal(run.output.toInt(), 0));
    }

    void whatReadsGetsTheEnd() { QCOMPARE(ProgramRun::of(QStringLiteral("cat"), {}).exitCode, 0); }

    void aSignalIsForOneProcess_data()
    {
        QTest::addColumn<qint64>("process");
        QTest::newRow("the group of the test") << qint64(0);
        QTest::newRow("all processes") << qint64(-1);
        QTest::newRow("another group") << -qint64(getpgrp());
        QTest::newRow("the first process") << qint64(1);
        QTest::newRow("no number of a process") << (qint64(1) << 32U) + getpid();
        QTest::newRow("more than there can be") << std::numeric_limits<qint64>::max();
    }
    void aSignalIsForOneProcess()
    {
        QFETCH(const qint64, process);

        QVERIFY(!OneProcess::sendSignal(process, 0));
        QVERIFY(OneProcess::sendSignal(getpid(), 0));
    }
};

QTEST_GUILESS_MAIN(TestProgramRun)
#include "tst_programrun.moc"
