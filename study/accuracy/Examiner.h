// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "study/accuracy/Face.h"

#include <optional>

namespace Study {

/// Paints the face, analyses it, and compares what was found with what was painted. A face that cannot be painted has
/// the reason for that in all of its inspections. All threads may call.
FaceOutcome examine(const Face &face);

/// Examines all faces in that many threads. A progress bar shows on stderr if asked for. Nothing on failure or when the
/// program was asked to stop; the problem tells why.
std::optional<QVector<FaceOutcome>> examineAll(
    const QVector<Face> &faces, int jobs, bool showsProgress, QString *problem);

} // namespace Study
