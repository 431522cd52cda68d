// SPDX-License-Identifier: Apache-2.0
#include "InspectionDetails.h"

#include "FiberInspection/Geometry.h"
#include "FiberManager.h"
#include "InspectionManager.h"

#include <QImageReader>
#include <QVariantMap>

using FiberInspection::Defect;
using FiberInspection::Device;
using FiberInspection::Rule;
using FiberInspection::RuleResult;
using FiberInspection::Standard;
using FiberInspection::TestResult;
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

QVariantMap ring(const Zone &zone, double pixelsPerMicron)
{
    return {
        {QStringLiteral("zone"), static_cast<int>(zone.zone)},
        {QStringLiteral("diameter"), zone.outerDiameter * pixelsPerMicron},
    };
}
} // namespace

InspectionDetails::InspectionDetails(InspectionManager *manager, FiberManager *answers, QObject *parent)
    : QObject(parent)
{
    connect(manager, &InspectionManager::resultReady, this, &InspectionDetails::keep);
    connect(answers, &FiberManager::analyseFinished, this, &InspectionDetails::finish);
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

void InspectionDetails::keep(const TestResult &result, Standard::Id standardId)
{
    mStandardId = standardId;
    mStandardName = Standard::name(standardId);
    mRules = ruleRows(result.core()) + ruleRows(result.cladding());
}

void InspectionDetails::finish(bool passed, const QString &sourceFilePath, const QString &resultFilePath)
{
    mPassed = passed;
    mPicture = QUrl::fromLocalFile(resultFilePath);
    const double photographWidth = QImageReader(sourceFilePath).size().width(); // -1 when it could not be filed
    const double pixelsPerMicron = photographWidth / Device::ks20().fov.width();
    const Standard standard(mStandardId);
    mZones.clear();
    if (pixelsPerMicron > 0) {
        for (const Zone &zone : {standard.core(), standard.cladding(), standard.adhesive(), standard.contact()})
            mZones.append(ring(zone, pixelsPerMicron));
    }
    mIsReady = true;
    Q_EMIT changed();
}
