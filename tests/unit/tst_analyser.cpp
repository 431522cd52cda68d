// SPDX-License-Identifier: Apache-2.0
#include "DrawnFibre.h"
#include "EndedThread.h"
#include "Faults.h"
#include "FiberInspection/Analyser.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/Inspection.h"
#include "LogCapture.h"
#include "WatchedDisk.h"
#include "WorkDir.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QMetaType>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdarg>
#include <dlfcn.h>
#include <fcntl.h>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <utility>
#include <vector>

using FiberInspection::Analyser;
using FiberInspection::AnalyserPrivate;
using FiberInspection::Circle;
using FiberInspection::Device;
using FiberInspection::Inspection;
using FiberInspection::Standard;
using FiberInspection::TestResult;

namespace {
constexpr Standard::Id anyStandard = Standard::IEC61300_3_35_SM_RL45;

/// Paths of all files below the folder, from the folder on, sorted.
QStringList filesBelow(const QString &folder)
{
    QStringList result;
    QDirIterator entry(folder, QDir::Files | QDir::System | QDir::Hidden, QDirIterator::Subdirectories);
    while (entry.hasNext())
        result << QDir(folder).relativeFilePath(entry.next());
    result.sort();
    return result;
}

QStringList &diskLog()
{
    static QStringList log;
    return log;
}

int noteSync(int descriptor)
{
    const QFileInfo synced(WatchedDisk::pathOf(descriptor));
    const QDir folder(synced.isDir() ? synced.filePath() : synced.path());
    const QString pictures = folder.entryList({QStringLiteral("*.jpg")}, QDir::Files).join(QLatin1Char(' '));
    diskLog() << QStringLiteral("%1 [%2]").arg(QLatin1String(synced.isDir() ? "folder" : "file in"), pictures);
    return 0;
}

/// Gives way to a pipe just before it is opened for the first time.
QString &pathOfPipe()
{
    static QString path;
    return path;
}

bool &isPipeWaitedFor()
{
    static bool isWaitedFor = false;
    return isWaitedFor;
}

/// The flags with which the file is opened in truth: nobody has to wait.
int flagsFor(const char *path, int flags)
{
    if (pathOfPipe().isEmpty() || pathOfPipe() != QFile::decodeName(path))
        return flags;
    QFile::remove(std::exchange(pathOfPipe(), QString()));
    isPipeWaitedFor() = mkfifo(path, S_IRUSR | S_IWUSR) != 0 || (flags & O_NONBLOCK) == 0;
    return flags | O_NONBLOCK;
}

/// Whether a thread that shares out a loop is ended.
bool &endsInLoop()
{
    static bool isEnded = false;
    return isEnded;
}

int openAs(const char *symbol, const char *path, int flags, va_list arguments)
{
    const bool hasMode = (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
    const mode_t mode = hasMode ? va_arg(arguments, mode_t) : 0;
    const auto real = reinterpret_cast<int (*)(const char *, int, ...)>(dlsym(RTLD_NEXT, symbol));
    return real(path, flagsFor(path, flags), mode);
}
} // namespace

// These stand before those of the C library, also for the library under test and for Qt.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int open(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int file = openAs("open", path, flags, arguments);
    va_end(arguments);
    return file;
}
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name)
extern "C" int open64(const char *path, int flags, ...)
{
    va_list arguments;
    va_start(arguments, flags);
    const int file = openAs("open64", path, flags, arguments);
    va_end(arguments);
    return file;
}

// That of OpenCV.
void cv::parallel_for_(const cv::Range &range, const cv::ParallelLoopBody &body, double stripes)
{
    if (endsInLoop())
        EndedThread::end();
    static const auto real = reinterpret_cast<void (*)(const cv::Range &, const cv::ParallelLoopBody &, double)>(
        dlsym(RTLD_NEXT, "_ZN2cv13parallel_for_ERKNS_5RangeERKNS_16ParallelLoopBodyEd"));
    real(range, body, stripes);
}

namespace {
class ThrowingDirectories : public BaseDirHelper
{
public:
    QString applicationDirName() override { throw std::runtime_error("no directories today"); }
};
} // namespace

class TestAnalyser : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> mLog; ///< keeps the output short
    std::unique_ptr<TemporaryWorkDir> mWorkDir;

    QString inspectionPath(const QString &name) const
    {
        return mWorkDir->filePath(QStringLiteral("data/fiber_inspection/") + name);
    }
    QByteArray filed(const QString &name) const { return readFile(inspectionPath(name)); }
    static bool setCameraImage(const QByteArray &bytes)
    {
        return writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), bytes);
    }
    static QByteArray cameraImage() { return readFile(BaseDirHelper::tmpFiberInspectionImagePath()); }
    static QByteArray resultImage() { return readFile(BaseDirHelper::tmpFiberInspectionResultImagePath()); }
    static QByteArray encoded(const cv::Mat &mat)
    {
        std::vector<uchar> bytes;
        cv::imencode(".png", mat, bytes);
        return {reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size())};
    }
    static QString notFiled(const QString &path) { return QStringLiteral("not filed: \"%1\"").arg(path); }
    static QString missing(const QString &path) { return QStringLiteral("not filed, there is no \"%1\"").arg(path); }

