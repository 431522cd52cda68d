// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"

/// The tables of a store, and how those of an earlier version become those of this one.
namespace Records::Schema {

/// Brings the tables up to date, each step whole or not at all. LaterVersion, Foreign and Damaged: nothing was changed.
/// @param isNew whether there were none
Problem prepare(Database &database, bool *isNew);

/// What prepare() tells without changing anything. Of a later version too, nothing is let through that makes up what it
/// holds.
Problem check(Database &database);

/// Neither an earlier one nor a later one.
Answer<bool> isOfThisVersion(const Database &database);

/// Whether nothing in the database acts by itself: a trigger could store another verdict than it was told.
Problem checkNothingActs(const Database &database);

/// Whether no index computes what it holds, as one of an expression does: to look at the whole would take what it
/// likes.
Problem checkNothingComputes(const Database &database);

/// Whether a database that check() has let through holds nothing but what ours does: its rows hold to what our tables
/// demand, and no index or constraint of its own keeps us busy.
Problem checkSame(const Database &other);

} // namespace Records::Schema
