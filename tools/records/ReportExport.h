// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

/// Writes the report of the job that the options choose: as a PDF, or with all that belongs to it as an archive.
/// @return the exit code of the program
int exportReport(const Options &options, const Records::RecordStore &store);

} // namespace RecordsTool
