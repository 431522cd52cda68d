// SPDX-License-Identifier: Apache-2.0
#include "Tester.h"

#include "DesktopSession.h"
#include "FocusMeter.h"
#include "IconProvider.h"
#include "OrvelApplication.h"
#include "Pages/InspectionPages.h"
#include "PictureProvider.h"
#include "WorkFolder.h"
#include "simulation/SimulatedScope.h"

#include <QQmlContext>
#include <QQuickStyle>
#include <QQuickWindow>

#include <utility>

static void initTesterResources() // Q_INIT_RESOURCE does not work in a namespace
{
    Q_INIT_RESOURCE(tester);
}

InspectionThread::InspectionThread(JobStore *jobs)
    : mManager(new KeepingManager(jobs->folder()))
{
    QObject::connect(mManager, &KeepingManager::opened, jobs, &JobStore::hear);
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

void Tester::prepareProcess(const QString &pluginPath)
{
    WorkFolder::create();
    HardwareManager::prepare(pluginPath);
    const DesktopSession session;
    OrvelApplication::initCore();
    OrvelApplication::initGui();
    session.restore();
}

Tester::Tester(const QSize &screenSize, const QString &language, const QStringList &mediaRoots)
    : mRemovableMedia(mediaRoots)
{
    QQuickStyle::setStyle(QStringLiteral("Material"));
    initTesterResources();

    const QString chosen = language.isEmpty() ? mSettings.language() : language;
    if (!chosen.isEmpty())
        mLanguage.setCurrent(chosen);
    mLanguage.setEngine(&mEngine);
    connectParts();
    publish();
    mEngine.setInitialProperties({
        {QStringLiteral("screenWidth"), screenSize.width()},
        {QStringLiteral("screenHeight"), screenSize.height()},
    });
    mEngine.load(QStringLiteral("qrc:/tester/Main.qml"));
}

void Tester::connectParts()
{
    QObject::connect(&mLanguage, &Language::currentChanged, &mSettings, &TesterSettings::setLanguage);
    QObject::connect(&mLanguage, &Language::currentChanged, &mJobs, &JobStore::retranslate);
    QObject::connect(&mLanguage, &Language::currentChanged, &mShownResult, &ShownResult::retranslate);
    QObject::connect(&mLanguage, &Language::currentChanged, &mComparison, &Comparison::retranslate);
    QObject::connect(&mFiberManager, &FiberManager::requested, &mSettings,
        [this](const QString &, FiberInspection::Standard::Id standard) { mSettings.setQuickStandard(standard); });
    QObject::connect(&mLanguage, &Language::currentChanged, &mReportWriter, &ReportWriter::retranslate);
    QObject::connect(&mJobs, &JobStore::reopened, &mReportWriter, &ReportWriter::lookAgain);
    QObject::connect(&mInspector, &Inspector::finished, &mShownResult, &ShownResult::offer);
    QObject::connect(&mSettings, &TesterSettings::quickInspectionBegins, &mFiberManager,
        [this] { mFiberManager.offerStandards(mSettings.quickStandards()); });
    mFiberManager.offerStandards(mSettings.quickStandards());
}

void Tester::publish()
{
    InspectionPages::ContextObjects pageObjects; // Main.qml has the others
    pageObjects.fiberManager = &mFiberManager;
    pageObjects.hardwareManager = &mHardware;
    InspectionPages::setUp(&mEngine, pageObjects);
    qmlRegisterType<FocusMeter>("VantorTester", 1, 0, "FocusMeter");
    mEngine.addImageProvider(QLatin1String(PictureProvider::name), new PictureProvider);
    mEngine.addImageProvider(QLatin1String(IconProvider::name), new IconProvider);
    const std::pair<const char *, QObject *> objects[] = {
        {"comparison", &mComparison},
        {"inspectionDetails", &mDetails},
        {"inspector", &mInspector},
        {"jobStore", &mJobs},
        {"keyboardUse", &mKeyboardUse},
        {"language", &mLanguage},
        {"removableMedia", &mRemovableMedia},
        {"reportWriter", &mReportWriter},
        {"shownResult", &mShownResult},
        {"settings", &mSettings},
        {"simulatedScope", mHardware.isSimulated() ? SimulatedScope::instance() : nullptr},
    };
    for (const auto &[name, object] : objects)
        mEngine.rootContext()->setContextProperty(QLatin1String(name), object);
}

Tester::~Tester()
{
    mLanguage.setEngine(nullptr); // the engine goes first
}

QQuickWindow *Tester::window() const
{
    return mEngine.rootObjects().isEmpty() ? nullptr : qobject_cast<QQuickWindow *>(mEngine.rootObjects().constFirst());
}
