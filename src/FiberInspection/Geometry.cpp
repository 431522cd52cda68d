// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Geometry.h"

namespace FiberInspection {

Circle::Circle(const QPointF &circleCenter, float circleRadius)
    : center(circleCenter)
    , radius(circleRadius)
{
}

Circle::Circle(float x, float y, float circleRadius)
    : Circle(QPointF(static_cast<qreal>(x), static_cast<qreal>(y)), circleRadius)
{
}

bool Circle::isValid() const
{
    return !qFuzzyCompare(radius, 0.0F) && !center.isNull();
}

bool Circle::operator==(const Circle &other) const
{
    return center == other.center && radius == other.radius;
}

Device Device::ks20()
{
    return {QStringLiteral("ODM Scope 2"), QSize(860, 640)};
}

} // namespace FiberInspection
