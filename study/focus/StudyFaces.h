// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulation/EndfacePainter.h"
#include "simulation/FocusStack.h"

#include <QImage>
#include <QPointF>
#include <QVector>

namespace Focus {

enum class Cleanness : int { Clean, Soiled };

constexpr double usualNoise = 0.9; ///< grey levels

/// The painted faces of the study; light, place and polish differ from number to number. The light is even.
EndfaceScene studyFace(int number, Cleanness cleanness, const QSize &size = {800, 600});

/// What the live filter says about one painted frame.
struct StudyReading
{
    double blur = 0; ///< micrometres
    bool found = false;
    bool hasSeveralCircles = false; ///< the reason for not finding it
    double focus = 0; ///< only if found
    QPointF displacement; ///< pixels from where the fibre is to where it was found; only if found
};

/// The picture as a frame; the fibre's true place in pixels, the blur in micrometres.
StudyReading readPicture(const QImage &picture, const QPointF &fibre, double blur);

/// One frame of the face.
StudyReading measureFace(const EndfaceScene &face, double blur, double noise);

/// Pictures of the surface, one for each blur.
QVector<QImage> exposeAll(const EndfaceSurface &surface, const QVector<double> &blurs, double noise, quint32 seed);

/// All frames of the face's way through the focus.
QVector<StudyReading> measureStack(const EndfaceScene &face, int steps, double maxBlur, double noise);

} // namespace Focus
