// SPDX-License-Identifier: Apache-2.0
#include "ReportTools.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using namespace Records;
using namespace Reports;

/// Names and notes come from people, and from the stores of others.
class TestJobPdfTexts : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void noTextBreaksTheLayout_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("shown"); // a part of it; empty: nothing is looked for
        const auto row = [](const char *name, const QString &text, const QString &shown) {
            QTest::newRow(name) << text << shown;
        };
        row("markup", QStringLiteral("<b>bold</b><br/>&amp;"), QStringLiteral("<b>bold</b><br/>&amp;"));
        row("picture", QStringLiteral("<img src=\"/etc/hostname\">"), QStringLiteral("<img"));
        row("placeholder", QStringLiteral("%1 %2 %L3 %n"), QStringLiteral("%1 %2 %L3 %n"));
        row("mnemonic", QStringLiteral("A&B &C && D"), QStringLiteral("A&B &C && D"));
        row("200 characters", QString(200, QLatin1Char('W')), QStringLiteral("WWWWWW"));
        row("200 characters in words", QStringLiteral("abcd ").repeated(40), QStringLiteral("abcd abcd"));
        row("4000 characters", QString(4000, QLatin1Char('x')), QStringLiteral("xxxxxx"));
        row("control characters", QStringLiteral("a\u0001b\u001b[31mc\u007fd\ne\tf\rg"), QStringLiteral("e f g"));
        row("Hebrew", QStringLiteral("\u05DC\u05D5\u05D7 \u05D1\u05D3\u05D9\u05E7\u05D4 7"), QString());
        row("Arabic", QStringLiteral("\u0644\u0648\u062D\u0629 7"), QString());
        row("overrides of direction", QStringLiteral("abc\u202Efed\u202C\u2066x\u2069 end"),
            QStringLiteral("abcfedx end"));
        row("200 of them", QString(200, QChar(0x202E)) + QStringLiteral("end"), QStringLiteral("end"));
        row("beyond the first plane", QStringLiteral("\U0001F50C plug"), QStringLiteral("plug"));
        row("stacked marks", QStringLiteral("z") + QString(150, QChar(0x0301)), QString());
        row("line separators", QStringLiteral("one\u2028two\u2029three"), QStringLiteral("one two three"));
    }
    void noTextBreaksTheLayout()
    {
        QFETCH(const QString, text);
        QFETCH(const QString, shown);
        Job job;
        job.name = text;
        job.customer = text;
        job.site = text;
        job.operatorName = text;
        ReportStore made(3, job);
        const Id failed = made.inspect(0, QStringLiteral("pitted"));
        QVERIFY(made.store.setDecision(failed, Decision::Accepted, text).ok());
        made.inspect(1, QStringLiteral("scratched"));
        const QString path = made.path(QStringLiteral("report.pdf"));
        JobReport report = made.report();
        for (ReportPoint &point : report.points)
            point.point.name = text; // longer and stranger than a run of names
        ReportOptions options;
        options.language = Language::German;

        QVERIFY(writeJobPdf(report, path, options).isWhole());
        if (qEnvironmentVariableIsSet("VANTOR_KEEP_REPORTS")) // to be looked at
            QFile::copy(path,
                QStringLiteral("%1/%2.pdf")
                    .arg(qEnvironmentVariable("VANTOR_KEEP_REPORTS"), QLatin1String(QTest::currentDataTag())));

        QCOMPARE(faultOfPdf(path), QString());
        QCOMPARE(textsBeyondPages(path), QString());
        QVERIFY(pagesOfPdf(path) >= 6 && pagesOfPdf(path) <= 8);
        const QString cover = textOfPdf(path, 1);
        QVERIFY2(cover.contains(shown), qPrintable(cover));
        QVERIFY(cover.contains(QLatin1String("Messpunkten bestanden")));
        QVERIFY(cover.contains(QStringLiteral("Seite 1 von %1").arg(pagesOfPdf(path))));
        checkRecord(report, recordOfPdf(path));
    }

    void noTrickStacksMarks_data()
    {
        QTest::addColumn<QString>("stack");
        QTest::newRow("joiners between") << (QString(4, QChar(0x0301)) + QChar(0x200D)).repeated(30);
        QTest::newRow("that enclose") << QString(150, QChar(0x20DD));
        QTest::newRow("beyond the first plane") << QStringLiteral("\U0001E8D0").repeated(150);
        QTest::newRow("by turns") << (QString(4, QChar(0x0301)) + QStringLiteral("\U0001E8D0")).repeated(30);
    }
    void noTrickStacksMarks()
    {
        QFETCH(const QString, stack);
        Job job = ReportStore::namedJob();
        job.name = QLatin1Char('z') + stack + QStringLiteral("end");
        const ReportStore made(1, job);
        const QString path = made.path(QStringLiteral("report.pdf"));

        QVERIFY(writeJobPdf(made.report(), path).isWhole());

        const Ran meta = runProgram(QStringLiteral("pdfinfo"), {QStringLiteral("-meta"), path});
        const QString xml = QString::fromUtf8(meta.output);
        const QString shown = xml.section(QLatin1String("x-default\">"), 1, 1).section(QLatin1Char('<'), 0, 0);
        QVERIFY2(shown.startsWith(QLatin1Char('z')) && shown.endsWith(QLatin1String("end")), qPrintable(shown));
        QVERIFY2(shown.toUcs4().size() <= 1 + 4 + 30 + 3, qPrintable(shown)); // joiners take no room
    }

    void csvHasTheTextsToTheLetter()
    {
        Job job = ReportStore::namedJob();
        job.name = QStringLiteral("=HYPERLINK(\"x\")");
        job.customer = QStringLiteral("+1;2");
        job.site = QStringLiteral("@SUM(A1)\nsecond");
        job.operatorName = QStringLiteral("-2+3");
        CsvFormat format;
        format.separator = QLatin1Char(';');
        ExportedInspection inspection;
        inspection.job = job;

        const QByteArray row = csvRow(inspection, format);

        QVERIFY(csvHeader(format).startsWith("\xEF\xBB\xBF"));
        QVERIFY(csvHeader(format).contains(QStringLiteral("Core largest defect (µm)").toUtf8()));
        QVERIFY2(row.contains("\"'=HYPERLINK(\"\"x\"\")\""), row);
        QVERIFY2(row.contains("\"'+1;2\""), row);
        QVERIFY2(row.contains("\"'@SUM(A1)\nsecond\""), row);
        QVERIFY2(row.contains("'-2+3"), row);
    }

    void csvIsWholeWithAnySeparator()
    {
        ExportedInspection inspection;
        inspection.job.name = QStringLiteral("a|=cmd");
        inspection.job.customer = QStringLiteral("\n=1+1");
        CsvFormat format;
        format.separator = QLatin1Char('|');

        const QByteArray row = csvRow(inspection, format);

        QVERIFY2(row.contains("|\"a|=cmd\"|"), row);
        QVERIFY2(row.contains("|\"'\n=1+1\"|"), row);
    }

    void csvTellsWhatARecordLacks()
    {
        ReportStore made(4);
        made.inspect(0, QStringLiteral("clean"));
        const StoredInspection unnamed = made.inspection(made.inspect(3, QStringLiteral("clean")));
        made.run(QStringLiteral("UPDATE inspection SET picture = NULL WHERE id = %1").arg(unnamed.id));
        const StoredInspection scratched = made.inspection(made.inspect(1, QStringLiteral("scratched")));
        const StoredInspection lost = made.inspection(made.inspect(2, QStringLiteral("clean")));
        made.run(QStringLiteral("UPDATE inspection SET verdict = 1 WHERE id = %1").arg(scratched.id));
        QVERIFY(QFile::remove(made.picturePath(lost.picture)));
        CsvFormat format;
        format.separator = QLatin1Char(';');
        const auto doubtOf = [&](Id id) {
            const QByteArray row = csvRow({made.inspection(id), made.store.job(made.job).value, {}}, format);
            const int column = csvHeader(format).split(';').indexOf("Doubt");
            return row.split(';').value(column);
        };

        QCOMPARE(doubtOf(1), QByteArray());
        QCOMPARE(doubtOf(scratched.id), QByteArray("the verdict is not that of its rules"));
        QCOMPARE(doubtOf(lost.id), QByteArray("the picture is missing"));
        QCOMPARE(doubtOf(unnamed.id), QByteArray("the verdict is without a picture"));
    }

private:
    /// What is attached has every text as it was stored.
    static void checkRecord(const JobReport &report, const QByteArray &record)
    {
        QCOMPARE(schemaViolation(record), QString());
        const QJsonObject document = QJsonDocument::fromJson(record).object();
        const QJsonObject job = document.value(QStringLiteral("jobs")).toArray().at(0).toObject();
        const QString name = report.job.name;
        QCOMPARE(job.value(QStringLiteral("name")).toString(), name);
        QCOMPARE(job.value(QStringLiteral("customer")).toString(), name);
        const QJsonObject first = document.value(QStringLiteral("inspections")).toArray().at(0).toObject();
        QCOMPARE(first.value(QStringLiteral("note")).toString(), name);
    }
};

QTEST_MAIN(TestJobPdfTexts)
#include "tst_jobpdf_texts.moc"
