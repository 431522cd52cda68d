// SPDX-License-Identifier: Apache-2.0
// The report of a job, from the panel to the file: read by other programs, on disks that are full, read-only, pulled
// out.
#include "../reports/ReportTools.h"
#include "JobTest.h"
#include "SmallDisk.h"

#include <QDir>

#include <memory>

namespace {
// So that there is time to do something meanwhile; instrumented, each takes many times as long.
#ifdef __SANITIZE_ADDRESS__
constexpr int manyPoints = 24;
#else
constexpr int manyPoints = 144;
#endif
constexpr int smallDisk = 64; // kibibytes
constexpr int stickSize = 8192; // kibibytes
constexpr int longWriting = 120000; // milliseconds; instrumented, and beside others

QString &problemOfTest() // of main(): why there are no mounts on this machine
{
    static QString problem;
    return problem;
}

QString &folderOfTest() // of main()
{
    static QString folder;
    return folder;
}

QString below(const char *name)
{
    return folderOfTest() + QLatin1Char('/') + QLatin1String(name);
}

QStringList filesIn(const QString &folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden, QDir::Name);
}

/// A disk that is plugged in, and out.
class Stick
{
public:
    explicit Stick(const QString &name)
        : mPath(below("media/") + name)
    {
        const QByteArray options = "size=" + QByteArray::number(stickSize) + 'k';
        QDir().mkpath(mPath);
        mIsMounted = mount("tmpfs", encoded().constData(), "tmpfs", 0, options.constData()) == 0;
    }
    Stick(const Stick &) = delete;
    Stick &operator=(const Stick &) = delete;
    ~Stick() { pull(); }

    void pull()
    {
        if (mIsMounted)
            umount2(encoded().constData(), MNT_DETACH);
        mIsMounted = false;
    }
    bool isMounted() const { return mIsMounted; }
    QString path() const { return mPath; }

private:
    QByteArray encoded() const { return QFile::encodeName(mPath); }

    const QString mPath;
    bool mIsMounted = false;
};

/// As an inspection of the tester leaves it.
class StoredJob
{
public:
    StoredJob(const QString &name, int count)
    {
        mStore.open(JobStore::defaultFolder());
        Records::Job job;
        job.name = name;
        job.standard = TesterSettings::defaultStandard;
        id = mStore.addJob(job).value.id;
        points = mStore
                     .addPoints(id,
                         {QStringLiteral("A001"), QStringLiteral("A%1").arg(count, 3, 10, QLatin1Char('0')),
                             Records::Side::A, {}})
                     .value;
    }

    Records::Id inspect(int point, const char *sample)
    {
        static int photographs = 0;
        const Face &face = Face::of(QLatin1String(sample));
        return mStore
            .addInspection(
                face.origin(points.at(point).id), face.inspection, photographOf(QLatin1String(sample), ++photographs))
            .value;
    }
    Records::Id inspectNothing(int point)
    {
        const QTemporaryDir dir;
        const auto inspection =
            FiberInspection::inspectFile(dir.filePath(QStringLiteral("none")), TesterSettings::defaultStandard);
        return mStore.addInspection(Records::Origin::of(points.at(point).id), inspection, {}).value;
    }
    void accept(Records::Id inspection)
    {
        mStore.setDecision(inspection, Records::Decision::Accepted, QStringLiteral("known"));
    }
    QString picturePath(Records::Id inspection) const
    {
        return mStore.picturePath(mStore.inspection(inspection).value.picture).value;
    }

    Records::Id id = Records::noId;
    QVector<Records::Point> points;

private:
    Records::RecordStore mStore;
};

/// One point of each kind, and two that are open.
Records::Id mixedJob()
{
    StoredJob job(QStringLiteral("Panel <b>7</b>/Ä"), 6);
    job.inspect(0, "clean");
    job.inspect(1, "pitted");
    job.accept(job.inspect(2, "scratched"));
    job.inspectNothing(3);
    return job.id;
}

