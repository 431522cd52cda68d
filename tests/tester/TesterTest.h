// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Helpers/AbsoluteBaseDir.h"
#include "ShellDriver.h"
#include "Tester.h"
#include "simulation/SimulatedScope.h"

#include <QGuiApplication>
#include <QObject>
#include <QSemaphore>
#include <QTemporaryDir>

/// Base of the tests that meet the application as its user does: the real window, the real managers, the simulated
/// scope; keys and taps. Each test function starts at the home page, in English, with a clean fibre out of focus.
class TesterTest : public QObject
{
    Q_OBJECT

public:
    explicit TesterTest(Tester *tester);

protected Q_SLOTS:
    void init(); // a test that has one of its own calls it
    void initTestCase();

private Q_SLOTS:
    void cleanup();

protected:
    Tester &tester() const { return *mTester; }
    const ShellDriver &driver() const { return mDriver; }
    static SimulatedScope *scope() { return SimulatedScope::instance(); }

    bool tap(const char *name) const { return mDriver.tap(QString::fromUtf8(name)); }
    bool waitFor(const char *name) const { return mDriver.waitForItem(QString::fromUtf8(name)); }
    QQuickItem *find(const char *name) const { return mDriver.find(QString::fromUtf8(name)); }

    bool isHome() const { return !find("actionBack"); }
    bool goHome() const;

    /// Returns when the camera of the page is ready.
    bool openInspection() const;

    /// Captures from the inspection page; returns when the result page has come to rest, with or without a result.
    bool openResult() const;

    /// As openResult(), and the picture is taken and its inspection requested.
    bool openResultAfterRequest() const;

    /// Null when the page is not on top.
    QQuickItem *inspectionPage() const;

    /// Turns the knob to the best focus, by program, and waits until the page has seen a sharp frame.
    bool focus() const;

    /// Runs a script where the shell's parts are known by their ids.
    QVariant evaluate(const QString &script) const;

private:
    Tester *const mTester;
    const ShellDriver mDriver;
};

/// Holds up the inspections while it lives, so that there is time to do something meanwhile. Its end waits for theirs.
class HeldInspections
{
public:
    HeldInspections();
    ~HeldInspections();
    HeldInspections(const HeldInspections &) = delete;
    HeldInspections &operator=(const HeldInspections &) = delete;

private:
    QSemaphore mGate;
};

/// Counts the warnings and worse that come while it lives, but for those that come while Qt Test has the log.
class LogFaults
{
public:
    LogFaults();
    ~LogFaults();
    LogFaults(const LogFaults &) = delete;
    LogFaults &operator=(const LogFaults &) = delete;

    int count() const;
};

/// The body of main(): the application in a work directory of its own, then the test. Shutting down has to be silent,
/// too.
template <typename Test>
int runTesterTest(int argc, char *argv[], const QString &workDir, const QString &pluginPath,
    const QStringList &mediaRoots = RemovableMedia::defaultRoots())
{
    const AbsoluteBaseDir folders(workDir);
    Tester::prepareProcess(pluginPath);
    const QGuiApplication application(argc, argv);
    const LogFaults faults;
    int result = 1;
    {
        Tester tester(QSize(800, 480), {}, mediaRoots);
        if (!tester.window())
            return 1;
        Test test(&tester);
        result = QTest::qExec(&test, argc, argv);
    }
    return result + faults.count();
}
