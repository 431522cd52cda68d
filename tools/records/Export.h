// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/RecordStore.h"
#include "records/Options.h"

namespace RecordsTool {

struct ExportedJob
{
    Records::Job job;
    QVector<Records::Point> points;
};

/// An inspection with its job and point, as far as it has them.
struct ExportedInspection
{
    Records::StoredInspection record;
    Records::Job job;
    Records::Point point;
};

/// Writes the inspections that the options choose, the oldest first.
/// @return the exit code of the program
int exportInspections(const Options &options, const Records::RecordStore &store);

} // namespace RecordsTool
