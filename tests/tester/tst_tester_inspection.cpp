// SPDX-License-Identifier: Apache-2.0
// From the home page to the verdict, on every way there is.
#include "FiberInspection/Standard.h"
#include "TesterTest.h"
#include "simulation/SimulatedScope.h"

#include <QPointer>

#include <algorithm>

using FiberInspection::FiberRealtimeAnalyser;
using FiberInspection::Standard;

class tst_TesterInspection : public TesterTest
{
    Q_OBJECT

public:
    using TesterTest::TesterTest;

private Q_SLOTS:
    void theRoadFromHomeToTheVerdict_data();
    void theRoadFromHomeToTheVerdict();
    void everyStandardIsApplied_data();
    void everyStandardIsApplied();
    void theStandardThatWasUsedLastComesFirst();
    void theAutomaticModeCapturesInFocus();
    void anImageOutOfFocusIsNotInspected();
    void theSecondInspectionShowsItsOwnVerdict();
    void leavingDuringTheAnalysisShowsNothingOfIt();
    void theVerdictForAPageThatWasLeftIsNotThatOfTheNextOne();
    void aPictureThatIsSavedAtOnceIsInspected();

private:
    bool turnKnobToFocus() const;
    bool turnThrough(double from, double to) const;
    bool waitForNewFrame() const;
    QObject *focusTracker() const;
    QQuickItem *standardBox() const;
    bool chooseStandard(Standard::Id standard) const;
};

/// By its keys, as far as the middle.
bool tst_TesterInspection::turnKnobToFocus() const
{
    constexpr int mostSteps = 100;
    find("focusKnob")->forceActiveFocus(Qt::TabFocusReason);
    for (int i = 0; i < mostSteps && scope()->focus() > 0.005; ++i)
        driver().press(Qt::Key_Left);
    return qAbs(scope()->focus()) < 0.02 && ShellDriver::waitFor([] { return scope()->isSettled(); });
}

/// As slowly as the page can follow; ends when the page is left.
bool tst_TesterInspection::turnThrough(double from, double to) const
{
    constexpr int steps = 12;
    for (int i = 0; i <= steps && inspectionPage(); ++i) {
        scope()->setFocus(from + (to - from) * i / steps);
        if (!ShellDriver::waitFor([] { return scope()->isSettled(); }) || !waitForNewFrame())
            return false;
    }
    return true;
}

/// Returns when the page knows how sharp the present picture is, or is left.
bool tst_TesterInspection::waitForNewFrame() const
{
    constexpr int frames = 3; // an earlier one may be under analysis, and another one wait to be shown
    const QPointer<FiberRealtimeAnalyser> analyser = driver().window()->findChild<FiberRealtimeAnalyser *>();
    const QPointer<QObject> tracker = focusTracker();
    const auto isTold = [&] { return tracker && tracker->property("currentFocus").toDouble() != -1; };
    for (int i = 0; i < frames && inspectionPage(); ++i) {
        if (!analyser || !tracker)
            return false;
        analyser->set_focusValue(-1); // the page does not count it
        if (!ShellDriver::waitFor([&] { return !inspectionPage() || isTold(); }))
            return false;
    }
    return true;
}

/// What follows the focus for the automatic mode.
QObject *tst_TesterInspection::focusTracker() const
{
    const QList<QObject *> objects =
        inspectionPage() ? inspectionPage()->findChildren<QObject *>() : QList<QObject *>();
    const auto tracker = std::find_if(objects.begin(), objects.end(),
        [](const QObject *object) { return object->property("currentFocus").isValid(); });
    return tracker == objects.end() ? nullptr : *tracker;
}

QQuickItem *tst_TesterInspection::standardBox() const
{
    const QList<QQuickItem *> items = inspectionPage()->findChildren<QQuickItem *>();
    const auto box = std::find_if(items.begin(), items.end(),
        [](const QQuickItem *item) { return item->property("valueRole").toString() == QLatin1String("id"); });
    return box == items.end() ? nullptr : *box;
}

