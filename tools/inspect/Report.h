// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "inspect/Inspection.h"

#include <QByteArray>

namespace Tools {
class TextStyle;
}

namespace Inspect {

struct Options;

/// What is to be printed about one task.
struct Report
{
    Verdict verdict = Verdict::NotAnalysed;
    QByteArray output; ///< for stdout
    QByteArray messages; ///< for stderr, whole lines
};

Report makeReport(const Inspection &inspection, const Options &options, const Tools::TextStyle &style);

/// What stands before all reports.
QByteArray reportHeader(const Options &options);

} // namespace Inspect
