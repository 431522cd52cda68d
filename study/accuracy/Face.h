// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "simulation/EndfacePainter.h"

#include <QString>
#include <QVector>

namespace Study {

/// One picture of the study and what is done with it.
struct Face
{
    EndfaceScene scene;
    QVector<FiberInspection::Standard::Id> standards; ///< analysed by each of them
    int runs = 1; ///< analyses by each standard
    int jpegQuality = 92; ///< 1 to 100
    int cell = 0; ///< the group within its experiment that the face belongs to
};

/// A graded defect as the analysis reports it.
struct Finding
{
    FiberInspection::Defect::Type type = FiberInspection::Defect::Type::Defect;
    FiberInspection::Zone::Id zone = FiberInspection::Zone::Core;
    double size = 0; ///< micrometres
    bool causesFailure = false;
    QVector<int> blemishes; ///< the painted ones that it lies on, by their index in the scene
};

/// What one analysis of one face came to.
struct Inspection
{
    FiberInspection::Standard::Id standard = FiberInspection::Standard::IEC61300_3_35_SM_RL45;
    QString reason; ///< why there is no verdict; empty when there is one
    bool passed = false;
    int contours = 0;
    int rawDefects = 0;
    int mergedDefects = 0;
    QVector<Finding> findings;

    bool hasVerdict() const { return reason.isEmpty(); }
    bool finds(int blemish) const;
    bool findsAsScratch(int blemish) const;
    int findingsOf(int blemish) const; ///< more than one when it was found in pieces
    int findingsInZone(FiberInspection::Zone::Id zone) const;
    int falseFindings() const; ///< where nothing was painted

    /// The largest finding of the blemish, null when it was not found.
    const Finding *largestOf(int blemish) const;
};

/// All analyses of one face: standard by standard, each as often as asked for.
using FaceOutcome = QVector<Inspection>;

} // namespace Study
