// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace Focus {

// What the inspection page makes of a focus value.
constexpr double badFocus = 1.0; ///< up to here the picture is out of focus, and the fibre's outline is not drawn
constexpr double captureFocus = 2.5; ///< above it the picture is sharp enough to be captured

} // namespace Focus
