// SPDX-License-Identifier: Apache-2.0
// A unit without any camera.
#include "TesterTest.h"

class tst_TesterNoScope : public TesterTest
{
    Q_OBJECT

public:
    using TesterTest::TesterTest;

private Q_SLOTS:
    void thereIsNoInspectionToStart();
    void anInspectionPageWithoutCameraCanBeLeft();
};

void tst_TesterNoScope::thereIsNoInspectionToStart()
{
    QVERIFY(waitFor("Plug in the scope"));
    QVERIFY(waitFor("No fibre scope"));
    QVERIFY(!find("tile_1")->isEnabled());
    QVERIFY(!find("focusKnob")); // nor a simulated one

    QVERIFY(tap("tile_100"));
    QVERIFY(waitFor("About this unit"));
}

void tst_TesterNoScope::anInspectionPageWithoutCameraCanBeLeft()
{
    QTest::ignoreMessage(
        QtWarningMsg, "defaultServiceProvider::requestService(): no service found for - \"org.qt-project.qt.camera\"");
    evaluate(QStringLiteral("appController.navigateTo(1, \"\", { deviceName: \"ODM Scope 2\" })"));

    QVERIFY(waitFor("Analyse"));
    QVERIFY(driver().waitForRest());
    QCoreApplication::processEvents(); // what the shell does at rest
    QVERIFY(driver().isAtRest());
    QVERIFY(inspectionPage());
    QVERIFY(!find("Analyse")->isEnabled());

    driver().press(Qt::Key_Escape);
    QVERIFY(ShellDriver::waitFor([this] { return isHome() && driver().isAtRest(); }));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterNoScope>(argc, argv, workDir.path(), QString());
}

#include "tst_tester_noscope.moc"
