// SPDX-License-Identifier: Apache-2.0
// What becomes of many inspections: they are filtered, counted for their job, and compared; also those whose picture is
// gone, or whose record contradicts itself.
#include "JobTest.h"
#include "OwnConnection.h"
#include "StoredFaces.h"

#include <QFile>

#include <algorithm>

using FiberInspection::Standard;
using Records::Decision;
using Records::Id;
using Records::RecordStore;

namespace {
constexpr int allJobs = 0; // rows of the lists of the filters
constexpr int allStandards = 0;
constexpr int allVerdicts = 0;
constexpr int passed = 1;
constexpr int failed = 2;
constexpr int withoutVerdict = 3;
constexpr int anyTime = 0;
constexpr int today = 1;
constexpr int week = 2;
constexpr int month = 3;
} // namespace

class tst_TesterResults : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void initTestCase();
    void init();
    void filtersShowExactlyTheirRows_data();
    void filtersShowExactlyTheirRows();
    void aFilterOutlivesItsPage();
    void allIsShownAgainAtOnce();
    void theStatisticsOfAJobAreRight_data();
    void theStatisticsOfAJobAreRight();
    void thePanelLeadsToItsStatistics();
    void aJobWithoutVerdictsHasNoRate();
    void beforeAndAfterAreTheLastTwo();
    void anEarlierOneIsComparedWithTheLast();
    void oneInspectionHasNoBeforeAndAfter();
    void twoThatAreChosenAreCompared();
    void aChoiceIsTakenBack();
    void aPictureThatIsMissingIsTold();
    void aContradictionIsNoPass();
    void aContradictionIsNotCountedAsPassed();
    void thePanelShowsItInDoubt();
    void allThatThePanelCountsCanBeRead();

private:
    Id addJob(const char *name, Standard::Id standard, const char *last);
    void add(const char *name, const char *face, int point, const QDateTime &made);
    void addRack();
    QStringList shown() const;
    bool openResults() const { return tap("tile_106") && waitFor("results") && driver().waitForRest(); }
    bool openFilter() const { return find("showAll") || (tap("filter") && waitFor("showAll")); }
    bool choose(const char *filter, int row) const;
    int rowOfJob(const char *name) const;
    bool tapRow(const char *name) const;
    bool openResult(const char *name) const { return tapRow(name) && waitFor("verdict") && driver().waitForRest(); }
    bool openStatistics(const char *job) const;
    static QQuickItem *within(QQuickItem *item, const char *name);
    QString textWithin(const char *part, const char *name) const;
    QStringList barsOf(const char *name) const;

    QDateTime mMidnight;
    QHash<QString, Id> mJobs;
    QHash<QString, Id> mIds; ///< of inspections
    QVector<Records::Point> mPoints; ///< of the job that was added last
    std::unique_ptr<RecordStore> mStore; ///< beside that of the application
};

Id tst_TesterResults::addJob(const char *name, Standard::Id standard, const char *last)
{
    Records::Job job;
    job.name = QString::fromLatin1(name);
    job.standard = standard;
    const Id id = mStore->addJob(job).value.id;
    mPoints = mStore->addPoints(id, {QStringLiteral("A1"), QString::fromLatin1(last)}).value;
    mJobs.insert(job.name, id);
    return id;
}

/// @param face an empty one stands for a picture without a fibre
/// @param point negative: of no job
void tst_TesterResults::add(const char *name, const char *face, int point, const QDateTime &made)
{
    Records::Origin origin;
    FiberInspection::Inspection inspection;
    QByteArray picture;
    if (*face != '\0') {
        const Face &of = Face::of(QString::fromLatin1(face));
        origin = of.origin();
        inspection = of.inspection;
        picture = of.picture + name; // of its own, so that one may be lost
    } else {
        QImage blank(200, 200, QImage::Format_Grayscale8);
        blank.fill(Qt::black);
        inspection = FiberInspection::inspect(blank, Standard::IEC61300_3_35_SM_RL45);
    }
    origin.point = point < 0 ? Records::noId : mPoints[point].id;
    origin.made = made;
    const auto answer = mStore->addInspection(origin, inspection, picture);
    QVERIFY2(answer.ok(), qPrintable(answer.problem.text));
    mIds.insert(QString::fromLatin1(name), answer.value);
}

