// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <QByteArray>
#include <QStringList>

namespace Tools {

/// A line of CSV, quoted where needed. RFC 4180, but lines end as everywhere else on this system.
QByteArray csvLine(const QStringList &fields);

} // namespace Tools
