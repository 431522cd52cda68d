// SPDX-License-Identifier: Apache-2.0
// What becomes of inspections in the worst moments: keys that bounce, pages that are left, a scope that is pulled out,
// a camera that does not answer, a store that cannot be written.
#include "FocusMeter.h"
#include "Helpers/BaseDirHelper.h"
#include "JobTest.h"
#include "PictureProvider.h"
#include "ProgramRun.h"
#include "SmallDisk.h"

#include <QBuffer>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QQuickItemGrabResult>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <cmath>
#include <memory>

namespace {
const SmallDisk *workDisk = nullptr; // of main()
constexpr int diskSize = 16384; // kibibytes
} // namespace

class tst_TesterKeeping : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void init();
    void aBouncingKeyStoresOneInspection();
    void aPageThatIsLeftKeepsItsInspectionAndItsPoint();
    void anotherJobDoesNotGetTheInspection();
    void aResultThatIsLookedAtStays();
    void thePageOfAnotherPointDoesNotShowTheResult();
    void theNextPointIsNotSkipped();
    void theButtonsOfThePanelStayInReach();
    void aSideThatIsMissingIsMadeLater();
    void aResultOutlivesTheScope();
    void aScopeThatIsPulledOutInBetweenIsTold();
    void aCameraThatDoesNotAnswerIsTold();
    void aPortWithoutAVerdictIsAccepted();
    void whatCannotBeStoredSaysSo();
    void aQuickInspectionIsKeptWithItsPicture();
    void aPictureThatIsNotTheStoredOneIsTold_data();
    void aPictureThatIsNotTheStoredOneIsTold();
    void eachResultShowsItsOwnPicture();
    void aRecordThatContradictsItselfIsDoubtful();
    void aLateStillDoesNotAnswerForTheNextPort();
    void aJobOfTooManyPointsIsRefused();
    void textsFromElsewhereAreShownAsOneLine();
    void aStoreThatIsAwayIsTold();
    void aStoreThatWasPutBackIsUsed();
    void anEmptyAdapterCannotBeInspected();
    void theWordsTellByHowMuch();
    void aDefectThatIsTappedIsShown();
    void afterAPassItGoesOnByItself();
    void autoWaitsForAnotherConnector();
    void aKnobAtRestIsNoSweep();
    void aPictureThatGoesOnAgainDoesNotFreezeLater();
    void aTextThatIsTooLongIsRefused();
    void theListsAreLimited();
    void portsThatCannotBeReadAreNotTakenForNone(); // the last one: its tables are not quite as they were made

private:
    int stored() const { return tester().jobs().records().count().value; }
    bool sweep() const;
    QVariantMap pointNamed(const char *name) const;

    /// In the database of the store, as another program would.
    static bool change(const QString &statement);
};

void tst_TesterKeeping::init()
{
    JobTest::init();
    QVERIFY(ShellDriver::waitFor([this] { return !tester().inspector().isBusy(); }));
    tester().settings().setGoesOnAfterPass(false);
    tester().inspector().setCameraPatience(Inspector::cameraPatience);
    QVERIFY(ShellDriver::waitFor([this] { return !find("snackBar"); })); // that of the test before
    QVERIFY(makeJob(QLatin1String(QTest::currentTestFunction()), QStringLiteral("A1"), QStringLiteral("A4")));
}

QVariantMap tst_TesterKeeping::pointNamed(const char *name) const
{
    for (const QVariantMap &row : tester().jobs().points()->rows()) {
        if (row.value(QStringLiteral("name")).toString() == QLatin1String(name))
            return row;
    }
    return {};
}

void tst_TesterKeeping::aBouncingKeyStoresOneInspection()
{
    const int before = stored();
    QVERIFY(aimAt("clean"));

    for (int i = 0; i < 3; ++i) {
        for (const QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease})
            qt_handleKeyEvent(window(), type, Qt::Key_WebCam, Qt::NoModifier); // QTest::keyClick() refuses it
    }

    QVERIFY(waitFor("verdict"));
    QVERIFY(driver().waitForRest());
    QVERIFY(!tester().inspector().isBusy());
    QCOMPARE(stored(), before + 1);
}

