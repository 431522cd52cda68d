// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "VantorBase_export.h"

namespace FiberInspection {

/// As the source writes them, for documents that programs read. Empty for a value that is not known. All threads may
/// call.
///
/// @code
/// const Standard standard(Standard::IEC61300_3_35_MM);
/// qInfo() << enumeratorOf(standard.id()); // "IEC61300_3_35_MM"
/// for (const Rule &rule : standard.core().rules)
///     qInfo() << wordOf(rule.defectType) << enumeratorOf(rule.ruleOperator);
/// @endcode
VANTORBASE_EXPORT QString enumeratorOf(Standard::Id id);
VANTORBASE_EXPORT QString enumeratorOf(Rule::Operator ruleOperator);

VANTORBASE_EXPORT QString wordOf(Defect::Type type); ///< "defect" or "scratch"

} // namespace FiberInspection
