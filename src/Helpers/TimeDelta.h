// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "VantorBase_export.h"

#include <QDate>
#include <QDateTime>
#include <QDebug>
#include <QHash>
#include <QMetaType>
#include <QString>
#include <QTime>

#include <functional>

/// A signed span of time in microseconds. Goes by value.
///
/// Nothing saturates: what leaves 64 bits, or the int of a result, wraps around in two's complement. Division truncates
/// toward zero; the caller must not divide by zero.
///
/// @code
/// constexpr TimeDelta span = TimeDelta::FromHours(1) + TimeDelta::FromMinutes(30);
/// static_assert(span.InSeconds() == 5400, "is known when it is compiled");
/// qInfo() << span.ToStringHrMinSec(); // "01:30:00"
/// @endcode
class VANTORBASE_EXPORT TimeDelta
{
public:
    constexpr TimeDelta() noexcept = default;

    static constexpr TimeDelta FromDays(qint64 days) noexcept { return TimeDelta(product(days, perDay)); }
    static constexpr TimeDelta FromHours(qint64 hours) noexcept { return TimeDelta(product(hours, perHour)); }
    static constexpr TimeDelta FromMinutes(qint64 minutes) noexcept { return TimeDelta(product(minutes, perMinute)); }
    static constexpr TimeDelta FromSeconds(qint64 seconds) noexcept { return TimeDelta(product(seconds, perSecond)); }
    static constexpr TimeDelta FromMilliseconds(qint64 milliseconds) noexcept
    {
        return TimeDelta(product(milliseconds, perMillisecond));
    }
    static constexpr TimeDelta FromMicroseconds(qint64 microseconds) noexcept { return TimeDelta(microseconds); }
    static constexpr TimeDelta FromInternalValue(qint64 microseconds) noexcept { return TimeDelta(microseconds); }

    constexpr int InDays() const noexcept { return static_cast<int>(delta_ / perDay); }
    constexpr int InHours() const noexcept { return static_cast<int>(delta_ / perHour); }
    constexpr int InMinutes() const noexcept { return static_cast<int>(delta_ / perMinute); }
    constexpr qint64 InSeconds() const noexcept { return delta_ / perSecond; }
    constexpr double InSecondsF() const noexcept { return static_cast<double>(delta_) / perSecond; }
    constexpr qint64 InMilliseconds() const noexcept { return delta_ / perMillisecond; }
    constexpr double InMillisecondsF() const noexcept { return static_cast<double>(delta_) / perMillisecond; }

    /// Rounds positive spans up and, on purpose, negative ones toward zero: -1500 microseconds give 0.
    constexpr qint64 InMillisecondsRoundedUp() const noexcept
    {
        return sum(delta_, perMillisecond - 1) / perMillisecond;
    }
    constexpr qint64 InMicroseconds() const noexcept { return delta_; }
    constexpr qint64 ToInternalValue() const noexcept { return delta_; }

    /// "01:30:00". Hours do not wrap at 24 and may have more digits. Meant for spans that are not negative: minus one
    /// hour gives "0-1:00:00".
    QString ToStringHrMinSec() const;

    constexpr TimeDelta &operator+=(TimeDelta other) noexcept { return *this = *this + other; }
    constexpr TimeDelta &operator-=(TimeDelta other) noexcept { return *this = *this - other; }
    constexpr TimeDelta &operator*=(qint64 factor) noexcept { return *this = *this * factor; }
    constexpr TimeDelta &operator/=(qint64 divisor) noexcept { return *this = *this / divisor; }

    friend constexpr TimeDelta operator+(TimeDelta a, TimeDelta b) noexcept
    {
        return TimeDelta(sum(a.delta_, b.delta_));
    }
    friend constexpr TimeDelta operator-(TimeDelta a, TimeDelta b) noexcept
    {
        return TimeDelta(difference(a.delta_, b.delta_));
    }
    friend constexpr TimeDelta operator-(TimeDelta a) noexcept { return TimeDelta(difference(0, a.delta_)); }
    friend constexpr TimeDelta operator*(TimeDelta a, qint64 factor) noexcept
    {
        return TimeDelta(product(a.delta_, factor));
    }
    friend constexpr TimeDelta operator*(qint64 factor, TimeDelta a) noexcept { return a * factor; }
    friend constexpr TimeDelta operator/(TimeDelta a, qint64 divisor) noexcept
    {
        return TimeDelta(quotient(a.delta_, divisor));
    }
    friend constexpr qint64 operator/(TimeDelta a, TimeDelta b) noexcept { return quotient(a.delta_, b.delta_); }

