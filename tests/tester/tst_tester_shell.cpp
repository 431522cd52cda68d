// SPDX-License-Identifier: Apache-2.0
// What is around the pages: keys, language, title bar, notifications, locked pages.
#include "FiberInspection/Standard.h"
#include "TesterTest.h"
#include "simulation/SimulatedScope.h"

#include <algorithm>

using FiberInspection::Standard;

class tst_TesterShell : public TesterTest
{
    Q_OBJECT

public:
    using TesterTest::TesterTest;

private Q_SLOTS:
    void theKeyboardAloneDoes();
    void escapeLeavesThePageWhoeverHasTheKeyboard();
    void languageChangesWhatIsShown();
    void theLayersActionHidesTheCircles();
    void theStatusBarPullsTheNotifications();
    void aLockedPageHoldsTheUser();
    void whatComesWhileAPageIsLockedIsShownAfterwards();
    void aPageAboveALockedOneHasItsOwnActions();
    void aLockedPageThatComesToTheTopAgainHoldsTheUser();
    void theAboutPageNamesScopeAndStandards();
    void aPageThatIsNotThereIsSaid();
    void aPageThatGoesAsItComesIsGone();
    void aPageThatGoesOftenTakesNoOtherAlong();
    void aPageThatGoesWithoutTransitionLeavesTheOneBelowInPlace();
    void aPageThatWaitsGoesTheWayItWasTold();
    void aDoubleTapOpensOnePage();
    void whileAPageGoesItTakesNoInput();
    void whileAPageComesItTakesNoInput();
    void aBouncingKeyOfTheScopeCapturesOnce();

private:
    void pressKeyOfScope() const;
    QQuickItem *viewOfPages() const;
};

namespace {
/// While it lives, pages move slowly enough to do something meanwhile.
class SlowPages
{
public:
    explicit SlowPages(QQuickItem *stack)
        : mStack(stack)
        , mMoveTime(stack->property("moveTime"))
    {
        stack->setProperty("moveTime", 5000); // milliseconds
    }
    ~SlowPages() { mStack->setProperty("moveTime", mMoveTime); }
    SlowPages(const SlowPages &) = delete;
    SlowPages &operator=(const SlowPages &) = delete;

private:
    QQuickItem *const mStack;
    const QVariant mMoveTime;
};
} // namespace

void tst_TesterShell::theKeyboardAloneDoes()
{
    constexpr int mostStops = 20;
    QQuickItem *const tile = find("tile_1");
    for (int i = 0; i < mostStops && !tile->hasActiveFocus(); ++i)
        driver().press(Qt::Key_Tab);
    QVERIFY(tile->hasActiveFocus());

    driver().press(Qt::Key_Return);
    QVERIFY(waitFor("Analyse"));
    QVERIFY(driver().waitForRest());

    QVERIFY(ShellDriver::waitFor([this] { return find("Analyse")->isEnabled(); }));
    find("Analyse")->forceActiveFocus(Qt::TabFocusReason); // still out of focus
    driver().press(Qt::Key_Return);
    QVERIFY(waitFor("Image out of Focus"));
    QVERIFY(ShellDriver::waitFor([this] { return find("messageConfirm")->hasActiveFocus(); }));
    driver().press(Qt::Key_Return);
    QVERIFY(ShellDriver::waitFor([this] { return !find("messageConfirm"); }));

    driver().press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return isHome(); }));
}

void tst_TesterShell::escapeLeavesThePageWhoeverHasTheKeyboard()
{
    QVERIFY(openInspection());
    find("focusKnob")->forceActiveFocus(Qt::TabFocusReason);

    driver().press(Qt::Key_Escape);

    QVERIFY(ShellDriver::waitFor([this] { return isHome(); }));
}

