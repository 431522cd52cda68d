// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Scenes.h"

#include "simulation/EndfaceScenes.h"

#include <cmath>

namespace Study {

using FiberInspection::Standard;

namespace {
constexpr double pi = 3.14159265358979323846;
constexpr quint64 blemishStream = quint64(1) << 40U; // apart from those of the painter
} // namespace

QString modeName(Mode mode)
{
    return mode == Mode::SingleMode ? QStringLiteral("SM") : QStringLiteral("MM");
}

QVector<Standard::Id> standardsOf(Mode mode)
{
    if (mode == Mode::Multimode)
        return {Standard::IEC61300_3_35_MM};
    return {Standard::IEC61300_3_35_SM_RL26, Standard::IEC61300_3_35_SM_RL35, Standard::IEC61300_3_35_SM_RL45,
        Standard::IEC61300_3_35_SM_APC};
}

Standard::Id standardOf(Mode mode)
{
    return mode == Mode::SingleMode ? Standard::IEC61300_3_35_SM_RL45 : Standard::IEC61300_3_35_MM;
}

double coreZoneRadius(Mode mode)
{
    return Standard(standardOf(mode)).core().outerDiameter / 2.0;
}

EndfaceScene ordinaryFace(quint32 seed, Mode mode)
{
    EndfaceRandomOptions options;
    options.multimode = mode == Mode::Multimode;
    options.maxPits = 0;
    options.maxParticles = 0;
    options.maxScratches = 0;
    return randomEndfaceScene(seed, options);
}

EndfaceRandom blemishRandom(quint32 seed)
{
    return EndfaceRandom(blemishStream | seed);
}

EndfaceDefect spot(EndfaceDefect::Kind kind, double size, const QPointF &center, double contrast)
{
    EndfaceDefect blemish;
    blemish.kind = kind;
    blemish.size = size;
    blemish.center = center;
    blemish.contrast = contrast;
    blemish.irregularity = 0.0;
    return blemish;
}

EndfaceDefect scratch(double width, double length, const QPointF &center, double angle, double contrast)
{
    constexpr double unevenness = 0.4; // no scratch is equally deep everywhere
    EndfaceDefect blemish = spot(EndfaceDefect::Kind::Scratch, width, center, contrast);
    blemish.irregularity = unevenness;
    blemish.length = length;
    blemish.angle = angle;
    return blemish;
}

QPointF placeAt(double distance, double angle)
{
    return QPointF(std::cos(angle * pi / 180.0), std::sin(angle * pi / 180.0)) * distance;
}

QPointF placeWithin(double radius, EndfaceRandom *random)
{
    const double distance = radius * std::sqrt(random->uniform());
    return placeAt(distance, random->uniform(0.0, 360.0));
}

double drawSize(double low, double high, EndfaceRandom *random)
{
    return low * std::pow(high / low, random->uniform());
}

} // namespace Study
