// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Records/Record.h"

#include <optional>

namespace RecordsTool {

/// What the command line asks for, checked.
struct Options
{
    enum class Action : int { List, ListJobs, Show, Search, Export, Import, Verify, Backup, Merge };
    enum class Format : int { Csv, Json, Pdf, Zip };

    Action action = Action::List;
    QString store; ///< folder
    QString operand; ///< words to search for, or a folder
    Records::Id inspection = Records::noId; ///< to show

    // Which inspections.
    Records::Filter filter; ///< without the job
    QString jobName; ///< empty: that of jobId, or all
    Records::Id jobId = Records::noId;
    int page = 1;
    int limit = 50; ///< rows of a page

    // Export
    Format format = Format::Csv;
    QString output; ///< a file; empty: stdout
    QChar separator = QLatin1Char(',');
    bool hasDecimalComma = false;
    bool hasByteOrderMark = true;
    bool isGerman = false; ///< the report

    bool isReport() const { return format == Format::Pdf || format == Format::Zip; }

    // Import
    Records::Job job; ///< as it is added when there is none of its name
    std::optional<FiberInspection::Standard::Id> standard;
    QString first; ///< name of a run of points; empty: the files tell the names
    QString last;
    Records::Side side = Records::Side::A;
    Records::FibreKind fibre = Records::FibreKind::Unknown;
    FiberInspection::Device device = FiberInspection::Device::ks20();
    bool choosesFieldOfView = false; ///< --fov was given

    bool inspectsAgain = false; ///< verify

    bool choosesJob() const { return !jobName.isEmpty() || jobId != Records::noId; }
};

} // namespace RecordsTool
