// SPDX-License-Identifier: Apache-2.0
// The application begins on a store that is damaged, of a later version, read-only, or in use; and twice on one folder.
// Each state in a process of its own.
#include "Helpers/BaseDirHelper.h"
#include "Internal/ChildProcess.h"
#include "JobTest.h"
#include "SmallDisk.h"

#include <QDirIterator>
#include <QFile>
#include <QSqlDatabase>
#include <QSqlQuery>

#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <sys/stat.h>

namespace {
constexpr int limit = 120000; // milliseconds
constexpr int diskSize = 16384; // kibibytes
constexpr int alreadyRuns = 69;

QString &stateOfTest() // of main()
{
    static QString state;
    return state;
}

QString &problemOfTest() // why the state cannot be had on this machine
{
    static QString problem;
    return problem;
}

QString recordsFolder(const QString &folder)
{
    return folder + QStringLiteral("/records");
}

QString database(const QString &folder)
{
    return recordsFolder(folder) + QStringLiteral("/records.sqlite");
}

/// A job of two points.
std::optional<Records::Job> addJob(const QString &folder, const QString &name)
{
    Records::RecordStore store;
    if (!store.open(recordsFolder(folder)).canWrite())
        return {};
    Records::Job job;
    job.name = name;
    job.standard = TesterSettings::defaultStandard;
    const Records::Answer<Records::Job> added = store.addJob(job);
    const Records::PointRun run{QStringLiteral("A1"), QStringLiteral("A2"), Records::Side::A, {}};
    if (!added.ok() || !store.addPoints(added.value.id, run).ok())
        return {};
    return added.value;
}

/// One as an earlier run left it.
bool leaveJob(const QString &folder)
{
    const std::optional<Records::Job> job = addJob(folder, QStringLiteral("earlier"));
    TesterSettings settings(folder + QStringLiteral("/tester.ini"));
    if (job)
        settings.setLastJob(job->identity);
    return job.has_value();
}

/// Puts another store in its place; its points have the numbers of those that were there.
bool replaceStore(const QString &folder)
{
    return QFile::rename(recordsFolder(folder), folder + QStringLiteral("/aside"))
        && addJob(folder, QStringLiteral("other")).has_value();
}

/// Puts another store in its place that has the same job, taken over: its points have other numbers than before, and
/// those of before are other points'.
bool renumberStore(const QString &folder)
{
    const QString aside = folder + QStringLiteral("/aside-") + QUuid::createUuid().toString(QUuid::Id128);
    if (!QFile::rename(recordsFolder(folder), aside) || !addJob(folder, QStringLiteral("other")))
        return false;
    Records::RecordStore store;
    return store.open(recordsFolder(folder)).canWrite() && store.merge(aside).ok();
}

bool damage(const QString &folder)
{
    QFile file(database(folder));
    return file.open(QIODevice::WriteOnly) && file.write(QByteArray(100000, 'x')) > 0;
}

bool makeLater(const QString &folder)
{
    QSqlDatabase other = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("later"));
    other.setDatabaseName(database(folder));
    return other.open() && QSqlQuery(other).exec(QStringLiteral("PRAGMA user_version = 99"));
}

QString seenPath()
{
    return BaseDirHelper::workDir() + QStringLiteral("seen");
}
} // namespace

class tst_TesterStore : public JobTest
{
    Q_OBJECT

public:
    using JobTest::JobTest;

private Q_SLOTS:
    void initTestCase();
    void theNoticeTellsIt();
    void noVerdictIsLost();
    void noVerdictGoesIntoAnotherStore();
    void whatIsRepeatedIsTheSamePoint();
    void theStatisticsAreThoseOfTheJob();
    void theReportIsThatOfTheJob();
    void theResultsAreThoseThatAreThere();

private:
    bool isState(const char *state) const { return stateOfTest() == QLatin1String(state); }
    bool isChanging() const { return isState("replaced") || isState("anew"); }
    QString selectedPoint() const { return tester().jobs().point().value(QStringLiteral("name")).toString(); }
    static bool letTheOtherEnd();
    void endTheOther();
    bool renumber();
};

