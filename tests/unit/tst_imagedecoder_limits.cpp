// SPDX-License-Identifier: Apache-2.0
#include "EncodedImages.h"
#include "Faults.h"
#include "FiberInspection/Analyser.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "FiberInspection/Inspection.h"
#include "ForkedChild.h"
#include "LogCapture.h"
#include "WorkTimer.h"

#include <QtTest>

#include <opencv2/imgcodecs.hpp>

#include <limits>
#include <malloc.h>
#include <numeric>

using namespace FiberInspection;
using namespace EncodedImages;

namespace {
constexpr qint64 mebibyte = 1048576;

#if defined(__SANITIZE_ADDRESS__)
constexpr qint64 instrumentation = 512; // mebibytes that are kept after they were freed
constexpr double slowness = 8;
#else
constexpr qint64 instrumentation = 0;
constexpr double slowness = 1;
#endif

/// A value of /proc/self/status, in bytes.
qint64 memory(const char *name)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray content = status.readAll();
    const int at = content.indexOf(name);
    return at < 0 ? -1 : content.mid(at).simplified().split(' ').value(1).toLongLong() * 1024;
}

bool forgetPeak()
{
    QFile control(QStringLiteral("/proc/self/clear_refs"));
    return control.open(QIODevice::WriteOnly) && control.write("5") == 1 && control.flush();
}

QByteArray replaced(QByteArray bytes, int at, const QByteArray &piece)
{
    return bytes.replace(at, piece.size(), piece);
}

cv::Mat plainPicture(int rows, int cols)
{
    return {rows, cols, CV_8UC3, cv::Scalar(90, 120, 150)};
}

/// A JPEG that declares another size than its data have.
QByteArray jpegOfSize(const QByteArray &jpeg, int marker, quint32 width, quint32 height)
{
    const QByteArray frame = QByteArray("\xFF") + char(marker);
    return replaced(jpeg, jpeg.indexOf(frame) + 5, bigEndian(height, 2) + bigEndian(width, 2));
}

QByteArray withoutData(const QByteArray &jpeg)
{
    std::vector<JpegPiece> pieces = jpegPieces(jpeg);
    pieces.erase(std::remove_if(pieces.begin(), pieces.end(), [](const JpegPiece &piece) { return piece.marker == 0; }),
        pieces.end());
    return joined(pieces);
}

QByteArray withSecondFrameHeader()
{
    std::vector<JpegPiece> pieces = jpegPieces(jpeg(plainPicture(16, 16)));
    const auto isFrame = [](const JpegPiece &piece) { return piece.marker == 0xC0; };
    const JpegPiece small = *std::find_if(pieces.begin(), pieces.end(), isFrame);
    pieces.insert(pieces.end() - 1, small);
    return jpegOfSize(joined(pieces), 0xC0, 32000, 32000);
}

/// Scans that are allowed and bring nothing new: coefficients of the luminance, once more.
QByteArray withScans(int rows, int cols, int scans)
{
    Jpeg kind;
    kind.isProgressive = true;
    std::vector<JpegPiece> pieces = jpegPieces(jpeg(plainPicture(rows, cols), kind));
    const auto isScan = [](const JpegPiece &piece) { return piece.marker == 0xDA; };
    const int present = int(std::count_if(pieces.begin(), pieces.end(), isScan));
    const auto scan = std::find_if(pieces.begin(), pieces.end(),
        [&](const JpegPiece &piece) { return isScan(piece) && piece.bytes.size() == 10 && piece.bytes[5] == 1; });
    JpegPiece again = *scan;
    again.bytes.replace(7, 3, QByteArray("\1\x3F\0", 3)); // all frequencies, all bits
    const QByteArray data = (scan + 1)->bytes;
    const JpegPiece end = pieces.back();
    pieces.pop_back();
    for (int i = present; i < scans; ++i) {
        pieces.push_back(again);
        pieces.push_back({0, data});
    }
    pieces.push_back(end);
    return joined(pieces);
}

QByteArray pngOfSize(quint32 width, quint32 height, const QByteArray &chunks)
{
    return "\x89PNG\r\n\x1A\n"
        + pngChunk("IHDR", bigEndian(width, 4) + bigEndian(height, 4) + QByteArray("\x8\0\0\0\0", 5)) + chunks
        + pngChunk("IEND", {});
}

QByteArray pngWithTexts(int count)
{
    const QByteArray text = pngChunk("zTXt", QByteArray("a\0\0", 3) + deflated(QByteArray(7000000, 'x'), 9));
    return pngOfSize(8, 8, text.repeated(count) + pngChunk("IDAT", deflated(QByteArray(8 * 9, '\0'))));
}

