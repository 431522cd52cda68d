// SPDX-License-Identifier: Apache-2.0
// What those who do not see the pages are told of them: a program on the bus for assistive technology looks at each.
#include "Internal/ChildProcess.h"
#include "TourTest.h"

#include <QEventLoop>
#include <QQmlProperty>
#include <QTemporaryDir>
#include <QTimer>

class tst_TesterAccess : public TourTest
{
    Q_OBJECT

public:
    using TourTest::TourTest;

private Q_SLOTS:
    void initTestCase();
    void aNameThatIsMissingIsFound();
    void aNameThatIsTakenIsFound();
    void aStateThatOnlyAColourTellsIsFound();
    void everyPageTellsWhatItShows();
    void whatIsPressedWithoutAFingerIsUsed();
    void cleanupTestCase();

private:
    QStringList faultsAt(const QString &place);
    QByteArray readLine();

    ChildProcess mReader;
};

void tst_TesterAccess::initTestCase()
{
    TourTest::initTestCase();
    mReader.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    mReader.start(QStringLiteral(VANTOR_PYTHON),
        {QStringLiteral(VANTOR_ACCESS_READER), QString::number(QCoreApplication::applicationPid())});
    QVERIFY(mReader.waitForStarted());
}

void tst_TesterAccess::cleanupTestCase()
{
    mReader.closeWriteChannel();
    QVERIFY(ShellDriver::waitFor([this] { return mReader.state() == QProcess::NotRunning; }));
    QCOMPARE(mReader.exitCode(), 0);
}

/// Meanwhile the window answers what the program asks it.
QByteArray tst_TesterAccess::readLine()
{
    constexpr int patience = 60000; // milliseconds
    QEventLoop loop;
    connect(&mReader, &QProcess::readyReadStandardOutput, &loop, &QEventLoop::quit);
    connect(&mReader, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), &loop, &QEventLoop::quit);
    QTimer timer;
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, &loop, &QEventLoop::quit);
    timer.start(patience);
    while (!mReader.canReadLine() && timer.isActive() && mReader.state() == QProcess::Running)
        loop.exec();
    return mReader.canReadLine() ? mReader.readLine() : QByteArray("no answer\n");
}

QStringList tst_TesterAccess::faultsAt(const QString &place)
{
    QStringList faults;
    mReader.write(place.toUtf8() + '\n');
    for (QByteArray line = readLine(); line != "\n"; line = readLine()) {
        faults.append(place + QStringLiteral(": ") + QString::fromUtf8(line.trimmed()));
        if (line == "no answer\n")
            break;
    }
    return faults;
}

void tst_TesterAccess::aNameThatIsMissingIsFound()
{
    QCOMPARE(faultsAt(QStringLiteral("somewhere")), QStringList());
    const QQmlProperty name(find("tile_101"), QStringLiteral("Accessible.name"), qmlContext(find("tile_101")));
    const QVariant former = name.read();
    QVERIFY(name.write(QString()));

    const QStringList faults = faultsAt(QStringLiteral("somewhere"));

    QVERIFY(name.write(former));
    QCOMPARE(faults.size(), 1);
    QVERIFY(faults.constFirst().startsWith(QStringLiteral("somewhere: no name: push button")));
}

void tst_TesterAccess::aNameThatIsTakenIsFound()
{
    const QQmlProperty name(find("tile_101"), QStringLiteral("Accessible.name"), qmlContext(find("tile_101")));
    const QVariant former = name.read();
    QVERIFY(name.write(
        QQmlProperty(find("tile_107"), QStringLiteral("Accessible.name"), qmlContext(find("tile_107"))).read()));

    const QStringList faults = faultsAt(QStringLiteral("somewhere"));

    QVERIFY(name.write(former));
    QCOMPARE(faults.size(), 1);
    QVERIFY(faults.constFirst().startsWith(QStringLiteral("somewhere: the name is taken: push button")));
}

void tst_TesterAccess::aStateThatOnlyAColourTellsIsFound()
{
    const QStringList faults = faultsAt(QStringLiteral("passed")); // home has no verdict

    QCOMPARE(faults, QStringList{QStringLiteral("passed: 0 of 1 told: (alert|notification) \"Passed\"")});
}

void tst_TesterAccess::everyPageTellsWhatItShows()
{
    QStringList faults;
    const bool isThrough = goThrough({}, [&](const QString &place) {
        if (qEnvironmentVariableIsSet("VANTOR_TREES")) // for who writes a page
            qInfo().noquote() << faultsAt(QStringLiteral("tree ") + place).join(QLatin1Char('\n'));
        faults += faultsAt(place);
    });

    QVERIFY2(faults.isEmpty(), qPrintable(faults.join(QLatin1Char('\n'))));
    QVERIFY2(isThrough, qPrintable(wayBarred()));
}

void tst_TesterAccess::whatIsPressedWithoutAFingerIsUsed()
{
    const QStringList none;
    QCOMPARE(faultsAt(QStringLiteral("press nobody")).size(), 1);
    const bool formerly = tester().settings().goesOnAfterPass();
    QVERIFY(tap("tile_108") && waitFor("goesOnAfterPass") && driver().waitForRest());
    QCOMPARE(faultsAt(QStringLiteral("press Go on by itself after a passed port")), none);
    QVERIFY(ShellDriver::waitFor([&] { return tester().settings().goesOnAfterPass() != formerly; }));
    tester().settings().setGoesOnAfterPass(formerly);

    QVERIFY(goHome() && makeJob(QStringLiteral("Pressed"), QStringLiteral("B01"), QStringLiteral("B03")));
    QCOMPARE(faultsAt(QStringLiteral("press B02, side A: open")), none);
    QVERIFY(waitForText("selectedPoint", QStringLiteral("B02, side A: open")));

    QVERIFY(goHome() && tap("tile_107") && waitFor("job_0") && driver().waitForRest());
    QCOMPARE(faultsAt(QStringLiteral("press Pressed")), none);
    QVERIFY(waitFor("panel") && goHome());
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    return runTesterTest<tst_TesterAccess>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_access.moc"
