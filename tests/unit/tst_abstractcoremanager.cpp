// SPDX-License-Identifier: Apache-2.0
#include "Managers/AbstractCoreManager.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QPointer>
#include <QSemaphore>
#include <QSignalSpy>
#include <QThread>
#include <QVector>
#include <QtTest>

#include <atomic>

/// Opens what is protected, for the tests alone.
class PlainManager : public AbstractCoreManager
{
public:
    using AbstractCoreManager::AbstractCoreManager;
    using QObject::receivers;
};

/// Writes down where its handlers ran, and does not call the base.
class OwnManager : public AbstractCoreManager
{
    Q_OBJECT

public:
    using AbstractCoreManager::AbstractCoreManager;

    QThread *startedIn() const { return mStartedIn; }
    int starts() const { return mStarts; }
    int stops() const { return mStops; }

protected:
    void handleAsyncStart() override
    {
        mStartedIn = QThread::currentThread();
        ++mStarts;
    }
    void handleAsyncStop() override { ++mStops; }

private:
    std::atomic<QThread *> mStartedIn{nullptr};
    std::atomic<int> mStarts{0};
    std::atomic<int> mStops{0};
};

/// Asks for its start before a class derived from it exists.
class HastyManager : public AbstractCoreManager
{
public:
    HastyManager() { Q_EMIT requestStart(); }
    int hastyStarts = 0;

protected:
    void handleAsyncStart() override { ++hastyStarts; }
};

class DerivedFromHastyManager : public HastyManager
{
public:
    int derivedStarts = 0;

protected:
    void handleAsyncStart() override { ++derivedStarts; }
};

/// Collects what a manager tells, in the order of telling.
class Diary : public QObject
{
public:
    explicit Diary(AbstractCoreManager *manager)
    {
        connect(manager, &AbstractCoreManager::isRunning_changed, this,
            [this](bool value) { lines << (value ? QStringLiteral("running") : QStringLiteral("idle")); });
        connect(manager, &AbstractCoreManager::started, this, [this] { lines << QStringLiteral("started"); });
        connect(manager, &AbstractCoreManager::stopped, this, [this] { lines << QStringLiteral("stopped"); });
    }
    QStringList lines;
};

