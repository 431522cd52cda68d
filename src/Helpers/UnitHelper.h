// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QDateTime>
#include <QObject>
#include <QString>
#include <QTime>
#include <QVariant>

class QTimer;

/// Turns measured values into the text on the screen, and converts between units. QML holds one as an object.
///
/// Every function depends on its arguments alone, apart from those that read the clock or a timer. Numbers that no
/// result can hold give the nearest one that it can, and NaN gives 0 where the result is a whole number. A negative
/// number of digits means 6, as with QString::number(); more than 100 mean 100.
///
/// docs/formatting.md shows what each function makes of typical and extreme values, and which overload JavaScript gets.
///
/// @code
/// qInfo() << UnitHelper::toHexString(255); // "0x00FF"
/// qInfo() << UnitHelper::formatBitsPerSecondDataRate(1500, 1); // "1.5 Kbps"
/// qInfo() << UnitHelper::numericalValueToString(12.3456, 2); // "12.35"
/// qInfo() << UnitHelper::durationSecondsToString(3723); // "01:02:03"
/// @endcode
class VANTORBASE_EXPORT UnitHelper : public QObject
{
    Q_OBJECT

public:
    using QObject::QObject;

    // Conversions and scales

    Q_INVOKABLE static qreal toNsSkew(qint32 v); ///< in single precision
    Q_INVOKABLE static qreal toDbSnr(qint32 v); ///< in single precision; 0 below -127
    Q_INVOKABLE static short toRealVoltage(short v);
    Q_INVOKABLE static qreal poePowerInWatts(quint16 raw); ///< of tenths of a watt; whole watts above 65

    Q_INVOKABLE static qreal degreeCelsiusToFahrenheit(qreal c);
    Q_INVOKABLE static qreal feetToMetres(qreal v);
    Q_INVOKABLE static qreal metresToFeet(qreal v);
    Q_INVOKABLE static qreal mbpsToGbps(qint32 v);
    Q_INVOKABLE static qint32 gbpsToMbps(qreal v); ///< truncated
    Q_INVOKABLE static qreal gbpsToMbpsReal(qreal v);
    Q_INVOKABLE static qreal milliSecsToMicroSecs(qreal v);
    Q_INVOKABLE static qreal milliSecsToNanoSecs(qreal v);
    Q_INVOKABLE static qreal microSecsToNanoSecs(qreal v);
    Q_INVOKABLE static qreal freqKHzToMHz(qreal v);
    Q_INVOKABLE static qreal freqKHzToMHz(qint32 v); ///< in single precision
    Q_INVOKABLE static qreal freqMHzToKHz(qreal v);

    /// In per cent; 0 without a link.
    Q_INVOKABLE static qreal toPercentUtilization(quint32 linkSpeedInMbps, quint64 dataRateInBps);

    /// -20 dBm and more are 100, -100 dBm are 0. There is no lower limit: weaker signals give negative values.
    Q_INVOKABLE static int wifiSignalStrengthDBmToPercent(qreal dBm);

    /// The value that lies at `scalar` (0 to 1) of the way from min to max, and the way back.
    Q_INVOKABLE static qreal valueBetweenMinMax(qreal scalar, qreal min, qreal max);
    Q_INVOKABLE static int valueBetweenMinMax(qreal scalar, int min, int max); ///< rounded
    Q_INVOKABLE static qreal scalarFromMinMaxUsingCurrent(qreal current, qreal min, qreal max);
    Q_INVOKABLE static qreal scalarFromMinMaxUsingCurrent(qreal current, int min, int max);

    /// trunc(f * v + 0.5) / f with f = 10 to the power of precision. That rounds values above zero; those below come
    /// out up to one step too high, on purpose: -12.5 gives -12.4 with one decimal. Unchanged where v is whole, or
    /// where f is not an int, which leaves 0 to 9.
    Q_INVOKABLE static qreal roundToPrecision(qreal v, int precision);

    /// Bits of a word, the first one being bit 0; 0 unless there are such bits.
    Q_INVOKABLE static int extractInt(qint32 source, qint32 startPosition, qint32 bitsToExtract);

    Q_INVOKABLE static int unitsOfMeasureCount(qint64 n); ///< decimal digits, the sign not counted

    /// Decimals that the value has when rounded to maxPrecision of them, without zeros at the end.
    Q_INVOKABLE static int numberOfDecimalValues(double value, int maxPrecision);

    // Texts

