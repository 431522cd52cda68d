// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Standard.h"
#include "Property.h"

namespace FiberInspection {

/// One rule with the defects counted against it. Counts add up over calls: an object grades one inspection.
///
/// @code
/// QVector<Defect> specks(3);
/// specks[0].size = 4; // micrometres
/// RuleResult result(Rule{Defect::Type::Defect, Rule::GreaterThan, 3, Rule::unused, 0});
/// if (result.processDefects(specks))
///     qInfo() << result.defectCount << "violate" << result.standardRule.toString(); // 1
/// @endcode
struct VANTORBASE_EXPORT RuleResult
{
    Rule standardRule;
    int defectCount = 0; ///< defects that matched the rule
    bool violated = false; ///< whether the last evaluation went above the allowance

    RuleResult() = default;
    explicit RuleResult(const Rule &rule);

    /// Counts the defect if it matches, and marks it as a cause of failure if that exceeds the allowance.
    void processDefect(Defect &defect);

    /// Evaluates the defects in order. Returns whether the rule is violated by them.
    bool processDefects(QVector<Defect> &defects);
};

/// One zone with the results of its rules, in the zone's order.
///
/// @code
/// QVector<Defect> specks(3);
/// specks[0].size = 30; // micrometres
/// ZoneResult result(Standard(Standard::IEC61300_3_35_SM_RL45).cladding());
/// if (!result.processDefects(specks))
///     qInfo() << result.violations << "violations in" << result.standardZone.description();
/// @endcode
struct VANTORBASE_EXPORT ZoneResult
{
    Zone standardZone;
    QVector<RuleResult> rules;
    int violations = 0; ///< all matches of the violated rules, not only the excess

    ZoneResult() = default;
    explicit ZoneResult(const Zone &zone);

    /// Evaluates all rules on all defects. Returns whether the zone passed.
    bool processDefects(QVector<Defect> &defects);
};

/// The outcome of one inspection. It is an error until the analysis has reached its end.
///
/// @code
/// Defect speck;
/// speck.size = 4; // micrometres
/// TestResult result{Standard(Standard::IEC61300_3_35_SM_RL45)};
/// result.processDefects({speck}, {}); // of the core, of the cladding
/// qInfo() << result.passed() << result.core().violations << result.coreDefects().first().causesFailure;
/// @endcode
class VANTORBASE_EXPORT TestResult
{
public:
    TestResult() = default;

    /// Grades the core and the cladding zone; the adhesive and the contact zone are never graded.
    explicit TestResult(const Standard &acceptanceStandard);

    /// Stores the defects and grades them; to be called once per object.
    void processDefects(QVector<Defect> coreDefects, QVector<Defect> claddingDefects);

    bool passed() const { return mPassed; }
    void setPassed(bool passed) { mPassed = passed; }

    bool error() const { return mError; }
    void setError(bool error) { mError = error; }

    const ZoneResult &core() const { return mCore; }
    const ZoneResult &cladding() const { return mCladding; }

    /// The graded defects, those above an allowance marked with causesFailure.
    const QVector<Defect> &coreDefects() const { return mCoreDefects; }
    const QVector<Defect> &claddingDefects() const { return mCladdingDefects; }

    /// Reserved for the rows of a result table; empty for now.
    QVector<class TestSummaryEntity *> summary() const;

private:
    bool mPassed = false;
    bool mError = true;
    ZoneResult mCore;
    ZoneResult mCladding;
    Standard standard;
    QVector<Defect> mCoreDefects;
    QVector<Defect> mCladdingDefects;
};

/// One row of a result table: a criterion of a zone with the allowed and the detected amount.
///
/// @code
/// TestSummaryEntity row;
/// row.set_zoneName(Zone::name(Zone::Core));
/// row.set_criteria(QStringLiteral("size > 3"));
/// row.set_allowed(0);
/// row.set_detected(2);
/// @endcode
class VANTORBASE_EXPORT TestSummaryEntity : public QObject
{
    Q_OBJECT
    VANTOR_PROPERTY(QString, zoneName, {})
    VANTOR_PROPERTY(QString, criteria, {})
    VANTOR_PROPERTY(int, allowed, 0)
    VANTOR_PROPERTY(int, detected, 0)

public:
    using QObject::QObject;
};

} // namespace FiberInspection