Records::Id manyJob()
{
    static const Records::Id id = [] {
        StoredJob job(QStringLiteral("many"), manyPoints);
        for (int i = 0; i < manyPoints; ++i)
            job.inspect(i, "pitted");
        return job.id;
    }();
    return id;
}
} // namespace

/// The CI has to have what the test needs.
#define SKIP_WITHOUT_DISKS()                                                                                           \
    do {                                                                                                               \
        QVERIFY2(problemOfTest().isEmpty() || !qEnvironmentVariableIsSet("CI"), qPrintable(problemOfTest()));          \
        if (!problemOfTest().isEmpty())                                                                                \
            QSKIP(qPrintable(problemOfTest()));                                                                        \
    } while (false)

class tst_TesterReport : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void init() { QVERIFY(prepare()); }
    void fileNamesAreSafe_data();
    void fileNamesAreSafe();
    void thePdfSaysWhatThePageSays();
    void theReportIsInTheLanguageOfTheInterface();
    void anotherLanguageIsChosen();
    void eachFormatIsWhatItShouldBe_data();
    void eachFormatIsWhatItShouldBe();
    void nothingIsReplaced();
    void allPassedIsSaid();
    void theKeyboardIsEnough();
    void whatIsDamagedIsTold();
    void whatContradictsItselfIsTold();
    void textsOfOthersTurnNothing();
    void stoppingLeavesNothing();
    void endingTheProgramLeavesNothing();
    void inspectingGoesOnMeanwhile();
    void aFolderThatCannotBeWrittenIsTold();
    void aFolderThatIsNoneIsTold();
    void aFullDiskIsTold();
    void sticksComeAndGo();
    void aStickGetsTheReport();
    void aStickThatIsPulledOutWhileItIsWrittenIsTold();
    void aStickThatIsGoneIsNotReplacedByItsFolder();

private:
    bool prepare();
    bool openPage(Records::Id job) const;
    bool choose(const char *choice, int row) const;
    bool waitForEnd() const;
    bool write() const { return tap("writeReport") && waitForEnd(); }
    ReportWriter &writer() const { return tester().reportWriter(); }
    QString onlyFile() const;
    QString countOf(const char *name) const;
    static QString exports() { return below("exports"); }
};

bool tst_TesterReport::prepare()
{
    TesterTest::init();
    tester().settings().setExportFolder(exports());
    return !QTest::currentTestFailed() && (!QFile::exists(exports()) || QDir(exports()).removeRecursively());
}

bool tst_TesterReport::openPage(Records::Id job) const
{
    return tester().jobs().openJob(job) && tap("tile_102") && tap("actionReport") && waitFor("reportHeadline")
        && driver().waitForRest() && ShellDriver::waitFor([this] { return find("writeReport")->isEnabled(); });
}

/// By keys, as a box is turned that is not opened.
bool tst_TesterReport::choose(const char *choice, int row) const
{
    find(choice)->forceActiveFocus(Qt::TabFocusReason);
    for (int i = 0; i < row; ++i)
        driver().press(Qt::Key_Down);
    const QVariantList rows = find(choice)->property("model").toList();
    return find(choice)->property("value") == rows.value(row).toMap().value(QStringLiteral("value"));
}

bool tst_TesterReport::waitForEnd() const
{
    return QTest::qWaitFor([this] { return !writer().isWriting(); }, longWriting) && !writer().outcome().isEmpty();
}

QString tst_TesterReport::onlyFile() const
{
    const QStringList files = filesIn(exports());
    return files.size() == 1 ? exports() + QLatin1Char('/') + files[0] : QString();
}

QString tst_TesterReport::countOf(const char *name) const
{
    return find(name)->property("number").toString();
}

