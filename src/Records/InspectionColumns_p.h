// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Record.h"
#include "Records/RowBounds_p.h"

#include <array>

/// The columns of the table of inspections, for all that reads, writes, checks and copies its rows.
namespace Records::InspectionColumns {

/// Their places in the table, and in what selection() selects.
enum Index : int {
    Id,
    Identity,
    Point,
    Made,
    Standard,
    Verdict,
    Reason,
    Detail,
    Decision,
    Note,
    Scope,
    FovWidth,
    FovHeight,
    Scale,
    MaxPixels,
    Seed,
    Focus,
    Software,
    MicronsPerPixel,
    CladdingX,
    CladdingY,
    CladdingRadius,
    CropX,
    CropY,
    CropWidth,
    CropHeight,
    GrayCladding,
    GrayAroundCore,
    GrayAroundCladding,
    Contours,
    RawDefects,
    MergedDefects,
    Picture,
    Annotated,
};

enum class Holds : int {
    Number, ///< within bounds, or nothing
    Text,
    Other, ///< what the table itself demands, or anything
};

struct Column
{
    Index index;
    const char *name;
    Holds holds;
    qint64 least = 0; ///< of a number
    qint64 most = 0;
};

constexpr std::array<Column, Annotated + 1> make()
{
    using namespace RowBounds;
    return {{
        {Id, "id", Holds::Number, 1, mostId},
        {Identity, "identity", Holds::Other},
        {Point, "point", Holds::Other},
        {Made, "made", Holds::Number, firstYear, lastYear},
        {Standard, "standard", Holds::Number, 0, FiberInspection::Standard::Manual},
        {Verdict, "verdict", Holds::Number, 0, static_cast<int>(Records::Verdict::Failed)},
        {Reason, "reason", Holds::Text},
        {Detail, "detail", Holds::Text},
        {Decision, "decision", Holds::Number, 0, static_cast<int>(Records::Decision::ToRepeat)},
        {Note, "note", Holds::Text},
        {Scope, "scope", Holds::Text},
        {FovWidth, "fov_width", Holds::Number, leastInt, mostInt},
        {FovHeight, "fov_height", Holds::Number, leastInt, mostInt},
        {Scale, "scale", Holds::Number, -mostMeasure, mostMeasure},
        {MaxPixels, "max_pixels", Holds::Other},
        {Seed, "seed", Holds::Other},
        {Focus, "focus", Holds::Number, -mostMeasure, mostMeasure},
        {Software, "software", Holds::Text},
        {MicronsPerPixel, "microns_per_pixel", Holds::Number, 0, mostMeasure},
        {CladdingX, "cladding_x", Holds::Number, -mostMeasure, mostMeasure},
        {CladdingY, "cladding_y", Holds::Number, -mostMeasure, mostMeasure},
        {CladdingRadius, "cladding_radius", Holds::Number, 0, mostMeasure},
        {CropX, "crop_x", Holds::Number, leastInt, mostInt},
        {CropY, "crop_y", Holds::Number, leastInt, mostInt},
        {CropWidth, "crop_width", Holds::Number, leastInt, mostInt},
        {CropHeight, "crop_height", Holds::Number, leastInt, mostInt},
        {GrayCladding, "gray_cladding", Holds::Number, leastInt, mostGrey},
        {GrayAroundCore, "gray_around_core", Holds::Number, 0, mostGrey},
        {GrayAroundCladding, "gray_around_cladding", Holds::Number, 0, mostGrey},
        {Contours, "contours", Holds::Number, 0, mostInt},
        {RawDefects, "raw_defects", Holds::Number, 0, mostInt},
        {MergedDefects, "merged_defects", Holds::Number, 0, mostInt},
        {Picture, "picture", Holds::Other},
        {Annotated, "annotated", Holds::Other},
    }};
}
constexpr auto all = make();
constexpr int count = static_cast<int>(all.size());

constexpr bool areInOrder()
{
    for (int i = 0; i < count; ++i) {
        if (all[static_cast<std::size_t>(i)].index != i)
            return false;
    }
    return true;
}
static_assert(areInOrder(), "a column stands in another place than its index says");

/// All of them, with the name of the table. Of a text that is longer than any that is kept there is one character too
/// much.
QString selection();
QString insertion(); ///< a statement for all but the id

} // namespace Records::InspectionColumns
