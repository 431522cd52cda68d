// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/CsvExport.h"
#include "Reports/JobPdf.h"

namespace Reports {

/// How an archive is written: the report in it, and the table.
/// @see writeJobArchive
struct ArchiveOptions
{
    ReportOptions report;
    CsvFormat csv;
};

/// Writes a ZIP with all that there is of a job: the report as PDF, its inspections as CSV and JSON, the photographs
/// and the annotated pictures by the numbers of their inspections, and SHA256SUMS, which `sha256sum -c` checks.
/// Pictures that are missing or damaged and records that cannot be read are named in MISSING.txt.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// const JobReport report = JobReport::gather(store, 1).value;
/// ArchiveOptions options;
/// options.csv.hasDecimalComma = true;
/// const Written written = writeJobArchive(report, QStringLiteral("/media/stick/panel.zip"), options);
/// if (!written.isWhole())
///     qWarning() << written.problem.text << written.lostPictures.size() << "pictures are not in it";
/// @endcode
///
/// The file is seen whole or not at all. As for writeJobPdf(), there must be a QGuiApplication.
VANTORBASEREPORTS_EXPORT Written writeJobArchive(
    const JobReport &report, const QString &path, const ArchiveOptions &options = {});

} // namespace Reports
