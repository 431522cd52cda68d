// SPDX-License-Identifier: Apache-2.0
#include "ReportTools.h"

#include <QtTest>

using namespace Records;
using namespace Reports;

/// What is gathered, of stores as they are and as they should not be.
class TestJobReport : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void thePointsAreCountedAsTheStoreCountsThem()
    {
        ReportStore made(8);
        made.inspect(0, QStringLiteral("clean"));
        made.inspect(1, QStringLiteral("scratched"));
        const Id accepted = made.inspect(2, QStringLiteral("pitted"));
        QVERIFY(made.store.setDecision(accepted, Decision::Accepted, QStringLiteral("spare")).ok());
        const Id toRepeat = made.inspect(3, QStringLiteral("dirty"));
        QVERIFY(made.store.setDecision(toRepeat, Decision::ToRepeat, {}).ok());
        made.inspectNothing(4);
        made.inspect(5, QStringLiteral("dirty"));
        made.inspect(5, QStringLiteral("clean"));

        const JobReport report = made.report();

        const ReportCounts counts = report.counts();
        const JobProgress progress = made.store.progress(made.job).value;
        QCOMPARE(counts.points, 8);
        QCOMPARE(counts.passed, progress.passed);
        QCOMPARE(counts.passed, 2);
        QCOMPARE(counts.failed, progress.failed);
        QCOMPARE(counts.failed, 1);
        QCOMPARE(counts.accepted, progress.accepted);
        QCOMPARE(counts.accepted, 1);
        QCOMPARE(counts.open, progress.open);
        QCOMPARE(counts.open, 3);
        QCOMPARE(counts.withoutVerdict, progress.withoutVerdict);
        QCOMPARE(counts.withoutVerdict, 1);
        QCOMPARE(counts.doubtful, 0);
        QVERIFY(!counts.allPassed());
        QCOMPARE(report.passRate().value_or(-1), 0.5); // two of four; the accepted one has failed
        QCOMPARE(report.inspections.size(), 7);
        QVERIFY(report.isSound());
        QCOMPARE(report.statistics.sizes, made.store.statistics(made.job, report.sizeEdges).value.sizes);
        QCOMPARE(report.lastOf(report.points[5])->verdict, Verdict::Passed);
        QVERIFY(report.lastOf(report.points[7]) == nullptr);
        QCOMPARE(schemaViolation(report.toJson()), QString());
    }

    void aVerdictThatContradictsItsRulesHasNotPassed_data()
    {
        QTest::addColumn<QString>("sample");
        QTest::addColumn<QString>("statement");
        const auto row = [](const char *name, const char *sample, const char *statement) {
            QTest::newRow(name) << QString::fromLatin1(sample) << QString::fromLatin1(statement);
        };
        row("failed turned into passed", "scratched", "UPDATE inspection SET verdict = 1");
        row("passed turned into failed", "clean", "UPDATE inspection SET verdict = 2");
        row("passed without rules", "clean", "DELETE FROM rule WHERE zone = 0");
        row("violations gone", "scratched", "UPDATE zone SET violations = 0");
        row("rule no longer violated", "scratched", "UPDATE rule SET violated = 0");
        row("found less", "scratched", "UPDATE rule SET found = 0");
        row("allowed more", "scratched", "UPDATE rule SET allowed = 100");
        row("defects gone", "scratched", "DELETE FROM defect");
        row("defects shrunk", "pitted", "UPDATE defect SET size = 0.5");
        row("passed, violations and all", "scratched",
            "UPDATE inspection SET verdict = 1; UPDATE zone SET violations = 0");
        row("no picture", "clean", "UPDATE inspection SET picture = NULL, annotated = NULL, seed = NULL");
        row("nothing fails", "scratched", "UPDATE defect SET fails = 0");
        row("no scale", "clean", "UPDATE inspection SET microns_per_pixel = 0");
        row("smaller zones", "clean", "UPDATE zone SET outer_diameter = 1");
        row("without the rules that are violated", "scratched",
            "UPDATE inspection SET verdict = 1; UPDATE zone SET violations = 0; UPDATE defect SET fails = 0; "
            "DELETE FROM rule WHERE violated = 1");
        row("another standard", "clean", "UPDATE inspection SET standard = 4");
    }
    void aVerdictThatContradictsItsRulesHasNotPassed()
    {
        QFETCH(const QString, sample);
        QFETCH(const QString, statement);
        ReportStore made(2);
        const Id id = made.inspect(0, sample);
        QVERIFY(made.report().isSound());

        const QStringList statements = statement.split(QLatin1Char(';'));
        for (const QString &one : statements)
            made.run(one);
        const JobReport report = made.report();

        QCOMPARE(report.contradictions, QVector<Id>{id});
        QCOMPARE(report.points[0].state, ReportState::Doubtful);
        QCOMPARE(report.counts().passed, 0);
        QVERIFY(!report.isSound());
        QVERIFY(!report.passRate());
    }

    void aRecordThatCannotBeReadHasNotPassed()
    {
        ReportStore made(2);
        made.inspect(0, QStringLiteral("clean"));
        const Id id = made.inspect(1, QStringLiteral("pitted"));
        made.run(QStringLiteral("UPDATE defect SET shape = x'00'"));

        const JobReport report = made.report();

        QCOMPARE(report.unreadable, QVector<Id>{id});
        QCOMPARE(report.points[0].state, ReportState::Passed);
        QCOMPARE(report.points[1].state, ReportState::Doubtful);
        QCOMPARE(report.points[1].inspection, -1);
        QVERIFY(!report.isSound());
        QCOMPARE(schemaViolation(report.toJson()), QString());
        QVERIFY(report.toJson().contains("\"unreadable\":[2]"));
    }

    void picturesThatAreLostAreNamed()
    {
        ReportStore made(3);
        const StoredInspection missing = made.inspection(made.inspect(0, QStringLiteral("pitted")));
        const StoredInspection damaged = made.inspection(made.inspect(1, QStringLiteral("scratched")));
        made.inspect(2, QStringLiteral("clean"));
        QVERIFY(QFile::remove(made.picturePath(missing.picture)));
        QFile file(made.picturePath(damaged.annotatedPicture));
        QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(file.size() / 2));

        const JobReport report = made.report();

        QCOMPARE(report.pictureFaults.size(), 2);
        QCOMPARE(report.pictureFaults[0].inspection, missing.id);
        QCOMPARE(report.pictureFaults[0].fault, Fault::PictureMissing);
        QCOMPARE(report.pictureFaults[1].inspection, damaged.id);
        QCOMPARE(report.pictureFaults[1].fault, Fault::PictureDamaged);
        QVERIFY(!report.isSound());
        QCOMPARE(report.counts().failed, 2);
        const QByteArray json = report.toJson();
        QCOMPARE(schemaViolation(json), QString());
        QCOMPARE(json.count("\"doubt\":\"the picture is missing\""), 1);
        QCOMPARE(json.count("\"state\":\"missing\""), 1);
        QCOMPARE(json.count("\"state\":\"damaged\""), 1);
        QCOMPARE(json.count("\"state\":\"whole\""), 4);
    }

    void aJobBeyondTheLimitsIsRefused()
    {
        const ReportStore most(JobReport::maxPoints);
        QCOMPARE(most.report().points.size(), JobReport::maxPoints);
        const ReportStore more(JobReport::maxPoints + 1);

        const auto report = JobReport::gather(more.store, more.job);

        QCOMPARE(report.problem.fault, Fault::TooLarge);
        QCOMPARE(report.problem.text, QStringLiteral("The job has more than 2000 points"));
    }

    void moreOfAnythingThanTheLimitsIsRefused_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("text");
        QTest::newRow("inspections") << QStringLiteral(
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
            "INSERT INTO inspection SELECT i + 1000, randomblob(16), %1 FROM n, inspection")
                                     << QStringLiteral("The job has more than 20000 inspections");
        QTest::newRow("rules") << QStringLiteral(
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) "
            "INSERT INTO inspection SELECT i + 1000, randomblob(16), %1 FROM n, inspection;"
            "INSERT INTO zone SELECT id, zone, 1, 2, 0 FROM (SELECT DISTINCT id, 0 AS zone FROM inspection "
            "WHERE id > 1000);"
            "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 250) "
            "INSERT INTO rule SELECT id, 0, i, 0, 0, 0, 0, 0, 0, 0 FROM inspection, n WHERE id > 1000")
                               << QStringLiteral("The job has more than 1000000 rules");
    }
    void moreOfAnythingThanTheLimitsIsRefused()
    {
        QFETCH(const QString, statement);
        QFETCH(const QString, text);
        ReportStore made(1);
        made.inspect(0, QStringLiteral("clean"));
        OwnConnection connection(made.folder());
        const QStringList columns =
            connection.run(QStringLiteral("SELECT name FROM pragma_table_info('inspection')")).mid(2);
        const QStringList statements = statement.split(QLatin1Char(';'));
        for (const QString &one : statements)
            QCOMPARE(connection.run(QString(one).replace(QLatin1String("%1"),
                         QStringLiteral("inspection.") + columns.join(QStringLiteral(", inspection.")))),
                QStringList());

        const auto report = JobReport::gather(made.store, made.job);

        QCOMPARE(report.problem.fault, Fault::TooLarge);
        QCOMPARE(report.problem.text, text);
    }

    void aJobThatIsNotThereIsNotFound()
    {
        const ReportStore made(1);
        QCOMPARE(JobReport::gather(made.store, 77).problem.fault, Fault::NotFound);
    }

    void whatIsStoppedHasNoReport()
    {
        ReportStore made(2);
        made.inspect(0, QStringLiteral("clean"));

        const auto report = JobReport::gather(made.store, made.job, [](int, int) { return false; });

        QCOMPARE(report.problem.fault, Fault::Stopped);
        QVERIFY(report.value.points.isEmpty());
    }

    void whoWritesMeanwhileIsWaitedFor_data()
    {
        QTest::addColumn<int>("times");
        QTest::addColumn<Fault>("fault");
        QTest::newRow("once") << 1 << Fault::None;
        QTest::newRow("again and again") << 100 << Fault::Busy;
    }
    void whoWritesMeanwhileIsWaitedFor()
    {
        QFETCH(int, times);
        QFETCH(const Fault, fault);
        ReportStore made(2);
        made.inspect(0, QStringLiteral("clean"));
        RecordStore other; // of the same process, as another thread has it
        QVERIFY(other.open(made.folder()).canWrite());
        const Face &face = Face::of(QStringLiteral("scratched"));

        const auto report = JobReport::gather(made.store, made.job,
            [&](int done, int) { return done > 0 || times-- <= 0 || face.addTo(other, made.points[0].id).ok(); });

        QCOMPARE(report.problem.fault, fault);
        if (fault == Fault::None) {
            QCOMPARE(report.value.points[0].state, ReportState::Failed);
            QCOMPARE(report.value.inspections.size(), 2);
        }
    }
};

QTEST_MAIN(TestJobReport)
#include "tst_jobreport.moc"
