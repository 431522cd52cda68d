// SPDX-License-Identifier: Apache-2.0
#include "EncodedImages.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "LogCapture.h"
#include "PaintedFaces.h"

#include <QtEndian>
#include <QtTest>

#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <webp/encode.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <map>
#include <random>

using namespace FiberInspection;
using namespace EncodedImages;

namespace {
constexpr int cutsOfAFile = 24;
constexpr int flipsOfAFile = 40;
constexpr int holesOfAFile = 40;
constexpr int blocksOfAFile = 24;

/// A photograph as it was, and how its format loses data.
struct Photograph
{
    enum Format { JpegFile, PngFile, TiffFile, BmpFile, PnmFile, WebpFile };

    QByteArray name;
    Format format = JpegFile;
    QByteArray bytes;
    int firstPixel = 0; ///< where the coded pixels begin
    int endOfPixels = 0; ///< where they end
    bool hasChecks = true; ///< zeros instead of pixels are no pixels
};

/// A small face with the noise of a camera.
cv::Mat face()
{
    QImage painted = badFace().copy(330, 210, 160, 160).scaled(112, 112).convertToFormat(QImage::Format_RGB888);
    cv::Mat pixels(painted.height(), painted.width(), CV_8UC3, painted.bits(), std::size_t(painted.bytesPerLine()));
    cv::Mat noisy = pixels.clone();
    std::mt19937 random(2024);
    for (int row = 0; row < noisy.rows; ++row) {
        for (int byte = 0; byte < 3 * noisy.cols; ++byte)
            noisy.ptr(row)[byte] = uchar(noisy.ptr(row)[byte] + int(random() % 9) - 4);
    }
    return noisy;
}

/// As a scope shows it: a round field with the noise of a camera, flat black around it.
cv::Mat faceInRoundField(QImage painted, unsigned seed)
{
    painted = painted.convertToFormat(QImage::Format_RGB888);
    const cv::Mat pixels(
        painted.height(), painted.width(), CV_8UC3, painted.bits(), std::size_t(painted.bytesPerLine()));
    cv::Mat field(pixels.size(), pixels.type(), cv::Scalar::all(0));
    std::mt19937 random(seed);
    const double radius = 0.4 * field.rows;
    for (int row = 0; row < field.rows; ++row) {
        for (int col = 0; col < field.cols; ++col) {
            if (std::hypot(col - field.cols / 2, row - field.rows / 2) > radius)
                continue;
            for (int channel = 0; channel < 3; ++channel) {
                const int noise = int(random() % 31) - 15;
                field.at<cv::Vec3b>(row, col)[channel] =
                    cv::saturate_cast<uchar>(pixels.at<cv::Vec3b>(row, col)[channel] + noise);
            }
        }
    }
    return field;
}

int pieceOf(const std::vector<JpegPiece> &pieces, int marker)
{
    const auto found =
        std::find_if(pieces.begin(), pieces.end(), [marker](const JpegPiece &piece) { return piece.marker == marker; });
    return int(found - pieces.begin());
}

int placeOf(const std::vector<JpegPiece> &pieces, int piece)
{
    return joined({pieces.begin(), pieces.begin() + piece}).size();
}

Photograph jpegPhotograph(const char *name, const Jpeg &kind)
{
    const QByteArray bytes = jpeg(face(), kind);
    const std::vector<JpegPiece> pieces = jpegPieces(bytes);
    const int scan = pieceOf(pieces, 0xDA);
    return {name, Photograph::JpegFile, bytes, placeOf(pieces, scan + 1), bytes.size() - 2};
}

/// With small chunks, as a camera with little memory writes them.
Photograph pngPhotograph(const char *name, const cv::Mat &mat)
{
    constexpr int pieceSize = 700; // bytes
    const QByteArray bytes = encoded(".png", mat);
    const int begin = bytes.indexOf("IDAT") - 4;
    QByteArray data;
    for (int at = begin; bytes.mid(at + 4, 4) == "IDAT";) {
        const int length = qFromBigEndian<qint32>(bytes.constData() + at);
        data += bytes.mid(at + 8, length);
        at += 12 + length;
    }
    QByteArray chunks;
    for (int at = 0; at < data.size(); at += pieceSize)
        chunks += pngChunk("IDAT", data.mid(at, pieceSize));
    const QByteArray whole = bytes.left(begin) + chunks + pngChunk("IEND", {});
    return {name, Photograph::PngFile, whole, begin + 8, whole.size() - 16};
}

/// The pages' description first, so that a cut leaves it whole.
Photograph tiffPhotograph(const char *name, int compression, const cv::Mat &gray)
{
    const auto tag = [](int number, quint32 value) {
        return littleEndian(quint32(number), 2) + littleEndian(4, 2) + littleEndian(1, 4) + littleEndian(value, 4);
    };
    const QByteArray samples(reinterpret_cast<const char *>(gray.data), int(gray.total()));
    const QByteArray data = compression == 8 ? qCompress(samples).mid(4) : samples;
    constexpr int begin = 160;
    const QByteArray bytes =
        (QByteArray("II\x2A\0\x8\0\0\0\x9\0", 10) + tag(256, quint32(gray.cols)) + tag(257, quint32(gray.rows))
            + tag(258, 8) + tag(259, quint32(compression)) + tag(262, 1) + tag(273, begin) + tag(277, 1)
            + tag(278, quint32(gray.rows)) + tag(279, quint32(data.size())) + littleEndian(0, 4))
            .leftJustified(begin, '\0')
        + data;
    return {name, Photograph::TiffFile, bytes, begin, bytes.size(), compression == 8};
}

Photograph writtenPhotograph(const char *name, Photograph::Format format, const QByteArray &bytes, int firstPixel)
{
    const bool isPlain = format == Photograph::BmpFile || format == Photograph::PnmFile;
    return {name, format, bytes, firstPixel, bytes.size(), !isPlain};
}

std::vector<Photograph> photographs()
{
    const cv::Mat color = face();
    cv::Mat gray;
    cv::extractChannel(color, gray, 1);
    cv::Mat alpha;
    cv::cvtColor(color, alpha, cv::COLOR_BGR2BGRA);

    std::vector<Photograph> all;
    Jpeg kind;
    const auto addJpeg = [&](const char *name, const std::function<void(Jpeg *)> &change) {
        kind = {};
        change(&kind);
        all.push_back(jpegPhotograph(name, kind));
    };
    addJpeg("4:4:4", [](Jpeg *) {});
    addJpeg("4:2:0", [](Jpeg *jpeg) { jpeg->horizontalSampling = jpeg->verticalSampling = 2; });
    addJpeg("4:2:2, restarts", [](Jpeg *jpeg) { jpeg->horizontalSampling = 2, jpeg->restartInterval = 7; });
    addJpeg("grey", [](Jpeg *jpeg) { jpeg->colors = Jpeg::Gray; });
    addJpeg("grey, restarts", [](Jpeg *jpeg) { jpeg->colors = Jpeg::Gray, jpeg->restartInterval = 14; });
    addJpeg("restarts", [](Jpeg *jpeg) { jpeg->restartInterval = 3; });
    addJpeg("separate scans", [](Jpeg *jpeg) { jpeg->hasSeparateScans = true; });
    addJpeg("progressive", [](Jpeg *jpeg) { jpeg->isProgressive = true; });
    addJpeg("progressive 4:2:0", [](Jpeg *jpeg) {
        jpeg->isProgressive = true;
        jpeg->horizontalSampling = jpeg->verticalSampling = 2;
    });
    addJpeg("progressive, restarts", [](Jpeg *jpeg) { jpeg->isProgressive = true, jpeg->restartInterval = 14; });
    addJpeg("progressive grey", [](Jpeg *jpeg) { jpeg->isProgressive = true, jpeg->colors = Jpeg::Gray; });
    addJpeg("CMYK", [](Jpeg *jpeg) { jpeg->colors = Jpeg::Cmyk; });

    all.push_back(pngPhotograph("colour PNG", color));
    all.push_back(pngPhotograph("grey PNG", gray));
    all.push_back(pngPhotograph("PNG with alpha", alpha));
    all.push_back(tiffPhotograph("plain TIFF", 1, gray));
    all.push_back(tiffPhotograph("deflated TIFF", 8, gray));
    all.push_back(writtenPhotograph("LZW TIFF", Photograph::TiffFile, encoded(".tiff", color), 8));
    all.push_back(writtenPhotograph("BMP", Photograph::BmpFile, encoded(".bmp", color), 54));
    all.push_back(writtenPhotograph("PPM", Photograph::PnmFile, encoded(".ppm", color), 15));
    all.push_back(writtenPhotograph("PGM", Photograph::PnmFile, encoded(".pgm", gray), 15));
    all.push_back(
        writtenPhotograph("plain PPM", Photograph::PnmFile, encoded(".ppm", color, {cv::IMWRITE_PXM_BINARY, 0}), 15));
    all.push_back(
        writtenPhotograph("WebP", Photograph::WebpFile, encoded(".webp", color, {cv::IMWRITE_WEBP_QUALITY, 97}), 60));
    all.push_back(writtenPhotograph(
        "lossless WebP", Photograph::WebpFile, encoded(".webp", color, {cv::IMWRITE_WEBP_QUALITY, 101}), 60));
    return all;
}

/// What a writer that knows nothing of the loss puts behind the rest.
QByteArray endOf(const Photograph &photograph)
{
    switch (photograph.format) {
    case Photograph::JpegFile:
        return "\xFF\xD9";
    case Photograph::PngFile:
        return pngChunk("IEND", {});
    default:
        return {};
    }
}

/// The sizes in the header made to fit, where there are some.
QByteArray withFittingSizes(const Photograph &photograph, QByteArray bytes)
{
    if (photograph.format == Photograph::WebpFile) {
        bytes.replace(4, 4, littleEndian(quint32(bytes.size() - 8), 4));
        bytes.replace(16, 4, littleEndian(quint32(bytes.size() - 20), 4));
    }
    if (photograph.format == Photograph::BmpFile)
        bytes.replace(2, 4, littleEndian(quint32(bytes.size()), 4));
    return bytes;
}

struct Damage
{
    QByteArray name;
    QByteArray bytes;
};

std::vector<Damage> cuts(const Photograph &photograph, bool mayZeroAll)
{
    std::vector<Damage> files;
    const int size = photograph.bytes.size();
    for (int i = 0; i < cutsOfAFile; ++i) {
        // The first one leaves next to nothing, the last one lacks the last byte.
        const qint64 span = photograph.endOfPixels - photograph.firstPixel - 1;
        const int at = photograph.firstPixel + int(span * i / (cutsOfAFile - 1));
        const QByteArray rest = photograph.bytes.left(at);
        const QByteArray end = endOf(photograph);
        const auto add = [&](const char *kind, const QByteArray &bytes) {
            files.push_back({photograph.name + ", " + kind + " at " + QByteArray::number(at), bytes});
        };
        add("cut", rest);
        add("cut, sizes made to fit", withFittingSizes(photograph, rest));
        if (!end.isEmpty())
            add("cut, with an end", rest + end);
        if (!photograph.hasChecks && !mayZeroAll)
            continue;
        if (size - at > 64) { // a few zeros may be what was there
            add("zeros", rest + QByteArray(size - at, '\0'));
            if (!end.isEmpty())
                add("zeros with an end", rest + QByteArray(size - at - end.size(), '\0') + end);
        }
    }
    return files;
}

/// The file without some of its pieces, and what else may have become of them.
void addLosses(const Photograph &photograph, std::vector<Damage> *files)
{
    const std::vector<JpegPiece> pieces = jpegPieces(photograph.bytes);
    const auto without = [&pieces](int first, int count) {
        std::vector<JpegPiece> rest(pieces.begin(), pieces.begin() + first);
        rest.insert(rest.end(), pieces.begin() + first + count, pieces.end());
        return rest;
    };
    const auto renumbered = [](std::vector<JpegPiece> rest) {
        int number = 0;
        for (JpegPiece &piece : rest) {
            if (piece.marker == 0xDA)
                number = 0;
            if (piece.marker >= 0xD0 && piece.marker <= 0xD7)
                piece.bytes[1] = char(0xD0 + number++ % 8);
        }
        return joined(rest);
    };
    const auto isRestart = [&pieces](int i) {
        return i < int(pieces.size()) && pieces[std::size_t(i)].marker >= 0xD0 && pieces[std::size_t(i)].marker <= 0xD7;
    };
    for (int i = 0; i < int(pieces.size()); ++i) {
        const auto add = [&](const char *kind, const QByteArray &bytes) {
            files->push_back({photograph.name + ", " + kind + " " + QByteArray::number(i), bytes});
        };
        if (pieces[std::size_t(i)].marker == 0xDA) {
            int end = i + 1;
            while (pieces[std::size_t(end)].marker == 0 || isRestart(end))
                ++end;
            add("lost scan", joined(without(i, end - i)));
            add("lost data of scan", joined(without(i + 1, end - i - 1)));
        }
        if (isRestart(i)) {
            add("lost interval", joined(without(i, 2)));
            add("lost interval, renumbered,", renumbered(without(i, 2)));
            add("lost marker", joined(without(i, 1)));
            if (i + 16 < int(pieces.size()) && isRestart(i + 16))
                add("eight lost intervals", joined(without(i, 16)));
        }
        if (pieces[std::size_t(i)].marker == 0xC4 || pieces[std::size_t(i)].marker == 0xDB)
            add("lost table", joined(without(i, 1)));
    }
}

void addLostChunks(const Photograph &photograph, std::vector<Damage> *files)
{
    QByteArray before = photograph.bytes.left(8);
    int number = 0;
    for (int at = 8; at < photograph.bytes.size(); ++number) {
        const int length = 12 + qFromBigEndian<qint32>(photograph.bytes.constData() + at);
        const QByteArray chunk = photograph.bytes.mid(at, length);
        files->push_back({photograph.name + ", lost chunk " + QByteArray::number(number),
            before + photograph.bytes.mid(at + length)});
        QByteArray damaged = chunk;
        damaged[length - 1] = char(damaged[length - 1] ^ 1);
        files->push_back({photograph.name + ", wrong checksum " + QByteArray::number(number),
            before + damaged + photograph.bytes.mid(at + length)});
        before += chunk;
        at += length;
    }
}

/// Fewer lines than the header says, all checksums right.
void addLostLines(const Photograph &photograph, std::vector<Damage> *files)
{
    const int begin = photograph.bytes.indexOf("IDAT") - 4;
    QByteArray data;
    for (int at = begin; photograph.bytes.mid(at + 4, 4) == "IDAT";) {
        const int length = qFromBigEndian<qint32>(photograph.bytes.constData() + at);
        data += photograph.bytes.mid(at + 8, length);
        at += 12 + length;
    }
    const QByteArray lines = qUncompress(bigEndian(1, 4) + data);
    for (int left = 1; left < 20; ++left) {
        const QByteArray fewer = qCompress(lines.left(lines.size() * left / 20)).mid(4);
        files->push_back({photograph.name + ", lost lines " + QByteArray::number(left),
            photograph.bytes.left(begin) + pngChunk("IDAT", fewer) + pngChunk("IEND", {})});
    }
}

std::vector<Damage> losses(const Photograph &photograph)
{
    std::vector<Damage> files = cuts(photograph, false);
    if (photograph.format == Photograph::JpegFile)
        addLosses(photograph, &files);
    if (photograph.format == Photograph::PngFile) {
        addLostChunks(photograph, &files);
        addLostLines(photograph, &files);
    }
    return files;
}

/// What the table of strips becomes when some of its entries are lost and others stand in for them.
std::vector<QByteArray> withRepeatedStrips(const QByteArray &tiff, int count)
{
    constexpr int entrySize = 12;
    const auto number = [&tiff](int at) { return qFromLittleEndian<qint32>(tiff.constData() + at); };
    const auto shortNumber = [&tiff](int at) { return qFromLittleEndian<quint16>(tiff.constData() + at); };
    const auto entryOf = [&](quint16 tag) {
        int entry = number(4) + 2;
        while (shortNumber(entry) != tag)
            entry += entrySize;
        return entry;
    };
    const int offsets = entryOf(273);
    const int sizes = entryOf(279);
    const auto tableOf = [&](int entry) {
        const int width = shortNumber(entry + 2) == 3 ? 2 : 4;
        return std::make_pair(number(entry + 8), width);
    };
    std::vector<QByteArray> files;
    for (int lost = count; lost + count <= number(offsets + 4); ++lost) {
        QByteArray file = tiff;
        for (const int entry : {offsets, sizes}) {
            const auto [table, width] = tableOf(entry);
            const QByteArray others = tiff.mid(table + (lost - count) * width, count * width);
            file.replace(table + lost * width, others.size(), others);
        }
        files.push_back(file);
    }
    return files;
}

/// With its coefficients in several partitions.
QByteArray webpOfPartitions(const cv::Mat &bgr, int logarithm)
{
    constexpr float quality = 90;
    WebPConfig config;
    WebPPicture picture;
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    if (WebPConfigPreset(&config, WEBP_PRESET_DEFAULT, quality) == 0 || WebPPictureInit(&picture) == 0)
        return {};
    config.partitions = logarithm;
    config.method = 2; // better ones write one partition
    picture.width = bgr.cols;
    picture.height = bgr.rows;
    picture.writer = &WebPMemoryWrite;
    picture.custom_ptr = &writer;
    QByteArray bytes;
    if (WebPPictureImportBGR(&picture, bgr.data, int(bgr.step)) != 0 && WebPEncode(&config, &picture) != 0)
        bytes = QByteArray(reinterpret_cast<const char *>(writer.mem), int(writer.size));
    WebPPictureFree(&picture);
    WebPMemoryWriterClear(&writer);
    return bytes;
}

/// The ways in which a disk damages a file: a block of it is lost, empty, or another file's.
std::vector<Damage> damagedBlocks(const QByteArray &bytes, const QByteArray &other)
{
    constexpr int head = 1024; // bytes, with all headers
    std::mt19937 random(11);
    std::vector<Damage> files;
    for (const int size : {512, 4096}) {
        const QByteArray number = QByteArray::number(size);
        const int blocks = (qMin(bytes.size(), other.size()) - head) / size - 1;
        for (int i = 0; i < blocksOfAFile && blocks > 0; ++i) {
            const int at = head + size * int(random() % unsigned(blocks));
            QByteArray zeroed = bytes;
            QByteArray lost = bytes;
            QByteArray replaced = bytes;
            zeroed.replace(at, size, QByteArray(size, '\0'));
            lost.remove(at, size);
            replaced.replace(at, size, other.mid(at, size));
            files.push_back({"zeros " + number, zeroed});
            files.push_back({"lost " + number, lost});
            files.push_back({"replaced " + number, replaced});
            if (size == 512)
                files.push_back({"another's tail", bytes.left(at) + other.mid(at)});
        }
    }
    return files;
}

bool areEqual(const cv::Mat &a, const cv::Mat &b)
{
    return a.size() == b.size() && !a.empty() && cv::norm(a, b, cv::NORM_INF) == 0;
}
} // namespace