void tst_TesterReport::fileNamesAreSafe_data()
{
    QTest::addColumn<QString>("job");
    QTest::addColumn<QString>("name");
    const auto row = [](const char *title, const QString &job, const QString &name) {
        QTest::newRow(title) << job << name + QStringLiteral(" 2026-03-09.pdf");
    };
    row("as it is", QStringLiteral("Central office, row 3"), QStringLiteral("Central office, row 3"));
    row("another folder", QStringLiteral("../../etc/passwd"), QStringLiteral("etc passwd"));
    row("hidden", QStringLiteral(".ssh"), QStringLiteral("ssh"));
    row("an option", QStringLiteral("--force"), QStringLiteral("force"));
    row("what file systems of others refuse", QStringLiteral("a:b*c?\"d\"<e>|f\\g"), QStringLiteral("a b c d e f g"));
    row("a device of theirs", QStringLiteral("con.x"), QStringLiteral("con x"));
    row("lines", QStringLiteral("a\nb\tc"), QStringLiteral("a b c"));
    row("what turns the direction", QStringLiteral("a\u202Egpj.b"), QStringLiteral("a gpj b"));
    row("nothing that is left", QStringLiteral("/.*"), QStringLiteral("job"));
    row("long", QString(300, QLatin1Char('x')), QString(120, QLatin1Char('x')));
}

void tst_TesterReport::fileNamesAreSafe()
{
    QFETCH(const QString, job);
    QTEST(ReportTask::fileName(job, QDate(2026, 3, 9), QStringLiteral("pdf")), "name");
}

void tst_TesterReport::thePdfSaysWhatThePageSays()
{
    QVERIFY(openPage(mixedJob()));
    QCOMPARE(textOf("reportHeadline"), QStringLiteral("The job is not finished: 2 of 6 points are open"));
    QCOMPARE(countOf("count_points"), QStringLiteral("6"));
    for (const char *const one : {"count_passed", "count_failed", "count_accepted", "count_withoutVerdict"})
        QCOMPARE(countOf(one), QStringLiteral("1"));
    QCOMPARE(countOf("count_open"), QStringLiteral("2"));
    QCOMPARE(countOf("count_doubtful"), QStringLiteral("0"));
    QVERIFY(!find("reportDoubts"));
    QCOMPARE(textOf("reportState"), QStringLiteral("Goes to ") + exports());

    QVERIFY(write());

    const QString path = onlyFile();
    QVERIFY(!path.isEmpty());
    QVERIFY2(QFileInfo(path).fileName().startsWith(QStringLiteral("Panel b 7 b ")), qPrintable(path));
    QVERIFY2(textOf("reportState").endsWith(path), qPrintable(textOf("reportState")));
    QVERIFY2(textOf("reportState").startsWith(QStringLiteral("Written, ")), qPrintable(textOf("reportState")));
    QCOMPARE(faultOfPdf(path), QString());
    const QString text = textOfPdf(path, 1);
    for (const char *const words : {"Panel <b>7</b>/Ä", "Passed", "Failed", "Accepted", "No verdict"})
        QVERIFY2(text.contains(QString::fromUtf8(words)), qPrintable(text));
}

void tst_TesterReport::theReportIsInTheLanguageOfTheInterface()
{
    const Records::Id job = mixedJob();
    tester().language().setCurrent(QStringLiteral("de"));
    QVERIFY(openPage(job));
    QCOMPARE(textOf("reportHeadline"), QStringLiteral("Der Auftrag ist nicht fertig: 2 von 6 Messpunkten sind offen"));

    QVERIFY(write());

    QVERIFY2(textOf("reportState").startsWith(QStringLiteral("Geschrieben, ")), qPrintable(textOf("reportState")));
    const QString text = textOfPdf(onlyFile(), 1);
    QVERIFY2(text.contains(QStringLiteral("Bestanden")) && !text.contains(QStringLiteral("Passed")), qPrintable(text));
}

void tst_TesterReport::anotherLanguageIsChosen()
{
    QVERIFY(openPage(mixedJob()));
    QVERIFY(choose("reportLanguage", 1));

    QVERIFY(write());

    QVERIFY(textOfPdf(onlyFile(), 1).contains(QStringLiteral("Bestanden")));
    QCOMPARE(tester().language().current(), QStringLiteral("en")); // of the interface
}

