// SPDX-License-Identifier: Apache-2.0
#include "Records/Doubt.h"

#include <QHash>
#include <QPair>
#include <QVersionNumber>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <vector>

namespace Records {

using FiberInspection::Rule;
using FiberInspection::Standard;
using FiberInspection::Zone;

namespace {
struct Words
{
    Doubt doubt;
    const char *words;
};
constexpr Words allWords[] = {
    {Doubt::None, ""},
    {Doubt::UnknownVerdict, "the verdict is not known"},
    {Doubt::NoPicture, "the verdict is without a picture"},
    {Doubt::NotMeasured, "the verdict is without a measured fibre"},
    {Doubt::OtherZones, "the rules are not those of the standard"},
    {Doubt::OtherCounts, "the defects are not those that were counted"},
    {Doubt::OtherViolations, "the violations are not those of the rules"},
    {Doubt::OtherFailures, "the defects that fail are not those of the rules"},
    {Doubt::OtherVerdict, "the verdict is not that of its rules"},
    {Doubt::RulesOfOthers, "the rules are those of other software, and not those of the standard"},
    {Doubt::OtherStandard, "the standard is not that of the job"},
    {Doubt::Unreadable, "the record cannot be read"},
    {Doubt::NotLookedAt, "there is more than is looked at at once"},
};

/// The sizes of the defects of one inspection, in order: to count them for each rule takes no look at each of them.
class DefectSizes
{
public:
    explicit DefectSizes(const QVector<StoredDefect> &defects)
    {
        for (const StoredDefect &defect : defects) {
            if (!std::isnan(defect.graded.sizeMicrons)) // matches nothing
                mSizes[{defect.graded.zone, static_cast<int>(defect.graded.kind)}].push_back(defect.graded.sizeMicrons);
        }
        for (std::vector<double> &sizes : mSizes)
            std::sort(sizes.begin(), sizes.end());
    }

