// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/focus/StudyFaces.h"

#include <QString>
#include <QVector>

#include <functional>

namespace Focus {

/// Under what the frames of a stack are taken.
struct StackCondition
{
    QString name;
    double noise = 0; ///< grey levels
    double illumination = 0; ///< from side to side, as a share
};

QVector<StackCondition> stackConditions();

// Indices of conditions.
constexpr int usualCondition = 1;
constexpr int firstUnevenCondition = 4;

/// One face on its way through the focus.
struct Stack
{
    static constexpr int steps = 41;
    static constexpr int sharpestStep = (steps - 1) / 2;
    static constexpr double maxBlur = 6; ///< micrometres, at both ends

    /// Where on the way through the focus a step is taken, -1 to 1.
    static constexpr double placeOf(int step) { return (step - sharpestStep) / static_cast<double>(sharpestStep); }

    int condition = 0;
    Cleanness cleanness = Cleanness::Clean;
    QVector<StudyReading> readings; ///< one a step
};

/// Takes so many faces, clean ones and soiled ones each, through the focus under every condition.
QVector<Stack> measureStacks(int faces);

using StackChoice = std::function<bool(const Stack &)>;

StackChoice under(int condition, Cleanness cleanness);

} // namespace Focus
