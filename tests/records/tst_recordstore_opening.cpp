// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "OneProcess.h"
#include "OwnConnection.h"
#include "StoredFaces.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QDirIterator>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <functional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Records;

namespace {
constexpr int patience = 60'000; // milliseconds until a wait is given up

const Face &badFace()
{
    return Face::of(QStringLiteral("pitted"));
}

void overwrite(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), bytes.size());
}

Job panel()
{
    Job job;
    job.name = QStringLiteral("Panel");
    return job;
}

/// What a machine leaves that stopped while somebody wrote.
void leaveNotes(const QString &folder)
{
    overwrite(folder + QStringLiteral("/records.lock"), "In use\n00000000-0000-0000-0000-000000000000\n");
}

/// Pictures that no inspection names.
void addOrphans(const QString &folder, int count)
{
    const PictureStore pictures(folder + QStringLiteral("/pictures"));
    for (int i = 0; i < count; ++i) {
        const QByteArray bytes = "orphan " + QByteArray::number(i);
        const QString path = pictures.path(PictureStore::hashOf(bytes));
        QDir().mkpath(QFileInfo(path).path());
        overwrite(path, bytes);
    }
}

int countFiles(const QString &folder)
{
    int count = 0;
    for (QDirIterator files(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); files.hasNext();
         files.next())
        ++count;
    return count;
}

/// When they were changed, by path.
QMap<QString, QDateTime> filesIn(const QString &folder)
{
    QMap<QString, QDateTime> files;
    QDirIterator walk(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        files.insert(path, QFileInfo(path).lastModified());
    }
    return files;
}

/// What came of it where many threads open a store at the same moment; they close it when all have.
std::vector<Opening> openAtOnce(const QString &folder, int threads)
{
    std::vector<Opening> openings(static_cast<std::size_t>(threads));
    std::vector<std::thread> running;
    running.reserve(openings.size());
    std::atomic<int> ready{0};
    std::atomic<int> done{0};
    for (Opening &opening : openings) {
        running.emplace_back([&folder, &opening, &ready, &done, threads] {
            RecordStore store;
            ++ready;
            while (ready < threads)
                std::this_thread::yield();
            opening = store.open(folder);
            ++done;
            while (done < threads)
                std::this_thread::yield();
        });
    }
    for (std::thread &thread : running)
        thread.join();
    return openings;
}

int countOf(const std::vector<Opening> &openings, Opened how)
{
    return static_cast<int>(std::count_if(
        openings.cbegin(), openings.cend(), [how](const Opening &opening) { return opening.how == how; }));
}

/// For the time of a scope.
class WorkingFolder
{
public:
    explicit WorkingFolder(const QString &folder)
        : mFormer(QDir::currentPath())
    {
        QDir::setCurrent(folder);
    }
    ~WorkingFolder() { QDir::setCurrent(mFormer); }
    WorkingFolder(const WorkingFolder &) = delete;
    WorkingFolder &operator=(const WorkingFolder &) = delete;

private:
    const QString mFormer;
};

using Harm = std::function<void(const QString &folder)>;
} // namespace

Q_DECLARE_METATYPE(Harm)
Q_DECLARE_METATYPE(Records::Opened)

