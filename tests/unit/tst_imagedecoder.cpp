// SPDX-License-Identifier: Apache-2.0
#include "EncodedImages.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"

#include <QtTest>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <functional>
#include <random>

using namespace FiberInspection;
using namespace EncodedImages;

namespace {
bool areEqual(const cv::Mat &a, const cv::Mat &b)
{
    return a.size() == b.size() && a.type() == b.type() && (a.empty() || cv::norm(a, b, cv::NORM_INF) == 0);
}

/// A photograph-like picture: smooth in its large parts, noisy in its small ones.
cv::Mat photograph(int rows = 93, int cols = 131)
{
    std::mt19937 random(5);
    cv::Mat mat(rows, cols, CV_8UC3);
    for (int row = 0; row < rows; ++row) {
        for (int col = 0; col < cols; ++col) {
            mat.at<cv::Vec3b>(row, col) = cv::Vec3b(uchar((3UL * unsigned(row) + random() % 30) % 256),
                uchar((2UL * unsigned(col) + random() % 30) % 256), uchar((unsigned(row + col) + random() % 30) % 256));
        }
    }
    return mat;
}

/// Eight strips of eight lines, one behind the other, of 64 x 64 pixels.
TiffStrips tiffStrips(const QByteArray &data, const std::vector<int> &sizes, int compression = 1)
{
    TiffStrips strips{64, 64, 8, compression, {}, {}, data};
    quint32 at = 8;
    for (const int size : sizes) {
        strips.offsets.push_back(at);
        strips.sizes.push_back(quint32(size));
        at += quint32(size);
    }
    return strips;
}

TiffStrips plainStrips()
{
    QByteArray data;
    for (int i = 0; i < 64 * 64; ++i)
        data += char(i * 7 % 251);
    return tiffStrips(data, std::vector<int>(8, 512));
}

/// Each of the strips is this one, in a place of its own.
TiffStrips packedStrips(const QByteArray &strip, int compression)
{
    return tiffStrips(strip.repeated(8), std::vector<int>(8, strip.size()), compression);
}

QByteArray changed(TiffStrips strips, const std::function<void(TiffStrips *)> &change)
{
    change(&strips);
    return tiff(strips);
}

/// 512 zeros: four runs.
QByteArray packBits()
{
    return QByteArray("\x81\0", 2).repeated(4);
}

/// Codes of 9 bits, the first bit being the highest one; the last byte is filled up with zeros.
QByteArray lzw(const std::vector<int> &codes)
{
    QByteArray bytes((9 * int(codes.size()) + 7) / 8, '\0');
    int at = 0;
    for (const int code : codes) {
        for (int bit = 8; bit >= 0; --bit, ++at)
            bytes[at / 8] = char(bytes[at / 8] | ((code >> bit & 1) << (7 - at % 8)));
    }
    return bytes;
}

/// As 1 + 2 + ... + 31 zeros and 16 more, the last ones being a code that is known.
std::vector<int> lzwCodes()
{
    std::vector<int> codes{256, 0};
    for (int code = 258; code < 258 + 30; ++code)
        codes.push_back(code);
    codes.push_back(258 + 14);
    return codes;
}

QByteArray lzwWithEnd()
{
    std::vector<int> codes = lzwCodes();
    codes.push_back(257);
    return lzw(codes);
}

int silentErrorHandler(int, const char *, const char *, const char *, int, void *)
{
    return 0;
}
} // namespace

