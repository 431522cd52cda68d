// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/LiveReading.h"
#include "Property.h"
#include "VantorBase_export.h"

#include <QAbstractVideoFilter>
#include <QPointF>

#include <memory>

namespace FiberInspection {

class LiveAnalysisLink;

/// A filter of a video output that measures the focus and the place of the fibre in sampled frames, and leaves the
/// frames as they are. Frames have to be 4:2:0 (NV12, NV21, YUV420P, YV12, IMC1 to IMC4); others are not looked at.
///
/// The properties keep their values while no fibre is found. They are written by a pool thread, and so are the signals
/// emitted; they may be read in any thread. The filter may be destroyed at any time: that waits for the publication of
/// an analysis, if one is under way, but not for ever. A receiver in the pool thread that has not come back after a
/// second, because it waits for the very thread that destroys the filter, is left behind, and the log says so.
///
/// The pool threads do not end with the program. Destroy the runnable, as a VideoOutput does, before main() returns or
/// exit() is called: an analysis under way would use what is static while it goes.
///
/// @code
/// FiberRealtimeAnalyser filter; // goes into the filters of a VideoOutput
/// QObject::connect(&filter, &FiberRealtimeAnalyser::focusValue_changed, &filter,
///     [](double focus) { qInfo() << (focus > LiveReading::captureFocus ? "in focus" : "turn the knob"); });
/// if (!filter.lastReading().hasFibre())
///     qInfo() << filter.lastReading().state;
/// @endcode
class VANTORBASE_EXPORT FiberRealtimeAnalyser : public QAbstractVideoFilter
{
    Q_OBJECT
    VANTOR_LOCKED_PROPERTY(double, focusValue, -1.0) // larger is sharper; -1: not measured yet
    VANTOR_LOCKED_PROPERTY(QPointF, claddingPosition, {}) // centre of the cladding, frame pixels

public:
    explicit FiberRealtimeAnalyser(QObject *parent = nullptr);

    /// For the video framework, which owns the result.
    QVideoFilterRunnable *createFilterRunnable() override;
    ~FiberRealtimeAnalyser() override;

    /// What became of the last frame that was looked at, also when it told nothing and no signal came. Frames that are
    /// invalid, or come while another is analysed, are not looked at. Any thread may ask; in a receiver of the two
    /// signals, in the pool thread, it is the reading that they come from. All runnables of a filter write it.
    LiveReading lastReading() const;

private:
    std::shared_ptr<LiveAnalysisLink> mLink;
};

} // namespace FiberInspection