void tst_TesterKeeping::aPageThatIsLeftKeepsItsInspectionAndItsPoint()
{
    QVERIFY(aimAt("clean"));
    {
        const HeldInspections held;
        const QSignalSpy requests(&tester().inspector(), &Inspector::requested);
        QVERIFY(tap("analyse"));
        QVERIFY(ShellDriver::waitFor([&] { return requests.count() == 1; }));
        QVERIFY(tap("actionBack"));
        QVERIFY(waitFor("panel"));
        QVERIFY(tap("point_A3")); // another one is selected now
        QCOMPARE(pointNamed("A1").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Open));
    }

    QVERIFY(waitFor("A1: passed")); // told, for nobody sees its page
    QCOMPARE(pointNamed("A1").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Passed));
    QCOMPARE(pointNamed("A3").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Open));
}

void tst_TesterKeeping::anotherJobDoesNotGetTheInspection()
{
    const Records::Id first = tester().jobs().currentJob();
    QVERIFY(aimAt("clean"));
    {
        const HeldInspections held;
        const QSignalSpy requests(&tester().inspector(), &Inspector::requested);
        QVERIFY(tap("analyse"));
        QVERIFY(ShellDriver::waitFor([&] { return requests.count() == 1; }));
        QVERIFY(goHome());
        QVERIFY(makeJob(QStringLiteral("other"), QStringLiteral("A1"), QStringLiteral("A4")));
    }
    QVERIFY(ShellDriver::waitFor([this] { return !tester().inspector().isBusy(); }));

    QCOMPARE(pointNamed("A1").value(QStringLiteral("inspections")).toInt(), 0);
    QVERIFY(tester().jobs().openJob(first));
    QCOMPARE(pointNamed("A1").value(QStringLiteral("inspections")).toInt(), 1);
}

void tst_TesterKeeping::aResultThatIsLookedAtStays()
{
    QVERIFY(inspect("pitted"));
    QVERIFY(tap("nextPort"));
    QVERIFY(aimAt("clean"));
    {
        const HeldInspections held;
        const QSignalSpy requests(&tester().inspector(), &Inspector::requested);
        QVERIFY(tap("analyse"));
        QVERIFY(ShellDriver::waitFor([&] { return requests.count() == 1; }));
        QVERIFY(tap("actionBack"));
        QVERIFY(tap("point_A1"));
        QVERIFY(tap("showResult"));
        QVERIFY(waitForText("verdict", QStringLiteral("Failed")));
        QVERIFY(tap("accept"));
        QVERIFY(waitFor("noteAccept"));
    }
    QVERIFY(waitFor("A2: passed"));

    QCOMPARE(textOf("verdict"), QStringLiteral("Failed"));
    QVERIFY(type("note", QStringLiteral("for A1")));
    QVERIFY(tap("noteAccept"));
    QVERIFY(waitForText("verdict", QStringLiteral("Failed, accepted")));
    QVERIFY(ShellDriver::waitFor([this] { return !find("noteAccept"); })); // until then it takes all taps
    QCOMPARE(pointNamed("A1").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Accepted));
    QCOMPARE(pointNamed("A2").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Passed));
}

void tst_TesterKeeping::thePageOfAnotherPointDoesNotShowTheResult()
{
    QVERIFY(aimAt("clean"));
    {
        const HeldInspections held;
        const QSignalSpy requests(&tester().inspector(), &Inspector::requested);
        QVERIFY(tap("analyse"));
        QVERIFY(ShellDriver::waitFor([&] { return requests.count() == 1; }));
        QVERIFY(tap("actionBack"));
        QVERIFY(tap("point_A3"));
        QVERIFY(tap("inspectPoint"));
        QVERIFY(waitFor("analyse"));
        QVERIFY(driver().waitForRest());
    }

    QVERIFY(waitFor("A1: passed"));
    QVERIFY(driver().waitForRest());
    QVERIFY(!find("verdict"));
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A3"));
}

void tst_TesterKeeping::theNextPointIsNotSkipped()
{
    QVERIFY(inspect("clean"));
    QQuickItem *page = find("verdict");
    while (page && !page->property("isFromInspection").isValid())
        page = page->parentItem();
    QVERIFY(page);

    for (int i = 0; i < 2; ++i) // the finger, and the page by itself
        QVERIFY(QMetaObject::invokeMethod(page, "nextPort"));

    QVERIFY(driver().waitForRest());
    QVERIFY(waitFor("analyse"));
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A2"));
}

