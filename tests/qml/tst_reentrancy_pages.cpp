// SPDX-License-Identifier: Apache-2.0
// What the application offers to the pages shows dialogs: it runs event loops, in which the page that has called goes.
#include "FiberInspection/FiberRealtimeAnalyser.h"
#include "LogCapture.h"
#include "NestedLoop.h"
#include "Pages/InspectionPages.h"
#include "Pages/StandardModel.h"
#include "simulation/SimulatedScope.h"

#include <QGuiApplication>
#include <QPointer>
#include <QQmlComponent>
#include <QQmlContext>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickStyle>
#include <QQuickWindow>
#include <QTemporaryDir>
#include <QVariantMap>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>

using FiberInspection::FiberRealtimeAnalyser;

namespace {
enum class Deed {
    Delete,
    DeleteInLoop,
    RequestInLoop,
};
} // namespace

Q_DECLARE_METATYPE(Deed)

/// All that the application publishes, in one: tells when the pages call it.
class Application : public QObject
{
    Q_OBJECT

public:
    Application() { QQmlEngine::setObjectOwnership(&mStandards, QQmlEngine::CppOwnership); }

    std::function<void(const QString &)> onCall;
    QStringList calls;

    Q_INVOKABLE void showInfo(const QString &, const QString &) { note(QStringLiteral("showInfo")); }
    Q_INVOKABLE void showSuccess(const QString &) { note(QStringLiteral("showSuccess")); }
    Q_INVOKABLE void showError(const QString &) { note(QStringLiteral("showError")); }
    Q_INVOKABLE void navigateTo(int, const QString &, const QVariantMap &) { note(QStringLiteral("navigateTo")); }
    Q_INVOKABLE void pop() { note(QStringLiteral("pop")); }
    Q_INVOKABLE void requestAnalyse(const QString &, int) { note(QStringLiteral("requestAnalyse")); }
    Q_INVOKABLE QString tmpFiberInspectionImagePath() const { return mFolder.filePath(QStringLiteral("face.jpg")); }
    Q_INVOKABLE QObject *fiberInspectionStandardModel() { return &mStandards; }

Q_SIGNALS:
    // Named: Qt's engine reads freed memory where the parameters of a signal have no names.
    // NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): moc has names of its own
    void analyseFinished(bool passed, const QString &sourceFilePath, const QString &resultFilePath);
    void analyseFailed();
    void fiberMicroscopeDisconnected();

private:
    void note(const QString &call)
    {
        calls << call;
        if (const auto function = onCall)
            function(call);
    }

    QTemporaryDir mFolder;
    StandardModel mStandards;
};

class TestReentrancyPages : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> mLog;
    std::unique_ptr<QQmlEngine> mEngine;
    std::unique_ptr<QQuickWindow> mWindow;
    std::unique_ptr<Application> mApplication;

    QQuickItem *createPage(const QString &name)
    {
        QQmlComponent component(mEngine.get(), QUrl(QStringLiteral("qrc:/Vantor/Pages/%1.qml").arg(name)));
        auto *const page = qobject_cast<QQuickItem *>(component.create());
        if (!page) {
            qWarning().noquote() << component.errorString();
            return nullptr;
        }
        page->setParentItem(mWindow->contentItem());
        return page;
    }

    static QObject *buttonOf(QQuickItem *page, const char *text)
    {
        const QList<QQuickItem *> items = page->findChildren<QQuickItem *>();
        for (QQuickItem *const item : items) {
            if (item->property("text").toString() == QLatin1String(text) && item->inherits("QQuickAbstractButton"))
                return item;
        }
        return nullptr;
    }

    /// Whether no script has met an object that was gone.
    bool isLogClean() const { return mLog->warnings().filter(QStringLiteral("Error")).isEmpty(); }

    /// Does what ends in the call.
    bool cause(const QString &call, QQuickItem *page)
    {
        if (call == QStringLiteral("showSuccess") || call == QStringLiteral("showError")) {
            Q_EMIT mApplication->analyseFinished(call == QStringLiteral("showSuccess"), {}, {});
            return true;
        }
        if (call == QStringLiteral("pop")) {
            Q_EMIT mApplication->fiberMicroscopeDisconnected();
            return true;
        }
        auto *const analyser = page->findChild<FiberRealtimeAnalyser *>();
        QObject *const button = buttonOf(page, "Analyse");
        if (!analyser || !button
            || !NestedLoop::runUntil([&] { return button->property("enabled").toBool(); })) // the camera is ready
            return false;
        analyser->setActive(false); // or the next frame would tell another focus
        QCoreApplication::processEvents();
        analyser->set_focusValue(call == QStringLiteral("showInfo") ? 1.0 : 6.0);
        return QMetaObject::invokeMethod(button, "clicked");
    }

