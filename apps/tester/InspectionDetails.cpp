// SPDX-License-Identifier: Apache-2.0
#include "InspectionDetails.h"

#include "FiberInspection/Geometry.h"
#include "InspectionManager.h"

#include <QImageReader>
#include <QVariantMap>

using FiberInspection::Device;
using FiberInspection::RuleResult;
using FiberInspection::Standard;
using FiberInspection::TestResult;
using FiberInspection::Zone;
using FiberInspection::ZoneResult;

namespace {
/// The rule as it is shown, without the allowance at its end, which has a column of its own.
QString criterion(const RuleResult &rule)
{
    const QString text = rule.standardRule.toString();
    return text.left(text.lastIndexOf(QLatin1String(" [")));
}

QVariantList ruleRows(const ZoneResult &zone)
{
    QVariantList rows;
    for (const RuleResult &rule : zone.rules) {
        rows.append(QVariantMap{
            {QStringLiteral("zone"), static_cast<int>(zone.standardZone.zone)},
            {QStringLiteral("criterion"), criterion(rule)},
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

InspectionDetails::InspectionDetails(InspectionManager *manager, QObject *parent)
    : QObject(parent)
{
    connect(manager, &InspectionManager::resultReady, this, &InspectionDetails::keep);
    connect(manager, &InspectionManager::analyseFinished, this, &InspectionDetails::finish);
    connect(manager, &InspectionManager::analyseFailed, this, &InspectionDetails::clear);
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
