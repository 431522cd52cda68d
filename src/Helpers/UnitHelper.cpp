// SPDX-License-Identifier: Apache-2.0
#include "Helpers/UnitHelper.h"

#include <QDebug>
#include <QMetaType>
#include <QRegExp>
#include <QRegularExpression>
#include <QStringBuilder>
#include <QStringList>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <limits>

Q_DECLARE_METATYPE(const QTimer *)

namespace {
constexpr double feetPerMetre = 3.2808001041412354;
constexpr int secondsPerMinute = 60;
constexpr int secondsPerHour = 3600;
constexpr int secondsPerDay = 86400;

constexpr int defaultPrecision = 6; // what QString::number() takes for a negative one
constexpr int largestPrecision = 100; // no double has more to tell that anybody would read

/// What applies to raw voltages below the bound, and to the rest.
struct VoltageRange
{
    int bound;
    int divisor;
};
constexpr VoltageRange voltageRanges[] = {{150, 182}, {400, 180}, {1000, 179}};
constexpr int highestVoltageDivisor = 180;

struct RateUnit
{
    quint64 size; ///< bits per second
    const char *name;
};
constexpr quint64 rateStep = 1000;
constexpr RateUnit rateUnits[] = {
    {1, QT_TRANSLATE_NOOP("UnitHelper", "bps")},
    {1000, QT_TRANSLATE_NOOP("UnitHelper", "Kbps")},
    {1000000, QT_TRANSLATE_NOOP("UnitHelper", "Mbps")},
    {1000000000, QT_TRANSLATE_NOOP("UnitHelper", "Gbps")},
};

constexpr int opticalDecimals = 2;

constexpr double bytesPerKilobyte = 1024;
constexpr const char *byteUnits[] = {" kB", " MB", " GB", " TB"};

/// Toward zero; the nearest number of that type for what it cannot hold, and 0 for NaN.
template <typename Integer>
Integer truncated(double value)
{
    constexpr auto lowest = static_cast<double>(std::numeric_limits<Integer>::min());
    if (std::isnan(value))
        return 0;
    if (value < lowest)
        return std::numeric_limits<Integer>::min();
    if (value >= -lowest) // one more than the largest
        return std::numeric_limits<Integer>::max();
    return static_cast<Integer>(value);
}

/// As qRound() does, for any number: the nearest int, and 0 for NaN.
int rounded(double value)
{
    constexpr int lowest = std::numeric_limits<int>::min();
    constexpr int highest = std::numeric_limits<int>::max();
    if (std::isnan(value))
        return 0;
    if (value >= highest)
        return highest;
    if (value <= lowest + 1) // where qRound() would leave int on its way
        return value < lowest + 0.5 ? lowest : lowest + 1;
    return qRound(value);
}

int checkedPrecision(qint64 precision)
{
    return precision < 0 ? defaultPrecision : static_cast<int>(std::min<qint64>(precision, largestPrecision));
}

QString fixedText(double value, qint64 precision)
{
    return QString::number(value, 'f', checkedPrecision(precision));
}

QString noReading()
{
    return QStringLiteral("-");
}

/// Decimals become significant digits: those of the integer part are added, of which values below 1 have none.
QString significantText(double value, int decimals)
{
    const int integerDigits = value >= 1 ? UnitHelper::unitsOfMeasureCount(truncated<qint64>(value)) : 0;
    return QString::number(value, 'g', checkedPrecision(qint64(decimals) + integerDigits));
}

QString integerText(double value)
{
    constexpr double bound = 9223372036854775808.0; // of qint64
    return std::abs(value) < bound ? QString::number(static_cast<qint64>(value)) : QString::number(value, 'f', 0);
}

/// Of a number without an exponent.
int significantDigitsOf(const QString &text)
{
    const auto *const first = std::find_if(text.cbegin(), text.cend(),
        [](QChar character) { return character.isDigit() && character != QLatin1Char('0'); });
    return static_cast<int>(std::count_if(first, text.cend(), [](QChar character) { return character.isDigit(); }));
}

QString clockText(int hours, int minutes, int seconds)
{
    constexpr int width = 2;
    constexpr int base = 10;
    const QLatin1Char fill('0');
    return QStringLiteral("%1:%2:%3")
        .arg(hours, width, base, fill)
        .arg(minutes, width, base, fill)
        .arg(seconds, width, base, fill);
}

/// Lets QML hand over a timer where a constant one is wanted; other objects become none.
bool registerTimerArgument()
{
    const auto asTimer = [](QObject *object) -> const QTimer * { return qobject_cast<const QTimer *>(object); };
    const auto asNoTimer = [](std::nullptr_t) -> const QTimer * { return nullptr; };
    qRegisterMetaType<const QTimer *>();
    return QMetaType::registerConverter<QObject *, const QTimer *>(asTimer)
        && QMetaType::registerConverter<std::nullptr_t, const QTimer *>(asNoTimer);
}
[[maybe_unused]] const bool isTimerArgumentRegistered = registerTimerArgument();

/// Finds fault with the text of a duration, in the log.
int refuseDuration(const char *fault, const QString &text)
{
    qWarning() << fault << text;
    return -1;
}
} // namespace

