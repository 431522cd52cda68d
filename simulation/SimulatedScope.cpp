// SPDX-License-Identifier: Apache-2.0
#include "simulation/SimulatedScope.h"

#include "simulation/EndfaceScenes.h"
#include "simulation/FrameMaker.h"

#include <algorithm>
#include <cmath>

SimulatedScope *SimulatedScope::instance()
{
    static SimulatedScope scope;
    return &scope;
}

SimulatedScope::SimulatedScope()
    : mFace(faces().constFirst())
    , mFrames(std::make_unique<FrameMaker>())
{
    mFrames->show(mFace, mFocus);
}

SimulatedScope::~SimulatedScope() = default;

QString SimulatedScope::displayName()
{
    return QStringLiteral("ODM Scope 2");
}

void SimulatedScope::setFocus(double focus)
{
    const double position = std::isnan(focus) ? mFocus : std::clamp(focus, -1.0, 1.0);
    if (position == mFocus)
        return;
    mFocus = position;
    mFrames->show(mFace, mFocus);
    Q_EMIT focusChanged(mFocus);
}

void SimulatedScope::setFace(const QString &face)
{
    if (face == mFace || !faces().contains(face))
        return;
    mFace = face;
    mFrames->show(mFace, mFocus);
    Q_EMIT faceChanged(mFace);
}

QStringList SimulatedScope::faces()
{
    return endfacePresets() + QStringList{emptyAdapter()};
}

QString SimulatedScope::emptyAdapter()
{
    return QStringLiteral("empty");
}

void SimulatedScope::setPlugged(bool isPlugged)
{
    if (isPlugged == mIsPlugged)
        return;
    mIsPlugged = isPlugged;
    Q_EMIT isPluggedChanged(mIsPlugged);
}

QVideoFrame SimulatedScope::nextFrame()
{
    return mFrames->next();
}

QImage SimulatedScope::picture() const
{
    return mFrames->picture();
}

bool SimulatedScope::isSettled() const
{
    return mFrames->isSettled();
}