QByteArray tiffTag(int tag, quint32 value)
{
    return bigEndian(quint32(tag), 2) + bigEndian(4, 2) + bigEndian(1, 4) + bigEndian(value, 4);
}

/// An image of 64 x 64 grey pixels in one deflated tile.
QByteArray tiffWithTile(quint32 side, int dataSize = 4000000)
{
    const QByteArray data = deflated(QByteArray(dataSize, '\0'));
    const QByteArray header = QByteArray("MM\0\x2A", 4) + bigEndian(8, 4);
    const QByteArray tags = tiffTag(256, 64) + tiffTag(257, 64) + tiffTag(258, 8) + tiffTag(259, 8) + tiffTag(262, 1)
        + tiffTag(277, 1) + tiffTag(322, side) + tiffTag(323, side) + tiffTag(324, 200)
        + tiffTag(325, quint32(data.size()));
    return (header + bigEndian(10, 2) + tags + bigEndian(0, 4)).leftJustified(200, '\0') + data;
}
/// One-row strips that are all the same bytes: none to look at, but some to unpack.
QByteArray tiffWithOneStripForAll(int count, const QByteArray &strip, int compression)
{
    const auto strips = std::size_t(count);
    return tiff(TiffStrips{16, count, 1, compression, std::vector<quint32>(strips, 8),
        std::vector<quint32>(strips, quint32(strip.size())), strip, {}});
}

/// As many strips as there may be.
QByteArray tiffWithStrips(int count)
{
    constexpr int width = 256;
    const QByteArray strip = deflated(QByteArray(width, '\x55'));
    TiffStrips strips{width, count, 1, 8, {}, {}, strip.repeated(count), {}};
    for (int i = 0; i < count; ++i) {
        strips.offsets.push_back(quint32(8 + i * strip.size()));
        strips.sizes.push_back(quint32(strip.size()));
    }
    return tiff(strips);
}

/// White strips of one line, of 16 bits: grey, or RGB with or without alpha.
QByteArray deepTiff(int width, int count, int samples)
{
    constexpr quint32 bits = 8; // behind the header
    const QByteArray strip = deflated(QByteArray(2 * samples * width, '\xFF'));
    const QByteArray table = littleEndian(16, 2).repeated(4);
    TiffStrips strips{width, count, 1, 8, {}, std::vector<quint32>(std::size_t(count), quint32(strip.size())),
        table + strip.repeated(count), {}};
    for (int i = 0; i < count; ++i)
        strips.offsets.push_back(bits + quint32(table.size() + i * strip.size()));
    strips.entries = {{258, {TiffEntry::Short, quint32(samples), samples == 1 ? 16 : bits}},
        {262, {TiffEntry::Short, 1, samples == 1 ? 1U : 2U}}, {277, {TiffEntry::Short, 1, quint32(samples)}}};
    if (samples == 4)
        strips.entries[338] = {TiffEntry::Short, 1, 2};
    return tiff(strips);
}

/// Strips of one line, 4,096 x 4,096 pixels; each of them is this one, in a place of its own.
TiffStrips largeTiff(const QByteArray &strip, int compression)
{
    constexpr int side = 4096;
    TiffStrips strips{
        side, side, 1, compression, {}, std::vector<quint32>(side, quint32(strip.size())), strip.repeated(side), {}};
    for (int i = 0; i < side; ++i)
        strips.offsets.push_back(quint32(8 + i * strip.size()));
    return strips;
}

/// Private entries whose values are the same bytes, of which there are as many as fit into the file.
TiffStrips tiffWithValues(int entries, int size)
{
    constexpr int side = 16;
    constexpr quint32 begin = 8;
    TiffStrips strips{side, side, side, 1, {begin}, {side * side}, QByteArray(size, '\0'), {}};
    for (int i = 0; i < entries; ++i)
        strips.entries[51200 + i] = {TiffEntry::Byte, quint32(size) - side * side, begin + side * side};
    return strips;
}
} // namespace

class TestImageDecoderLimits : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;
    QScopedPointer<LogCapture> mUnreadLog;

    QString stored(const QByteArray &bytes) const
    {
        const QString path = mDir.filePath(QStringLiteral("image"));
        QFile::remove(path);
        QFile file(path);
        return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() ? path : QString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mDir.isValid());
