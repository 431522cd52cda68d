// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QPointF>
#include <QSize>
#include <QString>

namespace FiberInspection {

/// A circle in the pixels of the image at hand; x runs right, y down. A default circle means "none found".
///
/// @code
/// const Circle cladding(QPointF(400, 300), 58);
/// if (cladding.isValid())
///     qInfo() << "the fibre is" << 2 * cladding.radius << "pixels wide, around" << cladding.center;
/// @endcode
struct VANTORBASE_EXPORT Circle
{
    QPointF center;
    float radius = 0;

    Circle() = default;
    Circle(const QPointF &circleCenter, float circleRadius);
    Circle(float x, float y, float circleRadius);

    /// False for a radius of exactly zero and for a centre of exactly (0, 0).
    bool isValid() const;

    bool operator==(const Circle &other) const;
    bool operator!=(const Circle &other) const { return !(*this == other); }
};

/// Radii of the four zones around the fibre centre, in pixels of the cropped image.
///
/// @code
/// const float pixelsPerMicron = 0.93F;
/// ZoneSizes sizes;
/// sizes.coreRadius = 12.5F * pixelsPerMicron;
/// sizes.claddingRadius = 60 * pixelsPerMicron;
/// @endcode
struct ZoneSizes
{
    float coreRadius = 0;
    float claddingRadius = 0;
    float adhesiveRadius = 0;
    float contactRadius = 0;
};

/// The optics of an inspection scope.
///
/// @code
/// Device device = Device::ks20();
/// device.fov = QSize(430, 320); // seen through an objective that enlarges twice as much
/// const Inspection inspection = inspectFile(QStringLiteral("face.jpg"), Standard::IEC61300_3_35_SM_APC, device);
/// @endcode
struct VANTORBASE_EXPORT Device
{
    QString name; ///< of the scope's camera
    QSize fov; ///< field of view of the full camera image, micrometres

    static Device ks20();
};

} // namespace FiberInspection