void tst_TesterStore::initTestCase()
{
    if (!problemOfTest().isEmpty()) {
        QVERIFY2(!qEnvironmentVariableIsSet("CI"), qPrintable(problemOfTest()));
        QSKIP(qPrintable(problemOfTest()));
    }
    QVERIFY(QTest::qWaitForWindowActive(window()));
}

void tst_TesterStore::theNoticeTellsIt()
{
    const QString notice = tester().jobs().notice();
    if (isState("renumbered"))
        return;
    if (isState("damaged")) {
        QVERIFY2(
            notice.startsWith(QStringLiteral("The results were damaged and are kept aside in ")), qPrintable(notice));
    } else if (isState("later")) {
        QCOMPARE(
            notice, QStringLiteral("A later version of this program wrote the results. They can only be looked at."));
    } else if (isState("readonly")) {
        QCOMPARE(notice, QStringLiteral("The folder of the results cannot be written. Nothing can be stored."));
    } else {
        QCOMPARE(notice, QStringLiteral("Another program has the results open. Nothing can be stored until it ends."));
    }

    QVERIFY(waitFor("storeNotice"));
    QVERIFY(driver().find(notice));
    QCOMPARE(tester().jobs().job().value(QStringLiteral("name")).toString(),
        isState("damaged") ? QString() : QStringLiteral("earlier"));
}

/// Returns when it has ended, and changed the store if the state is about that.
bool tst_TesterStore::letTheOtherEnd()
{
    QFile seen(seenPath());
    return seen.open(QIODevice::WriteOnly) && ShellDriver::waitFor([] { return !QFile::exists(seenPath()); });
}

/// Ends it, and the notice goes: results are stored again.
void tst_TesterStore::endTheOther()
{
    QVERIFY(letTheOtherEnd());
    QVERIFY(tap("tile_107"));
    QVERIFY(waitFor("jobs"));
    QVERIFY(goHome());
    QVERIFY(ShellDriver::waitFor([this] { return !find("storeNotice"); }));
    QVERIFY(tester().jobs().canWrite());
    QCOMPARE(tester().jobs().job().value(QStringLiteral("name")).toString(), QStringLiteral("earlier"));
}

bool tst_TesterStore::renumber()
{
    const bool isDone = renumberStore(BaseDirHelper::workDir());
    tester().jobs().reopen();
    return isDone && driver().waitForRest();
}

void tst_TesterStore::noVerdictIsLost()
{
    if (isChanging() || isState("renumbered"))
        return;
    if (isState("inuse"))
        endTheOther();
    if (isState("damaged"))
        QVERIFY(makeJob(QStringLiteral("new"), QStringLiteral("A1"), QStringLiteral("A2")));
    else
        QVERIFY(tap("tile_102"));

    QVERIFY(inspect("clean"));

    const bool isKept = isState("damaged") || isState("inuse");
    QCOMPARE(find("notKept") == nullptr, isKept);
    QCOMPARE(textOf("verdict"), isKept ? QStringLiteral("Passed") : QStringLiteral("Passed, but not kept"));
    QCOMPARE(tester().jobs().counts().value(QStringLiteral("passed")).toInt(), isKept ? 1 : 0);
}

