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
/// so that only the 3 x 3 cells around a pixel can hold a close one. What a defect has in a cell is compared as a whole
/// where its bounds suffice. The answer is that of Defect::isCloseTo(); the time grows with the number of pixels as
/// long as not many defects share the cells, and ends with an exception where they would take it beyond bounds.
class DefectNeighbours
{
public:
    static constexpr double mostComparisons = 2e9; ///< of pixels: some four seconds of a processor

    /// @param distance pixels. The defects have to outlive this object.
    DefectNeighbours(const std::vector<Defect> &defects, float distance);

    /// The indices above i of the point-like defects that are close to defect i, ascending; none for a scratch.
    /// The list is valid until the next call.
    /// @throws std::runtime_error after mostComparisons in all
    const std::vector<int> &after(int i);

private:
    struct GridPixel
    {
        int defect = 0;
        int x = 0;
        int y = 0;
    };

    /// What one defect has in one cell: the pixels from begin to end, each once.
    struct Run
    {
        int defect = 0;
        std::size_t cell = 0;
        std::size_t begin = 0;
        std::size_t end = 0;
        PixelPosition lowest; ///< the corner of its bounds
        PixelPosition highest;
    };

    bool isPointLike(int i) const;
    template <typename Visit>
    void forEachPixel(Visit visit) const;
    std::size_t columnOf(const PixelPosition &pixel) const;
    std::size_t rowOf(const PixelPosition &pixel) const;
    void setUpGrid();
    void sortPixelsIntoCells();
    void gatherRuns();
    std::size_t appendRun(std::size_t cell, std::size_t begin, std::size_t end);
    void collectAround(const Run &run);
    void collectFromCell(std::size_t cell, const Run &run);
    bool areClose(const Run &run, const Run &other);
    void count(double comparisons);

    const std::vector<Defect> &mDefects;
    const double mReachSquare; ///< negative when nothing is close to anything
    PixelPosition mOrigin; ///< of the first cell
    double mCellSize = 1; ///< pixels; more than the distance
    std::size_t mColumns = 1;
    std::size_t mRows = 1;
    std::vector<std::size_t> mCellStarts; ///< of a cell's first pixel, then of its first run; one more than cells
    std::vector<GridPixel> mPixels; ///< cell by cell, in a cell by ascending defect
    std::vector<Run> mRuns; ///< in the same order
    std::vector<std::size_t> mOwnStarts; ///< per defect, of its first place in mOwnRuns; one more than defects
    std::vector<std::size_t> mOwnRuns; ///< defect by defect
    std::vector<int> mFoundFor; ///< per defect: the one that it was last found to be close to
    std::vector<int> mFound;
    double mComparisons = 0;
};

} // namespace FiberInspection
