// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

namespace Inspect {

struct Inspection;
struct Options;

/// One line; docs/inspect.schema.json describes it.
QByteArray jsonReport(const Inspection &inspection, const Options &options);

} // namespace Inspect
