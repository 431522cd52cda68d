// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "focus/FileFrames.h"
#include "focus/SweepFrames.h"

namespace Focus {

/// What the command line asks for, checked.
struct Options
{
    enum class Action : int { MeasureFiles, MeasureSweep };
    enum class Format : int { Text, Csv, Json };

    Action action = Action::MeasureFiles;
    QStringList operands; ///< files and folders
    RawLayout rawLayout;
    SweepSettings sweep;
    Format format = Format::Text;
    QString plotFile; ///< empty: no plot
    bool verbose = false;
};

} // namespace Focus
