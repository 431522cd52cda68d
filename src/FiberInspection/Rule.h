// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Defect.h"

namespace FiberInspection {

/// One acceptance criterion: how many defects of one kind and size a zone may hold.
///
/// @code
/// Rule rule;
/// rule.defectType = Defect::Type::Scratch;
/// rule.ruleOperator = Rule::GreaterThan;
/// rule.minSize = 25;
/// rule.maxAllowedAmount = 0;
/// if (rule.isAbout(Defect::Type::Scratch, 30))
///     qInfo() << "counted for" << rule.toString(); // "size > 25 [0]"
/// @endcode
struct VANTORBASE_EXPORT Rule
{
    enum Operator : int {
        SmallerThan = 0,
        SmallerThanOrEqual = 1,
        GreaterThan = 2,
        GreaterThanOrEqual = 3,
        ClosedRange = 4,
    };

    static constexpr int unused = -1; ///< a bound that the operator does not look at
    static constexpr int unlimited = -1; ///< any number of defects is allowed

    Defect::Type defectType = Defect::Type::Defect;
    Operator ruleOperator = SmallerThan;
    int minSize = unused; ///< micrometres
    int maxSize = unused; ///< micrometres
    int maxAllowedAmount = unlimited;

    /// The criterion as the log shows it: "2 <= size <= 3 [1]", "size > 25 [0]".
    QString toString() const;

    /// Whether it counts a defect of that kind and size. One of NaN is counted by none.
    bool isAbout(Defect::Type kind, double microns) const;
};

} // namespace FiberInspection
