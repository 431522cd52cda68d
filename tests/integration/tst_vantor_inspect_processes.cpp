// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"
#include "JsonOutput.h"
#include "OneProcess.h"
#include "PaintedFaces.h"

#include <QtTest>

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <set>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int moment = 2000; // milliseconds
constexpr int soon = 10000; // milliseconds, on a busy machine
constexpr int patience = 30000; // milliseconds

QByteArray withoutTimes(const QByteArray &output)
{
    static const QRegularExpression time(QStringLiteral("\"elapsedMs\":[^,]*,"));
    return QString::fromUtf8(output).remove(time).toUtf8();
}

/// Counts how often a file is opened. Of what happens twice in a row the kernel tells once, so it counts at least that.
class OpenCounter
{
public:
    explicit OpenCounter(const QString &path)
        : mEvents(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        inotify_add_watch(mEvents, QFile::encodeName(path).constData(), IN_OPEN | IN_CLOSE);
    }
    ~OpenCounter() { close(mEvents); }
    OpenCounter(const OpenCounter &) = delete;
    OpenCounter &operator=(const OpenCounter &) = delete;

    int count() const
    {
        inotify_event event{};
        int opened = 0;
        while (read(mEvents, &event, sizeof event) == sizeof event)
            opened += (event.mask & IN_OPEN) != 0 ? 1 : 0;
        return opened;
    }

private:
    int mEvents;
};

QStringList imagesOf(const std::vector<QJsonObject> &objects)
{
    QStringList images;
    for (const QJsonObject &object : objects)
        images.append(object[QStringLiteral("image")].toString());
    return images;
}
} // namespace

