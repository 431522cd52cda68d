// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"
#include "FiberInspection/JpegScans_p.h"

#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <jerror.h>
#include <jpeglib.h>
#include <new>

namespace FiberInspection::ImageFormats {

namespace {
constexpr int maxScans = 100; // encoders that search for the best split need a fifth of it
constexpr int maxComponents = 4;
constexpr int cmykChannels = 4;
constexpr long memoryPerPixel = 16; // bytes: coefficients of four components at full resolution, and their padding
constexpr long leastMemory = 64L * 1024 * 1024; // bytes

enum Marker : uchar {
    Temporary = 0x01,
    Baseline = 0xC0,
    ExtendedSequential = 0xC1,
    Progressive = 0xC2,
    HuffmanTables = 0xC4,
    ReservedForExtensions = 0xC8,
    ArithmeticConditioning = 0xCC,
    FirstRestart = 0xD0,
    StartOfImage = 0xD8,
    EndOfImage = 0xD9,
    StartOfScan = 0xDA,
    NumberOfLines = 0xDC,
    Application1 = 0xE1,
};

/// What the markers of a file tell without any of its pixels being decoded.
struct Structure
{
    QString problem;
    QSize size;
    bool isProgressive = false;
    qint64 blocks = 0; ///< of 8 x 8 samples, over all components
    int scans = 0;
    QByteArray components; ///< their identifiers
    QByteArray scannedComponents; ///< the same for the components of all scans
    int orientation = 1; ///< as in Exif
    bool hasApplication1 = false;
};

bool hasNoSegment(uchar marker)
{
    return (marker >= FirstRestart && marker <= StartOfImage) || marker == Temporary;
}

bool isFrameHeader(uchar marker)
{
    return marker >= Baseline && marker < FirstRestart && marker != HuffmanTables && marker != ReservedForExtensions
        && marker != ArithmeticConditioning;
}

qint64 blocksOf(const QSize &size, int horizontal, int vertical, int mostHorizontal, int mostVertical)
{
    constexpr int blockSide = 8;
    const auto blocks = [](qint64 length, int sampling, int mostSampling) {
        const qint64 samples = (length * sampling + mostSampling - 1) / mostSampling;
        return (samples + blockSide - 1) / blockSide;
    };
    return blocks(size.width(), horizontal, mostHorizontal) * blocks(size.height(), vertical, mostVertical);
}

/// @param segment begins with its length, which has been checked
void readFrameHeader(const uchar *segment, int length, uchar marker, Structure *structure)
{
    constexpr int fixedSize = 8;
    constexpr int componentSize = 3;
    if (marker != Baseline && marker != ExtendedSequential && marker != Progressive) {
        // Arithmetic coding is among them: its decoder cannot know when data are missing.
        structure->problem = QStringLiteral("this kind of JPEG is not supported");
        return;
    }
    if (structure->size.isValid()) {
        structure->problem = QStringLiteral("the file has more than one frame header");
        return;
    }
    const int count = length >= fixedSize ? segment[7] : 0;
    if (count < 1 || count > maxComponents || length != fixedSize + count * componentSize) {
        structure->problem = QStringLiteral("the frame header is damaged");
        return;
    }

    structure->isProgressive = marker == Progressive;
    structure->size = QSize(bigEndian16(segment + 5), bigEndian16(segment + 3));
    const QByteArray components(reinterpret_cast<const char *>(segment) + fixedSize, count * componentSize);
    const auto samplingOf = [&components](
                                int component) { return int(uchar(components[component * componentSize + 1])); };
    int mostHorizontal = 1;
    int mostVertical = 1;
    for (int i = 0; i < count; ++i) {
        structure->components.append(components[i * componentSize]);
        mostHorizontal = qMax(mostHorizontal, samplingOf(i) >> 4);
        mostVertical = qMax(mostVertical, samplingOf(i) & 0xF);
    }
    for (int i = 0; i < count; ++i) {
        structure->blocks +=
            blocksOf(structure->size, samplingOf(i) >> 4, samplingOf(i) & 0xF, mostHorizontal, mostVertical);
    }
}

void readScanHeader(const uchar *segment, int length, Structure *structure)
{
    const int count = length >= 3 ? segment[2] : 0;
    if (++structure->scans > maxScans) {
        structure->problem = QStringLiteral("more than %1 scans are too many").arg(maxScans);
    } else if (count < 1 || count > maxComponents || length != 6 + 2 * count) {
        structure->problem = QStringLiteral("a scan header is damaged");
    } else {
        for (int i = 0; i < count; ++i)
            structure->scannedComponents.append(char(segment[3 + 2 * i]));
    }
}

/// The first one decides, whatever it holds; usually it is Exif.
void readApplication1(const uchar *segment, int length, Structure *structure)
{
    constexpr int headerSize = 8; // the length and "Exif"
    if (!structure->hasApplication1 && structure->scans == 0 && length > headerSize)
        structure->orientation = exifOrientation(segment + headerSize, length - headerSize);
    structure->hasApplication1 = true;
}

/// The checks that need all of the markers.
QString problemOfScans(const Structure &structure, qint64 fileSize)
{
    // No code is shorter than a bit. A sequential block has two of them: its mean, and the end of the block.
    const qint64 leastBits = structure.blocks * (structure.isProgressive ? 1 : 2);
    if (leastBits > 8 * fileSize)
        return QStringLiteral("the image is incomplete");
    if (structure.isProgressive)
        return {}; // the decoder counts for itself
    for (const char component : structure.components) {
        const int scans = structure.scannedComponents.count(component);
        if (scans != structure.components.count(component))
            return scans == 0 ? QStringLiteral("a scan of the image is missing")
                              : QStringLiteral("a component of the image has several scans");
    }
    return {};
}

/// Follows the markers (ISO/IEC 10918-1, annex B) up to the end of the image. An embedded thumbnail has an end, too,
/// but lies in a segment. Coded data needs no treatment of its own: in it 0xFF is followed by 0 or by a restart marker.
Structure walk(const QByteArray &bytes)
{
    Structure structure;
    const uchar *const end = dataOf(bytes) + bytes.size();
    for (const uchar *at = dataOf(bytes); structure.problem.isEmpty() && at < end;) {
        at = static_cast<const uchar *>(std::memchr(at, 0xFF, static_cast<std::size_t>(end - at)));
        if (!at || at + 1 >= end)
            break;
        const uchar marker = at[1];
        if (marker == 0xFF) { // padding
            ++at;
            continue;
        }
        at += 2;
        if (marker == 0 || hasNoSegment(marker))
            continue;
        if (marker == EndOfImage && structure.scans > 0 && structure.size.isValid())
            return structure;
        if (marker == EndOfImage)
            break;
        if (end - at < 2 || end - at < bigEndian16(at))
            break;
        const int length = bigEndian16(at);
        if (marker == NumberOfLines)
            structure.problem = QStringLiteral("the file tells its number of lines behind the image");
        else if (isFrameHeader(marker))
            readFrameHeader(at, length, marker, &structure);
        else if (marker == StartOfScan)
            readScanHeader(at, length, &structure);
        else if (marker == Application1)
            readApplication1(at, length, &structure);
        at += length;
    }
    if (structure.problem.isEmpty())
        structure.problem = QStringLiteral("the image is incomplete");
    return structure;
}

/// The decoder of libjpeg. It reports by long jumps: the functions that it may jump into own nothing.
class Decompression
{
public:
    Decompression()
    {
        mInfo.err = jpeg_std_error(&mErrors);
        mErrors.error_exit = &Decompression::onError;
        mErrors.emit_message = &Decompression::onMessage;
        mInfo.client_data = this;
    }
    ~Decompression() { jpeg_destroy_decompress(&mInfo); }
    Q_DISABLE_COPY(Decompression)

