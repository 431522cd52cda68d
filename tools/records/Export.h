// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

/// Writes the inspections that the options choose, the oldest first.
/// @return the exit code of the program
int exportInspections(const Options &options, const Records::RecordStore &store);

} // namespace RecordsTool
