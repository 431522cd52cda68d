// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Defect.h"

#include "FiberInspection/PixelGeometry_p.h"

#include <algorithm>
#include <utility>

namespace FiberInspection {

Defect::Defect(const Defect &other)
    : type(other.type)
    , pixels(other.pixels)
    , enclosingCircle(other.enclosingCircle)
    , boundingRectPoints(other.boundingRectPoints)
    , size(other.size)
    , causesFailure(other.causesFailure)
{
}

// Moving follows the rule of copying, or the fate of boundingRectSize would hang on how a container grows.
Defect::Defect(Defect &&other) noexcept
    : type(other.type)
    , pixels(std::move(other.pixels))
    , enclosingCircle(other.enclosingCircle)
    , boundingRectPoints(std::move(other.boundingRectPoints))
    , size(other.size)
    , causesFailure(other.causesFailure)
{
}

Defect &Defect::operator=(const Defect &other)
{
    return *this = Defect(other);
}

Defect &Defect::operator=(Defect &&other) noexcept
{
    type = other.type;
    pixels = std::move(other.pixels);
    enclosingCircle = other.enclosingCircle;
    boundingRectPoints = std::move(other.boundingRectPoints);
    boundingRectSize = QSize();
    size = other.size;
    causesFailure = other.causesFailure;
    return *this;
}

Defect::Type Defect::calculateType()
{
    const auto [width, length] = std::minmax({boundingRectSize.width(), boundingRectSize.height()});
    type = width <= maxScratchWidth && length >= minScratchLength ? Type::Scratch : Type::Defect;
    return type;
}

void Defect::calculateSize(float pixelSize)
{
    size = 2 * enclosingCircle.radius * pixelSize;
}

bool Defect::isCloseTo(const Defect &defect, float closeDistanceThreshold) const
{
    const double reach = largestSquareWithin(closeDistanceThreshold);
    return std::any_of(pixels.cbegin(), pixels.cend(), [&](const QPointF &pixel) {
        const PixelPosition here = PixelPosition::of(pixel);
        return std::any_of(defect.pixels.cbegin(), defect.pixels.cend(),
            [&](const QPointF &otherPixel) { return here.squaredDistanceTo(PixelPosition::of(otherPixel)) <= reach; });
    });
}

} // namespace FiberInspection
