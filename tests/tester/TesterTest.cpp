// SPDX-License-Identifier: Apache-2.0
#include "TesterTest.h"

#include "Managers/CoreFiberInspectionManager.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQmlExpression>

TesterTest::TesterTest(Tester *tester)
    : mTester(tester)
    , mDriver(tester->window())
{
}

void TesterTest::initTestCase()
{
    QVERIFY(QTest::qWaitForWindowActive(mDriver.window()));
}

void TesterTest::init()
{
    QVERIFY(goHome());
    scope()->setPlugged(true);
    scope()->setFace(QStringLiteral("clean"));
    scope()->setFocus(0.4);
    mTester->language().setCurrent(QStringLiteral("en"));
    QVERIFY(ShellDriver::waitFor([] { return scope()->isSettled(); })); // no page sees the sharp pictures from before
}

void TesterTest::cleanup()
{
    if (!find("messageConfirm"))
        return;
    QVERIFY(tap("messageConfirm"));
    QVERIFY(ShellDriver::waitFor([this] { return !find("messageConfirm"); })); // until then it takes all taps
}

bool TesterTest::goHome() const
{
    constexpr int deepest = 5;
    for (int i = 0; i < deepest && mDriver.waitForRest() && !isHome(); ++i)
        tap("actionBack");
    return mDriver.waitForRest() && isHome();
}

bool TesterTest::openInspection() const
{
    return tap("tile_1") && waitFor("Analyse") && mDriver.waitForRest()
        && ShellDriver::waitFor([this] { return find("Analyse")->isEnabled(); });
}

bool TesterTest::openResult() const
{
    const auto isCovered = [this] { return mDriver.isAtRest() && !find("Analyse") && find("actionBack"); };
    return tap("Analyse") && ShellDriver::waitFor(isCovered);
}

bool TesterTest::openResultAfterRequest() const
{
    const QSignalSpy requests(&mTester->fiberManager(), &FiberManager::requested);
    return openResult() && ShellDriver::waitFor([&requests] { return requests.count() > 0; });
}

QQuickItem *TesterTest::inspectionPage() const
{
    QQuickItem *page = find("Analyse");
    while (page && !page->property("zonesVisible").isValid())
        page = page->parentItem();
    return page;
}

bool TesterTest::focus() const
{
    scope()->setFocus(0);
    return ShellDriver::waitFor([] { return scope()->isSettled(); }) && mDriver.waitForSharpFrame();
}

QVariant TesterTest::evaluate(const QString &script) const
{
    QQuickWindow *const window = mDriver.window();
    QQmlExpression expression(QQmlEngine::contextForObject(window), window, script);
    const QVariant value = expression.evaluate();
    if (expression.hasError())
        qWarning().noquote() << expression.error().toString();
    return value;
}

HeldInspections::HeldInspections()
{
    QMetaObject::invokeMethod(
        CoreFiberInspectionManager::instance(), [this] { mGate.acquire(); }, Qt::QueuedConnection);
}

HeldInspections::~HeldInspections()
{
    mGate.release();
    // The gate is free only when the manager has gone through.
    QMetaObject::invokeMethod(
        CoreFiberInspectionManager::instance(), [] {}, Qt::BlockingQueuedConnection);
}

namespace {
int faultCount = 0;
QtMessageHandler formerHandler = nullptr;

void countFaults(QtMsgType type, const QMessageLogContext &context, const QString &text)
{
    if (type == QtWarningMsg || type == QtCriticalMsg)
        ++faultCount;
    formerHandler(type, context, text);
}
} // namespace

LogFaults::LogFaults()
{
    faultCount = 0;
    formerHandler = qInstallMessageHandler(&countFaults);
}

LogFaults::~LogFaults()
{
    qInstallMessageHandler(formerHandler);
}

int LogFaults::count() const
{
    return faultCount;
}
