// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/report/Findings.h"

namespace Focus {

/// How many faces are painted for each question, clean ones and soiled ones each.
struct Effort
{
    int stacks = 8;
    int searches = 60;
    int places = 8;
    int scales = 16;

    static Effort least() { return {1, 1, 1, 1}; }
};

// Each asks one question and adds its tables, values and plots. Seeds are fixed.

/// Where the focus value peaks, how it falls off, and what that makes of the thresholds.
void studyStacks(const Effort &effort, Study::Findings *findings);

/// How often, and how exactly, the fibre is found under blur, noise and uneven light.
void studyFound(const Effort &effort, Study::Findings *findings);

/// How close to the border of the picture the fibre may lie.
void studyPlaces(const Effort &effort, Study::Findings *findings);

/// What the focus value is worth under less light.
void studyBrightness(const Effort &effort, Study::Findings *findings);

/// What the focus value is worth in pictures of other sizes.
void studySizes(const Effort &effort, Study::Findings *findings);

} // namespace Focus
