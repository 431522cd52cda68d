// SPDX-License-Identifier: Apache-2.0
#include "BowedStripes.h"
#include "DrawnFibre.h"
#include "EndedThread.h"
#include "Faults.h"
#include "FiberInspection/Analyser.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/Inspection.h"
#include "ForkedChild.h"
#include "LogCapture.h"
#include "WorkDir.h"
#include "simulation/EndfaceScenes.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QLoggingCategory>
#include <QRandomGenerator>
#include <QSemaphore>
#include <QSet>
#include <QThread>
#include <QThreadPool>
#include <QtTest>

#include <array>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <limits>
#include <malloc.h>
#include <stdexcept>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace FiberInspection;
using Reason = Inspection::Reason;

Q_DECLARE_METATYPE(FiberInspection::Inspection::Reason)
Q_DECLARE_METATYPE(std::function<void()>)

namespace {
constexpr int mappedSize = 64 * 1024; ///< bytes; a piece of memory as large as this is gone when it is freed
constexpr Standard::Id usual = Standard::IEC61300_3_35_SM_RL45;

QImage paintedFace(const char *preset)
{
    static QHash<QString, QImage> faces; // painting takes longer than what is done with them
    QImage &face = faces[QLatin1String(preset)];
    if (face.isNull())
        face = paintEndface(endfacePreset(QLatin1String(preset)));
    return face;
}

/// Faces of all sorts, most of them near the margin between passed and failed.
QVector<QImage> someFaces()
{
    constexpr int count = 8;
    QVector<QImage> faces;
    for (quint32 seed = 0; seed < count; ++seed)
        faces.append(paintEndface(randomEndfaceScene(seed)));
    return faces;
}

InspectionOptions withSeed(quint64 seed)
{
    InspectionOptions options;
    options.seed = seed;
    return options;
}

/// Its core is no brighter than the cladding, so there is nothing to paint over at random.
cv::Mat evenFace()
{
    constexpr int core = 14; // pixels
    DrawnFibre fibre;
    fibre.pitRadius = 6;
    cv::Mat gray = fibre.gray();
    const cv::Point middle(qRound(fibre.center.x()), qRound(fibre.center.y()));
    cv::circle(gray, middle, core, gray.at<uchar>(middle + cv::Point(0, core + 4)), cv::FILLED);
    return gray;
}

/// The pictures of all steps, by their names.
QVector<QPair<QString, QImage>> stepsOf(const QImage &image, InspectionOptions options)
{
    QVector<QPair<QString, QImage>> steps;
    options.onStep = [&steps](const QString &step, const QImage &picture) { steps.append({step, picture}); };
    inspect(image, usual, Device::ks20(), options);
    return steps;
}

/// An inspection with the pictures of its steps and what its log says, but for the times.
struct WatchedInspection
{
    Inspection inspection;
    QVector<QPair<QString, QImage>> steps;
    QStringList log;
};

/// @param inspectWith is given the options
template <typename InspectWith>
WatchedInspection watched(InspectWith inspectWith)
{
    WatchedInspection watched;
    InspectionOptions options = withSeed(3);
    options.onStep = [&](const QString &step, const QImage &picture) { watched.steps.append({step, picture}); };
    const LogCapture log;
    QLoggingCategory::setFilterRules(QStringLiteral("vantor.inspection=true"));
    watched.inspection = inspectWith(options);
    QLoggingCategory::setFilterRules({});
    static const QRegularExpression time(QStringLiteral("[0-9]+(?= ms$)|(?<=TOOK )[0-9]+"));
    const QStringList lines = log.asText();
    for (const QString &line : lines)
        watched.log.append(QString(line).remove(time));
    return watched;
}

/// The core after it was painted over.
QImage paintOver(const QImage &image, const InspectionOptions &options)
{
    const auto steps = stepsOf(image, options);
    for (const auto &step : steps) {
        if (step.first == QLatin1String("03_cropped_without_core"))
            return step.second;
    }
    return {};
}

/// All that was freed before and can be used again.
void takeWhatIsLeft()
{
    constexpr std::size_t smallest = 16; // bytes
    for (std::size_t size = mappedSize; size >= smallest; size -= smallest) {
        void *volatile taken = nullptr;
        do
            taken = std::malloc(size);
        while (taken);
    }
}

/// Counts how often a file is opened while the object lives.
class OpenCounter
{
public:
    explicit OpenCounter(const QString &path)
        : mNotifier(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
        , mIsWatching(inotify_add_watch(mNotifier, QFile::encodeName(path).constData(), IN_OPEN) >= 0)
    {
    }
    ~OpenCounter() { close(mNotifier); }
    OpenCounter(const OpenCounter &) = delete;
    OpenCounter &operator=(const OpenCounter &) = delete;

    bool isWatching() const { return mIsWatching; }

    int count() const
    {
        int opened = 0;
        alignas(inotify_event) char events[4096];
        for (ssize_t size = 0; (size = read(mNotifier, events, sizeof events)) > 0;) {
            for (const char *at = events; at < events + size;) {
                const auto *const event = reinterpret_cast<const inotify_event *>(at);
                opened += (event->mask & IN_OPEN) != 0 ? 1 : 0;
                at += sizeof(inotify_event) + event->len;
            }
        }
        return opened;
    }

private:
    int mNotifier;
    bool mIsWatching;
};
} // namespace

class TestInspection : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mFolder;

