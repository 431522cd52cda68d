// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/ReportText_p.h"

namespace Reports {

/// What programs that manage documents read of a report, as an XMP packet.
QByteArray xmpMetadata(const JobReport &report, const ReportText &words, const QString &software);

} // namespace Reports
