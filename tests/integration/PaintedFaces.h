// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QPointF>
#include <QVector>

/// A dark disc on the face. Pixels from the fibre centre, x to the right and y down.
struct Spot
{
    QPointF center;
    double radius = 0;
};

constexpr double paintedMicronsPerPixel = 1.075; ///< of the usual scope at 800 x 600

/// An end face of flat colours: what the analysis finds on it does not depend on chance.
QImage paintFace(const QVector<Spot> &spots = {}, const QPointF &fibre = {410, 290});

QImage goodFace(); ///< passes by every standard
QImage badFace(); ///< fails by every standard, for one spot in the core
QImage noFace(); ///< there is no fibre to be seen
