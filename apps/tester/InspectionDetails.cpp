// SPDX-License-Identifier: Apache-2.0
#include "InspectionDetails.h"

#include "Pages/FiberManager.h"

#include <QVariantMap>

using FiberInspection::Defect;
using FiberInspection::Inspection;
using FiberInspection::Rule;
using FiberInspection::RuleResult;
using FiberInspection::Standard;
using FiberInspection::Zone;
using FiberInspection::ZoneResult;

namespace {
/// The sizes that a rule is about; empty for any size. Signs instead of words: they need no translation.
QString sizes(const Rule &rule)
{
    switch (rule.ruleOperator) {
    case Rule::SmallerThan:
        return QStringLiteral("< %1").arg(rule.maxSize);
    case Rule::SmallerThanOrEqual:
        return QStringLiteral("\u2264 %1").arg(rule.maxSize);
    case Rule::GreaterThan:
        return rule.minSize < 0 ? QString() : QStringLiteral("> %1").arg(rule.minSize);
    case Rule::GreaterThanOrEqual:
        return rule.minSize <= 0 ? QString() : QStringLiteral("\u2265 %1").arg(rule.minSize);
    case Rule::ClosedRange:
        return QStringLiteral("%1 \u2026 %2").arg(rule.minSize).arg(rule.maxSize);
    }
    return {};
}

QVariantList ruleRows(const ZoneResult &zone)
{
    QVariantList rows;
    for (const RuleResult &rule : zone.rules) {
        rows.append(QVariantMap{
            {QStringLiteral("zone"), static_cast<int>(zone.standardZone.zone)},
            {QStringLiteral("isScratch"), rule.standardRule.defectType == Defect::Type::Scratch},
            {QStringLiteral("sizes"), sizes(rule.standardRule)},
            {QStringLiteral("allowed"), rule.standardRule.maxAllowedAmount},
            {QStringLiteral("found"), rule.defectCount},
            {QStringLiteral("violated"), rule.violated},
        });
    }
    return rows;
}

QVariantMap ring(const Zone &zone, double micronsPerPixel)
{
    return {
        {QStringLiteral("zone"), static_cast<int>(zone.zone)},
        {QStringLiteral("diameter"), zone.outerDiameter / micronsPerPixel},
    };
}
} // namespace

InspectionDetails::InspectionDetails(FiberManager *answers, QObject *parent)
    : QObject(parent)
{
    connect(answers, &FiberManager::inspected, this, &InspectionDetails::show);
    connect(answers, &FiberManager::analyseFailed, this, &InspectionDetails::clear);
}

void InspectionDetails::clear()
{
    mIsReady = false;
    mPicture.clear();
    mRules.clear();
    mZones.clear();
    Q_EMIT changed();
}

void InspectionDetails::show(const Inspection &inspection, const QString &resultFilePath)
{
    const Standard standard(inspection.standardId());
    mPassed = inspection.passed();
    mStandardName = standard.name();
    mPicture = QUrl::fromLocalFile(resultFilePath);
    mRules = ruleRows(inspection.result().core()) + ruleRows(inspection.result().cladding());
    mZones.clear();
    for (const Zone &zone : {standard.core(), standard.cladding(), standard.adhesive(), standard.contact()})
        mZones.append(ring(zone, static_cast<double>(inspection.micronsPerPixel())));
    mIsReady = true;
    Q_EMIT changed();
}
