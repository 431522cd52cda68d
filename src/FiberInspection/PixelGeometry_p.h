// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QPointF>

#include <cmath>
#include <limits>

namespace FiberInspection {

/// Truncates toward zero; what no int can hold becomes the nearest int, and NaN the lowest one.
inline int truncated(double value)
{
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    if (!(value > lowest))
        return std::numeric_limits<int>::min();
    return value < highest ? static_cast<int>(value) : std::numeric_limits<int>::max();
}

/// The whole pixel that a point lies in. Coordinates are doubles, so that no difference or square overflows.
struct PixelPosition
{
    double x = 0;
    double y = 0;

    static PixelPosition of(int pixelX, int pixelY)
    {
        return {static_cast<double>(pixelX), static_cast<double>(pixelY)};
    }

    static PixelPosition of(const QPointF &point) { return of(truncated(point.x()), truncated(point.y())); }

    double squaredDistanceTo(const PixelPosition &other) const
    {
        const double dx = x - other.x;
        const double dy = y - other.y;
        return dx * dx + dy * dy;
    }

    float distanceTo(const PixelPosition &other) const
    {
        return static_cast<float>(std::sqrt(squaredDistanceTo(other)));
    }
};

/// The largest squared distance whose distance, rounded to float, is at most the limit; -1 where no distance is.
/// It turns "float(sqrt(square)) <= limit" into one exact comparison of squares, without a root for every pixel.
inline double largestSquareWithin(float limit)
{
    if (!(limit >= 0))
        return -1;
    const auto isWithin = [limit](double square) { return static_cast<float>(std::sqrt(square)) <= limit; };

    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr float largestFloat = std::numeric_limits<float>::max();
    if (limit >= largestFloat)
        return infinity;

    // Half-way to the next float is where rounding turns over, a step or two from the border.
    const auto nextLimit = static_cast<double>(std::nextafter(limit, largestFloat));
    const double middle = (static_cast<double>(limit) + nextLimit) / 2;
    double square = middle * middle;
    while (!isWithin(square))
        square = std::nextafter(square, 0);
    for (double next = square; isWithin(next); next = std::nextafter(square, infinity))
        square = next;
    return square;
}

/// The same for "float(sqrt(square)) < limit".
inline double largestSquareBelow(float limit)
{
    return limit > 0 ? largestSquareWithin(std::nextafter(limit, 0.0F)) : -1;
}

} // namespace FiberInspection
