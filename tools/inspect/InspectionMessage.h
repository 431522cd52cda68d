// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "inspect/Inspection.h"

#include <QByteArray>

#include <optional>

namespace Inspect {

/// How a worker hands an inspection to the parent: a length, and so many bytes. The parent trusts none of it: whoever
/// took a worker over can send what he likes. Grading is not sent; the parent grades the defects itself.
namespace InspectionMessage {

constexpr int mostDefects = 32768; ///< of a zone; a fibre that fills 800 x 600 pixels has no room for more
constexpr int mostBytes = 8 * 1024 * 1024; ///< of one message, without its length; so many defects have 7 MB

QByteArray toBytes(const Inspection &inspection);

/// Takes the message off the bytes once it is there as a whole.
/// @param isDamaged set when no message can begin so
std::optional<Inspection> take(QByteArray *bytes, const Task &task, bool *isDamaged);

} // namespace InspectionMessage

} // namespace Inspect
