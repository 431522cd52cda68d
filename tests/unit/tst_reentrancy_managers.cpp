// SPDX-License-Identifier: Apache-2.0
// The receivers of a manager's signals delete it, ask it for more, or end its thread, while the emit is on the stack.
#include "DrawnFibre.h"
#include "LogCapture.h"
#include "Managers/CoreFiberInspectionManager.h"
#include "NestedLoop.h"
#include "WorkDir.h"

#include <QDir>
#include <QFileInfo>
#include <QHash>
#include <QPointer>
#include <QThread>
#include <QtTest>

#include <functional>
#include <memory>
#include <utility>

using FiberInspection::Inspection;
using FiberInspection::Standard;

namespace {
constexpr Standard::Id anyStandard = Standard::IEC61300_3_35_SM_RL45;
constexpr double pitted = 7; ///< pixels

enum class Deed {
    Delete,
    DeleteInLoop,
    DeleteAfterLoop,
    RequestInLoop,
    StopInLoop,
    StartInLoop,
    QuitThread,
};

/// How the request reaches the manager: by the emit of it, or by an event with QObject::event() on the stack.
enum class Way {
    Direct,
    Queued,
};

bool deletes(Deed deed)
{
    return deed == Deed::Delete || deed == Deed::DeleteInLoop || deed == Deed::DeleteAfterLoop;
}

/// A manager whose verdict somebody listens to.
class ListenedManager : public CoreFiberInspectionManager
{
public:
    std::function<void()> onVerdict;
    QHash<QString, Inspection> inspections; ///< by the path of the result

protected:
    void handleVerdict(const Inspection &inspection, const QString &, const QString &resultFilePath) override
    {
        inspections.insert(resultFilePath, inspection);
        if (const std::function<void()> receiver = onVerdict)
            receiver();
    }
};

/// Does something once, in the middle of the first line of the log that begins like that.
class LogDeed
{
public:
    LogDeed(const QString &lineBegin, const std::function<void()> &deed)
        : mLineBegin(lineBegin)
        , mDeed(deed)
    {
        sCurrent = this;
        mFormerHandler = qInstallMessageHandler(&LogDeed::read);
    }
    ~LogDeed()
    {
        qInstallMessageHandler(mFormerHandler);
        sCurrent = nullptr;
    }
    LogDeed(const LogDeed &) = delete;
    LogDeed &operator=(const LogDeed &) = delete;

    bool isDone() const { return mIsDone; }

private:
    static void read(QtMsgType, const QMessageLogContext &, const QString &text)
    {
        LogDeed *const self = sCurrent;
        if (self->mIsDone || !text.startsWith(self->mLineBegin))
            return;
        self->mIsDone = true;
        self->mDeed();
    }

    static inline LogDeed *sCurrent = nullptr;

    const QString mLineBegin;
    const std::function<void()> mDeed;
    QtMessageHandler mFormerHandler = nullptr;
    bool mIsDone = false;
};

template <typename Manager>
void emitRequest(Manager *manager, Way way, const std::function<void(Manager *)> &request)
{
    if (way == Way::Direct) {
        request(manager);
        return;
    }
    bool isDone = false;
    QMetaObject::invokeMethod(
        manager,
        [&isDone, manager, request] {
            isDone = true; // nothing of this is there any more afterwards
            request(manager);
        },
        Qt::QueuedConnection);
    NestedLoop::runUntil([&] { return isDone; });
}
} // namespace

Q_DECLARE_METATYPE(Deed)
Q_DECLARE_METATYPE(Way)

class TestReentrancyManagers : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<LogCapture> mLog;
    std::unique_ptr<TemporaryWorkDir> mWorkDir;

    static void addRows(const QStringList &signalNames, const QVector<std::pair<const char *, Deed>> &deeds)
    {
        QTest::addColumn<QString>("signalName");
        QTest::addColumn<Deed>("deed");
        QTest::addColumn<Way>("way");
        for (const QString &name : signalNames) {
            for (const auto &deed : deeds) {
                for (const Way way : {Way::Direct, Way::Queued}) {
                    QTest::addRow("%s, %s, %s", qPrintable(name), deed.first,
                        way == Way::Direct ? "asked directly" : "asked by an event")
                        << name << deed.second << way;
                }
            }
        }
    }

    static QString filedPath(const QString &name)
    {
        return BaseDirHelper::fiberInspectionDir() + name + QStringLiteral("/result.jpg");
    }
    static QString sourceOf(const QString &resultPath)
    {
        return QFileInfo(resultPath).path() + QStringLiteral("/source.jpg");
    }

    /// The file that an inspection has to leave as its result.
    QByteArray pictureOf(const Inspection &inspection) const
    {
        const QString path = mWorkDir->filePath(QStringLiteral("expected.jpg"));
        return inspection.saveAnnotatedImage(path) ? readFile(path) : QByteArray();
    }

