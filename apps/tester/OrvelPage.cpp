// SPDX-License-Identifier: Apache-2.0
#include "OrvelPage.h"

#include "FiberInspection/FiberRealtimeAnalyser.h"

#include <QtQml>

void registerPageTypes()
{
    qmlRegisterUncreatableMetaObject(
        OrvelPage::staticMetaObject, "OrvelPage", 1, 0, "OrvelPage", QStringLiteral("OrvelPage names the pages"));
    qmlRegisterType<FiberInspection::FiberRealtimeAnalyser>("FiberInspection", 1, 0, "FiberRealtimeAnalyser");
}
