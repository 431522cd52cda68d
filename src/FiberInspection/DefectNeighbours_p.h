// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Defect.h"
#include "FiberInspection/PixelGeometry_p.h"

#include <cstddef>
#include <vector>

namespace FiberInspection {

/// Tells which point-like defects have pixels within a distance of each other, without comparing every pair.
///
/// The pixels of all point-like defects are sorted into the cells of a grid that are at least as wide as the distance,
/// so that only the 3 x 3 cells around a pixel can hold a close one. The answer is that of Defect::isCloseTo(); the
/// time grows with the number of pixels.
class DefectNeighbours
{
public:
    /// @param distance pixels. The defects have to outlive this object.
    DefectNeighbours(const std::vector<Defect> &defects, float distance);

    /// The indices above i of the point-like defects that are close to defect i, ascending; none for a scratch.
    /// The list is valid until the next call.
    const std::vector<int> &after(int i);

private:
    struct GridPixel
    {
        int defect = 0;
        PixelPosition position;
    };

    bool isPointLike(int i) const;
    template <typename Visit>
    void forEachPixel(Visit visit) const;
    std::size_t columnOf(const PixelPosition &pixel) const;
    std::size_t rowOf(const PixelPosition &pixel) const;
    void setUpGrid();
    void sortPixelsIntoCells();
    void collectFromCell(std::size_t cell, const PixelPosition &pixel, int i);

    const std::vector<Defect> &mDefects;
    const double mReachSquare; ///< negative when nothing is close to anything
    PixelPosition mOrigin; ///< of the first cell
    double mCellSize = 1; ///< pixels; more than the distance
    std::size_t mColumns = 1;
    std::size_t mRows = 1;
    std::vector<std::size_t> mCellStarts; ///< index of a cell's first pixel; one more entry than there are cells
    std::vector<GridPixel> mPixels; ///< cell by cell, in a cell by ascending defect
    std::vector<int> mFoundFor; ///< per defect: the one that it was last found to be close to
    std::vector<int> mFound;
};

} // namespace FiberInspection
