// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "OneProcess.h"
#include "OwnConnection.h"
#include "StoredFaces.h"

#include <QDir>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <functional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

using namespace Records;

namespace {
const Face &badFace()
{
    return Face::of(QStringLiteral("pitted"));
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void overwrite(const QString &path, qint64 position, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadWrite));
    QVERIFY(file.seek(position));
    QCOMPARE(file.write(bytes), bytes.size());
}

/// All files below the folder, without those that come and go with a connection.
QStringList filesIn(const QString &folder)
{
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        if (!path.endsWith(QLatin1String("-wal")) && !path.endsWith(QLatin1String("-shm")))
            files << QDir(folder).relativeFilePath(path);
    }
    files.sort();
    return files;
}

/// A process of its own, which runs until it is told to end or is killed.
class OtherProcess
{
public:
    /// @param function what it does first; when it comes back, so does the constructor
    explicit OtherProcess(const std::function<void()> &function)
    {
        int ready[2];
        int end[2];
        if (pipe(ready) != 0 || pipe(end) != 0)
            return;
        mChild = fork();
        if (mChild == 0) {
            close(end[1]);
            alarm(60);
            function();
            char byte = 0;
            if (write(ready[1], &byte, 1) == 1)
                while (read(end[0], &byte, 1) > 0) {}
            _exit(0);
        }
        close(ready[1]);
        close(end[0]);
        mEnd = end[1];
        char byte = 0;
        mIsReady = read(ready[0], &byte, 1) == 1;
        close(ready[0]);
    }
    ~OtherProcess() { end(); }
    OtherProcess(const OtherProcess &) = delete;
    OtherProcess &operator=(const OtherProcess &) = delete;

    bool isReady() const { return mIsReady; }

    /// As it is, without any farewell to the store.
    void end()
    {
        if (mChild <= 0)
            return;
        OneProcess::sendSignal(mChild, SIGKILL);
        waitpid(mChild, nullptr, 0);
        close(mEnd);
        mChild = -1;
    }

private:
    pid_t mChild = -1;
    int mEnd = -1;
    bool mIsReady = false;
};

enum class Harm : int { Garbage, Header, Truncated, Emptied, Removed, TableGone };
} // namespace

Q_DECLARE_METATYPE(Harm)

