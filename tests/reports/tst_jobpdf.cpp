// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "ReportTools.h"
#include "Reports/JobArchive.h"

#include <QBuffer>
#include <QDir>
#include <QXmlStreamReader>
#include <QtTest>

#include <new>
#include <sys/mount.h>

using namespace Records;
using namespace Reports;

namespace {
/// Each third one fails, each fifth one is left open.
void inspectSome(ReportStore *made, int most)
{
    for (int i = 0; i < made->points.size() && i < most; ++i) {
        if (i % 5 != 4)
            made->inspect(i, i % 3 == 1 ? QStringLiteral("pitted") : QStringLiteral("clean"));
    }
}

/// The figure as docs/accuracy.md writes it.
QString figureOf(const char *name)
{
    const QString page = QString::fromUtf8(fileContent(QStringLiteral(VANTOR_ACCURACY_PAGE)));
    return page.section(QStringLiteral("<!-- value: %1 -->").arg(QLatin1String(name)), 1)
        .section(QStringLiteral("<!-- end -->"), 0, 0);
}
} // namespace

/// The PDF as others read it.
class TestJobPdf : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aReportIsASoundDocument_data()
    {
        QTest::addColumn<int>("points");
        QTest::addColumn<Language>("language");
        for (const int points : {0, 1, 12, 144, 2000}) {
            QTest::addRow("%d points, English", points) << points << Language::English;
            QTest::addRow("%d points, German", points) << points << Language::German;
        }
    }
    void aReportIsASoundDocument()
    {
        QFETCH(const int, points);
        QFETCH(const Language, language);
        ReportStore made(points);
        inspectSome(&made, 150);
        const JobReport report = made.report();
        const QString path = made.path(QStringLiteral("report.pdf"));
        ReportOptions options;
        options.language = language;

        const Written written = writeJobPdf(report, path, options);

        QCOMPARE(written.problem.text, QString());
        QVERIFY(written.isWhole());
        QCOMPARE(faultOfPdf(path), QString());
        QCOMPARE(textsBeyondPages(path), QString());
        checkPageNumbers(path, language);
        const QString text = textOfPdf(path);
        QVERIFY(text.contains(QLatin1String("Panel 7")) && text.contains(QStringLiteral("Müller & Söhne")));
        for (const Point &point : qAsConst(made.points))
            QVERIFY2(text.count(point.name) >= 2, qPrintable(point.name)); // on the panel and in its row
        const QStringList kinds = kindsOfPictures(path);
        QCOMPARE(kinds.size(), report.counts().failed);
        QCOMPARE(kinds.count(QStringLiteral("jpeg")), kinds.size());
        const QByteArray record = recordOfPdf(path);
        const int jobs = record.indexOf("\"jobs\""); // before it stands the time
        QVERIFY(jobs > 0);
        QCOMPARE(record.mid(jobs), report.toJson().mid(report.toJson().indexOf("\"jobs\"")));
        QCOMPARE(schemaViolation(record), QString());
    }

    void theWordsAreThoseOfTheLanguage()
    {
        ReportStore made(12);
        inspectSome(&made, 12);
        made.inspectNothing(4);
        const JobReport report = made.report();
        const QString path = made.path(QStringLiteral("report.pdf"));
        const QStringList english{QStringLiteral("Fibre inspection report"), QStringLiteral("Customer"),
            QStringLiteral("points passed"), QStringLiteral("Points that did not pass"), QStringLiteral("Statistics"),
            QStringLiteral("What a verdict says, and what it cannot say"), QStringLiteral("No verdict"),
            QStringLiteral("Cladding"), QStringLiteral("27.0 µm")};
        const QStringList german{QStringLiteral("Bericht über die Faserprüfung"), QStringLiteral("Kunde"),
            QStringLiteral("Messpunkten bestanden"), QStringLiteral("Nicht bestandene Messpunkte"),
            QStringLiteral("Statistik"), QStringLiteral("Was ein Urteil sagt, und was es nicht sagen kann"),
            QStringLiteral("Ohne Urteil"), QStringLiteral("Mantel"), QStringLiteral("27,0 µm")};
        // What the program has for a locale does not count.
        QLocale::setDefault(QLocale(QLocale::German));

        const auto wordsFor = [&](Language language) {
            ReportOptions options;
            options.language = language;
            return writeJobPdf(report, path, options).isWhole() ? textOfPdf(path) : QString();
        };
        const QString inEnglish = wordsFor(Language::English);
        QLocale::setDefault(QLocale::c());
        const QString inGerman = wordsFor(Language::German);

        for (int i = 0; i < english.size(); ++i) {
            QVERIFY2(inEnglish.contains(english[i]) && !inEnglish.contains(german[i]), qPrintable(english[i]));
            QVERIFY2(inGerman.contains(german[i]) && !inGerman.contains(english[i]), qPrintable(german[i]));
        }
    }

    void whatAVerdictCannotSayHasTheFiguresOfTheStudy()
    {
        const ReportStore made(1);
        const QString path = made.path(QStringLiteral("report.pdf"));
        QVERIFY(writeJobPdf(made.report(), path).isWhole());

        const QString text = textOfPdf(path);

        for (const char *const name : {"faces", "analyses", "verdicts-sm-rl45-agreement", "verdicts-mm-agreement",
                 "size-error-pit-core-2-5um", "flips-sm-at-the-margin-count", "contrast-bright-core-all"}) {
            const QString figure = figureOf(name);
            QVERIFY2(!figure.isEmpty() && text.contains(figure), name);
        }
    }

    void aFailureIsToldByWhatAndHowMuch()
    {
        ReportStore made(2);
        const StoredInspection failed = made.inspection(made.inspect(0, QStringLiteral("pitted")));
        QVERIFY(made.store.setDecision(failed.id, Decision::Accepted, QStringLiteral("spare port")).ok());
        const QString path = made.path(QStringLiteral("report.pdf"));
        QVERIFY(writeJobPdf(made.report(), path).isWhole());

        const QString text = textOfPdf(path);

        int violated = 0;
        for (const StoredZone &zone : failed.zones) {
            for (const StoredRule &rule : zone.rules)
                violated += rule.violated ? 1 : 0;
        }
        QVERIFY(violated > 0);
        QCOMPARE(text.count(QLatin1String("found, none allowed; the")), violated);
        QVERIFY(text.contains(QLatin1String("Core: Defects > 3")));
        QVERIFY(text.contains(QLatin1String("Accepted by the operator.")));
        QVERIFY(text.contains(QStringLiteral("“spare port”")));
        QVERIFY(text.contains(QLatin1String("0 of 2 points passed")));
        QVERIFY(text.contains(QLatin1String("Points that were not inspected, or are to be inspected again: 1.")));
    }

    void lostPicturesAreToldOnTheCover()
    {
        ReportStore made(7);
        QVector<StoredInspection> all;
        for (int i = 0; i < 7; ++i)
            all.append(made.inspection(made.inspect(i, QStringLiteral("pitted"))));
        for (int i = 0; i < 6; ++i)
            QVERIFY(QFile::remove(made.picturePath(all[i].picture)));
        QFile annotated(made.picturePath(all[0].annotatedPicture)); // the same for all
        QVERIFY(annotated.open(QIODevice::ReadWrite) && annotated.resize(100));
        const QString path = made.path(QStringLiteral("report.pdf"));

        const Written written = writeJobPdf(made.report(), path);

        QVERIFY(written.problem.ok());
        QVERIFY(!written.isWhole());
        QCOMPARE(written.lostPictures.size(), 6 + 7);
        const QString cover = textOfPdf(path, 1);
        QVERIFY2(cover.contains(QLatin1String("missing or damaged: 13 (inspections 1, 2, 3, 4 and 3 more)")),
            qPrintable(cover));
        QCOMPARE(textOfPdf(path).count(QLatin1String("The pictures are")), 6); // it is wrapped
        QCOMPARE(kindsOfPictures(path), QStringList{QStringLiteral("jpeg")}); // the photograph that is left
        QCOMPARE(faultOfPdf(path), QString());
    }

    void aVerdictWithoutItsPictureSaysSo()
    {
        ReportStore made(2);
        const StoredInspection lost = made.inspection(made.inspect(0, QStringLiteral("clean")));
        made.inspect(1, QStringLiteral("clean"));
        const QString path = made.path(QStringLiteral("report.pdf"));
        QVERIFY(writeJobPdf(made.report(), path).isWhole());
        QVERIFY(textOfPdf(path, 1).contains(QLatin1String("All points passed")));
        QVERIFY(!textOfPdf(path, 3).contains(QLatin1String("picture")));
        QVERIFY(QFile::remove(made.picturePath(lost.picture)));

        QVERIFY(!writeJobPdf(made.report(), path).isWhole());

        const QString cover = textOfPdf(path, 1);
        QVERIFY2(cover.contains(QLatin1String("All points passed; see what is to be noted")), qPrintable(cover));
        QCOMPARE(textOfPdf(path, 3).count(QLatin1String("picture missing or damaged")), 1);
    }

    void aPictureThatIsNoneIsNotCalledLost()
    {
        ReportStore made(2);
        made.inspectNothing(0);
        const StoredInspection lost = made.inspection(made.inspectNothing(1));
        QVERIFY(QFile::remove(made.picturePath(lost.picture)));
        const QString path = made.path(QStringLiteral("report.pdf"));

        QCOMPARE(writeJobPdf(made.report(), path).lostPictures.size(), 1);

        const QString text = textOfPdf(path, 4);
        QVERIFY2(text.contains(QLatin1String("The picture cannot be shown.")), qPrintable(text));
        QCOMPARE(text.count(QLatin1String("missing or damaged")), 1);
    }

    void aPictureThatIsTooLargeIsNotLost_data()
    {
        QTest::addColumn<QString>("columns");
        QTest::addColumn<QString>("text");
        QTest::newRow("annotated") << QStringLiteral("annotated = x'%1'")
                                   << QStringLiteral("The photograph; the annotated picture cannot"); // it is wrapped
        QTest::newRow("both") << QStringLiteral("annotated = x'%1', picture = x'%1'")
                              << QStringLiteral("The picture cannot be");
    }
    void aPictureThatIsTooLargeIsNotLost()
    {
        QFETCH(const QString, columns);
        QFETCH(const QString, text);
        constexpr int side = 5000; // pixels; more than 16 million together
        ReportStore made(1);
        made.inspect(0, QStringLiteral("pitted"));
        QImage image(side, side, QImage::Format_Mono);
        image.fill(0);
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QVERIFY(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG"));
        const QByteArray hash = PictureStore(made.folder() + QStringLiteral("/pictures")).put(bytes).value.hash;
        made.run(QStringLiteral("UPDATE inspection SET ") + columns.arg(QString::fromLatin1(hash)));
        const QString path = made.path(QStringLiteral("report.pdf"));

        const Written written = writeJobPdf(made.report(), path);

        QVERIFY2(written.problem.ok(), qPrintable(written.problem.text));
        QVERIFY(written.lostPictures.isEmpty());
        QVERIFY2(textOfPdf(path, 4).contains(text), qPrintable(textOfPdf(path, 4)));
    }

    void aStoreThatIsClosedMeanwhileIsTold()
    {
        ReportStore made(2);
        made.inspect(0, QStringLiteral("pitted"));
        made.inspect(1, QStringLiteral("pitted"));
        const JobReport report = made.report();
        ReportOptions options;
        options.goesOn = [&made](int page, int) {
            if (page == 2)
                made.store.close();
            return true;
        };
        const QString path = made.path(QStringLiteral("report.pdf"));

        const Written written = writeJobPdf(report, path, options);

        QVERIFY(written.problem.ok());
        QCOMPARE(written.lostPictures.size(), 4);
        QCOMPARE(written.lostPictures[0].fault, Fault::NotOpen);
        QCOMPARE(faultOfPdf(path), QString());
    }

    void aReportThatWasNotGatheredIsNotWritten()
    {
        const ReportStore made(1);
        const QString path = made.path(QStringLiteral("report.pdf"));
        const auto none = JobReport::gather(made.store, 77);

        QCOMPARE(writeJobPdf(none.value, path).problem.fault, Fault::Invalid);
        QCOMPARE(writeJobArchive(none.value, path).problem.fault, Fault::Invalid);
        QVERIFY(!QFile::exists(path));
    }

    void aReportWithoutItsPicturesIsTold()
    {
        ReportStore made(1);
        made.inspect(0, QStringLiteral("pitted"));
        JobReport report = made.report();
        report.picture = {};

        QCOMPARE(writeJobPdf(report, made.path(QStringLiteral("report.pdf"))).lostPictures.size(), 2);
        QCOMPARE(writeJobArchive(report, made.path(QStringLiteral("report.zip"))).lostPictures.size(), 2);
    }

    void memoryThatRunsOutIsTold()
    {
        ReportStore made(1);
        made.inspect(0, QStringLiteral("pitted"));
        const GoesOn runsOut = [](int, int) -> bool { throw std::bad_alloc(); };
        const QString folder = made.path(QStringLiteral("reports"));
        QVERIFY(QDir().mkpath(folder));
        ArchiveOptions options;
        options.report.goesOn = runsOut;

        QCOMPARE(JobReport::gather(made.store, made.job, runsOut).problem.fault, Fault::OutOfMemory);
        QCOMPARE(writeJobPdf(made.report(), folder + QStringLiteral("/a.pdf"), options.report).problem.fault,
            Fault::OutOfMemory);
        QCOMPARE(writeJobArchive(made.report(), folder + QStringLiteral("/a.zip"), options).problem.fault,
            Fault::OutOfMemory);
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList());
    }

    void aPictureThatIsLostWhileItIsWrittenIsTold()
    {
        ReportStore made(1);
        const StoredInspection failed = made.inspection(made.inspect(0, QStringLiteral("pitted")));
        const JobReport report = made.report();
        QVERIFY(report.isSound());
        QVERIFY(QFile::remove(made.picturePath(failed.annotatedPicture)));

        const Written written = writeJobPdf(report, made.path(QStringLiteral("report.pdf")));

        QCOMPARE(written.lostPictures.size(), 1);
        QCOMPARE(written.lostPictures[0].hash, failed.annotatedPicture);
    }

    void doubtIsToldOnTheCover()
    {
        ReportStore made(3);
        made.inspect(0, QStringLiteral("clean"));
        made.inspect(1, QStringLiteral("scratched"));
        made.run(QStringLiteral("UPDATE inspection SET verdict = 1 WHERE id = 2"));
        const QString path = made.path(QStringLiteral("report.pdf"));

        QVERIFY(writeJobPdf(made.report(), path).problem.ok());

        const QString cover = textOfPdf(path, 1);
        QVERIFY(cover.contains(QLatin1String("1 of 3 points passed")));
        QVERIFY(cover.contains(QLatin1String("contradict themselves or their job: 1 (inspection 2)")));
        QVERIFY(textOfPdf(path).contains(QLatin1String("Please inspect this point again.")));
    }

    void programsThatManageDocumentsReadTheMetadata()
    {
        Job job = ReportStore::namedJob();
        job.name = QStringLiteral("A & B <c> ]]> \u0001 \"q\"");
        const ReportStore made(1, job);
        JobReport report = made.report();
        report.job.name += QStringLiteral(" \uFFFE\uFFFF"); // which no store keeps
        const QString path = made.path(QStringLiteral("report.pdf"));
        ReportOptions options;
        options.software = QStringLiteral("somebody 1.2 \u0002");
        QVERIFY(writeJobPdf(report, path, options).isWhole());

        const Ran meta = runProgram(QStringLiteral("pdfinfo"), {QStringLiteral("-meta"), path});
        const QString metadata = made.path(QStringLiteral("metadata.xml"));
        QFile file(metadata);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(meta.output) == meta.output.size());
        file.close();
        const Ran strict = runProgram(QStringLiteral(VANTOR_PYTHON),
            {QStringLiteral("-c"), QStringLiteral("import sys, xml.dom.minidom as d; d.parse(sys.argv[1])"), metadata});
        QVERIFY2(strict.exitCode == 0, strict.errors);

        QXmlStreamReader xml(meta.output);
        QString texts;
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::Characters)
                texts += xml.text().toString() + QLatin1Char('\n');
        }
        QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
        QVERIFY(texts.contains(QStringLiteral("A & B <c> ]]> \uFFFD \"q\" \uFFFD\uFFFD")));
        QVERIFY(texts.contains(QLatin1String("somebody 1.2")));
        QVERIFY(texts.contains(QStringLiteral("Zoë")));
    }

    // --- Whole or not at all -----------------------------------------------------------------------------------------

    void aFullDiskLeavesWhatWasThere()
    {
        ReportStore made(12);
        inspectSome(&made, 12);
        const JobReport report = made.report();
        const QString folder = made.path(QStringLiteral("stick"));
        const QString path = folder + QStringLiteral("/report.pdf");
        QVERIFY(QDir().mkpath(folder));
        Written written;
        QByteArray left;
        QStringList files;

        const bool hasRun = Faults::withSmallDisk(folder, 1024, [&] {
            QFile former(path);
            former.open(QIODevice::WriteOnly);
            former.write("former");
            former.close();
            const DiskFilling filling(folder, 8);
            written = writeWithOwnStore(made, path);
            left = fileContent(path);
            files = QDir(folder).entryList(QDir::Files | QDir::Hidden);
        });

        QVERIFY(hasRun);
        QCOMPARE(written.problem.fault, Fault::DiskFull);
        QCOMPARE(written.problem.text, QStringLiteral("Cannot write %1: No space left on device").arg(path));
        QCOMPARE(left, QByteArray("former"));
        QCOMPARE(files, QStringList({QStringLiteral("filling"), QStringLiteral("report.pdf")}));
    }

    void aStickThatIsPulledOutIsTold()
    {
        ReportStore made(12);
        inspectSome(&made, 12);
        const QString folder = made.path(QStringLiteral("stick"));
        const QString path = folder + QStringLiteral("/report.pdf");
        QVERIFY(QDir().mkpath(folder));
        Written written;

        const bool hasRun = Faults::withSmallDisk(folder, 8 * 1024, [&] {
            written = writeWithOwnStore(made, path, [&](int page, int) {
                if (page == 3)
                    umount2(QFile::encodeName(folder).constData(), MNT_DETACH);
                return true;
            });
        });

        QVERIFY(hasRun);
        QVERIFY(!written.problem.ok());
        QVERIFY2(written.problem.text.startsWith(QStringLiteral("Cannot write %1: ").arg(path)),
            qPrintable(written.problem.text));
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList());
    }

    void whatIsStoppedLeavesNothing()
    {
        ReportStore made(12);
        inspectSome(&made, 12);
        const QString folder = made.path(QStringLiteral("reports"));
        QVERIFY(QDir().mkpath(folder));
        int pages = 0;
        ReportOptions options;
        options.goesOn = [&pages](int page, int) {
            pages = page;
            return page < 3;
        };

        const Written written = writeJobPdf(made.report(), folder + QStringLiteral("/report.pdf"), options);

        QCOMPARE(written.problem.fault, Fault::Stopped);
        QVERIFY(pages <= 6); // it is asked at each page, and ends with the section
        QCOMPARE(QDir(folder).entryList(QDir::Files | QDir::Hidden), QStringList());
    }

    void onlyAFileIsReplaced_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Fault>("fault");
        QTest::newRow("device") << QStringLiteral("/dev/null") << Fault::Invalid;
        QTest::newRow("folder") << QStringLiteral("/tmp") << Fault::Invalid;
        QTest::newRow("missing folder") << QStringLiteral("/nowhere/report.pdf") << Fault::NotFound;
    }
    void onlyAFileIsReplaced()
    {
        QFETCH(const QString, path);
        QFETCH(const Fault, fault);
        const ReportStore made(1);

        const Written written = writeJobPdf(made.report(), path);

        QCOMPARE(written.problem.fault, fault);
        QVERIFY(written.problem.text.startsWith(QStringLiteral("Cannot write %1: ").arg(path)));
    }

private:
    /// In a thread of its own a store has to be opened there.
    static Written writeWithOwnStore(const ReportStore &made, const QString &path, const GoesOn &goesOn = {})
    {
        RecordStore store;
        store.open(made.folder(), RecordStore::Mode::ReadOnly);
        ReportOptions options;
        options.goesOn = goesOn;
        return writeJobPdf(JobReport::gather(store, made.job).value, path, options);
    }

    static void checkPageNumbers(const QString &path, Language language)
    {
        const int pages = pagesOfPdf(path);
        QVERIFY(pages >= 3);
        const QString word =
            language == Language::English ? QStringLiteral("Page %1 of %2") : QStringLiteral("Seite %1 von %2");
        const QString text = textOfPdf(path);
        for (int page = 1; page <= pages; ++page)
            QVERIFY2(text.contains(word.arg(page).arg(pages)), qPrintable(word.arg(page).arg(pages)));
    }
};

QTEST_MAIN(TestJobPdf)
#include "tst_jobpdf.moc"
