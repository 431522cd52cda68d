// SPDX-License-Identifier: Apache-2.0
#include "DrawnFibre.h"
#include "EndedThread.h"
#include "Faults.h"
#include "FiberInspection/AnalyserPrivate.h"
#include "ForkedChild.h"
#include "Internal/ChildProcess.h"
#include "LogCapture.h"
#include "Managers/CoreFiberInspectionManager.h"
#include "WorkDir.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QMetaMethod>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTextStream>
#include <QThread>
#include <QTimer>
#include <QVector>
#include <QtTest>

#include <algorithm>
#include <atomic>
#include <malloc.h>
#include <memory>
#include <stdexcept>

using FiberInspection::AnalyserPrivate;
using FiberInspection::Device;
using FiberInspection::Standard;

namespace {
constexpr Standard::Id anyStandard = Standard::IEC61300_3_35_SM_RL45;
const char *const starvedRole = "--starved";

constexpr int plentyOfMemory = 1024 * 1024; // mebibytes

/// A manager in a thread of its own, and its answers as they arrive in this thread.
class WorkingManager : public QObject
{
public:
    struct Answer
    {
        bool failed = false;
        bool passed = false;
        QString source;
        QString result;
        QThread *receivedIn = nullptr;
    };

    WorkingManager()
        : mManager(new CoreFiberInspectionManager)
    {
        connect(mManager, &CoreFiberInspectionManager::analyseFinished, this,
            [this](bool passed, const QString &source, const QString &result) {
                mAnswers.append({false, passed, source, result, QThread::currentThread()});
                mAnswered.quit();
            });
        connect(mManager, &CoreFiberInspectionManager::analyseFailed, this, [this] {
            mAnswers.append({true, false, {}, {}, QThread::currentThread()});
            mAnswered.quit();
        });
        mManager->moveToThread(&mThread);
        connect(&mThread, &QThread::finished, mManager, &QObject::deleteLater);
        mThread.start();
    }
    ~WorkingManager() override
    {
        Q_EMIT mManager->requestStop();
        mThread.quit();
        mThread.wait();
    }

    CoreFiberInspectionManager *operator->() const { return mManager; }
    QThread *thread() { return &mThread; }
    const QVector<Answer> &answers() const { return mAnswers; }

    void request(const QString &name, Standard::Id standard = anyStandard) const
    {
        Q_EMIT mManager->requestAnalyse(name, standard);
    }

    /// Only then requests are heard.
    void start() const
    {
        Q_EMIT mManager->requestStart();
        waitUntilIdle();
    }

    /// When everything that was asked so far has been dealt with.
    void waitUntilIdle() const
    {
        QMetaObject::invokeMethod(
            mManager, [] {}, Qt::BlockingQueuedConnection);
        QCoreApplication::processEvents();
    }

    /// Whether there are as many answers by then; without the grain of polling.
    bool waitForAnswers(int count)
    {
        constexpr int limit = 10000; // milliseconds
        QTimer::singleShot(limit, &mAnswered, &QEventLoop::quit);
        while (mAnswers.size() < count) {
            const int before = mAnswers.size();
            mAnswered.exec();
            if (mAnswers.size() == before)
                return false;
        }
        return true;
    }

private:
    QThread mThread;
    CoreFiberInspectionManager *mManager;
    QVector<Answer> mAnswers;
    QEventLoop mAnswered;
};

class FailingDirectories : public BaseDirHelper
{
public:
    QString applicationDirName() override { throw std::runtime_error("no directories today"); }
};

class OddlyFailingDirectories : public BaseDirHelper
{
public:
    QString applicationDirName() override { throw 5; }
};

/// Whoever asks is ended.
class EndingDirectories : public BaseDirHelper
{
public:
    QString applicationDirName() override { EndedThread::end(); }
};

/// One inspection with only so much memory left. Prints "finished" or "failed", then the warnings.
int inspectStarved(int argc, char **argv)
{
    mallopt(M_ARENA_MAX, 1); // another arena would take address space of its own
    const QCoreApplication app(argc, argv);
    LogCapture log;
    const TemporaryWorkDir workDir;
    DrawnFibre fibre;
    fibre.size = QSize(3200, 2400);
    fibre.center = QPointF(1600, 1200);
    fibre.claddingRadius = 66; // the band of accepted radii is narrow on a large picture
    writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), fibre.jpeg());
    QStringList answers;
    {
        WorkingManager manager;
        manager.start();
        const int mebibytes = app.arguments().at(2).toInt();
        std::unique_ptr<Faults::MemoryLimit> limit;
        if (mebibytes < plentyOfMemory)
            limit = std::make_unique<Faults::MemoryLimit>(static_cast<quint64>(mebibytes) * 1024 * 1024);
        manager.request(QStringLiteral("port 1"));
        manager.waitUntilIdle();
        for (const WorkingManager::Answer &answer : manager.answers())
            answers << (answer.failed ? QStringLiteral("failed") : QStringLiteral("finished"));
    }
    QTextStream(stdout) << answers.join(QLatin1Char('+')) << '\n' << log.warnings().join(QLatin1Char('\n')) << '\n';
    return 0;
}
} // namespace

