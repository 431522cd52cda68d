// SPDX-License-Identifier: Apache-2.0
#include "Managers/AbstractCoreManager.h"

#include <QPointer>

AbstractCoreManager::AbstractCoreManager(QObject *parent)
    : QObject(parent)
{
    connect(this, &AbstractCoreManager::requestStart, this, &AbstractCoreManager::handleAsyncStart, Qt::AutoConnection);
    connect(this, &AbstractCoreManager::requestStop, this, &AbstractCoreManager::handleAsyncStop, Qt::AutoConnection);
}

AbstractCoreManager::~AbstractCoreManager() = default;

void AbstractCoreManager::handleAsyncStart()
{
    const QPointer<AbstractCoreManager> self(this);
    set_isRunning(true);
    if (self) // a receiver may have deleted this
        Q_EMIT started();
}

void AbstractCoreManager::handleAsyncStop()
{
    const QPointer<AbstractCoreManager> self(this);
    set_isRunning(false);
    if (self)
        Q_EMIT stopped();
}
