// SPDX-License-Identifier: Apache-2.0
#include "study/accuracy/Population.h"

namespace Study {

using Kind = EndfaceDefect::Kind;

namespace {
EndfaceDefect anySpot(const QPointF &center, EndfaceRandom *random)
{
    constexpr double smallest = 1.0; // micrometres
    constexpr double largest = 30.0;
    const double kind = random->uniform();
    const double size = drawSize(smallest, largest, random);
    if (kind < 0.50)
        return spot(Kind::Pit, size, center, random->uniform(0.3, 0.7));
    if (kind < 0.85)
        return spot(Kind::Particle, size, center, random->uniform(0.3, 0.7));
    return spot(Kind::Stain, size, center, random->uniform(0.1, 0.3));
}

EndfaceDefect anyScratch(const QPointF &center, EndfaceRandom *random)
{
    const double width = random->uniform(1.0, 3.5);
    const double length = drawSize(15.0, 120.0, random);
    const double angle = random->uniform(0.0, 180.0);
    return scratch(width, length, center, angle, random->uniform(0.25, 0.6));
}
} // namespace

EndfaceScene mixedFace(quint32 seed, Mode mode)
{
    constexpr double cleanShare = 1.0 / 6.0;
    constexpr double coreShare = 0.3;
    constexpr double scratchShare = 0.25;
    constexpr int mostBlemishes = 3;
    EndfaceScene scene = ordinaryFace(seed, mode);
    EndfaceRandom random = blemishRandom(seed);
    if (random.uniform() < cleanShare)
        return scene;
    const int blemishes = random.integer(1, mostBlemishes);
    for (int i = 0; i < blemishes; ++i) {
        const bool inCore = random.uniform() < coreShare;
        const QPointF center = placeWithin(inCore ? coreZoneRadius(mode) : claddingRadius, &random);
        const bool isScratch = random.uniform() < scratchShare;
        scene.defects.append(isScratch ? anyScratch(center, &random) : anySpot(center, &random));
    }
    return scene;
}

EndfaceScene marginalFace(quint32 seed, Mode mode)
{
    EndfaceScene scene = ordinaryFace(seed, mode);
    EndfaceRandom random = blemishRandom(seed);
    const QPointF center = placeWithin(0.8 * coreZoneRadius(mode), &random);
    scene.defects.append(spot(Kind::Pit, random.uniform(2.0, 4.5), center, random.uniform(0.12, 0.35)));
    return scene;
}

} // namespace Study
