// SPDX-License-Identifier: Apache-2.0
#include "InspectionManager.h"

#include <QDebug>

#include <exception>

using FiberInspection::Standard;
using FiberInspection::TestResult;

InspectionManager::InspectionManager(QObject *parent)
    : CoreFiberInspectionManager(parent)
{
    qRegisterMetaType<TestResult>("FiberInspection::TestResult");
    qRegisterMetaType<Standard::Id>("FiberInspection::Standard::Id");
}

InspectionManager::~InspectionManager() = default;

void InspectionManager::handleAsyncStart()
{
    // In place of the base's own handling, or each request would be answered twice.
    connect(this, &InspectionManager::requestAnalyse, this, &InspectionManager::inspect, Qt::AutoConnection);
}

void InspectionManager::inspect(const QString &name, Standard::Id standardId)
{
    TestResult result; // an error until there is a verdict
    try {
        result = mAnalyser.analyse(standardId, name);
    } catch (const std::exception &exception) { // in an event loop it would end the application
        qWarning() << "inspection ended by an exception:" << exception.what();
    }
    if (result.error()) {
        Q_EMIT analyseFailed();
        return;
    }
    Q_EMIT resultReady(result, standardId);
    Q_EMIT analyseFinished(result.passed(), mAnalyser.lastSourceImagePath(), mAnalyser.lastResultImagePath());
}
