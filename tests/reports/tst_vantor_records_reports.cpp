// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "ReportTools.h"

#include <QDir>
#include <QtTest>

using namespace Records;

namespace {
enum ExitCode : int { Done = 0, NotPassed = 1, NotAnswered = 2, WrongUsage = 64, NotWritten = 74 };

Ran runTool(const ReportStore &made, const QStringList &arguments, const QStringList &environment = {})
{
    return runProgram(QStringLiteral(VANTOR_RECORDS_PROGRAM),
        QStringList{QStringLiteral("export"), QStringLiteral("--store"), made.folder()} + arguments, made.path({}),
        environment);
}
} // namespace

/// The program as its users meet it.
class TestVantorRecordsReports : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theReportOfAJobIsWritten_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("language"); // of the user
        QTest::addColumn<QString>("title");
        const QString english = QStringLiteral("Fibre inspection report");
        const QString german = QStringLiteral("Bericht über die Faserprüfung");
        const QString option = QStringLiteral("--language");
        QTest::newRow("the only job") << QStringList() << "C.UTF-8" << english;
        QTest::newRow("by name") << QStringList{QStringLiteral("--job"), QStringLiteral("Panel 7")} << "C.UTF-8"
                                 << english;
        QTest::newRow("by number") << QStringList{QStringLiteral("--job-id=1")} << "C.UTF-8" << english;
        QTest::newRow("German") << QStringList{option, QStringLiteral("de")} << "C.UTF-8" << german;
        QTest::newRow("of a German user") << QStringList() << "de_DE.UTF-8" << german;
        QTest::newRow("English for a German user")
            << QStringList{option, QStringLiteral("en")} << "de_DE.UTF-8" << english;
    }
    void theReportOfAJobIsWritten()
    {
        QFETCH(const QStringList, arguments);
        QFETCH(const QString, language);
        QFETCH(const QString, title);
        ReportStore made(2);
        made.inspect(0, QStringLiteral("pitted"));
        const QString path = made.path(QStringLiteral("report.pdf"));

        const Ran ran = runTool(made, arguments + QStringList{QStringLiteral("--pdf"), path},
            {QStringLiteral("LC_ALL=") + language, QStringLiteral("LANGUAGE="), QStringLiteral("XDG_RUNTIME_DIR=")});

        QCOMPARE(ran.errors, QByteArray());
        QCOMPARE(ran.exitCode, int(Done));
        QCOMPARE(ran.output, QByteArray());
        QVERIFY(textOfPdf(path, 1).startsWith(title));
        QCOMPARE(faultOfPdf(path), QString());
    }

    void theArchiveOfAJobIsWritten()
    {
        ReportStore made(2);
        made.inspect(0, QStringLiteral("pitted"));

        const Ran ran =
            runTool(made, {QStringLiteral("--zip"), QStringLiteral("job.zip"), QStringLiteral("--separator=;")});

        QCOMPARE(ran.errors, QByteArray());
        QCOMPARE(ran.exitCode, int(Done));
        const QString zip = made.path(QStringLiteral("job.zip"));
        QCOMPARE(runProgram(QStringLiteral("unzip"), {QStringLiteral("-tq"), zip}).exitCode, 0);
        const Ran table =
            runProgram(QStringLiteral("unzip"), {QStringLiteral("-p"), zip, QStringLiteral("inspections.csv")});
        QVERIFY(table.output.contains(";P0001;"));
    }

    void whatIsLostIsInTheExitCode()
    {
        ReportStore made(6);
        QVector<StoredInspection> all;
        for (int i = 0; i < 6; ++i) {
            all.append(made.inspection(made.inspect(i, QStringLiteral("clean"))));
            QVERIFY(QFile::remove(made.picturePath(all[i].picture)));
        }
        made.run(QStringLiteral("UPDATE inspection SET verdict = 2 WHERE id = 3"));
        made.run(QStringLiteral("UPDATE inspection SET picture = NULL WHERE id = 4"));

        const Ran ran = runTool(made, {QStringLiteral("--pdf"), QStringLiteral("report.pdf")});

        QCOMPARE(ran.exitCode, int(NotAnswered));
        const QList<QByteArray> lines = ran.errors.split('\n');
        QCOMPARE(lines.size(), 4 + 1 + 2 + 1);
        QCOMPARE(lines[0], "vantor-records: the picture " + all[0].picture + " of inspection 1 is missing");
        QCOMPARE(lines[4], QByteArray("vantor-records: and 1 more pictures"));
        QCOMPARE(lines[5],
            QByteArray("vantor-records: inspection 3 contradicts itself: the verdict is not that of its rules"));
        QCOMPARE(
            lines[6], QByteArray("vantor-records: inspection 4 contradicts itself: the verdict is without a picture"));
        QCOMPARE(faultOfPdf(made.path(QStringLiteral("report.pdf"))), QString());
    }

    void whatCannotBeDoneIsTold_data()
    {
        QTest::addColumn<QString>("arguments");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *arguments, int exitCode, const char *message) {
            QTest::newRow(arguments) << QString::fromLatin1(arguments) << exitCode << QString::fromLatin1(message);
        };
        row("--pdf a.pdf", WrongUsage, "there are several jobs; choose one with --job or --job-id");
        row("--pdf a.pdf --job Nowhere", NotPassed, "there is no job \"Nowhere\"");
        row("--pdf a.pdf --job-id 77", NotPassed, "there is no job 77");
        row("--pdf a.pdf --zip a.zip", WrongUsage, "export needs one of --csv, --json, --pdf and --zip");
        row("--pdf a.pdf --verdict failed", WrongUsage, "--verdict does not go with --pdf and --zip");
        row("--pdf a.pdf --output b.pdf", WrongUsage, "--output does not go with --pdf and --zip");
        row("--pdf a.pdf --separator ;", WrongUsage, "--separator goes with --csv and --zip");
        row("--json --language de", WrongUsage, "--language goes with --pdf and --zip");
        row("--pdf=", WrongUsage, "--pdf");
        row("--pdf a.pdf --language fr", WrongUsage, "en or de");
        row("--pdf store/a.pdf --job-id 1", NotWritten, "cannot write store/a.pdf: it lies in the store");
        row("--zip store/a.zip --job-id 1", NotWritten, "cannot write store/a.zip: it lies in the store");
        row("--pdf /dev/full --job-id 1", NotWritten, "cannot write /dev/full: it is not a file");
        row("--pdf nowhere/a.pdf --job-id 1", NotWritten, "cannot write nowhere/a.pdf: No such file or directory");
    }
    void whatCannotBeDoneIsTold()
    {
        QFETCH(const QString, arguments);
        QFETCH(const int, exitCode);
        QFETCH(const QString, message);
        ReportStore made(1);
        QVERIFY(made.store.addJob(ReportStore::namedJob()).ok());

        const Ran ran = runTool(made, arguments.split(QLatin1Char(' ')));

        QCOMPARE(ran.exitCode, exitCode);
        QVERIFY2(ran.errors.contains(message.toUtf8()), ran.errors);
        QCOMPARE(ran.errors.count('\n'), 1);
        QVERIFY(!QFile::exists(made.path(QStringLiteral("a.pdf"))));
    }

    void aFullDiskIsTold()
    {
        ReportStore made(1);
        made.inspect(0, QStringLiteral("pitted"));
        const QString folder = made.path(QStringLiteral("stick"));
        QVERIFY(QDir().mkpath(folder));
        Ran ran;
        QStringList files;

        const bool hasRun = Faults::withSmallDisk(folder, 16, [&] {
            ran = runTool(made, {QStringLiteral("--pdf"), folder + QStringLiteral("/a.pdf")});
            files = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        });

        QVERIFY(hasRun);
        QCOMPARE(ran.exitCode, int(NotWritten));
        QCOMPARE(ran.errors,
            QStringLiteral("vantor-records: cannot write %1/a.pdf: No space left on device\n").arg(folder).toUtf8());
        QCOMPARE(files, QStringList());
    }

    void aJobMayBeCalledLikeAnOptionOfTheSystem()
    {
        Job job = ReportStore::namedJob();
        job.name = QStringLiteral("-platform");
        const ReportStore made(1, job);

        const Ran ran =
            runTool(made, {QStringLiteral("--job=-platform"), QStringLiteral("--pdf"), QStringLiteral("a.pdf")});

        QCOMPARE(ran.errors, QByteArray());
        QCOMPARE(ran.exitCode, int(Done));
    }
};

QTEST_MAIN(TestVantorRecordsReports)
#include "tst_vantor_records_reports.moc"
