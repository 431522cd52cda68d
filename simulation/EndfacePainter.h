// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QImage>
#include <QJsonObject>
#include <QPointF>
#include <QSize>
#include <QString>
#include <QVector>

#include <vector>

/// One blemish. Positions are micrometres from the fibre centre, x to the right and y down.
struct EndfaceDefect
{
    enum class Kind : int { Pit, Particle, Scratch, Stain };

    Kind kind = Kind::Pit;
    double size = 5.0; ///< micrometres; diameter of the circle around it, of a scratch the width
    double length = 0.0; ///< micrometres; of a scratch only
    double angle = 0.0; ///< degrees from the x axis, clockwise on the screen; of a scratch only
    QPointF center; ///< micrometres
    double contrast = 0.55; ///< share of the light that is lost; negative: the blemish shines
    double irregularity = 0.2; ///< 0 is a circle (of a scratch: even contrast), 0.5 is ragged
};

/// All that decides how a picture of an end face looks; equal scenes give equal pictures.
struct EndfaceScene
{
    enum class Frame : int { Normal, NoFibre, TwoFibres, CutByBorder };

    static constexpr int minSide = 32; ///< pixels
    static constexpr int maxSide = 8192; ///< pixels
    static constexpr int maxDefects = 100000;

    QSize size{800, 600}; ///< pixels
    double fovWidth = 860.0; ///< micrometres across the width of the picture
    Frame frame = Frame::Normal;
    QPointF offset; ///< micrometres from the middle of the picture to the fibre centre
    double claddingDiameter = 125.0; ///< micrometres
    double coreDiameter = 9.0; ///< micrometres
    bool gradedCore = false; ///< the core fades towards its edge
    double ferruleGrey = 206.0; ///< grey levels of 255, under full light
    double claddingGrey = 132.0;
    double coreGrey = 158.0;
    double texture = 1.0; ///< strength of the ferrule's grain; 0 is smooth
    double ringWidth = 1.1; ///< micrometres; the adhesive between cladding and ferrule
    double ringContrast = 0.12; ///< how much darker the adhesive is than the cladding, as a share
    double vignetting = 0.10; ///< share of the light that is missing in the corners
    double illumination = 0.0; ///< light gained from one end of the width to the other, as a share
    double illuminationAngle = 0.0; ///< degrees; the direction in which the light grows
    double blurSigma = 0.9; ///< micrometres; grows with the distance from focus
    double noiseSigma = 0.9; ///< grey levels of the sensor
    quint32 seed = 1;
    QVector<EndfaceDefect> defects;

    double micronsPerPixel() const { return fovWidth / size.width(); }

    /// A core wider than the core zone of a single-mode fibre is graded with the zones of a multimode fibre.
    bool isMultimode() const { return coreDiameter > 25.0; }

    /// What keeps the scene from being painted, empty when nothing does.
    QString problem() const;
};

/// The end face under a perfect lens, before focus and sensor: row by row, in grey levels.
struct EndfaceSurface
{
    QSize size;
    double micronsPerPixel = 1.0;
    std::vector<float> grey;
};

/// Centres of the visible fibres in pixels; the middle of the top left pixel is (0, 0). The defects belong to the first
/// one.
QVector<QPointF> endfaceFibreCenters(const EndfaceScene &scene);

/// The part that stays the same from frame to frame; empty for a scene with a problem.
EndfaceSurface paintEndfaceSurface(const EndfaceScene &scene);

/// One frame of the surface, 8-bit grey: blurred by `blurSigma` (micrometres), with noise of `noiseSigma` (grey
/// levels).
QImage exposeEndface(const EndfaceSurface &surface, double blurSigma, double noiseSigma, quint32 seed);

/// Surface and exposure in one go; null for a scene with a problem.
QImage paintEndface(const EndfaceScene &scene);

/// All parameters of the scene, and where its defects lie.
QJsonObject endfaceTruth(const EndfaceScene &scene);
