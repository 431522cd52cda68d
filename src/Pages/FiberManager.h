// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "Pages/StandardModel.h"
#include "VantorBase_export.h"

#include <QObject>
#include <QString>
#include <QVector>

class InspectionManager;

/// What the inspection pages see of the inspection manager. Lives in the user interface's thread, the manager may live
/// in another one. Receivers of the answers may destroy it.
///
/// @code
/// InspectionManager manager; // of an application in a thread of its own
/// Q_EMIT manager.requestStart();
/// FiberManager fibers(&manager);
/// QObject::connect(&fibers, &FiberManager::analyseFinished, [](bool passed) { qInfo() << passed; });
/// fibers.requestAnalyse(QStringLiteral("port 1"), FiberInspection::Standard::IEC61300_3_35_MM);
/// @endcode
class VANTORBASE_EXPORT FiberManager : public QObject
{
    Q_OBJECT

public:
    /// @param manager not owned; when it is gone, requests have no answer
    explicit FiberManager(InspectionManager *manager, QObject *parent = nullptr);
    ~FiberManager() override;

    /// Inspects the image at tmpFiberInspectionImagePath(). Answered by analyseFinished() or analyseFailed(), once for
    /// every start of the manager, and by analyseFailed() without one; less what forgetRequests() and inspected() tell
    /// of. An answer that comes behind that to a later request is not told.
    /// @param standardId a FiberInspection::Standard::Id
    Q_INVOKABLE void requestAnalyse(const QString &name, int standardId);

    /// What was requested so far is not answered any more: its page is left, and the next one would take the verdict on
    /// another face for its own.
    Q_INVOKABLE void forgetRequests();

    /// Where a captured image belongs.
    Q_INVOKABLE QString tmpFiberInspectionImagePath() const;

    /// Belongs to this object.
    Q_INVOKABLE QObject *fiberInspectionStandardModel();

    /// What that model offers instead of all standards; the inspection page begins with the first one. In the user
    /// interface's thread; at once, also for a page that shows the model. No standards: there is none to inspect by.
    ///
    /// @code
    /// InspectionManager manager;
    /// FiberManager fibers(&manager);
    /// using FiberInspection::Standard;
    /// fibers.offerStandards({Standard::IEC61300_3_35_SM_RL45, Standard::IEC61300_3_35_MM});
    /// @endcode
    void offerStandards(const QVector<FiberInspection::Standard::Id> &standards);

Q_SIGNALS:
    void analyseFinished(bool passed, const QString &sourceFilePath, const QString &resultFilePath);
    void analyseFailed();

    /// Just before analyseFinished(), with all that stands behind the verdict. When a receiver runs an event loop in
    /// which a later answer comes or the requests are forgotten, there is no analyseFinished() for this one.
    void inspected(const FiberInspection::Inspection &inspection, const QString &resultFilePath);

    /// To the manager.
    void requested(QString name, FiberInspection::Standard::Id standardId);

private:
    /// Of what the manager is at, as it nests.
    struct Step
    {
        quint64 request; ///< 0 for that of others
        quint64 ticket; ///< of the turn
        bool isInspection; ///< or the turn of the request, in which every start of the manager inspects
    };

    void beginTurn(quint64 ticket);
    void endTurn();
    void beginInspection(quint64 ticket);
    void endInspection();
    bool isAwaited();
    void passOn(
        const FiberInspection::Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath);

    StandardModel mStandards;
    quint64 mRequests = 0;
    quint64 mBegun = 0; ///< of them, in their order
    quint64 mForgotten = 0; ///< the first so many of them, or a later one has its answer
    quint64 mAnswered = 0; ///< the last one that has an answer
    QVector<Step> mSteps; ///< the innermost last
    quint64 mTurn = 0; ///< of answers that were passed on, and of pages that were left
};
