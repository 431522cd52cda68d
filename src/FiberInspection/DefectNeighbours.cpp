// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/DefectNeighbours_p.h"
#include "FiberInspection/PixelGeometry_p.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace FiberInspection {

DefectNeighbours::DefectNeighbours(const std::vector<Defect> &defects, float distance)
    : mDefects(defects)
    , mReachSquare(largestSquareWithin(distance))
    , mFoundFor(defects.size(), -1)
{
    setUpGrid();
    sortPixelsIntoCells();
}

const std::vector<int> &DefectNeighbours::after(int i)
{
    mFound.clear();
    if (!isPointLike(i) || mReachSquare < 0)
        return mFound;

    for (const QPointF &point : mDefects[static_cast<std::size_t>(i)].pixels) {
        const PixelPosition pixel = PixelPosition::of(point);
        const std::size_t column = columnOf(pixel);
        const std::size_t row = rowOf(pixel);
        for (std::size_t y = row - (row > 0 ? 1 : 0); y <= std::min(row + 1, mRows - 1); ++y) {
            for (std::size_t x = column - (column > 0 ? 1 : 0); x <= std::min(column + 1, mColumns - 1); ++x)
                collectFromCell(y * mColumns + x, pixel, i);
        }
    }
    std::sort(mFound.begin(), mFound.end());
    return mFound;
}

bool DefectNeighbours::isPointLike(int i) const
{
    return mDefects[static_cast<std::size_t>(i)].type != Defect::Type::Scratch;
}

template <typename Visit>
void DefectNeighbours::forEachPixel(Visit visit) const
{
    const int count = static_cast<int>(mDefects.size());
    for (int i = 0; i < count; ++i) {
        if (!isPointLike(i))
            continue;
        for (const QPointF &point : mDefects[static_cast<std::size_t>(i)].pixels)
            visit(i, PixelPosition::of(point));
    }
}

std::size_t DefectNeighbours::columnOf(const PixelPosition &pixel) const
{
    return static_cast<std::size_t>((pixel.x - mOrigin.x) / mCellSize);
}

std::size_t DefectNeighbours::rowOf(const PixelPosition &pixel) const
{
    return static_cast<std::size_t>((pixel.y - mOrigin.y) / mCellSize);
}

void DefectNeighbours::setUpGrid()
{
    std::size_t pixelCount = 0;
    PixelPosition lowest;
    PixelPosition highest;
    forEachPixel([&](int, const PixelPosition &pixel) {
        const bool isFirst = pixelCount++ == 0;
        lowest = isFirst ? pixel : PixelPosition{std::min(lowest.x, pixel.x), std::min(lowest.y, pixel.y)};
        highest = isFirst ? pixel : PixelPosition{std::max(highest.x, pixel.x), std::max(highest.y, pixel.y)};
    });
    mOrigin = lowest;
    mPixels.resize(pixelCount);

    // Wider cells cost time, never a neighbour: they keep the grid small however far apart the pixels are.
    constexpr double cellsPerPixel = 4;
    constexpr double spareCells = 1024;
    const double extent = std::max(highest.x - lowest.x, highest.y - lowest.y) + 1;
    mCellSize = std::floor(std::min(std::sqrt(std::max(mReachSquare, 0.0)), extent)) + 1;
    const auto cellsAlong = [this](double length) { return std::floor(length / mCellSize) + 1; };
    while (cellsAlong(highest.x - lowest.x) * cellsAlong(highest.y - lowest.y)
        > cellsPerPixel * static_cast<double>(pixelCount) + spareCells)
        mCellSize *= 2;
    mColumns = static_cast<std::size_t>(cellsAlong(highest.x - lowest.x));
    mRows = static_cast<std::size_t>(cellsAlong(highest.y - lowest.y));
}

void DefectNeighbours::sortPixelsIntoCells()
{
    const auto cellOf = [this](const PixelPosition &pixel) { return rowOf(pixel) * mColumns + columnOf(pixel); };

    mCellStarts.assign(mColumns * mRows + 1, 0);
    forEachPixel([&](int, const PixelPosition &pixel) { ++mCellStarts[cellOf(pixel) + 1]; });
    std::partial_sum(mCellStarts.begin(), mCellStarts.end(), mCellStarts.begin());

    std::vector<std::size_t> nextFree(mCellStarts.begin(), mCellStarts.end() - 1);
    forEachPixel([&](int i, const PixelPosition &pixel) { mPixels[nextFree[cellOf(pixel)]++] = {i, pixel}; });
}

void DefectNeighbours::collectFromCell(std::size_t cell, const PixelPosition &pixel, int i)
{
    // From the last defect downward: what does not lie above i is not looked at.
    for (std::size_t at = mCellStarts[cell + 1]; at > mCellStarts[cell]; --at) {
        const GridPixel &other = mPixels[at - 1];
        if (other.defect <= i)
            return;
        int &foundFor = mFoundFor[static_cast<std::size_t>(other.defect)];
        if (foundFor != i && pixel.squaredDistanceTo(other.position) <= mReachSquare) {
            foundFor = i;
            mFound.push_back(other.defect);
        }
    }
}

} // namespace FiberInspection
