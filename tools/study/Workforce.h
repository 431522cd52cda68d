// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Face.h"

#include <optional>

namespace Study {

/// Examines all faces, shared out among that many processes, in which one analysis cannot disturb another. A progress
/// bar shows on stderr if asked for. Nothing on failure or when the program was asked to stop; the problem tells why.
std::optional<QVector<FaceOutcome>> examineAll(
    const QVector<Face> &faces, int jobs, bool showsProgress, QString *problem);

} // namespace Study
