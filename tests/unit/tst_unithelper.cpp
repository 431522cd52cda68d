// SPDX-License-Identifier: Apache-2.0
#include "Helpers/UnitHelper.h"
#include "LogCapture.h"
#include "MetaText.h"

#include <QThread>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

namespace {
constexpr double notANumber = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr qint32 lowestInt = std::numeric_limits<qint32>::min();
constexpr qint32 highestInt = std::numeric_limits<qint32>::max();
constexpr qint64 lowestLong = std::numeric_limits<qint64>::min();
constexpr quint64 highestUlong = std::numeric_limits<quint64>::max();

QString u(const char *text)
{
    return QString::fromUtf8(text);
}
} // namespace

/// A row is what was called, as text, what it gave and what it should give.
class TestUnitHelper : public QObject
{
    Q_OBJECT

private:
    static void textColumns()
    {
        QTest::addColumn<QString>("actual");
        QTest::addColumn<QString>("expected");
    }
    template <typename Number>
    static void numberColumns()
    {
        QTest::addColumn<Number>("actual");
        QTest::addColumn<Number>("expected");
    }
    template <typename Value>
    static void compareRow()
    {
        QFETCH(const Value, actual);
        QFETCH(const Value, expected);

        QCOMPARE(actual, expected);
    }

#define ROW(call, expected) QTest::newRow(#call) << UnitHelper::call << expected
#define TEXT(call, expected) QTest::newRow(#call) << UnitHelper::call << u(expected)

private Q_SLOTS:
    void everyFunctionCanBeCalledByName()
    {
        const QString expected = u(R"(double toNsSkew(int v)
double toDbSnr(int v)
short toRealVoltage(short v)
double poePowerInWatts(ushort raw)
double degreeCelsiusToFahrenheit(double c)
double feetToMetres(double v)
double metresToFeet(double v)
double mbpsToGbps(int v)
int gbpsToMbps(double v)
double gbpsToMbpsReal(double v)
double milliSecsToMicroSecs(double v)
double milliSecsToNanoSecs(double v)
double microSecsToNanoSecs(double v)
double freqKHzToMHz(double v)
double freqKHzToMHz(int v)
double freqMHzToKHz(double v)
double toPercentUtilization(uint linkSpeedInMbps, qulonglong dataRateInBps)
int wifiSignalStrengthDBmToPercent(double dBm)
double valueBetweenMinMax(double scalar, double min, double max)
int valueBetweenMinMax(double scalar, int min, int max)
double scalarFromMinMaxUsingCurrent(double current, double min, double max)
double scalarFromMinMaxUsingCurrent(double current, int min, int max)
double roundToPrecision(double v, int precision)
int extractInt(int source, int startPosition, int bitsToExtract)
int unitsOfMeasureCount(qlonglong n)
int numberOfDecimalValues(double value, int maxPrecision)
QString toPercentageString(double value, int precision, bool includeUnit, bool omitTrailingZeroes)
QString toOpticalPowerString(double value, double max)
QString toOpticalTemperatureString(double value, double max, bool fahrenheit)
QString toVoltageString(int v)
QString toHexString(int v)
QString intToBinaryStr(int v)
QString toFormattedIntString(int v)
QString formatDecimalValue(double value, int precision)
QString formatDecimalValueWithMeasureCount(double value, int precision)
QString formatBitsPerSecondDataRate(qulonglong bps, int precision)
QString bytesToReadable(qulonglong bytes, uint decimalPoints)
QString numericalValueToString(qlonglong value)
QString numericalValueToString(double value, int precision)
QString addHTMLColorString(QVariant value, QString colour)
QString addHTMLBackgroundColorString(QVariant value, QString bgcolour)
QString wrapFontAwesomeIconWithHtml(QString text)
QString dateTimeToApiString(QDateTime dateTime)
QDateTime dateTimeFromApiString(QString text)
qlonglong getUtcTimestamp()
QString utcTimestampToString(qlonglong timestamp, QString format)
QString timeToString(QTime time)
QTime timeFromSeconds(int s)
int timeToSeconds(QTime time)
QString durationSecondsToString(int s)
int durationStringToSeconds(QString text)
QString remainingTimeString(const QTimer* timer))");

        const QMetaObject &meta = UnitHelper::staticMetaObject;
        QStringList functions;
        for (int i = meta.methodOffset(); i < meta.methodCount(); ++i)
            functions << MetaText::ofMethod(meta.method(i)).replace(u("method"), u(meta.method(i).typeName()));

        QCOMPARE(functions, expected.split(QLatin1Char('\n')));
    }

