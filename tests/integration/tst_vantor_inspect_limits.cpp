// SPDX-License-Identifier: Apache-2.0
#include "InspectProgram.h"
#include "JsonOutput.h"
#include "OneProcess.h"
#include "PaintedFaces.h"
#include "SmallDisk.h"

#include <QtTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int images = 40; // of a batch
constexpr qint64 kibibyte = 1024;
constexpr qint64 mebibyte = 1024 * kibibyte;
constexpr qint64 page = 4 * kibibyte; // that a disk gives to a file
constexpr qint64 mostMemoryForSmallFile = 512 * mebibyte;
constexpr int patience = 30000; // milliseconds

const QString timedOut = QStringLiteral("timed out after 1 s");

QStringList reasonsIn(const std::vector<QJsonObject> &objects)
{
    QStringList reasons;
    for (const QJsonObject &object : objects) {
        if (object[QStringLiteral("error")].toBool())
            reasons.append(object[QStringLiteral("reason")].toString());
    }
    return reasons;
}

/// Bytes; of the largest process that this one has waited for, and of theirs.
qint64 largestProcess()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return usage.ru_maxrss * kibibyte;
}

/// Of a processor; of the processes that this one has waited for, and of theirs.
double secondsOfChildren()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec)
        + static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

QByteArray bigEndian(int value)
{
    return QByteArray(1, static_cast<char>(value >> 8)) + static_cast<char>(value & 0xFF);
}

QByteArray frameHeader(int side)
{
    return QByteArray::fromHex("FFC0000B08") + bigEndian(side) + bigEndian(side) + QByteArray::fromHex("01011100");
}

/// A grey JPEG that says how large it is, and ends there.
QByteArray jpegWithoutData(int side)
{
    return QByteArray::fromHex("FFD8FFDB004300") + QByteArray(64, 1) + frameHeader(side)
        + QByteArray::fromHex(
            "FFC40014000100000000000000000000000000000000FFC4001410010000000000000000000000000000000000"
            "FFDA0008010100003F00FFD9");
}
} // namespace

