// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "Pages/StandardModel.h"
#include "VantorBase_export.h"

#include <QObject>
#include <QString>

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

    /// Inspects the image at tmpFiberInspectionImagePath(); answered by analyseFinished() or analyseFailed().
    /// @param standardId a FiberInspection::Standard::Id
    Q_INVOKABLE void requestAnalyse(const QString &name, int standardId);

    /// What was requested so far is not answered any more: its page is left, and the next one would take the verdict on
    /// another face for its own.
    Q_INVOKABLE void forgetRequests();

    /// Where a captured image belongs.
    Q_INVOKABLE QString tmpFiberInspectionImagePath() const;

    /// Belongs to this object.
    Q_INVOKABLE QObject *fiberInspectionStandardModel();

Q_SIGNALS:
    void analyseFinished(bool passed, const QString &sourceFilePath, const QString &resultFilePath);
    void analyseFailed();

    /// Just before analyseFinished(), with all that stands behind the verdict. When a receiver runs an event loop in
    /// which a later answer comes or the requests are forgotten, there is no analyseFinished() for this one.
    void inspected(const FiberInspection::Inspection &inspection, const QString &resultFilePath);

    /// To the manager.
    void requested(QString name, FiberInspection::Standard::Id standardId);

private:
    bool takeAnswer();
    void passOn(
        const FiberInspection::Inspection &inspection, const QString &sourceFilePath, const QString &resultFilePath);

    StandardModel mStandards;
    int mAwaited = 0; ///< answers that the manager owes; it gives one to each request, in their order
    int mForgotten = 0; ///< the first so many of them
    quint64 mTurn = 0; ///< of answers that were passed on, and of pages that were left
};
