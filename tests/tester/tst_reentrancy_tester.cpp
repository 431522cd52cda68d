// SPDX-License-Identifier: Apache-2.0
// What the tester offers to its pages, without the pages: receivers destroy it, ask it again, or come when it is gone.
#include "DrawnFibre.h"
#include "HardwareManager.h"
#include "Helpers/AbsoluteBaseDir.h"
#include "InspectionDetails.h"
#include "Language.h"
#include "LogCapture.h"
#include "Managers/InspectionManager.h"
#include "NestedLoop.h"
#include "Pages/FiberManager.h"
#include "WorkFolder.h"
#include "simulation/SimulatedScope.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>

using FiberInspection::Standard;

static void initTesterResources() // Q_INIT_RESOURCE does not work in a namespace
{
    Q_INIT_RESOURCE(tester);
}

namespace {
constexpr int anyStandard = Standard::IEC61300_3_35_SM_RL45;

enum class Deed {
    Delete,
    DeleteInLoop,
    DoAgainInLoop,
};

bool deletes(Deed deed)
{
    return deed != Deed::DoAgainInLoop;
}

void carryOut(Deed deed, QObject *object, const std::function<void()> &doAgain)
{
    if (deed == Deed::Delete)
        delete object;
    else if (deed == Deed::DeleteInLoop)
        QVERIFY(NestedLoop::runAndDelete(object));
    else
        QVERIFY(NestedLoop::runWith(doAgain));
}

/// Calls a function when the application is told of another language.
class LanguageListener : public QObject
{
public:
    explicit LanguageListener(std::function<void()> receiver)
        : mReceiver(std::move(receiver))
    {
        QCoreApplication::instance()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::LanguageChange)
            mReceiver();
        return false;
    }

private:
    const std::function<void()> mReceiver;
};
} // namespace

Q_DECLARE_METATYPE(Deed)

class TestReentrancyTester : public QObject
{
    Q_OBJECT

private:
    QTemporaryDir mFolder;
    std::unique_ptr<AbsoluteBaseDir> mDirs;
    std::unique_ptr<LogCapture> mLog;

    static void addDeedRows(const QStringList &moments, const char *again)
    {
        QTest::addColumn<QString>("moment");
        QTest::addColumn<Deed>("deed");
        for (const QString &moment : moments) {
            QTest::addRow("%s: deleted", qPrintable(moment)) << moment << Deed::Delete;
            QTest::addRow("%s: deleted in a loop", qPrintable(moment)) << moment << Deed::DeleteInLoop;
            QTest::addRow("%s: %s in a loop", qPrintable(moment), again) << moment << Deed::DoAgainInLoop;
        }
    }

    static bool setFace(bool isThere)
    {
        const QString path = BaseDirHelper::tmpFiberInspectionImagePath();
        QFile::remove(path);
        DrawnFibre fibre;
        fibre.size = QSize(400, 300);
        fibre.center = QPointF(200, 150);
        return !isThere || writeFile(path, fibre.jpeg());
    }