    void conversionsGiveReals_data()
    {
        numberColumns<double>();
        ROW(toNsSkew(0), 0.0);
        ROW(toNsSkew(3), 3.75);
        ROW(toNsSkew(-3), -3.75);
        ROW(toNsSkew(16777217), 20971520.0); // as a float: 16777216
        ROW(toNsSkew(highestInt), 2684354560.0);
        ROW(toDbSnr(-128), 0.0);
        ROW(toDbSnr(-127), double(-12.7F));
        ROW(toDbSnr(lowestInt), 0.0);
        ROW(toDbSnr(3), double(3.0F * 0.1F)); // 0.30000001192092896
        ROW(toDbSnr(255), double(25.5F));
        ROW(poePowerInWatts(0), 0.0);
        ROW(poePowerInWatts(155), 15.5);
        ROW(poePowerInWatts(650), 65.0);
        ROW(poePowerInWatts(651), 65.0);
        ROW(poePowerInWatts(655), 66.0);
        ROW(poePowerInWatts(65535), 6554.0);
        ROW(degreeCelsiusToFahrenheit(100), 212.0);
        ROW(degreeCelsiusToFahrenheit(-40), -40.0);
        ROW(feetToMetres(3.2808001041412354), 1.0);
        ROW(metresToFeet(1), 3.2808001041412354);
        ROW(mbpsToGbps(1500), 1.5);
        ROW(mbpsToGbps(lowestInt), -2147483.648);
        ROW(gbpsToMbpsReal(2.5), 2500.0);
        ROW(milliSecsToMicroSecs(1.5), 1500.0);
        ROW(milliSecsToNanoSecs(1.5), 1500000.0);
        ROW(microSecsToNanoSecs(1.5), 1500.0);
        ROW(freqKHzToMHz(1500.0), 1.5);
        ROW(freqKHzToMHz(2412001), double(2412.001F));
        ROW(freqKHzToMHz(2412001.0), 2412.001);
        ROW(freqMHzToKHz(1.5), 1500.0);
        ROW(toPercentUtilization(0, 1000), 0.0);
        ROW(toPercentUtilization(1000, 500000000), 50.0);
        ROW(toPercentUtilization(1, highestUlong), 1844674407370955.1615);
        ROW(toPercentUtilization(4294967295U, 42949672950000), 1.0); // the product leaves 32 bits
        ROW(valueBetweenMinMax(0.25, 10.0, 20.0), 12.5);
        ROW(valueBetweenMinMax(2.0, 10.0, 20.0), 30.0);
        ROW(scalarFromMinMaxUsingCurrent(5.0, 10.0, 20.0), 0.0);
        ROW(scalarFromMinMaxUsingCurrent(25.0, 10.0, 20.0), 1.0);
        ROW(scalarFromMinMaxUsingCurrent(12.5, 10.0, 20.0), 0.25);
        ROW(scalarFromMinMaxUsingCurrent(10.0, 10.0, 10.0), 1.0);
        ROW(scalarFromMinMaxUsingCurrent(10.0, 10.0, 20.0), 0.0);
        ROW(scalarFromMinMaxUsingCurrent(15.0, 20.0, 10.0), 0.0); // the first test decides
        ROW(scalarFromMinMaxUsingCurrent(25.0, 20.0, 10.0), 1.0);
        ROW(scalarFromMinMaxUsingCurrent(0.0, 0.0, 0.0), 1.0);
        ROW(scalarFromMinMaxUsingCurrent(1.0, 0, 4), 0.25);
        ROW(scalarFromMinMaxUsingCurrent(0.0, lowestInt, highestInt), 2147483648.0 / 4294967295.0);
        ROW(roundToPrecision(1.25, 1), 1.3);
        ROW(roundToPrecision(-1.25, 1), -1.2); // half toward zero
        ROW(roundToPrecision(-1.26, 1), -1.2); // and even more than that
        ROW(roundToPrecision(3.0, 1), 3.0);
        ROW(roundToPrecision(1.5, 0), 2.0);
        ROW(roundToPrecision(1.23456, -1), 1.23456);
        ROW(roundToPrecision(1.23456, 10), 1.23456);
        ROW(roundToPrecision(1.23456, lowestInt), 1.23456);
        ROW(roundToPrecision(1.23456, highestInt), 1.23456);
        ROW(roundToPrecision(1.23456789012, 9), 1.23456789);
        ROW(roundToPrecision(1e300, 2), 1e300);
        ROW(roundToPrecision(infinity, 2), infinity);
        ROW(roundToPrecision(0.0, 2), 0.0);
    }
    void conversionsGiveReals()
    {
        compareRow<double>();
    }

    void singlePrecisionShows()
    {
        QVERIFY(UnitHelper::toDbSnr(3) > 0.3);
        QVERIFY(UnitHelper::freqKHzToMHz(2412001) < 2412.001);
    }