class TestRecordStoreOpening : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *const name : {"clean", "pitted", "scratched"})
            Face::of(QString::fromLatin1(name));
    }

    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mFolder = mDir->filePath(QStringLiteral("store"));
        RecordStore store;
        QCOMPARE(store.open(mFolder).how, Opened::Begun);
        QCOMPARE(badFace().addTo(store).value, Id(1));
    }

    void manyThreadsOpenAtOnce_data()
    {
        QTest::addColumn<Harm>("harm");
        QTest::addColumn<Opened>("once"); // what the first of them is told, and nobody else
        QTest::newRow("new") << Harm([](const QString &folder) { QDir(folder).removeRecursively(); }) << Opened::Begun;
        QTest::newRow("damaged") << Harm([](const QString &folder) {
            overwrite(folder + QStringLiteral("/records.sqlite"), QByteArray(100'000, 'x'));
        }) << Opened::BegunAnew;
        QTest::newRow("missing") << Harm([](const QString &folder) {
            QFile::remove(folder + QStringLiteral("/records.sqlite"));
        }) << Opened::BegunAnew;
        QTest::newRow("of an earlier version") << Harm([](const QString &folder) {
            OwnConnection own(folder);
            own.run(QStringLiteral("DROP TABLE search"));
            own.run(QStringLiteral("PRAGMA user_version = 1"));
        }) << Opened::Usable;
    }
    void manyThreadsOpenAtOnce()
    {
        QFETCH(const Harm, harm);
        QFETCH(const Opened, once);
        constexpr int threads = 6;
        constexpr int rounds = 5;
        for (int round = 0; round < rounds; ++round) {
            harm(mFolder);

            const std::vector<Opening> openings = openAtOnce(mFolder, threads);

            for (const Opening &opening : openings) {
                QVERIFY2(opening.canWrite(), qPrintable(opening.problem.text));
                QCOMPARE(opening.keptAside.isEmpty(), opening.how != Opened::BegunAnew);
            }
            QCOMPARE(countOf(openings, once), once == Opened::Usable ? threads : 1);
            RecordStore store;
            QVERIFY(store.open(mFolder).canWrite());
            QVERIFY(badFace().addTo(store).ok());
            QVERIFY(store.verify().value.allWell());
        }
    }

    void sweepingAtTheStartTakesNoPictureOfAnotherThread()
    {
        constexpr int orphans = 4000;
        constexpr int count = 20;
        addOrphans(mFolder, orphans);
        leaveNotes(mFolder);
        QDirIterator files(mFolder + QStringLiteral("/pictures"), QDir::Files, QDirIterator::Subdirectories);
        QString first; // to go
        do
            first = files.next();
        while (QFileInfo(first).size() > 100); // a picture of the store

        std::atomic<int> stored{0};
        std::thread thread([&] {
            const QDeadlineTimer end(patience);
            while (QFile::exists(first) && !end.hasExpired())
                std::this_thread::yield();
            RecordStore own;
            own.open(mFolder);
            const Face &face = badFace();
            for (int i = 0; i < count; ++i)
                stored += own.addInspection(face.origin(), face.inspection, face.picture + QByteArray::number(i)).ok()
                    ? 1
                    : 0;
        });
        RecordStore store;
        const Opening opening = store.open(mFolder);
        thread.join();

        QCOMPARE(stored, count);
        QCOMPARE(opening.swept, orphans);
        QCOMPARE(store.verify().value.pictureFaults.size(), 0);
        QCOMPARE(countFiles(mFolder + QStringLiteral("/pictures")), 2 + count); // they share what is painted
    }

    void ofThreadsThatOpenAtOnceOneSweeps()
    {
        constexpr int orphans = 50;
        constexpr int threads = 6;
        addOrphans(mFolder, orphans);
        leaveNotes(mFolder);

        const std::vector<Opening> openings = openAtOnce(mFolder, threads);

        QVector<int> swept;
        for (const Opening &opening : openings) {
            if (opening.swept > 0)
                swept << opening.swept;
        }
        QCOMPARE(swept, QVector<int>({orphans})); // by one of them
    }

    void whatWasLeftIsSweptWhenTheStoreCanBeOpenedAgain_data()
    {
        QTest::addColumn<QString>("harm");
        QTest::addColumn<QString>("mending");
        QTest::newRow("of a later version")
            << QStringLiteral("PRAGMA user_version = 99") << QStringLiteral("PRAGMA user_version = 2");
        QTest::newRow("of somebody else")
            << QStringLiteral("PRAGMA application_id = 7") << QStringLiteral("PRAGMA application_id = 1447187011");
    }
    void whatWasLeftIsSweptWhenTheStoreCanBeOpenedAgain()
    {
        QFETCH(const QString, harm);
        QFETCH(const QString, mending);
        constexpr int orphans = 3;
        addOrphans(mFolder, orphans);
        leaveNotes(mFolder);
        OwnConnection(mFolder).run(harm);
        QVERIFY(!RecordStore().open(mFolder).canWrite());
        OwnConnection(mFolder).run(mending);

        QCOMPARE(RecordStore().open(mFolder).swept, orphans);
        QCOMPARE(RecordStore().open(mFolder).swept, 0);
    }

    void aSweepThatWasKilledIsDoneByTheNextStart()
    {
        constexpr int orphans = 4000;
        addOrphans(mFolder, orphans);
        leaveNotes(mFolder);
        const QString pictures = mFolder + QStringLiteral("/pictures");
        const int before = countFiles(pictures);
        const pid_t child = fork();
        if (child == 0) {
            RecordStore().open(mFolder);
            _exit(0);
        }
        QTRY_VERIFY_WITH_TIMEOUT(countFiles(pictures) < before, patience);
        QVERIFY(OneProcess::sendSignal(child, SIGKILL));
        waitpid(child, nullptr, 0);

        const int left = countFiles(pictures) - 2; // of the inspection
        QVERIFY(left > 0);
        QCOMPARE(RecordStore().open(mFolder).swept, left);
        QCOMPARE(countFiles(pictures), 2);
    }

    void aMergeLeavesNothingToSweep()
    {
        RecordStore store;
        QCOMPARE(store.open(mDir->filePath(QStringLiteral("here"))).how, Opened::Begun);
        QVERIFY(store.merge(mFolder).ok());

        QFile lock(mDir->filePath(QStringLiteral("here/records.lock")));
        QVERIFY(lock.open(QIODevice::ReadOnly));
        const QByteArray notes = lock.readAll();
        QVERIFY(!notes.isEmpty());
        QVERIFY2(!notes.endsWith("any"), notes.constData()); // or the next start would look at all pictures
    }

    void nothingIsStoredBesideAStoreThatIsGone_data()
    {
        QTest::addColumn<Harm>("harm");
        QTest::newRow("moved") << Harm(
            [](const QString &folder) { QVERIFY(QDir().rename(folder, folder + QStringLiteral("-moved"))); });
        QTest::newRow("removed") << Harm([](const QString &folder) { QVERIFY(QDir(folder).removeRecursively()); });
        QTest::newRow("replaced by another") << Harm([](const QString &folder) {
            QVERIFY(QDir().rename(folder, folder + QStringLiteral("-moved")));
            RecordStore other;
            QCOMPARE(other.open(folder).how, Opened::Begun);
            QVERIFY(Face::of(QStringLiteral("clean")).addTo(other).ok());
        });
        QTest::newRow("without its database")
            << Harm([](const QString &folder) { QVERIFY(QFile::remove(folder + QStringLiteral("/records.sqlite"))); });
        QTest::newRow("without its lock")
            << Harm([](const QString &folder) { QVERIFY(QFile::remove(folder + QStringLiteral("/records.lock"))); });
    }
    void nothingIsStoredBesideAStoreThatIsGone()
    {
        QFETCH(const Harm, harm);
        const QString elsewhere = mDir->filePath(QStringLiteral("elsewhere"));
        {
            RecordStore other;
            QCOMPARE(other.open(elsewhere).how, Opened::Begun);
            QVERIFY(Face::of(QStringLiteral("scratched")).addTo(other).ok());
        }
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        QVERIFY(store.isInPlace());
        harm(mFolder);
        QVERIFY(!store.isInPlace());
        const int before = countFiles(mDir->path());
        const bool isThere = QDir(mFolder).exists();

        const Problem problem = Face::of(QStringLiteral("scratched")).addTo(store).problem;
        QCOMPARE(problem.fault, Fault::Gone);
        QVERIFY2(problem.text.contains(mFolder), qPrintable(problem.text));
        QCOMPARE(store.addJob(panel()).problem.fault, Fault::Gone);
        QCOMPARE(store.setDecision(1, Decision::Accepted, {}).fault, Fault::Gone);
        QCOMPARE(store.sweep().problem.fault, Fault::Gone);
        QCOMPARE(store.merge(elsewhere).problem.fault, Fault::Gone);
        QCOMPARE(store.backup(mDir->filePath(QStringLiteral("copy"))).problem.fault, Fault::Gone);

        QCOMPARE(QDir(mFolder).exists(), isThere);
        QCOMPARE(countFiles(mDir->path()), before);
        QCOMPARE(store.count().value, 1);
    }

    void aStoreThatWasMovedGoesOnInItsNewPlace()
    {
        const QString moved = mDir->filePath(QStringLiteral("moved"));
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        QVERIFY(QDir().rename(mFolder, moved));
        QCOMPARE(badFace().addTo(store).problem.fault, Fault::Gone);

        store.close();
        QVERIFY(QFileInfo(moved + QStringLiteral("/records.lock")).size() > 0); // what was under way is looked at there
        QCOMPARE(store.open(moved).how, Opened::Usable);
        QVERIFY(badFace().addTo(store).ok());
        QCOMPARE(store.count().value, 2);
        QVERIFY(store.verify().value.allWell());
        QCOMPARE(store.open(mFolder).how, Opened::Begun); // in the place of the former one
    }

    void whetherThereIsAStoreIsKnownWithoutOpeningIt()
    {
        const QMap<QString, QDateTime> before = filesIn(mFolder);

        QVERIFY(RecordStore::isThere(mFolder));
        QVERIFY(!RecordStore::isThere(mDir->path()));
        QVERIFY(!RecordStore::isThere(mDir->filePath(QStringLiteral("nowhere"))));
        QCOMPARE(filesIn(mFolder), before);

        overwrite(mFolder + QStringLiteral("/records.sqlite"), QByteArray(100'000, 'x'));
        QVERIFY(RecordStore::isThere(mFolder)); // to be kept aside
        overwrite(mFolder + QStringLiteral("/records.sqlite"), {});
        QVERIFY(!RecordStore::isThere(mFolder));
    }

    void noNameIsNoFolder()
    {
        const WorkingFolder here(mFolder);
        QVERIFY(RecordStore::isThere(QStringLiteral(".")));
        QVERIFY(!RecordStore::isThere(QLatin1String("")));
        RecordStore store;
        for (const auto mode : {RecordStore::Mode::ReadWrite, RecordStore::Mode::ReadOnly}) {
            const Opening opening = store.open(QString(), mode);
            QCOMPARE(opening.how, Opened::No);
            QCOMPARE(opening.problem.fault, Fault::Invalid);
        }
        QVERIFY(store.open(mFolder).canWrite());
        QCOMPARE(store.merge(QString()).problem.fault, Fault::Invalid);
        QCOMPARE(store.backup(QLatin1String("")).problem.fault, Fault::Invalid);
    }

    void wantOfMemoryIsTold()
    {
        if (!Faults::canLimitMemory)
            QSKIP("the sanitizers need memory without bounds");
        constexpr int length = 16 * 1024 * 1024;
        constexpr quint64 more = length / 4; // bytes: for no second one of the name
        const QString folder(length, QLatin1Char('x'));
        RecordStore store;
        Opening opening;
        {
            const Faults::MemoryLimit limit(more);
            opening = store.open(folder);
        }
        QCOMPARE(opening.how, Opened::No);
        QCOMPARE(opening.problem.fault, Fault::OutOfMemory);
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
    }

    void aNameThatLooksLikeAnAddressIsAFolder()
    {
        const WorkingFolder here(mDir->path());
        RecordStore store;
        QCOMPARE(store.open(QStringLiteral("file:x")).how, Opened::Begun);
        QVERIFY(badFace().addTo(store).ok());
        QVERIFY(store.backup(QStringLiteral("file:y?mode=memory")).ok());
        store.close();

        for (const char *const name : {"file:x", "file:y?mode=memory"}) {
            QVERIFY(QFile::exists(QLatin1String(name) + QStringLiteral("/records.sqlite")));
            QCOMPARE(store.open(QLatin1String(name)).how, Opened::Usable);
            QVERIFY(store.verify().value.allWell());
            QCOMPARE(store.count().value, 1);
        }
        QVERIFY(!QFile::exists(QStringLiteral("x")));
        QVERIFY(!QFile::exists(QStringLiteral("y")));
    }

    void aStoreStaysWhereItIsWhenTheProgramGoesElsewhere()
    {
        const WorkingFolder here(mDir->path());
        RecordStore store;
        QVERIFY(store.open(QStringLiteral("store")).canWrite());
        const WorkingFolder elsewhere(QDir::rootPath());

        QVERIFY(Face::of(QStringLiteral("clean")).addTo(store).ok());
        QVERIFY(store.verify().value.allWell());
        QCOMPARE(countFiles(mFolder + QStringLiteral("/pictures")), 4);
    }

    void aFolderOfPicturesIsMadeNowhereElse()
    {
        const PictureStore pictures(mDir->filePath(QStringLiteral("nowhere/pictures")));
        QVERIFY(!pictures.put("a picture").ok());
        QVERIFY(!QDir(mDir->filePath(QStringLiteral("nowhere"))).exists());
    }

private:
    std::unique_ptr<QTemporaryDir> mDir;
    QString mFolder;
};

QTEST_GUILESS_MAIN(TestRecordStoreOpening)
#include "tst_recordstore_opening.moc"
