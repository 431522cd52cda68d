// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "records/Export.h"

namespace RecordsTool {

QByteArray csvHeader(const Options &options);

/// @param isShown on a terminal: what would control it stands there as \xHH
QByteArray csvRow(const ExportedInspection &inspection, const Options &options, bool isShown);

} // namespace RecordsTool
