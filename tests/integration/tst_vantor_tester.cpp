// SPDX-License-Identifier: Apache-2.0
// The application as its user meets it: the real window, the real managers, the simulated scope; keys and taps.
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "ShellDriver.h"
#include "SimulatedScope.h"
#include "Tester.h"
#include "TesterDirHelper.h"

#include <QGuiApplication>
#include <QTemporaryDir>
#include <QtTest>

class tst_VantorTester : public QObject
{
    Q_OBJECT

public:
    explicit tst_VantorTester(Tester *tester)
        : mTester(tester)
        , mDriver(tester->window())
    {
    }

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void theRoadFromHomeToTheVerdict_data();
    void theRoadFromHomeToTheVerdict();
    void anImageOutOfFocusIsNotInspected();
    void theKeyboardAloneDoes();
    void withoutScopeThereIsNoInspection();
    void unpluggingLeavesTheInspectionPage();
    void unpluggingLeavesTheResultPageToo();
    void languageChangesWhatIsShown();
    void theLayersActionHidesTheCircles();

private:
    QQuickItem *knob() const { return mDriver.find(QStringLiteral("focusKnob")); }
    bool turnKnobToFocus() const;
    bool isHome() const { return !mDriver.find(QStringLiteral("actionBack")); }
    bool goHome() const;
    QQuickItem *inspectionPage() const;
    bool isSharp() const;

    Tester *const mTester;
    const ShellDriver mDriver;
};

void tst_VantorTester::initTestCase()
{
    QVERIFY(QTest::qWaitForWindowActive(mDriver.window()));
}

void tst_VantorTester::init()
{
    QVERIFY(goHome());
    SimulatedScope::instance()->setPlugged(true);
    SimulatedScope::instance()->setFace(QStringLiteral("clean"));
    SimulatedScope::instance()->setFocus(0.4);
    mTester->language().setCurrent(QStringLiteral("en"));
}

void tst_VantorTester::cleanup()
{
    if (mDriver.find(QStringLiteral("messageConfirm")))
        mDriver.tap(QStringLiteral("messageConfirm"));
}

bool tst_VantorTester::goHome() const
{
    constexpr int deepest = 3;
    for (int i = 0; i < deepest && mDriver.waitForRest() && !isHome(); ++i)
        mDriver.tap(QStringLiteral("actionBack"));
    return mDriver.waitForRest() && isHome();
}

/// Null when it is not shown.
QQuickItem *tst_VantorTester::inspectionPage() const
{
    QQuickItem *page = mDriver.find(QStringLiteral("Analyse"));
    while (page && !page->property("zonesVisible").isValid())
        page = page->parentItem();
    return page;
}

/// Waits for the live analysis of a new frame.
bool tst_VantorTester::isSharp() const
{
    const auto analyser = inspectionPage()->findChild<FiberInspection::FiberRealtimeAnalyser *>();
    if (!analyser)
        return false;
    analyser->set_focusValue(-1); // what an earlier frame left behind
    return ShellDriver::waitFor([analyser] { return analyser->focusValue() > 2.5; });
}

/// By its keys, as far as the middle.
bool tst_VantorTester::turnKnobToFocus() const
{
    constexpr int mostSteps = 100;
    knob()->forceActiveFocus(Qt::TabFocusReason);
    for (int i = 0; i < mostSteps && SimulatedScope::instance()->focus() > 0.005; ++i)
        mDriver.press(Qt::Key_Left);
    return qAbs(SimulatedScope::instance()->focus()) < 0.02
        && ShellDriver::waitFor([] { return SimulatedScope::instance()->isSettled(); });
}

void tst_VantorTester::theRoadFromHomeToTheVerdict_data()
{
    QTest::addColumn<QString>("face");
    QTest::addColumn<bool>("passes");
    QTest::addColumn<QString>("snackBarText");

    QTest::newRow("clean") << QStringLiteral("clean") << true << QStringLiteral("Connector test passed");
    QTest::newRow("pitted") << QStringLiteral("pitted") << false << QStringLiteral("Connector test failed");
}

