// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/Record.h"

/// What many rows say together.
namespace Records::StatisticsRows {

/// @param edges of sizes, in their order
Answer<JobStatistics> ofJob(Database &database, Id job, const QVector<double> &edges);

} // namespace Records::StatisticsRows
