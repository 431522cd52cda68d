// SPDX-License-Identifier: Apache-2.0
#include "common/KeptMemory.h"

#include <malloc.h>

namespace Tools {

void keepFreedMemory()
{
    constexpr int largestKeptBlock = 16 * 1024 * 1024; // bytes
    constexpr int mostKeptMemory = 64 * 1024 * 1024; // bytes
    mallopt(M_MMAP_THRESHOLD, largestKeptBlock);
    mallopt(M_TRIM_THRESHOLD, mostKeptMemory);
}

} // namespace Tools
