// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

/// Prints all that is known of one inspection. No picture is analysed for it.
/// @return the exit code of the program
int showInspection(const Options &options, const Records::RecordStore &store);

} // namespace RecordsTool
