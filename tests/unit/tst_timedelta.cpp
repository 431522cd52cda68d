// SPDX-License-Identifier: Apache-2.0
#include "Helpers/TimeDelta.h"

#include <QRandomGenerator>
#include <QSet>
#include <QtTest>

#include <limits>
#include <memory>
#include <type_traits>
#include <unordered_set>

namespace {
constexpr qint64 lowest = std::numeric_limits<qint64>::min();
constexpr qint64 highest = std::numeric_limits<qint64>::max();

constexpr TimeDelta micros(qint64 count) noexcept
{
    return TimeDelta::FromMicroseconds(count);
}

// What the compiler can check.
static_assert(TimeDelta() == micros(0));
static_assert(TimeDelta::FromDays(1) == TimeDelta::FromHours(24));
static_assert(TimeDelta::FromMinutes(1) - TimeDelta::FromSeconds(1) == TimeDelta::FromMilliseconds(59000));
static_assert((TimeDelta::FromSeconds(3) * 2 / 4).InMilliseconds() == 1500);
static_assert((TimeDelta() += micros(3)) == micros(3));
static_assert(micros(lowest) / -1 == micros(lowest));
static_assert(-micros(lowest) == micros(lowest));
static_assert(noexcept(micros(1) + micros(2)));
static_assert(noexcept(micros(1) * 2));
static_assert(noexcept(micros(1) / micros(2)));
static_assert(noexcept(micros(1) < micros(2)));
static_assert(noexcept(TimeDelta::FromDays(1).InSecondsF()));
static_assert(std::is_trivially_copyable_v<TimeDelta> && sizeof(TimeDelta) == sizeof(qint64));
static_assert(!std::is_constructible_v<TimeDelta, qint64> && !std::is_convertible_v<qint64, TimeDelta>);
static_assert(std::is_nothrow_copy_assignable_v<TimeDelta> && std::is_nothrow_default_constructible_v<TimeDelta>);

/// Numbers of all sizes, the limits among them more often than by chance.
qint64 anyNumber(QRandomGenerator *random)
{
    static constexpr qint64 special[] = {0, 1, -1, 999, 1000, -1000, lowest, lowest + 1, highest, highest - 1};
    const auto choice = static_cast<std::size_t>(random->bounded(40));
    if (choice < std::size(special))
        return special[choice];
    return static_cast<qint64>(random->generate64()) >> random->bounded(64);
}

// What the compiler makes of an operation whose result does not fit: the lowest 64 bits.

qint64 wrappedSum(qint64 a, qint64 b)
{
    qint64 result = 0;
    (void)__builtin_add_overflow(a, b, &result);
    return result;
}

qint64 wrappedDifference(qint64 a, qint64 b)
{
    qint64 result = 0;
    (void)__builtin_sub_overflow(a, b, &result);
    return result;
}

qint64 wrappedProduct(qint64 a, qint64 b)
{
    qint64 result = 0;
    (void)__builtin_mul_overflow(a, b, &result);
    return result;
}

qint64 wrappedQuotient(qint64 a, qint64 b)
{
    return a == lowest && b == -1 ? lowest : a / b;
}
} // namespace

class TestTimeDelta : public QObject
{
    Q_OBJECT

private:
    TimeDelta mReceived;

Q_SIGNALS:
    void elapsed(TimeDelta);

private Q_SLOTS:
    void initTestCase()
    {
        // Before anything here could have registered it.
        QVERIFY2(QMetaType::type("TimeDelta") != QMetaType::UnknownType, "loading the library registers the type");
    }

    void everyUnitHasItsFactor_data()
    {
        QTest::addColumn<TimeDelta>("span");
        QTest::addColumn<qint64>("microseconds");

        QTest::newRow("days") << TimeDelta::FromDays(2) << qint64(172800000000);
        QTest::newRow("hours") << TimeDelta::FromHours(2) << qint64(7200000000);
        QTest::newRow("minutes") << TimeDelta::FromMinutes(2) << qint64(120000000);
        QTest::newRow("seconds") << TimeDelta::FromSeconds(2) << qint64(2000000);
        QTest::newRow("milliseconds") << TimeDelta::FromMilliseconds(2) << qint64(2000);
        QTest::newRow("microseconds") << TimeDelta::FromMicroseconds(2) << qint64(2);
        QTest::newRow("internal value") << TimeDelta::FromInternalValue(2) << qint64(2);
        QTest::newRow("nothing") << TimeDelta() << qint64(0);
        QTest::newRow("negative days") << TimeDelta::FromDays(-1) << qint64(-86400000000);
        QTest::newRow("days that wrap") << TimeDelta::FromDays(highest) << qint64(-86400000000);
        QTest::newRow("hours that wrap") << TimeDelta::FromHours(lowest) << qint64(0);
        QTest::newRow("lowest") << TimeDelta::FromMicroseconds(lowest) << lowest;
    }

