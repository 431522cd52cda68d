// SPDX-License-Identifier: Apache-2.0
#include "BowedStripes.h"
#include "Faults.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"
#include "ReferenceImages.h"
#include "WorkTimer.h"

#include <QtTest>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <limits>
#include <random>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace FiberInspection;

namespace {
constexpr int highestInt = std::numeric_limits<int>::max();
constexpr int lowestInt = std::numeric_limits<int>::min();
constexpr float nanFloat = std::numeric_limits<float>::quiet_NaN();
constexpr float infinityFloat = std::numeric_limits<float>::infinity();
constexpr double nanDouble = std::numeric_limits<double>::quiet_NaN();

bool areEqual(const cv::Mat &a, const cv::Mat &b)
{
    return a.size() == b.size() && a.type() == b.type() && (a.empty() || cv::norm(a, b, cv::NORM_INF) == 0);
}

cv::Mat filled(int rows, int cols, int color)
{
    return {rows, cols, CV_8UC1, cv::Scalar::all(color)};
}

QStringList warning(const char *text)
{
    return {QStringLiteral("warning: ") + QString::fromUtf8(text)};
}

/// Matrices, diameters and levels of all kinds, the same ones in every run.
class RandomInput
{
public:
    explicit RandomInput(unsigned seed = 4711)
        : mRandom(seed)
    {
    }

    cv::Mat grayImage() { return grayImage(whole(0, 40), whole(0, 40)); }

    cv::Mat grayImage(int rows, int cols)
    {
        cv::Mat mat(rows, cols, CV_8UC1);
        for (int row = 0; row < rows; ++row) {
            for (int col = 0; col < cols; ++col)
                mat.at<uchar>(row, col) = uchar(whole(0, 255));
        }
        return mat;
    }

    /// A photograph-like picture: smooth in its large parts, noisy in its small ones.
    cv::Mat colorImage(int rows, int cols)
    {
        cv::Mat mat(rows, cols, CV_8UC3);
        for (int row = 0; row < rows; ++row) {
            for (int col = 0; col < cols; ++col) {
                mat.at<cv::Vec3b>(row, col) = cv::Vec3b(uchar((row * 3 + whole(0, 30)) % 256),
                    uchar((col * 2 + whole(0, 30)) % 256), uchar((row + col + whole(0, 30)) % 256));
            }
        }
        return mat;
    }

    float diameter()
    {
        static const float special[] = {0, -0.0F, -1, -4, -5, -30.5F, nanFloat, infinityFloat, -infinityFloat, 1e30F,
            -1e30F, 3e38F, 4294967296.0F, 33554432.0F, 1e-40F};
        switch (whole(0, 5)) {
        case 0:
            return special[whole(0, int(std::size(special)) - 1)];
        case 1:
            return float(whole(0, 60));
        case 2:
            return 2 * std::sqrt(float(whole(0, 900))); // twice the distance of a pixel
        case 3:
            return 2 * (std::sqrt(float(whole(0, 900))) - 2);
        default:
            return float(whole(-6000, 60000)) / 1000;
        }
    }

    int whole(int lowest, int highest) { return std::uniform_int_distribution<int>(lowest, highest)(mRandom); }

private:
    std::mt19937 mRandom;
};

/// A dark face with bright discs, as the scope sees it.
cv::Mat faceWithDiscs(int cols, int rows, const std::vector<cv::Vec3f> &discs, int contrast = 160)
{
    constexpr int ferruleColor = 40;
    cv::Mat mat = filled(rows, cols, ferruleColor);
    for (const cv::Vec3f &disc : discs) {
        cv::circle(mat, cv::Point(int(disc[0]), int(disc[1])), int(disc[2]), cv::Scalar(ferruleColor + contrast),
            cv::FILLED, cv::LINE_AA);
    }
    cv::GaussianBlur(mat, mat, cv::Size(5, 5), 0);
    return mat;
}

QByteArray contentOf(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool store(const QString &path, const QByteArray &bytes)
{
    QFile::remove(path); // overwriting would wait for the disk
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray bigEndian(quint32 value, int bytes)
{
    QByteArray result;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8)
        result.append(char(value >> shift));
    return result;
}

QByteArray encoded(const char *extension, const cv::Mat &mat, const std::vector<int> &parameters = {})
{
    std::vector<uchar> bytes;
    cv::imencode(extension, mat, bytes, parameters);
    return {reinterpret_cast<const char *>(bytes.data()), int(bytes.size())};
}

/// A TIFF structure with nothing but the tag for the orientation, as cameras store it.
QByteArray exifWithOrientation(int orientation)
{
    return QByteArray("MM\0\x2A", 4) + bigEndian(8, 4) + bigEndian(1, 2) // byte order, offset of the tags, their number
        + bigEndian(0x0112, 2) + bigEndian(3, 2) + bigEndian(1, 4) + bigEndian(quint32(orientation), 2)
        + bigEndian(0, 2) + bigEndian(0, 4);
}

/// Inserts an application segment behind the start of the image.
QByteArray withSegment(const QByteArray &jpeg, uchar marker, const QByteArray &payload)
{
    QByteArray result = jpeg.left(2);
    result.append('\xFF');
    result.append(char(marker));
    return result + bigEndian(quint32(payload.size() + 2), 2) + payload + jpeg.mid(2);
}

/// The checksum of PNG chunks, bit by bit.
quint32 crc32(const QByteArray &bytes)
{
    quint32 crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= quint32(uchar(byte));
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc & 1) != 0 ? (crc >> 1) ^ 0xEDB88320 : crc >> 1;
    }
    return ~crc;
}

QByteArray pngChunk(const QByteArray &type, const QByteArray &payload)
{
    return bigEndian(quint32(payload.size()), 4) + type + payload + bigEndian(crc32(type + payload), 4);
}

constexpr int pngHeaderEnd = 8 + 25; // signature and first chunk

/// OpenCV writes its errors to the standard error stream as well; the bad files of these tests would fill it.
int silentErrorHandler(int, const char *, const char *, const char *, int, void *)
{
    return 0;
}

/// While it lives the process has the rights of a stranger, if it had all of them before.
class Unprivileged
{
public:
    Unprivileged()
        : mUser(::geteuid())
    {
        constexpr uid_t stranger = 65534;
        if (mUser == 0 && ::seteuid(stranger) != 0)
            qFatal("the rights cannot be given up");
    }
    ~Unprivileged()
    {
        if (::seteuid(mUser) != 0)
            qFatal("the rights cannot be taken back");
    }
    Q_DISABLE_COPY(Unprivileged)

private:
    const uid_t mUser;
};
} // namespace

Q_DECLARE_METATYPE(cv::Mat)
Q_DECLARE_METATYPE(FiberInspection::Circle)

