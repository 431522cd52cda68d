// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QPointF>
#include <QString>
#include <QVideoFrame>

namespace Focus {

namespace LiveRemark {
QString noCircle();
QString severalCircles();
QString tooCloseToBorder();
} // namespace LiveRemark

/// What the live filter makes of one frame.
struct Measurement
{
    bool found = false; ///< the fibre
    double focus = 0; ///< larger is sharper; only if found
    QPointF position; ///< of the fibre, pixels; only if found
    double milliseconds = 0; ///< from the frame's arrival to the end of its analysis
    QString remark; ///< why it was not found, or what is wrong with the focus value: a LiveRemark, or the log's words
};

/// Shows the frame to a FiberRealtimeAnalyser, as a video output does, and waits for the end of its analysis.
/// One at a time in a process. FilterLog has to be installed for the remarks.
Measurement measure(const QVideoFrame &frame);

} // namespace Focus
