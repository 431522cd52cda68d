// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/OpenStore_p.h"
#include "Records/RecordStore.h"

namespace Records {

Answer<Backup> backUpStore(const OpenStore &store, const QString &folder);

} // namespace Records