/// Six ports: one that was cleaned twice, two that fail, of which one was accepted, one without a verdict, two open.
void tst_TesterResults::addRack()
{
    addJob("Rack", Standard::IEC61300_3_35_SM_RL45, "A6");
    add("dirty", "scratched", 0, mMidnight);
    add("dirtier", "scratched", 0, mMidnight.addSecs(20));
    add("cleaned", "clean", 0, mMidnight.addSecs(40));
    add("pitted", "pitted", 1, mMidnight.addSecs(75));
    add("accepted", "scratched", 2, mMidnight.addSecs(200));
    add("nothing", "", 3, mMidnight.addSecs(210));
    QVERIFY(mStore->setDecision(mIds.value(QStringLiteral("accepted")), Decision::Accepted, QStringLiteral("ok")).ok());
}

void tst_TesterResults::initTestCase()
{
    QVERIFY(QTest::qWaitForWindowActive(window()));
    mMidnight = QDate::currentDate().startOfDay();
    mStore = std::make_unique<RecordStore>();
    QVERIFY(mStore->open(JobStore::defaultFolder()).canWrite());
    addJob("Old", Standard::IEC61300_3_35_SM_RL45, "A2");
    add("old", "clean", 0, mMidnight.addDays(-40));
    addJob("Multi", Standard::IEC61300_3_35_MM, "A2");
    add("multi", "mm", 0, mMidnight.addDays(-10));
    addJob("Doubt", Standard::IEC61300_3_35_SM_RL45, "A3");
    add("changed", "pitted", 0, mMidnight.addDays(-50));
    add("true", "clean", 1, mMidnight.addDays(-50));
    addJob("Empty", Standard::IEC61300_3_35_SM_RL45, "A2");
    addRack();
    add("sixDays", "clean", -1, mMidnight.addDays(-6));
    add("sevenDays", "pitted", -1, mMidnight.addDays(-6).addMSecs(-1));

    const QString change = QStringLiteral("UPDATE inspection SET verdict = 1 WHERE id = %1");
    QCOMPARE(
        OwnConnection(JobStore::defaultFolder()).run(change.arg(mIds.value(QStringLiteral("changed")))), QStringList());
    const QByteArray lost = mStore->inspection(mIds.value(QStringLiteral("multi"))).value.annotatedPicture;
    QVERIFY(QFile::remove(mStore->picturePath(lost).value));
    QVERIFY(tester().jobs().openJob(mJobs.value(QStringLiteral("Rack"))));
}

void tst_TesterResults::init()
{
    JobTest::init();
    if (mMidnight.date() != QDate::currentDate())
        QSKIP("another day began meanwhile");
    tester().jobs().listResults({}, 0); // no filter of the test before
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); }));
}

/// The names of the inspections that the list has, the latest first.
QStringList tst_TesterResults::shown() const
{
    QStringList names;
    for (const QVariantMap &row : tester().jobs().results()->rows())
        names << mIds.key(row.value(QStringLiteral("id")).toLongLong());
    return names;
}

/// By the keyboard.
bool tst_TesterResults::choose(const char *filter, int row) const
{
    if (!openFilter() || !waitFor(filter))
        return false;
    find(filter)->forceActiveFocus(Qt::TabFocusReason);
    driver().press(Qt::Key_Home);
    for (int i = 0; i < row; ++i)
        driver().press(Qt::Key_Down);
    const QVariantList rows = find(filter)->property("model").toList();
    return find(filter)->property("value") == rows.value(row).toMap().value(QStringLiteral("value"));
}

