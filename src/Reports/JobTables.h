// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/CsvExport.h"
#include "Reports/JobReport.h"
#include "Reports/Written.h"

namespace Reports {

/// How a table or a record is written, and who is told how far it is.
/// @see writeJobTable
struct TableOptions
{
    CsvFormat csv; ///< of a table only
    QString software; ///< of a record only: name and version of the program that writes; empty: those of this library
    GoesOn goesOn; ///< told of inspections
};

// What an archive holds as inspections.csv and records.json, as files of their own.

/// Writes a line for each inspection of the job, under a header. Records that cannot be read are not in it.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const JobReport report = JobReport::gather(store, 1).value;
/// TableOptions options;
/// options.csv.separator = QLatin1Char(';');
/// const Written written = writeJobTable(report, QStringLiteral("/media/stick/panel.csv"), options);
/// if (!written.problem.ok())
///     qWarning() << written.problem.text;
/// @endcode
///
/// The file is seen whole or not at all.
VANTORBASEREPORTS_EXPORT Written writeJobTable(
    const JobReport &report, const QString &path, const TableOptions &options = {});

/// Writes the document that docs/records.schema.json describes. As for writeJobTable().
VANTORBASEREPORTS_EXPORT Written writeJobRecord(
    const JobReport &report, const QString &path, const TableOptions &options = {});

} // namespace Reports
