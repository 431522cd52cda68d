// SPDX-License-Identifier: Apache-2.0
#include "Managers/InspectionManager.h"

using FiberInspection::Inspection;

InspectionManager::InspectionManager(QObject *parent)
    : CoreFiberInspectionManager(parent)
{
    qRegisterMetaType<Inspection>("FiberInspection::Inspection");
}

InspectionManager::~InspectionManager() = default;

void InspectionManager::handleVerdict(
    const Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath)
{
    Q_EMIT inspected(inspection, sourceFilePath, resultFilePath);
}
