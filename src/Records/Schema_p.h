// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"

/// The tables of a store, and how those of an earlier version become those of this one.
namespace Records::Schema {

/// Brings the tables up to date, each step whole or not at all. LaterVersion, Foreign and Damaged: nothing was changed.
/// @param isNew whether there were none
Problem prepare(Database &database, bool *isNew);

/// What prepare() tells without changing anything.
Problem check(const Database &database);

/// Whether the tables are as they were made here, so that their rows hold to what these demand.
Problem checkTables(const Database &database);

} // namespace Records::Schema
