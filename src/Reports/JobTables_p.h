// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/JobTables.h"

namespace Reports {

/// The header, and a line for each inspection.
/// @param lost pictures that are missing or damaged
/// @param goesOn when it ends the work, there is only a part
QByteArray tableOf(const JobReport &report, const QVector<Records::PictureFault> &lost, const CsvFormat &format,
    const GoesOn &goesOn = {});

} // namespace Reports
