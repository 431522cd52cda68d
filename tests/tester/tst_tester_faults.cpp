// SPDX-License-Identifier: Apache-2.0
// The scope is pulled out at the worst moments, and the disk is full.
#include "Helpers/BaseDirHelper.h"
#include "SmallDisk.h"
#include "TesterTest.h"
#include "simulation/SimulatedScope.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QRegularExpression>

namespace {
const SmallDisk *workDisk = nullptr; // of main()
constexpr int diskSize = 4096; // kibibytes

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
} // namespace

class tst_TesterFaults : public TesterTest
{
    Q_OBJECT

public:
    using TesterTest::TesterTest;

private Q_SLOTS:
    void withoutScopeThereIsNoInspection();
    void unpluggingLeavesTheInspectionPage();
    void unpluggingDuringTheCaptureLeadsHome();
    void unpluggingDuringTheAnalysisLeadsHome();
    void unpluggingLeavesTheResultPageToo();
    void pluggingInAtOnceDoesNotKeepThePagesOfTheLostCamera();
    void aLockedPageThatIsLeftHandsNoActionsToHome();
    void aFullDiskIsSurvived_data();
    void aFullDiskIsSurvived();
};

void tst_TesterFaults::withoutScopeThereIsNoInspection()
{
    scope()->setPlugged(false);

    QVERIFY(waitFor("Plug in the scope"));
    QVERIFY(!find("tile_1")->isEnabled());
    QVERIFY(waitFor("No fibre scope"));

    QVERIFY(tap("plug"));
    QVERIFY(ShellDriver::waitFor([this] { return find("tile_1")->isEnabled(); }));
}

void tst_TesterFaults::unpluggingLeavesTheInspectionPage()
{
    QVERIFY(openInspection());

    QVERIFY(tap("plug"));

    QVERIFY(ShellDriver::waitFor([this] { return isHome(); }));
}

void tst_TesterFaults::unpluggingDuringTheCaptureLeadsHome()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    QTest::ignoreMessage(QtWarningMsg, "QCameraImageCapture error: \"The camera is not active\""); // of the framework

    QVERIFY(QMetaObject::invokeMethod(inspectionPage(), "analyse")); // after a tap, the picture might be taken by now
    scope()->setPlugged(false);

    QVERIFY(waitFor("Plug in the scope"));
    QVERIFY(driver().waitForRest());
    QVERIFY(isHome());
}

void tst_TesterFaults::unpluggingDuringTheAnalysisLeadsHome()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    {
        const HeldInspections held;
        QVERIFY(openResultAfterRequest());

        scope()->setPlugged(false);

        QVERIFY(waitFor("Plug in the scope"));
    }
    QVERIFY(ShellDriver::waitFor([this] { return tester().details().isReady(); })); // the answer came
    QVERIFY(driver().waitForRest());
    QVERIFY(isHome());
    QVERIFY(!find("actionDetails"));
}

void tst_TesterFaults::unpluggingLeavesTheResultPageToo()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(tap("Analyse"));
    QVERIFY(waitFor("actionDetails"));
    QVERIFY(driver().waitForRest());

    QVERIFY(tap("plug"));

    QVERIFY(waitFor("Plug in the scope"));
    QVERIFY(driver().waitForRest());
    QVERIFY(isHome());
    QVERIFY(!find("actionDetails"));
}

void tst_TesterFaults::pluggingInAtOnceDoesNotKeepThePagesOfTheLostCamera()
{
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(tap("Analyse"));
    QVERIFY(waitFor("actionDetails"));
    QVERIFY(driver().waitForRest());

    scope()->setPlugged(false);
    scope()->setPlugged(true);

    QVERIFY(ShellDriver::waitFor([this] { return isHome() && driver().isAtRest(); }));
    QVERIFY(openInspection()); // and stays
    QVERIFY(inspectionPage());
}

void tst_TesterFaults::aLockedPageThatIsLeftHandsNoActionsToHome()
{
    QVERIFY(openInspection());
    const QPointer<QQuickItem> page = inspectionPage();
    QVERIFY(QMetaObject::invokeMethod(page, "lockPage"));

    QVERIFY(tap("plug"));

    QVERIFY(ShellDriver::waitFor([&page] { return !page; }));
    QVERIFY(ShellDriver::waitFor([this] { return isHome() && !find("actionLayers"); }));
    QVERIFY(evaluate(QStringLiteral("notificationArea.interactive")).toBool());
}

void tst_TesterFaults::aFullDiskIsSurvived_data()
{
    QTest::addColumn<int>("freeKibibytes");
    QTest::addColumn<bool>("pictureFits");
    QTest::addColumn<bool>("copiesFit");

    QTest::newRow("no space at all") << 0 << false << false;
    QTest::newRow("half of the picture fits") << 64 << false << false;
    QTest::newRow("the picture fits") << 160 << true << false;
    QTest::newRow("all that belongs to it fits") << 1024 << true << true;
}

void tst_TesterFaults::aFullDiskIsSurvived()
{
    QFETCH(const int, freeKibibytes);
    QFETCH(const bool, pictureFits);
    QFETCH(const bool, copiesFit);
    const QString diskProblem = workDisk->problem();
    if (!diskProblem.isEmpty()) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), qPrintable(diskProblem));
        QSKIP(qPrintable(diskProblem));
    }
    const QString picture = BaseDirHelper::tmpFiberInspectionImagePath();
    QFile::remove(picture);
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); })); // that of the test before

    DiskFilling filling(BaseDirHelper::workDir(), freeKibibytes);
    if (!pictureFits) {
        const QRegularExpression why(QStringLiteral("The picture could not be written"));
        QTest::ignoreMessage(QtWarningMsg, why); // of the framework
        QTest::ignoreMessage(QtDebugMsg, why);
    }
    QVERIFY(tap("Analyse"));
    QVERIFY(waitFor(pictureFits ? "Connector test passed" : "There is no result yet, please try again"));
    QCOMPARE(QFile::exists(picture), pictureFits); // never half of it
    if (copiesFit)
        QCOMPARE(
            content(BaseDirHelper::fiberInspectionDir() + QStringLiteral("analyse_test/source.jpg")), content(picture));
    filling.remove();
    QVERIFY(tap("actionBack"));
    QVERIFY(driver().waitForRest());

    QVERIFY(focus());
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); }));
    QVERIFY(tap("Analyse"));
    QVERIFY(waitFor("Connector test passed"));
    QVERIFY(waitFor("✓"));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    const SmallDisk disk(workDir.path(), diskSize); // before there are threads
    workDisk = &disk;
    return runTesterTest<tst_TesterFaults>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_faults.moc"