void tst_TesterKeeping::theButtonsOfThePanelStayInReach()
{
    evaluate(QStringLiteral("snackBar.showError('told')"));

    QVERIFY(waitFor("snackBar"));
    const QQuickItem *const told = find("snackBar");
    const QQuickItem *const button = find("inspectPoint");
    QVERIFY(told->mapToScene({0, told->height()}).y() <= button->mapToScene({0, 0}).y());
}

void tst_TesterKeeping::aSideThatIsMissingIsMadeLater()
{
    const QString path = JobStore::defaultFolder() + QStringLiteral("/records.sqlite");
    const QVariantMap fields{{QStringLiteral("name"), QStringLiteral("both")}, {QStringLiteral("sides"), 2},
        {QStringLiteral("standard"), static_cast<int>(TesterSettings::defaultStandard)},
        {QStringLiteral("first"), QStringLiteral("1")}, {QStringLiteral("last"), QStringLiteral("3")}};
    QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("other"));
    database.setDatabaseName(path);
    QVERIFY(database.open());
    QSqlQuery query(database);
    QVERIFY(query.exec(QStringLiteral("CREATE TRIGGER full BEFORE INSERT ON point WHEN new.side = 1 "
                                      "BEGIN SELECT RAISE(ABORT, 'full'); END")));
    QVERIFY(!tester().jobs().createJob(fields));
    QVERIFY(query.exec(QStringLiteral("DROP TRIGGER full")));

    QVERIFY2(tester().jobs().createJob(fields), qPrintable(tester().jobs().error()));

    QCOMPARE(tester().jobs().points()->count(), 6);
}

void tst_TesterKeeping::aResultOutlivesTheScope()
{
    QVERIFY(inspect("clean"));

    scope()->setPlugged(false);

    QVERIFY(waitFor("No fibre scope"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(textOf("verdict"), QStringLiteral("Passed"));
    QVERIFY(tap("details"));
    QVERIFY(waitFor("detailsPicture"));
    QVERIFY(driver().waitForRest());
    driver().press(Qt::Key_Escape);
    QVERIFY(waitForText("verdict", QStringLiteral("Passed")));
    QVERIFY(tap("nextPort"));
    QVERIFY(waitForText("hint", QStringLiteral("Please plug in the fibre scope")));
    scope()->setPlugged(true);
    QVERIFY(inspect("clean")); // and on it goes
}

void tst_TesterKeeping::aScopeThatIsPulledOutInBetweenIsTold()
{
    QVERIFY(aimAt("clean"));
    tester().inspector().setCameraPatience(300); // milliseconds
    scope()->holdNextStill();
    QVERIFY(tap("analyse"));

    scope()->setPlugged(false);

    QVERIFY(waitForText("verdict", QStringLiteral("No verdict")));
    QVERIFY(waitFor("No picture came from the scope."));
    QCOMPARE(pointNamed("A1").value(QStringLiteral("inspections")).toInt(), 1);
    scope()->releaseStills();
}

void tst_TesterKeeping::aCameraThatDoesNotAnswerIsTold()
{
    QVERIFY(aimAt("clean"));
    tester().inspector().setCameraPatience(300); // milliseconds
    scope()->holdNextStill();

    QVERIFY(tap("analyse"));

    QVERIFY(waitForText("verdict", QStringLiteral("No verdict")));
    QVERIFY(waitFor("No picture came from the scope."));
    QCOMPARE(pointNamed("A1").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::NoVerdict));
    scope()->releaseStills(); // too late
    QVERIFY(tap("repeat"));
    QVERIFY(inspect("clean"));
    QCOMPARE(textOf("verdict"), QStringLiteral("Passed"));
    QCOMPARE(pointNamed("A1").value(QStringLiteral("inspections")).toInt(), 2);
}

void tst_TesterKeeping::aPortWithoutAVerdictIsAccepted()
{
    QVERIFY(aimAt("clean"));
    tester().inspector().setCameraPatience(300); // milliseconds
    scope()->holdNextStill();
    QVERIFY(tap("analyse"));
    QVERIFY(waitForText("verdict", QStringLiteral("No verdict")));
    scope()->releaseStills();

    QVERIFY(tap("accept"));
    QVERIFY(waitFor("noteAccept"));
    QVERIFY(type("note", QStringLiteral("out of reach")));
    QVERIFY(tap("noteAccept"));

    QVERIFY(waitForText("verdict", QStringLiteral("No verdict, accepted")));
    QVERIFY(ShellDriver::waitFor([this] { return !find("noteAccept"); })); // until then it takes all taps
    QCOMPARE(pointNamed("A1").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Accepted));
}

