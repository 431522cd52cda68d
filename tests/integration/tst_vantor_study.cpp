// SPDX-License-Identifier: Apache-2.0
#include "ProgramRun.h"
#include "study/report/Document.h"
#include "study/report/Statistics.h"

#include <QRegularExpression>
#include <QTemporaryDir>
#include <QXmlStreamReader>
#include <QtTest>

#include <limits>

using namespace Study;

namespace {
using Rows = QVector<QStringList>; // the first one is the head

QStringList cells(const QString &line)
{
    QStringList result = line.split(QLatin1Char('|')).mid(1);
    result.removeLast();
    for (QString &cell : result)
        cell = cell.trimmed();
    return result;
}

QMap<QString, Rows> tablesOf(const QString &text)
{
    static const QRegularExpression marker(QStringLiteral("<!-- table: ([a-z0-9-]+) -->(.*?)<!-- end -->"),
        QRegularExpression::DotMatchesEverythingOption);
    QMap<QString, Rows> tables;
    QRegularExpressionMatchIterator matches = marker.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        const QStringList lines = match.captured(2).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
        for (const QString &line : lines)
            tables[match.captured(1)].append(cells(line));
    }
    return tables;
}

QMap<QString, QString> valuesOf(const QString &text)
{
    static const QRegularExpression marker(QStringLiteral("<!-- value: ([a-z0-9-]+) -->([^<]*)<!-- end -->"));
    QMap<QString, QString> values;
    QRegularExpressionMatchIterator matches = marker.globalMatch(text);
    while (matches.hasNext()) {
        const QRegularExpressionMatch match = matches.next();
        values.insert(match.captured(1), match.captured(2));
    }
    return values;
}

/// "97 % (92–99)"
const QRegularExpression &rateWithInterval()
{
    static const QRegularExpression pattern(
        QStringLiteral("^([0-9.]+) % \\(([0-9.]+)–([0-9.]+)\\)$"), QRegularExpression::UseUnicodePropertiesOption);
    return pattern;
}

QString read(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}
} // namespace

