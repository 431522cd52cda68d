// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QByteArrayList>

#include <opencv2/core.hpp>

#include <map>
#include <vector>

/// Image files of the kinds that OpenCV does not write, and their pieces.
namespace EncodedImages {

/// A JPEG as a camera might make it.
struct Jpeg
{
    enum Colors { Gray, YCbCr, Rgb, Cmyk, Ycck };

    Colors colors = YCbCr;
    int horizontalSampling = 1; ///< of the first component; the others have 1
    int verticalSampling = 1;
    int quality = 92;
    int restartInterval = 0; ///< in units of coding; 0 for none
    bool isProgressive = false;
    bool hasSeparateScans = false; ///< one for each component
    bool isArithmetic = false;
};
QByteArray jpeg(const cv::Mat &bgr, const Jpeg &kind = {});

/// A PNG of random samples, so that each is seen.
struct Png
{
    int colorType = 2; ///< as in the file
    int bits = 8; ///< of a sample
    bool isInterlaced = false;
    bool hasTransparency = false; ///< in a chunk of its own
};
QByteArray png(int width, int height, const Png &kind);

struct Tiff
{
    int compression = 1; ///< as in the file
    int bits = 8; ///< of a sample
    int samples = 3;
    int photometric = 2; ///< as in the file
    int rowsPerStrip = 16;
    int tileSide = 0; ///< 0 for strips
    bool isPlanar = false;
    int orientation = 1;
    int pages = 1;
    bool isBig = false; ///< 64-bit offsets
    bool isBigEndian = false;
    int extraSample = 2; ///< as in the file: what the samples behind the color are
    int alpha = 255; ///< of those samples
    cv::Point hole{-1, -1}; ///< the pixel in which they are 0
    std::map<int, int> entries; ///< by their tag; further ones, of one number
    std::vector<float> ranges; ///< black and white of each of three colors; none is said without
};
/// What is not color has the brightness of the picture's blue. Tiles are filled up with noise.
QByteArray tiff(const cv::Mat &bgr, const Tiff &kind);
QByteArray tiff(int width, int height, const Tiff &kind); ///< of random pixels

/// An entry of a TIFF's directory.
struct TiffEntry
{
    enum Type { None, Byte = 1, Short = 3, Long = 4, Rational = 5 };

    Type type = None; ///< without one there is no entry
    quint32 count = 1;
    quint32 value = 0; ///< itself or its place
};

/// A grey TIFF written by hand, so that its strips may lie anywhere. The data begin behind the header, at 8; the
/// directory stands behind them.
struct TiffStrips
{
    int width = 0;
    int height = 0;
    int rowsPerStrip = 1;
    int compression = 1; ///< as in the file
    std::vector<quint32> offsets;
    std::vector<quint32> sizes; ///< in bytes
    QByteArray data;
    std::map<int, TiffEntry> entries; ///< by their tag; further ones, or in place of those that the others make
};
QByteArray tiff(const TiffStrips &strips);

/// A TIFF with 64-bit offsets and no more than as many private entries, all of which point at its header.
QByteArray tiffWithEntries(int count);

/// A BMP of random pixels.
QByteArray bmp(int width, int height, int bits, bool isFromTop = false);

/// A WebP of these chunks.
QByteArray webp(const QByteArrayList &chunks);
QByteArray webpChunk(const QByteArray &type, const QByteArray &payload);

/// The stream of a lossless WebP of one colour in which each square has codes of its own, 65,536 at most.
/// @param squareBits the logarithm of a square's side, from 2 on
/// @param hasHeader of an image; without one it is the transparency of a lossy image
QByteArray losslessWebpOfManyCodes(int side, int squareBits, bool hasHeader = true);

/// By OpenCV, by the extension.
QByteArray encoded(const char *extension, const cv::Mat &mat, const std::vector<int> &parameters = {});

// --- pieces

QByteArray bigEndian(quint32 value, int bytes);
QByteArray littleEndian(quint32 value, int bytes);

/// Zlib's form.
QByteArray deflated(const QByteArray &bytes, int level = 1);

QByteArray pngChunk(const QByteArray &type, const QByteArray &payload);

/// A piece of a JPEG file: a marker with its segment, or coded data.
struct JpegPiece
{
    int marker = 0; ///< 0 for coded data
    QByteArray bytes; ///< with the marker
};
std::vector<JpegPiece> jpegPieces(const QByteArray &jpeg);
QByteArray joined(const std::vector<JpegPiece> &pieces);

} // namespace EncodedImages