void tst_TesterKeeping::whatCannotBeStoredSaysSo()
{
    const QString diskProblem = workDisk->problem();
    if (!diskProblem.isEmpty()) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), qPrintable(diskProblem));
        QSKIP(qPrintable(diskProblem));
    }
    const int before = stored();
    QVERIFY(aimAt("clean"));
    std::unique_ptr<DiskFilling> filling;
    {
        const HeldInspections held;
        const QSignalSpy requests(&tester().inspector(), &Inspector::requested);
        QVERIFY(tap("analyse"));
        QVERIFY(ShellDriver::waitFor([&] { return requests.count() == 1; }));
        filling = std::make_unique<DiskFilling>(BaseDirHelper::workDir(), 0);
    }

    QVERIFY(waitFor("notKept"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(textOf("notKept"),
        QStringLiteral("NOT KEPT: the disk is full. This verdict is gone when you leave this page."));
    QCOMPARE(textOf("verdict"), QStringLiteral("Passed, but not kept"));
    QCOMPARE(stored(), before);
    QCOMPARE(pointNamed("A1").value(QStringLiteral("state")).toInt(), static_cast<int>(Records::PointState::Open));
    filling.reset();
    QVERIFY(tap("repeat"));
    QVERIFY(inspect("clean"));
    QVERIFY(!find("notKept"));
    QCOMPARE(stored(), before + 1);
}

void tst_TesterKeeping::aQuickInspectionIsKeptWithItsPicture()
{
    const int before = stored();
    const QString filed = BaseDirHelper::fiberInspectionDir() + QStringLiteral("analyse_test/source.jpg");
    QVERIFY(QDir().mkpath(filed + QStringLiteral("/folder"))); // nothing can be filed there
    QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^not filed: ")));

    QVERIFY(goHome());
    QVERIFY(openInspection());
    QVERIFY(focus());
    QVERIFY(openResultAfterRequest());

    QVERIFY(ShellDriver::waitFor([&] { return stored() == before + 1; }));
    const Records::RecordStore &store = tester().jobs().records();
    const Records::StoredInspection record = store.inspection(store.list().value.first().id).value;
    QCOMPARE(record.verdict, Records::Verdict::Passed);
    QVERIFY(record.isPictureThere);
    QVERIFY(store.inspectAgain(record.id).value.passed());
    QVERIFY(QDir(filed).removeRecursively());
}

bool tst_TesterKeeping::change(const QString &statement)
{
    const QString name = QStringLiteral("change");
    bool isDone = false;
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
        database.setDatabaseName(JobStore::defaultFolder() + QStringLiteral("/records.sqlite"));
        isDone = database.open() && QSqlQuery(database).exec(statement);
    }
    QSqlDatabase::removeDatabase(name);
    return isDone;
}

void tst_TesterKeeping::aPictureThatIsNotTheStoredOneIsTold_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("isStored"); // and named by the record
    QTest::addColumn<QString>("told");
    QByteArray large;
    QBuffer buffer(&large);
    QImage image(5000, 5000, QImage::Format_Mono); // beyond 16 megapixels
    image.fill(0);
    QVERIFY(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG"));
    QByteArray other;
    QBuffer otherBuffer(&other);
    QVERIFY(otherBuffer.open(QIODevice::WriteOnly) && image.copy(0, 0, 100, 100).save(&otherBuffer, "PNG"));
    const QString damaged = QStringLiteral("The picture is damaged or cannot be shown");
    QTest::newRow("too large") << large << true << damaged;
    QTest::newRow("another one") << other << false << damaged;
    QTest::newRow("half of it") << other.left(other.size() / 2) << false << damaged;
    QTest::newRow("none") << QByteArray() << false << QStringLiteral("The picture is missing");
}

