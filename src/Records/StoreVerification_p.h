// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/OpenStore_p.h"
#include "Records/RecordStore.h"

namespace Records {

/// Whether SQLite's own check finds nothing.
/// @param faults receives what it finds
Problem checkTables(const Database &database, QStringList *faults);

Answer<Verification> verifyStore(const OpenStore &store, const GoesOn &goesOn);

} // namespace Records
