// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/Sheet_p.h"

namespace Reports::Sections {

// The parts of a report, in their order.
void cover(Sheet *sheet, const JobReport &report);
void panel(Sheet *sheet, const JobReport &report);
void ports(Sheet *sheet, const JobReport &report);

/// @param lost takes the pictures that could not be shown
void failures(Sheet *sheet, const JobReport &report, QVector<Records::PictureFault> *lost);

void statistics(Sheet *sheet, const JobReport &report);
void limits(Sheet *sheet);

} // namespace Reports::Sections