void tst_TesterKeeping::aPictureThatIsNotTheStoredOneIsTold()
{
    QFETCH(const QByteArray, content);
    QFETCH(const bool, isStored);
    QFETCH(const QString, told);
    QVERIFY(inspect("pitted"));
    const Records::RecordStore &store = tester().jobs().records();
    const Records::Id id = tester().shownResult().inspection();
    const QString path = store.picturePath(store.inspection(id).value.annotatedPicture).value;
    if (isStored) {
        const QByteArray hash =
            Records::PictureStore(tester().jobs().folder() + QStringLiteral("/pictures")).put(content).value.hash;
        QVERIFY(change(QStringLiteral("UPDATE inspection SET annotated = x'%1' WHERE id = %2")
                           .arg(QString::fromLatin1(hash), QString::number(id))));
    } else {
        QFile file(path);
        QVERIFY(file.remove());
        QVERIFY(content.isEmpty() || (file.open(QIODevice::WriteOnly) && file.write(content) == content.size()));
    }
    QVERIFY(goHome());
    QVERIFY(tap("tile_102"));
    QVERIFY(tap("point_A1"));

    QVERIFY(tap("showResult"));

    QVERIFY(waitFor(qPrintable(told)));
    QVERIFY(find("resultPicture")->property("implicitWidth").toInt() == 0);
    if (!isStored)
        QFile::remove(path); // the next one stores it again
}

void tst_TesterKeeping::eachResultShowsItsOwnPicture()
{
    QVERIFY(inspect("pitted"));
    const qint64 first = tester().shownResult().inspection();
    QVERIFY(tap("nextPort"));
    QVERIFY(inspect("clean"));
    ShownResult other(&tester().jobs()); // as on a page that shows two

    QVERIFY(other.showStored(first));

    QVERIFY(ShellDriver::waitFor([&] { return !other.picture().isEmpty(); }));
    QVERIFY(ShellDriver::waitFor([this] { return !tester().shownResult().picture().isEmpty(); }));
    const auto shown = [](const ShownResult &result) {
        QSize size;
        return PictureProvider().requestImage(result.picture().path().mid(1), &size, {});
    };
    QVERIFY(!shown(other).isNull());
    QVERIFY(!shown(tester().shownResult()).isNull());
    QVERIFY(shown(other) != shown(tester().shownResult()));
}

void tst_TesterKeeping::aRecordThatContradictsItselfIsDoubtful()
{
    QVERIFY(inspect("pitted"));
    const QString id = QString::number(tester().shownResult().inspection());
    QVERIFY(change(QStringLiteral("UPDATE inspection SET verdict = 1 WHERE id = %1").arg(id)));
    QVERIFY(goHome());

    QVERIFY(tap("tile_102"));

    QVERIFY(waitForText("panelCounts", QStringLiteral("1 of 4, 0 failed, 1 in doubt")));
    QVERIFY(tap("point_A1"));
    QCOMPARE(textOf("selectedPoint"), QStringLiteral("A1, side A: in doubt"));
    QCOMPARE(tester().jobs().counts().value(QStringLiteral("passed")).toInt(), 0);
    QVERIFY(tap("showResult"));
    QVERIFY(waitFor("verdict"));
    QCOMPARE(textOf("verdict"), QStringLiteral("In doubt"));
    QVERIFY(textOf("words").startsWith(QStringLiteral("The record contradicts itself")));
}

void tst_TesterKeeping::aLateStillDoesNotAnswerForTheNextPort()
{
    QVERIFY(aimAt("clean"));
    tester().inspector().setCameraPatience(300); // milliseconds
    scope()->holdNextStill();
    QVERIFY(tap("analyse"));
    QVERIFY(waitForText("verdict", QStringLiteral("No verdict")));
    QVERIFY(driver().waitForRest());
    tester().inspector().setCameraPatience(2 * ShellDriver::patience); // it is not what ends the next one
    QVERIFY(tap("nextPort"));
    QVERIFY(aimAt("clean"));
    scope()->refuseNextStill();

    QVERIFY(tap("analyse"));

    QVERIFY(waitForText("verdict", QStringLiteral("No verdict")));
    scope()->releaseStills();
    QCOMPARE(pointNamed("A2").value(QStringLiteral("inspections")).toInt(), 1);
}