void tst_TesterStore::noVerdictGoesIntoAnotherStore()
{
    if (!isChanging())
        return;
    QVERIFY(tap("tile_102"));
    QVERIFY(aimAt("clean"));
    QVERIFY(letTheOtherEnd());

    QVERIFY(tap("analyse"));

    QVERIFY(waitFor("notKept"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(textOf("verdict"), QStringLiteral("Passed, but not kept"));
    QCOMPARE(textOf("notKept"),
        QStringLiteral("NOT KEPT: other results are there now. This verdict is gone when you leave this page."));
    Records::RecordStore store;
    QVERIFY(store.open(recordsFolder(BaseDirHelper::workDir()), Records::RecordStore::Mode::ReadOnly).isOpen());
    QCOMPARE(store.count().value, 0);
    QVERIFY(goHome());
    QVERIFY(waitFor("storeNotice"));
    QVERIFY2(textOf("storeNotice")
                 .startsWith(isState("anew") ? QStringLiteral("The results were damaged and are kept aside in ")
                                             : QStringLiteral("Other results are there now, without the job earlier.")),
        qPrintable(textOf("storeNotice")));
    QCOMPARE(tester().jobs().job(), QVariantMap());
    QVERIFY(tester().jobs().canWrite());
}

/// Behind each of these, the numbers of the pages are others'.
void tst_TesterStore::whatIsRepeatedIsTheSamePoint()
{
    if (!isState("renumbered"))
        return;
    QVERIFY(tap("tile_102"));
    QVERIFY(waitFor("panel"));
    QVERIFY(driver().waitForRest());
    QVERIFY(tap("point_A2"));
    QCOMPARE(selectedPoint(), QStringLiteral("A2"));
    QVERIFY(inspect("scratched"));
    const QVariant former = tester().jobs().point().value(QStringLiteral("id"));

    QVERIFY(renumber());

    QVERIFY(waitFor("notKept"));
    QVERIFY(former != tester().jobs().point().value(QStringLiteral("id")));
    QVERIFY(tap("repeat"));
    QVERIFY(waitFor("analyse"));
    QVERIFY(driver().waitForRest());
    QCOMPARE(selectedPoint(), QStringLiteral("A2"));
    QVERIFY(goHome());
}

void tst_TesterStore::theStatisticsAreThoseOfTheJob()
{
    if (!isState("renumbered"))
        return;
    QVERIFY(tap("tile_102"));
    QVERIFY(tap("actionStatistics"));
    QVERIFY(waitFor("statistics"));

    QVERIFY(renumber());

    QCOMPARE(textOf("inspectionCount"), QStringLiteral("Inspections of the job: 1"));
    QVERIFY(goHome());
}

void tst_TesterStore::theReportIsThatOfTheJob()
{
    if (!isState("renumbered"))
        return;
    const QTemporaryDir exports;
    tester().settings().setExportFolder(exports.path());
    QVERIFY(tap("tile_102"));
    QVERIFY(tap("actionReport"));
    const auto isKnown = [this] { return find("count_failed")->property("number").toInt() == 1; };
    QVERIFY(waitFor("count_failed"));
    QVERIFY(ShellDriver::waitFor(isKnown));

    QVERIFY(renumber());
    QVERIFY(ShellDriver::waitFor(isKnown));
    QVERIFY(tap("writeReport"));

    const auto names = [&exports] { return QDir(exports.path()).entryList(QDir::Files); };
    QVERIFY(ShellDriver::waitFor([&] { return !names().isEmpty(); }));
    QVERIFY2(names().constFirst().startsWith(QStringLiteral("earlier ")), qPrintable(names().constFirst()));
    QVERIFY(goHome());
}

void tst_TesterStore::theResultsAreThoseThatAreThere()
{
    if (!isState("renumbered"))
        return;
    QVERIFY(tap("tile_107"));
    QVERIFY(waitFor("jobs"));
    QVERIFY(goHome());
    QVERIFY(tap("tile_106"));
    QVERIFY(waitFor("result_0"));
    QVERIFY(tap("compare"));
    QVERIFY(tap("result_0"));

    QVERIFY(renumber());

    QVERIFY(waitForText("resultsHint", QStringLiteral("Tap two inspections to compare them")));
    QCOMPARE(tester().jobs().results()->count(), 1);
    QVERIFY(goHome());
}

// --- Two on one folder -----------------------------------------------------------------------------------------------

namespace {
class Program
{
public:
    explicit Program(const QString &folder)
        : Program(QStringList{QStringLiteral("--folder"), folder}, {})
    {
    }

    /// @param display in place of the present one; empty: the present one
    Program(const QStringList &arguments, const QString &display)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        if (!display.isEmpty())
            environment.insert(QStringLiteral("DISPLAY"), display);
        mProcess.setProcessEnvironment(environment);
        mProcess.setProcessChannelMode(QProcess::MergedChannels);
        mProcess.start(QStringLiteral(VANTOR_TESTER), arguments);
    }
    ~Program() { kill(); }
    Program(const Program &) = delete;
    Program &operator=(const Program &) = delete;

    void kill()
    {
        mProcess.kill(); // signal 9
        mProcess.waitForFinished(limit);
    }
    bool isRefused() { return endsWith(alreadyRuns, "another one runs already"); }
    bool endsWith(int code, const char *text)
    {
        return mProcess.waitForFinished(limit) && mProcess.exitStatus() == QProcess::NormalExit
            && mProcess.exitCode() == code && mProcess.readAll().contains(text);
    }

    /// It makes its store when it has the lock.
    bool goesOn(const QString &folder)
    {
        return QTest::qWaitFor(
                   [&] { return QFile::exists(database(folder)) || mProcess.state() == QProcess::NotRunning; }, limit)
            && mProcess.state() == QProcess::Running;
    }

private:
    ChildProcess mProcess;
};

bool expect(bool holds, const char *what)
{
    std::fprintf(holds ? stdout : stderr, "%s: the program: %s\n", holds ? "PASS   " : "FAIL!  ", what);
    return holds;
}

/// What a program of another machine name, or one with a number that is taken again by now, may have left.
bool leaveLockFile(const QString &folder)
{
    QFile file(folder + QStringLiteral("/tester.lock"));
    return file.open(QIODevice::WriteOnly) && file.write("1\nvantor-tester\nanother-machine\n") > 0;
}

/// When the link to the simulated scope was made, and which file it is.
QString pluginLink(const QString &folder)
{
    QDirIterator files(folder + QStringLiteral("/lib"), QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot,
        QDirIterator::Subdirectories);
    while (files.hasNext()) {
        struct stat status = {};
        if (lstat(QFile::encodeName(files.next()).constData(), &status) == 0 && S_ISLNK(status.st_mode))
            return QStringLiteral("%1 %2").arg(status.st_ino).arg(status.st_ctim.tv_nsec);
    }
    return {};
}

/// What the program makes of its command line.
int runArguments()
{
    constexpr int usageError = 64;
    const QTemporaryDir folder;
    const QString name = QStringLiteral("--folder");
    bool isWell = expect(Program({name, folder.path(), name, folder.path()}, {}).endsWith(usageError, "more than once"),
        "an option twice is refused");
    isWell =
        expect(Program({name + QLatin1Char('=')}, {}).endsWith(usageError, "--folder"), "an empty folder") && isWell;
    isWell = expect(Program({QStringLiteral("--version")}, {}).endsWith(0, "vantor-tester "), "the version") && isWell;
    isWell =
        expect(Program({name, folder.path()}, QStringLiteral(":59999")).endsWith(1, "vantor-tester: "), "no display")
        && isWell;
    return isWell ? 0 : 1;
}

int runTwo()
{
    const QTemporaryDir folder;
    Program first(folder.path());
    bool isWell = expect(first.goesOn(folder.path()), "the first one works");
    isWell = expect(Program(folder.path()).isRefused(), "the second one says why it does not") && isWell;
    const QString lock = folder.filePath(QStringLiteral("tester.lock"));
    const QString plugin = pluginLink(folder.path());
    isWell = isWell && QFile::remove(lock); // by who cleans up
    isWell = expect(!plugin.isEmpty() && Program(folder.path()).isRefused(), "the same without the file") && isWell;
    isWell = expect(pluginLink(folder.path()) == plugin, "what the first one uses stays") && isWell;
    first.kill();
    QFile::remove(lock);
    isWell = isWell && QFile::link(QStringLiteral("/nowhere"), lock);
    isWell = expect(Program(folder.path()).endsWith(alreadyRuns, "cannot be locked"), "no lock, no start") && isWell;
    isWell = isWell && QFile::remove(lock);
    isWell = isWell && leaveLockFile(folder.path()) && QDir(recordsFolder(folder.path())).removeRecursively();
    isWell = expect(Program(folder.path()).goesOn(folder.path()), "after a violent end the next one works") && isWell;
    return isWell ? 0 : 1;
}

/// One process for each state; the store is held here while the one that is to find it in use has not seen it.
int runState(const QString &program, const QString &state)
{
    const QTemporaryDir folder;
    if (!leaveJob(folder.path()) || (state == QLatin1String("damaged") && !damage(folder.path()))
        || (state == QLatin1String("later") && !makeLater(folder.path())))
        return expect(false, "cannot prepare the store");
    Records::RecordStore held;
    const bool isHeld =
        QStringList{QStringLiteral("inuse"), QStringLiteral("replaced"), QStringLiteral("anew")}.contains(state)
        && held.open(recordsFolder(folder.path())).canWrite();
    const QString seen = folder.path() + QStringLiteral("/seen");
    ChildProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, {state, folder.path()});
    bool isChanged = true;
    const auto isOver = [&] {
        if (isHeld && QFile::exists(seen)) {
            held.close();
            isChanged = state == QLatin1String("replaced") ? replaceStore(folder.path())
                : state == QLatin1String("anew")           ? damage(folder.path())
                                                           : true;
            QFile::remove(seen);
        }
        return process.state() == QProcess::NotRunning;
    };
    const bool ends = QTest::qWaitFor(isOver, limit);
    const bool isWell = isChanged && ends && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!isWell)
        std::fprintf(stderr, "FAIL!  : the state \"%s\"\n", qPrintable(state));
    return isWell ? 0 : 1;
}