private Q_SLOTS:
    void init()
    {
        mLog = std::make_unique<LogCapture>();
        mWorkDir = std::make_unique<TemporaryWorkDir>();
        QVERIFY(mWorkDir->isValid());
        QVERIFY(setCameraImage(DrawnFibre().jpeg()));
    }

    void cleanup()
    {
        watchedDisk() = {};
        mWorkDir.reset();
        mLog.reset();
    }

    void imagesHaveFixedNames()
    {
        QCOMPARE(Analyser::fiberSourceImageName(), QStringLiteral("source.jpg"));
        QCOMPARE(Analyser::fiberResultImageName(), QStringLiteral("result.jpg"));
        QCOMPARE(Analyser::tmpFiberInspectionImagePath(), BaseDirHelper::tmpFiberInspectionImagePath());
    }

    void aNewAnalyserHasNoPathsAndKnowsItsMetaType()
    {
        const Analyser analyser;

        QVERIFY(analyser.lastSourceImagePath().isEmpty());
        QVERIFY(analyser.lastResultImagePath().isEmpty());
        QVERIFY(QMetaType::type("FiberInspection::Standard::Id") != QMetaType::UnknownType);
        QCOMPARE(QMetaType::type("FiberInspection::Standard::Id"), qMetaTypeId<Standard::Id>());
    }

    void liveFunctionsAreThoseOfTheAnalysis()
    {
        const cv::Mat gray = DrawnFibre().gray();
        cv::Mat frame(gray.rows * 3 / 2, gray.cols, CV_8UC1, cv::Scalar(128));
        gray.copyTo(frame.rowRange(0, gray.rows));

        const Circle circle = Analyser::approximateFindCladdingCircle(frame.data, gray.cols, gray.cols, gray.rows);
        const double focus = Analyser::getBlurLevel(frame.data, gray.cols, gray.cols, gray.rows, circle);

        QVERIFY(circle.isValid());
        QCOMPARE(circle, AnalyserPrivate::approximateFindCladdingCircle(gray));
        QVERIFY(focus > 0);
        QCOMPARE(focus, AnalyserPrivate::getBlurLevel(gray, circle));
    }

    void filedPicturesOutliveAPowerFailure()
    {
        Analyser analyser;
        diskLog().clear();
        watchedDisk().onSync = noteSync;

        analyser.analyse(anyStandard, QStringLiteral("durable"));

        const QStringList order{QStringLiteral("file in [fiber_image.jpg]"),
            QStringLiteral("folder [fiber_image.jpg fiber_result_image.jpg]"), QStringLiteral("file in []"),
            QStringLiteral("folder [source.jpg]"), QStringLiteral("file in [source.jpg]"),
            QStringLiteral("folder [result.jpg source.jpg]")};
        QCOMPARE(diskLog(), order);
    }

    void whoSavesToOnePathAtOnceSavesAsWell()
    {
        const QString path = mWorkDir->filePath(QStringLiteral("picture.png"));
        const cv::Mat first(40, 40, CV_8UC1, cv::Scalar(10));
        const cv::Mat second(80, 80, CV_8UC1, cv::Scalar(20));
        QByteArray meanwhile;
        bool isSecondSaved = false;

        watchedDisk().onRename = [&] {
            watchedDisk().onRename = nullptr;
            isSecondSaved = AnalyserPrivate::saveImage(second, path);
            meanwhile = readFile(path);
        };
        const bool isFirstSaved = AnalyserPrivate::saveImage(first, path);

        QVERIFY(isSecondSaved);
        QVERIFY(isFirstSaved);
        QCOMPARE(readFile(path), encoded(first)); // the last to finish wins
        QCOMPARE(meanwhile, encoded(second));
        QCOMPARE(filesBelow(mWorkDir->path()).size(), 2); // with the camera's
    }

    void aNameAsLongAsCanBeIsSavedTo()
    {
        constexpr int longestName = 255; // bytes
        const QString path = mWorkDir->filePath(QString(longestName - 4, QLatin1Char('x')) + QStringLiteral(".png"));

        QVERIFY(AnalyserPrivate::saveImage(cv::Mat(4, 4, CV_8UC1, cv::Scalar(10)), path));

        QVERIFY(QFile::exists(path));
    }

    void theVerdictIsThatOfTheFixedCameraImage_data()
    {
        QTest::addColumn<double>("pitRadius");
        QTest::addColumn<bool>("passed");
        QTest::newRow("clean face") << 0.0 << true;
        QTest::newRow("pit of 30 micrometres in the cladding") << 15.0 << false;
    }
    void theVerdictIsThatOfTheFixedCameraImage()
    {
        QFETCH(double, pitRadius);
        QFETCH(bool, passed);
        DrawnFibre fibre;
        fibre.pitRadius = pitRadius;
        QVERIFY(setCameraImage(fibre.jpeg()));
        Analyser analyser;

        const TestResult result = analyser.analyse(anyStandard, QStringLiteral("port 1"));

        QVERIFY(!result.error());
        QCOMPARE(result.passed(), passed);
        const TestResult plain =
            AnalyserPrivate::analyse(anyStandard, Analyser::tmpFiberInspectionImagePath(), Device::ks20(), 1.0F, false);
        QCOMPARE(plain.passed(), passed);
    }

    void theStandardIsTheOneAskedFor()
    {
        Analyser analyser;
        const auto coreRules = [&](Standard::Id id) {
            return analyser.analyse(id, QStringLiteral("port 1")).core().rules.size();
        };

        QCOMPARE(coreRules(Standard::IEC61300_3_35_SM_RL45), 5);
        QCOMPARE(coreRules(Standard::IEC61300_3_35_SM_RL26), 6);
        QVERIFY(analyser.analyse(Standard::Manual, QStringLiteral("port 1")).error());
    }

    void bothImagesAreFiledUnderTheName()
    {
        Analyser analyser;

        analyser.analyse(anyStandard, QStringLiteral("port 1"));

        const QString folder = BaseDirHelper::fiberInspectionDir() + QStringLiteral("port 1/");
        QCOMPARE(analyser.lastSourceImagePath(), folder + QStringLiteral("source.jpg"));
        QCOMPARE(analyser.lastResultImagePath(), folder + QStringLiteral("result.jpg"));
        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), cameraImage());
        QCOMPARE(filed(QStringLiteral("port 1/result.jpg")), resultImage());
        QVERIFY(!resultImage().isEmpty());
    }

    void noStepImagesAndNoPartsAreLeft()
    {
        Analyser analyser;

        analyser.analyse(anyStandard, QStringLiteral("port 1"));

        QCOMPARE(filesBelow(mWorkDir->path()),
            (QStringList{QStringLiteral("data/fiber_inspection/port 1/result.jpg"),
                QStringLiteral("data/fiber_inspection/port 1/source.jpg"), QStringLiteral("tmp/fiber_image.jpg"),
                QStringLiteral("tmp/fiber_result_image.jpg")}));
    }

    void theSameNameReplacesTheImages()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        const QByteArray formerSource = filed(QStringLiteral("port 1/source.jpg"));
        DrawnFibre other;
        other.pitRadius = 15;
        QVERIFY(setCameraImage(other.jpeg()));

        analyser.analyse(anyStandard, QStringLiteral("port 1"));

        QVERIFY(cameraImage() != formerSource);
        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), cameraImage());
        QCOMPARE(filed(QStringLiteral("port 1/result.jpg")), resultImage());
    }

    void anotherNameLeavesTheFormerImagesAlone()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        const QByteArray former = filed(QStringLiteral("port 1/source.jpg"));
        DrawnFibre other;
        other.pitRadius = 15;
        QVERIFY(setCameraImage(other.jpeg()));

        analyser.analyse(anyStandard, QStringLiteral("port 2"));

        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), former);
        QCOMPARE(filed(QStringLiteral("port 2/source.jpg")), cameraImage());
    }

    void aNameBecomesAFolderWithinTheInspectionDirectory_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("folder");
        const auto row = [](const char *text, const QString &name, const QString &folder) {
            QTest::newRow(text) << name << folder;
        };
        const auto same = [&](const char *text, const char *name) {
            row(text, QString::fromUtf8(name), QString::fromUtf8(name) + QLatin1Char('/'));
        };
        same("plain", "port 1");
        same("nested", "a/b/c");
        same("one placeholder", "%1");
        same("many placeholders", "%2%1/%99 %L1");
        same("other scripts", "Stoß 光纤 \xF0\x9F\x94\xA6");
        same("what a shell would expand", "$(reboot); * ~ \\ 'x' \"y\"");
        same("a line break", "upper\nlower");
        same("leading dots", "..hidden/...");
        same("255 bytes", QByteArray(255, 'x').constData());
        row("empty", QString(), QString());
        row("a dot", QStringLiteral("."), QString());
        row("absolute", QStringLiteral("/etc/passwd"), QStringLiteral("etc/passwd/"));
        row("there and back", QStringLiteral("../fiber_inspection/port 1"), QStringLiteral("port 1/"));
        row("slash at the end", QStringLiteral("port 1/"), QStringLiteral("port 1/"));
    }
    void aNameBecomesAFolderWithinTheInspectionDirectory()
    {
        QFETCH(QString, name);
        QFETCH(QString, folder);
        QVERIFY(QDir().mkpath(inspectionPath({})));
        const LogCapture log;
        Analyser analyser;

        const TestResult result = analyser.analyse(anyStandard, name);

        QVERIFY(!result.error());
        QCOMPARE(log.warnings(), QStringList());
        QCOMPARE(filed(folder + QStringLiteral("source.jpg")), cameraImage());
        QCOMPARE(filed(folder + QStringLiteral("result.jpg")), resultImage());
        QCOMPARE(filesBelow(mWorkDir->path()).size(), 4);
        QCOMPARE(
            analyser.lastSourceImagePath(), BaseDirHelper::fiberInspectionDir() + name + QStringLiteral("/source.jpg"));
        QCOMPARE(
            analyser.lastResultImagePath(), BaseDirHelper::fiberInspectionDir() + name + QStringLiteral("/result.jpg"));
    }

    void aNameThatLeadsOutOfTheDirectoryFilesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("the parent") << QStringLiteral("..");
        QTest::newRow("a sibling") << QStringLiteral("../x");
        QTest::newRow("a sibling of like name") << QStringLiteral("../fiber_inspection2");
        QTest::newRow("out by way of a folder") << QStringLiteral("a/../../x");
        QTest::newRow("out by way of doubled slashes") << QStringLiteral("a//..//..//x");
        QTest::newRow("up to the root") << QStringLiteral("../../../../../../../../../../x");
        QTest::newRow("the camera's folder") << QStringLiteral("../../tmp");
        QTest::newRow("NUL at the end") << QStringLiteral("port") + QChar::Null;
        QTest::newRow("NUL before the way out") << QStringLiteral("port") + QChar::Null + QStringLiteral("/../../x");
    }
    void aNameThatLeadsOutOfTheDirectoryFilesNothing()
    {
        QFETCH(QString, name);
        const QByteArray precious("no image of ours");
        QVERIFY(writeFile(mWorkDir->filePath(QStringLiteral("data/source.jpg")), precious));
        QVERIFY(writeFile(mWorkDir->filePath(QStringLiteral("tmp/result.jpg")), precious));
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        const QStringList before = filesBelow(mWorkDir->path());
        const LogCapture log;

        const TestResult result = analyser.analyse(anyStandard, name);

        QVERIFY(!result.error());
        QVERIFY(result.passed());
        QCOMPARE(filesBelow(mWorkDir->path()), before);
        QCOMPARE(readFile(mWorkDir->filePath(QStringLiteral("data/source.jpg"))), precious);
        QCOMPARE(readFile(mWorkDir->filePath(QStringLiteral("tmp/result.jpg"))), precious);
        QVERIFY(analyser.lastSourceImagePath().isEmpty());
        QVERIFY(analyser.lastResultImagePath().isEmpty());
        QCOMPARE(log.warnings().size(), 1);
        QVERIFY(log.warnings().constFirst().startsWith(
            QStringLiteral("not filed, the name leads out of the inspection directory:")));
    }

    void aNameThatNoFileSystemTakesIsLogged_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("256 bytes") << QString(256, QLatin1Char('x'));
        QTest::newRow("deeper than any path") << QStringLiteral("xxxxxxxx/").repeated(600);
        QTest::newRow("a mebibyte") << QString(1024 * 1024, QLatin1Char('x'));
    }
    void aNameThatNoFileSystemTakesIsLogged()
    {
        QFETCH(QString, name);
        const LogCapture log;
        Analyser analyser;

        const TestResult result = analyser.analyse(anyStandard, name);

        QVERIFY(!result.error());
        QCOMPARE(filesBelow(mWorkDir->path()).size(), 2);
        const QString folder = BaseDirHelper::fiberInspectionDir() + name + QLatin1Char('/');
        QCOMPARE(analyser.lastSourceImagePath(), folder + QStringLiteral("source.jpg"));
        QCOMPARE(analyser.lastResultImagePath(), folder + QStringLiteral("result.jpg"));
        QCOMPARE(log.warnings(),
            (QStringList{QStringLiteral("folder not created: \"%1\"").arg(folder),
                notFiled(folder + QStringLiteral("source.jpg")), notFiled(folder + QStringLiteral("result.jpg"))}));
    }

    void imagesAreFiledAlsoAfterAnError()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        const QByteArray formerResult("a\r\nb\r\n"); // every byte counts
        QVERIFY(writeFile(BaseDirHelper::tmpFiberInspectionResultImagePath(), formerResult));
        const QByteArray noImage("the lens cap was on\r\n");
        QVERIFY(setCameraImage(noImage));

        const TestResult result = analyser.analyse(anyStandard, QStringLiteral("port 2"));

        QVERIFY(result.error());
        QCOMPARE(filed(QStringLiteral("port 2/source.jpg")), noImage);
        QCOMPARE(filed(QStringLiteral("port 2/result.jpg")), formerResult); // of the fibre before
        QVERIFY(analyser.lastSourceImagePath().endsWith(QStringLiteral("/port 2/source.jpg")));
        QVERIFY(analyser.lastResultImagePath().endsWith(QStringLiteral("/port 2/result.jpg")));
    }

    void withoutACameraImageTheFormerOneGoes()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        QVERIFY(QFile::remove(BaseDirHelper::tmpFiberInspectionImagePath()));
        const LogCapture log;

        const TestResult result = analyser.analyse(anyStandard, QStringLiteral("port 1"));

        QVERIFY(result.error());
        QVERIFY(filed(QStringLiteral("port 1/source.jpg")).isNull());
        QCOMPARE(filed(QStringLiteral("port 1/result.jpg")), resultImage());
        QCOMPARE(log.warnings(), QStringList{missing(BaseDirHelper::tmpFiberInspectionImagePath())});
        QVERIFY(log.debugs().contains(QStringLiteral("Failed to load image")));
    }

    void withoutAnyImageTheFolderIsMadeAllTheSame()
    {
        QVERIFY(QFile::remove(BaseDirHelper::tmpFiberInspectionImagePath()));
        const LogCapture log;
        Analyser analyser;

        QVERIFY(analyser.analyse(anyStandard, QStringLiteral("a/b")).error());

        QVERIFY(QFileInfo(inspectionPath(QStringLiteral("a/b"))).isDir());
        QVERIFY(filesBelow(mWorkDir->path()).isEmpty());
        QCOMPARE(log.warnings(),
            (QStringList{missing(BaseDirHelper::tmpFiberInspectionImagePath()),
                missing(BaseDirHelper::tmpFiberInspectionResultImagePath())}));
        QVERIFY(!analyser.lastSourceImagePath().isEmpty());
    }

    void aCameraImageThatIsAFolderIsNotFiled()
    {
        QVERIFY(QFile::remove(BaseDirHelper::tmpFiberInspectionImagePath()));
        QVERIFY(QDir().mkpath(BaseDirHelper::tmpFiberInspectionImagePath()));
        const LogCapture log;
        Analyser analyser;

        QVERIFY(analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QVERIFY(log.warnings().contains(missing(BaseDirHelper::tmpFiberInspectionImagePath())));
    }

    void aPipeInPlaceOfAPhotographIsNotWaitedFor()
    {
        const QString path = BaseDirHelper::tmpFiberInspectionImagePath();
        pathOfPipe() = path;

        const FiberInspection::LoadedImage image = FiberInspection::loadImage(path);

        QVERIFY(pathOfPipe().isEmpty() && !isPipeWaitedFor());
        QVERIFY(image.image.isNull());
        QCOMPARE(image.reason, Inspection::Reason::NotAFile);
    }

    void aPipeInPlaceOfTheFormerResultIsNotWaitedFor()
    {
        const QString path = BaseDirHelper::tmpFiberInspectionResultImagePath();
        QVERIFY(setCameraImage("no picture")); // without a verdict the result is the one of before
        QVERIFY(writeFile(path, "former result"));
        Analyser analyser;
        pathOfPipe() = path;

        analyser.analyse(anyStandard, QStringLiteral("pipe"));

        QVERIFY(pathOfPipe().isEmpty() && !isPipeWaitedFor());
        QVERIFY(!QFileInfo::exists(analyser.lastResultImagePath()));
        QVERIFY(mLog->warnings().contains(notFiled(analyser.lastResultImagePath())));
    }

    void aFolderInPlaceOfAPictureStays()
    {
        QVERIFY(QDir().mkpath(inspectionPath(QStringLiteral("port 1/source.jpg/inner"))));
        const LogCapture log;
        Analyser analyser;

        QVERIFY(!analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QVERIFY(QFileInfo(inspectionPath(QStringLiteral("port 1/source.jpg/inner"))).isDir());
        QCOMPARE(filed(QStringLiteral("port 1/result.jpg")), resultImage());
        QCOMPARE(log.warnings(), QStringList{notFiled(analyser.lastSourceImagePath())});
    }

    void theOnlyCopySurvivesFoldersLinkedToEachOther()
    {
        // The camera writes right into the folder of the test, by way of a link.
        QVERIFY(QDir().mkpath(inspectionPath(QStringLiteral("port 1"))));
        const QByteArray image = cameraImage();
        const QString tmp = mWorkDir->filePath(QStringLiteral("tmp"));
        QVERIFY(writeFile(inspectionPath(QStringLiteral("port 1/source.jpg")), image));
        QVERIFY(QDir(tmp).removeRecursively());
        QVERIFY(QFile::link(inspectionPath(QStringLiteral("port 1")), tmp));
        QVERIFY(QFile::rename(inspectionPath(QStringLiteral("port 1/source.jpg")),
            inspectionPath(QStringLiteral("port 1/fiber_image.jpg"))));
        QVERIFY(QFile::link(QStringLiteral("fiber_image.jpg"), inspectionPath(QStringLiteral("port 1/source.jpg"))));
        Analyser analyser;

        QVERIFY(!analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QCOMPARE(readFile(BaseDirHelper::tmpFiberInspectionImagePath()), image);
        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), image);
    }

    void aPictureThatIsTheCameraImageItselfStays()
    {
        // The camera's fixed path leads to the very file that is to be replaced.
        QVERIFY(QDir().mkpath(inspectionPath(QStringLiteral("port 1"))));
        const QByteArray image = cameraImage();
        QVERIFY(QFile::rename(mWorkDir->filePath(QStringLiteral("tmp/fiber_image.jpg")),
            inspectionPath(QStringLiteral("port 1/source.jpg"))));
        QVERIFY(QFile::link(inspectionPath(QStringLiteral("port 1/source.jpg")),
            mWorkDir->filePath(QStringLiteral("tmp/fiber_image.jpg"))));
        const LogCapture log;
        Analyser analyser;

        QVERIFY(!analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), image);
        QCOMPARE(cameraImage(), image);
        QCOMPARE(log.warnings(), QStringList());
    }

    void whatAKilledProcessHasLeftIsSwept()
    {
        QVERIFY(QDir().mkpath(inspectionPath(QStringLiteral("port 1"))));
        for (const QString &folder :
            {mWorkDir->filePath(QStringLiteral("tmp")), inspectionPath(QStringLiteral("port 1"))}) {
            const QString left = folder + QStringLiteral("/.unfinished-3w5e11264sgsf");
            QVERIFY(writeFile(left, "half a picture"));
            QFile file(left);
            QVERIFY(file.open(QIODevice::ReadWrite));
            QVERIFY(file.setFileTime(QDateTime::currentDateTime().addSecs(-7200), QFileDevice::FileModificationTime));
        }
        Analyser analyser;

        QVERIFY(!analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        const QStringList files = filesBelow(mWorkDir->path());
        QCOMPARE(files.filter(QStringLiteral("unfinished")), QStringList());
        QCOMPARE(files.size(), 4); // photograph and result, here and there
    }

    void aLinkGivesWayToThePicture()
    {
        const QTemporaryDir elsewhere;
        const QByteArray precious("not ours");
        const QString target = elsewhere.filePath(QStringLiteral("precious"));
        QVERIFY(writeFile(target, precious));
        QVERIFY(QDir().mkpath(inspectionPath(QStringLiteral("port 1"))));
        QVERIFY(QFile::link(target, inspectionPath(QStringLiteral("port 1/source.jpg"))));
        Analyser analyser;

        analyser.analyse(anyStandard, QStringLiteral("port 1"));

        QCOMPARE(readFile(target), precious);
        QVERIFY(!QFileInfo(inspectionPath(QStringLiteral("port 1/source.jpg"))).isSymLink());
        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), cameraImage());
    }

    void aHardLinkOfThePictureKeepsItsBytes()
    {
        const QByteArray former("the picture of last year");
        QVERIFY(QDir().mkpath(inspectionPath(QStringLiteral("port 1"))));
        const QString archived = mWorkDir->filePath(QStringLiteral("archived.jpg"));
        QVERIFY(writeFile(archived, former));
        QCOMPARE(link(QFile::encodeName(archived).constData(),
                     QFile::encodeName(inspectionPath(QStringLiteral("port 1/source.jpg"))).constData()),
            0);
        Analyser analyser;

        analyser.analyse(anyStandard, QStringLiteral("port 1"));

        QCOMPARE(readFile(archived), former);
        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), cameraImage());
    }

    void aFileInPlaceOfTheFolderIsLogged()
    {
        QVERIFY(writeFile(mWorkDir->filePath(QStringLiteral("data/fiber_inspection")), "in the way"));
        const LogCapture log;
        Analyser analyser;

        QVERIFY(!analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QCOMPARE(readFile(mWorkDir->filePath(QStringLiteral("data/fiber_inspection"))), QByteArray("in the way"));
        const QString folder = BaseDirHelper::fiberInspectionDir() + QStringLiteral("port 1/");
        QCOMPARE(log.warnings(),
            (QStringList{QStringLiteral("folder not created: \"%1\"").arg(folder),
                notFiled(folder + QStringLiteral("source.jpg")), notFiled(folder + QStringLiteral("result.jpg"))}));
    }

    void aMissingTemporaryFolderIsAnError()
    {
        QVERIFY(QDir(mWorkDir->filePath(QStringLiteral("tmp"))).removeRecursively());
        Analyser analyser;

        QVERIFY(analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QVERIFY(filesBelow(mWorkDir->path()).isEmpty());
    }

    void aFullDiskLeavesNoPictureOfAnotherFibre()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        QVERIFY(!resultImage().isEmpty());
        DrawnFibre other;
        other.pitRadius = 15;
        QVERIFY(setCameraImage(other.jpeg()));
        const LogCapture log;
        TestResult result;

        {
            const Faults::FileSizeLimit noFiles(1024);
            result = analyser.analyse(anyStandard, QStringLiteral("port 1"));
        }

        QVERIFY(!result.error());
        QVERIFY(!result.passed());
        QCOMPARE(filesBelow(mWorkDir->path()), QStringList{QStringLiteral("tmp/fiber_image.jpg")});
        QCOMPARE(log.warnings(),
            (QStringList{QStringLiteral("result image not written: \"%1\"")
                             .arg(BaseDirHelper::tmpFiberInspectionResultImagePath()),
                notFiled(analyser.lastSourceImagePath()),
                missing(BaseDirHelper::tmpFiberInspectionResultImagePath())}));
    }

    void aReadOnlyFolderKeepsItsPictures()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        const QByteArray formerSource = filed(QStringLiteral("port 1/source.jpg"));
        const QByteArray formerResult = filed(QStringLiteral("port 1/result.jpg"));
        DrawnFibre other;
        other.pitRadius = 15;
        QVERIFY(setCameraImage(other.jpeg()));
        const QString folder = inspectionPath(QStringLiteral("port 1"));
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        const LogCapture log;
        bool error = true;
        bool passed = true;

        Faults::withoutOverride([&] {
            const TestResult result = analyser.analyse(anyStandard, QStringLiteral("port 1"));
            error = result.error();
            passed = result.passed();
        });
        QVERIFY(QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

        QVERIFY(!error);
        QVERIFY(!passed);
        QCOMPARE(filed(QStringLiteral("port 1/source.jpg")), formerSource);
        QCOMPARE(filed(QStringLiteral("port 1/result.jpg")), formerResult);
        QCOMPARE(log.warnings(),
            (QStringList{notFiled(analyser.lastSourceImagePath()), notFiled(analyser.lastResultImagePath())}));
    }

    void aReadOnlyInspectionDirectoryTakesNoNewFolder()
    {
        QVERIFY(QDir().mkpath(inspectionPath({})));
        QVERIFY(QFile::setPermissions(inspectionPath({}), QFile::ReadOwner | QFile::ExeOwner));
        const LogCapture log;
        Analyser analyser;

        Faults::withoutOverride([&] { analyser.analyse(anyStandard, QStringLiteral("port 1")); });
        QVERIFY(QFile::setPermissions(inspectionPath({}), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));

        QVERIFY(filesBelow(inspectionPath({})).isEmpty());
        QCOMPARE(log.warnings().size(), 3);
        QVERIFY(log.warnings().constFirst().startsWith(QStringLiteral("folder not created:")));
    }

    void aCameraImageThatCannotBeReadIsLogged()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        QVERIFY(QFile::setPermissions(BaseDirHelper::tmpFiberInspectionImagePath(), QFile::Permissions()));
        const LogCapture log;
        bool error = false;

        Faults::withoutOverride([&] { error = analyser.analyse(anyStandard, QStringLiteral("port 1")).error(); });

        QVERIFY(error);
        QVERIFY(!QFile::exists(inspectionPath(QStringLiteral("port 1/source.jpg"))));
        QVERIFY(log.warnings().contains(notFiled(analyser.lastSourceImagePath())));
    }

    void aPhotographThatIsTooLargeIsNotCopied()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        QFile photograph(BaseDirHelper::tmpFiberInspectionImagePath());
        QVERIFY(photograph.resize(FiberInspection::LoadedImage::maxFileSize + 1)); // a hole, which takes no room
        const LogCapture log;

        QVERIFY(analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        QCOMPARE(analyser.lastInspection().reason(), Inspection::Reason::ImageTooLarge);
        QCOMPARE(filesBelow(inspectionPath({})), QStringList(QStringLiteral("port 1/result.jpg")));
        QCOMPARE(log.warnings(), QStringList(notFiled(analyser.lastSourceImagePath())));
    }

    void whatDoesNotFitLeavesNothing()
    {
        constexpr int limit = 512 * 1024;
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        // Bytes behind the end of a picture are no part of it.
        QVERIFY(setCameraImage(DrawnFibre().jpeg() + QByteArray(3 * limit, '\0')));
        const LogCapture log;
        bool error = true;

        {
            const Faults::FileSizeLimit noBigFiles(limit);
            error = analyser.analyse(anyStandard, QStringLiteral("port 1")).error();
        }

        QVERIFY(!error);
        QCOMPARE(filed(QStringLiteral("port 1/result.jpg")), resultImage());
        QCOMPARE(log.warnings(), QStringList{notFiled(analyser.lastSourceImagePath())});
        QCOMPARE(filesBelow(mWorkDir->path()).size(), 3); // no part of it is left, nor of the former one
    }

    void aPictureOfAnySizeIsWholeOrNotThere_data()
    {
        QTest::addColumn<int>("limit");
        // Small files are written at the last moment, large ones piece by piece.
        for (const int limit : {1, 1000, 4096, 9000, 16384, 20000, 100000, 1024 * 1024, 1100000})
            QTest::addRow("%d bytes", limit) << limit;
    }
    void aPictureOfAnySizeIsWholeOrNotThere()
    {
        QFETCH(int, limit);
        Analyser analyser;
        QVERIFY(!analyser.analyse(anyStandard, QStringLiteral("port 1")).error());

        for (const int size : {limit - 1, limit, limit + 1, limit + 5000}) {
            const QByteArray image(size, static_cast<char>('a' + size % 26));
            QVERIFY(setCameraImage(image));
            {
                const Faults::FileSizeLimit noBigFiles(static_cast<rlim_t>(limit));
                analyser.analyse(anyStandard, QStringLiteral("port 1"));
            }
            const bool fits = size <= limit;
            QVERIFY(filed(QStringLiteral("port 1/source.jpg")) == (fits ? image : QByteArray()));
            const QStringList files = filesBelow(inspectionPath(QStringLiteral("port 1")));
            QCOMPARE(files.contains(QStringLiteral("source.jpg")), fits);
            QVERIFY(files.size() <= 2);
        }
    }

    void aFullDiskLeavesNothingOfTheFormerPictures_data()
    {
        QTest::addColumn<int>("freeKibibytes");
        QTest::newRow("a limit in place of a disk") << -1;
        if (!Faults::withSmallDisk(QDir::tempPath(), 64, [] {}))
            return; // needs the right to mount
        QTest::newRow("room for the smaller picture") << 4;
        QTest::newRow("room for half a picture") << 8;
        QTest::newRow("no room at all") << 0;
    }
    void aFullDiskLeavesNothingOfTheFormerPictures()
    {
        QFETCH(int, freeKibibytes);
        constexpr int page = 4096;
        QVERIFY(cameraImage().size() > 2 * page);
        QVERIFY(QDir().mkpath(inspectionPath({})));
        const QByteArray former(page, 'f');
        QStringList files;
        QByteArray source;
        QByteArray result;
        bool error = true;
        Analyser analyser;
        const LogCapture log;

        const auto fillAndAnalyse = [&] {
            QDir().mkpath(inspectionPath(QStringLiteral("port 1")));
            writeFile(inspectionPath(QStringLiteral("port 1/source.jpg")), former);
            writeFile(inspectionPath(QStringLiteral("port 1/result.jpg")), former);
            error = analyser.analyse(anyStandard, QStringLiteral("port 1")).error();
            source = filed(QStringLiteral("port 1/source.jpg"));
            result = filed(QStringLiteral("port 1/result.jpg"));
            files = filesBelow(inspectionPath(QStringLiteral("port 1")));
        };
        if (freeKibibytes < 0) {
            const Faults::FileSizeLimit limit(page);
            fillAndAnalyse();
        } else {
            QVERIFY(Faults::withSmallDisk(inspectionPath({}), 2 * page / 1024 + freeKibibytes, fillAndAnalyse));
        }

        QVERIFY(!error);
        QVERIFY(resultImage().size() <= page);
        // The former pictures have made room, each for its own.
        const bool sourceFits = freeKibibytes >= 0 && cameraImage().size() <= page + freeKibibytes * 1024;
        QVERIFY(source == (sourceFits ? cameraImage() : QByteArray()));
        QVERIFY(result == resultImage());
        QCOMPARE(files.size(), sourceFits ? 2 : 1);
        QStringList expectedWarnings;
        if (!sourceFits)
            expectedWarnings << notFiled(analyser.lastSourceImagePath());
        QCOMPARE(log.warnings(), expectedWarnings);
    }

    void exceptionsReachTheCaller()
    {
        Analyser analyser;
        analyser.analyse(anyStandard, QStringLiteral("port 1"));
        QVERIFY(analyser.lastInspection().hasVerdict());
        mWorkDir.reset();
        const ThrowingDirectories directories;

        QVERIFY_EXCEPTION_THROWN(analyser.analyse(anyStandard, QStringLiteral("port 1")), std::runtime_error);

        // Nothing of the one before.
        QVERIFY(analyser.lastInspection() == Inspection());
        QCOMPARE(analyser.lastSourceImagePath(), QString());
        QCOMPARE(analyser.lastResultImagePath(), QString());
    }

    void theLastInspectionIsTheOneThatEndedLast()
    {
        Analyser analyser;
        QVERIFY(analyser.lastInspection() == Inspection());

        const TestResult result = analyser.analyse(anyStandard, QStringLiteral("port 1"));
        QVERIFY(analyser.lastInspection().hasVerdict());
        QCOMPARE(analyser.lastInspection().standardId(), anyStandard);
        QCOMPARE(analyser.lastInspection().passed(), result.passed());

        const auto filed = analyser.inspectAndFile(Standard::IEC61300_3_35_MM, QStringLiteral("port 2"));
        QCOMPARE(analyser.lastInspection().standardId(), Standard::IEC61300_3_35_MM);
        QVERIFY(analyser.lastInspection() == filed.inspection);
        QCOMPARE(analyser.lastSourceImagePath(), filed.sourceImagePath);
        QCOMPARE(analyser.lastResultImagePath(), filed.resultImagePath);
    }

    void theEndOfAThreadThatLooksAtAFrameIsNoException()
    {
        const ForkedChild child = EndedThread::run([] {
            endsInLoop() = true;
            std::vector<uchar> frame(100);
            Analyser::getBlurLevel(frame.data(), 10, 10, 10, Circle());
        });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }

    void theLimitOfPixelsCounts()
    {
        const qint64 former = Analyser::maxImagePixels();
        const QSize size = DrawnFibre().size;
        const auto reasonWithLimit = [](qint64 pixels) {
            Analyser analyser;
            Analyser::setMaxImagePixels(pixels);
            analyser.analyse(anyStandard, QStringLiteral("port 1"));
            return analyser.lastInspection().reason();
        };
        const Inspection::Reason large = reasonWithLimit(qint64(size.width()) * size.height() - 1);
        const Inspection::Reason fitting = reasonWithLimit(qint64(size.width()) * size.height());
        Analyser::setMaxImagePixels(former);

        QCOMPARE(large, Inspection::Reason::ImageTooLarge);
        QCOMPARE(fitting, Inspection::Reason::None);
    }
};

QTEST_GUILESS_MAIN(TestAnalyser)
#include "tst_analyser.moc"
