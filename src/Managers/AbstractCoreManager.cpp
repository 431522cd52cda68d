// SPDX-License-Identifier: Apache-2.0
#include "Managers/AbstractCoreManager.h"

AbstractCoreManager::AbstractCoreManager(QObject *parent)
    : QObject(parent)
{
    connect(this, &AbstractCoreManager::requestStart, this, &AbstractCoreManager::handleAsyncStart, Qt::AutoConnection);
    connect(this, &AbstractCoreManager::requestStop, this, &AbstractCoreManager::handleAsyncStop, Qt::AutoConnection);
}

AbstractCoreManager::~AbstractCoreManager() = default;

void AbstractCoreManager::handleAsyncStart()
{
    set_isRunning(true);
    Q_EMIT started();
}

void AbstractCoreManager::handleAsyncStop()
{
    set_isRunning(false);
    Q_EMIT stopped();
}
