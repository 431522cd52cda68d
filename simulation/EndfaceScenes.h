// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulation/EndfacePainter.h"

#include <QStringList>

/// Names of the prepared scenes, in the order in which the samples are listed.
QStringList endfacePresets();

/// One line about a prepared scene, empty for an unknown name.
QString endfacePresetDescription(const QString &name);

/// A prepared scene; an unknown name gives the clean one.
EndfaceScene endfacePreset(const QString &name);

/// What `randomEndfaceScene` may draw. All bounds are inclusive.
struct EndfaceRandomOptions
{
    QSize size{800, 600}; ///< pixels
    bool multimode = false;
    int maxPits = 4;
    int maxParticles = 4;
    int maxScratches = 2;
    double minDefectSize = 1.5; ///< micrometres
    double maxDefectSize = 30.0; ///< micrometres
    double maxOffsetX = 120.0; ///< micrometres
    double maxOffsetY = 80.0; ///< micrometres
    double maxIllumination = 0.10;
    double maxBlurSigma = 1.2; ///< micrometres
    double maxNoiseSigma = 1.1; ///< grey levels
};

/// A scene of a study: everything that differs from face to face is drawn from the seed.
EndfaceScene randomEndfaceScene(quint32 seed, const EndfaceRandomOptions &options = {});

/// How many specks fit on the inspected square of the scene without touching each other.
int maxEndfaceSpecks(const EndfaceScene &scene);

/// Strews separate specks over the inspected square (250 micrometres and 40 pixels wide) around the fibre.
/// More than `maxEndfaceSpecks()` are cut off.
void addEndfaceSpecks(EndfaceScene *scene, int specks);

/// A clean face with that many specks, on a picture of 800x600 or, if they do not fit there, of 1600x1200 pixels.
/// A still finer picture would put the cladding outside the radii that an inspection accepts.
EndfaceScene dirtyEndfaceScene(quint32 seed, int specks);
