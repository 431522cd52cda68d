// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/RecordWords.h"

namespace RecordsTool {

namespace Words = Reports::Words;

/// As on the command line; a name for people where it has none there.
QString wordOfStandard(FiberInspection::Standard::Id id);

/// In one line.
QString doubtText(Records::Id inspection, Records::Doubt doubt);

/// Without a byte order mark before it, which belongs to the file that it was copied from.
QString withoutMark(QString text);

} // namespace RecordsTool