// Conversions and scales

qreal UnitHelper::toNsSkew(qint32 v)
{
    return static_cast<float>(v) * 1.25F;
}

qreal UnitHelper::toDbSnr(qint32 v)
{
    constexpr int lowest = -127;
    return v < lowest ? 0 : static_cast<float>(v) * 0.1F;
}

short UnitHelper::toRealVoltage(short v)
{
    int divisor = highestVoltageDivisor;
    for (const VoltageRange &range : voltageRanges) {
        if (v < range.bound) {
            divisor = range.divisor;
            break;
        }
    }
    return static_cast<short>(v * 10 / divisor);
}

qreal UnitHelper::poePowerInWatts(quint16 raw)
{
    constexpr double lastWithDecimals = 65;
    const double watts = raw / 10.0;
    return watts > lastWithDecimals ? qRound(watts) : watts;
}

qreal UnitHelper::degreeCelsiusToFahrenheit(qreal c)
{
    return c * 9.0 / 5.0 + 32.0;
}

qreal UnitHelper::feetToMetres(qreal v)
{
    return v / feetPerMetre;
}

qreal UnitHelper::metresToFeet(qreal v)
{
    return v * feetPerMetre;
}

qreal UnitHelper::mbpsToGbps(qint32 v)
{
    return v / 1000.0;
}

qint32 UnitHelper::gbpsToMbps(qreal v)
{
    return truncated<qint32>(v * 1000.0);
}

qreal UnitHelper::gbpsToMbpsReal(qreal v)
{
    return v * 1000.0;
}

qreal UnitHelper::milliSecsToMicroSecs(qreal v)
{
    return v * 1000.0;
}

qreal UnitHelper::milliSecsToNanoSecs(qreal v)
{
    return v * 1000000.0;
}

qreal UnitHelper::microSecsToNanoSecs(qreal v)
{
    return v * 1000.0;
}

qreal UnitHelper::freqKHzToMHz(qreal v)
{
    return v / 1000.0;
}

qreal UnitHelper::freqKHzToMHz(qint32 v)
{
    return static_cast<float>(v) / 1000.0F;
}

qreal UnitHelper::freqMHzToKHz(qreal v)
{
    return v * 1000.0;
}

qreal UnitHelper::toPercentUtilization(quint32 linkSpeedInMbps, quint64 dataRateInBps)
{
    constexpr double bpsOfOnePercent = 10000; // of a link of 1 Mbps
    return linkSpeedInMbps == 0 ? 0.0 : static_cast<double>(dataRateInBps) / (linkSpeedInMbps * bpsOfOnePercent);
}

int UnitHelper::wifiSignalStrengthDBmToPercent(qreal dBm)
{
    constexpr double full = -20; // dBm
    constexpr double span = 80; // dB
    return std::min(truncated<int>((1 - (full - dBm) / span) * 100), 100);
}

qreal UnitHelper::valueBetweenMinMax(qreal scalar, qreal min, qreal max)
{
    return (max - min) * scalar + min;
}

int UnitHelper::valueBetweenMinMax(qreal scalar, int min, int max)
{
    return rounded(valueBetweenMinMax(scalar, qreal(min), qreal(max)));
}

qreal UnitHelper::scalarFromMinMaxUsingCurrent(qreal current, qreal min, qreal max)
{
    if (current < min)
        return 0;
    if (current > max || qFuzzyCompare(min, max))
        return 1;
    return (current - min) / (max - min);
}

qreal UnitHelper::scalarFromMinMaxUsingCurrent(qreal current, int min, int max)
{
    return scalarFromMinMaxUsingCurrent(current, qreal(min), qreal(max));
}

qreal UnitHelper::roundToPrecision(qreal v, int precision)
{
    constexpr int maxDecimals = 9; // of 10 to that power, the last one that is an int
    if (precision < 0 || precision > maxDecimals || qFuzzyCompare(v, std::trunc(v)))
        return v;

    const double factor = std::trunc(std::pow(10, precision));
    return std::trunc(factor * v + 0.5) / factor; // the same for negative values, on purpose
}

int UnitHelper::extractInt(qint32 source, qint32 startPosition, qint32 bitsToExtract)
{
    constexpr int wordBits = 32;
    if (bitsToExtract <= 0 || bitsToExtract > wordBits || startPosition < 0 || startPosition >= wordBits
        || startPosition + bitsToExtract > wordBits)
        return 0;
    const qint64 mask = (qint64(1) << bitsToExtract) - 1;
    return static_cast<int>((source >> startPosition) & mask);
}