class TestRecordStoreFaults : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        badFace();
        Face::of(QStringLiteral("clean"));
    }

    void init()
    {
        mDir = std::make_unique<QTemporaryDir>();
        mFolder = mDir->filePath(QStringLiteral("store"));
        mDatabase = mFolder + QStringLiteral("/records.sqlite");
        RecordStore store;
        QCOMPARE(store.open(mFolder).how, Opened::Begun);
        QCOMPARE(badFace().addTo(store).value, Id(1));
    }

    void aReadOnlyFolderCanBeRead_data()
    {
        QTest::addColumn<QStringList>("closed");
        QTest::newRow("folder") << QStringList({QStringLiteral(".")});
        QTest::newRow("lock") << QStringList({QStringLiteral("records.lock")});
        QTest::newRow("database") << QStringList({QStringLiteral("records.sqlite")});
        QTest::newRow("all") << QStringList(
            {QStringLiteral("."), QStringLiteral("records.lock"), QStringLiteral("records.sqlite")});
    }
    void aReadOnlyFolderCanBeRead()
    {
        QFETCH(const QStringList, closed);
        const QStringList before = filesIn(mFolder);
        for (const QString &name : closed)
            QFile::setPermissions(mFolder + QLatin1Char('/') + name, QFile::ReadOwner | QFile::ExeOwner);

        Faults::withoutOverride([&] {
            RecordStore store;
            const Opening opening = store.open(mFolder);
            QVERIFY2(opening.how == Opened::ReadOnlyFolder, qPrintable(opening.problem.text));
            QCOMPARE(opening.problem.fault, Fault::ReadOnly);
            QVERIFY(!opening.problem.text.isEmpty());
            QVERIFY(!store.canWrite());
            QCOMPARE(store.list().value.size(), 1);
            QCOMPARE(store.inspection(1).value.defects, StoredDefect::of(badFace().inspection));
            QVERIFY(store.verify().value.allWell());
            QCOMPARE(badFace().addTo(store).problem.fault, Fault::ReadOnly);
            QCOMPARE(store.setDecision(1, Decision::Accepted, {}).fault, Fault::ReadOnly);
            QCOMPARE(store.sweep().problem.fault, Fault::ReadOnly);
        });

        QFile::setPermissions(mFolder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        QCOMPARE(filesIn(mFolder), before);
    }

    void aReadOnlyDiskCanBeRead()
    {
        const bool hasRun = Faults::withSmallDisk(mFolder, 4096, [&] {
            {
                RecordStore store;
                store.open(mFolder);
                QVERIFY(badFace().addTo(store).ok());
            }
            QCOMPARE(
                mount(nullptr, QFile::encodeName(mFolder).constData(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr), 0);
            RecordStore store;
            QCOMPARE(store.open(mFolder).how, Opened::ReadOnlyFolder);
            QCOMPARE(store.inspection(1).value.defects.size(), badFace().inspection.defects().size());
        });
        QVERIFY(hasRun);
    }

    void noStoreCanBeBegunInAReadOnlyFolder()
    {
        const QString folder = mDir->filePath(QStringLiteral("other"));
        QVERIFY(QDir().mkdir(folder));
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        Opening opening;
        Faults::withoutOverride([&] { opening = RecordStore().open(folder); });

        QCOMPARE(opening.how, Opened::No);
        QCOMPARE(opening.problem.fault, Fault::ReadOnly);
        QVERIFY(opening.problem.text.contains(folder));
    }

    void aReaderLeavesTheFolderAlone()
    {
        const QStringList before = filesIn(mFolder);
        {
            RecordStore reader;
            QCOMPARE(reader.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
            QCOMPARE(reader.list().value.size(), 1);
            QVERIFY(!reader.canWrite());
        }
        QCOMPARE(filesIn(mFolder), before);
    }

    void aFullDiskLosesNothing()
    {
        const bool hasRun = Faults::withSmallDisk(mFolder, 4096, [&] {
            RecordStore store;
            QVERIFY(store.open(mFolder).canWrite());
            int stored = 0;
            int refused = 0;
            for (int round = 0; round < 2; ++round) {
                // From nothing to enough: the disk is full at another step each time.
                for (int free = 0; free <= 512; free += free < 128 ? 8 : 64) {
                    const Face &face = badFace();
                    const QByteArray picture = face.picture + QByteArray::number(1000 * round + free);
                    const QStringList before = filesIn(mFolder);
                    DiskFilling filling(mFolder, free);
                    const Answer<Id> id = store.addInspection(face.origin(), face.inspection, picture);
                    QCOMPARE(store.count().value, stored + (id.ok() ? 1 : 0));
                    filling.remove();
                    if (id.ok()) {
                        ++stored;
                        continue;
                    }
                    QCOMPARE(id.problem.fault, Fault::DiskFull);
                    QVERIFY(!id.problem.text.isEmpty());
                    QCOMPARE(filesIn(mFolder), before);
                    ++refused;
                }
                // With room again, all is as ever.
                QVERIFY(badFace().addTo(store).ok());
                ++stored;
            }
            QVERIFY(refused > 4);
            QVERIFY(stored > 4);
            const Answer<Verification> found = store.verify();
            QVERIFY2(found.value.allWell(), qPrintable(found.value.databaseFaults.join(QLatin1Char('\n'))));
            QCOMPARE(sweptBy(&store), 0);
        });
        QVERIFY(hasRun);
    }

    void aStoreOnAFullDiskCanBeRead()
    {
        const bool hasRun = Faults::withSmallDisk(mFolder, 4096, [&] {
            {
                RecordStore store;
                store.open(mFolder);
                QVERIFY(badFace().addTo(store).ok());
            }
            DiskFilling filling(mFolder, 0);
            RecordStore store;
            const Opening opening = store.open(mFolder);
            QVERIFY2(opening.isOpen(), qPrintable(opening.problem.text));
            QCOMPARE(store.list().value.size(), 1);
            QCOMPARE(badFace().addTo(store).problem.fault,
                opening.how == Opened::FullDisk ? Fault::ReadOnly : Fault::DiskFull);
            filling.remove();
            QCOMPARE(store.open(mFolder).how, Opened::Usable);
            QVERIFY(badFace().addTo(store).ok());
        });
        QVERIFY(hasRun);
    }

    void noStoreIsWrittenBehindALinkOfAnotherUser()
    {
        const QTemporaryDir dir;
        const QString link = dir.filePath(QStringLiteral("link"));
        QCOMPARE(chmod(QFile::encodeName(dir.path()).constData(), 01777), 0);
        QVERIFY(QFile::link(mFolder, link));
        if (lchown(QFile::encodeName(link).constData(), 12345, 12345) != 0)
            QSKIP("only root gives files away");
        const QStringList before = filesIn(mFolder);

        for (const QString &folder : {link, link + QStringLiteral("/new")}) {
            RecordStore store;
            const Opening opening = store.open(folder);
            QVERIFY(!opening.isOpen());
            QCOMPARE(opening.problem.fault, Fault::Invalid);
            QVERIFY2(opening.problem.text.contains(QLatin1String("another user")), qPrintable(opening.problem.text));
        }
        QCOMPARE(filesIn(mFolder), before);
        QVERIFY(!QFile::exists(mFolder + QStringLiteral("/new")));
    }

    void whatThereIsNoRoomToBeginIsNotBegun()
    {
        const bool hasRun = Faults::withSmallDisk(mFolder, 1024, [&] {
            int refused = 0;
            for (int free = 0; free <= 512 && refused == free / 8; free += 8) { // another step each time
                const DiskFilling filling(mFolder, free);
                RecordStore store;
                const Opening opening = store.open(mFolder);
                if (opening.canWrite())
                    break;
                ++refused;
                QCOMPARE(opening.problem.fault, Fault::DiskFull);
                QVERIFY2(!opening.problem.text.contains(QLatin1String("no tables")), qPrintable(opening.problem.text));
                QVERIFY(!QFile::exists(mFolder + QStringLiteral("/records.sqlite")));
            }
            QVERIFY(refused > 4);
            RecordStore store;
            const Opening opening = store.open(mFolder);
            QVERIFY2(opening.canWrite(), qPrintable(opening.problem.text));
        });
        QVERIFY(hasRun);
    }

    void aBackupThatThereIsNoRoomForNamesTheFullDisk()
    {
        const QTemporaryDir small;
        Answer<Backup> backup;
        {
            RecordStore store;
            store.open(mFolder);
            QVERIFY(badFace().addTo(store).ok());
        }
        const bool hasRun = Faults::withSmallDisk(small.path(), 256, [&] {
            RecordStore store;
            store.open(mFolder);
            const DiskFilling filling(small.path(), 16);
            backup = store.backup(small.filePath(QStringLiteral("copy")));
        });
        QVERIFY(hasRun);
        QCOMPARE(backup.problem.fault, Fault::DiskFull);
        QVERIFY2(backup.problem.text.startsWith(small.path()), qPrintable(backup.problem.text));
    }

    void aStoreOfALaterVersionCanBeRead()
    {
        {
            OwnConnection own(mFolder);
            own.run(QStringLiteral("ALTER TABLE inspection ADD COLUMN mood TEXT"));
            own.run(QStringLiteral("PRAGMA user_version = 99"));
        }
        const QByteArray before = contentOf(mDatabase);
        for (const auto mode : {RecordStore::Mode::ReadWrite, RecordStore::Mode::ReadOnly}) {
            RecordStore store;
            const Opening opening = store.open(mFolder, mode);
            QCOMPARE(opening.how, Opened::LaterVersion);
            QVERIFY2(opening.problem.text.contains(QStringLiteral("99")), qPrintable(opening.problem.text));
            QCOMPARE(store.inspection(1).value.defects, StoredDefect::of(badFace().inspection));
            QCOMPARE(badFace().addTo(store).problem.fault, Fault::ReadOnly);
        }
        QVERIFY(contentOf(mDatabase) == before);
    }

    void aDamagedDatabaseIsKeptAside_data()
    {
        QTest::addColumn<Harm>("harm");
        QTest::newRow("garbage") << Harm::Garbage;
        QTest::newRow("header") << Harm::Header;
        QTest::newRow("truncated") << Harm::Truncated;
        QTest::newRow("emptied") << Harm::Emptied;
        QTest::newRow("removed") << Harm::Removed;
        QTest::newRow("without a table") << Harm::TableGone;
    }
    void aDamagedDatabaseIsKeptAside()
    {
        QFETCH(const Harm, harm);
        inflict(harm);
        const QByteArray damaged = contentOf(mDatabase);
        const QStringList pictures = filesIn(mFolder + QStringLiteral("/pictures"));
        QCOMPARE(pictures.size(), 2);

        RecordStore reader;
        if (harm != Harm::Emptied && harm != Harm::Removed) {
            QCOMPARE(reader.open(mFolder, RecordStore::Mode::ReadOnly).problem.fault, Fault::Damaged);
            QVERIFY(contentOf(mDatabase) == damaged); // a reader moves nothing
        }
        RecordStore store;
        const Opening opening = store.open(mFolder);

        QVERIFY2(opening.how == Opened::BegunAnew, qPrintable(opening.problem.text));
        QCOMPARE(opening.problem.fault, Fault::Damaged);
        QVERIFY(!opening.problem.text.isEmpty());
        QVERIFY(QFileInfo(opening.keptAside).fileName().startsWith(QStringLiteral("records.sqlite-2")));
        QVERIFY(contentOf(opening.keptAside + QStringLiteral("/records.sqlite")) == damaged);
        QCOMPARE(filesIn(opening.keptAside + QStringLiteral("/pictures")), pictures);
        QCOMPARE(store.count().value, 0);
        QVERIFY(badFace().addTo(store).ok());
        QVERIFY(store.verify().value.allWell());
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
    }

    void aDamagedIndexOfWordsIsToldAndMadeAnew_data()
    {
        QTest::addColumn<QString>("statement");
        QTest::addColumn<bool>("showsAtOnce"); // or when something is searched for or stored
        const auto row = [](const char *name, const char *statement, bool showsAtOnce) {
            QTest::newRow(name) << QString::fromLatin1(statement) << showsAtOnce;
        };
        row("head", "UPDATE search_data SET block = randomblob(60) WHERE id = 10", true);
        row("head without parts", "UPDATE search_data SET block = x'00' WHERE id = 10", false);
        row("leaves", "UPDATE search_data SET block = randomblob(length(block)) WHERE id > 10", false);
        row("no settings", "DELETE FROM search_config", true);
        row("a part missing", "DROP TABLE search_data", true);
        row("missing", "DROP TABLE search", true);
        row("a row missing", "DELETE FROM search_content", false);
        row("a row too many", "INSERT INTO search (rowid, note) VALUES (77, 'x')", false);
        row("other words", "INSERT OR REPLACE INTO search (rowid, note) VALUES (1, 'x')", false);
    }
    void aDamagedIndexOfWordsIsToldAndMadeAnew()
    {
        QFETCH(const QString, statement);
        QFETCH(const bool, showsAtOnce);
        {
            RecordStore store;
            QVERIFY(store.open(mFolder).canWrite());
            QCOMPARE(store.setDecision(1, Decision::Accepted, QStringLiteral("scratched")).fault, Fault::None);
        }
        QCOMPARE(OwnConnection(mFolder).run(statement), QStringList());
        Filter filter;
        filter.text = QStringLiteral("scratch");

        RecordStore reader;
        QCOMPARE(reader.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        QCOMPARE(reader.count().value, 1);
        QVERIFY(!reader.verify().value.allWell());
        reader.close();
        RecordStore store;
        QFile::remove(mFolder + QStringLiteral("/records.suspect"));
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        if (!showsAtOnce) {
            const Verification found = store.verify().value;
            QCOMPARE(found.databaseFaults.size(), 1);
            QVERIFY2(found.databaseFaults.first().contains(QStringLiteral("search")),
                qPrintable(found.databaseFaults.first()));
            QCOMPARE(store.open(mFolder).how, Opened::Usable);
        }

        QCOMPARE(store.list(filter).value.size(), 1);
        const Answer<Id> id = badFace().addTo(store);
        QVERIFY2(id.ok(), qPrintable(id.problem.text));
        QCOMPARE(store.list(filter).value.size(), 1);
        const Verification found = store.verify().value;
        QVERIFY2(found.allWell(), qPrintable(found.databaseFaults.join(QLatin1Char('\n'))));
        QVERIFY(!QFile::exists(mFolder + QStringLiteral("/records.suspect")));
        store.close();
        QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("SELECT name FROM sqlite_schema WHERE name = 'search'")),
            QStringList(QStringLiteral("search")));
    }

    void theIndexIsLookedAtWhileSomebodyElseWrites()
    {
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        QCOMPARE(store.setDecision(1, Decision::Accepted, QStringLiteral("scratched")).fault, Fault::None);
        OwnConnection own(mFolder);
        QCOMPARE(own.run(QStringLiteral("BEGIN IMMEDIATE")), QStringList());

        const Answer<Verification> whole = store.verify();
        QVERIFY2(whole.ok() && whole.value.allWell(), qPrintable(whole.problem.text));
        QCOMPARE(own.run(QStringLiteral("UPDATE search_data SET block = x'00' WHERE id = 10")), QStringList());
        QCOMPARE(own.run(QStringLiteral("COMMIT")), QStringList());
        QCOMPARE(own.run(QStringLiteral("BEGIN IMMEDIATE")), QStringList());

        const Answer<Verification> damaged = store.verify();
        QVERIFY2(damaged.ok(), qPrintable(damaged.problem.text));
        QVERIFY(!damaged.value.allWell());
    }

    void theIndexIsLookedAtWhileSomebodyElseStores()
    {
#ifdef __SANITIZE_ADDRESS__
        constexpr int inspections = 20; // instrumented, each look at one takes thirty times as long
#else
        constexpr int inspections = 200;
#endif
        constexpr int looks = 20;
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        for (int i = 1; i < inspections; ++i)
            QVERIFY(badFace().addTo(store).ok());
        std::atomic<bool> isDone{false};
        std::atomic<int> stored{0};
        std::thread writer([this, &isDone, &stored] {
            RecordStore other;
            other.open(mFolder);
            for (int i = 0; !isDone; ++i)
                stored +=
                    other.setDecision(1 + i % inspections, Decision::Accepted, QStringLiteral("word%1").arg(i)).ok()
                    ? 1
                    : 0;
        });
        const auto end = qScopeGuard([&] {
            isDone = true;
            writer.join();
        });
        RecordStore reader;
        QCOMPARE(reader.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        for (int i = 0; i < looks; ++i) {
            const Answer<Verification> found = reader.verify();
            QVERIFY2(found.ok() && found.value.allWell(),
                qPrintable(found.problem.text + found.value.databaseFaults.join(QLatin1Char('\n'))));
        }
        QTRY_VERIFY(stored > 0);
        QVERIFY(!QFile::exists(mFolder + QStringLiteral("/records.suspect")));
    }

    void anInspectionThatTheIndexRefusesIsStoredTheNextTime()
    {
        {
            RecordStore store;
            QVERIFY(store.open(mFolder).canWrite());
            QCOMPARE(store.setDecision(1, Decision::Accepted, QStringLiteral("dusty")).fault, Fault::None);
        }
        QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("UPDATE search_data SET block = x'00' WHERE id = 10")),
            QStringList());
        RecordStore store;
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        const Problem problem = store.setDecision(1, Decision::Accepted, QStringLiteral("scratched"));
        QVERIFY2(
            problem.fault == Fault::Damaged, qPrintable(problem.text)); // not "left out" as for a record of its own

        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QCOMPARE(store.setDecision(1, Decision::Accepted, QStringLiteral("scratched")).fault, Fault::None);
    }

    void damageThatShowsLaterIsKeptAsideTheNextTime()
    {
        overwriteTables();
        RecordStore store;
        QVERIFY(store.open(mFolder).isOpen());
        Problem problem = store.inspection(1).problem;
        QVERIFY2(problem.fault == Fault::Damaged, qPrintable(problem.text));

        const Opening opening = store.open(mFolder);

        QVERIFY2(opening.how == Opened::BegunAnew, qPrintable(opening.problem.text));
        QVERIFY(QFile::exists(opening.keptAside + QStringLiteral("/records.sqlite")));
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
    }

    void noDamageEndsTheProgramOrThePictures_data()
    {
        QTest::addColumn<quint32>("seed");
        constexpr quint32 count = 12;
        for (quint32 seed = 0; seed < count; ++seed)
            QTest::newRow(QByteArray::number(seed).constData()) << seed;
    }
    void noDamageEndsTheProgramOrThePictures()
    {
        QFETCH(const quint32, seed);
        constexpr int mostBytes = 40;
        constexpr int rounds = 2;
        const QSet<QString> pictures = pictureNames();
        QCOMPARE(pictures.size(), 2);
        QRandomGenerator random(seed);
        const auto size = static_cast<int>(QFileInfo(mDatabase).size());
        for (int i = random.bounded(1, mostBytes); i > 0; --i)
            overwrite(mDatabase, random.bounded(size), QByteArray(1, static_cast<char>(random.bounded(256))));

        for (int round = 0; round < rounds; ++round) {
            RecordStore store;
            const Opening opening = store.open(mFolder);
            QCOMPARE(opening.problem.ok(), opening.problem.text.isEmpty());
            Filter filter;
            filter.text = QStringLiteral("x");
            store.list(filter);
            store.list();
            store.jobs();
            store.points(1);
            store.inspection(1);
            store.inspectAgain(1);
            store.setDecision(1, Decision::Accepted, QStringLiteral("x"));
            Face::of(QStringLiteral("clean")).addTo(store);
            store.verify();
        }
        QVERIFY(pictureNames().contains(pictures));
    }

    void aWrongSuspicionChangesNothing()
    {
        overwrite(mFolder + QStringLiteral("/records.suspect"), 0, {});
        RecordStore store;
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QCOMPARE(store.count().value, 1);
        QVERIFY(!QFile::exists(mFolder + QStringLiteral("/records.suspect")));
    }

    void whatWasPlantedForANoteOfDamageIsLeftAlone_data()
    {
        QTest::addColumn<bool>("isThere");
        QTest::newRow("link to a file") << true;
        QTest::newRow("link to nothing") << false;
    }
    void whatWasPlantedForANoteOfDamageIsLeftAlone()
    {
        QFETCH(const bool, isThere);
        RecordStore().open(mFolder);
        overwrite(mFolder + QStringLiteral("/records.sqlite"), 0, QByteArray(100000, 'x'));
        const QString victim = mDir->filePath(QStringLiteral("victim"));
        if (isThere)
            overwrite(victim, 0, "precious");
        QVERIFY(QFile::link(victim, mFolder + QStringLiteral("/records.suspect")));

        QCOMPARE(RecordStore().open(mFolder, RecordStore::Mode::ReadOnly).problem.fault, Fault::Damaged);

        QCOMPARE(QFile::exists(victim), isThere);
        QCOMPARE(contentOf(victim), isThere ? QByteArray("precious") : QByteArray());
    }

    void aFolderInTheirPlaceIsNoNoteOfDamage()
    {
        QVERIFY(QDir().mkdir(mFolder + QStringLiteral("/records.suspect")));

        QCOMPARE(RecordStore().open(mFolder).how, Opened::Usable);
    }

    void nothingIsWrittenOrRemovedBehindALink_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<bool>("isThere"); // what the link leads to
        QTest::newRow("database to nothing") << QStringLiteral("records.sqlite") << false;
        QTest::newRow("database") << QStringLiteral("records.sqlite") << true;
        QTest::newRow("journal to nothing") << QStringLiteral("records.sqlite-wal") << false;
        QTest::newRow("pictures") << QStringLiteral("pictures") << true;
        QTest::newRow("pictures to nothing") << QStringLiteral("pictures") << false;
    }
    void nothingIsWrittenOrRemovedBehindALink()
    {
        QFETCH(const QString, name);
        QFETCH(const bool, isThere);
        const QString path = mFolder + QLatin1Char('/') + name;
        const QString victim = mDir->filePath(QStringLiteral("victim"));
        if (isThere)
            QVERIFY(QFile::rename(path, victim));
        else
            QDir(path).removeRecursively();
        QFile::remove(path);
        QVERIFY(QFile::link(victim, path));
        overwrite(mFolder + QStringLiteral("/records.lock"), 0, "x\nanother start of the machine\nany");
        const QStringList before = QDir(victim).entryList();

        const Opening opening = RecordStore().open(mFolder);

        QVERIFY(!opening.canWrite());
        QCOMPARE(opening.problem.fault, Fault::Unusable);
        QVERIFY2(opening.problem.text.contains(name), qPrintable(opening.problem.text));
        QCOMPARE(QFileInfo::exists(victim), isThere);
        QCOMPARE(QDir(victim).entryList(), before);
    }

    void aTriggerOfSomebodyElseStoresNothing_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("trigger") << QStringLiteral("trigger");
        QTest::newRow("in capitals") << QStringLiteral("TRIGGER"); // which is the same to SQLite
    }
    void aTriggerOfSomebodyElseStoresNothing()
    {
        QFETCH(const QString, kind);
        {
            OwnConnection own(mFolder);
            QVERIFY(own.run(QStringLiteral("CREATE TRIGGER planted AFTER INSERT ON inspection BEGIN"
                                           " UPDATE inspection SET verdict = 1 WHERE id = new.id; END"))
                        .isEmpty());
            QCOMPARE(own.run(QStringLiteral("PRAGMA writable_schema = ON")), QStringList());
            QCOMPARE(own.run(QStringLiteral("UPDATE sqlite_schema SET type = '%1' WHERE name = 'planted'").arg(kind)),
                QStringList());
        }

        RecordStore store;
        const Opening opening = store.open(mFolder);

        QVERIFY(!opening.canWrite());
        QCOMPARE(opening.problem.fault, Fault::Unusable);
        QVERIFY2(opening.problem.text.contains(QLatin1String("planted")), qPrintable(opening.problem.text));
        QCOMPARE(store.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        QVERIFY(!store.verify().value.allWell());
    }

    void aTableThatIsNotAsItWasMadeIsNeitherWrittenNorRead_data()
    {
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("to");
        QTest::addColumn<bool>("ofLaterVersion");
        const QString unique = QStringLiteral("UNIQUE (job, name, side)");
        const QString silent = unique + QStringLiteral(" ON CONFLICT IGNORE");
        QTest::newRow("drops what is stored") << unique << silent << false;
        const QString column = QStringLiteral("customer TEXT NOT NULL");
        const QString made = QStringLiteral("customer TEXT AS (hex(zeroblob(9)))");
        QTest::newRow("makes up what it holds") << column << made << false;
        QTest::newRow("the same, of a later version") << column << made << true;
    }
    void aTableThatIsNotAsItWasMadeIsNeitherWrittenNorRead()
    {
        QFETCH(const QString, from);
        QFETCH(const QString, to);
        QFETCH(const bool, ofLaterVersion);
        {
            OwnConnection own(mFolder);
            QCOMPARE(own.run(QStringLiteral("PRAGMA writable_schema = ON")), QStringList());
            QCOMPARE(own.run(QStringLiteral("UPDATE sqlite_schema SET sql = replace(sql, '%1', '%2')").arg(from, to)),
                QStringList());
            if (ofLaterVersion)
                QCOMPARE(own.run(QStringLiteral("PRAGMA user_version = 99")), QStringList());
        }

        const Opening reading = RecordStore().open(mFolder, RecordStore::Mode::ReadOnly);
        QCOMPARE(reading.how, Opened::No);
        QVERIFY2(reading.problem.text.contains(QLatin1String(" table ")), qPrintable(reading.problem.text));
        const Opening writing = RecordStore().open(mFolder);
        QVERIFY(!writing.canWrite() || QFile::exists(writing.keptAside + QStringLiteral("/records.sqlite")));
    }

    void whatALaterVersionMakesUpIsNotRead_data()
    {
        QTest::addColumn<QStringList>("harm");
        const QString renamed = QStringLiteral("ALTER TABLE job RENAME TO other");
        QTest::newRow("view") << QStringList{QStringLiteral("CREATE VIEW other AS SELECT 1")};
        QTest::newRow("view in capitals") << QStringList{renamed,
            QStringLiteral("CREATE VIEW job AS SELECT * FROM other"), QStringLiteral("PRAGMA writable_schema = ON"),
            QStringLiteral("UPDATE sqlite_schema SET type = 'VIEW' WHERE type = 'view'")};
        QTest::newRow("table of words about another table")
            << QStringList{QStringLiteral("CREATE TABLE g (rowid INTEGER PRIMARY KEY, a AS (hex(zeroblob(9))))")};
        QTest::newRow("table that reads another one")
            << QStringList{renamed, QStringLiteral("CREATE VIRTUAL TABLE job USING fts5 (name, content = 'other')")};
    }
    void whatALaterVersionMakesUpIsNotRead()
    {
        QFETCH(const QStringList, harm);
        {
            OwnConnection own(mFolder);
            for (const QString &statement : harm)
                QCOMPARE(own.run(statement), QStringList());
            QCOMPARE(own.run(QStringLiteral("PRAGMA user_version = 99")), QStringList());
        }
        QCOMPARE(RecordStore().open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::No);
    }

    void aTableOfSomebodyElseIsLeftAlone()
    {
        QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("CREATE TABLE notes (a)")), QStringList());

        RecordStore store;
        QCOMPARE(store.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QVERIFY(store.verify().value.allWell());
    }

    void anIndexThatComputesIsNeitherReadNorWritten_data()
    {
        QTest::addColumn<QString>("on");
        QTest::addColumn<bool>("ofLaterVersion");
        for (const bool isLater : {false, true}) {
            const auto row = [isLater](const char *name, const char *on) {
                QTest::newRow(qPrintable(QStringLiteral("%1%2").arg(
                    QLatin1String(name), isLater ? QStringLiteral(" of a later version") : QString())))
                    << QString::fromLatin1(on) << isLater;
            };
            row("of an expression", "inspection (length(hex(zeroblob(9)) || id))");
            row("of some rows", "inspection (id) WHERE length(hex(zeroblob(9))) > 0");
            row("of the words", "search_data (hex(id))");
        }
    }
    void anIndexThatComputesIsNeitherReadNorWritten()
    {
        QFETCH(const QString, on);
        QFETCH(const bool, ofLaterVersion);
        {
            OwnConnection own(mFolder);
            QCOMPARE(own.run(QStringLiteral("CREATE INDEX planted ON ") + on), QStringList());
            if (ofLaterVersion)
                QCOMPARE(own.run(QStringLiteral("PRAGMA user_version = 99")), QStringList());
        }
        const Opening reading = RecordStore().open(mFolder, RecordStore::Mode::ReadOnly);
        const Opening writing = RecordStore().open(mFolder);

        for (const Opening &opening : {reading, writing}) {
            QCOMPARE(opening.how, Opened::No);
            QCOMPARE(opening.problem.fault, Fault::Unusable);
            QCOMPARE(opening.keptAside, QString());
            QVERIFY2(opening.problem.text.contains(QLatin1String("planted")), qPrintable(opening.problem.text));
        }
    }

    void anIndexThatComputesIsToldByWhoLooksAtAll()
    {
        RecordStore store;
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("CREATE INDEX planted ON job (hex(name))")), QStringList());

        const Verification found = store.verify().value;

        QVERIFY(found.isComplete);
        QCOMPARE(found.databaseFaults.size(), 1);
        QVERIFY2(found.databaseFaults.first().contains(QLatin1String("planted")), qPrintable(found.databaseFaults[0]));
    }

    void anIndexOfColumnsOfSomebodyElseIsLeftAlone()
    {
        QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("CREATE INDEX other ON inspection (made)")), QStringList());

        RecordStore store;
        QCOMPARE(store.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QVERIFY(store.verify().value.allWell());
    }

    void anotherIndexOfWordsThanOursIsRefused()
    {
        {
            OwnConnection own(mFolder);
            QCOMPARE(own.run(QStringLiteral("DROP TABLE search")), QStringList());
            QCOMPARE(own.run(QStringLiteral("CREATE TABLE search (job, customer, site, operator, point, note)")),
                QStringList());
        }
        QCOMPARE(RecordStore().open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::No);
        const Opening opening = RecordStore().open(mFolder);
        QCOMPARE(opening.how, Opened::No);
        QCOMPARE(opening.keptAside, QString());
    }

    void aStoreThatWasKilledAsItBeganIsBegunAgain()
    {
        const QString folder = mDir->filePath(QStringLiteral("begun"));
        QVERIFY(QDir().mkdir(folder));
        for (const char *const ending : {"", "-journal"}) {
            QFile file(folder + QStringLiteral("/records.sqlite") + QLatin1String(ending));
            QVERIFY(file.open(QIODevice::WriteOnly));
            QVERIFY(*ending == '\0' || file.write(QByteArray(512, '\0')) == 512); // what is written first
        }
        QCOMPARE(RecordStore().open(folder).how, Opened::Begun);
    }

    void aNegativeVersionIsNoneOfOurs()
    {
        QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("PRAGMA user_version = -1")), QStringList());

        QCOMPARE(RecordStore().open(mFolder).problem.fault, Fault::Foreign);
        QCOMPARE(RecordStore().open(mFolder, RecordStore::Mode::ReadOnly).problem.fault, Fault::Foreign);
    }

    void aVerdictBeyondAllNumbersIsNoneThatIsKnown()
    {
        {
            OwnConnection own(mFolder);
            QCOMPARE(own.run(QStringLiteral("PRAGMA ignore_check_constraints = ON")), QStringList());
            QCOMPARE(
                own.run(QStringLiteral("UPDATE inspection SET verdict = 4294967297, reason = 'none'")), QStringList());
        }
        RecordStore store;
        QCOMPARE(store.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        const Verdict verdict = store.list().value.value(0).verdict;
        QVERIFY(verdict != Verdict::Passed && verdict != Verdict::Failed && verdict != Verdict::None);
        QVERIFY(!store.verify().value.allWell());
    }

    void theLockIsNobodyElsesToHold()
    {
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
        QVERIFY(!(QFile::permissions(mFolder + QStringLiteral("/records.lock")) & others));
    }

    void aDamagedDatabaseThatAnotherThreadUsesStaysWhereItIs()
    {
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        QVERIFY(QFile::rename(mDatabase, mDatabase + QStringLiteral(".moved")));

        const Opening opening = RecordStore().open(mFolder);

        QCOMPARE(opening.how, Opened::No);
        QVERIFY(!opening.problem.text.isEmpty());
        QVERIFY(store.inspection(1).value.isPictureThere);
    }

    void aJournalThatCannotBeReadIsTold()
    {
        const QString folder = mDir->filePath(QStringLiteral("copy"));
        QVERIFY(QDir().mkdir(folder));
        {
            RecordStore store;
            QVERIFY(store.open(mFolder).canWrite());
            QVERIFY(badFace().addTo(store).ok()); // still in the journal
            for (const char *const end : {"", "-wal"})
                QVERIFY(QFile::copy(
                    mDatabase + QLatin1String(end), folder + QStringLiteral("/records.sqlite") + QLatin1String(end)));
        }
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
        Opening opening;
        Faults::withoutOverride([&] { opening = RecordStore().open(folder); });
        QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);

        QCOMPARE(opening.how, Opened::No); // not without what was stored last
        QVERIFY2(opening.problem.text.contains(QStringLiteral("journal")), qPrintable(opening.problem.text));
        RecordStore store;
        QCOMPARE(store.open(folder).how, Opened::Usable);
        QCOMPARE(store.count().value, 2);
    }

    void whatWasNeverCommittedIsNotRead()
    {
        { // the older kind of journal, as where somebody reads while a copy is opened for the first time
            OwnConnection own(mFolder);
            QCOMPARE(own.run(QStringLiteral("PRAGMA journal_mode = DELETE")), QStringList(QStringLiteral("delete")));
        }
        const pid_t child = fork();
        if (child == 0) {
            OwnConnection own(mFolder);
            own.run(QStringLiteral("PRAGMA cache_size = 1")); // what does not fit is in the database already
            own.run(QStringLiteral("BEGIN IMMEDIATE"));
            own.run(
                QStringLiteral("WITH n (i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 5000) INSERT INTO job "
                               "(identity, name, customer, site, operator, standard, created) "
                               "SELECT randomblob(16), 'x', 'x', 'x', 'x', 2, 0 FROM n"));
            ::kill(getpid(), SIGKILL);
        }
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        QVERIFY(WIFSIGNALED(status));
        QVERIFY(QFileInfo(mDatabase + QStringLiteral("-journal")).size() > 0);

        const Opening reading = RecordStore().open(mFolder, RecordStore::Mode::ReadOnly);
        QCOMPARE(reading.how, Opened::No);
        QVERIFY2(reading.problem.text.contains(QLatin1String("journal")), qPrintable(reading.problem.text));
        RecordStore store;
        QVERIFY(store.open(mDir->filePath(QStringLiteral("other"))).canWrite());
        QVERIFY(!store.merge(mFolder).ok());
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QCOMPARE(store.jobs().value.size(), 0);
        QCOMPARE(store.count().value, 1);
    }

    void aCopyIsNotWrittenBesideAJournal_data()
    {
        QTest::addColumn<QString>("ending");
        QTest::newRow("journal of ours") << QStringLiteral("-wal");
        QTest::newRow("older kind") << QStringLiteral("-journal");
    }
    void aCopyIsNotWrittenBesideAJournal()
    {
        QFETCH(const QString, ending);
        const QString folder = mDir->filePath(QStringLiteral("copy"));
        QVERIFY(QDir().mkdir(folder));
        QFile journal(folder + QStringLiteral("/records.sqlite") + ending);
        QVERIFY(journal.open(QIODevice::WriteOnly) && journal.write("x") == 1 && journal.flush());

        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        QCOMPARE(store.backup(folder).problem.fault, Fault::Invalid);
        QCOMPARE(QDir(folder).entryList(QDir::Files), QStringList(QFileInfo(journal).fileName()));
    }

    void aDatabaseOfSomebodyElseIsLeftAlone()
    {
        QVERIFY(QFile::remove(mDatabase));
        {
            OwnConnection own(mFolder);
            own.run(QStringLiteral("CREATE TABLE recipes (name TEXT)"));
        }
        const QByteArray before = contentOf(mDatabase);
        QVERIFY(!before.isEmpty());

        const Opening opening = RecordStore().open(mFolder);

        QCOMPARE(opening.how, Opened::No);
        QCOMPARE(opening.problem.fault, Fault::Foreign);
        QVERIFY(contentOf(mDatabase) == before);
    }

    void whatIsNoFileIsTold()
    {
        const QString folder = mDir->filePath(QStringLiteral("other"));
        QVERIFY(QDir().mkpath(folder + QStringLiteral("/records.sqlite")));
        QCOMPARE(RecordStore().open(folder).how, Opened::No);
        QCOMPARE(RecordStore().open(mDatabase).how, Opened::No);
    }

    void noPipeIsWaitedFor_data()
    {
        QTest::addColumn<bool>("isTold"); // also to who only reads
        QTest::newRow("records.sqlite-journal") << true;
        QTest::newRow("records.sqlite-wal") << true;
        QTest::newRow("records.sqlite-shm") << true;
        QTest::newRow("records.lock") << false;
    }
    void noPipeIsWaitedFor()
    {
        QFETCH(const bool, isTold);
        const QString path = QStringLiteral("%1/%2").arg(mFolder, QLatin1String(QTest::currentDataTag()));
        QFile::remove(path);
        QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);

        const Opening reading = RecordStore().open(mFolder, RecordStore::Mode::ReadOnly);
        const Opening writing = RecordStore().open(mFolder);

        QCOMPARE(reading.isOpen(), !isTold);
        QVERIFY(!writing.canWrite());
        QVERIFY2(
            writing.problem.text.endsWith(path + QStringLiteral(" is not a file")), qPrintable(writing.problem.text));
    }

    // SQLite looks for journals beside what a link leads to, and follows one in the place of a journal.
    void nothingIsReadBehindALink_data()
    {
        QTest::addColumn<QString>("ending");
        for (const char *const ending : {"", "-wal", "-shm", "-journal"})
            QTest::newRow(*ending == '\0' ? "database" : ending) << QString::fromLatin1(ending);
    }
    void nothingIsReadBehindALink()
    {
        QFETCH(const QString, ending);
        const QString elsewhere = mDir->filePath(QStringLiteral("elsewhere"));
        QFile file(mDatabase + ending);
        if (!file.exists())
            QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QVERIFY(file.rename(elsewhere));
        QVERIFY(QFile::link(elsewhere, mDatabase + ending));
        RecordStore store;
        QVERIFY(store.open(mDir->filePath(QStringLiteral("other"))).canWrite());

        const Opening reading = RecordStore().open(mFolder, RecordStore::Mode::ReadOnly);
        const Answer<Merge> merged = store.merge(mFolder);

        QCOMPARE(reading.how, Opened::No);
        for (const Problem &problem : {reading.problem, merged.problem}) {
            QCOMPARE(problem.fault, Fault::Unusable);
            QVERIFY2(
                problem.text.endsWith(mDatabase + ending + QStringLiteral(" is a link")), qPrintable(problem.text));
        }
    }

    void onlyOneProcessWrites()
    {
        RecordStore store;
        {
            const OtherProcess other([this] {
                RecordStore &theirs = *new RecordStore; // until the process ends
                if (!theirs.open(mFolder).canWrite())
                    _exit(1);
            });
            QVERIFY(other.isReady());

            const Opening opening = store.open(mFolder);
            QCOMPARE(opening.how, Opened::InUse);
            QCOMPARE(opening.problem.fault, Fault::Busy);
            QCOMPARE(store.list().value.size(), 1);
            QCOMPARE(badFace().addTo(store).problem.fault, Fault::ReadOnly);
        }
        QCOMPARE(store.open(mFolder).how, Opened::Usable);
        QVERIFY(badFace().addTo(store).ok());
    }

    void aReaderSeesWhatAnotherProcessStores()
    {
        RecordStore reader;
        QCOMPARE(reader.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        reader.close(); // no connection may be carried into another process
        const OtherProcess other([this] {
            RecordStore &theirs = *new RecordStore;
            theirs.open(mFolder);
            if (badFace().addTo(theirs).value != 2)
                _exit(1);
        });
        QVERIFY(other.isReady());
        QCOMPARE(reader.open(mFolder, RecordStore::Mode::ReadOnly).how, Opened::AsReader);
        QCOMPARE(reader.count().value, 2);
        QCOMPARE(reader.inspection(2).value.defects, StoredDefect::of(badFace().inspection));
    }

    void whatADeadProcessLeftIsSwept()
    {
        const QStringList before = filesIn(mFolder);
        {
            const OtherProcess other([this] {
                std::thread([this] {
                    RecordStore store;
                    store.open(mFolder);
                    OwnConnection own(mFolder); // in the way of the row, when the pictures are there
                    own.run(QStringLiteral("BEGIN IMMEDIATE"));
                    store.addInspection({}, Face::of(QStringLiteral("clean")).inspection, "a picture without a row");
                }).detach();
            });
            QVERIFY(other.isReady());
            QTRY_COMPARE(filesIn(mFolder).size(), before.size() + 2);
        }
        QFile left(mFolder + QStringLiteral("/pictures/")
            + QString::fromLatin1(PictureStore::hashOf("a picture without a row").left(2))
            + QStringLiteral("/.unfinished-1"));
        QVERIFY(left.open(QIODevice::WriteOnly));

        RecordStore store;
        const Opening opening = store.open(mFolder);

        QCOMPARE(opening.how, Opened::Usable);
        QCOMPARE(opening.swept, 3);
        QCOMPARE(store.count().value, 1);
        QVERIFY(store.inspection(1).value.isPictureThere);
        store.close();
        QCOMPARE(store.open(mFolder).swept, 0);
        store.close();
        QCOMPARE(filesIn(mFolder), before);
    }

    void whatAMachineLeftThatStoppedIsSwept_data()
    {
        QTest::addColumn<QByteArray>("note");
        QTest::newRow("another start of the machine") << QByteArray("In use\n00000000-0000-0000-0000-000000000000\n");
        QTest::newRow("cut off") << QByteArray("In u");
        QTest::newRow("noise") << QByteArray(5000, '\xff');
        QTest::newRow("zeroes") << QByteArray(100, '\0');
    }
    void whatAMachineLeftThatStoppedIsSwept()
    {
        QFETCH(const QByteArray, note);
        const QStringList before = filesIn(mFolder);
        PictureStore(mFolder + QStringLiteral("/pictures")).put("whose row the disk never saw");
        overwrite(mFolder + QStringLiteral("/records.lock"), 0, note);

        RecordStore store;
        QCOMPARE(store.open(mFolder).swept, 1);
        QVERIFY(store.inspection(1).value.isPictureThere);
        QCOMPARE(filesIn(mFolder), before);
    }

    void noPictureIsSweptWhileAnotherThreadStores()
    {
        constexpr int count = 15;
        RecordStore store;
        QVERIFY(store.open(mFolder).canWrite());
        std::atomic<int> stored{0};
        std::thread thread([this, &stored] {
            RecordStore own;
            own.open(mFolder);
            while (stored < count) {
                const Face &face = badFace();
                own.addInspection(face.origin(), face.inspection, face.picture + QByteArray::number(stored));
                ++stored;
            }
        });
        int swept = 0;
        while (stored < count)
            swept += store.sweep().value;
        thread.join();

        QCOMPARE(swept, 0);
        QCOMPARE(store.count().value, 1 + count);
        QVERIFY(store.verify().value.allWell());
    }

private:
    void inflict(Harm harm)
    {
        switch (harm) {
        case Harm::Garbage:
            overwrite(mDatabase, 0, QByteArray(static_cast<int>(QFileInfo(mDatabase).size()), 'x'));
            break;
        case Harm::Header:
            overwrite(mDatabase, 0, QByteArray(100, '\x55'));
            break;
        case Harm::Truncated:
            QVERIFY(QFile::resize(mDatabase, QFileInfo(mDatabase).size() / 2));
            break;
        case Harm::Emptied:
            QVERIFY(QFile::resize(mDatabase, 0));
            break;
        case Harm::Removed:
            QVERIFY(QFile::remove(mDatabase));
            break;
        case Harm::TableGone:
            QCOMPARE(OwnConnection(mFolder).run(QStringLiteral("DROP TABLE defect")), QStringList());
            break;
        }
    }

    /// Of all pictures of the store, and of what was kept aside of it.
    QSet<QString> pictureNames() const
    {
        QSet<QString> names;
        const QStringList files = filesIn(mFolder).filter(QStringLiteral("pictures/"));
        for (const QString &file : files)
            names << QFileInfo(file).fileName();
        return names;
    }

    /// The root of the table of inspections.
    void overwriteTables()
    {
        QByteArray page;
        qint64 pageSize = 0;
        {
            OwnConnection own(mFolder);
            pageSize = own.run(QStringLiteral("PRAGMA page_size")).value(0).toLongLong();
            page = own.run(QStringLiteral("SELECT rootpage FROM sqlite_schema WHERE name = 'inspection'"))
                       .value(0)
                       .toLatin1();
        }
        overwrite(
            mDatabase, (page.toLongLong() - 1) * pageSize + 8, QByteArray(static_cast<int>(pageSize) - 8, '\x7f'));
    }

    std::unique_ptr<QTemporaryDir> mDir;
    QString mFolder;
    QString mDatabase;
};

QTEST_GUILESS_MAIN(TestRecordStoreFaults)
#include "tst_recordstore_faults.moc"