    void everyUnitHasItsFactor()
    {
        QFETCH(const TimeDelta, span);
        QFETCH(const qint64, microseconds);

        QCOMPARE(span.InMicroseconds(), microseconds);
        QCOMPARE(span.ToInternalValue(), microseconds);
    }

    void conversionsTruncateTowardZero_data()
    {
        QTest::addColumn<qint64>("microseconds");
        QTest::addColumn<int>("days");
        QTest::addColumn<int>("hours");
        QTest::addColumn<int>("minutes");
        QTest::addColumn<qint64>("seconds");
        QTest::addColumn<qint64>("milliseconds");

        const auto row = [](const char *name, qint64 span, int days, int hours, int minutes, qint64 s, qint64 ms) {
            QTest::newRow(name) << span << days << hours << minutes << s << ms;
        };
        row("zero", 0, 0, 0, 0, 0, 0);
        row("one", 1, 0, 0, 0, 0, 0);
        row("-1500 ms", -1500000, 0, 0, 0, -1, -1500);
        row("1999 us", 1999, 0, 0, 0, 0, 1);
        row("-1999 us", -1999, 0, 0, 0, 0, -1);
        row("a day", 86400000000, 1, 24, 1440, 86400, 86400000);
        row("just below a day", 86399999999, 0, 23, 1439, 86399, 86399999);
        row("just above minus a day", -86399999999, 0, -23, -1439, -86399, -86399999);
        // The numbers of hours fit an int, those of minutes do not and wrap.
        row("highest", highest, 106751991, int(2562047788LL - 4294967296LL), int(153722867280LL - 36 * 4294967296LL),
            9223372036854, 9223372036854775);
        row("lowest", lowest, -106751991, int(4294967296LL - 2562047788LL), int(36 * 4294967296LL - 153722867280LL),
            -9223372036854, -9223372036854775);
    }

    void conversionsTruncateTowardZero()
    {
        QFETCH(const qint64, microseconds);
        const TimeDelta span = micros(microseconds);

        QTEST(span.InDays(), "days");
        QTEST(span.InHours(), "hours");
        QTEST(span.InMinutes(), "minutes");
        QTEST(span.InSeconds(), "seconds");
        QTEST(span.InMilliseconds(), "milliseconds");
    }

    void fractionsAreKeptInDoubles()
    {
        QCOMPARE(micros(1500).InMillisecondsF(), 1.5);
        QCOMPARE(micros(-1).InMillisecondsF(), -0.001);
        QCOMPARE(micros(1500000).InSecondsF(), 1.5);
        QCOMPARE(micros(-1).InSecondsF(), -0.000001);
        QCOMPARE(micros(lowest).InSecondsF(), -9223372036854.775808);
    }

    void millisecondsRoundedUp_data()
    {
        QTest::addColumn<qint64>("microseconds");
        QTest::addColumn<qint64>("milliseconds");

        const auto row = [](qint64 span, qint64 milliseconds) { QTest::addRow("%lld", span) << span << milliseconds; };
        row(0, 0);
        row(1, 1);
        row(999, 1);
        row(1000, 1);
        row(1001, 2);
        row(-1, 0);
        row(-999, 0);
        row(-1000, 0);
        row(-1500, 0);
        row(-1999, -1);
        row(-2000, -1);
        row(lowest, -9223372036854774);
        row(highest - 999, 9223372036854775);
        row(highest, (lowest + 998) / 1000); // the sum wraps
    }

    void millisecondsRoundedUp()
    {
        QFETCH(const qint64, microseconds);

        QTEST(micros(microseconds).InMillisecondsRoundedUp(), "milliseconds");
    }

    void theTextHasHoursMinutesAndSeconds_data()
    {
        QTest::addColumn<TimeDelta>("span");

        const auto row = [](const char *text, TimeDelta span) { QTest::newRow(text) << span; };
        row("00:00:00", {});
        row("00:00:09", micros(9999999));
        row("00:00:10", TimeDelta::FromSeconds(10));
        row("00:01:30", TimeDelta::FromSeconds(90));
        row("09:59:59", TimeDelta::FromHours(10) - micros(1));
        row("10:00:00", TimeDelta::FromHours(10));
        row("24:00:00", TimeDelta::FromDays(1));
        row("100:00:00", TimeDelta::FromHours(100));
        row("0-1:00:00", -TimeDelta::FromHours(1));
        row("00:0-1:00", -TimeDelta::FromMinutes(1));
        row("00:00:0-59", -TimeDelta::FromSeconds(59));
        row("0-100:0-59:0-59", -TimeDelta::FromHours(101) + TimeDelta::FromSeconds(1));
        row("0-1732919508:0-36:54", micros(highest)); // more hours and minutes than an int holds
        row("1732919508:36:0-54", micros(lowest));
    }

