// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "records/Export.h"

namespace RecordsTool {

QByteArray csvHeader(const Options &options);
QByteArray csvRow(const ExportedInspection &inspection, const Options &options);

} // namespace RecordsTool
