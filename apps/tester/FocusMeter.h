// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/FiberRealtimeAnalyser.h"

#include <QElapsedTimer>
#include <QObject>
#include <QPointer>
#include <QTimer>

/// What the live filter sees, as a page shows it: whether there is a fibre, how sharp it is, and how sharp it was at
/// best. The filter itself keeps the last values of a fibre that is gone. Lives in the user interface's thread.
class FocusMeter : public QObject
{
    Q_OBJECT
    Q_PROPERTY(FiberInspection::FiberRealtimeAnalyser *filter READ filter WRITE setFilter NOTIFY filterChanged)
    Q_PROPERTY(bool isRunning READ isRunning WRITE setRunning NOTIFY isRunningChanged)
    Q_PROPERTY(bool hasFibre READ hasFibre NOTIFY changed)
    Q_PROPERTY(bool isAtBorder READ isAtBorder NOTIFY changed)
    Q_PROPERTY(bool isSharp READ isSharp NOTIFY changed)
    Q_PROPERTY(double focusValue READ focusValue NOTIFY changed)
    Q_PROPERTY(double peak READ peak NOTIFY changed)
    Q_PROPERTY(double captureFocus READ captureFocus CONSTANT)
    Q_PROPERTY(QPointF claddingPosition READ claddingPosition NOTIFY changed)

public:
    static constexpr int patience = 1000; ///< milliseconds without a fibre, until there is none

    explicit FocusMeter(QObject *parent = nullptr);

    FiberInspection::FiberRealtimeAnalyser *filter() const { return mFilter; }
    void setFilter(FiberInspection::FiberRealtimeAnalyser *filter);
    bool isRunning() const { return mPoll.isActive(); }
    void setRunning(bool isRunning);

    bool hasFibre() const { return mHasFibre; }
    bool isAtBorder() const { return mReading.state == FiberInspection::LiveReading::State::FibreAtBorder; }
    bool isSharp() const { return mHasFibre && mReading.isSharpEnoughToCapture(); }
    double focusValue() const { return mHasFibre ? mReading.focusValue : 0; }
    double peak() const { return mPeak; } ///< since the last reset
    static double captureFocus() { return FiberInspection::LiveReading::captureFocus; } ///< sharp is above it
    QPointF claddingPosition() const { return mReading.claddingPosition; } ///< frame pixels

    Q_INVOKABLE void resetPeak();

Q_SIGNALS:
    void filterChanged();
    void isRunningChanged();
    void changed();

    /// Frames have shown no fibre for as long as the patience lasts, also right from the start. A camera that gives
    /// none has seen nothing go.
    void fibreLeft();

private:
    void look();

    QPointer<FiberInspection::FiberRealtimeAnalyser> mFilter;
    QTimer mPoll;
    QElapsedTimer mSinceFibre;
    FiberInspection::LiveReading mReading; ///< the last one with a fibre
    quint64 mFrame = 0; ///< that was looked at last
    bool mHasFibre = false;
    bool mHasLeft = false; ///< is told
    double mPeak = 0;
};