int UnitHelper::unitsOfMeasureCount(qint64 n)
{
    constexpr int base = 10;
    int count = 1;
    for (qint64 rest = n / base; rest != 0; rest /= base)
        ++count;
    return count;
}

int UnitHelper::numberOfDecimalValues(double value, int maxPrecision)
{
    double integerPart = 0;
    const QString text = fixedText(std::abs(std::modf(value, &integerPart)), maxPrecision);
    const int point = text.indexOf(QLatin1Char('.'));
    if (point < 0) // no decimals wanted, or not a number
        return 0;

    int end = text.size();
    while (text[end - 1] == QLatin1Char('0'))
        --end;
    return end - point - 1;
}

// Texts

QString UnitHelper::toPercentageString(qreal value, int precision, bool includeUnit, bool omitTrailingZeroes)
{
    QString text = omitTrailingZeroes ? significantText(value, precision) : fixedText(value, precision);
    if (includeUnit)
        text += QLatin1Char('%');
    return text;
}

QString UnitHelper::toOpticalPowerString(qreal value, qreal max)
{
    return value >= max ? noReading() : fixedText(value, opticalDecimals);
}

QString UnitHelper::toOpticalTemperatureString(qreal value, qreal max, bool fahrenheit)
{
    if (value >= max)
        return noReading();
    return fixedText(fahrenheit ? degreeCelsiusToFahrenheit(value) : value, opticalDecimals);
}

QString UnitHelper::toVoltageString(qint32 v)
{
    return QStringLiteral("%1V").arg(v);
}

QString UnitHelper::toHexString(qint32 v)
{
    constexpr int width = 4;
    constexpr int base = 16;
    return QStringLiteral("0x") + QStringLiteral("%1").arg(v, width, base, QLatin1Char('0')).toUpper();
}

QString UnitHelper::intToBinaryStr(qint32 v)
{
    constexpr int width = 32;
    constexpr int base = 2;
    return QStringLiteral("%1").arg(v, width, base, QLatin1Char('0'));
}

QString UnitHelper::toFormattedIntString(qint32 v)
{
    constexpr int groupSize = 3;
    QString text = QString::number(v);
    const int digits = v < 0 ? text.size() - 1 : text.size();
    if (digits > groupSize)
        text.insert(text.size() - groupSize, QLatin1Char(','));
    return text;
}

QString UnitHelper::formatDecimalValue(qreal value, int precision)
{
    return fixedText(value, precision);
}

QString UnitHelper::formatDecimalValueWithMeasureCount(qreal value, int precision)
{
    const bool isInteger = std::floor(value) == value;
    return isInteger ? integerText(value) : significantText(value, precision);
}

QString UnitHelper::formatBitsPerSecondDataRate(quint64 bps, int precision)
{
    const auto *const unit = std::find_if(std::begin(rateUnits), std::end(rateUnits) - 1,
        [bps](const RateUnit &candidate) { return bps < candidate.size * rateStep; });
    const QString number = unit->size == 1
        ? QString::number(bps)
        : formatDecimalValueWithMeasureCount(static_cast<float>(bps) / static_cast<float>(unit->size), precision);
    return number % QLatin1Char(' ') % tr(unit->name);
}

QString UnitHelper::bytesToReadable(quint64 bytes, uint decimalPoints)
{
    auto value = static_cast<double>(bytes);
    if (value < bytesPerKilobyte)
        return QString::number(bytes) + QLatin1String(" B");

    const char *unitText = nullptr;
    for (const char *const unit : byteUnits) {
        value /= bytesPerKilobyte;
        unitText = unit;
        if (value < bytesPerKilobyte)
            break;
    }
    return fixedText(value, decimalPoints) % QLatin1String(unitText);
}

QString UnitHelper::numericalValueToString(qint64 value)
{
    constexpr qint64 highestPlain = 999999999;
    constexpr int significantDigits = 6;
    const bool isPlain = value >= -highestPlain && value <= highestPlain;
    return isPlain ? QString::number(value) : QString::number(static_cast<double>(value), 'G', significantDigits);
}

QString UnitHelper::numericalValueToString(double value, int precision)
{
    constexpr double tiny = 0.000001;
    constexpr double perTiny = 1000000;
    constexpr double huge = 1000000000;
    constexpr int tooManyDecimals = 7;
    constexpr int fewestDigits = 3;
    constexpr int digitsOfHuge = 6;

    const double size = std::abs(value);
    if (!(size >= tiny))
        return QString::number(value, 'G', fewestDigits);
    if (size >= huge)
        return QString::number(value, 'G', digitsOfHuge);

    const int wanted = precision < 0 ? tooManyDecimals : std::min(precision, tooManyDecimals);
    const int decimals = numberOfDecimalValues(value, wanted);
    if (size * perTiny <= 1 || decimals >= tooManyDecimals)
        return QString::number(value, 'E', fewestDigits);

    const QString text = QString::number(value, 'f', decimals);
    return significantDigitsOf(text) < fewestDigits ? QString::number(value, 'G', fewestDigits) : text;
}

