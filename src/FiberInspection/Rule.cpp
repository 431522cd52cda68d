// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Rule.h"

namespace FiberInspection {

namespace {
QString criterion(const Rule &rule)
{
    switch (rule.ruleOperator) {
    case Rule::SmallerThan:
        return QStringLiteral("size < %1").arg(rule.maxSize);
    case Rule::SmallerThanOrEqual:
        return QStringLiteral("size <= %1").arg(rule.maxSize);
    case Rule::GreaterThan:
        return QStringLiteral("size > %1").arg(rule.minSize);
    case Rule::GreaterThanOrEqual:
        return QStringLiteral("size >= %1").arg(rule.minSize);
    case Rule::ClosedRange:
        return QStringLiteral("%1 <= size <= %2").arg(rule.minSize).arg(rule.maxSize);
    }
    return {};
}
} // namespace

QString Rule::toString() const
{
    const QString allowance =
        maxAllowedAmount == unlimited ? QStringLiteral(" [\u221E]") : QStringLiteral(" [%1]").arg(maxAllowedAmount);
    return criterion(*this) + allowance;
}

bool Rule::isAbout(Defect::Type kind, double microns) const
{
    if (kind != defectType)
        return false;
    switch (ruleOperator) {
    case SmallerThan:
        return microns < maxSize;
    case SmallerThanOrEqual:
        return microns <= maxSize;
    case GreaterThan:
        return microns > minSize;
    case GreaterThanOrEqual:
        return microns >= minSize;
    case ClosedRange:
        return minSize <= microns && microns <= maxSize;
    }
    return false;
}

} // namespace FiberInspection
