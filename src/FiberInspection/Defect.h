// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Geometry.h"

#include <QVector>

namespace FiberInspection {

/// One blemish of the end face. All coordinates are pixels of the cropped image.
///
/// A copied or moved defect carries an invalid boundingRectSize whatever the source held, so calculateType() belongs on
/// the defect that was built from the pixels, before it goes into a container.
///
/// @code
/// Defect scratch;
/// scratch.pixels = {{30, 40}, {70, 40}};
/// scratch.enclosingCircle = Circle(50, 40, 20);
/// scratch.boundingRectSize = QSize(40, 1);
/// scratch.calculateType();
/// scratch.calculateSize(0.5F); // micrometres per pixel
/// qInfo() << (scratch.type == Defect::Type::Scratch) << scratch.size << "um"; // true 20 um
/// @endcode
struct VANTORBASE_EXPORT Defect
{
    enum class Type : int {
        Defect = 0, ///< point-like
        Scratch = 1,
    };

    Type type = Type::Defect;
    QVector<QPointF> pixels; ///< contour points
    Circle enclosingCircle; ///< the smallest around the pixels
    QVector<QPointF> boundingRectPoints; ///< corners of the smallest rotated rectangle around the pixels
    QSize boundingRectSize; ///< of that rectangle, whole pixels
    float size = 0; ///< diameter of the enclosing circle, micrometres
    bool causesFailure = false; ///< set by grading on each defect above a rule's allowance
    const int maxScratchWidth = 7; ///< pixels
    const int minScratchLength = 30; ///< pixels

    Defect() = default;
    Defect(const Defect &other);
    Defect(Defect &&other) noexcept;
    Defect &operator=(const Defect &other);
    Defect &operator=(Defect &&other) noexcept;
    ~Defect() = default;

    /// Sets and returns the type: a scratch is at most maxScratchWidth wide and at least minScratchLength long.
    Type calculateType();

    /// Sets the size from the enclosing circle. @param pixelSize micrometres per pixel
    void calculateSize(float pixelSize);

    /// True when a pixel of this defect and one of the other lie within the threshold (pixels; each coordinate is
    /// truncated to a whole number first).
    bool isCloseTo(const Defect &defect, float closeDistanceThreshold) const;
};

} // namespace FiberInspection