    Q_INVOKABLE static QString toPercentageString(
        qreal value, int precision, bool includeUnit, bool omitTrailingZeroes);
    Q_INVOKABLE static QString toOpticalPowerString(qreal value, qreal max); ///< "-" from max on: no reading
    Q_INVOKABLE static QString toOpticalTemperatureString(qreal value, qreal max, bool fahrenheit); ///< likewise
    Q_INVOKABLE static QString toVoltageString(qint32 v);
    Q_INVOKABLE static QString toHexString(qint32 v); ///< 255 is "0x00FF"; negative numbers have 64 bits
    Q_INVOKABLE static QString intToBinaryStr(qint32 v); ///< 32 digits, negative numbers 64
    Q_INVOKABLE static QString toFormattedIntString(qint32 v); ///< one comma, never more: "1234,567"
    Q_INVOKABLE static QString formatDecimalValue(qreal value, int precision);

    /// The integer where it is one; else so many decimals, without zeros at the end.
    Q_INVOKABLE static QString formatDecimalValueWithMeasureCount(qreal value, int precision);

    Q_INVOKABLE static QString formatBitsPerSecondDataRate(quint64 bps, int precision); ///< "1.5 Kbps"
    Q_INVOKABLE static QString bytesToReadable(quint64 bytes, uint decimalPoints); ///< "1.5 kB", in steps of 1024

    /// The integer up to nine digits, else six significant ones: "1.23457E+09".
    Q_INVOKABLE static QString numericalValueToString(qint64 value);

    /// A measured value as short as it can be without being wrong: exact where six decimals suffice, else rounded to
    /// three or four significant digits.
    ///
    /// `precision` is how many decimals the caller wants at most. It never takes one of the first three significant
    /// digits away, so that a small value does not turn into 0; negative and more than 7 mean 7. The first rule that
    /// applies, for the absolute value a, counts:
    ///
    /// 1. a < 0.000001, or not a number: three significant digits.
    /// 2. a >= 1000000000: six significant digits.
    /// 3. a * 1000000 <= 1, or the value rounded to `precision` decimals has 7 of them: one digit, three decimals and
    ///    an exponent.
    /// 4. The value rounded to `precision` decimals; where that has fewer than three significant digits, the value
    ///    rounded to three of these.
    ///
    /// Zeros at the end of the decimals are dropped, except in rule 3. Rule 4 writes an exponent below 0.0001.
    ///
    /// | value            | precision 7   | precision 2 |
    /// |------------------|---------------|-------------|
    /// | 0                | 0             | 0           |
    /// | 0.00000012345    | 1.23E-07      | 1.23E-07    |
    /// | 0.000001         | 1.000E-06     | 1.000E-06   |
    /// | 0.00012          | 0.00012       | 0.00012     |
    /// | 0.25             | 0.25          | 0.25        |
    /// | 0.333333333      | 3.333E-01     | 0.333       |
    /// | 12.3456          | 12.3456       | 12.35       |
    /// | 99.99999999      | 100           | 100         |
    /// | 123.4567891      | 1.235E+02     | 123.46      |
    /// | -123456.789      | -123456.789   | -123456.79  |
    /// | 999999999        | 999999999     | 999999999   |
    /// | 1234567890       | 1.23457E+09   | 1.23457E+09 |
    Q_INVOKABLE static QString numericalValueToString(double value, int precision);

    // HTML: neither the value nor the colour is escaped.

    Q_INVOKABLE static QString addHTMLColorString(const QVariant &value, const QString &colour);
    Q_INVOKABLE static QString addHTMLBackgroundColorString(const QVariant &value, const QString &bgcolour);

    /// Puts the icon font around every character from U+F001 to U+FFFF.
    Q_INVOKABLE static QString wrapFontAwesomeIconWithHtml(const QString &text);

    // Dates, times, durations

    Q_INVOKABLE static QString dateTimeToApiString(const QDateTime &dateTime);
    Q_INVOKABLE static QDateTime dateTimeFromApiString(const QString &text);
    Q_INVOKABLE static qint64 getUtcTimestamp(); ///< seconds since 1970
    Q_INVOKABLE static QString utcTimestampToString(qint64 timestamp, const QString &format); ///< in local time

    Q_INVOKABLE static QString timeToString(const QTime &time); ///< "00:00:00" when invalid
    Q_INVOKABLE static QTime timeFromSeconds(qint32 s); ///< invalid from 24 hours on; wraps back below 0
    Q_INVOKABLE static int timeToSeconds(const QTime &time); ///< 0 when invalid

    /// "123:04:05". A negative duration is warned of and gives "00:00:00".
    Q_INVOKABLE static QString durationSecondsToString(qint32 s);

    /// The seconds of "01:02:03", which may have more digits and is not checked for 60 minutes. What cannot be read, or
    /// does not fit, is warned of and gives -1.
    Q_INVOKABLE static int durationStringToSeconds(const QString &text);

    /// "2 min", and below a minute "59 sec", rounded down; empty when the timer does not run. To be called in the
    /// timer's thread.
    Q_INVOKABLE static QString remainingTimeString(const QTimer *timer);
};