void tst_TesterReport::eachFormatIsWhatItShouldBe_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("suffix");
    QTest::newRow("everything") << 1 << QStringLiteral("zip");
    QTest::newRow("table") << 2 << QStringLiteral("csv");
    QTest::newRow("record") << 3 << QStringLiteral("json");
}

void tst_TesterReport::eachFormatIsWhatItShouldBe()
{
    QFETCH(const int, row);
    QFETCH(const QString, suffix);
    QVERIFY(openPage(mixedJob()));
    QVERIFY(choose("reportFormat", row));
    QCOMPARE(find("reportLanguage")->isEnabled(), suffix != QLatin1String("json"));

    QVERIFY(write());

    const QString path = onlyFile();
    QVERIFY(path.endsWith(QLatin1Char('.') + suffix));
    QVERIFY(textOf("reportState").endsWith(path));
    if (suffix == QLatin1String("zip")) {
        const Ran tested = runProgram(QStringLiteral("unzip"), {QStringLiteral("-t"), path});
        QVERIFY2(tested.exitCode == 0, tested.output);
        for (const char *const name : {"report.pdf", "records.json", "inspections.csv", "SHA256SUMS", ".jpg"})
            QVERIFY2(tested.output.contains(name), name);
    } else if (suffix == QLatin1String("csv")) {
        QCOMPARE(fileContent(path).count('\n'), 5); // and four inspections
        QVERIFY(fileContent(path).startsWith(Reports::csvHeader({})));
    } else {
        QCOMPARE(schemaViolation(fileContent(path)), QString());
    }
}

void tst_TesterReport::nothingIsReplaced()
{
    QVERIFY(openPage(mixedJob()));

    QVERIFY(write());
    const QByteArray first = fileContent(onlyFile());
    QVERIFY(write());
    QVERIFY(write());

    const QStringList files = filesIn(exports());
    QCOMPARE(files.size(), 3);
    QVERIFY(files[0].endsWith(QLatin1String(" (2).pdf")));
    QVERIFY(files[1].endsWith(QLatin1String(" (3).pdf")));
    QCOMPARE(fileContent(exports() + QLatin1Char('/') + files[2]), first);
}

void tst_TesterReport::allPassedIsSaid()
{
    StoredJob job(QStringLiteral("well"), 2);
    job.inspect(0, "clean");
    job.inspect(1, "clean");

    QVERIFY(openPage(job.id));

    QCOMPARE(textOf("reportHeadline"), QStringLiteral("All points have passed"));
    QCOMPARE(countOf("count_passed"), QStringLiteral("2"));
}

void tst_TesterReport::theKeyboardIsEnough()
{
    QVERIFY(openPage(mixedJob()));
    const auto hasKeyboard = [this](const char *name) { return find(name)->hasActiveFocus(); };
    QVERIFY(ShellDriver::waitFor([&] { return hasKeyboard("reportFormat"); }));

    driver().press(Qt::Key_Tab);
    QVERIFY(hasKeyboard("reportLanguage"));
    driver().press(Qt::Key_Tab);
    QVERIFY(hasKeyboard("reportPlace"));
    driver().press(Qt::Key_Tab);
    QVERIFY(hasKeyboard("writeReport"));
    QVERIFY(find("writeReport")->property("visualFocus").toBool());
    driver().press(Qt::Key_Return);
    QVERIFY(hasKeyboard("stopReport"));
    QVERIFY(waitForEnd());

    QVERIFY(!onlyFile().isEmpty());
    QVERIFY(ShellDriver::waitFor([&] { return hasKeyboard("writeReport"); }));
    driver().press(Qt::Key_Escape);
    QVERIFY(waitFor("panel"));
    QVERIFY(driver().waitForRest());
    QVERIFY(hasKeyboard("panel"));
}

