// SPDX-License-Identifier: Apache-2.0
#include "Records/Record.h"

namespace Records {

using namespace FiberInspection;

namespace {
bool areEqual(const Rule &a, const Rule &b)
{
    return a.defectType == b.defectType && a.ruleOperator == b.ruleOperator && a.minSize == b.minSize
        && a.maxSize == b.maxSize && a.maxAllowedAmount == b.maxAllowedAmount;
}

/// @param id the zones of a standard without rules do not tell theirs
StoredZone storedZone(Zone::Id id, const ZoneResult &result)
{
    const Zone &zone = result.standardZone;
    StoredZone stored{id, zone.innerDiameter, zone.outerDiameter, result.violations, {}};
    stored.rules.reserve(result.rules.size());
    for (const RuleResult &rule : result.rules)
        stored.rules.append({rule.standardRule, rule.defectCount, rule.violated});
    return stored;
}
} // namespace

Verdict verdictOf(const Inspection &inspection)
{
    if (!inspection.hasVerdict())
        return Verdict::None;
    return inspection.passed() ? Verdict::Passed : Verdict::Failed;
}

Origin Origin::of(Id point, const Device &device, const InspectionOptions &options)
{
    Origin origin;
    origin.point = point;
    origin.device = device;
    origin.scale = options.scale;
    origin.maxImagePixels = options.maxImagePixels;
    origin.seed = options.seed;
    return origin;
}

InspectionOptions Origin::options() const
{
    InspectionOptions options;
    options.scale = scale;
    options.maxImagePixels = maxImagePixels;
    options.seed = seed;
    return options;
}

QString Origin::ownSoftware()
{
    return QStringLiteral("VantorBase " VANTORBASE_VERSION);
}

std::optional<double> JobStatistics::passRate() const
{
    const int all = passed + failed;
    return all > 0 ? std::optional<double>(static_cast<double>(passed) / all) : std::nullopt;
}

bool StoredRule::operator==(const StoredRule &other) const
{
    return areEqual(rule, other.rule) && found == other.found && violated == other.violated;
}

QVector<StoredZone> StoredZone::of(const TestResult &result)
{
    return {storedZone(Zone::Core, result.core()), storedZone(Zone::Cladding, result.cladding())};
}

bool StoredZone::operator==(const StoredZone &other) const
{
    return zone == other.zone && innerDiameter == other.innerDiameter && outerDiameter == other.outerDiameter
        && violations == other.violations && rules == other.rules;
}

QVector<StoredDefect> StoredDefect::of(const Inspection &inspection)
{
    const QVector<Defect> shapes = inspection.result().coreDefects() + inspection.result().claddingDefects();
    QVector<StoredDefect> stored;
    stored.reserve(shapes.size());
    for (int i = 0; i < shapes.size(); ++i) {
        const Defect &shape = shapes[i];
        stored.append({inspection.defects()[i], shape.enclosingCircle, shape.boundingRectPoints, shape.pixels});
    }
    return stored;
}

bool StoredDefect::operator==(const StoredDefect &other) const
{
    return graded == other.graded && enclosingCircle == other.enclosingCircle
        && boundingRectPoints == other.boundingRectPoints && pixels == other.pixels;
}

} // namespace Records