class TestCoreFiberInspectionManager : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> mLog;
    std::unique_ptr<TemporaryWorkDir> mWorkDir;

    static bool setCameraImage(const QByteArray &bytes)
    {
        return writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), bytes);
    }
    static QString filedPath(const QString &name) { return BaseDirHelper::fiberInspectionDir() + name; }
    int analyses() const { return mLog->texts(QtInfoMsg).count(QStringLiteral("---- START BENCHMARK ----")); }

private Q_SLOTS:
    void init()
    {
        mLog = std::make_unique<LogCapture>();
        mWorkDir = std::make_unique<TemporaryWorkDir>();
        QVERIFY(mWorkDir->isValid());
        QVERIFY(setCameraImage(DrawnFibre().jpeg()));
    }

    void cleanup()
    {
        QVERIFY(!CoreFiberInspectionManager::instance());
        mWorkDir.reset();
        mLog.reset();
    }

    void itsMetaObjectHasTheAgreedSignalsInTheAgreedOrder()
    {
        const QMetaObject &meta = CoreFiberInspectionManager::staticMetaObject;
        QCOMPARE(meta.superClass(), &AbstractCoreManager::staticMetaObject);
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            methods << QString::fromUtf8(meta.method(i).methodSignature());
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
        }

        QCOMPARE(methods,
            (QStringList{QStringLiteral("requestAnalyse(QString,FiberInspection::Standard::Id)"),
                QStringLiteral("analyseFinished(bool,QString,QString)"), QStringLiteral("analyseFailed()")}));
        const int first = meta.methodOffset();
        QCOMPARE(meta.method(first).parameterNames(), (QList<QByteArray>{"name", "standardId"}));
        QCOMPARE(
            meta.method(first + 1).parameterNames(), (QList<QByteArray>{"passed", "sourceFilePath", "resultFilePath"}));
        QCOMPARE(meta.propertyOffset(), meta.propertyCount()); // none of its own
    }

    void theInstanceIsTheOneThatLives()
    {
        QVERIFY(!CoreFiberInspectionManager::instance());
        {
            const CoreFiberInspectionManager manager;
            QCOMPARE(CoreFiberInspectionManager::instance(), &manager);
        }
        QVERIFY(!CoreFiberInspectionManager::instance());
        const CoreFiberInspectionManager next;
        QCOMPARE(CoreFiberInspectionManager::instance(), &next);
    }

    void aSecondManagerEndsTheProgram()
    {
        const ForkedChild child = ForkedChild::run([] {
            const CoreFiberInspectionManager first;
            const CoreFiberInspectionManager second;
            return 0;
        });

        QCOMPARE(child.signal, SIGABRT);
        QVERIFY2(child.standardError.contains(
                     "ASSERT failure in CoreFiberInspectionManager: \"Constructor should be called only once!\""),
            child.standardError.constData());
    }

    void aManagerAfterTheFirstOneIsGoneIsFine()
    {
        const ForkedChild child = ForkedChild::run([] {
            std::make_unique<CoreFiberInspectionManager>().reset();
            const CoreFiberInspectionManager second;
            return 7;
        });

        QCOMPARE(child.exitCode, 7);
    }

    void requestsBeforeTheStartAreDropped()
    {
        WorkingManager manager;

        manager.request(QStringLiteral("port 1"));
        manager.waitUntilIdle();
        manager.start();

        QVERIFY(manager.answers().isEmpty());
        QCOMPARE(analyses(), 0);
    }

    void requestsOnTheHeelsOfTheStartAreDropped()
    {
        WorkingManager manager;
        QSemaphore leave;
        QMetaObject::invokeMethod(manager.operator->(), [&] { leave.tryAcquire(1, 10000); });

        Q_EMIT manager->requestStart(); // waits in the queue, and nothing listens until it is handled
        manager.request(QStringLiteral("port 1"));
        leave.release();
        manager.waitUntilIdle();

        QVERIFY(manager.answers().isEmpty());
        QCOMPARE(analyses(), 0);
    }

    void aRequestQueuedBehindTheStartIsAnswered()
    {
        WorkingManager manager;
        Q_EMIT manager->requestStart();

        QMetaObject::invokeMethod(manager.operator->(), [&] { manager.request(QStringLiteral("port 1")); });

        QTRY_COMPARE(manager.answers().size(), 1);
        QVERIFY(!manager.answers().first().failed);
    }

    void aManagerStartedBeforeItsMoveAnswersAsWell()
    {
        auto *const manager = new CoreFiberInspectionManager;
        QThread thread;
        QObject receiver;
        int answers = 0;
        const auto count = [&] { ++answers; };
        connect(manager, &CoreFiberInspectionManager::analyseFinished, &receiver, count);
        Q_EMIT manager->requestStart();
        manager->moveToThread(&thread);
        connect(&thread, &QThread::finished, manager, &QObject::deleteLater);
        thread.start();

        Q_EMIT manager->requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QCOMPARE(answers, 0);
        QTRY_COMPARE(answers, 1);
        thread.quit();
        QVERIFY(thread.wait(10000));
    }

    void startAndStopTellNothing()
    {
        CoreFiberInspectionManager manager;
        QSignalSpy changed(&manager, &CoreFiberInspectionManager::isRunning_changed);
        QSignalSpy started(&manager, &CoreFiberInspectionManager::started);
        QSignalSpy stopped(&manager, &CoreFiberInspectionManager::stopped);

        Q_EMIT manager.requestStart();
        QVERIFY(!manager.isRunning());
        Q_EMIT manager.requestStop();

        QVERIFY(!manager.isRunning());
        QVERIFY(!manager.isRunning_dirty());
        QCOMPARE(changed.count() + started.count() + stopped.count(), 0);
    }

    void anAnswerCarriesTheVerdictAndThePaths_data()
    {
        QTest::addColumn<double>("pitRadius");
        QTest::addColumn<bool>("passed");
        QTest::newRow("clean face") << 0.0 << true;
        QTest::newRow("pit of 30 micrometres in the cladding") << 15.0 << false;
    }
    void anAnswerCarriesTheVerdictAndThePaths()
    {
        QFETCH(double, pitRadius);
        QFETCH(bool, passed);
        DrawnFibre fibre;
        fibre.pitRadius = pitRadius;
        QVERIFY(setCameraImage(fibre.jpeg()));
        WorkingManager manager;
        manager.start();

        manager.request(QStringLiteral("a/b"));

        QTRY_COMPARE(manager.answers().size(), 1);
        const WorkingManager::Answer answer = manager.answers().first();
        QVERIFY(!answer.failed);
        QCOMPARE(answer.passed, passed);
        QCOMPARE(answer.source, filedPath(QStringLiteral("a/b/source.jpg")));
        QCOMPARE(answer.result, filedPath(QStringLiteral("a/b/result.jpg")));
        QCOMPARE(answer.receivedIn, QThread::currentThread());
        QCOMPARE(readFile(answer.source), fibre.jpeg());
        QVERIFY(!readFile(answer.result).isEmpty());
    }

    void theAnalysisRunsInTheManagersThread()
    {
        WorkingManager manager;
        std::atomic<QThread *> emittedIn{nullptr};
        connect(
            manager.operator->(), &CoreFiberInspectionManager::analyseFinished, manager.operator->(),
            [&] { emittedIn = QThread::currentThread(); }, Qt::DirectConnection);
        manager.start();

        manager.request(QStringLiteral("port 1"));

        QTRY_COMPARE(manager.answers().size(), 1);
        QCOMPARE(emittedIn.load(), manager.thread());
    }

    void aRequestFromAnotherThreadReturnsAtOnce()
    {
        WorkingManager manager;
        manager.start();

        manager.request(QStringLiteral("port 1"));

        QVERIFY(manager.answers().isEmpty()); // answers come by the event loop of this thread
        QTRY_COMPARE(manager.answers().size(), 1);
    }

    void inOneThreadTheAnswerIsThereWhenTheEmitReturns()
    {
        CoreFiberInspectionManager manager;
        QSignalSpy finished(&manager, &CoreFiberInspectionManager::analyseFinished);
        Q_EMIT manager.requestStart();

        Q_EMIT manager.requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished.first(),
            (QVariantList{
                true, filedPath(QStringLiteral("port 1/source.jpg")), filedPath(QStringLiteral("port 1/result.jpg"))}));
    }

    void aSubclassHearsOfTheVerdictBeforeAnybodyElse()
    {
        class TellingManager : public CoreFiberInspectionManager
        {
        public:
            QStringList verdicts;
            QVariantList paths;
            int answersBefore = 0;
            const QSignalSpy *answers = nullptr;

        protected:
            void handleVerdict(const FiberInspection::Inspection &inspection, const QString &sourceFilePath,
                const QString &resultFilePath) override
            {
                verdicts << QStringLiteral("%1 %2").arg(inspection.passed()).arg(inspection.standardId());
                paths << sourceFilePath << resultFilePath;
                answersBefore += answers->count();
            }
        };
        TellingManager manager;
        const QSignalSpy finished(&manager, &CoreFiberInspectionManager::analyseFinished);
        const QSignalSpy failed(&manager, &CoreFiberInspectionManager::analyseFailed);
        manager.answers = &finished;
        Q_EMIT manager.requestStart();

        Q_EMIT manager.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        QCOMPARE(manager.verdicts, QStringList{QStringLiteral("1 %1").arg(anyStandard)});
        QCOMPARE(manager.answersBefore, 0);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(manager.paths, finished.constFirst().mid(1));

        Q_EMIT manager.requestAnalyse(QStringLiteral("port 1"), Standard::Manual); // no rules, no verdict
        QCOMPARE(failed.count(), 1);
        QCOMPARE(manager.verdicts.size(), 1);
    }

    void requestsCanBeMadeByName()
    {
        CoreFiberInspectionManager manager;
        QSignalSpy finished(&manager, &CoreFiberInspectionManager::analyseFinished);
        Q_EMIT manager.requestStart();

        QVERIFY(QMetaObject::invokeMethod(&manager, "requestAnalyse", Q_ARG(QString, QStringLiteral("port 1")),
            Q_ARG(FiberInspection::Standard::Id, anyStandard)));

        QCOMPARE(finished.count(), 1);
    }

    void everyRequestIsAnsweredInOrder()
    {
        WorkingManager manager;
        manager.start();

        for (int i = 0; i < 5; ++i)
            manager.request(QString::number(i), i == 3 ? Standard::Manual : anyStandard);

        QTRY_COMPARE(manager.answers().size(), 5);
        for (int i = 0; i < 5; ++i) {
            const WorkingManager::Answer answer = manager.answers()[i];
            QCOMPARE(answer.failed, i == 3);
            if (!answer.failed)
                QCOMPARE(answer.source, filedPath(QString::number(i) + QStringLiteral("/source.jpg")));
        }
    }

    void aSecondStartDoublesEveryAnswer()
    {
        WorkingManager manager;
        manager.start();
        manager.start();

        manager.request(QStringLiteral("port 1"));
        manager.waitUntilIdle();
        QCOMPARE(manager.answers().size(), 2);
        QCOMPARE(analyses(), 2);

        manager.start();
        manager.request(QStringLiteral("port 1"));
        manager.waitUntilIdle();
        QCOMPARE(manager.answers().size(), 5);
        QCOMPARE(analyses(), 5);
    }

    void aStoppedManagerStillAnswers()
    {
        WorkingManager manager;
        manager.start();
        Q_EMIT manager->requestStop();

        manager.request(QStringLiteral("port 1"));

        QTRY_COMPARE(manager.answers().size(), 1);
        QVERIFY(!manager.answers().first().failed);
    }

    void anErrorFilesTheImagesAllTheSame()
    {
        WorkingManager manager;
        manager.start();
        manager.request(QStringLiteral("port 1"));
        QTRY_COMPARE(manager.answers().size(), 1);
        const QByteArray formerResult = readFile(BaseDirHelper::tmpFiberInspectionResultImagePath());
        const QByteArray noImage("the lens cap was on");
        QVERIFY(setCameraImage(noImage));

        manager.request(QStringLiteral("port 2"));

        QTRY_COMPARE(manager.answers().size(), 2);
        QVERIFY(manager.answers().last().failed);
        QCOMPARE(readFile(filedPath(QStringLiteral("port 2/source.jpg"))), noImage);
        QCOMPARE(readFile(filedPath(QStringLiteral("port 2/result.jpg"))), formerResult);
    }

    void aMissingImageIsAFailure()
    {
        QVERIFY(QFile::remove(BaseDirHelper::tmpFiberInspectionImagePath()));
        WorkingManager manager;
        manager.start();

        manager.request(QStringLiteral("port 1"));

        QTRY_COMPARE(manager.answers().size(), 1);
        QVERIFY(manager.answers().first().failed);
    }

    void aNameThatLeadsOutOfTheDirectoryHasAVerdictButNoPaths()
    {
        WorkingManager manager;
        manager.start();

        manager.request(QStringLiteral("../../escaped"));

        QTRY_COMPARE(manager.answers().size(), 1);
        const WorkingManager::Answer answer = manager.answers().first();
        QVERIFY(!answer.failed);
        QVERIFY(answer.passed);
        QVERIFY(answer.source.isEmpty() && answer.result.isEmpty());
    }

    void anExceptionInTheWorkerIsAFailure()
    {
        mWorkDir.reset();
        const FailingDirectories directories;
        WorkingManager manager;
        manager.start();

        manager.request(QStringLiteral("port 1"));
        manager.request(QStringLiteral("port 2"));

        QTRY_COMPARE(manager.answers().size(), 2);
        QVERIFY(manager.answers()[0].failed && manager.answers()[1].failed);
        QCOMPARE(mLog->warnings(),
            QStringList() << QStringLiteral("inspection ended by an exception: no directories today")
                          << QStringLiteral("inspection ended by an exception: no directories today"));
    }

    void anExceptionOfAnyTypeIsAFailure()
    {
        mWorkDir.reset();
        const OddlyFailingDirectories directories;
        WorkingManager manager;
        manager.start();

        manager.request(QStringLiteral("port 1"));

        QTRY_COMPARE(manager.answers().size(), 1);
        QVERIFY(manager.answers().constFirst().failed);
        QCOMPARE(mLog->warnings(),
            QStringList(QStringLiteral("inspection ended by an exception: an exception of an unknown type")));
    }

    void anInspectionAfterAnExceptionGoesWell()
    {
        mWorkDir.reset();
        WorkingManager manager;
        manager.start();
        {
            const FailingDirectories directories;
            manager.request(QStringLiteral("port 1"));
            manager.waitUntilIdle();
        }
        mWorkDir = std::make_unique<TemporaryWorkDir>();
        QVERIFY(setCameraImage(DrawnFibre().jpeg()));

        manager.request(QStringLiteral("port 1"));

        QTRY_COMPARE(manager.answers().size(), 2);
        QVERIFY(manager.answers().first().failed);
        QVERIFY(!manager.answers().last().failed);
    }

    void anExceptionOfAListenerIsNotTakenForAFailure()
    {
        CoreFiberInspectionManager manager;
        QSignalSpy failed(&manager, &CoreFiberInspectionManager::analyseFailed);
        connect(&manager, &CoreFiberInspectionManager::analyseFinished, &manager,
            [] { throw std::runtime_error("the listener's own"); });
        Q_EMIT manager.requestStart();

        QVERIFY_EXCEPTION_THROWN(
            Q_EMIT manager.requestAnalyse(QStringLiteral("port 1"), anyStandard), std::runtime_error);

        QCOMPARE(failed.count(), 0);
    }

    void whateverMemoryIsLeftThereIsOneAnswer()
    {
        QVector<int> leftOver{plentyOfMemory}; // mebibytes
        for (int mebibytes = 0; Faults::canLimitMemory && mebibytes <= 240; mebibytes += 20)
            leftOver << mebibytes;
        int endedByException = 0;
        int finished = 0;

        for (const int mebibytes : qAsConst(leftOver)) {
            ChildProcess child;
            child.start(
                QCoreApplication::applicationFilePath(), {QString::fromUtf8(starvedRole), QString::number(mebibytes)});
            QVERIFY(child.waitForFinished(120000));
            const QByteArray output = child.readAllStandardOutput();
            QVERIFY2(child.exitStatus() == QProcess::NormalExit && child.exitCode() == 0, child.readAllStandardError());
            QVERIFY2(output.startsWith("failed\n") || output.startsWith("finished\n"), output.constData());
            finished += output.startsWith("finished\n") ? 1 : 0;
            endedByException += output.contains("inspection ended by an exception: OpenCV") ? 1 : 0;
        }

        QVERIFY(finished > 0);
        QCOMPARE(endedByException > 0, Faults::canLimitMemory);
    }

    void aManagerMayGoWhileRequestsWait()
    {
        for (int i = 0; i < 30; ++i) {
            WorkingManager manager;
            manager.start();
            for (int request = 0; request < 4; ++request)
                manager.request(QStringLiteral("port 1"));
            QThread::usleep(static_cast<unsigned long>(i) * 300);
        }

        QVERIFY(!CoreFiberInspectionManager::instance());
    }

    void theWayThroughTheManagerCostsLittle()
    {
        constexpr int rounds = 21;
        constexpr double tolerated = 50.0; // milliseconds; the machine may be busy with other things
        WorkingManager manager;
        manager.start();
        const auto median = [](QVector<double> &values) {
            std::sort(values.begin(), values.end());
            return values[values.size() / 2];
        };
        FiberInspection::Analyser analyser;
        QVector<double> analysis;
        QVector<double> withFiling;
        QVector<double> byManager;
        QElapsedTimer timer;
        const auto milliseconds = [&] { return static_cast<double>(timer.nsecsElapsed()) / 1e6; };

        for (int i = 0; i < rounds; ++i) {
            timer.start();
            AnalyserPrivate::analyse(
                anyStandard, BaseDirHelper::tmpFiberInspectionImagePath(), Device::ks20(), 1.0F, false);
            analysis.append(milliseconds());

            timer.start();
            analyser.analyse(anyStandard, QStringLiteral("port 1"));
            withFiling.append(milliseconds());

            timer.start();
            manager.request(QStringLiteral("port 2"));
            QVERIFY(manager.waitForAnswers(i + 1));
            byManager.append(milliseconds());
        }

        mLog.reset();
        const double more = median(byManager) - median(withFiling);
        qInfo("median of the analysis %.2f ms, with filing %.2f ms, from request to answer %.2f ms", median(analysis),
            median(withFiling), median(byManager));
        QVERIFY(more < tolerated);
    }

    void theEndOfItsThreadIsNoException()
    {
        mWorkDir.reset();

        const ForkedChild child = EndedThread::run([] {
            const EndingDirectories directories;
            CoreFiberInspectionManager manager;
            Q_EMIT manager.requestStart();
            Q_EMIT manager.requestAnalyse(QStringLiteral("port 1"), anyStandard);
        });

        QVERIFY2(child.exitCode == 0, child.standardError.constData());
    }
};

int main(int argc, char **argv)
{
    if (argc == 3 && qstrcmp(argv[1], starvedRole) == 0)
        return inspectStarved(argc, argv);
    QCoreApplication app(argc, argv);
    TestCoreFiberInspectionManager test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_corefiberinspectionmanager.moc"
