// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"

namespace FiberInspection {

/// What keeps an image from being seen.
enum class ImageFault : int { None, Missing, NotAFile, Unreadable, Empty, UnknownFormat, Damaged, TooLarge };

Inspection::Reason reasonOf(ImageFault fault);

} // namespace FiberInspection
