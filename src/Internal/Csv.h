// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QStringList>

/// A line of CSV, quoted where needed. RFC 4180, but lines end as everywhere else on this system. A text that a
/// spreadsheet would take for a formula, or that begins with ', gets one ' in front; a reader takes one off.
QByteArray csvLine(const QStringList &fields, QChar separator = QLatin1Char(','));