void tst_TesterShell::languageChangesWhatIsShown()
{
    QVERIFY(tap("language_de"));
    QVERIFY(waitFor("Schnellprüfung"));
    QVERIFY(tap("tile_1"));
    QVERIFY(waitFor("Prüfnorm")); // a text of the library
    QVERIFY(goHome());
    QVERIFY(tap("language_en"));
    QVERIFY(waitFor("Quick inspection"));
}

void tst_TesterShell::theLayersActionHidesTheCircles()
{
    QVERIFY(!find("actionLayers"));
    QVERIFY(openInspection());
    QQuickItem *const page = inspectionPage();
    QVERIFY(page);
    QVERIFY(page->property("zonesVisible").toBool());

    QVERIFY(tap("actionLayers"));

    QVERIFY(!page->property("zonesVisible").toBool());
}

void tst_TesterShell::theStatusBarPullsTheNotifications()
{
    const QPoint statusBar(300, 10);
    const auto line = [] {
        return QTime::currentTime().toString(QStringLiteral("hh:mm   ")) + QStringLiteral("Fibre scope connected");
    };
    const QString earliest = line();
    scope()->setPlugged(false);
    scope()->setPlugged(true);

    QTest::mouseClick(driver().window(), Qt::LeftButton, Qt::NoModifier, statusBar);

    QVERIFY(ShellDriver::waitFor([this] { return evaluate(QStringLiteral("notificationArea.opened")).toBool(); }));
    QVERIFY(driver().find(earliest) || driver().find(line())); // the minute may have changed meanwhile
    driver().press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return !evaluate(QStringLiteral("notificationArea.visible")).toBool(); }));
}

void tst_TesterShell::aLockedPageHoldsTheUser()
{
    QVERIFY(openInspection());
    QVERIFY(QMetaObject::invokeMethod(inspectionPage(), "lockPage"));

    QVERIFY(!find("actionBack"));
    QVERIFY(!find("actionLayers"));
    driver().press(Qt::Key_Escape);
    QTest::mouseClick(driver().window(), Qt::LeftButton, Qt::NoModifier, QPoint(300, 10));
    QTest::qWait(100); // milliseconds; nothing comes of it
    QVERIFY(inspectionPage());
    QVERIFY(!evaluate(QStringLiteral("stackView.busy")).toBool());
    QVERIFY(!evaluate(QStringLiteral("notificationArea.visible")).toBool());

    QVERIFY(QMetaObject::invokeMethod(inspectionPage(), "unlockPage"));
    QVERIFY(find("actionBack"));
    QVERIFY(find("actionLayers"));
    QVERIFY(!find("actionDetails"));
    QVERIFY(evaluate(QStringLiteral("notificationArea.interactive")).toBool());
}

void tst_TesterShell::whatComesWhileAPageIsLockedIsShownAfterwards()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    {
        const HeldInspections held;
        QVERIFY(openResult());
        evaluate(QStringLiteral("stackView.currentItem.lockPage()"));
    }
    QVERIFY(ShellDriver::waitFor([this] { return tester().details().isReady(); }));
    QVERIFY(!find("actionDetails"));

    evaluate(QStringLiteral("stackView.currentItem.unlockPage()"));

    QVERIFY(waitFor("actionDetails"));
    QVERIFY(find("actionBack"));
}

void tst_TesterShell::aPageAboveALockedOneHasItsOwnActions()
{
    QVERIFY(openInspection());
    QQuickItem *const page = inspectionPage();
    QVERIFY(QMetaObject::invokeMethod(page, "lockPage"));
    evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
    QVERIFY(driver().waitForRest());
    QVERIFY(find("actionBack"));
    QVERIFY(!find("actionLayers"));

    QVERIFY(QMetaObject::invokeMethod(page, "unlockPage"));

    QVERIFY(ShellDriver::waitFor([this] { return !find("actionLayers"); }));
    QVERIFY(find("actionBack"));
    QVERIFY(tap("actionBack"));
    QVERIFY(waitFor("actionLayers"));
}

