// SPDX-License-Identifier: Apache-2.0
#include "Pages/FiberManager.h"

#include "FiberInspection/Analyser.h"
#include "Helpers/QObjectHelper.h"
#include "Helpers/RunAndEnd_p.h"
#include "Managers/InspectionManager.h"
#include "Pages/RequestTurn_p.h"

#include <QPointer>

#include <atomic>
#include <memory>

FiberManager::FiberManager(InspectionManager *manager, QObject *parent)
    : QObject(parent)
{
    QObjectHelper::ownByCpp(&mStandards); // or the script that asks for it would delete it one day
    // Requests take the manager's queue: behind its start, and nowhere when it is gone, in whichever thread that was.
    // What it inspects by the ticket of the request is for that, however often it was started; all else is for others.
    const auto turn = std::make_shared<RequestTurn>();
    connect(turn.get(), &RequestTurn::begun, this, &FiberManager::beginTurn);
    connect(turn.get(), &RequestTurn::ended, this, &FiberManager::endTurn);
    connect(this, &FiberManager::requested, manager,
        [manager, turn](const QString &name, FiberInspection::Standard::Id standardId) {
            static std::atomic<quint64> lastTicket{0}; // of all pages
            const quint64 ticket = ++lastTicket;
            const auto held = turn; // a receiver may delete us all
            Q_EMIT held->begun(ticket);
            runAndEnd([&] { manager->requestFor(ticket, name, standardId); }, [&] { Q_EMIT held->ended(); });
        });
    connect(manager, &InspectionManager::inspectionBegun, this, &FiberManager::beginInspection);
    connect(manager, &InspectionManager::inspectionEnded, this, &FiberManager::endInspection);
    connect(manager, &InspectionManager::inspected, this, &FiberManager::passOn);
    connect(manager, &InspectionManager::analyseFailed, this, [this] {
        if (isAwaited())
            Q_EMIT analyseFailed();
    });
}

FiberManager::~FiberManager() = default;

void FiberManager::requestAnalyse(const QString &name, int standardId)
{
    ++mRequests;
    Q_EMIT requested(name, static_cast<FiberInspection::Standard::Id>(standardId));
}

void FiberManager::forgetRequests()
{
    mForgotten = mRequests;
    ++mTurn;
}

void FiberManager::passOn(
    const FiberInspection::Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath)
{
    if (!isAwaited())
        return;
    const QPointer<FiberManager> self(this);
    const quint64 turn = mTurn;
    Q_EMIT inspected(inspection, resultFilePath);
    if (self && mTurn == turn) // or the page would show the verdict on an earlier face in the end
        Q_EMIT analyseFinished(inspection.passed(), sourceFilePath, resultFilePath);
}

/// Whether somebody waits for the answer that is here.
bool FiberManager::isAwaited()
{
    if (mSteps.isEmpty() || mSteps.constLast().request <= mForgotten)
        return false;
    mAnswered = mSteps.constLast().request;
    mForgotten = mAnswered - 1; // or an answer that was overtaken would be the last one told
    ++mTurn;
    return true;
}

void FiberManager::beginTurn(quint64 ticket)
{
    mSteps.append({++mBegun, ticket, false});
}

void FiberManager::endTurn()
{
    while (mSteps.constLast().isInspection) // has no end, as the manager has been deleted
        mSteps.removeLast();
    const bool isUnanswered = mSteps.constLast().request != mAnswered && isAwaited();
    mSteps.removeLast();
    if (isUnanswered) // the manager has not been started, or is gone
        Q_EMIT analyseFailed();
}

void FiberManager::beginInspection(quint64 ticket)
{
    const bool isOurs = !mSteps.isEmpty() && !mSteps.constLast().isInspection && mSteps.constLast().ticket == ticket;
    mSteps.append({isOurs ? mSteps.constLast().request : 0, 0, true});
}

void FiberManager::endInspection()
{
    if (!mSteps.isEmpty() && mSteps.constLast().isInspection) // and not begun before this was here
        mSteps.removeLast();
}

QString FiberManager::tmpFiberInspectionImagePath() const
{
    return FiberInspection::Analyser::tmpFiberInspectionImagePath();
}

QObject *FiberManager::fiberInspectionStandardModel()
{
    return &mStandards;
}

void FiberManager::offerStandards(const QVector<FiberInspection::Standard::Id> &standards)
{
    mStandards.setStandards(standards);
}