class TestVantorInspectLimits : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mFolder;
    QString mGood;
    QString mBad;

    QString in(const QString &name) const { return mFolder.filePath(name); }

    QStringList batch(int timeout) const
    {
        QStringList arguments{
            QStringLiteral("--json"), QStringLiteral("--jobs=2"), QStringLiteral("--timeout=%1").arg(timeout)};
        for (int i = 0; i < images; ++i)
            arguments.append(mGood);
        return arguments;
    }

    /// Of the first worker; empty as long as there is none, or it is not set up.
    static QString workerFolder(const InspectProgram &program)
    {
        const QDir folder(program.temporaryFolder());
        const QStringList runs = folder.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        const QString worker = folder.filePath(runs.value(0) + QStringLiteral("/1"));
        return !runs.isEmpty() && QFileInfo(worker + QStringLiteral("/steps")).isDir() ? worker : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        mGood = in(QStringLiteral("good.png"));
        mBad = in(QStringLiteral("bad.png"));
        QVERIFY(goodFace().save(mGood));
        QVERIFY(badFace().save(mBad));
    }

    // --- time

    void aStoppedProcessIsGivenUpAndTheOthersGoOn_data()
    {
        QTest::addColumn<bool>("fetcher");
        QTest::newRow("the worker") << false;
        QTest::newRow("its fetcher") << true;
    }

    void aStoppedProcessIsGivenUpAndTheOthersGoOn()
    {
        QFETCH(bool, fetcher);
        InspectProgram program;
        program.begin(batch(1));
        const std::vector<qint64> workers = program.workers(2);
        const std::vector<qint64> fetchers = program.fetchers(2);
        QCOMPARE(workers.size(), std::size_t(2));
        const qint64 stopped = fetcher ? fetchers.at(0) : workers.at(0);
        QVERIFY(OneProcess::sendSignal(stopped, SIGSTOP));

        QVERIFY(program.waitForEnd(patience));

        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(objects.size(), std::size_t(images));
        QCOMPARE(reasonsIn(objects), QStringList{timedOut});
        QVERIFY(!processExists(stopped));
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    // Opening a file that somebody holds a lease on waits until that is given back.
    void aFileThatBlocksIsGivenUp()
    {
        const QString path = in(QStringLiteral("leased.png"));
        QVERIFY(QFile::copy(mGood, path));
        const int lease = open(QFile::encodeName(path).constData(), O_RDWR | O_CLOEXEC);
        std::signal(SIGIO, SIG_IGN); // asks to give it back
        if (fcntl(lease, F_SETLEASE, F_WRLCK) != 0)
            QSKIP("this file system has no leases");

        InspectProgram program;
        program.begin({QStringLiteral("--json"), QStringLiteral("--timeout=1"), mGood, path, mGood});
        const bool hasEnded = program.waitForEnd(patience);
        close(lease);

        QVERIFY(hasEnded);
        QCOMPARE(program.exitCode(), 2);
        const std::vector<QJsonObject> objects = jsonLines(program.readAllStandardOutput());
        QCOMPARE(objects.size(), std::size_t(3));
        QCOMPARE(reasonsIn(objects), QStringList{timedOut});
        QCOMPARE(objects[1][QStringLiteral("error")].toBool(), true);
    }

    void aRunThatIsStoppedForAWhileTakesNoImageForSlow()
    {
        InspectProgram program;
        program.begin(batch(1));
        std::vector<qint64> all = program.workers(2);
        QCOMPARE(all.size(), std::size_t(2));
        for (const qint64 fetcher : program.fetchers(2))
            all.push_back(fetcher);
        all.push_back(program.processId());
        for (const int signal : {SIGSTOP, SIGCONT}) {
            for (const qint64 process : all)
                OneProcess::sendSignal(process, signal);
            if (signal == SIGSTOP)
                QTest::qWait(1500); // longer than an image may take: the clock is what shall not count
        }

        QVERIFY(program.waitForEnd(patience));

        QCOMPARE(program.exitCode(), 0);
    }

    // --- memory

    void aFewBytesTakeLittleMemory_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("legal size, no data") << jpegWithoutData(8190);
        QTest::newRow("two frame headers") << jpegWithoutData(32000) + frameHeader(64) + QByteArray::fromHex("FFD9");
        QTest::newRow("frame headers before the data")
            << jpegWithoutData(32000).insert(2, frameHeader(64)) + QByteArray::fromHex("FFD9");
    }

    void aFewBytesTakeLittleMemory()
    {
#if defined(__SANITIZE_ADDRESS__)
        QSKIP("the sanitizer takes terabytes of address space");
#endif
        QFETCH(QByteArray, bytes);
        QFile file(in(QStringLiteral("bomb.jpg")));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
        file.close();

        const InspectRun run = runInspect({QStringLiteral("--json"), file.fileName(), mGood});

        QCOMPARE(run.exitCode, 2);
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(objects[0][QStringLiteral("error")].toBool(), true);
        QCOMPARE(objects[1][QStringLiteral("passed")].toBool(), true);
        QVERIFY2(largestProcess() < mostMemoryForSmallFile, qPrintable(QString::number(largestProcess() / mebibyte)));
    }

    void fewerWorkersThanWantedInspectAllImages_data()
    {
        QTest::addColumn<int>("descriptors");
        for (const int descriptors : {30, 45, 60})
            QTest::newRow(qPrintable(QString::number(descriptors))) << descriptors;
    }
    void fewerWorkersThanWantedInspectAllImages()
    {
        constexpr int wanted = 64;
        QFETCH(int, descriptors);
        QTemporaryDir out;
        InspectProgram program;
        QStringList arguments{
            QStringLiteral("--json"), QStringLiteral("--jobs=%1").arg(wanted), QStringLiteral("--out"), out.path()};
        for (int i = 0; i < wanted; ++i) {
            const QString image = out.filePath(QStringLiteral("face%1.png").arg(i));
            QVERIFY(QFile::copy(mGood, image));
            arguments.append(image);
        }

        program.beginThrough({QStringLiteral("sh"), QStringLiteral("-c"),
                                 QStringLiteral("ulimit -n %1; exec \"$0\" \"$@\"").arg(descriptors)},
            arguments);

        QVERIFY(program.waitForEnd(patience));
        QCOMPARE(reasonsIn(jsonLines(program.readAllStandardOutput())), QStringList());
        QCOMPARE(program.readAllStandardError(), QByteArray());
        QCOMPARE(program.exitCode(), 0);
        QCOMPARE(QDir(out.path()).entryList({QStringLiteral("*_result.jpg")}, QDir::Files).size(), wanted);
    }

    void whoHasUsedUpItsLifeIsTold()
    {
        InspectProgram program;
        program.begin({QStringLiteral("--json"), QStringLiteral("--repeat=100000"), mGood});
        const std::vector<qint64> workers = program.workers(1);
        QCOMPARE(workers.size(), std::size_t(1));
        const rlimit second{1, 1};
        QCOMPARE(prlimit(static_cast<pid_t>(workers[0]), RLIMIT_CPU, &second, nullptr), 0);

        QVERIFY(program.waitForEnd(patience));
        QCOMPARE(reasonsIn(jsonLines(program.readAllStandardOutput())),
            QStringList{QStringLiteral("the analysis used up its time of the processor")});
    }

    void aLongRunHasWorkersEnough()
    {
        constexpr double lifeTime = 4; // seconds of a processor that a worker has with a timeout of one
        constexpr int few = 10;
        const QString large = in(QStringLiteral("large.png"));
        QVERIFY(goodFace().scaled(3200, 2400).save(large));
        const auto run = [&large](int count) {
            QStringList arguments{QStringLiteral("--json"), QStringLiteral("--timeout=1")};
            for (int i = 0; i < count; ++i)
                arguments.append(large);
            return runInspect(arguments);
        };
        const double before = secondsOfChildren();
        QCOMPARE(run(few).outputLines().size(), few);
        const double each = (secondsOfChildren() - before) / few;
        const int many = 1 + static_cast<int>(lifeTime * 1.25 / each); // the start of the program counts as well
        const double start = secondsOfChildren();

        const InspectRun longRun = run(many);

        QVERIFY(secondsOfChildren() - start > lifeTime);
        const QStringList lines = longRun.outputLines();
        QCOMPARE(lines.size(), many);
        for (const QString &line : lines)
            QVERIFY2(!line.contains(QStringLiteral("the analysis")), qPrintable(line));
        // On a busy machine many are late, and have cost their worker as much.
        QVERIFY(lines.filter(QStringLiteral("timed out")).size() < many);
    }

    void aFileThatIsTooLongIsNotRead()
    {
        const QString path = in(QStringLiteral("long.jpg"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(300 * mebibyte)); // without blocks

        const InspectRun run = runInspect({QStringLiteral("--json"), path});

        QCOMPARE(run.exitCode, 2);
        QCOMPARE(jsonLines(run.output).at(0)[QStringLiteral("reason")].toString(),
            QStringLiteral("Failed to load image: 314572800 bytes are too many"));
    }

    void theMostPixelsAreTheUsersChoice()
    {
        const QString large = in(QStringLiteral("large.png"));
        QVERIFY(goodFace().scaled(1600, 1200).save(large)); // 1.8 times 1024 * 1024

        const InspectRun one = runInspect({QStringLiteral("--json"), QStringLiteral("--max-megapixels=1"), large});
        const InspectRun two = runInspect({QStringLiteral("--json"), QStringLiteral("--max-megapixels=2"), large});

        QCOMPARE(jsonLines(one.output).at(0)[QStringLiteral("reason")].toString(),
            QStringLiteral("Failed to load image: 1600 x 1200 pixels are too many"));
        QVERIFY(!two.output.contains("too many"));
    }

    // --- what is written

    void aWorkerThatFillsItsFolderIsEnded_data()
    {
        QTest::addColumn<int>("files");
        QTest::addColumn<qint64>("size");
        QTest::newRow("many files") << 100 << qint64(1);
        QTest::newRow("large files") << 10 << 200 * mebibyte;
    }

    void aWorkerThatFillsItsFolderIsEnded()
    {
        QFETCH(int, files);
        QFETCH(qint64, size);
        InspectProgram program;
        program.begin({QStringLiteral("--json"), QStringLiteral("--repeat=100000"), mGood});
        QCOMPARE(program.workers(1).size(), std::size_t(1));
        QString folder;
        QTRY_VERIFY(!(folder = workerFolder(program)).isEmpty());

        for (int i = 0; i < files; ++i) { // in the name of the worker
            QFile file(folder + QStringLiteral("/planted%1").arg(i));
            if (!file.open(QIODevice::WriteOnly) || !file.resize(size)) { // of holes
                QTRY_VERIFY(!QFileInfo::exists(folder)); // taken away before it is as full as it might be
                break;
            }
        }

        QVERIFY(program.waitForEnd(patience));
        QCOMPARE(program.exitCode(), 2);
        QCOMPARE(reasonsIn(jsonLines(program.readAllStandardOutput())),
            QStringList{QStringLiteral("the analysis filled its folder")});
        QCOMPARE(program.temporaryFiles(), QStringList());
    }

    void onlyTheStepImagesThatWereAskedForAreTaken_data()
    {
        QTest::addColumn<bool>("steps");
        QTest::addColumn<QString>("plantedEnd");
        QTest::newRow("none") << false << ".png";
        QTest::newRow("all") << true << ".png";
        QTest::newRow("a name with a line break") << true << ".png\n";
    }

    void onlyTheStepImagesThatWereAskedForAreTaken()
    {
        constexpr int planted = 20;
        QFETCH(bool, steps);
        QFETCH(QString, plantedEnd);
        QTemporaryDir out;
        InspectProgram program;
        program.begin(QStringList{QStringLiteral("--repeat=5"), QStringLiteral("--out"), out.path(), mGood}
            + (steps ? QStringList{QStringLiteral("--steps")} : QStringList()));
        bool isPlanted = false;
        do {
            const QString folder = workerFolder(program);
            for (int i = 0; i < planted && !folder.isEmpty(); ++i) {
                QFile file(folder + QStringLiteral("/steps/kept_%1_planted%2").arg(20 + i).arg(plantedEnd));
                isPlanted = (file.open(QIODevice::WriteOnly) && file.write("x") == 1) || isPlanted;
            }
        } while (!program.waitForFinished(1) && program.state() != QProcess::NotRunning);

        QVERIFY(isPlanted);
        const int taken = QDir(out.path()).entryList({QStringLiteral("*.png")}, QDir::Files).size();
        QVERIFY2(taken <= (steps ? 14 : 0), qPrintable(QString::number(taken)));
        const bool isName = plantedEnd == QLatin1String(".png");
        QVERIFY(isName || QDir(out.path()).entryList({QStringLiteral("*\n")}, QDir::Files).isEmpty());
        QVERIFY(!program.readAllStandardError().isEmpty() || !steps || !isName);
    }

    void stepImagesThatAreLostOnTheTemporaryDiskAreTold()
    {
        QTemporaryDir out;
        InspectProgram program;
        const SmallDisk disk(program.temporaryFolder(), 420); // of 600
        if (!disk.problem().isEmpty())
            QSKIP(qPrintable(disk.problem()));
        QImage face = goodFace();
        std::mt19937 random(1);
        for (int y = 0; y < face.height(); ++y) { // noise, which makes the pictures large
            for (int x = 0; x < face.width(); ++x)
                face.setPixel(x, y, face.pixel(x, y) ^ (random() & 0x010101));
        }
        const QString image = in(QStringLiteral("noisy.png"));
        QVERIFY(face.save(image));

        program.begin(
            {QStringLiteral("--json"), QStringLiteral("--steps"), QStringLiteral("--out"), out.path(), image});

        QVERIFY(program.waitForEnd());
        QVERIFY(QFile::exists(out.filePath(QStringLiteral("noisy_result.jpg")))); // the smallest, and the last
        QVERIFY(QDir(out.path()).entryList({QStringLiteral("*.png")}, QDir::Files).size() < 14);
        QCOMPARE(program.readAllStandardError(),
            QByteArray("vantor-inspect: noisy: some step images could not be written to the temporary folder\n"));
        QCOMPARE(program.exitCode(), 74);
    }

    void aFullDiskBehindTheOutputFolderIsAnError()
    {
        QTemporaryDir out;
        const SmallDisk disk(out.path(), 256);
        if (!disk.problem().isEmpty())
            QSKIP(qPrintable(disk.problem()));
        const DiskFilling filling(out.path(), 0);

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--out"), out.path(), mGood, mBad});

        QCOMPARE(run.exitCode, 74);
        const std::vector<QJsonObject> objects = jsonLines(run.output);
        QCOMPARE(objects.size(), std::size_t(2));
        QCOMPARE(objects[0][QStringLiteral("passed")].toBool(), true);
        QCOMPARE(objects[0][QStringLiteral("resultImage")].toString(), QString());
        QCOMPARE(run.messageLines().size(), 2);
        QCOMPARE(run.messageLines().at(0),
            QStringLiteral("vantor-inspect: cannot write %1/good_result.jpg: No space left on device").arg(out.path()));
        QCOMPARE(QDir(out.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
            QStringList{QStringLiteral("filling")});
    }

    void onAFullDiskTheResultComesBeforeTheSteps()
    {
        QTemporaryDir out;
        const QStringList arguments{
            QStringLiteral("--json"), QStringLiteral("--steps"), QStringLiteral("--out"), out.path(), mBad};
        QCOMPARE(runInspect(arguments).exitCode, 1);
        const QString result = out.filePath(QStringLiteral("bad_result.jpg"));
        const qint64 size = QFileInfo(result).size();
        QVERIFY(size > 0);
        const SmallDisk disk(out.path(), 1024);
        if (!disk.problem().isEmpty())
            QSKIP(qPrintable(disk.problem()));
        const DiskFilling filling(out.path(), static_cast<int>((size + page - 1) / page * (page / kibibyte)));

        const InspectRun run = runInspect(arguments);

        QCOMPARE(run.exitCode, 74);
        QCOMPARE(QFileInfo(result).size(), size);
        QCOMPARE(jsonLines(run.output).at(0)[QStringLiteral("resultImage")].toString(), result);
        QCOMPARE(run.messageLines().size(), 1);
        QVERIFY2(run.messages.contains(".png: No space left on device"), run.messages.constData());
    }

    void aLinkInTheOutputFolderIsNotReplacedAndNotFollowed()
    {
        QTemporaryDir out;
        const QString precious = in(QStringLiteral("precious"));
        QFile file(precious);
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write("precious") == 8);
        file.close();
        const QString link = out.filePath(QStringLiteral("good_result.jpg"));
        QVERIFY(QFile::link(precious, link));

        const InspectRun run = runInspect({QStringLiteral("--json"), QStringLiteral("--out"), out.path(), mGood});

        QCOMPARE(run.exitCode, 74);
        QCOMPARE(run.messageLines(),
            QStringList{QStringLiteral("vantor-inspect: cannot write %1: what is there is not a file").arg(link)});
        QCOMPARE(QFileInfo(link).symLinkTarget(), precious);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("precious"));
    }

    void aPhotographThatGetsIntoTheWayIsNotReplaced()
    {
        QTemporaryDir out;
        const QByteArray way = QFile::encodeName(out.filePath(QStringLiteral("good_result.jpg")));
        const QByteArray photograph = QFile::encodeName(mBad);
        InspectProgram program;
        program.begin({QStringLiteral("--json"), QStringLiteral("--repeat=50"), QStringLiteral("--out"), out.path(),
            mGood, mBad});
        QCOMPARE(program.workers(1).size(), std::size_t(1));
        if (link(photograph.constData(), way.constData()) != 0) {
            QCOMPARE(errno, EXDEV);
            QSKIP("the folders for temporary files are on several disks");
        }

        QVERIFY(program.waitForEnd());

        struct stat is = {};
        struct stat was = {};
        QCOMPARE(lstat(way.constData(), &is), 0);
        QCOMPARE(lstat(photograph.constData(), &was), 0);
        QCOMPARE(is.st_ino, was.st_ino);
        QCOMPARE(program.exitCode(), 74);
        QCOMPARE(program.readAllStandardError(),
            "vantor-inspect: cannot write " + way + ": what is there is a photograph of this run\n");
    }

    void theHalfFileOfAnotherRunIsLeftAlone()
    {
        QTemporaryDir out(QStringLiteral("/dev/shm/vantor-test-XXXXXX"));
        QFile part(out.filePath(QStringLiteral(".unfinished-1")));
        QVERIFY(part.open(QIODevice::WriteOnly) && part.write("half") == 4);
        part.close();

        const InspectRun run = runInspect({QStringLiteral("--out"), out.path(), mGood});

        QCOMPARE(run.exitCode, 0);
        QVERIFY(part.open(QIODevice::ReadOnly));
        QCOMPARE(part.readAll(), QByteArray("half"));
        QCOMPARE(QDir(out.path()).entryList(QDir::Files | QDir::Hidden).size(), 2);
    }

    void runsIntoOneFolderDoNotDisturbEachOther()
    {
        QTemporaryDir out(QStringLiteral("/dev/shm/vantor-test-XXXXXX"));
        const QStringList arguments{QStringLiteral("--json"), QStringLiteral("--standard=all"),
            QStringLiteral("--steps"), QStringLiteral("--out"), out.path(), mGood, mBad};
        InspectProgram one;
        InspectProgram other;
        one.begin(arguments);
        other.begin(arguments);
        QVERIFY(one.waitForEnd());
        QVERIFY(other.waitForEnd());

        for (InspectProgram *const program : {&one, &other}) {
            QCOMPARE(program->readAllStandardError(), QByteArray());
            QCOMPARE(program->exitCode(), 1);
        }
        const QStringList files = QDir(out.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        QCOMPARE(files.size(), 10 * 15);
        for (const QString &file : files)
            QVERIFY2(!QImage(out.filePath(file)).isNull(), qPrintable(file));
    }

    void picturesGetTheModeThatTheUserWants()
    {
        QTemporaryDir out;
        InspectProgram program;
        program.beginThrough(
            {QStringLiteral("sh"), QStringLiteral("-c"), QStringLiteral("umask 027; exec \"$0\" \"$@\"")},
            {QStringLiteral("--out"), out.path(), mGood});
        QVERIFY(program.waitForEnd());

        struct stat status
        {
        };
        QCOMPARE(stat(QFile::encodeName(out.filePath(QStringLiteral("good_result.jpg"))).constData(), &status), 0);
        QCOMPARE(int(status.st_mode & 0777), 0640);
    }

    void helpTellsEveryExitCode()
    {
        const QString help = QString::fromUtf8(runInspect({QStringLiteral("--help")}).output).simplified();

        QVERIFY(help.contains(QStringLiteral("--timeout")));
        for (const char *const code :
            {"0 all passed", "1 some failed", "2 some could not be analysed", "64 wrong usage",
                "69 there is no place for temporary files", "74 a report or a picture could not be written"})
            QVERIFY2(help.contains(QLatin1String(code)), code);
    }
};

QTEST_GUILESS_MAIN(TestVantorInspectLimits)
#include "tst_vantor_inspect_limits.moc"
