// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "ReportTools.h"

#include <QDir>
#include <QtTest>

using namespace Records;
using namespace Reports;

/// The archive as others unpack it.
class TestJobArchive : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void allThatThereIsIsInIt_data()
    {
        QTest::addColumn<int>("points");
        for (const int points : {0, 1, 12})
            QTest::addRow("%d points", points) << points;
    }
    void allThatThereIsIsInIt()
    {
        QFETCH(const int, points);
        ReportStore made(points);
        for (int i = 0; i < points; ++i)
            made.inspect(i, i % 2 == 0 ? QStringLiteral("pitted") : QStringLiteral("clean"));
        const JobReport report = made.report();
        ArchiveOptions options;
        options.csv.separator = QLatin1Char(';');

        const Written written = writeJobArchive(report, made.path(QStringLiteral("job.zip")), options);

        QCOMPARE(written.problem.text, QString());
        QVERIFY(written.isWhole());
        const QString folder = unpack(made);
        checkSums(folder, 3 + 2 * points);
        QCOMPARE(faultOfPdf(folder + QStringLiteral("/report.pdf")), QString());
        QCOMPARE(schemaViolation(fileContent(folder + QStringLiteral("/records.json"))), QString());
        QCOMPARE(recordOfPdf(folder + QStringLiteral("/report.pdf")).size(),
            fileContent(folder + QStringLiteral("/records.json")).size());
        const QByteArray table = fileContent(folder + QStringLiteral("/inspections.csv"));
        QVERIFY(table.startsWith(csvHeader(options.csv)));
        QCOMPARE(table.count('\n'), 1 + points);
        for (const StoredInspection &inspection : report.inspections) {
            const QString name = folder + QStringLiteral("/pictures/inspection-%1").arg(inspection.id);
            QCOMPARE(PictureStore::hashOf(fileContent(name + QStringLiteral(".jpg"))), inspection.picture);
            const QStringList annotated =
                QDir(folder + QStringLiteral("/pictures"))
                    .entryList({QStringLiteral("inspection-%1-annotated.*").arg(inspection.id)});
            QCOMPARE(annotated.size(), 1);
            QVERIFY(!annotated[0].endsWith(QLatin1String(".bin")));
        }
    }

    void picturesThatAreLostAreNamedInIt()
    {
        ReportStore made(3);
        const StoredInspection missing = made.inspection(made.inspect(0, QStringLiteral("pitted")));
        const StoredInspection damaged = made.inspection(made.inspect(1, QStringLiteral("scratched")));
        made.inspect(2, QStringLiteral("clean"));
        QVERIFY(QFile::remove(made.picturePath(missing.picture)));
        QFile file(made.picturePath(damaged.picture));
        QVERIFY(file.open(QIODevice::ReadWrite) && file.resize(file.size() / 2));

        const Written written = writeJobArchive(made.report(), made.path(QStringLiteral("job.zip")));

        QVERIFY(written.problem.ok());
        QCOMPARE(written.lostPictures.size(), 2);
        const QString folder = unpack(made);
        checkSums(folder, 3 + 4 + 1);
        QCOMPARE(fileContent(folder + QStringLiteral("/MISSING.txt")),
            "pictures/inspection-1  " + missing.picture + "  missing\npictures/inspection-2  " + damaged.picture
                + "  damaged\n");
        QVERIFY(!QFile::exists(folder + QStringLiteral("/pictures/inspection-2.jpg")));
        const QList<QByteArray> rows = fileContent(folder + QStringLiteral("/inspections.csv")).split('\n');
        QVERIFY2(rows.value(1).contains(",the picture is missing,"), rows.value(1));
        QVERIFY2(rows.value(2).contains(",the picture is damaged,"), rows.value(2));
        QVERIFY2(!rows.value(3).contains("the picture"), rows.value(3));
    }

    void whatCannotBeReadIsNamedInIt()
    {
        ReportStore made(2);
        made.inspect(0, QStringLiteral("clean"));
        const Id damaged = made.inspect(1, QStringLiteral("pitted"));
        made.run(QStringLiteral("UPDATE defect SET shape = x'00'"));
        JobReport report = made.report();
        QCOMPARE(report.unreadable, QVector<Id>{damaged});
        made.store.close();

        const Written written = writeJobArchive(report, made.path(QStringLiteral("job.zip")));

        QCOMPARE(written.lostPictures.size(), 2);
        const QByteArray missing = fileContent(unpack(made) + QStringLiteral("/MISSING.txt"));
        QVERIFY2(missing.startsWith("inspection-2  the record cannot be read\n"), missing);
        QCOMPARE(missing.count("  cannot be read\n"), 2); // the pictures of the other
    }

    void aFullDiskLeavesWhatWasThere()
    {
        ReportStore made(12);
        for (int i = 0; i < 12; ++i)
            made.inspect(i, QStringLiteral("pitted"));
        const QString folder = made.path(QStringLiteral("stick"));
        const QString path = folder + QStringLiteral("/job.zip");
        QVERIFY(QDir().mkpath(folder));
        Written written;
        QByteArray left;
        QStringList files;

        const bool hasRun = Faults::withSmallDisk(folder, 512, [&] {
            QFile former(path);
            former.open(QIODevice::WriteOnly);
            former.write("former");
            former.close();
            RecordStore store;
            store.open(made.folder(), RecordStore::Mode::ReadOnly);
            written = writeJobArchive(JobReport::gather(store, made.job).value, path);
            left = fileContent(path);
            files = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        });

        QVERIFY(hasRun);
        QCOMPARE(written.problem.fault, Fault::DiskFull);
        QCOMPARE(written.problem.text, QStringLiteral("Cannot write %1: No space left on device").arg(path));
        QCOMPARE(left, QByteArray("former"));
        QCOMPARE(files, QStringList{QStringLiteral("job.zip")});
    }

    void whatIsStoppedLeavesNothing()
    {
        ReportStore made(4);
        for (int i = 0; i < 4; ++i)
            made.inspect(i, QStringLiteral("clean"));
        const QString folder = made.path(QStringLiteral("archives"));
        QVERIFY(QDir().mkpath(folder));
        ArchiveOptions options;
        options.report.goesOn = [](int, int all) { return all != 4; }; // files; there are more pages

        const Written written = writeJobArchive(made.report(), folder + QStringLiteral("/job.zip"), options);

        QCOMPARE(written.problem.fault, Fault::Stopped);
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList());
    }

private:
    static QString unpack(const ReportStore &made)
    {
        const QString zip = made.path(QStringLiteral("job.zip"));
        const QString folder = made.path(QStringLiteral("unpacked"));
        const Ran tested = runProgram(QStringLiteral("unzip"), {QStringLiteral("-t"), zip});
        if (tested.exitCode != 0)
            qFatal("%s", tested.output.constData());
        runProgram(QStringLiteral("unzip"), {QStringLiteral("-q"), zip, QStringLiteral("-d"), folder});
        return folder;
    }

    static void checkSums(const QString &folder, int files)
    {
        const Ran sums = runProgram(QStringLiteral("sha256sum"),
            {QStringLiteral("--strict"), QStringLiteral("-c"), QStringLiteral("SHA256SUMS")}, folder);
        QVERIFY2(sums.exitCode == 0, sums.output + sums.errors);
        QCOMPARE(sums.output.count(": OK\n"), files);
    }
};

QTEST_MAIN(TestJobArchive)
#include "tst_jobarchive.moc"
