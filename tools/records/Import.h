// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "records/Options.h"

namespace RecordsTool {

/// Inspects the pictures of a folder, each as a point of a job, and prints the verdicts when they are stored.
/// @return the exit code of the program
int importFolder(const Options &options);

} // namespace RecordsTool
