// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"

/// The words by which inspections are found. All of it comes from the other tables, so it can be made anew at any time.
namespace Records::SearchIndex {

/// Makes it, within a transaction of the caller.
Problem create(Database &database);

/// What is wrong with it; empty when nothing is.
Answer<QString> fault(Database &database);

/// Makes it anew where it cannot be used at all.
Problem mendIfUnusable(Database &database);

/// Makes it anew if anything is wrong with it.
Problem mendIfWrong(Database &database);

} // namespace Records::SearchIndex
