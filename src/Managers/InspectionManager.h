// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/Inspection.h"
#include "Managers/CoreFiberInspectionManager.h"
#include "VantorBase_export.h"

/// The inspection manager, which also tells what stands behind the verdict. Works in a thread of its own.
class VANTORBASE_EXPORT InspectionManager : public CoreFiberInspectionManager
{
    Q_OBJECT

public:
    explicit InspectionManager(QObject *parent = nullptr);
    ~InspectionManager() override;

Q_SIGNALS:
    /// In place of analyseFinished(), with all of the inspection.
    void inspected(FiberInspection::Inspection inspection, QString sourceFilePath, QString resultFilePath);

protected:
    void handleVerdict(const FiberInspection::Inspection &inspection, const QString &sourceFilePath,
        const QString &resultFilePath) override;
};
