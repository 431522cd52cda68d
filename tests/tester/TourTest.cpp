// SPDX-License-Identifier: Apache-2.0
#include "TourTest.h"

#include <QCoreApplication>
#include <QFile>

#include <algorithm>

bool TourTest::goThrough(const Words &words, const Visit &visit)
{
    mVisit = visit;
    evaluate(QStringLiteral("stackView.moveTime = 1")); // milliseconds; there is much to be seen
    return goHome() && see("home") && visitAboutAndNewJob(words) && visitPorts(words) && visitReport()
        && visitStatistics() && leave() && see("home with a job") && visitLists() && visitSettings()
        && visitQuickInspection() && visitWithoutScope();
}

bool TourTest::see(const char *place)
{
    if (!settle())
        return false;
    mPlace = QString::fromUtf8(place);
    mStep.clear();
    mVisit(mPlace);
    return true;
}

bool TourTest::open(const char *name)
{
    mStep = QString::fromUtf8(name);
    return tap(name) && settle();
}

QString TourTest::wayBarred() const
{
    const QQuickItem *const view = find("liveView");
    const QString live = view ? QStringLiteral("; ready %1, held %2, frozen %3")
                                    .arg(view->property("isReady").toBool())
                                    .arg(view->property("isHeld").toBool())
                                    .arg(view->property("isFrozen").toBool())
                              : QString();
    return QStringLiteral("behind \"%1\", at \"%2\"; the pages are %3%4")
        .arg(mPlace, mStep, driver().isAtRest() ? QStringLiteral("at rest") : QStringLiteral("moving"), live);
}

bool TourTest::settle() const
{
    const bool isSettled = driver().waitForRest()
        && ShellDriver::waitFor([this] { return !isPopupMoving() && !tester().shownResult().isPictureAwaited(); });
    driver().waitForFrame();
    return isSettled;
}

bool TourTest::isPopupMoving() const
{
    const QList<QObject *> objects = window()->findChildren<QObject *>();
    return std::any_of(objects.begin(), objects.end(), [](const QObject *object) {
        const QVariant opened = object->property("opened");
        return opened.isValid() && opened != object->property("visible");
    });
}

bool TourTest::visitAboutAndNewJob(const Words &words)
{
    return open("tile_100") && see("about") && leave() && open("tile_101") && type("jobName", words.job)
        && type("firstPoint", QStringLiteral("A12")) && type("lastPoint", QStringLiteral("A01"))
        && see("new job with a fault") && type("jobCustomer", words.customer)
        && type("firstPoint", QStringLiteral("A01")) && type("lastPoint", QStringLiteral("A12")) && see("new job")
        && open("createJob") && waitFor("panel") && see("panel");
}

bool TourTest::showWithoutFibre()
{
    scope()->setFace(SimulatedScope::emptyAdapter());
    return open("inspectPoint") && ShellDriver::waitFor([this] {
        return scope()->isSettled() && find("liveView")->property("isReady").toBool()
            && !find("focusBar")->property("isValid").toBool();
    });
}

bool TourTest::visitPorts(const Words &words)
{
    return showWithoutFibre() && see("inspect without a fibre") && aimAt("clean") && see("inspect") && open("auto")
        && see("inspect by itself") && open("auto") && open("freeze") && waitUntilFrozen() && see("inspect frozen")
        && open("freeze") && inspect("clean") && see("passed") && open("nextPort") && visitFailedPort(words)
        && open("nextPort") && visitRepeatedPort() && see("panel with results");
}

bool TourTest::waitUntilFrozen() const
{
    return ShellDriver::waitFor([this] { return find("liveView")->property("isFrozen").toBool(); });
}

bool TourTest::visitFailedPort(const Words &words)
{
    return inspect("pitted") && see("failed") && open("details") && see("details") && open("defect_1")
        && see("details of a defect") && leave() && open("accept") && type("note", words.note) && see("note")
        && open("noteAccept") && see("accepted");
}

bool TourTest::visitRepeatedPort()
{
    return inspect("pitted") && open("repeat") && inspect("clean") && open("beforeAndAfter") && see("before and after")
        && leave() && leave() && leave() && waitFor("panel");
}

