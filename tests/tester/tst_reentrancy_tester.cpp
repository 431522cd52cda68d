// SPDX-License-Identifier: Apache-2.0
// What the tester offers to its pages, without the pages: receivers destroy it, ask it again, or come when it is gone.
#include "DrawnFibre.h"
#include "EndedThread.h"
#include "ForkedChild.h"
#include "HardwareManager.h"
#include "Helpers/AbsoluteBaseDir.h"
#include "InspectionDetails.h"
#include "JobStore.h"
#include "KeepingManager.h"
#include "Language.h"
#include "LogCapture.h"
#include "Managers/InspectionManager.h"
#include "NestedLoop.h"
#include "Pages/FiberManager.h"
#include "ReportWriter.h"
#include "TesterSettings.h"
#include "WorkFolder.h"
#include "simulation/SimulatedScope.h"

#include <QCoreApplication>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <utility>

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

/// Writes half a picture into a pipe, and puts the whole one in its place before whoever reads comes to the end.
class HalfWriter
{
public:
    HalfWriter(const QString &path, const QByteArray &bytes)
        : mPath(QFile::encodeName(path))
    {
        const QByteArray whole = mPath + ".whole";
        QFile file(QFile::decodeName(whole));
        const bool isMade = mkfifo(mPath.constData(), S_IRUSR | S_IWUSR) == 0
            && link(mPath.constData(), otherName().constData()) == 0 && file.open(QIODevice::WriteOnly)
            && file.write(bytes) == bytes.size();
        QVERIFY(isMade);
        mThread = std::thread([this, whole, half = bytes.left(bytes.size() / 2)] {
            sigset_t pipes;
            sigemptyset(&pipes);
            sigaddset(&pipes, SIGPIPE);
            pthread_sigmask(SIG_BLOCK, &pipes, nullptr);
            const int descriptor = open(mPath.constData(), O_WRONLY | O_CLOEXEC);
            const ssize_t written = write(descriptor, half.constData(), static_cast<size_t>(half.size()));
            Q_UNUSED(written)
            std::rename(whole.constData(), mPath.constData());
            close(descriptor);
        });
    }
    ~HalfWriter()
    {
        const int reader = open(otherName().constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC); // nobody else may have
        mThread.join();
        close(reader);
    }
    HalfWriter(const HalfWriter &) = delete;
    HalfWriter &operator=(const HalfWriter &) = delete;

private:
    QByteArray otherName() const { return mPath + ".pipe"; }

