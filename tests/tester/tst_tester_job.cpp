// SPDX-License-Identifier: Apache-2.0
// A technician makes a job of twelve points, inspects them, cleans and repeats one, accepts one with a note, and ends
// the program; in the next one everything is still there. Once in each language, each in processes of its own.
#include "../reports/ReportTools.h"
#include "JobTest.h"
#include "TwoStarts.h"

namespace {
constexpr int points = 12;
constexpr int repeated = 4; // these points, counted from 1
constexpr int accepted = 9;
constexpr char acceptedName[] = "point_A09";

/// What is read on the pages.
struct Texts
{
    QString passed;
    QString failed;
    QString failedButAccepted;
    QString counts;
    QString note;
    QString shownNote;
    QString headline; ///< of its report
    QStringList reported; ///< what the report says, among other things
};

Texts textsIn(const QString &language)
{
    if (language == QLatin1String("de")) {
        return {QStringLiteral("Bestanden"), QStringLiteral("Nicht bestanden"),
            QStringLiteral("Nicht bestanden, angenommen"), QStringLiteral("12 von 12, 0 nicht bestanden, 1 angenommen"),
            QStringLiteral("Kunde weiß <b>davon</b>"), QStringLiteral("Notiz: Kunde weiß <b>davon</b>"),
            QStringLiteral("Nicht alle Messpunkte haben bestanden"),
            {QStringLiteral("Panel <i>7</i>"), QStringLiteral("Bestanden"), QStringLiteral("Kunde weiß <b>davon</b>")}};
    }
    return {QStringLiteral("Passed"), QStringLiteral("Failed"), QStringLiteral("Failed, accepted"),
        QStringLiteral("12 of 12, 0 failed, 1 accepted"), QStringLiteral("known to <b>them</b>"),
        QStringLiteral("Note: known to <b>them</b>"), QStringLiteral("Not all points have passed"),
        {QStringLiteral("Panel <i>7</i>"), QStringLiteral("Passed"), QStringLiteral("known to <b>them</b>")}};
}
} // namespace

class tst_TesterJob : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void init() {}
    void cleanup() {}
    void theLanguageIsChosen();
    void theThemeIsChosen();
    void aJobIsMade();
    void allPointsAreInspected();

private:
    void inspectPoint(int number, const Texts &texts);
};

void tst_TesterJob::theLanguageIsChosen()
{
    QVERIFY(tap(TwoStarts::language() == QLatin1String("de") ? "language_de" : "language_en"));
    QCOMPARE(tester().language().current(), TwoStarts::language());
}

void tst_TesterJob::theThemeIsChosen()
{
    const QColor light = window()->color();
    QVERIFY(tap("tile_108"));
    QVERIFY(tap("themeChoice"));
    driver().press(Qt::Key_Down);
    driver().press(Qt::Key_Return);

    QTRY_COMPARE(tester().settings().theme(), QStringLiteral("dark"));
    QVERIFY(window()->color().lightness() < light.lightness()); // at once
    QVERIFY(goHome());
}

void tst_TesterJob::aJobIsMade()
{
    QVERIFY(tap("tile_101"));
    QVERIFY(type("jobName", QStringLiteral("Panel <i>7</i>")));
    QVERIFY(type("firstPoint", QStringLiteral("A12")));
    QVERIFY(type("lastPoint", QStringLiteral("A01")));
    QVERIFY(!find("createJob")->isEnabled()); // from last to first
    QVERIFY(textOf("runPreview").contains(QLatin1Char('2'))); // the column
    QVERIFY(type("firstPoint", QStringLiteral("A01")));
    QVERIFY(type("lastPoint", QStringLiteral("A12")));
    QVERIFY(textOf("runPreview").contains(QStringLiteral("A01, A02, A03, …, A12")));
    QVERIFY(type("jobOperator", QStringLiteral("Ada")));

    QVERIFY(tap("createJob"));

    QVERIFY(waitFor("panel"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(tester().jobs().counts().value(QStringLiteral("points")).toInt(), points);
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A01"));
}

void tst_TesterJob::inspectPoint(int number, const Texts &texts)
{
    const QString name = QStringLiteral("A%1").arg(number, 2, 10, QLatin1Char('0'));
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), name);
    QVERIFY(inspect(number == repeated || number == accepted ? "pitted" : "clean"));
    if (number == repeated) {
        QCOMPARE(textOf("verdict"), texts.failed);
        QVERIFY(tap("repeat"));
        QVERIFY(driver().waitForRest());
        QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), name);
        QVERIFY(inspect("clean"));
    }
    if (number == accepted) {
        QCOMPARE(textOf("verdict"), texts.failed);
        QVERIFY(tap("accept"));
        QVERIFY(waitFor("noteAccept"));
        QVERIFY(ShellDriver::waitFor([this] { return find("note")->hasActiveFocus(); }));
        QVERIFY(!find("noteAccept")->isEnabled());
        QVERIFY(type("note", texts.note));
        QVERIFY(tap("noteAccept"));
        QVERIFY(waitForText("verdict", texts.failedButAccepted));
        QVERIFY(ShellDriver::waitFor([this] { return !find("noteAccept"); }));
    } else {
        QCOMPARE(textOf("verdict"), texts.passed);
    }
    QVERIFY(tap("nextPort"));
}

