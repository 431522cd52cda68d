// SPDX-License-Identifier: Apache-2.0
#include "Helpers/TimeDelta.h"

namespace {
constexpr int perMinuteAndHour = 60;

QString withLeadingZero(qint64 number)
{
    const QString text = QString::number(number);
    return number < 10 ? QLatin1Char('0') + text : text; // negative numbers, too
}

bool registerTypes()
{
    qRegisterMetaType<TimeDelta>();
    return QMetaType::registerComparators<TimeDelta>() && QMetaType::registerDebugStreamOperator<TimeDelta>();
}

/// Done when the library is loaded, so that a span can be carried by a queued signal or a QVariant at once.
[[maybe_unused]] const bool areTypesRegistered = registerTypes();
} // namespace

QString TimeDelta::ToStringHrMinSec() const
{
    return QStringLiteral("%1:%2:%3")
        .arg(withLeadingZero(InHours()), withLeadingZero(InMinutes() % perMinuteAndHour),
            withLeadingZero(InSeconds() % perMinuteAndHour));
}