    QString in(const QString &name) const { return mFolder.filePath(name); }

    QString stored(const QString &name, const QByteArray &bytes) const
    {
        QFile file(in(name));
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? file.fileName() : QString();
    }
    QString stored(const QString &name, const QImage &image) const
    {
        return image.save(in(name)) ? in(name) : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        QVERIFY(!Faults::canLimitMemory || mallopt(M_MMAP_THRESHOLD, mappedSize) != 0);
    }

    // Comes first: the threads of OpenCV, once started, are there for good.
    void oneInspectionStartsNoThread()
    {
        enum Outcome : int { Nothing, NoVerdict, Threads, NoThreadsEver };
        if (std::thread::hardware_concurrency() < 2)
            QSKIP("OpenCV has no threads to start here");
        const ForkedChild child = ForkedChild::run([] {
            const auto threads = [] { return QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs).size(); };
            cv::setNumThreads(1); // the painter starts none either
            const cv::Mat gray = DrawnFibre().gray();
            cv::setNumThreads(4);
            QImage image(gray.cols, gray.rows, QImage::Format_RGB32);
            for (int y = 0; y < gray.rows; ++y) {
                for (int x = 0; x < gray.cols; ++x)
                    image.setPixel(x, y, qRgb(gray.at<uchar>(y, x), gray.at<uchar>(y, x), gray.at<uchar>(y, x)));
            }
            const int before = threads();

            const Inspection inspection = inspect(image, usual);
            inspection.annotatedImage();

            if (threads() != before)
                return Threads;
            cv::parallel_for_(cv::Range(0, 64), [](const cv::Range &) { QThread::msleep(1); });
            return threads() == before ? NoThreadsEver : inspection.hasVerdict() ? Nothing : NoVerdict;
        });

