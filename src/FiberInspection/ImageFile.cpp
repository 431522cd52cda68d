// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFile_p.h"

#include <QBuffer>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QSize>
#include <QtEndian>

#include <cstdio>
#include <cstring>

namespace FiberInspection {

namespace {
constexpr qint64 maxFileSize = 256LL * 1024 * 1024; // bytes

/// What a walk through the structure of a file tells without decoding it.
struct Structure
{
    QSize size; ///< invalid where the file does not say it
    bool complete = false;
};

quint16 bigEndian16(const uchar *bytes)
{
    return qFromBigEndian<quint16>(bytes);
}

quint32 bigEndian32(const uchar *bytes)
{
    return qFromBigEndian<quint32>(bytes);
}

namespace Jpeg {
constexpr uchar startOfImage = 0xD8;
constexpr uchar endOfImage = 0xD9;
constexpr uchar startOfScan = 0xDA;

bool isJpeg(const QByteArray &bytes)
{
    return bytes.startsWith("\xFF\xD8\xFF");
}

/// Markers that stand alone: restarts, the start of an image, and the one for temporary use.
bool hasNoSegment(uchar marker)
{
    return (marker >= 0xD0 && marker <= startOfImage) || marker == 0x01;
}

bool isFrameHeader(uchar marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

/// Follows the markers (ISO/IEC 10918-1, annex B), so that the end of an embedded thumbnail is not taken for the end of
/// the picture. Coded data needs no treatment of its own: in it 0xFF is followed by 0 or by a restart marker.
Structure walk(const QByteArray &bytes)
{
    Structure structure;
    bool scanSeen = false;
    const auto *const begin = reinterpret_cast<const uchar *>(bytes.constData());
    const auto *const end = begin + bytes.size();

    for (const uchar *at = begin; at < end;) {
        at = static_cast<const uchar *>(std::memchr(at, 0xFF, static_cast<std::size_t>(end - at)));
        if (!at || at + 1 >= end)
            return structure;
        const uchar marker = at[1];
        if (marker == 0xFF) { // padding
            ++at;
            continue;
        }
        at += 2;
        if (marker == 0 || hasNoSegment(marker))
            continue;
        if (marker == endOfImage) {
            structure.complete = scanSeen;
            return structure;
        }
        if (end - at < 2 || end - at < bigEndian16(at))
            return structure;
        const quint16 length = bigEndian16(at);
        if (isFrameHeader(marker) && length >= 7)
            structure.size = QSize(bigEndian16(at + 5), bigEndian16(at + 3));
        scanSeen = scanSeen || marker == startOfScan;
        at += length;
    }
    return structure;
}
} // namespace Jpeg

namespace Png {
constexpr int signatureSize = 8;
constexpr int chunkOverhead = 12; // length, type and checksum

bool isPng(const QByteArray &bytes)
{
    return bytes.startsWith("\x89PNG\r\n\x1A\n");
}

/// Follows the chunks (ISO/IEC 15948, clause 5).
Structure walk(const QByteArray &bytes)
{
    Structure structure;
    qint64 at = signatureSize;
    while (bytes.size() - at >= chunkOverhead) {
        const auto *const chunk = reinterpret_cast<const uchar *>(bytes.constData()) + at;
        const qint64 length = bigEndian32(chunk);
        if (bytes.size() - at - chunkOverhead < length)
            return structure;
        if (std::memcmp(chunk + 4, "IHDR", 4) == 0 && length >= 8) {
            constexpr quint32 largest = 0x7FFFFFFF;
            structure.size = QSize(static_cast<int>(qMin(bigEndian32(chunk + 8), largest)),
                static_cast<int>(qMin(bigEndian32(chunk + 12), largest)));
        }
        if (std::memcmp(chunk + 4, "IEND", 4) == 0) {
            structure.complete = true;
            return structure;
        }
        at += length + chunkOverhead;
    }
    return structure;
}
} // namespace Png

/// Other formats: their decoders notice a missing end by themselves.
Structure readHeader(const QByteArray &bytes)
{
    QBuffer buffer;
    buffer.setData(bytes);
    QImageReader reader(&buffer);
    reader.setDecideFormatFromContent(true);
    return {reader.size(), true};
}

Structure structureOf(const QByteArray &bytes)
{
    if (Jpeg::isJpeg(bytes))
        return Jpeg::walk(bytes);
    if (Png::isPng(bytes))
        return Png::walk(bytes);
    return readHeader(bytes);
}

QString problemOf(const QByteArray &bytes)
{
    const Structure structure = structureOf(bytes);
    if (!structure.complete)
        return QStringLiteral("the image is incomplete");
    if (structure.size.isEmpty())
        return QStringLiteral("not an image of a known format");
    const qint64 pixels = qint64(structure.size.width()) * structure.size.height();
    if (pixels > ImageFile::maxPixels)
        return QStringLiteral("%1 x %2 pixels are too many").arg(structure.size.width()).arg(structure.size.height());
    return {};
}
} // namespace

ImageFile ImageFile::read(const QString &path)
{
    const QFileInfo info(path);
    if (!info.exists())
        return {{}, QStringLiteral("no such file")};
    if (!info.isFile()) // opening a pipe would wait for a writer
        return {{}, QStringLiteral("not a file")};

    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {{}, file.errorString()};
    if (file.size() > maxFileSize)
        return {{}, QStringLiteral("%1 bytes are too many").arg(file.size())};
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return {{}, file.errorString()};
    if (bytes.isEmpty())
        return {{}, QStringLiteral("the file is empty")};

    const QString problem = problemOf(bytes);
    return problem.isEmpty() ? ImageFile{bytes, {}} : ImageFile{{}, problem};
}

bool ImageFile::write(const QString &path, const char *data, qint64 size)
{
    const QString temporaryPath = path + QStringLiteral(".part");
    QFile::remove(temporaryPath); // a link planted there must not be followed
    QFile file(temporaryPath);
    const bool written =
        file.open(QIODevice::WriteOnly | QIODevice::NewOnly) && file.write(data, size) == size && file.flush();
    file.close();
    if (written && std::rename(QFile::encodeName(temporaryPath).constData(), QFile::encodeName(path).constData()) == 0)
        return true;
    file.remove();
    return false;
}

} // namespace FiberInspection
