// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/ImageFormats_p.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <png.h>

namespace FiberInspection::ImageFormats {

namespace {
constexpr int signatureSize = 8;
constexpr int chunkOverhead = 12; // length, type and checksum
constexpr int maxChunks = 65536; // 16 megapixels in pieces of 4 KiB are a fifth of it
constexpr int bgrChannels = 3;

struct Structure
{
    QString problem;
    qint64 width = 0;
    qint64 height = 0;
};

bool isOfType(const uchar *chunk, const char *type)
{
    return std::memcmp(chunk + 4, type, 4) == 0;
}

/// Follows the chunks (ISO/IEC 15948, clause 5). Their checksums are the decoder's business.
Structure walk(const QByteArray &bytes)
{
    constexpr int headerSize = 13;
    Structure structure;
    const auto fail = [&structure](const QString &problem) {
        structure.problem = problem;
        return structure;
    };

    qint64 at = signatureSize;
    for (int chunks = 0; bytes.size() - at >= chunkOverhead; ++chunks) {
        const uchar *const chunk = dataOf(bytes) + at;
        const qint64 length = bigEndian32(chunk);
        if (bytes.size() - at - chunkOverhead < length)
            break;
        if (chunks == maxChunks)
            return fail(QStringLiteral("more than %1 chunks are too many").arg(maxChunks));
        if (isOfType(chunk, "IHDR") != (chunks == 0))
            return fail(QStringLiteral("the file does not begin with its one header"));
        if (chunks == 0 && length == headerSize) {
            structure.width = bigEndian32(chunk + 8);
            structure.height = bigEndian32(chunk + 12);
        }
        if (isOfType(chunk, "acTL"))
            return fail(QStringLiteral("the file holds an animation"));
        if (isOfType(chunk, "IEND"))
            return structure;
        at += length + chunkOverhead;
    }
    return fail(QStringLiteral("the image is incomplete"));
}

/// The decoder of libpng. It reports by long jumps: the functions that it may jump into own nothing.
class Reading
{
public:
    explicit Reading(const QByteArray &bytes)
        : mAt(dataOf(bytes))
        , mEnd(mAt + bytes.size())
    {
    }
    ~Reading() { png_destroy_read_struct(&mPng, &mInfo, &mEndInfo); }
    Q_DISABLE_COPY(Reading)

