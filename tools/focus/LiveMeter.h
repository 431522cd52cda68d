// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/LiveReading.h"

#include <QVideoFrame>

namespace Focus {

/// What the live filter makes of one frame, and how long that takes it.
struct Measurement
{
    FiberInspection::LiveReading reading;
    double milliseconds = 0; ///< from the frame's arrival to the end of its analysis
};

/// Shows the frame to a FiberRealtimeAnalyser, as a video output does, and waits for the end of its analysis.
/// One at a time in a process.
Measurement measure(const QVideoFrame &frame);

/// Why the fibre was not found, or what is wrong with its focus value; empty if nothing is.
QString remarkOn(const FiberInspection::LiveReading &reading);

} // namespace Focus
