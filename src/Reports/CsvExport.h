// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Reports/ExportedRecords.h"
#include "VantorBaseReports_export.h"

#include <functional>

namespace Reports {

/// How a table is written, so that the spreadsheet of a country opens it as it is. UTF-8; a text that would be taken
/// for a formula gets a ' in front, and so does one that begins with '.
///
/// @code
/// CsvFormat format;
/// format.separator = QLatin1Char(';');
/// format.hasDecimalComma = true;
/// ExportedInspection inspection; // as a store has it
/// qInfo().noquote() << csvHeader(format) + csvRow(inspection, format);
/// @endcode
struct CsvFormat
{
    QChar separator = QLatin1Char(',');
    bool hasDecimalComma = false;
    bool hasByteOrderMark = true; ///< spreadsheets need it, programs do not

    /// If given, what stands in place of a value; a terminal, for instance, must not be controlled by it.
    std::function<QString(const QString &value)> shown;
};

/// Names of the columns, with units.
VANTORBASEREPORTS_EXPORT QByteArray csvHeader(const CsvFormat &format);

VANTORBASEREPORTS_EXPORT QByteArray csvRow(const ExportedInspection &inspection, const CsvFormat &format);

} // namespace Reports
