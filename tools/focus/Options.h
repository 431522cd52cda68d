// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FileFrames.h"
#include "SweepFrames.h"

namespace Focus {

/// What the command line asks for, checked.
struct Options
{
    enum class Action : int { MeasureFiles, MeasureSweep, Study };
    enum class Format : int { Text, Csv, Json };

    Action action = Action::MeasureFiles;
    QStringList operands; ///< files and folders
    RawLayout rawLayout;
    SweepSettings sweep;
    Format format = Format::Text;
    QString plotFile; ///< empty: no plot
    QString studyFolder;
    bool quickStudy = false;
    bool verbose = false;
};

} // namespace Focus