class TestAbstractCoreManager : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void itsMetaObjectHasTheAgreedSignalsInTheAgreedOrder()
    {
        const QMetaObject &meta = AbstractCoreManager::staticMetaObject;
        QStringList methods;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            methods << QString::fromUtf8(meta.method(i).methodSignature());
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
            QCOMPARE(meta.method(i).returnType(), int(QMetaType::Void));
        }

        QCOMPARE(methods,
            (QStringList{QStringLiteral("isRunning_changed(bool)"), QStringLiteral("requestStart()"),
                QStringLiteral("started()"), QStringLiteral("requestStop()"), QStringLiteral("stopped()")}));
        QCOMPARE(meta.method(meta.methodOffset()).parameterNames(), QList<QByteArray>{QByteArray("value")});
    }

    void isRunningIsItsOnlyProperty()
    {
        const QMetaObject &meta = AbstractCoreManager::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.propertyCount() - meta.propertyOffset(), 1);
        const QMetaProperty property = meta.property(meta.propertyOffset());

        QCOMPARE(QByteArray(property.name()), QByteArray("isRunning"));
        QCOMPARE(QByteArray(property.typeName()), QByteArray("bool"));
        QVERIFY(property.isReadable() && property.isWritable());
        QCOMPARE(property.notifySignal().methodSignature(), QByteArray("isRunning_changed(bool)"));
        QCOMPARE(AbstractCoreManager::isRunning_name(), QStringLiteral("isRunning"));
    }

    void aNewManagerIsIdleAndClean()
    {
        const AbstractCoreManager manager;

        QVERIFY(!manager.isRunning());
        QVERIFY(!manager.isRunning_dirty());
        QVERIFY(!manager.parent());
    }

    void itMakesTwoConnectionsAndNoMore()
    {
        const PlainManager manager;

        QCOMPARE(manager.receivers(SIGNAL(requestStart())), 1);
        QCOMPARE(manager.receivers(SIGNAL(requestStop())), 1);
        QCOMPARE(manager.receivers(SIGNAL(started())), 0);
        QCOMPARE(manager.receivers(SIGNAL(stopped())), 0);
        QCOMPARE(manager.receivers(SIGNAL(isRunning_changed(bool))), 0);
    }

    void itGoesWithItsParent()
    {
        auto *const parent = new QObject;
        const QPointer<AbstractCoreManager> manager = new AbstractCoreManager(parent);

        delete parent;

        QVERIFY(!manager);
    }

    void settingTheCurrentValueMakesDirtyAndTellsNothing()
    {
        AbstractCoreManager manager;
        QSignalSpy changes(&manager, &AbstractCoreManager::isRunning_changed);

        manager.set_isRunning(false);

        QVERIFY(manager.isRunning_dirty());
        QCOMPARE(changes.count(), 0);
    }

    void startAndStopInItsOwnThreadAreDoneWhenTheEmitReturns()
    {
        AbstractCoreManager manager;
        const Diary diary(&manager);

        Q_EMIT manager.requestStart();
        QVERIFY(manager.isRunning());
        QCOMPARE(diary.lines, (QStringList{QStringLiteral("running"), QStringLiteral("started")}));

        Q_EMIT manager.requestStop();
        QVERIFY(!manager.isRunning());
        QCOMPARE(diary.lines.mid(2), (QStringList{QStringLiteral("idle"), QStringLiteral("stopped")}));
    }

    void theValueIsSetBeforeTheSignal()
    {
        AbstractCoreManager manager;
        bool whenStarted = false;
        bool whenStopped = true;
        connect(&manager, &AbstractCoreManager::started, &manager, [&] { whenStarted = manager.isRunning(); });
        connect(&manager, &AbstractCoreManager::stopped, &manager, [&] { whenStopped = manager.isRunning(); });

        Q_EMIT manager.requestStart();
        Q_EMIT manager.requestStop();

        QVERIFY(whenStarted);
        QVERIFY(!whenStopped);
    }

    void aStopWithoutAStartStillTellsStopped()
    {
        AbstractCoreManager manager;
        const Diary diary(&manager);

        Q_EMIT manager.requestStop();

        QCOMPARE(diary.lines, QStringList{QStringLiteral("stopped")});
        QVERIFY(manager.isRunning_dirty());
    }

    void aSecondStartRunsTheHandlerAgain()
    {
        AbstractCoreManager manager;
        const Diary diary(&manager);

        Q_EMIT manager.requestStart();
        Q_EMIT manager.requestStart();

        QCOMPARE(diary.lines,
            (QStringList{QStringLiteral("running"), QStringLiteral("started"), QStringLiteral("started")}));
    }

    void handlersOfADerivedClassReplaceThoseOfTheBase()
    {
        OwnManager manager;
        const Diary diary(&manager);

        Q_EMIT manager.requestStart();
        Q_EMIT manager.requestStop();

        QCOMPARE(manager.starts(), 1);
        QCOMPARE(manager.stops(), 1);
        QVERIFY(diary.lines.isEmpty());
        QVERIFY(!manager.isRunning());
        QVERIFY(!manager.isRunning_dirty());
    }

    void aStartWithinAConstructorMeetsTheHandlerOfThatClass()
    {
        DerivedFromHastyManager manager;
        QCOMPARE(manager.hastyStarts, 1);
        QCOMPARE(manager.derivedStarts, 0);

        Q_EMIT manager.requestStart();

        QCOMPARE(manager.hastyStarts, 1);
        QCOMPARE(manager.derivedStarts, 1);
    }

    void requestsCanBeMadeByName()
    {
        OwnManager manager;
        QObject button;
        QVERIFY(connect(&button, SIGNAL(objectNameChanged(QString)), &manager, SIGNAL(requestStart())));

        button.setObjectName(QStringLiteral("pressed"));
        QVERIFY(QMetaObject::invokeMethod(&manager, "requestStop"));

        QCOMPARE(manager.starts(), 1);
        QCOMPARE(manager.stops(), 1);
    }

    void aStartFromAnotherThreadIsHandledLaterInTheManagersThread()
    {
        QThread thread;
        OwnManager manager;
        manager.moveToThread(&thread);

        Q_EMIT manager.requestStart(); // the thread does not run yet
        QCOMPARE(manager.starts(), 0);

        thread.start();
        QTRY_COMPARE(manager.starts(), 1);
        QCOMPARE(manager.startedIn(), &thread);
        thread.quit();
        QVERIFY(thread.wait(10000));
    }

    void aBusyManagerDoesNotHoldUpTheCaller()
    {
        QThread thread;
        AbstractCoreManager manager;
        manager.moveToThread(&thread);
        QSemaphore entered;
        QSemaphore leave;
        const auto block = [&] {
            entered.release();
            leave.tryAcquire(1, 10000);
        };
        connect(&manager, &AbstractCoreManager::started, &manager, block, Qt::DirectConnection);
        thread.start();

        Q_EMIT manager.requestStart();
        QVERIFY(entered.tryAcquire(1, 10000));
        Q_EMIT manager.requestStop(); // returns, though the manager is held in started()
        QVERIFY(manager.isRunning());

        leave.release();
        QTRY_VERIFY(!manager.isRunning());
        thread.quit();
        QVERIFY(thread.wait(10000));
    }

    void requestsFromAnotherThreadKeepTheirOrder()
    {
        QThread thread;
        AbstractCoreManager manager;
        const Diary diary(&manager); // stays here: gets its lines queued
        manager.moveToThread(&thread);
        thread.start();

        for (int i = 0; i < 3; ++i) {
            Q_EMIT manager.requestStart();
            Q_EMIT manager.requestStop();
        }

        QTRY_COMPARE(diary.lines.size(), 12);
        for (int i = 0; i < 12; i += 4) {
            QCOMPARE(diary.lines.mid(i, 4),
                (QStringList{QStringLiteral("running"), QStringLiteral("started"), QStringLiteral("idle"),
                    QStringLiteral("stopped")}));
        }
        thread.quit();
        QVERIFY(thread.wait(10000));
    }

    void otherThreadsMayReadWhileTheManagerRuns()
    {
        constexpr int rounds = 2000;
        QThread thread;
        AbstractCoreManager manager;
        manager.moveToThread(&thread);
        std::atomic<int> stops{0};
        connect(
            &manager, &AbstractCoreManager::stopped, &manager, [&] { ++stops; }, Qt::DirectConnection);
        thread.start();

        int seenRunning = 0;
        for (int i = 0; i < rounds; ++i) {
            Q_EMIT manager.requestStart();
            Q_EMIT manager.requestStop();
            seenRunning += manager.isRunning() && manager.isRunning_dirty() ? 1 : 0;
        }
        QTRY_COMPARE_WITH_TIMEOUT(stops.load(), rounds, 30000);

        QVERIFY(seenRunning <= rounds);
        QVERIFY(!manager.isRunning());
        QVERIFY(manager.isRunning_dirty());
        thread.quit();
        QVERIFY(thread.wait(10000));
    }

    void severalManagersInSeveralThreadsKeepApart()
    {
        QThread threads[3];
        OwnManager managers[3];
        for (int i = 0; i < 3; ++i) {
            managers[i].moveToThread(&threads[i]);
            threads[i].start();
        }

        Q_EMIT managers[0].requestStart();
        Q_EMIT managers[2].requestStart();
        Q_EMIT managers[2].requestStart();

        QTRY_COMPARE(managers[0].starts(), 1);
        QTRY_COMPARE(managers[2].starts(), 2);
        QCOMPARE(managers[0].startedIn(), &threads[0]);
        QCOMPARE(managers[2].startedIn(), &threads[2]);
        for (QThread &thread : threads) {
            thread.quit();
            QVERIFY(thread.wait(10000));
        }
        QCOMPARE(managers[1].starts(), 0); // also after all queues are drained
    }

    void theOrderlyEndIsStopQuitWait()
    {
        QThread thread;
        auto *const manager = new AbstractCoreManager;
        const QPointer<AbstractCoreManager> guard = manager;
        const Diary diary(manager);
        manager->moveToThread(&thread);
        connect(&thread, &QThread::finished, manager, &QObject::deleteLater);
        thread.start();
        Q_EMIT manager->requestStart();

        Q_EMIT manager->requestStop();
        QTRY_COMPARE(diary.lines.size(), 4);
        thread.quit();
        QVERIFY(thread.wait(10000));

        QVERIFY(!guard);
        QCOMPARE(diary.lines.last(), QStringLiteral("stopped"));
    }

    void anEndWithoutWaitingDropsWhatIsQueued()
    {
        for (int i = 0; i < 200; ++i) {
            QThread thread;
            auto *const manager = new AbstractCoreManager;
            const QPointer<AbstractCoreManager> guard = manager;
            manager->moveToThread(&thread);
            connect(&thread, &QThread::finished, manager, &QObject::deleteLater);
            thread.start();
            Q_EMIT manager->requestStart();
            Q_EMIT manager->requestStop();

            thread.quit();

            QVERIFY(thread.wait(10000));
            QVERIFY(!guard);
        }
    }
};

QTEST_GUILESS_MAIN(TestAbstractCoreManager)
#include "tst_abstractcoremanager.moc"