void tst_TesterJob::allPointsAreInspected()
{
    const Texts texts = textsIn(TwoStarts::language());
    for (int number = 1; number <= points; ++number) {
        inspectPoint(number, texts);
        if (QTest::currentTestFailed())
            return;
    }
    QVERIFY(tap("actionBack"));
    QVERIFY(driver().waitForRest());
    QVERIFY(tap("actionBack"));
    QVERIFY(waitFor("panel"));

    QVERIFY(waitForText("panelCounts", texts.counts));
}

class tst_TesterJobAfterRestart : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void init() {}
    void cleanup() { QVERIFY(goHome()); }
    void theLanguageIsStillThere();
    void theThemeIsStillThere();
    void thePanelIsStillThere();
    void theNoteIsStillThere();
    void allInspectionsAreFound();
    void theOperatorIsStillThere();
    void aReportIsWritten();
};

void tst_TesterJobAfterRestart::theLanguageIsStillThere()
{
    QCOMPARE(tester().language().current(), TwoStarts::language());
    QCOMPARE(tester().jobs().notice(), QString());
}

void tst_TesterJobAfterRestart::theThemeIsStillThere()
{
    QCOMPARE(tester().settings().theme(), QStringLiteral("dark"));
    QCOMPARE(evaluate(QStringLiteral("TesterStyle.isDark")), QVariant(true));
    QCOMPARE(window()->color(), evaluate(QStringLiteral("TesterStyle.page")).value<QColor>());
}

void tst_TesterJobAfterRestart::thePanelIsStillThere()
{
    QVERIFY(tap("tile_102"));

    QVERIFY(waitForText("panelCounts", textsIn(TwoStarts::language()).counts));
    QVERIFY(driver().find(QStringLiteral("Panel <i>7</i>"))); // the title, as it was typed
}

void tst_TesterJobAfterRestart::theNoteIsStillThere()
{
    QVERIFY(tap("tile_102"));
    QVERIFY(tap(acceptedName));
    QVERIFY(tap("showResult"));

    QVERIFY(waitForText("verdict", textsIn(TwoStarts::language()).failedButAccepted));
    QCOMPARE(textOf("shownNote"), textsIn(TwoStarts::language()).shownNote);
    QVERIFY(ShellDriver::waitFor([this] { return find("resultPicture")->property("paintedWidth").toDouble() > 0; }));
}

void tst_TesterJobAfterRestart::allInspectionsAreFound()
{
    QVERIFY(tap("tile_106"));
    QVERIFY(waitFor("results"));
    QVERIFY(ShellDriver::waitFor([this] { return tester().jobs().results()->count() == points + 1; }));

    QVERIFY(type("search", QStringLiteral("pane A04")));

    QCOMPARE(tester().jobs().results()->count(), 2);
    const auto verdict = [this](int row) {
        return tester().jobs().results()->row(row).value(QStringLiteral("verdict")).toInt();
    };
    QCOMPARE(verdict(0), static_cast<int>(Records::Verdict::Passed));
    QCOMPARE(verdict(1), static_cast<int>(Records::Verdict::Failed));
}

void tst_TesterJobAfterRestart::theOperatorIsStillThere()
{
    QVERIFY(tap("tile_101"));
    QVERIFY(waitFor("jobOperator"));
    QCOMPARE(find("jobOperator")->property("text").toString(), QStringLiteral("Ada"));
}

void tst_TesterJobAfterRestart::aReportIsWritten()
{
    const Texts texts = textsIn(TwoStarts::language());
    const QTemporaryDir exports;
    tester().settings().setExportFolder(exports.path());
    QVERIFY(tap("tile_102"));
    QVERIFY(tap("actionReport"));
    QVERIFY(waitForText("reportHeadline", texts.headline));

    QVERIFY(tap("writeReport"));
    const auto path = [this] { return tester().reportWriter().outcome().value(QStringLiteral("path")).toString(); };
    QVERIFY(ShellDriver::waitFor([&path] { return !path().isEmpty(); }));

    QCOMPARE(QFileInfo(path()).path(), exports.path());
    QCOMPARE(faultOfPdf(path()), QString());
    const QString text = textOfPdf(path());
    for (const QString &words : texts.reported)
        QVERIFY2(text.contains(words), qPrintable(words));
}

int main(int argc, char *argv[])
{
    return TwoStarts::run<tst_TesterJob, tst_TesterJobAfterRestart>(argc, argv);
}

#include "tst_tester_job.moc"