    bool readHeader(const QByteArray &bytes, qint64 maxPixels)
    {
        if (setjmp(mJump) != 0) // NOLINT(cert-err52-cpp): the library knows no other way
            return false;
        jpeg_create_decompress(&mInfo);
        mInfo.mem->max_memory_to_use = qMax(leastMemory, static_cast<long>(maxPixels) * memoryPerPixel);
        jpeg_mem_src(&mInfo, dataOf(bytes), static_cast<unsigned long>(bytes.size()));
        jpeg_read_header(&mInfo, TRUE);
        return true;
    }

    QSize size() const { return {static_cast<int>(mInfo.image_width), static_cast<int>(mInfo.image_height)}; }

    /// Everything up to the end of the image, so that everything that is wrong with it is noticed.
    bool readPixels(uchar *pixels, std::size_t bytesPerLine)
    {
        if (setjmp(mJump) != 0) // NOLINT(cert-err52-cpp)
            return false;
        const bool isCmyk = mInfo.num_components == cmykChannels;
        mInfo.out_color_space = isCmyk ? JCS_CMYK : JCS_EXT_BGR;
        mInfo.buffered_image = jpeg_has_multiple_scans(&mInfo);
        jpeg_start_decompress(&mInfo);
        followScan();
        if (mInfo.buffered_image != FALSE)
            readScans();
        if (!hasAllScans()) {
            std::snprintf(mMessage, sizeof mMessage, "a scan of the image is missing");
            return false;
        }
        while (mInfo.output_scanline < mInfo.output_height) {
            uchar *line = pixels + mInfo.output_scanline * bytesPerLine;
            if (isCmyk)
                readCmykLine(line);
            else
                jpeg_read_scanlines(&mInfo, &line, 1);
        }
        if (mInfo.buffered_image != FALSE)
            jpeg_finish_output(&mInfo);
        jpeg_finish_decompress(&mInfo);
        return hasSoundScans();
    }

