// SPDX-License-Identifier: Apache-2.0
#include "Setup.h"

#include "Destruction.h"
#include "Expect.h"
#include "HeldManager.h"
#include "Keyboard.h"
#include "LiveAnalyses.h"
#include "Managers/InspectionManager.h"
#include "NativeModel.h"
#include "Pages/FiberManager.h"
#include "Pages/InspectionPages.h"
#include "Processor.h"
#include "TestFiles.h"
#include "WorkDir.h"
#include "simulation/SimulatedScope.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickStyle>
#include <QThread>
#include <QtQml>

#include <cstdio>

namespace {
// While a file is loaded no test is running yet that would report what the engine has to say.
void reportOutsideOfTests(QtMsgType type, const QMessageLogContext &, const QString &text)
{
    const bool isFault = type != QtDebugMsg && type != QtInfoMsg;
    std::fprintf(stdout, "%s: outside of a test: %s\n", isFault ? "QWARN  " : "QDEBUG ", qPrintable(text));
    std::fflush(stdout);
}

template <typename T>
void registerSingleton(const char *name)
{
    qmlRegisterSingletonType<T>("VantorTest", 1, 0, name, [](QQmlEngine *, QJSEngine *) -> QObject * { return new T; });
}
} // namespace

struct Setup::Application
{
    Application()
    {
        manager->moveToThread(&thread);
        thread.start();
        Q_EMIT manager->requestStart();
    }
    ~Application()
    {
        heldManager.release();
        Q_EMIT manager->requestStop();
        manager->deleteLater();
        thread.quit();
        thread.wait();
    }
    Application(const Application &) = delete;
    Application &operator=(const Application &) = delete;

    TemporaryWorkDir workDir;
    QThread thread;
    InspectionManager *const manager = new InspectionManager;
    FiberManager fiberManager{manager};
    HeldManager heldManager{manager};
    TestFiles files{workDir.path()};
};

Setup::Setup()
{
    qInstallMessageHandler(&reportOutsideOfTests);
}

Setup::~Setup()
{
    qInstallMessageHandler(nullptr);
}

void Setup::applicationAvailable()
{
    QQuickStyle::setStyle(QStringLiteral("Material"));
    mApplication = std::make_unique<Application>();
}

void Setup::qmlEngineAvailable(QQmlEngine *engine)
{
    qmlRegisterType<NativeModel>("VantorTest", 1, 0, "NativeModel");
    registerSingleton<Destruction>("Destruction");
    registerSingleton<Expect>("Expect");
    registerSingleton<Keyboard>("Keyboard");
    registerSingleton<LiveAnalyses>("LiveAnalyses");
    registerSingleton<Processor>("Processor");
    InspectionPages::setUp(engine, {}); // each test brings the objects that it wants
    engine->rootContext()->setContextProperty(QStringLiteral("realFiberManager"), &mApplication->fiberManager);
    engine->rootContext()->setContextProperty(QStringLiteral("heldManager"), &mApplication->heldManager);
    engine->rootContext()->setContextProperty(QStringLiteral("simulatedScope"), SimulatedScope::instance());
    engine->rootContext()->setContextProperty(QStringLiteral("files"), &mApplication->files);
}

void Setup::cleanupTestCase()
{
    mApplication.reset();
}