#if !defined(__SANITIZE_ADDRESS__) // which has an allocator of its own
        constexpr int large = 64 * 1024; // bytes
        QVERIFY(mallopt(M_MMAP_THRESHOLD, large) != 0); // what was freed is gone, and not there to be used again
#endif
    }
    void init()
    {
        mUnreadLog.reset(new LogCapture);
    }
    void cleanup()
    {
        mUnreadLog.reset();
    }

    void maliciousFilesCostLittle_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("memoryLimit"); // mebibytes
        QTest::newRow("JPEG with a second frame header") << withSecondFrameHeader() << 16;
        QTest::newRow("JPEG of 8190 x 8190 without data")
            << jpegOfSize(withoutData(jpeg(plainPicture(16, 16))), 0xC0, 8190, 8190) << 16;
        QTest::newRow("JPEG of 4000 x 4000 without data")
            << jpegOfSize(withoutData(jpeg(plainPicture(16, 16))), 0xC0, 4000, 4000) << 16;
        Jpeg progressive;
        progressive.isProgressive = true;
        QTest::newRow("progressive JPEG of 4000 x 4000 without data")
            << jpegOfSize(withoutData(jpeg(plainPicture(16, 16), progressive)), 0xC2, 4000, 4000) << 16;
        QTest::newRow("JPEG with 10,000 scans") << withScans(1024, 1024, 10000) << 16;
        constexpr int large = 8000;
        QTest::newRow("PNG with a second header") << pngOfSize(large, large,
            pngChunk("IDAT", deflated(QByteArray(large * (large + 1), '\0')))
                + pngChunk("IHDR", bigEndian(8, 4) + bigEndian(8, 4) + QByteArray("\x8\0\0\0\0", 5)))
                                                  << 16;
        QTest::newRow("PNG with 2,000 compressed texts") << pngWithTexts(2000) << 64; // 14 MiB are the file itself
        QTest::newRow("PNG with 100,000 chunks") << pngOfSize(8, 8, pngChunk("IDAT", {}).repeated(100000)) << 16;
        QTest::newRow("TIFF with a tile of 32752 x 32752") << tiffWithTile(32752) << 16;
        const QByteArray idle = QByteArray(65000, '\x80') + "\xF1x"; // instructions to do nothing, and a run of 16
        QTest::newRow("TIFF with 65,536 strips that are the same") << tiffWithOneStripForAll(65536, idle, 32773) << 16;
        QTest::newRow("TIFF with 120,000 strips that are the same")
            << tiffWithOneStripForAll(120000, idle, 32773) << 16;
        QTest::newRow("lossless WebP with 65,536 sets of codes")
            << webp({webpChunk("VP8L", losslessWebpOfManyCodes(1024, 2))}) << 32;
        QTest::newRow("large lossless WebP with 65,536 sets of codes")
            << webp({webpChunk("VP8L", losslessWebpOfManyCodes(4096, 4))}) << 32;
        QTest::newRow("TIFF with 500 values of 1 MB that are the same") << tiff(tiffWithValues(500, 1000000)) << 16;
        QTest::newRow("TIFF with 4,000 values of 250 kB that are the same") << tiff(tiffWithValues(4000, 250000)) << 16;
        QTest::newRow("TIFF with 2 values of 10 MB that are the same") << tiff(tiffWithValues(2, 10000000)) << 16;
        TiffStrips small = tiffWithValues(0, 256);
        for (int tag = 33000; tag < 37080; ++tag)
            small.entries[tag] = {TiffEntry::Byte, 1, 0};
        QTest::newRow("TIFF with 4,080 private entries") << tiff(small) << 16;
        QTest::newRow("TIFF with too many strips") << tiffWithStrips(65537) << 16;
        QTest::newRow("TIFF with 65,536 strips of 3 x 16 bits") << deepTiff(8, 65536, 3) << 32;
        QTest::newRow("TIFF with 65,536 strips of 4 x 16 bits") << deepTiff(8, 65536, 4) << 32;
        QTest::newRow("TIFF with 2,000,000 entries") << tiffWithEntries(2000000) << 48; // 38 MiB are the file itself
    }
    void maliciousFilesCostLittle()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, memoryLimit);

        const Cost cost = costOfLoading(bytes);

        QVERIFY2(cost.peak <= (memoryLimit + instrumentation) * mebibyte, cost.text.constData());
        QVERIFY2(cost.seconds <= 1 * slowness, cost.text.constData());
        QVERIFY2(cost.pixels <= 64, cost.text.constData());
    }

    void theLargestImagesStayInTheirBudget_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        constexpr int side = 4096;
        const cv::Mat large = plainPicture(side, side);
        Jpeg kind;
        QTest::newRow("JPEG") << jpeg(large, kind);
        kind.isProgressive = true;
        QTest::newRow("progressive JPEG") << jpeg(large, kind);
        QTest::newRow("progressive JPEG with as many scans as there may be") << withScans(side, side, 100);
        kind.colors = Jpeg::Cmyk;
        QTest::newRow("progressive JPEG of four components") << jpeg(large, kind);
        const auto deepPng = [](bool isInterlaced) {
            const int lines = isInterlaced ? side / 8 * 15 : side; // of all seven passes
            const QByteArray data = deflated(QByteArray(side * 8 * side + lines, '\0'));
            return "\x89PNG\r\n\x1A\n"
                + pngChunk("IHDR",
                    bigEndian(side, 4) + bigEndian(side, 4) + QByteArray("\x10\x6\0\0", 4) + char(isInterlaced ? 1 : 0))
                + pngChunk("IDAT", data) + pngChunk("IEND", {});
        };
        QTest::newRow("PNG of 64 bits") << deepPng(false);
        QTest::newRow("interlaced PNG of 64 bits") << deepPng(true);
        QTest::newRow("WebP") << encoded(".webp", large, {cv::IMWRITE_WEBP_QUALITY, 50});
        QTest::newRow("lossless WebP") << encoded(
            ".webp", large(cv::Rect(0, 0, side, side / 4)), {cv::IMWRITE_WEBP_QUALITY, 101});
        QTest::newRow("TIFF of one tile") << tiffWithTile(side, side * side);
        QTest::newRow("TIFF of as many strips as there may be") << tiffWithStrips(65536);
        QTest::newRow("TIFF of as many strips of 3 x 16 bits as there may be") << deepTiff(2048, 8192, 3);
        QTest::newRow("TIFF of as many strips of 4 x 16 bits as there may be") << deepTiff(2048, 8192, 4);
        QTest::newRow("TIFF of as many strips of 16 bits of grey as there may be") << deepTiff(256, 65536, 1);
    }
    void theLargestImagesStayInTheirBudget()
    {
        QFETCH(QByteArray, bytes);

        const Cost cost = costOfLoading(bytes);

        QVERIFY2(cost.peak <= (400 + instrumentation) * mebibyte, cost.text.constData());
        QVERIFY2(cost.seconds <= 8 * slowness, cost.text.constData());
        QVERIFY(cost.pixels > 0);
    }

    /// A camera may put a preview or notes of its own into a private entry.
    void theValueOfAPrivateEntryIsHeldOnce()
    {
        constexpr int size = 20000000;

        const Cost cost = costOfLoading(tiff(tiffWithValues(1, size)));

        QCOMPARE(cost.pixels, 16 * 16);
        QVERIFY2(cost.peak <= 7 * qint64(size) / 2 + (16 + instrumentation) * mebibyte, cost.text.constData());
    }

    void theLimitOfPixelsIsSettable()
    {
        const QByteArray bytes = jpeg(plainPicture(100, 100));
        const qint64 before = Analyser::maxImagePixels();
        QCOMPARE(before, qint64(4096 * 4096));

        Analyser::setMaxImagePixels(9999);
        const bool isRefused = AnalyserPrivate::loadImage(stored(bytes)).empty();
        Analyser::setMaxImagePixels(10000);
        const bool isRead = !AnalyserPrivate::loadImage(stored(bytes)).empty();
        Analyser::setMaxImagePixels(before);

        QVERIFY(isRefused);
        QVERIFY(isRead);
    }

    // A photograph that is right must not be called damaged because there is no room for it.
    void wantOfMemoryIsNoDamage_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const cv::Mat picture = plainPicture(2000, 2000);
        QTest::newRow("JPEG") << jpeg(picture);
        QTest::newRow("progressive JPEG") << encoded(".jpg", picture, {cv::IMWRITE_JPEG_PROGRESSIVE, 1});
        QTest::newRow("PNG") << encoded(".png", picture);
        QTest::newRow("TIFF") << encoded(".tiff", picture);
        std::vector<quint32> places(65536);
        std::iota(places.begin(), places.end(), 8);
        QTest::newRow("TIFF of many strips")
            << tiff(TiffStrips{1, 65536, 1, 1, places, std::vector<quint32>(65536, 1), QByteArray(65536, '\x55'), {}});
        QTest::newRow("WebP") << encoded(".webp", picture, {cv::IMWRITE_WEBP_QUALITY, 90});
        QTest::newRow("BMP") << encoded(".bmp", picture);
        QTest::newRow("PNM") << encoded(".ppm", picture);
    }
    void wantOfMemoryIsNoDamage()
    {
        if (!Faults::canLimitMemory)
            QSKIP("the sanitizers need address space without bounds");
        constexpr int mostMebibytes = 64;
        constexpr int step = 8;
        QFETCH(QByteArray, bytes);
        int broken = 0;
        int read = 0;

        for (int mebibytes = 0; mebibytes <= mostMebibytes; mebibytes += step) {
            const ForkedChild child = ForkedChild::run([&bytes, mebibytes] {
                const Faults::MemoryLimit limit(static_cast<quint64>(mebibytes * mebibyte));
                return static_cast<int>(decodeImage(bytes).reason);
            });
            const auto reason = static_cast<Inspection::Reason>(child.exitCode);
            broken += reason == Inspection::Reason::AnalysisBroken ? 1 : 0;
            read += reason == Inspection::Reason::None ? 1 : 0;
            QVERIFY2(broken + read == 1 + mebibytes / step,
                qPrintable(QStringLiteral("%1 MiB: %2").arg(mebibytes).arg(child.exitCode)));
        }

        QVERIFY(broken > 0);
        QVERIFY(read > 0);
    }

    // Nor is memory asked for that nothing needs: what speaks against a photograph is told all the same.
    void aRefusalNeedsNoMemoryForThePixels_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        const QByteArray line = deflated(QByteArray(4096, '\x55'));
        TiffStrips overlapping = largeTiff(line, 8);
        overlapping.offsets[1] = overlapping.offsets[0];
        QTest::newRow("strips overlap") << tiff(overlapping) << QStringLiteral("strips or tiles overlap");
        TiffStrips many = largeTiff(line, 8);
        many.rowsPerStrip = 2;
        QTest::newRow("too many strips") << tiff(many)
                                         << QStringLiteral("the file has 4096 strips or tiles instead of 2048");
        TiffStrips transparent = largeTiff(deflated(QByteArray(2 * 4096, '\x55')), 8);
        transparent.entries = {
            {258, {TiffEntry::Short, 2, 0x80008}}, {277, {TiffEntry::Short, 1, 2}}, {338, {TiffEntry::Short, 1, 2}}};
        QTest::newRow("transparent pixels")
            << tiff(transparent) << QStringLiteral("transparent pixels are not supported");
    }
    void aRefusalNeedsNoMemoryForThePixels()
    {
        if (!Faults::canLimitMemory)
            QSKIP("the sanitizers need address space without bounds");
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);

        const ForkedChild child = ForkedChild::run([&bytes] {
            const Faults::MemoryLimit limit(static_cast<quint64>(32 * mebibyte));
            std::fprintf(stderr, "\n%s", qPrintable(decodeImage(bytes).detail));
            return 0;
        });

        QCOMPARE(QString::fromUtf8(child.standardError.split('\n').last()), reason);
    }

