// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Tools {

/// Keeps the memory of one image for the next one: giving it back and asking again costs a fifth of an analysis.
void keepFreedMemory();

} // namespace Tools