    const QByteArray mPath;
    std::thread mThread;
};

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

    /// Two points that could not be inspected, as the store keeps them.
    static QUuid storedJob()
    {
        Records::RecordStore store;
        store.open(JobStore::defaultFolder());
        Records::Job job;
        job.name = QStringLiteral("Panel 7");
        const Records::Job added = store.addJob(job).value;
        const auto points = store.addPoints(added.id, {QStringLiteral("A1"), QStringLiteral("A2")}).value;
        for (const Records::Point &point : points) {
            const auto inspection = FiberInspection::inspectFile(QStringLiteral("/none"), job.standard);
            store.addInspection(Records::Origin::of(point.id), inspection, {});
        }
        return added.identity;
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

    /// A camera may still be writing.
    void theStoredPictureIsTheOneThatWasInspected()
    {
        const QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("records"));
        Records::RecordStore store;
        QVERIFY(store.open(folder).canWrite());
        Records::Job job;
        job.name = QStringLiteral("Panel 7");
        job = store.addJob(job).value;
        const Records::Point point = store.addPoints(job.id, {QStringLiteral("1"), QStringLiteral("1")}).value.value(0);
        KeepRequest request;
        request.ticket = 1;
        request.job = job.identity;
        request.point = point.id;
        request.pointName = point.name;
        request.standard = job.standard;
        request.picturePath = dir.filePath(QStringLiteral("port.jpg"));
        DrawnFibre fibre;
        fibre.size = QSize(400, 300);
        fibre.center = QPointF(200, 150);
        const QByteArray whole = fibre.jpeg();
        HalfWriter camera(request.picturePath, whole);
        KeepingManager manager(folder); // in this thread
        Q_EMIT manager.requestStart();
        KeptInspection kept;
        connect(&manager, &KeepingManager::kept, this, [&kept](const KeptInspection &answer) { kept = answer; });

        Q_EMIT manager.requestKeep(request);

        QVERIFY2(kept.id != Records::noId, qPrintable(kept.problem.text));
        const Records::StoredInspection record = store.inspection(kept.id).value;
        QVERIFY(record.verdict == Records::Verdict::None || store.picture(record.picture).value == whole);
        QCOMPARE(store.picture(record.picture).value == whole, record.verdict != Records::Verdict::None);
    }

    void aReceiverOfOtherStandardsMayDestroyThem()
    {
        auto *const standards = new StandardModel;
        connect(standards, &StandardModel::modelAboutToBeReset, this, [standards] { delete standards; });
        const QPointer<StandardModel> watched(standards);

        standards->setStandards({Standard::IEC61300_3_35_MM});

        QVERIFY(!watched);
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

    void theAnswersOfEveryStartBelongToTheirRequest_data()
    {
        QTest::addColumn<bool>("isMoved");
        QTest::newRow("a manager in this thread") << false;
        QTest::newRow("a manager in another thread") << true;
    }
    void theAnswersOfEveryStartBelongToTheirRequest()
    {
        QFETCH(const bool, isMoved);
        QVERIFY(setFace(true));
        QThread thread;
        auto *const inspections = new InspectionManager;
        FiberManager fibers(inspections);
        QStringList answers;
        hearAnswers(&fibers, &answers);
        connect(&thread, &QThread::finished, inspections, &QObject::deleteLater);
        if (isMoved)
            inspections->moveToThread(&thread);
        thread.start();
        const auto work = [&] {
            if (isMoved)
                QMetaObject::invokeMethod(
                    inspections, [] {}, Qt::BlockingQueuedConnection);
        };

        Q_EMIT inspections->requestStart();
        Q_EMIT inspections->requestStart();
        work();
        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        work();
        fibers.forgetRequests(); // in another thread, both of its answers are on their way
        fibers.requestAnalyse(QStringLiteral("port 2"), anyStandard);
        work();
        QCoreApplication::processEvents();

        const QString first = QStringLiteral("port 1");
        const QString second = QStringLiteral("port 2");
        QCOMPARE(answers, isMoved ? (QStringList{second, second}) : (QStringList{first, first, second, second}));
        if (!isMoved)
            delete inspections;
        thread.quit();
        QVERIFY(thread.wait(NestedLoop::patience));
    }

    void aRequestBeforeTheStartFailsAndTakesNoLaterAnswer()
    {
        QVERIFY(setFace(true));
        InspectionManager inspections;
        FiberManager fibers(&inspections);
        QStringList answers;
        hearAnswers(&fibers, &answers);

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        fibers.forgetRequests();
        Q_EMIT inspections.requestStart();
        fibers.requestAnalyse(QStringLiteral("port 2"), anyStandard);

        QCOMPARE(answers, (QStringList{QStringLiteral("failed"), QStringLiteral("port 2")}));
    }

    void anAnswerIsNotToldBehindThatToALaterRequest_data()
    {
        QTest::addColumn<bool>("isThere");
        QTest::addColumn<QString>("expected");
        QTest::newRow("the later one is inspected") << true << QStringLiteral("port 2");
        QTest::newRow("the later one fails") << false << QStringLiteral("failed");
    }
    void anAnswerIsNotToldBehindThatToALaterRequest()
    {
        QFETCH(const bool, isThere);
        QFETCH(const QString, expected);
        QVERIFY(setFace(true));
        InspectionManager inspections;
        Q_EMIT inspections.requestStart();
        std::unique_ptr<FiberManager> fibers;
        bool isDone = false;
        connect(&inspections, &InspectionManager::inspected, this, [&] { // hears of it before the pages
            if (isDone)
                return;
            isDone = true;
            QVERIFY(setFace(isThere));
            QVERIFY(NestedLoop::runWith([&] { fibers->requestAnalyse(QStringLiteral("port 2"), anyStandard); }));
        });
        fibers = std::make_unique<FiberManager>(&inspections);
        QStringList answers;
        hearAnswers(fibers.get(), &answers);

        fibers->requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QCOMPARE(answers, QStringList(expected));
    }

    void answersToOthersInTheMidstOfAnInspectionAreNotPassedOn_data()
    {
        QTest::addColumn<bool>("isBefore");
        QTest::addColumn<bool>("isByPages");
        QTest::newRow("before the own answer, to pages") << true << true;
        QTest::newRow("before the own answer, to an application") << true << false;
        QTest::newRow("behind the own answer, to pages") << false << true;
        QTest::newRow("behind the own answer, to an application") << false << false;
    }
    void answersToOthersInTheMidstOfAnInspectionAreNotPassedOn()
    {
        QFETCH(const bool, isBefore);
        QFETCH(const bool, isByPages);
        QVERIFY(setFace(true));
        InspectionManager inspections;
        Q_EMIT inspections.requestStart();
        FiberManager others(&inspections);
        bool isDone = false;
        const auto hear = [&] {
            connect(&inspections, &InspectionManager::inspected, this, [&] {
                if (isDone)
                    return;
                isDone = true;
                QVERIFY(NestedLoop::runWith([&] {
                    if (isByPages)
                        others.requestAnalyse(QStringLiteral("port 2"), anyStandard);
                    else
                        Q_EMIT inspections.requestAnalyse(
                            QStringLiteral("port 2"), static_cast<Standard::Id>(anyStandard));
                }));
            });
        };
        if (isBefore)
            hear();
        FiberManager fibers(&inspections);
        if (!isBefore)
            hear();
        QStringList answers;
        QStringList othersAnswers;
        hearAnswers(&fibers, &answers);
        hearAnswers(&others, &othersAnswers);

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QVERIFY(isDone);
        QCOMPARE(answers, QStringList(QStringLiteral("port 1")));
        QCOMPARE(othersAnswers, isByPages ? QStringList(QStringLiteral("port 2")) : QStringList());
    }

    void whatAReceiverHasInspectedAroundAnInspectionIsForOthers_data()
    {
        QTest::addColumn<QString>("moment");
        QTest::addColumn<QString>("name");
        const QString other = QStringLiteral("port 2");
        QTest::newRow("when it begins") << QStringLiteral("begun") << other;
        QTest::newRow("when it has ended") << QStringLiteral("ended") << other;
        QTest::newRow("when it has ended, under the same name") << QStringLiteral("ended") << QStringLiteral("port 1");
        QTest::newRow("when it is requested") << QStringLiteral("requested") << other;
        QTest::newRow("when it is requested, under the same name")
            << QStringLiteral("requested") << QStringLiteral("port 1");
    }
    void whatAReceiverHasInspectedAroundAnInspectionIsForOthers()
    {
        QFETCH(const QString, moment);
        QFETCH(const QString, name);
        QVERIFY(setFace(true));
        InspectionManager inspections;
        bool isDone = false;
        const auto hear = [&] {
            if (!std::exchange(isDone, true))
                Q_EMIT inspections.requestAnalyse(name, static_cast<Standard::Id>(anyStandard));
        };
        if (moment == QLatin1String("requested"))
            connect(&inspections, &InspectionManager::requestAnalyse, this, hear);
        if (moment == QLatin1String("begun"))
            connect(&inspections, &InspectionManager::inspectionBegun, this, hear);
        Q_EMIT inspections.requestStart();
        FiberManager fibers(&inspections);
        if (moment == QLatin1String("ended"))
            connect(&inspections, &InspectionManager::inspectionEnded, this, hear);
        QStringList answers;
        hearAnswers(&fibers, &answers);

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QVERIFY(isDone);
        QCOMPARE(answers, QStringList(QStringLiteral("port 1")));
    }

    void thePageRequestsByTheSignalOfTheManager()
    {
        InspectionManager inspections;
        FiberManager fibers(&inspections);
        const QSignalSpy requests(&inspections, &InspectionManager::requestAnalyse);

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QCOMPARE(requests.count(), 1);
        QCOMPARE(requests[0][0].toString(), QStringLiteral("port 1"));
    }

    void aReceiverAtTheEndOfARequestMayThrow_data()
    {
        QTest::addColumn<bool>("isStarted");
        QTest::newRow("of the end of an inspection") << true;
        QTest::newRow("of the failure without a start") << false;
    }
    void aReceiverAtTheEndOfARequestMayThrow()
    {
        QFETCH(const bool, isStarted);
        const auto request = [isStarted](void (*end)()) {
            InspectionManager inspections;
            FiberManager fibers(&inspections);
            if (isStarted)
                Q_EMIT inspections.requestStart();
            QObject::connect(&inspections, &InspectionManager::inspectionEnded, end);
            QObject::connect(&fibers, &FiberManager::analyseFailed, &fibers, [isStarted, end] {
                if (!isStarted)
                    end();
            });
            fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        };

        const ForkedChild thrower = ForkedChild::run([request] {
            try {
                request([] { throw std::runtime_error("the receiver's own"); });
            } catch (const std::runtime_error &) {
                return 0;
            }
            return 1;
        });
        const ForkedChild ender = EndedThread::run([request] { request(&EndedThread::end); });

        QVERIFY2(thrower.exitCode == 0, thrower.standardError.constData());
        QVERIFY2(ender.exitCode == 0, ender.standardError.constData());
    }

    void aRequestWhoseManagerIsDeletedFails()
    {
        QVERIFY(setFace(true));
        auto *const inspections = new InspectionManager;
        Q_EMIT inspections->requestStart();
        connect(inspections, &InspectionManager::inspected, this, [inspections] { delete inspections; });
        FiberManager fibers(inspections);
        QStringList answers;
        hearAnswers(&fibers, &answers);

        fibers.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        fibers.requestAnalyse(QStringLiteral("port 2"), anyStandard);

        QCOMPARE(answers, QStringList(QStringLiteral("failed")));
    }

    void aReceiverOfAReportMayDoAnything_data()
    {
        addDeedRows({QStringLiteral("progress"), QStringLiteral("change"), QStringLiteral("end")}, "written again");
    }
    void aReceiverOfAReportMayDoAnything()
    {
        QFETCH(const QString, moment);
        QFETCH(const Deed, deed);
        const QTemporaryDir exports;
        TesterSettings settings(mFolder.filePath(QStringLiteral("tester.ini")));
        settings.setExportFolder(exports.path());
        auto *const writer = new ReportWriter(JobStore::defaultFolder(), &settings);
        const QPointer<ReportWriter> alive(writer);
        writer->look(storedJob());
        QTRY_VERIFY(!writer->isReading());
        QCOMPARE(writer->facts().value(QStringLiteral("withoutVerdict")).toInt(), 2);
        bool isDone = false;
        const auto write = [writer] { writer->write(ReportOrder::Table, QStringLiteral("en"), {}); };
        const auto hear = [&] {
            if (std::exchange(isDone, true))
                return;
            carryOut(deed, writer, write);
        };
        if (moment == QLatin1String("progress"))
            connect(writer, &ReportWriter::progressChanged, this, hear);
        else if (moment == QLatin1String("change"))
            connect(writer, &ReportWriter::changed, this, hear);
        else
            connect(writer, &ReportWriter::finished, this, hear);

        write();

        QTRY_VERIFY(isDone && (!alive || !alive->isWriting()));
        QCOMPARE(alive.isNull(), deletes(deed));
        const QStringList files = QDir(exports.path()).entryList(QDir::Files | QDir::Hidden);
        for (const QString &file : files)
            QVERIFY2(file.startsWith(QLatin1String("Panel 7 ")), qPrintable(file)); // none that was only begun
        const bool isAtEnd = moment == QLatin1String("end");
        const bool mayBeThere = deletes(deed) && !isAtEnd; // the worker may have been quicker
        QVERIFY(mayBeThere || files.size() == (deletes(deed) || !isAtEnd ? 1 : 2));
        delete alive.data();
    }

    void answersToOthersAreNotPassedOn()
    {
        QVERIFY(setFace(true));
        InspectionManager inspections;
        FiberManager fibers(&inspections);
        QStringList answers;
        hearAnswers(&fibers, &answers);
        Q_EMIT inspections.requestStart();

        Q_EMIT inspections.requestAnalyse(QStringLiteral("port 1"), static_cast<Standard::Id>(anyStandard));
        fibers.requestAnalyse(QStringLiteral("port 2"), anyStandard);

        QCOMPARE(answers, QStringList(QStringLiteral("port 2")));
    }
};

QTEST_GUILESS_MAIN(TestReentrancyTester)
#include "tst_reentrancy_tester.moc"
