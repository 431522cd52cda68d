// SPDX-License-Identifier: Apache-2.0
#include "InspectionWords.h"

#include <algorithm>

using FiberInspection::Defect;
using FiberInspection::GradedDefect;
using FiberInspection::Inspection;
using FiberInspection::Rule;
using FiberInspection::Zone;
using Records::StoredRule;
using Records::StoredZone;

namespace {
double largest(const Rule &rule, Zone::Id zone, const QVector<GradedDefect> &defects)
{
    double size = 0;
    for (const GradedDefect &defect : defects) {
        if (defect.zone == zone && rule.isAbout(defect.kind, defect.sizeMicrons))
            size = std::max(size, defect.sizeMicrons);
    }
    return size;
}

bool isLowerBound(const Rule &rule)
{
    return rule.ruleOperator == Rule::GreaterThan || rule.ruleOperator == Rule::GreaterThanOrEqual;
}
} // namespace

QLocale InspectionWords::locale()
{
    return {tr("en_GB", "code of the language, for numbers and dates")};
}

QString InspectionWords::size(double microns)
{
    return tr("%1 µm").arg(locale().toString(microns, 'f', 1));
}

QString InspectionWords::sizes(const Rule &rule)
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

QString InspectionWords::zone(Zone::Id zone)
{
    switch (zone) {
    case Zone::Core:
        return tr("Core");
    case Zone::Cladding:
        return tr("Cladding");
    case Zone::Adhesive:
        return tr("Adhesive");
    case Zone::Contact:
        return tr("Contact");
    }
    return {};
}

namespace {
class Failure
{
    Q_DECLARE_TR_FUNCTIONS(InspectionWords)

public:
    Failure(const StoredRule &rule, double largest)
        : mRule(rule)
        , mSize(sizeAbove(rule.rule, largest))
    {
    }

    QString found() const
    {
        const bool isScratch = mRule.rule.defectType == Defect::Type::Scratch;
        if (mRule.found == 1)
            return (isScratch ? tr("scratch of %1") : tr("defect of %1")).arg(mSize);
        return (isScratch ? tr("%1 scratches of up to %2") : tr("%1 defects of up to %2")).arg(mRule.found).arg(mSize);
    }

    QString allowed() const
    {
        const Rule &rule = mRule.rule;
        if (rule.maxAllowedAmount > 0)
            return tr("allowed are %1 of %2 µm").arg(rule.maxAllowedAmount).arg(InspectionWords::sizes(rule));
        if (!isLowerBound(rule) || rule.minSize < 0 || (rule.minSize == 0 && rule.ruleOperator != Rule::GreaterThan))
            return tr("none allowed");
        if (rule.ruleOperator == Rule::GreaterThanOrEqual)
            return tr("allowed below %1 µm, none larger").arg(rule.minSize);
        return tr("allowed up to %1 µm, none larger").arg(rule.minSize);
    }

private:
    /// A second decimal where one alone would show the very size that is allowed.
    static QString sizeAbove(const Rule &rule, double size)
    {
        const bool looksAllowed = isLowerBound(rule) && qRound(size * 10) <= rule.minSize * 10;
        return looksAllowed ? tr("%1 µm").arg(InspectionWords::locale().toString(size, 'f', 2))
                            : InspectionWords::size(size);
    }

    const StoredRule &mRule;
    const QString mSize;
};
} // namespace

QStringList InspectionWords::failures(const QVector<StoredZone> &zones, const QVector<GradedDefect> &defects)
{
    QStringList lines;
    for (const StoredZone &zone : zones) {
        for (const StoredRule &rule : zone.rules) {
            if (!rule.violated)
                continue;
            const Failure failure(rule, largest(rule.rule, zone.zone, defects));
            lines.append(tr("%1: %2, %3", "zone, what was found, what is allowed")
                             .arg(InspectionWords::zone(zone.zone), failure.found(), failure.allowed()));
        }
    }
    return lines;
}

QString InspectionWords::cause(Inspection::Reason reason)
{
    switch (reason) {
    case Inspection::Reason::None:
        return {};
    case Inspection::Reason::FileMissing:
    case Inspection::Reason::FileEmpty:
    case Inspection::Reason::NoImage:
        return tr("No picture came from the scope.");
    case Inspection::Reason::NotAFile:
    case Inspection::Reason::FileUnreadable:
    case Inspection::Reason::UnknownFormat:
    case Inspection::Reason::ImageDamaged:
    case Inspection::Reason::ImageTooLarge:
    case Inspection::Reason::NotConvertible:
    case Inspection::Reason::UnusableScale:
        return tr("The picture of the scope cannot be read.");
    case Inspection::Reason::NoFibre:
        return tr("There is no fibre in the picture.");
    case Inspection::Reason::SeveralFibres:
        return tr("There is more than one fibre in the picture.");
    case Inspection::Reason::FibreAtBorder:
        return tr("The fibre is too close to the border of the picture.");
    case Inspection::Reason::AnalysisBroken:
    case Inspection::Reason::NotInspected:
        break;
    }
    return tr("The analysis broke off; there may be too little memory.");
}
