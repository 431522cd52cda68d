// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "StandardModel.h"

#include <QObject>
#include <QString>

class CoreFiberInspectionManager;

/// What the inspection pages see of the inspection manager. Lives in the user interface's thread, the manager may live
/// in another one.
class FiberManager : public QObject
{
    Q_OBJECT

public:
    /// @param manager not owned; has to live as long as this object is asked
    explicit FiberManager(CoreFiberInspectionManager *manager, QObject *parent = nullptr);
    ~FiberManager() override;

    /// Inspects the image at tmpFiberInspectionImagePath(); answered by analyseFinished() or analyseFailed().
    /// @param standardId a FiberInspection::Standard::Id
    Q_INVOKABLE void requestAnalyse(const QString &name, int standardId);

    /// Where a captured image belongs.
    Q_INVOKABLE QString tmpFiberInspectionImagePath() const;

    /// Belongs to this object.
    Q_INVOKABLE QObject *fiberInspectionStandardModel();

Q_SIGNALS:
    void analyseFinished(bool passed, const QString &sourceFilePath, const QString &resultFilePath);
    void analyseFailed();

private:
    CoreFiberInspectionManager *const mManager;
    StandardModel mStandards;
};
