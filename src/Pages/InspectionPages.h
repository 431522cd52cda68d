// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "Pages/OrvelPage.h"
#include "VantorBase_export.h"

#include <QString>

class QObject;
class QQmlEngine;

/// What the pages of the fibre inspection need of an application, in one call. The pages themselves are loaded by their
/// addresses, as an item of the application's page stack; the camera page has to be told its `deviceName`.
class VANTORBASE_EXPORT InspectionPages
{
public:
    InspectionPages() = delete;

    /// The objects that the pages look for by the names of these members. What stays null is not published: an id of
    /// that name in the QML around the pages serves as well. All of them have to outlive the engine.
    struct ContextObjects
    {
        /// A FiberManager, or what has its functions and signals, requestAnalyse(name, standardId),
        /// tmpFiberInspectionImagePath(), fiberInspectionStandardModel(), analyseFinished(passed, sourceFilePath,
        /// resultFilePath) and analyseFailed(). The model has `count`, and the roles of StandardModel.
        QObject *fiberManager = nullptr;
        QObject *hardwareManager = nullptr; ///< the signal fiberMicroscopeDisconnected()
        QObject *appController = nullptr; ///< navigateTo(pageId, title, properties)
        QObject *messageBoxManager = nullptr; ///< showInfo(title, text)
        QObject *snackBar = nullptr; ///< showSuccess(text), showError(text)

        /// The items actionBack and actionLayers, with the signal clicked(), and the list _allActions. A locked page
        /// writes their `visible`, which must not be bound.
        QObject *titleBar = nullptr;
        QObject *stackView = nullptr; ///< pop() and pop(StackView.Immediate)
        QObject *notificationArea = nullptr; ///< `interactive`, which a locked page writes
    };

    /// Makes the resources under qrc:/Vantor/ available, registers the QML modules "FiberInspection" 1.0 and
    /// "OrvelPage" 1.0, and publishes the objects. To be called in the engine's thread before it loads a page; once for
    /// each engine.
    /// @param pageIds has the enumeration that QML sees as OrvelPage; FiberInspectionResult has to be among it. One for
    ///     all engines: the last one counts.
    static void setUp(
        QQmlEngine *engine, const ContextObjects &objects, const QMetaObject &pageIds = OrvelPage::staticMetaObject);

    static QString inspectionPage(); ///< address of the camera page, OrvelPage.FiberInspection
    static QString resultPage(); ///< and of the one that it navigates to, OrvelPage.FiberInspectionResult
};
