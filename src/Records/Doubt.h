// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Record.h"

namespace Records {

/// Why the verdict of a record is not to be relied on.
enum class Doubt : int {
    None,
    UnknownVerdict, ///< or an unknown standard: of a later version
    NoPicture, ///< no picture is named that the verdict rests on
    NotMeasured, ///< a verdict without a scale, a fibre or a crop
    OtherZones, ///< the zones or rules are not those of the standard
    OtherCounts, ///< there are other defects than were counted, or a rule has found others
    OtherViolations, ///< a rule is violated by what it allows, or the other way round, or a zone adds up otherwise
    OtherFailures, ///< a defect fails in a zone without violations or in none, or nothing fails in one with violations
    OtherVerdict, ///< than the zones give; or *passed* without rules
    RulesOfOthers, ///< zones or rules are not those of the standard that is named, but those of software not known here
    OtherStandard, ///< than that of its job
    Unreadable, ///< the record is damaged
    NotLookedAt, ///< with others, there is more of it than is looked at in one call
};

/// Whether a record says with all its parts what its verdict says: a stored one may have been changed by hand, or taken
/// over from a unit that was wrong. The first doubt of several. Whether the pictures that it names are there, and
/// whether its job is by the same standard, the record alone does not tell; RecordStore::doubt() tells the latter.
/// Zones and rules are those of the standard, or the verdict is not one by that standard: a record of this library, or
/// of an earlier version, contradicts itself there; what others call by the name is taken over, but stays in doubt.
///
/// Nothing but the argument counts; the outlines of the defects do not. All threads may call at once.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const auto record = store.inspection(1);
/// if (record.ok() && record.value.verdict == Verdict::Passed && doubtOf(record.value) == Doubt::None)
///     qInfo() << record.value.pointName << "has passed";
/// @endcode
VANTORBASERECORDS_EXPORT Doubt doubtOf(const StoredInspection &inspection);

/// The same of an inspection whose job is by this standard.
VANTORBASERECORDS_EXPORT Doubt doubtOf(const StoredInspection &inspection, FiberInspection::Standard::Id standardOfJob);

/// Whether the record contradicts itself, so that nothing takes it over. What others have by rules of their own, and
/// what lies outside of the record, is in doubt all the same.
VANTORBASERECORDS_EXPORT bool isContradiction(Doubt doubt);

/// In one line for people, English in every locale; empty for none.
VANTORBASERECORDS_EXPORT QString wordsOf(Doubt doubt);

} // namespace Records
