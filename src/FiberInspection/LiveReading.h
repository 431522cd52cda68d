// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QMetaType>
#include <QPointF>
#include <QString>

namespace FiberInspection {

/// What the live analysis made of one frame: a value, asked for with FiberRealtimeAnalyser::lastReading().
///
///     const LiveReading reading = filter->lastReading();
///     if (reading.state == LiveReading::State::FormatUnsupported)
///         showHint(tr("This camera delivers frames that cannot be measured"));
///     else if (reading.isSharpEnoughToCapture())
///         captureButton->setEnabled(true);
struct VANTORBASE_EXPORT LiveReading
{
    Q_GADGET

public:
    enum class State : int {
        None, ///< no frame was looked at so far
        FrameUnusable, ///< not to be mapped, fewer bytes than its size needs, or a size that is not even
        FormatUnsupported, ///< no 4:2:0 format that begins with the luminance
        NoFibre, ///< no circle as large as a cladding
        SeveralFibres, ///< more than one
        FibreAtBorder, ///< found, but too close to the border of the frame for a focus value
        OutOfFocus, ///< found, with a focus value of at most badFocus
        Measured, ///< found, and sharper
        AnalysisBroken, ///< by an exception, mostly for want of memory
    };
    Q_ENUM(State)

    static constexpr double badFocus = 1.0; ///< up to here a place is not to be relied on
    static constexpr double captureFocus = 2.5; ///< above it the picture is sharp enough for an inspection

    State state = State::None;
    quint64 frame = 0; ///< number of the frame among those that this filter has looked at, from 1
    double focusValue = -1; ///< larger is sharper; 0 at the border, -1 without a fibre
    QPointF claddingPosition; ///< of its centre, frame pixels; null without a fibre
    QString detail; ///< what broke the analysis

    bool hasFibre() const; ///< one, with a place
    bool isSharpEnoughToCapture() const { return state == State::Measured && focusValue > captureFocus; }
};

} // namespace FiberInspection

Q_DECLARE_METATYPE(FiberInspection::LiveReading)
