// SPDX-License-Identifier: Apache-2.0
// What a panel costs its technician: taps and presses of the scope's key for good ports, and how long a press takes
// until its verdict is stored. The connectors are changed, and the knob turned, by program: neither is counted. The
// suite does a dozen; a whole panel of 144 takes some ten minutes:
//     VANTOR_PORTS=144 QTEST_FUNCTION_TIMEOUT=3600000 tests/support/with-xvfb.sh build/dev/bin/tst_tester_effort
#include "JobTest.h"

#include <QElapsedTimer>
#include <QMouseEvent>

#include <algorithm>
#include <cstdio>

namespace {
constexpr int fewPorts = 12;
constexpr int otherPresses = 6; // more than one for each port
constexpr int longestWait = 1500; // milliseconds, from the key to the stored verdict

/// Counts what a finger does: taps of the window, and the key of the scope.
class PressCounter : public QObject
{
public:
    int count() const { return mCount; }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const bool isOfWindow = watched->isWindowType();
        if (isOfWindow && (event->type() == QEvent::MouseButtonPress || event->type() == QEvent::KeyPress))
            ++mCount;
        return false;
    }

    void add() { ++mCount; } ///< a key that is a shortcut: no window hears of it

private:
    int mCount = 0;
};
} // namespace

class tst_TesterEffort : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void aPanelOfGoodPortsTakesAPressForEach();

private:
    void pressKeyOfScope();
    bool putScopeOnNextConnector() const;
    int storedInspections() const { return tester().jobs().records().count().value; }

    PressCounter mPresses;
};

void tst_TesterEffort::pressKeyOfScope()
{
    mPresses.add();
    for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
        qt_handleKeyEvent(window(), type, Qt::Key_WebCam, Qt::NoModifier); // QTest::keyClick() refuses it
}

/// Off one, on to the next, which is in focus.
bool tst_TesterEffort::putScopeOnNextConnector() const
{
    const auto hasFibre = [this] { return find("focusBar") && find("focusBar")->property("isValid").toBool(); };
    scope()->setFace(SimulatedScope::emptyAdapter());
    if (!ShellDriver::waitFor([&] { return scope()->isSettled() && !hasFibre(); }))
        return false;
    scope()->setFace(QStringLiteral("clean"));
    return ShellDriver::waitFor([&] {
        return scope()->isSettled() && hasFibre() && find("focusBar")->property("isSharp").toBool()
            && find("analyse")->isEnabled() && driver().isAtRest();
    });
}

void tst_TesterEffort::aPanelOfGoodPortsTakesAPressForEach()
{
    const bool isMeasured = qEnvironmentVariableIsSet("VANTOR_PORTS"); // on a machine with nothing else to do
    const int ports = isMeasured ? qEnvironmentVariableIntValue("VANTOR_PORTS") : fewPorts;
    tester().settings().setGoesOnAfterPass(true);
    QVERIFY(makeJob(
        QStringLiteral("Panel"), QStringLiteral("A001"), QStringLiteral("A%1").arg(ports, 3, 10, QLatin1Char('0'))));
    scope()->setFocus(0);
    QVector<qint64> waits;
    qApp->installEventFilter(&mPresses);
    pressKeyOfScope(); // opens the live picture
    QVERIFY(waitFor("analyse"));

    for (int port = 0; port < ports; ++port) {
        QVERIFY2(putScopeOnNextConnector(), qPrintable(QString::number(port)));
        const int stored = storedInspections();
        QElapsedTimer timer;
        timer.start();
        pressKeyOfScope();
        QVERIFY2(waitFor("verdict") && storedInspections() == stored + 1, qPrintable(QString::number(port)));
        waits.append(timer.elapsed());
        QCOMPARE(textOf("verdict"), QStringLiteral("Passed"));
        if (port + 1 < ports) // it goes on by itself
            QVERIFY(ShellDriver::waitFor([this] { return driver().isAtRest() && !find("verdict"); }));
    }
    qApp->removeEventFilter(&mPresses);

    QCOMPARE(tester().jobs().counts().value(QStringLiteral("passed")).toInt(), ports);
    std::sort(waits.begin(), waits.end());
    std::printf(
        "%d good ports: %d presses; from the key to the stored verdict %lld ms at the middle, %lld ms at most\n", ports,
        mPresses.count(), waits[ports / 2], waits.last());
    QVERIFY2(mPresses.count() <= ports + otherPresses, qPrintable(QString::number(mPresses.count())));
    QVERIFY2(!isMeasured || waits[ports / 2] <= longestWait, qPrintable(QString::number(waits[ports / 2])));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterEffort>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_effort.moc"