/// By taps; not the one that is chosen already.
bool tst_TesterInspection::chooseStandard(Standard::Id standard) const
{
    const QQuickItem *const box = standardBox();
    if (!box)
        return false;
    const QString name = Standard::name(standard);
    const auto isChosen = [=] { return box->property("displayText").toString() == name; };
    driver().tap(box);
    const QObject *const popup = box->property("popup").value<QObject *>();
    return ShellDriver::waitFor([=] { return popup->property("opened").toBool(); }) && driver().tap(name)
        && ShellDriver::waitFor(isChosen) && ShellDriver::waitFor([=] { return !popup->property("visible").toBool(); });
}

void tst_TesterInspection::theRoadFromHomeToTheVerdict_data()
{
    QTest::addColumn<QString>("face");
    QTest::addColumn<bool>("passes");
    QTest::addColumn<QString>("snackBarText");

    QTest::newRow("clean") << QStringLiteral("clean") << true << QStringLiteral("Connector test passed");
    QTest::newRow("pitted") << QStringLiteral("pitted") << false << QStringLiteral("Connector test failed");
}

void tst_TesterInspection::theRoadFromHomeToTheVerdict()
{
    QFETCH(const QString, face);
    QFETCH(const bool, passes);
    QFETCH(const QString, snackBarText);

    scope()->setFace(face);
    QVERIFY(openInspection());
    QVERIFY(turnKnobToFocus());
    QVERIFY(driver().waitForSharpFrame());

    QVERIFY(tap("Analyse"));
    QVERIFY(driver().waitForItem(snackBarText));
    QVERIFY(driver().waitForItem(passes ? QStringLiteral("✓") : QStringLiteral("X")));

    QVERIFY(tap("actionDetails"));
    QVERIFY(waitFor("rules"));
    const InspectionDetails &details = tester().details();
    QCOMPARE(details.passed(), passes);
    QCOMPARE(find("rules")->property("count").toInt(), details.rules().size());
    QCOMPARE(find("detailsVerdict")->property("text").toString(),
        passes ? QStringLiteral("Passed") : QStringLiteral("Failed"));

    int violated = 0;
    const auto rules = details.rules();
    for (const QVariant &row : rules) {
        const QVariantMap rule = row.toMap();
        const int allowed = rule[QStringLiteral("allowed")].toInt();
        const bool isAbove = allowed >= 0 && rule[QStringLiteral("found")].toInt() > allowed;
        QCOMPARE(rule[QStringLiteral("violated")].toBool(), isAbove);
        violated += isAbove ? 1 : 0;
    }
    QCOMPARE(violated == 0, passes);

    // The picture is 272 pixels of 800 for 860 micrometres; the contact zone is 250 micrometres wide.
    QCOMPARE(details.zones().size(), 4);
    const double contact = details.zones().constLast().toMap()[QStringLiteral("diameter")].toDouble();
    QVERIFY(qAbs(contact - 250.0 * 800 / 860) < 0.001);
    QVERIFY(waitFor("zoneRing"));

    QVERIFY(tap("detailsClose"));
    QVERIFY(ShellDriver::waitFor([this] { return !find("rules"); }));
}

void tst_TesterInspection::everyStandardIsApplied_data()
{
    QTest::addColumn<Standard::Id>("standard");

    const QVector<Standard::Id> standards = TesterSettings::standards();
    for (const Standard::Id standard : standards)
        QTest::newRow(qPrintable(Standard::name(standard))) << standard;
}

void tst_TesterInspection::everyStandardIsApplied()
{
    QFETCH(const Standard::Id, standard);
    const Standard::Id former =
        standard == Standard::IEC61300_3_35_MM ? Standard::IEC61300_3_35_SM_APC : Standard::IEC61300_3_35_MM;
    tester().settings().setQuickStandard(former); // or the standard might be chosen without a tap
    QVERIFY(openInspection());
    QVERIFY(chooseStandard(standard));
    QVERIFY(focus());
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); })); // that of the test before

    QVERIFY(tap("Analyse"));

    QVERIFY(waitFor("Connector test passed"));
    QCOMPARE(tester().details().standardName(), Standard::name(standard));
}