    void whatIsNotANumberStaysSo()
    {
        QVERIFY(std::isnan(UnitHelper::roundToPrecision(notANumber, 2)));
        QVERIFY(std::isnan(UnitHelper::valueBetweenMinMax(notANumber, 1.0, 2.0)));
        QVERIFY(std::isnan(UnitHelper::scalarFromMinMaxUsingCurrent(notANumber, 1.0, 2.0)));
        QVERIFY(std::isnan(UnitHelper::degreeCelsiusToFahrenheit(notANumber)));
    }

    void conversionsGiveIntegers_data()
    {
        numberColumns<int>();
        const auto voltage = [](short raw, int volts) {
            QTest::addRow("toRealVoltage(%d)", raw) << int(UnitHelper::toRealVoltage(raw)) << volts;
        };
        voltage(0, 0);
        voltage(149, 8);
        voltage(150, 8);
        voltage(399, 22);
        voltage(400, 22);
        voltage(999, 55);
        voltage(1000, 55);
        voltage(-19, -1);
        voltage(32767, 1820);
        voltage(-32768, -1800);
        ROW(gbpsToMbps(2.5), 2500);
        ROW(gbpsToMbps(0.0019), 1);
        ROW(gbpsToMbps(-0.0019), -1);
        ROW(gbpsToMbps(1e300), highestInt);
        ROW(gbpsToMbps(-1e300), lowestInt);
        ROW(gbpsToMbps(2147483.6479), highestInt);
        ROW(gbpsToMbps(-2147483.6489), lowestInt);
        ROW(gbpsToMbps(infinity), highestInt);
        ROW(gbpsToMbps(notANumber), 0);
        ROW(wifiSignalStrengthDBmToPercent(-20), 100);
        ROW(wifiSignalStrengthDBmToPercent(-60), 50);
        ROW(wifiSignalStrengthDBmToPercent(-10), 100);
        ROW(wifiSignalStrengthDBmToPercent(-100), 0);
        ROW(wifiSignalStrengthDBmToPercent(-110), -12);
        ROW(wifiSignalStrengthDBmToPercent(-1e300), lowestInt);
        ROW(wifiSignalStrengthDBmToPercent(1e300), 100);
        ROW(wifiSignalStrengthDBmToPercent(notANumber), 0);
        ROW(valueBetweenMinMax(0.5, 0, 3), 2);
        ROW(valueBetweenMinMax(0.25, 0, 3), 1);
        ROW(valueBetweenMinMax(0.0, lowestInt, highestInt), lowestInt);
        ROW(valueBetweenMinMax(1.0, lowestInt, highestInt), highestInt);
        ROW(valueBetweenMinMax(0.5, lowestInt, highestInt), 0);
        ROW(valueBetweenMinMax(0.5, -3, 0), -1); // -1.5 rounds upwards
        ROW(valueBetweenMinMax(1e300, 0, 1), highestInt);
        ROW(valueBetweenMinMax(-1e300, 0, 1), lowestInt);
        ROW(valueBetweenMinMax(-2147483647.0, 0, 1), -2147483647);
        ROW(valueBetweenMinMax(-2147483647.25, 0, 1), -2147483647);
        ROW(valueBetweenMinMax(-2147483647.75, 0, 1), lowestInt);
        ROW(valueBetweenMinMax(notANumber, 0, 1), 0);
        ROW(extractInt(0xF0, 4, 4), 15);
        ROW(extractInt(-1, 30, 3), 0);
        ROW(extractInt(-1, 30, 2), 3);
        ROW(extractInt(-1, 31, 1), 1);
        ROW(extractInt(-2, 0, 32), -2);
        ROW(extractInt(lowestInt, 0, 32), lowestInt);
        ROW(extractInt(lowestInt, 0, 31), 0);
        ROW(extractInt(-1, 0, 33), 0);
        ROW(extractInt(-1, 32, 1), 0);
        ROW(extractInt(-1, -1, 1), 0);
        ROW(extractInt(-1, 0, 0), 0);
        ROW(extractInt(-1, 0, -1), 0);
        ROW(extractInt(-1, 5, lowestInt), 0);
        ROW(extractInt(-1, highestInt, highestInt), 0);
        ROW(extractInt(-1, lowestInt, 1), 0);
        ROW(unitsOfMeasureCount(0), 1);
        ROW(unitsOfMeasureCount(9), 1);
        ROW(unitsOfMeasureCount(10), 2);
        ROW(unitsOfMeasureCount(-10), 2);
        ROW(unitsOfMeasureCount(lowestLong), 19);
        ROW(numberOfDecimalValues(1.25, 7), 2);
        ROW(numberOfDecimalValues(-1.25, 7), 2);
        ROW(numberOfDecimalValues(1.25, 1), 1);
        ROW(numberOfDecimalValues(1.25, 0), 0);
        ROW(numberOfDecimalValues(3.0, 7), 0);
        ROW(numberOfDecimalValues(0.99999999, 7), 0); // 1.0000000
        ROW(numberOfDecimalValues(1.0 / 3, -1), 6);
        ROW(numberOfDecimalValues(1.0 / 3, 100), 54);
        ROW(numberOfDecimalValues(1.0 / 3, highestInt), 54);
        ROW(numberOfDecimalValues(notANumber, 7), 0);
        ROW(numberOfDecimalValues(infinity, 7), 0);
        ROW(numberOfDecimalValues(1e300, 7), 0);
        ROW(timeToSeconds(QTime(1, 2, 3)), 3723);
        ROW(timeToSeconds(QTime(23, 59, 59, 999)), 86399);
        ROW(timeToSeconds(QTime()), 0);
    }
    void conversionsGiveIntegers()
    {
        compareRow<int>();
    }