class TestVantorInspectProcesses : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mFolder;
    QStringList mImages; ///< in the order of their names, some good, some bad

    QStringList longRun(int jobs) const
    {
        return QStringList{
                   QStringLiteral("--json"), QStringLiteral("--repeat=30"), QStringLiteral("--jobs=%1").arg(jobs)}
        + mImages;
    }

    int openPipe(const QString &name, int flags) const
    {
        const QByteArray path = QFile::encodeName(mFolder.filePath(name));
        return mkfifo(path.constData(), S_IRUSR | S_IWUSR) == 0 ? open(path.constData(), flags | O_CLOEXEC) : -1;
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        for (int i = 0; i < 24; ++i) {
            const QString path = mFolder.filePath(QStringLiteral("%1.png").arg(i, 2, 10, QLatin1Char('0')));
            QVERIFY((i % 3 == 0 ? badFace() : goodFace()).save(path));
            mImages.append(path);
        }
    }

    void severalJobsGiveTheOutputOfOne_data()
    {
        QTest::addColumn<QStringList>("format");
        QTest::newRow("text") << QStringList();
        QTest::newRow("json") << QStringList({QStringLiteral("--json")});
    }

    void severalJobsGiveTheOutputOfOne()
    {
        QFETCH(QStringList, format);
        const QStringList arguments = format + QStringList{QStringLiteral("--standard=sm-rl26,mm")} + mImages;

        const InspectRun one = runInspect(arguments);
        QCOMPARE(one.exitCode, 1);
        for (const int jobs : {2, 5, 256}) {
            const InspectRun several = runInspect(QStringList{QStringLiteral("--jobs=%1").arg(jobs)} + arguments);
            QCOMPARE(several.exitCode, one.exitCode);
            QCOMPARE(withoutTimes(several.output), withoutTimes(one.output));
            QCOMPARE(several.temporaryFiles, QStringList());
        }
    }

    void anImageIsOpenedOnceByEachWorkerThatNeedsIt_data()
    {
        QTest::addColumn<int>("jobs");
        QTest::addColumn<int>("most");
        QTest::newRow("one process") << 1 << 1;
        QTest::newRow("as many as images") << 2 << 1;
        QTest::newRow("two for each image") << 5 << 2;
        QTest::newRow("one for each standard") << 256 << 5;
    }

    void anImageIsOpenedOnceByEachWorkerThatNeedsIt()
    {
        QFETCH(int, jobs);
        QFETCH(int, most);
        const QStringList arguments{QStringLiteral("--json"), QStringLiteral("--standard=all"),
            QStringLiteral("--repeat=2"), mImages[0], mImages[1]};
        const InspectRun expected = runInspect(arguments);
        const OpenCounter first(mImages[0]);
        const OpenCounter second(mImages[1]);

        const InspectRun run = runInspect(QStringList{QStringLiteral("--jobs=%1").arg(jobs)} + arguments);

        const int opened = first.count();
        QVERIFY2(opened >= 1 && opened <= most, qPrintable(QString::number(opened)));
        QVERIFY(second.count() <= most);
        QCOMPARE(run.exitCode, 1);
        QCOMPARE(withoutTimes(run.output), withoutTimes(expected.output));
    }

    void reportsKeepTheOrderOfTheImagesAlthoughTheFirstTakesLong()
    {
        const QString slow = mFolder.filePath(QStringLiteral("slow.png"));
        QVERIFY(goodFace().scaled(4600, 3450).save(slow));
        const QStringList images = QStringList{slow} + mImages + mImages + mImages;

        const InspectRun run = runInspect(QStringList{QStringLiteral("--json"), QStringLiteral("--jobs=2")} + images);

        QCOMPARE(imagesOf(jsonLines(run.output)), images);
    }

    void noPictureIsWrittenThatNobodyAskedFor()
    {
        InspectProgram program;
        program.begin(longRun(1));
        QVERIFY(program.waitForLine());

        int looks = 0;
        while (program.state() == QProcess::Running) {
            const QStringList files = program.temporaryFiles();
            looks += files.isEmpty() ? 0 : 1; // the worker's own folder
            QVERIFY2(files.filter(QRegularExpression(QStringLiteral("jpg|png"))).isEmpty(),
                qPrintable(files.join(QLatin1Char(' '))));
            program.waitForFinished(1);
        }
        QVERIFY(looks > 0);
        QCOMPARE(program.exitCode(), 1);
    }

    void aKilledWorkerCostsOnlyItsImage()
    {
        InspectProgram program;
        program.begin(longRun(2));
        QVERIFY(program.waitForLine());
        const std::vector<qint64> workers = program.workers(2);
        QCOMPARE(workers.size(), std::size_t(2));
        OneProcess::sendSignal(workers[0], SIGKILL);

        QVERIFY(program.waitForEnd());

        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(imagesOf(objects), mImages);
        int errors = 0;
        for (const QJsonObject &object : objects) {
            QCOMPARE(schemaViolation(object), QString());
            if (object[QStringLiteral("error")].toBool()) {
                ++errors;
                QVERIFY(object[QStringLiteral("reason")].toString().contains(QStringLiteral("signal 9")));
            }
        }
        QCOMPARE(errors, 1);
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void aWorkerThatEndsCostsItsImageForAllStandards_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<QString>("reason");
        QTest::newRow("killed") << SIGKILL << "the analysis was ended by signal 9 (Killed)";
        QTest::newRow("stopped") << SIGSTOP << "timed out after 8 s";
    }

    void aWorkerThatEndsCostsItsImageForAllStandards()
    {
        constexpr std::size_t standards = 5;
        QFETCH(int, signal);
        QFETCH(QString, reason);
        const QString slow = mFolder.filePath(QStringLiteral("slow-for-all.png"));
        QVERIFY(goodFace().scaled(1600, 1200).save(slow));
        InspectProgram program;
        program.begin({QStringLiteral("--json"), QStringLiteral("--standard=all"), QStringLiteral("--repeat=8"),
            QStringLiteral("--timeout=1"), slow, mImages[1]});
        QVERIFY(program.waitForLine()); // of the first standard
        const std::vector<qint64> workers = program.workers(1);
        QCOMPARE(workers.size(), std::size_t(1));
        QVERIFY(OneProcess::sendSignal(workers[0], signal));

        QVERIFY(program.waitForEnd(300000));

        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(objects.size(), 2 * standards);
        QCOMPARE(objects[0][QStringLiteral("error")].toBool(), false);
        for (std::size_t i = 0; i < objects.size(); ++i) {
            QCOMPARE(schemaViolation(objects[i]), QString());
            QVERIFY(i == 1 || i == 2 || objects[i][QStringLiteral("error")].toBool() == (i == 3 || i == 4));
            if (objects[i][QStringLiteral("error")].toBool())
                QCOMPARE(objects[i][QStringLiteral("reason")].toString(), reason);
        }
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void workersThatAreKilledAgainAndAgainDoNotStopTheRun()
    {
        constexpr std::size_t mostKilled = 12; // half of the images
        constexpr int pauseBetweenKills = 20; // milliseconds
        InspectProgram program;
        program.begin(longRun(2));
        std::set<qint64> killed;
        while (killed.size() < mostKilled && !program.waitForFinished(pauseBetweenKills)) {
            for (const qint64 worker : program.workers(1)) {
                if (killed.size() < mostKilled && killed.insert(worker).second)
                    OneProcess::sendSignal(worker, SIGKILL);
            }
        }

        QVERIFY(program.waitForEnd());

        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(imagesOf(objects), mImages);
        const auto errors = std::count_if(objects.cbegin(), objects.cend(),
            [](const QJsonObject &object) { return object[QStringLiteral("error")].toBool(); });
        QVERIFY2(errors >= 1 && errors <= int(mostKilled), qPrintable(QString::number(errors)));
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void aSignalStopsTheRunAndLeavesNothingBehind_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<int>("jobs");
        QTest::newRow("SIGINT") << SIGINT << 1;
        QTest::newRow("SIGINT, two jobs") << SIGINT << 2;
        QTest::newRow("SIGTERM") << SIGTERM << 2;
        QTest::newRow("SIGHUP") << SIGHUP << 2;
    }

    void aSignalStopsTheRunAndLeavesNothingBehind()
    {
        QFETCH(int, signal);
        QFETCH(int, jobs);
        QTemporaryDir out;
        InspectProgram program;
        program.begin(QStringList{QStringLiteral("--steps"), QStringLiteral("--out"), out.path()} + longRun(jobs));
        QVERIFY(program.waitForLine());
        const std::vector<qint64> workers = program.workers(static_cast<std::size_t>(jobs));
        QVERIFY(!program.temporaryFiles().isEmpty());

        program.sendSignal(signal);

        QVERIFY(program.waitForEnd(soon));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 128 + signal);
        QCOMPARE(program.temporaryFiles(), QStringList());
        for (const qint64 worker : workers)
            QVERIFY(!processExists(worker));
        QVERIFY(jsonLines(program.readAllStandardOutput()).size() < std::size_t(mImages.size()));
        QCOMPARE(QDir(out.path()).entryList({QStringLiteral("*.part")}, QDir::Files | QDir::Hidden), QStringList());
    }

    void aSignalAtOnceLeavesNothingBehind()
    {
        for (int delay = 0; delay < 160;
             delay += 8) { // milliseconds; before, while and after the program sets itself up
            InspectProgram program;
            program.begin(longRun(2));
            program.waitForFinished(delay + 1);
            program.sendSignal(SIGINT);
            QVERIFY(program.waitForEnd(soon));
            QCOMPARE(program.temporaryFiles(), QStringList());
        }
    }

    void anIgnoredHangUpStaysIgnored()
    {
        InspectProgram program;
        program.beginThrough(
            {QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("trap '' HUP; exec \"$0\" \"$@\"")},
            longRun(2));
        QVERIFY(program.waitForLine());

        program.sendSignal(SIGHUP);

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.exitCode(), 1);
        QCOMPARE(jsonLines(program.readAllStandardOutput()).size(), std::size_t(mImages.size()));
    }

    void workersDoNotOutliveAKilledProgram()
    {
        InspectProgram program;
        program.begin(longRun(2));
        const std::vector<qint64> workers = program.workers(2);
        QCOMPARE(workers.size(), std::size_t(2));

        program.kill();

        QVERIFY(program.waitForEnd(soon));
        for (const qint64 worker : workers)
            QTRY_VERIFY(!processExists(worker));
    }

    void aReaderThatGoesAwayEndsTheRun()
    {
        const int reader = openPipe(QStringLiteral("leaving"), O_RDONLY | O_NONBLOCK);
        QVERIFY(reader >= 0);
        InspectProgram program;
        program.setStandardOutputFile(mFolder.filePath(QStringLiteral("leaving")));
        program.begin(longRun(2));
        pollfd pipe{reader, POLLIN, 0};
        QCOMPARE(poll(&pipe, 1, patience), 1);

        close(reader);

        QVERIFY(program.waitForEnd(soon));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 128 + SIGPIPE);
        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void aReaderThatPausesDoesNotKeepASignalAway()
    {
        const int reader = openPipe(QStringLiteral("pausing"), O_RDWR);
        QVERIFY(reader >= 0);
        fcntl(reader, F_SETPIPE_SZ, 4096); // some reports, but not all
        InspectProgram program;
        program.setStandardOutputFile(mFolder.filePath(QStringLiteral("pausing")));
        program.begin(QStringList{QStringLiteral("--json")} + mImages);
        QVERIFY(!program.waitForFinished(moment));

        program.sendSignal(SIGTERM);

        QVERIFY(program.waitForEnd(soon));
        close(reader);
        QCOMPARE(program.exitCode(), 128 + SIGTERM);
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void aFullDiskBehindStdoutIsTold()
    {
        InspectProgram program;
        program.setStandardOutputFile(QStringLiteral("/dev/full"));
        program.begin(longRun(1));

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.exitCode(), 74);
        QCOMPARE(program.readAllStandardError(),
            QByteArray("vantor-inspect: cannot write to stdout: No space left on device\n"));
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void aReportThatMayNotGrowIsTold()
    {
        const QString report = mFolder.filePath(QStringLiteral("report"));
        InspectProgram program;
        program.setStandardOutputFile(report);
        program.beginThrough({QStringLiteral("prlimit"), QStringLiteral("--fsize=70000")},
            QStringList{QStringLiteral("--json"), QStringLiteral("--standard=all")} + mImages + mImages + mImages
                + mImages + mImages);

        QVERIFY(program.waitForEnd());
        QCOMPARE(QFileInfo(report).size(), qint64(70000));
        QCOMPARE(program.exitStatus(), QProcess::NormalExit);
        QCOMPARE(program.exitCode(), 74);
        QCOMPARE(
            program.readAllStandardError(), QByteArray("vantor-inspect: cannot write to stdout: File too large\n"));
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void aClosedStdoutIsTold()
    {
        InspectProgram program;
        program.beginThrough({QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("exec \"$0\" \"$@\" >&- <&-")},
            {QStringLiteral("--json"), mImages[0]});

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.exitCode(), 74);
        QCOMPARE(program.readAllStandardError(),
            QByteArray("vantor-inspect: cannot write to stdout: Bad file descriptor\n"));
    }

    void withoutAFolderForTemporaryFilesNothingIsAnalysed()
    {
        InspectProgram program;
        program.setVariable("TMPDIR", QStringLiteral("/nonexistent/folder"));
        program.begin({QStringLiteral("--json"), mImages[0]});

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.exitCode(), 69);
        QCOMPARE(program.readAllStandardOutput(), QByteArray());
        QCOMPARE(program.readAllStandardError(),
            QByteArray("vantor-inspect: cannot create a temporary folder in /nonexistent/folder\n"));
    }

    void theFolderForTemporaryFilesMayHaveAnyName()
    {
        const QString folder = mFolder.filePath(QStringLiteral("tmp \u00fc ' \" %1"));
        QVERIFY(QDir().mkpath(folder));
        QTemporaryDir out;
        InspectProgram program;
        program.setVariable("TMPDIR", folder);
        program.begin({QStringLiteral("--json"), QStringLiteral("--out"), out.path(), mImages[0]});

        QVERIFY(program.waitForEnd());
        QCOMPARE(program.exitCode(), 1);
        QCOMPARE(QDir(out.path()).entryList(QDir::Files).size(), 1);
        QCOMPARE(listing(folder), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestVantorInspectProcesses)
#include "tst_vantor_inspect_processes.moc"