int tst_TesterResults::rowOfJob(const char *name) const
{
    const QVariantList rows = find("jobFilter")->property("model").toList();
    const auto found = std::find_if(rows.cbegin(), rows.cend(), [name](const QVariant &row) {
        return row.toMap().value(QStringLiteral("name")).toString() == QLatin1String(name);
    });
    return static_cast<int>(found - rows.cbegin());
}

bool tst_TesterResults::tapRow(const char *name) const
{
    constexpr int contain = 4; // ListView.Contain
    const int row = tester().jobs().results()->indexOf(mIds.value(QString::fromLatin1(name)));
    QQuickItem *const list = find("results");
    return row >= 0 && list
        && QMetaObject::invokeMethod(list, "positionViewAtIndex", Q_ARG(int, row), Q_ARG(int, contain))
        && driver().tap(QStringLiteral("result_%1").arg(row));
}

bool tst_TesterResults::openStatistics(const char *job) const
{
    return openResults() && openFilter() && choose("jobFilter", rowOfJob(job)) && tap("jobStatistics")
        && waitFor("statistics") && driver().waitForRest();
}

QQuickItem *tst_TesterResults::within(QQuickItem *item, const char *name)
{
    if (!item || !item->isVisible())
        return nullptr;
    if (item->objectName() == QLatin1String(name))
        return item;
    const QList<QQuickItem *> children = item->childItems();
    for (QQuickItem *const child : children) {
        if (QQuickItem *const found = within(child, name))
            return found;
    }
    return nullptr;
}

QString tst_TesterResults::textWithin(const char *part, const char *name) const
{
    const QQuickItem *const item = within(find(part), name);
    return item ? item->property("text").toString() : QString();
}

QStringList tst_TesterResults::barsOf(const char *name) const
{
    QStringList rows;
    const QList<QQuickItem *> items = find(name)->childItems();
    for (QQuickItem *const row : items) {
        if (row->objectName() == QLatin1String("barRow"))
            rows << (row->property("iconName").toString() + QLatin1Char(' ') + row->property("label").toString())
                        .trimmed()
                    + QLatin1Char('|') + row->property("value").toString();
    }
    return rows;
}

// --- The list --------------------------------------------------------------------------------------------------------

void tst_TesterResults::filtersShowExactlyTheirRows_data()
{
    QTest::addColumn<QString>("job");
    QTest::addColumn<int>("standard");
    QTest::addColumn<int>("verdict");
    QTest::addColumn<int>("days");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("expected");
    const auto row = [](const char *name, const char *job, int standard, int verdict, int days, const char *text,
                         const char *expected) {
        QTest::newRow(name) << job << standard << verdict << days << text
                            << QString::fromLatin1(expected).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    };
    row("nothing chosen", "", allStandards, allVerdicts, anyTime, "",
        "sevenDays sixDays nothing accepted pitted cleaned dirtier dirty true changed multi old");
    row("current job", "Rack", allStandards, allVerdicts, anyTime, "", "nothing accepted pitted cleaned dirtier dirty");
    row("another job", "Old", allStandards, allVerdicts, anyTime, "", "old");
    row("job without any", "Empty", allStandards, allVerdicts, anyTime, "", "");
    row("multi mode", "", Standard::IEC61300_3_35_MM, allVerdicts, anyTime, "", "multi");
    row("standard that nobody used", "", Standard::IEC61300_3_35_SM_APC, allVerdicts, anyTime, "", "");
    row("today", "", allStandards, allVerdicts, today, "", "nothing accepted pitted cleaned dirtier dirty");
    row("week", "", allStandards, allVerdicts, week, "", "sixDays nothing accepted pitted cleaned dirtier dirty");
    row("month", "", allStandards, allVerdicts, month, "",
        "sevenDays sixDays nothing accepted pitted cleaned dirtier dirty multi");
    row("failed", "", allStandards, failed, anyTime, "", "sevenDays accepted pitted dirtier dirty");
    row("no verdict", "", allStandards, withoutVerdict, anyTime, "", "nothing");
    row("failed this week", "", allStandards, failed, week, "", "accepted pitted dirtier dirty");
    row("passed of a job", "Rack", allStandards, passed, anyTime, "", "cleaned");
    row("text, too", "Rack", allStandards, failed, today, "a1", "dirtier dirty");
    row("each, but not all at once", "Old", allStandards, failed, anyTime, "", "");
}

