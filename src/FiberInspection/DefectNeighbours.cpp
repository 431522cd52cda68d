// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/DefectNeighbours_p.h"
#include "FiberInspection/PixelGeometry_p.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>
#include <utility>

namespace FiberInspection {

DefectNeighbours::DefectNeighbours(const std::vector<Defect> &defects, float distance)
    : mDefects(defects)
    , mReachSquare(largestSquareWithin(distance))
    , mFoundFor(defects.size(), -1)
{
    setUpGrid();
    sortPixelsIntoCells();
    gatherRuns();
}

const std::vector<int> &DefectNeighbours::after(int i)
{
    mFound.clear();
    if (!isPointLike(i) || mReachSquare < 0)
        return mFound;

    const auto defect = static_cast<std::size_t>(i);
    for (std::size_t at = mOwnStarts[defect]; at < mOwnStarts[defect + 1]; ++at)
        collectAround(mRuns[mOwnRuns[at]]);
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
    forEachPixel([&](int i, const PixelPosition &pixel) {
        mPixels[nextFree[cellOf(pixel)]++] = {i, static_cast<int>(pixel.x), static_cast<int>(pixel.y)};
    });
}

void DefectNeighbours::gatherRuns()
{
    const std::size_t cells = mCellStarts.size() - 1;
    mOwnStarts.assign(mDefects.size() + 1, 0);
    for (std::size_t cell = 0; cell < cells; ++cell) {
        const std::size_t end = mCellStarts[cell + 1];
        std::size_t at = mCellStarts[cell];
        mCellStarts[cell] = mRuns.size();
        while (at < end)
            at = appendRun(cell, at, end);
    }
    mCellStarts[cells] = mRuns.size();

    std::partial_sum(mOwnStarts.begin(), mOwnStarts.end(), mOwnStarts.begin());
    std::vector<std::size_t> nextFree(mOwnStarts.begin(), mOwnStarts.end() - 1);
    mOwnRuns.resize(mRuns.size());
    for (std::size_t run = 0; run < mRuns.size(); ++run)
        mOwnRuns[nextFree[static_cast<std::size_t>(mRuns[run].defect)]++] = run;
}

/// The run of the defect that begins there; returns where the next one does. A thin contour visits its pixels twice.
std::size_t DefectNeighbours::appendRun(std::size_t cell, std::size_t begin, std::size_t end)
{
    const auto first = mPixels.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto behind = std::find_if(first, mPixels.begin() + static_cast<std::ptrdiff_t>(end),
        [defect = first->defect](const GridPixel &pixel) { return pixel.defect != defect; });
    const auto place = [](const GridPixel &pixel) { return std::make_pair(pixel.y, pixel.x); };
    std::sort(first, behind, [&](const GridPixel &a, const GridPixel &b) { return place(a) < place(b); });
    const auto last =
        std::unique(first, behind, [&](const GridPixel &a, const GridPixel &b) { return place(a) == place(b); });

    const auto columns =
        std::minmax_element(first, last, [](const GridPixel &a, const GridPixel &b) { return a.x < b.x; });
    const auto lastOfRun = static_cast<std::size_t>(last - mPixels.begin());
    mRuns.push_back({first->defect, cell, begin, lastOfRun, PixelPosition::of(columns.first->x, first->y),
        PixelPosition::of(columns.second->x, (last - 1)->y)});
    ++mOwnStarts[static_cast<std::size_t>(first->defect) + 1];
    return static_cast<std::size_t>(behind - mPixels.begin());
}

void DefectNeighbours::collectAround(const Run &run)
{
    const std::size_t row = run.cell / mColumns;
    const std::size_t column = run.cell % mColumns;
    for (std::size_t y = row - (row > 0 ? 1 : 0); y <= std::min(row + 1, mRows - 1); ++y) {
        for (std::size_t x = column - (column > 0 ? 1 : 0); x <= std::min(column + 1, mColumns - 1); ++x)
            collectFromCell(y * mColumns + x, run);
    }
}

void DefectNeighbours::collectFromCell(std::size_t cell, const Run &run)
{
    // From the last defect downward: what does not lie above is not looked at.
    for (std::size_t at = mCellStarts[cell + 1]; at > mCellStarts[cell]; --at) {
        const Run &other = mRuns[at - 1];
        if (other.defect <= run.defect)
            return;
        int &foundFor = mFoundFor[static_cast<std::size_t>(other.defect)];
        if (foundFor != run.defect && areClose(run, other)) {
            foundFor = run.defect;
            mFound.push_back(other.defect);
        }
    }
}

void DefectNeighbours::count(double comparisons)
{
    mComparisons += comparisons;
    if (mComparisons > mostComparisons)
        throw std::runtime_error("the defects are too many and too close to each other to be merged");
}

bool DefectNeighbours::areClose(const Run &run, const Run &other)
{
    const auto gap = [](double lowest, double highest, double otherLowest, double otherHighest) {
        return std::max({0.0, otherLowest - highest, lowest - otherHighest});
    };
    const PixelPosition apart{gap(run.lowest.x, run.highest.x, other.lowest.x, other.highest.x),
        gap(run.lowest.y, run.highest.y, other.lowest.y, other.highest.y)};
    count(1);
    if (apart.squaredDistanceTo({}) > mReachSquare)
        return false;

    for (std::size_t at = run.begin; at < run.end; ++at) {
        const PixelPosition pixel = PixelPosition::of(mPixels[at].x, mPixels[at].y);
        count(static_cast<double>(other.end - other.begin));
        for (std::size_t with = other.begin; with < other.end; ++with) {
            if (pixel.squaredDistanceTo(PixelPosition::of(mPixels[with].x, mPixels[with].y)) <= mReachSquare)
                return true;
        }
    }
    return false;
}

} // namespace FiberInspection
