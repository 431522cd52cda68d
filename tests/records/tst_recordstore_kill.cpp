// SPDX-License-Identifier: Apache-2.0
#include "Faults.h"
#include "OneProcess.h"
#include "StoredFaces.h"

#include <QDir>
#include <QDirIterator>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>
#include <cstdio>
#include <functional>
#include <memory>
#include <sys/wait.h>
#include <unistd.h>

using namespace FiberInspection;
using namespace Records;

namespace {
constexpr int usualKills = 50;
constexpr const char *killsVariable = "VANTOR_RECORDS_KILLS"; // how many instead
constexpr int killsOfOneStore = 10; // what is stored grows, and all of it is looked at after each
constexpr unsigned longestLife = 100; // milliseconds, from the start or from the first verdict

constexpr int diskSize = 32 * 1024; // kibibytes
constexpr int mostFree = 512; // kibibytes left on a disk that is filled

/// What somebody saw: the verdict of an inspection that was told to be stored.
struct Shown
{
    Id id = noId;
    int verdict = 0;
};

/// Inspects and stores without pause, and shows each verdict after that. Never comes back.
[[noreturn]] void work(const QString &folder, quint32 run, int display)
{
    alarm(60); // should nobody kill it
    RecordStore store;
    while (!store.open(folder).canWrite()) {} // as long as the disk is full
    const QString names[] = {QStringLiteral("clean"), QStringLiteral("pitted"), QStringLiteral("scratched")};
    for (quint32 i = 0;; ++i) {
        const Face &face = Face::of(names[i % 3]);
        InspectionOptions options = face.options;
        options.seed = i;
        const Inspection inspection =
            inspect(face.inspection.image(), Standard::IEC61300_3_35_SM_RL45, Device::ks20(), options);
        // No two photographs are the same.
        const QByteArray picture = face.picture + QByteArray::number(run) + '-' + QByteArray::number(i);
        const Answer<Id> id = store.addInspection(Origin::of(noId, Device::ks20(), options), inspection, picture);
        if (id.problem.fault == Fault::DiskFull)
            continue;
        if (!id.ok())
            _exit(2);
        const Shown shown{id.value, static_cast<int>(inspection.passed() ? Verdict::Passed : Verdict::Failed)};
        if (write(display, &shown, sizeof shown) != sizeof shown) // whole or not at all
            _exit(3);
    }
}

QVector<Shown> readAll(int display)
{
    QVector<Shown> all;
    Shown shown;
    while (read(display, &shown, sizeof shown) == sizeof shown)
        all << shown;
    return all;
}

/// Kills a process at a random moment. @param status how it ended
/// @param isAtWork wait for a first verdict before; otherwise it may still be about to open the store
QVector<Shown> killAtRandom(const QString &folder, quint32 run, bool isAtWork, int *status)
{
    int display[2];
    if (pipe(display) != 0)
        return {};
    const pid_t child = fork();
    if (child == 0) {
        close(display[0]);
        work(folder, run, display[1]);
    }
    close(display[1]);
    QVector<Shown> shown;
    Shown first;
    if (isAtWork && read(display[0], &first, sizeof first) == sizeof first)
        shown << first;
    usleep(QRandomGenerator::global()->bounded(longestLife * 1000U));
    OneProcess::sendSignal(child, SIGKILL);
    if (child > 0)
        waitpid(child, status, 0);
    shown += readAll(display[0]);
    close(display[0]);
    return shown;
}

QStringList unfinishedIn(const QString &folder)
{
    QStringList files;
    QDirIterator walk(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        const QString path = walk.next();
        if (path.contains(QStringLiteral("unfinished")))
            files << path;
    }
    return files;
}
} // namespace

class TestRecordStoreKill : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        for (const char *const name : {"clean", "pitted", "scratched"})
            Face::of(QString::fromLatin1(name)); // the processes find it done
    }

    void whatWasShownIsThereAfterAKill()
    {
        const QTemporaryDir dir;
        killOften(dir.path(), killCount(), {});
    }

    void whatWasShownIsThereAfterAKillOnADiskThatFillsUpAndEmpties()
    {
        const QTemporaryDir dir;
        const bool hasRun = Faults::withSmallDisk(dir.path(), diskSize, [&] {
            killOften(dir.path(), killCount() / 2, [&dir] {
                const auto free = QRandomGenerator::global()->bounded(mostFree);
                return std::make_unique<DiskFilling>(dir.path(), free);
            });
        });
        QVERIFY(hasRun);
    }

private:
    using Fill = std::function<std::unique_ptr<DiskFilling>()>;

    static int killCount()
    {
        return qEnvironmentVariableIsSet(killsVariable) ? qEnvironmentVariableIntValue(killsVariable) : usualKills;
    }

    /// @param fill if given, fills the disk for every other process
    static void killOften(const QString &root, int kills, const Fill &fill)
    {
        int shownInAll = 0;
        int sweptInAll = 0;
        for (int i = 0; i < kills; ++i) {
            const QString folder = QStringLiteral("%1/%2").arg(root).arg(i / killsOfOneStore);
            if (i % killsOfOneStore == 0 && i > 0)
                QDir(QStringLiteral("%1/%2").arg(root).arg(i / killsOfOneStore - 1)).removeRecursively();
            const bool isAtWork = i % 2 == 1;
            std::unique_ptr<DiskFilling> filling = fill && !isAtWork ? fill() : nullptr;
            int status = 0;
            const QVector<Shown> shown = killAtRandom(folder, static_cast<quint32>(i), isAtWork, &status);
            filling.reset();
            QVERIFY2(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL, qPrintable(QString::number(status)));

            RecordStore store;
            const Opening opening = store.open(folder);
            QVERIFY2(opening.canWrite() && opening.keptAside.isEmpty(), qPrintable(opening.problem.text));
            checkAll(store, shown);
            QCOMPARE(unfinishedIn(folder), QStringList());
            shownInAll += shown.size();
            sweptInAll += opening.swept;
        }
        std::printf("%d kills, %d verdicts shown, %d files swept\n", kills, shownInAll, sweptInAll);
        QVERIFY(shownInAll >= kills / 2);
    }

    static void checkAll(RecordStore &store, const QVector<Shown> &shown)
    {
        for (const Shown &one : shown) {
            const Answer<StoredInspection> stored = store.inspection(one.id);
            QVERIFY2(stored.ok(), qPrintable(stored.problem.text));
            QCOMPARE(static_cast<int>(stored.value.verdict), one.verdict);
            QVERIFY(stored.value.isPictureThere && stored.value.isAnnotatedPictureThere);
        }
        const Verification found = store.verify().value;
        QVERIFY2(found.allWell(), qPrintable(found.databaseFaults.join(QLatin1Char('\n'))));
        QCOMPARE(sweptBy(&store), 0); // opening has done it
    }
};

QTEST_GUILESS_MAIN(TestRecordStoreKill)
#include "tst_recordstore_kill.moc"