private:
    struct Cost
    {
        qint64 peak = std::numeric_limits<qint64>::max(); ///< bytes above what was there before
        double seconds = 0;
        qint64 pixels = 0;
        QByteArray text;
    };

    /// Of a process that does nothing else.
    Cost costOfLoading(const QByteArray &bytes)
    {
        const QString path = stored(bytes);
        const ForkedChild child = ForkedChild::run(
            [&path]() {
                const LogCapture log;
                const bool isReset = forgetPeak();
                const qint64 before = memory("VmRSS:");
                const WorkTimer timer;
                const cv::Mat mat = AnalyserPrivate::loadImage(path);
                std::fprintf(stderr, "\n%lld %.3f %lld", static_cast<long long>(memory("VmHWM:") - before),
                    timer.seconds(), static_cast<long long>(mat.total()));
                return isReset ? 0 : 1;
            },
            120);
        mUnreadLog.reset();
        Cost cost;
        const QList<QByteArray> figures = child.standardError.split('\n').last().split(' ');
        if (child.exitCode == 0 && figures.size() == 3)
            cost = {figures[0].toLongLong(), figures[1].toDouble(), figures[2].toLongLong(), {}};
        cost.text = QByteArray::number(bytes.size()) + " bytes: " + QByteArray::number(cost.peak / mebibyte) + " MiB, "
            + QByteArray::number(cost.seconds) + " s";
        qInfo("%s", cost.text.constData());
        return cost;
    }
};

QTEST_GUILESS_MAIN(TestImageDecoderLimits)
#include "tst_imagedecoder_limits.moc"
