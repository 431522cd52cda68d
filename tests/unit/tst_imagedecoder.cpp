// SPDX-License-Identifier: Apache-2.0
#include "EncodedImages.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"

#include <QtTest>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <functional>
#include <limits>
#include <random>

using namespace FiberInspection;
using namespace EncodedImages;

Q_DECLARE_METATYPE(cv::Mat)

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

/// One line of pixels, each the number of a colour; the colour of that number has it as red, and 1 and 2 more.
QByteArray palettePng(int bits, int colors, const std::vector<unsigned> &pixels)
{
    QByteArray palette;
    for (int i = 0; i < colors; ++i)
        palette += QByteArray{}.append(char(i)).append(char(i + 1)).append(char(i + 2));
    QByteArray line((int(pixels.size()) * bits + 7) / 8, '\0');
    for (int i = 0; i < int(pixels.size()); ++i)
        line[i * bits / 8] = char(uchar(line[i * bits / 8]) | pixels[std::size_t(i)] << (8 - bits - i * bits % 8));
    const QByteArray header = bigEndian(quint32(pixels.size()), 4) + bigEndian(1, 4) + char(bits);
    return "\x89PNG\r\n\x1A\n" + pngChunk("IHDR", header + QByteArray("\3\0\0\0", 4)) + pngChunk("PLTE", palette)
        + pngChunk("IDAT", deflated('\0' + line)) + pngChunk("IEND", {});
}

/// A BMP of one line, written by hand.
struct BmpLine
{
    int headerSize = 40;
    int bits = 24; ///< of a pixel
    int compression = 0; ///< 3 for fields
    std::vector<quint32> masks; ///< of red, green, blue
    QByteArray pixels; ///< as many as there are bytes for
};

/// With a palette, where there is one, of greys that become darker.
QByteArray bmp(const BmpLine &line)
{
    constexpr int fileHeader = 14;
    const bool isOld = line.headerSize == 12;
    const int width = line.pixels.size() * 8 / line.bits;
    QByteArray headers = littleEndian(quint32(line.headerSize), 4);
    headers += littleEndian(quint32(width), isOld ? 2 : 4) + littleEndian(1, isOld ? 2 : 4);
    headers += littleEndian(1, 2) + littleEndian(quint32(line.bits), 2);
    if (!isOld)
        headers += littleEndian(quint32(line.compression), 4) + QByteArray(20, '\0');
    headers.resize(qMin(headers.size(), line.headerSize));
    for (const quint32 mask : line.masks)
        headers += littleEndian(mask, 4);
    headers += QByteArray(qMax(0, line.headerSize - headers.size()), '\0');
    for (int i = 0; line.bits <= 8 && i < 1 << line.bits; ++i)
        headers += QByteArray(3, char(255 - i)) + QByteArray(isOld ? 0 : 1, '\0');
    const QByteArray padded = line.pixels + QByteArray((4 - line.pixels.size() % 4) % 4, '\0');
    const auto begin = quint32(fileHeader + headers.size());
    return "BM" + littleEndian(begin + quint32(padded.size()), 4) + littleEndian(0, 4) + littleEndian(begin, 4)
        + headers + padded;
}

/// One pixel, and behind it a profile of colors, as the largest header may have it.
QByteArray bmpWithProfile()
{
    constexpr int fileHeader = 14;
    const QByteArray profile(560, 'p');
    QByteArray bytes = bmp({124, 24, 0, {}, "abc"});
    bytes.replace(fileHeader + 56, 4, "DEBM"); // that it is there
    bytes.replace(fileHeader + 112, 4, littleEndian(quint32(bytes.size() - fileHeader), 4));
    bytes.replace(fileHeader + 116, 4, littleEndian(quint32(profile.size()), 4));
    bytes += profile;
    return bytes.replace(2, 4, littleEndian(quint32(bytes.size()), 4));
}

constexpr quint32 usualRed = 0xFF0000;
constexpr quint32 usualGreen = 0xFF00;
constexpr quint32 usualBlue = 0xFF;

/// What the pixels of a picture look like as a TIFF of this kind.
cv::Mat shown(const cv::Mat &bgr, const Tiff &kind)
{
    cv::Mat stored = bgr.clone();
    if (kind.photometric != 2 && kind.photometric != 5) { // neither RGB nor CMYK: grey
        const unsigned highest = kind.bits < 8 ? (1U << kind.bits) - 1 : 255;
        stored.forEach<cv::Vec3b>([highest](cv::Vec3b &pixel, const int *) {
            pixel = cv::Vec3b::all(uchar(pixel[0] * highest / 255 * 255 / highest));
        });
    }
    const bool isMirrored =
        kind.orientation == 2 || kind.orientation == 3 || kind.orientation == 6 || kind.orientation == 7;
    const bool isUpsideDown =
        kind.orientation == 3 || kind.orientation == 4 || kind.orientation == 7 || kind.orientation == 8;
    cv::Mat turned = kind.orientation >= 5 ? cv::Mat(stored.t()) : stored;
    if (isMirrored)
        cv::flip(turned, turned, 1);
    if (isUpsideDown)
        cv::flip(turned, turned, 0);
    return turned;
}

