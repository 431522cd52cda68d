// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QString>

namespace Tools {
class TextStyle;
}

namespace Inspect {

struct Inspection;
struct Options;

/// What a person reads about one task.
QString textReport(const Inspection &inspection, const Options &options, const Tools::TextStyle &style);

/// The line behind all reports.
QString textSummary(int passed, int failed, int notAnalysed, int leftOut, const Tools::TextStyle &style);

/// All standards with their zones and criteria.
QString standardsText(const Tools::TextStyle &style);

} // namespace Inspect
