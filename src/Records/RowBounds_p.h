// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QtGlobal>

#include <limits>

/// What the numbers of a row may be.
namespace Records::RowBounds {

constexpr qint64 mostInt = std::numeric_limits<int>::max();
constexpr qint64 leastInt = std::numeric_limits<int>::min();
constexpr qint64 mostId = 9'007'199'254'740'991; // every program reads so many digits, and there are ids behind it
constexpr qint64 mostMeasure = 1'000'000'000'000; // micrometres or pixels: it is finite
constexpr qint64 mostGrey = 255;
constexpr qint64 firstYear = -62'135'596'800'000; // milliseconds since 1970
constexpr qint64 lastYear = 253'402'300'799'999; // the same; four digits

} // namespace Records::RowBounds