void tst_TesterReport::whatIsDamagedIsTold()
{
    StoredJob job(QStringLiteral("damaged"), 2);
    job.inspect(0, "clean");
    QVERIFY(QFile::remove(job.picturePath(job.inspect(1, "clean"))));

    QVERIFY(openPage(job.id));

    QVERIFY(waitFor("reportDoubts"));
    QCOMPARE(textOf("reportDoubts"), QStringLiteral("Pictures that are missing or damaged: 1 (A002)"));
    QVERIFY(write());
    for (const char *const name : {"reportHeadline", "reportState", "reportDoubts"})
        QVERIFY2(!textOf(name).contains(QStringLiteral("passed"), Qt::CaseInsensitive), name);
    QVERIFY(!writer().facts().value(QStringLiteral("allPassed")).toBool());
    QVERIFY(textOf("reportState").startsWith(QStringLiteral("Written, but not everything in it is sound, ")));
    QVERIFY(find("reportDoubts"));
    QCOMPARE(faultOfPdf(onlyFile()), QString());
}

void tst_TesterReport::whatContradictsItselfIsTold()
{
    StoredJob job(QStringLiteral("contradicts"), 2);
    job.inspect(0, "clean");
    const Records::Id failed = job.inspect(1, "pitted");
    {
        OwnConnection connection(JobStore::defaultFolder());
        QCOMPARE(connection.run(QStringLiteral("UPDATE inspection SET verdict = 1 WHERE id = %1").arg(failed)),
            QStringList());
    }

    QVERIFY(openPage(job.id));

    QCOMPARE(textOf("reportDoubts"), QStringLiteral("Verdicts that are not what their rules say: 1 (A002)"));
    QCOMPARE(textOf("reportHeadline"), QStringLiteral("Not everything of this job is sound"));
    QCOMPARE(countOf("count_passed"), QStringLiteral("1"));
    QCOMPARE(countOf("count_doubtful"), QStringLiteral("1"));
    QVERIFY(find("in doubt")); // as the other pages call it
}

/// What another unit has stored may have line breaks, and signs that turn the direction.
void tst_TesterReport::textsOfOthersTurnNothing()
{
    StoredJob job(QStringLiteral("turned"), 1);
    const Records::Id failed = job.inspect(0, "pitted");
    {
        OwnConnection connection(JobStore::defaultFolder());
        const QString sign = QStringLiteral("char(10) || char(8238)"); // and right to left from here on
        QCOMPARE(connection.run(QStringLiteral("UPDATE job SET name = 'Panel' || %1 || '21' WHERE id = %2")
                                    .arg(sign, QString::number(job.id))),
            QStringList());
        QCOMPARE(
            connection.run(
                QStringLiteral("UPDATE point SET name = 'A' || %1 WHERE job = %2").arg(sign, QString::number(job.id))),
            QStringList());
        QCOMPARE(connection.run(QStringLiteral("UPDATE inspection SET verdict = 1 WHERE id = %1").arg(failed)),
            QStringList());
    }

    QVERIFY(openPage(job.id));

    for (const QString &text : {tester().reportWriter().facts().value(QStringLiteral("jobName")).toString(),
             tester().reportWriter().doubts()}) {
        QVERIFY(!text.isEmpty());
        QVERIFY(!text.contains(QChar(0x202e)) && !text.contains(QLatin1Char('\n')));
    }
}

void tst_TesterReport::stoppingLeavesNothing()
{
    QVERIFY(openPage(manyJob()));
    QVERIFY(choose("reportFormat", 1));

    QVERIFY(tap("writeReport"));
    QVERIFY(waitFor("reportProgress"));
    QVERIFY(ShellDriver::waitFor([] { return !filesIn(exports()).isEmpty(); }));
    QVERIFY(tap("stopReport"));
    QVERIFY(waitForEnd());

    QCOMPARE(textOf("reportState"), QStringLiteral("Stopped. Nothing was written."));
    QCOMPARE(filesIn(exports()), QStringList());
    QVERIFY(find("writeReport")->isEnabled());
}

