// SPDX-License-Identifier: Apache-2.0
#include "Managers/InspectionManager.h"

#include "Helpers/RunAndEnd_p.h"

#include <QPointer>
#include <QScopeGuard>

#include <utility>

using FiberInspection::Inspection;

InspectionManager::InspectionManager(QObject *parent)
    : CoreFiberInspectionManager(parent)
{
    qRegisterMetaType<Inspection>("FiberInspection::Inspection");
}

InspectionManager::~InspectionManager() = default;

void InspectionManager::handleAsyncStart()
{
    // Not the start of the base, which knows no tickets.
    connect(
        this, &InspectionManager::requestAnalyse, this,
        [this](const QString &name, FiberInspection::Standard::Id standardId) {
            handle(name.constData() == mEmitted.name ? mEmitted.ticket : 0, name, standardId);
        },
        Qt::AutoConnection);
}

void InspectionManager::requestFor(quint64 ticket, const QString &name, FiberInspection::Standard::Id standardId)
{
    const QString own(name.constData(), name.size());
    const QPointer<InspectionManager> self(this);
    const Ticketed former = std::exchange(mEmitted, {ticket, own.constData()});
    const auto restored = qScopeGuard([self, former] {
        if (self)
            self->mEmitted = former;
    });
    Q_EMIT requestAnalyse(own, standardId);
}

/// A subclass may have another request answered before it goes on with this one.
void InspectionManager::handle(quint64 ticket, const QString &name, FiberInspection::Standard::Id standardId)
{
    const QPointer<InspectionManager> self(this);
    const quint64 former = std::exchange(mTicket, ticket);
    const auto restored = qScopeGuard([self, former] {
        if (self)
            self->mTicket = former;
    });
    handleRequestAnalyse(name, standardId);
}

void InspectionManager::handleRequestAnalyse(const QString &name, FiberInspection::Standard::Id standardId)
{
    const QPointer<InspectionManager> self(this);
    Q_EMIT inspectionBegun(std::exchange(mTicket, 0));
    runAndEnd(
        [&] {
            if (self)
                CoreFiberInspectionManager::handleRequestAnalyse(name, standardId);
        },
        [&] {
            if (self)
                Q_EMIT inspectionEnded();
        });
}

void InspectionManager::handleVerdict(
    const Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath)
{
    Q_EMIT inspected(inspection, sourceFilePath, resultFilePath);
}
