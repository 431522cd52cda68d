// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Face.h"

namespace Study {

/// Paints the face into a file in the folder, analyses it, and compares what was found with what was painted.
/// A face that cannot be painted or written has the reason for that in all of its inspections.
FaceOutcome examine(const Face &face, const QString &folder);

} // namespace Study