void tst_TesterReport::endingTheProgramLeavesNothing()
{
    auto other = std::make_unique<ReportWriter>(JobStore::defaultFolder(), &tester().settings());
    QVERIFY(tester().jobs().openJob(manyJob()));
    other->look(tester().jobs().currentIdentity());
    other->write(ReportOrder::Archive, QStringLiteral("en"), {});
    QVERIFY(ShellDriver::waitFor([] { return !filesIn(exports()).isEmpty(); }));
    QVERIFY(other->isWriting());

    other.reset();

    QCOMPARE(filesIn(exports()), QStringList());
}

void tst_TesterReport::inspectingGoesOnMeanwhile()
{
    StoredJob next(QStringLiteral("next"), 1);
    QVERIFY(openPage(manyJob()));
    QVERIFY(choose("reportFormat", 1));
    QVERIFY(tap("writeReport"));
    QVERIFY(tester().jobs().openJob(next.id));
    QVERIFY(tap("actionBack"));
    QVERIFY(waitFor("panel"));
    QVERIFY(driver().waitForRest());
    QVERIFY(writer().isWriting());

    QVERIFY(inspect("clean"));

    QCOMPARE(textOf("verdict"), QStringLiteral("Passed"));
    QVERIFY(waitForEnd());
    QVERIFY2(writer().outcome().value(QStringLiteral("isWritten")).toBool(),
        qPrintable(writer().outcome().value(QStringLiteral("text")).toString()));
    QCOMPARE(window()->findChild<QObject *>(QStringLiteral("snackBar"))->property("text").toString(), // it may be gone
        writer().outcome().value(QStringLiteral("text")).toString());
    QVERIFY(QFileInfo(onlyFile()).fileName().startsWith(QStringLiteral("many ")));
}

void tst_TesterReport::aFolderThatCannotBeWrittenIsTold()
{
    SKIP_WITHOUT_DISKS();
    tester().settings().setExportFolder(below("readonly"));
    QVERIFY(openPage(mixedJob()));

    QVERIFY(write());

    QCOMPARE(textOf("reportState"), QStringLiteral("Not written: %1 cannot be written to.").arg(below("readonly")));
    QVERIFY(find("writeReport")->isEnabled());
}

void tst_TesterReport::aFolderThatIsNoneIsTold()
{
    QVERIFY(openPage(mixedJob()));

    tester().settings().setExportFolder(QStringLiteral("somewhere"));
    QVERIFY(write());
    QCOMPARE(textOf("reportState"), QStringLiteral("Not written: somewhere is no folder that can be used."));

    tester().settings().setExportFolder(below("tester.ini"));
    QVERIFY(write());
    QVERIFY2(textOf("reportState").startsWith(QStringLiteral("Not written: ")), qPrintable(textOf("reportState")));
    QVERIFY(!writer().outcome().value(QStringLiteral("isWritten")).toBool());
}

void tst_TesterReport::aFullDiskIsTold()
{
    SKIP_WITHOUT_DISKS();
    tester().settings().setExportFolder(below("full"));
    QVERIFY(openPage(mixedJob()));

    QVERIFY(write());

    QCOMPARE(textOf("reportState"), QStringLiteral("Not written: there is not enough room in %1.").arg(below("full")));
    QCOMPARE(filesIn(below("full")), QStringList());
}

