// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "simulation/SimulatedScope.h"

#include <QObject>
#include <QVideoSurfaceFormat>

#include <memory>

/// The live analyses of all pages. One at a time is under way in the process; that is how this tells when one is over.
class LiveAnalyses : public QObject
{
    Q_OBJECT
    Q_PROPERTY(double badFocus READ badFocus CONSTANT)
    Q_PROPERTY(double captureFocus READ captureFocus CONSTANT)

public:
    // The library's own thresholds.
    static double badFocus() { return FiberInspection::LiveReading::badFocus; }
    static double captureFocus() { return FiberInspection::LiveReading::captureFocus; }

    /// From here on areOver() is about the analyses that are under way now.
    Q_INVOKABLE void watch() { mAnalyser.set_focusValue(unmeasured); }

    /// To be asked again and again; a fibre has to be in the picture.
    Q_INVOKABLE bool areOver()
    {
        if (mAnalyser.focusValue() != unmeasured)
            return true;
        QVideoFrame frame = SimulatedScope::instance()->nextFrame();
        const QVideoSurfaceFormat format(frame.size(), frame.pixelFormat());
        mRunnable->run(&frame, format, QVideoFilterRunnable::LastInChain); // is analysed only after all others
        return false;
    }

private:
    static constexpr double unmeasured = -1;

    FiberInspection::FiberRealtimeAnalyser mAnalyser;
    const std::unique_ptr<QVideoFilterRunnable> mRunnable{mAnalyser.createFilterRunnable()};
};
