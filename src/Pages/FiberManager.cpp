// SPDX-License-Identifier: Apache-2.0
#include "Pages/FiberManager.h"

#include "FiberInspection/Analyser.h"
#include "Helpers/QObjectHelper.h"
#include "Managers/InspectionManager.h"

#include <QPointer>

FiberManager::FiberManager(InspectionManager *manager, QObject *parent)
    : QObject(parent)
{
    QObjectHelper::ownByCpp(&mStandards); // or the script that asks for it would delete it one day
    // Requests take the manager's queue: behind its start, and nowhere when it is gone, in whichever thread that was.
    connect(this, &FiberManager::requested, manager, &InspectionManager::requestAnalyse);
    connect(manager, &InspectionManager::inspected, this, &FiberManager::passOn);
    connect(manager, &InspectionManager::analyseFailed, this, [this] {
        if (takeAnswer())
            Q_EMIT analyseFailed();
    });
}

FiberManager::~FiberManager() = default;

void FiberManager::requestAnalyse(const QString &name, int standardId)
{
    ++mAwaited;
    Q_EMIT requested(name, static_cast<FiberInspection::Standard::Id>(standardId));
}

void FiberManager::forgetRequests()
{
    mForgotten = mAwaited;
    ++mTurn;
}

void FiberManager::passOn(
    const FiberInspection::Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath)
{
    if (!takeAnswer())
        return;
    const QPointer<FiberManager> self(this);
    const quint64 turn = mTurn;
    Q_EMIT inspected(inspection, resultFilePath);
    if (self && mTurn == turn) // or the page would show the verdict on an earlier face in the end
        Q_EMIT analyseFinished(inspection.passed(), sourceFilePath, resultFilePath);
}

/// Whether somebody waits for the answer that is here.
bool FiberManager::takeAnswer()
{
    mAwaited = qMax(0, mAwaited - 1); // others may ask the manager, too
    if (mForgotten == 0) {
        ++mTurn;
        return true;
    }
    --mForgotten;
    return false;
}

QString FiberManager::tmpFiberInspectionImagePath() const
{
    return FiberInspection::Analyser::tmpFiberInspectionImagePath();
}

QObject *FiberManager::fiberInspectionStandardModel()
{
    return &mStandards;
}
