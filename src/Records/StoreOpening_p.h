// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/OpenStore_p.h"
#include "Records/RecordStore.h"

namespace Records {

/// Opens what lies in the folder of the store, for reading where it cannot be written to.
Opening openStore(OpenStore *store, RecordStore::Mode mode);

/// Opens a database to read from it.
/// @param suspicion path of the file that notes damage; empty: nothing is written there
Problem openToRead(const StoreFolder &folder, const QString &suspicion, std::unique_ptr<Database> *database);

} // namespace Records
