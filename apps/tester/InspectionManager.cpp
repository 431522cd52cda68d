// SPDX-License-Identifier: Apache-2.0
#include "InspectionManager.h"

using FiberInspection::Standard;
using FiberInspection::TestResult;

InspectionManager::InspectionManager(QObject *parent)
    : CoreFiberInspectionManager(parent)
{
    qRegisterMetaType<TestResult>("FiberInspection::TestResult");
    qRegisterMetaType<Standard::Id>("FiberInspection::Standard::Id");
}

InspectionManager::~InspectionManager() = default;

void InspectionManager::handleVerdict(const TestResult &result, Standard::Id standardId)
{
    Q_EMIT resultReady(result, standardId);
}
