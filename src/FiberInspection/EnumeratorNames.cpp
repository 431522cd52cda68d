// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/EnumeratorNames.h"

namespace FiberInspection {

QString enumeratorOf(Standard::Id id)
{
    switch (id) {
    case Standard::IEC61300_3_35_SM_RL26:
        return QStringLiteral("IEC61300_3_35_SM_RL26");
    case Standard::IEC61300_3_35_SM_RL35:
        return QStringLiteral("IEC61300_3_35_SM_RL35");
    case Standard::IEC61300_3_35_SM_RL45:
        return QStringLiteral("IEC61300_3_35_SM_RL45");
    case Standard::IEC61300_3_35_SM_APC:
        return QStringLiteral("IEC61300_3_35_SM_APC");
    case Standard::IEC61300_3_35_MM:
        return QStringLiteral("IEC61300_3_35_MM");
    case Standard::Manual:
        return QStringLiteral("Manual");
    }
    return {};
}

QString enumeratorOf(Rule::Operator ruleOperator)
{
    switch (ruleOperator) {
    case Rule::SmallerThan:
        return QStringLiteral("SmallerThan");
    case Rule::SmallerThanOrEqual:
        return QStringLiteral("SmallerThanOrEqual");
    case Rule::GreaterThan:
        return QStringLiteral("GreaterThan");
    case Rule::GreaterThanOrEqual:
        return QStringLiteral("GreaterThanOrEqual");
    case Rule::ClosedRange:
        return QStringLiteral("ClosedRange");
    }
    return {};
}

QString wordOf(Defect::Type type)
{
    return type == Defect::Type::Scratch ? QStringLiteral("scratch") : QStringLiteral("defect");
}

} // namespace FiberInspection