    void percentages_data()
    {
        textColumns();
        TEXT(toPercentageString(12.5, 2, true, false), "12.50%");
        TEXT(toPercentageString(12.5, 2, false, false), "12.50");
        TEXT(toPercentageString(12.5, 2, true, true), "12.5%");
        TEXT(toPercentageString(12.346, 2, true, true), "12.35%");
        TEXT(toPercentageString(100.0, 2, true, true), "100%");
        TEXT(toPercentageString(0.0, 2, true, true), "0%");
        TEXT(toPercentageString(0.12345, 2, true, true), "0.12%");
        TEXT(toPercentageString(99.999, 1, true, true), "100%");
        TEXT(toPercentageString(-50.5, 1, true, true), "-5e+01%"); // no integer digits are counted below 1
        TEXT(toPercentageString(0.5, 0, true, true), "0.5%");
        TEXT(toPercentageString(1.0 / 3, -1, false, false), "0.333333");
        TEXT(toPercentageString(1e300, 2, false, true),
            "1.0000000000000000525e+300"); // no more than 19 integer digits are counted
        TEXT(toPercentageString(notANumber, 2, true, true), "nan%");
        TEXT(toPercentageString(infinity, 2, true, false), "inf%");
        TEXT(toPercentageString(12.5, highestInt, true, true), "12.5%");
        TEXT(toPercentageString(12.5, lowestInt, true, true), "12.5%");
    }
    void percentages()
    {
        compareRow<QString>();
    }

    void opticalValues_data()
    {
        textColumns();
        TEXT(toOpticalPowerString(-12.345, 100), "-12.35"); // the double lies beyond -12.345
        TEXT(toOpticalPowerString(99.99, 100), "99.99");
        TEXT(toOpticalPowerString(100, 100), "-");
        TEXT(toOpticalPowerString(infinity, 100), "-");
        TEXT(toOpticalPowerString(notANumber, 100), "nan");
        TEXT(toOpticalTemperatureString(25, 100, false), "25.00");
        TEXT(toOpticalTemperatureString(25, 100, true), "77.00");
        TEXT(toOpticalTemperatureString(99, 100, true), "210.20"); // the limit is one in degrees Celsius
        TEXT(toOpticalTemperatureString(100, 100, true), "-");
    }
    void opticalValues()
    {
        compareRow<QString>();
    }

    void integers_data()
    {
        textColumns();
        TEXT(toVoltageString(48), "48V");
        TEXT(toVoltageString(lowestInt), "-2147483648V");
        TEXT(toHexString(255), "0x00FF");
        TEXT(toHexString(0), "0x0000");
        TEXT(toHexString(0x12abc), "0x12ABC");
        TEXT(toHexString(highestInt), "0x7FFFFFFF");
        TEXT(toHexString(-1), "0xFFFFFFFFFFFFFFFF");
        TEXT(toHexString(lowestInt), "0xFFFFFFFF80000000");
        TEXT(intToBinaryStr(5), "00000000000000000000000000000101");
        TEXT(intToBinaryStr(highestInt), "01111111111111111111111111111111");
        TEXT(intToBinaryStr(-2), "1111111111111111111111111111111111111111111111111111111111111110");
        TEXT(toFormattedIntString(0), "0");
        TEXT(toFormattedIntString(999), "999");
        TEXT(toFormattedIntString(1000), "1,000");
        TEXT(toFormattedIntString(1234567), "1234,567");
        TEXT(toFormattedIntString(-123), "-123");
        TEXT(toFormattedIntString(-1234), "-1,234");
        TEXT(toFormattedIntString(highestInt), "2147483,647");
        TEXT(toFormattedIntString(lowestInt), "-2147483,648");
    }
    void integers()
    {
        compareRow<QString>();
    }