/// Eight strips of eight lines, one behind the other, of 64 x 64 pixels.
TiffStrips tiffStrips(const QByteArray &data, const std::vector<int> &sizes, int compression = 1)
{
    TiffStrips strips{64, 64, 8, compression, {}, {}, data, {}};
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

/// Grey as YCbCr, of which each color is that of 2 x 2 pixels; the last ones of these go beyond the image.
QByteArray subsampledTiff(const cv::Mat &gray)
{
    constexpr int rowsPerStrip = 4;
    QByteArray data = QByteArray("\x08\0\x08\0\x08\0", 6); // bits of the samples
    TiffStrips strips{gray.cols, gray.rows, rowsPerStrip, 1, {}, {}, {}, {}};
    for (int begin = 0; begin < gray.rows; begin += rowsPerStrip) {
        QByteArray strip;
        for (int row = begin; row < qMin(begin + rowsPerStrip, gray.rows); row += 2) {
            for (int col = 0; col < gray.cols; col += 2) {
                for (int i = 0; i < 4; ++i)
                    strip += char(gray.at<uchar>(qMin(row + i / 2, gray.rows - 1), qMin(col + i % 2, gray.cols - 1)));
                strip += "\x80\x80";
            }
        }
        strips.offsets.push_back(quint32(8 + data.size()));
        strips.sizes.push_back(quint32(strip.size()));
        data += strip;
    }
    strips.data = data;
    strips.entries = {{258, {TiffEntry::Short, 3, 8}}, {262, {TiffEntry::Short, 1, 6}}, {277, {TiffEntry::Short, 1, 3}},
        {530, {TiffEntry::Short, 2, 0x20002}}};
    return tiff(strips);
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

/// Indices into a palette of 256 colors, which stands behind the strips.
TiffStrips paletteStrips()
{
    constexpr quint32 colors = 3 * 256;
    TiffStrips strips = plainStrips();
    strips.entries[262] = {TiffEntry::Short, 1, 3};
    strips.entries[320] = {TiffEntry::Short, colors, quint32(8 + strips.data.size())};
    for (quint32 i = 0; i < colors; ++i)
        strips.data += littleEndian(257 * (255 - i % 256), 2);
    return strips;
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

    void colorsOfAPngAreThoseOfItsPalette_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("colors");
        QTest::newRow("1 bit") << 1 << 1;
        QTest::newRow("2 bits") << 2 << 3;
        QTest::newRow("4 bits") << 4 << 15;
        QTest::newRow("8 bits") << 8 << 255;
        QTest::newRow("8 bits, two colours") << 8 << 2;
    }
    void colorsOfAPngAreThoseOfItsPalette()
    {
        QFETCH(int, bits);
        QFETCH(int, colors);
        const auto last = unsigned(colors) - 1;
        const cv::Vec3b colorOfLast(uchar(last + 2), uchar(last + 1), uchar(last));
        const cv::Vec3b black(2, 1, 0);

        const cv::Mat expected = (cv::Mat_<cv::Vec3b>(1, 4) << black, colorOfLast, black, colorOfLast);
        QVERIFY(areEqual(loaded(palettePng(bits, colors, {0, last, 0, last})), expected));
        QVERIFY(areEqual(expected, reference(palettePng(bits, colors, {0, last, 0, last}))));
        for (int at = 0; at < 4; ++at) {
            std::vector<unsigned> pixels{0, last, 0, last};
            pixels[std::size_t(at)] = last + 1;
            QCOMPARE(problemOf(palettePng(bits, colors, pixels)),
                QStringLiteral("the image data is damaged: a pixel has a color that is not in the palette"));
        }
    }

    void tiffPixelsAreThoseThatWerePutIn_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<cv::Mat>("expected");
        const cv::Mat picture = photograph(50, 75);
        const auto row = [&picture](const QByteArray &name, const Tiff &kind) {
            QTest::newRow(name.constData()) << tiff(picture, kind) << shown(picture, kind);
        };
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
                        if (tileSide == 0 || samples > 1 || bits == 8)
                            row("compression " + QByteArray::number(compression) + ", " + QByteArray::number(samples)
                                    + " x " + QByteArray::number(bits) + (tileSide > 0 ? ", tiles" : ""),
                                kind);
                    }
                }
            }
        }
        Tiff kind;
        kind.samples = 1;
        kind.photometric = 0;
        row("white is 0", kind);
        kind.tileSide = 32;
        row("white is 0, tiles", kind);
        kind.tileSide = 0;
        kind.photometric = 3;
        row("palette", kind);
        kind.bits = 1;
        row("palette of two colors", kind);
        kind.photometric = 0;
        row("bilevel, white is 0", kind);
        kind.photometric = 1;
        row("bilevel", kind);
        kind.entries = {{266, 2}}; // the order of bits; the writer turns them
        row("bilevel, bits in reverse", kind);
        kind = {};
        kind.bits = 16;
        kind.samples = 1;
        kind.photometric = 1;
        kind.tileSide = 25 + 7; // 75 is no multiple of it, 64 is
        const cv::Mat narrow = photograph(50, 64);
        QTest::newRow("16 bits, tiles as wide as the image") << tiff(narrow, kind) << shown(narrow, kind);
        kind = {};
        kind.rowsPerStrip = 1000;
        row("one strip", kind);
        kind.rowsPerStrip = 65535; // some writers say so of one strip
        row("one strip of more lines than the image", kind);
        kind = {};
        kind.bits = 16;
        kind.isPlanar = true;
        kind.rowsPerStrip = 1;
        const cv::Mat tall = photograph(4000, 2);
        QTest::newRow("12,000 strips of planes, 16 bits") << tiff(tall, kind) << shown(tall, kind);
        kind.samples = 1;
        kind.photometric = 1;
        kind.isPlanar = false;
        const cv::Mat taller = photograph(8193, 2);
        QTest::newRow("8,193 strips of grey, 16 bits") << tiff(taller, kind) << shown(taller, kind);
        kind = {};
        kind.isPlanar = true;
        row("planes", kind);
        kind.tileSide = 32;
        row("planes of tiles", kind);
        kind = {};
        kind.samples = 4;
        kind.photometric = 5;
        row("CMYK", kind);
        kind = {};
        kind.photometric = 6;
        row("YCbCr", kind);
        kind = {};
        kind.samples = 2;
        kind.photometric = 1;
        row("grey and opaque", kind);
        kind.bits = 16;
        row("grey and opaque, 16 bits", kind);
        kind.photometric = 0;
        row("white is 0 and opaque, 16 bits", kind);
        kind.samples = 1;
        row("white is 0, 16 bits", kind);
        kind.bits = 8;
        kind.samples = 2;
        kind.photometric = 3;
        row("palette and opaque", kind);
        kind = {};
        kind.compression = 8;
        kind.tileSide = 16;
        row("small packed tiles", kind);
        kind.bits = 1;
        kind.samples = 1;
        kind.photometric = 1;
        row("bilevel packed tiles", kind);
        kind.compression = 1;
        kind.tileSide = 128;
        row("bilevel tile", kind);
        for (const int extraSample : {-1, 0}) { // not said to be anything: the decoder warns of it
            kind = {};
            kind.samples = 4;
            kind.extraSample = extraSample;
            kind.alpha = 100;
            row(extraSample < 0 ? "a fourth sample" : "a fourth sample of no kind", kind);
        }
        kind = {};
        kind.isBig = true;
        row("64-bit offsets", kind);
        kind.tileSide = 32;
        row("64-bit offsets, tiles", kind);
        kind = {};
        kind.isBigEndian = true;
        row("big endian", kind);
        kind.bits = 16;
        row("big endian, 16 bits", kind);
        kind.tileSide = 32;
        row("big endian, 16 bits, tiles", kind);
        kind.isBig = true;
        row("big endian, 16 bits, tiles, 64-bit offsets", kind);
        for (const int compression : {5, 8}) {
            for (const int tileSide : {0, 32}) {
                for (const int bits : {8, 16}) {
                    kind = {};
                    kind.compression = compression;
                    kind.tileSide = tileSide;
                    kind.bits = bits;
                    kind.entries = {{317, 2}};
                    row("differences, compression " + QByteArray::number(compression) + ", " + QByteArray::number(bits)
                            + " bits" + (tileSide > 0 ? ", tiles" : ""),
                        kind);
                }
            }
        }
        kind = {};
        kind.ranges = {0, 255, 0, 255, 0, 255};
        row("black and white as usual", kind);
        kind.bits = 16;
        kind.ranges = {0, 65535, 0, 65535, 0, 65535};
        row("black and white as usual, 16 bits", kind);
        for (int orientation = 2; orientation <= 8; ++orientation) {
            kind = {};
            kind.orientation = orientation;
            row("orientation " + QByteArray::number(orientation), kind);
        }
        kind = {};
        kind.compression = 5;
        kind.rowsPerStrip = 1000;
        const cv::Mat large = photograph(200, 300);
        QTest::newRow("LZW, all widths of codes and a full table") << tiff(large, kind) << shown(large, kind);

        const TiffStrips strips = plainStrips();
        const auto gray = [](const QByteArray &samples) {
            cv::Mat bgr;
            cv::cvtColor(cv::Mat(64, 64, CV_8UC1, const_cast<char *>(samples.constData())), bgr, cv::COLOR_GRAY2BGR);
            return bgr;
        };
        QTest::newRow("strips written by hand") << tiff(strips) << gray(strips.data);
        QByteArray backwards;
        for (int strip = 7; strip >= 0; --strip)
            backwards += strips.data.mid(512 * strip, 512);
        QTest::newRow("strips in another order")
            << changed(strips, [](TiffStrips *other) { std::reverse(other->offsets.begin(), other->offsets.end()); })
            << gray(backwards);
        QTest::newRow("an entry that is not known") << changed(strips, [](TiffStrips *other) {
            other->entries[51200] = {TiffEntry::Long, 1, 0};
        }) << gray(strips.data);
        QTest::newRow("entries that are registered, but not known to the decoder") << changed(
            strips, [](TiffStrips *other) {
                other->entries[11] = {TiffEntry::Byte, 4, 0x61626364}; // the program
                other->entries[292] = {TiffEntry::Long, 1, 0}; // of fax
                other->entries[18246] = {TiffEntry::Short, 1, 5}; // stars
            }) << gray(strips.data);
        QTest::newRow("both resolutions in one place") << changed(strips, [](TiffStrips *other) {
            const auto place = quint32(8 + other->data.size());
            other->data += littleEndian(300, 4) + littleEndian(1, 4);
            other->entries[282] = {TiffEntry::Rational, 1, place};
            other->entries[283] = {TiffEntry::Rational, 1, place};
        }) << gray(strips.data);
        QByteArray inverse = strips.data;
        for (char &level : inverse)
            level = char(255 - uchar(level));
        QTest::newRow("palette written by hand") << tiff(paletteStrips()) << gray(inverse);
        cv::Mat luma;
        cv::cvtColor(photograph(13, 7), luma, cv::COLOR_BGR2GRAY);
        cv::Mat subsampled;
        cv::cvtColor(luma, subsampled, cv::COLOR_GRAY2BGR);
        QTest::newRow("YCbCr, colors of four pixels") << subsampledTiff(luma) << subsampled;
        QTest::newRow("PackBits written by hand")
            << tiff(packedStrips(packBits(), 32773)) << gray(QByteArray(64 * 64, '\0'));
        QTest::newRow("LZW written by hand") << tiff(packedStrips(lzwWithEnd(), 5)) << gray(QByteArray(64 * 64, '\0'));
    }
    void tiffPixelsAreThoseThatWerePutIn()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(cv::Mat, expected);

        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
        QVERIFY(areEqual(expected, reference(bytes)));
    }

    void noTiffWithATransparentPixelIsRead_data()
    {
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("tileSide");
        QTest::addColumn<bool>("isPlanar");
        for (const int bits : {8, 16}) {
            for (const int tileSide : {0, 32}) {
                for (const bool isPlanar : {false, true})
                    QTest::addRow("%d bits%s%s", bits, tileSide > 0 ? ", tiles" : "", isPlanar ? ", planes" : "")
                        << bits << tileSide << isPlanar;
            }
        }
    }
    void noTiffWithATransparentPixelIsRead()
    {
        Tiff kind;
        kind.samples = 4;
        QFETCH(int, bits);
        QFETCH(int, tileSide);
        QFETCH(bool, isPlanar);
        kind.bits = bits;
        kind.tileSide = tileSide;
        kind.isPlanar = isPlanar;
        const cv::Mat picture = photograph(50, 75);

        QVERIFY(areEqual(loaded(tiff(picture, kind)), shown(picture, kind)));
        for (const cv::Point &hole : {cv::Point(0, 0), {74, 0}, {0, 49}, {74, 49}, {64, 31}, {31, 32}}) {
            kind.hole = hole;
            QCOMPARE(problemOf(tiff(picture, kind)), QStringLiteral("transparent pixels are not supported"));
        }
    }

    /// Kinds that OpenCV takes, but puts together in a wrong way.
    void noTiffComesOutAsAnotherPicture_data()
    {
        QTest::addColumn<int>("tileSide");
        QTest::addColumn<int>("bits");
        QTest::addColumn<int>("compression");
        for (const int bits : {1, 8, 16}) {
            for (const auto &[tileSide, compression] : {std::pair(0, 1), {16, 8}, {32, 1}, {32, 8}, {128, 1}})
                QTest::addRow("tiles of %d, %d bits, compression %d", tileSide, bits, compression)
                    << tileSide << bits << compression;
        }
    }
    void noTiffComesOutAsAnotherPicture()
    {
        QFETCH(int, tileSide);
        QFETCH(int, bits);
        QFETCH(int, compression);
        int read = 0;
        for (const int photometric : {0, 1, 2, 3, 5, 6, 8}) {
            for (const auto &[samples, isPlanar] :
                {std::pair(1, false), {2, false}, {2, true}, {3, false}, {3, true}, {4, false}, {4, true}}) {
                if (photometric == 6 && samples != 3) // the decoder takes it for damage
                    continue;
                for (const auto &[width, orientation] : {std::pair(64, 1), {75, 1}, {64, 3}}) {
                    Tiff kind;
                    kind.compression = compression;
                    kind.tileSide = tileSide;
                    kind.bits = bits;
                    kind.photometric = photometric;
                    kind.samples = samples;
                    kind.isPlanar = isPlanar;
                    kind.orientation = orientation;
                    const cv::Mat picture = photograph(20, width);
                    const QByteArray bytes = tiff(picture, kind);
                    const QByteArray what = "photometric " + QByteArray::number(photometric) + ", samples "
                        + QByteArray::number(samples) + (isPlanar ? " in planes" : "") + ", width "
                        + QByteArray::number(width) + ", orientation " + QByteArray::number(orientation) + ": ";

                    const cv::Mat pixels = loaded(bytes);

                    if (pixels.empty()) {
                        const QString problem = problemOf(bytes);
                        QVERIFY2(problem.contains(QStringLiteral("not supported")), (what + problem.toUtf8()).data());
                    } else {
                        QVERIFY2(areEqual(pixels, shown(picture, kind)), what.constData());
                        ++read;
                    }
                }
            }
        }
        QVERIFY(read > 0 || (bits == 1 && tileSide == 32 && compression == 1));
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
        QTest::newRow("P2 with empty lines") << QByteArray("P2 2 1 15\n0 15\n \n\n");
        QTest::newRow("BMP with more behind it") << bmp(37, 29, 8) + "more";
        const QByteArray gray = bmp(37, 29, 8);
        QTest::newRow("BMP with padding")
            << QByteArray(gray + QByteArray(3, '\0')).replace(2, 4, littleEndian(quint32(gray.size()) + 3, 4));
        QTest::newRow("BMP with a color profile") << bmpWithProfile();
        QTest::newRow("BMP without the size of the file") << bmp(37, 29, 8).replace(2, 4, littleEndian(0, 4));
    }
    void plainPixelsAreThoseOfOpenCv()
    {
        QFETCH(QByteArray, bytes);
        const cv::Mat expected = reference(bytes);

        QVERIFY(!expected.empty());
        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
    }

    void pnmSamplesAreScaledByTheHighestOne_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<cv::Mat>("expected");
        const auto row = [](const char *name, const QByteArray &bytes, const std::vector<uchar> &pixels) {
            QTest::newRow(name) << bytes << cv::Mat(pixels, true).reshape(3, 1);
        };
        row("P1", "P1\n2 1\n1 0\n", {0, 0, 0, 255, 255, 255});
        row("P4", "P4\n2 1\n\x80", {0, 0, 0, 255, 255, 255});
        row("P2 of 4 bits", "P2 2 1 15\n15 5\n", {255, 255, 255, 85, 85, 85});
        row("P2 of 200", "P2 2 1 200\n200 100\n", {255, 255, 255, 127, 127, 127});
        row("P2 of 16 bits", "P2 2 1 65535\n65535 32896\n", {255, 255, 255, 128, 128, 128});
        row("P3 of 8 bits", "P3 2 1 255\n1 2 3 253 254 255\n", {3, 2, 1, 255, 254, 253});
        row("P3 of 4 bits", "P3 2 1 15\n15 5 0 0 5 15\n", {0, 85, 255, 255, 85, 0});
        row("P3 of 16 bits", "P3 1 1 65535\n65535 32896 0\n", {0, 128, 255});
        row("P5 of 8 bits", "P5 2 1 255\n\xFF\x7F", {255, 255, 255, 127, 127, 127});
        row("P5 of 16 bits", "P5 2 1 65535\n\xFF\xFF\x80\x80", {255, 255, 255, 128, 128, 128});
        row("P6 of 8 bits", "P6 2 1 255\nabcxyz", {'c', 'b', 'a', 'z', 'y', 'x'});
        row("P6 of 16 bits", "P6 1 1 65535\naabbcc", {'c', 'b', 'a'});
        row("comments that end with CR", "P2\r# a\r2 1\r255\r1 # b\r2\r", {1, 1, 1, 2, 2, 2});
        row("CR before the pixels", "P5\r2 1\r255\r01\n", {'0', '0', '0', '1', '1', '1'});
        row("P1 with a comment behind a bit", "P1\n2 1\n1# one\n0\n", {0, 0, 0, 255, 255, 255});
        row("P1 that ends with its last bit", "P1\n2 1\n10", {0, 0, 0, 255, 255, 255});
    }
    void pnmSamplesAreScaledByTheHighestOne()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(cv::Mat, expected);

        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
    }

    void bmpPixelsAreThoseThatWerePutIn_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<cv::Mat>("expected");
        const auto row = [](const char *name, const BmpLine &line, const std::vector<uchar> &pixels) {
            QTest::newRow(name) << bmp(line) << cv::Mat(pixels, true).reshape(3, 1);
        };
        row("1 bit", {40, 1, 0, {}, "\x5F"},
            {255, 255, 255, 254, 254, 254, 255, 255, 255, 254, 254, 254, //
                254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254, 254});
        row("4 bits", {40, 4, 0, {}, "\x2F"}, {253, 253, 253, 240, 240, 240});
        row("8 bits", {40, 8, 0, {}, "ab"}, {158, 158, 158, 157, 157, 157});
        row("8 bits, long header", {124, 8, 0, {}, "ab"}, {158, 158, 158, 157, 157, 157});
        row("8 bits, OS/2", {12, 8, 0, {}, "ab"}, {158, 158, 158, 157, 157, 157});
        row("24 bits", {40, 24, 0, {}, "abcxyz"}, {'a', 'b', 'c', 'x', 'y', 'z'});
        row("24 bits, OS/2", {12, 24, 0, {}, "abcxyz"}, {'a', 'b', 'c', 'x', 'y', 'z'});
        row("32 bits", {40, 32, 0, {}, "abc-xyz-"}, {'a', 'b', 'c', 'x', 'y', 'z'});
        for (const int headerSize : {40, 52, 56, 108, 124}) {
            const BmpLine line{headerSize, 32, 3, {usualRed, usualGreen, usualBlue}, "abc-xyz-"};
            row(QByteArray("32 bits in fields, header of " + QByteArray::number(headerSize)).constData(), line,
                {'a', 'b', 'c', 'x', 'y', 'z'});
        }
        const QByteArray two("\xFF\x7F\x01\x02", 4); // five bits each, the lowest ones blue
        row("16 bits", {40, 16, 0, {}, two}, {248, 248, 248, 8, 128, 0});
        row("16 bits in fields of 5", {40, 16, 3, {0x7C00, 0x3E0, 0x1F}, two}, {248, 248, 248, 8, 128, 0});
        row("16 bits in fields of 5 and 6", {40, 16, 3, {0xF800, 0x7E0, 0x1F}, two}, {248, 252, 120, 8, 64, 0});
    }
    void bmpPixelsAreThoseThatWerePutIn()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(cv::Mat, expected);

        QVERIFY2(areEqual(loaded(bytes), expected), qPrintable(problemOf(bytes)));
        QVERIFY(areEqual(expected, reference(bytes)));
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
                QByteArray("1 samples of " + QByteArray::number(bits) + " bits as photometric").constData());
        }
        const auto oddTiff = [&row](const char *name, const Tiff &odd, const char *reason) {
            row(name, tiff(photograph(50, 75), odd), reason);
        };
        Tiff odd;
        odd.bits = 16;
        odd.samples = 1;
        odd.photometric = 1;
        odd.tileSide = 32;
        oddTiff("16 bits, tiles that go beyond the image", odd,
            "tiles of 1 samples of 16 bits that go beyond the image are not supported");
        odd.bits = 8;
        odd.samples = 2;
        oddTiff("grey and opaque, tiles that go beyond the image", odd,
            "tiles of 2 samples of 8 bits that go beyond the image are not supported");
        odd = {};
        odd.tileSide = 32;
        odd.orientation = 3;
        oddTiff("tiles upside down", odd, "tiles of orientation 3 are not supported");
        odd.orientation = 1;
        odd.tileSide = 16;
        oddTiff("small tiles", odd, "uncompressed tiles of 768 bytes are not supported");
        odd.tileSide = 32;
        odd.photometric = 6;
        oddTiff("YCbCr in tiles", odd, "tiles of photometric interpretation 6 are not supported");
        odd = {};
        odd.samples = 2;
        odd.photometric = 0;
        odd.isPlanar = true;
        oddTiff(
            "planes of grey", odd, "2 separate samples of 8 bits as photometric interpretation 0 are not supported");
        odd = {};
        odd.bits = 16;
        odd.samples = 4;
        odd.photometric = 5;
        oddTiff("CMYK of 16 bits", odd, "4 samples of 16 bits as photometric interpretation 5 are not supported");
        odd = {};
        odd.bits = 16;
        odd.samples = 1;
        odd.photometric = 3;
        oddTiff("palette of 16 bits", odd, "1 samples of 16 bits as photometric interpretation 3 are not supported");
        odd = {};
        odd.compression = 8;
        odd.rowsPerStrip = 65535;
        row("a wide strip of far more lines than the image", tiff(1600, 20, odd),
            "strips of 65535 lines are not supported");
        odd.rowsPerStrip = std::numeric_limits<int>::max();
        oddTiff("a strip of lines without end", odd, "strips of 2147483647 lines are not supported");
        for (const int alphas : {0, 1}) {
            for (const int bits : {8, 16}) {
                odd = {};
                odd.bits = bits;
                odd.samples = 3 + alphas;
                odd.rowsPerStrip = 1;
                if (alphas == 0 && bits == 8)
                    continue;
                const QByteArray samples =
                    QByteArray::number(odd.samples) + " samples of " + QByteArray::number(bits) + " bits";
                row(QByteArray("many strips of " + samples).constData(), tiff(1, 8193, odd),
                    QByteArray("8193 strips or tiles of " + samples + " are too many").constData());
            }
        }
        const auto entry = [&row](const char *name, int tag, TiffEntry::Type type, int value, const char *reason) {
            row(name,
                changed(plainStrips(),
                    [=](TiffStrips *strips) {
                        strips->entries[tag] = {type, 1, quint32(value)};
                    }),
                reason);
        };
        entry("no photometric interpretation", 262, TiffEntry::None, 0,
            "a TIFF without photometric interpretation is not supported");
        entry("signed samples", 339, TiffEntry::Short, 2, "samples of format 2 are not supported");
        entry("samples up to 250", 281, TiffEntry::Short, 250, "samples up to 250 are not supported");
        entry("samples of any format up to 250", 341, TiffEntry::Short, 250, "samples up to 250 are not supported");
        const auto rangeRow = [&row](const char *name, int bits, const std::vector<float> &range, const char *reason) {
            Tiff ranged;
            ranged.bits = bits;
            ranged.ranges = range;
            row(name, tiff(photograph(50, 75), ranged), reason);
        };
        rangeRow("RGB from 16 to 235", 8, {16, 235, 16, 235, 16, 235}, "samples from 16 to 235 are not supported");
        rangeRow("RGB up to 254", 8, {0, 255, 0, 255, 0, 254}, "samples from 0 to 254 are not supported");
        rangeRow(
            "RGB of which green begins at 1", 8, {0, 255, 1, 255, 0, 255}, "samples from 1 to 255 are not supported");
        rangeRow("RGB of 12 bits", 16, {0, 4095, 0, 4095, 0, 4095}, "samples from 0 to 4095 are not supported");
        row("a response curve",
            changed(plainStrips(),
                [](TiffStrips *strips) {
                    strips->data += QByteArray(2 * 256, '\x33');
                    strips->entries[291] = {TiffEntry::Short, 256, 8 + 64 * 64};
                }),
            "a response curve is not supported");
        entry("a reduced image", 254, TiffEntry::Long, 1, "the page is a reduced form of an image");
        entry("a reduced image, as it once was", 255, TiffEntry::Short, 2, "the page is a reduced form of an image");
        row("an entry of which the decoder warns",
            changed(plainStrips(),
                [](TiffStrips *strips) {
                    strips->entries[274] = {TiffEntry::Short, 2, 0x10001};
                }),
            "the image data is damaged: Incorrect count for \"Orientation\"");
        entry("a mask", 254, TiffEntry::Long, 4, "the page is a mask of an image");
        entry("a sample that is grey and transparency", 338, TiffEntry::Short, 2,
            "1 samples of 8 bits as photometric interpretation 1 are not supported");
        row("a bit that is grey and transparency",
            changed(plainStrips(),
                [](TiffStrips *strips) {
                    strips->width = 512;
                    strips->entries[258] = {TiffEntry::Short, 1, 1};
                    strips->entries[338] = {TiffEntry::Short, 1, 2};
                }),
            "1 samples of 1 bits as photometric interpretation 1 are not supported");
        entry("two layers", 32997, TiffEntry::Long, 2, "images of 2 layers are not supported");
        const char *const noPalette = "the palette is missing";
        const char *const oddMap = "the image data is damaged: "; // the decoder notices
        const char *const oddPalette = "the palette is damaged";
        const char *const valuesOverlap = "the values of entries overlap";
        const auto paletteRow = [&row](const char *name, const char *reason, const auto &change) {
            row(name, changed(paletteStrips(), [&change](TiffStrips *strips) { change(&strips->entries[320]); }),
                reason);
        };
        paletteRow("no palette", noPalette, [](TiffEntry *map) { map->type = TiffEntry::None; });
        paletteRow("an empty palette", oddMap, [](TiffEntry *map) { map->count = 0; });
        paletteRow("a palette of bytes", oddPalette, [](TiffEntry *map) { map->type = TiffEntry::Byte; });
        paletteRow("a palette of a color too many", valuesOverlap, [](TiffEntry *map) { map->count += 3; });
        paletteRow("a palette of a color too few", oddMap, [](TiffEntry *map) { map->count -= 3; });
        paletteRow("a palette in the header", valuesOverlap, [](TiffEntry *map) { map->value = 0; });
        paletteRow("a palette in the table of strips", valuesOverlap, [](TiffEntry *map) { map->value += 2; });
        paletteRow("a palette in the directory", valuesOverlap, [](TiffEntry *map) { map->value += 2 * 8 * 4 + 100; });
        for (const int bit : {1, 16, 1024, 16384, 32768}) {
            row(QByteArray("a palette in entry " + QByteArray::number(320 ^ bit)).constData(),
                changed(paletteStrips(),
                    [bit](TiffStrips *strips) {
                        const TiffEntry map = strips->entries[320];
                        strips->entries[320].type = TiffEntry::None;
                        strips->entries[320 ^ bit] = map;
                    }),
                bit < 1024        ? oddMap
                    : bit < 32768 ? "entry "
                                  : noPalette);
        }
        for (const int photometric : {0, 1}) {
            row(QByteArray("a palette of grey " + QByteArray::number(photometric)).constData(),
                changed(paletteStrips(),
                    [photometric](TiffStrips *strips) { strips->entries[262].value = quint32(photometric); }),
                QByteArray("a palette in photometric interpretation " + QByteArray::number(photometric)).constData());
        }
        for (const int tag : {260, 275, 298, 829, 16701, 32767}) {
            entry(QByteArray("entry " + QByteArray::number(tag)).constData(), tag, TiffEntry::Short, 2,
                QByteArray("entry " + QByteArray::number(tag) + " is not known").constData());
        }
        for (const int photometric : {0, 1}) {
            for (const int samples : {3, 4}) {
                odd = {};
                odd.samples = samples;
                odd.photometric = photometric;
                odd.extraSample = -1;
                const QByteArray name = QByteArray::number(samples) + " samples of which grey "
                    + QByteArray::number(photometric) + " is one";
                oddTiff(name.constData(), odd,
                    QByteArray(QByteArray::number(samples - 1) + " samples that are not said to be anything")
                        .constData());
            }
        }
        odd = {};
        odd.photometric = 6;
        QByteArray luminance = tiff(photograph(50, 75), odd);
        const int interpretation = luminance.indexOf(QByteArray("\6\1\3\0\1\0\0\0\6\0", 10));
        QVERIFY(interpretation > 0);
        row("YCbCr that is said to be RGB", luminance.replace(interpretation + 8, 1, "\2"),
            "the subsampling of photometric interpretation 2 is not supported");
        TiffStrips reversed = packedStrips(lzwWithEnd(), 5);
        reversed.entries[266] = {TiffEntry::Short, 1, 2};
        row("packed bits in reverse", tiff(reversed), "packed data of fill order 2 are not supported");
        for (const int extraSample : {1, 2}) {
            for (const int samples : {2, 4}) {
                for (const int bits : {8, 16}) {
                    Tiff glass;
                    glass.bits = bits;
                    glass.samples = samples;
                    glass.photometric = samples == 2 ? 1 : 2;
                    glass.extraSample = extraSample;
                    glass.alpha = 128;
                    const QByteArray name = QByteArray::number(samples) + " x " + QByteArray::number(bits)
                        + ", transparency " + QByteArray::number(extraSample);
                    const char *const reason = "transparent pixels are not supported";
                    oddTiff(name.constData(), glass, reason);
                }
            }
        }
        odd = {};
        odd.samples = 4;
        odd.isPlanar = true;
        odd.alpha = 254;
        oddTiff("a plane of transparency", odd, "transparent pixels are not supported");
        odd.tileSide = 32;
        oddTiff("tiles of transparency", odd, "transparent pixels are not supported");
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
        row("4,097 entries", tiffWithEntries(4097), "the image header is damaged");
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
        row("a comment that ends with CR", "P2\n2 2\n255\n1 2 #x\r9\n3 4\n", more);
        const char *const lateComment = "a comment right behind a number is not supported";
        row("a comment behind the highest sample", "P5\n2 1\n255#\n\nab", lateComment);
        row("a comment behind a sample", "P2\n2 1\n255\n1#x\n2\n", lateComment);
        row("a comment without an end", "P2\n2 1\n255\n1 #x", "the image is incomplete");
        const char *const twoBytes = "a line end of two bytes before the pixels is not supported";
        row("P5 with CR and LF", "P5\r\n2 1\r\n255\r\na ", twoBytes);
        row("P4 with CR and LF", "P4\r\n8 1\r\na", twoBytes);
        row("P2 without an end", "P2\n2 1\n255\n1 25", "the image is incomplete");
        row("P5 of 4 bits", QByteArray("P5\n3 1\n15\n\1\xF\3"), "samples up to 15 are not supported");
        row("P5 of 254", QByteArray("P5\n3 1\n254\n\1\xFE\3"), "samples up to 254 are not supported");
        row("P5 of 10 bits", QByteArray("P5\n3 1\n1023\n\3\xFF\2\0\0\1", 18), "samples up to 1023 are not supported");
        row("P6 of 14 bits", QByteArray("P6\n1 1\n16383\n\x3F\xFF\2\0\0\1", 19),
            "samples up to 16383 are not supported");
        row("P2 of 14 bits", "P2\n3 1\n16383\n1 2 16383\n", "samples up to 16383 are not supported");
        row("P3 of 256", "P3\n1 1\n256\n1 2 256\n", "samples up to 256 are not supported");
        row("highest sample 0", QByteArray("P5\n3 1\n0\n\0\0\0", 12), "the image header is damaged");
        row("highest sample 70000", "P5\n3 1\n70000\nabcdef", "the image header is damaged");

        const QByteArray gray = bmp(8, 8, 8);
        row("BMP larger than its file", QByteArray(gray).replace(2, 4, littleEndian(quint32(gray.size()) + 1, 4)),
            "the image is incomplete");
        row("BMP that ends before its pixels",
            QByteArray(gray).replace(2, 4, littleEndian(quint32(gray.size()) - 1, 4)), "the image header is damaged");
        row("BMP with pixels in its palette", QByteArray(gray).replace(10, 4, littleEndian(54, 4)),
            "the image header is damaged");
        const char *const leftOver = "data are left over behind the image";
        for (const int bits : {1, 4, 8, 16, 24, 32}) {
            const QByteArray depth = " of a BMP of " + QByteArray::number(bits) + " bits";
            const QByteArray whole = bmp(37, 29, bits);
            row(("a lost line" + depth).constData(), QByteArray(whole).replace(22, 4, littleEndian(28, 4)), leftOver);
            row(("a lost line from the top" + depth).constData(),
                QByteArray(whole).replace(22, 4, littleEndian(quint32(-28), 4)), leftOver);
            row(("lost pixels" + depth).constData(), QByteArray(whole).replace(18, 4, littleEndian(5, 4)), leftOver);
        }
        row("BMP with four bytes too many",
            QByteArray(gray + "more").replace(2, 4, littleEndian(quint32(gray.size()) + 4, 4)), leftOver);
        row("BMP without its size with four bytes too many",
            QByteArray(gray + "more").replace(2, 4, littleEndian(0, 4)), leftOver);
        row("BMP of 24 bits that is said to have 16", bmp(8, 8, 24).replace(28, 2, littleEndian(16, 2)), leftOver);
        const QByteArray masks = littleEndian(usualRed, 4) + littleEndian(usualGreen, 4) + littleEndian(usualBlue, 4);
        row("BMP with pixels in its masks",
            bmp(8, 8, 32).replace(30, 4, littleEndian(3, 4)).replace(34, 4, littleEndian(0, 4)).replace(54, 12, masks),
            "the image header is damaged");
        QByteArray twoColors = QByteArray(gray).replace(46, 4, littleEndian(2, 4));
        twoColors.replace(1078, 64, QByteArray(64, '\1'));
        QVERIFY(problemOf(twoColors).isEmpty());
        row("BMP with a pixel above its palette", QByteArray(twoColors).replace(1078 + 63, 1, "\2"),
            "a pixel has a color that is not in the palette");
        row("BMP of 6 bits a pixel", QByteArray(twoColors).replace(28, 2, littleEndian(6, 2)),
            "BMP pixels of 6 bits are not supported");
        const auto bmpRow = [&row](const char *name, const BmpLine &line, const char *reason) {
            row(name, bmp(line), reason);
        };
        bmpRow("BMP of 2 bits a pixel", {40, 2, 0, {}, "abcd"}, "BMP pixels of 2 bits are not supported");
        bmpRow("BMP of 64 bits a pixel", {40, 64, 0, {}, "abcdefgh"}, "BMP pixels of 64 bits are not supported");
        bmpRow("OS/2 BMP of 16 bits a pixel", {12, 16, 0, {}, "abcd"}, "BMP pixels of 16 bits are not supported");
        bmpRow("short OS/2 header", {16, 24, 0, {}, "abcd"}, "BMP headers of 16 bytes are not supported");
        bmpRow("24 bits in fields", {40, 24, 3, {usualRed, usualGreen, usualBlue}, "abc"},
            "BMP fields of 24 bits are not supported");
        bmpRow("fields of 10 bits", {40, 32, 3, {0x3FF00000, 0xFFC00, 0x3FF}, "abcd"},
            "BMP fields 3ff00000 ffc00 3ff are not supported");
        bmpRow("fields of red first", {124, 32, 3, {usualBlue, usualGreen, usualRed}, "abcd"},
            "BMP fields ff ff00 ff0000 are not supported");
        bmpRow("fields of 4 bits", {40, 16, 3, {0xF00, 0xF0, 0xF}, "abcd"}, "BMP fields f00 f0 f are not supported");
        for (const int headerSize : {52, 56, 108, 124}) {
            bmpRow(QByteArray("16 bits in fields, header of " + QByteArray::number(headerSize)).constData(),
                {headerSize, 16, 3, {0x7C00, 0x3E0, 0x1F}, "abcd"},
                QByteArray("BMP fields of 16 bits in a header of " + QByteArray::number(headerSize)).constData());
        }
        row("fields that are not there", bmp({40, 32, 3, {}, {}}).left(54).replace(10, 4, littleEndian(66, 4)),
            "the image is incomplete");
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
        QByteArray text = pngChunk("tEXt", QByteArray("Comment\0a camera", 16));
        QVERIFY(problemOf(whole.left(33) + text + whole.mid(33)).isEmpty());
        text[text.size() - 1] = char(~text[text.size() - 1]);
        row("PNG with a harmed text", whole.left(33) + text + whole.mid(33),
            "the image data is damaged: tEXt: CRC error");
        row("PNG with a harmed text behind its pixels", whole.left(end) + text + whole.mid(end),
            "the image data is damaged: tEXt: CRC error");
        row("PNG with more data than pixels",
            whole.left(33) + pngChunk("IDAT", deflated(QByteArray(20 * 61 + 9, '\0'))) + whole.mid(end),
            "the image data is damaged: ");

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
