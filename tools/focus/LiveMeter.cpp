// SPDX-License-Identifier: Apache-2.0
#include "focus/LiveMeter.h"

#include "FiberInspection/FiberRealtimeAnalyser.h"

#include <QElapsedTimer>
#include <QVideoSurfaceFormat>

#include <memory>

namespace Focus {

using FiberInspection::FiberRealtimeAnalyser;
using FiberInspection::LiveReading;

Measurement measure(const QVideoFrame &frame)
{
    FiberRealtimeAnalyser filter;
    QElapsedTimer timer;
    timer.start();
    std::unique_ptr<QVideoFilterRunnable> runnable(filter.createFilterRunnable());
    QVideoFrame shown = frame;
    runnable->run(&shown, QVideoSurfaceFormat(shown.size(), shown.pixelFormat()), {});
    runnable.reset(); // waits for the analysis
    const double milliseconds = static_cast<double>(timer.nsecsElapsed()) / 1e6;
    return {filter.lastReading(), milliseconds};
}

QString remarkOn(const LiveReading &reading)
{
    switch (reading.state) {
    case LiveReading::State::None:
    case LiveReading::State::FrameUnusable:
        return QStringLiteral("not a whole frame");
    case LiveReading::State::FormatUnsupported:
        return QStringLiteral("not a 4:2:0 frame");
    case LiveReading::State::NoFibre:
        return QStringLiteral("no circle");
    case LiveReading::State::SeveralFibres:
        return QStringLiteral("more than one circle");
    case LiveReading::State::FibreAtBorder:
        return QStringLiteral("too close to the border for a focus value");
    case LiveReading::State::OutOfFocus:
    case LiveReading::State::Measured:
        break;
    case LiveReading::State::AnalysisBroken:
        return QStringLiteral("frame not analysed: ") + reading.detail;
    }
    return {};
}

} // namespace Focus