void tst_TesterKeeping::aJobOfTooManyPointsIsRefused()
{
    const Records::Id small = tester().jobs().currentJob();
    QVERIFY(goHome());
    QVERIFY(makeJob(QStringLiteral("many"), QStringLiteral("1"), QStringLiteral("4")));
    const Records::Id large = tester().jobs().currentJob();
    QVERIFY(tester().jobs().openJob(small));
    QVERIFY(change(QStringLiteral("WITH RECURSIVE n(i) AS (SELECT 4 UNION ALL SELECT i + 1 FROM n WHERE i < 2000) "
                                  "INSERT INTO point (job, name, position, side, fibre) "
                                  "SELECT %1, 'P' || i, i, 0, 1 FROM n")
                       .arg(large)));

    QVERIFY(!tester().jobs().openJob(large));

    QCOMPARE(tester().jobs().error(), QStringLiteral("The job has 2001 points; at most 2000 can be worked on here."));
    QCOMPARE(tester().jobs().currentJob(), small);
}

void tst_TesterKeeping::textsFromElsewhereAreShownAsOneLine()
{
    const QString job = QString::number(tester().jobs().currentJob());
    const QString name = QStringLiteral("Panel 7\n12 of 12\u202E, \u0007none");
    QVERIFY(change(QStringLiteral("UPDATE job SET name = '%1' WHERE id = %2").arg(name, job)));
    QVERIFY(change(QStringLiteral("UPDATE point SET name = 'A1\u202E\nB' WHERE job = %1 AND name = 'A1'").arg(job)));
    const QString shown = QStringLiteral("Panel 7 12 of 12, \uFFFDnone");

    tester().jobs().refresh();
    tester().jobs().listJobs(0);

    QCOMPARE(tester().jobs().job().value(QStringLiteral("name")).toString(), shown);
    QCOMPARE(tester().jobs().jobs()->rows().first().value(QStringLiteral("name")).toString(), shown);
    QCOMPARE(tester().jobs().points()->rows().first().value(QStringLiteral("name")).toString(), QStringLiteral("A1 B"));
    QVERIFY(inspect("clean")); // stored at the point by its true name
    QCOMPARE(tester().shownResult().facts().value(QStringLiteral("jobName")).toString(), shown);
    QCOMPARE(tester().shownResult().facts().value(QStringLiteral("pointName")).toString(), QStringLiteral("A1 B"));
}

void tst_TesterKeeping::aStoreThatIsAwayIsTold()
{
    const QString folder = JobStore::defaultFolder();
    const QString away = folder + QStringLiteral(".away");
    const int before = stored();
    QVERIFY(aimAt("clean"));
    QVERIFY(QFile::rename(folder, away));

    QVERIFY(inspect("clean"));

    QCOMPARE(textOf("verdict"), QStringLiteral("Passed, but not kept"));
    QVERIFY(!tester().jobs().canWrite());
    QVERIFY(goHome());
    QVERIFY(waitFor("storeNotice"));
    QCOMPARE(textOf("storeNotice"),
        QStringLiteral("The folder of the results was moved or removed. Nothing can be stored."));
    QVERIFY(!QFile::exists(folder)); // nothing is begun in its place
    QVERIFY(QFile::rename(away, folder));
    QVERIFY(tap("tile_102"));
    QVERIFY(inspect("clean"));
    QCOMPARE(textOf("notKept"), QString());
    QCOMPARE(pointNamed("A1").value(QStringLiteral("inspections")).toInt(), 1);
    QCOMPARE(stored(), before + 1);
    QVERIFY(tester().jobs().canWrite());
    QCOMPARE(tester().jobs().notice(), QString());
}

void tst_TesterKeeping::aStoreThatWasPutBackIsUsed()
{
    const QString folder = JobStore::defaultFolder();
    const QString away = folder + QStringLiteral(".away");
    const int before = stored();
    QVERIFY(aimAt("clean"));
    QVERIFY(QFile::rename(folder, away));
    QCOMPARE(ProgramRun::of(QStringLiteral("cp"), {QStringLiteral("-a"), away, folder}).exitCode, 0);

    QVERIFY(inspect("clean"));

    QCOMPARE(textOf("verdict"), QStringLiteral("Passed"));
    QCOMPARE(
        tester().jobs().job().value(QStringLiteral("name")).toString(), QLatin1String(QTest::currentTestFunction()));
    QCOMPARE(pointNamed("A1").value(QStringLiteral("inspections")).toInt(), 1);
    QCOMPARE(stored(), before + 1);
    QVERIFY(QDir(away).removeRecursively());
}

