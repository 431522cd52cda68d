// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

/// Prints the inspections that the options choose, or the jobs.
/// @return the exit code of the program
int listInspections(const Options &options, const Records::RecordStore &store);
int listJobs(const Options &options, const Records::RecordStore &store);

} // namespace RecordsTool