void tst_TesterInspection::theStandardThatWasUsedLastComesFirst()
{
    QCOMPARE(TesterSettings::standards().constFirst(), Standard::IEC61300_3_35_SM_RL45);
    QVERIFY(!TesterSettings::standards().contains(Standard::Manual));
    tester().settings().setQuickStandard(Standard::IEC61300_3_35_SM_APC);

    QVERIFY(openInspection());

    QCOMPARE(standardBox()->property("displayText").toString(), Standard::name(Standard::IEC61300_3_35_SM_APC));
    QCOMPARE(standardBox()->property("count").toInt(), TesterSettings::standards().size());
    tester().settings().setQuickStandard(Standard::IEC61300_3_35_SM_RL45);
}

void tst_TesterInspection::theAutomaticModeCapturesInFocus()
{
    constexpr double sharp = 0.3; // of the knob's way, on both sides
    QVERIFY(openInspection());
    QVERIFY(tap("Auto Analyse"));
    QVERIFY(!find("Analyse")->isEnabled());
    QVERIFY(waitFor("Turn focus knob slowly from left to right & left again"));

    QVERIFY(turnThrough(0.8, sharp)); // there is nothing to capture on the way
    QVERIFY(inspectionPage());
    QVERIFY(turnThrough(sharp, -sharp));
    QVERIFY(turnThrough(-sharp, sharp));

    QVERIFY(waitFor("Connector test passed"));
    QVERIFY(waitFor("actionDetails"));
    QVERIFY(tester().details().passed());
}

void tst_TesterInspection::anImageOutOfFocusIsNotInspected()
{
    scope()->setFocus(1);
    QVERIFY(openInspection());
    QVERIFY(ShellDriver::waitFor([] { return scope()->isSettled(); }));

    QVERIFY(tap("Analyse"));

    QVERIFY(waitFor("Image out of Focus"));
    QVERIFY(ShellDriver::waitFor([this] { return find("messageConfirm")->hasActiveFocus(); }));
    driver().press(Qt::Key_Return);
    QVERIFY(ShellDriver::waitFor([this] { return !find("messageConfirm"); }));
    QVERIFY(find("Analyse")); // still the same page
}

void tst_TesterInspection::theSecondInspectionShowsItsOwnVerdict()
{
    scope()->setFace(QStringLiteral("pitted"));
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(tap("Analyse"));
    QVERIFY(waitFor("X"));
    QVERIFY(tap("actionBack"));
    QVERIFY(driver().waitForRest());

    scope()->setFace(QStringLiteral("clean"));
    QVERIFY(focus());
    QVERIFY(tap("Analyse"));

    QVERIFY(waitFor("✓"));
    QVERIFY(!find("X"));
    QVERIFY(waitFor("actionDetails")); // they may come a moment after the verdict
    QVERIFY(tester().details().passed());
}

void tst_TesterInspection::leavingDuringTheAnalysisShowsNothingOfIt()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); })); // that of the test before
    {
        const HeldInspections held;
        QVERIFY(openResultAfterRequest());
        driver().press(Qt::Key_Escape);
        QVERIFY(ShellDriver::waitFor([this] { return find("Analyse") && driver().isAtRest(); }));
    }

    QVERIFY(ShellDriver::waitFor([this] { return tester().details().isReady(); })); // the answer came
    QVERIFY(!evaluate(QStringLiteral("snackBar.isShown")).toBool()); // before it could be seen
    QVERIFY(!find("actionDetails"));

    QVERIFY(focus());
    QVERIFY(tap("Analyse"));
    QVERIFY(waitFor("Connector test passed"));
}

void tst_TesterInspection::theVerdictForAPageThatWasLeftIsNotThatOfTheNextOne()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); })); // that of the test before
    const QSignalSpy answers(&tester().fiberManager(), &FiberManager::analyseFinished);
    {
        const HeldInspections held;
        QVERIFY(openResultAfterRequest());
        QVERIFY(tap("actionBack"));
        QVERIFY(driver().waitForRest());
        QVERIFY(focus());

        QVERIFY(openResultAfterRequest());
    }

    QVERIFY(waitFor("Connector test passed"));
    QCOMPARE(answers.count(), 1);
}

void tst_TesterInspection::aPictureThatIsSavedAtOnceIsInspected()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); })); // that of the test before
    scope()->saveNextStillAtOnce();

    QVERIFY(tap("Analyse"));

    QVERIFY(waitFor("Connector test passed"));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterInspection>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_inspection.moc"