void tst_TesterKeeping::anEmptyAdapterCannotBeInspected()
{
    QVERIFY(aimAt("clean"));
    QVERIFY(find("analyse")->isEnabled());

    scope()->setFace(SimulatedScope::emptyAdapter());

    QVERIFY(waitForText("hint", QStringLiteral("No fibre: put the scope on a connector")));
    QVERIFY(!find("analyse")->isEnabled());
}

void tst_TesterKeeping::theWordsTellByHowMuch()
{
    QVERIFY(inspect("pitted"));

    QCOMPARE(textOf("verdict"), QStringLiteral("Failed"));
    QVERIFY(textOf("words").startsWith(QStringLiteral("Core: defect of ")));
    QVERIFY(textOf("words").endsWith(QStringLiteral(" µm, allowed up to 3 µm, none larger")));
}

void tst_TesterKeeping::aDefectThatIsTappedIsShown()
{
    QVERIFY(inspect("pitted"));
    QVERIFY(tap("details"));
    QVERIFY(waitFor("defect_1"));
    QVERIFY(driver().waitForRest());

    QVERIFY(tap("defect_1"));

    QCOMPARE(find("detailsPicture")->property("selected").toInt(), 1);
    QVERIFY(find("detailsPicture")->property("zoom").toDouble() > 1);
}

void tst_TesterKeeping::afterAPassItGoesOnByItself()
{
    tester().settings().setGoesOnAfterPass(true);
    QVERIFY(inspect("clean"));

    QVERIFY(waitFor("analyse"));

    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A2"));
}

/// Turns the knob through the sharpest picture and back; returns when the live picture has followed.
bool tst_TesterKeeping::sweep() const
{
    const auto turnTo = [this](double focus) {
        scope()->setFocus(focus);
        return ShellDriver::waitFor([this] { return scope()->isSettled() || find("verdict"); })
            && (find("verdict") || driver().waitForSharpFrame());
    };
    return turnTo(0.2) && turnTo(0) && turnTo(-0.2) && turnTo(0);
}

void tst_TesterKeeping::autoWaitsForAnotherConnector()
{
    const int before = stored();
    tester().settings().setGoesOnAfterPass(true);
    QVERIFY(aimAt("clean"));
    QVERIFY(tap("auto"));
    QVERIFY(sweep());
    QVERIFY(waitFor("verdict"));
    QVERIFY(waitForText("hint", QStringLiteral("Put the scope on the next connector")));

    QVERIFY(sweep());
    QVERIFY(sweep());

    QCOMPARE(stored(), before + 1);
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A2"));
    scope()->setFace(SimulatedScope::emptyAdapter());
    QVERIFY(waitForText("hint", QStringLiteral("No fibre: put the scope on a connector")));
    scope()->setFace(QStringLiteral("clean"));
    QVERIFY(waitForText("hint", QStringLiteral("Turn the focus knob through the sharpest picture and back")));
    QVERIFY(sweep());
    QVERIFY(waitFor("verdict"));
    QCOMPARE(stored(), before + 2);
}

/// Noise lets the focus value cross a whole number; that is no turn of the knob.
void tst_TesterKeeping::aKnobAtRestIsNoSweep()
{
    QVERIFY(aimAt("clean"));
    QVERIFY(tap("auto"));
    QObject *const page = tester().window()->findChild<QObject *>(QStringLiteral("inspectPage"));
    QVERIFY(page);
    auto *const meter = tester().window()->findChild<FocusMeter *>();
    QVERIFY(meter);
    const QSignalSpy begun(&tester().inspector(), &Inspector::requested);
    const QSignalSpy looked(meter, &FocusMeter::changed);

    const double focus = meter->focusValue();
    page->setProperty("sweep",
        QVariantMap{{QStringLiteral("minFocus"), std::floor(focus) - 0.01}, {QStringLiteral("maxFocus"), focus}});

    QVERIFY(ShellDriver::waitFor([&] { return looked.count() > 20; }));
    QVERIFY(!tester().inspector().isBusy());
    QCOMPARE(begun.count(), 0);
}

