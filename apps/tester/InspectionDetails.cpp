// SPDX-License-Identifier: Apache-2.0
#include "InspectionDetails.h"

#include "InspectionWords.h"
#include "Pages/FiberManager.h"

#include <QVariantMap>

using FiberInspection::Defect;
using FiberInspection::Inspection;
using FiberInspection::RuleResult;
using FiberInspection::Standard;
using FiberInspection::Zone;
using FiberInspection::ZoneResult;

namespace {
QVariantList ruleRows(const ZoneResult &zone)
{
    QVariantList rows;
    for (const RuleResult &rule : zone.rules) {
        rows.append(QVariantMap{
            {QStringLiteral("zone"), static_cast<int>(zone.standardZone.zone)},
            {QStringLiteral("isScratch"), rule.standardRule.defectType == Defect::Type::Scratch},
            {QStringLiteral("sizes"), InspectionWords::sizes(rule.standardRule)},
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
    mPicture.setImage({});
    mRules.clear();
    mZones.clear();
    Q_EMIT changed();
}

void InspectionDetails::show(const Inspection &inspection)
{
    const Standard standard(inspection.standardId());
    mPassed = inspection.passed();
    mStandardName = standard.name();
    mPicture.setImage(inspection.annotatedImage());
    mRules = ruleRows(inspection.result().core()) + ruleRows(inspection.result().cladding());
    mZones.clear();
    for (const Zone &zone : {standard.core(), standard.cladding(), standard.adhesive(), standard.contact()})
        mZones.append(ring(zone, static_cast<double>(inspection.micronsPerPixel())));
    mIsReady = true;
    Q_EMIT changed();
}
