// SPDX-License-Identifier: Apache-2.0
// The two forms of the property macro that more than one thread may use.
#include "Property.h"

#include <QMetaMethod>
#include <QMetaProperty>
#include <QPointF>
#include <QSignalSpy>
#include <QThread>
#include <QVector>
#include <QtTest>

#include <atomic>
#include <functional>
#include <limits>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

class AtomicRecord : public QObject
{
    Q_OBJECT
    VANTOR_ATOMIC_PROPERTY(int, amount, 3)
    VANTOR_ATOMIC_PROPERTY(bool, isMain, false)
    VANTOR_ATOMIC_PROPERTY(double, level, -1.0)
};

class LockedRecord : public QObject
{
    Q_OBJECT
    VANTOR_LOCKED_PROPERTY(int, amount, 3)
    VANTOR_LOCKED_PROPERTY(bool, isMain, false)
    VANTOR_LOCKED_PROPERTY(double, level, -1.0)
    VANTOR_LOCKED_PROPERTY(QPointF, place, {})
    VANTOR_LOCKED_PROPERTY(QString, title, QStringLiteral("unnamed"))
};

namespace {
template <typename Record, typename = void>
struct HasName : std::false_type
{
};
template <typename Record>
struct HasName<Record, std::void_t<decltype(Record::amount_name())>> : std::true_type
{
};

/// Calls the function in several threads at once, with the number of the thread, and waits for all of them.
void inThreads(int count, const std::function<void(int)> &function)
{
    std::atomic<int> ready{0};
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&, i] {
            ++ready;
            while (ready < count) // all set off together
                std::this_thread::yield();
            function(i);
        });
    }
    for (std::thread &thread : threads)
        thread.join();
}

QStringList methodSignatures(const QMetaObject &meta)
{
    QStringList result;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
        result << QString::fromUtf8(meta.method(i).methodSignature());
    return result;
}
} // namespace

class TestPropertyThreads : public QObject
{
    Q_OBJECT

private:
    template <typename Record>
    static void checkMetaObject()
    {
        const QMetaObject &meta = Record::staticMetaObject;
        for (int i = meta.propertyOffset(); i < meta.propertyCount(); ++i) {
            const QMetaProperty property = meta.property(i);
            QVERIFY(property.isReadable());
            QVERIFY(property.isWritable());
            QCOMPARE(property.notifySignal().name(), QByteArray(property.name()) + "_changed");
        }
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
            QCOMPARE(meta.method(i).methodType(), QMetaMethod::Signal);
            QCOMPARE(meta.method(i).parameterNames(), QList<QByteArray>{QByteArray("value")});
        }
    }

    template <typename Record>
    static void checkSingleThread()
    {
        Record record;
        QCOMPARE(record.amount(), 3);
        QVERIFY(!record.amount_dirty());
        QSignalSpy changes(&record, &Record::amount_changed);

        record.set_amount(3);
        QCOMPARE(changes.count(), 0);
        QVERIFY(record.amount_dirty());
        QVERIFY(!record.isMain_dirty());

        record.set_amount(4);
        record.set_amount(4);
        record.set_amount(3);
        QCOMPARE(changes.count(), 2);
        QCOMPARE(changes[0].first().toInt(), 4);
        QCOMPARE(changes[1].first().toInt(), 3);
        QCOMPARE(record.amount(), 3);
        QVERIFY(record.setProperty("amount", 9));
        QCOMPARE(record.property("amount").toInt(), 9);
    }

    template <typename Record>
    static void checkListener()
    {
        Record record;
        QVector<int> told;
        bool storedBefore = true;
        connect(&record, &Record::amount_changed, &record, [&](int value) {
            told.append(value);
            storedBefore = storedBefore && record.amount() == value && record.amount_dirty();
            record.set_amount(10);
        });

        record.set_amount(1);

        QVERIFY(storedBefore);
        QCOMPARE(told, (QVector<int>{1, 10}));
        QCOMPARE(record.amount(), 10);
    }

    template <typename Record>
    static void checkNotANumber()
    {
        Record record;
        QSignalSpy changes(&record, &Record::level_changed);
        const double notANumber = std::numeric_limits<double>::quiet_NaN();

        record.set_level(notANumber);
        record.set_level(notANumber);
        record.set_level(notANumber);

        QCOMPARE(changes.count(), 3);
    }

    template <typename Record>
    static void checkOneTellsOfAChange()
    {
        constexpr int rounds = 500;
        Record record;
        std::atomic<int> told{0};
        connect(
            &record, &Record::amount_changed, &record, [&] { ++told; }, Qt::DirectConnection);

        for (int round = 1; round <= rounds; ++round) {
            inThreads(2, [&](int) { record.set_amount(1000 + round); });
            QCOMPARE(told.load(), round);
        }
    }

    /// Threads write values of their own; whatever a thread is told of while it writes must be what it has just
    /// written.
    template <typename Record>
    static void checkWritersHearOfTheirOwnValue()
    {
        constexpr int rounds = 20000;
        static thread_local int written = 0;
        Record record;
        std::atomic<int> foreign{0};
        std::atomic<int> told{0};
        const auto listen = [&](int value) {
            ++told;
            if (value != written)
                ++foreign;
        };
        connect(&record, &Record::amount_changed, &record, listen, Qt::DirectConnection);

        inThreads(3, [&](int thread) {
            for (int round = 0; round < rounds; ++round) {
                written = 10 * round + thread;
                record.set_amount(written);
            }
        });

        QVERIFY(told > rounds);
        QCOMPARE(foreign.load(), 0);
    }

