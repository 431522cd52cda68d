// SPDX-License-Identifier: Apache-2.0
#include "FocusMeter.h"

using FiberInspection::FiberRealtimeAnalyser;
using FiberInspection::LiveReading;

namespace {
constexpr int interval = 60; // milliseconds; a frame takes 40
constexpr int stalled = 3000; // milliseconds without any frame: a busy machine is no missing fibre
} // namespace

FocusMeter::FocusMeter(QObject *parent)
    : QObject(parent)
{
    mPoll.setInterval(interval);
    connect(&mPoll, &QTimer::timeout, this, &FocusMeter::look);
}

void FocusMeter::setFilter(FiberRealtimeAnalyser *filter)
{
    if (filter == mFilter)
        return;
    mFilter = filter;
    mFrame = 0;
    Q_EMIT filterChanged();
}

void FocusMeter::setRunning(bool isRunning)
{
    if (isRunning == mPoll.isActive())
        return;
    if (isRunning) {
        mFrame = mFilter ? mFilter->lastReading().frame : 0; // what was seen before counts no more
        mHasFibre = false;
        mHasLeft = false;
        mSinceFibre.start();
        mPoll.start();
    } else {
        mPoll.stop();
    }
    Q_EMIT isRunningChanged();
}

void FocusMeter::resetPeak()
{
    mPeak = 0;
    Q_EMIT changed();
}

void FocusMeter::look()
{
    if (!mFilter)
        return;
    const LiveReading reading = mFilter->lastReading();
    const bool isNew = reading.frame != mFrame;
    mFrame = reading.frame;
    if (isNew && reading.hasFibre()) {
        mSinceFibre.start();
        mReading = reading;
        mHasFibre = true;
        mHasLeft = false;
        mPeak = qMax(mPeak, reading.focusValue);
        Q_EMIT changed();
        return;
    }
    if (mHasFibre && mSinceFibre.hasExpired(isNew ? patience : stalled)) {
        mHasFibre = false;
        Q_EMIT changed();
    }
    if (isNew && !mHasLeft && mSinceFibre.hasExpired(patience)) {
        mHasLeft = true;
        Q_EMIT fibreLeft();
    }
}