    void decimals_data()
    {
        textColumns();
        TEXT(formatDecimalValue(1.255, 2), "1.25"); // the double lies below 1.255
        TEXT(formatDecimalValue(1.5, 0), "2");
        TEXT(formatDecimalValue(1.5, -1), "1.500000");
        TEXT(formatDecimalValue(1.5, -128), "1.500000");
        TEXT(formatDecimalValue(notANumber, 2), "nan");
        TEXT(formatDecimalValue(-infinity, 2), "-inf");
        TEXT(formatDecimalValueWithMeasureCount(12, 2), "12");
        TEXT(formatDecimalValueWithMeasureCount(12.346, 2), "12.35");
        TEXT(formatDecimalValueWithMeasureCount(12.5, 2), "12.5");
        TEXT(formatDecimalValueWithMeasureCount(0.12345, 2), "0.12");
        TEXT(formatDecimalValueWithMeasureCount(-3, 2), "-3");
        TEXT(formatDecimalValueWithMeasureCount(-12.346, 2), "-12");
        TEXT(formatDecimalValueWithMeasureCount(-0.0, 2), "0");
        TEXT(formatDecimalValueWithMeasureCount(1e17, 2), "100000000000000000");
        TEXT(formatDecimalValueWithMeasureCount(9223372036854775808.0, 2), "9223372036854775808");
        TEXT(formatDecimalValueWithMeasureCount(-9223372036854775808.0, 2), "-9223372036854775808");
        TEXT(formatDecimalValueWithMeasureCount(1e22, 2), "10000000000000000000000");
        TEXT(formatDecimalValueWithMeasureCount(notANumber, 2), "nan");
        TEXT(formatDecimalValueWithMeasureCount(infinity, 2), "inf");
        TEXT(formatDecimalValueWithMeasureCount(1.5, highestInt), "1.5");
        TEXT(formatDecimalValueWithMeasureCount(1.5, lowestInt), "1.5");
        TEXT(formatDecimalValueWithMeasureCount(1.5, -1), "2"); // one digit and minus one make none, which is one
        QTest::newRow("a thousand decimals are a hundred")
            << UnitHelper::formatDecimalValue(1.5, 1000) << u("1.5") + QString(99, QLatin1Char('0'));
    }
    void decimals()
    {
        compareRow<QString>();
    }

    void dataRatesAndSizes_data()
    {
        textColumns();
        TEXT(formatBitsPerSecondDataRate(0, 2), "0 bps");
        TEXT(formatBitsPerSecondDataRate(999, 2), "999 bps");
        TEXT(formatBitsPerSecondDataRate(1000, 2), "1 Kbps");
        TEXT(formatBitsPerSecondDataRate(1500, 2), "1.5 Kbps");
        TEXT(formatBitsPerSecondDataRate(999999, 2), "1000 Kbps");
        TEXT(formatBitsPerSecondDataRate(1000000, 2), "1 Mbps");
        TEXT(formatBitsPerSecondDataRate(1234567, 2), "1.23 Mbps");
        TEXT(formatBitsPerSecondDataRate(1000000000, 2), "1 Gbps");
        TEXT(formatBitsPerSecondDataRate(2500000000, 2), "2.5 Gbps");
        TEXT(formatBitsPerSecondDataRate(16777217000, 6), "16.777218 Gbps"); // in single precision
        TEXT(formatBitsPerSecondDataRate(highestUlong, 2), "18446743552 Gbps"); // likewise
        TEXT(formatBitsPerSecondDataRate(1500, highestInt), "1.5 Kbps");
        TEXT(formatBitsPerSecondDataRate(1500, lowestInt), "1.5 Kbps");
        TEXT(bytesToReadable(0, 2), "0 B");
        TEXT(bytesToReadable(1023, 2), "1023 B");
        TEXT(bytesToReadable(1024, 2), "1.00 kB");
        TEXT(bytesToReadable(1536, 1), "1.5 kB");
        TEXT(bytesToReadable(1048575, 2), "1024.00 kB");
        TEXT(bytesToReadable(1048576, 0), "1 MB");
        TEXT(bytesToReadable(quint64(1) << 30, 2), "1.00 GB");
        TEXT(bytesToReadable(quint64(1) << 40, 2), "1.00 TB");
        TEXT(bytesToReadable(quint64(1) << 50, 2), "1024.00 TB");
        TEXT(bytesToReadable(highestUlong, 0), "16777216 TB");
        QTest::newRow("decimals without end")
            << UnitHelper::bytesToReadable(1536, 4294967295U) << u("1.5") + QString(99, QLatin1Char('0')) + u(" kB");
    }
    void dataRatesAndSizes()
    {
        compareRow<QString>();
    }

