// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "records/Export.h"

namespace RecordsTool {

constexpr int jsonVersion = 1; ///< of what docs/records.schema.json describes

// The pieces of one document, in their order; an object a line.
QByteArray jsonBegin(const QVector<ExportedJob> &jobs);
QByteArray jsonInspection(const ExportedInspection &inspection, bool isFirst);
QByteArray jsonEnd();

} // namespace RecordsTool