    /// Whose verdict is told, by the name of the request, and what failed.
    void hearAnswers(FiberManager *fibers, QStringList *answers)
    {
        connect(fibers, &FiberManager::analyseFinished, this,
            [answers](bool, const QString &source) { *answers << QFileInfo(source).dir().dirName(); });
        connect(fibers, &FiberManager::analyseFailed, this, [answers] { *answers << QStringLiteral("failed"); });
    }

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(mFolder.isValid());
        initTesterResources();
        mDirs = std::make_unique<AbsoluteBaseDir>(mFolder.path());
        WorkFolder::create();
        HardwareManager::prepare(SimulatedScope::pluginPath());
    }
    void cleanupTestCase() { mDirs.reset(); }

    void init()
    {
        mLog = std::make_unique<LogCapture>();
        SimulatedScope::instance()->setPlugged(true);
    }
    void cleanup() { mLog.reset(); }

    void aReceiverOfTheLossOfTheScopeMayDoAnything_data()
    {
        addDeedRows({QStringLiteral("change"), QStringLiteral("loss")}, "plugged in again");
    }
    void aReceiverOfTheLossOfTheScopeMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        const QPointer<HardwareManager> hardware = new HardwareManager;
        QVERIFY(hardware->isSimulated());
        int losses = 0;
        bool isDone = false;
        const auto hear = [&](const char *heard) {
            if (moment != QLatin1String(heard) || isDone)
                return;
            isDone = true;
            carryOut(deed, hardware, [] { SimulatedScope::instance()->setPlugged(true); });
        };
        connect(hardware, &HardwareManager::isScopeConnectedChanged, this, [&] { hear("change"); });
        connect(hardware, &HardwareManager::fiberMicroscopeDisconnected, this, [&] {
            ++losses;
            hear("loss");
        });

        SimulatedScope::instance()->setPlugged(false);

        QVERIFY(isDone);
        QCOMPARE(hardware.isNull(), deletes(deed));
        QCOMPARE(
            losses, deletes(deed) && moment == QStringLiteral("change") ? 0 : 1); // it was out, if only for a moment
        if (hardware)
            QVERIFY(hardware->isScopeConnected());
        delete hardware;
    }

    void aReceiverOfALanguageMayDoAnything_data()
    {
        addDeedRows({QStringLiteral("change"), QStringLiteral("event")}, "changed back");
    }
    void aReceiverOfALanguageMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        const QPointer<Language> language = new Language;
        language->setCurrent(QStringLiteral("en"));
        QStringList told;
        bool isDone = false;
        const auto hear = [&](const char *heard) {
            if (moment != QLatin1String(heard) || isDone)
                return;
            isDone = true;
            carryOut(deed, language, [&] { language->setCurrent(QStringLiteral("en")); });
        };
        connect(language, &Language::currentChanged, this, [&](const QString &text) {
            hear("change");
            told << text;
        });
        const LanguageListener listener([&] { hear("event"); });

        language->setCurrent(QStringLiteral("de"));

        QVERIFY(isDone);
        QCOMPARE(language.isNull(), deletes(deed));
        const bool isEvent = moment == QStringLiteral("event");
        const QStringList german{QStringLiteral("de")};
        const QStringList english{QStringLiteral("en")};
        QCOMPARE(told, deletes(deed) ? (isEvent ? QStringList() : german) : (isEvent ? english : english + german));
        QCOMPARE(QCoreApplication::translate("StatusBar", "No fibre scope"), QStringLiteral("No fibre scope"));
        delete language;
    }

    void aReceiverOfAnAnswerMayDoAnything_data()
    {
        addDeedRows({QStringLiteral("finished"), QStringLiteral("failed"), QStringLiteral("details")}, "requested");
    }
    void aReceiverOfAnAnswerMayDoAnything()
    {
        QFETCH(QString, moment);
        QFETCH(Deed, deed);
        QVERIFY(setFace(moment != QStringLiteral("failed")));
        InspectionManager inspections; // in this thread: the answer comes while the request is on the stack
        Q_EMIT inspections.requestStart();
        const QPointer<FiberManager> fibers = new FiberManager(&inspections);
        const QPointer<InspectionDetails> details = new InspectionDetails(fibers);
        bool isDone = false;
        QStringList answers;
        hearAnswers(fibers, &answers);
        const auto hear = [&](const char *heard, QObject *sender) {
            if (moment != QLatin1String(heard) || isDone)
                return;
            isDone = true;
            carryOut(deed, sender, [&] { fibers->requestAnalyse(QStringLiteral("port 2"), anyStandard); });
        };
        connect(fibers, &FiberManager::analyseFinished, this, [&] { hear("finished", fibers); });
        connect(fibers, &FiberManager::analyseFailed, this, [&] { hear("failed", fibers); });
        connect(details, &InspectionDetails::changed, this, [&] { hear("details", details); });

        fibers->requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QVERIFY(isDone);
        const bool isFailed = moment == QStringLiteral("failed");
        const QString first = isFailed ? QStringLiteral("failed") : QStringLiteral("port 1");
        const QString second = isFailed ? QStringLiteral("failed") : QStringLiteral("port 2");
        const bool isOvertaken = moment == QStringLiteral("details");
        QCOMPARE(answers,
            deletes(deed)     ? QStringList{first}
                : isOvertaken ? QStringList{second}
                              : (QStringList{first, second}));
        delete details;
        delete fibers;
    }

    void aVerdictThatIsOutOfDateBeforeItIsToldIsDropped_data()
    {
        QTest::addColumn<bool>("isForgotten");
        QTest::addColumn<bool>("isRequested");
        QTest::addColumn<bool>("isThere");
        QTest::addColumn<QStringList>("expected");
        const QStringList next(QStringLiteral("port 2"));
        QTest::newRow("its page is left") << true << false << true << QStringList();
        QTest::newRow("its page is left, and the next face inspected") << true << true << true << next;
        QTest::newRow("the next face is inspected") << false << true << true << next;
        QTest::newRow("the next photograph fails") << false << true << false << QStringList(QStringLiteral("failed"));
        QTest::newRow("nothing") << false << false << true << QStringList(QStringLiteral("port 1"));
    }
    void aVerdictThatIsOutOfDateBeforeItIsToldIsDropped()
    {
        QFETCH(const bool, isForgotten);
        QFETCH(const bool, isRequested);
        QFETCH(const bool, isThere);
        QFETCH(const QStringList, expected);
        QVERIFY(setFace(true));
        InspectionManager inspections; // in this thread
        Q_EMIT inspections.requestStart();
        FiberManager fibers(&inspections);
        QStringList answers;
        hearAnswers(&fibers, &answers);
        bool isDone = false;
        connect(&fibers, &FiberManager::inspected, this, [&] {
            if (isDone)
                return;
            isDone = true;
            QVERIFY(setFace(isThere));
            QVERIFY(NestedLoop::runWith([&] {
                if (isForgotten)
                    fibers.forgetRequests();
                if (isRequested)
                    fibers.requestAnalyse(QStringLiteral("port 2"), anyStandard);
            }));
        });

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QVERIFY(isDone);
        QCOMPARE(answers, expected);
        answers.clear();
        QVERIFY(setFace(true));
        fibers.requestAnalyse(QStringLiteral("port 3"), anyStandard);
        QCOMPARE(answers, QStringList(QStringLiteral("port 3")));
    }

    void aRequestAfterTheManagersEndIsHarmless()
    {
        QVERIFY(setFace(true));
        QThread thread;
        auto *const inspections = new InspectionManager;
        FiberManager fibers(inspections);
        QStringList answers;
        hearAnswers(&fibers, &answers);
        Q_EMIT inspections->requestStart();
        inspections->moveToThread(&thread);
        connect(&thread, &QThread::finished, inspections, &QObject::deleteLater);
        thread.start();
        thread.quit();
        QVERIFY(thread.wait(NestedLoop::patience));
        QVERIFY(!CoreFiberInspectionManager::instance());

        InspectionManager next;
        Q_EMIT next.requestStart();
        FiberManager nextFibers(&next);
        QStringList nextAnswers;
        hearAnswers(&nextFibers, &nextAnswers);

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        nextFibers.requestAnalyse(QStringLiteral("port 2"), anyStandard);
        QCoreApplication::processEvents();

        QCOMPARE(answers, QStringList()); // the next manager answers to others
        QCOMPARE(nextAnswers, QStringList(QStringLiteral("port 2")));
    }

    void anAnswerThatNobodyWaitsForIsNotTakenForTheNextOne()
    {
        QVERIFY(setFace(true));
        QThread thread;
        auto *const inspections = new InspectionManager;
        FiberManager fibers(inspections);
        const InspectionDetails details(&fibers);
        QSignalSpy finished(&fibers, &FiberManager::analyseFinished);
        QSignalSpy failed(&fibers, &FiberManager::analyseFailed);
        inspections->moveToThread(&thread);
        connect(&thread, &QThread::finished, inspections, &QObject::deleteLater);
        thread.start();
        Q_EMIT inspections->requestStart();
        QMetaObject::invokeMethod(
            inspections, [] {}, Qt::BlockingQueuedConnection);

        fibers.requestAnalyse(QStringLiteral("face before"), anyStandard); // its page is left
        fibers.forgetRequests();
        fibers.requestAnalyse(QStringLiteral("face before"), Standard::Manual); // for which there is no verdict

        QVERIFY(NestedLoop::runUntil([&] { return failed.count() > 0; }));
        QCOMPARE(finished.count(), 0);
        QVERIFY(!details.isReady());
        fibers.requestAnalyse(QStringLiteral("next face"), anyStandard);
        QVERIFY(NestedLoop::runUntil([&] { return finished.count() > 0; }));
        QVERIFY(details.isReady() && !details.rules().isEmpty());
        thread.quit();
        QVERIFY(thread.wait(NestedLoop::patience));
    }
};

QTEST_GUILESS_MAIN(TestReentrancyTester)
#include "tst_reentrancy_tester.moc"