    void theTextHasHoursMinutesAndSeconds()
    {
        QFETCH(const TimeDelta, span);

        QCOMPARE(span.ToStringHrMinSec(), QString::fromUtf8(QTest::currentDataTag()));
    }

    void arithmeticWrapsAround()
    {
        constexpr int rounds = 100000;
        QRandomGenerator random(1);

        for (int round = 0; round < rounds; ++round) {
            const qint64 a = anyNumber(&random);
            const qint64 b = anyNumber(&random);
            const TimeDelta span = micros(a);
            const TimeDelta other = micros(b);
            TimeDelta changed = span;

            QCOMPARE(span + other, micros(wrappedSum(a, b)));
            QCOMPARE(changed += other, span + other);
            QCOMPARE(changed -= other, span);
            QCOMPARE(span - other, micros(wrappedDifference(a, b)));
            QCOMPARE(-span, micros(wrappedDifference(0, a)));
            QCOMPARE(span * b, micros(wrappedProduct(a, b)));
            QCOMPARE(b * span, span * b);
            QCOMPARE(changed *= b, span * b);
            QCOMPARE(TimeDelta::FromDays(a), micros(wrappedProduct(a, 86400000000)));
            QCOMPARE(TimeDelta::FromHours(a), micros(wrappedProduct(a, 3600000000)));
            QCOMPARE(TimeDelta::FromMinutes(a), micros(wrappedProduct(a, 60000000)));
            QCOMPARE(TimeDelta::FromSeconds(a), micros(wrappedProduct(a, 1000000)));
            QCOMPARE(TimeDelta::FromMilliseconds(a), micros(wrappedProduct(a, 1000)));
            QCOMPARE(span.InMillisecondsRoundedUp(), wrappedSum(a, 999) / 1000);
            if (b != 0) {
                QCOMPARE(span / b, micros(wrappedQuotient(a, b)));
                QCOMPARE(span / other, wrappedQuotient(a, b));
                QCOMPARE(changed = span, span);
                QCOMPARE(changed /= b, span / b);
            }
            QCOMPARE(span == other, a == b);
            QCOMPARE(span != other, a != b);
            QCOMPARE(span < other, a < b);
            QCOMPARE(span <= other, a <= b);
            QCOMPARE(span > other, a > b);
            QCOMPARE(span >= other, a >= b);
        }
    }

    void equalSpansHashAlike()
    {
        QCOMPARE(qHash(TimeDelta::FromSeconds(1), 7), qHash(micros(1000000), 7));
        QCOMPARE(std::hash<TimeDelta>()(TimeDelta::FromSeconds(1)), std::hash<TimeDelta>()(micros(1000000)));

        QCOMPARE((QSet<TimeDelta>{micros(1), micros(2), micros(1)}).size(), 2);
        QCOMPARE((std::unordered_set<TimeDelta>{micros(1), micros(2), micros(1)}).size(), std::size_t(2));
    }

    void spansCanBePrinted()
    {
        QString text;
        QDebug(&text) << TimeDelta::FromMilliseconds(-2) << 1;
        using QTest::toString; // as QCOMPARE looks it up
        const std::unique_ptr<char[]> failureText(toString(TimeDelta::FromMilliseconds(-2)));

        QCOMPARE(text, QStringLiteral("TimeDelta(-2000us) 1 "));
        QCOMPARE(QByteArray(failureText.get()), QByteArray("TimeDelta(-2000us)"));
    }

    void variantsCarrySpans()
    {
        const QVariant one = QVariant::fromValue(TimeDelta::FromSeconds(1));
        QString text;
        QDebug(&text).nospace() << one;

        QCOMPARE(one, QVariant::fromValue(micros(1000000)));
        QVERIFY(one != QVariant::fromValue(micros(1)));
        QVERIFY(one != QVariant::fromValue(micros(2)));
        QCOMPARE(text, QStringLiteral("QVariant(TimeDelta, TimeDelta(1000000us))"));
    }

