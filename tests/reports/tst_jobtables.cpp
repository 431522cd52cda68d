// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "ReportTools.h"
#include "Reports/JobTables.h"

#include <QDir>
#include <QtTest>

using namespace Records;
using namespace Reports;

using Writer = Written (*)(const JobReport &report, const QString &path, const TableOptions &options);
Q_DECLARE_METATYPE(Writer)

/// Table and record as files of their own.
class TestJobTables : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theyAreThoseOfTheArchive()
    {
        ReportStore made(3);
        made.inspect(0, QStringLiteral("pitted"));
        made.inspect(0, QStringLiteral("clean"));
        made.inspectNothing(2);
        const JobReport report = made.report();
        TableOptions options;
        options.csv.separator = QLatin1Char(';');
        options.csv.hasDecimalComma = true;
        ArchiveOptions archive;
        archive.csv = options.csv;
        QVERIFY(writeJobArchive(report, made.path(QStringLiteral("job.zip")), archive).isWhole());

        const Written table = writeJobTable(report, made.path(QStringLiteral("job.csv")), options);
        const Written record = writeJobRecord(report, made.path(QStringLiteral("job.json")), options);

        QCOMPARE(table.problem.text, QString());
        QCOMPARE(record.problem.text, QString());
        QCOMPARE(fileContent(made.path(QStringLiteral("job.csv"))), packed(made, "inspections.csv"));
        const QByteArray json = fileContent(made.path(QStringLiteral("job.json")));
        QCOMPARE(schemaViolation(json), QString());
        QCOMPARE(json.size(), packed(made, "records.json").size()); // it tells when it was exported
    }

    void everyInspectionHasALine()
    {
        ReportStore made(2);
        const JobReport none = made.report();
        made.inspect(0, QStringLiteral("pitted"));
        made.inspect(1, QStringLiteral("clean"));

        writeJobTable(none, made.path(QStringLiteral("none.csv")));
        writeJobTable(made.report(), made.path(QStringLiteral("two.csv")));

        QCOMPARE(fileContent(made.path(QStringLiteral("none.csv"))), csvHeader({}));
        QCOMPARE(fileContent(made.path(QStringLiteral("two.csv"))).count('\n'), 3);
    }

    void nothingIsLeft_data()
    {
        QTest::addColumn<Writer>("write");
        QTest::newRow("table") << Writer(&writeJobTable);
        QTest::newRow("record") << Writer(&writeJobRecord);
    }
    void nothingIsLeft()
    {
        QFETCH(const Writer, write);
        ReportStore made(12);
        for (int i = 0; i < 12; ++i)
            made.inspect(i, QStringLiteral("pitted"));
        const JobReport report = made.report();
        const QString folder = made.path(QStringLiteral("stick"));
        QVERIFY(QDir().mkpath(folder));
        const auto filesIn = [&folder] { return QDir(folder).entryList(QDir::Files | QDir::Hidden); };
        const QString path = folder + QStringLiteral("/job");
        TableOptions options;
        options.goesOn = [](int done, int) { return done < 1; };

        const Written stopped = write(report, path, options);
        const QStringList afterStop = filesIn();
        const Written ungathered = write({}, path, {});
        const QStringList afterNothing = filesIn();
        Written full;
        QStringList afterFull;
        const bool hasRun = Faults::withSmallDisk(folder, 4, [&] {
            full = write(report, path, {});
            afterFull = filesIn();
        });

        QCOMPARE(stopped.problem.fault, Fault::Stopped);
        QCOMPARE(afterStop, QStringList());
        QCOMPARE(ungathered.problem.fault, Fault::Invalid);
        QCOMPARE(afterNothing, QStringList());
        QVERIFY(hasRun);
        QCOMPARE(full.problem.fault, Fault::DiskFull);
        QCOMPARE(afterFull, QStringList());
    }

private:
    static QByteArray packed(const ReportStore &made, const char *name)
    {
        return runProgram(QStringLiteral("unzip"),
            {QStringLiteral("-p"), made.path(QStringLiteral("job.zip")), QString::fromLatin1(name)})
            .output;
    }
};

QTEST_MAIN(TestJobTables)
#include "tst_jobtables.moc"