void tst_TesterReport::sticksComeAndGo()
{
    SKIP_WITHOUT_DISKS();
    QVERIFY(openPage(mixedJob()));
    const auto places = [this] { return find("reportPlace")->property("model").toList(); };
    const auto shown = [this] { return find("reportPlace")->property("shown").toString(); };
    QCOMPARE(places().size(), 1);

    Stick first(QStringLiteral("MY STICK"));
    QVERIFY(first.isMounted());
    QVERIFY(ShellDriver::waitFor([&] { return places().size() == 2; }));
    QCOMPARE(places().at(1).toMap().value(QStringLiteral("name")).toString(), QStringLiteral("USB stick MY STICK"));
    QVERIFY(choose("reportPlace", 1));
    QCOMPARE(textOf("reportState"), QStringLiteral("Goes to ") + first.path());
    {
        const Stick second(QStringLiteral("another"));
        QVERIFY(ShellDriver::waitFor([&] { return places().size() == 3; }));
        QCOMPARE(textOf("reportState"), QStringLiteral("Goes to ") + first.path());
        QCOMPARE(shown(), QStringLiteral("USB stick MY STICK"));
    }
    QVERIFY(ShellDriver::waitFor([&] { return places().size() == 2; }));
    QCOMPARE(shown(), QStringLiteral("USB stick MY STICK"));
    first.pull();
    QVERIFY(ShellDriver::waitFor([&] { return places().size() == 1; }));
    QCOMPARE(textOf("reportState"), QStringLiteral("Goes to ") + exports());
    QCOMPARE(shown(), QStringLiteral("Folder for exports"));

    QVERIFY(tester().removableMedia().isWatched());
    QVERIFY(tap("actionBack"));
    QVERIFY(ShellDriver::waitFor([this] { return !tester().removableMedia().isWatched(); }));
}

void tst_TesterReport::aStickGetsTheReport()
{
    SKIP_WITHOUT_DISKS();
    const Stick stick(QStringLiteral("STICK"));
    QVERIFY(openPage(mixedJob()));
    QVERIFY(choose("reportPlace", 1));

    QVERIFY(write());

    const QStringList files = filesIn(stick.path());
    QCOMPARE(files.size(), 1);
    QCOMPARE(faultOfPdf(stick.path() + QLatin1Char('/') + files[0]), QString());
    QVERIFY(!QFile::exists(exports()));
}

void tst_TesterReport::aStickThatIsPulledOutWhileItIsWrittenIsTold()
{
    SKIP_WITHOUT_DISKS();
    Stick stick(QStringLiteral("PULLED"));
    QVERIFY(openPage(manyJob()));
    QVERIFY(choose("reportPlace", 1));

    QVERIFY(tap("writeReport"));
    QVERIFY(ShellDriver::waitFor([&stick] { return !filesIn(stick.path()).isEmpty(); }));
    stick.pull();
    QVERIFY(waitForEnd());

    QCOMPARE(textOf("reportState"), QStringLiteral("Not written: the USB stick was pulled out."));
    QCOMPARE(filesIn(stick.path()), QStringList());
    QVERIFY(!QFile::exists(exports()));
}

void tst_TesterReport::aStickThatIsGoneIsNotReplacedByItsFolder()
{
    SKIP_WITHOUT_DISKS();
    QVERIFY(openPage(mixedJob()));
    Stick stick(QStringLiteral("GONE"));
    stick.pull();

    writer().write(ReportOrder::Pdf, QStringLiteral("en"), stick.path());
    QVERIFY(waitForEnd());

    QVERIFY(waitForText("reportState", QStringLiteral("Not written: the USB stick was pulled out.")));
    QCOMPARE(filesIn(stick.path()), QStringList());
}

int main(int argc, char *argv[])
{
    const QTemporaryDir dir;
    folderOfTest() = QFileInfo(dir.path()).canonicalFilePath();
    for (const char *const name : {"full", "readonly", "media"})
        QDir().mkpath(below(name));
    const SmallDisk full(below("full"), smallDisk); // before there are threads
    problemOfTest() = full.problem();
    const QByteArray readOnly = QFile::encodeName(below("readonly"));
    if (problemOfTest().isEmpty() && mount("tmpfs", readOnly.constData(), "tmpfs", MS_RDONLY, nullptr) != 0)
        problemOfTest() = QStringLiteral("no disk can be mounted");
    const int result =
        runTesterTest<tst_TesterReport>(argc, argv, folderOfTest(), SimulatedScope::pluginPath(), {below("media")});
    umount2(readOnly.constData(), MNT_DETACH);
    return result;
}

#include "tst_tester_report.moc"
