// SPDX-License-Identifier: Apache-2.0
#include "Pages/InspectionPages.h"

#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "QmlResources.h"

#include <QDebug>
#include <QMetaEnum>
#include <QQmlContext>
#include <QQmlEngine>
#include <QtQml>

#include <utility>

namespace {
constexpr char pageWeNavigateTo[] = "FiberInspectionResult";

bool knows(const QMetaObject &pageIds, const char *page)
{
    for (int i = 0; i < pageIds.enumeratorCount(); ++i) {
        bool isKnown = false;
        pageIds.enumerator(i).keyToValue(page, &isKnown);
        if (isKnown)
            return true;
    }
    return false;
}

void registerTypes(const QMetaObject &pageIds)
{
    if (!knows(pageIds, pageWeNavigateTo))
        qWarning() << pageIds.className() << "has no" << pageWeNavigateTo << "for the camera page to navigate to";
    qmlRegisterUncreatableMetaObject(
        pageIds, "OrvelPage", 1, 0, "OrvelPage", QStringLiteral("OrvelPage names the pages"));
    qmlRegisterType<FiberInspection::FiberRealtimeAnalyser>("FiberInspection", 1, 0, "FiberRealtimeAnalyser");
}
} // namespace

void InspectionPages::setUp(QQmlEngine *engine, const ContextObjects &objects, const QMetaObject &pageIds)
{
    initVantorQmlResources();
    registerTypes(pageIds);

    const std::pair<const char *, QObject *> entries[] = {
        {"fiberManager", objects.fiberManager},
        {"hardwareManager", objects.hardwareManager},
        {"appController", objects.appController},
        {"messageBoxManager", objects.messageBoxManager},
        {"snackBar", objects.snackBar},
        {"titleBar", objects.titleBar},
        {"stackView", objects.stackView},
        {"notificationArea", objects.notificationArea},
    };
    for (const auto &[name, object] : entries) {
        if (object)
            engine->rootContext()->setContextProperty(QLatin1String(name), object);
    }
}

QString InspectionPages::inspectionPage()
{
    return QStringLiteral("qrc:/Vantor/Pages/FiberInspectionPage.qml");
}

QString InspectionPages::resultPage()
{
    return QStringLiteral("qrc:/Vantor/Pages/FiberInspectionResultPage.qml");
}
