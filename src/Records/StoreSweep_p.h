// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/OpenStore_p.h"

namespace Records {

/// Removes pictures that no inspection names. Nobody must store one meanwhile.
/// @return how many files it has removed
Answer<int> sweepStore(const OpenStore &store);

/// The same where the former program was ended while it wrote, and only what that may have left.
Answer<int> sweepAfterInterruption(const OpenStore &store);

} // namespace Records
