// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

// What they come to is printed; they return the exit code of the program.

/// Checks the database and all pictures, and on request whether the pictures give the same verdicts again.
int verifyStore(const Options &options, const Records::RecordStore &store);

int backUpStore(const Options &options, const Records::RecordStore &store);
int mergeStore(const Options &options, Records::RecordStore *store);

} // namespace RecordsTool
