// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "FiberInspection/TestResult.h"
#include "Managers/CoreFiberInspectionManager.h"

/// The inspection manager, which also tells what stands behind the verdict. Works in a thread of its own.
class InspectionManager : public CoreFiberInspectionManager
{
    Q_OBJECT

public:
    explicit InspectionManager(QObject *parent = nullptr);
    ~InspectionManager() override;

Q_SIGNALS:
    /// Just before analyseFinished().
    void resultReady(FiberInspection::TestResult result, FiberInspection::Standard::Id standardId);

protected:
    void handleVerdict(const FiberInspection::TestResult &result, FiberInspection::Standard::Id standardId) override;
};

Q_DECLARE_METATYPE(FiberInspection::TestResult)
