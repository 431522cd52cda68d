// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>

namespace Inspect {

struct Inspection;
struct Options;

QByteArray csvHeader(const Options &options); ///< the names of the columns
QByteArray csvReport(const Inspection &inspection, const Options &options);

} // namespace Inspect