void tst_TesterKeeping::aPictureThatGoesOnAgainDoesNotFreezeLater()
{
    QVERIFY(aimAt("clean"));
    QQuickItem *const view = find("liveView");
    for (const bool isHeld : {true, false})
        QVERIFY(QMetaObject::invokeMethod(view, "freeze", Q_ARG(QVariant, isHeld)));
    const QSharedPointer<QQuickItemGrabResult> later = view->grabToImage();
    QSignalSpy isGrabbed(later.data(), &QQuickItemGrabResult::ready);

    QVERIFY(ShellDriver::waitFor([&] { return !isGrabbed.isEmpty(); })); // behind the one that was to be shown

    QVERIFY(!view->property("isFrozen").toBool());
    QVERIFY(QMetaObject::invokeMethod(view, "freeze", Q_ARG(QVariant, true)));
    QVERIFY(ShellDriver::waitFor([&] { return view->property("isFrozen").toBool(); }));
    QVERIFY(QMetaObject::invokeMethod(view, "freeze", Q_ARG(QVariant, false)));
}

void tst_TesterKeeping::aTextThatIsTooLongIsRefused()
{
    QVERIFY(inspect("pitted"));
    const qint64 shown = tester().shownResult().inspection();
    constexpr int accepted = static_cast<int>(Records::Decision::Accepted);

    QVERIFY(!tester().jobs().decide(shown, accepted, QString(TesterSettings::maxTextLength + 1, QLatin1Char('x'))));
    QVERIFY(!tester().jobs().error().isEmpty());
    QVERIFY(tester().jobs().decide(shown, accepted, QString(TesterSettings::maxTextLength, QLatin1Char('x'))));
}

void tst_TesterKeeping::theListsAreLimited()
{
    for (int i = 0; i < JobStore::pageRows; ++i) {
        QVERIFY(tester().jobs().createJob({{QStringLiteral("name"), QStringLiteral("many")},
            {QStringLiteral("standard"), static_cast<int>(TesterSettings::defaultStandard)},
            {QStringLiteral("first"), QStringLiteral("1")}, {QStringLiteral("last"), QStringLiteral("2")}}));
    }
    QVERIFY(goHome());
    QVERIFY(tap("tile_107"));

    QVERIFY(ShellDriver::waitFor([this] { return tester().jobs().jobs()->count() == JobStore::pageRows; }));
    QVERIFY(tap("pagerOn"));
    QVERIFY(ShellDriver::waitFor([this] {
        return tester().jobs().jobs()->count() > 0 && tester().jobs().jobs()->count() < JobStore::pageRows;
    }));
}

void tst_TesterKeeping::portsThatCannotBeReadAreNotTakenForNone()
{
    QVERIFY(inspect("clean"));
    QVERIFY(change(QStringLiteral("ALTER TABLE point RENAME TO point_")));
    tester().jobs().refresh();

    const bool isTapped = tap("nextPort");
    const bool isTold = isTapped && ShellDriver::waitFor([this] { return find("snackBar") != nullptr; });
    const QString told = textOf("snackBar");

    QVERIFY(change(QStringLiteral("ALTER TABLE point_ RENAME TO point")));
    QVERIFY(isTold);
    QVERIFY2(told.startsWith(QStringLiteral("The results cannot be read: ")), qPrintable(told));
    QCOMPARE(tester().jobs().points()->count(), 4); // as they were last read
    QVERIFY(tap("nextPort"));
    QVERIFY(waitFor("analyse"));
    QCOMPARE(tester().jobs().point().value(QStringLiteral("name")).toString(), QStringLiteral("A2"));
}

int main(int argc, char *argv[])
{
    const QTemporaryDir workDir;
    const SmallDisk disk(workDir.path(), diskSize); // before there are threads
    workDisk = &disk;
    return runTesterTest<tst_TesterKeeping>(argc, argv, workDir.path(), SimulatedScope::pluginPath());
}

#include "tst_tester_keeping.moc"
