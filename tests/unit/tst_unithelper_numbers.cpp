// SPDX-License-Identifier: Apache-2.0
// The numeric functions beside a plain rendition of the same rules, over random and extreme input.
#include "Helpers/UnitHelper.h"
#include "ReferenceNumbers.h"

#include <QRandomGenerator>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace {
constexpr int rounds = 50000;
constexpr int roundsOfNumericalValues = 1000000;

constexpr double specialReals[] = {0.0, -0.0, 1.0, -1.0, 0.5, -0.5, 2.5, 0.1, 1e-6, 9.9999999e-7, 1e9,
    999999999.99999988, 1e15, 1e22, 1e300, -1e300, 2147483647.0, 2147483648.0, -2147483648.0, -2147483649.0,
    4294967296.0, 9223372036854775808.0, -9223372036854775808.0, 18446744073709551616.0, 5e-324,
    2.2250738585072014e-308, 1.7976931348623157e308, std::numeric_limits<double>::infinity(),
    -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()};

template <typename Integer>
Integer anyInteger(QRandomGenerator *random)
{
    constexpr auto lowest = std::numeric_limits<Integer>::min();
    constexpr auto highest = std::numeric_limits<Integer>::max();
    constexpr Integer special[] = {lowest, Integer(lowest + 1), 0, 1, 9, 10, 99, 100, highest, Integer(highest - 1)};
    const auto choice = static_cast<std::size_t>(random->bounded(60));
    if (choice < std::size(special))
        return special[choice];
    return static_cast<Integer>(
        static_cast<Integer>(random->generate64()) >> random->bounded(int(sizeof(Integer)) * 8));
}

double anyBits(QRandomGenerator *random)
{
    const quint64 bits = random->generate64();
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// Measured values: some digits, a point somewhere.
double anyMeasuredValue(QRandomGenerator *random)
{
    const double sign = random->bounded(2) ? 1 : -1;
    const auto digits = static_cast<double>(random->generate64() >> random->bounded(20, 64));
    return sign * digits / std::pow(10.0, random->bounded(-2, 12));
}

double anyReal(QRandomGenerator *random)
{
    const int choice = random->bounded(8);
    if (choice == 0)
        return specialReals[random->bounded(int(std::size(specialReals)))];
    return choice < 3 ? anyBits(random) : anyMeasuredValue(random);
}

int anyPrecision(QRandomGenerator *random)
{
    constexpr int special[] = {-1, 0, 7, 50, -128, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()};
    const int choice = random->bounded(40);
    return choice < int(std::size(special)) ? special[choice] : random->bounded(10);
}

int plainPrecision(qint64 precision)
{
    return precision < 0 ? 6 : int(std::min<qint64>(precision, 100));
}

/// Equal but for the last bits of a double; NaN is like NaN.
bool isClose(double actual, long double expected)
{
    constexpr long double tolerance = 4 * std::numeric_limits<double>::epsilon();
    if (std::isnan(actual) || std::isnan(expected))
        return std::isnan(actual) && std::isnan(expected);
    const auto nearest = static_cast<double>(expected);
    if (std::isinf(actual) || std::isinf(nearest))
        return actual == nearest;
    const long double size = std::max<long double>(std::fabs(expected), std::numeric_limits<double>::min());
    return std::fabs(actual - expected) <= tolerance * size;
}

bool isClose(double actual, double expected)
{
    return isClose(actual, static_cast<long double>(expected));
}

template <typename Integer>
Integer plainTruncated(long double value)
{
    if (std::isnan(value))
        return 0;
    const long double whole = std::trunc(value);
    if (whole <= static_cast<long double>(std::numeric_limits<Integer>::min()))
        return std::numeric_limits<Integer>::min();
    if (whole >= static_cast<long double>(std::numeric_limits<Integer>::max()))
        return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(whole);
}

/// Of a number that is not negative, as the text of it says.
int plainIntegerDigits(double value)
{
    const double bound = 9223372036854775808.0;
    return value >= 1 ? std::min(ReferenceNumbers::exactDigits(std::min(value, bound)).pointAt, 19) : 0;
}

QString lowerCase(const QString &text)
{
    return text.toLower();
}

QString plainMeasureCount(double value, int precision)
{
    if (std::isfinite(value) && std::floor(value) == value) {
        const QString text = ReferenceNumbers::fixed(value, 0);
        return text == QLatin1String("-0") ? QStringLiteral("0") : text;
    }
    return lowerCase(
        ReferenceNumbers::significant(value, plainPrecision(qint64(precision) + plainIntegerDigits(value))));
}

/// Decimals of the text that are left without the zeros at its end.
int plainDecimals(double value, int maxDecimals)
{
    if (!std::isfinite(value))
        return 0;
    const QString text = ReferenceNumbers::fixed(value, maxDecimals);
    const int point = text.indexOf(QLatin1Char('.'));
    int end = text.size();
    while (point >= 0 && text[end - 1] == QLatin1Char('0'))
        --end;
    return point < 0 ? 0 : end - point - 1;
}

/// The rule as its documentation has it, on decimal digits.
QString plainNumericalValue(double value, int precision)
{
    const double size = std::fabs(value);
    if (size < 0.000001 || std::isnan(value))
        return ReferenceNumbers::significant(value, 3);
    if (size >= 1000000000)
        return ReferenceNumbers::significant(value, 6);

    const int decimals = plainDecimals(value, precision < 0 || precision > 7 ? 7 : precision);
    if (size * 1000000 <= 1 || decimals == 7)
        return ReferenceNumbers::scientific(value, 3);

    const QString text = ReferenceNumbers::fixed(value, decimals);
    QString digits = text;
    digits.remove(QLatin1Char('-')).remove(QLatin1Char('.'));
    while (digits.startsWith(QLatin1Char('0')))
        digits.remove(0, 1);
    return digits.size() < 3 ? ReferenceNumbers::significant(value, 3) : text;
}
} // namespace