        QCOMPARE(child.exitCode, int(Nothing));
    }

    // --- the value

    void withoutAnInspectionThereIsNoVerdict()
    {
        const Inspection inspection;

        QVERIFY(!inspection.hasVerdict() && !inspection.passed());
        QCOMPARE(inspection.reason(), Reason::NotInspected);
        QVERIFY(!inspection.reasonText().isEmpty());
        QVERIFY(inspection.result().error());
        QVERIFY(inspection.defects().isEmpty() && inspection.image().isNull() && inspection.annotatedImage().isNull());
        QVERIFY(inspection == Inspection());
        QVERIFY(!inspection.saveAnnotatedImage(in(QStringLiteral("none.jpg"))));
        QVERIFY(!QFile::exists(in(QStringLiteral("none.jpg"))));
    }

    void aFaceIsMeasuredAndGraded()
    {
        const QImage face = paintedFace("pitted");

        const Inspection inspection = inspect(face, usual);

        QVERIFY(inspection.hasVerdict() && !inspection.passed());
        QCOMPARE(inspection.reason(), Reason::None);
        QCOMPARE(inspection.reasonText() + inspection.detail(), QString());
        QCOMPARE(inspection.standardId(), usual);
        QCOMPARE(inspection.micronsPerPixel(), 1.075F);
        QVERIFY(std::abs(inspection.claddingCircle().radius * 1.075F - 62.5F) < 3);
        QCOMPARE(inspection.crop().width(), inspection.crop().height());
        QVERIFY(face.rect().contains(inspection.crop()));
        const QPointF offMiddle = QRectF(inspection.crop()).center() - inspection.claddingCircle().center;
        QVERIFY(offMiddle.manhattanLength() <= 2);
        const GrayLevels &levels = inspection.grayLevels();
        QVERIFY(levels.cladding > 0 && levels.aroundCore >= levels.cladding && levels.aroundCladding > 0);
        const DefectCounts &counts = inspection.counts();
        QVERIFY(counts.contours >= counts.raw && counts.raw >= counts.merged);
        QVERIFY(counts.merged >= inspection.defects().size() && !inspection.defects().isEmpty());
    }

    void everyGradedDefectHasItsPlace()
    {
        const Inspection inspection = inspect(paintedFace("dirty"), usual);
        const QVector<Defect> core = inspection.result().coreDefects();
        const QVector<Defect> all = core + inspection.result().claddingDefects();
        QVERIFY(core.size() < all.size());

        QCOMPARE(inspection.defects().size(), all.size());
        for (int i = 0; i < all.size(); ++i) {
            const GradedDefect &graded = inspection.defects().at(i);
            const Defect &defect = all.at(i);
            QCOMPARE(graded.zone, i < core.size() ? Zone::Core : Zone::Cladding);
            QCOMPARE(graded.kind, defect.type);
            QCOMPARE(graded.sizeMicrons, static_cast<double>(defect.size));
            QCOMPARE(graded.causesFailure, defect.causesFailure);
            const QPointF pixels = graded.centerMicrons / static_cast<double>(inspection.micronsPerPixel());
            const QPointF middle(inspection.crop().width() / 2.0, inspection.crop().height() / 2.0);
            const QPointF difference = pixels + middle - defect.enclosingCircle.center;
            QVERIFY(difference.manhattanLength() < 1e-9);
        }
    }

    void aPitIsFoundWhereItWasPainted()
    {
        QImage face = paintedFace("clean");
        const Inspection clean = inspect(face, usual);
        QVERIFY(clean.passed());
        constexpr int right = 37; // pixels from the fibre
        constexpr int down = -21;
        const QPointF fibre = clean.claddingCircle().center;
        for (int y = -4; y <= 4; ++y) {
            for (int x = -4; x <= 4; ++x)
                face.setPixel(qRound(fibre.x()) + right + x, qRound(fibre.y()) + down + y, qRgb(20, 20, 20));
        }

        const Inspection inspection = inspect(face, usual);

        QCOMPARE(inspection.defects().size(), 1);
        const QPointF expected = QPointF(right, down) * 1.075;
        QVERIFY(QLineF(inspection.defects().constFirst().centerMicrons, expected).length() < 3);
        QCOMPARE(inspection.defects().constFirst().zone, Zone::Cladding);
    }

    void copiesAreEqualAndShareTheImage()
    {
        const QImage face = paintedFace("pitted");
        const Inspection inspection = inspect(face, usual, Device::ks20(), withSeed(1));
        const Inspection copy = inspection; // NOLINT(performance-unnecessary-copy-initialization)
        Inspection assigned = inspect(paintedFace("clean"), usual);
        QVERIFY(assigned != inspection);

        assigned = copy;

        QVERIFY(copy == inspection && assigned == inspection);
        QCOMPARE(inspection.image().constBits(), face.constBits());
        QCOMPARE(assigned.image().constBits(), face.constBits());
        QVERIFY(qvariant_cast<Inspection>(QVariant::fromValue(inspection)) == inspection);
    }

    void aFileIsDecodedIntoTheImageThatIsShared()
    {
        const QString path = stored(QStringLiteral("face.png"), paintedFace("pitted"));

        const Inspection inspection = inspectFile(path, usual);
        QImage painted = inspection.image();
        painted.fill(Qt::red);

        QCOMPARE(inspection.image().size(), QSize(800, 600));
        QVERIFY(inspection.image() != painted);
        QCOMPARE(inspection.image().convertToFormat(QImage::Format_RGB32),
            QImage(path).convertToFormat(QImage::Format_RGB32));
    }

    void theImageOutlivesTheInspection()
    {
        const QString path = stored(QStringLiteral("face.png"), paintedFace("clean"));
        QImage image;
        {
            const Inspection inspection = inspectFile(path, usual);
            image = inspection.image();
        }
        QCOMPARE(image.convertToFormat(QImage::Format_RGB32), QImage(path).convertToFormat(QImage::Format_RGB32));
    }

    // --- what comes in

    void aFileAndItsImageGiveTheSame_data()
    {
        QTest::addColumn<QString>("name");
        for (const char *const name : {"face.png", "face.jpg", "face.bmp", "face.ppm"})
            QTest::newRow(name) << QString::fromLatin1(name);
    }
    void aFileAndItsImageGiveTheSame()
    {
        QFETCH(QString, name);
        const QString path = stored(name, paintedFace("dirty"));
        const LoadedImage loaded = loadImage(path);
        QCOMPARE(loaded.reason, Reason::None);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));

        QVERIFY(inspectFile(path, usual, Device::ks20(), withSeed(3))
            == inspect(loaded.image, usual, Device::ks20(), withSeed(3)));
        QCOMPARE(decodeImage(file.readAll()).image, loaded.image);
    }

    void whatWasLoadedOnceIsInspectedAsItsFile_data()
    {
        QTest::addColumn<QString>("path");
        for (const char *const name : {"face.png", "face.jpg", "face.bmp", "face.ppm"})
            QTest::newRow(name) << stored(QLatin1String(name), paintedFace("dirty"));
        QTest::newRow("missing") << in(QStringLiteral("missing.jpg"));
        QTest::newRow("a folder") << mFolder.path();
        QTest::newRow("no image") << stored(QStringLiteral("text.jpg"), QByteArray("no image"));
    }
    void whatWasLoadedOnceIsInspectedAsItsFile()
    {
        QFETCH(QString, path);
        LoadedImage loaded;
        const QStringList logOfLoading = watched([&](const InspectionOptions &) {
            loaded = loadImage(path);
            return Inspection();
        }).log;

        for (const Standard::Id id : {Standard::IEC61300_3_35_SM_RL26, usual, Standard::IEC61300_3_35_MM}) {
            const auto ofLoaded =
                watched([&](const InspectionOptions &options) { return inspect(loaded, id, Device::ks20(), options); });
            const auto ofFile = watched(
                [&](const InspectionOptions &options) { return inspectFile(path, id, Device::ks20(), options); });

            QVERIFY(ofLoaded.inspection == ofFile.inspection);
            QCOMPARE(ofLoaded.inspection.problem(), ofFile.inspection.problem());
            QCOMPARE(ofLoaded.steps, ofFile.steps);
            QStringList log = ofFile.log;
            for (const QString &line : logOfLoading)
                QVERIFY2(log.removeOne(line), qPrintable(line));
            QCOMPARE(ofLoaded.log, log);
            QVERIFY(!log.isEmpty());
        }
    }

    void whatWasNeverLoadedIsNoImage()
    {
        const Inspection inspection = inspect(LoadedImage(), usual);

        QCOMPARE(inspection.reason(), Reason::NoImage);
    }

    void everyFormatOfImageIsTaken_data()
    {
        QTest::addColumn<int>("format");
        for (int format = QImage::Format_Mono; format < QImage::NImageFormats; ++format)
            QTest::newRow(qPrintable(QString::number(format))) << format;
    }
    void everyFormatOfImageIsTaken()
    {
        QFETCH(int, format);
        QImage gray = paintedFace("pitted").convertToFormat(QImage::Format_Grayscale8);
        const Inspection expected = inspect(gray, usual, Device::ks20(), withSeed(5));
        QImage image = gray.convertToFormat(static_cast<QImage::Format>(format));
        constexpr int bitsOfGray = 8;
        const bool keepsGrays = image.convertToFormat(QImage::Format_Grayscale8) == gray;

        const Inspection inspection = inspect(image, usual, Device::ks20(), withSeed(5));

        QCOMPARE(inspection.image().constBits(), image.constBits());
        QCOMPARE(inspection.annotatedImage(),
            inspect(image.convertToFormat(QImage::Format_BGR888), usual, Device::ks20(), withSeed(5)).annotatedImage());
        if (keepsGrays) {
            QCOMPARE(inspection.defects(), expected.defects());
            QCOMPARE(inspection.annotatedImage(), expected.annotatedImage());
        } else {
            QVERIFY(QImage::toPixelFormat(image.format()).redSize() < bitsOfGray); // it cannot
        }
    }

    void aScaledInspectionHoldsTheScaledImage()
    {
        InspectionOptions options = withSeed(1);
        options.scale = 1.25F;

        const Inspection inspection = inspect(paintedFace("clean"), usual, Device::ks20(), options);

        QVERIFY(inspection.hasVerdict());
        QCOMPARE(inspection.image().size(), QSize(640, 480));
        QCOMPARE(inspection.micronsPerPixel(), 860.0F / 640);
        QVERIFY(inspection.image().rect().contains(inspection.crop()));
    }

    void theFieldOfViewDecidesOnTheSizes()
    {
        Device device = Device::ks20();
        device.fov = QSize(430, 320); // the fibre seems half as large

        const Inspection inspection = inspect(paintedFace("clean"), usual, device);

        QCOMPARE(inspection.reason(), Reason::NoFibre);
        QCOMPARE(inspection.micronsPerPixel(), 0.5375F);
    }

    // --- why there is no verdict

    void aBadFileHasAReason_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<Reason>("reason");
        QTest::addColumn<QString>("detail");
        const auto row = [](const char *name, const QString &path, Reason reason, const char *detail) {
            QTest::newRow(name) << path << reason << QString::fromLatin1(detail);
        };
        const QString jpegPath = stored(QStringLiteral("whole.jpg"), paintedFace("clean"));
        QFile jpegFile(jpegPath);
        QVERIFY(jpegFile.open(QIODevice::ReadOnly));
        const QByteArray jpeg = jpegFile.readAll();
        const QString pipe = in(QStringLiteral("pipe.jpg"));
        QCOMPARE(mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        QVERIFY(QFile::link(in(QStringLiteral("nothing")), in(QStringLiteral("dangling.jpg"))));
        QFile huge(in(QStringLiteral("huge.jpg")));
        QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(300LL * 1024 * 1024)); // a hole

        row("missing", in(QStringLiteral("missing.jpg")), Reason::FileMissing, "no such file");
        row("no name", {}, Reason::FileMissing, "no such file");
        row("a folder", mFolder.path(), Reason::NotAFile, "not a file");
        row("a pipe that nobody writes to", pipe, Reason::NotAFile, "not a file");
        row("a dangling link", in(QStringLiteral("dangling.jpg")), Reason::FileMissing, "no such file");
        QVERIFY(QFile::link(in(QStringLiteral("circle.jpg")), in(QStringLiteral("circle.jpg"))));
        row("a circle of links", in(QStringLiteral("circle.jpg")), Reason::FileUnreadable,
            "Too many levels of symbolic links");
        row("a name that no file can have", in(QString(300, QLatin1Char('n'))), Reason::FileUnreadable,
            "File name too long");
        row("a NUL", in(QStringLiteral("whole.jpg")) + QChar(QChar::Null), Reason::FileMissing, "no such file");
        row("no resource", QStringLiteral(":/none.jpg"), Reason::FileMissing, "no such file");
        // Refused to root as well; a file without permissions would be read.
        row("not for reading", QStringLiteral("/proc/self/mem"), Reason::FileUnreadable, "Input/output error");
        row("empty", stored(QStringLiteral("empty.jpg"), QByteArray()), Reason::FileEmpty, "the file is empty");
        row("too many bytes", huge.fileName(), Reason::ImageTooLarge, "314572800 bytes are too many");
        row("text", stored(QStringLiteral("text.jpg"), QByteArray("no image")), Reason::UnknownFormat,
            "not an image of a known format");
        row("half a JPEG", stored(QStringLiteral("half.jpg"), jpeg.left(jpeg.size() / 2)), Reason::ImageDamaged, "");
        row("too many pixels", stored(QStringLiteral("large.pgm"), QByteArray("P5 5000 5000 255\n")),
            Reason::ImageTooLarge, "5000 x 5000 pixels are too many");
        row("too wide", stored(QStringLiteral("wide.pgm"), QByteArray("P5 5000000 1 255\n")), Reason::ImageTooLarge,
            "5000000 x 1 pixels are too many");
        row("no pixels", stored(QStringLiteral("none.pgm"), QByteArray("P5 0 10 255\n")), Reason::ImageDamaged,
            "the image has no size");
        QImage gray(800, 600, QImage::Format_Grayscale8);
        gray.fill(128);
        row("no fibre", stored(QStringLiteral("gray.png"), gray), Reason::NoFibre, "");
    }
    void aBadFileHasAReason()
    {
        QFETCH(QString, path);
        QFETCH(Reason, reason);
        QFETCH(QString, detail);

        const Inspection inspection = inspectFile(path, usual);

        QCOMPARE(inspection.reason(), reason);
        QVERIFY2(detail.isEmpty() || inspection.detail().startsWith(detail), qPrintable(inspection.detail()));
        QCOMPARE(inspection.reasonText(),
            reason == Reason::NoFibre ? QStringLiteral("Failed to detect cladding")
                                      : QStringLiteral("Failed to load image"));
        QCOMPARE(inspection.problem(),
            inspection.reasonText() + (inspection.detail().isEmpty() ? QString() : QStringLiteral(": "))
                + inspection.detail());
        QVERIFY(!inspection.hasVerdict() && !inspection.passed() && inspection.result().error());
        QVERIFY(inspection.annotatedImage().isNull() && inspection.defects().isEmpty());
        const LoadedImage loaded = loadImage(path);
        QCOMPARE(loaded.image.isNull(), reason != Reason::NoFibre);
        QCOMPARE(loaded.reason, reason == Reason::NoFibre ? Reason::None : reason);
        QCOMPARE(loaded.detail, inspection.detail());
    }

    void theLimitOfPixelsIsTheCallers()
    {
        const QImage face = paintedFace("clean");
        const QString path = stored(QStringLiteral("face.png"), face);
        InspectionOptions options;
        options.maxImagePixels = 800LL * 600;
        QVERIFY(inspect(face, usual, Device::ks20(), options).passed());
        QVERIFY(inspectFile(path, usual, Device::ks20(), options).passed());

        for (const qint64 limit : {qint64(800) * 600 - 1, qint64(0), std::numeric_limits<qint64>::min()}) {
            options.maxImagePixels = limit;
            QCOMPARE(inspect(face, usual, Device::ks20(), options).reason(), Reason::ImageTooLarge);
            QCOMPARE(inspectFile(path, usual, Device::ks20(), options).reason(), Reason::ImageTooLarge);
            QCOMPARE(loadImage(path, limit).reason, Reason::ImageTooLarge);
        }
    }

    void aBadImageHasAReason_data()
    {
        QTest::addColumn<QImage>("image");
        QTest::addColumn<Reason>("reason");
        QTest::newRow("null") << QImage() << Reason::NoImage;
        QTest::newRow("a pixel") << QImage(1, 1, QImage::Format_Mono) << Reason::NoFibre;
        QTest::newRow("a line") << QImage(100000, 1, QImage::Format_RGB32) << Reason::NoFibre;
        QTest::newRow("too large") << QImage(10000, 2000, QImage::Format_Mono) << Reason::ImageTooLarge;
        QTest::newRow("too wide") << QImage(2000000, 1, QImage::Format_Mono) << Reason::ImageTooLarge;
        EndfaceScene scene;
        scene.frame = EndfaceScene::Frame::NoFibre;
        QTest::newRow("no fibre") << paintEndface(scene) << Reason::NoFibre;
        scene.frame = EndfaceScene::Frame::TwoFibres;
        QTest::newRow("two fibres") << paintEndface(scene) << Reason::SeveralFibres;
        const QImage face = paintedFace("clean");
        const QRect crop = inspect(face, usual).crop();
        QTest::newRow("at the border") << face.copy(crop.left() + 10, 0, 800, 600) << Reason::FibreAtBorder;
    }
    void aBadImageHasAReason()
    {
        QFETCH(QImage, image);
        QFETCH(Reason, reason);
        if (!image.isNull() && (image.width() == 1 || image.height() == 1 || image.depth() == 1))
            image.fill(0);

        const Inspection inspection = inspect(image, usual);

        QCOMPARE(inspection.reason(), reason);
        QVERIFY(!inspection.reasonText().isEmpty());
        QVERIFY(inspection.annotatedImage().isNull());
    }

    void anImageThatIsAllEdgesIsNotSearched()
    {
        constexpr int size = 2048;
        const QImage image = bowedStripes(size, 62.5 * size / Device::ks20().fov.width());
        const LogCapture log;

        const Inspection inspection = inspect(image, usual);

        QCOMPARE(inspection.reason(), Reason::NoFibre);
        QCOMPARE(inspection.detail(), QStringLiteral("the image has too many edges to be searched for it"));
        QVERIFY(inspection.result().error());
    }

    void aScaleOutOfRangeIsRefused_data()
    {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        QTest::addColumn<float>("scale");
        for (const float scale : {0.0F, -1.0F, 1e-9F, 1e9F, 601.0F, 0.05F, infinity, -infinity,
                 std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::denorm_min()})
            QTest::newRow(qPrintable(QString::number(static_cast<double>(scale)))) << scale;
    }
    void aScaleOutOfRangeIsRefused()
    {
        QFETCH(float, scale);
        InspectionOptions options;
        options.scale = scale;

        const Inspection inspection = inspect(paintedFace("clean"), usual, Device::ks20(), options);

        QCOMPARE(inspection.reason(), Reason::UnusableScale);
        QVERIFY(!inspection.detail().isEmpty());
    }

    void withoutRulesOrOpticsThereIsNoFibreToLookFor()
    {
        const QImage face = paintedFace("clean");
        QCOMPARE(inspect(face, Standard::Manual).reason(), Reason::NoFibre);
        for (const QSize &fov : {QSize(), QSize(0, 0), QSize(-860, -640), QSize(1, 1), QSize(2147483647, 1)})
            QCOMPARE(inspect(face, usual, {QStringLiteral("any"), fov}).reason(), Reason::NoFibre);
    }

    void anExceptionOfTheReceiverEndsTheInspection_data()
    {
        QTest::addColumn<std::function<void()>>("end");
        QTest::addColumn<QString>("detail");
        const auto row = [](const char *name, const std::function<void()> &end, const char *detail) {
            QTest::newRow(name) << end << QString::fromUtf8(detail);
        };
        row(
            "of the standard library", [] { throw std::runtime_error("no more"); }, "no more");
        row(
            "of no kind that is known", [] { throw 5; }, "an exception of an unknown type");
    }
    void anExceptionOfTheReceiverEndsTheInspection()
    {
        QFETCH(const std::function<void()>, end);
        QFETCH(const QString, detail);
        InspectionOptions options;
        options.onStep = [&end](const QString &, const QImage &) { end(); };

        const Inspection inspection = inspect(paintedFace("clean"), usual, Device::ks20(), options);

        QCOMPARE(inspection.reason(), Reason::AnalysisBroken);
        QCOMPARE(inspection.detail(), detail);
        QVERIFY(inspection.result().error());
        QCOMPARE(inspection.result().core().rules.size(), Standard(usual).core().rules.size());
    }

    // --- the seed

    void theSameSeedPaintsTheSame()
    {
        const QImage face = paintedFace("clean");
        const QImage painted = paintOver(face, withSeed(1));

        QVERIFY(!painted.isNull());
        QCOMPARE(paintOver(face, withSeed(1)), painted);
        QVERIFY(paintOver(face, withSeed(2)) != painted);
        QVERIFY(paintOver(face, withSeed(1ULL << 32U)) != paintOver(face, withSeed(0))); // all bits count
        QVERIFY(paintOver(face, {}) != paintOver(face, {}));
    }

    void theSameSeedGivesTheSameOnAnyNumberOfThreads_data()
    {
        QTest::addColumn<int>("openCvThreads");
        for (const int threads : {1, 2, 4})
            QTest::newRow(qPrintable(QString::number(threads))) << threads;
    }
    void theSameSeedGivesTheSameOnAnyNumberOfThreads()
    {
        QFETCH(int, openCvThreads);
        const QVector<QImage> faces = someFaces();
        const auto inspected = [&](int face) { return inspect(faces[face], usual, Device::ks20(), withSeed(77)); };
        const int before = cv::getNumThreads();
        cv::setNumThreads(1);
        std::vector<Inspection> serial;
        serial.reserve(static_cast<std::size_t>(faces.size()));
        for (int face = 0; face < faces.size(); ++face)
            serial.push_back(inspected(face));
        cv::setNumThreads(openCvThreads);

        for (const int count : {1, 2, 4}) {
            std::vector<std::vector<Inspection>> found(static_cast<std::size_t>(count));
            std::vector<std::thread> threads;
            threads.reserve(found.size());
            for (std::vector<Inspection> &own : found) {
                threads.emplace_back([&] {
                    for (int face = 0; face < faces.size(); ++face)
                        own.push_back(inspected(face));
                });
            }
            for (std::thread &thread : threads)
                thread.join();
            for (const std::vector<Inspection> &own : found)
                QVERIFY(own == serial);
        }
        cv::setNumThreads(before);
    }

    void theThreadsOfTheApplicationAreNotWaitedFor()
    {
        const QImage face = paintedFace("dirty").convertToFormat(QImage::Format_RGB32);
        const ForkedChild child = ForkedChild::run(
            [&face] {
                QSemaphore forEver;
                QThreadPool *const pool = QThreadPool::globalInstance();
                for (int i = 0; i < pool->maxThreadCount(); ++i)
                    pool->start([&forEver] { forEver.acquire(); });
                const Inspection inspection = inspect(face, usual);
                return inspection.annotatedImage().isNull() ? 1 : 0;
            },
            10);

        QCOMPARE(child.signal, 0);
        QCOMPARE(child.exitCode, 0);
    }

    void threadsWithoutASeedDoNotDisturbEachOther()
    {
        const QImage clean = paintedFace("clean");
        const QString dirty = stored(QStringLiteral("dirty.png"), paintedFace("dirty"));
        std::array<bool, 4> isRight{true, true, true, true};
        std::vector<std::thread> threads;
        threads.reserve(isRight.size());
        for (bool &right : isRight) {
            threads.emplace_back([&] {
                for (int run = 0; run < 8; ++run) {
                    const Inspection passes = inspect(clean, usual);
                    const Inspection fails = inspectFile(dirty, usual);
                    right = right && passes.passed() && fails.hasVerdict() && !fails.passed()
                        && !fails.annotatedImage().isNull();
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();
        for (const bool right : isRight)
            QVERIFY(right);
    }

    // --- what goes out

    void allDefectsAreDrawnOnTheCrop()
    {
        const Inspection inspection = inspect(paintedFace("dirty"), usual);

        const QImage annotated = inspection.annotatedImage();

        QCOMPARE(annotated.size(), inspection.crop().size());
        const QImage crop = inspection.image().copy(inspection.crop());
        QVector<QPointF> outlines;
        const QVector<Defect> defects = inspection.result().coreDefects() + inspection.result().claddingDefects();
        for (const Defect &defect : defects)
            outlines += defect.pixels;
        QVERIFY(!outlines.isEmpty());
        for (const QPointF &point : qAsConst(outlines))
            QCOMPARE(annotated.pixel(point.toPoint()), qRgb(255, 0, 0));
        int changed = 0;
        for (int y = 0; y < crop.height(); ++y) {
            for (int x = 0; x < crop.width(); ++x)
                changed += crop.pixel(x, y) != annotated.pixel(x, y) ? 1 : 0;
        }
        QVERIFY(changed > 0 && changed < crop.width() * crop.height() / 4);
    }

    void theAnnotatedImageIsThatOfTheAnalysis()
    {
        const TemporaryWorkDir workDir;
        const LogCapture silence;
        const QString path = in(QStringLiteral("even.png"));
        QVERIFY(cv::imwrite(path.toStdString(), evenFace()));
        Inspection analysed;

        AnalyserPrivate::analyse(usual, path, Device::ks20(), 1, false, &analysed);
        const Inspection inspection = inspectFile(path, usual);

        QVERIFY(inspection.hasVerdict());
        QVERIFY(inspection == analysed);
        const QRandomGenerator before = *QRandomGenerator::global();
        QVERIFY(inspection.saveAnnotatedImage(in(QStringLiteral("annotated.jpg"))));
        QVERIFY(before == *QRandomGenerator::global()); // or the next face would be painted over in another way
        QFile ours(in(QStringLiteral("annotated.jpg")));
        QFile theirs(BaseDirHelper::tmpFiberInspectionResultImagePath());
        QVERIFY(ours.open(QIODevice::ReadOnly) && theirs.open(QIODevice::ReadOnly));
        QCOMPARE(ours.readAll(), theirs.readAll());
        QVERIFY(!inspection.saveAnnotatedImage(in(QStringLiteral("no/such/folder.jpg"))));
        QVERIFY(!inspection.saveAnnotatedImage(in(QStringLiteral("nothing.known"))));
    }

    void withoutMemoryThereIsNoAnnotatedImage()
    {
        if (!Faults::canLimitMemory)
            QSKIP("the sanitizers need memory without bounds");
        enum Outcome : int { Nothing, SomePicture, NoPictureEver };
        DrawnFibre fibre;
        fibre.size = QSize(3200, 2400);
        fibre.center = QPointF(1600, 1200);
        fibre.claddingRadius = 66; // the band of accepted radii is narrow on a large picture
        fibre.pitRadius = 40;
        const Inspection inspection = inspectFile(stored(QStringLiteral("large.jpg"), fibre.jpeg()), usual);
        QVERIFY2(inspection.hasVerdict(), qPrintable(inspection.problem()));

        const ForkedChild child = ForkedChild::run([&inspection] {
            const auto isThere = [&inspection] { return !inspection.annotatedImage().isNull(); };
            {
                const Faults::MemoryLimit limit(0);
                if (isThere())
                    return SomePicture;
                takeWhatIsLeft();
                if (isThere())
                    return SomePicture;
            }
            return isThere() ? Nothing : NoPictureEver;
        });

        QCOMPARE(child.exitCode, int(Nothing));
    }

    void everyStepIsShown()
    {
        QStringList names;
        InspectionOptions options = withSeed(1);
        options.scale = 1.25F;
        const auto steps = stepsOf(paintedFace("dirty"), options);
        for (const auto &step : steps) {
            names << step.first;
            QVERIFY(!step.second.isNull());
        }

        QCOMPARE(names.join(QLatin1Char(' ')),
            QStringLiteral("01_gray 01_gray_scalled 02_cropped 03_cropped_without_core 04_blurred 05_canny_edges "
                           "06_canny_edges_without_cladding 07_defect_contours 08_defect_rectangles "
                           "09_merged_defects_contours 10_merged_defects_rectangles 11_core_defects "
                           "11_core_defects_contours 12_cladding_defects 12_cladding_defects_contours"));
        QCOMPARE(steps.constFirst().second.size(), QSize(800, 600));
    }

    void watchingTheStepsChangesNothing()
    {
        const QImage face = paintedFace("scratched");
        InspectionOptions watched = withSeed(9);
        watched.onStep = [](const QString &, QImage picture) { picture.fill(0); };

        QVERIFY(inspect(face, usual, Device::ks20(), watched) == inspect(face, usual, Device::ks20(), withSeed(9)));
    }

    // --- what it leaves alone

    void nothingIsWrittenAndNothingIsSaid()
    {
        QTemporaryDir empty;
        const QString former = QDir::currentPath();
        const QString path = stored(QStringLiteral("face.jpg"), paintedFace("dirty"));
        const QStringList before = QDir(mFolder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System);
        QVERIFY(QDir::setCurrent(empty.path()));
        qputenv("TMPDIR", QFile::encodeName(empty.path()));
        qputenv("HOME", QFile::encodeName(empty.path()));
        const LogCapture log;

        inspectFile(path, usual).annotatedImage();
        inspectFile(in(QStringLiteral("missing")), usual);
        EndfaceScene scene;
        scene.frame = EndfaceScene::Frame::TwoFibres;
        inspect(paintEndface(scene), usual);

        QVERIFY(QDir::setCurrent(former));
        QCOMPARE(QDir(empty.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), QStringList());
        QCOMPARE(QDir(mFolder.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::System), before);
        QCOMPARE(log.asText(), QStringList());
    }

    void readingAFileSaysNothing()
    {
        const LogCapture log;

        QCOMPARE(loadImage(in(QStringLiteral("missing"))).reason, Reason::FileMissing);
        QCOMPARE(decodeImage("no image").reason, Reason::UnknownFormat);
        QCOMPARE(log.asText(), QStringList());

        QLoggingCategory::setFilterRules(QStringLiteral("vantor.inspection=true"));
        loadImage(in(QStringLiteral("missing")));
        QLoggingCategory::setFilterRules({});
        QCOMPARE(log.lines().size(), 1);
        QCOMPARE(log.lines().constFirst().category, QStringLiteral("vantor.inspection"));
    }

    void anAnalysisWithinAStepSaysEverything()
    {
        const TemporaryWorkDir workDir;
        QVERIFY(paintedFace("pitted").save(BaseDirHelper::tmpFiberInspectionImagePath(), "PNG"));
        const LogCapture log;
        const auto analysed = [] {
            QStringList texts;
            const LogCapture inner;
            Analyser().analyse(usual, QStringLiteral("../out"));
            const QVector<LogCapture::Line> lines = inner.lines();
            for (const LogCapture::Line &line : lines)
                texts << line.category + QLatin1Char(' ') + line.text.section(QLatin1Char(' '), 0, 0);
            return texts;
        };
        const QStringList alone = analysed();
        QStringList within;
        InspectionOptions options;
        options.onStep = [&](const QString &step, const QImage &) {
            if (step == QLatin1String("01_gray"))
                within = analysed();
        };

        inspect(paintedFace("clean"), usual, Device::ks20(), options);

        QVERIFY(alone.size() > 30);
        QVERIFY(alone.constLast().startsWith(QLatin1String("default not")));
        QCOMPARE(within, alone);
        QCOMPARE(log.asText(), QStringList());
    }

    void aFileIsOpenedOnce_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QFile face(stored(QStringLiteral("face.jpg"), paintedFace("clean")));
        QVERIFY(face.open(QIODevice::ReadOnly));
        const QByteArray whole = face.readAll();
        QTest::newRow("good") << whole;
        QTest::newRow("incomplete") << whole.chopped(1000);
        QTest::newRow("text") << QByteArray("no image");
        QTest::newRow("empty") << QByteArray();
    }
    void aFileIsOpenedOnce()
    {
        QFETCH(QByteArray, bytes);
        const QString path = stored(QStringLiteral("opened.jpg"), bytes);
        const OpenCounter counter(path);
        QVERIFY(counter.isWatching());

        inspectFile(path, usual);

        QCOMPARE(counter.count(), 1);
    }

    void aRuleShowsTheLogOfTheAnalysis()
    {
        const QString path = stored(QStringLiteral("face.png"), paintedFace("pitted"));
        QLoggingCategory::setFilterRules(QStringLiteral("vantor.inspection=true"));
        const LogCapture log;

        inspectFile(path, usual);

        QLoggingCategory::setFilterRules({});
        QCOMPARE(log.asText().constFirst(), QStringLiteral("info: ---- START BENCHMARK ----"));
        QCOMPARE(log.asText().constLast(), QStringLiteral("debug: TEST FAILED"));
        const QVector<LogCapture::Line> lines = log.lines();
        for (const LogCapture::Line &line : lines)
            QCOMPARE(line.category, QStringLiteral("vantor.inspection"));
    }

    void theEndOfAThreadIsNoException()
    {
        const ForkedChild child = EndedThread::run([] {
            InspectionOptions options;
            options.onStep = [](const QString &, const QImage &) { EndedThread::end(); };
            inspect(paintedFace("pitted"), usual, Device::ks20(), options);
        });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }
};

QTEST_GUILESS_MAIN(TestInspection)
#include "tst_inspection.moc"