/// A small study, and what must come out of it however small it is.
class TestVantorStudy : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        QCOMPARE(run({QStringLiteral("--faces"), QStringLiteral("400"), QStringLiteral("--jobs"), QStringLiteral("2"),
                     QStringLiteral("--quiet"), QStringLiteral("--out"), mFolder.filePath(QStringLiteral("plots"))}),
            0);
        mTables = tablesOf(mOutput);
        mValues = valuesOf(mOutput);
        QVERIFY(mTables.size() > 20);
    }

    void theTablesAreWellFormed()
    {
        for (auto table = mTables.cbegin(); table != mTables.cend(); ++table) {
            const Rows &rows = *table;
            QVERIFY2(rows.size() >= 3, qPrintable(table.key()));
            for (const QStringList &row : rows) {
                QVERIFY2(row.size() == rows[0].size(), qPrintable(table.key()));
                QVERIFY2(!row.contains(QString()), qPrintable(table.key()));
            }
            QVERIFY2(
                rows[1][0] == QLatin1String("---") && rows[1].last() == QLatin1String("---:"), qPrintable(table.key()));
        }
    }

    void ratesAreSharesWithinTheirIntervals()
    {
        int rates = 0;
        for (const Rows &rows : qAsConst(mTables)) {
            for (const QStringList &row : rows) {
                for (const QString &cell : row) {
                    const QRegularExpressionMatch match = rateWithInterval().match(cell);
                    if (!match.hasMatch())
                        continue;
                    const double rate = match.captured(1).toDouble();
                    const double low = match.captured(2).toDouble();
                    const double high = match.captured(3).toDouble();
                    QVERIFY2(0 <= low && low <= rate && rate <= high && high <= 100, qPrintable(cell));
                    ++rates;
                }
            }
        }
        QVERIFY(rates > 300);
    }

    void whatIsLargeAndDarkIsAlwaysFound_data()
    {
        QTest::addColumn<QString>("table");

        QTest::newRow("pits") << QStringLiteral("detection-pit");
        QTest::newRow("particles") << QStringLiteral("detection-particle");
    }

    void whatIsLargeAndDarkIsAlwaysFound()
    {
        QFETCH(QString, table);

        const QStringList rates = rowOf(table, QStringLiteral("20")).mid(1);

        QCOMPARE(rates.size(), 4);
        for (const QString &cell : rates)
            QVERIFY2(cell.startsWith(QLatin1String("100 % (")), qPrintable(cell));
    }

    void whatIsSmallerThanAPixelIsNeverFound()
    {
        const QStringList rates = rowOf(QStringLiteral("detection-pit"), QStringLiteral("1")).mid(1);

        QCOMPARE(rates.size(), 4);
        for (const QString &cell : rates)
            QVERIFY2(cell.startsWith(QLatin1String("0 % (")), qPrintable(cell));
    }

    void whatShinesInTheCoreIsNeverFound()
    {
        QVERIFY(mValues.value(QStringLiteral("contrast-bright-core-all")).startsWith(QLatin1String("0 % (")));
    }

    void cleanFacesPass()
    {
        for (const QString &mode : {QStringLiteral("sm"), QStringLiteral("mm")}) {
            QVERIFY(mValues.value(QStringLiteral("clean-%1-failed").arg(mode)).startsWith(QLatin1String("0 % (")));
            QVERIFY(mValues.value(QStringLiteral("clean-%1-refused").arg(mode)).startsWith(QLatin1String("0 % (")));
        }
    }

    void whatIsBeyondTheRimIsNotGraded()
    {
        const QStringList row = rowOf(QStringLiteral("place"), QStringLiteral("100"));

        QVERIFY(
            row.size() == 7 && row[1].startsWith(QLatin1String("0 % (")) && row[4].startsWith(QLatin1String("0 %")));
    }

    void aPictureWithoutOneFibreHasNoVerdict_data()
    {
        QTest::addColumn<QString>("picture");

        QTest::newRow("no fibre") << QStringLiteral("no fibre");
        QTest::newRow("two fibres") << QStringLiteral("two fibres");
        QTest::newRow("cut") << QStringLiteral("fibre cut by the border");
    }

    void aPictureWithoutOneFibreHasNoVerdict()
    {
        QFETCH(QString, picture);

        const QStringList row = rowOf(QStringLiteral("bad-frames"), picture);

        QCOMPARE(row.size(), 7);
        QCOMPARE(row[2], QStringLiteral("0 %")); // passed
        QCOMPARE(row[3], QStringLiteral("0 %")); // failed
    }

    void theCountsOfTheVerdictsAddUp()
    {
        const Rows standards = mTables.value(QStringLiteral("verdicts")).mid(2);

        QCOMPARE(standards.size(), 5);
        for (const QStringList &row : standards) {
            int sum = 0;
            for (int column = 2; column <= 6; ++column)
                sum += row[column].toInt();
            QCOMPARE(sum, row[1].toInt());
            QVERIFY(sum > 0);
        }
    }

    void thePlotsAreWellFormed()
    {
        const QStringList plots = QDir(mFolder.filePath(QStringLiteral("plots"))).entryList(QDir::Files);
        QVERIFY(plots.size() >= 9);
        for (const QString &plot : plots) {
            QXmlStreamReader reader(read(mFolder.filePath(QStringLiteral("plots/") + plot)));
            while (!reader.atEnd())
                reader.readNext();
            QVERIFY2(!reader.hasError(), qPrintable(plot + reader.errorString()));
        }
    }

    void theDocumentationShowsWhatTheStudyFinds()
    {
        const QString text = read(QStringLiteral(VANTOR_ACCURACY_DOCUMENT));

        const QMap<QString, Rows> tables = tablesOf(text);
        QVERIFY(tables.size() > 20);
        for (auto table = tables.cbegin(); table != tables.cend(); ++table)
            QVERIFY2(mTables.contains(table.key()), qPrintable(table.key()));
        const QMap<QString, QString> values = valuesOf(text);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            QVERIFY2(mValues.contains(value.key()), qPrintable(value.key()));

        static const QRegularExpression image(QStringLiteral("\\]\\(images/([^)]+)\\)"));
        QRegularExpressionMatchIterator images = image.globalMatch(text);
        QVERIFY(images.hasNext());
        while (images.hasNext()) {
            const QString name = images.next().captured(1);
            QVERIFY2(QFile::exists(mFolder.filePath(QStringLiteral("plots/") + name)), qPrintable(name));
        }
    }

    void wrongUsageIsRefused_data()
    {
        QTest::addColumn<QStringList>("arguments");

        QTest::newRow("no faces") << QStringList{QStringLiteral("--faces"), QStringLiteral("0")};
        QTest::newRow("no processes") << QStringList{QStringLiteral("--jobs"), QStringLiteral("none")};
        QTest::newRow("an image") << QStringList{QStringLiteral("face.jpg")};
    }

    void wrongUsageIsRefused()
    {
        QFETCH(QStringList, arguments);

        QCOMPARE(run(arguments), 64);
    }

    void aDocumentIsFilledAgainAndAgain()
    {
        Findings findings;
        Table table({QStringLiteral("Size"), QStringLiteral("found")});
        table.addRow({QStringLiteral("3"), QStringLiteral("12 %")});
        findings.addTable(QStringLiteral("sizes"), table);
        findings.addValue(QStringLiteral("limit"), QStringLiteral("2.5"));
        const QString text = QStringLiteral("A\n\n<!-- table: sizes -->\nold\n<!-- end -->\n\n"
                                            "B <!-- value: limit -->old<!-- end --> C\n");
        QString problem;

        const std::optional<QString> once = filledDocument(text, findings, &problem);
        QVERIFY(once);
        const std::optional<QString> twice = filledDocument(*once, findings, &problem);

        QCOMPARE(*once,
            QStringLiteral("A\n\n<!-- table: sizes -->\n\n| Size | found |\n|---|---:|\n| 3 | 12 % |\n\n"
                           "<!-- end -->\n\nB <!-- value: limit -->2.5<!-- end --> C\n"));
        QCOMPARE(twice, once);
    }

    void aDocumentWithAWrongMarkerIsRefused_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("problem");

        QTest::newRow("unknown") << QStringLiteral("<!-- value: depth -->1<!-- end -->")
                                 << QStringLiteral("the study finds nothing called \"depth\"");
        QTest::newRow("without an end") << QStringLiteral("<!-- value: limit -->1")
                                        << QStringLiteral("the marker \"limit\" has no end");
        QTest::newRow("end of another") << QStringLiteral("<!-- value: limit -->1 <!-- value: limit -->1<!-- end -->")
                                        << QStringLiteral("the marker \"limit\" has no end");
    }

    void aDocumentWithAWrongMarkerIsRefused()
    {
        QFETCH(QString, text);
        Findings findings;
        findings.addValue(QStringLiteral("limit"), QStringLiteral("2.5"));
        QString problem;

        QVERIFY(!filledDocument(text, findings, &problem));
        QTEST(problem, "problem");
    }

    void intervalsAreWilsons_data()
    {
        QTest::addColumn<int>("hits");
        QTest::addColumn<int>("trials");
        QTest::addColumn<QString>("text");

        // By hand: (p + z²/2n ± z·√(p(1 − p)/n + z²/4n²)) / (1 + z²/n) with z = 1.96.
        QTest::newRow("none of none") << 0 << 0 << QStringLiteral("–");
        QTest::newRow("none of ten") << 0 << 10 << QStringLiteral("0 % (0–28)");
        QTest::newRow("all of ten") << 10 << 10 << QStringLiteral("100 % (72–100)");
        QTest::newRow("half") << 50 << 100 << QStringLiteral("50 % (40–60)");
        QTest::newRow("nearly all") << 999 << 1000 << QStringLiteral("99.9 % (99.4–100)");
    }

    void intervalsAreWilsons()
    {
        QFETCH(int, hits);
        QFETCH(int, trials);
        Proportion proportion;
        for (int i = 0; i < trials; ++i)
            proportion.add(i < hits);

        QTEST(proportion.toText(), "text");
    }

    void samplesTellTheirSpread()
    {
        Sample sample;
        for (const double value : {4.0, 1.0, 3.0, 2.0})
            sample.add(value);

        QCOMPARE(sample.mean(), 2.5);
        QCOMPARE(sample.quantile(0.5), 2.5);
        QCOMPARE(sample.quantile(0), 1.0);
        QCOMPARE(sample.highest(), 4.0);
        QVERIFY(qAbs(sample.deviation() - 1.2909944) < 1e-6);
        QCOMPARE(numberText(Sample().mean(), 1), QStringLiteral("–"));
        QCOMPARE(signedText(-0.04, 1), QStringLiteral("0.0"));
        QCOMPARE(signedText(-1.26, 1), QStringLiteral("−1.3"));
        QCOMPARE(signedText(0.5, 1), QStringLiteral("+0.5"));
    }

private:
    int run(const QStringList &arguments)
    {
        constexpr int longest = 500000; // milliseconds
        const ProgramRun run = ProgramRun::of(
            QStringLiteral(VANTOR_STUDY_PROGRAM), QStringList{QStringLiteral("accuracy")} + arguments, {}, longest);
        mOutput = QString::fromUtf8(run.output);
        return run.exitCode;
    }

    QStringList rowOf(const QString &table, const QString &name) const
    {
        const Rows rows = mTables.value(table);
        const auto row =
            std::find_if(rows.cbegin(), rows.cend(), [&](const QStringList &cells) { return cells.value(0) == name; });
        return row == rows.cend() ? QStringList() : *row;
    }

    QTemporaryDir mFolder;
    QString mOutput;
    QMap<QString, Rows> mTables;
    QMap<QString, QString> mValues;
};

QTEST_GUILESS_MAIN(TestVantorStudy)
#include "tst_vantor_study.moc"