void tst_TesterShell::aLockedPageThatComesToTheTopAgainHoldsTheUser()
{
    QVERIFY(openInspection());
    QQuickItem *const page = inspectionPage();
    QVERIFY(QMetaObject::invokeMethod(page, "lockPage"));
    evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
    QVERIFY(driver().waitForRest());

    QVERIFY(tap("actionBack"));

    QVERIFY(driver().waitForRest());
    QCOMPARE(inspectionPage(), page);
    QVERIFY(!find("actionBack"));
    QVERIFY(!find("actionLayers"));
    QVERIFY(QMetaObject::invokeMethod(page, "unlockPage"));
    QVERIFY(find("actionBack"));
    QVERIFY(find("actionLayers"));
}

void tst_TesterShell::theAboutPageNamesScopeAndStandards()
{
    QVERIFY(tap("tile_100"));
    QVERIFY(waitFor("ODM Scope 2"));
    QVERIFY(waitFor("About this unit"));
    const QVector<Standard::Id> standards = TesterSettings::standards();
    QStringList names;
    for (const Standard::Id standard : standards)
        names.append(Standard::name(standard));
    QVERIFY(driver().waitForItem(names.join(QLatin1Char('\n'))));
    QVERIFY(driver().waitForRest());
    driver().press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return isHome(); }));
}

void tst_TesterShell::aPageThatIsNotThereIsSaid()
{
    QTest::ignoreMessage(QtCriticalMsg, "there is no page 99");

    evaluate(QStringLiteral("appController.navigateTo(99, \"\", {})"));

    QVERIFY(isHome());
}

void tst_TesterShell::aPageThatGoesAsItComesIsGone()
{
    constexpr int often = 20;
    for (int i = 0; i < often; ++i) {
        evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
        evaluate(QStringLiteral("stackView.currentItem.back()"));
        QVERIFY(ShellDriver::waitFor([this] { return isHome() && driver().isAtRest(); }));
        QCOMPARE(evaluate(QStringLiteral("stackView.depth")).toInt(), 1);
    }
}

void tst_TesterShell::aPageThatGoesOftenTakesNoOtherAlong()
{
    evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
    constexpr int often = 3;
    for (int i = 0; i < often; ++i)
        evaluate(QStringLiteral("stackView.currentItem.back()"));
    QVERIFY(ShellDriver::waitFor([this] { return isHome() && driver().isAtRest(); }));

    QVERIFY(tap("tile_100"));

    QVERIFY(driver().waitForRest());
    QTest::qWait(100); // milliseconds; nothing comes of it
    QCOMPARE(evaluate(QStringLiteral("stackView.depth")).toInt(), 2);
}

void tst_TesterShell::aPageThatGoesWithoutTransitionLeavesTheOneBelowInPlace()
{
    evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
    QVERIFY(driver().waitForRest());

    evaluate(QStringLiteral("stackView.currentItem.backWithoutTransition()"));

    QVERIFY(driver().isAtRest());
    QVERIFY(isHome());
    QCOMPARE(evaluate(QStringLiteral("stackView.currentItem.x")).toInt(), 0);
}

void tst_TesterShell::aPageThatWaitsGoesTheWayItWasTold()
{
    for (int depth = 2; depth <= 3; ++depth) {
        evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
        QVERIFY(driver().waitForRest());
        QCOMPARE(evaluate(QStringLiteral("stackView.depth")).toInt(), depth);
    }
    QSignalSpy moves(viewOfPages(), SIGNAL(busyChanged()));

    evaluate(QStringLiteral("stackView.currentItem.back()"));
    evaluate(QStringLiteral("stackView.currentItem.backWithoutTransition()"));

    QVERIFY(ShellDriver::waitFor([this] { return isHome() && driver().isAtRest(); }));
    QCOMPARE(moves.count(), 2); // the first page began to move, and ended
    QCOMPARE(evaluate(QStringLiteral("stackView.depth")).toInt(), 1);
    QCOMPARE(evaluate(QStringLiteral("stackView.currentItem.x")).toInt(), 0);
}