    void numericalValues_data()
    {
        textColumns();
        TEXT(numericalValueToString(qint64(0)), "0");
        TEXT(numericalValueToString(qint64(999999999)), "999999999");
        TEXT(numericalValueToString(qint64(-999999999)), "-999999999");
        TEXT(numericalValueToString(qint64(1000000000)), "1E+09");
        TEXT(numericalValueToString(qint64(-1234567890)), "-1.23457E+09");
        TEXT(numericalValueToString(lowestLong), "-9.22337E+18");

        // The table of the header.
        TEXT(numericalValueToString(0.0, 7), "0");
        TEXT(numericalValueToString(0.00000012345, 7), "1.23E-07");
        TEXT(numericalValueToString(0.000001, 7), "1.000E-06");
        TEXT(numericalValueToString(0.00012, 7), "0.00012");
        TEXT(numericalValueToString(0.25, 7), "0.25");
        TEXT(numericalValueToString(0.333333333, 7), "3.333E-01");
        TEXT(numericalValueToString(12.3456, 7), "12.3456");
        TEXT(numericalValueToString(99.99999999, 7), "100");
        TEXT(numericalValueToString(123.4567891, 7), "1.235E+02");
        TEXT(numericalValueToString(-123456.789, 7), "-123456.789");
        TEXT(numericalValueToString(999999999.0, 7), "999999999");
        TEXT(numericalValueToString(1234567890.0, 7), "1.23457E+09");
        TEXT(numericalValueToString(0.0, 2), "0");
        TEXT(numericalValueToString(0.00000012345, 2), "1.23E-07");
        TEXT(numericalValueToString(0.000001, 2), "1.000E-06");
        TEXT(numericalValueToString(0.00012, 2), "0.00012");
        TEXT(numericalValueToString(0.25, 2), "0.25");
        TEXT(numericalValueToString(0.333333333, 2), "0.333");
        TEXT(numericalValueToString(12.3456, 2), "12.35");
        TEXT(numericalValueToString(99.99999999, 2), "100");
        TEXT(numericalValueToString(123.4567891, 2), "123.46");
        TEXT(numericalValueToString(-123456.789, 2), "-123456.79");
        TEXT(numericalValueToString(999999999.0, 2), "999999999");
        TEXT(numericalValueToString(1234567890.0, 2), "1.23457E+09");

        TEXT(numericalValueToString(-0.0, 7), "0");
        TEXT(numericalValueToString(notANumber, 7), "NAN");
        TEXT(numericalValueToString(infinity, 7), "INF");
        TEXT(numericalValueToString(-infinity, 7), "-INF");
        TEXT(numericalValueToString(4.9e-324, 7), "4.94E-324");
        TEXT(numericalValueToString(1.7976931348623157e308, 7), "1.79769E+308");
        TEXT(numericalValueToString(0.0000010000001, 7), "1E-06");
        TEXT(numericalValueToString(0.00001, 7), "1E-05");
        TEXT(numericalValueToString(0.1 + 0.2, 7), "0.3");
        TEXT(numericalValueToString(999999999.6, 0), "1000000000");
        TEXT(numericalValueToString(999.6, 0), "1000");
        TEXT(numericalValueToString(9.996, 2), "10");
        TEXT(numericalValueToString(10.0, 7), "10");
        TEXT(numericalValueToString(-0.0123, 2), "-0.0123");
        TEXT(numericalValueToString(12.3456, 0), "12.3");
        TEXT(numericalValueToString(1234.5678, 0), "1235");
        TEXT(numericalValueToString(12.3456, lowestInt), "12.3456");
        TEXT(numericalValueToString(12.3456, highestInt), "12.3456");
    }
    void numericalValues()
    {
        compareRow<QString>();
    }

    void htmlTakesTextsAsTheyAre_data()
    {
        textColumns();
        TEXT(addHTMLColorString(12, u("red")), "<font color=\"red\">12</font>");
        TEXT(addHTMLColorString(1.5, u("#ff0000")), "<font color=\"#ff0000\">1.5</font>");
        TEXT(addHTMLColorString(u("<b>&"), u("\"")), "<font color=\"\"\"><b>&</font>");
        TEXT(addHTMLColorString(u("%1"), u("%2")), "<font color=\"%2\">%1</font>");
        TEXT(addHTMLColorString(QVariant(), QString()), "<font color=\"\"></font>");
        TEXT(addHTMLBackgroundColorString(true, u("%2")), "<span style=\"background-color:%2;\">true</span>");
        TEXT(addHTMLBackgroundColorString(u("%1 %3"), u("red")), "<span style=\"background-color:red;\">%1 %3</span>");
        TEXT(wrapFontAwesomeIconWithHtml(u("plain ä 世")), "plain ä 世");
        TEXT(wrapFontAwesomeIconWithHtml(QString()), "");
        TEXT(wrapFontAwesomeIconWithHtml(u("\uf001")), "<font style=\"font-family:Font Awesome 5 Pro\">\uf001</font>");
        TEXT(wrapFontAwesomeIconWithHtml(u("a\uf123\uf124b\uf125")),
            "a<font style=\"font-family:Font Awesome 5 Pro\">\uf123</font>"
            "<font style=\"font-family:Font Awesome 5 Pro\">\uf124</font>b"
            "<font style=\"font-family:Font Awesome 5 Pro\">\uf125</font>");
        TEXT(wrapFontAwesomeIconWithHtml(u("\uf000\ue000")), "\uf000\ue000");
        TEXT(wrapFontAwesomeIconWithHtml(u("😀")), "😀"); // beyond U+FFFF, though in two halves
        const QString lastIcon(QChar(0xffff));
        QTest::newRow("U+FFFF") << UnitHelper::wrapFontAwesomeIconWithHtml(lastIcon)
                                << u("<font style=\"font-family:Font Awesome 5 Pro\">") + lastIcon + u("</font>");
        const QString invalid = QString(QChar(0xd800)) + QChar(0xf001);
        QTest::newRow("invalid UTF-16") << UnitHelper::wrapFontAwesomeIconWithHtml(invalid) << invalid;
    }
    void htmlTakesTextsAsTheyAre()
    {
        compareRow<QString>();
    }

