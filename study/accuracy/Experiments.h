// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/accuracy/Experiment.h"

namespace Study {

/// Round blemishes of known kind and size in both zones: are they found, and how large are they taken for?
class BlemishExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// How dark a blemish has to be, and whether a bright one is seen at all.
class ContrastExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// Scratches of differing width, length, angle and contrast, beside the core and through it.
class ScratchExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// The same pit at every distance from the fibre centre, over the rim and beyond.
class PlaceExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// Blemishes with another outline around them: that of the cladding, where it stays in the edge map, or of a stain.
class CoverExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// Faces without blemishes while light, focus, noise, place and polish get worse: false alarms and missing verdicts.
class CleanFacesExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// Pictures that are not what the analysis expects: which of them are refused, and why.
class BadFramesExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// Mixed faces by every standard: does the verdict agree with that of the rules on the painted blemishes?
class VerdictExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

/// The same file again and again: how much is left to chance by the random fill of the core.
class RepeatExperiment : public Experiment
{
public:
    QVector<Face> faces(const Effort &effort) const override;
    void evaluate(const QVector<Face> &faces, const QVector<FaceOutcome> &outcomes, Findings *findings) const override;
};

} // namespace Study
