// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/OpenStore_p.h"
#include "Records/RecordStore.h"

namespace Records {

Answer<Merge> mergeStore(const OpenStore &store, const QString &folder, const GoesOn &goesOn);

} // namespace Records