private Q_SLOTS:
    void initTestCase()
    {
        QCoreApplication::addLibraryPath(QStringLiteral(VANTOR_PLUGIN_FOLDER));
        QQuickStyle::setStyle(QStringLiteral("Material"));
    }

    void init()
    {
        mLog = std::make_unique<LogCapture>();
        mApplication = std::make_unique<Application>();
        mEngine = std::make_unique<QQmlEngine>();
        InspectionPages::ContextObjects objects;
        for (QObject **object : {&objects.appController, &objects.fiberManager, &objects.hardwareManager,
                 &objects.messageBoxManager, &objects.snackBar, &objects.stackView})
            *object = mApplication.get();
        InspectionPages::setUp(mEngine.get(), objects);
        mWindow = std::make_unique<QQuickWindow>();
        mWindow->resize(800, 480);
    }

    void cleanup()
    {
        mWindow.reset();
        mEngine.reset();
        mApplication.reset();
        mLog.reset();
    }

    void aPageMayGoInWhatItCalls_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("call");
        QTest::addColumn<Deed>("deed");
        const QVector<std::pair<const char *, const char *>> calls{{"FiberInspectionPage", "showInfo"},
            {"FiberInspectionPage", "navigateTo"}, {"FiberInspectionPage", "requestAnalyse"},
            {"FiberInspectionPage", "pop"}, {"FiberInspectionResultPage", "showSuccess"},
            {"FiberInspectionResultPage", "showError"}};
        for (const auto &[page, call] : calls) {
            const auto row = [page = page, call = call](const char *text, Deed deed) {
                QTest::addRow("%s: %s", call, text) << QString::fromUtf8(page) << QString::fromUtf8(call) << deed;
            };
            row("the page is deleted", Deed::Delete);
            row("the page is deleted in a loop", Deed::DeleteInLoop);
            row("an answer comes in a loop", Deed::RequestInLoop);
        }
    }
    void aPageMayGoInWhatItCalls()
    {
        QFETCH(QString, page);
        QFETCH(QString, call);
        QFETCH(Deed, deed);
        const QPointer<QQuickItem> item = createPage(page);
        QVERIFY(item);
        bool isDone = false;
        mApplication->onCall = [&](const QString &called) {
            if (called != call || isDone)
                return;
            isDone = true;
            if (deed == Deed::Delete)
                delete item;
            else if (deed == Deed::DeleteInLoop)
                QVERIFY(NestedLoop::runAndDelete(item));
            else
                QVERIFY(NestedLoop::runWith([this] { Q_EMIT mApplication->analyseFailed(); }));
        };

        QVERIFY(cause(call, item));

        QVERIFY(NestedLoop::runUntil([&] { return isDone; }));
        QCOMPARE(item.isNull(), deed != Deed::RequestInLoop);
        QCOMPARE(mApplication->calls.count(call), 1);
        QVERIFY(isLogClean());
        delete item;
    }

    void aDialogOfOnePageHoldsUpNoOther()
    {
        const std::unique_ptr<QQuickItem> inspection(createPage(QStringLiteral("FiberInspectionPage")));
        const std::unique_ptr<QQuickItem> result(createPage(QStringLiteral("FiberInspectionResultPage")));
        QVERIFY(inspection && result);
        const auto hasPopped = [this] { return mApplication->calls.contains(QStringLiteral("pop")); };
        bool hasPoppedInDialog = false;
        mApplication->onCall = [&](const QString &called) {
            if (called == QStringLiteral("showError"))
                hasPoppedInDialog = NestedLoop::runUntil(hasPopped);
        };

        Q_EMIT mApplication->analyseFinished(false, {}, {});
        Q_EMIT mApplication->fiberMicroscopeDisconnected();

        QVERIFY(NestedLoop::runUntil(hasPopped));
        QVERIFY(hasPoppedInDialog);
        QVERIFY(isLogClean());
    }

    void aPageThatHasGoneBeforeItsCallMakesNone()
    {
        const QPointer<QQuickItem> item = createPage(QStringLiteral("FiberInspectionPage"));
        QVERIFY(item);
        QVERIFY(cause(QStringLiteral("showInfo"), item));

        delete item;
        QVERIFY(NestedLoop::runWith([] {}));

        QCOMPARE(mApplication->calls, QStringList());
        QVERIFY(isLogClean());
    }
};

int main(int argc, char *argv[])
{
    qputenv("QT_QUICK_BACKEND", "software");
    const QGuiApplication application(argc, argv);
    TestReentrancyPages test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_reentrancy_pages.moc"