private Q_SLOTS:
    void init()
    {
        mLog = std::make_unique<LogCapture>();
        mWorkDir = std::make_unique<TemporaryWorkDir>();
        QVERIFY(mWorkDir->isValid());
    }

    void cleanup()
    {
        mWorkDir.reset();
        mLog.reset();
    }

    void aReceiverOfAStartOrStopMayDoAnything_data()
    {
        addRows({QStringLiteral("running"), QStringLiteral("started"), QStringLiteral("not running"),
                    QStringLiteral("stopped")},
            {{"deleted", Deed::Delete}, {"deleted in a loop", Deed::DeleteInLoop},
                {"deleted after a loop", Deed::DeleteAfterLoop}, {"stopped in a loop", Deed::StopInLoop},
                {"started in a loop", Deed::StartInLoop}});
    }
    void aReceiverOfAStartOrStopMayDoAnything()
    {
        QFETCH(QString, signalName);
        QFETCH(Deed, deed);
        QFETCH(Way, way);
        const QPointer<AbstractCoreManager> manager = new AbstractCoreManager;
        QStringList told;
        bool isDone = false;
        const auto hear = [&](const QString &name) {
            told << name;
            if (name != signalName || isDone)
                return;
            isDone = true;
            if (deed == Deed::Delete) {
                delete manager;
            } else if (deed == Deed::DeleteInLoop) {
                QVERIFY(NestedLoop::runAndDelete(manager));
            } else if (deed == Deed::DeleteAfterLoop) {
                QVERIFY(NestedLoop::runWith([] {}));
                delete manager;
            } else {
                QVERIFY(NestedLoop::runWith([&] {
                    if (deed == Deed::StopInLoop)
                        Q_EMIT manager->requestStop();
                    else
                        Q_EMIT manager->requestStart();
                }));
            }
        };
        connect(manager, &AbstractCoreManager::isRunning_changed, this,
            [&](bool isRunning) { hear(isRunning ? QStringLiteral("running") : QStringLiteral("not running")); });
        connect(manager, &AbstractCoreManager::started, this, [&] { hear(QStringLiteral("started")); });
        connect(manager, &AbstractCoreManager::stopped, this, [&] { hear(QStringLiteral("stopped")); });

        const auto start = [](AbstractCoreManager *asked) { Q_EMIT asked->requestStart(); };
        const auto stop = [](AbstractCoreManager *asked) { Q_EMIT asked->requestStop(); };
        emitRequest<AbstractCoreManager>(manager, way, start);
        if (manager)
            emitRequest<AbstractCoreManager>(manager, way, stop);

        QVERIFY(isDone);
        QCOMPARE(manager.isNull(), deletes(deed));
        if (deletes(deed)) {
            QCOMPARE(told.last(), signalName); // the dead tell nothing
        } else {
            QCOMPARE(told.count(QStringLiteral("started")), deed == Deed::StartInLoop ? 2 : 1);
            QCOMPARE(told.count(QStringLiteral("stopped")), deed == Deed::StopInLoop ? 2 : 1);
            const bool isOnStop =
                signalName == QStringLiteral("not running") || signalName == QStringLiteral("stopped");
            QCOMPARE(manager->isRunning(), deed == Deed::StartInLoop && isOnStop);
        }
        delete manager;
    }

    void aReceiverOfAnAnswerMayDoAnything_data()
    {
        addRows({QStringLiteral("verdict"), QStringLiteral("finished"), QStringLiteral("failed")},
            {{"deleted", Deed::Delete}, {"deleted in a loop", Deed::DeleteInLoop},
                {"deleted after a loop", Deed::DeleteAfterLoop}, {"another request in a loop", Deed::RequestInLoop},
                {"stopped in a loop", Deed::StopInLoop}, {"started in a loop", Deed::StartInLoop}});
    }
    void aReceiverOfAnAnswerMayDoAnything()
    {
        QFETCH(QString, signalName);
        QFETCH(Deed, deed);
        QFETCH(Way, way);
        if (signalName != QStringLiteral("failed"))
            QVERIFY(writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), smallFace()));
        const QPointer<ListenedManager> manager = new ListenedManager;
        QStringList paths;
        int failures = 0;
        bool isDone = false;
        const auto hear = [&](const QString &name) {
            if (name != signalName || isDone)
                return;
            isDone = true;
            carryOut(deed, manager);
        };
        manager->onVerdict = [&] { hear(QStringLiteral("verdict")); };
        connect(manager, &CoreFiberInspectionManager::analyseFinished, this,
            [&](bool, const QString &, const QString &path) {
                hear(QStringLiteral("finished"));
                paths << path;
            });
        connect(manager, &CoreFiberInspectionManager::analyseFailed, this, [&] {
            ++failures;
            hear(QStringLiteral("failed"));
        });
        Q_EMIT manager->requestStart();

        emitRequest<ListenedManager>(manager, way,
            [](ListenedManager *asked) { Q_EMIT asked->requestAnalyse(QStringLiteral("port 1"), anyStandard); });

        QVERIFY(isDone);
        QCOMPARE(manager.isNull(), deletes(deed));
        QCOMPARE(CoreFiberInspectionManager::instance(), manager.data());
        const bool isFailure = signalName == QStringLiteral("failed");
        const bool wasGoneBefore = deletes(deed) && signalName == QStringLiteral("verdict");
        const QString first = filedPath(QStringLiteral("port 1"));
        const QString second = filedPath(QStringLiteral("port 2"));
        QCOMPARE(failures, !isFailure ? 0 : deed == Deed::RequestInLoop ? 2 : 1);
        if (isFailure || wasGoneBefore)
            QVERIFY(paths.isEmpty());
        else
            QCOMPARE(paths, deed == Deed::RequestInLoop ? (QStringList{second, first}) : QStringList{first});
        delete manager;
    }

    // A window that shows the log may run an event loop: new photographs and requests come in the midst of an
    // inspection.
    void aRequestWithinAnotherOneLeavesItsAnswerAlone_data()
    {
        QTest::addColumn<QString>("line");
        QTest::newRow("while it is inspected") << QStringLiteral("image loaded");
        QTest::newRow("after it was inspected") << QStringLiteral("TOOK");
        QTest::newRow("with the verdict") << QStringLiteral("TEST FAILED");
        QTest::newRow("while it is filed") << QStringLiteral("not filed");
    }
    void aRequestWithinAnotherOneLeavesItsAnswerAlone()
    {
        QFETCH(QString, line);
        const bool isSourceFiled = !line.startsWith(QStringLiteral("not filed"));
        const QString outer = filedPath(QStringLiteral("outer"));
        const QString inner = filedPath(QStringLiteral("inner"));
        if (!isSourceFiled) // a folder is in the way
            QVERIFY(QDir().mkpath(sourceOf(outer) + QStringLiteral("/inner")));
        const QByteArray dirty = smallFace(pitted);
        QVERIFY(writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), dirty));
        ListenedManager manager;
        QStringList answers;
        connect(&manager, &CoreFiberInspectionManager::analyseFinished, this,
            [&](bool passed, const QString &source, const QString &result) {
                QCOMPARE(source, sourceOf(result));
                answers << QStringLiteral("%1 %2").arg(passed).arg(result);
            });
        connect(&manager, &CoreFiberInspectionManager::analyseFailed, this, [&] { answers << QString(); });
        Q_EMIT manager.requestStart();

        {
            const LogDeed log(line, [&] {
                writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), smallFace());
                Q_EMIT manager.requestAnalyse(QStringLiteral("inner"), anyStandard);
            });
            Q_EMIT manager.requestAnalyse(QStringLiteral("outer"), anyStandard);
            QVERIFY(log.isDone());
        }

        QCOMPARE(answers, (QStringList{QStringLiteral("1 ") + inner, QStringLiteral("0 ") + outer}));
        QVERIFY(manager.inspections.value(inner).passed());
        QVERIFY(!manager.inspections.value(outer).passed());
        QCOMPARE(readFile(inner), pictureOf(manager.inspections.value(inner)));
        QCOMPARE(readFile(outer), pictureOf(manager.inspections.value(outer)));
        QCOMPARE(readFile(sourceOf(inner)), smallFace());
        if (isSourceFiled)
            QCOMPARE(readFile(sourceOf(outer)), dirty);
    }

    void aReaderOfTheLogMayDeleteTheManager_data()
    {
        QTest::addColumn<QString>("line");
        for (const char *line : {"---- START BENCHMARK ----", "image loaded", "TOOK", "TEST PASSED", "not filed"})
            QTest::newRow(line) << QString::fromUtf8(line);
    }
    void aReaderOfTheLogMayDeleteTheManager()
    {
        QFETCH(QString, line);
        if (line == QStringLiteral("not filed"))
            QVERIFY(QDir().mkpath(filedPath(QStringLiteral("port 1")) + QStringLiteral("/inner")));
        QVERIFY(writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), smallFace()));
        const QPointer<ListenedManager> manager = new ListenedManager;
        int answers = 0;
        const auto count = [&answers] { ++answers; };
        connect(manager, &CoreFiberInspectionManager::analyseFinished, this, count);
        connect(manager, &CoreFiberInspectionManager::analyseFailed, this, count);
        Q_EMIT manager->requestStart();

        const LogDeed log(line, [&] { delete manager; });
        Q_EMIT manager->requestAnalyse(QStringLiteral("port 1"), anyStandard);

        QVERIFY(log.isDone());
        QVERIFY(!manager);
        QCOMPARE(answers, 0);
    }

    void theThreadMayBeEndedByAReceiver_data()
    {
        QTest::addColumn<QString>("signalName");
        QTest::newRow("running") << QStringLiteral("running");
        QTest::newRow("started") << QStringLiteral("started");
        QTest::newRow("stopped") << QStringLiteral("stopped");
        QTest::newRow("verdict") << QStringLiteral("verdict");
        QTest::newRow("finished") << QStringLiteral("finished");
        QTest::newRow("failed") << QStringLiteral("failed");
    }
    void theThreadMayBeEndedByAReceiver()
    {
        QFETCH(QString, signalName);
        if (signalName != QStringLiteral("failed"))
            QVERIFY(writeFile(BaseDirHelper::tmpFiberInspectionImagePath(), smallFace()));
        /// Runs the base's handlers too, so that all signals come.
        class StartedManager : public ListenedManager
        {
        protected:
            void handleAsyncStart() override
            {
                CoreFiberInspectionManager::handleAsyncStart();
                // NOLINTNEXTLINE(bugprone-parent-virtual-call)
                AbstractCoreManager::handleAsyncStart(); // clazy:exclude=skipped-base-method
            }
            void handleAsyncStop() override
            {
                // NOLINTNEXTLINE(bugprone-parent-virtual-call)
                AbstractCoreManager::handleAsyncStop(); // clazy:exclude=skipped-base-method
            }
        };
        QThread thread;
        const QPointer<StartedManager> manager = new StartedManager;
        bool isDone = false;
        const auto hear = [&](const QString &name) {
            if (name != signalName)
                return;
            isDone = true;
            thread.quit();
            NestedLoop::runWith([] {}); // a loop of a thread that ends does not begin
        };
        manager->onVerdict = [&] { hear(QStringLiteral("verdict")); };
        const auto listen = [&](auto signal, const QString &name) {
            connect(
                manager, signal, manager, [&hear, name] { hear(name); }, Qt::DirectConnection);
        };
        listen(&AbstractCoreManager::isRunning_changed, QStringLiteral("running"));
        listen(&AbstractCoreManager::started, QStringLiteral("started"));
        listen(&AbstractCoreManager::stopped, QStringLiteral("stopped"));
        listen(&CoreFiberInspectionManager::analyseFinished, QStringLiteral("finished"));
        listen(&CoreFiberInspectionManager::analyseFailed, QStringLiteral("failed"));
        manager->moveToThread(&thread);
        connect(&thread, &QThread::finished, manager, &QObject::deleteLater);
        thread.start();

        Q_EMIT manager->requestStart();
        QMetaObject::invokeMethod(manager, [asked = manager.data()] {
            Q_EMIT asked->requestAnalyse(QStringLiteral("port 1"), anyStandard);
            Q_EMIT asked->requestStop();
        });

        QVERIFY(thread.wait(NestedLoop::patience));
        QVERIFY(isDone);
        QVERIFY(!manager);
    }