    qint64 countOf(Zone::Id zone, const Rule &rule) const
    {
        const auto of = mSizes.constFind({zone, static_cast<int>(rule.defectType)});
        if (of == mSizes.constEnd())
            return 0;
        const auto below = [&](double size) { return std::lower_bound(of->begin(), of->end(), size) - of->begin(); };
        const auto upTo = [&](double size) { return std::upper_bound(of->begin(), of->end(), size) - of->begin(); };
        const auto all = static_cast<qint64>(of->size());
        switch (rule.ruleOperator) {
        case Rule::SmallerThan:
            return below(rule.maxSize);
        case Rule::SmallerThanOrEqual:
            return upTo(rule.maxSize);
        case Rule::GreaterThan:
            return all - upTo(rule.minSize);
        case Rule::GreaterThanOrEqual:
            return all - below(rule.minSize);
        case Rule::ClosedRange:
            break;
        }
        return qMax<qint64>(0, upTo(rule.maxSize) - below(rule.minSize));
    }

private:
    QHash<QPair<int, int>, std::vector<double>> mSizes; ///< micrometres; by zone and kind
};

bool isKnown(const StoredInspection &inspection)
{
    const int standard = inspection.standard;
    return (inspection.verdict == Verdict::Passed || inspection.verdict == Verdict::Failed) && standard >= 0
        && standard <= Standard::Manual;
}

bool isMeasured(const StoredInspection &inspection)
{
    return inspection.micronsPerPixel > 0 && std::isfinite(inspection.micronsPerPixel)
        && inspection.claddingCircle.radius > 0 && inspection.crop.isValid();
}

/// Whether it was inspected by rules that are known here. Others may know the standard otherwise.
bool isOfKnownSoftware(const QString &software)
{
    const QString name = QStringLiteral("VantorBase ");
    int end = 0;
    const auto version = QVersionNumber::fromString(software.mid(name.size()), &end);
    return software.startsWith(name) && !version.isNull() && name.size() + end == software.size()
        && version <= QVersionNumber::fromString(Origin::ownSoftware().mid(name.size()));
}

bool isAsInStandard(const StoredZone &stored, const Zone &zone)
{
    const auto isSame = [](const StoredRule &rule, const Rule &other) {
        return StoredRule{other, rule.found, rule.violated} == rule;
    };
    return stored.zone == zone.zone && stored.innerDiameter == zone.innerDiameter
        && stored.outerDiameter == zone.outerDiameter
        && std::equal(stored.rules.cbegin(), stored.rules.cend(), zone.rules.cbegin(), zone.rules.cend(), isSame);
}

/// Both have their diameters in micrometres, whatever the scale of the picture.
bool areZonesOfStandard(const StoredInspection &inspection)
{
    if (inspection.standard == Standard::Manual)
        return true;
    const Standard standard(inspection.standard);
    return inspection.zones.size() == 2 && isAsInStandard(inspection.zones[0], standard.core())
        && isAsInStandard(inspection.zones[1], standard.cladding());
}

/// What lies beyond the cladding was counted, but is not kept.
bool areCountsOfDefects(const StoredInspection &inspection)
{
    const auto &counts = inspection.counts;
    return inspection.defects.size() <= counts.merged && counts.merged <= counts.raw && counts.raw <= counts.contours;
}

/// By one of another kind no rule would be violated.
bool areKindsKnown(const StoredInspection &inspection)
{
    return std::all_of(inspection.defects.cbegin(), inspection.defects.cend(), [](const StoredDefect &defect) {
        const auto kind = defect.graded.kind;
        return kind == FiberInspection::Defect::Type::Defect || kind == FiberInspection::Defect::Type::Scratch;
    });
}

bool hasFoundDefects(const StoredInspection &inspection)
{
    const DefectSizes sizes(inspection.defects);
    return std::all_of(inspection.zones.cbegin(), inspection.zones.cend(), [&](const StoredZone &zone) {
        return std::all_of(zone.rules.cbegin(), zone.rules.cend(),
            [&](const StoredRule &stored) { return stored.found == sizes.countOf(zone.zone, stored.rule); });
    });
}

bool isViolatedByItsRules(const StoredZone &zone)
{
    qint64 violations = 0;
    for (const StoredRule &stored : zone.rules) {
        const int allowed = stored.rule.maxAllowedAmount;
        if (stored.violated != (allowed != Rule::unlimited && stored.found > allowed))
            return false;
        violations += stored.violated ? stored.found : 0;
    }
    return violations == zone.violations;
}

/// Whether defects fail in those zones that have violations, and in no others.
bool failsByItsDefects(const StoredInspection &inspection)
{
    QHash<int, bool> hasFailure; // by zone
    for (const StoredZone &zone : inspection.zones)
        hasFailure.insert(zone.zone, false);
    for (const StoredDefect &defect : inspection.defects) {
        const auto zone = hasFailure.find(defect.graded.zone);
        if (zone == hasFailure.end())
            return false;
        *zone = *zone || defect.graded.causesFailure;
    }
    return std::all_of(inspection.zones.cbegin(), inspection.zones.cend(),
        [&](const StoredZone &zone) { return hasFailure.value(zone.zone) == (zone.violations > 0); });
}

bool hasRules(const StoredInspection &inspection, Zone::Id id)
{
    return std::any_of(inspection.zones.cbegin(), inspection.zones.cend(),
        [id](const StoredZone &zone) { return zone.zone == id && !zone.rules.isEmpty(); });
}

bool isVerdictOfItsZones(const StoredInspection &inspection)
{
    const bool isViolated = std::any_of(
        inspection.zones.cbegin(), inspection.zones.cend(), [](const StoredZone &zone) { return zone.violations > 0; });
    if (inspection.verdict == Verdict::Failed)
        return isViolated;
    return !isViolated && hasRules(inspection, Zone::Core) && hasRules(inspection, Zone::Cladding);
}

/// What no inspection says, with a verdict or without.
Doubt doubtOfParts(const StoredInspection &inspection)
{
    if (!areKindsKnown(inspection) || !hasFoundDefects(inspection))
        return Doubt::OtherCounts;
    if (!std::all_of(inspection.zones.cbegin(), inspection.zones.cend(), isViolatedByItsRules))
        return Doubt::OtherViolations;
    return failsByItsDefects(inspection) ? Doubt::None : Doubt::OtherFailures;
}
} // namespace

Doubt doubtOf(const StoredInspection &inspection)
{
    if (inspection.verdict == Verdict::None)
        return doubtOfParts(inspection);
    if (!isKnown(inspection))
        return Doubt::UnknownVerdict;
    if (inspection.picture.isEmpty())
        return Doubt::NoPicture;
    if (!isMeasured(inspection))
        return Doubt::NotMeasured;
    const bool areOfStandard = areZonesOfStandard(inspection);
    if (!areOfStandard && isOfKnownSoftware(inspection.origin.software))
        return Doubt::OtherZones;
    if (!areCountsOfDefects(inspection))
        return Doubt::OtherCounts;
    const Doubt ofParts = doubtOfParts(inspection);
    if (ofParts != Doubt::None)
        return ofParts;
    if (!isVerdictOfItsZones(inspection))
        return Doubt::OtherVerdict;
    return areOfStandard ? Doubt::None : Doubt::RulesOfOthers;
}

bool isContradiction(Doubt doubt)
{
    return doubt != Doubt::None && doubt != Doubt::RulesOfOthers && doubt != Doubt::OtherStandard
        && doubt != Doubt::NotLookedAt;
}

QString wordsOf(Doubt doubt)
{
    const auto *const found = std::find_if(
        std::begin(allWords), std::end(allWords), [doubt](const Words &entry) { return entry.doubt == doubt; });
    return found == std::end(allWords) ? QStringLiteral("unknown") : QString::fromLatin1(found->words);
}

Doubt doubtOf(const StoredInspection &inspection, Standard::Id standardOfJob)
{
    const Doubt doubt = doubtOf(inspection);
    return doubt == Doubt::None && inspection.standard != standardOfJob ? Doubt::OtherStandard : doubt;
}

} // namespace Records
