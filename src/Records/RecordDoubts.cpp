// SPDX-License-Identifier: Apache-2.0
#include "Records/RecordDoubts_p.h"

namespace Records {

using FiberInspection::Standard;

namespace {
int partsOf(const StoredInspection &record)
{
    int parts = record.defects.size();
    for (const StoredZone &zone : record.zones)
        parts += zone.rules.size();
    return parts;
}
} // namespace

RecordDoubts::RecordDoubts(const Database &database)
    : mReader(database, InspectionRows::Reader::Parts::ForDoubt)
    , mStandard(database, "SELECT standard FROM job WHERE id = ?")
{
}

Answer<Doubt> RecordDoubts::of(Id inspection)
{
    if (mLeft <= 0)
        return {Doubt::NotLookedAt, {}};
    const Answer<StoredInspection> record = mReader.read(inspection);
    mLeft -= partsOf(record.value);
    if (!record.ok())
        return {Doubt::Unreadable, record.problem.fault == Fault::Damaged ? Problem() : record.problem};
    if (record.value.job == noId)
        return {doubtOf(record.value), {}};
    const std::optional<Standard::Id> standard = standardOf(record.value.job);
    return {standard ? doubtOf(record.value, *standard) : Doubt::Unreadable, {}};
}

bool RecordDoubts::isDoubtful(Id inspection)
{
    const Answer<Doubt> doubt = of(inspection);
    return !doubt.ok() || doubt.value != Doubt::None;
}

std::optional<Standard::Id> RecordDoubts::standardOf(Id job)
{
    const auto known = mStandards.constFind(job);
    if (known != mStandards.constEnd())
        return *known;
    mStandard.run({job});
    if (!mStandard.next())
        return {};
    const auto standard = static_cast<Standard::Id>(mStandard.number(0));
    while (mStandard.next()) {} // nothing is left open
    mStandards.insert(job, standard);
    return standard;
}

} // namespace Records
