// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Database_p.h"
#include "Records/Record.h"

#include <QStringList>

#include <functional>

/// Whether rows say what can be shown, exported and merged: known enumerators, finite numbers, texts and times within
/// bounds, no more parts than are kept, and nothing that contradicts itself, of which doubtOf() is the judge. The same
/// for what is stored here and for what comes from elsewhere.
namespace Records::RowChecks {

// What was just written, within the transaction: Fault::Invalid ends it.
Problem job(const Database &database, Id id);
Problem pointsOf(const Database &database, Id job);
Problem inspection(const Database &database, Id id);
Problem valuesOfInspection(const Database &database, Id id); ///< whether it contradicts itself is not looked at

/// A row that nothing here would have written.
struct Bad
{
    QString row; ///< "Inspection 7"
    QString doubt; ///< why it contradicts itself; empty: a value is beyond what is kept

    QString text() const;
};

/// What is wrong with the ids of jobs, points and inspections, and whether some of these were taken away.
Answer<QStringList> faultsOfIds(const Database &database);

/// The first ones of these rows.
/// @param goesOn is asked behind many rows, and ends the work with Fault::Stopped
Answer<QVector<Bad>> allBad(const Database &database, int most, const std::function<bool(int done, int all)> &goesOn);

} // namespace Records::RowChecks
