// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "simulation/EndfacePainter.h"
#include "simulation/EndfaceRandom.h"

namespace Study {

enum class Mode : quint8 { SingleMode, Multimode };

QString modeName(Mode mode); ///< "SM" or "MM"

/// Every standard of the mode.
QVector<FiberInspection::Standard::Id> standardsOf(Mode mode);

/// The strictest of them.
FiberInspection::Standard::Id standardOf(Mode mode);

double coreZoneRadius(Mode mode); ///< micrometres
constexpr double claddingRadius = 62.5; ///< micrometres

/// An unblemished face as a good scope shows it; light, focus, noise, place and polish differ from seed to seed.
EndfaceScene ordinaryFace(quint32 seed, Mode mode);

/// The random numbers of the blemishes of one face.
EndfaceRandom blemishRandom(quint32 seed);

/// A round blemish, so that its size is exactly known.
EndfaceDefect spot(EndfaceDefect::Kind kind, double size, const QPointF &center, double contrast);

EndfaceDefect scratch(double width, double length, const QPointF &center, double angle, double contrast);

/// Micrometres from the fibre centre, the angle in degrees.
QPointF placeAt(double distance, double angle);

/// Anywhere in a disc around the fibre centre, each place as likely as the other.
QPointF placeWithin(double radius, EndfaceRandom *random);

/// Small sizes are more frequent than large ones: every octave is equally likely.
double drawSize(double low, double high, EndfaceRandom *random);

} // namespace Study