#define COMPARE_TEXT(actual, expected, value)                                                                          \
    do {                                                                                                               \
        const QString actualText = (actual);                                                                           \
        const QString &expectedText = (expected);                                                                      \
        if (actualText != expectedText)                                                                                \
            QFAIL(qPrintable(QStringLiteral("%1 gives %2, expected %3")                                                \
                                 .arg(QString::number(value, 'g', 17), actualText, expectedText)));                    \
    } while (false)

class TestUnitHelperNumbers : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theReferenceIsRight()
    {
        QCOMPARE(ReferenceNumbers::fixed(2.5, 0), QStringLiteral("3"));
        QCOMPARE(ReferenceNumbers::fixed(-9.996, 2), QStringLiteral("-10.00"));
        QCOMPARE(ReferenceNumbers::fixed(0.1, 20), QStringLiteral("0.10000000000000000555"));
        QCOMPARE(ReferenceNumbers::significant(0.0001, 3), QStringLiteral("0.0001"));
        QCOMPARE(ReferenceNumbers::significant(0.00001, 3), QStringLiteral("1E-05"));
        QCOMPARE(ReferenceNumbers::significant(999.6, 3), QStringLiteral("1E+03"));
        QCOMPARE(ReferenceNumbers::significant(100, 3), QStringLiteral("100"));
        QCOMPARE(ReferenceNumbers::significant(0, 3), QStringLiteral("0"));
        QCOMPARE(ReferenceNumbers::scientific(12345.0, 3), QStringLiteral("1.235E+04"));
        QCOMPARE(ReferenceNumbers::scientific(5e-324, 2), QStringLiteral("4.94E-324"));
    }

    void realsAreConverted()
    {
        QRandomGenerator random(1);

        for (int round = 0; round < rounds; ++round) {
            const double value = anyReal(&random);
            const long double exact = value;
            QVERIFY(isClose(UnitHelper::degreeCelsiusToFahrenheit(value), double(value * 9) * 1.0L / 5 + 32)
                || isClose(UnitHelper::degreeCelsiusToFahrenheit(value) - 32, exact * 9 / 5));
            QVERIFY(isClose(UnitHelper::feetToMetres(value), exact / 3.2808001041412354));
            QVERIFY(isClose(UnitHelper::metresToFeet(value), exact * 3.2808001041412354));
            QVERIFY(isClose(UnitHelper::gbpsToMbpsReal(value), exact * 1000));
            QVERIFY(isClose(UnitHelper::milliSecsToMicroSecs(value), exact * 1000));
            QVERIFY(isClose(UnitHelper::milliSecsToNanoSecs(value), exact * 1000000));
            QVERIFY(isClose(UnitHelper::microSecsToNanoSecs(value), exact * 1000));
            QVERIFY(isClose(UnitHelper::freqMHzToKHz(value), exact * 1000));
            QVERIFY(isClose(UnitHelper::freqKHzToMHz(value), exact / 1000));
            QCOMPARE(UnitHelper::gbpsToMbps(value), plainTruncated<int>(value * 1000));
            QCOMPARE(UnitHelper::wifiSignalStrengthDBmToPercent(value),
                std::min(plainTruncated<int>((1 - (-20 - value) / 80) * 100), 100));
        }
    }

    void integersAreConverted()
    {
        QRandomGenerator random(2);

        for (int round = 0; round < rounds; ++round) {
            const auto value = anyInteger<qint32>(&random);
            const double asFloat = static_cast<float>(value);
            QCOMPARE(UnitHelper::toNsSkew(value), double(static_cast<float>(asFloat * 1.25)));
            QCOMPARE(UnitHelper::toDbSnr(value), value < -127 ? 0.0 : double(static_cast<float>(asFloat * 0.1F)));
            QCOMPARE(UnitHelper::freqKHzToMHz(value), double(static_cast<float>(asFloat / 1000)));
            QVERIFY(isClose(UnitHelper::mbpsToGbps(value), value / 1000.0L));

            const auto speed = anyInteger<quint32>(&random);
            const auto rate = anyInteger<quint64>(&random);
            QVERIFY(
                isClose(UnitHelper::toPercentUtilization(speed, rate), speed == 0 ? 0.0L : rate / (speed * 10000.0L)));

            const auto raw = anyInteger<quint16>(&random);
            const int tenths = raw > 650 ? (raw + 5) / 10 * 10 : raw;
            QVERIFY(isClose(UnitHelper::poePowerInWatts(raw), tenths / 10.0L));

            const auto voltage = anyInteger<qint16>(&random);
            const int divisor = voltage < 150 ? 182 : voltage < 400 ? 180 : voltage < 1000 ? 179 : 180;
            QCOMPARE(UnitHelper::toRealVoltage(voltage), short(plainTruncated<int>(voltage * 10.0L / divisor)));
        }
    }

    void scalarsAreConverted()
    {
        QRandomGenerator random(3);

        for (int round = 0; round < rounds; ++round) {
            const double scalar = random.bounded(8) == 0 ? anyReal(&random) : random.bounded(1.5) - 0.25;
            const auto min = anyInteger<qint32>(&random);
            const auto max = anyInteger<qint32>(&random);
            const double between = (double(max) - double(min)) * scalar + min;
            QVERIFY(isClose(UnitHelper::valueBetweenMinMax(scalar, double(min), double(max)), between));
            QCOMPARE(UnitHelper::valueBetweenMinMax(scalar, min, max),
                plainTruncated<int>(std::floor(static_cast<long double>(between) + 0.5L)));

            const double current = random.bounded(2) ? double(anyInteger<qint32>(&random)) : anyReal(&random);
            const double expected = current < min ? 0
                : current > max || min == max     ? 1
                                                  : (current - min) / (double(max) - min);
            QVERIFY(isClose(UnitHelper::scalarFromMinMaxUsingCurrent(current, min, max), expected));
            QVERIFY(isClose(UnitHelper::scalarFromMinMaxUsingCurrent(current, double(min), double(max)), expected));
            (void)UnitHelper::scalarFromMinMaxUsingCurrent(anyReal(&random), anyReal(&random), anyReal(&random));
        }
    }

    void valuesAreRounded()
    {
        QRandomGenerator random(4);

        for (int round = 0; round < rounds; ++round) {
            const double value = anyReal(&random);
            const int precision = anyPrecision(&random);
            const double result = UnitHelper::roundToPrecision(value, precision);
            if (precision < 0 || precision > 9 || !std::isfinite(value)) {
                QVERIFY(result == value || std::isnan(value));
                continue;
            }
            const long double factor = std::pow(10.0L, precision);
            const double scaled = value * static_cast<double>(factor);
            const bool isWhole = std::fabs(value - std::trunc(value)) * 1e12 <= std::fabs(std::trunc(value));
            QVERIFY2(isClose(result, isWhole ? value : std::trunc(scaled + 0.5) / factor)
                    || std::fabs(value - std::trunc(value)) * 0.99e12 <= std::fabs(value),
                qPrintable(QString::number(value, 'g', 17)));
        }
    }

    void bitsAreExtracted()
    {
        QRandomGenerator random(5);

        for (int round = 0; round < rounds; ++round) {
            const auto source = anyInteger<qint32>(&random);
            const int start = random.bounded(10) == 0 ? anyInteger<qint32>(&random) : random.bounded(-2, 35);
            const int count = random.bounded(10) == 0 ? anyInteger<qint32>(&random) : random.bounded(-2, 35);
            qint64 expected = 0;
            if (start >= 0 && start < 32 && count > 0 && qint64(start) + count <= 32) {
                for (int bit = 0; bit < count; ++bit)
                    expected += ((static_cast<quint32>(source) >> (start + bit)) & 1U) ? qint64(1) << bit : 0;
            }
            if (expected > std::numeric_limits<int>::max())
                expected -= qint64(1) << 32;
            QCOMPARE(qint64(UnitHelper::extractInt(source, start, count)), expected);
        }
    }

    void digitsAreCounted()
    {
        QRandomGenerator random(6);

        for (int round = 0; round < rounds; ++round) {
            const auto integer = anyInteger<qint64>(&random);
            QString text = QString::number(integer);
            QCOMPARE(UnitHelper::unitsOfMeasureCount(integer), text.remove(QLatin1Char('-')).size());

            const double value = anyReal(&random);
            const int precision = anyPrecision(&random);
            QCOMPARE(UnitHelper::numberOfDecimalValues(value, precision),
                plainDecimals(std::fmod(value, 1.0), plainPrecision(precision)));
        }
    }

    void realsAreWritten()
    {
        QRandomGenerator random(7);

        for (int round = 0; round < rounds; ++round) {
            const double value = anyReal(&random);
            const int precision = anyPrecision(&random);
            const QString fixed = lowerCase(ReferenceNumbers::fixed(value, plainPrecision(precision)));
            COMPARE_TEXT(UnitHelper::formatDecimalValue(value, precision), fixed, value);
            COMPARE_TEXT(
                UnitHelper::toPercentageString(value, precision, true, false), fixed + QLatin1Char('%'), value);
            COMPARE_TEXT(UnitHelper::toPercentageString(value, precision, false, true),
                lowerCase(ReferenceNumbers::significant(
                    value, plainPrecision(qint64(precision) + plainIntegerDigits(value)))),
                value);
            COMPARE_TEXT(UnitHelper::formatDecimalValueWithMeasureCount(value, precision),
                plainMeasureCount(value, precision), value);
            const double max = anyReal(&random);
            COMPARE_TEXT(UnitHelper::toOpticalPowerString(value, max),
                value >= max ? QStringLiteral("-") : lowerCase(ReferenceNumbers::fixed(value, 2)), value);
        }
    }

    void integersAreWritten()
    {
        QRandomGenerator random(8);

        for (int round = 0; round < rounds; ++round) {
            const auto value = anyInteger<qint32>(&random);
            const auto word = static_cast<quint64>(qint64(value)); // as many bits as the texts show
            char hex[40];
            std::snprintf(hex, sizeof hex, "0x%04llX", static_cast<unsigned long long>(word));
            COMPARE_TEXT(UnitHelper::toHexString(value), QString::fromLatin1(hex), value);
            QString bits;
            for (int bit = value < 0 ? 63 : 31; bit >= 0; --bit)
                bits += QLatin1Char((word >> bit) & 1U ? '1' : '0');
            COMPARE_TEXT(UnitHelper::intToBinaryStr(value), bits, value);

            const qint64 size = std::abs(qint64(value));
            QString grouped = QString::number(size / 1000) + QLatin1Char(',')
                + QString::number(size % 1000).rightJustified(3, QLatin1Char('0'));
            if (size < 1000)
                grouped = QString::number(size);
            COMPARE_TEXT(
                UnitHelper::toFormattedIntString(value), value < 0 ? QLatin1Char('-') + grouped : grouped, value);

            const auto integer = anyInteger<qint64>(&random);
            const QString plain = QString::number(integer);
            COMPARE_TEXT(UnitHelper::numericalValueToString(integer),
                plain.size() - int(integer < 0) <= 9 ? plain
                                                     : ReferenceNumbers::significant(static_cast<double>(integer), 6),
                double(integer));
        }
    }

    void ratesAndSizesAreWritten()
    {
        QRandomGenerator random(9);

        for (int round = 0; round < rounds; ++round) {
            const auto count = anyInteger<quint64>(&random);
            const int precision = anyPrecision(&random);
            const double asFloat = static_cast<float>(count);
            const QString integer = QString::number(count);
            const auto rate = [&](double unit) {
                return plainMeasureCount(static_cast<float>(asFloat / unit), precision);
            };
            const QString rateText = integer.size() <= 3 ? integer + QStringLiteral(" bps")
                : integer.size() <= 6                    ? rate(1e3) + QStringLiteral(" Kbps")
                : integer.size() <= 9                    ? rate(1e6) + QStringLiteral(" Mbps")
                                                         : rate(1e9) + QStringLiteral(" Gbps");
            COMPARE_TEXT(UnitHelper::formatBitsPerSecondDataRate(count, precision), rateText, double(count));

            const auto points = static_cast<uint>(precision);
            int steps = 0;
            double size = static_cast<double>(count);
            for (; size >= 1024 && steps < 4; ++steps)
                size = std::ldexp(static_cast<double>(count), -10 * (steps + 1));
            const QString units[] = {QStringLiteral(" B"), QStringLiteral(" kB"), QStringLiteral(" MB"),
                QStringLiteral(" GB"), QStringLiteral(" TB")};
            COMPARE_TEXT(UnitHelper::bytesToReadable(count, points),
                ReferenceNumbers::fixed(size, steps == 0 ? 0 : int(std::min(points, 100U))) + units[steps],
                double(count));
        }
    }

    void numericalValuesFollowTheirRule()
    {
        QRandomGenerator random(10);

        for (int round = 0; round < roundsOfNumericalValues; ++round) {
            const double value = anyReal(&random);
            const int precision = anyPrecision(&random);
            COMPARE_TEXT(
                UnitHelper::numericalValueToString(value, precision), plainNumericalValue(value, precision), value);
        }
    }

    void numericalValuesAreNeitherWrongNorLong()
    {
        QRandomGenerator random(11);

        for (int round = 0; round < rounds; ++round) {
            const double value = anyReal(&random);
            const int precision = random.bounded(-1, 9);
            if (!std::isfinite(value))
                continue;
            const QString text = UnitHelper::numericalValueToString(value, precision);
            const double read = text.toDouble();
            const double size = std::fabs(value);
            const bool hasAllDecimals = precision < 0 || precision > 6;
            const double wanted = hasAllDecimals ? 0 : 0.5000001 * std::pow(10.0, -precision);
            QVERIFY2(std::fabs(read - value) <= std::max(wanted, size * 0.005001), qPrintable(text));
            QVERIFY2(text.size() <= 17, qPrintable(text)); // a sign, nine digits, a point, six decimals
        }
    }
};

QTEST_APPLESS_MAIN(TestUnitHelperNumbers)
#include "tst_unithelper_numbers.moc"