// HTML

QString UnitHelper::addHTMLColorString(const QVariant &value, const QString &colour)
{
    return QStringLiteral("<font color=\"%1\">%2</font>").arg(colour, value.toString());
}

QString UnitHelper::addHTMLBackgroundColorString(const QVariant &value, const QString &bgcolour)
{
    return QStringLiteral("<span style=\"background-color:%1;\">%2</span>").arg(bgcolour, value.toString());
}

QString UnitHelper::wrapFontAwesomeIconWithHtml(const QString &text)
{
    const QRegularExpression icon(QStringLiteral("[\\x{f001}-\\x{ffff}]"));
    QString result;
    int end = 0; // of what has been taken over
    for (auto matches = icon.globalMatch(text); matches.hasNext();) {
        const QRegularExpressionMatch match = matches.next();
        result += text.midRef(end, match.capturedStart() - end);
        result += QLatin1String("<font style=\"font-family:Font Awesome 5 Pro\">") + match.capturedRef()
            + QLatin1String("</font>");
        end = match.capturedEnd();
    }
    return end == 0 ? text : result + text.midRef(end);
}

// Dates, times, durations

QString UnitHelper::dateTimeToApiString(const QDateTime &dateTime)
{
    return dateTime.toString(Qt::ISODateWithMs);
}

QDateTime UnitHelper::dateTimeFromApiString(const QString &text)
{
    return QDateTime::fromString(text, Qt::ISODateWithMs);
}

qint64 UnitHelper::getUtcTimestamp()
{
    return QDateTime::currentDateTimeUtc().toSecsSinceEpoch();
}

QString UnitHelper::utcTimestampToString(qint64 timestamp, const QString &format)
{
    return QDateTime::fromSecsSinceEpoch(timestamp, Qt::UTC).toLocalTime().toString(format);
}

QString UnitHelper::timeToString(const QTime &time)
{
    return time.isValid() ? clockText(time.hour(), time.minute(), time.second()) : QStringLiteral("00:00:00");
}

QTime UnitHelper::timeFromSeconds(qint32 s)
{
    return s < secondsPerDay ? QTime(0, 0).addSecs(s) : QTime();
}

int UnitHelper::timeToSeconds(const QTime &time)
{
    return time.isValid() ? secondsPerHour * time.hour() + secondsPerMinute * time.minute() + time.second() : 0;
}

QString UnitHelper::durationSecondsToString(qint32 s)
{
    if (s < 0) {
        qWarning() << "Negative duration not allowed";
        return QStringLiteral("00:00:00");
    }
    return clockText(s / secondsPerHour, s % secondsPerHour / secondsPerMinute, s % secondsPerMinute);
}

int UnitHelper::durationStringToSeconds(const QString &text)
{
    constexpr const char *wrongFormat = "Wrong duration format";
    constexpr const char *notParsed = "Faile to parse duration string";

    const QRegExp twoDigitsEach(QStringLiteral("\\d\\d\\:\\d\\d\\:\\d\\d")); // not shared: matching changes it
    if (text.isEmpty() || !text.contains(twoDigitsEach))
        return refuseDuration(wrongFormat, text);
    const QVector<QStringRef> parts = text.splitRef(QLatin1Char(':'), Qt::SkipEmptyParts);
    if (parts.size() != 3)
        return refuseDuration(wrongFormat, text);

    bool hasHours = false;
    bool hasMinutes = false;
    bool hasSeconds = false;
    const qint64 hours = parts[0].toInt(&hasHours);
    const qint64 minutes = parts[1].toInt(&hasMinutes);
    const qint64 seconds = parts[2].toInt(&hasSeconds);
    const qint64 total = secondsPerHour * hours + secondsPerMinute * minutes + seconds;
    const bool fits = total >= std::numeric_limits<int>::min() && total <= std::numeric_limits<int>::max();
    if (!hasHours || !hasMinutes || !hasSeconds || !fits)
        return refuseDuration(notParsed, text);
    return static_cast<int>(total);
}

QString UnitHelper::remainingTimeString(const QTimer *timer)
{
    constexpr int millisecondsPerSecond = 1000;
    if (!timer || !timer->isActive())
        return {};
    const int seconds = timer->remainingTime() / millisecondsPerSecond;
    if (seconds >= secondsPerMinute)
        return QStringLiteral("%1 %2").arg(seconds / secondsPerMinute).arg(tr("min"));
    return QStringLiteral("%1 %2").arg(seconds).arg(tr("sec"));
}