class TestAnalyserPrivateImages : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;
    QScopedPointer<LogCapture> mUnreadLog;

    QString path(const char *name) const { return mDir.filePath(QString::fromUtf8(name)); }

    /// What the library loads from these bytes.
    cv::Mat loaded(const QByteArray &bytes, const char *name = "image")
    {
        const QString file = path(name);
        return store(file, bytes) ? AnalyserPrivate::loadImage(file) : cv::Mat(1, 1, CV_8UC1);
    }

    /// What OpenCV reads from these bytes.
    cv::Mat reference(const QByteArray &bytes, const char *name = "reference")
    {
        const QString file = path(name);
        return store(file, bytes) ? cv::imread(file.toStdString(), cv::IMREAD_COLOR) : cv::Mat(1, 1, CV_8UC1);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mDir.isValid());
        cv::redirectError(silentErrorHandler);
    }

    // Bad files fill the log; a test that looks at it captures it for itself.
    void init() { mUnreadLog.reset(new LogCapture); }
    void cleanup() { mUnreadLog.reset(); }

    // --- sizes and scales

    void theSizeOfAnImageIsItsColumnsByItsRows()
    {
        QCOMPARE(AnalyserPrivate::imageSize(filled(600, 800, 0)), QSize(800, 600));
        QCOMPARE(AnalyserPrivate::imageSize(cv::Mat()), QSize(0, 0));
    }

    void theScaleIsTakenFromTheWidth()
    {
        const QSize fov = Device::ks20().fov;

        QCOMPARE(AnalyserPrivate::pixelSize(fov, QSize(800, 600)), 1.075F);
        QCOMPARE(AnalyserPrivate::pixelSize(fov, QSize(800, 1)), 1.075F);
        QCOMPARE(AnalyserPrivate::pixelSize(fov, QSize(2592, 1944)), 860.0F / 2592.0F);
        QCOMPARE(AnalyserPrivate::micronSize(fov, QSize(800, 600)), 800.0F / 860.0F);
        QCOMPARE(AnalyserPrivate::micronSize(fov, QSize(800, 1)), 800.0F / 860.0F);
    }

    void lengthsAreConverted_data()
    {
        QTest::addColumn<float>("length");
        QTest::addColumn<QSize>("fov");
        QTest::addColumn<QSize>("resolution");
        QTest::addColumn<float>("microns");
        QTest::addColumn<float>("pixels");
        const QSize fov(860, 640);
        const QSize resolution(800, 600);
        QTest::newRow("one") << 1.0F << fov << resolution << 860.0F / 800.0F << 800.0F / 860.0F;
        QTest::newRow("cladding") << 110.0F << fov << resolution << 110.0F * (860.0F / 800.0F)
                                  << 110.0F * (800.0F / 860.0F);
        QTest::newRow("nothing") << 0.0F << fov << resolution << 0.0F << 0.0F;
        QTest::newRow("minus one") << -1.0F << fov << resolution << -1.0F << -1.0F;
        QTest::newRow("a little negative") << -0.001F << fov << resolution << -1.0F << -1.0F;
        QTest::newRow("negative infinite") << -infinityFloat << fov << resolution << -1.0F << -1.0F;
        QTest::newRow("no field of view") << 5.0F << QSize() << resolution << -1.0F << -1.0F;
        QTest::newRow("no resolution") << 5.0F << fov << QSize() << -1.0F << -1.0F;
        QTest::newRow("negative height of the view") << 5.0F << QSize(860, -1) << resolution << -1.0F << -1.0F;
        QTest::newRow("negative height") << 5.0F << fov << QSize(800, -1) << -1.0F << -1.0F;
        // The division by a width of zero has no answer; the other direction has.
        QTest::newRow("resolution without width") << 5.0F << fov << QSize(0, 600) << -1.0F << 0.0F;
        QTest::newRow("view without width") << 5.0F << QSize(0, 640) << resolution << 0.0F << -1.0F;
    }
    void lengthsAreConverted()
    {
        QFETCH(float, length);
        QFETCH(QSize, fov);
        QFETCH(QSize, resolution);

        QTEST(AnalyserPrivate::pixelsToMicrons(length, fov, resolution), "microns");
        QTEST(AnalyserPrivate::micronsToPixels(length, fov, resolution), "pixels");
    }

    // --- points

    void distancesAreEuclidean()
    {
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(0, 0, 3, 4), 5.0F);
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(3, 4, 0, 0), 5.0F);
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(-1, 2, -1, 2), 0.0F);
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(0, 0, 1, 1), float(std::sqrt(2.0)));
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(cv::Point(0, 0), cv::Point(-6, 8)), 10.0F);
    }

    void distancesBetweenPointsTruncateTheirCoordinates()
    {
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(QPointF(0.9, -0.9), QPointF(3.99, 4.99)), 5.0F);
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(QPointF(-1.99, 0), QPointF(1.99, 0)), 2.0F);
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(QPointF(252.5, 0), QPointF(252, 0)), 0.0F);
    }

    void distancesOfFarPointsDoNotOverflow()
    {
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(lowestInt, 0, highestInt, 0), 4294967295.0F);
        QCOMPARE(
            AnalyserPrivate::distanceBetweenPoints(cv::Point(0, lowestInt), cv::Point(0, highestInt)), 4294967295.0F);
        QCOMPARE(AnalyserPrivate::distanceBetweenPoints(QPointF(-1e300, 0), QPointF(1e300, 0)), 4294967295.0F);
        QVERIFY(std::isfinite(AnalyserPrivate::distanceBetweenPoints(QPointF(nanDouble, 0), QPointF(0, 0))));
    }

    void distancesAgreeWithThePlainForm()
    {
        RandomInput input;
        for (int i = 0; i < 20000; ++i) {
            const int reach = i % 3 == 0 ? 30 : i % 3 == 1 ? 3000 : highestInt;
            const auto coordinate = [&] { return input.whole(-reach, reach); };
            const cv::Point a(coordinate(), coordinate());
            const cv::Point b(coordinate(), coordinate());

            const float distance = AnalyserPrivate::distanceBetweenPoints(a.x, a.y, b.x, b.y);

            QVERIFY(distance == Reference::distance(a.x, a.y, b.x, b.y));
            QVERIFY(AnalyserPrivate::distanceBetweenPoints(a, b) == distance);
            QVERIFY(AnalyserPrivate::distanceBetweenPoints(QPointF(a.x, a.y), QPointF(b.x, b.y)) == distance);
        }
    }

    void pointsAreConvertedMemberByMember()
    {
        const cv::Point2f narrowed = AnalyserPrivate::qpointfToCvPoint2f(QPointF(16777217, -0.1));

        QCOMPARE(narrowed.x, 16777216.0F);
        QCOMPARE(narrowed.y, -0.1F);
        QCOMPARE(AnalyserPrivate::cvPoint2fToQPoint(cv::Point2f(1.25F, -7)), QPointF(1.25, -7));
        QCOMPARE(AnalyserPrivate::cvPoint2fToQPoint(cv::Point2f(0.1F, 0)).x(), double(0.1F));
    }

    void pointsOfContoursAreRounded_data()
    {
        QTest::addColumn<double>("coordinate");
        QTest::addColumn<int>("rounded");
        QTest::newRow("down") << 2.4 << 2;
        QTest::newRow("up") << 2.6 << 3;
        QTest::newRow("half to even, down") << 2.5 << 2;
        QTest::newRow("half to even, up") << 3.5 << 4;
        QTest::newRow("negative half to even") << -2.5 << -2;
        QTest::newRow("negative half to even, down") << -3.5 << -4;
        QTest::newRow("by way of single precision") << 2.5000000001 << 2;
        QTest::newRow("too exact for single precision") << 16777217.0 << 16777216;
    }
    void pointsOfContoursAreRounded()
    {
        QFETCH(double, coordinate);
        QFETCH(int, rounded);

        const std::vector<cv::Point> points =
            AnalyserPrivate::qpointVectorToCvPoint2fVector({QPointF(coordinate, 1), QPointF(7, coordinate)});

        QCOMPARE(points.size(), std::size_t(2));
        QCOMPARE(points[0].x, rounded);
        QCOMPARE(points[0].y, 1);
        QCOMPARE(points[1].x, 7);
        QCOMPARE(points[1].y, rounded);
    }

    void pointsThatAreNoNumbersHaveSomePlace()
    {
        const std::vector<cv::Point> points =
            AnalyserPrivate::qpointVectorToCvPoint2fVector({QPointF(nanDouble, 1e300)});

        QCOMPARE(points.size(), std::size_t(1));
    }

    void pointsOfContoursComeBackInTheirOrder()
    {
        const QVector<QPointF> points =
            AnalyserPrivate::cvPoint2fVectorToQPointVector({{1, 2}, {-3, highestInt}, {lowestInt, 0}});

        QCOMPARE(points, (QVector<QPointF>{{1, 2}, {-3, double(highestInt)}, {double(lowestInt), 0}}));
        QVERIFY(AnalyserPrivate::cvPoint2fVectorToQPointVector({}).isEmpty());
        QVERIFY(AnalyserPrivate::qpointVectorToCvPoint2fVector({}).empty());
    }

    // --- matToQImage

    void aGrayImageIsAViewOfTheMatrix()
    {
        cv::Mat mat = RandomInput().grayImage(7, 11);

        const QImage image = AnalyserPrivate::matToQImage(mat);

        QCOMPARE(image.format(), QImage::Format_Grayscale8);
        QCOMPARE(image.size(), QSize(11, 7));
        QVERIFY(image.constBits() == mat.data);
        QCOMPARE(qGray(image.pixel(10, 6)), int(mat.at<uchar>(6, 10)));
        mat.at<uchar>(6, 10) = uchar(mat.at<uchar>(6, 10) ^ 0xFF);
        QCOMPARE(qGray(image.pixel(10, 6)), int(mat.at<uchar>(6, 10)));
    }

    void aPartOfAGrayImageKeepsTheStrideOfTheWhole()
    {
        const cv::Mat mat = RandomInput().grayImage(30, 41);
        const cv::Mat part = mat(cv::Rect(5, 6, 13, 9));

        const QImage image = AnalyserPrivate::matToQImage(part);

        QCOMPARE(image.bytesPerLine(), 41);
        QCOMPARE(image.size(), QSize(13, 9));
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 13; ++x)
                QCOMPARE(qGray(image.pixel(x, y)), int(mat.at<uchar>(6 + y, 5 + x)));
        }
    }

    void aColorImageIsACopyInCorrectOrder()
    {
        cv::Mat mat(5, 7, CV_8UC3, cv::Scalar(10, 20, 30)); // blue, green, red

        const QImage image = AnalyserPrivate::matToQImage(mat);
        mat.setTo(cv::Scalar::all(99));

        QCOMPARE(image.format(), QImage::Format_RGB888);
        QCOMPARE(image.size(), QSize(7, 5));
        QCOMPARE(image.pixelColor(6, 4), QColor(30, 20, 10));
    }

    void aPartOfAColorImageIsThatPart()
    {
        const cv::Mat mat = RandomInput().colorImage(20, 31);

        const QImage image = AnalyserPrivate::matToQImage(mat(cv::Rect(3, 4, 9, 8)));

        for (int y = 0; y < 8; ++y) {
            for (int x = 0; x < 9; ++x) {
                const cv::Vec3b &color = mat.at<cv::Vec3b>(4 + y, 3 + x);
                QCOMPARE(image.pixel(x, y), qRgb(color[2], color[1], color[0]));
            }
        }
    }

    void anImageWithAlphaIsAViewOfTheMatrix()
    {
        cv::Mat mat(5, 7, CV_8UC4, cv::Scalar(10, 20, 30, 128));

        const QImage image = AnalyserPrivate::matToQImage(mat);

        QCOMPARE(image.format(), QImage::Format_ARGB32);
        QCOMPARE(image.size(), QSize(7, 5));
        QCOMPARE(image.bytesPerLine(), 28);
        QCOMPARE(image.pixel(6, 4), qRgba(30, 20, 10, 128));
        mat.at<cv::Vec4b>(4, 6) = cv::Vec4b(1, 2, 3, 255);
        QCOMPARE(image.pixel(6, 4), qRgba(3, 2, 1, 255));
    }

    void otherMatricesGiveNoImage_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<QString>("text");
        const auto row = [](const char *name, int type, const char *text) {
            QTest::newRow(name) << type
                                << QStringLiteral("warning: matToImage - Mat image type not handled in switch: ")
                    + QString::fromUtf8(text);
        };
        row("signed", CV_8SC1, "1");
        row("16-bit", CV_16UC1, "2");
        row("float", CV_32FC1, "5");
        row("double", CV_64FC1, "6");
        row("two channels", CV_8UC2, "8");
        row("16-bit colour", CV_16UC3, "18");
    }
    void otherMatricesGiveNoImage()
    {
        QFETCH(int, type);
        QFETCH(QString, text);
        LogCapture log;

        const QImage image = AnalyserPrivate::matToQImage(cv::Mat(4, 4, type, cv::Scalar::all(1)));

        QVERIFY(image.isNull());
        QCOMPARE(log.asText(), QStringList{text});
        QCOMPARE(log.lines().constFirst().category, QStringLiteral("default"));
    }

    void anEmptyMatrixGivesNoImage()
    {
        LogCapture log;

        QVERIFY(AnalyserPrivate::matToQImage(cv::Mat()).isNull());
        QVERIFY(AnalyserPrivate::matToQImage(cv::Mat(0, 5, CV_8UC3)).isNull());
        QVERIFY(log.lines().isEmpty());
    }

    // --- convertImageToGray

    void redAndBlueExchangeTheirWeights()
    {
        cv::Mat mat(1, 4, CV_8UC3);
        mat.at<cv::Vec3b>(0, 0) = cv::Vec3b(255, 0, 0); // blue
        mat.at<cv::Vec3b>(0, 1) = cv::Vec3b(0, 255, 0); // green
        mat.at<cv::Vec3b>(0, 2) = cv::Vec3b(0, 0, 255); // red
        mat.at<cv::Vec3b>(0, 3) = cv::Vec3b(255, 255, 255);

        const cv::Mat gray = AnalyserPrivate::convertImageToGray(mat);

        QCOMPARE(gray.type(), int(CV_8UC1));
        QCOMPARE(int(gray.at<uchar>(0, 0)), 76); // 0.299
        QCOMPARE(int(gray.at<uchar>(0, 1)), 150); // 0.587
        QCOMPARE(int(gray.at<uchar>(0, 2)), 29); // 0.114
        QCOMPARE(int(gray.at<uchar>(0, 3)), 255);
    }

    void theGrayImageIsThatOfTheConversionCode()
    {
        const cv::Mat mat = RandomInput().colorImage(33, 21);
        cv::Mat expected;
        cv::cvtColor(mat, expected, 7);

        QVERIFY(areEqual(AnalyserPrivate::convertImageToGray(mat), expected));
    }

    void unsuitableImagesHaveNoGrayLevels_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<int>("type");
        QTest::newRow("empty") << 0 << int(CV_8UC3);
        QTest::newRow("grey already") << 5 << int(CV_8UC1);
        QTest::newRow("two channels") << 5 << int(CV_8UC2);
        QTest::newRow("double") << 5 << int(CV_64FC3);
    }
    void unsuitableImagesHaveNoGrayLevels()
    {
        QFETCH(int, size);
        QFETCH(int, type);

        QVERIFY(AnalyserPrivate::convertImageToGray(cv::Mat(size, size, type, cv::Scalar::all(1))).empty());
    }

    // --- findCladdingCircle

    void theOneCircleIsFound()
    {
        LogCapture log;

        const Circle circle = AnalyserPrivate::findCladdingCircle(faceWithDiscs(320, 240, {{150, 110, 50}}), 54);

        QVERIFY(circle.isValid());
        QVERIFY(QLineF(circle.center, QPointF(150, 110)).length() < 3);
        QVERIFY(qAbs(circle.radius - 50) < 3);
        QVERIFY(log.lines().isEmpty());
    }

    void onlyCirclesOfTheBandAreFound_data()
    {
        QTest::addColumn<float>("expectedRadius");
        QTest::addColumn<bool>("isFound");
        QTest::newRow("as expected") << 52.0F << true;
        QTest::newRow("nearly ten smaller") << 59.0F << true;
        QTest::newRow("much smaller") << 65.0F << false;
        QTest::newRow("larger") << 46.0F << false;
    }
    void onlyCirclesOfTheBandAreFound()
    {
        QFETCH(float, expectedRadius);
        const cv::Mat mat = faceWithDiscs(320, 240, {{150, 110, 50}});

        QTEST(AnalyserPrivate::findCladdingCircle(mat, expectedRadius).isValid(), "isFound");
    }

    void twoCirclesAreNone()
    {
        const cv::Mat mat = faceWithDiscs(320, 160, {{80, 80, 50}, {230, 80, 50}});
        LogCapture log;

        const Circle circle = AnalyserPrivate::findCladdingCircle(mat, 54);

        QCOMPARE(log.asText(), warning("More than 1 cladding found!"));
        QVERIFY(circle == Circle());
    }

    void aFaceWithoutCircleHasNone()
    {
        LogCapture log;

        QVERIFY(AnalyserPrivate::findCladdingCircle(filled(240, 320, 80), 54) == Circle());
        QVERIFY(log.lines().isEmpty());
    }

    void circlesAreSearchedInGrayImagesOnly_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("colour") << int(CV_8UC3);
        QTest::newRow("16-bit") << int(CV_16UC1);
        QTest::newRow("signed") << int(CV_8SC1);
        QTest::newRow("float") << int(CV_32FC1);
    }
    void circlesAreSearchedInGrayImagesOnly()
    {
        QFETCH(int, type);
        LogCapture log;

        const Circle circle = AnalyserPrivate::findCladdingCircle(cv::Mat(90, 90, type, cv::Scalar::all(9)), 30);

        QCOMPARE(log.asText(), warning("Image is not gray"));
        QVERIFY(circle == Circle());
    }

    void anEmptyImageHasNoCircle()
    {
        LogCapture log;

        QVERIFY(AnalyserPrivate::findCladdingCircle(cv::Mat(), 54) == Circle());
        QVERIFY(AnalyserPrivate::findCladdingCircle(filled(0, 9, 0), 54) == Circle());
        QVERIFY(log.lines().isEmpty());
    }

    void noRadiusMeansNoCircleAtOnce_data()
    {
        QTest::addColumn<float>("expectedRadius");
        QTest::newRow("zero") << 0.0F;
        QTest::newRow("less than a pixel") << 0.99F;
        QTest::newRow("negative") << -1.0F;
        QTest::newRow("very negative") << -1e30F;
        QTest::newRow("not a number") << nanFloat;
        QTest::newRow("infinite") << infinityFloat;
        QTest::newRow("negative infinite") << -infinityFloat;
        QTest::newRow("just beyond int") << 2147483648.0F;
        QTest::newRow("huge") << 1e30F;
    }
    void noRadiusMeansNoCircleAtOnce()
    {
        QFETCH(float, expectedRadius);
        const cv::Mat noise = RandomInput().grayImage(600, 800);
        LogCapture log;
        const WorkTimer timer;

        const Circle circle = AnalyserPrivate::findCladdingCircle(noise, expectedRadius);

        QVERIFY(timer.seconds() < 1); // a search for any radius takes many times that
        QVERIFY(circle == Circle());
        QVERIFY(log.lines().isEmpty());
    }

    void theSmallestRadiiAreSearchedFromOneOn()
    {
        const cv::Mat mat = faceWithDiscs(60, 60, {{30, 30, 4}});

        for (int radius = 1; radius <= 12; ++radius) {
            LogCapture log;
            const Reference::CircleAnswer expected = Reference::findCladdingCircle(mat, float(radius));
            QVERIFY(AnalyserPrivate::findCladdingCircle(mat, float(radius)) == expected.circle);
        }
    }

    void foundCirclesAreThoseOfThePlainForm()
    {
        RandomInput input;
        int found = 0;
        for (int i = 0; i < 150; ++i) {
            const float radius = float(input.whole(15, 40));
            std::vector<cv::Vec3f> discs;
            discs.reserve(3);
            for (int disc = input.whole(0, 2); disc >= 0; --disc)
                discs.emplace_back(float(input.whole(0, 240)), float(input.whole(0, 180)), radius);
            const cv::Mat mat = faceWithDiscs(240, 180, discs, input.whole(8, 60)); // some too pale to be found
            const float expectedRadius = radius + float(input.whole(-30, 130)) / 10;
            const Reference::CircleAnswer expected = Reference::findCladdingCircle(mat, expectedRadius);
            LogCapture log;

            const Circle circle = AnalyserPrivate::findCladdingCircle(mat, expectedRadius);

            QVERIFY(circle.center.x() == expected.circle.center.x());
            QVERIFY(circle.center.y() == expected.circle.center.y());
            QVERIFY(circle.radius == expected.circle.radius);
            QCOMPARE(log.warnings(), expected.warning.isEmpty() ? QStringList() : QStringList{expected.warning});
            found += circle.isValid() ? 1 : 0;
        }
        QVERIFY(found > 20 && found < 130);
    }

    /// A view of the pixels.
    static cv::Mat grayMat(const QImage &image)
    {
        return {image.height(), image.width(), CV_8UC1, const_cast<uchar *>(image.constBits()),
            static_cast<std::size_t>(image.bytesPerLine())};
    }

    void aSearchThatMayTakeMinutesIsNotBegun()
    {
        const QImage image = bowedStripes(2048, 138); // OpenCV compares for some 10 seconds
        const cv::Mat mat = grayMat(image);
        LogCapture log;

        int candidates = 0;
        const Circle circle = AnalyserPrivate::findCladdingCircle(mat, 138, &candidates);

        QVERIFY(circle == Circle());
        QCOMPARE(candidates, AnalyserPrivate::notSearched);
        QCOMPARE(log.asText(), warning("Too many edges to look for the cladding"));
    }

    void aPatternThatRepeatsItselfIsNotSearched_data()
    {
        QTest::addColumn<QByteArray>("tile"); // of 4 x 4 pixels
        QTest::addColumn<QSize>("size");
        QTest::addColumn<float>("radius");
        QTest::newRow("votes of all around meet in a pixel exactly")
            << QByteArray("\xFF\xFF\x00\xFF\x9C\xFF\xF4\xFF\xFF\xFF\x00\xFF\x00\xFF\x00\xFF", 16) << QSize(2500, 2500)
            << 401.0F;
        QTest::newRow("small circles, and a centre in every eighth pixel")
            << QByteArray("\x00\xA8\xA8\xA8\x00\x00\x00\x00\x00\xA8\xA8\xA8\x00\xA8\x00\xA8", 16) << QSize(520, 32250)
            << 40.8F;
    }
    void aPatternThatRepeatsItselfIsNotSearched()
    {
        QFETCH(const QByteArray, tile);
        QFETCH(const QSize, size);
        QFETCH(const float, radius);
        cv::Mat mat(size.height(), size.width(), CV_8UC1);
        for (int y = 0; y < mat.rows; ++y) {
            for (int x = 0; x < mat.cols; ++x)
                mat.at<uchar>(y, x) = static_cast<uchar>(tile.at(y % 4 * 4 + x % 4));
        }
        LogCapture log;

        int candidates = 0;
        AnalyserPrivate::findCladdingCircle(mat, radius, &candidates);

        QCOMPARE(candidates, AnalyserPrivate::notSearched);
    }

    void aLargeImageFullOfEdgesIsSearched()
    {
        const cv::Mat noise = RandomInput().grayImage(1600, 2000);
        const QImage image = bowedStripes(1448, 97);
        const cv::Mat stripes = grayMat(image); // few enough to be compared after all
        LogCapture log;

        for (const cv::Mat &mat : {noise, stripes}) {
            int candidates = AnalyserPrivate::notSearched;
            AnalyserPrivate::findCladdingCircle(mat, 97, &candidates);
            QVERIFY(candidates >= 0);
        }
    }

    // --- approximateFindCladdingCircle

    void theCladdingOfALiveFrameIsFoundNearly()
    {
        const cv::Mat mat = faceWithDiscs(800, 600, {{380, 310, 51}});
        LogCapture log;

        const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(mat);

        QVERIFY(circle.isValid());
        QVERIFY(QLineF(circle.center, QPointF(380, 310)).length() < 12);
        QVERIFY(qAbs(circle.radius - 51) < 12);
        QVERIFY(log.lines().isEmpty());
    }

    void theCladdingOfACameraBufferIsFoundAlike()
    {
        const cv::Mat mat = faceWithDiscs(800, 600, {{380, 310, 51}});
        cv::Mat frame(900, 800, CV_8UC1, cv::Scalar(128));
        mat.copyTo(frame.rowRange(0, 600));

        const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(frame.data, 800, 800, 600);

        QVERIFY(circle.isValid());
        QVERIFY(circle == AnalyserPrivate::approximateFindCladdingCircle(mat));
    }

    void aLiveFrameWithoutFaceHasNoCircle()
    {
        QVERIFY(AnalyserPrivate::approximateFindCladdingCircle(filled(600, 800, 90)) == Circle());
        QVERIFY(AnalyserPrivate::approximateFindCladdingCircle(nullptr, 800, 800, 600) == Circle());
    }

    void aLiveFrameWithTwoFacesHasNoCircle()
    {
        const cv::Mat mat = faceWithDiscs(1600, 600, {{400, 300, 100}, {1200, 300, 100}});
        LogCapture log;

        const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(mat);

        QCOMPARE(log.asText(), warning("More than 1 cladding found!"));
        QVERIFY(circle == Circle());
    }

    void aFrameTooSmallForTheSearchHasNoCircle_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("cols");
        QTest::newRow("empty") << 0 << 0;
        QTest::newRow("narrow") << 600 << 5;
        QTest::newRow("low") << 5 << 800;
        QTest::newRow("one pixel") << 1 << 1;
        QTest::newRow("just large enough") << 6 << 6;
    }
    void aFrameTooSmallForTheSearchHasNoCircle()
    {
        QFETCH(int, rows);
        QFETCH(int, cols);
        LogCapture log;

        QVERIFY(AnalyserPrivate::approximateFindCladdingCircle(filled(rows, cols, 90)) == Circle());
        QVERIFY(log.lines().isEmpty());
    }

    void aColorFrameIsRefused()
    {
        const cv::Mat mat(600, 800, CV_8UC3, cv::Scalar::all(50));
        LogCapture log;

        const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(mat);

        QCOMPARE(log.asText(), warning("Image is not gray"));
        QVERIFY(circle == Circle());
    }

    void nearlyFoundCirclesAreThoseOfThePlainForm()
    {
        RandomInput input;
        int found = 0;
        for (int i = 0; i < 100; ++i) {
            const int cols = input.whole(300, 1300);
            const int rows = cols * 3 / 4;
            const float radius = 55.0F / 860 * float(cols) + float(input.whole(-40, 40));
            std::vector<cv::Vec3f> discs;
            discs.reserve(2);
            for (int disc = input.whole(0, 1); disc >= 0; --disc)
                discs.emplace_back(float(input.whole(0, cols)), float(input.whole(0, rows)), std::max(radius, 1.0F));
            const cv::Mat mat = faceWithDiscs(cols, rows, discs);
            const Reference::CircleAnswer expected = Reference::approximateFindCladdingCircle(mat);
            LogCapture log;

            const Circle circle = AnalyserPrivate::approximateFindCladdingCircle(mat);

            QVERIFY(circle.center.x() == expected.circle.center.x());
            QVERIFY(circle.center.y() == expected.circle.center.y());
            QVERIFY(circle.radius == expected.circle.radius);
            QCOMPARE(log.warnings(), expected.warning.isEmpty() ? QStringList() : QStringList{expected.warning});
            found += circle.isValid() ? 1 : 0;
        }
        QVERIFY(found > 10 && found < 90);
    }

    void theSearchCanRunInSeveralThreads()
    {
        const cv::Mat mat = faceWithDiscs(800, 600, {{380, 310, 51}});
        const Circle expected = AnalyserPrivate::approximateFindCladdingCircle(mat);
        std::vector<Circle> circles(4);

        std::vector<std::thread> threads;
        threads.reserve(circles.size());
        for (Circle &circle : circles)
            threads.emplace_back([&circle, &mat] { circle = AnalyserPrivate::approximateFindCladdingCircle(mat); });
        for (std::thread &thread : threads)
            thread.join();

        for (const Circle &circle : circles)
            QVERIFY(circle == expected);
    }

    // --- calculateCrop and cropImage

    void theCropIsASquareWithAMargin_data()
    {
        QTest::addColumn<QPointF>("center");
        QTest::addColumn<float>("diameter");
        QTest::addColumn<QSize>("resolution");
        QTest::addColumn<QRect>("crop");
        const QSize resolution(800, 600);
        QTest::newRow("whole numbers") << QPointF(400, 300) << 60.0F << resolution << QRect(350, 250, 100, 100);
        QTest::newRow("fractions are cut off")
            << QPointF(400.9, 300.4) << 60.9F << resolution << QRect(350, 249, 100, 100);
        QTest::newRow("the side is cut off too")
            << QPointF(400, 300) << 60.999F << resolution << QRect(349, 249, 100, 100);
        QTest::newRow("contact zone") << QPointF(398.5, 301.5) << 250.0F * (800.0F / 860.0F) << resolution
                                      << QRect(262, 165, 272, 272);
        QTest::newRow("touches left and top") << QPointF(50, 50) << 60.0F << resolution << QRect(0, 0, 100, 100);
        QTest::newRow("a fraction beyond left and top")
            << QPointF(49.01, 49.01) << 60.0F << resolution << QRect(0, 0, 100, 100);
        QTest::newRow("touches right and bottom")
            << QPointF(750, 550) << 60.0F << resolution << QRect(700, 500, 100, 100);
        QTest::newRow("a fraction beyond right and bottom")
            << QPointF(750.99, 550.99) << 60.0F << resolution << QRect(700, 500, 100, 100);
        QTest::newRow("the whole image") << QPointF(50, 50) << 60.0F << QSize(100, 100) << QRect(0, 0, 100, 100);
        QTest::newRow("smallest diameter") << QPointF(50, 50) << 1e-30F << resolution << QRect(30, 30, 40, 40);
        QTest::newRow("the centre is computed exactly")
            << QPointF(350.9999999999, 300) << 60.0F << resolution << QRect(300, 250, 100, 100);
    }
    void theCropIsASquareWithAMargin()
    {
        QFETCH(QPointF, center);
        QFETCH(float, diameter);
        QFETCH(QSize, resolution);
        LogCapture log;

        const QRect crop = AnalyserPrivate::calculateCrop(center, diameter, resolution);

        QTEST(crop, "crop");
        QVERIFY(log.lines().isEmpty());
    }

    void anImpossibleCropIsRefused_data()
    {
        QTest::addColumn<QPointF>("center");
        QTest::addColumn<float>("diameter");
        QTest::addColumn<QSize>("resolution");
        QTest::addColumn<QString>("reason");
        const QString invalid = QStringLiteral("one of input parameters is invalid");
        const QString negative = QStringLiteral("Invalid x or y coordinates");
        const QString outside = QStringLiteral("Crop is out of bounds");
        const QPointF center(400, 300);
        const QSize resolution(800, 600);
        QTest::newRow("no resolution") << center << 60.0F << QSize() << invalid;
        QTest::newRow("negative width") << center << 60.0F << QSize(-1, 600) << invalid;
        QTest::newRow("negative height") << center << 60.0F << QSize(800, -1) << invalid;
        QTest::newRow("no centre") << QPointF() << 60.0F << resolution << invalid;
        QTest::newRow("centre at the origin of a large image")
            << QPointF(0, 0) << 60.0F << QSize(80000, 60000) << invalid;
        QTest::newRow("centre at the negative origin") << QPointF(-0.0, -0.0) << 60.0F << resolution << invalid;
        QTest::newRow("no diameter") << center << 0.0F << resolution << invalid;
        QTest::newRow("negative diameter") << center << -60.0F << resolution << invalid;
        QTest::newRow("negative infinite diameter") << center << -infinityFloat << resolution << invalid;
        QTest::newRow("left of the image") << QPointF(49, 300) << 60.0F << resolution << negative;
        QTest::newRow("above the image") << QPointF(400, 49) << 60.0F << resolution << negative;
        QTest::newRow("centre on the left border") << QPointF(0, 300) << 60.0F << resolution << negative;
        QTest::newRow("centre on the upper border") << QPointF(400, 0) << 60.0F << resolution << negative;
        QTest::newRow("left and right") << QPointF(10, 300) << 5000.0F << resolution << negative;
        QTest::newRow("one pixel to the right") << QPointF(751, 300) << 60.0F << resolution << outside;
        QTest::newRow("one pixel below") << QPointF(400, 551) << 60.0F << resolution << outside;
        QTest::newRow("no pixels") << center << 60.0F << QSize(0, 0) << outside;
        QTest::newRow("diameter that is not a number") << center << nanFloat << resolution << outside;
        QTest::newRow("infinite diameter") << center << infinityFloat << resolution << outside;
        QTest::newRow("diameter beyond int") << center << 3e9F << resolution << outside;
        QTest::newRow("huge diameter") << center << 3e38F << resolution << outside;
        QTest::newRow("centre that is not a number") << QPointF(nanDouble, 300) << 60.0F << resolution << outside;
        QTest::newRow("row that is not a number") << QPointF(400, nanDouble) << 60.0F << resolution << outside;
        QTest::newRow("far centre") << QPointF(1e300, 300) << 60.0F << resolution << outside;
        QTest::newRow("far to the left") << QPointF(-1e300, 300) << 60.0F << resolution << outside;
        QTest::newRow("side and place add up beyond int")
            << QPointF(1.7e9, 1.7e9) << 1.0e9F << QSize(highestInt, highestInt) << outside;
    }
    void anImpossibleCropIsRefused()
    {
        QFETCH(QPointF, center);
        QFETCH(float, diameter);
        QFETCH(QSize, resolution);
        QFETCH(QString, reason);
        LogCapture log;

        const QRect crop = AnalyserPrivate::calculateCrop(center, diameter, resolution);

        QCOMPARE(crop, QRect());
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: ") + reason});
        QCOMPARE(log.lines().constFirst().category, QStringLiteral("default"));
    }

    void cropsAgreeWithThePlainForm()
    {
        RandomInput input;
        int accepted = 0;
        for (int i = 0; i < 20000; ++i) {
            const auto coordinate = [&] {
                static const double special[] = {0, -0.0, 1e300, -1e300, nanDouble, 2147483647.0, -2147483648.0};
                return input.whole(0, 30) == 0 ? special[input.whole(0, 6)] : input.whole(-2000, 20000) / 100.0;
            };
            const QPointF center(coordinate(), coordinate());
            const float diameter = input.diameter();
            const QSize resolution(input.whole(-1, 300), input.whole(-1, 300));
            const Reference::CropAnswer expected = Reference::calculateCrop(center, diameter, resolution);
            LogCapture log;

            const QRect crop = AnalyserPrivate::calculateCrop(center, diameter, resolution);

            QCOMPARE(crop, expected.crop);
            QCOMPARE(log.warnings(), expected.warning.isEmpty() ? QStringList() : QStringList{expected.warning});
            accepted += crop.isValid() ? 1 : 0;
        }
        QVERIFY2(accepted > 1000, QByteArray::number(accepted));
    }

    void aCropSharesThePixels()
    {
        cv::Mat mat = filled(50, 60, 7);

        cv::Mat crop = AnalyserPrivate::cropImage(mat, QRect(10, 20, 30, 25));
        crop.at<uchar>(0, 0) = 99;

        QCOMPARE(crop.cols, 30);
        QCOMPARE(crop.rows, 25);
        QCOMPARE(int(mat.at<uchar>(20, 10)), 99);
    }

    void aCropBeyondTheImageThrows()
    {
        const cv::Mat mat = filled(50, 60, 7);

        QVERIFY_EXCEPTION_THROWN(AnalyserPrivate::cropImage(mat, QRect(40, 20, 30, 25)), cv::Exception);
        QVERIFY_EXCEPTION_THROWN(AnalyserPrivate::cropImage(mat, QRect(-1, 20, 30, 25)), cv::Exception);
    }

    // --- grey levels

    void aBlackRingIsBelowBlack() { QCOMPARE(AnalyserPrivate::claddingColor(filled(101, 101, 0), 80, 20), -8); }

    void theCladdingColorIsALittleBelowItsMean()
    {
        QCOMPARE(AnalyserPrivate::claddingColor(filled(101, 101, 100), 80, 20), 92);
        QCOMPARE(AnalyserPrivate::claddingColor(filled(101, 101, 255), 80, 20), 247);
    }

    void theCladdingColorLeavesOutTheCoreAndTheOutside()
    {
        cv::Mat mat = filled(101, 101, 200);
        for (int row = 0; row < 101; ++row) {
            for (int col = 0; col < 101; ++col) {
                const int square = (row - 50) * (row - 50) + (col - 50) * (col - 50);
                if (square < 10 * 10)
                    mat.at<uchar>(row, col) = 250;
                else if (square <= 40 * 40)
                    mat.at<uchar>(row, col) = 100;
            }
        }

        QCOMPARE(AnalyserPrivate::claddingColor(mat, 80, 20), 92);
    }

    void bothRadiiOfTheCladdingBelongToIt()
    {
        cv::Mat mat = filled(41, 41, 0);
        for (const cv::Point &offset : {cv::Point(15, 0), {-15, 0}, {0, 15}, {0, -15}, {9, 12}, {9, -12}, {-9, 12},
                 {-9, -12}, {12, 9}, {12, -9}, {-12, 9}, {-12, -9}})
            mat.at<uchar>(20 + offset.x, 20 + offset.y) = 255;

        QCOMPARE(AnalyserPrivate::claddingColor(mat, 30, 30), 247);
    }

    void theSquareEndsBeforeItsLastWholePixel()
    {
        cv::Mat mat = filled(40, 40, 0); // from 5 to below 35
        mat.at<uchar>(35, 20) = 255;
        QCOMPARE(AnalyserPrivate::claddingColor(mat, 30, 30), -8);

        mat.at<uchar>(5, 20) = 255;
        QCOMPARE(AnalyserPrivate::claddingColor(mat, 30, 30), 255 / 10 - 8); // ten of twelve pixels are in the square
    }

    void theMeanIsCutOff()
    {
        cv::Mat mat = filled(41, 41, 100);
        mat.at<uchar>(20, 5) = 111; // one of twelve at that distance

        QCOMPARE(AnalyserPrivate::claddingColor(mat, 30, 30), 100 - 8);
    }

    void theFirstCoordinateOfAColorIsTheRow()
    {
        cv::Mat mat = filled(30, 20, 0); // middle: (10, 15), as row and column
        mat.at<uchar>(10, 15) = 255;

        QCOMPARE(AnalyserPrivate::claddingColor(mat, 1, 0), 247);
        mat.at<uchar>(10, 15) = 0;
        mat.at<uchar>(15, 10) = 255;
        QCOMPARE(AnalyserPrivate::claddingColor(mat, 1, 0), -8);
    }

    void theMiddleOfAnOddImageIsItsMiddlePixel()
    {
        cv::Mat mat = filled(505, 505, 0);
        mat.at<uchar>(252, 252) = 255;

        QCOMPARE(AnalyserPrivate::claddingColor(mat, 1, 0), 247);
    }

    void colorsOfNothingAreZero_data()
    {
        QTest::addColumn<cv::Mat>("mat");
        QTest::addColumn<float>("diameter");
        const cv::Mat mat = filled(41, 41, 200);
        QTest::newRow("negative diameter") << mat << -20.0F;
        QTest::newRow("diameter that is not a number") << mat << nanFloat;
        QTest::newRow("infinite diameter") << mat << infinityFloat;
        QTest::newRow("negative infinite diameter") << mat << -infinityFloat;
        QTest::newRow("empty") << cv::Mat() << 20.0F;
        QTest::newRow("no rows") << filled(0, 9, 0) << 20.0F;
        QTest::newRow("the middle lies below the last row") << filled(10, 100, 200) << 20.0F;
    }
    void colorsOfNothingAreZero()
    {
        QFETCH(cv::Mat, mat);
        QFETCH(float, diameter);
        LogCapture log;

        QCOMPARE(AnalyserPrivate::claddingColor(mat, diameter, 0), -8);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, diameter, 0, 255), 0);
        QCOMPARE(AnalyserPrivate::backgroundColor(mat, diameter), 0);
        QVERIFY(log.lines().isEmpty());
    }

    void aCoreThatIsNoNumberLeavesNoCladding()
    {
        QCOMPARE(AnalyserPrivate::claddingColor(filled(41, 41, 200), 30, nanFloat), -8);
        QCOMPARE(AnalyserPrivate::claddingColor(filled(41, 41, 200), 30, infinityFloat), -8);
        QCOMPARE(AnalyserPrivate::claddingColor(filled(41, 41, 200), 30, 31), -8);
        QCOMPARE(AnalyserPrivate::claddingColor(filled(41, 41, 200), 30, -5), 192);
    }

    void theColorAroundACircleIsThatOfItsSquareWithoutItsLine()
    {
        cv::Mat mat = filled(61, 61, 200);
        mat(cv::Rect(18, 18, 25, 25)).setTo(100); // 30.5 minus 12 to below 30.5 plus 12
        for (const cv::Point &pixel : {cv::Point(18, 30), {42, 30}, {30, 18}, {30, 42}})
            mat.at<uchar>(pixel.x, pixel.y) = 250;

        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 0, 255), 100);
    }

    void theLineOfACircleIsFuzzy_data()
    {
        QTest::addColumn<float>("radius");
        QTest::addColumn<bool>("isOnLine");
        const float distance = std::sqrt(145.0F); // of 12 and 1
        QTest::newRow("exactly") << distance << true;
        QTest::newRow("a little larger") << distance * (1 + 0.9e-5F) << true;
        QTest::newRow("a little smaller") << distance * (1 - 0.9e-5F) << true;
        QTest::newRow("larger") << distance * (1 + 1.2e-5F) << false;
        QTest::newRow("smaller") << distance * (1 - 1.2e-5F) << false;
    }
    void theLineOfACircleIsFuzzy()
    {
        QFETCH(float, radius);
        QFETCH(bool, isOnLine);
        cv::Mat mat = filled(61, 61, 0);
        mat.at<uchar>(42, 31) = 200;

        // Nothing but that pixel is bright enough.
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, (radius - 2) * 2, 200, 255), isOnLine ? 0 : 200);
    }

    void theColorAroundACircleKeepsWithinItsBounds()
    {
        cv::Mat mat = filled(61, 61, 255);
        mat.at<uchar>(30, 30) = 99;
        mat.at<uchar>(30, 31) = 100;
        mat.at<uchar>(31, 30) = 110;
        mat.at<uchar>(31, 31) = 120;
        mat.at<uchar>(29, 30) = 121;

        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 100, 120), 110);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 111, 120), 120);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 120, 100), 0);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 0, 98), 0);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, lowestInt, 99), 99);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 122, highestInt), 255);
    }

    void theBackgroundLiesBeyondTheMarginInTheCorners()
    {
        cv::Mat mat = filled(61, 61, 0);
        for (int row = 0; row < 61; ++row) {
            for (int col = 0; col < 61; ++col) {
                const int square = (row - 30) * (row - 30) + (col - 30) * (col - 30);
                if (square == 25 * 25) // at the margin of 21 plus 4
                    mat.at<uchar>(row, col) = 255;
                else if (square > 25 * 25)
                    mat.at<uchar>(row, col) = 77;
            }
        }
        for (const int outside : {8, 52}) { // the square goes from 9 to 51
            mat.row(outside).setTo(255);
            mat.col(outside).setTo(255);
        }

        QCOMPARE(AnalyserPrivate::backgroundColor(mat, 42), 77);
    }

    void aSmallCladdingHasNoBackground()
    {
        QCOMPARE(AnalyserPrivate::backgroundColor(filled(61, 61, 200), 18), 0);
        QCOMPARE(AnalyserPrivate::backgroundColor(filled(61, 61, 200), 22), 200);
    }

    void colorsOfOtherMatricesAreZero()
    {
        const cv::Mat mat(41, 41, CV_8UC3, cv::Scalar::all(200));

        QCOMPARE(AnalyserPrivate::claddingColor(mat, 20, 0), -8);
        QCOMPARE(AnalyserPrivate::colorAroundCircle(mat, 20, 0, 255), 0);
        QCOMPARE(AnalyserPrivate::backgroundColor(mat, 40), 0);
    }

    void colorsOfAPartAreThoseOfThatPart()
    {
        const cv::Mat mat = RandomInput().grayImage(60, 70);
        const cv::Mat part = mat(cv::Rect(7, 9, 41, 41));
        const cv::Mat copy = part.clone();

        QCOMPARE(AnalyserPrivate::claddingColor(part, 30, 10), AnalyserPrivate::claddingColor(copy, 30, 10));
        QCOMPARE(
            AnalyserPrivate::colorAroundCircle(part, 30, 0, 255), AnalyserPrivate::colorAroundCircle(copy, 30, 0, 255));
        QCOMPARE(AnalyserPrivate::backgroundColor(part, 38), AnalyserPrivate::backgroundColor(copy, 38));
    }

    void colorsAgreeWithTheReference()
    {
        RandomInput input;
        int nothing = 0;
        constexpr int runs = 8000;
        for (int i = 0; i < runs; ++i) {
            const bool isSquare = i % 2 == 0;
            const int rows = input.whole(0, 40);
            const cv::Mat mat = input.grayImage(rows, isSquare ? rows : input.whole(0, 40));
            const float diameter = input.diameter();
            const float coreDiameter = input.whole(0, 3) == 0 ? input.diameter() : float(input.whole(0, 40)) / 2;
            const int minColor = input.whole(-20, 270);
            const int maxColor = input.whole(-20, 270);
            const QByteArray name = QStringLiteral("%1 x %2, diameters %3 and %4, from %5 to %6")
                                        .arg(mat.rows)
                                        .arg(mat.cols)
                                        .arg(double(diameter), 0, 'g', 9)
                                        .arg(double(coreDiameter), 0, 'g', 9)
                                        .arg(minColor)
                                        .arg(maxColor)
                                        .toUtf8();

            const int cladding = AnalyserPrivate::claddingColor(mat, diameter, coreDiameter);
            QVERIFY2(cladding == Reference::claddingColor(mat, diameter, coreDiameter), name);
            QVERIFY2(AnalyserPrivate::colorAroundCircle(mat, diameter, minColor, maxColor)
                    == Reference::colorAroundCircle(mat, diameter, minColor, maxColor),
                name);
            QVERIFY2(AnalyserPrivate::colorAroundCircle(mat, diameter, 0, 255)
                    == Reference::colorAroundCircle(mat, diameter, 0, 255),
                name);
            QVERIFY2(
                AnalyserPrivate::backgroundColor(mat, diameter) == Reference::backgroundColor(mat, diameter), name);
            nothing += cladding == -8 ? 1 : 0;
        }
        QVERIFY(nothing < runs * 2 / 3);
    }

    // --- getBlurLevel

    void anEmptyImageHasNoFocus()
    {
        LogCapture log;

        QCOMPARE(AnalyserPrivate::getBlurLevel(cv::Mat(), Circle(100, 100, 40)), 0.0);
        QCOMPARE(log.asText(), warning("invalid image provided"));
        log.clear();
        QCOMPARE(AnalyserPrivate::getBlurLevel(nullptr, 800, 800, 600, Circle(100, 100, 40)), 0.0);
        QCOMPARE(log.asText(), warning("invalid image provided"));
    }

    void aFocusNeedsRoomAroundTheFibre_data()
    {
        QTest::addColumn<Circle>("circle");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no circle") << Circle() << QStringLiteral("one of input parameters is invalid");
        QTest::newRow("radius that leaves no diameter")
            << Circle(100, 100, -20) << QStringLiteral("one of input parameters is invalid");
        QTest::newRow("near the left border") << Circle(49, 100, 40) << QStringLiteral("Invalid x or y coordinates");
        QTest::newRow("near the right border") << Circle(151, 100, 40) << QStringLiteral("Crop is out of bounds");
        QTest::newRow("radius that is not a number")
            << Circle(100, 100, nanFloat) << QStringLiteral("Crop is out of bounds");
    }
    void aFocusNeedsRoomAroundTheFibre()
    {
        QFETCH(Circle, circle);
        QFETCH(QString, reason);
        const cv::Mat mat = RandomInput().grayImage(200, 200);
        LogCapture log;

        QCOMPARE(AnalyserPrivate::getBlurLevel(mat, circle), 0.0);
        QCOMPARE(log.asText(), QStringList{QStringLiteral("warning: ") + reason});
    }

    void aFocusNeedsAnEightBitImage_data()
    {
        QTest::addColumn<int>("type");
        QTest::newRow("16-bit") << int(CV_16UC1);
        QTest::newRow("float") << int(CV_32FC1);
        QTest::newRow("signed 32-bit") << int(CV_32SC1);
    }
    void aFocusNeedsAnEightBitImage()
    {
        QFETCH(int, type);

        QCOMPARE(AnalyserPrivate::getBlurLevel(cv::Mat(200, 200, type, cv::Scalar::all(9)), Circle(100, 100, 40)), 0.0);
    }

    void anEvenImageHasNoSharpness()
    {
        QCOMPARE(AnalyserPrivate::getBlurLevel(filled(200, 200, 77), Circle(100, 100, 40)), 0.0);
    }

    void sharperImagesMeasureHigher()
    {
        const cv::Mat sharp = RandomInput().grayImage(200, 200);
        cv::Mat blurred;
        cv::GaussianBlur(sharp, blurred, cv::Size(9, 9), 0);

        QVERIFY(AnalyserPrivate::getBlurLevel(sharp, Circle(100, 100, 40))
            > AnalyserPrivate::getBlurLevel(blurred, Circle(100, 100, 40)) + 1);
    }

    void theFocusLooksAtTheMiddleOfTheCladdingOnly()
    {
        // A radius of 40 gives a crop from 50 to 149; the smoothing sees two pixels more.
        cv::Mat mat = RandomInput().grayImage(200, 200);
        const double level = AnalyserPrivate::getBlurLevel(mat, Circle(100, 100, 40));
        cv::Mat outside = filled(200, 200, 0);
        mat(cv::Rect(48, 48, 104, 104)).copyTo(outside(cv::Rect(48, 48, 104, 104)));
        cv::Mat tooFarInside = filled(200, 200, 0);
        mat(cv::Rect(50, 50, 100, 100)).copyTo(tooFarInside(cv::Rect(50, 50, 100, 100)));

        QCOMPARE(AnalyserPrivate::getBlurLevel(outside, Circle(100, 100, 40)), level);
        QVERIFY(AnalyserPrivate::getBlurLevel(tooFarInside, Circle(100, 100, 40)) != level);
    }

    void theFocusOfACameraBufferIsThatOfItsLuminance()
    {
        RandomInput input;
        cv::Mat frame = input.grayImage(300, 200);
        const cv::Mat luminance = frame.rowRange(0, 200).clone();

        QCOMPARE(AnalyserPrivate::getBlurLevel(frame.data, 200, 200, 200, Circle(100, 100, 40)),
            AnalyserPrivate::getBlurLevel(luminance, Circle(100, 100, 40)));
    }

    void focusLevelsAgreeWithThePlainForm()
    {
        RandomInput input;
        for (int i = 0; i < 300; ++i) {
            cv::Mat mat = input.grayImage(input.whole(60, 120), input.whole(60, 120));
            const int kernel = 2 * input.whole(0, 3) + 1;
            cv::GaussianBlur(mat, mat, cv::Size(kernel, kernel), 0);
            const Circle circle(
                float(input.whole(0, 1200)) / 10, float(input.whole(0, 1200)) / 10, float(input.whole(-300, 500)) / 10);
            LogCapture log;

            const double level = AnalyserPrivate::getBlurLevel(mat, circle);

            QVERIFY(level == Reference::getBlurLevel(mat, circle));
            QVERIFY(level == std::round(level * 10) / 10);
        }
    }

    // --- createOpenCVImageFromBytes

    void theLuminanceOfAFrameIsItsFirstPlane()
    {
        RandomInput input;
        for (const QSize &size : {QSize(2, 2), QSize(8, 4), QSize(4, 8), QSize(640, 480), QSize(30, 2), QSize(2, 30)}) {
            cv::Mat frame = input.grayImage(size.height() * 3 / 2, size.width());

            const cv::Mat image =
                AnalyserPrivate::createOpenCVImageFromBytes(frame.data, size.width(), size.width(), size.height());

            QVERIFY(areEqual(image, Reference::createOpenCVImageFromBytes(frame.data, size.width(), size.height())));
            QVERIFY(areEqual(image, frame.rowRange(0, size.height())));
        }
    }

    void theLuminanceIsIndependentOfTheBuffer()
    {
        cv::Mat frame = filled(12, 8, 50);

        const cv::Mat image = AnalyserPrivate::createOpenCVImageFromBytes(frame.data, 8, 8, 8);
        frame.setTo(99);

        QVERIFY(areEqual(image, filled(8, 8, 50)));
    }

    void theStrideOfAFrameIsNotLookedAt()
    {
        cv::Mat frame = RandomInput().grayImage(12, 8);
        const cv::Mat image = AnalyserPrivate::createOpenCVImageFromBytes(frame.data, 8, 8, 8);

        for (const int bytesPerLine : {0, -1, 7, 16, highestInt})
            QVERIFY(areEqual(AnalyserPrivate::createOpenCVImageFromBytes(frame.data, bytesPerLine, 8, 8), image));
    }

    void framesOfImpossibleSizeGiveNoImage_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("odd width") << 7 << 8;
        QTest::newRow("odd height") << 8 << 7;
        QTest::newRow("both odd") << 7 << 7;
        QTest::newRow("nothing") << 0 << 0;
        QTest::newRow("no width") << 0 << 8;
        QTest::newRow("no height") << 8 << 0;
        QTest::newRow("negative width") << -8 << 8;
        QTest::newRow("negative height") << 8 << -8;
        QTest::newRow("both negative") << -8 << -8;
        QTest::newRow("lowest width") << lowestInt << 8;
    }
    void framesOfImpossibleSizeGiveNoImage()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        cv::Mat frame = filled(24, 16, 50);

        QVERIFY(AnalyserPrivate::createOpenCVImageFromBytes(frame.data, 8, width, height).empty());
        QVERIFY(AnalyserPrivate::createOpenCVImageFromBytes(nullptr, 8, width, height).empty());
    }

    void aFrameWithoutDataGivesNoImage()
    {
        QVERIFY(AnalyserPrivate::createOpenCVImageFromBytes(nullptr, 8, 8, 8).empty());
    }

    void framesOfAllSizesAgreeWithThePlainForm()
    {
        cv::Mat frame = RandomInput().grayImage(24, 16);
        for (int width = -2; width <= 16; ++width) {
            for (int height = -2; height <= 16; ++height) {
                QVERIFY(areEqual(AnalyserPrivate::createOpenCVImageFromBytes(frame.data, width, width, height),
                    Reference::createOpenCVImageFromBytes(frame.data, width, height)));
            }
        }
    }

    // --- loadImage

    void goodFilesAreRead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        RandomInput input;
        const cv::Mat color = input.colorImage(48, 67);
        const cv::Mat gray = input.grayImage(48, 67);
        cv::Mat alpha;
        cv::cvtColor(color, alpha, cv::COLOR_BGR2BGRA);
        alpha.col(3).setTo(cv::Scalar(1, 2, 3, 4));
        cv::Mat deep;
        color.convertTo(deep, CV_16U, 257);

        for (const char *extension : {".jpg", ".png", ".bmp", ".tiff", ".webp", ".ppm"}) {
            QTest::addRow("colour%s", extension) << encoded(extension, color);
            if (qstrcmp(extension, ".ppm") != 0) // holds nothing but colour
                QTest::addRow("grey%s", extension) << encoded(extension, gray);
        }
        for (const char *extension : {".png", ".tiff", ".webp"})
            QTest::addRow("alpha%s", extension) << encoded(extension, alpha);
        for (const char *extension : {".png", ".tiff", ".ppm"})
            QTest::addRow("16-bit%s", extension) << encoded(extension, deep);
        QTest::newRow("grey.pgm") << encoded(".pgm", gray);
        QTest::newRow("lossless.webp") << encoded(".webp", color, {cv::IMWRITE_WEBP_QUALITY, 101});
        QTest::newRow("bilevel.png") << encoded(".png", gray > 128, {cv::IMWRITE_PNG_BILEVEL, 1});
        QTest::newRow("progressive.jpg") << encoded(".jpg", color, {cv::IMWRITE_JPEG_PROGRESSIVE, 1});
        QTest::newRow("restarts.jpg") << encoded(".jpg", color, {cv::IMWRITE_JPEG_RST_INTERVAL, 1});
        QTest::newRow("optimised.jpg") << encoded(".jpg", color, {cv::IMWRITE_JPEG_OPTIMIZE, 1});
        QTest::newRow("best.jpg") << encoded(".jpg", color, {cv::IMWRITE_JPEG_QUALITY, 100});
        QByteArray filled = encoded(".jpg", color);
        filled.insert(filled.size() - 2, 3, '\xFF');
        filled.insert(2, 5, '\xFF');
        QTest::newRow("fill bytes before markers.jpg") << filled;
        QTest::newRow("one pixel.jpg") << encoded(".jpg", color(cv::Rect(0, 0, 1, 1)));
        QTest::newRow("one pixel.png") << encoded(".png", color(cv::Rect(0, 0, 1, 1)));

        QBuffer buffer;
        buffer.open(QIODevice::WriteOnly);
        AnalyserPrivate::matToQImage(color).convertToFormat(QImage::Format_Indexed8).save(&buffer, "PNG");
        QTest::newRow("palette.png") << buffer.data();
    }
    void goodFilesAreRead()
    {
        QFETCH(QByteArray, bytes);
        const cv::Mat expected = reference(bytes);
        LogCapture log;

        const cv::Mat mat = loaded(bytes);

        QVERIFY(!expected.empty());
        QCOMPARE(mat.type(), int(CV_8UC3));
        QVERIFY(areEqual(mat, expected));
        QVERIFY(log.warnings().isEmpty());
    }

    void theContentDecidesNotTheName()
    {
        const cv::Mat mat = RandomInput().colorImage(20, 30);

        QVERIFY(areEqual(loaded(encoded(".png", mat), "really.jpg"), mat));
        QVERIFY(areEqual(loaded(encoded(".bmp", mat), "nameless"), mat));
        QVERIFY(areEqual(loaded(encoded(".tiff", mat), "strange.txt"), mat));
    }

    void alphaIsDropped()
    {
        cv::Mat mat(6, 7, CV_8UC4, cv::Scalar(10, 20, 30, 0));

        QVERIFY(areEqual(loaded(encoded(".png", mat)), cv::Mat(6, 7, CV_8UC3, cv::Scalar(10, 20, 30))));
    }

    void orientationTagsAreApplied_data()
    {
        QTest::addColumn<int>("orientation");
        QTest::addColumn<QSize>("size");
        QTest::addColumn<QPoint>("place"); // where the upper left corner goes
        QTest::newRow("upright") << 1 << QSize(64, 32) << QPoint(0, 0);
        QTest::newRow("mirrored") << 2 << QSize(64, 32) << QPoint(63, 0);
        QTest::newRow("upside down") << 3 << QSize(64, 32) << QPoint(63, 31);
        QTest::newRow("flipped") << 4 << QSize(64, 32) << QPoint(0, 31);
        QTest::newRow("transposed") << 5 << QSize(32, 64) << QPoint(0, 0);
        QTest::newRow("turned right") << 6 << QSize(32, 64) << QPoint(31, 0);
        QTest::newRow("transposed the other way") << 7 << QSize(32, 64) << QPoint(31, 63);
        QTest::newRow("turned left") << 8 << QSize(32, 64) << QPoint(0, 63);
        QTest::newRow("unknown") << 9 << QSize(64, 32) << QPoint(0, 0);
    }
    void orientationTagsAreApplied()
    {
        QFETCH(int, orientation);
        QFETCH(QSize, size);
        QFETCH(QPoint, place);
        cv::Mat mat(32, 64, CV_8UC3, cv::Scalar::all(0));
        mat(cv::Rect(0, 0, 16, 16)).setTo(cv::Scalar::all(255));
        const QByteArray exif = exifWithOrientation(orientation);
        const QByteArray jpeg = withSegment(encoded(".jpg", mat), 0xE1, QByteArray("Exif\0\0", 6) + exif);
        const QByteArray plainPng = encoded(".png", mat);
        const QByteArray png = plainPng.left(pngHeaderEnd) + pngChunk("eXIf", exif) + plainPng.mid(pngHeaderEnd);

        const cv::Mat fromJpeg = loaded(jpeg);
        const cv::Mat fromPng = loaded(png);

        QVERIFY(areEqual(fromJpeg, reference(jpeg)));
        QVERIFY(areEqual(fromPng, reference(png)));
        QCOMPARE(AnalyserPrivate::imageSize(fromJpeg), size);
        QVERIFY(fromJpeg.at<cv::Vec3b>(place.y(), place.x())[0] > 200);
    }

    void paddingBehindTheEndIsAccepted_data()
    {
        QTest::addColumn<QByteArray>("padding");
        QTest::newRow("one zero") << QByteArray(1, '\0');
        QTest::newRow("a block of zeros") << QByteArray(4096, '\0');
        QTest::newRow("a block of ones") << QByteArray(4096, '\xFF');
        QTest::newRow("text") << QByteArray("the end");
        QTest::newRow("a second end") << QByteArray("\xFF\xD9");
    }
    void paddingBehindTheEndIsAccepted()
    {
        QFETCH(QByteArray, padding);
        const cv::Mat mat = RandomInput().colorImage(48, 67);

        for (const char *extension : {".jpg", ".png", ".bmp", ".tiff", ".webp"}) {
            const QByteArray bytes = encoded(extension, mat);
            QVERIFY2(areEqual(loaded(bytes + padding), reference(bytes)), extension);
        }
        QVERIFY(loaded(encoded(".ppm", mat) + padding).empty()); // nothing tells where it ends: bytes may be inserted
    }

    void incompleteFilesAreRefused_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<bool>("hasEndMarker");
        RandomInput input;
        const cv::Mat color = input.colorImage(48, 67);
        QTest::newRow("jpg") << encoded(".jpg", color) << true;
        QTest::newRow("progressive jpg") << encoded(".jpg", color, {cv::IMWRITE_JPEG_PROGRESSIVE, 1}) << true;
        QTest::newRow("jpg with restarts") << encoded(".jpg", color, {cv::IMWRITE_JPEG_RST_INTERVAL, 1}) << true;
        QTest::newRow("grey jpg") << encoded(".jpg", input.grayImage(40, 50)) << true;
        QTest::newRow("png") << encoded(".png", color) << true;
        QTest::newRow("bmp") << encoded(".bmp", color) << false;
        QTest::newRow("tiff") << encoded(".tiff", color) << false;
        QTest::newRow("tiff without compression")
            << encoded(".tiff", color, {cv::IMWRITE_TIFF_COMPRESSION, 1}) << false;
        QTest::newRow("webp") << encoded(".webp", color) << false;
        QTest::newRow("lossless webp") << encoded(".webp", color, {cv::IMWRITE_WEBP_QUALITY, 101}) << false;
        QTest::newRow("ppm") << encoded(".ppm", color) << false;
    }
    void incompleteFilesAreRefused()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(bool, hasEndMarker);
        const cv::Mat whole = reference(bytes);
        QVERIFY(!whole.empty());

        for (int length = 0; length<bytes.size(); length += length> bytes.size() - 20 ? 1 : bytes.size() / 97 + 1) {
            const cv::Mat mat = loaded(bytes.left(length));

            // Without an end marker the last bytes may be mere padding.
            const bool isWhole = !hasEndMarker && areEqual(mat, whole);
            QVERIFY2(
                mat.empty() || isWhole, qPrintable(QStringLiteral("%1 of %2 bytes").arg(length).arg(bytes.size())));
        }
    }

    void theEndOfAThumbnailIsNotTheEndOfThePicture()
    {
        const QByteArray thumbnail = encoded(".jpg", RandomInput().colorImage(24, 32));
        const QByteArray picture = withSegment(encoded(".jpg", RandomInput().colorImage(48, 67)), 0xE1,
            QByteArray("Exif\0\0", 6) + exifWithOrientation(1) + thumbnail);
        const int endOfThumbnail = picture.indexOf(thumbnail) + thumbnail.size();

        QVERIFY(areEqual(loaded(picture), reference(picture)));
        for (const int length :
            {endOfThumbnail - 1, endOfThumbnail, endOfThumbnail + 300, picture.size() - 500, picture.size() - 2})
            QVERIFY(loaded(picture.left(length)).empty());
        // Nothing but the thumbnail between start and end.
        QVERIFY(loaded(picture.left(endOfThumbnail) + QByteArray("\xFF\xD9")).empty());
    }

    void oversizedImagesAreRefusedAtOnce_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const cv::Mat mat = RandomInput().colorImage(16, 16);
        const QByteArray wide = bigEndian(30000, 2);

        QByteArray jpeg = encoded(".jpg", mat);
        const int frame = jpeg.indexOf("\xFF\xC0");
        jpeg.replace(frame + 5, 4, wide + wide);
        QTest::newRow("jpg") << jpeg;

        QByteArray progressive = encoded(".jpg", mat, {cv::IMWRITE_JPEG_PROGRESSIVE, 1});
        progressive.replace(progressive.indexOf("\xFF\xC2") + 5, 4, wide + wide);
        QTest::newRow("progressive jpg") << progressive;

        const QByteArray png = encoded(".png", mat);
        const auto pngOfSize = [&](quint32 width, quint32 height) {
            return png.left(8) + pngChunk("IHDR", bigEndian(width, 4) + bigEndian(height, 4) + png.mid(24, 5))
                + png.mid(pngHeaderEnd);
        };
        QTest::newRow("png") << pngOfSize(30000, 30000);
        QTest::newRow("png wider than any int") << pngOfSize(0xFFFFFFFF, 1);
        QTest::newRow("png of the most pixels") << pngOfSize(0x7FFFFFFF, 0x7FFFFFFF);

        QByteArray bmp = encoded(".bmp", mat);
        const QByteArray littleWide("\x30\x75\0\0", 4);
        bmp.replace(18, 8, littleWide + littleWide);
        QTest::newRow("bmp") << bmp;

        QTest::newRow("ppm") << QByteArray("P6\n30000 30000\n255\n") + QByteArray(1000, 'x');

        const auto tiffTag = [](int tag, int type, quint32 value) {
            return bigEndian(quint32(tag), 2) + bigEndian(quint32(type), 2) + bigEndian(1, 4)
                + (type == 3 ? bigEndian(value, 2) + bigEndian(0, 2) : bigEndian(value, 4));
        };
        // width, height, bits, compression (deflate), photometry, offset, samples, rows and bytes of the one strip
        QTest::newRow("tiff") << QByteArray("MM\0\x2A", 4) + bigEndian(8, 4) + bigEndian(9, 2) + tiffTag(256, 4, 30000)
                + tiffTag(257, 4, 30000) + tiffTag(258, 3, 8) + tiffTag(259, 3, 8) + tiffTag(262, 3, 1)
                + tiffTag(273, 4, 200) + tiffTag(277, 3, 1) + tiffTag(278, 4, 30000) + tiffTag(279, 4, 500)
                + bigEndian(0, 4) + QByteArray(1000, 'x');

        // Canvas of 30000 x 30000; no picture of that size is there.
        QTest::newRow("webp") << QByteArray("RIFF\x16\0\0\0WEBPVP8X\x0A\0\0\0\0\0\0\0\x2F\x75\0\x2F\x75\0", 30);
    }
    void oversizedImagesAreRefusedAtOnce()
    {
        QFETCH(QByteArray, bytes);
        const WorkTimer timer;

        const cv::Mat mat = loaded(bytes);

        QVERIFY(mat.empty());
        QVERIFY(timer.seconds() < 0.5); // decoding takes many seconds
    }

    void theLogTellsWhyAnImageIsRefused()
    {
        QByteArray jpeg = encoded(".jpg", RandomInput().colorImage(16, 16));
        jpeg.replace(jpeg.indexOf("\xFF\xC0") + 5, 4, bigEndian(30000, 2) + bigEndian(30000, 2));
        const QByteArray file = path("image").toUtf8();
        const auto refusal = [&](const char *reason) {
            return QStringList{QStringLiteral("debug: image refused: \"%1\" \"%2\"")
                                   .arg(QString::fromUtf8(file), QString::fromUtf8(reason))};
        };
        LogCapture log;

        loaded(jpeg);
        QCOMPARE(log.asText(), refusal("30000 x 30000 pixels are too many"));
        log.clear();
        loaded(jpeg.left(jpeg.size() - 2));
        QCOMPARE(log.asText(), refusal("the image is incomplete"));
        log.clear();
        loaded(jpeg.left(jpeg.indexOf("\xFF\xDA")) + QByteArray("\xFF\xD9")); // an end, but no picture before it
        QCOMPARE(log.asText(), refusal("the image is incomplete"));
        log.clear();
        loaded("no image at all");
        QCOMPARE(log.asText(), refusal("not an image of a known format"));
        log.clear();
        loaded({});
        QCOMPARE(log.asText(), refusal("the file is empty"));
        log.clear();
        QFile::remove(path("image"));
        AnalyserPrivate::loadImage(path("image"));
        QCOMPARE(log.asText(), refusal("no such file"));
    }

    void pngFilesWithWrongChecksumsAreRefused()
    {
        const QByteArray png = encoded(".png", RandomInput().colorImage(48, 67));
        const int data = png.indexOf("IDAT");
        QVERIFY(data > 0);

        QByteArray wrongHeader = png;
        wrongHeader[pngHeaderEnd - 1] = char(wrongHeader[pngHeaderEnd - 1] ^ 1);
        QByteArray wrongData = png;
        wrongData[data + 100] = char(wrongData[data + 100] ^ 1);

        QVERIFY(loaded(wrongHeader).empty());
        QVERIFY(loaded(wrongData).empty());
    }

    void whatIsNoFileIsRefused()
    {
        const QString folder = path("folder.png");
        const QString pipe = path("pipe.jpg");
        const QString dangling = path("dangling.jpg");
        QVERIFY(QDir().mkpath(folder));
        QCOMPARE(::mkfifo(pipe.toUtf8().constData(), 0600), 0);
        QCOMPARE(::symlink("nowhere", dangling.toUtf8().constData()), 0);

        QVERIFY(AnalyserPrivate::loadImage(folder).empty());
        QVERIFY(AnalyserPrivate::loadImage(pipe).empty()); // nobody will ever write to it
        QVERIFY(AnalyserPrivate::loadImage(dangling).empty());
        QVERIFY(AnalyserPrivate::loadImage(QString()).empty());
        QVERIFY(AnalyserPrivate::loadImage(path("missing.jpg")).empty());
        QVERIFY(AnalyserPrivate::loadImage(path("missing/image.jpg")).empty());
        QVERIFY(AnalyserPrivate::loadImage(QStringLiteral("/dev/zero")).empty());
    }

    void filesThatCannotBeReadAreRefused()
    {
        const cv::Mat mat = RandomInput().colorImage(20, 30);
        const QString file = path("private.png");
        QVERIFY(AnalyserPrivate::saveImage(mat, file));
        QCOMPARE(::chmod(mDir.path().toUtf8().constData(), 0711), 0);
        QCOMPARE(::chmod(file.toUtf8().constData(), 0), 0);

        {
            const Unprivileged nobody;
            QVERIFY(AnalyserPrivate::loadImage(file).empty());
        }
        // A regular file that opens and then fails to read.
        QVERIFY(AnalyserPrivate::loadImage(QStringLiteral("/proc/self/mem")).empty());
    }

    void pathsAreUtf8()
    {
        const cv::Mat mat = RandomInput().colorImage(20, 30);
        const QString file = path("Stirnfläche 面 №1.png");

        QVERIFY(AnalyserPrivate::saveImage(mat, file));
        QVERIFY(::access(file.toUtf8().constData(), F_OK) == 0);
        QVERIFY(areEqual(AnalyserPrivate::loadImage(file), mat));
        QVERIFY(areEqual(cv::imread(file.toUtf8().toStdString()), mat));
    }

    void aLinkToAnImageIsRead()
    {
        const cv::Mat mat = RandomInput().colorImage(20, 30);
        QVERIFY(AnalyserPrivate::saveImage(mat, path("target.png")));
        QCOMPARE(::symlink("target.png", path("link.png").toUtf8().constData()), 0);

        QVERIFY(areEqual(AnalyserPrivate::loadImage(path("link.png")), mat));
    }

    void damagedFilesDoNoHarm_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        RandomInput input;
        const cv::Mat mat = input.colorImage(48, 67);
        for (const char *extension : {".jpg", ".png", ".bmp", ".tiff", ".webp", ".ppm"})
            QTest::newRow(extension) << encoded(extension, mat);
    }
    void damagedFilesDoNoHarm()
    {
        QFETCH(QByteArray, bytes);
        RandomInput input;
        for (int i = 0; i < 150; ++i) {
            QByteArray damaged = bytes;
            const int reach = i % 2 == 0 ? qMin(200, bytes.size()) : bytes.size(); // headers are the tender part
            for (int damage = input.whole(1, 8); damage > 0; --damage)
                damaged[input.whole(0, reach - 1)] = char(input.whole(0, 255));
            if (i % 5 == 0)
                damaged.remove(input.whole(0, reach - 1), input.whole(1, 40));

            const cv::Mat mat = loaded(damaged);

            QVERIFY(mat.empty() || mat.type() == CV_8UC3);
        }
    }

    // --- saveImage

    void savedFilesAreThoseOfOpenCv_data()
    {
        QTest::addColumn<cv::Mat>("mat");
        QTest::addColumn<QString>("extension");
        RandomInput input;
        const cv::Mat color = input.colorImage(48, 67);
        const cv::Mat gray = input.grayImage(48, 67);
        cv::Mat alpha;
        cv::cvtColor(color, alpha, cv::COLOR_BGR2BGRA);
        cv::Mat floating;
        color.convertTo(floating, CV_32F);
        for (const char *extension : {"jpg", "jpeg", "JPG", "png", "PNG", "bmp", "tiff", "tif", "webp", "ppm"}) {
            QTest::addRow("colour.%s", extension) << color << QString::fromUtf8(extension);
            if (qstrcmp(extension, "ppm") != 0) // holds nothing but colour
                QTest::addRow("grey.%s", extension) << gray << QString::fromUtf8(extension);
        }
        QTest::newRow("grey.pgm") << gray << QStringLiteral("pgm");
        QTest::newRow("alpha.png") << alpha << QStringLiteral("png");
        QTest::newRow("alpha.jpg") << alpha << QStringLiteral("jpg");
        QTest::newRow("float.png") << floating << QStringLiteral("png");
        QTest::newRow("part.png") << color(cv::Rect(3, 4, 20, 21)) << QStringLiteral("png");
    }
    void savedFilesAreThoseOfOpenCv()
    {
        QFETCH(cv::Mat, mat);
        QFETCH(QString, extension);
        const QTemporaryDir folder;
        const QString saved = folder.filePath(QStringLiteral("saved.") + extension);
        const QString expected = path("expected.") + extension;
        LogCapture log;

        const bool isSaved = AnalyserPrivate::saveImage(mat, saved);

        QVERIFY(isSaved);
        QVERIFY(cv::imwrite(expected.toStdString(), mat));
        QVERIFY(!contentOf(saved).isEmpty());
        QVERIFY(contentOf(saved) == contentOf(expected));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QFileInfo(saved).fileName()});
        QVERIFY(log.lines().isEmpty());
    }

    void whatCannotBeSavedLeavesNothing_data()
    {
        QTest::addColumn<cv::Mat>("mat");
        QTest::addColumn<QString>("name");
        const cv::Mat mat = RandomInput().colorImage(16, 16);
        QTest::newRow("unknown extension") << mat << QStringLiteral("image.xyz");
        QTest::newRow("no extension") << mat << QStringLiteral("image");
        QTest::newRow("nothing behind the dot") << mat << QStringLiteral("image.");
        QTest::newRow("no name") << mat << QString();
        QTest::newRow("dot in the folder only") << mat << QStringLiteral("folder.d/image");
        QTest::newRow("empty matrix") << cv::Mat() << QStringLiteral("image.png");
        QTest::newRow("two channels") << cv::Mat(4, 4, CV_8UC2, cv::Scalar::all(1)) << QStringLiteral("image.png");
        QTest::newRow("missing folder") << mat << QStringLiteral("missing/image.png");
        QTest::newRow("file as folder") << mat << QStringLiteral("file/image.png");
        QTest::newRow("folder as file") << mat << QStringLiteral("folder.png");
    }
    void whatCannotBeSavedLeavesNothing()
    {
        QFETCH(cv::Mat, mat);
        QFETCH(QString, name);
        const QTemporaryDir folder;
        QVERIFY(QDir(folder.path()).mkpath(QStringLiteral("folder.d")));
        QVERIFY(QDir(folder.path()).mkpath(QStringLiteral("folder.png")));
        QVERIFY(store(folder.filePath(QStringLiteral("file")), "content"));

        QVERIFY(!AnalyserPrivate::saveImage(mat, name.isEmpty() ? name : folder.filePath(name)));

        QStringList left;
        QDirIterator entry(folder.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (entry.hasNext())
            left << QFileInfo(entry.next()).fileName();
        QCOMPARE(left, QStringList{QStringLiteral("file")});
    }

    void aFolderWithoutPermissionIsNotWrittenTo()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("image.png"));
        const cv::Mat mat = RandomInput().colorImage(16, 16);
        QVERIFY(store(file, "old"));
        QCOMPARE(::chmod(folder.path().toUtf8().constData(), 0555), 0);

        {
            const Unprivileged nobody;
            QVERIFY(!AnalyserPrivate::saveImage(mat, file));
        }

        QCOMPARE(contentOf(file), QByteArray("old"));
        QCOMPARE(::chmod(folder.path().toUtf8().constData(), 0755), 0);
    }

    void anExistingFileIsReplaced()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("image.png"));
        const cv::Mat mat = RandomInput().colorImage(16, 16);
        QVERIFY(store(file, QByteArray(100000, 'x')));

        QVERIFY(AnalyserPrivate::saveImage(mat, file));

        QVERIFY(areEqual(AnalyserPrivate::loadImage(file), mat));
        QCOMPARE(contentOf(file), encoded(".png", mat));
    }

    void anExistingFileSurvivesAFailedSaving()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("image.png"));
        QVERIFY(store(file, "old"));

        QVERIFY(!AnalyserPrivate::saveImage(cv::Mat(), file));
        QCOMPARE(contentOf(file), QByteArray("old"));

        {
            const Faults::FileSizeLimit limit(1000); // as if the disk were full
            QVERIFY(!AnalyserPrivate::saveImage(RandomInput().colorImage(100, 100), file));
        }
        QCOMPARE(contentOf(file), QByteArray("old"));
        QCOMPARE(QDir(folder.path()).entryList(QDir::Files | QDir::Hidden), QStringList{QStringLiteral("image.png")});
    }

    void aLinkInPlaceOfTheFileIsReplacedAndNotFollowed()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(QStringLiteral("image.png"));
        const QString victim = folder.filePath(QStringLiteral("victim"));
        QVERIFY(store(victim, "precious"));
        QCOMPARE(::symlink(victim.toUtf8().constData(), file.toUtf8().constData()), 0);

        QVERIFY(AnalyserPrivate::saveImage(RandomInput().colorImage(16, 16), file));

        QCOMPARE(contentOf(victim), QByteArray("precious"));
        QVERIFY(!QFileInfo(file).isSymLink());
        QVERIFY(!AnalyserPrivate::loadImage(file).empty());
    }
};

QTEST_APPLESS_MAIN(TestAnalyserPrivateImages)
#include "tst_analyserprivate_images.moc"
