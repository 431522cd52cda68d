// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <array>
#include <cstdio>
#include <jpeglib.h>
#include <vector>

namespace FiberInspection::ImageFormats {

/// Follows the Huffman codes of a JPEG (ISO/IEC 10918-1, annexes F and G) to the last one, and makes no pixels of them.
/// libjpeg reads ahead, and says nothing about data that are left when the last block is there, nor about coefficients
/// that no encoder writes. Both give away data that were lost or replaced.
class JpegScans
{
public:
    enum Problem {
        None,
        Broken, ///< codes that do not exist, or too few of them
        LeftOver, ///< more data than blocks
        Impossible, ///< coefficients behind the last one of a block, or beyond black and white
    };

    /// To be called for each scan in turn, as they build on each other.
    /// @pre libjpeg has read the header of the scan, and nothing of its coded data
    Problem follow(const jpeg_decompress_struct &info);

private:
    /// Of each component and block of a progressive image: the coefficients that are not 0, as bits.
    std::array<std::vector<quint64>, MAX_COMPONENTS> mNonzero;
};

} // namespace FiberInspection::ImageFormats
