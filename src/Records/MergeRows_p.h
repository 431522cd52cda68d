// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/RecordStore.h"

namespace Records::MergeRows {

/// Whether there are no more jobs, points and texts than may be copied.
Problem checkSize(const Database &source);

/// Copies what the target does not have: jobs and inspections by their identity, points by their name and side. Runs
/// within a transaction of the caller.
Problem copy(
    Database &target, const Database &source, const std::function<bool(int done, int all)> &goesOn, Merge *done);

} // namespace Records::MergeRows