private Q_SLOTS:
    void propertiesAndSignalsComeInTheOrderOfTheLines()
    {
        checkMetaObject<AtomicRecord>();
        checkMetaObject<LockedRecord>();

        QCOMPARE(methodSignatures(AtomicRecord::staticMetaObject),
            (QStringList{QStringLiteral("amount_changed(int)"), QStringLiteral("isMain_changed(bool)"),
                QStringLiteral("level_changed(double)")}));
        QCOMPARE(methodSignatures(LockedRecord::staticMetaObject),
            (QStringList{QStringLiteral("amount_changed(int)"), QStringLiteral("isMain_changed(bool)"),
                QStringLiteral("level_changed(double)"), QStringLiteral("place_changed(QPointF)"),
                QStringLiteral("title_changed(QString)")}));
    }

    void onlyTheAtomicFormTellsItsName()
    {
        QVERIFY(HasName<AtomicRecord>::value);
        QVERIFY(!HasName<LockedRecord>::value);
        QCOMPARE(AtomicRecord::amount_name(), QStringLiteral("amount"));
        QCOMPARE(AtomicRecord::isMain_name(), QStringLiteral("isMain"));
    }

    void bothFormsStoreAndTellAsThePlainOne()
    {
        checkSingleThread<AtomicRecord>();
        checkSingleThread<LockedRecord>();
    }

    void aListenerFindsTheValueStoredAndNoLockHeld()
    {
        checkListener<AtomicRecord>();
        checkListener<LockedRecord>();
    }

    void aListenerInAnotherThreadIsNotLockedOut()
    {
        LockedRecord record;
        int seen = 0;
        connect(&record, &LockedRecord::amount_changed, &record, [&] {
            std::thread reader([&] { seen = record.amount(); });
            reader.join();
        });

        record.set_amount(8);

        QCOMPARE(seen, 8);
    }

    void aNumberThatIsNoneAlwaysChanges()
    {
        checkNotANumber<AtomicRecord>();
        checkNotANumber<LockedRecord>();
    }

    void aListenerMayDestroyTheObject()
    {
        auto *const atomic = new AtomicRecord;
        connect(atomic, &AtomicRecord::amount_changed, this, [atomic] { delete atomic; });
        atomic->set_amount(1);

        auto *const locked = new LockedRecord;
        QString told;
        const auto destroy = [&](const QString &value) {
            delete locked;
            told = value;
        };
        connect(locked, &LockedRecord::title_changed, this, destroy);
        locked->set_title(QStringLiteral("last words"));
        QCOMPARE(told, QStringLiteral("last words"));
    }

    void ofTwoThreadsThatWriteTheSameOneTells()
    {
        checkOneTellsOfAChange<AtomicRecord>();
        checkOneTellsOfAChange<LockedRecord>();
    }

    void aWriterTellsItsOwnValue()
    {
        checkWritersHearOfTheirOwnValue<AtomicRecord>();
        checkWritersHearOfTheirOwnValue<LockedRecord>();
    }

    void readersNeverSeeHalfAValue()
    {
        constexpr int rounds = 20000;
        LockedRecord record;
        std::atomic<int> torn{0};

        inThreads(4, [&](int thread) {
            for (int round = 1; round <= rounds; ++round) {
                if (thread < 2) {
                    record.set_place(QPointF(round * 2 + thread, round * 2 + thread));
                    record.set_title(QString(40, QLatin1Char(thread == 0 ? 'a' : 'b')));
                    continue;
                }
                const QPointF place = record.place();
                const QString title = record.title();
                const bool isWhole =
                    title == QStringLiteral("unnamed") || (title.size() == 40 && title.count(title.front()) == 40);
                if (place.x() != place.y() || !isWhole)
                    ++torn;
            }
        });

        QCOMPARE(torn.load(), 0);
    }

    void aValueWrittenInAnotherThreadArrives()
    {
        AtomicRecord record;
        const std::unique_ptr<QThread> writer(QThread::create([&record] { record.set_isMain(true); }));
        writer->start();

        QTRY_VERIFY(record.isMain());
        QTRY_VERIFY(record.isMain_dirty());
        QVERIFY(writer->wait(10000));
    }
};

QTEST_GUILESS_MAIN(TestPropertyThreads)
#include "tst_property_threads.moc"