private:
    static void carryOut(Deed deed, ListenedManager *manager)
    {
        switch (deed) {
        case Deed::Delete:
            delete manager;
            break;
        case Deed::DeleteInLoop:
            QVERIFY(NestedLoop::runAndDelete(manager));
            break;
        case Deed::DeleteAfterLoop:
            QVERIFY(NestedLoop::runWith([] {}));
            delete manager;
            break;
        case Deed::RequestInLoop:
            QVERIFY(
                NestedLoop::runWith([&] { Q_EMIT manager->requestAnalyse(QStringLiteral("port 2"), anyStandard); }));
            break;
        case Deed::StopInLoop:
            QVERIFY(NestedLoop::runWith([&] { Q_EMIT manager->requestStop(); }));
            break;
        case Deed::StartInLoop:
            QVERIFY(NestedLoop::runWith([&] { Q_EMIT manager->requestStart(); }));
            break;
        case Deed::QuitThread:
            break;
        }
    }

    /// As little as the analysis takes: most of the time under valgrind is spent on pixels.
    static QByteArray smallFace(double pitRadius = 0)
    {
        DrawnFibre fibre;
        fibre.pitRadius = pitRadius;
        fibre.size = QSize(400, 300);
        fibre.center = QPointF(200, 150);
        return fibre.jpeg();
    }
};

QTEST_GUILESS_MAIN(TestReentrancyManagers)
#include "tst_reentrancy_managers.moc"