void tst_TesterShell::aDoubleTapOpensOnePage()
{
    QVERIFY(driver().waitForRest());
    const QQuickItem *const tile = find("tile_100");
    const QPoint middle = tile->mapToScene({tile->width() / 2, tile->height() / 2}).toPoint();

    QTest::mouseClick(driver().window(), Qt::LeftButton, Qt::NoModifier, middle);
    QTest::mouseDClick(driver().window(), Qt::LeftButton, Qt::NoModifier, middle);

    QVERIFY(driver().waitForRest());
    QCOMPARE(evaluate(QStringLiteral("stackView.depth")).toInt(), 2);
}

/// The one that moves them.
QQuickItem *tst_TesterShell::viewOfPages() const
{
    const QList<QQuickItem *> items = find("stackView")->childItems();
    const auto view = std::find_if(
        items.begin(), items.end(), [](const QQuickItem *item) { return item->property("popExit").isValid(); });
    return view == items.end() ? nullptr : *view;
}

/// As if the user captured there.
void tst_TesterShell::pressKeyOfScope() const
{
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        qt_handleKeyEvent(driver().window(), type, Qt::Key_WebCam, Qt::NoModifier); // QTest::keyClick() refuses it
}

/// A page out of focus answers with a message whenever it is asked to capture.
void tst_TesterShell::whileAPageGoesItTakesNoInput()
{
    QVERIFY(openInspection());
    const QQuickItem *const analyse = find("Analyse");
    const SlowPages slow(find("stackView"));

    driver().press(Qt::Key_Escape);
    QVERIFY(!driver().isAtRest());
    const QPoint middle = analyse->mapToScene({analyse->width() / 2, analyse->height() / 2}).toPoint();
    QTest::mouseClick(driver().window(), Qt::LeftButton, Qt::NoModifier, middle);
    pressKeyOfScope();

    QVERIFY(!driver().isAtRest());
    QVERIFY(!evaluate(QStringLiteral("messageBoxManager.visible")).toBool());
    QVERIFY(driver().waitForRest());
    QVERIFY(isHome());
}

void tst_TesterShell::whileAPageComesItTakesNoInput()
{
    constexpr int stops = 4; // as many as the page has, and more
    QVERIFY(openInspection());
    evaluate(QStringLiteral("appController.navigateTo(100, \"\", {})"));
    QVERIFY(driver().waitForRest());
    {
        const SlowPages slow(find("stackView"));
        driver().press(Qt::Key_Escape);
        QVERIFY(!driver().isAtRest());
        pressKeyOfScope();
        for (int i = 0; i < stops; ++i) {
            driver().press(Qt::Key_Tab);
            driver().press(Qt::Key_Return);
        }
        QVERIFY(!driver().isAtRest());
        QVERIFY(!evaluate(QStringLiteral("messageBoxManager.visible")).toBool());
    }
    QVERIFY(driver().waitForRest());
    QVERIFY(evaluate(QStringLiteral("stackView.currentItem.activeFocus")).toBool());

    pressKeyOfScope();

    QVERIFY(waitFor("Image out of Focus"));
}

void tst_TesterShell::aBouncingKeyOfTheScopeCapturesOnce()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    const QList<QObject *> objects = inspectionPage()->findChildren<QObject *>();
    const auto camera = std::find_if(objects.begin(), objects.end(),
        [](const QObject *object) { return object->property("imageCapture").isValid(); });
    QVERIFY(camera != objects.end());
    const QSignalSpy stills((*camera)->property("imageCapture").value<QObject *>(), SIGNAL(imageSaved(int, QString)));
    QVERIFY(stills.isValid());

    pressKeyOfScope();
    pressKeyOfScope();

    QVERIFY(waitFor("Connector test passed"));
    QCOMPARE(stills.count(), 1);
    QCOMPARE(evaluate(QStringLiteral("stackView.depth")).toInt(), 3);
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterShell>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_shell.moc"
