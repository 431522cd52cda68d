// SPDX-License-Identifier: Apache-2.0
#include "FiberInspection/Standard.h"

#include <QObject>

#include <algorithm>
#include <iterator>

namespace FiberInspection {

namespace {
constexpr auto defect = Defect::Type::Defect;
constexpr auto scratch = Defect::Type::Scratch;
constexpr int none = Rule::unused;
constexpr int any = Rule::unlimited;

// kind, operator, minimum and maximum size in micrometres, allowed amount
constexpr Rule coreRulesSMRL26[] = {
    {defect, Rule::SmallerThan, none, 2, any},
    {defect, Rule::ClosedRange, 2, 3, 1},
    {defect, Rule::GreaterThan, 3, none, 0},
    {scratch, Rule::SmallerThan, none, 3, any},
    {scratch, Rule::ClosedRange, 3, 4, 2},
    {scratch, Rule::GreaterThan, 4, none, 0},
};
constexpr Rule coreRulesSMRL35[] = {
    {defect, Rule::SmallerThan, none, 2, any},
    {defect, Rule::ClosedRange, 2, 3, 1},
    {defect, Rule::GreaterThan, 3, none, 0},
    {scratch, Rule::SmallerThan, none, 3, any},
    {scratch, Rule::ClosedRange, 3, 4, 1},
    {scratch, Rule::GreaterThan, 4, none, 0},
};
constexpr Rule coreRulesSMRL45[] = {
    {defect, Rule::SmallerThan, none, 2, any},
    {defect, Rule::ClosedRange, 2, 3, 1},
    {defect, Rule::GreaterThan, 3, none, 0},
    {scratch, Rule::SmallerThan, none, 3, any},
    {scratch, Rule::GreaterThanOrEqual, 3, none, 0},
};
constexpr Rule coreRulesSMAPC[] = {
    {defect, Rule::SmallerThan, none, 2, any},
    {defect, Rule::ClosedRange, 2, 3, 1},
    {defect, Rule::GreaterThan, 3, none, 0},
    {scratch, Rule::SmallerThan, none, 3, any},
    {scratch, Rule::ClosedRange, 3, 4, 4},
    {scratch, Rule::GreaterThan, 4, none, 0},
};
constexpr Rule coreRulesMM[] = {
    {defect, Rule::SmallerThan, none, 2, any},
    {defect, Rule::ClosedRange, 2, 3, 1},
    {defect, Rule::GreaterThan, 3, none, 0},
    {scratch, Rule::SmallerThan, none, 3, any},
    {scratch, Rule::ClosedRange, 3, 4, 4},
    {scratch, Rule::GreaterThan, 4, none, 0},
};
constexpr Rule claddingRules[] = {
    {defect, Rule::SmallerThanOrEqual, none, 25, any},
    {defect, Rule::GreaterThan, 25, none, 0},
    {scratch, Rule::GreaterThan, none, none, any},
};

// micrometres
constexpr int coreDiameterSM = 25;
constexpr int coreDiameterMM = 65;
constexpr int claddingDiameter = 110;
constexpr int adhesiveDiameter = 135;
constexpr int contactDiameter = 250;

template <std::size_t count>
QVector<Rule> toVector(const Rule (&rules)[count])
{
    QVector<Rule> vector;
    vector.reserve(static_cast<int>(count));
    std::copy(std::begin(rules), std::end(rules), std::back_inserter(vector));
    return vector;
}
} // namespace

QString Zone::name(Id id)
{
    switch (id) {
    case Core:
        return QStringLiteral("Core");
    case Cladding:
        return QStringLiteral("Cladding");
    case Adhesive:
        return QStringLiteral("Adhesive");
    case Contact:
        return QStringLiteral("Contact");
    }
    return {};
}

QString Zone::description() const
{
    // The inner diameter stands on both sides of the dash; the outer one finds no marker and is dropped.
    return QStringLiteral("%1 (%2 - %2)").arg(name(zone)).arg(innerDiameter).arg(outerDiameter);
}

Standard::Standard(Id id)
{
    init(id);
}

QString Standard::name(Id id)
{
    switch (id) {
    case IEC61300_3_35_SM_RL26:
        return QStringLiteral("IEC 61300-3-35 ED.2 SM RL \u2265 26 dB");
    case IEC61300_3_35_SM_RL35:
        return QStringLiteral("IEC 61300-3-35 ED.2 SM RL \u2265 35 dB");
    case IEC61300_3_35_SM_RL45:
        return QStringLiteral("IEC 61300-3-35 ED.2 SM RL \u2265 45 dB");
    case IEC61300_3_35_SM_APC:
        return QStringLiteral("IEC 61300-3-35 ED.2 SM APC");
    case IEC61300_3_35_MM:
        return QStringLiteral("IEC 61300-3-35 ED.2 MM");
    case Manual:
        return QObject::tr("Manual");
    }
    return {};
}

QVector<Standard::Id> Standard::allStandardIds()
{
    return {IEC61300_3_35_SM_RL26, IEC61300_3_35_SM_RL45, IEC61300_3_35_SM_APC, IEC61300_3_35_MM, Manual};
}

void Standard::init(Id id)
{
    switch (id) {
    case IEC61300_3_35_SM_RL26:
        initSMRL26();
        break;
    case IEC61300_3_35_SM_RL35:
        initSMRL35();
        break;
    case IEC61300_3_35_SM_RL45:
        initSMRL45();
        break;
    case IEC61300_3_35_SM_APC:
        initSMAPC();
        break;
    case IEC61300_3_35_MM:
        initMM();
        break;
    case Manual:
        mId = Manual;
        break;
    }
}

void Standard::initSMRL26()
{
    initZones(IEC61300_3_35_SM_RL26, coreDiameterSM, toVector(coreRulesSMRL26));
}

void Standard::initSMRL35()
{
    initZones(IEC61300_3_35_SM_RL35, coreDiameterSM, toVector(coreRulesSMRL35));
}

void Standard::initSMRL45()
{
    initZones(IEC61300_3_35_SM_RL45, coreDiameterSM, toVector(coreRulesSMRL45));
}

void Standard::initSMAPC()
{
    initZones(IEC61300_3_35_SM_APC, coreDiameterSM, toVector(coreRulesSMAPC));
}

void Standard::initMM()
{
    initZones(IEC61300_3_35_MM, coreDiameterMM, toVector(coreRulesMM));
}

void Standard::initZones(Id id, int coreDiameter, const QVector<Rule> &coreRules)
{
    mId = id;
    mCore = {Zone::Core, 0, coreDiameter, coreRules};
    mCladding = {Zone::Cladding, coreDiameter, claddingDiameter, toVector(claddingRules)};
    mAdhesive = {Zone::Adhesive, claddingDiameter, adhesiveDiameter, {}};
    mContact = {Zone::Contact, adhesiveDiameter, contactDiameter, {}};
}

} // namespace FiberInspection
