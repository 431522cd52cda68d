// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

/// What a TIFF says about where things are, read without its decoder: that one reads the same bytes for two pieces, or
/// the header for pixels, without a word.
namespace FiberInspection::ImageFormats {

/// Bytes of a file, from begin up to end.
struct TiffPlace
{
    quint64 begin = 0;
    quint64 end = 0;
};

struct TiffStructure
{
    QString problem; ///< why the image is not decoded; empty when nothing speaks against it
    std::vector<TiffPlace> places; ///< of the header, of the directory, and of what it points at except for the pixels
    /// Of what the directory points at except for the pixels, in bytes; shared ones count again.
    quint64 valuesSize = 0;
    quint64 offsets = 0; ///< how many pieces it has offsets for
    quint64 sizes = 0; ///< how many pieces it has sizes for
    quint64 extraSamples = 0; ///< how many samples of a pixel it says a meaning of beside those of the color
    quint64 paletteSize = 0; ///< how many values its palette has, of all colors together
    bool isPalette = false; ///< its samples stand for the colors of a palette
    bool hasShortPalette = false; ///< the values of the palette have 16 bits
    bool hasSubsampling = false; ///< it says how many pixels share a color
    bool isReduced = false; ///< it says so in an old way
    bool hasResponseCurve = false; ///< its grey samples stand for other levels than their own
};

/// Follows the header and the first directory of a file that begins as a TIFF.
TiffStructure readTiffStructure(const QByteArray &bytes);

/// Whether no two of the pieces share a byte, nor one of them with what is no pixel.
bool areApart(std::vector<TiffPlace> pieces, const std::vector<TiffPlace> &places);

/// Whether packed data hold this many bytes, and nothing is left over. The decoder stops as soon as it has its pixels,
/// and does not look.
bool isWholePackBits(const uchar *packed, qint64 packedSize, qint64 size);

/// The same for LZW, which ends with a code of its own.
bool isWholeLzw(const uchar *packed, qint64 packedSize, qint64 size);

} // namespace FiberInspection::ImageFormats
