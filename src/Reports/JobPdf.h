// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/JobReport.h"
#include "Reports/Written.h"

namespace Reports {

enum class Language : int { English, German };

/// How a report is written, and who is told how far it is.
/// @see writeJobPdf
struct ReportOptions
{
    Language language = Language::English; ///< of the report, whatever that of the program
    QString software; ///< name and version of the program that writes; empty: those of this library
    GoesOn goesOn; ///< told of pages, or of files of an archive
};

/// Writes the report as a PDF: cover, panel, points, failures with their pictures, statistics, and what a verdict can
/// and cannot say; with the record as JSON attached.
///
/// @code
/// RecordStore store;
/// store.open(QStringLiteral("/srv/records"), RecordStore::Mode::ReadOnly);
/// ReportOptions options;
/// options.language = Language::German;
/// const JobReport report = JobReport::gather(store, 1).value;
/// const Written written = writeJobPdf(report, QStringLiteral("/media/stick/panel.pdf"), options);
/// if (!written.problem.ok())
///     qWarning() << written.problem.text;
/// @endcode
///
/// The file is seen whole or not at all, also when a disk is full or a stick is pulled out. There must be a
/// QGuiApplication, for the fonts; its platform may be "offscreen". Texts of the job are shown as they are, never as
/// markup; what is too long for its place ends in an ellipsis, and is whole in the record that is attached.
VANTORBASEREPORTS_EXPORT Written writeJobPdf(
    const JobReport &report, const QString &path, const ReportOptions &options = {});

} // namespace Reports