    bool readHeader()
    {
        // What has no influence on the pixels is not even unpacked, but its checksum counts.
        static constexpr uchar skipped[] = "bKGD\0cHRM\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0pHYs\0sBIT\0sCAL\0sPLT\0"
                                           "sRGB\0tEXt\0tIME\0zTXt";
        constexpr int nameSize = 5;

        if (setjmp(mJump) != 0) // NOLINT(cert-err52-cpp): the library knows no other way
            return false;
        mPng = png_create_read_struct_2(PNG_LIBPNG_VER_STRING, this, &Reading::onProblem, &Reading::onProblem, this,
            &Reading::allocate, &Reading::release);
        mInfo = mPng ? png_create_info_struct(mPng) : nullptr;
        mEndInfo = mInfo ? png_create_info_struct(mPng) : nullptr;
        if (!mEndInfo)
            return false;
        png_set_read_fn(mPng, this, &Reading::onRead);
        png_set_keep_unknown_chunks(mPng, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
        png_set_keep_unknown_chunks(mPng, PNG_HANDLE_CHUNK_NEVER, skipped, static_cast<int>(sizeof skipped) / nameSize);
        png_read_info(mPng, mInfo);
        return true;
    }

    qint64 width() const { return png_get_image_width(mPng, mInfo); }
    qint64 height() const { return png_get_image_height(mPng, mInfo); }

    /// Everything up to the end of the image, so that everything that is wrong with it is noticed.
    bool readPixels(uchar *pixels, std::size_t bytesPerLine)
    {
        if (setjmp(mJump) != 0) // NOLINT(cert-err52-cpp)
            return false;
        convertToBgr();
        const int passes = png_set_interlace_handling(mPng);
        png_read_update_info(mPng, mInfo);
        if (png_get_rowbytes(mPng, mInfo) > bytesPerLine)
            png_error(mPng, "unexpected kind of pixels");
        for (int pass = 0; pass < passes; ++pass) {
            for (png_uint_32 row = 0; row < png_get_image_height(mPng, mInfo); ++row)
                png_read_row(mPng, pixels + row * bytesPerLine, nullptr);
        }
        png_read_end(mPng, mEndInfo);
        for (png_uint_32 row = 0; isPalette() && row < png_get_image_height(mPng, mInfo); ++row)
            replaceByColors(pixels + row * bytesPerLine);
        return true;
    }

    int orientation()
    {
        png_bytep exif = nullptr;
        png_uint_32 size = 0;
        for (png_infop info : {mInfo, mEndInfo}) {
            if (png_get_eXIf_1(mPng, info, &size, &exif) != 0 && exif)
                return exifOrientation(exif, size);
        }
        return exifOrientation(nullptr, 0);
    }

    /// What has ended it; throws when that was no fault of the image.
    const char *message() const
    {
        if (mIsOutOfMemory)
            throw std::bad_alloc();
        return mMessage;
    }

private:
    static png_voidp allocate(png_structp png, png_alloc_size_t size)
    {
        void *const memory = std::malloc(size);
        if (!memory)
            static_cast<Reading *>(png_get_mem_ptr(png))->mIsOutOfMemory = true;
        return memory;
    }

    static void release(png_structp /*png*/, png_voidp memory) { std::free(memory); }

    static void onRead(png_structp png, png_bytep bytes, std::size_t size)
    {
        auto *const self = static_cast<Reading *>(png_get_io_ptr(png));
        if (static_cast<std::size_t>(self->mEnd - self->mAt) < size)
            png_error(png, "read past the end");
        std::memcpy(bytes, self->mAt, size);
        self->mAt += size;
    }

    /// Warnings, too: what follows them is made up by the decoder, or left out.
    [[noreturn]] static void onProblem(png_structp png, png_const_charp message)
    {
        auto *const self = static_cast<Reading *>(png_get_error_ptr(png));
        std::snprintf(self->mMessage, sizeof self->mMessage, "%s", message);
        std::longjmp(self->mJump, 1); // NOLINT(cert-err52-cpp)
    }

    void convertToBgr()
    {
        constexpr int wholeByte = 8; // bits
        const int colorType = png_get_color_type(mPng, mInfo);
        png_set_strip_16(mPng);
        png_set_strip_alpha(mPng);
        if (isPalette()) {
            png_set_packing(mPng); // one byte for each number of a color
            png_set_check_for_invalid_index(mPng, 0); // replaceByColors() does
            return;
        }
        if ((colorType & PNG_COLOR_MASK_COLOR) == 0 && png_get_bit_depth(mPng, mInfo) < wholeByte)
            png_set_expand_gray_1_2_4_to_8(mPng);
        if ((colorType & PNG_COLOR_MASK_COLOR) != 0)
            png_set_bgr(mPng);
        else
            png_set_gray_to_rgb(mPng);
    }

    bool isPalette() const { return png_get_color_type(mPng, mInfo) == PNG_COLOR_TYPE_PALETTE; }

    /// In place, from numbers of a palette's colors. libpng takes those that are not in it for black, without a word.
    void replaceByColors(uchar *line)
    {
        png_colorp colors = nullptr;
        int count = 0;
        png_get_PLTE(mPng, mInfo, &colors, &count);
        for (png_uint_32 column = png_get_image_width(mPng, mInfo); column-- > 0;) {
            const int number = line[column];
            if (number >= count)
                png_error(mPng, "a pixel has a color that is not in the palette");
            uchar *const pixel = line + std::size_t(bgrChannels) * column;
            pixel[0] = colors[number].blue;
            pixel[1] = colors[number].green;
            pixel[2] = colors[number].red;
        }
    }

    const uchar *mAt;
    const uchar *mEnd;
    png_structp mPng = nullptr;
    png_infop mInfo = nullptr;
    png_infop mEndInfo = nullptr;
    std::jmp_buf mJump{};
    bool mIsOutOfMemory = false;
    char mMessage[256] = "";
};
} // namespace

bool isPng(const QByteArray &bytes)
{
    return bytes.startsWith("\x89PNG\r\n\x1A\n");
}

DecodedImage decodePng(const QByteArray &bytes, qint64 maxPixels)
{
    const Structure structure = walk(bytes);
    if (!structure.problem.isEmpty())
        return refused(structure.problem);
    const QString problem = problemOfSize(structure.width, structure.height, maxPixels);
    if (!problem.isEmpty())
        return refusedForSize(structure.width, structure.height, problem);

    Reading reading(bytes);
    if (!reading.readHeader())
        return damaged(reading.message());
    if (reading.width() != structure.width || reading.height() != structure.height)
        return refused(QStringLiteral("the image is not of the size that it declares"));
    cv::Mat pixels(static_cast<int>(structure.height), static_cast<int>(structure.width), CV_8UC(bgrChannels));
    if (!reading.readPixels(pixels.data, pixels.step))
        return damaged(reading.message());
    return decoded(upright(pixels, reading.orientation()));
}

} // namespace FiberInspection::ImageFormats
