// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/accuracy/Scenes.h"

namespace Study {

/// A face with up to three blemishes of any kind, many of them in the core zone, so that about as many faces are good
/// as bad. One in six has none.
EndfaceScene mixedFace(quint32 seed, Mode mode);

/// A face with one pit in the core zone whose size and contrast lie where an analysis may see it or not.
EndfaceScene marginalFace(quint32 seed, Mode mode);

} // namespace Study