class TestImageDecoder : public QObject
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

    cv::Mat loaded(const QByteArray &bytes) const { return AnalyserPrivate::loadImage(stored(bytes)); }

    QString problemOf(const QByteArray &bytes) const
    {
        QString problem;
        AnalyserPrivate::loadImage(stored(bytes), &problem);
        return problem;
    }

    cv::Mat reference(const QByteArray &bytes) const
    {
        return cv::imread(stored(bytes).toStdString(), cv::IMREAD_COLOR);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mDir.isValid());
        cv::redirectError(silentErrorHandler);
    }
    void init() { mUnreadLog.reset(new LogCapture); }
    void cleanup() { mUnreadLog.reset(); }

    void jpegPixelsAreThoseOfOpenCv_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const cv::Mat picture = photograph();
        const std::pair<const char *, Jpeg::Colors> colors[] = {{"grey", Jpeg::Gray}, {"colour", Jpeg::YCbCr},
            {"RGB", Jpeg::Rgb}, {"CMYK", Jpeg::Cmyk}, {"YCCK", Jpeg::Ycck}};
        const std::pair<int, int> samplings[] = {{1, 1}, {2, 1}, {1, 2}, {2, 2}, {4, 1}, {4, 2}};
        for (const auto &[name, color] : colors) {
            for (const auto &[horizontal, vertical] : samplings) {
                if (color >= Jpeg::Cmyk && horizontal * vertical > 4) // more than ten blocks in a unit of coding
                    continue;
                for (const int restartInterval : {0, 1, 5}) {
                    Jpeg kind;
                    kind.colors = color;
                    kind.horizontalSampling = horizontal;
                    kind.verticalSampling = vertical;
                    kind.restartInterval = restartInterval;
                    const auto add = [&, name = name, horizontal = horizontal, vertical = vertical](const char *scans) {
                        QTest::addRow("%s %dx%d %s, restarts %d", name, horizontal, vertical, scans, restartInterval)
                            << jpeg(picture, kind);
                    };
                    add("one scan");
                    kind.hasSeparateScans = true;
                    add("separate scans");
                    kind.hasSeparateScans = false;
                    kind.isProgressive = true;
                    add("progressive");
                }
            }
        }
        Jpeg coarse;
        coarse.quality = 3;
        QTest::newRow("lowest quality") << jpeg(picture, coarse);
        coarse.quality = 100;
        QTest::newRow("highest quality") << jpeg(picture, coarse);
        for (int side = 1; side <= 17; ++side)
            QTest::addRow("%d pixels wide and high", side) << jpeg(photograph(side, side));

        // Cameras leave out the tables that everybody knows.
        std::vector<JpegPiece> pieces = jpegPieces(jpeg(picture));
        pieces.erase(
            std::remove_if(pieces.begin(), pieces.end(), [](const JpegPiece &piece) { return piece.marker == 0xC4; }),
            pieces.end());
        QTest::newRow("without Huffman tables") << joined(pieces);
    }
    void jpegPixelsAreThoseOfOpenCv()
    {
        QFETCH(QByteArray, bytes);
        const cv::Mat expected = reference(bytes);

        QVERIFY(!expected.empty());
        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
        QCOMPARE(problemOf(bytes), QString());
    }

    /// The decoder reads ahead by some bytes, and never tells what has become of them.
    void noJpegWithLeftOverDataIsRead_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const auto rows = [](const char *name, const std::function<void(Jpeg *)> &change) {
            Jpeg kind;
            change(&kind);
            QTest::newRow(name) << jpeg(photograph(), kind);
        };
        rows("colour", [](Jpeg *) {});
        rows("4:2:0", [](Jpeg *kind) { kind->horizontalSampling = kind->verticalSampling = 2; });
        rows("grey", [](Jpeg *kind) { kind->colors = Jpeg::Gray; });
        rows("restarts", [](Jpeg *kind) { kind->restartInterval = 5; });
        rows("separate scans", [](Jpeg *kind) { kind->hasSeparateScans = true; });
        rows("progressive", [](Jpeg *kind) { kind->isProgressive = true; });
        rows("progressive, restarts", [](Jpeg *kind) { kind->isProgressive = true, kind->restartInterval = 5; });
    }
    void noJpegWithLeftOverDataIsRead()
    {
        QFETCH(QByteArray, bytes);
        const std::vector<JpegPiece> pieces = jpegPieces(bytes);
        int files = 0;
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            if (pieces[i].marker != 0)
                continue;
            for (int count = 1; count <= 9; ++count, ++files) {
                std::vector<JpegPiece> more = pieces;
                more[i].bytes += QByteArray(count, 'Q');
                QVERIFY2(!problemOf(joined(more)).isEmpty(), qPrintable(QStringLiteral("%1 at %2").arg(count).arg(i)));
            }
        }
        QVERIFY(files >= 9);
    }

    /// By the standard ones, but some cameras take zeros.
    void theLastBitsOfAJpegMayBeZeros()
    {
        Jpeg kind;
        int files = 0;
        for (kind.quality = 50; kind.quality < 60; ++kind.quality) {
            QByteArray bytes = jpeg(photograph(), kind);
            const cv::Mat whole = loaded(bytes);
            char &last = bytes.data()[bytes.size() - 3];
            for (int bits = 1; bits < 8 && (uchar(last) >> (bits - 1) & 1) != 0; ++bits) {
                last = char(uchar(last) & ~(1U << (bits - 1)));
                const cv::Mat mat = loaded(bytes); // one more bit was either needed, or filled up the byte
                files += areEqual(mat, whole) ? 1 : 0;
            }
        }
        QVERIFY(files >= 5);
    }

    void noJpegBeyondBlackAndWhiteIsRead()
    {
        Jpeg kind;
        kind.colors = Jpeg::Gray;
        const cv::Mat black(64, 64, CV_8UC3, cv::Scalar::all(0));
        const QByteArray bytes = jpeg(black, kind);
        QVERIFY(!loaded(bytes).empty());
        QVERIFY(!loaded(jpeg(cv::Mat(64, 64, CV_8UC3, cv::Scalar::all(255)), kind)).empty());

        // The first block of it is 8 times as dark as black when its steps are.
        QByteArray darker = bytes;
        const int table = darker.indexOf("\xFF\xDB");
        darker[table + 5] = char(8 * darker[table + 5]);
        QCOMPARE(problemOf(darker), QStringLiteral("the image data is damaged: impossible coefficients"));
    }

    void pngPixelsAreThoseOfOpenCv_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const std::pair<int, std::vector<int>> types[] = {
            {0, {1, 2, 4, 8, 16}}, {2, {8, 16}}, {3, {1, 2, 4, 8}}, {4, {8, 16}}, {6, {8, 16}}};
        for (const auto &[colorType, depths] : types) {
            for (const int bits : depths) {
                for (const bool isInterlaced : {false, true}) {
                    for (const bool hasTransparency : {false, true}) {
                        if (hasTransparency && colorType >= 4) // has an alpha channel
                            continue;
                        QTest::addRow("type %d, %d bits%s%s", colorType, bits, isInterlaced ? ", interlaced" : "",
                            hasTransparency ? ", transparent" : "")
                            << png(37, 29, {colorType, bits, isInterlaced, hasTransparency});
                    }
                }
            }
        }
    }
    void pngPixelsAreThoseOfOpenCv()
    {
        QFETCH(QByteArray, bytes);
        const cv::Mat expected = reference(bytes);

        QVERIFY(!expected.empty());
        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
    }

    void tiffPixelsAreThoseOfOpenCv_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        for (const int compression : {1, 5, 8, 32773}) {
            for (const int bits : {8, 16}) {
                for (const int samples : {1, 3, 4}) {
                    for (const int tileSide : {0, 32}) {
                        Tiff kind;
                        kind.compression = compression;
                        kind.bits = bits;
                        kind.samples = samples;
                        kind.photometric = samples == 1 ? 1 : 2;
                        kind.tileSide = tileSide;
                        QTest::addRow(
                            "compression %d, %d x %d bits%s", compression, samples, bits, tileSide > 0 ? ", tiles" : "")
                            << tiff(75, 50, kind);
                    }
                }
            }
        }
        Tiff kind;
        kind.samples = 1;
        kind.photometric = 0;
        QTest::newRow("white is 0") << tiff(75, 50, kind);
        kind.photometric = 3;
        QTest::newRow("palette") << tiff(75, 50, kind);
        kind.bits = 1;
        kind.photometric = 1;
        QTest::newRow("bilevel") << tiff(75, 50, kind);
        kind = {};
        kind.rowsPerStrip = 1000;
        QTest::newRow("one strip") << tiff(75, 50, kind);
        kind = {};
        kind.isPlanar = true;
        QTest::newRow("planes") << tiff(75, 50, kind);
        kind = {};
        kind.isBig = true;
        QTest::newRow("64-bit offsets") << tiff(75, 50, kind);
        kind.tileSide = 32;
        QTest::newRow("64-bit offsets, tiles") << tiff(75, 50, kind);
        kind = {};
        kind.compression = 5;
        kind.rowsPerStrip = 1000;
        QTest::newRow("LZW, all widths of codes and a full table") << tiff(300, 200, kind);
        QTest::newRow("strips written by hand") << tiff(plainStrips());
        QTest::newRow("strips in another order") << changed(
            plainStrips(), [](TiffStrips *strips) { std::reverse(strips->offsets.begin(), strips->offsets.end()); });
        QTest::newRow("PackBits written by hand") << tiff(packedStrips(packBits(), 32773));
        QTest::newRow("LZW written by hand") << tiff(packedStrips(lzwWithEnd(), 5));
        for (int orientation = 2; orientation <= 8; ++orientation) {
            kind = {};
            kind.orientation = orientation;
            QTest::addRow("orientation %d", orientation) << tiff(75, 50, kind);
        }
    }
    void tiffPixelsAreThoseOfOpenCv()
    {
        QFETCH(QByteArray, bytes);
        const cv::Mat expected = reference(bytes);

        QVERIFY(!expected.empty());
        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
    }

    /// Where the codes become a bit longer, and where the table is full, the end is easily missed.
    void lzwEndsAnywhere()
    {
        Tiff kind;
        kind.compression = 5;
        kind.samples = 1;
        kind.photometric = 1;
        kind.rowsPerStrip = 1;
        for (const int codes : {1, 254, 510, 1022, 2046, 3836, 4092}) { // of nearly a byte each, as samples are random
            for (int width = qMax(1, codes - 10); width < codes + 30; ++width) {
                const QByteArray bytes = tiff(width, 1, kind);
                QVERIFY2(!loaded(bytes).empty(), qPrintable(QString::number(width) + problemOf(bytes)));
            }
        }
    }

    void plainPixelsAreThoseOfOpenCv_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        for (const int bits : {1, 4, 8, 16, 24, 32}) {
            QTest::addRow("BMP of %d bits", bits) << bmp(37, 29, bits);
            QTest::addRow("BMP of %d bits, from the top", bits) << bmp(37, 29, bits, true);
        }
        QTest::newRow("P1") << QByteArray("P1\n# bits\n5 2\n10110\n0 1 1 0 1\n");
        QTest::newRow("P2") << QByteArray("P2 3 2 15\n0 1 2\n# grey\n13 14 15\n");
        QTest::newRow("P3") << QByteArray("P3\n2 1\n255\n1 2 3 250 251 252\n");
        QTest::newRow("P4") << QByteArray("P4\n12 2\n\xA5\xF0\x5A\x0F", 12);
        QTest::newRow("P5") << QByteArray("P5\n3 2\n255\nabcdef");
        QTest::newRow("P5 of 16 bits") << QByteArray("P5\n3 1\n65535\nabcdef");
        QTest::newRow("P6") << QByteArray("P6\n# a comment\n2 1\n255\nabcdef");
        QTest::newRow("P5 with an end of line") << QByteArray("P5\n3 2\n255\nabcdef\r\n");
        QTest::newRow("P5 of 10 bits") << QByteArray("P5\n3 1\n1023\n\3\xFF\2\0\0\1", 18);
        QTest::newRow("P2 with empty lines") << QByteArray("P2 2 1 15\n0 15\n \n\n");
        QTest::newRow("BMP with more behind it") << bmp(37, 29, 8) + "more";
        QTest::newRow("BMP without the size of the file") << bmp(37, 29, 8).replace(2, 4, littleEndian(0, 4));
    }
    void plainPixelsAreThoseOfOpenCv()
    {
        QFETCH(QByteArray, bytes);
        const cv::Mat expected = reference(bytes);

        QVERIFY(!expected.empty());
        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
    }

    void webpPixelsAreThoseOfOpenCv()
    {
        std::mt19937 random(9);
        const cv::Mat picture = photograph(160, 200);
        for (int i = 0; i < 600; ++i) {
            const auto below = [&](int limit) { return int(random() % unsigned(limit)); };
            const cv::Rect part(below(80), below(80), 1 + below(100), 1 + below(70));
            cv::Mat mat = i % 10 == 0 ? cv::Mat(part.size(), CV_8UC3, cv::Scalar::all(i % 256)) : picture(part).clone();
            if (i % 5 == 0)
                mat = (mat / 64) * 64; // few colours, which are coded otherwise
            if (i % 4 == 0) {
                cv::cvtColor(mat, mat, cv::COLOR_BGR2BGRA);
                cv::Mat alpha(mat.size(), CV_8UC1);
                cv::randu(alpha, 0, 256);
                cv::insertChannel(alpha, mat, 3);
            }
            const int quality = i % 3 == 0 ? 101 : 1 + below(100); // above 100 without loss
            const QByteArray bytes = encoded(".webp", mat, {cv::IMWRITE_WEBP_QUALITY, quality});

            QVERIFY2(areEqual(loaded(bytes), reference(bytes)), qPrintable(problemOf(bytes)));
        }
    }

    void aLargeLosslessWebpIsRead()
    {
        const QByteArray bytes = encoded(".webp", photograph(600, 800), {cv::IMWRITE_WEBP_QUALITY, 101});

        QVERIFY2(areEqual(loaded(bytes), reference(bytes)), qPrintable(problemOf(bytes)));
    }

    void refusalsHaveAReason_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char *name, const QByteArray &bytes, const char *reason) {
            QTest::newRow(name) << bytes << QString::fromUtf8(reason);
        };
        const cv::Mat picture = photograph();
        const QByteArray plain = jpeg(picture);
        const int half = plain.size() / 2;
        row("half a JPEG with an end", plain.left(half) + "\xFF\xD9",
            "the image data is damaged: Corrupt JPEG data: premature end of data segment");
        row("left-over JPEG data", plain.left(plain.size() - 2) + "more than enough of it\xFF\xD9",
            "the image data is damaged: Corrupt JPEG data: ");

        Jpeg kind;
        kind.isArithmetic = true;
        row("arithmetic coding", jpeg(picture, kind), "this kind of JPEG is not supported");

        std::vector<JpegPiece> pieces = jpegPieces(plain);
        const auto frame =
            std::find_if(pieces.begin(), pieces.end(), [](const JpegPiece &piece) { return piece.marker == 0xC0; });
        pieces.insert(frame, *frame);
        row("two frame headers", joined(pieces), "the file has more than one frame header");
        pieces = jpegPieces(plain);
        pieces.insert(pieces.end() - 1, {0xDC, QByteArray("\xFF\xDC\0\4\0\x5D", 6)});
        row("number of lines", joined(pieces), "the file tells its number of lines behind the image");

        row("two pages",
            tiff(20, 20,
                [] {
                    Tiff two;
                    two.pages = 2;
                    return two;
                }()),
            "the file holds more than one page");
        row("fax",
            tiff(20, 20,
                [] {
                    Tiff fax;
                    fax.compression = 4;
                    fax.bits = 1;
                    fax.samples = 1;
                    fax.photometric = 0;
                    return fax;
                }()),
            "TIFF compression 4 is not supported");

        for (const int bits : {2, 4, 12}) {
            Tiff odd;
            odd.bits = bits;
            odd.samples = 1;
            odd.photometric = 1;
            row(QByteArray("TIFF of bits: " + QByteArray::number(bits)).constData(), tiff(20, 20, odd),
                QByteArray("1 samples of " + QByteArray::number(bits) + " bits are not supported").constData());
        }
        const char *const overlap = "strips or tiles overlap";
        const char *const notWhole = "the image data is damaged: a strip or tile is not whole";
        row("half of the strips are others",
            changed(plainStrips(),
                [](TiffStrips *strips) { std::copy_n(strips->offsets.begin(), 4, strips->offsets.begin() + 4); }),
            overlap);
        row("all strips are one",
            changed(plainStrips(),
                [](TiffStrips *strips) { strips->offsets.assign(strips->offsets.size(), strips->offsets[0]); }),
            overlap);
        row("strips overlap by one byte", changed(plainStrips(), [](TiffStrips *strips) { --strips->offsets[3]; }),
            overlap);
        row("a strip in the header", changed(plainStrips(), [](TiffStrips *strips) { strips->offsets[0] = 7; }),
            overlap);
        row("a strip in the table of strips",
            changed(plainStrips(), [](TiffStrips *strips) { ++strips->offsets.back(); }), overlap);
        row("a strip in the directory",
            changed(plainStrips(),
                [](TiffStrips *strips) {
                    strips->offsets[7] = 8 + 64 * 64 + 2 * 8 * 4;
                    strips->height = 57; // the last strip has one line, which fits into the directory
                    strips->sizes[7] = 64;
                }),
            overlap);
        row("half of the lines", changed(plainStrips(), [](TiffStrips *strips) { strips->height = 32; }),
            "the file has 8 strips or tiles instead of 4");
        row("half of the offsets", changed(plainStrips(), [](TiffStrips *strips) { strips->offsets.resize(4); }),
            "the image header is damaged");
        row("half of the sizes", changed(plainStrips(), [](TiffStrips *strips) { strips->sizes.resize(4); }),
            "the image header is damaged");
        row("strips of twice the size", tiff(tiffStrips(plainStrips().data.repeated(2), std::vector<int>(8, 1024))),
            notWhole);
        row("an empty strip", changed(plainStrips(), [](TiffStrips *strips) { strips->sizes[2] = 0; }), notWhole);
        row("left-over PackBits data", tiff(packedStrips(packBits() + packBits(), 32773)), notWhole);
        row("left-over deflated data", tiff(packedStrips(deflated(QByteArray(512, 'x')) + "more", 8)), notWhole);
        row("LZW without its end", tiff(packedStrips(lzw(lzwCodes()), 5)), notWhole);
        row("left-over LZW data", tiff(packedStrips(lzwWithEnd() + lzwWithEnd(), 5)), notWhole);

        const char *const more = "data are left over behind the image";
        const char *const tooHigh = "a sample is higher than the highest";
        row("two PGM", "P5\n3 2\n255\nabcdefP5\n3 2\n255\nabcdef", more);
        row("bytes inserted into a PGM", "P5\n3 2\n255\nabc123def", more);
        row("many spaces behind a PGM", "P5\n3 2\n255\nabcdef   ", more);
        row("one sample too many", "P2\n3 1\n255\n1 2 3 4\n", more);
        row("one bit too many", "P1\n3 1\n1010\n", more);
        row("a text sample above the highest", "P2\n3 1\n15\n1 16 3\n", tooHigh);
        row("a bit of 2", "P1\n3 1\n1 2 0\n", tooHigh);
        row("a byte above the highest", QByteArray("P5\n3 1\n15\n\1\x10\3"), tooHigh);
        row("two bytes above the highest", QByteArray("P5\n3 1\n1023\n\3\xFF\4\0\0\1", 18), tooHigh);
        row("highest sample 0", QByteArray("P5\n3 1\n0\n\0\0\0", 12), "the image header is damaged");
        row("highest sample 70000", "P5\n3 1\n70000\nabcdef", "the image header is damaged");

        const QByteArray gray = bmp(8, 8, 8);
        row("BMP larger than its file", QByteArray(gray).replace(2, 4, littleEndian(quint32(gray.size()) + 1, 4)),
            "the image is incomplete");
        row("BMP that ends before its pixels",
            QByteArray(gray).replace(2, 4, littleEndian(quint32(gray.size()) - 1, 4)), "the image header is damaged");
        row("BMP with pixels in its palette", QByteArray(gray).replace(10, 4, littleEndian(54, 4)),
            "the image header is damaged");
        row("BMP with pixels in its masks",
            QByteArray(bmp(8, 8, 32)).replace(30, 4, littleEndian(3, 4)).replace(34, 4, littleEndian(0, 4)),
            "the image header is damaged");
        QByteArray twoColors = QByteArray(gray).replace(46, 4, littleEndian(2, 4));
        twoColors.replace(1078, 64, QByteArray(64, '\1'));
        QVERIFY(problemOf(twoColors).isEmpty());
        row("BMP with a pixel above its palette", QByteArray(twoColors).replace(1078 + 63, 1, "\2"),
            "a pixel has a color that is not in the palette");
        row("BMP of 6 bits a pixel", QByteArray(twoColors).replace(28, 2, littleEndian(6, 2)),
            "the image data is damaged");
        row("run-length BMP", QByteArray(bmp(8, 8, 8)).replace(30, 4, littleEndian(1, 4)),
            "BMP compression 1 is not supported");

        const QByteArray whole = png(20, 20, {});
        const int end = whole.size() - 12;
        row("animated PNG", whole.left(33) + pngChunk("acTL", bigEndian(2, 4) + bigEndian(0, 4)) + whole.mid(33),
            "the file holds an animation");
        row("PNG with two headers", whole.left(33) + whole.mid(8, 25) + whole.mid(33),
            "the file does not begin with its one header");
        row("PNG with more pixels than lines", whole.left(16) + bigEndian(20, 4) + bigEndian(19, 4) + whole.mid(24),
            "the image data is damaged: IHDR: CRC error");
        row("PNG without its end", whole.left(end), "the image is incomplete");

        const QByteArray still = encoded(".webp", picture);
        const QByteArray frames = webpChunk("ANMF", QByteArray(16, '\0'));
        const QByteArray canvas = webpChunk("VP8X", littleEndian(2, 4) + littleEndian(130, 3) + littleEndian(92, 3));
        row("animated WebP", webp({canvas, frames}), "the file holds an animation");
        row("two images in a WebP", webp({still.mid(12), still.mid(12)}), "the file holds more than one image");
        row("lossless WebP of many codes", webp({webpChunk("VP8L", losslessWebpOfManyCodes(1024, 2))}),
            "65536 sets of codes are too many");
        const QByteArray transparentCanvas =
            webpChunk("VP8X", littleEndian(0x10, 4) + littleEndian(1023, 3) + littleEndian(1023, 3));
        const QByteArray lossy = encoded(".webp", photograph(1024, 1024), {cv::IMWRITE_WEBP_QUALITY, 50}).mid(12);
        const QByteArray transparency = webpChunk("ALPH", "\1" + losslessWebpOfManyCodes(1024, 2, false));
        row("transparency of many codes", webp({transparentCanvas, transparency, lossy}),
            "65536 sets of codes are too many");
        row("two transparencies",
            webp({transparentCanvas, webpChunk("ALPH", QByteArray(2, '\0')), transparency, lossy}),
            "the file holds more than one image");
        row("GIF", "GIF89a", "not an image of a known format");
        row("SVG", "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"9\" height=\"9\"/>",
            "not an image of a known format");
        row("PAM", "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 1\nMAXVAL 255\nENDHDR\nx", "not an image of a known format");
        row("HDR", "#?RADIANCE\n", "not an image of a known format");
        row("JPEG 2000", QByteArray("\0\0\0\x0CjP  \r\n\x87\n", 12), "not an image of a known format");
    }
    void refusalsHaveAReason()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, reason);

        const QString problem = problemOf(bytes);

        QVERIFY2(problem.startsWith(reason), qPrintable(problem));
    }

    // What a decoder warns about is refused, but for what says nothing about the pixels.
    void aWarningOfTheTiffDecoderCounts_data()
    {
        enum Type { Short = 3 };
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("problem");
        // The directory is the end of the file, in the order of its tags.
        const auto withTag = [](int number, quint32 value) {
            QByteArray bytes = tiff(plainStrips());
            const int directory = bytes.size() - 4 - 9 * 12 - 2;
            bytes.replace(directory, 2, littleEndian(10, 2));
            return bytes.insert(bytes.size() - 4,
                littleEndian(quint32(number), 2) + littleEndian(Short, 2) + littleEndian(1, 4)
                    + littleEndian(value, 4));
        };
        QTest::newRow("none") << withTag(296, 2) << QString();
        QTest::newRow("a tag of the camera's own") << withTag(65000, 2) << QString();
        QTest::newRow("tags out of order") << withTag(
            255, 1) << QStringLiteral("the image data is damaged: Invalid TIFF directory; tags are not sorted");
    }
    void aWarningOfTheTiffDecoderCounts()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(QString, problem);

        const QString found = problemOf(bytes);

        QVERIFY2(found.startsWith(problem) && found.isEmpty() == problem.isEmpty(), qPrintable(found));
    }

    void theReasonComesToTheInspection()
    {
        const QByteArray whole = jpeg(photograph());
        Inspection inspection;

        AnalyserPrivate::analyse(Standard::IEC61300_3_35_MM, stored(whole.left(whole.size() / 2) + "\xFF\xD9"),
            Device::ks20(), 1.0F, false, &inspection);

        QCOMPARE(inspection.reasonText(), QStringLiteral("Failed to load image"));
        QCOMPARE(inspection.detail(),
            QStringLiteral("the image data is damaged: Corrupt JPEG data: premature end of data segment"));
    }
};

QTEST_GUILESS_MAIN(TestImageDecoder)
#include "tst_imagedecoder.moc"
