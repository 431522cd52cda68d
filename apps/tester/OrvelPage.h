// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QObject>

/// The pages of the application, as `OrvelPage.FiberInspection` and so on in QML.
class OrvelPage
{
    Q_GADGET

public:
    enum Id : int { Home, FiberInspection, FiberInspectionResult };
    Q_ENUM(Id)
};

/// Makes the types known that the library's pages import: OrvelPage and the live analyser.
void registerPageTypes();