bool TourTest::visitReport()
{
    const QTemporaryDir exports;
    tester().settings().setExportFolder(exports.path());
    const auto isRead = [this] { return !tester().reportWriter().isReading(); };
    const auto isWritten = [this] {
        return tester().reportWriter().outcome().value(QStringLiteral("isWritten")).toBool();
    };
    if (!open("actionReport") || !ShellDriver::waitFor(isRead) || !see("report") || !tap("writeReport")
        || !ShellDriver::waitFor(isWritten) || !see("report written") || !leave())
        return false;
    const Records::RecordStore &records = tester().jobs().records();
    const Records::Id first = tester().jobs().points()->row(0).value(QStringLiteral("lastInspection")).toLongLong();
    return QFile::remove(records.picturePath(records.inspection(first).value.picture).value) && open("actionReport")
        && ShellDriver::waitFor(isRead) && see("report with doubts") && leave() && open("point_A01")
        && open("showResult") && see("result without a picture") && leave();
}

bool TourTest::visitStatistics()
{
    if (!open("actionStatistics") || !see("statistics"))
        return false;
    constexpr int enough = 20;
    for (int i = 0; i < enough; ++i)
        driver().press(Qt::Key_Down);
    return see("end of the statistics") && leave();
}

bool TourTest::visitLists()
{
    return visitResults() && open("tile_107") && see("jobs") && leave();
}

bool TourTest::visitResults()
{
    if (!open("tile_106") || !see("results") || !open("filter"))
        return false;
    for (const char *const filter : {"jobFilter", "standardFilter", "daysFilter"}) {
        find(filter)->forceActiveFocus(Qt::TabFocusReason);
        driver().press(Qt::Key_Down);
    }
    return see("results by a filter") && open("showAll") && open("filter") && open("compare") && open("result_1")
        && see("results to compare") && open("result_0") && see("comparison") && leave() && leave();
}

bool TourTest::visitSettings()
{
    if (!open("tile_108") || !see("settings"))
        return false;
    find("quickStandard")->forceActiveFocus(Qt::TabFocusReason);
    driver().press(Qt::Key_Space);
    if (!see("settings with a list"))
        return false;
    driver().press(Qt::Key_Escape);
    return settle() && leave();
}

bool TourTest::tapWords(const char *text) const
{
    return driver().tap(QCoreApplication::translate("FiberInspectionPage", text));
}

bool TourTest::visitQuickInspection()
{
    constexpr int unfocused = 1; // the knob's end
    scope()->setFace(QStringLiteral("pitted"));
    scope()->setFocus(unfocused);
    if (!ShellDriver::waitFor([] { return scope()->isSettled(); }) || !open("tile_1"))
        return false;
    const QString analyse = QCoreApplication::translate("FiberInspectionPage", "Analyse");
    return ShellDriver::waitFor([&] { return driver().find(analyse)->isEnabled(); }) && see("quick inspection")
        && tapWords("Auto Analyse") && see("quick inspection by itself") && tapWords("Auto Analyse")
        && tapWords("Analyse") && waitFor("messageConfirm") && see("message") && open("messageConfirm")
        && visitQuickResult();
}

bool TourTest::visitQuickResult()
{
    scope()->setFocus(0);
    return ShellDriver::waitFor([] { return scope()->isSettled(); }) && driver().waitForSharpFrame()
        && tapWords("Analyse") && waitFor("actionDetails") && waitFor("snackBar") && see("quick result")
        && open("actionDetails") && see("rules") && open("detailsClose") && leave() && leave();
}

bool TourTest::visitWithoutScope()
{
    scope()->setPlugged(false);
    if (!ShellDriver::waitFor([this] { return !find("tile_1")->isEnabled(); }) || !see("home without a scope"))
        return false;
    evaluate(QStringLiteral("notificationArea.pull()"));
    if (!see("notifications"))
        return false;
    driver().press(Qt::Key_Escape);
    scope()->setPlugged(true);
    return settle();
}
