// SPDX-License-Identifier: Apache-2.0
#include "ForkedChild.h"
#include "MetaText.h"
#include "VantorBase.h"

#include <QSignalSpy>
#include <QSysInfo>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

template <typename Class, typename = void>
struct NamesItsProperties : std::false_type
{
};
template <typename Class>
struct NamesItsProperties<Class, std::void_t<decltype(Class::mainIp_name())>> : std::true_type
{
};

QString address1()
{
    return QStringLiteral("10.0.0.1");
}

QString address2()
{
    return QStringLiteral("10.0.0.2");
}

} // namespace

// One object serves the whole program: there can be no second one.
class TestVantorBase : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY(!VantorBase::instance());
        mUnit = std::make_unique<VantorBase>();
        QCOMPARE(VantorBase::instance(), mUnit.get());
    }

    // This one and the next stay the first ones: dirty flags are never lowered.
    void aNewObjectIsTheMainUnitOnThisMachine()
    {
        QCOMPARE(mUnit->isMain(), true);
        QCOMPARE(mUnit->isRemote(), false);
        QCOMPARE(mUnit->mainIp(), QStringLiteral("localhost"));
        QCOMPARE(mUnit->remoteIp(), QStringLiteral("localhost"));
        QCOMPARE(mUnit->unitIp(), QStringLiteral("localhost"));
        QVERIFY(!mUnit->isMain_dirty() && !mUnit->isRemote_dirty() && !mUnit->mainIp_dirty() && !mUnit->remoteIp_dirty()
            && !mUnit->unitIp_dirty());
        QVERIFY(!mUnit->parent());
    }

    void anEqualValueRaisesTheDirtyFlagAndTellsNobody()
    {
        mUnit->set_unitIp(QStringLiteral("by hand"));
        const QSignalSpy unitIp(mUnit.get(), &VantorBase::unitIp_changed);
        const QSignalSpy isMain(mUnit.get(), &VantorBase::isMain_changed);
        const QSignalSpy isRemote(mUnit.get(), &VantorBase::isRemote_changed);
        const QSignalSpy mainIp(mUnit.get(), &VantorBase::mainIp_changed);
        const QSignalSpy remoteIp(mUnit.get(), &VantorBase::remoteIp_changed);

        mUnit->set_isMain(true);
        QVERIFY(mUnit->isMain_dirty() && !mUnit->isRemote_dirty() && !mUnit->mainIp_dirty());
        mUnit->set_isRemote(false);
        QVERIFY(mUnit->isRemote_dirty() && !mUnit->mainIp_dirty() && !mUnit->remoteIp_dirty());
        mUnit->set_mainIp(QStringLiteral("localhost"));
        QVERIFY(mUnit->mainIp_dirty() && !mUnit->remoteIp_dirty());
        mUnit->set_remoteIp(QStringLiteral("localhost"));
        QVERIFY(mUnit->remoteIp_dirty());
        mUnit->set_unitIp(QStringLiteral("by hand"));

        QCOMPARE(mUnit->unitIp(), QStringLiteral("by hand"));
        QCOMPARE(unitIp.count() + isMain.count() + isRemote.count() + mainIp.count() + remoteIp.count(), 0);
    }

    void theMetaObjectHoldsSignalsAndPropertiesInTheirOrder()
    {
        QCOMPARE(MetaText::ofMethods(VantorBase::staticMetaObject),
            (QStringList{QStringLiteral("signal isMain_changed(bool value)"),
                QStringLiteral("signal isRemote_changed(bool value)"),
                QStringLiteral("signal mainIp_changed(QString value)"),
                QStringLiteral("signal remoteIp_changed(QString value)"),
                QStringLiteral("signal unitIp_changed(QString value)")}));
        QCOMPARE(MetaText::ofProperties(VantorBase::staticMetaObject),
            (QStringList{QStringLiteral("bool isMain read write notify isMain_changed"),
                QStringLiteral("bool isRemote read write notify isRemote_changed"),
                QStringLiteral("QString mainIp read write notify mainIp_changed"),
                QStringLiteral("QString remoteIp read write notify remoteIp_changed"),
                QStringLiteral("QString unitIp read write notify unitIp_changed")}));
        QCOMPARE(VantorBase::staticMetaObject.superClass(), &QObject::staticMetaObject);
        QCOMPARE(VantorBase::staticMetaObject.enumeratorCount(), 0);
        QCOMPARE(VantorBase::staticMetaObject.constructorCount(), 0);
    }

    void propertiesHaveNoNameQuery() { QVERIFY(!NamesItsProperties<VantorBase>::value); }

    void theMainAddressIsTheUnitsWhileItIsMain()
    {
        resetValues();
        const QSignalSpy unitIp(mUnit.get(), &VantorBase::unitIp_changed);

        mUnit->set_mainIp(address1());

        QCOMPARE(mUnit->unitIp(), address1());
        QCOMPARE(unitIp.count(), 1);
        QCOMPARE(unitIp.first(), QVariantList{address1()});
        QVERIFY(mUnit->unitIp_dirty());
    }

    void theRemoteAddressIsTheUnitsWhileItIsNotMain()
    {
        resetValues();
        mUnit->set_mainIp(address1());
        mUnit->set_remoteIp(address2());
        QCOMPARE(mUnit->unitIp(), address1());
        const QSignalSpy unitIp(mUnit.get(), &VantorBase::unitIp_changed);

        mUnit->set_isMain(false);

        QCOMPARE(mUnit->unitIp(), address2());
        QCOMPARE(unitIp.count(), 1);
        mUnit->set_remoteIp(QStringLiteral("10.0.0.3"));
        QCOMPARE(mUnit->unitIp(), QStringLiteral("10.0.0.3"));
        mUnit->set_mainIp(QStringLiteral("10.0.0.4"));
        QCOMPARE(mUnit->unitIp(), QStringLiteral("10.0.0.3"));
    }

    void theTwoRolesAreIndependent_data()
    {
        QTest::addColumn<bool>("isMain");
        QTest::addColumn<bool>("isRemote");
        QTest::addColumn<QString>("unitIp");

        QTest::newRow("neither") << false << false << address2();
        QTest::newRow("remote") << false << true << address2();
        QTest::newRow("main") << true << false << address1();
        QTest::newRow("both") << true << true << address1();
    }

    void theTwoRolesAreIndependent()
    {
        resetValues();
        QFETCH(const bool, isMain);
        QFETCH(const bool, isRemote);
        QFETCH(const QString, unitIp);
        mUnit->set_mainIp(address1());
        mUnit->set_remoteIp(address2());

        mUnit->set_isMain(isMain);
        mUnit->set_isRemote(isRemote);

        QCOMPARE(mUnit->isMain(), isMain);
        QCOMPARE(mUnit->isRemote(), isRemote);
        QCOMPARE(mUnit->unitIp(), unitIp);
    }

    void anAddressByHandStaysUntilAnInputChanges_data()
    {
        QTest::addColumn<QByteArray>("property");
        QTest::addColumn<QVariant>("value");
        QTest::addColumn<QString>("unitIp");

        QTest::newRow("isMain") << QByteArray("isMain") << QVariant(false) << address2();
        QTest::newRow("isRemote") << QByteArray("isRemote") << QVariant(true) << address1();
        QTest::newRow("mainIp") << QByteArray("mainIp") << QVariant(QStringLiteral("10.0.0.3"))
                                << QStringLiteral("10.0.0.3");
        QTest::newRow("remoteIp") << QByteArray("remoteIp") << QVariant(QStringLiteral("10.0.0.3")) << address1();
    }

    void anAddressByHandStaysUntilAnInputChanges()
    {
        resetValues();
        QFETCH(const QByteArray, property);
        QFETCH(const QVariant, value);
        QFETCH(const QString, unitIp);
        mUnit->set_mainIp(address1());
        mUnit->set_remoteIp(address2());
        mUnit->set_unitIp(QStringLiteral("by hand"));

        QVERIFY(mUnit->setProperty(property.constData(), mUnit->property(property.constData())));
        QCOMPARE(mUnit->unitIp(), QStringLiteral("by hand"));
        QVERIFY(mUnit->setProperty(property.constData(), value));

        QCOMPARE(mUnit->unitIp(), unitIp);
    }

    void theUnitsAddressIsSettledBeforeLaterReceiversHear()
    {
        resetValues();
        const QObject listener;
        connect(mUnit.get(), &VantorBase::mainIp_changed, &listener, [this] { mTold << mUnit->unitIp(); });

        mUnit->set_mainIp(address1());

        QCOMPARE(mTold, QStringList{address1()});
    }

    void aReceiverMayReadAndWriteTheSameProperty()
    {
        resetValues();
        const QObject listener;
        connect(mUnit.get(), &VantorBase::mainIp_changed, &listener, [this](const QString &value) {
            mTold << value << mUnit->mainIp();
            mUnit->set_mainIp(address2());
        });

        mUnit->set_mainIp(address1());

        QCOMPARE(mTold, (QStringList{address1(), address1(), address2(), address2()}));
        QCOMPARE(mUnit->mainIp(), address2());
        QCOMPARE(mUnit->unitIp(), address2());
    }

    void aWriteInAnotherThreadTellsThereAndDerivesTheAddressHere()
    {
        resetValues();
        const QThread *toldIn = nullptr;
        const QThread *derivedIn = nullptr;
        const QObject listener;
        const auto remember = [](const QThread *&thread) { return [&] { thread = QThread::currentThread(); }; };
        connect(mUnit.get(), &VantorBase::mainIp_changed, &listener, remember(toldIn), Qt::DirectConnection);
        connect(mUnit.get(), &VantorBase::unitIp_changed, &listener, remember(derivedIn), Qt::DirectConnection);
        const QThread *writerThread = nullptr;
        QString addressAtOnce;

        std::thread writer([&] {
            writerThread = QThread::currentThread();
            mUnit->set_mainIp(address1());
            addressAtOnce = mUnit->unitIp();
        });
        writer.join();

        QCOMPARE(toldIn, writerThread);
        QCOMPARE(addressAtOnce, QStringLiteral("localhost"));
        QCOMPARE(mUnit->unitIp(), QStringLiteral("localhost"));
        QVERIFY(!derivedIn);
        QTRY_COMPARE(mUnit->unitIp(), address1());
        QCOMPARE(derivedIn, QThread::currentThread());
    }

    void manyThreadsMayReadAndWriteAtOnce()
    {
        constexpr int writers = 4;
        constexpr int rounds = 2000;
        std::atomic<int> torn{0};
        std::vector<std::thread> threads;
        threads.reserve(writers);
        for (int writer = 0; writer < writers; ++writer) {
            threads.emplace_back([&, writer] {
                const QString mine = QString(200, QLatin1Char(char('a' + writer)));
                for (int round = 0; round < rounds; ++round) {
                    mUnit->set_mainIp(mine);
                    mUnit->set_remoteIp(mine);
                    mUnit->set_isMain(round % 2 == 0);
                    const QString seen = mUnit->mainIp();
                    if (seen.size() == 200 && seen != QString(200, seen.at(0)))
                        ++torn;
                }
            });
        }
        for (std::thread &thread : threads)
            thread.join();

        QCOMPARE(torn.load(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(mUnit->unitIp(), mUnit->isMain() ? mUnit->mainIp() : mUnit->remoteIp());
    }

    void aSecondObjectIsFatal()
    {
        const ForkedChild child = ForkedChild::run([] {
            const VantorBase second;
            return 0;
        });

        QCOMPARE(child.signal, SIGABRT);
        QVERIFY2(
            child.standardError.contains("ASSERT failure in VantorBase: \"Constructor should be called only once!\""),
            child.standardError.constData());
    }

    void theInstanceOutlivesItsObject()
    {
        const ForkedChild child = ForkedChild::run([this] {
            const VantorBase *const before = VantorBase::instance();
            mUnit.reset();
            return VantorBase::instance() == before ? 0 : 1;
        });

        QCOMPARE(child.exitCode, 0);
    }

    void anObjectAfterTheFirstWasDestroyedIsFatal()
    {
        const ForkedChild child = ForkedChild::run([this] {
            mUnit.reset();
            const VantorBase second;
            return 0;
        });

        QCOMPARE(child.signal, SIGABRT);
        QVERIFY2(
            child.standardError.contains("Constructor should be called only once!"), child.standardError.constData());
    }

    void theProcessorIsThatOfTheBuild()
    {
        QCOMPARE(VantorBase::isArmCpu(), QSysInfo::buildCpuArchitecture().startsWith(QLatin1String("arm")));
    }

    // The test is built with the same options as the library.
    void theBuildTypeIsThatOfTheBuild()
    {
#ifdef QT_NO_DEBUG
        QVERIFY(!VantorBase::isDebugBuild());
#else
        QVERIFY(VantorBase::isDebugBuild());
#endif
    }

private:
    void resetValues()
    {
        mUnit->set_isMain(true);
        mUnit->set_isRemote(false);
        mUnit->set_mainIp(QStringLiteral("localhost"));
        mUnit->set_remoteIp(QStringLiteral("localhost"));
        mUnit->set_unitIp(QStringLiteral("localhost"));
        mTold.clear();
    }

    std::unique_ptr<VantorBase> mUnit;
    QStringList mTold; ///< what a receiver heard or read
};

QTEST_GUILESS_MAIN(TestVantorBase)
#include "tst_vantorbase.moc"