void tst_TesterResults::filtersShowExactlyTheirRows()
{
    QFETCH(const QString, job);
    QFETCH(const int, standard);
    QFETCH(const int, verdict);
    QFETCH(const int, days);
    QFETCH(const QString, text);
    QFETCH(const QStringList, expected);
    QVERIFY(openResults());
    QVERIFY(openFilter());

    QVERIFY(choose("jobFilter", job.isEmpty() ? allJobs : rowOfJob(job.toLatin1())));
    const auto standards = TesterSettings::standards();
    QVERIFY(choose("standardFilter",
        standard == allStandards ? allStandards : standards.indexOf(static_cast<Standard::Id>(standard)) + 1));
    QVERIFY(choose("verdictFilter", verdict));
    QVERIFY(choose("daysFilter", days));
    QVERIFY(type("search", text));

    QCOMPARE(shown(), expected);
    QCOMPARE(find("Nothing was found") != nullptr, expected.isEmpty());
}

void tst_TesterResults::aFilterOutlivesItsPage()
{
    QVERIFY(openResults());
    QVERIFY(openFilter());
    QVERIFY(choose("jobFilter", rowOfJob("Rack")));
    QVERIFY(choose("verdictFilter", failed));
    QVERIFY(choose("daysFilter", week));
    QVERIFY(type("search", QStringLiteral("a1")));
    QCOMPARE(shown(), QStringList({QStringLiteral("dirtier"), QStringLiteral("dirty")}));
    QVERIFY(goHome());

    QVERIFY(openResults());

    QCOMPARE(textOf("search"), QStringLiteral("a1"));
    QVERIFY(find("Filter (3)"));
    QCOMPARE(textOf("resultsHint"), QStringLiteral("Rack · Failed · Last 7 days")); // though the panel is closed
    QCOMPARE(shown(), QStringList({QStringLiteral("dirtier"), QStringLiteral("dirty")}));
}

void tst_TesterResults::allIsShownAgainAtOnce()
{
    QVERIFY(openResults());
    QVERIFY(openFilter());
    QVERIFY(!find("showAll")->isEnabled());
    QVERIFY(choose("verdictFilter", withoutVerdict));
    QCOMPARE(shown().size(), 1);

    QVERIFY(tap("showAll"));

    QVERIFY(ShellDriver::waitFor([this] { return shown().size() == mIds.size(); }));
    QVERIFY(!find("showAll")->isEnabled());
}

// --- The statistics --------------------------------------------------------------------------------------------------

void tst_TesterResults::theStatisticsOfAJobAreRight_data()
{
    QTest::addColumn<QString>("language");
    QTest::addColumn<QStringList>("texts"); // rate, of what, notice, times
    QTest::addColumn<QStringList>("ports");
    QTest::addColumn<QStringList>("failures");
    QTest::newRow("English") << QStringLiteral("en")
                             << QStringList{QStringLiteral("33.3 % passed"),
                                    QStringLiteral("1 of the 3 ports with a verdict; the job has 6"),
                                    QStringLiteral("2 of 6 ports are open: not inspected, or to be repeated. "
                                                   "1 without a verdict."),
                                    QStringLiteral("Median 35 s, the longest 2 min 5 s")}
                             << QStringList{QStringLiteral("check-lg passed|1"),
                                    QStringLiteral("x-lg failed, of these 1 accepted|2"),
                                    QStringLiteral("question-lg no verdict|1"), QStringLiteral("circle open|2")}
                             << QStringList{QStringLiteral("Core: defects > 3 µm|1"),
                                    QStringLiteral("Core: scratches ≥ 3 µm|1"),
                                    QStringLiteral("Cladding: defects > 25 µm|2")};
    QTest::newRow("German") << QStringLiteral("de")
                            << QStringList{QStringLiteral("33,3 % bestanden"),
                                   QStringLiteral("1 der 3 Ports mit Urteil; der Auftrag hat 6"),
                                   QStringLiteral("2 von 6 Ports sind offen: nicht geprüft oder zu wiederholen. "
                                                  "1 ohne Urteil."),
                                   QStringLiteral("Median 35 s, längste 2 min 5 s")}
                            << QStringList{QStringLiteral("check-lg bestanden|1"),
                                   QStringLiteral("x-lg nicht bestanden, davon 1 angenommen|2"),
                                   QStringLiteral("question-lg kein Urteil|1"), QStringLiteral("circle offen|2")}
                            << QStringList{QStringLiteral("Kern: Fehlstellen > 3 µm|1"),
                                   QStringLiteral("Kern: Kratzer ≥ 3 µm|1"),
                                   QStringLiteral("Mantel: Fehlstellen > 25 µm|2")};
}