    /// What has ended it; throws when that was no fault of the image.
    const char *message() const
    {
        if (mErrors.msg_code == JERR_OUT_OF_MEMORY)
            throw std::bad_alloc();
        return mMessage;
    }

private:
    static Decompression *of(j_common_ptr info) { return static_cast<Decompression *>(info->client_data); }

    [[noreturn]] static void onError(j_common_ptr info)
    {
        Decompression *const self = of(info);
        self->mErrors.format_message(info, self->mMessage);
        std::longjmp(self->mJump, 1); // NOLINT(cert-err52-cpp)
    }

    /// Below zero are the warnings: what follows them is made up by the decoder.
    static void onMessage(j_common_ptr info, int level)
    {
        if (level < 0)
            onError(info);
    }

    /// All scans, so that the pixels are those of the last one.
    void readScans()
    {
        for (int status = JPEG_SUSPENDED; status != JPEG_REACHED_EOI;) {
            status = jpeg_consume_input(&mInfo);
            if (status == JPEG_REACHED_SOS)
                followScan();
        }
        jpeg_start_output(&mInfo, mInfo.input_scan_number);
    }

    void followScan()
    {
        if (mProblem == JpegScans::None)
            mProblem = mScans.follow(mInfo);
    }

    /// What the decoder itself has not noticed.
    bool hasSoundScans()
    {
        switch (mProblem) {
        case JpegScans::None:
            return true;
        case JpegScans::LeftOver:
            std::snprintf(mMessage, sizeof mMessage, "data are left over");
            return false;
        case JpegScans::Impossible:
            std::snprintf(mMessage, sizeof mMessage, "impossible coefficients");
            return false;
        default:
            std::snprintf(mMessage, sizeof mMessage, "impossible codes");
            return false;
        }
    }

    /// Whether each coefficient of each component came to its last bit. A sequential decoder does not count them.
    bool hasAllScans() const
    {
        for (int component = 0; mInfo.coef_bits && component < mInfo.num_components; ++component) {
            for (const int missingBits : mInfo.coef_bits[component]) {
                if (missingBits != 0)
                    return false;
            }
        }
        return true;
    }

    void readCmykLine(uchar *bgr)
    {
        constexpr int white = 255;
        auto *const memory = mInfo.mem;
        if (!mCmykLine) {
            mCmykLine = memory->alloc_sarray(
                reinterpret_cast<j_common_ptr>(&mInfo), JPOOL_IMAGE, mInfo.output_width * cmykChannels, 1);
        }
        jpeg_read_scanlines(&mInfo, mCmykLine, 1);
        const uchar *cmyk = mCmykLine[0];
        for (JDIMENSION x = 0; x < mInfo.output_width; ++x, cmyk += cmykChannels, bgr += 3) {
            const int black = cmyk[3];
            for (int color = 0; color < 3; ++color)
                bgr[2 - color] = static_cast<uchar>(black - (((white - cmyk[color]) * black) >> 8));
        }
    }

    jpeg_decompress_struct mInfo{};
    jpeg_error_mgr mErrors{};
    std::jmp_buf mJump{};
    JSAMPARRAY mCmykLine = nullptr;
    JpegScans mScans;
    JpegScans::Problem mProblem = JpegScans::None;
    char mMessage[JMSG_LENGTH_MAX] = "";
};
} // namespace

bool isJpeg(const QByteArray &bytes)
{
    return bytes.startsWith("\xFF\xD8\xFF");
}

DecodedImage decodeJpeg(const QByteArray &bytes, qint64 maxPixels)
{
    const Structure structure = walk(bytes);
    if (!structure.problem.isEmpty())
        return refused(structure.problem);
    const QString problemOfHeader = problemOfSize(structure.size.width(), structure.size.height(), maxPixels);
    if (!problemOfHeader.isEmpty())
        return refusedForSize(structure.size.width(), structure.size.height(), problemOfHeader);
    const QString problem = problemOfScans(structure, bytes.size());
    if (!problem.isEmpty())
        return refused(problem);

    Decompression decompression;
    if (!decompression.readHeader(bytes, maxPixels))
        return damaged(decompression.message());
    if (decompression.size() != structure.size)
        return refused(QStringLiteral("the image is not of the size that it declares"));
    cv::Mat pixels(structure.size.height(), structure.size.width(), CV_8UC3);
    if (!decompression.readPixels(pixels.data, pixels.step))
        return damaged(decompression.message());
    return decoded(upright(pixels, structure.orientation));
}

} // namespace FiberInspection::ImageFormats