    void timesAreWritten_data()
    {
        textColumns();
        TEXT(timeToString(QTime(1, 2, 3, 999)), "01:02:03");
        TEXT(timeToString(QTime()), "00:00:00");
        TEXT(timeToString(QTime(25, 0)), "00:00:00");
        TEXT(durationSecondsToString(0), "00:00:00");
        TEXT(durationSecondsToString(3723), "01:02:03");
        TEXT(durationSecondsToString(360000), "100:00:00");
        TEXT(durationSecondsToString(highestInt), "596523:14:07");
        const auto written = [](qint32 seconds) { return UnitHelper::timeFromSeconds(seconds).toString(Qt::ISODate); };
        QTest::newRow("timeFromSeconds(0)") << written(0) << u("00:00:00");
        QTest::newRow("timeFromSeconds(86399)") << written(86399) << u("23:59:59");
        QTest::newRow("timeFromSeconds(86400)") << written(86400) << QString();
        QTest::newRow("timeFromSeconds(highest)") << written(highestInt) << QString();
        QTest::newRow("timeFromSeconds(-1)") << written(-1) << u("23:59:59");
        QTest::newRow("timeFromSeconds(lowest)") << written(lowestInt) << u("20:45:52");
    }
    void timesAreWritten()
    {
        compareRow<QString>();
    }

    void aNegativeDurationIsWarnedOf()
    {
        QTest::ignoreMessage(QtWarningMsg, "Negative duration not allowed");
        QCOMPARE(UnitHelper::durationSecondsToString(-1), u("00:00:00"));
        QTest::ignoreMessage(QtWarningMsg, "Negative duration not allowed");
        QCOMPARE(UnitHelper::durationSecondsToString(lowestInt), u("00:00:00"));
    }

    void durationsAreRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("seconds");
        QTest::addColumn<QString>("fault");