/// A disk over the folder of the results, with the job, that cannot be written to any more.
std::unique_ptr<SmallDisk> readOnlyDisk(const QString &folder)
{
    auto disk = std::make_unique<SmallDisk>(recordsFolder(folder), diskSize);
    problemOfTest() = disk->problem();
    const QByteArray path = QFile::encodeName(recordsFolder(folder));
    if (problemOfTest().isEmpty()
        && (!leaveJob(folder) || mount(nullptr, path.constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) != 0))
        problemOfTest() = QStringLiteral("the disk cannot be made read-only");
    return disk;
}
} // namespace

int main(int argc, char *argv[])
{
    constexpr int partArguments = 3;
    if (argc < partArguments || argv[1][0] == '-') { // options of Qt Test
        const QCoreApplication application(argc, argv);
        int result = runTwo() + runArguments();
        for (const char *const state : {"damaged", "later", "readonly", "inuse", "replaced", "anew", "renumbered"})
            result += runState(QCoreApplication::applicationFilePath(), QLatin1String(state));
        return result;
    }
    stateOfTest() = QString::fromLocal8Bit(argv[1]);
    const QString folder = QString::fromLocal8Bit(argv[2]);
    std::unique_ptr<SmallDisk> disk;
    if (stateOfTest() == QLatin1String("readonly"))
        disk = readOnlyDisk(folder); // before there are threads
    char silent[] = "-maxwarnings";
    char none[] = "0";
    char *arguments[] = {argv[0], silent, none, nullptr};
    return runTesterTest<tst_TesterStore>(3, arguments, folder, SimulatedScope::pluginPath());
}

#include "tst_tester_store.moc"
