// SPDX-License-Identifier: Apache-2.0
#include "Tester.h"

#include "DesktopSession.h"
#include "OrvelApplication.h"
#include "Pages/InspectionPages.h"
#include "WorkFolder.h"
#include "simulation/SimulatedScope.h"

#include <QQmlContext>
#include <QQuickStyle>
#include <QQuickWindow>

static void initTesterResources() // Q_INIT_RESOURCE does not work in a namespace
{
    Q_INIT_RESOURCE(tester);
}

InspectionThread::InspectionThread()
{
    mThread.setObjectName(QStringLiteral("inspection"));
    mManager->moveToThread(&mThread);
    QObject::connect(&mThread, &QThread::finished, mManager, &QObject::deleteLater);
    mThread.start();
    Q_EMIT mManager->requestStart();
}

InspectionThread::~InspectionThread()
{
    Q_EMIT mManager->requestStop();
    mThread.quit();
    mThread.wait();
}

void Tester::prepareProcess(const QString &pluginFolder)
{
    WorkFolder::create();
    HardwareManager::prepare(pluginFolder);
    const DesktopSession session;
    OrvelApplication::initCore();
    OrvelApplication::initGui();
    session.restore();
}

Tester::Tester(const QSize &screenSize)
{
    QQuickStyle::setStyle(QStringLiteral("Material"));
    initTesterResources();

    mLanguage.setEngine(&mEngine);
    InspectionPages::ContextObjects pageObjects; // Main.qml has the others
    pageObjects.fiberManager = &mFiberManager;
    pageObjects.hardwareManager = &mHardware;
    InspectionPages::setUp(&mEngine, pageObjects);
    QQmlContext *const context = mEngine.rootContext();
    context->setContextProperty(QStringLiteral("inspectionDetails"), &mDetails);
    context->setContextProperty(QStringLiteral("language"), &mLanguage);
    context->setContextProperty(
        QStringLiteral("simulatedScope"), mHardware.isSimulated() ? SimulatedScope::instance() : nullptr);
    mEngine.setInitialProperties({
        {QStringLiteral("screenWidth"), screenSize.width()},
        {QStringLiteral("screenHeight"), screenSize.height()},
    });
    mEngine.load(QStringLiteral("qrc:/tester/Main.qml"));
}

Tester::~Tester()
{
    mLanguage.setEngine(nullptr); // the engine goes first
}

QQuickWindow *Tester::window() const
{
    return mEngine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(mEngine.rootObjects().constFirst());
}
