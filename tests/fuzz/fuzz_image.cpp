// SPDX-License-Identifier: Apache-2.0
// Whatever is taken for a photograph: all of its pixels come or none, as many as its first header says, within the
// limits of pixels and memory. The input keeps the structure of its format, so that the decoders get beyond it.
#include "EncodedImages.h"
#include "FiberInspection/ImageDecoder_p.h"

#include <QSize>
#include <QtEndian>

#include <opencv2/core/utils/logger.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <random>
#include <vector>

using namespace EncodedImages;

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t *data, std::size_t size, std::size_t maxSize);

namespace {
constexpr qint64 maxPixels = 1024 * 1024;
constexpr int room = 64; // bytes by which a piece may grow at once

void keepSilent(QtMsgType /*level*/, const QMessageLogContext & /*context*/, const QString & /*text*/) {}

void must(bool holds, const char *what)
{
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

using Random = std::minstd_rand;

int below(Random &random, std::size_t limit)
{
    return static_cast<int>(random() % limit);
}

QByteArray mutated(QByteArray bytes)
{
    const int size = bytes.size();
    bytes.resize(size + room);
    bytes.resize(static_cast<int>(LLVMFuzzerMutate(reinterpret_cast<std::uint8_t *>(bytes.data()),
        static_cast<std::size_t>(size), static_cast<std::size_t>(bytes.size()))));
    return bytes;
}

/// Drops, doubles or moves one of the pieces, or changes what is in it.
template <typename Piece>
void rearrange(std::vector<Piece> &pieces, Random &random, const std::function<void(Piece &)> &change)
{
    if (pieces.empty())
        return;
    const auto at = pieces.begin() + below(random, pieces.size());
    const auto other = pieces.begin() + below(random, pieces.size());
    switch (below(random, 8)) {
    case 0:
        pieces.erase(at);
        break;
    case 1: {
        const Piece copy = *at;
        pieces.insert(other, copy);
        break;
    }
    case 2:
        std::swap(*at, *other);
        break;
    default:
        change(*at);
    }
}

/// The lengths of segments stay true.
QByteArray mutatedJpeg(const QByteArray &bytes, Random &random)
{
    constexpr int head = 4; // marker and length
    std::vector<JpegPiece> pieces = jpegPieces(bytes);
    rearrange<JpegPiece>(pieces, random, [](JpegPiece &piece) {
        if (piece.marker == 0)
            piece.bytes = mutated(piece.bytes);
        else if (piece.bytes.size() >= head) {
            const QByteArray payload = mutated(piece.bytes.mid(head));
            piece.bytes = piece.bytes.left(2) + bigEndian(static_cast<quint32>(payload.size()) + 2, 2) + payload;
        }
    });
    return joined(pieces);
}

/// A chunk of PNG or RIFF.
struct Chunk
{
    QByteArray type;
    QByteArray payload;
};

std::vector<Chunk> chunksOf(const QByteArray &bytes, int begin, bool isPng)
{
    std::vector<Chunk> chunks;
    for (int at = begin; bytes.size() - at >= 8;) {
        const char *const data = bytes.constData() + at;
        const quint32 length = isPng ? qFromBigEndian<quint32>(data) : qFromLittleEndian<quint32>(data + 4);
        const int size = static_cast<int>(qMin<qint64>(length, bytes.size() - at - 8));
        chunks.push_back({bytes.mid(at + (isPng ? 4 : 0), 4), bytes.mid(at + 8, size)});
        at += 8 + size + (isPng ? 4 : size % 2);
    }
    return chunks;
}

/// The checksums stay true; what is packed is changed before the packing.
QByteArray mutatedPng(const QByteArray &bytes, Random &random)
{
    constexpr int signatureSize = 8;
    std::vector<Chunk> chunks = chunksOf(bytes, signatureSize, true);
    rearrange<Chunk>(chunks, random, [&random](Chunk &chunk) {
        const QByteArray unpacked =
            chunk.type == "IDAT" && below(random, 2) == 0 ? qUncompress(bigEndian(1, 4) + chunk.payload) : QByteArray();
        chunk.payload = unpacked.isEmpty() ? mutated(chunk.payload) : qCompress(mutated(unpacked)).mid(4);
    });
    QByteArray result = bytes.left(signatureSize);
    for (const Chunk &chunk : chunks)
        result += pngChunk(chunk.type, chunk.payload);
    return result;
}

/// The sizes stay true.
QByteArray mutatedWebp(const QByteArray &bytes, Random &random)
{
    constexpr int headerSize = 12;
    std::vector<Chunk> chunks = chunksOf(bytes, headerSize, false);
    rearrange<Chunk>(chunks, random, [](Chunk &chunk) { chunk.payload = mutated(chunk.payload); });
    QByteArray body = "WEBP";
    for (const Chunk &chunk : chunks) {
        const int size = chunk.payload.size();
        body += chunk.type + littleEndian(static_cast<quint32>(size), 4) + chunk.payload + QByteArray(size % 2, '\0');
    }
    return "RIFF" + littleEndian(static_cast<quint32>(body.size()), 4) + body;
}

/// What the first header says; not valid where this is another format or there is none.
QSize declaredSize(const QByteArray &bytes)
{
    if (bytes.startsWith("\x89PNG\r\n\x1A\n") && bytes.size() >= 24) {
        return {qFromBigEndian<qint32>(bytes.constData() + 16), qFromBigEndian<qint32>(bytes.constData() + 20)};
    }
    if (!bytes.startsWith("\xFF\xD8\xFF"))
        return {};
    for (const JpegPiece &piece : jpegPieces(bytes)) {
        if (piece.marker >= 0xC0 && piece.marker <= 0xC2 && piece.bytes.size() >= 9) {
            return {qFromBigEndian<quint16>(piece.bytes.constData() + 7),
                qFromBigEndian<quint16>(piece.bytes.constData() + 5)};
        }
    }
    return {};
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int *argc, char ***argv)
{
    static char mallocLimit[] = "-malloc_limit_mb=64"; // a decoder takes 24 bytes a pixel at most
    static char totalLimit[] = "-rss_limit_mb=1024"; // nearly all of it is the sanitizer's
    static std::vector<char *> arguments(*argv, *argv + *argc);
    arguments.insert(arguments.begin() + 1, {mallocLimit, totalLimit});
    *argc = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    *argv = arguments.data();
    qInstallMessageHandler(&keepSilent);
    cv::redirectError([](int, const char *, const char *, const char *, int, void *) { return 0; });
    cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT);
    return 0;
}

extern "C" std::size_t LLVMFuzzerCustomMutator(
    std::uint8_t *data, std::size_t size, std::size_t maxSize, unsigned int seed)
{
    Random random(seed);
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));
    QByteArray result;
    if (below(random, 5) == 0)
        return LLVMFuzzerMutate(data, size, maxSize);
    if (bytes.startsWith("\xFF\xD8\xFF"))
        result = mutatedJpeg(bytes, random);
    else if (bytes.startsWith("\x89PNG\r\n\x1A\n"))
        result = mutatedPng(bytes, random);
    else if (bytes.startsWith("RIFF"))
        result = mutatedWebp(bytes, random);
    else
        return LLVMFuzzerMutate(data, size, maxSize);
    const auto length = qMin(static_cast<std::size_t>(result.size()), maxSize);
    std::copy_n(result.constData(), length, reinterpret_cast<char *>(data));
    return length;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), static_cast<int>(size));

    const FiberInspection::DecodedImage image = FiberInspection::ImageDecoder::decode(bytes, maxPixels);

    must(image.pixels.empty() != image.problem.isEmpty(), "there are pixels, or there is a reason");
    if (image.pixels.empty())
        return 0;
    must(image.pixels.type() == CV_8UC3, "the pixels are of the one kind");
    must(image.pixels.total() <= maxPixels, "there are not too many pixels");
    const QSize decoded(image.pixels.cols, image.pixels.rows);
    const QSize declared = declaredSize(bytes);
    must(!declared.isValid() || decoded == declared || decoded == declared.transposed(),
        "the image is of the size that its first header declares");
    must(image.pixels.total() == 1 || cv::sum(image.pixels)[0] >= 0, "all pixels can be read");
    return 0;
}