void tst_TesterResults::theStatisticsOfAJobAreRight()
{
    QFETCH(const QString, language);
    QFETCH(const QStringList, texts);
    QFETCH(const QStringList, ports);
    QFETCH(const QStringList, failures);
    tester().language().setCurrent(language);

    QVERIFY(openStatistics("Rack"));

    QCOMPARE(QStringList({textOf("rate"), textOf("rateOf"), textOf("statisticsNotice"), textOf("times")}), texts);
    QCOMPARE(barsOf("portBars"), ports);
    QCOMPARE(barsOf("failureBars"), failures);
    QStringList sizes;
    const QVector<double> edges{0, 1, 2, 3, 5, 10, 25, 50, 1e9};
    for (int i = 0; i + 1 < edges.size(); ++i) {
        int number = 0;
        for (const char *const face : {"pitted", "scratched"}) {
            for (const auto &defect : Face::of(QString::fromLatin1(face)).inspection.defects())
                number += defect.causesFailure && defect.sizeMicrons >= edges[i] && defect.sizeMicrons < edges[i + 1];
        }
        const QString label = i == 0 ? QStringLiteral("< 1 µm")
            : i + 2 == edges.size()  ? QStringLiteral("≥ 50 µm")
                                     : QStringLiteral("%1 – %2 µm").arg(edges[i]).arg(edges[i + 1]);
        sizes << label + QLatin1Char('|') + QString::number(number);
    }
    QCOMPARE(barsOf("sizeBars"), sizes);
}

void tst_TesterResults::thePanelLeadsToItsStatistics()
{
    QVERIFY(tap("tile_102"));
    QVERIFY(waitFor("panel"));

    QVERIFY(tap("actionStatistics"));

    QVERIFY(waitForText("rate", QStringLiteral("33.3 % passed")));
    QVERIFY(driver().find(QStringLiteral("Statistics of Rack")));
    QVERIFY(driver().waitForRest());
    driver().press(Qt::Key_Escape);
    QVERIFY(waitFor("panel"));
    QVERIFY(driver().waitForRest());
    QVERIFY(find("actionStatistics"));
}

void tst_TesterResults::aJobWithoutVerdictsHasNoRate()
{
    QVERIFY(openStatistics("Empty"));

    QCOMPARE(textOf("rate"), QStringLiteral("There is no verdict yet"));
    QVERIFY(!find("rateOf"));
    QCOMPARE(textOf("statisticsNotice"), QStringLiteral("2 of 2 ports are open: not inspected, or to be repeated."));
    QVERIFY(textOf("times").startsWith(QStringLiteral("Not known")));
}

// --- Two side by side ------------------------------------------------------------------------------------------------