        const auto good = [](const char *text, int seconds) { QTest::newRow(text) << u(text) << seconds << QString(); };
        const auto bad = [](const char *text, const char *fault) { QTest::newRow(text) << u(text) << -1 << u(fault); };
        const char *const format = "Wrong duration format";
        const char *const parse = "Faile to parse duration string";
        good("01:02:03", 3723);
        good("00:00:00", 0);
        good("00:99:00", 5940);
        good("99:99:99", 362439);
        good("123:45:678", 446178);
        good("596523:14:07", highestInt);
        good(" 01:02:03 ", 3723);
        good("-11:00:00", -39600); // the two digits match behind the sign
        bad("", format);
        bad("1:02:03", format);
        bad("01:02", format);
        bad("01-02-03", format);
        bad("01:02:03:04", format);
        bad("00:01:02:03", format);
        bad("abc", format);
        bad("x01:02:03", parse);
        bad("01:02:03x", parse);
        bad("٠١:٠٢:٠٣", parse);
        bad("596523:14:08", parse);
        bad("999999999:00:00", parse);
        bad("99999999999:00:00", parse);
        bad("-999999999:00:00", parse);
    }

    void durationsAreRead()
    {
        QFETCH(const QString, text);
        QFETCH(const int, seconds);
        QFETCH(const QString, fault);
        const LogCapture log;

        QCOMPARE(UnitHelper::durationStringToSeconds(text), seconds);

        const QString line = u("warning: %1 \"%2\"").arg(fault, text);
        QCOMPARE(log.asText(), fault.isEmpty() ? QStringList() : QStringList{line});
    }

    void emptyPartsOfADurationAreSkipped()
    {
        QCOMPARE(UnitHelper::durationStringToSeconds(u(":01:02:03:")), 3723);
        QTest::ignoreMessage(QtWarningMsg, "Wrong duration format \"01::02:03\"");
        QCOMPARE(UnitHelper::durationStringToSeconds(u("01::02:03")), -1);
    }

    void datesGoToTheInterfaceAndBack_data()
    {
        QTest::addColumn<QDateTime>("time");
        QTest::addColumn<QString>("text");

        const QDate date(2024, 2, 29);
        const QTime time(1, 2, 3, 4);
        QTest::newRow("local") << QDateTime(date, time) << u("2024-02-29T01:02:03.004");
        QTest::newRow("UTC") << QDateTime(date, time, Qt::UTC) << u("2024-02-29T01:02:03.004Z");
        QTest::newRow("offset") << QDateTime(date, time, Qt::OffsetFromUTC, 3600) << u("2024-02-29T01:02:03.004+01:00");
        QTest::newRow("invalid") << QDateTime() << QString();
    }

    void datesGoToTheInterfaceAndBack()
    {
        QFETCH(const QDateTime, time);
        QFETCH(const QString, text);

        QCOMPARE(UnitHelper::dateTimeToApiString(time), text);
        QCOMPARE(UnitHelper::dateTimeFromApiString(text), time);
        QCOMPARE(UnitHelper::dateTimeFromApiString(text).timeSpec(), time.timeSpec());
    }

    void textsThatAreNoDatesAreInvalid()
    {
        for (const char *const text : {"", "now", "2024-02-30T00:00:00.000", "29.02.2024"})
            QVERIFY(!UnitHelper::dateTimeFromApiString(u(text)).isValid());
    }

    void timestampsAreSecondsInUtc()
    {
        const qint64 before = QDateTime::currentMSecsSinceEpoch() / 1000;
        const qint64 timestamp = UnitHelper::getUtcTimestamp();
        const qint64 after = QDateTime::currentMSecsSinceEpoch() / 1000;

        QVERIFY(before <= timestamp && timestamp <= after);
    }

    void timestampsAreShownInLocalTime()
    {
        const QByteArray former = qgetenv("TZ");
        qputenv("TZ", "Asia/Kolkata");
        tzset();
        const QString text = UnitHelper::utcTimestampToString(0, u("yyyy-MM-dd hh:mm:ss"));
        const QString earlier = UnitHelper::utcTimestampToString(-1, u("hh:mm:ss"));
        const QString noFormat = UnitHelper::utcTimestampToString(0, QString());
        if (former.isNull())
            qunsetenv("TZ");
        else
            qputenv("TZ", former);
        tzset();

        QCOMPARE(text, u("1970-01-01 05:30:00"));
        QCOMPARE(earlier, u("05:29:59"));
        QCOMPARE(noFormat, QString());
    }

    void aTimerTellsItsRest_data()
    {
        QTest::addColumn<int>("milliseconds");
        QTest::addColumn<QString>("text");

        QTest::newRow("125 s") << 125500 << u("2 min");
        QTest::newRow("60 s") << 60900 << u("1 min");
        QTest::newRow("just below 60 s") << 59990 << u("59 sec");
        QTest::newRow("a second and a half") << 1900 << u("1 sec");
        QTest::newRow("less than a second") << 900 << u("0 sec");
        QTest::newRow("24 days") << highestInt << u("35791 min");
    }

    void aTimerTellsItsRest()
    {
        QFETCH(const int, milliseconds);
        QTimer timer;
        timer.setTimerType(Qt::PreciseTimer);

        timer.start(milliseconds);

        QTEST(UnitHelper::remainingTimeString(&timer), "text");
    }

    void aTimerThatDoesNotRunTellsNothing()
    {
        QTimer timer;
        timer.setInterval(5000);

        QCOMPARE(UnitHelper::remainingTimeString(nullptr), QString());
        QCOMPARE(UnitHelper::remainingTimeString(&timer), QString());
    }

    void aTimerThatIsDueHasNothingLeft()
    {
        QTimer timer;
        timer.start(1);
        QThread::msleep(5);

        QCOMPARE(UnitHelper::remainingTimeString(&timer), u("0 sec"));
    }

    void severalThreadsMayFormatAtOnce()
    {
        const QString icon = u("a\uf001");
        const QString wrapped = UnitHelper::wrapFontAwesomeIconWithHtml(icon);
        std::vector<std::unique_ptr<QThread>> threads;
        std::atomic<int> faults{0};
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back(QThread::create([&] {
                for (int round = 0; round < 2000; ++round) {
                    if (UnitHelper::durationStringToSeconds(u("01:02:03")) != 3723
                        || UnitHelper::wrapFontAwesomeIconWithHtml(icon) != wrapped)
                        ++faults;
                }
            }));
            threads.back()->start();
        }
        for (const std::unique_ptr<QThread> &thread : threads)
            QVERIFY(thread->wait());

        QCOMPARE(faults.load(), 0);
    }
};

QTEST_GUILESS_MAIN(TestUnitHelper)
#include "tst_unithelper.moc"
