// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QObject>

/// The pages that the library knows of, as `OrvelPage.FiberInspection` and so on in QML. An application with more of
/// them may number them from 100, or offer an enumeration of its own: see InspectionPages::setUp().
///
/// @code
/// constexpr int wiremapPage = 100; // the application's own
/// const auto titleOf = [](int page) {
///     return page == wiremapPage ? QStringLiteral("Wiremap") : QStringLiteral("Fibre inspection");
/// };
/// qInfo() << titleOf(OrvelPage::FiberInspection) << titleOf(wiremapPage);
/// @endcode
class VANTORBASE_EXPORT OrvelPage
{
    Q_GADGET

public:
    enum Id : int { Home, FiberInspection, FiberInspectionResult };
    Q_ENUM(Id)
};