void tst_TesterResults::beforeAndAfterAreTheLastTwo()
{
    QVERIFY(openResults());
    QVERIFY(openResult("cleaned"));

    QVERIFY(tap("beforeAndAfter"));

    QVERIFY(waitFor("before"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(tester().comparison().before()->inspection(), mIds.value(QStringLiteral("dirtier")));
    QCOMPARE(tester().comparison().after()->inspection(), mIds.value(QStringLiteral("cleaned")));
    QVERIFY(driver().find(QStringLiteral("A1, side A: before and after")));
    QCOMPARE(textWithin("before", "caption"), QStringLiteral("Before"));
    QCOMPARE(textWithin("before", "verdict"), QStringLiteral("Failed"));
    QCOMPARE(textWithin("before", "words"), tester().comparison().before()->lines().value(0));
    QCOMPARE(textWithin("after", "verdict"), QStringLiteral("Passed"));
    QCOMPARE(textWithin("after", "words"), QStringLiteral("Nothing is above what the standard allows."));
    for (const char *const side : {"before", "after"})
        QVERIFY(within(find(side), "resultPicture")->property("paintedWidth").toDouble() > 0);
    QVERIFY(find("before")->mapToScene({}).x() < find("after")->mapToScene({}).x());
    QCOMPARE(tester().shownResult().inspection(), mIds.value(QStringLiteral("cleaned"))); // of the page below
}

void tst_TesterResults::anEarlierOneIsComparedWithTheLast()
{
    QVERIFY(openResults());
    QVERIFY(openResult("dirty"));

    QVERIFY(tap("beforeAndAfter"));

    QVERIFY(waitFor("before"));
    QCOMPARE(tester().comparison().before()->inspection(), mIds.value(QStringLiteral("dirty")));
    QCOMPARE(tester().comparison().after()->inspection(), mIds.value(QStringLiteral("cleaned")));
}

void tst_TesterResults::oneInspectionHasNoBeforeAndAfter()
{
    QVERIFY(openResults());
    for (const char *const name : {"pitted", "sixDays"}) {
        QVERIFY(openResult(name));
        QVERIFY(!find("beforeAndAfter"));
        QVERIFY(tap("actionBack"));
        QVERIFY(driver().waitForRest());
    }
}

void tst_TesterResults::twoThatAreChosenAreCompared()
{
    QVERIFY(openResults());
    QVERIFY(tap("compare"));
    QVERIFY(waitForText("resultsHint", QStringLiteral("Tap two inspections to compare them")));

    QVERIFY(tapRow("pitted"));
    QVERIFY(waitForText("resultsHint", QStringLiteral("Tap the second inspection")));
    QVERIFY(tapRow("dirtier")); // the earlier one

    QVERIFY(waitFor("before"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(tester().comparison().before()->inspection(), mIds.value(QStringLiteral("dirtier")));
    QCOMPARE(tester().comparison().after()->inspection(), mIds.value(QStringLiteral("pitted")));
    QCOMPARE(textWithin("before", "caption"), QStringLiteral("A1, side A"));
    QCOMPARE(textWithin("after", "caption"), QStringLiteral("A2, side A"));
    QVERIFY(tap("actionBack"));
    QVERIFY(waitFor("results"));
    QVERIFY(driver().waitForRest());
    QVERIFY(openResult("pitted")); // a tap opens again
}

void tst_TesterResults::aChoiceIsTakenBack()
{
    QVERIFY(openResults());
    QVERIFY(tap("compare"));
    QVERIFY(tap("result_2"));
    QVERIFY(waitForText("resultsHint", QStringLiteral("Tap the second inspection")));

    QVERIFY(tap("result_2"));

    QVERIFY(waitForText("resultsHint", QStringLiteral("Tap two inspections to compare them")));
    QVERIFY(!find("before"));
}

// --- What cannot be trusted ------------------------------------------------------------------------------------------

void tst_TesterResults::aPictureThatIsMissingIsTold()
{
    QVERIFY(openResults());
    tester().comparison().show(mIds.value(QStringLiteral("multi")), mIds.value(QStringLiteral("pitted")));

    evaluate(QStringLiteral("appController.navigateTo(pageRegistry.compare, '', {})"));

    QVERIFY(waitFor("before"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(textWithin("before", "missingPicture"), QStringLiteral("The picture is missing"));
    QCOMPARE(textWithin("after", "missingPicture"), QString());
    QVERIFY(tap("actionBack"));
    QVERIFY(driver().waitForRest());
    QVERIFY(openResult("multi"));
    QVERIFY(waitFor("The picture is missing"));
}

void tst_TesterResults::aContradictionIsNoPass()
{
    const Id changed = mIds.value(QStringLiteral("changed"));
    QCOMPARE(tester().jobs().records().inspection(changed).value.verdict, Records::Verdict::Passed);
    QVERIFY(openResults());
    const int row = tester().jobs().results()->indexOf(changed);
    const auto isDoubtful = [this](int index) {
        return tester().jobs().results()->row(index).value(QStringLiteral("isDoubtful")).toBool();
    };
    for (int i = 0; i < tester().jobs().results()->count(); ++i)
        QCOMPARE(isDoubtful(i), i == row);
    QVERIFY(type("search", QStringLiteral("doubt a1")));
    QVERIFY(waitFor("in doubt"));
    QVERIFY(!find("passed"));

    QVERIFY(openResult("changed"));

    QCOMPARE(textOf("verdict"), QStringLiteral("In doubt"));
    QVERIFY(textOf("words").startsWith(QStringLiteral("The record contradicts itself")));
    QVERIFY(tap("actionBack"));
    tester().comparison().show(changed, mIds.value(QStringLiteral("true")));
    QVERIFY(driver().waitForRest());
    evaluate(QStringLiteral("appController.navigateTo(pageRegistry.compare, '', {})"));
    QVERIFY(waitFor("before"));
    QCOMPARE(textWithin("before", "verdict"), QStringLiteral("In doubt"));
    QCOMPARE(textWithin("after", "verdict"), QStringLiteral("Passed"));
}

void tst_TesterResults::aContradictionIsNotCountedAsPassed()
{
    QVERIFY(openStatistics("Doubt"));

    QCOMPARE(textOf("rateOf"), QStringLiteral("1 of the 1 ports with a verdict; the job has 3"));
    QCOMPARE(textOf("statisticsNotice"),
        QStringLiteral("1 of 3 ports are open: not inspected, or to be repeated. "
                       "1 in doubt: the record contradicts itself."));
    QVERIFY(barsOf("portBars").contains(QStringLiteral("exclamation-triangle in doubt|1")));
    QVERIFY(barsOf("portBars").contains(QStringLiteral("check-lg passed|1")));
}

void tst_TesterResults::thePanelShowsItInDoubt()
{
    QVERIFY(tester().jobs().openJob(mJobs.value(QStringLiteral("Doubt"))));
    QVERIFY(tap("tile_102"));
    QVERIFY(waitFor("panel"));

    QCOMPARE(textOf("panelCounts"), QStringLiteral("2 of 3, 0 failed, 1 in doubt"));
    QVERIFY(tap("point_A1"));
    QVERIFY(waitForText("selectedPoint", QStringLiteral("A1, side A: in doubt")));
    QVERIFY(tap("point_A2"));
    QVERIFY(waitForText("selectedPoint", QStringLiteral("A2, side A: passed")));
    QVERIFY(tester().jobs().openJob(mJobs.value(QStringLiteral("Rack"))));
}

void tst_TesterResults::allThatThePanelCountsCanBeRead()
{
    tester().language().setCurrent(QStringLiteral("de"));
    QVERIFY(tester().jobs().setJobClosed(true));
    QVERIFY(tap("tile_102"));
    QVERIFY(waitFor("panelCounts"));

    QCOMPARE(textOf("panelCounts"),
        QStringLiteral("4 von 6, 1 nicht bestanden, 1 angenommen, 1 ohne Urteil – abgeschlossen"));
    QVERIFY(!find("panelCounts")->property("truncated").toBool());
    QVERIFY(tester().jobs().setJobClosed(false));
    tester().language().setCurrent(QStringLiteral("en"));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterResults>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_results.moc"