void tst_VantorTester::theRoadFromHomeToTheVerdict()
{
    QFETCH(const QString, face);
    QFETCH(const bool, passes);
    QFETCH(const QString, snackBarText);

    SimulatedScope::instance()->setFace(face);
    QVERIFY(mDriver.tap(QStringLiteral("tile_1")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Analyse")));
    QVERIFY(turnKnobToFocus());
    QVERIFY(isSharp());

    QVERIFY(mDriver.tap(QStringLiteral("Analyse")));
    QVERIFY(mDriver.waitForItem(snackBarText));
    QVERIFY(mDriver.waitForItem(passes ? QStringLiteral("✓") : QStringLiteral("X")));

    QVERIFY(mDriver.tap(QStringLiteral("actionDetails")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("rules")));
    const InspectionDetails &details = mTester->details();
    QCOMPARE(details.passed(), passes);
    QCOMPARE(mDriver.find(QStringLiteral("rules"))->property("count").toInt(), details.rules().size());
    QCOMPARE(mDriver.find(QStringLiteral("detailsVerdict"))->property("text").toString(),
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
    QCOMPARE(contact, 250.0 * 800 / 860);
    QVERIFY(mDriver.waitForItem(QStringLiteral("zoneRing")));

    QVERIFY(mDriver.tap(QStringLiteral("detailsClose")));
    QVERIFY(ShellDriver::waitFor([this] { return !mDriver.find(QStringLiteral("rules")); }));
}

void tst_VantorTester::anImageOutOfFocusIsNotInspected()
{
    SimulatedScope::instance()->setFocus(1);
    QVERIFY(mDriver.tap(QStringLiteral("tile_1")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Analyse")));
    QVERIFY(mDriver.waitForRest());
    QVERIFY(ShellDriver::waitFor([] { return SimulatedScope::instance()->isSettled(); }));

    QVERIFY(mDriver.tap(QStringLiteral("Analyse")));

    QVERIFY(mDriver.waitForItem(QStringLiteral("Image out of Focus")));
    QVERIFY(ShellDriver::waitFor([this] { return mDriver.find(QStringLiteral("messageConfirm"))->hasActiveFocus(); }));
    mDriver.press(Qt::Key_Return);
    QVERIFY(ShellDriver::waitFor([this] { return !mDriver.find(QStringLiteral("messageConfirm")); }));
    QVERIFY(mDriver.find(QStringLiteral("Analyse"))); // still the same page
}

void tst_VantorTester::theKeyboardAloneDoes()
{
    constexpr int mostStops = 20;
    QQuickItem *const tile = mDriver.find(QStringLiteral("tile_1"));
    for (int i = 0; i < mostStops && !tile->hasActiveFocus(); ++i)
        mDriver.press(Qt::Key_Tab);
    QVERIFY(tile->hasActiveFocus());

    mDriver.press(Qt::Key_Return);
    QVERIFY(mDriver.waitForItem(QStringLiteral("Analyse")));
    QVERIFY(mDriver.waitForRest());

    mDriver.press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return isHome(); }));
}

void tst_VantorTester::withoutScopeThereIsNoInspection()
{
    SimulatedScope::instance()->setPlugged(false);

    QVERIFY(mDriver.waitForItem(QStringLiteral("Please plug in the fibre scope")));
    QVERIFY(!mDriver.find(QStringLiteral("tile_1"))->isEnabled());
    QVERIFY(mDriver.waitForItem(QStringLiteral("No fibre scope")));

    QVERIFY(mDriver.tap(QStringLiteral("plug")));
    QVERIFY(ShellDriver::waitFor([this] { return mDriver.find(QStringLiteral("tile_1"))->isEnabled(); }));
}

void tst_VantorTester::unpluggingLeavesTheInspectionPage()
{
    QVERIFY(mDriver.tap(QStringLiteral("tile_1")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Analyse")));
    QVERIFY(mDriver.waitForRest());

    QVERIFY(mDriver.tap(QStringLiteral("plug")));

    QVERIFY(ShellDriver::waitFor([this] { return isHome(); }));
}

void tst_VantorTester::unpluggingLeavesTheResultPageToo()
{
    SimulatedScope::instance()->setFocus(0);
    QVERIFY(mDriver.tap(QStringLiteral("tile_1")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Analyse")));
    QVERIFY(ShellDriver::waitFor([] { return SimulatedScope::instance()->isSettled(); }));
    QVERIFY(isSharp());
    QVERIFY(mDriver.tap(QStringLiteral("Analyse")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("actionDetails")));
    QVERIFY(mDriver.waitForRest());

    QVERIFY(mDriver.tap(QStringLiteral("plug")));

    QVERIFY(mDriver.waitForItem(QStringLiteral("Please plug in the fibre scope")));
    QVERIFY(mDriver.waitForRest());
    QVERIFY(isHome());
    QVERIFY(!mDriver.find(QStringLiteral("actionDetails")));
}

void tst_VantorTester::languageChangesWhatIsShown()
{
    QVERIFY(mDriver.tap(QStringLiteral("language_de")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Faserprüfung")));
    QVERIFY(mDriver.tap(QStringLiteral("tile_1")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Prüfnorm"))); // a text of the library
    QVERIFY(goHome());
    QVERIFY(mDriver.tap(QStringLiteral("language_en")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Fibre inspection")));
}

void tst_VantorTester::theLayersActionHidesTheCircles()
{
    QVERIFY(!mDriver.find(QStringLiteral("actionLayers")));
    QVERIFY(mDriver.tap(QStringLiteral("tile_1")));
    QVERIFY(mDriver.waitForItem(QStringLiteral("Analyse")));
    QVERIFY(mDriver.waitForRest());
    QQuickItem *const page = inspectionPage();
    QVERIFY(page);
    QVERIFY(page->property("zonesVisible").toBool());

    QVERIFY(mDriver.tap(QStringLiteral("actionLayers")));

    QVERIFY(!page->property("zonesVisible").toBool());
}

namespace {
int faults = 0; // lines in the log that should not be there
QtMessageHandler previousHandler = nullptr;

void countFaults(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtWarningMsg || type == QtCriticalMsg)
        ++faults;
    previousHandler(type, context, text);
}
} // namespace

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    const TesterDirHelper folders(workDir.path());
    Tester::prepareProcess(QStringLiteral(VANTOR_PLUGINS));
    const QGuiApplication application(argc, argv);
    previousHandler = qInstallMessageHandler(&countFaults);
    int result = 1;
    {
        Tester tester(QSize(800, 480));
        if (!tester.window())
            return 1;
        tst_VantorTester test(&tester);
        result = QTest::qExec(&test, argc, argv);
    }
    return result + faults; // shutting down has to be silent, too
}

#include "tst_vantor_tester.moc"
