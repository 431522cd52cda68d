// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/accuracy/Face.h"
#include "study/report/Findings.h"

#include <memory>
#include <vector>

namespace Study {

/// How much work the study takes on: the share of what its plan provides.
class Effort
{
public:
    explicit Effort(double share)
        : mShare(share)
    {
    }

    int times(int full) const; ///< at least 1

private:
    double mShare;
};

/// One question to the analysis: the faces that are shown to it, and what its answers say.
class Experiment
{
public:
    Experiment() = default;
    virtual ~Experiment() = default;
    Experiment(const Experiment &) = delete;
    Experiment &operator=(const Experiment &) = delete;

    /// Equal for equal efforts; the faces of a smaller one are among those of a larger.
    virtual QVector<Face> faces(const Effort &effort) const = 0;

    /// @param outcomes in the order of the faces
    virtual void evaluate(
        const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const = 0;
};

/// All experiments, in the order in which the documentation tells about them.
std::vector<std::unique_ptr<Experiment>> allExperiments();

/// The seed of a face: each experiment has a number of its own, so that no two faces of the study are equal.
quint32 faceSeed(int experiment, int cell, int number);

/// A level within the name of a figure: "2-5" for 2.5.
QString levelName(double level);

/// Tells the smallest level from which on, upwards, each rate is at least as high as wanted; "none" if there is none.
/// @param rates one for each level, NaN where there is nothing to tell
QString reliableFrom(const QVector<double> &levels, const QVector<double> &rates, double wanted);

} // namespace Study