class TestDamagedPhotographs : public QObject
{
    Q_OBJECT

    QTemporaryDir mDir;

    cv::Mat loaded(const QByteArray &bytes) const
    {
        const QString path = mDir.filePath(QStringLiteral("photograph"));
        QFile::remove(path);
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            qFatal("not written");
        file.close();
        const LogCapture unread;
        return AnalyserPrivate::loadImage(path);
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mDir.isValid());
        cv::redirectError([](int, const char *, const char *, const char *, int, void *) { return 0; });
    }

    void wholePhotographsAreRead()
    {
        for (const Photograph &photograph : photographs())
            QVERIFY2(!loaded(photograph.bytes).empty(), photograph.name.constData());
    }

    void noPhotographThatLostDataIsRead()
    {
        int files = 0;
        int unharmed = 0; // what was lost was padding, or a table that every decoder knows
        QList<QByteArray> wrong;
        for (const Photograph &photograph : photographs()) {
            const cv::Mat whole = loaded(photograph.bytes);
            for (const Damage &file : losses(photograph)) {
                const cv::Mat mat = loaded(file.bytes);
                ++files;
                if (areEqual(mat, whole))
                    ++unharmed;
                else if (!mat.empty())
                    wrong.append(file.name);
            }
        }

        qInfo("%d of %d damaged photographs were read, %d more without a loss", wrong.size(), files, unharmed);
        QVERIFY(files - unharmed >= 2000);
        QVERIFY(unharmed < files / 50);
        QVERIFY2(wrong.isEmpty(), wrong.mid(0, 60).join('\n').constData());
    }

    void noTiffThatRepeatsItsStripsIsRead_data()
    {
        QTest::addColumn<int>("compression");
        QTest::newRow("plain") << 1;
        QTest::newRow("LZW") << 5;
        QTest::newRow("deflate") << 8;
        QTest::newRow("PackBits") << 32773;
    }
    void noTiffThatRepeatsItsStripsIsRead()
    {
        QFETCH(int, compression);
        cv::Mat large; // of many strips
        cv::resize(face(), large, {}, 4, 4, cv::INTER_NEAREST);
        const QByteArray whole = encoded(".tiff", large, {cv::IMWRITE_TIFF_COMPRESSION, compression});

        QVERIFY(!loaded(whole).empty());
        for (const int count : {1, 5, 12}) {
            const std::vector<QByteArray> files = withRepeatedStrips(whole, count);
            QVERIFY(!files.empty());
            for (const QByteArray &file : files)
                QVERIFY2(loaded(file).empty(), QByteArray::number(count).constData());
        }
    }

    /// Published in docs/security.md: no decoder can know of all of these.
    void flippedBitsAreCounted()
    {
        std::mt19937 random(99);
        std::map<QByteArray, std::array<int, 3>> counts; // refused, read as before, read differently
        for (const Photograph &photograph : photographs()) {
            const cv::Mat whole = loaded(photograph.bytes);
            for (int i = 0; i < flipsOfAFile; ++i) {
                QByteArray bytes = photograph.bytes;
                const int at = int(random() % unsigned(bytes.size()));
                bytes[at] = char(bytes[at] ^ (1 << random() % 8));
                const cv::Mat mat = loaded(bytes);
                ++counts[photograph.name][mat.empty() ? 0 : areEqual(mat, whole) ? 1 : 2];
            }
        }

        for (const auto &[name, count] : counts)
            qInfo("%-22s one bit flipped: %2d refused, %2d read as before, %2d read differently", name.constData(),
                count[0], count[1], count[2]);
        for (const char *checked : {"colour PNG", "grey PNG", "PNG with alpha"})
            QCOMPARE(counts[checked][2], 0);
    }

    /// Lost and zeroed blocks of a disk in the middle of a file: what follows them is whole.
    void holesAreCounted()
    {
        constexpr int blockSize = 512;
        std::map<QByteArray, std::array<int, 2>> counts; // files, read differently
        for (const Photograph &photograph : photographs()) {
            const cv::Mat whole = loaded(photograph.bytes);
            const int last = photograph.endOfPixels - blockSize;
            const int step = qMax(1, (last - photograph.firstPixel) / holesOfAFile);
            for (int at = photograph.firstPixel; at < last; at += step) {
                QByteArray lost = photograph.bytes;
                QByteArray zeroed = photograph.bytes;
                lost.remove(at, blockSize);
                zeroed.replace(at, blockSize, QByteArray(blockSize, '\0'));
                for (const QByteArray &bytes : {lost, zeroed}) {
                    const cv::Mat mat = loaded(bytes);
                    ++counts[photograph.name][0];
                    if (!mat.empty() && !areEqual(mat, whole))
                        ++counts[photograph.name][1];
                }
            }
        }

        for (const auto &[name, count] : counts)
            qInfo("%-22s %3d holes, %2d read", name.constData(), count[0], count[1]);
        for (const char *checked : {"colour PNG", "grey PNG", "PNG with alpha", "deflated TIFF"})
            QCOMPARE(counts[checked][1], 0);
    }

    /// Published in docs/photographs.md: where as many blocks come out as there were, nothing tells.
    void damagedBlocksAreCounted()
    {
        const cv::Mat face = faceInRoundField(badFace(), 7);
        const cv::Mat other = faceInRoundField(goodFace(), 8);
        using Encoder = std::function<QByteArray(const cv::Mat &)>;
        const auto jpegOf = [](const std::function<void(Jpeg *)> &change) -> Encoder {
            Jpeg kind;
            change(&kind);
            return [kind](const cv::Mat &mat) { return jpeg(mat, kind); };
        };
        const std::pair<const char *, Encoder> encoders[] = {
            {"JPEG", jpegOf([](Jpeg *) {})},
            {"JPEG", jpegOf([](Jpeg *kind) { kind->horizontalSampling = kind->verticalSampling = 2; })},
            {"JPEG", jpegOf([](Jpeg *kind) { kind->colors = Jpeg::Gray; })},
            {"JPEG", jpegOf([](Jpeg *kind) { kind->colors = Jpeg::Gray, kind->quality = 98; })},
            {"JPEG with restarts",
                jpegOf([](Jpeg *kind) { kind->horizontalSampling = 2, kind->restartInterval = 50; })},
            {"JPEG with restarts", jpegOf([](Jpeg *kind) { kind->colors = Jpeg::Gray, kind->restartInterval = 100; })},
            {"progressive JPEG", jpegOf([](Jpeg *kind) { kind->isProgressive = true; })},
            {"progressive JPEG", jpegOf([](Jpeg *kind) { kind->isProgressive = true, kind->colors = Jpeg::Gray; })},
            {"WebP", [](const cv::Mat &mat) { return webpOfPartitions(mat, 0); }},
            {"WebP of partitions", [](const cv::Mat &mat) { return webpOfPartitions(mat, 3); }},
            {"lossless WebP",
                [](const cv::Mat &mat) {
                    return encoded(".webp", mat, {cv::IMWRITE_WEBP_QUALITY, 101});
                }},
            {"lossless WebP, sample",
                [&face](const cv::Mat &mat) {
                    const std::string name = mat.data == face.data ? "/dirty.jpg" : "/pitted.jpg";
                    return encoded(".webp", cv::imread(SAMPLES_DIR + name), {cv::IMWRITE_WEBP_QUALITY, 101});
                }},
            {"LZW TIFF", [](const cv::Mat &mat) { return encoded(".tiff", mat); }},
            {"PNG", [](const cv::Mat &mat) { return encoded(".png", mat); }},
        };

        std::map<QByteArray, std::map<QByteArray, std::array<int, 2>>> counts; // files, read differently
        for (const auto &[name, encoder] : encoders) {
            const QByteArray bytes = encoder(face);
            const cv::Mat whole = loaded(bytes);
            QVERIFY2(!whole.empty(), name);
            const QByteArray otherBytes = encoder(other);
            for (const Damage &damage : damagedBlocks(bytes, otherBytes)) {
                if (damage.bytes == bytes || damage.bytes == otherBytes)
                    continue;
                const cv::Mat mat = loaded(damage.bytes);
                for (const QByteArray &kind : {damage.name, QByteArray("all")}) {
                    ++counts[name][kind][0];
                    counts[name][kind][1] += mat.empty() || areEqual(mat, whole) ? 0 : 1;
                }
            }
        }

        for (const auto &[name, kinds] : counts) {
            for (const auto &[kind, count] : kinds)
                qInfo("%-20s %-15s %3d of %3d read", name.constData(), kind.constData(), count[1], count[0]);
        }
        QCOMPARE(counts["PNG"]["all"][1], 0);
        // Twice what is published; a decoder alone reads 201, 21 and 44 of them.
        const std::pair<const char *, int> bounds[] = {
            {"JPEG", 24}, {"JPEG with restarts", 8}, {"progressive JPEG", 4}, {"WebP", 4}, {"WebP of partitions", 8}};
        for (const auto &[name, most] : bounds) {
            QVERIFY2(counts[name]["all"][0] > 150, name);
            QVERIFY2(counts[name]["all"][1] <= most, name);
        }
    }

    /// Nothing in these formats tells black from lost.
    void lostPixelsOfPlainFormatsAreBlack()
    {
        int black = 0;
        for (const Photograph &photograph : photographs()) {
            if (photograph.hasChecks)
                continue;
            const cv::Mat whole = loaded(photograph.bytes);
            for (const Damage &file : cuts(photograph, true)) {
                const cv::Mat mat = loaded(file.bytes);
                if (mat.empty())
                    continue;
                cv::Mat known;
                cv::inRange(mat, cv::Scalar::all(0), cv::Scalar::all(0), known);
                cv::Mat difference;
                cv::absdiff(mat, whole, difference);
                difference.setTo(cv::Scalar::all(0), known);
                QVERIFY2(cv::countNonZero(difference.reshape(1)) <= 2, file.name.constData()); // of one pixel
                ++black;
            }
        }
        qInfo("%d photographs with zeros instead of pixels were read, black there", black);
    }
};

QTEST_GUILESS_MAIN(TestDamagedPhotographs)
#include "tst_damaged_photographs.moc"
