// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QObject>

/// The pages that the library knows of, as `OrvelPage.FiberInspection` and so on in QML. An application with more of
/// them may number them from 100, or offer an enumeration of its own: see InspectionPages::setUp().
class VANTORBASE_EXPORT OrvelPage
{
    Q_GADGET

public:
    enum Id : int { Home, FiberInspection, FiberInspectionResult };
    Q_ENUM(Id)
};
