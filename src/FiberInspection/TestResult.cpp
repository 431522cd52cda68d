// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/TestResult.h"

#include "FiberInspection/Log_p.h"

#include <utility>

namespace FiberInspection {

RuleResult::RuleResult(const Rule &rule)
    : standardRule(rule)
{
}

void RuleResult::processDefect(Defect &defect)
{
    if (!standardRule.isAbout(defect.type, static_cast<double>(defect.size)))
        return;

    ++defectCount;
    const bool exceeds =
        standardRule.maxAllowedAmount != Rule::unlimited && defectCount > standardRule.maxAllowedAmount;
    if (exceeds) {
        defect.causesFailure = true;
        violated = true;
    }
    qCDebug(messageLog).noquote() << standardRule.toString()
                                  << (exceeds ? "violated by:" : "matched but not violated by:") << defect.size
                                  << defect.enclosingCircle.center;
}

bool RuleResult::processDefects(QVector<Defect> &defects)
{
    violated = false;
    for (Defect &defect : defects)
        processDefect(defect);
    return violated;
}

ZoneResult::ZoneResult(const Zone &zone)
    : standardZone(zone)
{
    rules.reserve(zone.rules.size());
    for (const Rule &rule : zone.rules)
        rules.append(RuleResult(rule));
}

bool ZoneResult::processDefects(QVector<Defect> &defects)
{
    bool passed = true;
    for (RuleResult &rule : rules) {
        if (rule.processDefects(defects)) {
            passed = false;
            violations += rule.defectCount;
        }
    }
    return passed;
}

TestResult::TestResult(const Standard &acceptanceStandard)
    : mCore(acceptanceStandard.core())
    , mCladding(acceptanceStandard.cladding())
    , standard(acceptanceStandard)
{
}

void TestResult::processDefects(QVector<Defect> coreDefects, QVector<Defect> claddingDefects)
{
    mCoreDefects = std::move(coreDefects);
    mCladdingDefects = std::move(claddingDefects);

    qCDebug(messageLog) << "Core: processDefects";
    const bool corePassed = mCore.processDefects(mCoreDefects);
    qCDebug(messageLog) << "Cladding: processDefects";
    const bool claddingPassed = mCladding.processDefects(mCladdingDefects);
    qCDebug(messageLog) << "corePassed:" << corePassed << "violations:" << mCore.violations;
    qCDebug(messageLog) << "claddingPassed:" << claddingPassed << "violations:" << mCladding.violations;

    mPassed = corePassed && claddingPassed;
}

QVector<TestSummaryEntity *> TestResult::summary() const
{
    return {};
}

} // namespace FiberInspection
