// SPDX-License-Identifier: Apache-2.0
#include "FiberManager.h"

#include "FiberInspection/Analyser.h"
#include "FiberInspection/Standard.h"
#include "Helpers/QObjectHelper.h"
#include "Managers/CoreFiberInspectionManager.h"

FiberManager::FiberManager(CoreFiberInspectionManager *manager, QObject *parent)
    : QObject(parent)
    , mManager(manager)
{
    QObjectHelper::ownByCpp(&mStandards); // or the script that asks for it would delete it one day
    connect(manager, &CoreFiberInspectionManager::analyseFinished, this, &FiberManager::analyseFinished);
    connect(manager, &CoreFiberInspectionManager::analyseFailed, this, &FiberManager::analyseFailed);
}

FiberManager::~FiberManager() = default;

void FiberManager::requestAnalyse(const QString &name, int standardId)
{
    Q_EMIT mManager->requestAnalyse(name, static_cast<FiberInspection::Standard::Id>(standardId));
}

QString FiberManager::tmpFiberInspectionImagePath() const
{
    return FiberInspection::Analyser::tmpFiberInspectionImagePath();
}

QObject *FiberManager::fiberInspectionStandardModel()
{
    return &mStandards;
}
