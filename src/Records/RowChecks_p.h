// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/Record.h"

/// Whether rows say what can be shown, exported and merged: known enumerators, finite numbers, texts and times within
/// bounds, no more parts than are kept. The same for what is stored here and for what comes from elsewhere.
namespace Records::RowChecks {

// What was just written, within the transaction: Fault::Invalid ends it.
Problem job(const Database &database, Id id);
Problem pointsOf(const Database &database, Id job);
Problem inspection(const Database &database, Id id);

/// The first row that nothing here would have written, as "Inspection 7"; empty when there is none.
Answer<QString> firstBad(const Database &database);

} // namespace Records::RowChecks