    void queuedSignalsCarrySpans()
    {
        QObject receiver;
        connect(
            this, &TestTimeDelta::elapsed, &receiver, [this](TimeDelta span) { mReceived = span; },
            Qt::QueuedConnection);

        Q_EMIT elapsed(micros(5));

        QTRY_COMPARE(mReceived, micros(5));
    }

    void datesAndTimesGoOnInMilliseconds()
    {
        const QDateTime noon(QDate(2024, 2, 29), QTime(12, 0), Qt::UTC);
        QDateTime time = noon;

        QCOMPARE(noon + micros(1999), noon.addMSecs(1));
        QCOMPARE(micros(1999) + noon, noon.addMSecs(1));
        QCOMPARE(noon + micros(-1999), noon.addMSecs(-1));
        QCOMPARE(noon - micros(1999), noon.addMSecs(-1));
        QCOMPARE(noon - micros(-1999), noon.addMSecs(1));
        QCOMPARE(time += TimeDelta::FromDays(1), noon.addDays(1));
        QCOMPARE(time -= micros(2000), noon.addDays(1).addMSecs(-2));
        QCOMPARE(time.timeSpec(), Qt::UTC);
    }

    void aDateIsTheStartOfItsDay()
    {
        const QDate date(2024, 2, 29);

        QCOMPARE(date + TimeDelta::FromHours(25), QDateTime(QDate(2024, 3, 1), QTime(1, 0)));
        QCOMPARE(TimeDelta::FromHours(25) + date, date + TimeDelta::FromHours(25));
        QCOMPARE(date - micros(1000), QDateTime(QDate(2024, 2, 28), QTime(23, 59, 59, 999)));
        QCOMPARE((date + TimeDelta()).timeSpec(), Qt::LocalTime);
    }

    void differencesAreSpans()
    {
        const QDate date(2024, 2, 29);
        const QDateTime time(date, QTime(1, 2, 3, 4));

        QCOMPARE(time - time.addMSecs(-1500), TimeDelta::FromMilliseconds(1500));
        QCOMPARE(time.addMSecs(-1500) - time, TimeDelta::FromMilliseconds(-1500));
        QCOMPARE(time - date, TimeDelta::FromMilliseconds(3723004));
        QCOMPARE(date - time, TimeDelta::FromMilliseconds(-3723004));
        QCOMPARE(date - QDate(2024, 2, 28), TimeDelta::FromDays(1));
        QCOMPARE(QDate(2023, 3, 1) - date, TimeDelta::FromDays(-365));
        QCOMPARE(QTime(1, 0) - QTime(23, 0), TimeDelta::FromHours(-22));
        QCOMPARE(QTime(23, 0, 0, 1) - QTime(1, 0), TimeDelta::FromHours(22) + TimeDelta::FromMilliseconds(1));
    }

    void invalidDatesAndTimesGiveNothing()
    {
        const QDateTime time(QDate(2024, 2, 29), QTime(1, 2));

        QCOMPARE(QDateTime() - time, TimeDelta());
        QCOMPARE(time - QDateTime(), TimeDelta());
        QCOMPARE(time - QDate(), TimeDelta());
        QCOMPARE(QDate() - QDate(2024, 1, 1), TimeDelta());
        QCOMPARE(QTime() - QTime(1, 0), TimeDelta());
        QVERIFY(!(QDateTime() + TimeDelta::FromDays(1)).isValid());
        QVERIFY(!(QDate() + TimeDelta::FromDays(1)).isValid());
        QVERIFY(!(QDate() - TimeDelta::FromDays(1)).isValid());
    }

    void farDatesWrapAround()
    {
        const QDateTime far = QDateTime::fromMSecsSinceEpoch(highest, Qt::UTC);
        const QDateTime epoch = QDateTime::fromMSecsSinceEpoch(0, Qt::UTC);

        QCOMPARE(far - epoch, micros(wrappedProduct(highest, 1000)));
        QCOMPARE(epoch - far, micros(wrappedProduct(highest, -1000)));
    }

    void aDayMayStartAfterMidnight()
    {
        const QByteArray former = qgetenv("TZ");
        qputenv("TZ", "America/Sao_Paulo"); // on that day the clock went from 00:00 to 01:00
        tzset();
        const QDate date(2018, 11, 4);
        const QDateTime start = date + TimeDelta();
        const TimeDelta span = QDateTime(date, QTime(3, 0)) - date;
        if (former.isNull())
            qunsetenv("TZ");
        else
            qputenv("TZ", former);
        tzset();

        QVERIFY(start.isValid());
        QCOMPARE(span, TimeDelta::FromHours(2));
    }
};

QTEST_GUILESS_MAIN(TestTimeDelta)
#include "tst_timedelta.moc"