    friend constexpr bool operator==(TimeDelta a, TimeDelta b) noexcept { return a.delta_ == b.delta_; }
    friend constexpr bool operator!=(TimeDelta a, TimeDelta b) noexcept { return a.delta_ != b.delta_; }
    friend constexpr bool operator<(TimeDelta a, TimeDelta b) noexcept { return a.delta_ < b.delta_; }
    friend constexpr bool operator<=(TimeDelta a, TimeDelta b) noexcept { return a.delta_ <= b.delta_; }
    friend constexpr bool operator>(TimeDelta a, TimeDelta b) noexcept { return a.delta_ > b.delta_; }
    friend constexpr bool operator>=(TimeDelta a, TimeDelta b) noexcept { return a.delta_ >= b.delta_; }

    friend uint qHash(TimeDelta a, uint seed = 0) noexcept { return ::qHash(a.delta_, seed); }

    /// "TimeDelta(1500us)"
    friend QDebug operator<<(QDebug debug, TimeDelta a)
    {
        const QDebugStateSaver saver(debug);
        return debug.nospace() << "TimeDelta(" << a.delta_ << "us)";
    }

    /// For the failure messages of QCOMPARE, which deletes the text.
    friend char *toString(TimeDelta a)
    {
        return qstrdup(QStringLiteral("TimeDelta(%1us)").arg(a.delta_).toLatin1().constData());
    }

private:
    static constexpr qint64 perMillisecond = 1000; // microseconds, like the next ones
    static constexpr qint64 perSecond = 1000 * perMillisecond;
    static constexpr qint64 perMinute = 60 * perSecond;
    static constexpr qint64 perHour = 60 * perMinute;
    static constexpr qint64 perDay = 24 * perHour;

    explicit constexpr TimeDelta(qint64 microseconds) noexcept
        : delta_(microseconds)
    {
    }

    // Unsigned numbers may wrap, signed ones may not.
    static constexpr qint64 sum(qint64 a, qint64 b) noexcept
    {
        return static_cast<qint64>(static_cast<quint64>(a) + static_cast<quint64>(b));
    }
    static constexpr qint64 difference(qint64 a, qint64 b) noexcept
    {
        return static_cast<qint64>(static_cast<quint64>(a) - static_cast<quint64>(b));
    }
    static constexpr qint64 product(qint64 a, qint64 b) noexcept
    {
        return static_cast<qint64>(static_cast<quint64>(a) * static_cast<quint64>(b));
    }
    static constexpr qint64 quotient(qint64 a, qint64 b) noexcept
    {
        return b == -1 ? difference(0, a) : a / b; // the processor traps when the lowest number is divided by -1
    }

    qint64 delta_ = 0;
};

Q_DECLARE_TYPEINFO(TimeDelta, Q_PRIMITIVE_TYPE);
Q_DECLARE_METATYPE(TimeDelta)

template <>
struct std::hash<TimeDelta>
{
    std::size_t operator()(TimeDelta a) const noexcept { return std::hash<qint64>()(a.ToInternalValue()); }
};

// With dates and times a span counts in whole milliseconds: what is less is dropped toward zero. A date stands for the
// first moment of that day in local time.

inline QDateTime operator+(const QDateTime &time, TimeDelta delta)
{
    return time.addMSecs(delta.InMilliseconds());
}
inline QDateTime operator+(TimeDelta delta, const QDateTime &time)
{
    return time + delta;
}
inline QDateTime operator+(QDate date, TimeDelta delta)
{
    return date.startOfDay() + delta;
}
inline QDateTime operator+(TimeDelta delta, QDate date)
{
    return date + delta;
}
inline QDateTime operator-(const QDateTime &time, TimeDelta delta)
{
    return time.addMSecs(-delta.InMilliseconds());
}
inline QDateTime operator-(QDate date, TimeDelta delta)
{
    return date.startOfDay() - delta;
}
inline QDateTime &operator+=(QDateTime &time, TimeDelta delta)
{
    return time = time + delta;
}
inline QDateTime &operator-=(QDateTime &time, TimeDelta delta)
{
    return time = time - delta;
}
inline TimeDelta operator-(const QDateTime &a, const QDateTime &b)
{
    return TimeDelta::FromMilliseconds(b.msecsTo(a));
}
inline TimeDelta operator-(const QDateTime &a, QDate b)
{
    return a - b.startOfDay();
}
inline TimeDelta operator-(QDate a, const QDateTime &b)
{
    return a.startOfDay() - b;
}
inline TimeDelta operator-(QDate a, QDate b)
{
    return TimeDelta::FromDays(b.daysTo(a));
}
inline TimeDelta operator-(QTime a, QTime b)
{
    return TimeDelta::FromMilliseconds(b.msecsTo(a));
}
